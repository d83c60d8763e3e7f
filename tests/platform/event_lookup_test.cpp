// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <netdb.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <thread>

#include "tests/platform/broker.h"
#include "tests/platform/event_support.h"

namespace {

using ::testing::ElementsAre;
using ::testing::ExitedWithCode;

/// A name server that does not answer until told, for all threads but one.
class Resolver {
 public:
  /// Never goes: a thread that was left behind may still wait for it while the process ends.
  static Resolver& get() {
    static auto* const resolver = new Resolver();
    return *resolver;
  }
  void lookUp() {
    const std::thread::id self = std::this_thread::get_id();
    std::thread::id nobody;
    first_.compare_exchange_strong(nobody, self);
    if (servesFirst_ && first_ == self) {
      return;
    }
    ++waiting_;
    pollfd answered{answer_, POLLIN, 0};
    poll(&answered, 1, -1);
    --waiting_;
  }
  /// The first thread that asks from now on gets its answers.
  void serveTheFirstThread() {
    first_ = std::thread::id();
    servesFirst_ = true;
  }
  int waiting() const { return waiting_; }
  void answerAll() const {
    const std::uint64_t one = 1;
    EXPECT_EQ(write(answer_, &one, sizeof one), static_cast<ssize_t>(sizeof one));
  }
  void hang() {
    servesFirst_ = false;
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t got = read(answer_, &count, sizeof count);
  }

 private:
  int answer_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  std::atomic<int> waiting_{0};
  std::atomic<bool> servesFirst_{false};
  std::atomic<std::thread::id> first_{};
};

}  // namespace

/// Takes the place of the C library's for libmosquitto too.
extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char* name,
                                                                  const char* service,
                                                                  const addrinfo* hints,
                                                                  addrinfo** result) {
  Resolver::get().lookUp();
  static const auto real =
      reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
  return real(name, service, hints, result);
}

namespace {

constexpr const char* kAddress = "127.0.0.1:1";

/// What a process still holds at its end, where the leak sanitizer finds it.
EventConsumer* volatile held = nullptr;

class EventLookUp : public support::EventTest {
 protected:
  EventLookUp() { Resolver::get().hang(); }
  /// Threads that were left behind end by themselves once they are answered.
  ~EventLookUp() override {
    Resolver::get().answerAll();
    EXPECT_TRUE(support::waitFor([] { return Resolver::get().waiting() == 0; }));
  }
  static support::ConsumerPtr consumerThatWaits() {
    support::ConsumerPtr consumer = support::consumerOf(kAddress);
    EXPECT_TRUE(support::waitFor([] { return Resolver::get().waiting() == 1; }));
    return consumer;
  }
};

/// If it waited for the answer, these would never end: the answer comes afterwards.
TEST_F(EventLookUp, AConsumerIsFreedWhileTheNameServerHangs) {
  support::ConsumerPtr consumer = consumerThatWaits();
  consumer.reset();
  EXPECT_EQ(Resolver::get().waiting(), 1);
}

TEST_F(EventLookUp, AProcessEndsWhileTheNameServerHangs) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        consumerThatWaits().reset();
        std::exit(0);
      },
      ExitedWithCode(0), "");
}

TEST_F(EventLookUp, AProcessEndsWithAConsumerWhoseNameServerHangs) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        held = consumerThatWaits().release();
        std::exit(0);
      },
      ExitedWithCode(0), "");
}

TEST_F(EventLookUp, EventsComeWhileTheNameServerHangsForTheConnectionThatAsksForStates) {
  Resolver::get().serveTheFirstThread();
  support::Broker broker;
  broker.listenOnPort();
  broker.start();
  support::ConsumerPtr consumer = support::consumerOf("127.0.0.1:" + std::to_string(broker.port()));
  ASSERT_TRUE(waitForLog("Connected"));
  support::Subscriber all(consumer.get());
  support::Publisher(broker.socketPath()).retain("C/onvif-ej/D/&1", "{}");
  ASSERT_TRUE(all.waitForEvents(1));
  // It has no store: the property is to be asked for.
  broker.kill();
  broker.start();
  ASSERT_TRUE(support::waitFor([] { return Resolver::get().waiting() == 1; }));
  support::Publisher(broker.socketPath()).publish("C/onvif-ej/E", "{}");
  ASSERT_TRUE(all.waitForEvents(2));
  EXPECT_THAT(all.summary(), ElementsAre("Initialized {}", "{}"));
  all.forget();
  consumer.reset();
  EXPECT_EQ(Resolver::get().waiting(), 1);
}

}  // namespace
