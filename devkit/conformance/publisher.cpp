// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "publisher.h"

#include <gio/gio.h>
#include <unistd.h>

#include <cstdio>

#include "common/ptr.h"

std::vector<std::string> newMarks(unsigned count) {
  static unsigned next = 0;
  std::vector<std::string> marks;
  for (unsigned i = 0; i < count; ++i) {
    marks.push_back("mark-" + std::to_string(getpid()) + "-" + std::to_string(next++) + "-end");
  }
  return marks;
}

bool publish(const Options& options, const std::vector<std::string>& marks) {
  std::vector<const char*> arguments = {"/bin/sh", "-c", options.publish.c_str(), "publish"};
  for (const std::string& mark : marks) {
    arguments.push_back(mark.c_str());
  }
  arguments.push_back(nullptr);
  common::GErrorPtr error;
  // The command's output would mix with the report's.
  const common::GObjectPtr<GSubprocess> process(g_subprocess_newv(
      arguments.data(), G_SUBPROCESS_FLAGS_STDOUT_SILENCE, common::GErrorOut(error)));
  // Waits in the system, not in a main context: the libraries' must not turn meanwhile.
  if (process == nullptr ||
      !g_subprocess_wait_check(process.get(), nullptr, common::GErrorOut(error))) {
    std::fprintf(stderr, "lumenfeed-platform-conformance: the command of --publish: %s\n",
                 error->message);
    return false;
  }
  return true;
}

int markIn(const std::string& text, const std::vector<std::string>& marks) {
  for (std::size_t i = 0; i < marks.size(); ++i) {
    if (text.find(marks[i]) != std::string::npos) {
      return static_cast<int>(i);
    }
  }
  return -1;
}
