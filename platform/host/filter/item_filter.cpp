// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/filter/item_filter.h"

#include <string>
#include <utility>

#include "platform/host/filter/item_filter_tokens.h"
#include "platform/host/filter/syntax_error.h"

namespace filter {
namespace {

using model::AttributeTest;
using model::DecisionGraph;
using model::ItemTest;

/// Recursive descent, one method a rule. Outside and inside of square brackets the rules for
/// and, or, not and brackets are the same; only what they connect differs.
class ItemFilterParser {
 public:
  explicit ItemFilterParser(std::string_view text) : text_(text), tokens_(text) {}

  model::ContentExpression expression() {
    model::ContentExpression expression;
    expression.tests.finish(alternatives(expression.tests));
    if (tokens_.current().kind != Token::Kind::End) {
      unexpected("\"and\", \"or\" or the end");
    }
    return expression;
  }

 private:
  template <typename Test>
  using Part = typename DecisionGraph<Test>::Part;

  template <typename Test>
  Part<Test> alternatives(DecisionGraph<Test>& graph) {
    Part<Test> part = conditions(graph);
    while (takeName("or")) {
      part = graph.either(std::move(part), conditions(graph));
    }
    return part;
  }

  template <typename Test>
  Part<Test> conditions(DecisionGraph<Test>& graph) {
    Part<Test> part = operand(graph);
    while (takeName("and")) {
      part = graph.both(std::move(part), operand(graph));
    }
    return part;
  }

  Part<ItemTest> operand(DecisionGraph<ItemTest>& graph) {
    if (tokens_.current().text == "(") {
      return group(graph);
    }
    if (takeName("not")) {
      negated_ = !negated_;
      Part<ItemTest> part = graph.opposite(group(graph));
      negated_ = !negated_;
      return part;
    }
    ItemTest test;
    test.begin = tokens_.offset();
    test.negated = negated_;
    if (!takeName("boolean")) {
      unexpected("\"boolean\", \"not\" or \"(\"");
    }
    open("(");
    path(test);
    test.end = tokens_.offset() + 1;
    close(")", "\")\"");
    return graph.test(std::move(test));
  }

  Part<AttributeTest> operand(DecisionGraph<AttributeTest>& graph) {
    if (tokens_.current().text == "(") {
      return group(graph);
    }
    if (takeName("not")) {
      return graph.opposite(group(graph));
    }
    take("@", "\"@\", \"not\" or \"(\"");
    AttributeTest test;
    test.attribute = AttributeTest::Attribute::Name;
    if (!takeName("Name")) {
      test.attribute = AttributeTest::Attribute::Value;
      take("Value", "\"Name\" or \"Value\"");
    }
    take("=", "\"=\"");
    const Token string = tokens_.current();
    if (string.kind != Token::Kind::String) {
      unexpected("a string in quotes");
    }
    test.text = string.text.substr(1, string.text.size() - 2);
    tokens_.advance();
    return graph.test(std::move(test));
  }

  template <typename Test>
  Part<Test> group(DecisionGraph<Test>& graph) {
    open("(");
    Part<Test> part = alternatives(graph);
    close(")", "\"and\", \"or\" or \")\"");
    return part;
  }

  void path(ItemTest& test) {
    take("//", "\"//\"");
    const Token item = tokens_.current();
    const std::size_t colon = item.text.find(':');
    const bool prefixed = colon != std::string_view::npos;
    const std::string_view name = prefixed ? item.text.substr(colon + 1) : item.text;
    if (item.kind != Token::Kind::Name || (name != "SimpleItem" && name != "ElementItem")) {
      unexpected("\"SimpleItem\" or \"ElementItem\"");
    }
    if (prefixed && item.text.substr(0, colon) != kItemPrefix) {
      throwUnexpected(text_, "no prefix or " + quoted(kItemPrefix), item.text.substr(0, colon));
    }
    test.element = name == "ElementItem";
    tokens_.advance();
    open("[");
    test.bracket.finish(alternatives(test.bracket));
    close("]", "\"and\", \"or\" or \"]\"");
  }

  void open(std::string_view bracket) {
    if (tokens_.current().text == bracket && ++open_ > kMaxOpenBrackets) {
      throw SyntaxError{tokens_.offset(), "expected at most " + std::to_string(kMaxOpenBrackets) +
                                              " brackets open at once, found one more"};
    }
    take(bracket, quoted(bracket));
  }

  void close(std::string_view bracket, const char* expected) {
    take(bracket, expected);
    --open_;
  }

  /// No symbol and no string reads like a name, so that the text alone tells them apart.
  bool takeName(std::string_view name) {
    const bool there = tokens_.current().text == name;
    if (there) {
      tokens_.advance();
    }
    return there;
  }

  void take(std::string_view token, const std::string& expected) {
    if (!takeName(token)) {
      unexpected(expected);
    }
  }

  [[noreturn]] void unexpected(const std::string& expected) const {
    throwUnexpected(text_, expected, tokens_.current().text);
  }

  std::string_view text_;
  ItemFilterTokens tokens_;
  std::size_t open_ = 0;
  bool negated_ = false;
};

}  // namespace

model::ContentExpression parseItemFilter(std::string_view text) {
  checkText(text);
  return ItemFilterParser(text).expression();
}

}  // namespace filter
