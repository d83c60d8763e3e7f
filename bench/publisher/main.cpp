// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

// A publisher that is faster than what it feeds: the load's events to an MQTT broker, QoS 1.
// Before that, it publishes until the first message has reached the sink. Prints "ready", starts
// at SIGUSR1, then prints one JSON line; ends at SIGTERM.

#include <mosquitto.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "bench/common/load.h"
#include "bench/common/message.h"
#include "bench/common/shared_counts.h"

namespace {

struct MosquittoDeleter {
  void operator()(mosquitto* client) const { mosquitto_destroy(client); }
};

void check(int result, const char* what) {
  if (result != MOSQ_ERR_SUCCESS) {
    std::fprintf(stderr, "publisher: %s: %s\n", what, mosquitto_strerror(result));
    std::exit(EXIT_FAILURE);
  }
}

class Publisher {
 public:
  Publisher() : load_(bench::Load::fromEnvironment()), message_(load_.size) {
    client_.reset(mosquitto_new(nullptr, true, this));
    mosquitto_int_option(client_.get(), MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V5);
    mosquitto_connect_callback_set(client_.get(), onConnected);
    mosquitto_publish_v5_callback_set(client_.get(), onPublished);
    // A Unix socket: libmosquitto takes port 0 for one.
    check(mosquitto_connect(client_.get(), bench::requiredVariable("BENCH_BROKER"), 0, 60),
          "cannot connect");
    // libmosquitto sends twice what is published while the connection is being accepted.
    while (!accepted_) {
      check(mosquitto_loop(client_.get(), -1, 1), "the connection is not accepted");
    }
    check(mosquitto_loop_start(client_.get()), "no network thread");
  }

  ~Publisher() {
    mosquitto_disconnect(client_.get());
    mosquitto_loop_stop(client_.get(), false);
  }
  Publisher(const Publisher&) = delete;
  Publisher& operator=(const Publisher&) = delete;

  /// Until the subscriber is there, nobody would get what is published.
  void awaitSubscriber() {
    const std::atomic<std::uint64_t>& received = bench::sharedCounts().received;
    while (received.load() == 0) {
      publish(0);
      pause(20'000'000);
    }
    // Whatever else of this is on the way is out of the way before the measurement.
    std::uint64_t seen = 0;
    do {
      seen = received.load();
      pause(100'000'000);
    } while (received.load() != seen);
  }

  void run() {
    const std::uint64_t start = bench::now();
    for (std::uint64_t number = 1; number <= load_.events; ++number) {
      if (load_.rate > 0) {
        pauseUntil(start + number * 1'000'000'000U / load_.rate);
      }
      publish(number);
      // Bounded, so that the memory of this process stays out of the picture.
      while (published_ - acknowledged_.load() > kMaxUnacknowledged) {
        pause(100'000);
      }
    }
    while (acknowledged_.load() < published_) {
      pause(1'000'000);
    }
    std::printf("{\"done\":%lu,\"nanoseconds\":%lu}\n", load_.events, bench::now() - start);
    std::fflush(stdout);
  }

 private:
  static constexpr std::uint64_t kMaxUnacknowledged = 2000;

  static void onConnected(mosquitto* /*client*/, void* userData, int reason) {
    check(reason == 0 ? MOSQ_ERR_SUCCESS : MOSQ_ERR_CONN_REFUSED, "cannot connect");
    static_cast<Publisher*>(userData)->accepted_ = true;
  }

  static void onPublished(mosquitto* /*client*/, void* userData, int /*id*/, int reason,
                          const mosquitto_property* /*properties*/) {
    check(reason < 128 ? MOSQ_ERR_SUCCESS : MOSQ_ERR_INVAL, "the broker refused a message");
    ++static_cast<Publisher*>(userData)->acknowledged_;
  }

  static void pauseUntil(std::uint64_t time) {
    const timespec until{static_cast<time_t>(time / 1'000'000'000U),
                         static_cast<long>(time % 1'000'000'000U)};
    clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr);
  }

  static void pause(std::uint64_t nanoseconds) { pauseUntil(bench::now() + nanoseconds); }

  void publish(std::uint64_t number) {
    static const std::string topic =
        std::string(bench::Message::kOrigin) + "/onvif-ej/" + bench::Message::kTopic;
    message_.stamp(number, bench::now());
    const std::string_view text = message_.published();
    check(mosquitto_publish(client_.get(), nullptr, topic.c_str(), static_cast<int>(text.size()),
                            text.data(), 1, false),
          "cannot publish");
    ++published_;
  }

  const bench::Load load_;
  bench::Message message_;
  std::unique_ptr<mosquitto, MosquittoDeleter> client_;
  /// Before its thread runs.
  bool accepted_ = false;
  std::uint64_t published_ = 0;
  std::atomic<std::uint64_t> acknowledged_{0};
};

}  // namespace

int main() {
  // Blocked before the network thread starts, so that they reach sigwait and nothing else.
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGUSR1);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  mosquitto_lib_init();
  {
    Publisher publisher;
    publisher.awaitSubscriber();
    std::puts(R"({"ready":true})");
    std::fflush(stdout);
    int signal = 0;
    while (sigwait(&signals, &signal) == 0 && signal == SIGUSR1) {
      publisher.run();
    }
  }
  mosquitto_lib_cleanup();
  return EXIT_SUCCESS;
}
