// Three lines: the values of two variables, and a text that may name them as $A and $B. One expansion does what a few lines
// do; a path fits a buffer of exactly its size, and no expansion leaves one.

#include "fuzz/input.h"

#include <emantle/frame/estr/environment.h>
#include <emantle/frame/estr/expand.h>
#include <emantle/frame/estr/path.h>
#include <vector>

using namespace fuzz;

namespace {

constexpr char letters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_", digits[] = "0123456789";

/* The text with each reference replaced once. */
std::string expandedOnce(std::string_view text)
{
    std::string out;
    while (!text.empty()) {
        const bool braced = text.substr(0, 2) == "${";
        const std::size_t begin = braced ? 2 : 1;
        const std::size_t end =
            std::min(text.find_first_not_of(std::string(letters) + digits, begin), text.size());
        const bool closed = braced && end < text.size() && text[end] == '}';
        const bool named = !braced && end > begin && std::strchr(digits, text[begin]) == nullptr;
        if (text.front() == '$' && (closed || named)) {
            const std::string name(text.substr(begin, end - begin));
            const HeapText value = held(name.empty() ? nullptr : estr_GetEnv(name.c_str()));
            out += value == nullptr ? "" : value.get();
            text.remove_prefix(end + (closed ? 1 : 0));
        } else {
            out += text.front();
            text.remove_prefix(1);
        }
    }
    return out;
}

void expandPath(const char* text)
{
    const HeapText path = held(estr_PathExpand(text, nullptr, 0));
    std::string object(text);
    need(estr_PathExpand(object) == (path == nullptr ? "" : path.get()));
    if (path == nullptr) {
        return;
    }
    need(std::strchr(path.get(), '\\') == nullptr);
    need(std::strstr(estr_PathBegin(path.get()), "//") == nullptr);
    for (const std::size_t room : {std::strlen(path.get()) + 1, std::strlen(path.get()) / 2 + 1}) {
        std::vector<char> buffer(room);
        need(estr_PathExpand(text, buffer.data(), static_cast<long>(room)) == buffer.data());
        need(std::memchr(buffer.data(), '\0', room) != nullptr);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    dropReports();
    Lines lines(bytes, size);
    const Text a = lines.next(), b = lines.next(), text(lines.rest());
    setenv("A", a, 1);
    setenv("B", b, 1);
    need(same(held(estr_StringExpand(text, nullptr)), expandedOnce(text.view())));
    expandPath(text);
    expandPath(a);
    std::vector<char> single(text.view().size() + 1);
    std::vector<char> source(static_cast<const char*>(text), static_cast<const char*>(text) + single.size());
    estr_PathRemoveDuplicateSeparators(source.data(), single.data());
    need(std::strstr(single.data(), "//") == nullptr);
    estr_FreePathList(estr_GetPathList(text, nullptr));
    return 0;
}
