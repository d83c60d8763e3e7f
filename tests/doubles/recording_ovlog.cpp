// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <ovlog.h>

#include "tests/doubles/recording_platform.h"

/// Only recorded: where the log goes is the test's business.
void ov_log_syslog(int argc, char** argv) {
  doubles::Call call{"ov_log_syslog", {std::to_string(argc)}, ""};
  for (int i = 0; i < argc; ++i) {
    call.arguments.emplace_back(argv[i]);
  }
  doubles::RecordingPlatform::instance().record(call);
}
