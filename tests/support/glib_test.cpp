// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/support/glib_test.h"

#include <glib.h>

#include "tests/support/process.h"

namespace support {

namespace {

/// So that what has no source of its own, a file or a process, is looked at again and again.
constexpr guint kTickMilliseconds = 2;

gboolean tick(gpointer /*data*/) {
  return G_SOURCE_CONTINUE;
}

}  // namespace

bool waitFor(const std::function<bool()>& predicate, std::chrono::milliseconds deadline) {
  const auto end = std::chrono::steady_clock::now() + deadline * (isUnderSomething() ? 10 : 1);
  const guint source = g_timeout_add(kTickMilliseconds, tick, nullptr);
  bool met = predicate();
  while (!met && std::chrono::steady_clock::now() < end) {
    g_main_context_iteration(nullptr, TRUE);
    met = predicate();
  }
  g_source_remove(source);
  return met;
}

void GlibTest::SetUpTestSuite() {
  g_log_set_always_fatal(
      static_cast<GLogLevelFlags>(G_LOG_LEVEL_ERROR | G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING));
}

void GlibTest::TearDown() {
  while (g_main_context_iteration(nullptr, FALSE)) {
  }
}

}  // namespace support
