// Two lines: a node path, and a part for it. A path that can be read is the sum of its nodes; one that was changed can be
// read again and has the part; what is joined falls apart where it was joined.

#include "fuzz/input.h"

#include <emantle/files/efnp/node_path.h>

using namespace fuzz;

namespace {

constexpr long mostTried = 8;

struct FreeName {
    void operator()(Efnp_NodeName* name) const noexcept { efnp_FreeNodeName(name); }
};

void sumOfNodes(const char* path, long length)
{
    for (long node = 0; node < std::min(length, mostTried); ++node) {
        const HeapText own = held(efnp_NodePathGet(path, EFNP_NODE, node, nullptr));
        const HeapText before = held(efnp_NodePathGet(path, EFNP_NODE_PATH, node, nullptr));
        const HeapText both = held(efnp_NodePathGet(path, EFNP_NODE_PATH | EFNP_NODE, node, nullptr));
        need(own != nullptr && before != nullptr);
        need(same(both, std::string(before.get()) + (node > 0 ? ":" : "") + own.get()));
        need(same(held(efnp_NodePathGet(path, EFNP_NODE, node - length, nullptr)), own.get()));
    }
    const HeapText root = held(efnp_NodePathGet(path, EFNP_NODE_ROOT, 0, nullptr));
    need(same(root, *path == ':' ? ":" : ""));
}

void setParts(const char* path, const char* data, long length)
{
    for (long node = 0; node <= std::min(length, mostTried); ++node) {
        const HeapText changed = held(efnp_NodePathSet(path, data, EFNP_NODE, node, nullptr));
        if (changed != nullptr && *data != '\0') {
            need(efnp_NodePathLength(changed.get(), nullptr) == std::max(length, node + 1));
            need(same(held(efnp_NodePathGet(changed.get(), EFNP_NODE, node, nullptr)), data));
        }
        for (const long mask : {64, 128, 192, 384, 448}) {
            const HeapText other = held(efnp_NodePathSet(path, data, mask, node, nullptr));
            need(other == nullptr || *other == '\0' || efnp_NodePathLength(other.get(), nullptr) >= 0);
        }
    }
}

void joinAndSplit(const char* path, const char* data)
{
    const HeapText joined = held(efnp_PathJoin(path, data, nullptr));
    const std::size_t lost = std::strlen(path) + std::strlen(data) - std::strlen(joined.get());
    need(lost + 1 <= 2);
    const std::unique_ptr<Efnp_NodeName, FreeName> name(efnp_NodeNameParse(path, nullptr));
    need(name != nullptr && std::strchr(name->name, ':') == nullptr);
    const bool rooted = *path == ':' && std::strrchr(path, ':') == path;
    const std::string between = std::strchr(path, ':') == nullptr || rooted ? "" : ":";
    need(name->path + between + name->name == path);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    dropReports();
    Lines lines(bytes, size);
    const Text path = lines.next(), data = lines.next();
    const long length = efnp_NodePathLength(path, nullptr);
    if (length < 0) {
        need(efnp_NodePathGet(path, EFNP_NODE, 0, nullptr) == nullptr);
        need(efnp_NodePathSet(path, data, EFNP_NODE, 0, nullptr) == nullptr);
    } else {
        sumOfNodes(path, length);
        setParts(path, data, length);
    }
    joinAndSplit(path, data);
    return 0;
}
