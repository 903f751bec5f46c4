#pragma once

#include "store/hfa/block_store.h"
#include "store/mif/fetch.h"

namespace emantle::hfa {

/* The designs of block stores and record tables. */
extern mif::OwnDictionary cacheDictionary;
extern mif::OwnDesign cacheNodeDesign;

/* Where a block store lies: the file's name ("" where none is given) and the path and name of its node. */
struct NodeName {
    std::string file;
    std::string parent;
    std::string node;

    std::string path() const { return parent == ":" ? parent + node : parent + ":" + node; }
};
NodeName nodeNameOf(const char* name, bool withFile, EerrException& scope);

/* Writes the dictionary of a file where it has changed, unless that is held back: what is new in the file can be read
 * by the file alone. */
void writeDesigns(Handle& handle, EerrException& scope);

/* Writes the head where it has changed; the handle's current entry stays. */
void writeNode(BlockStore& store, EerrException& scope);

/* Gives up a reference to a file in every way out of a call. */
struct ReferenceRelease {
    void operator()(Ehfa_File* file) const noexcept
    {
        Eerr_ErrorReport* unheard = nullptr;
        ehfa_FileClose(file, &unheard);
        eerr_DeleteErrorReportEx(&unheard);
    }
};
using FileReference = std::unique_ptr<Ehfa_File, ReferenceRelease>;

/* Another reference to an open file. */
FileReference sharedReference(Ehfa_File* file);

}  // namespace emantle::hfa
