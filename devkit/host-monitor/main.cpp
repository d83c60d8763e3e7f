// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <clocale>
#include <cstdlib>

#include "devkit/host-monitor/monitor.h"
#include "devkit/host-monitor/options.h"

namespace {

constexpr int kUsage = 2;

}  // namespace

int main(int argc, char** argv) {
  std::setlocale(LC_CTYPE, "");
  const auto options = host_monitor::Options::parse(argc, argv);
  if (!options) {
    return kUsage;
  }
  host_monitor::Monitor monitor(*options);
  return monitor.run() ? EXIT_SUCCESS : EXIT_FAILURE;
}
