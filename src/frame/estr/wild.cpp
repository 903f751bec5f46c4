#include "frame/estr/wild.h"

#include <cstdarg>
#include <cstring>
#include <emantle/frame/eerr.h>
#include <emantle/frame/estr/wild.h>
#include <emantle/siblings/ergx.h>
#include <memory>
#include <string>

namespace emantle {

namespace {

enum class State { start, text, star, at, plus, question, setStart, set, setEscape, escape, done, failure };

constexpr char anyCharacter = '\1', endOfText = '\0';

/* Where a row holds. */
enum class Where { anywhere, insideGroup };

/* What a row does beyond its text: opens a group with that suffix, closes the innermost. */
enum class Group { none, open, close };

struct Row {
    State state;
    char input;
    Where where;
    const char* emits; /* null copies the input */
    bool consumes;
    State next;
    Group group = Group::none;
    const char* suffix = "";
};

/* The first row that fits a state and a character is taken; a failure emits its reason. */
constexpr Row rows[] = {
    {State::start, endOfText, Where::anywhere, "", false, State::done},
    {State::start, '*', Where::anywhere, "", true, State::text},
    {State::start, anyCharacter, Where::anywhere, "^", false, State::text},

    {State::text, endOfText, Where::anywhere, "$", false, State::done},
    {State::text, '.', Where::anywhere, "\\.", true, State::text},
    {State::text, '|', Where::insideGroup, nullptr, true, State::text},
    {State::text, ')', Where::insideGroup, nullptr, true, State::text, Group::close},
    {State::text, '^', Where::anywhere, "\\^", true, State::text},
    {State::text, '$', Where::anywhere, "\\$", true, State::text},
    {State::text, '\\', Where::anywhere, "", true, State::escape},
    {State::text, '[', Where::anywhere, nullptr, true, State::setStart},
    {State::text, '*', Where::anywhere, "", true, State::star},
    {State::text, '@', Where::anywhere, "", true, State::at},
    {State::text, '?', Where::anywhere, "", true, State::question},
    {State::text, '+', Where::anywhere, "", true, State::plus},
    {State::text, anyCharacter, Where::anywhere, nullptr, true, State::text},

    {State::star, endOfText, Where::anywhere, "", false, State::done},
    {State::star, '(', Where::anywhere, nullptr, true, State::text, Group::open, "*"},
    {State::star, anyCharacter, Where::anywhere, ".*", false, State::text},
    {State::at, '(', Where::anywhere, nullptr, true, State::text, Group::open, ""},
    {State::at, anyCharacter, Where::anywhere, "@", false, State::text},
    {State::plus, '(', Where::anywhere, nullptr, true, State::text, Group::open, "+"},
    {State::plus, anyCharacter, Where::anywhere, "\\+", false, State::text},
    {State::question, '(', Where::anywhere, nullptr, true, State::text, Group::open, "?"},
    {State::question, anyCharacter, Where::anywhere, ".", false, State::text},

    {State::setStart, endOfText, Where::anywhere, "End of string within character set", false, State::failure},
    {State::setStart, '!', Where::anywhere, "^", true, State::set},
    {State::setStart, anyCharacter, Where::anywhere, "", false, State::set},
    {State::set, endOfText, Where::anywhere, "End of string within character set", false, State::failure},
    {State::set, '\\', Where::anywhere, nullptr, true, State::setEscape},
    {State::set, ']', Where::anywhere, nullptr, true, State::text},
    {State::set, anyCharacter, Where::anywhere, nullptr, true, State::set},
    {State::setEscape, endOfText, Where::anywhere, "End of string after backslash in character set", false,
     State::failure},
    {State::setEscape, anyCharacter, Where::anywhere, nullptr, true, State::set},
    {State::escape, endOfText, Where::anywhere, "End of string after backslash", false, State::failure},
    {State::escape, anyCharacter, Where::anywhere, nullptr, true, State::text},
};

const Row* rowFor(State state, char input, bool insideGroup) noexcept
{
    for (const Row& row : rows) {
        const bool fits = row.input == input || row.input == anyCharacter;
        if (row.state == state && fits && (row.where == Where::anywhere || insideGroup)) {
            return &row;
        }
    }
    return nullptr;
}

char lowered(char c) noexcept
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

struct Translation {
    std::string expression;
    bool isWild = false;
    const char* reason = nullptr; /* why there is none */
};

Translation translate(const char* wild, bool sensitive)
{
    Translation out;
    std::string suffixes; /* of the open groups; a blank stands for none */
    State state = State::start;
    const char* in = wild == nullptr ? "" : wild;
    /* A group that opens the pattern is one of its characters, so the pattern keeps its anchor. */
    if (in[0] == '*' && in[1] == '(') {
        out.expression = "^";
        state = State::text;
    }
    while (state != State::done) {
        const Row* row = rowFor(state, *in, !suffixes.empty());
        if (row == nullptr) {
            out.reason = "Unexpected state achieved while converting wildcard to regular expression.";
            return out;
        }
        if (row->next == State::failure) {
            out.reason = row->emits;
            return out;
        }
        if (row->emits != nullptr) {
            out.expression += row->emits;
        } else {
            out.expression += sensitive ? *in : lowered(*in);
        }
        if (row->group == Group::open) {
            suffixes.push_back(*row->suffix == '\0' ? ' ' : *row->suffix);
        } else if (row->group == Group::close) {
            out.expression.append(suffixes.back() == ' ' ? 0 : 1, suffixes.back());
            suffixes.pop_back();
        }
        out.isWild |= row->group == Group::open || row->next == State::escape || row->next == State::setStart;
        in += row->consumes ? 1 : 0;
        state = row->next;
    }
    return out;
}

void log(const char* format, ...) __attribute__((format(printf, 1, 2)));
void log(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    EerrDispatcher::Dispatch(format, arguments);
    va_end(arguments);
}

struct DestroyExpression {
    void operator()(Ergx_RE* expression) const noexcept { ergx_REDestroy(expression); }
};

/* The compiled form of the thread's last pattern: a scan asks with one pattern for every file. */
struct LastPattern {
    std::string pattern;
    bool sensitive = false;
    bool known = false;
    std::unique_ptr<Ergx_RE, DestroyExpression> expression;

