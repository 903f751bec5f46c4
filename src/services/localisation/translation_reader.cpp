#include "services/localisation/translation_reader.h"

#include "platform/environment.h"
#include "platform/loader.h"

namespace emantle {

namespace {

std::string modulePath()
{
    std::string path;
    if (platform::getEnvironment("EMANTLE_TRANSLATION_MODULE", path)) {
        return path;
    }
    path = platform::libraryDirectory();
    return path.empty() ? path : path + "/emantle/emantle_translation.so";
}

template <class Function> bool find(void* library, const char* name, Function& function)
{
    function = reinterpret_cast<Function>(platform::findSymbol(library, name));
    return function != nullptr;
}

} // namespace

bool loadTranslationReader(const std::string& path, TranslationReader& reader)
{
    std::string reason;
    void* const library = path.empty() ? nullptr : platform::openLibrary(path, reason);
    if (library == nullptr) {
        return false;
    }
    if (find(library, "emantle_translation_open", reader.open) &&
        find(library, "emantle_translation_translate", reader.translate) &&
        find(library, "emantle_translation_close", reader.close)) {
        return true;
    }
    platform::closeLibrary(library);
    return false;
}

const TranslationReader* translationReader()
{
    static TranslationReader reader{};
    static const bool isLoaded = loadTranslationReader(modulePath(), reader);
    return isLoaded ? &reader : nullptr;
}

} // namespace emantle
