#pragma once

#include <cstddef>
#include <cstdint>

// Files that are there for one process and its library only; their names begin with "/memory/".
namespace fuzz {

void putFile(const char* name, const std::uint8_t* data, std::size_t size);
std::size_t sizeOfFile(const char* name);
bool isFile(const char* name, const std::uint8_t* data, std::size_t size);

} // namespace fuzz
