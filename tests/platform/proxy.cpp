// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/platform/proxy.h"

#include <poll.h>

#include <iterator>
#include <utility>

namespace support {

namespace {

/// How often the wire looks at what the test wants.
constexpr int kSlice = 1;

}  // namespace

Proxy::Proxy(std::string brokerPath)
    : brokerPath_(std::move(brokerPath)), listener_(listenOn(path())), thread_([this] { run(); }) {}

Proxy::~Proxy() {
  ended_ = true;
  thread_.join();
  for (std::thread& wire : wires_) {
    wire.join();
  }
}

void Proxy::run() {
  while (!ended_) {
    pollfd waiting{listener_.get(), POLLIN, 0};
    if (poll(&waiting, 1, kSlice) > 0) {
      wires_.emplace_back([this, client = Descriptor(accept4(listener_.get(), nullptr, nullptr,
                                                             SOCK_CLOEXEC))] { serve(client); });
    }
  }
}

void Proxy::serve(const Descriptor& client) {
  const Descriptor broker = connectTo(brokerPath_);
  if (!broker.valid()) {
    return;
  }
  const int number = connections_++;
  bool open = true;
  for (int lost = 0; open && !ended_ && number >= cut_ && lost < 20;) {
    pollfd ends[] = {{client.get(), POLLIN, 0}, {broker.get(), POLLIN, 0}};
    if (stalled_) {
      poll(nullptr, 0, kSlice);
      continue;
    }
    poll(ends, std::size(ends), kSlice);
    if (number < losing_) {
      ++lost;
    } else if (ends[0].revents != 0) {
      open = forward(client.get(), broker.get());
    }
    if (open && ends[1].revents != 0) {
      open = forward(broker.get(), client.get());
    }
  }
}

bool Proxy::forward(int from, int to) {
  char bytes[4096];
  const ssize_t got = recv(from, bytes, sizeof bytes, 0);
  return got > 0 && send(to, bytes, static_cast<std::size_t>(got), MSG_NOSIGNAL) == got;
}

}  // namespace support
