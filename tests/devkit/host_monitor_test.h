// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "tests/devkit/mqtt_listener.h"
#include "tests/platform/broker.h"
#include "tests/support/glib_test.h"
#include "tests/support/process.h"
#include "tests/support/temp_dir.h"

namespace devkit_test {

/// The host monitor at a broker of its own; its machine is a tree of files, its prefix "p".
class HostMonitorTest : public support::GlibTest {
 protected:
  HostMonitorTest() {
    file("/proc/stat", "cpu  10 10 20 50 10 0 0 0 0 0\nbtime 1700000000\n");
    broker_.start();
  }

  /// Writes a file of the machine, in one step.
  void file(const std::string& path, const std::string& text) const {
    const std::string whole = machine_.path() + path;
    std::filesystem::create_directories(std::filesystem::path(whole).parent_path());
    std::ofstream(machine_.file("new")) << text << "\n";
    std::filesystem::rename(machine_.file("new"), whole);
  }
  void remove(const std::string& path) const {
    std::filesystem::remove_all(machine_.path() + path);
  }

  /// Starts it with a short interval.
  void start(std::vector<std::string> options = {}) {
    options.insert(options.begin(), {LUMENFEED_HOST_MONITOR, "--broker=" + broker_.address(),
                                     "--prefix=p", "--interval=0.02", "--root=" + machine_.path()});
    monitor_ = std::make_unique<support::Process>(options);
  }
  /// Runs it once; what the broker keeps then.
  std::map<std::string, std::string> once(const std::vector<std::string>& options = {}) {
    std::vector<std::string> all = options;
    all.emplace_back("--once");
    start(all);
    EXPECT_EQ(monitor_->wait(), (support::ExitStatus{false, 0}));
    return MqttListener(broker_).retained();
  }

  support::TempDir machine_;
  support::Broker broker_;
  std::unique_ptr<support::Process> monitor_;
};

}  // namespace devkit_test
