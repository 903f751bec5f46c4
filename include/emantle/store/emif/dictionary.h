#ifndef EMANTLE_STORE_EMIF_DICTIONARY_H
#define EMANTLE_STORE_EMIF_DICTIONARY_H

#include <emantle/store/emif/design.h>

/* emif, dictionaries: named sets of designs and their textual form.
 *  1. A dictionary owns its designs, which are copies. They stand in order of definition: a design comes after every
 *     design that it contains. The first definition of a name wins.
 *  2. The text of a dictionary is its designs, then "."; docs/format.md draws the grammar.
 *  3. The private dictionary holds the toolkit's own designs; they override what a text says under their names.
 *  4. Nothing here locks a caller's dictionary. */

typedef struct Efio_File Efio_File;

typedef struct Emif_DictionaryA {
    int32_t changed; /* 1 when designs were added since the last encoding */
    Emif_DesignA* first;
    Emif_DesignA* last;
} Emif_DictionaryA;

typedef struct Emif_DictionaryU {
    int32_t changed;
    Emif_DesignU* first;
    Emif_DesignU* last;
} Emif_DictionaryU;

typedef Emif_DictionaryA EMIF_DICTIONARYEtxt_TextA;
typedef Emif_DictionaryA Emif_Dictionary;

/* Fills the private dictionary; called by whatever needs it. */
EMANTLE_API void emif_Init(Eerr_ErrorReport** err);

/* A new dictionary without designs, the caller's. */
EMANTLE_API Emif_Dictionary* emif_DictionaryCreate(Eerr_ErrorReport** err);

/* Frees a dictionary and its designs. Null is accepted. */
EMANTLE_API void emif_DictionaryDestroy(Emif_Dictionary* dictionary);
EMANTLE_API void emif_DictionaryDelete(Emif_Dictionary* dictionary, Eerr_ErrorReport** err);

/* Adds a copy of `design`, and before it copies of the designs that it contains, as far as their names are new; then
 * `changed` is 1. Returns the dictionary's design of that name, which is the older one where the name was taken. */
EMANTLE_API Emif_Design* emif_DictionaryAddDesign(Emif_Dictionary* dictionary, const Emif_Design* design,
                                                  Eerr_ErrorReport** err);
EMANTLE_API Emif_Design* emif_AddDesignToDictionary(Emif_Dictionary* dictionary, const Emif_Design* design,
                                                    Eerr_ErrorReport** err);

/* The dictionary's own design of that name, or null, which is no failure. */
EMANTLE_API Emif_Design* emif_DictionarySearchByName(const Emif_Dictionary* dictionary, const char* name,
                                                     Eerr_ErrorReport** err);
EMANTLE_API Emif_Design* emif_FindDesignByName(const Emif_Dictionary* dictionary, const char* name,
                                               Eerr_ErrorReport** err);

/* Encoding: the length in characters (without a terminator), the text as a new string of the caller's, and the text
 * written at the file's position, whose length is returned. Each clears `changed`, the first as well: a caller that
 * needs the flag reads it before. On failure the result is 0 or null. */
EMANTLE_API long emif_DictionaryEncodedLength(Emif_Dictionary* dictionary, Eerr_ErrorReport** err);
EMANTLE_API char* emif_DictionaryEncodeToString(Emif_Dictionary* dictionary, Eerr_ErrorReport** err);
EMANTLE_API long emif_EncodeDictionary(Efio_File* file, Emif_Dictionary* dictionary, Eerr_ErrorReport** err);

/* Decodes a text to a new dictionary, the caller's. Where a design behind the first is damaged, the report is printed
 * and the result holds what came before. Fails when the first design is damaged. */
EMANTLE_API Emif_Dictionary* emif_DictionaryDecodeFromString(const char* text, Eerr_ErrorReport** err);

/* The same from the file's position, which ends behind the text's last character. With a dictionary, the designs are
 * added to it and it is the result; it keeps what was added before a failure. */
EMANTLE_API Emif_Dictionary* emif_DecodeDictionary(Efio_File* file, Emif_Dictionary* dictionary,
                                                   Eerr_ErrorReport** err);

/* Print the designs of a dictionary, and an object under its design: "struct <name> {", a line an item, "}". Of an array
 * the first values are shown, then ", ...". A null object prints "<NULL>\n". */
EMANTLE_API void emif_FprintfDictionary(Efio_File* file, const Emif_Dictionary* dictionary, Eerr_ErrorReport** err);
EMANTLE_API void emif_FprintfDesign(Efio_File* file, const void* object, const Emif_Design* design,
                                    Eerr_ErrorReport** err);

#ifdef __cplusplus

EMANTLE_CLASS void emif_DictionaryDestroy(Emif_DictionaryU* dictionary);

template <class Text>
using EMIF_DICTIONARY = typename emantle::mif::Forms<Text>::Dictionary;

/* Owns a dictionary of either character width. */
template <class Text>
class EmifDictionaryT {
public:
    explicit EmifDictionaryT(EMIF_DICTIONARY<Text>* dictionary = nullptr) noexcept : dictionary_(dictionary) {}
    virtual ~EmifDictionaryT() { emif_DictionaryDestroy(dictionary_); }
    EmifDictionaryT(const EmifDictionaryT&) = delete;
    EmifDictionaryT& operator=(const EmifDictionaryT&) = delete;

    EmifDictionaryT& operator=(EMIF_DICTIONARY<Text>* dictionary) noexcept
    {
        if (dictionary != dictionary_) {
            emif_DictionaryDestroy(dictionary_);
            dictionary_ = dictionary;
        }
        return *this;
    }

    operator EMIF_DICTIONARY<Text>*() const noexcept { return dictionary_; }
    EMIF_DICTIONARY<Text>* operator->() const noexcept { return dictionary_; }

    /* Gives the dictionary to the caller. */
    EMIF_DICTIONARY<Text>* Release() noexcept
    {
        EMIF_DICTIONARY<Text>* dictionary = dictionary_;
        dictionary_ = nullptr;
        return dictionary;
    }

private:
    EMIF_DICTIONARY<Text>* dictionary_;
};

/* A dictionary of the whole process, in static storage. */
class EMANTLE_CLASS _emif_Dictionary_PEtxt_TextA {
public:
    constexpr _emif_Dictionary_PEtxt_TextA() noexcept = default;
    /* Enters the unsafe section, destroys the dictionary and clears the pointer. */
    virtual ~_emif_Dictionary_PEtxt_TextA();
    _emif_Dictionary_PEtxt_TextA(const _emif_Dictionary_PEtxt_TextA&) = delete;
    _emif_Dictionary_PEtxt_TextA& operator=(const _emif_Dictionary_PEtxt_TextA&) = delete;

    Emif_Dictionary* dictionary = nullptr;
};

class EMANTLE_CLASS EmifDictionaryP : public _emif_Dictionary_PEtxt_TextA {
public:
    constexpr EmifDictionaryP() noexcept = default;
    ~EmifDictionaryP() override;
};

#endif
#endif
