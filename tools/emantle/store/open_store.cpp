#include "store/open_store.h"

#include "console/told.h"

#include <emantle/frame/eint.h>
#include <emantle/frame/emsc.h>

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace tool {

OpenStore::OpenStore(const std::string& path, Access access) : path_(path)
{
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) {
        throw Failure(path + ": is a directory");
    }
    const bool isWritten = access == Access::writing;
    if (::access(path.c_str(), isWritten ? R_OK | W_OK : R_OK) != 0) {
        throw Failure(path + ": " + std::generic_category().message(errno));
    }
    Reports reports;
    file_ = ehfa_FileOpen(path.c_str(), isWritten ? "r+b" : "rb", eint_InitToolkit(reports), reports);
    reports.check(path + ": cannot be opened");
    if (file_ == nullptr) {
        throw Failure(path + ": is not a store");
    }
}

OpenStore::~OpenStore()
{
    Reports reports;
    ehfa_FileClose(file_, reports);
}

void OpenStore::seek(const std::string& node) const
{
    if (!has(node)) {
        throw Failure(path_ + ": there is no node " + nodePath(node));
    }
}

bool OpenStore::has(const std::string& node) const
{
    const std::string path = nodePath(node);
    const bool isRoot = path == ":";
    /* The library steps over empty names; here they name nothing. */
    if (node.find("::") != std::string::npos) {
        return false;
    }
    Reports reports;
    const Ehfa_Entry* found =
        ehfa_EntrySeek(file_, isRoot ? EHFA_SEEK_ROOT : EHFA_SEEK_PATH, isRoot ? nullptr : path.c_str(), reports);
    return !reports.failed() && found != nullptr;
}

void OpenStore::requireWhole() const
{
    if (const std::string told = firstToldLine(); !told.empty()) {
        throw Failure(path_ + ": is damaged: " + told);
    }
}

void OpenStore::close()
{
    Reports reports;
    Ehfa_File* file = std::exchange(file_, nullptr);
    ehfa_FileClose(file, reports);
    reports.check(path_ + ": cannot be written");
}

std::string nodePath(const std::string& node)
{
    std::string path = node.empty() || node.front() != ':' ? ":" + node : node;
    if (path.size() > 1 && path.back() == ':') {
        path.pop_back();
    }
    return path;
}

std::string parentOf(const std::string& node)
{
    const std::size_t last = node.rfind(':');
    return last == 0 || last == std::string::npos ? ":" : node.substr(0, last);
}

std::string nameOf(const std::string& node)
{
    return node.substr(node.rfind(':') + 1);
}

std::string currentNode(Ehfa_File* file)
{
    Reports reports;
    char* text = ehfa_CurrentEntryPath(file, reports);
    std::string path = text == nullptr ? "" : text;
    emsc_HeapFree(text);
    reports.check("the path of a node cannot be told");
    while (path.size() > 1 && path.back() == ':') {
        path.pop_back();
    }
    return path;
}

}  // namespace tool
