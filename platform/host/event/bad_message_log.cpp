// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/event/bad_message_log.h"

#include <glib.h>

#include <algorithm>

#include "common/ptr.h"

namespace event {

void BadMessageLog::dropped(const char* topic, const std::string& reason, Clock::time_point now) {
  ++total_;
  ++unreported_;
  if (unreported_ == 1 || now >= next_) {
    const common::GCharPtr start(g_utf8_make_valid(topic, -1));
    const common::GCharPtr cut(g_utf8_substring(
        start.get(), 0, std::min<glong>(g_utf8_strlen(start.get(), -1), kMaxTopic)));
    last_ = std::string(cut.get()) + ": " + reason;
  }
  tick(now);
}

void BadMessageLog::tick(Clock::time_point now) {
  if (unreported_ > 0 && now >= next_) {
    report(now);
  }
}

void BadMessageLog::report(Clock::time_point now) {
  g_log(G_LOG_DOMAIN, G_LOG_LEVEL_WARNING,
        "Dropped %" G_GUINT64_FORMAT " messages that are no events (%" G_GUINT64_FORMAT
        " so far), for instance %s",
        static_cast<guint64>(unreported_), static_cast<guint64>(total_), last_.c_str());
  unreported_ = 0;
  next_ = now + interval_;
}

}  // namespace event
