// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <libxml/xpath.h>

#include <string>
#include <vector>

#include "common/ptr.h"
#include "filter_random.h"

namespace test {

/// The XML form of a message, with each item twice: with the ONVIF schema's namespace and with
/// none, so that the XPath of a filter finds it with and without the prefix.
class XmlEvent {
 public:
  explicit XmlEvent(const std::vector<PlainItem>& items);

  xmlXPathContext* context() const { return context_.get(); }

 private:
  common::Ptr<xmlDoc, xmlFreeDoc> document_;
  common::Ptr<xmlXPathContext, xmlXPathFreeContext> context_;
};

/// A compiled XPath 1.0 expression.
class XPathOracle {
 public:
  explicit XPathOracle(const std::string& text);

  bool valid() const { return expression_ != nullptr; }
  bool matches(const XmlEvent& event) const;

 private:
  common::Ptr<xmlXPathCompExpr, xmlXPathFreeCompExpr> expression_;
};

/// Whether `text` (ASCII and letters only) is in the ItemFilter dialect, found in quite another
/// way: tokens by regular expressions, then rewriting until nothing changes.
bool isItemFilter(const std::string& text);

/// Likewise for ConcreteSet with the prefixes tns1 and tnsovra: one regular expression.
bool isConcreteSet(const std::string& text);

/// Whether a valid topic expression matches, by comparing texts.
bool naiveTopicMatch(const std::string& expression, const std::string& local);

}  // namespace test
