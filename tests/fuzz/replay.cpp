// Runs a fuzzer over the files of a folder, once each.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int count, char** words) {
  if (count != 2) {
    std::fprintf(stderr, "Usage: %s FOLDER\n", words[0]);
    return 64;  // EX_USAGE of sysexits.h
  }
  std::size_t files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(words[1])) {
    std::ifstream file(entry.path(), std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    ++files;
  }
  std::printf("%zu files\n", files);
  return files > 0 ? EXIT_SUCCESS : EXIT_FAILURE;  // an empty corpus proves nothing
}
