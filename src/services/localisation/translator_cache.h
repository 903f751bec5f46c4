#pragma once

#include "services/localisation/translation_reader.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace OrvikLocalization {

/* One open catalogue. */
class ECatalogue {
public:
    /* Null where the file is missing or not to be used. */
    static std::shared_ptr<const ECatalogue> Open(const emantle::TranslationReader& reader, const std::string& path);

    ~ECatalogue() { reader_.close(handle_); }
    ECatalogue(const ECatalogue&) = delete;
    ECatalogue& operator=(const ECatalogue&) = delete;

    /* Empty where there is none. */
    std::u16string Translate(const std::string& context, const std::string& source) const;

private:
    ECatalogue(const emantle::TranslationReader& reader, std::vector<unsigned char> bytes) noexcept
        : reader_(reader), bytes_(std::move(bytes))
    {}

    const emantle::TranslationReader& reader_;
    const std::vector<unsigned char> bytes_;
    void* handle_ = nullptr;
};

/* The open catalogues by path. A path is tried once, with or without success. */
class ETranslatorCache {
public:
    /* Null `reader` opens nothing. */
    explicit ETranslatorCache(const emantle::TranslationReader* reader) noexcept : reader_(reader) {}

    /* That of the process, which is never closed: translators may be asked up to the last moment. */
    static ETranslatorCache& Instance();

    std::shared_ptr<const ECatalogue> Open(const std::string& path);

private:
    const emantle::TranslationReader* const reader_;
    std::mutex mutex_;
    std::map<std::string, std::shared_ptr<const ECatalogue>> catalogues_;
};

} // namespace OrvikLocalization
