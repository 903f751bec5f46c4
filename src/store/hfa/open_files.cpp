#include "store/hfa/open_files.h"

#include "frame/eint.h"

#include <emantle/files/efnp.h>
#include <emantle/siblings/ethr.h>
#include <algorithm>
#include <atomic>
#include <string_view>
#include <vector>

namespace emantle::hfa {

namespace {

std::atomic<bool> refused{false};
std::atomic<int> openCount{0};

using OpenFiles = std::vector<Handle*>;

/* Null for a context that has none. */
OpenFiles* listOf(const Eint_InitToolkitData* context)
{
    return context == nullptr ? nullptr : static_cast<OpenFiles*>(context->store);
}

OpenFiles& openFiles(const Eint_InitToolkitData* context, Say missing)
{
    require(context != nullptr, "Toolkit has not been initialized");
    require(listOf(context) != nullptr, missing);
    return *listOf(context);
}

/* The name without empty steps and steps to ".". */
std::string withoutIdleSteps(std::string_view name)
{
    std::string result;
    for (std::size_t i = 0; i < name.size(); ++i) {
        const char c = name[i] == '\\' ? '/' : name[i];
        if (c == '/') {
            while (i + 2 < name.size() && name[i + 1] == '.' && (name[i + 2] == '/' || name[i + 2] == '\\')) {
                i += 2;
            }
            if (!result.empty() && result.back() == '/') {
                continue;
            }
        }
        result += c;
    }
    return result;
}

/* Names that differ in case are one name to the file layer, but may be two files. */
bool sameFile(const char* a, const char* b)
{
    return efnp_FileNameCompare(a, b) == 0 && withoutIdleSteps(a) == withoutIdleSteps(b);
}

bool isOwn(const Handle* handle, const char* name)
{
    return handle != nullptr && handle->thread == ethr_ThreadSelf() && sameFile(handle->name, name);
}

}  // namespace

void refuseNewHandles(bool refuse)
{
    refused = refuse;
}

void requireEnabled()
{
    require(!refused, "Ehfa package is disabled");
}

void startOpenFiles(Eint_InitToolkitData* context)
{
    const EthrMTUnsafeCode section;
    require(context != nullptr, "Toolkit has not been initialized");
    if (context->store == nullptr) {
        /* There is one context in the process. */
        static OpenFiles list;
        context->store = &list;
    }
}

Handle* findOpenFile(Eint_InitToolkitData* context, const char* name, bool readOnly)
{
    const EthrMTUnsafeCode section;
    for (Handle* handle : openFiles(context, "Efha package has not been initialized")) {
        if (isOwn(handle, name) && (handle->readOnly != 0) == readOnly) {
            return handle;
        }
    }
    return nullptr;
}

void addOpenFile(Handle& handle)
{
    const EthrMTUnsafeCode section;
    OpenFiles& files = openFiles(handle.context, "Open file list is missing");
    const auto empty = std::find(files.begin(), files.end(), nullptr);
    handle.openFileIndex = static_cast<int32_t>(empty - files.begin());
    if (empty == files.end()) {
        files.push_back(&handle);
    } else {
        *empty = &handle;
    }
    ++openCount;
}

void removeOpenFile(Handle& handle)
{
    const EthrMTUnsafeCode section;
    OpenFiles* files = listOf(handle.context);
    const auto index = static_cast<std::size_t>(handle.openFileIndex);
    if (files != nullptr && handle.openFileIndex >= 0 && index < files->size() && (*files)[index] == &handle) {
        (*files)[index] = nullptr;
        --openCount;
    }
}

void markStale(Eint_InitToolkitData* context, const char* name, bool readOnlyOnes)
{
    if (readOnlyOnes && openCount < 2) {
        return; /* the one that is open is the one that wrote */
    }
    const EthrMTUnsafeCode section;
    if (listOf(context) == nullptr) {
        return;
    }
    for (Handle* handle : *listOf(context)) {
        if (handle != nullptr && handle->activity == 0 && (!readOnlyOnes || handle->readOnly != 0) &&
            isOwn(handle, name)) {
            handle->activity = -1;
        }
    }
}

}  // namespace emantle::hfa
