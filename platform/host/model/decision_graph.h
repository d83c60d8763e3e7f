// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace model {

/// A Boolean expression over tests, compiled for deciding: each test knows which test comes next
/// when it holds and when it does not. Deciding is one loop that only goes forward; neither it
/// nor releasing the graph depends on how deeply the expression was nested.
template <typename Test>
class DecisionGraph {
 public:
  /// A part of the expression: where it starts, and its exits that lead nowhere yet.
  struct Part {
    std::uint32_t entry;
    std::vector<std::uint32_t> whenTrue;
    std::vector<std::uint32_t> whenFalse;
  };

  /// Adds a test; parts are built in reading order, so that the graph starts with the first.
  Part test(Test test) {
    const auto index = static_cast<std::uint32_t>(nodes_.size());
    nodes_.push_back({std::move(test), {kReject, kAccept}});
    return {index, {2 * index + 1}, {2 * index}};
  }

  Part both(Part left, Part right) {
    connect(left.whenTrue, right.entry);
    append(left.whenFalse, right.whenFalse);
    return {left.entry, std::move(right.whenTrue), std::move(left.whenFalse)};
  }

  Part either(Part left, Part right) {
    connect(left.whenFalse, right.entry);
    append(left.whenTrue, right.whenTrue);
    return {left.entry, std::move(left.whenTrue), std::move(right.whenFalse)};
  }

  Part opposite(Part part) {
    std::swap(part.whenTrue, part.whenFalse);
    return part;
  }

  /// Makes `whole` the expression that decide() decides.
  void finish(const Part& whole) {
    connect(whole.whenTrue, kAccept);
    connect(whole.whenFalse, kReject);
    nodes_.shrink_to_fit();
  }

  /// Asks `holds(const Test&)` for the tests that matter, in reading order.
  template <typename Holds>
  bool decide(Holds holds) const {
    std::uint32_t at = 0;
    while (at < kReject) {
      const Node& node = nodes_[at];
      at = node.next[holds(node.test) ? 1 : 0];
    }
    return at == kAccept;
  }

  std::size_t size() const { return nodes_.size(); }

 private:
  static constexpr std::uint32_t kReject = UINT32_MAX - 1;
  static constexpr std::uint32_t kAccept = UINT32_MAX;

  struct Node {
    Test test;
    std::uint32_t next[2];
  };

  /// An exit is its node's number times two, plus one for "the test holds".
  void connect(const std::vector<std::uint32_t>& exits, std::uint32_t target) {
    for (const std::uint32_t exit : exits) {
      nodes_[exit / 2].next[exit % 2] = target;
    }
  }

  static void append(std::vector<std::uint32_t>& to, const std::vector<std::uint32_t>& from) {
    to.insert(to.end(), from.begin(), from.end());
  }

  std::vector<Node> nodes_;
};

}  // namespace model
