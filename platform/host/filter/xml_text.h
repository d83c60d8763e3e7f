// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <string_view>

namespace filter {

/// Space, tab, carriage return and line feed: what both dialects take for white space.
bool isXmlSpace(char byte);

/// The first place from `at` on where no white space stands.
std::size_t skipXmlSpace(std::string_view text, std::size_t at);

/// The end of the NCName that starts at `at`, or `at` if none does. `text` is valid UTF-8.
std::size_t ncNameEnd(std::string_view text, std::size_t at);

/// The end of the QName (`name` or `prefix:name`) that starts at `at`, or `at` if none does.
std::size_t qNameEnd(std::string_view text, std::size_t at);

/// The first place from `at` on with a character that no XML document can hold, or npos.
std::size_t findNonXml(std::string_view text, std::size_t at);

}  // namespace filter
