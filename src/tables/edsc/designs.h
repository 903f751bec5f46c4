#pragma once

#include "store/mif/fetch.h"

#include <cstdint>
#include <emantle/store/ehfa/file.h>

namespace emantle::tables {

/* The dictionary of the designs of tables, columns and bin functions. */
extern mif::OwnDictionary ownDictionary;

/* Puts a store's dictionary mark back as it was: designs that are added for reading do not make the file dirty. */
class UnchangedDictionary {
public:
    explicit UnchangedDictionary(Ehfa_File& file) noexcept : file_(file), changed_(file.dictionary->changed) {}
    ~UnchangedDictionary() { file_.dictionary->changed = changed_; }
    UnchangedDictionary(const UnchangedDictionary&) = delete;
    UnchangedDictionary& operator=(const UnchangedDictionary&) = delete;

private:
    Ehfa_File& file_;
    std::int32_t changed_;
};

}  // namespace emantle::tables
