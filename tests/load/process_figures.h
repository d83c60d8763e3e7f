// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <vector>

namespace load {

/// What a process holds at a moment.
struct ProcessFigures {
  std::chrono::steady_clock::time_point when;
  std::size_t descriptors = 0;
  std::size_t residentBytes = 0;
};

ProcessFigures figuresOf(pid_t process);

/// The slope of the memory: least squares over the samples.
double bytesPerHour(const std::vector<ProcessFigures>& samples);

}  // namespace load