    void take(const char* wanted, bool withCase);
};

void LastPattern::take(const char* wanted, bool withCase)
{
    if (known && sensitive == withCase && pattern == wanted) {
        return;
    }
    known = false;
    const Translation translation = translate(wanted, withCase);
    char refused[256] = "";
    expression.reset(translation.reason == nullptr
                         ? ergx_RECreate(translation.expression.c_str(), refused, sizeof refused)
                         : nullptr);
    if (expression == nullptr) {
        log("Error evaluating wildcard <%s>: %s", wanted, translation.reason != nullptr ? translation.reason : refused);
        return;
    }
    pattern = wanted;
    sensitive = withCase;
    known = true;
}

bool matches(const char* pattern, const char* text, bool sensitive)
{
    thread_local LastPattern last;
    last.take(pattern, sensitive);
    if (last.expression == nullptr) {
        return false;
    }
    if (sensitive) {
        return ergx_REMatch(last.expression.get(), text);
    }
    std::string folded(text);
    for (char& c : folded) {
        c = lowered(c);
    }
    return ergx_REMatch(last.expression.get(), folded.c_str());
}

}  // namespace

bool wildMatches(const char* pattern, const char* text, bool sensitive)
{
    if (pattern == nullptr || std::strcmp(pattern, "*.*") == 0 || std::strcmp(pattern, "*") == 0) {
        return true;
    }
    return text != nullptr && matches(pattern, text, sensitive);
}

}  // namespace emantle

using namespace emantle;

EMANTLE_API Emsc_Boolean estr_IsWild(const char* text)
{
    if (text == nullptr) {
        return 0;
    }
    Emsc_Boolean wild = 0;
    return std::strpbrk(text, "*?") != nullptr ||
           (estr_WildREDetermine(text, nullptr, 0, 1, &wild, nullptr), wild != 0);
}

EMANTLE_API Emsc_Boolean estr_WildCompare(const char* pattern, const char* text)
{
    return estr_WildCompareSensitive(pattern, text, 1);
}

EMANTLE_API Emsc_Boolean estr_WildCompareSensitive(const char* pattern, const char* text, Emsc_Boolean sensitive)
{
    try {
        return wildMatches(pattern, text, sensitive != 0);
    } catch (const std::exception& failure) {
        eerr_MessageLog(EERR_ERROR, "Error evaluating wildcard <%s>: %s", pattern, failure.what());
        return 0;
    }
}

EMANTLE_API char* estr_CreateREfromWild(const char* wild, char* target)
{
    if (target == nullptr) {
        return nullptr;
    }
    if (wild == nullptr || *wild == '\0') {
        return std::strcpy(target, "^.*$");
    }
    char* out = target;
    *out++ = '^';
    for (; *wild != '\0'; ++wild) {
        if (*wild == '*' || *wild == '.') {
            *out++ = *wild == '*' ? '.' : '\\';
        }
        *out++ = *wild == '?' ? '.' : *wild;
    }
    *out++ = '$';
    *out = '\0';
    return target;
}

EMANTLE_API long estr_WildREDetermine(const char* wild, char* target, long targetSize, Emsc_Boolean sensitive,
                                      Emsc_Boolean* isWild, const char** reason)
{
    Translation translation;
    try {
        translation = translate(wild, sensitive != 0);
    } catch (const std::exception&) {
        translation.reason = "Out of memory for push stack.";
    }
    if (isWild != nullptr) {
        *isWild = translation.isWild;
    }
    if (reason != nullptr) {
        *reason = translation.reason;
    }
    if (translation.reason != nullptr) {
        return -1;
    }
    if (target != nullptr && targetSize > 0) {
        target[translation.expression.copy(target, static_cast<std::size_t>(targetSize) - 1)] = '\0';
    }
    return static_cast<long>(translation.expression.size());
}
