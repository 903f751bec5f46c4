#include "files/scratch.h"
#include "support/chain.h"

#include <emantle/files/efio.h>
#include <emantle/files/efnp.h>
#include <emantle/frame/estr.h>
#include <map>
#include <optional>
#include <string_view>

/* The examples of docs/naming.md. */

namespace {

struct Arguments {
    std::vector<std::string> texts;
    std::vector<long> numbers;

    const char* text(std::size_t i) const { return texts.at(i).c_str(); }
    long number(std::size_t i) const { return numbers.at(i); }
};

using Call = std::string (*)(const Arguments&, Eerr_ErrorReport**);

std::string directories(Efio_SearchList* list)
{
    std::string joined;
    for (const Efio_SearchList* entry = list; entry != nullptr; entry = entry->next) {
        joined += (joined.empty() ? "" : ";") + std::string(entry->directory);
    }
    efio_FreeSL(list);
    return joined;
}

using A = const Arguments&;
using E = Eerr_ErrorReport**;

const std::map<std::string, Call> calls = {
    {"efnp_FileNameGet", [](A a, E e) { return taken(efnp_FileNameGet(a.text(0), a.number(0), a.number(1), e)); }},
    {"efnp_FileNameSet",
     [](A a, E e) { return taken(efnp_FileNameSet(a.text(0), a.text(1), a.number(0), a.number(1), e)); }},
    {"efnp_FileNameAddName", [](A a, E e) { return taken(efnp_FileNameAddName(a.text(0), a.text(1), e)); }},
    {"efnp_FileNameCompare", [](A a, E) { return std::to_string(efnp_FileNameCompare(a.text(0), a.text(1))); }},
    {"efnp_FileNodeListLength",
     [](A a, E e) { return std::to_string(efnp_FileNodeListLength(a.text(0), a.number(0), e)); }},
    {"efnp_FileNodeListGet",
     [](A a, E e) { return taken(efnp_FileNodeListGet(a.text(0), a.number(0), a.number(1), a.number(2), e)); }},
    {"efnp_FileNodeListSet",
     [](A a, E e) {
         return taken(efnp_FileNodeListSet(a.text(0), a.text(1), a.number(0), a.number(1), a.number(2), e));
     }},
    {"efnp_NodePathGet", [](A a, E e) { return taken(efnp_NodePathGet(a.text(0), a.number(0), a.number(1), e)); }},
    {"efnp_NodePathSet",
     [](A a, E e) { return taken(efnp_NodePathSet(a.text(0), a.text(1), a.number(0), a.number(1), e)); }},
    {"efnp_PathJoin", [](A a, E e) { return taken(efnp_PathJoin(a.text(0), a.text(1), e)); }},
    {"estr_StringExpand", [](A a, E e) { return taken(estr_StringExpand(a.text(0), e)); }},
    {"estr_PathExpand", [](A a, E) { return taken(estr_PathExpand(a.text(0), nullptr, 0)); }},
    {"estr_WildCompare", [](A a, E) { return std::to_string(estr_WildCompare(a.text(0), a.text(1))); }},
    {"efio_CreateSLFromString", [](A a, E e) { return directories(efio_CreateSLFromString(nullptr, a.text(0), e)); }},
};

/* What stands between the quotes of C, whose only escapes here are \\ and \"; `text` begins with the first quote, and
 * `length` becomes what is taken of it. */
std::string quotedAt(std::string_view text, std::size_t& length)
{
    std::string out;
    for (length = 1; length < text.size() && text[length] != '"'; ++length) {
        length += text[length] == '\\' ? 1 : 0;
        out += text.at(length);
    }
    ++length;
    return out;
}

Arguments argumentsOf(std::string_view list)
{
    Arguments arguments;
    while (!list.empty()) {
        std::size_t length = std::min(list.find(','), list.size());
        if (list.front() == '"') {
            arguments.texts.push_back(quotedAt(list, length));
        } else {
            arguments.numbers.push_back(std::stol(std::string(list.substr(0, length))));
        }
        list.remove_prefix(length);
        list.remove_prefix(std::min(list.find_first_not_of(", "), list.size()));
    }
    return arguments;
}

/* As the page writes it: fails: `"text"`, null, `"text"` or `number`. */
std::string expectedOf(const std::string& cell)
{
    const bool fails = cell.rfind("fails: ", 0) == 0;
    const std::string value = cell.substr(fails ? 7 : 0);
    if (value == "null") {
        return "(null)";
    }
    const std::string code = value.substr(1, value.size() - 2);
    std::size_t length = 0;
    return (fails ? "!" : "") + (code.front() == '"' ? quotedAt(code, length) : code);
}

/* The parts of a row "| `function(arguments)` | what it gives |"; nothing for any other line. */
struct Example {
    std::string function, arguments, gives;
};

std::optional<Example> exampleOf(const std::string& line)
{
    const std::size_t open = line.find('('), close = line.find(")` | ");
    if (line.rfind("| `", 0) != 0 || open == line.npos || close == line.npos) {
        return std::nullopt;
    }
    return Example{line.substr(3, open - 3), line.substr(open + 1, close - open - 1),
                   line.substr(close + 5, line.size() - close - 7)};
}

}  // namespace

TEST(NamingPage, EveryExampleHolds)
{
    setenv("HOME_OF_DATA", "/data", 1);
    setenv("SCENES", "$HOME_OF_DATA/scenes", 1);
    setenv("LOOP", "$LOOP", 1);
    std::ifstream page(EMANTLE_TEST_DIR "/../docs/naming.md");
    int examples = 0;
    for (std::string line; std::getline(page, line);) {
        const std::optional<Example> example = exampleOf(line);
        if (!example) {
            EXPECT_NE(line.rfind("| `", 0), 0u) << "no example: " << line;
            continue;
        }
        const auto call = calls.find(example->function);
        ASSERT_NE(call, calls.end()) << line;
        Report report;
        std::string outcome = call->second(argumentsOf(example->arguments), report);
        if (report.get() != nullptr) {
            outcome = "!" + report.records().back().message.value_or("");
        }
        EXPECT_EQ(outcome, expectedOf(example->gives)) << line;
        ++examples;
    }
    EXPECT_GE(examples, 30);
}
