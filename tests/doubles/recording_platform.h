// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <event2.h>
#include <wsevent.h>

#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace doubles {

/// One call of the platform's API, or whatever else a test wants to see in the same order.
/// Handles appear as their kind and number, counted from 1: "filter1", "expression2".
struct Call {
  std::string function;
  std::vector<std::string> arguments;
  std::string result;

  /// "function(argument, argument) = result"; without the last part if there is no result.
  std::string text() const;
};

/// How a call goes wrong.
struct Failure {
  enum class How {
    kError,        ///< refused, with an error object that carries `text`
    kNullMessage,  ///< refused, with an error object whose message is null
    kNoError,      ///< refused, and the error object is not set
    kThrow,        ///< throws std::runtime_error(text) instead of returning
    kThrowText,    ///< throws the text itself, which is no std::exception
  };
  How how = How::kError;
  std::string text = "scripted failure";
};

/// An event as it is to be delivered. Without text, event_get_json() fails.
struct EventText {
  std::string json;
  bool internal = false;
  bool unreadable = false;
};

/// Handles that were handed out and not released yet.
struct Outstanding {
  std::size_t consumers = 0;
  std::size_t subscriptions = 0;
  std::size_t filters = 0;
  std::size_t expressions = 0;
  std::size_t events = 0;
  /// Counted only where something reports free() to jsonTextFreed().
  std::size_t jsonTexts = 0;

  bool operator==(const Outstanding& other) const;
};

struct Subscription {
  EventConsumer* consumer = nullptr;
  EventCallback callback = nullptr;
  void* userData = nullptr;
  std::string expression;
};

/// What stands behind the doubles of libevent2, libwsevent and libovlog: records each call with
/// its arguments, in order, fails where a test told it to, and counts what is outstanding. One a
/// process; may be used from any thread, but delivers events in the thread that asks for it.
class RecordingPlatform {
 public:
  static RecordingPlatform& instance();

  /// Forgets the record, the failures, the handles and the numbers of handles. Handles that are
  /// still outstanding must not be used afterwards.
  void reset();

  void record(const Call& call);
  /// Called with each call right after it was recorded, in the thread that made it.
  void setObserver(std::function<void(const Call&)> observer);
  std::vector<Call> calls() const;
  /// The record as texts.
  std::vector<std::string> texts() const;
  /// Empties the record alone.
  void clearRecord();

  /// The nth call of `function` from now on fails; 1 is the next one.
  void fail(const std::string& function, unsigned nth = 1, Failure failure = {});
  /// Every cancellation of this subscription is refused.
  void refuseUnsubscribe(unsigned id);

  Outstanding outstanding() const;
  std::map<unsigned, Subscription> subscriptions() const;
  /// Calls the subscription's callback, here and now. False if there is no such subscription.
  bool deliver(unsigned id, const EventText& event);
  /// To be told of free(): releases the JSON text if it is one that event_get_json() returned.
  void jsonTextFreed(const void* text);

  // The rest is for the doubles.

  /// The failure that is due for this call, which it counts. What is to be thrown is recorded
  /// and thrown.
  bool failureDue(const std::string& function, const std::vector<std::string>& arguments,
                  Failure& failure);
  /// A new handle's name, its kind and number.
  std::string add(const std::string& kind, const void* handle);
  std::string name(const void* handle) const;
  void remove(const void* handle);
  unsigned subscribe(const Subscription& subscription);
  bool unsubscribe(unsigned id);
  void dropSubscriptionsOf(const EventConsumer* consumer);
  void jsonTextMade(const void* text);

 private:
  struct Script {
    unsigned countdown;
    Failure failure;
  };

  std::size_t count(const std::string& kind) const;

  mutable std::recursive_mutex mutex_;
  std::vector<Call> calls_;
  std::function<void(const Call&)> observer_;
  std::multimap<std::string, Script> scripts_;
  std::set<unsigned> refusedIds_;
  std::map<unsigned, Subscription> subscriptions_;
  unsigned lastId_ = 0;
  /// Name of each outstanding handle, and how many there were of each kind.
  std::map<const void*, std::string> handles_;
  std::map<std::string, unsigned> numbers_;
  std::set<const void*> jsonTexts_;
};

/// Stores a scripted error where the API takes one.
void storeError(const Failure& failure, GError** error);

}  // namespace doubles
