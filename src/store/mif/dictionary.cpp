#include "store/mif/dictionary.h"

#include "frame/guard/plain_scope.h"

namespace emantle::mif {

namespace {

constexpr int kSearchesWithoutIndex = 16;

template <class Dictionary>
void destroyDictionary(Dictionary* dictionary) noexcept
{
    if (dictionary == nullptr) {
        return;
    }
    while (dictionary->first != nullptr) {
        auto* design = dictionary->first;
        dictionary->first = design->next;
        emif_DesignDestroy(design);
    }
    emsc_HeapFree(dictionary);
}

Emif_Design* walkTo(const Emif_Dictionary& dictionary, std::string_view name) noexcept
{
    for (Emif_Design* design = dictionary.first; design != nullptr; design = design->next) {
        if (design->name != nullptr && design->name == name) {
            return design;
        }
    }
    return nullptr;
}

}  // namespace

Emif_Design* DictionaryEditor::find(std::string_view name)
{
    if (!index_) {
        if (++searches_ <= kSearchesWithoutIndex) {
            return walkTo(dictionary_, name);
        }
        index_.emplace();
        for (Emif_Design* design = dictionary_.first; design != nullptr; design = design->next) {
            if (design->name != nullptr) {
                index_->emplace(design->name, design);
            }
        }
    }
    const auto found = index_->find(name);
    return found == index_->end() ? nullptr : found->second;
}

Emif_Design* DictionaryEditor::append(DesignPtr design)
{
    if (index_) {
        index_->emplace(design->name, design.get());
    }
    Emif_Design* added = design.release();
    added->prev = dictionary_.last;
    (dictionary_.last == nullptr ? dictionary_.first : dictionary_.last->next) = added;
    dictionary_.last = added;
    return added;
}

/* The designs on their way into a dictionary: the one that is added, then the new ones found inside. */
class DictionaryEditor::Pending {
public:
    Pending(DictionaryEditor& editor, EerrException& scope) : editor_(editor), scope_(scope) {}

    void collect(DesignPtr design)
    {
        push(std::move(design));
        for (std::size_t i = 0; i < designs_.size(); ++i) {
            for (const Emif_DesignItem* item = designs_[i]->items; item != nullptr; item = item->next) {
                if (item->design != nullptr) {
                    prepend(*item->design);
                }
            }
        }
    }

    /* The newest stands first; a design that a later one contains goes before that one all the same. */
    void appendAll()
    {
        for (std::size_t i = designs_.size(); i-- > 0;) {
            appendAfterItsParts(i);
        }
    }

private:
    void push(DesignPtr design)
    {
        places_.emplace(design->name, designs_.size());
        designs_.push_back(std::move(design));
    }

    void prepend(const Emif_Design& design)
    {
        asFunction(scope_, "emif_DesignPrepend", "DesignPrepend failure NULL", [&] {
            require(design.name, "FindDesign fail");
            if (places_.find(design.name) == places_.end() && editor_.find(design.name) == nullptr) {
                push(DesignPtr(checked(scope_, emif_DesignCopy(&design, scope_), "DesignCopy fail")));
            }
        });
    }

    void appendAfterItsParts(std::size_t place)
    {
        if (designs_[place] == nullptr) {
            return;
        }
        DesignPtr design = std::move(designs_[place]);
        for (const Emif_DesignItem* item = design->items; item != nullptr; item = item->next) {
            const auto part = item->design == nullptr ? places_.end() : places_.find(item->design->name);
            if (part != places_.end()) {
                appendAfterItsParts(part->second);
            }
        }
        editor_.append(std::move(design));
    }

    DictionaryEditor& editor_;
    EerrException& scope_;
    std::vector<DesignPtr> designs_;
    std::unordered_map<std::string_view, std::size_t> places_;
};

Emif_Design* DictionaryEditor::take(EerrException& scope, DesignPtr design)
{
    require(design->name, "No design name");
    if (Emif_Design* known = find(design->name)) {
        return known;
    }
    Emif_Design* added = design.get();
    Pending pending(*this, scope);
    pending.collect(std::move(design));
    pending.appendAll();
    dictionary_.changed = 1;
    return added;
}

Emif_Design* DictionaryEditor::add(EerrException& scope, const Emif_Design& design)
{
    asFunction(scope, "emif_DesignPrepend", "DesignPrepend failure NULL",
               [&] { require(design.name, "FindDesign fail"); });
    if (Emif_Design* known = find(design.name)) {
        return known;
    }
    return take(scope, asFunction(scope, "emif_DesignPrepend", "DesignPrepend failure NULL", [&] {
                    return DesignPtr(checked(scope, emif_DesignCopy(&design, scope), "DesignCopy fail"));
                }));
}

}  // namespace emantle::mif

using namespace emantle;
using namespace emantle::mif;

namespace {

Emif_Design* addDesign(Emif_Dictionary* dictionary, const Emif_Design* design, Eerr_ErrorReport** err)
{
    return guarded<Emif_Design*>(err, "emif_DictionaryAddDesign", nullptr, [&](EerrException& scope) {
        require(dictionary, "Dictionary pointer is NULL");
        if (design == nullptr) {
            asFunction(scope, "emif_DesignPrepend", "DesignPrepend failure NULL", [] { fail("Input Design is NULL"); });
        }
        return DictionaryEditor(*dictionary).add(scope, *design);
    });
}

Emif_Design* search(const Emif_Dictionary* dictionary, const char* name, Eerr_ErrorReport** err)
{
    PlainScope scope("emif_DictionarySearchByName", err);
    if (dictionary == nullptr) {
        return scope.raise("NULL dictionary pointer"), nullptr;
    }
    if (name == nullptr) {
        return scope.raise("NULL name"), nullptr;
    }
    return walkTo(*dictionary, name);
}

}  // namespace

EMANTLE_API Emif_Dictionary* emif_DictionaryCreate(Eerr_ErrorReport** err)
{
    return guarded<Emif_Dictionary*>(err, "emif_DictionaryCreate", nullptr,
                                     [] { return allocate<Emif_Dictionary>().release(); });
}

EMANTLE_API void emif_DictionaryDestroy(Emif_Dictionary* dictionary)
{
    destroyDictionary(dictionary);
}

void emif_DictionaryDestroy(Emif_DictionaryU* dictionary)
{
    destroyDictionary(dictionary);
}

EMANTLE_API void emif_DictionaryDelete(Emif_Dictionary* dictionary, Eerr_ErrorReport** err)
{
    PlainScope scope("emif_DictionaryDelete", err);
    destroyDictionary(dictionary);
}

EMANTLE_API Emif_Design* emif_DictionaryAddDesign(Emif_Dictionary* dictionary, const Emif_Design* design,
                                                  Eerr_ErrorReport** err)
{
    return addDesign(dictionary, design, err);
}

EMANTLE_API Emif_Design* emif_AddDesignToDictionary(Emif_Dictionary* dictionary, const Emif_Design* design,
                                                    Eerr_ErrorReport** err)
{
    return addDesign(dictionary, design, err);
}

EMANTLE_API Emif_Design* emif_DictionarySearchByName(const Emif_Dictionary* dictionary, const char* name,
                                                     Eerr_ErrorReport** err)
{
    return search(dictionary, name, err);
}

EMANTLE_API Emif_Design* emif_FindDesignByName(const Emif_Dictionary* dictionary, const char* name,
                                               Eerr_ErrorReport** err)
{
    return search(dictionary, name, err);
}
