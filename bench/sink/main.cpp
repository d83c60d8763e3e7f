// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

// The sink: plays the streaming service for the driver, which writes one command a line and
// reads one line of JSON for each:
//   await             when the service owns its name
//   open N FILTERS    sessions opened, when as many responses have come
//   reset N           begins a measurement; a second line follows at the Nth message
//   report PATH       what was counted; the records go to the file
//   probe             how long the service's main loop took to answer a call

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>

#include "bench/common/load.h"
#include "bench/sink/bus.h"
#include "bench/sink/data_source.h"
#include "bench/sink/recorder.h"
#include "bench/sink/streaming_service.h"

namespace {

class Sink {
 public:
  Sink(sd_bus* bus, sd_event* loop)
      : bus_(bus),
        loop_(loop),
        service_(bus, recorder_, [this] { answer("full", recorder_.count()); }),
        source_(bus) {
    check(sd_event_add_io(loop, nullptr, STDIN_FILENO, EPOLLIN, onInput, this),
          "cannot watch standard input");
  }

 private:
  static void answer(const char* key, std::uint64_t value) {
    std::printf("{\"%s\":%lu}\n", key, value);
    std::fflush(stdout);
  }

  static int onInput(sd_event_source* /*source*/, int descriptor, std::uint32_t /*events*/,
                     void* userData) {
    auto* self = static_cast<Sink*>(userData);
    char text[4096];
    const ssize_t length = read(descriptor, text, sizeof text);
    if (length <= 0) {
      return sd_event_exit(self->loop_, 0);
    }
    self->input_.append(text, static_cast<std::size_t>(length));
    for (std::size_t end = 0; (end = self->input_.find('\n')) != std::string::npos;) {
      self->execute(self->input_.substr(0, end));
      self->input_.erase(0, end + 1);
    }
    return 0;
  }

  void execute(const std::string& line) {
    std::istringstream words(line);
    std::string command;
    words >> command;
    if (command == "await") {
      source_.awaitName([](std::uint64_t owned) { answer("owned", owned); });
    } else if (command == "open") {
      open(words);
    } else if (command == "reset") {
      std::uint64_t expected = 0;
      words >> expected;
      service_.reset(expected);
      answer("reset", expected);
    } else if (command == "report") {
      report(words);
    } else if (command == "probe") {
      source_.probe([](std::uint64_t nanoseconds) { answer("answered", nanoseconds); });
    } else {
      std::fprintf(stderr, "sink: unknown command \"%s\"\n", line.c_str());
      std::exit(EXIT_FAILURE);
    }
  }

  void open(std::istringstream& words) {
    std::uint64_t count = 0;
    std::string filters;
    words >> count >> std::ws;
    std::getline(words, filters);
    const std::uint64_t goal = service_.responses() + count;
    const std::uint64_t errorsBefore = service_.errorResponses();
    if (source_.open(count, filters) == count) {
      awaitResponses(goal);
    }
    const std::uint64_t missing = goal - service_.responses();
    answer("opened", count - missing - (service_.errorResponses() - errorsBefore));
  }

  /// In place: the driver has nothing else to say meanwhile.
  void awaitResponses(std::uint64_t goal) {
    constexpr std::uint64_t kMicroseconds = 10'000'000;
    const std::uint64_t deadline = bench::now() / 1000 + kMicroseconds;
    while (service_.responses() < goal && bench::now() / 1000 < deadline) {
      if (check(sd_bus_process(bus_, nullptr), "cannot process") == 0) {
        check(sd_bus_wait(bus_, kMicroseconds), "cannot wait");
      }
    }
  }

  void report(std::istringstream& words) {
    std::string path;
    words >> path;
    if (!recorder_.write(path.c_str())) {
      std::fprintf(stderr, "sink: cannot write %s: %s\n", path.c_str(), std::strerror(errno));
      std::exit(EXIT_FAILURE);
    }
    std::printf("{\"count\":%lu,\"strangers\":%lu}\n", recorder_.count(), service_.strangers());
    std::fflush(stdout);
  }

  sd_bus* bus_;
  sd_event* loop_;
  Recorder recorder_;
  StreamingService service_;
  DataSource source_;
  std::string input_;
};

}  // namespace

int main() {
  sd_event* loop = nullptr;
  check(sd_event_default(&loop), "no event loop");
  const EventLoopPtr ownedLoop(loop);
  sd_bus* bus = nullptr;
  check(sd_bus_open_system(&bus), "no system bus");
  const BusPtr ownedBus(bus);
  check(sd_bus_attach_event(bus, loop, SD_EVENT_PRIORITY_NORMAL), "cannot attach the bus");
  const Sink sink(bus, loop);
  std::puts(R"({"ready":true})");
  std::fflush(stdout);
  check(sd_event_loop(loop), "the loop failed");
  return EXIT_SUCCESS;
}
