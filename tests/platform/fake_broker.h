// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <atomic>
#include <functional>
#include <list>
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
    /// Any thread.
    void end();
    /// Waits until the other side ends the connection.
    void waitForEnd();

   private:
    bool readByte(char& byte);

    int socket_;
    const std::atomic<bool>& ended_;
  };
  /// Runs for each connection on a thread of its own, with the connection's number, from 0.
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
  std::list<std::thread> scripts_;  // only thread_ adds to it
};

/// MQTT 5 packets, for scripts.
namespace mqtt {
std::string connack(char reason, bool sessionPresent = false);
/// The same, of a broker that knows no subscription identifiers.
std::string connackWithoutIdentifiers();
/// The answer to `subscribe`, as read: a reason for each topic.
std::string suback(const std::string& subscribe, const std::string& reasons);
inline std::string suback(const std::string& subscribe, char reason) {
  return suback(subscribe, std::string(1, reason));
}
/// The answer to `unsubscribe`, of one topic.
std::string unsuback(const std::string& unsubscribe);
std::string publish(const std::string& topic, const std::string& payload, char packetId,
                    bool duplicate = false);
/// A retained message with QoS 0.
std::string retained(const std::string& topic, const std::string& payload);
std::string disconnect(char reason);
}  // namespace mqtt

}  // namespace support
