// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <forward_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace model {

enum class ItemGroup : unsigned char { Source, Key, Data };

/// A member of Source, Key or Data. The texts live as long as the message.
struct Item {
  std::string_view name;
  /// A string's characters, or a number, true or false as the publisher wrote it; else empty.
  std::string_view value;
  ItemGroup group;
  /// An object, array or null: it has a name and no value, and nothing inside it is an item.
  bool isElement;
};

/// A publisher's message: one JSON object, checked and taken apart once. Immutable.
///
/// Where a name stands twice in one object, both members are items (a filter looks for any item
/// that fits), and of several Source members the last one is source(). A group that is no object
/// has no items.
class Message {
 public:
  Message(const Message&) = delete;
  Message& operator=(const Message&) = delete;

  /// The message, byte for byte.
  const std::string& payload() const { return payload_; }
  /// In the order in which they stand in the message.
  const std::vector<Item>& items() const { return items_; }
  /// The bytes of the value of Source within payload(), of whatever kind; empty if it has none.
  std::string_view source() const { return source_; }

 private:
  friend class MessageReader;
  explicit Message(std::string payload) : payload_(std::move(payload)) {}

  std::string payload_;
  std::vector<Item> items_;
  std::forward_list<std::string> resolved_;  // texts that had escapes; addresses stay
  std::string_view source_;
};

}  // namespace model
