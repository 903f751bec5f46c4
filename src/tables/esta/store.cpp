#include "tables/esta/store.h"

#include <emantle/store/emif.h>

namespace emantle::tables {

namespace {

/* The current entry, to come back to: a search that finds nothing ends somewhere else. */
class Here {
public:
    Here(EerrException& scope, Ehfa_File* file)
        : file_(file), position_(checked(scope, ehfa_EntryPositionGet(file, scope), "EntrySeek failed"))
    {
    }

    void back(EerrException& scope) const
    {
        checked(scope, ehfa_EntryPositionSet(file_, position_.get(), scope), "EntrySeek failed");
    }

private:
    struct Free {
        void operator()(Ehfa_EntryPosition* position) const noexcept { ehfa_EntryPositionFree(position, nullptr); }
    };
    Ehfa_File* file_;
    std::unique_ptr<Ehfa_EntryPosition, Free> position_;
};

/* Deletes the child of type `type`, if there is one; the current entry stays. */
void deleteChild(EerrException& scope, Ehfa_File* file, const char* type)
{
    const Here here(scope, file);
    if (seek(scope, file, EHFA_SEEK_CHILD_TYPE, type)) {
        checked(scope, ehfa_EntryDelete(file, scope), "EntryDelete failed");
    }
    here.back(scope);
}

void addDesign(EerrException& scope, Ehfa_File* file, const Emif_Design* design)
{
    if (file->dictionary != nullptr) {
        checked(scope, emif_DictionaryAddDesign(file->dictionary, design, scope),
                "Trouble adding design to dictionary");
    }
}

void insertChild(EerrException& scope, Ehfa_File* file, const char* name, const char* type, const void* record,
                 mif::OwnDesign& design)
{
    const Emif_Design* const fetched = design.fetch(scope);
    addDesign(scope, file, fetched);
    checked(scope, ehfa_ObjectWrite(file, nullptr, name, type, EHFA_WRITE_FIRST_CHILD, record, fetched, scope),
            "Object Write failed");
}

}  // namespace

bool seek(EerrException& scope, Ehfa_File* file, long method, const char* name)
{
    return checked(scope, ehfa_EntrySeek(file, method, name, scope), "EntrySeek failed") != nullptr;
}

bool seekPath(EerrException& scope, Ehfa_File* file, const char* path)
{
    require(file != nullptr, "Bad args");
    return path == nullptr || seek(scope, file, EHFA_SEEK_PATH, path);
}

bool seekType(EerrException& scope, Ehfa_File* file, const char* path, const char* type, bool searchUpward)
{
    if (!seekPath(scope, file, path)) {
        return false;
    }
    /* At each level the search runs through the children of one node: first those of the node itself, then the siblings
     * of each node on the way up. */
    if (seek(scope, file, EHFA_SEEK_CHILD, nullptr)) {
        if (seek(scope, file, EHFA_SEEK_SIBLING_TYPE, type)) {
            return true;
        }
        if (!searchUpward || !seek(scope, file, EHFA_SEEK_PARENT, nullptr)) {
            return false;
        }
    }
    while (searchUpward && file->entry->parent != 0) {
        if (seek(scope, file, EHFA_SEEK_SIBLING_TYPE, type)) {
            return true;
        }
        if (!seek(scope, file, EHFA_SEEK_PARENT, nullptr)) {
            return false;
        }
    }
    return false;
}

void writeChild(EerrException& scope, Ehfa_File* file, const char* name, const char* type, const void* record,
                mif::OwnDesign& design)
{
    const Here here(scope, file);
    if (!seek(scope, file, EHFA_SEEK_CHILD_NAME, name)) {
        here.back(scope);
        insertChild(scope, file, name, type, record, design);
        return;
    }
    const Emif_Design* const fetched = design.fetch(scope);
    addDesign(scope, file, fetched);
    checked(scope, ehfa_ObjectWrite(file, nullptr, nullptr, type, EHFA_WRITE_CURRENT, record, fetched, scope),
            "Object Write failed");
}

DataPtr readExcludedValues(EerrException& scope, Ehfa_File* file)
{
    const Emif_Design* const design = excludedValuesDesign.fetch(scope);
    ExcludedValuesRecord record{};
    ehfa_ObjectReadIfPresent(file, nullptr, kExcludedValuesType, EHFA_SEEK_CHILD_TYPE, &record, design, scope);
    DataPtr values(record.valueBD);
    check(scope, "Error reported by function ehfa_ObjectRead");
    return values;
}

void writeExcludedValues(EerrException& scope, Ehfa_File* file, const Egda_BaseData* values)
{
    deleteChild(scope, file, kExcludedValuesType);
    if (values != nullptr) {
        const ExcludedValuesRecord record{const_cast<Egda_BaseData*>(values)};
        insertChild(scope, file, "Excluded_Values", kExcludedValuesType, &record, excludedValuesDesign);
    }
}

void writeSkipFactors(EerrException& scope, Ehfa_File* file, std::int32_t skipX, std::int32_t skipY)
{
    deleteChild(scope, file, kSkipFactorsType);
    const SkipFactorsRecord record{skipX, skipY};
    insertChild(scope, file, "Skip_Factors", kSkipFactorsType, &record, skipFactorsDesign);
}

}  // namespace emantle::tables
