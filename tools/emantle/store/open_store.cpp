#include "store/open_store.h"

#include <emantle/frame/eint.h>
#include <emantle/frame/emsc.h>

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <unistd.h>

namespace tool {

OpenStore::OpenStore(const std::string& path) : path_(path)
{
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) {
        throw Failure(path + ": is a directory");
    }
    if (access(path.c_str(), R_OK) != 0) {
        throw Failure(path + ": " + std::generic_category().message(errno));
    }
    Reports reports;
    file_ = ehfa_FileOpen(path.c_str(), "rb", eint_InitToolkit(reports), reports);
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
    std::string path = node.empty() || node.front() != ':' ? ":" + node : node;
    if (path.size() > 1 && path.back() == ':') {
        path.pop_back();
    }
    const bool isRoot = node.empty() || node == ":";
    /* The library steps over empty names; here they name nothing. */
    if (!isRoot && (path == ":" || path.find("::") != std::string::npos)) {
        throw Failure(path_ + ": there is no node " + node);
    }
    Reports reports;
    const Ehfa_Entry* found =
        ehfa_EntrySeek(file_, isRoot ? EHFA_SEEK_ROOT : EHFA_SEEK_PATH, isRoot ? nullptr : path.c_str(), reports);
    if (reports.failed() || found == nullptr) {
        throw Failure(path_ + ": there is no node " + path);
    }
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
