#ifndef EMANTLE_STORE_EMIF_DESIGN_H
#define EMANTLE_STORE_EMIF_DESIGN_H

#include <emantle/frame/eerr.h>
#include <emantle/frame/export.h>

/* emif, designs: what a record is made of.
 *  1. One design yields two layouts: the host layout (aligned as the compiler does it, with pointers) and the stream
 *     layout (packed little-endian, with a head of eight bytes in place of each pointer).
 *  2. An item has one of three shapes: its elements inline; `*`, one pointer to the elements; `p`, the record
 *     { int32_t count; T* pointer; }. The pointer shapes are aligned as a pointer is.
 *  3. A design that a function returns as new is the caller's; give it back to emif_DesignDestroy. A design belongs to a
 *     dictionary when the dictionary's list holds it, and is then never given back.
 *  4. Designs nest at most EMIF_DEPTH_LIMIT deep, and no layout passes 2^31 - 1 bytes. */

/* The code of an item's type. */
typedef int32_t Emif_Type;
enum {
    EMIF_TYPE_DESIGN = 1,       /* x: a record whose design follows inline */
    EMIF_TYPE_NAMED_DESIGN = 2, /* o: a record of a design that is known by name */
    EMIF_TYPE_ENUM = 3,         /* e: 32 bits on the host, 16 in the stream */
    EMIF_TYPE_U1 = 4,           /* 1, 2, 4: a byte an element on the host, packed in the stream */
    EMIF_TYPE_U2 = 5,
    EMIF_TYPE_U4 = 6,
    EMIF_TYPE_UCHAR = 7,      /* C */
    EMIF_TYPE_CHAR = 8,       /* c */
    EMIF_TYPE_USHORT = 9,     /* S */
    EMIF_TYPE_SHORT = 10,     /* s */
    EMIF_TYPE_ULONG = 11,     /* L: 32 bits */
    EMIF_TYPE_LONG = 12,      /* l: 32 bits */
    EMIF_TYPE_FLOAT = 13,     /* f */
    EMIF_TYPE_DOUBLE = 14,    /* d */
    EMIF_TYPE_COMPLEX = 15,   /* m: two floats */
    EMIF_TYPE_DCOMPLEX = 16,  /* M: two doubles */
    EMIF_TYPE_BASEDATA = 17,  /* b: an Egda_BaseData, its values behind a head of 12 bytes */
    EMIF_TYPE_TIME = 18,      /* t: seconds since the epoch as a double */
    EMIF_TYPE_S32 = 19,       /* i */
    /* Beside the type in the flag word of an item: a count follows; the shape `p`; the shape `*`. */
    EMIF_ITEM_COUNT = 0x100,
    EMIF_ITEM_COUNTED_POINTER = 0x200,
    EMIF_ITEM_POINTER = 0x400
};

enum { EMIF_DEPTH_LIMIT = 32 };

typedef struct Emif_Complex {
    float re;
    float im;
} Emif_Complex;

typedef struct Emif_DComplex {
    double re;
    double im;
} Emif_DComplex;

struct Emif_DesignA;
struct Emif_DesignU;

typedef struct Emif_DesignItemA {
    struct Emif_DesignItemA* next;
    struct Emif_DesignItemA* prev;
    Emif_Type type;
    Etxt_TextA* name;
    float mifBytesPerElement; /* below 1 for the packed types */
    int32_t mifSize;          /* bytes of the item in the stream, without what its pointers lead to */
    int32_t hostBytesPerElement;
    int32_t hostSize; /* bytes of the item in the host record */
    int32_t count;    /* elements; for `*` what is written, for `p` unused */
    int16_t enumCount;
    Etxt_TextA** enumNames;
    struct Emif_DesignA* design; /* of the types x, o and b; owned */
    int32_t isCountedPointer;    /* 1 for the shape `p` */
    int32_t isPointer;           /* 1 for the shapes `p` and `*` */
    int32_t hostOffset;
    int32_t padAfter; /* bytes from the end of this item to the start of the next, or to the end of the record */
} Emif_DesignItemA;

typedef struct Emif_DesignA {
    struct Emif_DesignA* next;
    struct Emif_DesignA* prev;
    Etxt_TextA* name;
    int32_t alignment; /* the largest of the items' */
    int32_t hostSize;  /* a multiple of `alignment` */
    int32_t mifSize;
    Emif_DesignItemA* items;
} Emif_DesignA;

/* The same records with wide names; an array of characters counts two bytes an element in them. */
typedef struct Emif_DesignItemU {
    struct Emif_DesignItemU* next;
    struct Emif_DesignItemU* prev;
    Emif_Type type;
    Etxt_TextU* name;
    float mifBytesPerElement;
    int32_t mifSize;
    int32_t hostBytesPerElement;
    int32_t hostSize;
    int32_t count;
    int16_t enumCount;
    Etxt_TextU** enumNames;
    struct Emif_DesignU* design;
    int32_t isCountedPointer;
    int32_t isPointer;
    int32_t hostOffset;
    int32_t padAfter;
} Emif_DesignItemU;

