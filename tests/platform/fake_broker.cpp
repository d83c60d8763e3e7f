// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/platform/fake_broker.h"

#include <poll.h>

#include <utility>

namespace support {

namespace {

constexpr int kSlice = 2;

}  // namespace

FakeBroker::FakeBroker(Script script)
    : script_(std::move(script)), listener_(listenOn(path())), thread_([this] { run(); }) {}

FakeBroker::~FakeBroker() {
  ended_ = true;
  thread_.join();
  for (std::thread& script : scripts_) {
    script.join();
  }
}

void FakeBroker::run() {
  while (!ended_) {
    pollfd waiting{listener_.get(), POLLIN, 0};
    if (poll(&waiting, 1, kSlice) > 0) {
      scripts_.emplace_back(
          [this, number = connections_++,
           socket = Descriptor(accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC))] {
            Connection connection(socket.get(), ended_);
            script_(connection, number);
          });
    }
  }
}

bool FakeBroker::Connection::readByte(char& byte) {
  while (!ended_) {
    pollfd readable{socket_, POLLIN, 0};
    if (poll(&readable, 1, kSlice) > 0) {
      return recv(socket_, &byte, 1, 0) == 1;
    }
  }
  return false;
}

std::string FakeBroker::Connection::read() {
  std::string packet(1, '\0');
  if (!readByte(packet.front())) {
    return "";
  }
  std::size_t left = 0;
  char byte = 0;
  unsigned int shift = 0;
  do {
    if (!readByte(byte)) {
      return "";
    }
    left |= (static_cast<std::size_t>(byte) & 0x7fU) << shift;
    shift += 7;
  } while ((static_cast<unsigned char>(byte) & 0x80U) != 0);
  for (; left > 0; --left) {
    if (!readByte(byte)) {
      return "";
    }
    packet += byte;
  }
  return packet;
}

void FakeBroker::Connection::send(const std::string& bytes) {
  [[maybe_unused]] const ssize_t sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

void FakeBroker::Connection::end() {
  shutdown(socket_, SHUT_RDWR);
}

void FakeBroker::Connection::waitForEnd() {
  while (!read().empty()) {
  }
}

namespace mqtt {

std::string connack(char reason, bool sessionPresent) {
  return {'\x20', 3, static_cast<char>(sessionPresent ? 1 : 0), reason, 0};
}

std::string connackWithoutIdentifiers() {
  constexpr char kSubscriptionIdentifierAvailable = 0x29;
  return {'\x20', 5, 0, 0, 2, kSubscriptionIdentifierAvailable, 0};
}

std::string suback(const std::string& subscribe, const std::string& reasons) {
  std::string packet{'\x90', static_cast<char>(3 + reasons.size()), subscribe[1], subscribe[2], 0};
  return packet + reasons;
}

std::string unsuback(const std::string& unsubscribe) {
  return {'\xb0', 4, unsubscribe[1], unsubscribe[2], 0, 0};
}

std::string publish(const std::string& topic, const std::string& payload, char packetId,
                    bool duplicate) {
  std::string body{0, static_cast<char>(topic.size())};
  body += topic;
  body.append(1, 0).append(1, packetId).append(1, 0);
  body += payload;
  std::string packet(1, static_cast<char>(duplicate ? 0x3a : 0x32));
  return packet.append(1, static_cast<char>(body.size())) + body;
}

std::string retained(const std::string& topic, const std::string& payload) {
  std::string body{0, static_cast<char>(topic.size())};
  body += topic;
  body.append(1, 0) += payload;
  return std::string{'\x31', static_cast<char>(body.size())} + body;
}

std::string disconnect(char reason) {
  return {'\xe0', 2, reason, 0};
}

}  // namespace mqtt

}  // namespace support
