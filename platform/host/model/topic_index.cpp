// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/model/topic_index.h"

#include <algorithm>

namespace model {
namespace {

bool removeOne(std::vector<TopicIndex::Id>& ids, TopicIndex::Id id) {
  const auto found = std::find(ids.begin(), ids.end(), id);
  if (found == ids.end()) {
    return false;
  }
  ids.erase(found);
  return true;
}

void append(std::vector<TopicIndex::Id>& to, const std::vector<TopicIndex::Id>& from) {
  to.insert(to.end(), from.begin(), from.end());
}

}  // namespace

void TopicIndex::add(Id id, const std::vector<TopicPattern>& patterns) {
  if (patterns.empty()) {
    everything_.push_back(id);
  }
  for (const TopicPattern& pattern : patterns) {
    Node& node = nodes_.at(findOrCreate(pattern.topic));
    (pattern.subtree ? node.subtree : node.exact).push_back(id);
  }
}

void TopicIndex::remove(Id id, const std::vector<TopicPattern>& patterns) {
  if (patterns.empty()) {
    removeOne(everything_, id);
  }
  for (const TopicPattern& pattern : patterns) {
    const NodeId place = find(pattern.topic);
    if (place == kRoot) {
      continue;
    }
    Node& node = nodes_.at(place);
    if (removeOne(pattern.subtree ? node.subtree : node.exact, id)) {
      prune(place);
    }
  }
}

std::vector<TopicIndex::Id> TopicIndex::match(const Topic& topic) const {
  std::vector<Id> found = everything_;
  NodeId place = kRoot;
  for (std::size_t depth = 0; depth < topic.segments.size(); ++depth) {
    place = child(place, topic.segments[depth]);
    if (place == kRoot) {
      break;
    }
    const Node& node = nodes_.at(place);
    append(found, node.subtree);
    if (depth + 1 == topic.segments.size()) {
      append(found, node.exact);
    }
  }
  std::sort(found.begin(), found.end());
  found.erase(std::unique(found.begin(), found.end()), found.end());
  return found;
}

TopicIndex::NodeId TopicIndex::child(NodeId parent, std::string_view segment) const {
  const auto edge = edges_.find(Edge(parent, segment));
  return edge == edges_.end() ? kRoot : edge->second;
}

TopicIndex::NodeId TopicIndex::find(const Topic& topic) const {
  NodeId place = kRoot;
  for (const std::string& segment : topic.segments) {
    place = child(place, segment);
    if (place == kRoot) {
      break;
    }
  }
  return place;
}

TopicIndex::NodeId TopicIndex::findOrCreate(const Topic& topic) {
  NodeId place = kRoot;
  for (const std::string& segment : topic.segments) {
    NodeId below = child(place, segment);
    if (below == kRoot) {
      below = next_++;
      Node& node = nodes_[below];
      node.parent = place;
      node.segment = segment;
      edges_.emplace(Edge(place, node.segment), below);
      if (place != kRoot) {
        ++nodes_.at(place).children;
      }
    }
    place = below;
  }
  return place;
}

void TopicIndex::prune(NodeId id) {
  while (id != kRoot) {
    const Node& node = nodes_.at(id);
    if (node.children > 0 || !node.exact.empty() || !node.subtree.empty()) {
      return;
    }
    const NodeId parent = node.parent;
    edges_.erase(Edge(parent, node.segment));
    nodes_.erase(id);
    if (parent != kRoot) {
      --nodes_.at(parent).children;
    }
    id = parent;
  }
}

}  // namespace model
