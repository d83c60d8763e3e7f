// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <glib.h>

#include <vector>

namespace event {

/// Tells whether sources that came into a main context since some moment are still there. An
/// asynchronous call of GDBus has a timer from its start until it is answered; what else comes is
/// gone at rest. Used by the thread that runs the context.
class CallTimers {
 public:
  /// The context has to outlive this.
  explicit CallTimers(GMainContext* context) : context_(context) {}

  /// Those count that come from now on.
  void start();
  bool anyRuns();

 private:
  unsigned int nextId() const;
  bool runs(unsigned int id) const;

  GMainContext* context_;
  /// The first source that was not looked at yet.
  unsigned int next_ = 0;
  std::vector<unsigned int> running_;
};

}  // namespace event
