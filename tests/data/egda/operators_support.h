#pragma once

#include "data/data_support.h"
#include "data/operators/frame.h"
#include "data/operators/row.h"

#include <gtest/gtest.h>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <map>
#include <random>

/* Operators against an oracle that computes one element at a time in wide arithmetic, in a picture of the memory that
 * is compared whole afterwards. */

namespace operators_test {

using emantle::Arity;
using emantle::Operator;
using emantle::platform::InstructionSet;

/* An element: whole numbers of 32 bits and their products fit without loss. */
struct Wide {
    long double re = 0;
    long double im = 0;
};

inline bool isWholeType(int type) { return type <= EGDA_TYPE_S32; }
inline bool isComplexType(int type) { return type == EGDA_TYPE_C64 || type == EGDA_TYPE_C128; }
inline bool isUnsignedType(int type) { return isWholeType(type) && emsc_AddressOf_egda_IntegerMinValue()[type] == 0; }
inline long sizeOfType(int type) { return emsc_AddressOf_egda_NumBytesPerPixel()[type]; }
/* The limits of what is stored: U1, U2 and U4 are bytes. */
inline long double lowOf(int type) { return emsc_AddressOf_egda_IntegerMinValue()[type]; }
inline long double highOf(int type) { return type < EGDA_TYPE_U8 ? 255 : emsc_AddressOf_egda_IntegerMaxValue()[type]; }

template <class T>
T fetch(const char* at)
{
    T value;
    std::memcpy(&value, at, sizeof(T));
    return value;
}

inline Wide read(int type, const char* at)
{
    switch (type) {
    case EGDA_TYPE_S8: return {static_cast<long double>(fetch<std::int8_t>(at)), 0};
    case EGDA_TYPE_U16: return {static_cast<long double>(fetch<std::uint16_t>(at)), 0};
    case EGDA_TYPE_S16: return {static_cast<long double>(fetch<std::int16_t>(at)), 0};
    case EGDA_TYPE_U32: return {static_cast<long double>(fetch<std::uint32_t>(at)), 0};
    case EGDA_TYPE_S32: return {static_cast<long double>(fetch<std::int32_t>(at)), 0};
    case EGDA_TYPE_F32: return {fetch<float>(at), 0};
    case EGDA_TYPE_F64: return {fetch<double>(at), 0};
    case EGDA_TYPE_C64: return {fetch<Egda_Complex64>(at).real, fetch<Egda_Complex64>(at).imaginary};
    case EGDA_TYPE_C128: return {fetch<Egda_Complex128>(at).real, fetch<Egda_Complex128>(at).imaginary};
    default: return {static_cast<long double>(fetch<std::uint8_t>(at)), 0};
    }
}

/* Whole numbers keep their low bits. */
inline void write(int type, char* at, Wide value)
{
    const auto put = [at](auto element) { std::memcpy(at, &element, sizeof(element)); };
    if (isWholeType(type)) {
        const auto bits = value.re < 0 ? static_cast<std::uint64_t>(static_cast<std::int64_t>(value.re))
                                       : static_cast<std::uint64_t>(value.re);
        std::memcpy(at, &bits, static_cast<std::size_t>(sizeOfType(type)));
    } else if (type == EGDA_TYPE_F32) {
        put(static_cast<float>(value.re));
    } else if (type == EGDA_TYPE_F64) {
        put(static_cast<double>(value.re));
    } else if (type == EGDA_TYPE_C64) {
        put(Egda_Complex64{static_cast<float>(value.re), static_cast<float>(value.im)});
    } else {
        put(Egda_Complex128{static_cast<double>(value.re), static_cast<double>(value.im)});
    }
}

/* Values at and beside every limit that an operator might have. */
inline std::vector<Wide> limitValues(int type)
{
    std::vector<Wide> values;
    if (isWholeType(type)) {
        for (const long double value : {0.L, 1.L, 2.L, 3.L, 5.L, 7.L, 10.L, 20.L, 34.L, 35.L, 100.L, 127.L, 128.L, 200.L,
                                        254.L, 255.L, 256.L, 40000.L, 65535.L, 2147483647.L, 2147483648.L, 4294967295.L,
                                        -1.L, -2.L, -3.L, -100.L, -127.L, -128.L, -32768.L, -2147483647.L,
                                        -2147483648.L}) {
            if (value >= lowOf(type) && value <= highOf(type)) {
                values.push_back({value, 0});
            }
        }
        return values;
    }
    if (isComplexType(type)) {
        for (const long double re : {0.L, 1.L, -1.L, 0.5L, 2.L, -3.L}) {
            for (const long double im : {0.L, 1.L, -0.25L, 4.L}) {
                values.push_back({re, im});
            }
        }
        return values;
    }
    const bool narrow = type == EGDA_TYPE_F32;
    const long double most = narrow ? std::numeric_limits<float>::max() : std::numeric_limits<double>::max();
    const long double least =
        narrow ? std::numeric_limits<float>::denorm_min() : std::numeric_limits<double>::denorm_min();
    for (const long double value :
         {0.L, 1.L, 0.5L, 0.25L, 0.75L, 1.5L, 2.L, 2.5L, 3.L, 7.25L, 1000.L, 16777217.L, 1e10L, 2147483647.L,
          2147483648.L, 4294967296.L, 1e-30L, 1e30L, static_cast<long double>(0.49999997F), most, least,
          std::numeric_limits<long double>::infinity()}) {
        values.push_back({value, 0});
        values.push_back({-value, 0});
    }
    values.push_back({std::numeric_limits<long double>::quiet_NaN(), 0});
    return values;
}

/* What an operator owes: the type of its result, and the result for one element. `old` is what the destination held. */
struct Oracle {
    Arity arity = Arity::one;
    std::function<int(int type)> dest;
    std::function<Wide(int type, Wide a, Wide b, Wide old)> result;
    /* How far a floating result may be off, in units in its last place. */
    double ulps = 0;
    /* 0 in the second operand stops it. */
    bool divides = false;
};
const std::map<std::string, Oracle>& oracles();

/* A record in the picture: its place is an offset. */
struct Place {
    long offset = 0;
    long rows = 1;
    long columns = 1;
    int type = EGDA_TYPE_U8;
    long object = EGDA_RASTER_OBJECT;
    long pitch = 0;
};

class Picture {
public:
    explicit Picture(std::size_t size) : bytes_(size, '\x5A') {}

