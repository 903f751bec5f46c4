#include "services/translation/translation_module.h"

#include <QString>
#include <QTranslator>
#include <algorithm>
#include <limits>
#include <memory>

#define EMANTLE_TRANSLATION_EXPORT __attribute__((visibility("default")))

/* QTranslator needs no application object: it is asked directly, not through the chain of installed translators.
 * Exceptions here can only be of memory, and count as no translation. */

EMANTLE_TRANSLATION_EXPORT void* emantle_translation_open(const unsigned char* bytes, std::size_t size)
try {
    if (size > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        return nullptr;
    }
    auto translator = std::make_unique<QTranslator>();
    return translator->load(bytes, static_cast<int>(size)) ? translator.release() : nullptr;
} catch (...) {
    return nullptr;
}

EMANTLE_TRANSLATION_EXPORT std::size_t emantle_translation_translate(const void* catalogue, const char* context,
                                                                     const char* source, char16_t* buffer,
                                                                     std::size_t capacity)
try {
    const QString text = static_cast<const QTranslator*>(catalogue)->translate(context, source);
    const auto units = static_cast<std::size_t>(text.size());
    std::copy_n(reinterpret_cast<const char16_t*>(text.utf16()), std::min(units, capacity), buffer);
    return units;
} catch (...) {
    return 0;
}

EMANTLE_TRANSLATION_EXPORT void emantle_translation_close(void* catalogue)
{
    delete static_cast<QTranslator*>(catalogue);
}
