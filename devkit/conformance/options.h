// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

/// What a vendor tells the program about the event system.
struct Options {
  /// Shell command that publishes one event on `topic` for each of its arguments, in their order,
  /// with the argument's text somewhere in the event.
  std::string publish;
  std::string topic = "tns1:Device/Trigger/DigitalInput";
  /// A topic on which `publish` never publishes.
  std::string otherTopic = "tns1:Device/HardwareFailure/FanFailure";
  unsigned burst = 300;
  unsigned deadlineSeconds = 30;
};

/// Reads the command line; ends the program on --help and on a mistake (status 2).
Options readOptions(int argc, char** argv);
