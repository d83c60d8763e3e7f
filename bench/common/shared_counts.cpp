// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "bench/common/shared_counts.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "bench/common/load.h"

namespace bench {

namespace {

SharedCounts* map() {
  static_assert(std::atomic<std::uint64_t>::is_always_lock_free);
  const char* path = requiredVariable("BENCH_SHARED");
  const int file = open(path, O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  void* memory = MAP_FAILED;
  if (file >= 0 && ftruncate(file, sizeof(SharedCounts)) == 0) {
    memory = mmap(nullptr, sizeof(SharedCounts), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  }
  if (memory == MAP_FAILED) {
    std::fprintf(stderr, "bench: cannot map %s: %s\n", path, std::strerror(errno));
    std::exit(2);
  }
  close(file);
  return static_cast<SharedCounts*>(memory);
}

}  // namespace

SharedCounts& sharedCounts() {
  static SharedCounts* const counts = map();
  return *counts;
}

}  // namespace bench
