// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <glib.h>

#include <string>
#include <vector>

namespace unit {

/// Puts every log line into the platform's record while it lives, as "log(LEVEL, DOMAIN, TEXT)",
/// DOMAIN being "no domain" where there is none. What GLib itself complains about shows up there,
/// too, but not what it tells its own debuggers.
class RecordedLog {
 public:
  RecordedLog();
  ~RecordedLog();
  RecordedLog(const RecordedLog&) = delete;
  RecordedLog& operator=(const RecordedLog&) = delete;

 private:
  GLogFunc previous_;
};

/// Everything that happened, in order; the record is empty afterwards.
std::vector<std::string> takeRecord();

/// Dispatches whatever is ready in the default main context, until nothing is.
void turnMainContext();

}  // namespace unit
