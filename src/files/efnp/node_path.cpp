#include "files/efnp/parts.h"
#include "frame/guard/guard.h"
#include "frame/memory/heap_ptr.h"

#include <algorithm>
#include <emantle/files/efnp/node_path.h>

namespace emantle::files {

namespace {

constexpr long nodeParts = EFNP_NODE_ROOT | EFNP_NODE_PATH | EFNP_NODE;

/* Protected text, as it stands in the path. */
struct NodePath {
    bool rooted = false;
    std::vector<std::string> nodes;
};

NodePath parse(const char* path, EerrException& scope)
{
    return checked(scope,
                   guarded<NodePath>(scope, "NodePathParse", {},
                                     [&] {
                                         const std::string_view text = path;
                                         require(!text.empty(), "Parse error; <NodePath> is NULL");
                                         require(!endsInProtection(text),
                                                 "Parse error; <NodePath> should not end with protection");
                                         NodePath parsed;
                                         parsed.rooted = text.front() == ':';
                                         for (const std::string_view node : splitProtected(text, ':')) {
                                             if (!node.empty()) {
                                                 parsed.nodes.emplace_back(node);
                                             }
                                         }
                                         return parsed;
                                     }),
                   "NodePathParse failed");
}

std::string compose(const NodePath& parsed, long options, std::size_t place)
{
    std::string out = (options & EFNP_NODE_ROOT) != 0 && parsed.rooted ? ":" : "";
    const bool withPath = (options & EFNP_NODE_PATH) != 0;
    if (withPath) {
        out += joined(parsed.nodes, std::min(place, parsed.nodes.size()), ':');
    }
    if ((options & EFNP_NODE) != 0 && place < parsed.nodes.size()) {
        out += (withPath && place > 0 ? ":" : "") + parsed.nodes[place];
    }
    return out;
}

/* The nodes in front of what is replaced, `data`, and the nodes behind it. */
std::string replaced(const NodePath& parsed, const std::string& data, long options, std::size_t place)
{
    const bool intoRoot = (options & EFNP_NODE_ROOT) != 0;
    std::string out = parsed.rooted && !intoRoot ? ":" : "";
    if ((options & (EFNP_NODE_ROOT | EFNP_NODE_PATH)) == 0) {
        out += joined(parsed.nodes, place, ':');
    }
    const auto append = [&](const std::string& piece) {
        const bool apart = !out.empty() && !endsInSeparator(out, ':') && !piece.empty() && piece.front() != ':';
        out += (apart ? ":" : "") + piece;
    };
    append(data);
    const long last = options & ~(options >> 1);
    const std::size_t rest = last == EFNP_NODE_ROOT ? 0 : last == EFNP_NODE_PATH ? place : place + 1;
    for (std::size_t i = rest; i < parsed.nodes.size(); ++i) {
        append(parsed.nodes[i]);
    }
    return out;
}

}  // namespace

}  // namespace emantle::files

using namespace emantle;
using namespace emantle::files;

EMANTLE_API char* efnp_NodePathGet(const char* path, long options, long node, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "efnp_NodePathGet", nullptr, [&](EerrException& scope) {
        require(path != nullptr, "Invalid input Args");
        checkRun(options, nodeParts);
        const NodePath parsed = parse(path, scope);
        return heapText(stripped(compose(parsed, options, placeOf(node, parsed.nodes.size())))).release();
    });
}

EMANTLE_API char* efnp_NodePathSet(const char* path, const char* data, long options, long node, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "efnp_NodePathSet", nullptr, [&](EerrException& scope) {
        require(path != nullptr && data != nullptr, "Invalid input Args");
        checkRun(options, nodeParts);
        const NodePath parsed = parse(path, scope);
        const std::string inner = enclosed(data, options == EFNP_NODE ? "\\:" : "\\");
        return heapText(replaced(parsed, inner, options, placeToSet(node, parsed.nodes.size()))).release();
    });
}

EMANTLE_API long efnp_NodePathLength(const char* path, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efnp_NodePathLength", -1, [&](EerrException& scope) {
        require(path != nullptr, "Invalid input Args");
        return static_cast<long>(parse(path, scope).nodes.size());
    });
}

EMANTLE_API const char* efnp_NodePathRoot(void)
{
    return ":";
}

EMANTLE_API char* efnp_NodePathPath(const char* base, const char* path, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "efnp_NodePathPath", nullptr,
                          [&](EerrException& scope) { return checked(scope, efnp_PathJoin(base, path, scope)); });
}

EMANTLE_API char* efnp_PathJoin(const char* a, const char* b, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "efnp_PathJoin", nullptr, [&]() -> char* {
        constexpr char noMemory[] = "Error allocating combined path";
        if (a == nullptr || b == nullptr) {
            const char* const only = a == nullptr ? b : a;
            return only == nullptr ? nullptr : heapText(only, noMemory).release();
        }
        std::string_view front = a, back = b;
        const bool before = !front.empty() && front.back() == ':', after = !back.empty() && back.front() == ':';
        if (before && after) {
            back.remove_prefix(1);
        }
        return heapText(std::string(front).append(before || after ? "" : ":").append(back), noMemory).release();
    });
}

EMANTLE_API Efnp_NodeName* efnp_NodeNameParse(const char* path, Eerr_ErrorReport** err)
{
    return guarded<Efnp_NodeName*>(err, "efnp_NodeNameParse", nullptr, [&] {
        const std::string_view text = path == nullptr ? "" : path;
        const std::size_t colon = text.rfind(':');
        const bool found = colon != text.npos;
        HeapPtr<char> front = heapText(!found ? "" : colon == 0 ? ":" : text.substr(0, colon));
        HeapPtr<char> name = heapText(found ? text.substr(colon + 1) : text);
        HeapPtr<Efnp_NodeName> result = allocate<Efnp_NodeName>();
        *result = {front.release(), name.release()};
        return result.release();
    });
}

EMANTLE_API void efnp_FreeNodeName(Efnp_NodeName* name)
{
    if (name != nullptr) {
        emsc_HeapFree(name->path);
        emsc_HeapFree(name->name);
        emsc_HeapFree(name);
    }
}
