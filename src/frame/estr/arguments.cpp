#include "frame/guard/guard.h"

#include <emantle/frame/estr/parse.h>
#include <string>
#include <string_view>

namespace emantle {

namespace {

bool isOneOf(char c, std::string_view set)
{
    return set.find(c) != set.npos;
}

constexpr std::string_view kBlanks = " \t\r\n\v\f";

/* Takes the next argument of `line` from `at`, which stands on its first character, and leaves `at` behind it. */
std::string takeArgument(std::string_view line, std::size_t& at)
{
    std::string argument;
    char quote = '\0';
    std::size_t opened = 0;
    for (; at < line.size() && (quote != '\0' || !isOneOf(line[at], kBlanks)); ++at) {
        const char c = line[at];
        const char following = at + 1 < line.size() ? line[at + 1] : '\0';
        if (c == '\\' &&
            (following == '\\' ||
             (quote != '\0' ? following == quote : isOneOf(following, "\"'") || isOneOf(following, kBlanks)))) {
            argument += following;
            ++at;
        } else if (c == quote && quote != '\0') {
            quote = '\0';
        } else if (quote == '\0' && (c == '"' || c == '\'')) {
            quote = c;
            opened = at;
        } else {
            argument += c;
        }
    }
    require(quote == '\0', "The quote at position %ld is not closed", static_cast<long>(opened) + 1);
    return argument;
}

} // namespace

} // namespace emantle

using namespace emantle;

EMANTLE_API Estr_StringList* estr_ArgsGet(const char* line, Eerr_ErrorReport** err)
{
    return guarded<Estr_StringList*>(err, "estr_ArgsGet", nullptr, [&](EerrException& scope) {
        require(line != nullptr, "Args");
        const std::string_view whole(line);
        EstrStringList list(checked(scope, estr_StringListCreate(0, scope)));
        std::size_t at = 0;
        while ((at = whole.find_first_not_of(kBlanks, at)) != whole.npos) {
            checked(scope, estr_StringListAppend(list, takeArgument(whole, at).c_str(), scope));
        }
        return list.Release();
    });
}
