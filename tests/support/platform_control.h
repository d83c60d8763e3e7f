// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include "tests/support/process.h"
#include "tests/support/temp_dir.h"

namespace support {

/// One line of the record that the platform doubles write: a call of the platform, a log line
/// (see LogLine), or a note of the remote control.
struct PlatformRecord {
  std::string function;
  std::vector<std::string> arguments;
  std::string result;

  /// "function(argument, argument) = result"; without the last part if there is no result.
  std::string text() const;
};

struct LogLine {
  int level;
  /// "-" if the line has none, as all of the service's own.
  std::string domain;
  std::string text;
  bool operator==(const LogLine& other) const {
    return level == other.level && domain == other.domain && text == other.text;
  }
};
std::ostream& operator<<(std::ostream& out, const LogLine& line);

struct LiveSubscription {
  std::string id;
  /// The user data: its address, and the session id that it holds.
  std::string address;
  std::string sessionId;
};

/// The test's end of the platform doubles in another process: commands go in, and the record can
/// be read while the process runs and after it ended.
class PlatformControl {
 public:
  PlatformControl();
  ~PlatformControl();
  PlatformControl(const PlatformControl&) = delete;
  PlatformControl& operator=(const PlatformControl&) = delete;

  /// What a child needs to be controlled from here.
  Environment environment() const { return {{"LUMENFEED_DOUBLES", directory_.path()}}; }

  /// Sends a command (tests/README.md lists them); before the process starts, it is the script.
  void send(const std::string& command) const;
  /// The nth call of `function` from now on goes wrong: HOW is error, null-message, no-error,
  /// throw, throw-text.
  void fail(const std::string& function, unsigned nth, const std::string& how,
            const std::string& text = {}) const;
  /// `target`: a subscription's id or "all". `kind`: plain, internal, unreadable. In the JSON text
  /// "@N@" stands for the number of the event.
  void deliver(const std::string& target, const std::string& json, unsigned count = 1,
               const std::string& kind = "plain") const;
  /// Holds the main thread at the next call whose text contains `text`, or right away.
  void hold(const std::string& text = {}) const { send("hold " + text); }
  [[nodiscard]] bool waitUntilHeld(const std::string& text = "here");
  void release() const { send("release"); }
  /// Returns when every command sent before has been carried out.
  void sync();

  /// Reads on: what an earlier call returned grows, and its iterators are of no use any more.
  const std::vector<PlatformRecord>& records();
  /// The calls of the platform, as texts: no log lines, no notes.
  std::vector<std::string> calls();
  std::vector<LogLine> log();
  bool logged(int level, const std::string& text);
  [[nodiscard]] bool waitForLog(int level, const std::string& text);
  /// Turns the main context until there are `count` records of `function`.
  [[nodiscard]] bool waitForCall(const std::string& function, std::size_t count = 1);
  std::size_t count(const std::string& function);
  std::vector<LiveSubscription> subscriptions();
  /// Handles out right now: consumers, subscriptions, filters, expressions, events.
  std::vector<std::string> outstanding();
  /// The same at the process's end; empty if it did not end by itself.
  std::vector<std::string> outstandingAtExit();

 private:
  std::size_t report();

  TempDir directory_;
  int control_ = -1;
  std::size_t consumed_ = 0;
  std::vector<PlatformRecord> records_;
  unsigned tokens_ = 0;
};

}  // namespace support
