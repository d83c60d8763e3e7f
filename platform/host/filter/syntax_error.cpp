// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/filter/syntax_error.h"

#include <glib.h>

#include <algorithm>
#include <cstdio>

namespace filter {
namespace {

bool startsCharacter(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
}

std::string hexadecimal(unsigned value, int digits) {
  char text[16];
  std::snprintf(text, sizeof text, "%0*X", digits, value);
  return text;
}

}  // namespace

std::string describe(std::string_view text, const SyntaxError& error) {
  const auto before = text.substr(0, error.offset);
  const auto characters = std::count_if(before.begin(), before.end(), startsCharacter);
  return "character " + std::to_string(characters + 1) + ": " + error.reason;
}

void checkText(std::string_view text) {
  const char* valid_end = nullptr;
  const std::size_t size = std::min(text.size(), kMaxBytes);
  if (g_utf8_validate_len(text.data(), size, &valid_end) == FALSE) {
    const auto offset = static_cast<std::size_t>(valid_end - text.data());
    // A character that the limit cuts in two is the limit's fault, and reported below.
    if (text.size() <= kMaxBytes || offset + 4 <= kMaxBytes) {
      throw SyntaxError{offset, "expected valid UTF-8, found the byte 0x" +
                                    hexadecimal(static_cast<unsigned char>(text[offset]), 2)};
    }
  }
  if (text.size() > kMaxBytes) {
    throw SyntaxError{static_cast<std::size_t>(valid_end - text.data()),
                      "expected the end within " + std::to_string(kMaxBytes) +
                          " bytes, found a text of " + std::to_string(text.size())};
  }
}

void throwUnexpected(std::string_view text, const std::string& expected, std::string_view found) {
  const bool at_end = found.empty();
  throw SyntaxError{at_end ? text.size() : static_cast<std::size_t>(found.data() - text.data()),
                    "expected " + expected + ", found " + (at_end ? "the end" : quoted(found))};
}

std::size_t characterSize(std::string_view text) {
  return static_cast<std::size_t>(g_utf8_skip[static_cast<unsigned char>(text.front())]);
}

std::string quoted(std::string_view text) {
  constexpr std::size_t kShown = 80;
  std::string shown;
  for (std::size_t at = 0, count = 0; at < text.size(); ++count) {
    const std::string_view character = text.substr(at, characterSize(text.substr(at)));
    const gunichar value = g_utf8_get_char(character.data());
    if (count == kShown) {
      shown += "…";
      break;
    }
    if (value == ' ' || g_unichar_isgraph(value) != FALSE) {
      shown += character;
    } else {
      shown += "<U+" + hexadecimal(value, 4) + ">";
    }
    at += character.size();
  }
  const char quote = shown.find('"') == std::string::npos ? '"' : '\'';
  return quote + shown + quote;
}

}  // namespace filter
