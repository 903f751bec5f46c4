#pragma once

#include "store/hfa/activity.h"
#include "store/mif/fetch.h"

#include <emantle/store/ehfa/file.h>

namespace emantle::tables {

/* The dictionary of the designs of tables, columns and bin functions. */
extern mif::OwnDictionary ownDictionary;

/* Designs that are added for reading do not make the file dirty; they go to it with the next change. */
class UnchangedDictionary {
public:
    explicit UnchangedDictionary(Ehfa_File& file) noexcept : file_(file), wasChanged_(file.dictionary->changed != 0) {}
    ~UnchangedDictionary()
    {
        if (!wasChanged_) {
            hfa::holdBackDesigns(hfa::opened(&file_));
        }
    }
    UnchangedDictionary(const UnchangedDictionary&) = delete;
    UnchangedDictionary& operator=(const UnchangedDictionary&) = delete;

private:
    Ehfa_File& file_;
    bool wasChanged_;
};

}  // namespace emantle::tables
