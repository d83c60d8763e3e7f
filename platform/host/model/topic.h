// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace model {

/// The prefixes under which the two known topic namespaces stand in every topic here.
inline constexpr std::string_view kOnvifPrefix = "tns1";
inline constexpr std::string_view kVendorPrefix = "tnsovra";

/// A topic in the one form in which topics are compared, segment by segment: the root always has
/// a namespace prefix, and a child that bears its root's prefix is kept without it.
struct Topic {
  std::vector<std::string> segments;

  /// True for `root` itself and for every topic below it.
  bool isWithin(const Topic& root) const;
  bool operator==(const Topic& other) const { return segments == other.segments; }
};

/// What a path of a topic expression matches: one topic or, for `//.`, all within it.
struct TopicPattern {
  Topic topic;
  bool subtree = false;

  bool matches(const Topic& candidate) const;
};

/// The prefix of a segment (before its first ':'), empty if it has none.
std::string_view prefixOf(std::string_view segment);

/// Appends a segment in the compared form; the first one appended becomes the root.
void appendSegment(Topic& topic, std::string_view segment);

/// The topic that the local part of an MQTT topic names; never fails. `Device/Trigger` and
/// `tns1:Device/Trigger` are the same topic.
Topic topicFromLocal(std::string_view local);

/// The topic's text for people and for event JSON: `local` with `tns1:` in front unless its first
/// segment has a prefix already; the other segments stand as the publisher wrote them.
std::string topicText(std::string_view local);

}  // namespace model
