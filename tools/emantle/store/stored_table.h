#pragma once

#include "console/owned.h"
#include "store/open_store.h"

#include <emantle/data/egda.h>
#include <emantle/tables/edsc.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tool {

/* A descriptor table of a store. */
class StoredTable {
public:
    /* The table that `node` names: itself, that of a column, or the one below a layer. */
    StoredTable(const OpenStore& store, const std::string& node);

    const std::string& path() const { return path_; }
    /* The node that the table belongs to. */
    std::string owner() const;
    std::int32_t rows() const { return table_->numRows; }
    const Edsc_BinFunction* bins() const { return table_->binFunction; }
    std::vector<std::string> columnNames() const;
    bool hasColumn(const std::string& name) const;
    Edsc_TableInstance* get() const { return table_.get(); }

private:
    std::string path_;
    Owned<Edsc_TableInstance, edsc_TableClose> table_;
};

/* A column, read some rows at a time. */
class StoredColumn {
public:
    StoredColumn(const StoredTable& table, const std::string& name);

    std::int32_t rows() const { return column_->numRows; }
    bool isText() const { return column_->dataType == kString; }

    /* Reads the rows from `first` on, at most `count`, and fewer at the end; gives how many. */
    std::int32_t read(std::int32_t first, std::int32_t count);

    /* Of the rows that were read last: as a text, and as a number (not-a-number for what is none). */
    std::string text(std::int32_t row) const;
    double number(std::int32_t row) const;

private:
    enum Type { kInteger, kReal, kComplex, kString };

    std::string name_;
    Owned<Edsc_ColumnInstance, edsc_ColumnClose> column_;
    Owned<Egda_BaseData, egda_BaseDataDelete> data_;
};

struct BinLimits {
    double lower;
    double upper;
};

BinLimits limitsOf(const Edsc_BinFunction& bins, std::int32_t bin);

}  // namespace tool
