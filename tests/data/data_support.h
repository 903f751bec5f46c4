#pragma once

#include "platform/cpu.h"

#include <emantle/data/egda.h>

#include <memory>
#include <ostream>
#include <string>
#include <vector>

/* A chain of reports that a test asks for, as text: "function number text" for each record, head first. */
class Report {
public:
    Report() = default;
    Report(const Report&) = delete;
    Report& operator=(const Report&) = delete;
    ~Report() { eerr_DeleteErrorReportEx(&chain_); }

    operator Eerr_ErrorReport**()
    {
        eerr_DeleteErrorReportEx(&chain_);
        return &chain_;
    }
    const Eerr_ErrorReport* get() const { return chain_; }
    bool empty() const { return chain_ == nullptr; }
    std::string text() const
    {
        std::string all;
        for (const Eerr_ErrorReport* record = chain_; record != nullptr; record = record->next) {
            all += all.empty() ? "" : " | ";
            all += std::string(record->function) + ' ' + std::to_string(record->number) + ' ';
            all += record->message == nullptr ? "-" : record->message;
        }
        return all;
    }
    /* The text of the newest record alone. */
    std::string message() const { return chain_ == nullptr || chain_->message == nullptr ? "" : chain_->message; }

private:
    Eerr_ErrorReport* chain_ = nullptr;
};

struct DeleteRecord {
    void operator()(Egda_BaseData* base) const { egda_BaseDataDelete(base, nullptr); }
    void operator()(Egda_BaseDataStack* stack) const { egda_BaseDataStackDelete(stack, nullptr); }
    void operator()(Egda_BaseDataStackArray* array) const { egda_BaseDataStackArrayDelete(array, nullptr); }
};
using Base = std::unique_ptr<Egda_BaseData, DeleteRecord>;
using Stack = std::unique_ptr<Egda_BaseDataStack, DeleteRecord>;
using StackArray = std::unique_ptr<Egda_BaseDataStackArray, DeleteRecord>;

inline Base makeBase(long rows, long columns, Egda_PixelType type, long object = EGDA_RASTER_OBJECT)
{
    return Base(egda_BaseDataCreate(rows, columns, type, object, nullptr, nullptr));
}

/* A record of bytes numbered 0, 1, 2 ... in the order of memory. */
inline Base numbered(long rows, long columns, long object = EGDA_RASTER_OBJECT)
{
    Base base = makeBase(rows, columns, EGDA_TYPE_U8, object);
    for (long i = 0; i < rows * columns; ++i) {
        static_cast<unsigned char*>(base->data)[i] = static_cast<unsigned char>(i);
    }
    return base;
}

/* The elements of a record row by row, as the definition of its addressing has them. */
template <class T>
std::vector<T> elements(const Egda_BaseData& base)
{
    std::vector<T> values;
    for (long row = 0; row < base.numrows; ++row) {
        for (long column = 0; column < base.numcolumns; ++column) {
            const bool byColumns = base.objecttype == EGDA_MATRIX_OBJECT;
            const char* line = static_cast<const char*>(base.firstelement) + (byColumns ? column : row) * base.pitch;
            values.push_back(reinterpret_cast<const T*>(line)[byColumns ? row : column]);
        }
    }
    return values;
}

using Bytes = std::vector<unsigned char>;

/* Every instruction set that this machine can run. */
inline std::vector<emantle::platform::InstructionSet> instructionSets()
{
    using emantle::platform::InstructionSet;
    std::vector<InstructionSet> sets;
    for (const InstructionSet set : {InstructionSet::baseline, InstructionSet::avx2, InstructionSet::avx512}) {
        if (set <= emantle::platform::machineInstructionSet()) {
            sets.push_back(set);
        }
    }
    return sets;
}
