#ifndef EMANTLE_SERVICES_LOCALISATION_H
#define EMANTLE_SERVICES_LOCALISATION_H

#include <emantle/frame/export.h>

/* Localisation: messages in the user's language, looked up by their source text in catalogues of Qt's form (.qm).
 *  1. The catalogues of a module lie in the folders of $ORVIK_TRANSLATIONS_PATH, between ";". Of a module "emantle" in
 *     the locale "de_AT" they are emantle_de_AT.qm, emantle_de.qm and emantle.qm. All that exist are asked in that
 *     order until one has the message, so that the file of a country holds only what differs; of several folders the
 *     first that has a name wins.
 *  2. A file is opened once per process. What is not there at that moment, is no regular file, is above 64 MiB or is
 *     damaged counts as absent for as long as the process lives. A catalogue that names other catalogues is refused.
 *  3. Catalogues are read by the loadable module emantle/emantle_translation.so beside the library, or the one that the
 *     variable EMANTLE_TRANSLATION_MODULE names. Without it every message stays as it is.
 *  4. All calls may be made from any thread. */

/* Sets `*text` to the translation of `source` by the catalogues of the module "emantle", or to `source` itself where
 * there is none: heap text, the caller's. What `*text` held before is not freed. A null or empty `source` gives an
 * empty text, a null `context` counts as empty, a null `text` takes nothing. `*text` is null when memory is out. */
EMANTLE_API void etxt_TranslateString(Etxt_TextU** text, const char* context, const char* source);

#ifdef __cplusplus

#include <memory>
#include <string>

namespace OrvikLocalization {

class ETranslatorImpl;

class EMANTLE_CLASS ELocale {
public:
    static ELocale& Instance();

    /* Language and country, "de_AT", of the first of LC_ALL, LC_MESSAGES and LANG that has a value, without encoding
     * and variant. "C" where there is none, or where it is no name of letters, digits, "_" and "-". Read each time. */
    std::string Name() const;

    ELocale(const ELocale&) = delete;
    ELocale& operator=(const ELocale&) = delete;

private:
    ELocale() = default;
};

/* The catalogues of one module in the locale of the moment. Copies share them. */
class EMANTLE_CLASS ETranslator {
public:
    /* The base name of the catalogues is that of `module`, a name or the path of a file: "scene" for "lib/scene.so".
     * `context` stands in where Translate gets none. A missing catalogue is no failure; throws an EerrException with
     * "Unable to get translation module path" where the variable has no value or `module` no base name. */
    ETranslator(const std::string& module, const std::string& context);

    /* The path of the first catalogue that was opened; empty where there is none. */
    std::string GetTranslationModulePath() const;

    /* The translation; empty where there is none, and for an empty `source`. */
    std::wstring Translate(const std::string& source, const std::string& context = {}) const;

private:
    friend class ETranslatorList;
    explicit ETranslator(std::shared_ptr<const ETranslatorImpl> impl) noexcept;

    std::shared_ptr<const ETranslatorImpl> impl_;
};

/* The translators of the process. */
class EMANTLE_CLASS ETranslatorList {
public:
    static ETranslatorList& Instance();

    /* The translator of `module` over the folders of `path`, in which variables are replaced, and the present locale:
     * the same one for the same three. It lives as long as the process. Null where `path` holds no folder; throws as
     * ETranslator does for a module without a base name. */
    const ETranslator* Open(const std::string& path, const std::string& module = "emantle");

    ETranslatorList(const ETranslatorList&) = delete;
    ETranslatorList& operator=(const ETranslatorList&) = delete;

private:
    ETranslatorList();
    ~ETranslatorList() = delete;

    struct Entries;
    Entries* const entries_;
};

} // namespace OrvikLocalization

#endif
#endif
