// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <event2.h>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/host/event/hand_over.h"
#include "tests/platform/broker.h"
#include "tests/platform/event_support.h"
#include "tests/platform/mute_name_server.h"
#include "tests/platform/unix_socket.h"

namespace {

constexpr const char* kTopic = "Camera1/onvif-ej/Device/Trigger";

/// Counts what it set going and has not seen come back.
struct Asynchronous {
  int flying = 0;
  int most = 0;
  int done = 0;
};

/// What another thread completes, with a time-out as long as it flies: as a call on a bus.
class Flight {
 public:
  explicit Flight(Asynchronous& work) : work_(work), timeOut_(g_timeout_source_new_seconds(3600)) {
    work_.most = std::max(work_.most, ++work_.flying);
    g_source_set_dummy_callback(timeOut_.get());
    g_source_attach(timeOut_.get(), nullptr);
  }
  ~Flight() {
    g_source_destroy(timeOut_.get());
    --work_.flying;
    ++work_.done;
  }
  Flight(const Flight&) = delete;
  Flight& operator=(const Flight&) = delete;

  /// Goes when it has come back.
  static void start(Asynchronous& work) {
    const common::GObjectPtr<GTask> task(
        g_task_new(nullptr, nullptr, onDone, std::make_unique<Flight>(work).release()));
    g_task_run_in_thread(task.get(), [](GTask* self, void*, void*, GCancellable*) {
      g_task_return_boolean(self, TRUE);
    });
  }

 private:
  static void onDone(GObject* /*source*/, GAsyncResult* /*result*/, void* self) {
    const std::unique_ptr<Flight> done(static_cast<Flight*>(self));
  }

  Asynchronous& work_;
  common::Ptr<GSource, g_source_unref> timeOut_;
};

class EventOverload : public support::EventTest {
 protected:
  void SetUp() override {
    broker_.start();
    consumer_ = support::consumerOf(broker_.address());
    ASSERT_TRUE(waitForLog("Connected"));
  }
  /// More than the hand-over holds, while the consumer's context does not turn.
  void flood() {
    support::Publisher publisher(broker_.socketPath());
    for (std::size_t number = 0; number < kFlood; ++number) {
      publisher.send(kTopic, std::to_string(number).insert(0, R"({"n":)") + "}");
    }
    const auto deadline = std::chrono::steady_clock::now() + support::kDeadline;
    while (publisher.pending() > 0 && std::chrono::steady_clock::now() < deadline) {
      std::this_thread::yield();
    }
    ASSERT_EQ(publisher.pending(), 0U);
  }
  /// Waits for it with one timer: turns of the context for more would look like results.
  static bool turnUntil(const std::function<bool()>& predicate) {
    bool late = false;
    const guint timer = g_timeout_add(
        static_cast<guint>(support::kDeadline.count()),
        [](void* flag) -> gboolean {
          *static_cast<bool*>(flag) = true;
          return G_SOURCE_CONTINUE;
        },
        &late);
    while (!predicate() && !late) {
      g_main_context_iteration(nullptr, TRUE);
    }
    g_source_remove(timer);
    return predicate();
  }

