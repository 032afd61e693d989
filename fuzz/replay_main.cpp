// Replays every file of a fuzzer's corpus through it, so that the corpus runs as an ordinary test.
// SPDX-License-Identifier: MIT
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s CORPUS-DIRECTORY\n", argv[0]);
    return 2;
  }
  int replayed = 0;
  for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
    std::ifstream file(entry.path(), std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    std::printf("%s\n", entry.path().c_str());
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    ++replayed;
  }
  std::printf("replayed %d inputs\n", replayed);
  return replayed == 0 ? 1 : 0;
}
