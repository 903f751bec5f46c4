#include "store/stored_table.h"

#include "console/numbers.h"

#include <emantle/frame/estr.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace tool {

namespace {

using ListPtr = Owned<Estr_StringList, estr_StringListDelete>;

/* The store stands on the table afterwards. */
void seekTable(const OpenStore& store, const std::string& node)
{
    store.seek(node);
    Ehfa_File* file = store.get();
    const std::string type = file->entry->type;
    Reports reports;
    const Ehfa_Entry* found = file->entry;
    if (type == "Edsc_Column") {
        found = ehfa_EntrySeek(file, EHFA_SEEK_PARENT, nullptr, reports);
    } else if (type != "Edsc_Table") {
        found = ehfa_EntrySeek(file, EHFA_SEEK_CHILD_TYPE, "Edsc_Table", reports);
    }
    if (reports.failed() || found == nullptr || std::string(file->entry->type) != "Edsc_Table") {
        throw Failure(store.path() + ": " + oneLine(node) + " is no table and has none");
    }
}

std::string withSign(double value)
{
    return (value < 0 || (value == 0 && std::signbit(value)) ? "" : "+") + numberText(value);
}

}  // namespace

StoredTable::StoredTable(const OpenStore& store, const std::string& node)
{
    seekTable(store, node);
    path_ = currentNode(store.get());
    Reports reports;
    table_.reset(edsc_TableOpen(store.get(), parentOf(path_).c_str(), nameOf(path_).c_str(),
                                EHFA_SEEK_CHILD_NAME, nullptr, reports));
    reports.check(store.path() + ": the table " + oneLine(path_) + " cannot be opened");
    if (!table_) {
        throw Failure(store.path() + ": " + oneLine(path_) + " is not a table");
    }
}

std::string StoredTable::owner() const
{
    return parentOf(path_);
}

std::vector<std::string> StoredTable::columnNames() const
{
    Reports reports;
    const ListPtr list(edsc_TableListColumns(table_.get(), reports));
    reports.check("the columns of " + oneLine(path_) + " cannot be listed");
    std::vector<std::string> names;
    for (std::int32_t i = 0; list && i < list->count; ++i) {
        names.emplace_back(list->strings[i]);
    }
    return names;
}

bool StoredTable::hasColumn(const std::string& name) const
{
    const std::vector<std::string> names = columnNames();
    return std::find(names.begin(), names.end(), name) != names.end();
}

StoredColumn::StoredColumn(const StoredTable& table, const std::string& name) : name_(oneLine(name))
{
    Reports reports;
    column_.reset(edsc_ColumnOpen(table.get(), name.c_str(), reports, nullptr));
    reports.check("column " + name_ + " cannot be opened");
    if (column_->dataType < kInteger || column_->dataType > kString) {
        throw Failure("column " + name_ + " has no type");
    }
}

std::int32_t StoredColumn::read(std::int32_t first, std::int32_t count)
{
    static constexpr Egda_PixelType kTypes[] = {EGDA_TYPE_S32, EGDA_TYPE_F64, EGDA_TYPE_C128, EGDA_TYPE_STRING};
    count = std::clamp(rows() - first, 0, count);
    data_.reset();
    if (count == 0) {
        return 0;
    }
    Reports reports;
    data_.reset(egda_TableCreate(count, kTypes[column_->dataType], reports));
    reports.check("column " + name_ + " cannot be held");
    edsc_ColumnRead(column_.get(), first, count, data_.get(), reports);
    reports.check("column " + name_ + " cannot be read");
    return count;
}

std::string StoredColumn::text(std::int32_t row) const
{
    switch (column_->dataType) {
    case kInteger: return std::to_string(static_cast<const std::int32_t*>(data_->data)[row]);
    case kReal: return numberText(static_cast<const double*>(data_->data)[row]);
    case kComplex: {
        const Egda_Complex128& value = static_cast<const Egda_Complex128*>(data_->data)[row];
        return numberText(value.real) + withSign(value.imaginary) + "i";
    }
    default: {
        const char* text = static_cast<char* const*>(data_->data)[row];
        return text == nullptr ? "" : text;
    }
    }
}

double StoredColumn::number(std::int32_t row) const
{
    switch (column_->dataType) {
    case kInteger: return static_cast<const std::int32_t*>(data_->data)[row];
    case kReal: return static_cast<const double*>(data_->data)[row];
    default: return std::numeric_limits<double>::quiet_NaN();
    }
}

BinLimits limitsOf(const Edsc_BinFunction& bins, std::int32_t bin)
{
    BinLimits limits{};
    Reports reports;
    edsc_BinFunctionApplyInverse(&bins, bin, &limits.lower, &limits.upper, reports);
    reports.check("the limits of a bin cannot be told");
    return limits;
}

}  // namespace tool
