#include "files/efio/host.h"
#include "files/efio/names.h"
#include "frame/guard/guard.h"

#include <algorithm>
#include <emantle/files/efio/host.h>
#include <emantle/files/efio/paths.h>
#include <emantle/files/efio/scan.h>
#include <emantle/files/efnp/file_name.h>
#include <emantle/siblings/ethr.h>
#include <string_view>
#include <utility>
#include <vector>

namespace emantle::files {

namespace {

constexpr char skipped[] = "FILE_SKIPPED_AT_USER_REQUEST";

/* Where missing files are looked for. */
struct Verification {
    Ethr_Mutex mutex;
    std::vector<std::string> paths;
    std::string baseDirectory;
};

Verification& verification()
{
    static Verification* const state = new Verification();
    return *state;
}

std::vector<std::string> placesToLook()
{
    Verification& state = verification();
    const EthrMutexLock lock(state.mutex);
    std::vector<std::string> places = state.paths;
    if (!state.baseDirectory.empty()) {
        places.insert(places.begin(), state.baseDirectory);
    }
    return places;
}

bool exists(const std::string& path, EerrException& scope)
{
    const long kind = efio_FileNameExistAsFileOrDir(path.c_str(), scope);
    check(scope, "Error checking %s\n", path.c_str());
    return kind != 0;
}

/* The name where it, or a file of its last part, exists; empty for none. */
std::string located(const std::string& path, EerrException& scope)
{
    if (exists(path, scope)) {
        return path;
    }
    const HeapPtr<char> own(efnp_FileNameGetNamePart(path.c_str(), scope));
    check(scope, "Error verifying %s\n", path.c_str());
    for (const std::string& place : placesToLook()) {
        const std::string candidate = place + "/" + own.get();
        if (exists(candidate, scope)) {
            return candidate;
        }
    }
    return {};
}

}  // namespace

}  // namespace emantle::files

using namespace emantle;
using namespace emantle::files;

EMANTLE_API char* efio_FileNameVerify(const char* name, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "efio_FileNameVerify", nullptr, [&](EerrException& scope) {
        std::string wanted = expandedName(name);
        for (;;) {
            const std::string found = wanted.empty() ? wanted : located(wanted, scope);
            if (!found.empty()) {
                return heapText(found).release();
            }
            require(hasQueryFunction(), "No replacement specified for %s", name);
            const std::string answer = efio::ExecuteQuery(formatted("Error locating %s\n", wanted.c_str()), {});
            if (answer.empty()) {
                return heapText(skipped).release();
            }
            wanted = expandedName(answer.c_str());
        }
    });
}

EMANTLE_API long efio_FileNameVerifyAddDefaultPath(const char* path, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_FileNameVerifyAddDefaultPath", -1, [&] {
        std::string expanded = expandedName(path);
        Verification& state = verification();
        const EthrMutexLock lock(state.mutex);
        if (std::find(state.paths.begin(), state.paths.end(), expanded) == state.paths.end()) {
            state.paths.push_back(std::move(expanded));
        }
        return 0;
    });
}

EMANTLE_API long efio_FileNameVerifySetBaseFileName(const char* name, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_FileNameVerifySetBaseFileName", -1, [&](EerrException& scope) {
        std::string directory;
        if (name != nullptr) {
            const HeapPtr<char> part(efnp_FileNameGetPathPart(expandedName(name).c_str(), scope));
            check(scope, "Failed to parse base file name %s", name);
            directory = *part == '\0' ? "." : part.get();
        }
        Verification& state = verification();
        const EthrMutexLock lock(state.mutex);
        state.baseDirectory = std::move(directory);
        return 0;
    });
}

EMANTLE_API long efio_FileNameCorrect(char** name, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_FileNameCorrect", -1, [&](EerrException& scope) {
        require(name != nullptr && *name != nullptr, "NULL file name");
        HeapPtr<char> verified(efio_FileNameVerify(*name, scope));
        check(scope, "Could not correct filename %s\n", *name);
        if (std::string_view(verified.get()) != skipped) {
            emsc_HeapFree(std::exchange(*name, verified.release()));
        }
        return 0;
    });
}

EMANTLE_API Emsc_Boolean efio_FileNameIsPortable(const char* name)
{
    constexpr std::string_view portable = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789.-_";
    const std::string_view text = name == nullptr ? "" : name;
    return !text.empty() && text.find_first_not_of(portable) == text.npos;
}
