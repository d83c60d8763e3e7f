// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/doubles/recording_platform.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <tuple>
#include <utility>

namespace doubles {

namespace {

using Lock = std::lock_guard<std::recursive_mutex>;

}  // namespace

std::string Call::text() const {
  std::string text = function + "(";
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    text += (i == 0 ? "" : ", ") + arguments[i];
  }
  return text + ")" + (result.empty() ? "" : " = " + result);
}

bool Outstanding::operator==(const Outstanding& other) const {
  return std::tie(consumers, subscriptions, filters, expressions, events, jsonTexts) ==
         std::tie(other.consumers, other.subscriptions, other.filters, other.expressions,
                  other.events, other.jsonTexts);
}

RecordingPlatform& RecordingPlatform::instance() {
  // Never destroyed: handles may be released while the process exits.
  static auto* const platform = new RecordingPlatform;
  return *platform;
}

void RecordingPlatform::reset() {
  const Lock lock(mutex_);
  calls_.clear();
  observer_ = nullptr;
  scripts_.clear();
  refusedIds_.clear();
  subscriptions_.clear();
  lastId_ = 0;
  handles_.clear();
  numbers_.clear();
  jsonTexts_.clear();
}

void RecordingPlatform::record(const Call& call) {
  std::function<void(const Call&)> observer;
  {
    const Lock lock(mutex_);
    calls_.push_back(call);
    observer = observer_;
  }
  // Without the lock: an observer may take its time, and deliver events.
  if (observer) {
    observer(call);
  }
}

void RecordingPlatform::setObserver(std::function<void(const Call&)> observer) {
  const Lock lock(mutex_);
  observer_ = std::move(observer);
}

std::vector<Call> RecordingPlatform::calls() const {
  const Lock lock(mutex_);
  return calls_;
}

std::vector<std::string> RecordingPlatform::texts() const {
  const Lock lock(mutex_);
  std::vector<std::string> texts;
  std::transform(calls_.begin(), calls_.end(), std::back_inserter(texts),
                 [](const Call& call) { return call.text(); });
  return texts;
}

void RecordingPlatform::clearRecord() {
  const Lock lock(mutex_);
  calls_.clear();
}

void RecordingPlatform::fail(const std::string& function, unsigned nth, Failure failure) {
  const Lock lock(mutex_);
  scripts_.emplace(function, Script{nth, std::move(failure)});
}

void RecordingPlatform::refuseUnsubscribe(unsigned id) {
  const Lock lock(mutex_);
  refusedIds_.insert(id);
}

bool RecordingPlatform::failureDue(const std::string& function,
                                   const std::vector<std::string>& arguments, Failure& failure) {
  std::unique_lock lock(mutex_);
  bool due = false;
  const auto [begin, end] = scripts_.equal_range(function);
  for (auto script = begin; script != end;) {
    if (--script->second.countdown == 0) {
      failure = script->second.failure;
      due = true;
      script = scripts_.erase(script);
    } else {
      ++script;
    }
  }
  const bool standard = failure.how == Failure::How::kThrow;
  if (due && (standard || failure.how == Failure::How::kThrowText)) {
    lock.unlock();
    record({function, arguments, "exception"});
    if (standard) {
      throw std::runtime_error(failure.text);
    }
    throw failure.text;
  }
  return due;
}

Outstanding RecordingPlatform::outstanding() const {
  const Lock lock(mutex_);
  return {count("consumer"),   subscriptions_.size(), count("filter"),
          count("expression"), count("event"),        jsonTexts_.size()};
}

std::size_t RecordingPlatform::count(const std::string& kind) const {
  return static_cast<std::size_t>(std::count_if(
      handles_.begin(), handles_.end(),
      [&](const auto& handle) { return handle.second.compare(0, kind.size(), kind) == 0; }));
}

std::map<unsigned, Subscription> RecordingPlatform::subscriptions() const {
  const Lock lock(mutex_);
  return subscriptions_;
}

std::string RecordingPlatform::add(const std::string& kind, const void* handle) {
  const Lock lock(mutex_);
  return handles_[handle] = kind + std::to_string(++numbers_[kind]);
}

std::string RecordingPlatform::name(const void* handle) const {
  const Lock lock(mutex_);
  const auto found = handles_.find(handle);
  if (found != handles_.end()) {
    return found->second;
  }
  return handle == nullptr ? "null" : "unknown";
}

void RecordingPlatform::remove(const void* handle) {
  const Lock lock(mutex_);
  handles_.erase(handle);
}

unsigned RecordingPlatform::subscribe(const Subscription& subscription) {
  const Lock lock(mutex_);
  subscriptions_[++lastId_] = subscription;
  return lastId_;
}

bool RecordingPlatform::unsubscribe(unsigned id) {
  const Lock lock(mutex_);
  return refusedIds_.count(id) == 0 && subscriptions_.erase(id) != 0;
}

void RecordingPlatform::dropSubscriptionsOf(const EventConsumer* consumer) {
  const Lock lock(mutex_);
  for (auto it = subscriptions_.begin(); it != subscriptions_.end();) {
    it = it->second.consumer == consumer ? subscriptions_.erase(it) : std::next(it);
  }
}

void RecordingPlatform::jsonTextMade(const void* text) {
  const Lock lock(mutex_);
  jsonTexts_.insert(text);
}

void RecordingPlatform::jsonTextFreed(const void* text) {
  const Lock lock(mutex_);
  jsonTexts_.erase(text);
}

void storeError(const Failure& failure, GError** error) {
  if (failure.how == Failure::How::kNoError) {
    return;
  }
  g_set_error_literal(error, g_quark_from_static_string("platform-double"), 1,
                      failure.text.c_str());
  if (failure.how == Failure::How::kNullMessage && error != nullptr) {
    g_free((*error)->message);
    (*error)->message = nullptr;
  }
}

}  // namespace doubles
