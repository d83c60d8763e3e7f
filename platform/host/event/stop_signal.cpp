// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/event/stop_signal.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>

namespace event {

StopSignal::StopSignal() : fd_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (fd_ < 0) {
    throw std::system_error(errno, std::generic_category(), "eventfd");
  }
}

StopSignal::~StopSignal() {
  close(fd_);
}

void StopSignal::wake() const {
  const std::uint64_t one = 1;
  // Fails only when it is readable already.
  [[maybe_unused]] const ssize_t written = write(fd_, &one, sizeof one);
}

void StopSignal::stop() {
  stopped_ = true;
  wake();
}

void StopSignal::clear() const {
  std::uint64_t count = 0;
  [[maybe_unused]] const ssize_t got = read(fd_, &count, sizeof count);
}

void StopSignal::wait(std::chrono::milliseconds time) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point end = Clock::now() + time;
  while (!stopped_) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
    if (left.count() <= 0) {
      return;
    }
    pollfd readable{fd_, POLLIN, 0};
    if (poll(&readable, 1, static_cast<int>(left.count())) > 0 && !stopped_) {
      clear();
    }
  }
}

void StopSignal::waitForWake(std::chrono::milliseconds time) {
  pollfd readable{fd_, POLLIN, 0};
  poll(&readable, 1, static_cast<int>(time.count()));
  clear();
}

}  // namespace event
