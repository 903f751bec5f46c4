#include "files/efnp/parts.h"
#include "frame/guard/guard.h"
#include "frame/memory/heap_ptr.h"

#include <algorithm>
#include <emantle/files/efnp/file_name.h>
#include <emantle/files/efnp/node_list.h>
#include <emantle/files/efnp/node_path.h>

namespace emantle::files {

namespace {

/* One item, with protection as it stands in the list. */
struct Item {
    std::string name, title;
    std::vector<std::string> paths;
};

/* Reads a list character by character; each member is one state, entered at the character it begins with. */
class ListParser {
public:
    explicit ListParser(std::string_view text) noexcept : text_(text) {}

    std::vector<Item> run()
    {
        if (text_.empty()) {
            return {Item{}};
        }
        do {
            itemStart();
            fileName();
            if (!ended() && current() == '(') {
                specification();
            }
        } while (nextItem());
        return std::move(items_);
    }

private:
    bool ended() const noexcept { return at_ >= text_.size(); }
    char current() const noexcept { return text_[at_]; }
    long position() const noexcept { return static_cast<long>(at_); }

    /* Passes a protected pair; fails with `text` where the list ends inside it. */
    void passProtected(const char* text)
    {
        at_ += 2;
        require(at_ <= text_.size(), text);
    }

    void itemStart()
    {
        require(!ended(), "Parse error; <FileNodeList> terminates with NULL <FileName>");
        require(current() != '(' && current() != ',', "Illegal character, %c, at position %ld", current(), position());
        items_.emplace_back();
    }

    void fileName()
    {
        const std::size_t begin = at_;
        while (!ended() && current() != ',' && current() != '(') {
            if (current() == protection) {
                passProtected("Parse error; <FileNodeList> terminates in <FileName>");
            } else {
                ++at_;
            }
        }
        items_.back().name = text_.substr(begin, at_ - begin);
        const bool directory = !ended() && current() == '(' && text_[at_ - 1] == '/';
        require(!directory, "Parse error; <FileNodeListItemSpec> at position %ld is preceded by a <DirectoryName>",
                position());
    }

    /* A title, a node path, or the one behind the other, from "(" to behind ")". */
    void specification()
    {
        constexpr char inTitle[] = "Parse error; <FileNodeList> terminates in <FileTitle>";
        const std::size_t begin = ++at_;
        while (!ended() && current() != ')' && current() != ':') {
            if (current() == protection) {
                passProtected(inTitle);
            } else {
                ++at_;
            }
        }
        require(!ended(), inTitle);
        items_.back().title = text_.substr(begin, at_ - begin);
        require(current() == ':' || at_ > begin, "Parse error; NULL <FileNodeListItemSpec> at position %ld",
                position());
        while (current() == ':') {
            nodePath();
        }
        ++at_;
    }

    /* One path, and the comma in front of the next; stands on ":" or ")" after it. */
    void nodePath()
    {
        constexpr char inPath[] = "Parse error; <FileNodeList> terminates in <FullNodePath>";
        const std::size_t begin = at_;
        while (!ended() && current() != ')' && current() != ',') {
            if (current() == protection) {
                passProtected(inPath);
            } else {
                ++at_;
            }
        }
        require(!ended(), inPath);
        items_.back().paths.emplace_back(text_.substr(begin, at_ - begin));
        if (current() == ',') {
            ++at_;
            require(!ended(), "Parse error; <FileNodeList> terminates in <NodeList>");
            require(current() == ':', "Parse error; Expecting <FullNodePath> in position %ld, but found %s", position(),
                    std::string(text_.substr(at_)).c_str());
        }
    }

    /* Passes the comma between items; false at the end of the list. */
    bool nextItem()
    {
        if (ended()) {
            return false;
        }
        require(current() == ',',
                "Parse error; Illegal character, ETXT_LCHAR('%c'), at start of <OptFileNodeSubList> in position %ld",
                current(), position());
        ++at_;
        return true;
    }

