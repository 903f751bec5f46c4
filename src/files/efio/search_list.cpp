#include "files/efio/names.h"
#include "frame/estr/environment.h"
#include "frame/guard/guard.h"

#include <algorithm>
#include <deque>
#include <emantle/files/efio/paths.h>
#include <emantle/files/efio/scan.h>
#include <emantle/files/efio/search_list.h>
#include <emantle/files/efnp/file_name.h>
#include <utility>
#include <vector>

namespace emantle::files {

namespace {

/* Owns a list that is being built. */
class Chain {
public:
    ~Chain() { efio_FreeSL(head_); }

    void add(std::string_view directory)
    {
        HeapPtr<char> text = heapText(directory);
        HeapPtr<Efio_SearchList> record = allocate<Efio_SearchList>();
        record->directory = text.release();
        *end_ = record.release();
        end_ = &(*end_)->next;
    }

    /* Hangs the chain behind `list`. */
    Efio_SearchList* joinTo(Efio_SearchList* list) noexcept
    {
        Efio_SearchList** last = &list;
        while (*last != nullptr) {
            last = &(*last)->next;
        }
        *last = std::exchange(head_, nullptr);
        end_ = &head_;
        return list;
    }

private:
    Efio_SearchList* head_ = nullptr;
    Efio_SearchList** end_ = &head_;
};

std::vector<std::string> directoriesOf(const char* text, EerrException& scope)
{
    std::vector<std::string> directories;
    const HeapPtr<char> expanded(checked(scope, estr_StringExpand(text, scope)));
    for (std::string_view rest = expanded == nullptr ? "" : expanded.get(); !rest.empty();) {
        const std::size_t end = std::min(rest.find(';'), rest.size());
        if (end > 0) {
            directories.push_back(expandedName(std::string(rest.substr(0, end)).c_str()));
        }
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return directories;
}

/* The value of a variable, or the text in its place. */
std::string valueOf(const char* name, const char* defaultText)
{
    std::string value = defaultText == nullptr ? "" : defaultText;
    environmentValue(name, value);
    return value;
}

/* "de_DE" and "de"; nothing for the languages "C" and "POSIX". */
std::vector<std::string> languages()
{
    std::string language;
    for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        if (language = valueOf(variable, nullptr); !language.empty()) {
            break;
        }
    }
    language = language.substr(0, language.find_first_of(".@"));
    const bool usable =
        !language.empty() && language != "C" && language != "POSIX" && language.find('/') == language.npos;
    if (!usable) {
        return {};
    }
    const std::size_t country = language.find('_');
    return country == language.npos ? std::vector{language} : std::vector{language, language.substr(0, country)};
}

Efio_SearchList* listFrom(const char* function, Efio_SearchList* list, const char* text, bool localized,
                          Eerr_ErrorReport** err)
{
    return guarded<Efio_SearchList*>(err, function, list, [&](EerrException& scope) {
        Chain chain;
        for (const std::string& directory : directoriesOf(text, scope)) {
            for (const std::string& language : localized ? languages() : std::vector<std::string>()) {
                chain.add(directory + "/" + language);
            }
            chain.add(directory);
        }
        return chain.joinTo(list);
    });
}

bool isAbsolute(const std::string& path)
{
    return path.front() == '/' || estr_PathBegin(path.c_str()) != path.c_str();
}

/* The first entry's name that stands for something; empty for none. */
std::string firstMatch(const Efio_SearchList* list, const char* name, EerrException& scope)
{
    for (; list != nullptr; list = list->next) {
        const std::string path = formatted("%s/%s", list->directory, name);
        if (checked(scope, efio_FileNameExistAsFileOrDir(path.c_str(), scope)) != 0) {
            return path;
        }
    }
    return {};
}

}  // namespace

}  // namespace emantle::files

using namespace emantle;
using namespace emantle::files;

EMANTLE_API Efio_SearchList* efio_CreateSLFromString(Efio_SearchList* list, const char* text, Eerr_ErrorReport** err)
{
    return listFrom("efio_CreateSLFromString", list, text, false, err);
}

EMANTLE_API Efio_SearchList* efio_CreateSLFromEnv(Efio_SearchList* list, const char* name, const char* defaultText,
                                                  Eerr_ErrorReport** err)
{
    return guarded<Efio_SearchList*>(err, "efio_CreateSLFromEnv", list, [&](EerrException& scope) {
        return checked(scope, efio_CreateSLFromString(list, valueOf(name, defaultText).c_str(), scope));
    });
}

EMANTLE_API Efio_SearchList* efio_CreateSLFromSL(Efio_SearchList* list, const Efio_SearchList* source,
                                                 Eerr_ErrorReport** err)
{
    return guarded<Efio_SearchList*>(err, "efio_CreateSLFromSL", list, [&] {
        Chain chain;
        for (; source != nullptr; source = source->next) {
            chain.add(source->directory);
        }
        return chain.joinTo(list);
    });
}

EMANTLE_API Efio_SearchList* efio_CreateLocalizedSLFromString(const char* text, Eerr_ErrorReport** err)
{
    return listFrom("efio_CreateLocalizedSLFromString", nullptr, text, true, err);
}

EMANTLE_API Efio_SearchList* efio_CreateLocalizedSLFromEnv(const char* name, const char* defaultText,
                                                           Eerr_ErrorReport** err)
{
    return guarded<Efio_SearchList*>(err, "efio_CreateLocalizedSLFromEnv", nullptr, [&](EerrException& scope) {
        return checked(scope, efio_CreateLocalizedSLFromString(valueOf(name, defaultText).c_str(), scope));
    });
}

