// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace test {

/// An item as a publisher means it; an element has no value.
struct PlainItem {
  std::string name;
  std::optional<std::string> value;
};

/// A message in both forms: as JSON, and as the items that the XML form has.
struct RandomEvent {
  std::string payload;
  std::vector<PlainItem> items;
};

/// Makes filters and events over a few names and texts, so that they often meet.
class FilterRandom {
 public:
  explicit FilterRandom(unsigned seed) : random_(seed) {}

  std::size_t below(std::size_t limit) { return random_() % limit; }
  bool oneIn(std::size_t chances) { return below(chances) == 0; }
  template <typename Container>
  auto& pick(Container& from) {
    return from[below(std::size(from))];
  }

  /// A valid content expression with brackets, white space and quotes of every sort.
  std::string content(int depth = 4) { return alternatives(depth, false); }
  /// A valid topic expression.
  std::string topic();
  /// The local part of an MQTT topic.
  std::string localTopic();
  RandomEvent event();
  /// `text` with a few pieces dropped, doubled, swapped or put in.
  std::string mutated(const std::string& text, const std::vector<std::string>& pieces);

 private:
  std::string alternatives(int depth, bool bracket);
  std::string conditions(int depth, bool bracket);
  std::string operand(int depth, bool bracket);
  std::string comparison();
  /// White space that is not needed, or where it is.
  std::string space();
  std::string gap();
  std::string literal();
  std::string jsonString(const std::string& text);

  std::mt19937 random_;
};

}  // namespace test
