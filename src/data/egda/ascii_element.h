#pragma once

#include <emantle/data/egda/stack.h>

#include <cstring>
#include <vector>

/* Elements as the text forms see them. */

namespace emantle {

/* How the text of a type is made. */
enum class AsciiKind { whole, real, complex, string };

constexpr AsciiKind asciiKind(Egda_PixelType type) noexcept
{
    return type < EGDA_NUM_INTEGER_TYPES                          ? AsciiKind::whole
           : type == EGDA_TYPE_F32 || type == EGDA_TYPE_F64       ? AsciiKind::real
           : type == EGDA_TYPE_C64 || type == EGDA_TYPE_C128      ? AsciiKind::complex
                                                                  : AsciiKind::string;
}

template <class T>
T loadAs(const void* element) noexcept
{
    T value;
    std::memcpy(&value, element, sizeof value);
    return value;
}

/* A whole number as "%d" shows it: the upper half of U32 is negative. */
std::int32_t asciiWhole(Egda_PixelType type, const void* element) noexcept;

/* A floating or complex number. */
Egda_Complex128 asciiNumber(Egda_PixelType type, const void* element) noexcept;

/* A string; empty for none. */
const char* asciiString(const void* element) noexcept;

/* The elements of a stack in the order of its file. */
class AsciiWalk {
public:
    explicit AsciiWalk(const Egda_BaseDataStack& stack);

    /* Calls `visit(type, element, layer, column)` for each element, with null for a place that is not the record's, and
     * `endLine()` behind each row. */
    template <class Visit, class EndLine>
    void run(Visit visit, EndLine endLine) const
    {
        for (long row = 0; row < rows_; ++row) {
            for (long column = 0; column < columns_; ++column) {
                for (std::size_t layer = 0; layer < layers_.size(); ++layer) {
                    visit(layers_[layer].base->datatype, element(layers_[layer], row, column), layer, column);
                }
            }
            endLine();
        }
    }

    long columns() const noexcept { return columns_; }
    std::size_t layers() const noexcept { return layers_.size(); }

private:
    struct Layer {
        const Egda_BaseData* base;
        long reach; /* bytes from `data` on that are the record's */
    };

    static void* element(const Layer& layer, long row, long column) noexcept
    {
        const Egda_BaseData& base = *layer.base;
        const long offset = column * base.pitch + row * base.numbytes;
        return offset < 0 || offset > layer.reach - base.numbytes ? nullptr : static_cast<char*>(base.data) + offset;
    }

    std::vector<Layer> layers_;
    long rows_ = 0;
    long columns_ = 0;
};

}  // namespace emantle
