// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/event/call_timers.h"

#include <algorithm>

namespace event {

void CallTimers::start() {
  running_.clear();
  next_ = nextId();
}

bool CallTimers::anyRuns() {
  const unsigned int end = nextId();
  // Written so that numbers may wrap around.
  for (; next_ != end; ++next_) {
    if (runs(next_)) {
      running_.push_back(next_);
    }
  }
  running_.erase(
      std::remove_if(running_.begin(), running_.end(), [this](auto id) { return !runs(id); }),
      running_.end());
  return !running_.empty();
}

/// GLib numbers a context's sources one after the other.
unsigned int CallTimers::nextId() const {
  static GSourceFuncs functions{};
  GSource* const source = g_source_new(&functions, sizeof(GSource));
  const unsigned int id = g_source_attach(source, context_);
  g_source_destroy(source);
  g_source_unref(source);
  return id;
}

/// GLib wants numbers to be looked up only while nobody else may have got them: they come again
/// after four thousand million sources. One that is not there is just not found. Only whether it is
/// there is asked: GDBus's own thread may take it away at any moment, so nothing may be read of it.
/// GLib (2.74) itself reads a flag, one byte, after it let go of its lock: freed just then, it may
/// count once too often. 1,000,000 ended by another thread under 40,000,000 looks did no harm.
bool CallTimers::runs(unsigned int id) const {
  return id != 0 && g_main_context_find_source_by_id(context_, id) != nullptr;
}

}  // namespace event