    std::string_view text_;
    std::size_t at_ = 0;
    std::vector<Item> items_;
};

std::vector<Item> parse(const char* list, EerrException& scope)
{
    return checked(scope,
                   guarded<std::vector<Item>>(scope, "FileNodeListParse", {}, [&] { return ListParser(list).run(); }),
                   "FileNodeListParse failed");
}

/* A mask in use. */
void checkMask(long options)
{
    constexpr long masks[] = {EFNP_FILE_NAME, EFNP_TITLE, EFNP_NAME_AND_TITLE, EFNP_FULL_NODE_PATH, EFNP_ITEM};
    require(std::find(std::begin(masks), std::end(masks), options) != std::end(masks), "Invalid options specification");
}

std::string inParentheses(const std::string& specification)
{
    return specification.empty() ? specification : "(" + specification + ")";
}

std::string compose(const Item& item)
{
    return item.name + inParentheses(item.title + joined(item.paths, item.paths.size(), ','));
}

std::string compose(const std::vector<Item>& items)
{
    std::string out;
    for (std::size_t i = 0; i < items.size(); ++i) {
        out += (i == 0 ? "" : ",") + compose(items[i]);
    }
    return out;
}

std::string partOf(const Item& item, long options, long path)
{
    const std::string wanted = item.paths.empty() ? std::string() : item.paths[placeOf(path, item.paths.size())];
    switch (options) {
    case EFNP_FILE_NAME:
        return item.name;
    case EFNP_TITLE:
        return item.title;
    case EFNP_NAME_AND_TITLE:
        return item.name + inParentheses(item.title);
    case EFNP_FULL_NODE_PATH:
        return wanted;
    default:
        return item.name + inParentheses(item.title + wanted);
    }
}

void setPath(Item& item, const char* data, long path)
{
    require(!item.name.empty(), "Cannot modify a <NodePath> of a non-existent <FileNodeListItem>");
    require(*data == ':', "<NodePath> is not a <FullNodePath>");
    require(!endsInProtection(data), "Parse error; <NodePath> should not end with protection");
    const std::size_t place = placeToSet(path, item.paths.size());
    item.paths.resize(std::max(item.paths.size(), place + 1));
    item.paths[place] = data;
}

/* What ends a path in a list but not in a path of its own is protected. */
std::string enclosedPath(const char* data)
{
    std::string out;
    for (const char* c = data; *c != '\0'; ++c) {
        if (*c == protection && c[1] != '\0') {
            out += *c++;
        } else if (*c == ',' || *c == ')') {
            out += protection;
        }
        out += *c;
    }
    return out;
}

void setPart(Item& item, const char* data, long options, long path, EerrException& scope)
{
    switch (options) {
    case EFNP_FILE_NAME:
        item.name = enclosed(data, "\\,(");
        break;
    case EFNP_TITLE:
        require(!item.name.empty(), "Cannot modify title of non-existent <FileNodeListItem>");
        item.title = enclosed(data, "\\:)");
        break;
    case EFNP_FULL_NODE_PATH:
        setPath(item, enclosedPath(data).c_str(), path);
        break;
    default: {
        /* An item in its own words. */
        const std::vector<Item> given = parse(data, scope);
        require(given.size() == 1, "Invalid input Args");
        item.name = given.front().name;
        item.title = given.front().title;
        if (options == EFNP_ITEM) {
            item.paths = given.front().paths;
        }
    }
    }
}

/* An array of items that is freed with efnp_FreeNodeList as far as it is filled. */
struct DeleteNodes {
    void operator()(Efnp_FileNodes* list) const noexcept { efnp_FreeNodeList(list); }
};

void split(const std::string& path, Efnp_NodePair& pair)
{
    std::size_t colon = 0;
    for (std::size_t i = 0; i < path.size(); ++i) {
        if (path[i] == protection) {
            ++i;
        } else if (path[i] == ':') {
            colon = i;
        }
    }
    pair.path = heapText(colon == 0 ? ":" : path.substr(0, colon)).release();
    pair.name = heapText(stripped(path.substr(colon + 1))).release();
}

Efnp_FileNodes* toNodes(const std::vector<Item>& items)
{
    std::unique_ptr<Efnp_FileNodes, DeleteNodes> list(allocate<Efnp_FileNodes>(items.size() + 1).release());
    for (std::size_t i = 0; i < items.size(); ++i) {
        list.get()[i].file = heapText(stripped(items[i].name)).release();
        list.get()[i].nodes = allocate<Efnp_NodePair>(items[i].paths.size() + 1).release();
        for (std::size_t k = 0; k < items[i].paths.size(); ++k) {
            split(items[i].paths[k], list.get()[i].nodes[k]);
        }
    }
    return list.release();
}

Efnp_FileNodes* parseToNodes(const char* function, const char* list, Eerr_ErrorReport** err)
{
    if (list != nullptr && *list == '\0') {
        detail::clear(err);
        Eerr_ErrorReport* warning =
            eerr_CreateErrorReport(function, __LINE__, EERR_WARNING, nullptr, "File name length equals zero.");
        if (err != nullptr) {
            *err = warning;
        } else {
            eerr_PrintErrorReport(warning, EERR_PRINT_ALL);
            eerr_DeleteErrorReportEx(&warning);
        }
        return nullptr;
    }
    return guarded<Efnp_FileNodes*>(err, function, nullptr, [&](EerrException& scope) {
        require(list != nullptr, "Invalid input Args");
        std::vector<Item> items =
            guarded<std::vector<Item>>(scope, "FileNodeListParse", {}, [&] { return ListParser(list).run(); });
        check(scope, "Syntax error in file node list");
        return toNodes(items);
    });
}

}  // namespace

}  // namespace emantle::files