  static constexpr std::size_t kFlood = event::HandOver::kMaxMessages + 5000;
  support::Broker broker_;
  /// Outlives what still comes back when a test has failed.
  Asynchronous work_;
  support::ConsumerPtr consumer_;
};

TEST_F(EventOverload, EverythingThatTheBrokerHeldBackArrivesInOrder) {
  const support::Subscriber all(consumer_.get());
  flood();
  ASSERT_TRUE(all.waitForEvents(kFlood));
  const std::vector<std::string> got = all.summary();
  for (std::size_t number = 0; number < kFlood; ++number) {
    ASSERT_EQ(got[number], R"({"n":)" + std::to_string(number) + "}");
  }
}

TEST_F(EventOverload, FreeingAConsumerWhoseHandOverIsFullDoesNotHang) {
  const SubscribeExpression everything{std::make_shared<const model::EventMatcher>()};
  event_consumer_subscribe(
      consumer_.get(), &everything, [](Event*, void*) { FAIL() << "called after the end"; },
      nullptr);
  flood();
  consumer_.reset();
  TearDown();
}

TEST_F(EventOverload, ATurnOfTheContextMakesFewCallsAndLetsOthersGoFirst) {
  constexpr int kMost = 16;
  struct Count {
    int calls = 0;
    int idle = 0;
  } count;
  std::vector<std::unique_ptr<support::Subscriber>> subscribers;
  for (int number = 0; number < 32; ++number) {
    subscribers.push_back(std::make_unique<support::Subscriber>(consumer_.get()));
    subscribers.back()->onEvent([&count] {
      ++count.calls;
      ++count.idle;
      g_idle_add(
          [](void* data) {
            --static_cast<Count*>(data)->idle;
            return G_SOURCE_REMOVE;
          },
          &count);
    });
  }
  flood();
  for (int turn = 0; turn < 1000; ++turn) {
    const int before = count.calls;
    g_main_context_iteration(nullptr, TRUE);
    const int made = count.calls - before;
    EXPECT_LE(made, kMost);
    EXPECT_TRUE(made == 0 || count.idle == made) << "what was left to be done comes first ";
  }
  EXPECT_GT(count.calls, kMost);
  subscribers.clear();
  TearDown();
}

TEST_F(EventOverload, WhatCallbacksSetGoingStaysFew) {
  // As the service does: an idle callback for each event, which starts something that another
  // thread completes.
  const SubscribeExpression everything{std::make_shared<const model::EventMatcher>()};
  const auto callback = [](Event* event, void* data) {
    event_free(event);
    g_idle_add(
        [](void* started) {
          Flight::start(*static_cast<Asynchronous*>(started));
          return G_SOURCE_REMOVE;
        },
        data);
  };
  const unsigned int id = event_consumer_subscribe(consumer_.get(), &everything, callback, &work_);
  flood();
  EXPECT_TRUE(turnUntil([this] { return work_.done == static_cast<int>(kFlood); }));
  EXPECT_LE(work_.most, 512);
  event_consumer_unsubscribe(consumer_.get(), id, nullptr);
}

/// Ends that must not hang, whatever the broker does: the test's own time limit is the judge.
class EventEnd : public support::EventTest {
 protected:
  support::Broker broker_;
};

TEST_F(EventEnd, WhileTheBrokerIsAbsent) {
  event::Timing slow = support::quickTiming();
  slow.firstBackOff = std::chrono::hours(1);
  slow.longestBackOff = slow.firstBackOff;
  support::ConsumerPtr consumer = support::consumerOf(broker_.address(), slow);
  ASSERT_TRUE(waitForLog("No connection"));
  consumer.reset();
}

TEST_F(EventEnd, WhileTheBrokerSaysNothing) {
  event::Timing patient = support::quickTiming();
  patient.connectTimeout = std::chrono::hours(1);
  broker_.start();
  broker_.freeze();
  support::consumerOf(broker_.address(), patient).reset();
  broker_.thaw();
}

TEST_F(EventEnd, WhileTheConnectionIsDead) {
  broker_.start();
  support::ConsumerPtr consumer = support::consumerOf(broker_.address());
  ASSERT_TRUE(waitForLog("Connected"));
  broker_.freeze();
  consumer.reset();
  broker_.thaw();
}

TEST_F(EventEnd, WhileAConnectionAttemptGoesUnanswered) {
  // A queue of connections that is full: further ones get no answer, not even a refusal.
  const support::Descriptor listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  ASSERT_EQ(bind(listener.get(), reinterpret_cast<sockaddr*>(&address), size), 0);
  ASSERT_EQ(getsockname(listener.get(), reinterpret_cast<sockaddr*>(&address), &size), 0);
  ASSERT_EQ(listen(listener.get(), 0), 0);
  std::vector<support::Descriptor> queued;
  for (int number = 0; number < 4; ++number) {
    queued.emplace_back(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    connect(queued.back().get(), reinterpret_cast<sockaddr*>(&address), size);
  }
  event::Timing impatient = support::quickTiming();
  impatient.connectTimeout = std::chrono::milliseconds(500);
  support::ConsumerPtr consumer =
      support::consumerOf("127.0.0.1:" + std::to_string(ntohs(address.sin_port)), impatient);
  ASSERT_TRUE(waitForLog("no answer")) << "given up long before the kernel would";
  consumer.reset();
}

TEST_F(EventEnd, WhileAHostNameIsLookedUp) {
  const support::MuteNameServer names;
  support::ConsumerPtr consumer = support::consumerOf("nobody.invalid");
  ASSERT_TRUE(names.waitUntilAsked());
  consumer.reset();
  EXPECT_TRUE(names.asked()) << "the end waited for the answer";
}

}  // namespace
