// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "platform/host/model/message.h"

namespace model {

/// Reads messages; its buffers grow to what the largest needed. One a thread.
///
/// Any JSON object in UTF-8 is taken, with white space around it and nothing else (no byte order
/// mark): numbers of any size and length are kept as text. Half of a surrogate pair, which JSON
/// allows as an escape, becomes bytes that no valid UTF-8 has: no filter's text can equal them.
class MessageReader {
 public:
  /// Objects and arrays within each other, the message itself included. It bounds the stack that
  /// a publisher can make us use, and stays below the 1,024 of the reader beneath; real messages
  /// need four.
  static constexpr std::size_t kMaxDepth = 1000;

  MessageReader();
  ~MessageReader();
  MessageReader(const MessageReader&) = delete;
  MessageReader& operator=(const MessageReader&) = delete;

  /// Null if `payload` is no such object, with `error` saying what is wrong at which byte
  /// (counted from 1).
  std::shared_ptr<const Message> read(std::string_view payload, std::string& error);

 private:
  class Walk;
  struct Parser;
  std::unique_ptr<Parser> parser_;
};

}  // namespace model
