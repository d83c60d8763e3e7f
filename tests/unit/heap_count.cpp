// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/unit/heap_count.h"

#include <atomic>
#include <cstdlib>
#include <new>

#include "tests/doubles/recording_platform.h"

namespace {

std::atomic<std::size_t> objects{0};

}  // namespace

// The linker hands free() of this program to __wrap_free, and __real_free is free() itself.
extern "C" {
void __real_free(void* memory);   // NOLINT(bugprone-reserved-identifier)
void __wrap_free(void* memory) {  // NOLINT(bugprone-reserved-identifier)
  doubles::RecordingPlatform::instance().jsonTextFreed(memory);
  __real_free(memory);
}
}

void* operator new(std::size_t size) {
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  ++objects;
  return memory;
}

void operator delete(void* memory) noexcept {
  if (memory != nullptr) {
    --objects;
    __real_free(memory);
  }
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
  operator delete(memory);
}

std::size_t unit::heapObjects() {
  return objects;
}
