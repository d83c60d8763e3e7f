// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <ovlog.h>

#include "checks.h"
#include "common/log_level.h"

void checkLog(int argc, char** argv, Report& report) {
  ov_log_syslog(argc, argv);
  g_log(nullptr, G_LOG_LEVEL_INFO, "%sconformance: a line at level 64", common::kLogPrefix);
  g_log(nullptr, G_LOG_LEVEL_WARNING, "%sconformance: a line at level 16", common::kLogPrefix);
  g_log(nullptr, common::errorLevel(), "%sconformance: a line at level 256", common::kLogPrefix);
  for (const GLogLevelFlags level :
       {G_LOG_LEVEL_CRITICAL, G_LOG_LEVEL_MESSAGE, G_LOG_LEVEL_DEBUG}) {
    g_log("GLib-GIO", level, "conformance: a line of a library at level %d", level);
  }
  report.check(true, "lines of every level and of libraries are taken");
  report.remark("look for three lines of this program and three of GLib-GIO in the system log");
}
