// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <optional>
#include <string>

namespace console {

/// What to ask for, and when to end.
struct Options {
  std::string sessionId;
  std::string requestId = "1";
  std::string apiVersion;
  std::string source;
  std::string method;
  /// The configuration, ready to send.
  std::string params;
  /// Ends after so many notifications; 0: any number.
  unsigned count = 0;
  /// Ends so long after the answer to the configuration; 0: never.
  double seconds = 0;
  /// The patience with the data source.
  double wait = 10;

  /// Reads the command line; after a usage error, which it prints, nothing.
  static std::optional<Options> parse(int argc, char** argv);
};

}  // namespace console
