// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "report.h"

#include <cstdio>

void Report::check(bool kept, const std::string& promise, const std::string& details) {
  ++count_;
  std::printf("%s %u - %s\n", kept ? "ok" : "not ok", count_, promise.c_str());
  if (!kept) {
    ++broken_;
    if (!details.empty()) {
      remark(details);
    }
  }
  // A library that crashes next shall not take the line with it.
  std::fflush(stdout);
}

void Report::remark(const std::string& text) {
  std::printf("# %s\n", text.c_str());
}

int Report::end() {
  std::printf("1..%u\n", count_);
  if (broken_ > 0) {
    remark(std::to_string(broken_) + " of " + std::to_string(count_) + " promises were broken");
  }
  return broken_ == 0 ? 0 : 1;
}
