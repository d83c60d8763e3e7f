// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "devkit/console/options.h"

#include <jansson.h>
#include <unistd.h>

#include <cstdlib>

#include "common/api.h"
#include "common/ptr.h"
#include "devkit/command-line/command_line.h"

namespace console {
namespace {

constexpr double kLongestSeconds = 1e6;

constexpr const char* kSummary =
    "Plays the streaming service on the system bus: opens a session with the events data source,\n"
    "sends it one configuration, and prints what comes back, one JSON object a line:\n"
    "\n"
    "  {\"type\":\"response\",...,\"payload\":{}}       the configuration was accepted\n"
    "  {\"type\":\"error\",...,\"payload\":...}         it was refused: code and message\n"
    "  {\"type\":\"notification\",...,\"payload\":...}  an event\n"
    "\n"
    "Between them stand session, version, requestId (not in notifications), source and method.\n"
    "A payload stands there as it came if it is JSON, else as a string. Without a filter option,\n"
    "every event is asked for. The console ends when --count or --seconds says so, at SIGINT or\n"
    "SIGTERM, and removes its session first; a second signal ends it at once.\n"
    "\n"
    "DBUS_SYSTEM_BUS_ADDRESS names another bus than the machine's system bus.";

constexpr const char* kDescription =
    "Examples:\n"
    "  lumenfeed-console --topic 'tns1:Monitoring//.' --count 3\n"
    "  lumenfeed-console --topic 'tns1:Monitoring/ProcessorUsage' --seconds 60\n"
    "        --content 'boolean(//tt:SimpleItem[@Name=\"Token\" and @Value=\"cpu\"])'\n"
    "  lumenfeed-console --params '{\"eventFilterList\":[{\"topicFilter\":\"tns1:Device//.\"},\n"
    "        {\"topicFilter\":\"tns1:RuleEngine//.\"}]}'\n"
    "\n"
    "Exit status:\n"
    "  0  done: --count notifications came; or --seconds passed and, without --count, at least\n"
    "     one had come; or a signal ended it, without --count\n"
    "  1  standard output cannot be written to\n"
    "  2  wrong usage\n"
    "  3  refused: the data source answered with an error\n"
    "  4  timed out: the data source did not answer, or the time or a signal ended it with too\n"
    "     few notifications\n"
    "  5  no data source: it did not appear in time, or went away\n"
    "  6  no bus: it cannot be reached, or went away\n"
    "  7  the streaming service's name is taken, or not for this user\n";

constexpr command_line::Program kProgram = {"lumenfeed-console", kSummary, kDescription};

std::nullopt_t fail(const std::string& message) {
  command_line::complain(kProgram, message);
  return std::nullopt;
}

/// Where GOption leaves what it found; texts are owned by GLib's allocator.
struct Raw {
  char* topic = nullptr;
  char* content = nullptr;
  char* params = nullptr;
  char* session = nullptr;
  char* requestId = nullptr;
  char* apiVersion = nullptr;
  char* source = nullptr;
  char* method = nullptr;
  char* count = nullptr;
  double seconds = 0;
  double wait = Options().wait;

