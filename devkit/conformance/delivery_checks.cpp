// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <jansson.h>

#include <algorithm>

#include "checks.h"
#include "probe.h"
#include "publisher.h"

namespace {

bool isJson(const std::string& text) {
  using JsonPtr = common::Ptr<json_t, json_decref>;
  const JsonPtr value(json_loads(text.c_str(), JSON_DECODE_ANY | JSON_ALLOW_NUL, nullptr));
  return value != nullptr && g_utf8_validate(text.c_str(), -1, nullptr);
}

/// What came of a burst to one probe.
struct Burst {
  bool complete;
  bool inOrder;
  std::size_t mostInATurn;
};

/// Publishes while nobody turns the context, then turns it one iteration at a time.
Burst deliverBurst(const Options& options, Probe& probe) {
  const std::vector<std::string> marks = newMarks(options.burst);
  const std::size_t before = probe.count();
  Burst burst{false, true, 0};
  if (!publish(options, marks)) {
    return burst;
  }
  std::size_t seen = before;
  burst.complete = turnUntil(options.deadlineSeconds, [&] {
    burst.mostInATurn = std::max(burst.mostInATurn, probe.count() - seen);
    seen = probe.count();
    return seen - before >= marks.size();
  });
  int last = -1;
  for (std::size_t i = before; i < probe.count(); ++i) {
    const int mark = markIn(probe.texts()[i], marks);
    burst.inOrder = burst.inOrder && mark == last + 1;
    last = mark;
  }
  return burst;
}

/// Waits until the event system hands events over at all: it may still be connecting.
bool waitForFirstEvent(const Options& options, Probe& probe) {
  for (unsigned tries = 0; tries < options.deadlineSeconds; ++tries) {
    if (!publish(options, newMarks(1))) {
      return false;
    }
    if (turnUntil(1, [&probe] { return probe.count() > 0; })) {
      return true;
    }
  }
  return false;
}

/// What was published while the connection was being made may still be on its way to both.
void waitForTheRest(const Options& options, const Probe& probe, const Probe& twin) {
  const std::vector<std::string> barrier = newMarks(1);
  publish(options, barrier);
  turnUntil(options.deadlineSeconds, [&] {
    return markIn(probe.texts().back(), barrier) == 0 && !twin.texts().empty() &&
           markIn(twin.texts().back(), barrier) == 0;
  });
}

void checkEvents(Probe& probe, Report& report) {
  report.check(std::all_of(probe.texts().begin(), probe.texts().end(), isJson),
               "an event's text is one JSON value in valid UTF-8", probe.texts().front());
  bool internal = false;
  for (const EventPtr& event : probe.events()) {
    internal = internal || event_is_internal(event.get());
  }
  report.check(!internal, "an event for clients is not internal");
  report.check(!probe.calledWhileSubscribing, "no callback from within a subscription's start");
  report.check(!probe.calledOnOtherThread, "callbacks come on the consumer's own thread");
  report.check(!probe.calledAboveIdlePriority,
               "callbacks come at G_PRIORITY_DEFAULT_IDLE or lower");
}

void checkBurst(const Options& options, Probe& probe, const Probe& twin, Report& report) {
  const std::size_t twinBefore = twin.count();
  const Burst burst = deliverBurst(options, probe);
  report.check(burst.complete, "every event of a burst arrives");
  report.check(burst.inOrder, "one subscription sees events in their order, each once");
  report.check(burst.mostInATurn < options.burst,
               "a turn of the main loop hands over a bounded number of events",
               "all " + std::to_string(options.burst) + " came in one turn");
  report.remark("most events of one subscription in a turn: " + std::to_string(burst.mostInATurn));
  turnUntil(options.deadlineSeconds, [&] { return twin.count() - twinBefore >= options.burst; });
  report.check(twin.count() - twinBefore == options.burst,
               "a second subscription to the topic gets each event as well",
               std::to_string(twin.count() - twinBefore) + " came");
}

}  // namespace

void checkDelivery(const Options& options, Report& report) {
  const ConsumerPtr consumer(event_consumer_new("conformance"));
  common::GErrorPtr error;
  const ExpressionPtr expression = topicExpression(options.topic, error);
  if (expression == nullptr) {
    return;  // checkSubscriptions() has said so.
  }
  ExpressionPtr other = topicExpression(options.otherTopic, error);
  if (other == nullptr) {
    report.check(false, "the topic of --other-topic is taken",
                 error != nullptr ? error->message : "there is no error");
    return;
  }
  Probe probe(consumer.get(), expression.get());
  Probe twin(consumer.get(), expression.get());
  Probe elsewhere(consumer.get(), other.get());
  // A subscription keeps what it needs of its expression.
  other.reset();

  const bool connected = waitForFirstEvent(options, probe);
  report.check(connected, "an event on the topic arrives",
               "nothing came by the deadline: does --publish publish on --topic?");
  if (!connected) {
    return;
  }
  waitForTheRest(options, probe, twin);
  checkBurst(options, probe, twin, report);
  report.check(elsewhere.count() == 0, "a subscription to another topic gets none of them");
  checkEvents(probe, report);
}
