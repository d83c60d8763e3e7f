// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace bench {

/// One event as the streaming service finally gets it, of an exact size, with the event's number
/// and the time of its making inside. Stamped in place: making the next one costs two numbers.
class Message {
 public:
  static constexpr const char* kOrigin = "b";
  /// The topic without the prefix of its namespace, as an MQTT topic carries it.
  static constexpr const char* kTopic = "Device/Trigger/Relay";

  /// The size of the smallest message.
  static std::size_t smallest();

  explicit Message(std::size_t size);

  void stamp(std::uint64_t number, std::uint64_t sent);

  /// The data payload: {"notification":EVENT}.
  const std::string& notification() const { return text_; }
  /// The event's JSON text within it.
  std::string_view event() const;
  /// What a publisher of the event hands to the broker, within the event.
  std::string_view published() const;

 private:
  std::string text_;
};

/// What the sink reads out of a message.
struct Stamp {
  std::uint64_t number = 0;
  std::uint64_t sent = 0;
};

/// False if the payload is no message of these benchmarks.
bool readStamp(const char* payload, Stamp& stamp);

}  // namespace bench
