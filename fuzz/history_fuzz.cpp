#include <cstddef>
#include <cstdint>

#include "JsonFuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view json(reinterpret_cast<const char*>(data), size);
  stowboard::check(
      json, [](const stowboard::JsonSource& source) { return stowboard::decodeHistory(source); });
  return 0;
}
