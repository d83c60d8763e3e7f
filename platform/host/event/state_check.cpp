// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/event/state_check.h"

#include <glib.h>

#include <iterator>
#include <string>
#include <utility>

#include "platform/host/event/back_off.h"
#include "platform/host/event/state_check_session.h"

namespace event {

StateCheck::StateCheck(const Configuration& configuration, const Timing& timing,
                       std::function<void()> onAnswers)
    : configuration_(configuration), timing_(timing), onAnswers_(std::move(onAnswers)) {}

void StateCheck::ask(std::uint64_t asking, std::vector<PublicationPtr> properties) {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    ++version_;
    asking_ = asking;
    properties_ = std::move(properties);
    answers_.clear();
  }
  stop_.wake();
}

bool StateCheck::hasAnswers() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return !answers_.empty();
}

void StateCheck::takeAnswers(std::vector<Arrival>& target) {
  const std::lock_guard<std::mutex> lock(mutex_);
  target.insert(target.end(), std::make_move_iterator(answers_.begin()),
                std::make_move_iterator(answers_.end()));
  answers_.clear();
}

void StateCheck::run() {
  while (!stop_.stopped()) {
    std::vector<PublicationPtr> properties;
    std::uint64_t asking = 0;
    const std::uint64_t version = takeWork(properties, asking);
    if (properties.empty() || !usable_) {
      stop_.waitForWake();
    } else {
      answer(properties, asking, version);
    }
  }
}

std::uint64_t StateCheck::takeWork(std::vector<PublicationPtr>& properties, std::uint64_t& asking) {
  const std::lock_guard<std::mutex> lock(mutex_);
  properties = std::exchange(properties_, {});
  asking = asking_;
  return version_;
}

void StateCheck::answer(std::vector<PublicationPtr>& properties, std::uint64_t asking,
                        std::uint64_t version) {
  BackOff backOff(timing_.firstBackOff, timing_.longestBackOff);
  std::string lastReason;
  const auto wanted = [this, version] { return version == version_ && !stop_.stopped(); };
  for (bool again = false; wanted(); again = true) {
    StateCheckSession session(configuration_, timing_, stop_, properties, asking);
    const std::string reason =
        session.run(wanted, [this, version](auto& answers) { report(answers, version); });
    if (reason.empty()) {
      return;
    }
    if (session.isAnothers()) {
      usable_ = false;
      logKept(reason);
      return;
    }
    // The first time the broker may have gone away, which is said elsewhere, and ends all this.
    if (again && reason != lastReason) {
      logKept(reason);
      lastReason = reason;
    }
    if (wanted()) {
      stop_.waitForWake(backOff.next());
    }
  }
}

void StateCheck::report(std::vector<Arrival>& answers, std::uint64_t version) {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (version != version_) {
      return;
    }
    answers_.insert(answers_.end(), std::make_move_iterator(answers.begin()),
                    std::make_move_iterator(answers.end()));
  }
  onAnswers_();
}

void StateCheck::logKept(const std::string& reason) const {
  g_log(G_LOG_DOMAIN, G_LOG_LEVEL_WARNING,
        "Cannot ask the broker at %s for the states that it did not send: %s; what was known of "
        "them is kept",
        configuration_.address.c_str(), reason.c_str());
}

}  // namespace event
