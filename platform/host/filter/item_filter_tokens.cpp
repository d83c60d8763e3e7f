// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/filter/item_filter_tokens.h"

#include <string>

#include "platform/host/filter/syntax_error.h"
#include "platform/host/filter/xml_text.h"

namespace filter {

void ItemFilterTokens::advance() {
  const std::size_t start = skipXmlSpace(text_, at_);
  const std::size_t name_end = qNameEnd(text_, start);
  if (start == text_.size()) {
    current_ = {Token::Kind::End, {}};
  } else if (text_[start] == '"' || text_[start] == '\'') {
    current_ = string(start);
  } else if (name_end > start) {
    current_ = {Token::Kind::Name, text_.substr(start, name_end - start)};
  } else {
    current_ = symbol(start);
  }
  at_ = start + current_.text.size();
}

Token ItemFilterTokens::string(std::size_t start) const {
  const std::size_t end = text_.find(text_[start], start + 1);
  if (end == std::string_view::npos) {
    throwUnexpected(text_, "the end of the string that starts with " + quoted(text_.substr(start)),
                    {});
  }
  const std::string_view whole = text_.substr(start, end + 1 - start);
  const std::size_t foreign = findNonXml(whole, 1);
  if (foreign != std::string_view::npos) {
    throwUnexpected(text_, "a character that XML has",
                    whole.substr(foreign, characterSize(whole.substr(foreign))));
  }
  return {Token::Kind::String, whole};
}

Token ItemFilterTokens::symbol(std::size_t start) const {
  // Those that ItemFilter lacks are here for its error messages: "found !=" helps more than "!".
  for (const std::string_view two : {"//", "!=", "<=", ">=", "::", ".."}) {
    if (text_.substr(start, 2) == two) {
      return {Token::Kind::Symbol, text_.substr(start, 2)};
    }
  }
  return {Token::Kind::Symbol, text_.substr(start, characterSize(text_.substr(start)))};
}

}  // namespace filter
