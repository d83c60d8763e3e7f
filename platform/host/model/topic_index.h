// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/host/model/topic.h"

namespace model {

/// Finds the subscriptions whose topic part matches an event's topic. A look-up costs the topic's
/// own segments and the subscriptions found, however many others there are; the content part is
/// for the caller to test, on what was found.
///
/// match() returns a list of its own: adding and removing are allowed while the caller goes
/// through it, who then must check that an id in it is still subscribed. Not locked: one thread.
class TopicIndex {
 public:
  using Id = unsigned int;

  /// No patterns: every topic. The same id may be added with several lists, each removed alone.
  void add(Id id, const std::vector<TopicPattern>& patterns);

  /// Undoes an add() with the same arguments; anything that was not added is left alone.
  void remove(Id id, const std::vector<TopicPattern>& patterns);

  /// The ids that match, each once, in ascending order: that of subscribing, for growing ids.
  std::vector<Id> match(const Topic& topic) const;

  /// How many places the index keeps; 0 after everything was removed.
  std::size_t size() const { return nodes_.size(); }

 private:
  // A tree whose nodes refer to each other by number: a client's topic may be tens of thousands
  // of segments deep, and nothing here recurses into it, not even the destructor.
  using NodeId = std::uint64_t;
  static constexpr NodeId kRoot = 0;

  struct Node {
    NodeId parent = kRoot;
    std::string segment;
    std::size_t children = 0;
    std::vector<Id> exact;
    std::vector<Id> subtree;
  };
  using Edge = std::pair<NodeId, std::string_view>;

  /// The node below `parent`, or kRoot.
  NodeId child(NodeId parent, std::string_view segment) const;
  NodeId find(const Topic& topic) const;
  NodeId findOrCreate(const Topic& topic);
  void prune(NodeId id);

  std::unordered_map<NodeId, Node> nodes_;
  // The segment of an edge is the text in the node that it leads to.
  std::map<Edge, NodeId> edges_;
  std::vector<Id> everything_;
  NodeId next_ = kRoot + 1;
};

}  // namespace model
