// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <gmock/gmock.h>

#include <ostream>
#include <string>
#include <vector>

#include "tests/support/process.h"

namespace devkit_test {

/// A mistake on a command line, and what is said of it.
struct Usage {
  const char* name;
  std::vector<std::string> arguments;
  const char* message;
};
inline std::ostream& operator<<(std::ostream& out, const Usage& usage) {
  return out << usage.message;
}

/// Expects the complaint on standard error, nothing else, and status 2.
inline void expectRefused(const std::string& program, const Usage& usage) {
  std::vector<std::string> command = usage.arguments;
  command.insert(command.begin(), program);
  support::Process process(command);
  EXPECT_EQ(process.wait(), (support::ExitStatus{false, 2}));
  EXPECT_THAT(process.standardOutput(), ::testing::IsEmpty());
  const std::string name = program.substr(program.rfind('/') + 1);
  EXPECT_THAT(process.standardError(),
              ::testing::ElementsAre(name + ": " + usage.message, "Try '" + name + " --help'."));
}

}  // namespace devkit_test
