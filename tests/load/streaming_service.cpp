// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT
//
// The streaming service as a process of its own, which can be stopped: answers every call, and
// prints "SESSION NUMBER" for each event.

#include <cstdio>
#include <exception>

#include "tests/load/load_test.h"
#include "tests/support/fake_streaming_service.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("for which bus?\n", stderr);
    return 2;
  }
  try {
    support::FakeStreamingService streaming(argv[1]);
    std::puts("ready");
    for (;;) {
      for (const auto& [session, numbers] : load::numbersOf(streaming.calls())) {
        for (const std::size_t number : numbers) {
          std::printf("%s %zu\n", session.c_str(), number);
        }
      }
      streaming.clear();
      std::fflush(stdout);
      g_main_context_iteration(nullptr, TRUE);
    }
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
