// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

// Logs what its argument asks for. Its own openlog() and syslog() stand in front of the C
// library's: what the system log is given comes out on standard output.

#define G_LOG_USE_STRUCTURED
#define G_LOG_DOMAIN "child-domain"

#include <glib.h>
#include <ovlog.h>
#include <syslog.h>

#include <cstdarg>
#include <cstdio>
#include <map>
#include <string>
#include <thread>

#pragma GCC visibility push(default)
extern "C" {

void openlog(const char* ident, int option, int facility) {
  std::printf("openlog %s %d %d\n", ident == nullptr ? "-" : ident, option, facility);
  std::fflush(stdout);
}

// NOLINTNEXTLINE(cert-dcl50-cpp): the C library's prototype.
void syslog(int priority, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  char* text = g_strdup_vprintf(format, arguments);
  va_end(arguments);
  std::printf("%d %s\n", priority, text);
  std::fflush(stdout);
  g_free(text);
}

}  // extern "C"
#pragma GCC visibility pop

namespace {

GLogLevelFlags level(int bits) {
  return static_cast<GLogLevelFlags>(bits);
}

void logLevels(const char* domain) {
  for (const int bits : {8, 16, 32, 64, 128, 256, 512}) {
    g_log(domain, level(bits), "%slevel %d", "", bits);
  }
}

void logPlain() {
  logLevels(nullptr);
}

void logDomains() {
  logLevels("GLib-GIO");
}

void logStructured() {
  g_warning("a warning");
  g_critical("a critical");
  g_message("a message");
  g_info("an info");
  g_debug("a debug");
}

void logOddTexts() {
  g_log(nullptr, G_LOG_LEVEL_INFO, "%s%s", "", "100 % %s %n");
  g_log(nullptr, G_LOG_LEVEL_INFO, "%s", "");
  g_log(nullptr, G_LOG_LEVEL_INFO, "%s", "\xc3\xa5");
  g_log(nullptr, G_LOG_LEVEL_INFO, "%s", std::string(20000, 'x').c_str());
}

void logFields() {
  const char text[] = {'b', 'y', 't', 'e', 's', '!'};
  const GLogField fields[] = {
      {"OTHER", "not shown", -1}, {"MESSAGE", text, 5}, {"GLIB_DOMAIN", "dom", -1}};
  g_log_structured_array(G_LOG_LEVEL_WARNING, fields, 3);
  g_log_structured_array(G_LOG_LEVEL_WARNING, fields, 1);
}

void logInThread() {
  std::thread([] { g_log(nullptr, G_LOG_LEVEL_INFO, "%s", "from a thread"); }).join();
}

void logFatal() {
  g_log(nullptr, G_LOG_LEVEL_ERROR, "%s", "the end");
}

}  // namespace

int main(int argc, char** argv) {
  const std::string what = argv[1];
  if (what == "nameless") {
    ov_log_syslog(0, nullptr);
  } else {
    ov_log_syslog(argc, argv);
  }
  if (what == "twice") {
    ov_log_syslog(argc, argv);
  }
  const std::map<std::string, void (*)()> kinds{
      {"plain", logPlain},        {"domains", logDomains}, {"structured", logStructured},
      {"odd-texts", logOddTexts}, {"fields", logFields},   {"thread", logInThread},
      {"fatal", logFatal},        {"twice", logInThread},  {"nameless", logInThread}};
  kinds.at(what)();
  return 0;
}