    char* at(long offset) { return bytes_.data() + offset; }
    bool operator==(const Picture&) const = default;

    /* The address of an element as operators walk: `line` along the columns of a matrix or table. */
    char* element(const Place& place, long line, long i)
    {
        const bool constant = place.object == EGDA_SCALAR_OBJECT;
        return at(place.offset + (constant ? 0 : line * place.pitch + i * sizeOfType(place.type)));
    }

    Egda_BaseData record(const Place& place)
    {
        char* data = at(place.offset);
        return {static_cast<int32_t>(place.rows), static_cast<int32_t>(place.columns), place.type,
                static_cast<int32_t>(place.object), data, data, static_cast<int32_t>(place.pitch), 1,
                static_cast<int32_t>(place.rows * place.columns), static_cast<int32_t>(sizeOfType(place.type)), nullptr};
    }

private:
    std::vector<char> bytes_;
};

/* How the operator is reached. */
using Runner = std::function<void(int type, Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources,
                                  Eerr_ErrorReport** err)>;

/* Runs both on copies of `picture` and compares all of it. */
void expectAsOracle(const Oracle& oracle, const Runner& runner, Picture picture, const Place& dest,
                    const std::vector<Place>& sources, const Place* mask, const std::string& what);

inline long linesOf(const Place& p)
{
    return p.object == EGDA_MATRIX_OBJECT || p.object == EGDA_TABLE_OBJECT ? p.columns : p.rows;
}
inline long runOf(const Place& p)
{
    return p.object == EGDA_MATRIX_OBJECT || p.object == EGDA_TABLE_OBJECT ? p.rows : p.columns;
}

/* Every operator of elements with its loops, by the name of its table. */
const std::map<std::string, const Operator*>& operatorsByName();
Egda_OperatorTable tableByName(const std::string& name);

/* The operator with the loops of one instruction set. */
inline Runner withSet(const std::string& name, InstructionSet set)
{
    const Operator* op = operatorsByName().at(name);
    return [=](int type, Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources, Eerr_ErrorReport** err) {
        emantle::runOperator(*op, emantle::loopType(type), dest, sources, err, set);
    };
}

/* One line of elements. */
struct Row {
    Base base;
    template <class T>
    Row(int type, std::vector<T> values, long object = EGDA_RASTER_OBJECT)
        : base(makeBase(1, static_cast<long>(values.size()), type, object))
    {
        std::memcpy(base->data, values.data(), values.size() * sizeof(T));
    }
};

inline std::string operate(long op, const Row& dest, std::vector<const Row*> operands, const Row* mask = nullptr)
{
    std::vector<Egda_BaseData*> layers;
    for (const Row* operand : operands) {
        layers.push_back(operand->base.get());
    }
    std::vector<Egda_BaseDataStack> stacks;
    std::vector<Egda_BaseDataStack*> pointers;
    for (Egda_BaseData*& layer : layers) {
        stacks.push_back({1, 1, &layer, 0});
    }
    for (Egda_BaseDataStack& stack : stacks) {
        pointers.push_back(&stack);
    }
    Egda_BaseData* destLayer = dest.base.get();
    Egda_BaseDataStack destStack{1, 1, &destLayer, 0};
    const Egda_BaseDataStackArray array{static_cast<int32_t>(stacks.size()), pointers.data(),
                                        mask == nullptr ? nullptr : mask->base.get()};
    Report report;
    egda_BaseDataStackOperation(op, &destStack, &array, report);
    return report.text();
}

}  // namespace operators_test
