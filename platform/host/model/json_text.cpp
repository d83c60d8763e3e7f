// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/model/json_text.h"

#include <glib.h>

#include <cstdint>

namespace model {
namespace {

constexpr std::string_view kSimpleEscapes = "\"\\/bfnrt";
constexpr std::string_view kSimpleCharacters = "\"\\/\b\f\n\r\t";
constexpr std::uint32_t kNoCodeUnit = UINT32_MAX;

/// The code unit of an escape \uXXXX that starts at `at`.
std::uint32_t codeUnitAt(std::string_view raw, std::size_t at) {
  if (raw.size() < at + 6 || raw[at] != '\\' || raw[at + 1] != 'u') {
    return kNoCodeUnit;
  }
  std::uint32_t unit = 0;
  for (const char digit : raw.substr(at + 2, 4)) {
    const int value = g_ascii_xdigit_value(digit);
    if (value < 0) {
      return kNoCodeUnit;
    }
    unit = unit * 16 + static_cast<std::uint32_t>(value);
  }
  return unit;
}

void appendCharacter(std::string& out, std::uint32_t character) {
  char bytes[6];
  out.append(bytes, static_cast<std::size_t>(g_unichar_to_utf8(character, bytes)));
}

/// Skips the digits at `at` and tells whether there were any.
bool skipDigits(std::string_view token, std::size_t& at) {
  const std::size_t start = at;
  while (at < token.size() && g_ascii_isdigit(token[at])) {
    ++at;
  }
  return at > start;
}

bool isNumber(std::string_view token) {
  const auto next = [token](std::size_t at) { return at < token.size() ? token[at] : '\0'; };
  std::size_t at = next(0) == '-' ? 1 : 0;
  if (next(at) == '0') {
    ++at;
  } else if (!skipDigits(token, at)) {
    return false;
  }
  if (next(at) == '.' && !skipDigits(token, ++at)) {
    return false;
  }
  if (next(at) == 'e' || next(at) == 'E') {
    ++at;
    if (next(at) == '+' || next(at) == '-') {
      ++at;
    }
    if (!skipDigits(token, at)) {
      return false;
    }
  }
  return at == token.size();
}

}  // namespace

RawString rawStringAt(std::string_view json, std::size_t at) {
  const std::size_t start = at + 1;
  bool escaped = false;
  std::size_t end = start;
  while (end < json.size() && json[end] != '"') {
    const bool escape = json[end] == '\\';
    escaped = escaped || escape;
    end += escape ? 2U : 1U;
  }
  return {json.substr(start, end - start), escaped};
}

std::size_t resolveEscapes(std::string_view raw, std::string& out) {
  std::size_t at = 0;
  while (true) {
    const std::size_t escape = raw.find('\\', at);
    out.append(raw.substr(at, escape - at));
    if (escape == std::string_view::npos) {
      return escape;
    }
    const std::size_t simple =
        escape + 1 < raw.size() ? kSimpleEscapes.find(raw[escape + 1]) : std::string_view::npos;
    if (simple != std::string_view::npos) {
      out.push_back(kSimpleCharacters[simple]);
      at = escape + 2;
      continue;
    }
    const std::uint32_t unit = codeUnitAt(raw, escape);
    if (unit == kNoCodeUnit) {
      return escape;
    }
    at = escape + 6;
    const std::uint32_t low = codeUnitAt(raw, at);
    if (unit >= 0xD800 && unit <= 0xDBFF && low >= 0xDC00 && low <= 0xDFFF) {
      appendCharacter(out, 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00));
      at += 6;
    } else {
      appendCharacter(out, unit);
    }
  }
}

bool isSimpleLiteral(std::string_view token) {
  return token == "true" || token == "false" || isNumber(token);
}

std::string_view trimWhiteSpace(std::string_view text) {
  const std::size_t start = text.find_first_not_of(kWhiteSpace);
  return start == std::string_view::npos
             ? std::string_view()
             : text.substr(start, text.find_last_not_of(kWhiteSpace) + 1 - start);
}

}  // namespace model
