// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <glib.h>
#include <ovlog.h>
#include <syslog.h>

#include <cstdio>
#include <string>

#include "common/log_level.h"

namespace {

struct LevelName {
  int priority;
  const char* name;
};

/// GLib's levels, and the service's own one for errors, as the system log knows them.
LevelName levelName(GLogLevelFlags level) {
  if ((level & common::kErrorLevelBits) != 0) {
    return {LOG_ERR, "error"};
  }
  switch (level & G_LOG_LEVEL_MASK) {
    case G_LOG_LEVEL_ERROR:
      return {LOG_CRIT, "fatal"};
    case G_LOG_LEVEL_CRITICAL:
      return {LOG_ERR, "critical"};
    case G_LOG_LEVEL_WARNING:
      return {LOG_WARNING, "warning"};
    case G_LOG_LEVEL_MESSAGE:
      return {LOG_NOTICE, "message"};
    case G_LOG_LEVEL_DEBUG:
      return {LOG_DEBUG, "debug"};
    default:
      return {LOG_INFO, "info"};
  }
}

std::string fieldText(const GLogField* fields, gsize count, const char* key) {
  for (gsize i = 0; i < count; ++i) {
    if (g_strcmp0(fields[i].key, key) == 0 && fields[i].value != nullptr) {
      const auto* text = static_cast<const char*>(fields[i].value);
      return fields[i].length < 0 ? std::string(text)
                                  : std::string(text, static_cast<std::size_t>(fields[i].length));
    }
  }
  return {};
}

/// Takes every line: those of g_log() reach the writer through GLib's default handler.
GLogWriterOutput write(GLogLevelFlags level, const GLogField* fields, gsize count,
                       gpointer /*userData*/) {
  const LevelName name = levelName(level);
  const std::string domain = fieldText(fields, count, "GLIB_DOMAIN");
  const std::string message = fieldText(fields, count, "MESSAGE");
  const std::string line = domain.empty() ? message : domain + ": " + message;
  syslog(name.priority, "%s", line.c_str());
  // A journal collects standard error as well and would show every line twice.
  if (g_getenv("JOURNAL_STREAM") == nullptr) {
    std::fprintf(stderr, "%s[%s] %s\n", g_get_prgname() != nullptr ? g_get_prgname() : "",
                 name.name, line.c_str());
  }
  return G_LOG_WRITER_HANDLED;
}

}  // namespace

void ov_log_syslog(int argc, char** argv) {
  // GLib refuses a second writer with a fatal error.
  static bool done = false;
  if (done) {
    return;
  }
  done = true;
  if (g_get_prgname() == nullptr && argc > 0 && argv[0] != nullptr) {
    const std::string program(argv[0]);
    const std::size_t slash = program.find_last_of('/');
    g_set_prgname(slash == std::string::npos ? program.c_str() : program.c_str() + slash + 1);
  }
  // The name's text belongs to GLib, and stays; syslog keeps only the pointer.
  openlog(g_get_prgname(), LOG_PID, LOG_DAEMON);
  g_log_set_writer_func(write, nullptr, nullptr);
}
