// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

namespace support {

/// While it lives, look-ups of names below `.invalid` get no answer. Without one they fail at once:
/// where this is linked, no such name is ever asked for outside of the process. One at a time.
class MuteNameServer {
 public:
  MuteNameServer();
  /// Lets those who wait fail, and returns when none is left.
  ~MuteNameServer();
  MuteNameServer(const MuteNameServer&) = delete;
  MuteNameServer& operator=(const MuteNameServer&) = delete;

  /// True once somebody waits for an answer; false after the deadline.
  [[nodiscard]] bool waitUntilAsked() const;
  /// True if somebody waits right now.
  bool asked() const;
};

}  // namespace support
