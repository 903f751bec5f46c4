#include <emantle/siblings/ergx.h>
#include <memory>
#include <new>
#include <re2/re2.h>
#include <string_view>

/* Patterns come from users, so the engine must not backtrack. */
struct Ergx_RE {
    explicit Ergx_RE(const char* pattern) : characters(pattern, options(true)), bytes(pattern, options(false)) {}

    bool usable() const { return bytes.ok(); }

    static RE2::Options options(bool utf8)
    {
        RE2::Options made(utf8 ? RE2::DefaultOptions : RE2::Latin1);
        made.set_log_errors(false);
        made.set_dot_nl(true);
        return made;
    }

    RE2 characters, bytes;
};

namespace {

bool isUtf8(const char* text)
{
    const auto* at = reinterpret_cast<const unsigned char*>(text);
    while (*at != 0) {
        const int more = *at < 0x80                  ? 0
                         : *at >= 0xc2 && *at < 0xe0 ? 1
                         : *at >= 0xe0 && *at < 0xf0 ? 2
                         : *at >= 0xf0 && *at < 0xf5 ? 3
                                                     : -1;
        if (more < 0) {
            return false;
        }
        ++at;
        for (int i = 0; i < more; ++i, ++at) {
            if ((*at & 0xc0) != 0x80) {
                return false;
            }
        }
    }
    return true;
}

void tell(const char* text, char* reason, long reasonSize)
{
    if (reason != nullptr && reasonSize > 0) {
        reason[std::string_view(text).copy(reason, static_cast<std::size_t>(reasonSize) - 1)] = '\0';
    }
}

}  // namespace

EMANTLE_API Ergx_RE* ergx_RECreate(const char* pattern, char* reason, long reasonSize)
{
    if (pattern == nullptr) {
        tell("no pattern", reason, reasonSize);
        return nullptr;
    }
    try {
        auto made = std::make_unique<Ergx_RE>(pattern);
        if (made->usable()) {
            return made.release();
        }
        tell(made->bytes.error().c_str(), reason, reasonSize);
    } catch (const std::exception& failure) {
        tell(failure.what(), reason, reasonSize);
    }
    return nullptr;
}

EMANTLE_API Emsc_Boolean ergx_REMatch(const Ergx_RE* expression, const char* text)
{
    if (expression == nullptr || text == nullptr) {
        return 0;
    }
    const bool byCharacter = expression->characters.ok() && isUtf8(text);
    return RE2::PartialMatch(text, byCharacter ? expression->characters : expression->bytes);
}

EMANTLE_API void ergx_REDestroy(Ergx_RE* expression)
{
    delete expression;
}
