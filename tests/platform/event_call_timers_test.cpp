// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include "common/ptr.h"
#include "platform/host/event/call_timers.h"

namespace {

class CallTimersTest : public ::testing::Test {
 protected:
  GSource* attach(GSource* source) {
    g_source_set_dummy_callback(source);
    g_source_attach(source, context_.get());
    g_source_unref(source);
    return source;
  }
  GSource* attachTimer() { return attach(g_timeout_source_new_seconds(3600)); }

  common::Ptr<GMainContext, g_main_context_unref> context_{g_main_context_new()};
  event::CallTimers timers_{context_.get()};
};

TEST_F(CallTimersTest, TimersRunUntilTheLastOneIsGone) {
  timers_.start();
  EXPECT_FALSE(timers_.anyRuns());
  GSource* const first = attachTimer();
  EXPECT_TRUE(timers_.anyRuns());
  GSource* const second = attachTimer();
  g_source_destroy(first);
  EXPECT_TRUE(timers_.anyRuns());
  g_source_destroy(second);
  EXPECT_FALSE(timers_.anyRuns());
}

TEST_F(CallTimersTest, WhatWasThereBeforeDoesNotCount) {
  attachTimer();
  timers_.start();
  EXPECT_FALSE(timers_.anyRuns());
  attachTimer();
  EXPECT_TRUE(timers_.anyRuns());
  timers_.start();
  EXPECT_FALSE(timers_.anyRuns());
}

TEST_F(CallTimersTest, WhatRunsOnceDoesNotCountAfterwards) {
  timers_.start();
  const common::Ptr<GSource, g_source_unref> once(g_timeout_source_new(0));
  g_source_set_callback(
      once.get(), [](void*) { return G_SOURCE_REMOVE; }, nullptr, nullptr);
  g_source_attach(once.get(), context_.get());
  EXPECT_TRUE(timers_.anyRuns());
  g_main_context_iteration(context_.get(), TRUE);
  EXPECT_FALSE(timers_.anyRuns());
}

}  // namespace
