// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "bench/sink/recorder.h"

#include <cstdio>

Recorder::Recorder() {
  // Growing in the middle of a measurement would be seen in it.
  records_.reserve(1U << 20U);
}

void Recorder::reset(std::uint64_t expected) {
  records_.clear();
  expected_ = expected;
}

bool Recorder::add(const Record& record) {
  records_.push_back(record);
  return records_.size() == expected_;
}

bool Recorder::write(const char* path) const {
  std::FILE* file = std::fopen(path, "wb");
  if (file == nullptr) {
    return false;
  }
  const bool written =
      std::fwrite(records_.data(), sizeof(Record), records_.size(), file) == records_.size();
  return (std::fclose(file) == 0) && written;
}
