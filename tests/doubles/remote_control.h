// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <glib.h>

#include <fstream>
#include <string>
#include <vector>

#include "tests/doubles/recording_platform.h"

namespace doubles {

/// Lets a test in another process script the doubles, inject events and read the record, through
/// the directory that $LUMENFEED_DOUBLES names: `control`, a FIFO of commands, one a line, read on
/// the main context at idle priority; `record`, one flushed line a call. tests/README.md has both.
class RemoteControl {
 public:
  /// Carries out the commands that wait already, then listens. Does nothing without the variable.
  static void start();

 private:
  explicit RemoteControl(const std::string& directory);

  static gboolean onReadable(int fd, GIOCondition condition, gpointer data);
  static void onExit();

  void readAvailable();
  bool executeNext();
  void execute(const std::string& command, const std::string& rest);
  void fail(const std::string& rest);
  void deliver(const std::string& rest);
  void report();
  void hold(const std::string& where);
  void awaitUrgent();
  void observe(const Call& call);
  void note(const std::string& what, const std::vector<std::string>& arguments);

  int control_ = -1;
  std::string buffer_;
  std::ofstream record_;
  /// Texts of the calls at which to hold.
  std::vector<std::string> holds_;
  bool held_ = false;
};

}  // namespace doubles
