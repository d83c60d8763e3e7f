// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <memory>
#include <set>

#include "checks.h"
#include "probe.h"

namespace {

constexpr unsigned kManySubscriptions = 100;

void checkIds(EventConsumer* consumer, const SubscribeExpression* expression, Report& report) {
  std::set<unsigned> ids;
  bool everySubscriptionMade = true;
  bool everyEndFound = true;
  for (unsigned i = 0; i < kManySubscriptions; ++i) {
    Probe probe(consumer, expression);
    everySubscriptionMade = everySubscriptionMade && probe.id() > 0;
    ids.insert(probe.id());
    everyEndFound = everyEndFound && probe.unsubscribe();
  }
  report.check(everySubscriptionMade, "a subscription has an id above 0");
  report.check(everyEndFound, "a subscription that is there can be ended");
  report.check(ids.size() == kManySubscriptions, "ids are not used again in a run",
               std::to_string(kManySubscriptions) + " subscriptions, one after the other, had " +
                   std::to_string(ids.size()) + " ids");

  std::set<unsigned> together;
  std::vector<std::unique_ptr<Probe>> probes;
  for (unsigned i = 0; i < kManySubscriptions; ++i) {
    probes.push_back(std::make_unique<Probe>(consumer, expression));
    together.insert(probes.back()->id());
  }
  report.check(together.size() == kManySubscriptions && together.count(0) == 0,
               "many subscriptions at a time have an id each");
}

void checkRefusal(EventConsumer* consumer, unsigned id, Report& report, const std::string& what) {
  common::GErrorPtr error;
  const bool ended = event_consumer_unsubscribe(consumer, id, common::GErrorOut(error)) != FALSE;
  report.check(!ended && error != nullptr, "ending " + what + " is refused with an error");
  report.check(!event_consumer_unsubscribe(consumer, id, nullptr),
               "ending " + what + " is refused without a place for the error");
}

}  // namespace

void checkSubscriptions(const Options& options, Report& report) {
  const ConsumerPtr consumer(event_consumer_new("conformance"));
  common::GErrorPtr error;
  const ExpressionPtr expression = topicExpression(options.topic, error);
  report.check(expression != nullptr, "the topic of --topic is taken",
               error != nullptr ? error->message : "");
  if (expression == nullptr) {
    return;
  }
  checkIds(consumer.get(), expression.get(), report);
  checkRefusal(consumer.get(), G_MAXUINT, report, "a subscription that never was");
  Probe probe(consumer.get(), expression.get());
  const unsigned id = probe.id();
  probe.unsubscribe();
  checkRefusal(consumer.get(), id, report, "a subscription that has ended");
}
