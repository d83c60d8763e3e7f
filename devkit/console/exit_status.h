// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

namespace console {

/// What the console tells a script; --help and the manual page say the same.
enum ExitStatus {
  kDone = 0,
  kOutputFailed = 1,
  kUsage = 2,
  kRefused = 3,
  kTimedOut = 4,
  kNoDataSource = 5,
  kNoBus = 6,
  kNameTaken = 7,
};

}  // namespace console
