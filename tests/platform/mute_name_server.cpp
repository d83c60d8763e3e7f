// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/platform/mute_name_server.h"

#include <dlfcn.h>
#include <glib.h>
#include <netdb.h>

#include <condition_variable>
#include <mutex>

#include "tests/support/glib_test.h"

namespace {

std::mutex mutex;  // guards the rest
std::condition_variable changed;
bool mute = false;
unsigned int waiting = 0;

int refuse() {
  std::unique_lock<std::mutex> lock(mutex);
  ++waiting;
  changed.notify_all();
  changed.wait(lock, [] { return !mute; });
  --waiting;
  changed.notify_all();
  return EAI_NONAME;
}

}  // namespace

#pragma GCC visibility push(default)
/// In front of the C library's, for the MQTT library too.
extern "C" int getaddrinfo(const char* node, const char* service, const addrinfo* hints,
                           addrinfo** result) {
  if (node != nullptr && g_str_has_suffix(node, ".invalid")) {
    return refuse();
  }
  static const auto next = reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, __func__));
  return next(node, service, hints, result);
}
#pragma GCC visibility pop

namespace support {

MuteNameServer::MuteNameServer() {
  const std::lock_guard<std::mutex> lock(mutex);
  mute = true;
}

MuteNameServer::~MuteNameServer() {
  std::unique_lock<std::mutex> lock(mutex);
  mute = false;
  changed.notify_all();
  changed.wait_for(lock, kDeadline, [] { return waiting == 0; });
}

bool MuteNameServer::waitUntilAsked() const {
  std::unique_lock<std::mutex> lock(mutex);
  return changed.wait_for(lock, kDeadline, [] { return waiting > 0; });
}

bool MuteNameServer::asked() const {
  const std::lock_guard<std::mutex> lock(mutex);
  return waiting > 0;
}

}  // namespace support
