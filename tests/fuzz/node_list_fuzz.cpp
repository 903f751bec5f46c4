// Two lines: a list of files with titles and nodes, and a part for it. A list that can be read can be read by every function;
// one that was changed can be read again and has the part. Both lines are tried as file names, too.

#include "fuzz/input.h"

#include <emantle/files/efnp.h>

using namespace fuzz;

namespace {

constexpr long masks[] = {EFNP_FILE_NAME, EFNP_TITLE, EFNP_NAME_AND_TITLE, EFNP_FULL_NODE_PATH, EFNP_ITEM};
constexpr long mostTried = 4;

struct FreeNodes {
    void operator()(Efnp_FileNodes* list) const noexcept { efnp_FreeNodeList(list); }
};

std::string withoutProtection(std::string_view text)
{
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        i += text[i] == '\\' && i + 1 < text.size() ? 1 : 0;
        out += text[i];
    }
    return out;
}

void refused(const char* list, const char* data)
{
    need(efnp_FileNodeListParse(list, nullptr) == nullptr);
    need(efnp_FileNodeListLength(list, 0, nullptr) == -1);
    for (const long mask : masks) {
        need(efnp_FileNodeListGet(list, mask, 0, 0, nullptr) == nullptr);
        need(efnp_FileNodeListSet(list, data, mask, 0, 0, nullptr) == nullptr);
    }
}

void setPart(const char* list, const char* data, long mask, long item, long path)
{
    const HeapText changed = held(efnp_FileNodeListSet(list, data, mask, item, path, nullptr));
    if (changed == nullptr) {
        return;
    }
    const HeapText part = held(efnp_FileNodeListGet(changed.get(), mask, item, path, nullptr));
    if (mask == EFNP_FILE_NAME || mask == EFNP_TITLE) {
        need(same(part, data));
    } else if (mask == EFNP_FULL_NODE_PATH) {
        need(same(part, withoutProtection(data)));
    } else {
        need(same(part, held(efnp_FileNodeListGet(data, mask, 0, path, nullptr)).get()));
    }
}

void items(const char* list, const char* data, long count)
{
    const std::unique_ptr<Efnp_FileNodes, FreeNodes> nodes(efnp_FileNodeListParse(list, nullptr));
    need((nodes == nullptr) == (*list == '\0'));
    for (long item = 0; item < std::min(count, mostTried); ++item) {
        const long paths = efnp_FileNodeListLength(list, item, nullptr);
        const HeapText name = held(efnp_FileNodeListGet(list, EFNP_FILE_NAME, item, 0, nullptr));
        need(nodes == nullptr || same(name, nodes.get()[item].file));
        for (long path = 0; nodes != nullptr && path < paths; ++path) {
            need(nodes.get()[item].nodes[path].path != nullptr);
        }
        need(nodes == nullptr || nodes.get()[item].nodes[paths].path == nullptr);
        for (long path = 0; path <= std::min(paths, mostTried); ++path) {
            const HeapText whole = held(efnp_FileNodeListGet(list, EFNP_ITEM, item, path, nullptr));
            need(std::string_view(whole.get()).substr(0, std::strlen(name.get())) == name.get());
            for (const long mask : masks) {
                setPart(list, data, mask, item, path);
            }
        }
    }
    need(nodes == nullptr || nodes.get()[count].file == nullptr);
}

/* What is set is there; where the parts end at a character of the data, what is behind it may count to another part. */
void fileNames(const char* name, const char* data)
{
    need(efnp_FileNameCompare(name, data) == -efnp_FileNameCompare(data, name));
    need(efnp_FileNameEquals(name, name) != 0);
    const long length = efnp_FileNameLengthX(name);
    need((length >= 0) == (efnp_FileNameContainsValidCharacters(name) != 0));
    for (long directory = -2; directory < 3; ++directory) {
        for (const long mask : {1, 2, 4, 8, 16, 3, 6, 12, 24, 7, 14, 28, 15, 30, 31}) {
            need((held(efnp_FileNameGet(name, mask, directory, nullptr)) == nullptr) == (length < 0));
            const HeapText changed = held(efnp_FileNameSet(name, data, mask, directory, nullptr));
            need(changed == nullptr || *changed == '\0' || efnp_FileNameLengthX(changed.get()) >= 0);
            if (changed != nullptr && mask == EFNP_NAME_PART && std::strpbrk(data, "/\\:") == nullptr && directory >= 0) {
                need(same(held(efnp_FileNameGet(changed.get(), mask, directory, nullptr)), data));
            }
        }
    }
    for (auto* convert : {efnp_FileNameEvaluateEnv, efnp_MakeValidFileName, efnp_FileNameNormalize}) {
        need(held(convert(name, nullptr)) != nullptr);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    dropReports();
    Lines lines(bytes, size);
    const Text list = lines.next(), data = lines.next();
    const long count = efnp_FileNodeListLength(list, -1, nullptr);
    count < 0 ? refused(list, data) : items(list, data, count);
    fileNames(list, data);
    const HeapText node = held(efnp_FileNodeCreate(nullptr, list, data, data, nullptr));
    need(node == nullptr || efnp_FileNodeListLength(node.get(), -1, nullptr) == 1);
    return 0;
}
