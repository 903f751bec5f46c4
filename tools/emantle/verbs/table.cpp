#include "console/clean_text.h"
#include "console/interrupt.h"
#include "console/numbers.h"
#include "store/stored_table.h"
#include "store/table_json.h"
#include "verbs/verb.h"

#include <algorithm>
#include <functional>
#include <iostream>
#include <memory>

namespace tool {

namespace {

/* Rows held at a time: a table may be larger than memory likes. */
constexpr std::int32_t kRowsAtOnce = 4096;

struct TableOptions {
    CommonOptions common;
    std::string store;
    std::string node;
    bool csv = false;
};

using Cells = std::vector<std::string>;

/* The cells of a table by rows: the row's number, the limits of its bin where the table has bins, and the columns. */
class TableRows {
public:
    explicit TableRows(const StoredTable& table) : table_(table)
    {
        head_.push_back("row");
        if (table.bins() != nullptr) {
            head_.insert(head_.end(), {"from", "below"});
            Reports reports;
            binCount_ = edsc_BinFunctionBinCount(table.bins(), reports);
            reports.check(table.path() + ": its bins cannot be counted");
        }
        for (const std::string& name : table.columnNames()) {
            head_.push_back(name);
            columns_.emplace_back(table, name);
        }
    }

    const Cells& head() const { return head_; }
    bool isText(std::size_t cell) const
    {
        const std::size_t before = head_.size() - columns_.size();
        return cell >= before && columns_[cell - before].isText();
    }

    void forEach(const std::function<void(const Cells&)>& visit)
    {
        Cells cells(head_.size());
        for (std::int32_t first = 0; first < table_.rows(); first += kRowsAtOnce) {
            throwIfInterrupted();
            const std::int32_t rows = std::min(kRowsAtOnce, table_.rows() - first);
            std::vector<std::int32_t> read;
            for (StoredColumn& column : columns_) {
                read.push_back(column.read(first, rows));
            }
            for (std::int32_t row = 0; row < rows; ++row) {
                fill(cells, first, row, read);
                visit(cells);
            }
        }
    }

private:
    void fill(Cells& cells, std::int32_t first, std::int32_t row, const std::vector<std::int32_t>& read) const
    {
        std::size_t cell = 0;
        cells[cell++] = std::to_string(first + row);
        if (table_.bins() != nullptr) {
            const bool isBin = static_cast<std::uint32_t>(first + row) < binCount_;
            const BinLimits limits = isBin ? limitsOf(*table_.bins(), first + row) : BinLimits{};
            cells[cell++] = isBin ? numberText(limits.lower) : "";
            cells[cell++] = isBin ? numberText(limits.upper) : "";
        }
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            cells[cell++] = row < read[i] ? columns_[i].text(row) : "";
        }
    }

    const StoredTable& table_;
    std::uint32_t binCount_ = 0;
    Cells head_;
    std::vector<StoredColumn> columns_;
};

std::string csvField(const std::string& text)
{
    if (text.find_first_of(",\"\r\n") == std::string::npos) {
        return text;
    }
    std::string quoted = "\"";
    for (const char c : text) {
        quoted += c;
        if (c == '"') {
            quoted += c;
        }
    }
    return quoted + '"';
}

void printCsvLine(const Cells& cells)
{
    std::string line;
    for (const std::string& cell : cells) {
        line += (&cell == &cells.front() ? "" : ",") + csvField(cell);
    }
    std::cout << line << "\r\n";
}

/* Numbers stand to the right, texts to the left. The rows are gone through twice, so that none has to be kept. */
void printAligned(TableRows& rows)
{
    std::vector<std::size_t> widths;
    for (const std::string& name : rows.head()) {
        widths.push_back(characterCount(cleanText(name)));
    }
    rows.forEach([&](const Cells& cells) {
        for (std::size_t i = 0; i < cells.size(); ++i) {
            widths[i] = std::max(widths[i], characterCount(cleanText(cells[i])));
        }
    });
    const auto printLine = [&](const Cells& cells) {
        std::string line;
        for (std::size_t i = 0; i < cells.size(); ++i) {
            const std::string text = cleanText(cells[i]);
            const std::string padding(widths[i] - characterCount(text), ' ');
            line += (i == 0 ? "" : "  ") + (rows.isText(i) ? text + padding : padding + text);
        }
        line.erase(line.find_last_not_of(' ') + 1);
        std::cout << line << '\n';
    };
    printLine(rows.head());
    rows.forEach(printLine);
}

void printTable(const TableOptions& options)
{
    const OpenStore store(options.store);
    const StoredTable table(store, options.node);
    if (options.common.json) {
        nlohmann::ordered_json document{{"path", cleanText(table.path())}};
        document["table"] = tableJson(store, table.path(), "");
        std::cout << document.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << '\n';
        return;
    }
    TableRows rows(table);
    if (options.csv) {
        printCsvLine(rows.head());
        rows.forEach(printCsvLine);
    } else {
        printAligned(rows);
    }
}

}  // namespace

void addTable(CLI::App& program, Exit&)
{
    auto options = std::make_shared<TableOptions>();
    CLI::App& verb = *program.add_subcommand("table", "A descriptor table, a line a row");
    verb.add_option("store", options->store, "A store")->required()->type_name("STORE");
    verb.add_option("node", options->node, "The table, or the layer that it belongs to")->required()->type_name("NODE");
    CLI::Option* csv = verb.add_flag("--csv", options->csv, "Comma-separated values");
    addCommonOptions(verb, options->common);
    csv->excludes(verb.get_option("--json"));
    verb.callback([options] { printTable(*options); });
}

}  // namespace tool
