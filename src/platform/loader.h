#pragma once

#include <string>
#include <string_view>

// Libraries loaded while the program runs. A name of the form x.dll is tried as given, then as x.so, then as libx.so
// beside it.
namespace emantle::platform {

// Null on failure, with errno 126 and the loader's text in `reason`.
void* openLibrary(std::string_view name, std::string& reason);

// Null, with errno 126, where the library has no such symbol.
void* findSymbol(void* library, const char* name) noexcept;

// Null does nothing.
int closeLibrary(void* library) noexcept;

// The directory of the file that this code was loaded from, the library's or that of a program which holds it; empty
// where the system does not tell.
std::string libraryDirectory();

// Stands in for making a class of an outside object model live in this thread; there is no such model, and the answer
// is -1.
int makeObjectModelReady() noexcept;

} // namespace emantle::platform
