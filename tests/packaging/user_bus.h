// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <gio/gio.h>
#include <sys/types.h>

#include <functional>
#include <memory>
#include <string>

/// Runs in a process of its own, on a bus connection of its own; what it returns reaches the test.
using Errand = std::function<std::string(GDBusConnection* connection)>;

/// A process that the test started; ended, and waited for, with the object.
class ChildProcess {
 public:
  ChildProcess(pid_t pid, int output) : pid_(pid), output_(output) {}
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  /// What it has written by the time it first says a whole line, or ends; without the line's end.
  std::string readLine();
  /// All that it writes until it ends.
  std::string readAll();

 private:
  pid_t pid_;
  int output_;
};

/// A bus that root runs, with the shipped policy, and processes of other users on it. The test's
/// own process never connects: it must stay a single thread, so that it can fork.
class UserBus {
 public:
  UserBus();
  ~UserBus();
  UserBus(const UserBus&) = delete;
  UserBus& operator=(const UserBus&) = delete;

  /// What a user's errand returned.
  std::string ask(const char* user, const Errand& errand) const;
  /// Starts an errand and leaves it running; its first line of output is `ready`.
  std::unique_ptr<ChildProcess> start(const char* user, const Errand& errand) const;
  /// Starts the service as a user.
  std::unique_ptr<ChildProcess> startService(const char* user) const;

 private:
  std::string directory_;
  std::unique_ptr<ChildProcess> daemon_;
  std::string address_;
};

/// The name of a remote error, or its text if it is a local one.
std::string errorName(const GError* error);
/// Calls a method without results: "ok" or the error's name.
std::string call(GDBusConnection* connection, const char* destination, const char* path,
                 const char* interface, const char* method, GVariant* arguments);
/// Asks the bus for a name: "ok" or the error's name.
std::string requestName(GDBusConnection* connection, const char* name);
/// Waits until somebody owns the name; false if nobody does in time.
bool waitForName(GDBusConnection* connection, const char* name);
