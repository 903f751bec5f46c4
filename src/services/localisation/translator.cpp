#include "frame/memory/heap_ptr.h"
#include "services/localisation/translator_cache.h"

#include <emantle/frame/eerr.h>
#include <emantle/frame/estr/expand.h>
#include <emantle/frame/etxt/convert.h>
#include <emantle/services/localisation.h>

#include <algorithm>
#include <boost/locale/encoding_utf.hpp>
#include <tuple>

using namespace emantle;

namespace OrvikLocalization {

namespace {

constexpr char kPathVariable[] = "$ORVIK_TRANSLATIONS_PATH";

/* "scene" of "lib/scene.so". */
std::string baseName(const std::string& module)
{
    const std::size_t slash = module.find_last_of("/\\");
    std::string name = slash == module.npos ? module : module.substr(slash + 1);
    const std::size_t dot = name.rfind('.');
    if (dot != name.npos && dot > 0) {
        name.resize(dot);
    }
    return name;
}

std::string expanded(const std::string& path)
{
    const HeapPtr<char> text(estr_PathExpand(path.c_str(), nullptr, 0));
    return text == nullptr ? std::string() : text.get();
}

std::vector<std::string> foldersOf(const std::string& list)
{
    std::vector<std::string> folders;
    for (std::size_t begin = 0; begin < list.size();) {
        const std::size_t end = std::min(list.find(';', begin), list.size());
        if (end > begin) {
            folders.push_back(list.substr(begin, end - begin));
        }
        begin = end + 1;
    }
    return folders;
}

/* "_de_AT", "_de" and "" for the locale "de_AT". */
std::vector<std::string> suffixesOf(std::string locale)
{
    std::vector<std::string> suffixes;
    while (!locale.empty() && locale != "C") {
        suffixes.push_back('_' + locale);
        const std::size_t cut = locale.rfind('_');
        locale.resize(cut == locale.npos ? 0 : cut);
    }
    suffixes.emplace_back();
    return suffixes;
}

} // namespace

class ETranslatorImpl {
public:
    ETranslatorImpl(const std::string& folderList, const std::string& locale, const std::string& module,
                    const std::string& context)
        : context_(context)
    {
        const std::string base = baseName(module);
        const std::vector<std::string> folders = foldersOf(folderList);
        if (folders.empty() || base.empty()) {
            EerrException(".\\etxt", "ETranslatorImpl::ETranslatorImpl")
                .Throw(__LINE__, "Unable to get translation module path");
        }
        for (const std::string& suffix : suffixesOf(locale)) {
            openFirst(folders, base + suffix + ".qm");
        }
    }

    const std::string& path() const noexcept { return path_; }

    std::u16string translate(const std::string& source, const std::string& context) const
    {
        std::u16string text;
        for (auto catalogue = catalogues_.begin(); catalogue != catalogues_.end() && text.empty(); ++catalogue) {
            text = (*catalogue)->Translate(context.empty() ? context_ : context, source);
        }
        return text;
    }

private:
    void openFirst(const std::vector<std::string>& folders, const std::string& name)
    {
        for (const std::string& folder : folders) {
            const std::string path = folder + '/' + name;
            if (auto catalogue = ETranslatorCache::Instance().Open(path)) {
                if (catalogues_.empty()) {
                    path_ = path;
                }
                catalogues_.push_back(std::move(catalogue));
                return;
            }
        }
    }

    const std::string context_;
    std::string path_;
    std::vector<std::shared_ptr<const ECatalogue>> catalogues_;
};

ETranslator::ETranslator(const std::string& module, const std::string& context)
    : impl_(std::make_shared<ETranslatorImpl>(expanded(kPathVariable), ELocale::Instance().Name(), module, context))
{}

ETranslator::ETranslator(std::shared_ptr<const ETranslatorImpl> impl) noexcept : impl_(std::move(impl)) {}

std::string ETranslator::GetTranslationModulePath() const
{
    return impl_->path();
}

std::wstring ETranslator::Translate(const std::string& source, const std::string& context) const
{
    if (source.empty()) {
        return {};
    }
    return boost::locale::conv::utf_to_utf<wchar_t>(impl_->translate(source, context));
}

struct ETranslatorList::Entries {
    using Key = std::tuple<std::string, std::string, std::string>;

    std::mutex mutex;
    std::map<Key, ETranslator> translators;
};

ETranslatorList::ETranslatorList() : entries_(new Entries) {}

ETranslatorList& ETranslatorList::Instance()
{
    static auto* const list = new ETranslatorList;
    return *list;
}

const ETranslator* ETranslatorList::Open(const std::string& path, const std::string& module)
{
    const std::string folders = expanded(path);
    if (foldersOf(folders).empty()) {
        return nullptr;
    }
    const std::string locale = ELocale::Instance().Name();
    Entries::Key key(folders, locale, module);
    const std::lock_guard lock(entries_->mutex);
    auto entry = entries_->translators.find(key);
    if (entry == entries_->translators.end()) {
        const ETranslator translator(std::make_shared<ETranslatorImpl>(folders, locale, module, std::string()));
        entry = entries_->translators.emplace(std::move(key), translator).first;
    }
    return &entry->second;
}

} // namespace OrvikLocalization

namespace {

/* Empty where there is no translation, for whatever reason. */
std::wstring translated(const char* context, const char* source) noexcept
try {
    const OrvikLocalization::ETranslator* const translator =
        OrvikLocalization::ETranslatorList::Instance().Open(OrvikLocalization::kPathVariable);
    return translator == nullptr ? std::wstring() : translator->Translate(source, context == nullptr ? "" : context);
} catch (OrvikLog::Exception& caught) {
    /* Nobody asks for its report. */
    if (auto* const scope = dynamic_cast<EerrException*>(&caught)) {
        scope->Clear();
    }
    return {};
} catch (...) {
    return {};
}

} // namespace

EMANTLE_API void etxt_TranslateString(Etxt_TextU** text, const char* context, const char* source)
{
    if (text == nullptr) {
        return;
    }
    *text = nullptr;
    try {
        const std::wstring wide = source == nullptr ? std::wstring() : translated(context, source);
        if (!wide.empty()) {
            const std::u16string units = boost::locale::conv::utf_to_utf<char16_t>(wide);
            HeapPtr<Etxt_TextU> copy = allocate<Etxt_TextU>(units.size() + 1);
            units.copy(copy.get(), units.size());
            *text = copy.release();
            return;
        }
    } catch (...) {
        /* Memory: the source takes less of it. */
    }
    *text = etxt_Text_Ascii2Unicode(nullptr, source == nullptr ? "" : source, 0);
}
