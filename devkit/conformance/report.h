// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

/// Writes one line a promise, in the Test Anything Protocol, and counts the broken ones.
class Report {
 public:
  /// `details` is shown only if the promise was broken.
  void check(bool kept, const std::string& promise, const std::string& details = {});
  /// A remark among the lines, for instance a figure that was seen.
  void remark(const std::string& text);
  /// Writes the plan. The program's exit status: 0 if every promise was kept.
  int end();

 private:
  unsigned count_ = 0;
  unsigned broken_ = 0;
};
