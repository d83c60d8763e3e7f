// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <gio/gio.h>

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "common/ptr.h"
#include "tests/support/private_bus.h"

namespace support {

/// A call that the streaming service received.
struct ReceivedCall {
  std::string method;
  std::vector<std::string> arguments;
  /// The sender's own count of its messages.
  std::uint32_t serial = 0;
  bool operator==(const ReceivedCall& other) const {
    return method == other.method && arguments == other.arguments;
  }
};
std::ostream& operator<<(std::ostream& out, const ReceivedCall& call);

/// Plays the streaming service: owns its name on a connection of its own, records every call in
/// order, and answers as told.
class FakeStreamingService {
 public:
  /// Appears at once, unless `present` is false.
  explicit FakeStreamingService(std::string busAddress, bool present = true);
  explicit FakeStreamingService(const PrivateBus& bus, bool present = true)
      : FakeStreamingService(bus.address(), present) {}
  ~FakeStreamingService();
  FakeStreamingService(const FakeStreamingService&) = delete;
  FakeStreamingService& operator=(const FakeStreamingService&) = delete;

  /// Connects, exports the object and owns the name, under a unique name that is new each time.
  void appear();
  /// Closes the connection, with all that it owes.
  void disappear();
  /// Gives up the name and keeps the object.
  void dropName();

  void answer() { answer_ = Answer::kReply; }
  /// Answers every call from now on with this error.
  void answerWithError(const std::string& name, const std::string& message);
  /// Lets every call from now on wait.
  void neverAnswer() { answer_ = Answer::kNever; }
  /// Answers what waits.
  void answerWaiting();

  const std::vector<ReceivedCall>& calls() const { return calls_; }
  std::vector<ReceivedCall> calls(const std::string& method) const;
  /// Turns the main context until there were `count` calls (of `method`, if given).
  [[nodiscard]] bool waitForCalls(std::size_t count, const std::string& method = {});
  void clear() { calls_.clear(); }
  std::size_t waiting() const { return waiting_.size(); }
  std::string uniqueName() const;

 private:
  enum class Answer { kReply, kError, kNever };

  static void onCall(GDBusConnection* connection, const char* sender, const char* path,
                     const char* interface, const char* method, GVariant* parameters,
                     GDBusMethodInvocation* invocation, gpointer data);

  std::string busAddress_;
  common::GObjectPtr<GDBusConnection> connection_;
  Answer answer_ = Answer::kReply;
  std::string errorName_;
  std::string errorMessage_;
  std::vector<ReceivedCall> calls_;
  std::vector<GDBusMethodInvocation*> waiting_;
};

}  // namespace support
