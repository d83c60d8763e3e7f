// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "bench/sink/bus.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

int check(int result, const char* what) {
  if (result < 0) {
    std::fprintf(stderr, "sink: %s: %s\n", what, std::strerror(-result));
    std::exit(EXIT_FAILURE);
  }
  return result;
}
