// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/event/broker_connection.h"

#include <mosquitto.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <random>
#include <utility>

#include "common/log_level.h"
#include "platform/host/event/back_off.h"
#include "platform/host/event/broker_session.h"
#include "platform/host/event/intake.h"
#include "platform/host/event/stop_signal.h"

namespace event {

namespace {

/// A thread that has not ended by then sits in a call that cannot be interrupted (a look-up of a
/// host name). It is left behind, and ends by itself.
constexpr std::chrono::milliseconds kPatience{500};

/// Unique among all processes, and of the 23 letters and digits that every broker takes. The same
/// for a whole run, so that the broker finds our session again.
std::string makeClientId() {
  std::random_device random;
  std::string id = "event2x";
  constexpr const char* kDigits = "0123456789abcdef";
  for (int word = 0; word < 2; ++word) {
    unsigned int bits = random();
    for (int digit = 0; digit < 8; ++digit, bits >>= 4U) {
      id += kDigits[bits & 0xfU];
    }
  }
  return id;
}

/// Blocks all signals while it lives: a thread that is started meanwhile inherits that. They are
/// for the program's own threads.
class SignalBlock {
 public:
  SignalBlock() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~SignalBlock() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalBlock(const SignalBlock&) = delete;
  SignalBlock& operator=(const SignalBlock&) = delete;

 private:
  sigset_t before_;
};

}  // namespace

/// What the thread works on. The thread holds a reference, in case it is left behind.
class BrokerConnection::Worker {
 public:
  Worker(const Configuration& configuration, const Timing& timing)
      : configuration_(configuration),
        timing_(timing),
        handOver_([this] { wakeConsumer(); }, [this] { stop_.wake(); }),
        intake_(configuration.topicPrefix, timing, handOver_) {}

  HandOver& handOver() { return handOver_; }
  void start(std::function<void()> wakeConsumer) { wakeConsumer_ = std::move(wakeConsumer); }
  void run();
  void stop();
  bool waitUntilEnded();

 private:
  void wakeConsumer();
  void logEnd(const std::string& reason, bool wasReady);

  const Configuration configuration_;
  const Timing timing_;
  const std::string clientId_ = makeClientId();
  std::mutex mutex_;  // guards the next two
  std::function<void()> wakeConsumer_;
  bool ended_ = false;
  std::condition_variable endedChanged_;
  StopSignal stop_;
  HandOver handOver_;
  Intake intake_;
  std::string lastReason_;
};

void BrokerConnection::Worker::run() {
  BackOff backOff(timing_.firstBackOff, timing_.longestBackOff);
  while (!stop_.stopped()) {
    if (!intake_.hasRoom()) {
      stop_.waitForWake();
      continue;
    }
    bool ready = false;
    const std::string reason =
        BrokerSession(configuration_, timing_, clientId_, intake_, stop_).run([&] {
          ready = true;
          backOff.reset();
          lastReason_.clear();
          g_log(G_LOG_DOMAIN, G_LOG_LEVEL_MESSAGE, "Connected to the broker at %s",
                configuration_.address.c_str());
        });
    if (!stop_.stopped()) {
      logEnd(reason, ready);
      stop_.wait(backOff.next());
    }
  }
  const std::lock_guard<std::mutex> lock(mutex_);
  ended_ = true;
  endedChanged_.notify_all();
}

/// One line a change: tries that fail like the one before are not logged.
void BrokerConnection::Worker::logEnd(const std::string& reason, bool wasReady) {
  if (wasReady || reason != lastReason_) {
    g_log(G_LOG_DOMAIN, G_LOG_LEVEL_WARNING, "%s the broker at %s: %s; will try again",
          wasReady ? "Lost" : "No connection to", configuration_.address.c_str(), reason.c_str());
  }
  lastReason_ = reason;
}

void BrokerConnection::Worker::stop() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    wakeConsumer_ = nullptr;
  }
  stop_.stop();
}

bool BrokerConnection::Worker::waitUntilEnded() {
  std::unique_lock<std::mutex> lock(mutex_);
  return endedChanged_.wait_for(lock, kPatience, [this] { return ended_; });
}

void BrokerConnection::Worker::wakeConsumer() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (wakeConsumer_ != nullptr) {
    wakeConsumer_();
  }
}

BrokerConnection::BrokerConnection(const Configuration& configuration, const Timing& timing)
    : worker_(std::make_shared<Worker>(configuration, timing)) {}

void BrokerConnection::start(std::function<void()> wakeConsumer) {
  static std::once_flag once;
  std::call_once(once, [] { mosquitto_lib_init(); });
  worker_->start(std::move(wakeConsumer));
  const SignalBlock block;
  thread_ = std::thread([worker = worker_] { worker->run(); });
}

BrokerConnection::~BrokerConnection() {
  if (!thread_.joinable()) {
    return;
  }
  worker_->stop();
  if (worker_->waitUntilEnded()) {
    thread_.join();
  } else {
    thread_.detach();
  }
}

HandOver& BrokerConnection::handOver() {
  return worker_->handOver();
}

}  // namespace event
