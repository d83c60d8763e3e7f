// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "filter_oracles.h"

#include <glib.h>
#include <libxml/tree.h>
#include <libxml/xpathInternals.h>

#include <sstream>
#include <stdexcept>

namespace test {
namespace {

const xmlChar* xml(const std::string& text) {
  return reinterpret_cast<const xmlChar*>(text.c_str());
}

const std::string kSchema = "http://www.onvif.org/ver10/schema";

// Bytes from 0x80 on are parts of letters: the random texts have no others.
const std::string kName = "[A-Za-z_\x80-\xFF][A-Za-z0-9_.\\-\x80-\xFF]*";

std::string without(const std::string& text, const std::string& what, const std::string& with) {
  std::string changed;
  std::size_t at = 0;
  for (std::size_t next = text.find(what); next != std::string::npos; next = text.find(what, at)) {
    changed += text.substr(at, next - at) + with;
    at = next + what.size();
  }
  return changed + text.substr(at);
}

using RegexPtr = common::Ptr<GRegex, g_regex_unref>;

/// Of bytes: what is no UTF-8 is looked at as well.
RegexPtr regex(const std::string& pattern) {
  return RegexPtr(g_regex_new(pattern.c_str(), G_REGEX_RAW, GRegexMatchFlags{}, nullptr));
}

/// The places at which `pattern` is found, one after the other.
std::vector<std::string> found(GRegex* pattern, const std::string& text) {
  GMatchInfo* info = nullptr;
  g_regex_match_full(pattern, text.data(), static_cast<gssize>(text.size()), 0, GRegexMatchFlags{},
                     &info, nullptr);
  const common::Ptr<GMatchInfo, g_match_info_free> guard(info);
  std::vector<std::string> all;
  for (; g_match_info_matches(info) != FALSE; g_match_info_next(info, nullptr)) {
    const common::GCharPtr match(g_match_info_fetch(info, 0));
    all.emplace_back(match.get());
  }
  return all;
}

/// One letter for each token; '?' for one that the dialect does not have.
std::string tokenLetters(const std::string& text) {
  static const RegexPtr token = regex("[ \t\r\n]+|//|[()\\[\\]@=]|\"[^\"]*\"|'[^']*'|" + kName +
                                      "(?::" + kName + ")?|[\\s\\S]");
  static const std::pair<const char*, char> kLetters[] = {
      {"//", '/'},   {"and", 'a'},   {"or", 'o'},          {"not", 'n'},
      {"Name", 'N'}, {"Value", 'N'}, {"boolean", 'b'},     {"SimpleItem", 'I'},
      {"(", '('},    {")", ')'},     {"ElementItem", 'I'}, {"tt:SimpleItem", 'I'},
      {"[", '['},    {"]", ']'},     {"@", '@'},           {"tt:ElementItem", 'I'},
      {"=", '='}};
  std::string letters;
  for (const std::string& part : found(token.get(), text)) {
    char letter = part.size() > 1 && (part[0] == '"' || part[0] == '\'') ? 's' : '?';
    for (const auto& [known, its_letter] : kLetters) {
      letter = part == known ? its_letter : letter;
    }
    if (part.find_first_not_of(" \t\r\n") != std::string::npos) {
      letters += letter;
    }
  }
  return letters;
}

/// A topic path in full: every segment with its namespace.
std::string fullPath(const std::string& path) {
  std::istringstream segments(path);
  std::string full;
  std::string root_prefix = "tns1";
  for (std::string segment; std::getline(segments, segment, '/');) {
    const std::size_t colon = segment.find(':');
    if (full.empty() && colon != std::string::npos) {
      root_prefix = segment.substr(0, colon);
    }
    full += "/" + (colon == std::string::npos ? root_prefix + ":" : "") + segment;
  }
  return full + "/";
}

}  // namespace

XmlEvent::XmlEvent(const std::vector<PlainItem>& items)
    : document_(xmlNewDoc(xml("1.0"))), context_(xmlXPathNewContext(document_.get())) {
  xmlNode* root = xmlNewDocNode(document_.get(), nullptr, xml("Message"), nullptr);
  xmlDocSetRootElement(document_.get(), root);
  xmlNs* schema = xmlNewNs(root, xml(kSchema), xml("tt"));
  for (xmlNs* space : {schema, static_cast<xmlNs*>(nullptr)}) {
    for (const PlainItem& item : items) {
      xmlNode* node =
          xmlNewChild(root, nullptr, xml(item.value ? "SimpleItem" : "ElementItem"), nullptr);
      xmlSetNs(node, space);
      xmlNewProp(node, xml("Name"), xml(item.name));
      if (item.value) {
        xmlNewProp(node, xml("Value"), xml(*item.value));
      }
    }
  }
  xmlXPathRegisterNs(context_.get(), xml("tt"), xml(kSchema));
}

XPathOracle::XPathOracle(const std::string& text) {
  xmlSetStructuredErrorFunc(nullptr, [](void*, xmlError*) {});
  expression_.reset(xmlXPathCompile(xml(text)));
}

bool XPathOracle::matches(const XmlEvent& event) const {
  const common::Ptr<xmlXPathObject, xmlXPathFreeObject> result(
      xmlXPathCompiledEval(expression_.get(), event.context()));
  if (!result || result->type != XPATH_BOOLEAN) {
    throw std::runtime_error("not decided by XPath");
  }
  return result->boolval != 0;
}

bool isItemFilter(const std::string& text) {
  // T is a test in square brackets, E an expression.
  static const std::pair<const char*, const char*> kRules[] = {
      {"@N=s", "T"}, {"n(T)", "T"}, {"n(E)", "E"}, {"(T)", "T"}, {"b(/I[T])", "E"},
      {"(E)", "E"},  {"TaT", "T"},  {"ToT", "T"},  {"EaE", "E"}, {"EoE", "E"}};
  std::string letters = tokenLetters(text);
  bool changed = true;
  while (changed) {
    changed = false;
    // From the first rule on after each change: "(T)" must not take the brackets of "n(T)".
    for (auto rule = std::begin(kRules); rule != std::end(kRules) && !changed; ++rule) {
      const std::string before = letters;
      letters = without(letters, rule->first, rule->second);
      changed = letters != before;
    }
  }
  return letters == "E";
}

bool isConcreteSet(const std::string& text) {
  const std::string name = "(?:(?:tns1|tnsovra):)?" + kName + "(?!:)";
  const std::string path = "[ \t\r\n]*" + name + "(?:/" + name + ")*(?://\\.)?[ \t\r\n]*";
  static const RegexPtr whole = regex("\\A" + path + "(?:\\|" + path + ")*\\z");
  return !found(whole.get(), text).empty();
}

bool naiveTopicMatch(const std::string& expression, const std::string& local) {
  const auto canonical = [](const std::string& path) { return fullPath(path); };
  std::string compact;
  for (const char byte : expression) {
    compact += std::string(" \t\r\n").find(byte) == std::string::npos ? std::string(1, byte) : "";
  }
  std::istringstream paths(compact);
  for (std::string path; std::getline(paths, path, '|');) {
    const bool subtree = path.size() > 3 && path.substr(path.size() - 3) == "//.";
    const std::string wanted = canonical(subtree ? path.substr(0, path.size() - 3) : path);
    const std::string topic = canonical(local);
    if (subtree ? topic.compare(0, wanted.size(), wanted) == 0 : topic == wanted) {
      return true;
    }
  }
  return false;
}

}  // namespace test
