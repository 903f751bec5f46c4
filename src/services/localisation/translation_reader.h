#pragma once

#include "services/translation/translation_module.h"

#include <string>

namespace emantle {

/* The functions of the loadable module, which stays loaded. */
struct TranslationReader {
    decltype(&emantle_translation_open) open;
    decltype(&emantle_translation_translate) translate;
    decltype(&emantle_translation_close) close;
};

/* False where the module at `path` does not load or lacks a function. */
bool loadTranslationReader(const std::string& path, TranslationReader& reader);

/* The reader of the process, loaded at first use; null where there is none. */
const TranslationReader* translationReader();

} // namespace emantle
