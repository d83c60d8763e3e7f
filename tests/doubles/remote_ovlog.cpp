// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <glib.h>
#include <ovlog.h>

#include "tests/doubles/recording_platform.h"
#include "tests/doubles/remote_control.h"

namespace {

void recordLine(GLogLevelFlags level, const char* domain, const char* text, const char* road) {
  doubles::RecordingPlatform::instance().record(
      {"log",
       {std::to_string(static_cast<int>(level)), domain == nullptr ? "-" : domain,
        text == nullptr ? "null" : text, road},
       ""});
}

void onLine(const char* domain, GLogLevelFlags level, const char* text, gpointer /*data*/) {
  recordLine(level, domain, text, "g_log");
}

std::string field(const GLogField* fields, gsize count, const char* key) {
  for (gsize i = 0; i < count; ++i) {
    if (g_strcmp0(fields[i].key, key) == 0) {
      const auto* value = static_cast<const char*>(fields[i].value);
      return fields[i].length < 0 ? std::string(value)
                                  : std::string(value, static_cast<std::size_t>(fields[i].length));
    }
  }
  return {};
}

GLogWriterOutput onStructuredLine(GLogLevelFlags level, const GLogField* fields, gsize count,
                                  gpointer /*data*/) {
  const std::string domain = field(fields, count, "GLIB_DOMAIN");
  recordLine(level, domain.empty() ? nullptr : domain.c_str(),
             field(fields, count, "MESSAGE").c_str(), "structured");
  return G_LOG_WRITER_HANDLED;
}

}  // namespace

/// The first call of the process: starts the remote control, and records every line from now on.
void ov_log_syslog(int argc, char** argv) {
  doubles::RemoteControl::start();
  doubles::Call call{"ov_log_syslog", {std::to_string(argc)}, ""};
  for (int i = 0; i < argc; ++i) {
    call.arguments.emplace_back(argv[i]);
  }
  doubles::RecordingPlatform::instance().record(call);
  // Lines of g_log() end in the handler, structured ones in the writer.
  g_log_set_default_handler(onLine, nullptr);
  g_log_set_writer_func(onStructuredLine, nullptr, nullptr);
}
