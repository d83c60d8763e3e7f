// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <thread>

#include "tests/platform/unix_socket.h"
#include "tests/support/temp_dir.h"

namespace support {

/// Plays a broker that does what no real one does when asked: a script for each connection.
class FakeBroker {
 public:
  class Connection {
   public:
    Connection(int socket, const std::atomic<bool>& ended) : socket_(socket), ended_(ended) {}
    /// The next packet, type and flags first; "" at the end of the connection.
    std::string read();
    void send(const std::string& bytes);
    /// Waits until the other side ends the connection.
    void waitForEnd();

   private:
    bool readByte(char& byte);

    int socket_;
    const std::atomic<bool>& ended_;
  };
  /// Runs on a thread of its own, with the number of the connection, from 0.
  using Script = std::function<void(Connection& connection, int number)>;

  explicit FakeBroker(Script script);
  ~FakeBroker();
  FakeBroker(const FakeBroker&) = delete;
  FakeBroker& operator=(const FakeBroker&) = delete;

  std::string address() const { return "unix:" + path(); }
  int connections() const { return connections_; }

 private:
  std::string path() const { return directory_.file("fake.sock"); }
  void run();

  TempDir directory_;
  Script script_;
  Descriptor listener_;
  std::atomic<bool> ended_{false};
  std::atomic<int> connections_{0};
  std::thread thread_;
};

/// MQTT 5 packets, for scripts.
namespace mqtt {
std::string connack(char reason, bool sessionPresent = false);
/// The answer to `subscribe`, as read.
std::string suback(const std::string& subscribe, char reason);
std::string publish(const std::string& topic, const std::string& payload, char packetId,
                    bool duplicate = false);
std::string disconnect(char reason);
}  // namespace mqtt

}  // namespace support