using namespace emantle;
using namespace emantle::files;

EMANTLE_API char* efnp_FileNodeListGet(const char* list, long options, long item, long path, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "efnp_FileNodeListGet", nullptr, [&](EerrException& scope) {
        require(list != nullptr, "Args");
        checkMask(options);
        const std::vector<Item> items = parse(list, scope);
        return heapText(stripped(partOf(items[placeOf(item, items.size())], options, path)), "Strip failed").release();
    });
}

EMANTLE_API char* efnp_FileNodeListSet(const char* list, const char* data, long options, long item, long path,
                                       Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "efnp_FileNodeListSet", nullptr, [&](EerrException& scope) {
        require(list != nullptr && data != nullptr, "Args");
        checkMask(options);
        std::vector<Item> items = parse(list, scope);
        const bool none = items.size() == 1 && items.front().name.empty();
        const std::size_t place = none ? 0 : placeToSet(item, items.size());
        items.resize(std::max(items.size(), place + 1));
        setPart(items[place], data, options, path, scope);
        const std::string changed = compose(items);
        parse(changed.c_str(), scope);
        return heapText(changed, "Enclose failed").release();
    });
}

EMANTLE_API long efnp_FileNodeListLength(const char* list, long item, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efnp_FileNodeListLength", -1, [&](EerrException& scope) {
        require(list != nullptr, "Args");
        const std::vector<Item> items = parse(list, scope);
        const std::size_t count = item == -1 ? items.size() : items[placeOf(item, items.size())].paths.size();
        return static_cast<long>(count);
    });
}

EMANTLE_API char* efnp_FileNodeListGetNonNodePart(const char* list, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "efnp_FileNodeListGetNonNodePart", nullptr, [&](EerrException& scope) {
        return checked(scope, efnp_FileNodeListGet(list, EFNP_FILE_NAME, -1, 0, scope),
                       "efnp_FileNodeListGetNonNodePart fail");
    });
}

EMANTLE_API char* efnp_FileNodeCreate(const char* directory, const char* file, const char* node, const char* title,
                                      Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "efnp_FileNodeCreate", nullptr, [&](EerrException& scope) {
        const auto given = [](const char* text) { return text != nullptr && *text != '\0'; };
        require(given(directory) || given(file), "Unable to compose file name for file node");
        HeapPtr<char> name(!given(directory) ? heapText(file)
                           : !given(file)    ? heapText(directory)
                                             : HeapPtr<char>(efnp_FileNameAddName(directory, file, scope)));
        check(scope, "Unable to compose file name for file node");
        HeapPtr<char> item(efnp_FileNodeListSet("", name.get(), EFNP_FILE_NAME, 0, 0, scope));
        check(scope, "efnp_FileNodeListSet fail");
        if (given(title)) {
            item.reset(efnp_FileNodeListSet(item.get(), title, EFNP_TITLE, 0, 0, scope));
            check(scope, "Problem adding title to file name");
        }
        if (given(node)) {
            const HeapPtr<char> full(efnp_PathJoin(efnp_NodePathRoot(), node, scope));
            check(scope, "Problem setting file node in node path");
            item.reset(efnp_FileNodeListSet(item.get(), full.get(), EFNP_FULL_NODE_PATH, 0, 0, scope));
            check(scope, "Unable to set node for file node");
        }
        return item.release();
    });
}

EMANTLE_API Efnp_FileNodes* efnp_FileNodeListParse(const char* list, Eerr_ErrorReport** err)
{
    return parseToNodes("efnp_FileNodeListParse", list, err);
}

EMANTLE_API Efnp_FileNodes* efnp_FileNodeParseEx(const char* list, Eerr_ErrorReport** err)
{
    return parseToNodes("efnp_FileNodeParseEx", list, err);
}

EMANTLE_API void efnp_FreeNodeList(Efnp_FileNodes* list)
{
    if (list == nullptr) {
        return;
    }
    for (Efnp_FileNodes* item = list; item->file != nullptr; ++item) {
        for (Efnp_NodePair* pair = item->nodes; pair != nullptr && pair->path != nullptr; ++pair) {
            emsc_HeapFree(pair->path);
            emsc_HeapFree(pair->name);
        }
        emsc_HeapFree(item->nodes);
        emsc_HeapFree(item->file);
    }
    emsc_HeapFree(list);
}
