#include "data/operands.h"

#include <emantle/data/epxm/convert.h>
#include <emantle/tables/edsc/binfunction.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <sys/mman.h>
#include <tuple>

namespace operands {

namespace {

/* The large ones on large pages, as NumPy has its arrays. */
struct Block {
    static constexpr std::size_t kPage = 1 << 21;
    char* bytes;
    Egda_BaseData* record = nullptr;

    Block(long side, int type, unsigned seed, long object)
    {
        const auto size = static_cast<std::size_t>(side * side * emsc_AddressOf_egda_NumBytesPerPixel()[type]);
        const std::size_t alignment = size >= kPage ? kPage : 64;
        bytes = static_cast<char*>(std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment));
        if (size >= kPage) {
            madvise(bytes, size, MADV_HUGEPAGE);
        }
        std::mt19937 random(seed);
        std::vector<double> line(static_cast<std::size_t>(side));
        char* at = bytes;
        record = egda_BaseDataCreate(side, side, type, object, at, nullptr);
        for (long row = 0; row < side; ++row) {
            for (double& value : line) {
                value = 1 + random() % 100;
            }
            emsc_AddressOf_epxm_Convert()[EGDA_TYPE_F64][type](line.data(), at + row * record->pitch, side);
        }
    }
    ~Block()
    {
        egda_BaseDataDelete(record, nullptr);
        std::free(bytes);
    }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
};

/* Operands that are no sources, beside kDest. */
constexpr int kMask = 9;
constexpr int kWork = 12;
constexpr int kWithBins = 20;

/* More than an operand's largest number. */
constexpr unsigned kBins = 256;

struct Listed {
    const char* name;
    const char* check;
};
const Listed kListed[] = {
#define EGDA_OPERATION(number, symbol, table, check, types, home) {#table, #check},
#define EGDA_TABLE(table, types, home)
#include <emantle/data/egda/operations.def>
};

Egda_BaseData* scalar(double value)
{
    Egda_BaseData* base = egda_ScalarCreate(EGDA_TYPE_F64, nullptr);
    egda_BaseDataSetScalar(base, value, EGDA_SET_ALL, 0, nullptr);
    return base;
}

bool isMatrixOperation(long op)
{
    return op == EGDA_OP_MATRIX_MUL || op == EGDA_OP_MATRIX_DIV || op == EGDA_OP_MATRIX_INV ||
           op == EGDA_OP_EIGEN_VECTOR || op == EGDA_OP_EIGEN_VALUE;
}

}  // namespace

Egda_BaseData* operand(long side, int type, int which, long object)
{
    static std::map<std::tuple<long, int, int, long>, std::unique_ptr<Block>> blocks;
    auto& block = blocks[{side, type, which, object}];
    if (!block) {
        block = std::make_unique<Block>(side, type, static_cast<unsigned>(which) + 1, object);
    }
    return block->record;
}

Egda_BaseData* mask(long side)
{
    Egda_BaseData* record = operand(side, EGDA_TYPE_U8, kMask);
    auto* bytes = static_cast<std::uint8_t*>(record->data);
    static std::map<long, bool> made;
    if (!made[side]) {
        std::mt19937 random(5);
        std::generate_n(bytes, side * side, [&] { return static_cast<std::uint8_t>(random() >> 31); });
        made[side] = true;
    }
    return record;
}

const char* tableName(long op)
{
    return kListed[op].name;
}

const char* checkName(long op)
{
    return kListed[op].check;
}

bool hasOwnArguments(long op)
{
    const std::string check = checkName(op);
    return check == "unchecked" || check.find('(') != std::string::npos || check == "egda_ThrICtofOpCheck";
}

int destTypeFor(long op, int type)
{
    const std::string check = checkName(op);
    const bool floats = type == EGDA_TYPE_F32 || type == EGDA_TYPE_F64;
    if (check == "egda_ConvertOpCheck") {
        const std::string name = tableName(op);
        return egda_PixelTypeFromName(name.substr(name.rfind("To") + 2).c_str());
    }
    const bool toDouble = check.find("Itof") != std::string::npos || check == "egda_ThrICtofOpCheck" ||
                          op == EGDA_OP_MEAN || op == EGDA_OP_SDEVI || op >= EGDA_OP_CYMK_TO_RED;
    const bool toWhole = op == EGDA_OP_CONVERT_TO_BIN_VALUE || (floats && check.find("Ftoi") != std::string::npos);
    return toDouble                                     ? EGDA_TYPE_F64
           : check.find("LogicOp") != std::string::npos ? EGDA_TYPE_U8
           : toWhole                                    ? EGDA_TYPE_S32
                                                        : type;
}

void Arguments::addScalars(const std::vector<double>& values)
{
    for (const double value : values) {
        add({scalar(value)});
    }
}

void Arguments::addData(int type, int count)
{
    for (int i = 0; i < count; ++i) {
        add({operand(side_, type, i)});
    }
}

