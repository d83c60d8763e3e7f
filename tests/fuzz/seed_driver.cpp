// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

// Runs a fuzz target over each file of the folders that it is given: what the fuzzer starts from,
// and what it once found, as a plain test.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
  std::size_t seeds = 0;
  for (int at = 1; at < argc; ++at) {
    for (const auto& entry : std::filesystem::directory_iterator(argv[at])) {
      std::ifstream file(entry.path(), std::ios::binary);
      const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
      // Named first, so that a crash tells which it was.
      std::printf("%s\n", entry.path().c_str());
      std::fflush(stdout);
      LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
      ++seeds;
    }
  }
  if (seeds == 0) {
    std::fprintf(stderr, "no seeds\n");
    return 1;
  }
  return 0;
}
