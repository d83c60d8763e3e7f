// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/event/hand_over.h"

#include <iterator>
#include <utility>

namespace event {

namespace {

std::size_t bytesOf(const Arrival& arrival) {
  return arrival.publication == nullptr ? 0 : arrival.publication->bytes();
}

}  // namespace

HandOver::HandOver(std::function<void()> wakeConsumer, std::function<void()> wakeNetwork)
    : wakeConsumer_(std::move(wakeConsumer)), wakeNetwork_(std::move(wakeNetwork)) {}

bool HandOver::hasRoom() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (networkWaits_ ? !hasRoomAgain() : full()) {
    networkWaits_ = true;
    return false;
  }
  networkWaits_ = false;
  return true;
}

void HandOver::push(std::vector<Arrival>& batch) {
  if (batch.empty()) {
    return;
  }
  bool wake = false;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    messages_ += batch.size();
    for (const Arrival& arrival : batch) {
      bytes_ += bytesOf(arrival);
    }
    waiting_.insert(waiting_.end(), std::make_move_iterator(batch.begin()),
                    std::make_move_iterator(batch.end()));
    wake = std::exchange(consumerWaits_, false);
  }
  batch.clear();
  if (wake) {
    wakeConsumer_();
  }
}

void HandOver::take(std::deque<Arrival>& target) {
  const std::lock_guard<std::mutex> lock(mutex_);
  target.insert(target.end(), std::make_move_iterator(waiting_.begin()),
                std::make_move_iterator(waiting_.end()));
  waiting_.clear();
  consumerWaits_ = target.empty();
}

void HandOver::done(const Arrival& arrival) {
  bool wake = false;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    --messages_;
    bytes_ -= bytesOf(arrival);
    wake = networkWaits_ && hasRoomAgain();
    networkWaits_ = networkWaits_ && !wake;
  }
  if (wake) {
    wakeNetwork_();
  }
}

}  // namespace event
