// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/filter/concrete_set.h"

#include "platform/host/filter/syntax_error.h"
#include "platform/host/filter/xml_text.h"

namespace filter {
namespace {

/// Goes through the text from left to right; each method takes what it is named after.
class ConcreteSetParser {
 public:
  ConcreteSetParser(std::string_view text, const TopicPrefixes& prefixes)
      : text_(text), prefixes_(prefixes) {}

  std::vector<model::TopicPattern> expression() {
    std::vector<model::TopicPattern> alternatives;
    do {
      at_ = skipXmlSpace(text_, at_);
      if (alternatives.size() == kMaxAlternatives) {
        throw SyntaxError{at_, "expected at most " + std::to_string(kMaxAlternatives) +
                                   " alternatives, found one more"};
      }
      alternatives.push_back(path());
      at_ = skipXmlSpace(text_, at_);
    } while (take("|"));
    if (at_ < text_.size()) {
      const bool subtree = alternatives.back().subtree || isXmlSpace(text_[at_ - 1]);
      unexpected(subtree ? "\"|\" or the end" : "\"/\", \"//.\", \"|\" or the end");
    }
    return alternatives;
  }

 private:
  model::TopicPattern path() {
    model::TopicPattern pattern;
    name(pattern.topic);
    while (take("/")) {
      if (take("/")) {
        if (!take(".")) {
          unexpected("\".\" after \"//\"");
        }
        pattern.subtree = true;
        break;
      }
      name(pattern.topic);
    }
    return pattern;
  }

  void name(model::Topic& topic) {
    const std::size_t end = qNameEnd(text_, at_);
    if (end == at_) {
      unexpected("a name");
    }
    const std::string_view written = text_.substr(at_, end - at_);
    const std::string_view prefix = model::prefixOf(written);
    if (prefix.empty()) {
      model::appendSegment(topic, written);
    } else {
      std::string segment(canonicalPrefix(prefix));
      model::appendSegment(topic, segment.append(written.substr(prefix.size())));
    }
    at_ = end;
  }

  /// The prefix under which the namespace stands in topics.
  std::string_view canonicalPrefix(std::string_view prefix) const {
    if (prefix == prefixes_.onvif) {
      return model::kOnvifPrefix;
    }
    if (prefix != prefixes_.vendor) {
      throwUnexpected(text_,
                      "the prefix " + quoted(prefixes_.onvif) + " or " + quoted(prefixes_.vendor),
                      prefix);
    }
    return model::kVendorPrefix;
  }

  bool take(std::string_view token) {
    const bool there = text_.substr(at_, token.size()) == token;
    at_ += there ? token.size() : 0;
    return there;
  }

  [[noreturn]] void unexpected(const std::string& expected) const {
    const std::string_view rest = text_.substr(at_);
    throwUnexpected(text_, expected, rest.empty() ? rest : rest.substr(0, characterSize(rest)));
  }

  std::string_view text_;
  const TopicPrefixes& prefixes_;
  std::size_t at_ = 0;
};

}  // namespace

std::vector<model::TopicPattern> parseConcreteSet(std::string_view text,
                                                  const TopicPrefixes& prefixes) {
  checkText(text);
  return ConcreteSetParser(text, prefixes).expression();
}

}  // namespace filter