EMANTLE_API Efio_SearchList* efio_AppendDirectoryToSL(Efio_SearchList* list, const char* directory,
                                                      Eerr_ErrorReport** err)
{
    return guarded<Efio_SearchList*>(err, "efio_AppendDirectoryToSL", list, [&] {
        require(directory != nullptr, "Error creating string");
        std::vector<HeapPtr<char>> fresh;
        for (const Efio_SearchList* entry = list; entry != nullptr; entry = entry->next) {
            const std::string joined = formatted("%s\\%s", entry->directory, directory);
            fresh.push_back(heapText(joined, "Error creating string"));
            estr_ConvertPath(fresh.back().get());
        }
        auto next = fresh.begin();
        for (Efio_SearchList* entry = list; entry != nullptr; entry = entry->next) {
            emsc_HeapFree(std::exchange(entry->directory, (next++)->release()));
        }
        return list;
    });
}

EMANTLE_API Efio_SearchList* efio_SLRemovePath(Efio_SearchList* list, const char* directory, Eerr_ErrorReport** err)
{
    return guarded<Efio_SearchList*>(err, "efio_SLRemovePath", list, [&] {
        const std::string wanted = expandedName(directory);
        Efio_SearchList* head = list;
        for (Efio_SearchList** link = &head; *link != nullptr; link = &(*link)->next) {
            if (efnp_FileNameEquals((*link)->directory, wanted.c_str())) {
                Efio_SearchList* const gone = std::exchange(*link, (*link)->next);
                gone->next = nullptr;
                efio_FreeSL(gone);
                break;
            }
        }
        return head;
    });
}

EMANTLE_API long efio_SLGetCount(const Efio_SearchList* list)
{
    long count = 0;
    for (; list != nullptr; list = list->next) {
        ++count;
    }
    return count;
}

EMANTLE_API void efio_FreeSL(Efio_SearchList* list)
{
    while (list != nullptr) {
        Efio_SearchList* const entry = std::exchange(list, list->next);
        emsc_HeapFree(entry->directory);
        emsc_HeapFree(entry);
    }
}

EMANTLE_API char* efio_Which(const Efio_SearchList* list, const char* name, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "efio_Which", nullptr, [&](EerrException& scope) -> char* {
        const std::string expanded = name == nullptr ? "" : expandedName(name);
        if (expanded.empty()) {
            return nullptr;
        }
        if (isAbsolute(expanded)) {
            const bool isFile = checked(scope, efio_FileNameExistAsFileOrDir(expanded.c_str(), scope)) == 2;
            return isFile ? heapText(expanded).release() : nullptr;
        }
        const std::string found = firstMatch(list, name, scope);
        return found.empty() ? nullptr : heapText(expandedName(found.c_str())).release();
    });
}

EMANTLE_API char* efio_WhichRelative(const Efio_SearchList* list, const char* name, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "efio_WhichRelative", nullptr, [&](EerrException& scope) -> char* {
        const std::string expanded = name == nullptr ? "" : expandedName(name);
        if (expanded.empty() || isAbsolute(expanded)) {
            return nullptr;
        }
        const std::string found = firstMatch(list, name, scope);
        return found.empty() ? nullptr : heapText(found).release();
    });
}

EMANTLE_API Efio_File* efio_SearchListOpen(const Efio_SearchList* list, const char* name, const char* mode,
                                           Eerr_ErrorReport** err)
{
    return guarded<Efio_File*>(err, "efio_SearchListOpen", nullptr, [&](EerrException& scope) {
        const HeapPtr<char> found(checked(scope, efio_Which(list, name, scope)));
        require(found, "Error locating %s\n", name == nullptr ? "" : name);
        return checked(scope, efio_Open(found.get(), mode, scope));
    });
}

EMANTLE_API long efio_SearchListIdentifyFiles(const Efio_SearchList* list, const char* pattern,
                                              Estr_StringList** result, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_SearchListIdentifyFiles", -1, [&](EerrException& scope) {
        require(result != nullptr, "NULL string list");
        std::deque<EstrStringList> all; /* of every entry first: a failure leaves the result as it was */
        for (; list != nullptr; list = list->next) {
            all.emplace_back(checked(scope, efio_FindFilesInPath(list->directory, pattern, scope)));
        }
        for (const EstrStringList& found : all) {
            const Estr_StringList* const names = found;
            for (long i = 0; i < estr_StringListCount(names); ++i) {
                *result = estr_StringListAppendUniq(*result, names->strings[i], scope);
                check(scope);
            }
        }
        return 0;
    });
}

EMANTLE_API long efio_SearchListGenerateAndIdentifyFiles(const char* variable, const char* pattern,
                                                         Estr_StringList** result, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_SearchListGenerateAndIdentifyFiles", -1, [&](EerrException& scope) {
        LegacyHelperTemplate<_efio_SearchList> list(efio_CreateSLFromEnv(nullptr, variable, nullptr, scope));
        check(scope);
        return checked(scope, efio_SearchListIdentifyFiles(list, pattern, result, scope));
    });
}

EMANTLE_API long efio_SearchListLocalizedGenerateAndIdentifyFiles(const char* variable, const char* pattern,
                                                                  EstrStringList& result)
{
    return guarded<long>(nullptr, "efio_SearchListLocalizedGenerateAndIdentifyFiles", -1, [&](EerrException& scope) {
        LegacyHelperTemplate<_efio_SearchList> list(efio_CreateLocalizedSLFromEnv(variable, nullptr, scope));
        check(scope);
        return checked(scope, efio_SearchListIdentifyFiles(list, pattern, result, scope));
    });
}
