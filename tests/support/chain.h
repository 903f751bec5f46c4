#pragma once

#include <emantle/frame/eerr.h>

#include <optional>
#include <ostream>
#include <string>
#include <vector>

/* One record of a chain as a test compares it. */
struct Record {
    std::string function;
    std::optional<std::string> message;
    long type = EERR_ERROR;

    bool operator==(const Record&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const Record& record)
    {
        return out << record.function << ": " << record.message.value_or("(no text)") << " [" << record.type << ']';
    }
};

/* A chain, head first. */
inline std::vector<Record> recordsOf(const Eerr_ErrorReport* chain)
{
    std::vector<Record> records;
    for (; chain != nullptr; chain = chain->next) {
        records.push_back({chain->function == nullptr ? "" : chain->function,
                           chain->message == nullptr ? std::nullopt : std::optional<std::string>(chain->message),
                           chain->type});
    }
    return records;
}

/* An error argument that owns what it was given. */
class Report {
public:
    Report() = default;
    explicit Report(Eerr_ErrorReport* chain) : chain_(chain) {}
    ~Report() { eerr_DeleteErrorReportEx(&chain_); }
    Report(const Report&) = delete;
    Report& operator=(const Report&) = delete;

    operator Eerr_ErrorReport**() { return &chain_; }
    Eerr_ErrorReport* get() const { return chain_; }
    std::vector<Record> records() const { return recordsOf(chain_); }

private:
    Eerr_ErrorReport* chain_ = nullptr;
};
