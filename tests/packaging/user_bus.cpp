// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "user_bus.h"

#include <grp.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <stdexcept>

#include "common/ptr.h"
#include "tests/support/glib_test.h"

namespace {

/// In a child: the test's end is its own, too.
void dieWith(pid_t parent) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  // It may have ended before the request was made.
  if (getppid() != parent) {
    _exit(127);
  }
}

/// Forks; the child runs `body` with a pipe as its output, and never returns.
template <typename Body>
std::pair<pid_t, int> forkWithOutput(const Body& body) {
  std::array<int, 2> ends{};
  if (pipe(ends.data()) != 0) {
    throw std::runtime_error("no pipe");
  }
  const pid_t parent = getpid();
  const pid_t pid = fork();
  if (pid < 0) {
    throw std::runtime_error("no process");
  }
  if (pid == 0) {
    dieWith(parent);
    close(ends[0]);
    body(ends[1]);
    _exit(127);
  }
  close(ends[1]);
  return {pid, ends[0]};
}

void become(const char* user) {
  const pid_t parent = getppid();
  const passwd* entry = getpwnam(user);
  if (entry == nullptr || setgroups(0, nullptr) != 0 || setgid(entry->pw_gid) != 0 ||
      setuid(entry->pw_uid) != 0) {
    std::fprintf(stderr, "cannot become the user %s\n", user);
    _exit(126);
  }
  // The kernel forgets it with a change of user.
  dieWith(parent);
}

void writeAll(int output, const std::string& text) {
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t count = write(output, text.data() + done, text.size() - done);
    if (count <= 0) {
      _exit(125);
    }
    done += static_cast<std::size_t>(count);
  }
}

[[noreturn]] void runErrand(const char* user, const std::string& address, const Errand& errand,
                            int output) {
  become(user);
  dup2(output, STDOUT_FILENO);
  common::GErrorPtr error;
  GDBusConnection* connection = g_dbus_connection_new_for_address_sync(
      address.c_str(),
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
      nullptr, nullptr, common::GErrorOut(error));
  writeAll(output, connection == nullptr ? error->message : errand(connection));
  _exit(0);
}

}  // namespace

ChildProcess::~ChildProcess() {
  kill(pid_, SIGTERM);
  waitpid(pid_, nullptr, 0);
  close(output_);
}

std::string ChildProcess::readLine() {
  std::string line;
  for (char c = 0; read(output_, &c, 1) == 1 && c != '\n';) {
    line += c;
  }
  return line;
}

std::string ChildProcess::readAll() {
  std::string text;
  std::array<char, 4096> buffer{};
  for (ssize_t count = 0; (count = read(output_, buffer.data(), buffer.size())) > 0;) {
    text.append(buffer.data(), static_cast<std::size_t>(count));
  }
  return text;
}

UserBus::UserBus() {
  std::string name = std::filesystem::temp_directory_path() / "lumenfeed-policy-XXXXXX";
  if (mkdtemp(name.data()) == nullptr) {
    throw std::runtime_error("no folder for the service");
  }
  directory_ = name;
  // A copy that every user may run, wherever the tree is.
  std::filesystem::permissions(directory_, std::filesystem::perms(0755));
  std::filesystem::copy(SERVICE_PROGRAM, directory_);
  std::istringstream libraries(SERVICE_LIBRARIES);
  for (std::string library; std::getline(libraries, library, ':');) {
    const std::filesystem::path path(library);
    // By the name that the program asks for: libx.so.1 of libx.so.1.0.0.
    const std::string soname = path.filename().string();
    std::filesystem::copy(path, directory_ + "/" + soname.substr(0, soname.find(".so") + 5));
  }
  const auto [pid, output] = forkWithOutput([](int out) {
    const std::string fd = "--print-address=" + std::to_string(out);
    execl(DBUS_DAEMON, DBUS_DAEMON, "--config-file=" BUS_CONFIG, "--nofork", fd.c_str(), nullptr);
  });
  daemon_ = std::make_unique<ChildProcess>(pid, output);
  address_ = daemon_->readLine();
}

UserBus::~UserBus() {
  daemon_.reset();
  std::filesystem::remove_all(directory_);
}

std::string UserBus::ask(const char* user, const Errand& errand) const {
  return start(user, errand)->readAll();
}

std::unique_ptr<ChildProcess> UserBus::start(const char* user, const Errand& errand) const {
  const auto [pid, output] =
      forkWithOutput([&](int out) { runErrand(user, address_, errand, out); });
  return std::make_unique<ChildProcess>(pid, output);
}

std::unique_ptr<ChildProcess> UserBus::startService(const char* user) const {
  const auto [pid, output] = forkWithOutput([&](int /*out*/) {
    become(user);
    setenv("DBUS_SYSTEM_BUS_ADDRESS", address_.c_str(), 1);
    setenv("LD_LIBRARY_PATH", directory_.c_str(), 1);
    const std::string program = directory_ + "/lumenfeed";
    execl(program.c_str(), program.c_str(), nullptr);
  });
  return std::make_unique<ChildProcess>(pid, output);
}

std::string errorName(const GError* error) {
  const common::GCharPtr name(g_dbus_error_get_remote_error(error));
  return name != nullptr ? name.get() : error->message;
}

std::string call(GDBusConnection* connection, const char* destination, const char* path,
                 const char* interface, const char* method, GVariant* arguments) {
  common::GErrorPtr error;
  const common::Ptr<GVariant, g_variant_unref> reply(g_dbus_connection_call_sync(
      connection, destination, path, interface, method, arguments, nullptr,
      G_DBUS_CALL_FLAGS_NO_AUTO_START, -1, nullptr, common::GErrorOut(error)));
  return reply != nullptr ? "ok" : errorName(error.get());
}

std::string requestName(GDBusConnection* connection, const char* name) {
  return call(connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
              "RequestName", g_variant_new("(su)", name, 4U));
}

bool waitForName(GDBusConnection* connection, const char* name) {
  bool there = false;
  const guint watch = g_bus_watch_name_on_connection(
      connection, name, G_BUS_NAME_WATCHER_FLAGS_NONE,
      [](GDBusConnection*, const char*, const char*, void* flag) {
        *static_cast<bool*>(flag) = true;
      },
      nullptr, &there, nullptr);
  const bool seen = support::waitFor([&there] { return there; });
  g_bus_unwatch_name(watch);
  return seen;
}
