#include "store/table_json.h"

#include "console/numbers.h"
#include "console/owned.h"

#include <algorithm>
#include <emantle/data/egda.h>
#include <emantle/frame/estr.h>
#include <emantle/tables/edsc.h>

namespace tool {

namespace {

using Json = nlohmann::ordered_json;
using TablePtr = Owned<Edsc_TableInstance, edsc_TableClose>;
using ColumnPtr = Owned<Edsc_ColumnInstance, edsc_ColumnClose>;
using ListPtr = Owned<Estr_StringList, estr_StringListDelete>;
using DataPtr = Owned<Egda_BaseData, egda_BaseDataDelete>;

Json valueJson(const Egda_BaseData& data, std::int32_t row)
{
    switch (data.datatype) {
    case EGDA_TYPE_S32: return static_cast<const std::int32_t*>(data.data)[row];
    case EGDA_TYPE_F64: return numberJson(static_cast<const double*>(data.data)[row]);
    case EGDA_TYPE_C128: {
        const Egda_Complex128& value = static_cast<const Egda_Complex128*>(data.data)[row];
        return Json::array({numberJson(value.real), numberJson(value.imaginary)});
    }
    case EGDA_TYPE_STRING: {
        const char* text = static_cast<char* const*>(data.data)[row];
        return text == nullptr ? "" : text;
    }
    default: return nullptr;
    }
}

Json columnJson(Edsc_TableInstance* table, const std::string& name)
{
    static constexpr Egda_PixelType kTypes[] = {EGDA_TYPE_S32, EGDA_TYPE_F64, EGDA_TYPE_C128, EGDA_TYPE_STRING};
    static constexpr const char* kNames[] = {"integer", "real", "complex", "string"};
    Reports reports;
    const ColumnPtr column(edsc_ColumnOpen(table, name.c_str(), reports, nullptr));
    reports.check("column " + oneLine(name) + " cannot be opened");
    const std::int32_t type = column->dataType;
    if (type < 0 || type > 3) {
        throw Failure("column " + oneLine(name) + " has no type");
    }
    const DataPtr data(egda_TableCreate(column->numRows, kTypes[type], reports));
    reports.check("column " + oneLine(name) + " cannot be held");
    edsc_ColumnRead(column.get(), 0, column->numRows, data.get(), reports);
    reports.check("column " + oneLine(name) + " cannot be read");
    Json values = Json::array();
    for (std::int32_t row = 0; row < column->numRows; ++row) {
        values.push_back(valueJson(*data, row));
    }
    return {{"name", name}, {"type", kNames[type]}, {"values", std::move(values)}};
}

/* The limits of the bins that have one of `rows`: a store may claim any number of bins. */
Json binsJson(const Edsc_BinFunction* bins, std::size_t rows)
{
    Reports reports;
    const std::uint32_t count = edsc_BinFunctionBinCount(bins, reports);
    Json limits = Json::array();
    for (std::uint32_t bin = 0; bin < count && bin < rows; ++bin) {
        double lower = 0;
        double upper = 0;
        edsc_BinFunctionApplyInverse(bins, static_cast<std::int32_t>(bin), &lower, &upper, reports);
        reports.check("the limits of a bin cannot be told");
        limits.push_back(Json::array({numberJson(lower), numberJson(upper)}));
    }
    return {{"function", bins->title == nullptr ? "" : bins->title}, {"count", count}, {"limits", std::move(limits)}};
}

}  // namespace

Json tableJson(const OpenStore& store, const std::string& node, const std::string& column)
{
    Reports reports;
    const std::size_t last = node.rfind(':');
    const std::string parent = last == 0 || last == std::string::npos ? ":" : node.substr(0, last);
    const TablePtr table(edsc_TableOpen(store.get(), parent.c_str(), node.substr(last + 1).c_str(), EHFA_SEEK_CHILD_NAME,
                                        nullptr, reports));
    reports.check(store.path() + ": the table " + node + " cannot be opened");
    if (!table) {
        throw Failure(store.path() + ": " + node + " is not a table");
    }
    Json json{{"rows", table->numRows}};
    json["bins"] = Json();
    json["columns"] = Json::array();
    std::size_t rows = 0; /* that a column really has */
    const ListPtr names(edsc_TableListColumns(table.get(), reports));
    reports.check(store.path() + ": the columns of " + node + " cannot be listed");
    for (std::int32_t i = 0; names && i < names->count; ++i) {
        if (column.empty() || column == names->strings[i]) {
            json["columns"].push_back(columnJson(table.get(), names->strings[i]));
            rows = std::max(rows, json["columns"].back()["values"].size());
        }
    }
    if (table->binFunction != nullptr) {
        json["bins"] = binsJson(table->binFunction, rows);
    }
    return json;
}

}  // namespace tool
