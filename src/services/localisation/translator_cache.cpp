#include "services/localisation/translator_cache.h"

#include "platform/file.h"
#include "platform/paths.h"
#include "services/localisation/catalogue_check.h"

#include <algorithm>

using namespace emantle;

namespace OrvikLocalization {

namespace {

constexpr std::uint64_t kLargestCatalogue = 64 << 20;

/* The bytes of a regular file with the padding behind them; empty where it cannot be read. A copy, not a mapping: a
 * file that another process shortens must not reach the reader. */
std::vector<unsigned char> padded(const std::string& path)
{
    platform::FileStatus status;
    platform::File file;
    if (platform::fileStatus(path, status) != 0 || status.kind != platform::FileKind::file ||
        status.size > kLargestCatalogue ||
        file.open(path, platform::Disposition::openExisting, platform::Access::read) != 0) {
        return {};
    }
    std::vector<unsigned char> bytes(static_cast<std::size_t>(status.size) + kCataloguePadding);
    const platform::Transfer transfer = file.readAt(bytes.data(), static_cast<std::size_t>(status.size), 0);
    if (transfer.error != 0 || transfer.bytes != status.size) {
        return {};
    }
    return bytes;
}

} // namespace

std::shared_ptr<const ECatalogue> ECatalogue::Open(const TranslationReader& reader, const std::string& path)
{
    std::vector<unsigned char> bytes = padded(path);
    if (bytes.empty()) {
        return nullptr;
    }
    const std::size_t size = bytes.size() - kCataloguePadding;
    if (!isSoundCatalogue({bytes.data(), size})) {
        return nullptr;
    }
    std::shared_ptr<ECatalogue> catalogue(new ECatalogue(reader, std::move(bytes)));
    catalogue->handle_ = reader.open(catalogue->bytes_.data(), size);
    return catalogue->handle_ == nullptr ? nullptr : catalogue;
}

std::u16string ECatalogue::Translate(const std::string& context, const std::string& source) const
{
    std::u16string text(256, u'\0');
    const auto ask = [&] {
        return reader_.translate(handle_, context.c_str(), source.c_str(), text.data(), text.size());
    };
    std::size_t units = ask();
    if (units > text.size()) {
        text.resize(units);
        units = std::min(ask(), units);
    }
    text.resize(units);
    return text;
}

ETranslatorCache& ETranslatorCache::Instance()
{
    static auto* const cache = new ETranslatorCache(translationReader());
    return *cache;
}

std::shared_ptr<const ECatalogue> ETranslatorCache::Open(const std::string& path)
{
    if (reader_ == nullptr) {
        return nullptr;
    }
    const std::lock_guard lock(mutex_);
    const auto known = catalogues_.find(path);
    if (known != catalogues_.end()) {
        return known->second;
    }
    return catalogues_.emplace(path, ECatalogue::Open(*reader_, path)).first->second;
}

} // namespace OrvikLocalization
