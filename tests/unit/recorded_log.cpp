// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/unit/recorded_log.h"

#include "tests/doubles/recording_platform.h"

namespace unit {

namespace {

void recordLine(const char* domain, GLogLevelFlags level, const char* message, void* /*data*/) {
  if (domain != nullptr && level == G_LOG_LEVEL_DEBUG) {
    return;
  }
  doubles::RecordingPlatform::instance().record(
      {"log",
       {std::to_string(static_cast<int>(level)), domain == nullptr ? "no domain" : domain, message},
       ""});
}

}  // namespace

RecordedLog::RecordedLog() : previous_(g_log_set_default_handler(recordLine, nullptr)) {}

RecordedLog::~RecordedLog() {
  g_log_set_default_handler(previous_, nullptr);
}

std::vector<std::string> takeRecord() {
  auto texts = doubles::RecordingPlatform::instance().texts();
  doubles::RecordingPlatform::instance().clearRecord();
  return texts;
}

void turnMainContext() {
  while (g_main_context_iteration(nullptr, FALSE)) {
  }
}

}  // namespace unit