void Arguments::arrangeGroup(int type)
{
    switch (op_) {
    case EGDA_OP_MEAN:
    case EGDA_OP_SDEVI:
    case EGDA_OP_DENSITY:
    case EGDA_OP_INDEX:
    case EGDA_OP_PICK:
    case EGDA_OP_CONDITION: return addData(type, 4);
    case EGDA_OP_DIVERSITY: add({operand(16, type, kWork)}); return addData(type, 4);
    case EGDA_OP_MAJORITY:
    case EGDA_OP_MINORITY:
    case EGDA_OP_POSITION:
    case EGDA_OP_RANK:
        add({operand(16, type, kWork)});
        add({operand(16, type, kWork + 1)});
        if (op_ == EGDA_OP_POSITION || op_ == EGDA_OP_RANK) {
            addScalars({op_ == EGDA_OP_RANK ? 1 : 0.5});
        }
        return addData(type, 4);
    case EGDA_OP_IF_OR: return addData(type, 3);
    case EGDA_OP_FILL_ARRAY:
        return sources_.resize(static_cast<std::size_t>(side_ * side_), {egda_ScalarCreate(type, nullptr)});
    case EGDA_OP_RGB_TO_IHS:
    case EGDA_OP_IHS_TO_RGB:
        add({operand(side_, type, 0), operand(side_, type, 1), operand(side_, type, 2)});
        destLayers_ = {destLayers_[0], operand(side_, type, kDest + 10), operand(side_, type, kDest + 11)};
        return;
    case EGDA_OP_CYMK_TO_RED:
    case EGDA_OP_CYMK_TO_GREEN:
    case EGDA_OP_CYMK_TO_BLUE: addScalars({100, 100, 100, 100}); return addData(type, 4);
    default: addScalars({100, 100, 100}); return addData(type, 3);
    }
}

void Arguments::arrangeMatrices(int type)
{
    if (op_ == EGDA_OP_MATRIX_TR_RASTER) {
        add({operand(3, type, 0, EGDA_MATRIX_OBJECT)});
        add({operand(side_, type, 0), operand(side_, type, 1), operand(side_, type, 2)});
        destLayers_ = {destLayers_[0], operand(side_, type, kDest + 10), operand(side_, type, kDest + 11)};
        return;
    }
    destLayers_ = {operand(side_, type, kDest, EGDA_MATRIX_OBJECT)};
    add({operand(side_, type, 0, EGDA_MATRIX_OBJECT)});
    if (op_ == EGDA_OP_MATRIX_MUL || op_ == EGDA_OP_MATRIX_DIV) {
        add({operand(side_, type, 1, EGDA_MATRIX_OBJECT)});
    }
}

void Arguments::arrangeBins(int type)
{
    static Edsc_BinFunction* const bins = edsc_BinFunctionCreateDirect(0, kBins, nullptr);
    if (op_ == EGDA_OP_CONVERT_TO_BIN_VALUE) {
        Egda_BaseData* source = operand(side_, type, kWithBins);
        source->binfunction = bins;
        return add({source});
    }
    addData(type, 1);
    Egda_BaseData* table = egda_BaseDataCreate(kBins, 1, type, EGDA_TABLE_OBJECT, nullptr, nullptr);
    table->binfunction = type == EGDA_TYPE_F32 || type == EGDA_TYPE_F64 ? bins : nullptr;
    add({table});
}

void Arguments::arrange(int type, int folded)
{
    const std::string check = checkName(op_);
    if (op_ == EGDA_OP_CONVERT_TO_BIN_VALUE || op_ == EGDA_OP_LUT_TRANSFORMATION) {
        arrangeBins(type);
    } else if (op_ == EGDA_OP_MATRIX_TR_RASTER || isMatrixOperation(op_)) {
        arrangeMatrices(type);
    } else if (hasOwnArguments(op_)) {
        arrangeGroup(type);
    } else {
        const bool two = check.find("Two") != std::string::npos || check.find("Binary") != std::string::npos;
        addData(type, two ? folded : 1);
    }
}

Arguments::Arguments(long op, int type, long side, bool masked, int folded)
    : op_(op), side_(side), destLayers_{operand(side, destTypeFor(op, type), kDest)}
{
    arrange(type, folded);
    for (std::vector<Egda_BaseData*>& layers : sources_) {
        const auto count = static_cast<int32_t>(layers.size());
        stacks_.push_back({count, count, layers.data(), 0});
    }
    for (Egda_BaseDataStack& stack : stacks_) {
        pointers_.push_back(&stack);
    }
    const auto count = static_cast<int32_t>(destLayers_.size());
    dest_ = {count, count, destLayers_.data(), 0};
    array_ = {static_cast<int32_t>(pointers_.size()), pointers_.data(), masked ? mask(side) : nullptr};
}

bool Arguments::run() const
{
    Eerr_ErrorReport* err = nullptr;
    egda_BaseDataStackOperation(op_, &dest_, &array_, &err);
    const bool ran = err == nullptr;
    eerr_DeleteErrorReportEx(&err);
    return ran;
}

double Arguments::traffic() const
{
    long bytes = 0;
    for (const auto& layers : sources_) {
        for (const Egda_BaseData* layer : layers) {
            bytes += op_ != EGDA_OP_FILL && layer->numelements == side_ * side_ ? layer->numbytes : 0;
        }
    }
    const long written = dest()->numbytes * static_cast<long>(destLayers_.size());
    const bool masked = array_.mask != nullptr;
    return static_cast<double>(bytes + written * (masked ? 2 : 1) + (masked ? 1 : 0)) / dest()->numbytes;
}

}  // namespace operands
