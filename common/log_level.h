// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <glib.h>

namespace common {

/// The level of error lines: the first one that GLib leaves to its users. GLib's own error level
/// would end the process.
constexpr int kErrorLevelBits = 1 << G_LOG_LEVEL_USER_SHIFT;

/// The same as g_log takes it; not a constant, because it is no enumerator of GLib's type.
inline GLogLevelFlags errorLevel(int bits = kErrorLevelBits) {
  return static_cast<GLogLevelFlags>(bits);
}

/// The first argument of every log format of the service: a location prefix, always empty.
constexpr const char* kLogPrefix = "";

}  // namespace common
