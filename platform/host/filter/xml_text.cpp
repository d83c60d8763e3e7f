// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/filter/xml_text.h"

#include <glib.h>

#include <algorithm>
#include <iterator>

#include "platform/host/filter/syntax_error.h"

namespace filter {
namespace {

struct Range {
  gunichar first;
  gunichar last;
};

// XML 1.0, fifth edition, NameStartChar and NameChar, without the colon.
constexpr Range kNameStart[] = {
    {'A', 'Z'},       {'_', '_'},       {'a', 'z'},       {0xC0, 0xD6},     {0xD8, 0xF6},
    {0xF8, 0x2FF},    {0x370, 0x37D},   {0x37F, 0x1FFF},  {0x200C, 0x200D}, {0x2070, 0x218F},
    {0x2C00, 0x2FEF}, {0x3001, 0xD7FF}, {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF},
};
constexpr Range kNameMore[] = {
    {'-', '.'}, {'0', '9'}, {0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040},
};

template <std::size_t count>
bool isIn(const Range (&ranges)[count], gunichar character) {
  return std::any_of(std::begin(ranges), std::end(ranges), [character](const Range& range) {
    return range.first <= character && character <= range.last;
  });
}

}  // namespace

bool isXmlSpace(char byte) {
  return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n';
}

std::size_t skipXmlSpace(std::string_view text, std::size_t at) {
  while (at < text.size() && isXmlSpace(text[at])) {
    ++at;
  }
  return at;
}

std::size_t ncNameEnd(std::string_view text, std::size_t at) {
  std::size_t end = at;
  while (end < text.size()) {
    const gunichar character = g_utf8_get_char(text.data() + end);
    if (!isIn(kNameStart, character) && (end == at || !isIn(kNameMore, character))) {
      break;
    }
    end += characterSize(text.substr(end));
  }
  return end;
}

std::size_t qNameEnd(std::string_view text, std::size_t at) {
  const std::size_t end = ncNameEnd(text, at);
  if (end == at || end >= text.size() || text[end] != ':') {
    return end;
  }
  const std::size_t local_end = ncNameEnd(text, end + 1);
  return local_end > end + 1 ? local_end : end;
}

std::size_t findNonXml(std::string_view text, std::size_t at) {
  for (; at < text.size(); at += characterSize(text.substr(at))) {
    const gunichar character = g_utf8_get_char(text.data() + at);
    const bool control = character < 0x20 && !isXmlSpace(text[at]);
    if (control || character == 0xFFFE || character == 0xFFFF) {
      return at;
    }
  }
  return std::string_view::npos;
}

}  // namespace filter