typedef struct Emif_DesignU {
    struct Emif_DesignU* next;
    struct Emif_DesignU* prev;
    Etxt_TextU* name;
    int32_t alignment;
    int32_t hostSize;
    int32_t mifSize;
    Emif_DesignItemU* items;
} Emif_DesignU;

typedef Emif_DesignA EMIF_DESIGNEtxt_TextA;
typedef Emif_DesignA Emif_Design;
typedef Emif_DesignItemA Emif_DesignItem;

struct Emif_DictionaryA;
struct Emif_DictionaryU;

/* A row of emif_DesignCreateFromTable. `count` is used where `flags` holds EMIF_ITEM_COUNT; `hostOffset` is accepted and
 * computed anew; `extra` is the nested design, the name of a design, or the names of an enumeration with a null behind
 * the last. */
typedef struct Emif_DesignItemRow {
    uint32_t flags;
    const char* name;
    int32_t count;
    int32_t hostOffset;
    const void* extra;
} Emif_DesignItemRow;

/* Makes a design out of a run of arguments that a flag word of 0 ends. Each item is its flag word (int), its name, what
 * the type needs (x: a design, which is copied; o: the name of a design of `dictionary`; e: names, then a null pointer),
 * then the count (int) where EMIF_ITEM_COUNT is set. Without a count it is 0 for the shape `p` and 1 otherwise.
 * With a dictionary, the result is the design of that name in it, which the dictionary owns; without, it is new. */
EMANTLE_API Emif_Design* emif_DesignCreate(struct Emif_DictionaryA* dictionary, const char* name, Eerr_ErrorReport** err,
                                           ...);

/* The same, and adds the design to the private dictionary, so that it overrides what files say of its name. Without a
 * dictionary the result is the caller's, as above. */
EMANTLE_API Emif_Design* emif_DesignCreateX(struct Emif_DictionaryA* dictionary, const char* name,
                                            Eerr_ErrorReport** err, ...);

/* The same from a table. Fails with "Args" when `rows` or `name` is null. */
EMANTLE_API Emif_Design* emif_DesignCreateFromTable(struct Emif_DictionaryA* dictionary, const char* name,
                                                    const Emif_DesignItemRow* rows, long rowCount,
                                                    Eerr_ErrorReport** err);

/* A deep copy with null links. Fails on null. */
EMANTLE_API Emif_Design* emif_DesignCopy(const Emif_Design* design, Eerr_ErrorReport** err);

/* Takes the design out from between its neighbours and frees all of it. Null is accepted. */
EMANTLE_API void emif_DesignDestroy(Emif_Design* design);
EMANTLE_API void emif_DesignDelete(Emif_Design* design, Eerr_ErrorReport** err);

/* Deep copies in the other character width. Sizes and offsets stay as they are; only the bytes an element of an array of
 * characters become 2 and 1. Fail on null. */
EMANTLE_API Emif_DesignU* emif_DesignA2U(const Emif_DesignA* design, Eerr_ErrorReport** err);
EMANTLE_API Emif_DesignA* emif_DesignU2A(const Emif_DesignU* design, Eerr_ErrorReport** err);

/* The 13 item types of the values of an Egda_BaseData, by its data type. */
EMANTLE_API const Emif_Type* emsc_AddressOf_emif_Type(void);

#ifdef __cplusplus

EMANTLE_CLASS void emif_DesignDestroy(Emif_DesignU* design);

namespace emantle::mif {
template <class Text>
struct Forms;
template <>
struct Forms<Etxt_TextA> {
    using Design = Emif_DesignA;
    using Item = Emif_DesignItemA;
    using Dictionary = Emif_DictionaryA;
};
template <>
struct Forms<Etxt_TextU> {
    using Design = Emif_DesignU;
    using Item = Emif_DesignItemU;
    using Dictionary = Emif_DictionaryU;
};
}  // namespace emantle::mif

template <class Text>
using EMIF_DESIGN = typename emantle::mif::Forms<Text>::Design;

/* Owns a design of either character width. */
template <class Text>
class EmifDesignT {
public:
    explicit EmifDesignT(EMIF_DESIGN<Text>* design = nullptr) noexcept : design_(design) {}
    virtual ~EmifDesignT() { emif_DesignDestroy(design_); }
    EmifDesignT(const EmifDesignT&) = delete;
    EmifDesignT& operator=(const EmifDesignT&) = delete;

    EmifDesignT& operator=(EMIF_DESIGN<Text>* design) noexcept
    {
        if (design != design_) {
            emif_DesignDestroy(design_);
            design_ = design;
        }
        return *this;
    }

    operator EMIF_DESIGN<Text>*() const noexcept { return design_; }
    EMIF_DESIGN<Text>* operator->() const noexcept { return design_; }

    /* Gives the design to the caller. */
    EMIF_DESIGN<Text>* Release() noexcept
    {
        EMIF_DESIGN<Text>* design = design_;
        design_ = nullptr;
        return design;
    }

private:
    EMIF_DESIGN<Text>* design_;
};

#endif
#endif
