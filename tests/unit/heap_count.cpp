// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/unit/heap_count.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> objects{0};

}  // namespace

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
    std::free(memory);
  }
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
  operator delete(memory);
}

std::size_t unit::heapObjects() {
  return objects;
}
