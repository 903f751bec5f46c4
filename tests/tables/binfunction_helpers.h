#pragma once

#include "support/chain.h"

#include <emantle/data/egda/basedata.h>
#include <emantle/tables/edsc/kinds.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

struct DeleteBinFunction {
    void operator()(Edsc_BinFunction* binFunction) const { edsc_BinFunctionDelete(binFunction, nullptr); }
};
using BinFunction = std::unique_ptr<Edsc_BinFunction, DeleteBinFunction>;

struct DeleteBaseData {
    void operator()(Egda_BaseData* data) const { egda_BaseDataDelete(data, nullptr); }
};
using BaseData = std::unique_ptr<Egda_BaseData, DeleteBaseData>;

/* One column of `values`, in any element type. */
template <class Element>
BaseData tableOf(Egda_PixelType type, const std::vector<Element>& values)
{
    BaseData table(egda_TableCreate(static_cast<long>(values.size()), type, nullptr));
    std::copy(values.begin(), values.end(), static_cast<Element*>(table->data));
    return table;
}

inline BaseData doubles(const std::vector<double>& values) { return tableOf(EGDA_TYPE_F64, values); }

inline BinFunction direct(double minimum, std::uint32_t numBins)
{
    return BinFunction(edsc_BinFunctionCreateDirect(minimum, numBins, nullptr));
}

inline BinFunction linear(double minimum, double maximum, std::uint32_t numBins)
{
    return BinFunction(edsc_BinFunctionCreateLinear(minimum, maximum, numBins, nullptr));
}

inline BinFunction logarithmic(double minimum, double maximum, std::uint32_t numBins)
{
    return BinFunction(edsc_BinFunctionCreateLogarithm(minimum, maximum, numBins, nullptr));
}

inline BinFunction explicitLimits(const std::vector<double>& limits, std::uint32_t numBins)
{
    return BinFunction(edsc_BinFunctionCreateExplicit(doubles(limits).get(), numBins, nullptr));
}

inline BinFunction unique(const std::vector<double>& values)
{
    const BaseData table = doubles(values);
    return BinFunction(edsc_BinFunctionCreateFromTitle(EDSC_TITLE_UNIQUE, static_cast<std::uint32_t>(values.size()),
                                                       nullptr, static_cast<const Egda_BaseData*>(table.get())));
}

/* The texts of a chain, head first. */
inline std::vector<std::string> textsOf(const Report& report)
{
    std::vector<std::string> texts;
    for (const Record& record : report.records()) {
        texts.push_back(record.message.value_or(""));
    }
    return texts;
}

inline std::string rootCause(const Report& report)
{
    const std::vector<std::string> texts = textsOf(report);
    return texts.empty() ? "(no report)" : texts.back();
}
