// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>

namespace support {

/// How long a test waits for what must happen: far more than it takes on a busy machine. Ten times
/// that where the program runs under something.
constexpr std::chrono::milliseconds kDeadline{30000};

/// Turns the default main context until the predicate holds. False if the deadline passed first.
[[nodiscard]] bool waitFor(const std::function<bool()>& predicate,
                           std::chrono::milliseconds deadline = kDeadline);

/// A test on the default main context. A GLib warning or critical of the test's own process ends
/// it at once; sources that are still ready afterwards are run in TearDown.
class GlibTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite();
  void TearDown() override;
};

}  // namespace support
