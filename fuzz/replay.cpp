// Runs a fuzz target once on every file of the folders named on the command line, as an ordinary
// program. Fails when there was no file: a corpus that moved away would otherwise pass for good.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int count, char** arguments) {
  std::size_t replayed = 0;
  for (int index = 1; index < count; ++index) {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(arguments[index], error)) {
      std::ifstream file(entry.path(), std::ios::binary);
      const std::string input{std::istreambuf_iterator<char>(file), {}};
      LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
      ++replayed;
    }
    if (error) std::fprintf(stderr, "%s: %s\n", arguments[index], error.message().c_str());
  }
  std::printf("%zu inputs replayed\n", replayed);
  return replayed == 0 ? 1 : 0;
}
