// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <sys/types.h>

#include <iosfwd>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace support {

/// Variables to set for a child; what the test's own process has stays.
using Environment = std::map<std::string, std::string>;

/// ASAN_OPTIONS for a child: those of the test's own process, and one more.
std::string asanOptions(const std::string& further);

/// How a child ended.
struct ExitStatus {
  bool signalled = false;
  /// The exit status, or the number of the signal.
  int value = 0;
  bool operator==(const ExitStatus& other) const {
    return signalled == other.signalled && value == other.value;
  }
};
std::ostream& operator<<(std::ostream& out, const ExitStatus& status);

/// The command that starts the program under test: behind what $LUMENFEED_RUN_UNDER names, as a
/// shell would split it (scripts/valgrind).
std::vector<std::string> underTest(const std::string& program);

/// True if it is behind something; then it is slow, and its memory is not its own.
bool isUnderSomething();

/// A child process whose output is captured line by line. Killed when this object goes, and by
/// the kernel when the test's process dies.
class Process {
 public:
  /// Throws std::runtime_error if the program cannot be started.
  explicit Process(const std::vector<std::string>& arguments, const Environment& environment = {});
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  pid_t pid() const { return pid_; }
  /// Whole lines seen so far, without their ends.
  const std::vector<std::string>& standardOutput() const;
  const std::vector<std::string>& standardError() const;
  /// True once a line that contains the text has come on either stream; turns the main context.
  [[nodiscard]] bool waitForLine(const std::string& text);

  void signal(int number) const;
  bool running();
  /// Waits for the end, turning the main context. After the deadline: kills, and throws.
  ExitStatus wait();

 private:
  class Lines;
  std::unique_ptr<Lines> output_;
  std::unique_ptr<Lines> error_;
  pid_t pid_ = 0;
  bool ended_ = false;
  ExitStatus status_;
};

/// Runs a program to its end and returns its output, both streams, as one text.
std::string outputOf(const std::vector<std::string>& arguments, const Environment& environment,
                     ExitStatus* status = nullptr);

}  // namespace support
