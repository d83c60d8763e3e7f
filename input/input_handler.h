// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <list>
#include <string>
#include <utility>

/// Checks of a request's fields, and the reading of its params payload:
///
///   {"eventFilterList":[{"topicFilter":"…","contentFilter":"…"},…]}
///
/// with at least one element, and at least one of the two strings in each. Nothing here keeps
/// state.
class InputHandler {
 public:
  /// A pair of topic filter and content filter; an absent one is the empty text.
  using Filters = std::list<std::pair<std::string, std::string>>;

  InputHandler() = delete;

  /// True if the version begins with a supported major version: a byte prefix, so "10.0" and
  /// "1abc" pass as well. False for null.
  static bool validateVersion(const char* version);
  /// True for "events" alone. Throws std::logic_error on null.
  static bool validateSourceId(const char* sourceId);
  /// True for "configure" alone. Throws std::logic_error on null.
  static bool validateMethod(const char* method);

  /// Strict. On false, `error` is the reason, in words for the client; on true it is left alone.
  static bool validatePayload(const char* payload, std::string& error);
  /// Lenient: appends one pair per element; text without a usable list adds nothing. Throws
  /// JsonException at an element that is no object or holds a non-string under either key; the
  /// pairs before it stay.
  static void parsePayload(const char* payload, Filters& filters);
};
