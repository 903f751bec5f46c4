#include "console/numbers.h"
#include "console/text_table.h"
#include "store/open_store.h"
#include "store/object_json.h"
#include "store/table_json.h"
#include "verbs/verb.h"

#include <iostream>
#include <memory>

namespace tool {

namespace {

using Json = nlohmann::ordered_json;

/* Values that a reader of a terminal wants to see of an array. */
constexpr std::size_t kMostShown = 16;

struct ShowOptions {
    CommonOptions common;
    std::string store;
    std::string node;
};

std::string plainText(const Json& value)
{
    if (value.is_string()) {
        return oneLine(value.get<std::string>());
    }
    return value.is_null() ? "-" : value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

/* Items a line, those of nested records indented. */
void printRecord(const Json& record, int depth)
{
    for (const auto& [name, value] : record.items()) {
        const std::string indent(2 * static_cast<std::size_t>(depth), ' ');
        if (value.is_object() && !value.empty()) {
            std::cout << indent << oneLine(name) << ":\n";
            printRecord(value, depth + 1);
        } else {
            std::cout << indent << oneLine(name) << ": " << plainText(value) << '\n';
        }
    }
}

/* A row of the table a line: its bin's limits, then the columns. */
void printTable(const Json& table)
{
    TextTable text;
    std::vector<std::string> head{"row"};
    const bool hasBins = table["bins"].is_object();
    if (hasBins) {
        head.insert(head.end(), {"from", "below"});
    }
    for (const Json& column : table["columns"]) {
        head.push_back(oneLine(column["name"].get<std::string>()));
    }
    text.add(std::move(head));
    const auto rows = table["rows"].get<std::size_t>();
    for (std::size_t row = 0; row < rows; ++row) {
        std::vector<std::string> line{std::to_string(row)};
        if (hasBins) {
            const Json& limits = table["bins"]["limits"];
            line.push_back(row < limits.size() ? plainText(limits[row][0]) : "");
            line.push_back(row < limits.size() ? plainText(limits[row][1]) : "");
        }
        for (const Json& column : table["columns"]) {
            line.push_back(row < column["values"].size() ? plainText(column["values"][row]) : "");
        }
        text.add(std::move(line));
    }
    if (hasBins) {
        std::cout << "bins: " << plainText(table["bins"]["function"]) << ", " << table["bins"]["count"] << '\n';
    }
    text.print(std::cout);
}

void show(const ShowOptions& options)
{
    const OpenStore store(options.store);
    store.seek(options.node);
    const Ehfa_Entry entry = *store.get()->entry;
    const std::string node = currentNode(store.get());
    const std::string type = oneLine(entry.type);
    Json document{{"path", node}, {"type", type}, {"size", entry.dataSize}, {"modified", numberJson(entry.modTime)}};
    const bool isTable = type == "Edsc_Table";
    const bool isColumn = type == "Edsc_Column";
    if (isTable || isColumn) {
        const std::string table = isColumn ? node.substr(0, node.rfind(':')) : node;
        document["table"] = tableJson(store, table, isColumn ? std::string(entry.name) : std::string());
    } else {
        document["object"] = objectJson(store, node, options.common.json ? 0 : kMostShown);
    }
    if (options.common.json) {
        std::cout << document.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n';
        return;
    }
    std::cout << node << ": " << type << ", " << entry.dataSize << " bytes, " << timeText(entry.modTime) << '\n';
    if (isTable || isColumn) {
        printTable(document["table"]);
    } else {
        printRecord(document["object"], 0);
    }
}

}  // namespace

void addShow(CLI::App& program, Exit&)
{
    auto options = std::make_shared<ShowOptions>();
    CLI::App& verb = *program.add_subcommand("show", "One object by its design; a column or table with its rows");
    verb.add_option("store", options->store, "A store")->required()->type_name("STORE");
    verb.add_option("node", options->node, "The node, as in :scene:Layer_1:Statistics")->required()->type_name("NODE");
    addCommonOptions(verb, options->common);
    verb.callback([options] { show(*options); });
}

}  // namespace tool
