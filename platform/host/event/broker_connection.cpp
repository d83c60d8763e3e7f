// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/event/broker_connection.h"

#include <mosquitto.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <utility>

#include "common/log_level.h"
#include "platform/host/event/back_off.h"
#include "platform/host/event/broker_session.h"
#include "platform/host/event/intake.h"
#include "platform/host/event/state_check.h"
#include "platform/host/event/stop_signal.h"

namespace event {

namespace {

/// A thread that has not ended by then sits in a call that cannot be interrupted (a look-up of a
/// host name). It is left behind, and ends by itself.
constexpr std::chrono::milliseconds kPatience{500};

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

/// What the threads work on. Each holds a reference, in case it is left behind.
class BrokerConnection::Worker {
 public:
  Worker(const Configuration& configuration, const Timing& timing)
      : configuration_(configuration),
        timing_(timing),
        handOver_([this] { wakeConsumer(); }, [this] { stop_.wake(); }),
        check_(configuration_, timing_, [this] { stop_.wake(); }),
        intake_(configuration.topicPrefix, timing, handOver_, check_) {}

  HandOver& handOver() { return handOver_; }
  StateCheck& stateCheck() { return check_; }
  void start(std::function<void()> wakeConsumer) { wakeConsumer_ = std::move(wakeConsumer); }
  void runNetwork();
  void runCheck();
  void stop();
  bool waitUntilEnded();

 private:
  void wakeConsumer();
  void ended();
  void logEnd(const std::string& reason, bool wasReady);

  const Configuration configuration_;
  const Timing timing_;
  /// The same for a whole run, so that the broker finds our session again.
  const std::string clientId_ = BrokerClient::makeId();
  std::mutex mutex_;  // guards the next two
  std::function<void()> wakeConsumer_;
  std::size_t threads_ = kThreads;
  std::condition_variable threadsChanged_;
  StopSignal stop_;
  HandOver handOver_;
  StateCheck check_;
  Intake intake_;
  std::string lastReason_;
};

void BrokerConnection::Worker::runNetwork() {
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
    check_.cancel();
    if (!stop_.stopped()) {
      logEnd(reason, ready);
      stop_.wait(backOff.next());
    }
  }
  ended();
}

void BrokerConnection::Worker::runCheck() {
  check_.run();
  ended();
}

void BrokerConnection::Worker::ended() {
  const std::lock_guard<std::mutex> lock(mutex_);
  --threads_;
  threadsChanged_.notify_all();
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
  check_.stop();
}

bool BrokerConnection::Worker::waitUntilEnded() {
  std::unique_lock<std::mutex> lock(mutex_);
  return threadsChanged_.wait_for(lock, kPatience, [this] { return threads_ == 0; });
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
  threads_[0] = std::thread([worker = worker_] { worker->runNetwork(); });
  threads_[1] = std::thread([worker = worker_] { worker->runCheck(); });
}

BrokerConnection::~BrokerConnection() {
  if (!threads_.front().joinable()) {
    return;
  }
  worker_->stop();
  const bool ended = worker_->waitUntilEnded();
  for (std::thread& thread : threads_) {
    if (thread.joinable()) {
      ended ? thread.join() : thread.detach();
    }
  }
}

HandOver& BrokerConnection::handOver() {
  return worker_->handOver();
}

StateCheck& BrokerConnection::stateCheck() {
  return worker_->stateCheck();
}

}  // namespace event
