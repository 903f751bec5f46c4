#pragma once

#include <cstddef>
#include <cstdint>
#include <emantle/data/egda/basedata.h>
#include <emantle/store/emif/design.h>

/* The vocabulary of item types: one row a type, and the only place that knows what each takes on this host. */

namespace emantle::mif {

struct TypeRow {
    Emif_Type type;
    char letter;
    const char* label;   /* in a printed design */
    int32_t mifBits;     /* of one element in the stream; of a BaseData the head alone, of a nested record its design's */
    int32_t hostBytes;   /* 0 where the nested design says it */
    int32_t alignment;
    const char* writer;  /* the names under which a failure of the type is told */
    const char* reader;
};

/* The shape `p` in memory. */
struct CountedPointer {
    int32_t count;
    void* pointer;
};

namespace detail {
/* alignof says how a lone object is aligned; in a record some hosts align the wide numbers less. */
template <class T>
struct Behind {
    char first;
    T second;
};
template <class T>
inline constexpr int32_t alignmentInRecord = static_cast<int32_t>(offsetof(Behind<T>, second));
template <class T>
inline constexpr int32_t bytesOf = static_cast<int32_t>(sizeof(T));
}  // namespace detail

inline constexpr int32_t kPointerBytes = detail::bytesOf<void*>;
inline constexpr int32_t kCountedPointerBytes = detail::bytesOf<CountedPointer>;
inline constexpr int32_t kPointerAlignment = detail::alignmentInRecord<void*>;

/* The head of a pointer item in the stream: count, position. */
inline constexpr int32_t kHeadBytes = 8;

/* An unknown letter leaves an item of this type, which has no size in either form. */
inline constexpr Emif_Type kNoType = 0;
inline constexpr char kNoTypeLetter = '?';
inline constexpr Emif_Type kLastType = EMIF_TYPE_S32;

inline constexpr TypeRow kTypes[] = {
    // clang-format off
    {0,                     '?', "",               0,   0, 1, "", ""},
    {EMIF_TYPE_DESIGN,      'x', "",               0,   0, 1, "emif_ObjectToMIF", "emif_MIFtoObject"},
    {EMIF_TYPE_NAMED_DESIGN,'o', "",               0,   0, 1, "emif_ObjectToMIF", "emif_MIFtoObject"},
    {EMIF_TYPE_ENUM,        'e', "enum",           16,  4, 4, "emif_EnumToMIF", "emif_MIFtoEnum"},
    {EMIF_TYPE_U1,          '1', "unsigned 1 bit", 1,   1, 1, "emif_U1ToMIF", "emif_MIFtoU1"},
    {EMIF_TYPE_U2,          '2', "unsigned 2 bit", 2,   1, 1, "emif_U2ToMIF", "emif_MIFtoU2"},
    {EMIF_TYPE_U4,          '4', "unsigned 4 bit", 4,   1, 1, "emif_U4ToMIF", "emif_MIFtoU4"},
    {EMIF_TYPE_UCHAR,       'C', "uchar",          8,   1, 1, "emif_CharToMIF", "emif_MIFtoChar"},
    {EMIF_TYPE_CHAR,        'c', "char",           8,   1, 1, "emif_CharToMIF", "emif_MIFtoChar"},
    {EMIF_TYPE_USHORT,      'S', "ushort",         16,  2, detail::alignmentInRecord<uint16_t>, "emif_ShortToMIF", "emif_MIFtoShort"},
    {EMIF_TYPE_SHORT,       's', "short",          16,  2, detail::alignmentInRecord<int16_t>, "emif_ShortToMIF", "emif_MIFtoShort"},
    {EMIF_TYPE_ULONG,       'L', "ulong",          32,  4, detail::alignmentInRecord<uint32_t>, "emif_LongToMIF", "emif_MIFtoULong"},
    {EMIF_TYPE_LONG,        'l', "long",           32,  4, detail::alignmentInRecord<int32_t>, "emif_LongToMIF", "emif_MIFtoLong"},
    {EMIF_TYPE_FLOAT,       'f', "float",          32,  4, detail::alignmentInRecord<float>, "emif_FloatToMIF", "emif_MIFtoFloat"},
    {EMIF_TYPE_DOUBLE,      'd', "double",         64,  8, detail::alignmentInRecord<double>, "emif_DoubleToMIF", "emif_MIFtoDouble"},
    {EMIF_TYPE_COMPLEX,     'm', "complex",        64,  8, detail::alignmentInRecord<Emif_Complex>, "emif_ComplexToMIF", "emif_MIFtoComplex"},
    {EMIF_TYPE_DCOMPLEX,    'M', "double complex", 128, 16, detail::alignmentInRecord<Emif_DComplex>, "emif_DComplexToMIF", "emif_MIFtoDComplex"},
    {EMIF_TYPE_BASEDATA,    'b', "",               96,  detail::bytesOf<Egda_BaseData>, detail::alignmentInRecord<Egda_BaseData>, "emif_BaseDataToMIF", "emif_MIFtoBaseData"},
    {EMIF_TYPE_TIME,        't', "calendar_time",  64,  8, detail::alignmentInRecord<double>, "emif_DoubleToMIF", "emif_MIFtoDouble"},
    {EMIF_TYPE_S32,         'i', "",               32,  4, detail::alignmentInRecord<int32_t>, "emif_S32ToMIF", "emif_MIFtoS32"},
    // clang-format on
};

static_assert(sizeof(kTypes) / sizeof(*kTypes) == kLastType + 1);
static_assert([] {
    for (Emif_Type type = 0; type <= kLastType; ++type) {
        if (kTypes[type].type != type) {
            return false;
        }
    }
    return true;
}());
static_assert(sizeof(Emif_Complex) == 8 && detail::alignmentInRecord<Emif_Complex> == 4);
static_assert(sizeof(void*) != 4 || sizeof(Egda_BaseData) == 44);

constexpr bool isKnown(Emif_Type type) noexcept
{
    return type >= 0 && type <= kLastType;
}

/* kNoType for a letter outside the table. */
constexpr Emif_Type typeOfLetter(char letter) noexcept
{
    for (Emif_Type type = 1; type <= kLastType; ++type) {
        if (kTypes[type].letter == letter) {
            return type;
        }
    }
    return kNoType;
}

constexpr bool isRecord(Emif_Type type) noexcept
{
    return type == EMIF_TYPE_DESIGN || type == EMIF_TYPE_NAMED_DESIGN;
}

constexpr bool isPacked(Emif_Type type) noexcept
{
    return type >= EMIF_TYPE_U1 && type <= EMIF_TYPE_U4;
}

/* A negative count of these says that the elements are a terminated text. */
constexpr bool isText(Emif_Type type) noexcept
{
    return type == EMIF_TYPE_UCHAR || type == EMIF_TYPE_CHAR;
}

/* Stream bytes of a run of plain elements. A run of no packed elements takes one byte all the same. */
constexpr uint64_t streamBytes(Emif_Type type, uint64_t count) noexcept
{
    const auto bits = static_cast<uint64_t>(kTypes[type].mifBits);
    if (isPacked(type)) {
        return count == 0 ? 1 : (count - 1) / (8 / bits) + 1;
    }
    return count * (bits / 8);
}

/* The item type of values of a data type below 13. */
extern const Emif_Type kValueTypes[EGDA_TYPE_C128 + 1];

}  // namespace emantle::mif
