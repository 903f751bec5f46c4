#include <emantle/frame/emsc/heap.h>
#include <emantle/frame/estr/environment.h>
#include <emantle/frame/etxt/holders.h>
#include <emantle/services/localisation.h>

#include <algorithm>

namespace OrvikLocalization {

namespace {

/* The name becomes part of a file's name: nothing in it may lead to another folder. */
bool isNameCharacter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
}

} // namespace

ELocale& ELocale::Instance()
{
    static auto* const locale = new ELocale;
    return *locale;
}

std::string ELocale::Name() const
{
    for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const EtxtTextA value(estr_GetEnv(variable));
        if (!value) {
            continue;
        }
        std::string name = static_cast<const char*>(value);
        name.resize(std::min(name.find_first_of(".@"), name.size()));
        const bool isName = !name.empty() && std::all_of(name.begin(), name.end(), isNameCharacter);
        return !isName || name == "POSIX" ? "C" : name;
    }
    return "C";
}

} // namespace OrvikLocalization
