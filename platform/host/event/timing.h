// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>

namespace event {

/// How long the connection to the broker waits for what. Tests shorten it.
struct Timing {
  using Milliseconds = std::chrono::milliseconds;

  /// From the first step of connecting until the subscription is confirmed.
  Milliseconds connectTimeout{10'000};
  /// Between a failure and the next try: the first wait, doubled each time up to the longest.
  Milliseconds firstBackOff{1'000};
  Milliseconds longestBackOff{30'000};
  /// A silent broker is asked after this time, and given up after twice this time. The MQTT
  /// library takes no less than 5 s.
  std::chrono::seconds keepAlive{10};
  /// How long the broker keeps our session, and what is published meanwhile, while we are away:
  /// a minute's loss, noticed late and mended after the longest back-off, with some to spare.
  std::chrono::seconds sessionExpiry{300};
  /// How long a broker may take to begin sending the retained states of a new subscription.
  Milliseconds stateSettling{1'000};
  /// Between two log lines on bad messages.
  Milliseconds badMessageLog{10'000};
};

}  // namespace event
