// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <glib.h>

#include <cerrno>
#include <clocale>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

#include "common/ptr.h"
#include "devkit/command-line/command_line.h"
#include "devkit/filter-check/caret.h"
#include "devkit/filter-check/checked_filter.h"
#include "devkit/filter-check/recorded_event.h"

namespace {

/// --help says the same.
enum ExitStatus { kYes = 0, kNoEventMatches = 1, kUsage = 2, kRefused = 3 };

constexpr const char* kSummary =
    "Says whether an event filter can be used. If not, shows the place of the fault. Given "
    "events,\n"
    "says which of them match, and for one that does not, which parts of the filter said no.\n"
    "\n"
    "EVENTS-FILE, or standard input for '-', has one event a line, each in one of these forms:\n"
    "  {\"topic\":\"tns1:…\",…,\"message\":{…}}             event JSON\n"
    "  {…,\"payload\":{\"notification\":{\"topic\":…}}}    a notification, as lumenfeed-console\n"
    "                                                 prints it\n"
    "  PREFIX/onvif-ej/TOPIC[/&SOURCE…] {…}           as mosquitto_sub -v prints it";

constexpr const char* kDescription =
    "Of several topic expressions, one has to name an event's topic; of several message contents,\n"
    "all have to hold. Without any, every event matches.\n"
    "\n"
    "Examples:\n"
    "  lumenfeed-filter-check --topic 'tns1:RuleEngine//.|tns1:Device/Trigger'\n"
    "  lumenfeed-filter-check --content 'boolean(//tt:SimpleItem[@Name=\"Rule\"])' events.jsonl\n"
    "  mosquitto_sub -v -t '+/onvif-ej/#' -C 10 | lumenfeed-filter-check --topic tns1:Device//. -\n"
    "\n"
    "Exit status:\n"
    "  0  the filter can be used and, if events were given, at least one matches\n"
    "  1  the filter can be used, and no event matches\n"
    "  2  wrong usage, or the events cannot be read or the result not be written\n"
    "  3  the filter cannot be used\n"
    "Lines that are no events are named on standard error, and do not count.\n";

struct Options {
  common::GStrvPtr topics;
  common::GStrvPtr contents;
  common::GStrvPtr files;
};

constexpr command_line::Program kProgram = {"lumenfeed-filter-check", kSummary, kDescription};

ExitStatus fail(const std::string& message) {
  command_line::complain(kProgram, message);
  return kUsage;
}

/// Texts are taken byte for byte, as the service takes them, whatever the locale.
bool parse(int argc, char** argv, Options& options) {
  char** topics = nullptr;
  char** contents = nullptr;
  char** files = nullptr;
  const GOptionEntry entries[] = {
      {"topic", 't', 0, G_OPTION_ARG_FILENAME_ARRAY, &topics,
       "A topic expression (ConcreteSet); may be given several times", "TEXT"},
      {"content", 'c', 0, G_OPTION_ARG_FILENAME_ARRAY, &contents,
       "A message content expression (ItemFilter); may be given several times", "TEXT"},
      {G_OPTION_REMAINING, 0, 0, G_OPTION_ARG_FILENAME_ARRAY, &files, nullptr, "[EVENTS-FILE|-]"},
      {nullptr, 0, 0, G_OPTION_ARG_NONE, nullptr, nullptr, nullptr}};
  const bool parsed = command_line::parse(kProgram, entries, argc, argv);
  options = {common::GStrvPtr(topics), common::GStrvPtr(contents), common::GStrvPtr(files)};
  return parsed;
}

std::size_t count(const common::GStrvPtr& texts) {
  return texts ? g_strv_length(texts.get()) : 0;
}

/// Adds every expression, also after one that cannot be used: all faults are reported.
bool addAll(const Options& options, filter_check::CheckedFilter& filter) {
  bool usable = true;
  for (std::size_t at = 0; at < count(options.topics); ++at) {
    usable = filter.addTopic(options.topics.get()[at], std::cout) && usable;
  }
  for (std::size_t at = 0; at < count(options.contents); ++at) {
    usable = filter.addContent(options.contents.get()[at], std::cout) && usable;
  }
  return usable;
}

/// `name`: what the lines come from.
ExitStatus checkEvents(std::istream& lines, const std::string& name,
                       const filter_check::CheckedFilter& filter) {
  filter_check::EventLineReader reader;
  std::size_t number = 0;
  std::size_t events = 0;
  std::size_t matching = 0;
  for (std::string line; std::getline(lines, line);) {
    ++number;
    filter_check::RecordedEvent event;
    std::string error;
    if (line.find_first_not_of(" \t\r") == std::string::npos) {
      continue;
    }
    if (!reader.read(line, event, error)) {
      std::cerr << "line " << number << ": not an event: " << error << "\n";
      continue;
    }
    std::ostringstream reasons;
    const bool matches = filter.matches(event, reasons);
    ++events;
    matching += matches ? 1U : 0U;
    std::cout << "line " << number << ": " << (matches ? "matches  " : "no match ")
              << filter_check::printable(event.topicText) << "\n"
              << reasons.str();
  }
  if (lines.bad()) {
    return fail("cannot read " + name + ": " + g_strerror(errno));
  }
  std::cout << matching << " of " << events << " events match\n";
  return matching > 0 ? kYes : kNoEventMatches;
}

ExitStatus check(const Options& options) {
  filter_check::CheckedFilter filter;
  if (!addAll(options, filter)) {
    return kRefused;
  }
  if (count(options.files) == 0) {
    return kYes;
  }
  const std::string name = options.files.get()[0];
  if (name == "-") {
    return checkEvents(std::cin, "standard input", filter);
  }
  std::ifstream file(name);
  if (!file) {
    return fail("cannot read " + name + ": " + g_strerror(errno));
  }
  return checkEvents(file, name, filter);
}

}  // namespace

int main(int argc, char** argv) {
  std::setlocale(LC_ALL, "");
  Options options;
  if (!parse(argc, argv, options)) {
    return kUsage;
  }
  if (count(options.files) > 1) {
    return fail("more than one file of events");
  }
  if (count(options.topics) + count(options.contents) + count(options.files) == 0) {
    return fail("nothing to check: no --topic, no --content and no events");
  }
  const ExitStatus status = check(options);
  return std::cout.flush() ? status : fail("the result cannot be written");
}
