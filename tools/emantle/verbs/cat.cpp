#include "store/content.h"
#include "store/open_store.h"
#include "verbs/verb.h"

#include <algorithm>
#include <iostream>
#include <memory>

namespace tool {

namespace {

constexpr std::int64_t kPiece = 1 << 20;

struct CatOptions {
    std::string store;
    std::string node;
};

void cat(const CatOptions& options)
{
    const OpenStore store(options.store);
    store.seek(options.node);
    const Ehfa_Entry entry = *store.get()->entry;
    const ReadBytes read = bytesOf(store.get());
    if (entry.dataSize < 0 || std::int64_t{entry.data} + entry.dataSize > read.fileSize) {
        throw Failure(options.store + ": the data of " + nodePath(options.node) + " do not lie in the file");
    }
    for (std::int64_t done = 0; done < entry.dataSize; done += kPiece) {
        const Bytes bytes =
            read(entry.data + static_cast<std::uint32_t>(done), std::min<std::int64_t>(kPiece, entry.dataSize - done));
        std::cout.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }
}

}  // namespace

void addCat(CLI::App& program, Exit&)
{
    auto options = std::make_shared<CatOptions>();
    CLI::App& verb = *program.add_subcommand("cat", "The bytes of a node's data, as they lie in the store");
    verb.add_option("store", options->store, "A store")->required()->type_name("STORE");
    verb.add_option("node", options->node, "The node")->required()->type_name("NODE");
    verb.callback([options] { cat(*options); });
}

}  // namespace tool
