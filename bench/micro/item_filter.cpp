// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

// Content expressions decided on messages that have been read, against libxml2's compiled XPath on
// the same messages as documents that have been read.

#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include <cstdlib>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "common/ptr.h"
#include "platform/host/filter/item_filter.h"
#include "platform/host/model/message_reader.h"

namespace {

constexpr const char* kExpressions[] = {
    R"x(boolean(//tt:SimpleItem[@Name="Rule" and @Value="Fence1"]))x",
    R"x(boolean(//tt:SimpleItem[@Name="ObjectId" and (@Value="15" or @Value="16")]) and )x"
    R"x(not(boolean(//tt:SimpleItem[@Name="IsInside" and @Value="true"])))x",
    R"x(boolean(//tt:ElementItem[@Name="Shape"]) or boolean(//tt:SimpleItem[@Value="absent"]))x",
};

/// One message, in both forms.
struct Pair {
  const char* json;
  const char* xmlSource;
  const char* xmlData;
};

constexpr Pair kEvents[] = {
    {R"({"UtcTime":"2026-01-01T00:00:00Z",)"
     R"("Source":{"VideoSource":"1","AnalyticsConfiguration":"2","Rule":"Fence1"},)"
     R"("Data":{"ObjectId":15}})",
     R"(<tt:SimpleItem Name="VideoSource" Value="1"/>)"
     R"(<tt:SimpleItem Name="AnalyticsConfiguration" Value="2"/>)"
     R"(<tt:SimpleItem Name="Rule" Value="Fence1"/>)",
     R"(<tt:SimpleItem Name="ObjectId" Value="15"/>)"},
    {R"({"UtcTime":"2026-01-01T00:00:00Z","Source":{"VideoSource":"1","Rule":"Fence2"},)"
     R"("Data":{"ObjectId":"16","IsInside":true}})",
     R"(<tt:SimpleItem Name="VideoSource" Value="1"/>)"
     R"(<tt:SimpleItem Name="Rule" Value="Fence2"/>)",
     R"(<tt:SimpleItem Name="ObjectId" Value="16"/>)"
     R"(<tt:SimpleItem Name="IsInside" Value="true"/>)"},
    {R"({"UtcTime":"2026-01-01T00:00:00Z","Source":{"InputToken":"3"},)"
     R"("Data":{"LogicalState":false,"Shape":{"Points":[1,2,3]}}})",
     R"(<tt:SimpleItem Name="InputToken" Value="3"/>)",
     R"(<tt:SimpleItem Name="LogicalState" Value="false"/>)"
     R"(<tt:ElementItem Name="Shape"><Points/></tt:ElementItem>)"},
};

std::string document(const Pair& event) {
  return std::string(R"(<tt:Message xmlns:tt="http://www.onvif.org/ver10/schema")") +
         R"( UtcTime="2026-01-01T00:00:00Z"><tt:Source>)" + event.xmlSource +
         "</tt:Source><tt:Data>" + event.xmlData + "</tt:Data></tt:Message>";
}

const xmlChar* xmlText(const char* text) {
  return reinterpret_cast<const xmlChar*>(text);
}

constexpr auto kDecisions = static_cast<std::int64_t>(std::size(kExpressions) * std::size(kEvents));

using Document = common::Ptr<xmlDoc, xmlFreeDoc>;
using Context = common::Ptr<xmlXPathContext, xmlXPathFreeContext>;
using Compiled = common::Ptr<xmlXPathCompExpr, xmlXPathFreeCompExpr>;

class Ours {
 public:
  Ours() {
    model::MessageReader reader;
    for (const Pair& event : kEvents) {
      std::string error;
      messages_.push_back(reader.read(event.json, error));
    }
    for (const char* text : kExpressions) {
      expressions_.push_back(filter::parseItemFilter(text));
    }
  }

  unsigned int decide() const {
    unsigned int bits = 0;
    for (const auto& message : messages_) {
      for (const model::ContentExpression& expression : expressions_) {
        bits = bits * 2 + expression.matches(*message);
      }
    }
    return bits;
  }

 private:
  std::vector<std::shared_ptr<const model::Message>> messages_;
  std::vector<model::ContentExpression> expressions_;
};

class Libxml2 {
 public:
  Libxml2() {
    for (const Pair& event : kEvents) {
      documents_.emplace_back(
          xmlReadDoc(xmlText(document(event).c_str()), nullptr, nullptr, XML_PARSE_NONET));
      contexts_.emplace_back(xmlXPathNewContext(documents_.back().get()));
      xmlXPathRegisterNs(contexts_.back().get(), xmlText("tt"),
                         xmlText("http://www.onvif.org/ver10/schema"));
    }
    for (const char* text : kExpressions) {
      expressions_.emplace_back(xmlXPathCompile(xmlText(text)));
    }
  }

  unsigned int decide() const {
    unsigned int bits = 0;
    for (const Context& context : contexts_) {
      for (const Compiled& expression : expressions_) {
        const int decision = xmlXPathCompiledEvalToBoolean(expression.get(), context.get());
        bits = bits * 2 + static_cast<unsigned int>(decision);
      }
    }
    return bits;
  }

 private:
  std::vector<Document> documents_;
  std::vector<Context> contexts_;
  std::vector<Compiled> expressions_;
};

template <typename Engine>
void decideAll(benchmark::State& state) {
  const Engine engine;
  if (engine.decide() != Ours().decide() || engine.decide() != Libxml2().decide()) {
    state.SkipWithError("the two engines do not agree");
  }
  while (state.KeepRunning()) {
    benchmark::DoNotOptimize(engine.decide());
  }
  state.SetItemsProcessed(state.iterations() * kDecisions);
}

void itemFilter(benchmark::State& state) {
  decideAll<Ours>(state);
}

void itemFilterLibxml2(benchmark::State& state) {
  decideAll<Libxml2>(state);
}

BENCHMARK(itemFilter);
BENCHMARK(itemFilterLibxml2);

}  // namespace