  Raw() = default;
  Raw(const Raw&) = delete;
  Raw& operator=(const Raw&) = delete;
  ~Raw() {
    for (char* text :
         {topic, content, params, session, requestId, apiVersion, source, method, count}) {
      g_free(text);
    }
  }
};

bool parseCommandLine(int argc, char** argv, Raw& raw) {
  const GOptionEntry entries[] = {
      {"topic", 't', 0, G_OPTION_ARG_STRING, &raw.topic,
       "Ask for events of these topics (ConcreteSet expression)", "EXPRESSION"},
      {"content", 'c', 0, G_OPTION_ARG_STRING, &raw.content,
       "Ask for events with this content (ItemFilter expression)", "EXPRESSION"},
      {"params", 'p', 0, G_OPTION_ARG_STRING, &raw.params,
       "Send this configuration as it stands, for several filters or wrong ones", "JSON"},
      {"count", 'n', 0, G_OPTION_ARG_STRING, &raw.count, "End after N notifications", "N"},
      {"seconds", 's', 0, G_OPTION_ARG_DOUBLE, &raw.seconds,
       "End S seconds after the configuration was accepted", "S"},
      {"wait", 'w', 0, G_OPTION_ARG_DOUBLE, &raw.wait,
       "Wait S seconds for the data source to appear, and for each answer (default: 10)", "S"},
      {"session", 0, 0, G_OPTION_ARG_STRING, &raw.session,
       "The session's id (default: console-PID)", "ID"},
      {"request-id", 0, 0, G_OPTION_ARG_STRING, &raw.requestId, "The request's id (default: 1)",
       "ID"},
      {"api-version", 0, 0, G_OPTION_ARG_STRING, &raw.apiVersion,
       "The request's version (default: 1.0)", "VERSION"},
      {"source", 0, 0, G_OPTION_ARG_STRING, &raw.source, "The request's source (default: events)",
       "SOURCE"},
      {"method", 0, 0, G_OPTION_ARG_STRING, &raw.method,
       "The request's method (default: configure)", "METHOD"},
      {nullptr, 0, 0, G_OPTION_ARG_NONE, nullptr, nullptr, nullptr}};
  return command_line::parse(kProgram, entries, argc, argv);
}

/// A configuration with one filter; without any text it lets every event through.
std::string oneFilter(const char* topic, const char* content) {
  json_t* filter = json_object();
  if (topic != nullptr || content == nullptr) {
    json_object_set_new(filter, "topicFilter", json_string(topic != nullptr ? topic : ""));
  }
  if (content != nullptr) {
    json_object_set_new(filter, "contentFilter", json_string(content));
  }
  json_t* params = json_pack("{s:[o]}", "eventFilterList", filter);
  const common::MallocCharPtr text(json_dumps(params, JSON_COMPACT));
  json_decref(params);
  return text.get();
}

std::string textOr(const char* text, const std::string& fallback) {
  return text != nullptr ? text : fallback;
}

}  // namespace

std::optional<Options> Options::parse(int argc, char** argv) {
  Raw raw;
  if (!parseCommandLine(argc, argv, raw)) {
    return std::nullopt;
  }
  for (const char* text : {raw.topic, raw.content, raw.params, raw.session, raw.requestId,
                           raw.apiVersion, raw.source, raw.method}) {
    if (text != nullptr && !g_utf8_validate(text, -1, nullptr)) {
      return fail("an argument is no UTF-8 text");
    }
  }
  if (raw.params != nullptr && (raw.topic != nullptr || raw.content != nullptr)) {
    return fail("--params is the whole configuration: it excludes --topic and --content");
  }
  Options options;
  guint64 count = 0;
  if (raw.count != nullptr &&
      !g_ascii_string_to_unsigned(raw.count, 10, 1, G_MAXUINT, &count, nullptr)) {
    return fail(std::string("--count '") + raw.count + "' is no number above 0");
  }
  // Negations, because they catch what is no number, too.
  if (!(raw.seconds >= 0 && raw.seconds <= kLongestSeconds)) {
    return fail("--seconds is not from 0 (without end) to 1000000");
  }
  if (!(raw.wait > 0 && raw.wait <= kLongestSeconds)) {
    return fail("--wait is not above 0 and up to 1000000");
  }
  options.count = static_cast<unsigned>(count);
  options.seconds = raw.seconds;
  options.wait = raw.wait;
  options.sessionId = textOr(raw.session, "console-" + std::to_string(getpid()));
  options.requestId = textOr(raw.requestId, options.requestId);
  options.apiVersion = textOr(raw.apiVersion, api::kVersion);
  options.source = textOr(raw.source, api::kSourceId);
  options.method = textOr(raw.method, api::kConfigure);
  options.params = raw.params != nullptr ? raw.params : oneFilter(raw.topic, raw.content);
  return options;
}

}  // namespace console
