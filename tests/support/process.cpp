// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/support/process.h"

#include <fcntl.h>
#include <glib-unix.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ostream>
#include <stdexcept>

#include "common/ptr.h"
#include "tests/support/glib_test.h"

namespace support {

std::ostream& operator<<(std::ostream& out, const ExitStatus& status) {
  return out << (status.signalled ? "signal " : "exit status ") << status.value;
}

std::string asanOptions(const std::string& further) {
  const char* const own = std::getenv("ASAN_OPTIONS");
  return (own != nullptr ? std::string(own) + ":" : "") + further;
}

std::vector<std::string> underTest(const std::string& program) {
  std::vector<std::string> command;
  const char* const outer = std::getenv("LUMENFEED_RUN_UNDER");
  if (outer != nullptr) {
    char** words = nullptr;
    common::GErrorPtr error;
    if (!g_shell_parse_argv(outer, nullptr, &words, common::GErrorOut(error))) {
      throw std::runtime_error(std::string("LUMENFEED_RUN_UNDER: ") + error->message);
    }
    const common::GStrvPtr owned(words);
    command.assign(words, words + g_strv_length(words));
  }
  command.push_back(program);
  return command;
}

bool isUnderSomething() {
  return std::getenv("LUMENFEED_RUN_UNDER") != nullptr;
}

/// The read end of a pipe, drained by the main context into lines.
class Process::Lines {
 public:
  explicit Lines(int fd) : fd_(fd) {
    g_unix_set_fd_nonblocking(fd, TRUE, nullptr);
    source_ = g_unix_fd_add(fd, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP), onReadable, this);
  }
  ~Lines() {
    if (source_ != 0) {
      g_source_remove(source_);
    }
    close(fd_);
  }
  Lines(const Lines&) = delete;
  Lines& operator=(const Lines&) = delete;

  const std::vector<std::string>& lines() const { return lines_; }

  /// Takes what is in the pipe; false if nothing more can come.
  bool take() {
    char chunk[4096];
    ssize_t size = 0;
    while ((size = read(fd_, chunk, sizeof chunk)) > 0) {
      rest_.append(chunk, static_cast<std::size_t>(size));
    }
    const bool mayGoOn = size < 0 && (errno == EAGAIN || errno == EINTR);
    for (std::size_t end = 0; (end = rest_.find('\n')) != std::string::npos;) {
      lines_.push_back(rest_.substr(0, end));
      rest_.erase(0, end + 1);
    }
    return mayGoOn;
  }

 private:
  static gboolean onReadable(int /*fd*/, GIOCondition /*condition*/, gpointer data) {
    auto* self = static_cast<Lines*>(data);
    if (self->take()) {
      return G_SOURCE_CONTINUE;
    }
    self->source_ = 0;
    return G_SOURCE_REMOVE;
  }

  int fd_;
  guint source_ = 0;
  std::string rest_;
  std::vector<std::string> lines_;
};

namespace {

void dieWithParent(gpointer parent) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  // The parent may have died before the request was made.
  if (getppid() != GPOINTER_TO_INT(parent)) {
    _exit(127);
  }
}

std::vector<char*> pointers(const std::vector<std::string>& texts) {
  std::vector<char*> list;
  for (const std::string& text : texts) {
    list.push_back(const_cast<char*>(text.c_str()));
  }
  list.push_back(nullptr);
  return list;
}

}  // namespace

Process::Process(const std::vector<std::string>& arguments, const Environment& environment) {
  common::GStrvPtr variables(g_get_environ());
  for (const auto& [name, value] : environment) {
    variables.reset(g_environ_setenv(variables.release(), name.c_str(), value.c_str(), TRUE));
  }
  int output = -1;
  int error = -1;
  common::GErrorPtr failure;
  if (!g_spawn_async_with_pipes(
          nullptr, pointers(arguments).data(), variables.get(),
          static_cast<GSpawnFlags>(G_SPAWN_DO_NOT_REAP_CHILD | G_SPAWN_SEARCH_PATH), dieWithParent,
          GINT_TO_POINTER(getpid()), &pid_, nullptr, &output, &error, common::GErrorOut(failure))) {
    throw std::runtime_error("cannot start " + arguments.front() + ": " + failure->message);
  }
  output_ = std::make_unique<Lines>(output);
  error_ = std::make_unique<Lines>(error);
}

Process::~Process() {
  if (running()) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
}

const std::vector<std::string>& Process::standardOutput() const {
  return output_->lines();
}

const std::vector<std::string>& Process::standardError() const {
  return error_->lines();
}

bool Process::waitForLine(const std::string& text) {
  const auto holds = [&](const std::vector<std::string>& lines) {
    return std::any_of(lines.begin(), lines.end(), [&](const std::string& line) {
      return line.find(text) != std::string::npos;
    });
  };
  return waitFor([&] { return holds(standardOutput()) || holds(standardError()); });
}

void Process::signal(int number) const {
  if (!ended_) {
    kill(pid_, number);
  }
}

bool Process::running() {
  int status = 0;
  if (!ended_ && waitpid(pid_, &status, WNOHANG) == pid_) {
    ended_ = true;
    status_ = WIFSIGNALED(status) ? ExitStatus{true, WTERMSIG(status)}
                                  : ExitStatus{false, WEXITSTATUS(status)};
  }
  return !ended_;
}

ExitStatus Process::wait() {
  if (!waitFor([this] { return !running(); })) {
    kill(pid_, SIGKILL);
    throw std::runtime_error("process " + std::to_string(pid_) + " did not end");
  }
  // What it wrote last is in the pipes; a grandchild may keep them open.
  output_->take();
  error_->take();
  return status_;
}

std::string outputOf(const std::vector<std::string>& arguments, const Environment& environment,
                     ExitStatus* status) {
  Process process(arguments, environment);
  const ExitStatus ended = process.wait();
  if (status != nullptr) {
    *status = ended;
  }
  std::string text;
  for (const auto* lines : {&process.standardOutput(), &process.standardError()}) {
    for (const std::string& line : *lines) {
      text += line + "\n";
    }
  }
  return text;
}

}  // namespace support
