// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "options.h"

#include <cstdlib>

#include "common/ptr.h"
#include "devkit/command-line/command_line.h"

namespace {

constexpr const char* kSummary =
    "Checks the promises of ovlog.h, event2.h and wsevent.h against the installed libraries.\n"
    "One line a promise, in the Test Anything Protocol; status 0 if all are kept, 1 if one is\n"
    "broken, 2 for a mistake on the command line.\n\n"
    "COMMAND is run by the shell with the texts MARK... as its arguments ($1, $2, ...): it\n"
    "publishes one event on TOPIC for each of them, in their order, with the text in the event.";

constexpr command_line::Program kProgram = {"lumenfeed-platform-conformance", kSummary, nullptr};
constexpr int kUsage = 2;

[[noreturn]] void refuse(const char* reason) {
  command_line::complain(kProgram, reason);
  std::exit(kUsage);
}

void take(common::GCharPtr value, std::string& target) {
  if (value != nullptr) {
    target = value.get();
  }
}

}  // namespace

Options readOptions(int argc, char** argv) {
  Options options;
  char* publish = nullptr;
  char* topic = nullptr;
  char* otherTopic = nullptr;
  int burst = static_cast<int>(options.burst);
  int deadline = static_cast<int>(options.deadlineSeconds);
  const GOptionEntry entries[] = {
      {"publish", 'p', 0, G_OPTION_ARG_STRING, &publish, "Publishes events; needed", "COMMAND"},
      {"topic", 't', 0, G_OPTION_ARG_STRING, &topic, "Where COMMAND publishes", "TOPIC"},
      {"other-topic", 'o', 0, G_OPTION_ARG_STRING, &otherTopic, "Where it does not", "TOPIC"},
      {"burst", 'b', 0, G_OPTION_ARG_INT, &burst, "Events in a burst, 2 or more (300)", "N"},
      {"deadline", 'd', 0, G_OPTION_ARG_INT, &deadline, "Seconds to wait for an event (30)", "N"},
      {nullptr, 0, 0, G_OPTION_ARG_NONE, nullptr, nullptr, nullptr},
  };
  if (!command_line::parse(kProgram, entries, argc, argv)) {
    std::exit(kUsage);
  }
  if (publish == nullptr) {
    refuse("--publish is needed");
  }
  if (burst < 2 || deadline < 1) {
    refuse("--burst must be 2 or more and --deadline 1 or more");
  }
  take(common::GCharPtr(publish), options.publish);
  take(common::GCharPtr(topic), options.topic);
  take(common::GCharPtr(otherTopic), options.otherTopic);
  options.burst = static_cast<unsigned>(burst);
  options.deadlineSeconds = static_cast<unsigned>(deadline);
  return options;
}
