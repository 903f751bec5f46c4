#include "files/efio/internal_names.h"
#include "files/efio/names.h"
#include "frame/estr/environment.h"
#include "frame/guard/guard.h"
#include "platform/clock.h"
#include "platform/environment.h"
#include "platform/paths.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cstring>
#include <emantle/files/efio/paths.h>
#include <emantle/files/efio/temporary.h>

namespace emantle::files {

namespace {

constexpr char places[] = "XXXXXX", defaultPrefix[] = "tmp.";

thread_local std::string temporaryDirectory;

bool isDirectory(const std::string& path)
{
    platform::FileStatus status;
    return platform::fileStatus(path, status) == 0 && status.kind == platform::FileKind::directory;
}

void checkDirectory(const std::string& path)
{
    require(isDirectory(path), "%s: no such directory", path.c_str());
    require(platform::checkAccess(path, platform::rightToWrite | platform::rightToExecute) == 0, "Cannot access %s",
            path.c_str());
}

/* The directory that the environment names; where none is named and the built-in one is missing, the system's own. */
std::string directoryOfEnvironment()
{
    for (const char* variable : {"ORVIK_TMPDIR", "TEMP"}) {
        if (std::string value; environmentValue(variable, value)) {
            return expandedName(value.c_str());
        }
    }
    const std::string builtIn = expandedName("\\TEMP");
    return isDirectory(builtIn) ? builtIn : "/tmp";
}

const std::string& threadDirectory()
{
    if (temporaryDirectory.empty()) {
        const std::string directory = directoryOfEnvironment();
        checkDirectory(directory);
        temporaryDirectory = directory;
    }
    return temporaryDirectory;
}

bool isTaken(const std::string& path)
{
    platform::FileStatus status;
    return platform::linkStatus(path, status) == 0;
}

/* The next name of a run: its first place counts from the digit through "a" to "z", then the one behind it moves on.
 * False when the last place has gone round. */
bool nextOfRun(char* begin, const char* end) noexcept
{
    for (char* place = begin; place != end; ++place) {
        if (std::isdigit(static_cast<unsigned char>(*place)) != 0) {
            *place = 'a';
            return true;
        }
        if (*place != 'z') {
            ++*place;
            return true;
        }
        *place = 'a';
    }
    return false;
}

/* Fills the run at the end of `name`; `pathOf` says what the system knows a name by. */
template <class PathOf> bool fillRun(char* name, PathOf pathOf)
{
    char* const end = name + std::strlen(name);
    char* begin = end;
    while (begin != name && (begin[-1] == 'X' || begin[-1] == 'x')) {
        --begin;
    }
    const std::string path = pathOf(name);
    const std::size_t slash = path.rfind('/');
    const std::string directory = slash == path.npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
    require(isDirectory(directory), "%s: no such directory", directory.c_str());

    long digits = platform::processId();
    for (char* place = end; place != begin; digits /= 10) {
        *--place = static_cast<char>('0' + digits % 10);
    }
    while (isTaken(pathOf(name))) {
        if (!nextOfRun(begin, end)) {
            return false;
        }
    }
    return true;
}

/* A free name in `directory`; null when all are taken. */
char* newName(const char* directory, const char* prefix)
{
    std::string folder = directory == nullptr ? threadDirectory() : directory;
    std::string start = prefix == nullptr || *prefix == '\0' ? defaultPrefix : prefix;
    std::replace(folder.begin(), folder.end(), '\\', '/');
    std::replace(start.begin(), start.end(), '\\', '/');
    const bool joined = start.front() == '/' || (!folder.empty() && folder.back() == '/');
    const std::string pattern = formatted(joined ? "%s%s%s" : "%s/%s%s", folder.c_str(), start.c_str(), places);
    std::string name = expandedName(pattern.c_str());
    return fillTemporary(name) ? heapText(name).release() : nullptr;
}

}  // namespace

bool fillTemporary(std::string& name)
{
    return fillRun(name.data(), [](const char* text) { return std::string(text); });
}

}  // namespace emantle::files

using namespace emantle;
using namespace emantle::files;

EMANTLE_API char* efio_TempName(const char* directory, const char* prefix, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "efio_TempName", nullptr, [&] {
        char* const name = newName(directory, prefix);
        require(name != nullptr, "Every temporary name of %s is taken", prefix == nullptr ? "tmp." : prefix);
        return name;
    });
}

EMANTLE_API char* efio_TempNameInTmpdir(const char* prefix, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "efio_TempNameInTmpdir", nullptr,
                          [&](EerrException& scope) { return checked(scope, efio_TempName(nullptr, prefix, scope)); });
}

EMANTLE_API char* efio_TempNameFromTime(const char* directory, const char* prefix, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "efio_TempNameFromTime", nullptr, [&] {
        static std::atomic<int> counter;
        const std::string folder = directory == nullptr ? threadDirectory() : directory;
        const char* const start = prefix == nullptr || *prefix == '\0' ? defaultPrefix : prefix;
        std::string name;
        do {
            name = expandedName(formatted("%s/%s%ld%d", folder.c_str(), start,
                                          static_cast<long>(platform::wholeSecondsSinceEpoch()), counter.fetch_add(1))
                                    .c_str());
        } while (isTaken(name));
        return heapText(name).release();
    });
}

EMANTLE_API char* efio_MakeTemp(char* name, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "efio_MakeTemp", nullptr, [&] {
        require(name != nullptr, "NULL file name");
        return fillRun(name, [](const char* text) { return expandedName(text); }) ? name : nullptr;
    });
}

EMANTLE_API char* efio_TmpName(Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "efio_TmpName", nullptr,
                          [&](EerrException& scope) { return checked(scope, efio_TempName(nullptr, nullptr, scope)); });
}

EMANTLE_API Efio_File* efio_TmpFile(Eerr_ErrorReport** err)
{
    return guarded<Efio_File*>(err, "efio_TmpFile", nullptr, [&](EerrException& scope) {
        const emantle::HeapPtr<char> name(checked(scope, efio_TempName(nullptr, nullptr, scope)));
        Efio_File* const file = checked(scope, efio_Open(name.get(), "w+b", scope));
        /* The file lives on without a name until its last handle is closed. */
        platform::unlinkFile(file->name);
        return file;
    });
}

EMANTLE_API char* efio_DirectoryGetTemporary(Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "efio_DirectoryGetTemporary", nullptr,
                          [] { return heapText(threadDirectory()).release(); });
}

EMANTLE_API long efio_DirectorySetTemporary(const char* directory, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_DirectorySetTemporary", -1, [&] {
        const std::string path = expandedName(directory);
        checkDirectory(path);
        temporaryDirectory = path;
        return 0;
    });
}
