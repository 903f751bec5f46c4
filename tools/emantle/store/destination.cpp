#include "store/destination.h"

namespace tool {

Destination destinationOf(const OpenStore& store, const std::string& path, const std::string& node)
{
    const std::string plain = nodePath(path);
    const bool isThere = store.has(plain);
    const Destination destination =
        isThere ? Destination{plain, nameOf(node)} : Destination{parentOf(plain), nameOf(plain)};
    if (destination.name.empty() || path.find("::") != std::string::npos) {
        throw Failure(store.path() + ": " + path + " is not the path of a node");
    }
    if (destination.name.size() > EHFA_NAME_MAX) {
        throw Failure(store.path() + ": a name has at most " + std::to_string(EHFA_NAME_MAX) + " bytes: " +
                      oneLine(destination.name));
    }
    store.seek(destination.parent);
    if (isThere && store.has(destination.path())) {
        throw Failure(store.path() + ": " + destination.path() + " is there already");
    }
    return destination;
}

bool isAtOrBelow(const std::string& path, const std::string& node)
{
    return path == node || node == ":" || path.starts_with(node + ":");
}

}  // namespace tool
