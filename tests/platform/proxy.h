// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <atomic>
#include <list>
#include <string>
#include <thread>

#include "tests/platform/unix_socket.h"
#include "tests/support/temp_dir.h"

namespace support {

/// A wire between a client's connections and a broker that can be cut, and that can go dead without
/// an end.
class Proxy {
 public:
  explicit Proxy(std::string brokerPath);
  ~Proxy();
  Proxy(const Proxy&) = delete;
  Proxy& operator=(const Proxy&) = delete;

  std::string address() const { return "unix:" + path(); }
  /// Ends all connections; what was on the wire is lost. The next ones are let through.
  void cut() { cut_ = connections_.load(); }
  /// Ends them after losing what the client still sends: its acknowledgements.
  void loseAnswers() { losing_ = connections_.load(); }
  /// Nothing gets through any more, in either direction, and nobody is told.
  void stall(bool stalled) { stalled_ = stalled; }
  int connections() const { return connections_; }

 private:
  std::string path() const { return directory_.file("proxy.sock"); }
  void run();
  void serve(const Descriptor& client);
  static bool forward(int from, int to);

  TempDir directory_;
  std::string brokerPath_;
  Descriptor listener_;
  /// How many connections that concerns: those before.
  std::atomic<int> cut_{0};
  std::atomic<int> losing_{0};
  std::atomic<bool> stalled_{false};
  std::atomic<bool> ended_{false};
  std::atomic<int> connections_{0};
  std::thread thread_;
  std::list<std::thread> wires_;  // only thread_ adds to it
};

}  // namespace support
