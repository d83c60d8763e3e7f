// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "filter_random.h"

#include <glib.h>

#include <cstdio>

namespace test {
namespace {

const std::vector<std::string> kNames = {"a", "b", "Rule", "and", "\u00fc", ""};
const std::vector<std::string> kTexts = {"",   "1",    "1.0",   "1e3",     "true",       "null",
                                         "or", "it's", "\"",    "\u6e29x", " a",         "a",
                                         "b",  "x]",   "\t\n.", "(and",    "\U0001F600", "'"};
const std::vector<std::string> kLiterals = {"1", "1.0", "1e3", "true", "false", "-0.50E+1"};

}  // namespace

std::string FilterRandom::space() {
  static const std::vector<std::string> kSpaces = {"", "", "", " ", "\t", "\r\n", "  "};
  return pick(kSpaces);
}

std::string FilterRandom::gap() {
  static const std::vector<std::string> kGaps = {" ", "\n", " \t"};
  return pick(kGaps);
}

std::string FilterRandom::literal() {
  const std::string& text = oneIn(3) ? pick(kNames) : pick(kTexts);
  const bool quote = text.find('"') != std::string::npos;
  const bool apostrophe = text.find('\'') != std::string::npos;
  const char mark = quote || (!apostrophe && oneIn(2)) ? '\'' : '"';
  return mark + text + mark;
}

std::string FilterRandom::comparison() {
  return "@" + space() + (oneIn(2) ? "Name" : "Value") + space() + "=" + space() + literal();
}

std::string FilterRandom::operand(int depth, bool bracket) {
  if (depth > 0 && oneIn(4)) {
    return "not" + space() + "(" + space() + alternatives(depth - 1, bracket) + space() + ")";
  }
  if (depth > 0 && oneIn(4)) {
    return "(" + space() + alternatives(depth - 1, bracket) + space() + ")";
  }
  if (bracket) {
    return comparison();
  }
  static const std::vector<std::string> kItems = {"SimpleItem", "tt:SimpleItem", "tt:SimpleItem",
                                                  "ElementItem", "tt:ElementItem"};
  return "boolean" + space() + "(" + space() + "//" + space() + pick(kItems) + space() + "[" +
         space() + alternatives(depth, true) + space() + "]" + space() + ")";
}

std::string FilterRandom::conditions(int depth, bool bracket) {
  std::string text = operand(depth, bracket);
  while (oneIn(3)) {
    text += space() + "and" + gap() + operand(depth, bracket);
  }
  return text;
}

std::string FilterRandom::alternatives(int depth, bool bracket) {
  std::string text = conditions(depth, bracket);
  while (oneIn(3)) {
    text += space() + "or" + gap() + conditions(depth, bracket);
  }
  return text;
}

std::string FilterRandom::topic() {
  static const std::vector<std::string> kRoots = {"a", "tns1:a", "tnsovra:a", "b", "tns1:ab"};
  static const std::vector<std::string> kChildren = {"a",         "b",  "tns1:a",
                                                     "tnsovra:a", "ab", "\u00fc"};
  std::string text;
  do {
    text += text.empty() ? "" : "|";
    text += space() + pick(kRoots);
    while (!oneIn(3)) {
      text += "/" + pick(kChildren);
    }
    text += (oneIn(3) ? "//." : "") + space();
  } while (oneIn(2));
  return text;
}

std::string FilterRandom::localTopic() {
  static const std::vector<std::string> kSegments = {"a",  "b",      "tns1:a", "tnsovra:a",
                                                     "ab", "\u00fc", "acme:a"};
  std::string text = pick(kSegments);
  while (!oneIn(3)) {
    text += "/" + pick(kSegments);
  }
  return text;
}

std::string FilterRandom::jsonString(const std::string& text) {
  std::string json = "\"";
  for (std::size_t at = 0, size = 0; at < text.size(); at += size) {
    const gunichar character = g_utf8_get_char(text.data() + at);
    size = static_cast<std::size_t>(g_unichar_to_utf8(character, nullptr));
    const bool must = character < 0x20 || character == '"' || character == '\\';
    if (character < 0x10000 && (must || oneIn(4))) {
      char escape[8];
      std::snprintf(escape, sizeof escape, oneIn(2) ? "\\u%04x" : "\\u%04X", character);
      json += escape;
    } else {
      json += text.substr(at, size);
    }
  }
  return json + "\"";
}

RandomEvent FilterRandom::event() {
  RandomEvent event;
  event.payload = "{\"UtcTime\":\"2026-01-01T00:00:00Z\"";
  for (const char* group : {"Source", "Key", "Data"}) {
    std::string members;
    for (std::size_t count = below(4); count > 0; --count) {
      PlainItem item{pick(kNames), std::nullopt};
      std::string value = pick(kLiterals);
      if (oneIn(3)) {
        static const std::vector<std::string> kElements = {
            "null", "{}", "[]", R"({"a":"1","Data":{"b":"b"}})", "[1,{\"Rule\":true}]"};
        value = pick(kElements);
      } else if (oneIn(2)) {
        item.value = value;
      } else {
        item.value = pick(kTexts);
        value = jsonString(*item.value);
      }
      members += (members.empty() ? "" : ",") + space() + jsonString(item.name) + ":" + value;
      event.items.push_back(item);
    }
    if (!members.empty() || oneIn(3)) {
      event.payload += ",\"" + std::string(group) + "\":{" + members + "}";
    }
  }
  event.payload += "}";
  return event;
}

std::string FilterRandom::mutated(const std::string& text, const std::vector<std::string>& pieces) {
  std::string changed = text;
  for (std::size_t count = 1 + below(3); count > 0; --count) {
    const std::size_t at = below(changed.size() + 1);
    const std::size_t length = 1 + below(oneIn(3) ? 12 : 2);
    switch (below(4)) {
      case 0:
        changed.erase(at, length);
        break;
      case 1:
        changed.insert(at, changed.substr(at, length));
        break;
      case 2:
        changed.insert(below(changed.size() + 1), changed.substr(at, length));
        break;
      default:
        changed.insert(at, pick(pieces));
    }
  }
  return changed;
}

}  // namespace test
