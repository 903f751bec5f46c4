#include "files/scratch.h"
#include "support/chain.h"

#include <emantle/files/efio.h>
#include <emantle/files/efnp.h>
#include <emantle/frame/estr.h>
#include <map>
#include <regex>

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

/* What stands between the quotes of C, whose only escapes here are \\ and \". */
std::string unquoted(const std::string& literal)
{
    return std::regex_replace(literal.substr(1, literal.size() - 2), std::regex(R"(\\(.))"), "$1");
}

Arguments argumentsOf(const std::string& list)
{
    Arguments arguments;
    const std::regex one(R"re(("(?:[^"\\]|\\.)*")|(-?\d+))re");
    for (std::sregex_iterator at(list.begin(), list.end(), one), end; at != end; ++at) {
        if ((*at)[1].matched) {
            arguments.texts.push_back(unquoted((*at)[1]));
        } else {
            arguments.numbers.push_back(std::stol((*at)[2]));
        }
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
    return (fails ? "!" : "") + (code.front() == '"' ? unquoted(code) : code);
}

}  // namespace

TEST(NamingPage, EveryExampleHolds)
{
    setenv("HOME_OF_DATA", "/data", 1);
    setenv("SCENES", "$HOME_OF_DATA/scenes", 1);
    setenv("LOOP", "$LOOP", 1);
    std::ifstream page(EMANTLE_TEST_DIR "/../docs/naming.md");
    const std::regex row(R"(\| `(\w+)\((.*)\)` \| (.*) \|)");
    int examples = 0;
    for (std::string line; std::getline(page, line);) {
        std::smatch parts;
        if (!std::regex_match(line, parts, row)) {
            EXPECT_NE(line.rfind("| `", 0), 0u) << "no example: " << line;
            continue;
        }
        const auto call = calls.find(parts[1]);
        ASSERT_NE(call, calls.end()) << line;
        Report report;
        std::string outcome = call->second(argumentsOf(parts[2]), report);
        if (report.get() != nullptr) {
            outcome = "!" + report.records().back().message.value_or("");
        }
        EXPECT_EQ(outcome, expectedOf(parts[3])) << line;
        ++examples;
    }
    EXPECT_GE(examples, 30);
}
