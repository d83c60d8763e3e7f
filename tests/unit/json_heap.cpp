// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/unit/json_heap.h"

#include <jansson.h>

#include <cstdlib>

namespace unit {

namespace {

std::size_t held = 0;

void* take(std::size_t size) {
  ++held;
  return std::malloc(size);
}

void give(void* memory) {
  if (memory != nullptr) {
    --held;
    std::free(memory);
  }
}

}  // namespace

JsonHeap::JsonHeap() {
  held = 0;
  json_set_alloc_funcs(take, give);
}

JsonHeap::~JsonHeap() {
  json_set_alloc_funcs(std::malloc, std::free);
}

std::size_t JsonHeap::blocks() {
  return held;
}

}  // namespace unit
