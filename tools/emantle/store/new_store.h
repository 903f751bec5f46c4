#pragma once

#include "console/failure.h"

#include <emantle/store/ehfa.h>
#include <string>

namespace tool {

/* Fails unless a file can be made at `path`. With `replace` one of that name may be there. */
void requirePlace(const std::string& path, bool replace);

/* A store in the making. It is written beside its final name and takes that name when it is complete; until then
 * whatever ends the program's work takes it away again. */
class NewStore {
public:
    NewStore(const std::string& path, bool replace);
    ~NewStore();
    NewStore(const NewStore&) = delete;
    NewStore& operator=(const NewStore&) = delete;

    Ehfa_File* get() const { return file_; }
    const std::string& path() const { return path_; }

    /* Header and free list stay in memory until `commit`: nobody reads the file before. */
    void holdBack();

    /* Closes the store and gives it its name. */
    void commit();

    /* The same, with the permissions of `model`. */
    void commitLike(const std::string& model);

private:
    void close();
    void takeName();

    std::string path_;
    std::string temporary_;
    Ehfa_File* file_ = nullptr;
};

}  // namespace tool
