// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <csignal>
#include <memory>
#include <string>

#include "tests/platform/unix_socket.h"
#include "tests/support/process.h"
#include "tests/support/temp_dir.h"

namespace support {

/// A real mosquitto on a Unix socket of its own, and on a port of 127.0.0.1 if asked.
class Broker {
 public:
  /// `settings` are lines for its configuration. Not started yet.
  explicit Broker(std::string settings = {});
  Broker(const Broker&) = delete;
  Broker& operator=(const Broker&) = delete;

  /// Lines for a listener on a free port of 127.0.0.1, which the broker also opens; TLS settings.
  void listenOnPort(const std::string& settings = {});
  /// Returns when it takes connections.
  void start();
  /// Ends it; what it holds of sessions and retained messages is written if it has a store.
  void stop();
  void kill();
  /// Stops and continues the process: a broker that is there and says nothing.
  void freeze() const { process_->signal(SIGSTOP); }
  void thaw() const { process_->signal(SIGCONT); }
  /// Settings for a broker whose sessions and retained messages survive a stop().
  std::string storeSettings() const;
  void setSettings(const std::string& settings) { settings_ = settings; }

  std::string socketPath() const { return directory_.file("broker.sock"); }
  std::string address() const { return "unix:" + socketPath(); }
  int port() const { return port_; }
  const TempDir& directory() const { return directory_; }

 private:
  void writeConfiguration() const;
  bool takesConnections() const;

  TempDir directory_;
  std::string settings_;
  std::string portSettings_;
  int port_ = 0;
  /// Keeps the port ours, also while the broker is not there.
  Descriptor reservedPort_;
  std::unique_ptr<Process> process_;
};

}  // namespace support
