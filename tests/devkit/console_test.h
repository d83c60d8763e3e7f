// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/devkit/fake_data_source.h"
#include "tests/support/glib_test.h"
#include "tests/support/private_bus.h"
#include "tests/support/process.h"

namespace devkit_test {

/// The console on a private bus with a played data source; its session is "s".
class ConsoleTest : public support::GlibTest {
 protected:
  /// Starts it with session "s" and these options.
  void start(std::vector<std::string> options = {}) {
    options.insert(options.begin(), {LUMENFEED_CONSOLE, "--session=s"});
    console_ = std::make_unique<support::Process>(options, bus_.environment());
  }
  /// The same, and answers its configuration.
  [[nodiscard]] bool startAccepted(const std::vector<std::string>& options = {}) {
    start(options);
    if (!source_.waitForCalls(2)) {
      return false;
    }
    source_.respond("s");
    return console_->waitForLine("response");
  }
  int exitStatus() {
    const support::ExitStatus status = console_->wait();
    return status.signalled ? -status.value : status.value;
  }
  std::string lastError() const {
    return console_->standardError().empty() ? "" : console_->standardError().back();
  }
  const std::vector<std::string>& lines() const { return console_->standardOutput(); }

  support::PrivateBus bus_;
  FakeDataSource source_{bus_};
  std::unique_ptr<support::Process> console_;
};

}  // namespace devkit_test
