// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <cstdint>
#include <string>

#include "tests/doubles/recording_platform.h"
#include "tests/fuzz/fuzz_check.h"
#include "tests/fuzz/service_calls.h"
#include "tests/fuzz/session_model.h"

namespace {

using doubles::RecordingPlatform;

/// The bytes of an input as numbers; 0 for what is not there.
class Numbers {
 public:
  Numbers(const std::uint8_t* data, std::size_t size) : next_(data), end_(data + size) {}
  bool more() const { return next_ != end_; }
  unsigned next(unsigned below) { return more() ? *next_++ % below : 0; }

 private:
  const std::uint8_t* next_;
  const std::uint8_t* end_;
};

/// A service and its model, both told the same.
class Both {
 public:
  void step(Numbers& numbers);
  void end();

 private:
  void request(Numbers& numbers);
  void event(Numbers& numbers);
  void turn();
  void compare();

  fuzz::ServiceCalls service_;
  fuzz::SessionModel model_;
  unsigned count_ = 0;
};

std::string session(Numbers& numbers) {
  return "s" + std::to_string(numbers.next(36));
}

void Both::step(Numbers& numbers) {
  ++count_;
  switch (numbers.next(6)) {
    case 0: {
      const std::string id = session(numbers);
      service_.create(id);
      model_.create(id);
      break;
    }
    case 1: {
      const std::string id = session(numbers);
      service_.remove(id);
      model_.remove(id);
      break;
    }
    case 2:
      request(numbers);
      break;
    case 3:
    case 4:
      event(numbers);
      break;
    default:
      turn();
  }
  compare();
}

/// Most requests are good, so that the rest of the input has something to work on. One that the
/// event system is to refuse has its turn at once: the double counts calls, not requests.
void Both::request(Numbers& numbers) {
  static const fuzz::Request kKinds[] = {
      {"", "", "2.0"},
      {"", "", "1.7", "other"},
      {"", "", "1", "events", "subscribe"},
      {"", "", "1.0", "events", "configure", 0, "eventFilterList is empty"}};
  const unsigned kind = numbers.next(8);
  fuzz::Request request = kind < std::size(kKinds) ? kKinds[kind] : fuzz::Request{};
  request.session = session(numbers);
  request.id = "r" + std::to_string(count_);
  request.filters = request.refusal.empty() ? 1 + numbers.next(8) : 0;
  const bool fails = kind >= 6 && model_.has(request.session);
  if (fails) {
    turn();
    compare();
    std::size_t& bad = kind == 6 ? request.badFilter : request.badSubscription;
    bad = 1 + numbers.next(static_cast<unsigned>(request.filters));
    RecordingPlatform::instance().fail(
        kind == 6 ? "wse_filter_to_subscription" : "event_consumer_subscribe",
        static_cast<unsigned>(bad));
  }
  std::string elements;
  for (std::size_t made = 0; made < request.filters; ++made) {
    elements += elements.empty() ? R"({"topicFilter":"T"})" : R"(,{"contentFilter":"C"})";
  }
  service_.request(request, R"({"eventFilterList":[)" + elements + "]}");
  model_.request(request);
  if (fails) {
    turn();
  }
}

void Both::event(Numbers& numbers) {
  const auto live = RecordingPlatform::instance().subscriptions();
  const unsigned which = numbers.next(256);
  const bool internal = numbers.next(8) == 0;
  const std::string json = R"({"n":)" + std::to_string(count_) + "}";
  if (!live.empty()) {
    const auto at = std::next(live.begin(), static_cast<std::ptrdiff_t>(which % live.size()));
    RecordingPlatform::instance().deliver(at->first, {json, internal, false});
  }
  model_.event(which, json, internal);
}

void Both::turn() {
  g_main_context_iteration(nullptr, FALSE);
  model_.turn();
}

void Both::compare() {
  FUZZ_CHECK(fuzz::said() == model_.said);
  FUZZ_CHECK(EventConsumerHandler::sessions.size() == model_.sessions().size());
  const auto out = RecordingPlatform::instance().outstanding();
  FUZZ_CHECK(out.consumers == 1 && out.subscriptions == model_.subscriptions().size());
  FUZZ_CHECK(out.filters == 0 && out.expressions == 0 && out.events == 0);
  fuzz::said().clear();
  model_.said.clear();
  RecordingPlatform::instance().clearRecord();
}

/// Closes what is open, and lets what is queued for it run into the void.
void Both::end() {
  while (!model_.sessions().empty()) {
    const std::string id = model_.sessions().begin()->first;
    service_.remove(id);
    model_.remove(id);
  }
  turn();
  compare();
}

/// Not a lambda: the sanitizer takes the service's own log level for a wrong value of GLib's type.
void ignoreLine(const char* /*domain*/, GLogLevelFlags /*level*/, const char* /*text*/,
                void* /*data*/) {}

}  // namespace

/// Whatever callers and the event system do, in whatever order: the service answers and sends what
/// the model says, and holds what the model holds.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  g_log_set_default_handler(ignoreLine, nullptr);
  RecordingPlatform::instance().reset();
  Numbers numbers(data, size);
  {
    Both both;
    while (numbers.more()) {
      both.step(numbers);
    }
    both.end();
  }
  const auto left = RecordingPlatform::instance().outstanding();
  FUZZ_CHECK(left.consumers == 0 && left.subscriptions == 0 && left.events == 0);
  fuzz::said().clear();
  return 0;
}
