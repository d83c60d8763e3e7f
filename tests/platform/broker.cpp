// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/platform/broker.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>
#include <utility>
#include <vector>

#include "tests/support/glib_test.h"

namespace support {

namespace {

sockaddr_in loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

template <typename Address>
bool connects(const Address& address) {
  const int socket = ::socket(reinterpret_cast<const sockaddr*>(&address)->sa_family,
                              SOCK_STREAM | SOCK_CLOEXEC, 0);
  const bool connected =
      connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  close(socket);
  return connected;
}

/// Bound to a free port. Linux gives it to nobody who asks for any port, but lets a listener have
/// it that names it and allows reuse, as mosquitto does.
Descriptor reservePort(int& port) {
  Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address = loopback(0);
  socklen_t size = sizeof address;
  const int allowed = 1;
  if (setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &allowed, sizeof allowed) != 0 ||
      bind(socket.get(), reinterpret_cast<sockaddr*>(&address), size) != 0 ||
      getsockname(socket.get(), reinterpret_cast<sockaddr*>(&address), &size) != 0) {
    throw std::runtime_error("there is no free port");
  }
  port = ntohs(address.sin_port);
  return socket;
}

}  // namespace

Broker::Broker(std::string settings) : settings_(std::move(settings)) {}

void Broker::listenOnPort(const std::string& settings) {
  reservedPort_ = reservePort(port_);
  portSettings_ = settings;
}

std::string Broker::storeSettings() const {
  return "persistence true\npersistence_location " + directory_.path() + "/\n";
}

void Broker::writeConfiguration() const {
  std::string text =
      "per_listener_settings false\nallow_anonymous true\nmax_queued_messages 0\n"
      "user root\n" +
      settings_ + "\nlistener 0 " + socketPath() + "\n";
  if (port_ != 0) {
    text += "listener " + std::to_string(port_) + " 127.0.0.1\n" + portSettings_ + "\n";
  }
  directory_.write("broker.conf", text);
}

void Broker::start() {
  writeConfiguration();
  unlink(socketPath().c_str());
  process_ = std::make_unique<Process>(
      std::vector<std::string>{"mosquitto", "-c", directory_.file("broker.conf")});
  if (!waitFor([this] { return takesConnections() || !process_->running(); }) ||
      !takesConnections()) {
    const auto& error = process_->standardError();
    throw std::runtime_error("the broker did not start: " +
                             (error.empty() ? std::string("it says nothing") : error.back()));
  }
}

bool Broker::takesConnections() const {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, socketPath().c_str(), sizeof address.sun_path - 1);
  return connects(address) && (port_ == 0 || connects(loopback(port_)));
}

void Broker::stop() {
  process_->signal(SIGTERM);
  process_->wait();
}

void Broker::kill() {
  process_->signal(SIGKILL);
  process_->wait();
}

}  // namespace support
