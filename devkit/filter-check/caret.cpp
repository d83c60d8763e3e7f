// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "devkit/filter-check/caret.h"

#include <glib.h>

#include <algorithm>
#include <vector>

#include "platform/host/filter/syntax_error.h"

namespace filter_check {
namespace {

/// Characters shown before and after the fault.
constexpr std::size_t kBefore = 60;
constexpr std::size_t kAfter = 40;

struct Character {
  std::size_t offset;
  std::string shown;
  std::string below;
};

/// What a character looks like, and what keeps the line below in step with it.
Character characterAt(std::string_view text, std::size_t offset, std::size_t& size) {
  const gunichar character =
      g_utf8_get_char_validated(text.data() + offset, static_cast<gssize>(text.size() - offset));
  size = 1;
  if (text[offset] == '\t') {
    return {offset, "\t", "\t"};
  }
  const bool valid =
      character != static_cast<gunichar>(-1) && character != static_cast<gunichar>(-2);
  if (!valid || (character != ' ' && g_unichar_isgraph(character) == FALSE)) {
    size = valid ? filter::characterSize(text.substr(offset)) : 1;
    return {offset, "?", " "};
  }
  size = filter::characterSize(text.substr(offset));
  const bool nothing = g_unichar_iszerowidth(character) != FALSE;
  const bool wide = g_unichar_iswide(character) != FALSE;
  return {offset, std::string(text.substr(offset, size)), nothing ? "" : wide ? "  " : " "};
}

std::vector<Character> characters(std::string_view text) {
  std::vector<Character> all;
  for (std::size_t at = 0, size = 0; at < text.size(); at += size) {
    all.push_back(characterAt(text, at, size));
  }
  return all;
}

}  // namespace

std::string withCaret(std::string_view text, std::size_t offset) {
  const std::size_t newline = offset == 0 ? std::string_view::npos : text.rfind('\n', offset - 1);
  const std::size_t start = newline == std::string_view::npos ? 0 : newline + 1;
  const std::string_view line = text.substr(start, text.find('\n', offset) - start);
  const std::vector<Character> all = characters(line);
  const auto place = static_cast<std::size_t>(
      std::find_if(all.begin(), all.end(),
                   [&](const Character& c) { return start + c.offset >= offset; }) -
      all.begin());
  const std::size_t first = place > kBefore ? place - kBefore : 0;
  const std::size_t last = std::min(all.size(), place + kAfter);
  std::string shown = first > 0 ? "  …" : "  ";
  std::string below = first > 0 ? "   " : "  ";
  for (std::size_t at = first; at < last; ++at) {
    shown += all[at].shown;
    below += at < place ? all[at].below : "";
  }
  return shown + (last < all.size() ? "…" : "") + "\n" + below + "^\n";
}

std::string printable(std::string_view text) {
  std::string shown;
  for (const Character& character : characters(text)) {
    const bool space = std::string_view("\t\r\n").find(text[character.offset]) != text.npos;
    shown += space ? " " : character.shown;
  }
  return shown;
}

}  // namespace filter_check
