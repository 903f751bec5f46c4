// What the fuzz targets share: reports that go nowhere, a law that ends the process where it does not hold, and texts in
// blocks of exactly their size, where a sanitizer sees a read of one byte too many.

#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <emantle/files/efio.h>
#include <emantle/frame/eerr.h>
#include <emantle/frame/emsc/heap.h>
#include <memory>
#include <string>
#include <string_view>

namespace fuzz {

inline void dropReports()
{
    eerr_SetAltErrorFunction([](void*, Eerr_ErrorReport*, Eerr_ErrorReportingMode, Eerr_ErrorReport**) {}, nullptr);
}

/* A report that nobody reads. */
class Unheard {
public:
    ~Unheard() { eerr_DeleteErrorReportEx(&chain_); }
    operator Eerr_ErrorReport**()
    {
        eerr_DeleteErrorReportEx(&chain_);
        return &chain_;
    }
    bool holdsAny() const { return chain_ != nullptr; }

private:
    Eerr_ErrorReport* chain_ = nullptr;
};

/* A file to print to, from its start on each time; in memory only where the target has files there. */
inline Efio_File* scratchFile(const char* name = nullptr)
{
    static Efio_File* const file = name == nullptr ? efio_TmpFile(nullptr) : efio_Open(name, "w+b", nullptr);
    efio_Seek(file, 0, EFIO_SEEK_SET, nullptr);
    return file;
}

inline void need(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

/* A text up to its first zero byte. */
class Text {
public:
    explicit Text(std::string_view bytes)
        : size_(std::min(bytes.find('\0'), bytes.size())), characters_(std::make_unique<char[]>(size_ + 1))
    {
        bytes.copy(characters_.get(), size_);
    }

    operator const char*() const noexcept { return characters_.get(); }
    std::string_view view() const noexcept { return {characters_.get(), size_}; }

private:
    std::size_t size_;
    std::unique_ptr<char[]> characters_;
};

/* An input's lines, one after the other; behind the last one they are empty. */
class Lines {
public:
    Lines(const std::uint8_t* data, std::size_t size) noexcept : rest_(reinterpret_cast<const char*>(data), size) {}

    Text next()
    {
        const std::string_view line = rest_.substr(0, rest_.find('\n'));
        rest_.remove_prefix(std::min(line.size() + 1, rest_.size()));
        return Text(line);
    }

    std::string_view rest() const noexcept { return rest_; }

private:
    std::string_view rest_;
};

struct Free {
    void operator()(void* block) const noexcept { emsc_HeapFree(block); }
};

using HeapText = std::unique_ptr<char, Free>;

inline HeapText held(char* text)
{
    return HeapText(text);
}

inline bool same(const HeapText& text, std::string_view expected)
{
    return text != nullptr && text.get() == expected;
}

}  // namespace fuzz
