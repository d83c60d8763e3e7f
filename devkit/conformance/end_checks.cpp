// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "checks.h"
#include "probe.h"
#include "publisher.h"

namespace {

constexpr unsigned kPending = 20;

/// Makes a new main context the thread's default.
class ContextScope {
 public:
  ContextScope() : context_(g_main_context_new()) { g_main_context_push_thread_default(context_); }
  ~ContextScope() {
    g_main_context_pop_thread_default(context_);
    g_main_context_unref(context_);
  }
  ContextScope(const ContextScope&) = delete;
  ContextScope& operator=(const ContextScope&) = delete;

 private:
  GMainContext* context_;
};

/// Publishes and turns the context until the probe has seen the last of the marks.
bool deliver(const Options& options, Probe& probe, unsigned count) {
  const std::vector<std::string> marks = newMarks(count);
  const std::vector<std::string> last = {marks.back()};
  return publish(options, marks) && turnUntil(options.deadlineSeconds, [&] {
           return !probe.texts().empty() && markIn(probe.texts().back(), last) == 0;
         });
}

/// Makes sure that the event system is connected.
bool connect(const Options& options, Probe& probe) {
  for (unsigned tries = 0; tries < options.deadlineSeconds; ++tries) {
    if (publish(options, newMarks(1)) && turnUntil(1, [&probe] { return probe.count() > 0; })) {
      return true;
    }
  }
  return false;
}

void checkUnsubscribe(const Options& options, EventConsumer* consumer,
                      const SubscribeExpression* expression, Report& report) {
  Probe witness(consumer, expression);
  Probe ended(consumer, expression);
  if (!connect(options, witness)) {
    report.check(false, "an event on the topic arrives");
    return;
  }
  const std::vector<std::string> marks = newMarks(kPending);
  publish(options, marks);
  // The witness is first in line, so some are under way to the other when it is ended.
  turnUntil(options.deadlineSeconds, [&] { return markIn(witness.texts().back(), marks) >= 0; });
  report.check(ended.unsubscribe(), "a subscription with events on their way can be ended");
  const std::size_t before = ended.count();
  const bool witnessed = deliver(options, witness, 1);
  report.check(witnessed && ended.count() == before,
               "no callback once a subscription has ended, whatever was on its way",
               std::to_string(ended.count() - before) + " came");

  Probe inCallback(consumer, expression);
  const bool stands = connect(options, inCallback);
  const std::size_t first = inCallback.count();
  inCallback.unsubscribeInCallback();
  publish(options, newMarks(kPending));
  turnUntil(options.deadlineSeconds, [&] { return inCallback.count() > first; });
  const bool over = deliver(options, witness, 1);
  report.check(stands && over && inCallback.count() == first + 1,
               "a callback may end its own subscription, and is the last",
               std::to_string(inCallback.count() - first) + " came");
}

}  // namespace

void checkEnds(const Options& options, Report& report) {
  // Nobody turns the default context meanwhile: what comes, comes in this one.
  const ContextScope context;
  ConsumerPtr consumer(event_consumer_new("conformance"));
  common::GErrorPtr error;
  const ExpressionPtr expression = topicExpression(options.topic, error);
  if (expression == nullptr) {
    return;
  }
  checkUnsubscribe(options, consumer.get(), expression.get(), report);

  Probe last(consumer.get(), expression.get());
  const bool connected = deliver(options, last, 1);
  report.check(connected,
               "events come in the main context that was the thread default when the "
               "consumer was created");
  std::size_t before = last.count();
  publish(options, newMarks(kPending));
  const bool arriving = turnUntil(options.deadlineSeconds, [&] { return last.count() > before; });
  before = last.count();
  consumer.reset();
  last.abandon();
  turnWhileReady();
  report.check(connected && arriving && last.count() == before,
               "no callback once the consumer has been freed, whatever was on its way");
  const common::MallocCharPtr text(
      last.events().empty() ? nullptr : event_get_json(last.events().back().get(), nullptr));
  report.check(text != nullptr && last.texts().back() == text.get(),
               "an event outlives its consumer, and reads as before");
}
