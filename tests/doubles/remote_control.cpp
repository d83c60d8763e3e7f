// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/doubles/remote_control.h"

#include <fcntl.h>
#include <glib-unix.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <sstream>
#include <stdexcept>

#include "common/ptr.h"

namespace doubles {

namespace {

/// Never destroyed: calls are recorded until the very end of the process.
RemoteControl* instance = nullptr;

std::string escaped(const std::string& text) {
  return common::GCharPtr(g_strescape(text.c_str(), nullptr)).get();
}

/// What is left of a line, without the one blank before it.
std::string remainder(std::istringstream& words) {
  std::string text;
  std::getline(words, text);
  return text.empty() ? text : text.substr(1);
}

Failure::How howFrom(const std::string& word) {
  static const std::map<std::string, Failure::How> kWords = {
      {"error", Failure::How::kError},
      {"null-message", Failure::How::kNullMessage},
      {"no-error", Failure::How::kNoError},
      {"throw", Failure::How::kThrow},
      {"throw-text", Failure::How::kThrowText}};
  return kWords.at(word);
}

std::string numbered(std::string json, unsigned number) {
  static const std::string kMark = "@N@";
  const std::size_t at = json.find(kMark);
  return at == std::string::npos ? json : json.replace(at, kMark.size(), std::to_string(number));
}

}  // namespace

void RemoteControl::start() {
  const char* directory = std::getenv("LUMENFEED_DOUBLES");
  if (directory == nullptr || instance != nullptr) {
    return;
  }
  instance = new RemoteControl(directory);
  RecordingPlatform::instance().setObserver([](const Call& call) { instance->observe(call); });
  instance->readAvailable();
  while (instance->executeNext()) {
  }
  // At idle priority, as an event system delivers.
  g_unix_fd_add_full(G_PRIORITY_DEFAULT_IDLE, instance->control_, G_IO_IN, onReadable, instance,
                     nullptr);
  std::atexit(onExit);
}

RemoteControl::RemoteControl(const std::string& directory)
    : control_(open((directory + "/control").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)),
      record_(directory + "/record", std::ios::app) {
  if (control_ < 0 || !record_) {
    throw std::runtime_error("cannot open control and record in " + directory);
  }
}

void RemoteControl::onExit() {
  instance->note("exit", {});
  instance->report();
}

gboolean RemoteControl::onReadable(int /*fd*/, GIOCondition /*condition*/, gpointer data) {
  auto* self = static_cast<RemoteControl*>(data);
  self->readAvailable();
  while (self->executeNext()) {
  }
  return G_SOURCE_CONTINUE;
}

void RemoteControl::readAvailable() {
  char chunk[4096];
  ssize_t size = 0;
  while ((size = read(control_, chunk, sizeof chunk)) > 0) {
    buffer_.append(chunk, static_cast<std::size_t>(size));
  }
}

bool RemoteControl::executeNext() {
  const std::size_t end = buffer_.find('\n');
  if (end == std::string::npos) {
    return false;
  }
  std::istringstream words(buffer_.substr(0, end));
  buffer_.erase(0, end + 1);
  std::string command;
  words >> command;
  execute(command, remainder(words));
  return true;
}

void RemoteControl::execute(const std::string& command, const std::string& rest) {
  if (command == "fail") {
    fail(rest);
  } else if (command == "refuse") {
    RecordingPlatform::instance().refuseUnsubscribe(static_cast<unsigned>(std::stoul(rest)));
  } else if (command == "deliver") {
    deliver(rest);
  } else if (command == "hold") {
    if (rest.empty()) {
      hold("here");
    } else {
      holds_.push_back(rest);
    }
  } else if (command == "release") {
    held_ = false;
  } else if (command == "urgent") {
    awaitUrgent();
  } else if (command == "report") {
    report();
  } else if (command == "sync") {
    note("sync", {rest});
  } else {
    note("unknown command", {command, rest});
  }
}

void RemoteControl::fail(const std::string& rest) {
  std::istringstream words(rest);
  std::string function;
  unsigned nth = 0;
  std::string how;
  words >> function >> nth >> how;
  RecordingPlatform::instance().fail(function, nth, {howFrom(how), remainder(words)});
}

void RemoteControl::deliver(const std::string& rest) {
  std::istringstream words(rest);
  std::string target;
  unsigned count = 0;
  std::string kind;
  words >> target >> count >> kind;
  const common::GCharPtr json(g_strcompress(remainder(words).c_str()));
  RecordingPlatform& platform = RecordingPlatform::instance();
  for (unsigned number = 1; number <= count; ++number) {
    const EventText event{numbered(json.get(), number), kind == "internal", kind == "unreadable"};
    if (target != "all") {
      const bool delivered = platform.deliver(static_cast<unsigned>(std::stoul(target)), event);
      if (!delivered) {
        note("no such subscription", {target});
      }
      continue;
    }
    for (const auto& [id, subscription] : platform.subscriptions()) {
      platform.deliver(id, event);
    }
  }
}

void RemoteControl::report() {
  const RecordingPlatform& platform = RecordingPlatform::instance();
  for (const auto& [id, subscription] : platform.subscriptions()) {
    std::ostringstream address;
    address << subscription.userData;
    // The service's user data is the session id's own string.
    note("subscription", {std::to_string(id), address.str(),
                          *static_cast<const std::string*>(subscription.userData)});
  }
  const Outstanding left = platform.outstanding();
  note("outstanding", {std::to_string(left.consumers), std::to_string(left.subscriptions),
                       std::to_string(left.filters), std::to_string(left.expressions),
                       std::to_string(left.events)});
}

/// Keeps the main thread here, still carrying out commands, until one of them is `release`.
void RemoteControl::hold(const std::string& where) {
  note("held", {where});
  held_ = true;
  while (held_) {
    if (!executeNext()) {
      pollfd readable{control_, POLLIN, 0};
      poll(&readable, 1, -1);
      readAvailable();
    }
  }
}

/// Waits until something at default priority (a signal, a D-Bus message) is ready for the main
/// loop's next turn, which it then takes before anything that waits at idle priority.
void RemoteControl::awaitUrgent() {
  int priority = G_PRIORITY_LOW;
  while (!g_main_context_prepare(nullptr, &priority) || priority > G_PRIORITY_DEFAULT) {
    poll(nullptr, 0, 1);
  }
  note("urgent", {});
}

void RemoteControl::observe(const Call& call) {
  record_ << call.function;
  for (const std::string& argument : call.arguments) {
    record_ << '\t' << escaped(argument);
  }
  record_ << "\t=" << escaped(call.result) << '\n' << std::flush;
  const auto found = std::find_if(holds_.begin(), holds_.end(), [&](const std::string& text) {
    return call.text().find(text) != std::string::npos;
  });
  if (found != holds_.end()) {
    const std::string text = *found;
    holds_.erase(found);
    hold(text);
  }
}

void RemoteControl::note(const std::string& what, const std::vector<std::string>& arguments) {
  observe({what, arguments, ""});
}

}  // namespace doubles
