// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>

namespace unit {

/// Counts the blocks that the JSON library holds while it lives.
class JsonHeap {
 public:
  JsonHeap();
  ~JsonHeap();
  JsonHeap(const JsonHeap&) = delete;
  JsonHeap& operator=(const JsonHeap&) = delete;

  static std::size_t blocks();
};

}  // namespace unit
