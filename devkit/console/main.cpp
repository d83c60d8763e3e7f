// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <clocale>
#include <csignal>

#include "devkit/console/console.h"
#include "devkit/console/exit_status.h"
#include "devkit/console/options.h"

int main(int argc, char** argv) {
  std::setlocale(LC_CTYPE, "");
  const auto options = console::Options::parse(argc, argv);
  if (!options) {
    return console::kUsage;
  }
  // A reader that goes away must not keep the session from being removed.
  std::signal(SIGPIPE, SIG_IGN);
  console::Console run(*options);
  return run.run();
}
