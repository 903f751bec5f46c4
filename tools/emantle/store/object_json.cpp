#include "store/object_json.h"

#include "store/record_json.h"

namespace tool {

namespace {

/* Frees a record by its design. */
class Record {
public:
    explicit Record(const Emif_Design& design) : design_(design)
    {
        Reports reports;
        record_ = emif_ObjectAllocate(&design, reports);
        reports.check("no memory for the object");
    }
    ~Record()
    {
        Reports reports;
        emif_ObjectFree(&record_, &design_, reports);
    }
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;

    void* get() const { return record_; }

private:
    const Emif_Design& design_;
    void* record_ = nullptr;
};

}  // namespace

nlohmann::ordered_json objectJson(const OpenStore& store, const std::string& node, std::size_t most)
{
    Ehfa_File* file = store.get();
    const Ehfa_Entry entry = *file->entry;
    if (entry.data == 0 || entry.dataSize == 0) {
        return nullptr;
    }
    Reports reports;
    const Emif_Design* design = emif_DictionarySearchByName(file->dictionary, entry.type, reports);
    reports.check(store.path() + ": the dictionary cannot be searched");
    if (design == nullptr) {
        throw Failure(store.path() + ": there is no design " + oneLine(entry.type) + " for " + node);
    }
    const Record record(*design);
    ehfa_FileHostDataRead(file, static_cast<long>(entry.data), design, entry.dataSize, record.get(), reports);
    reports.check(store.path() + ": " + node + " cannot be read");
    return recordJson(record.get(), *design, most);
}

}  // namespace tool
