// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace model {

inline constexpr std::string_view kWhiteSpace = " \t\r\n";

/// A JSON string's text within its quotes, as it stands.
struct RawString {
  std::string_view text;
  bool escaped;
};

/// The string that starts after the quote at `json[at]`; the closing quote must be there.
RawString rawStringAt(std::string_view json, std::size_t at);

/// Resolves the escapes of `raw` into `out`. Half of a surrogate pair becomes the three bytes that
/// UTF-8 would have for it. Returns npos, or the place of the escape that JSON does not have.
std::size_t resolveEscapes(std::string_view raw, std::string& out);

/// True for true, false, and for the numbers of JSON, however long.
bool isSimpleLiteral(std::string_view token);

std::string_view trimWhiteSpace(std::string_view text);

}  // namespace model
