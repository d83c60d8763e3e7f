// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <string>
#include <vector>

namespace fuzz {

/// What a configuration request holds, as far as the model tells requests apart.
struct Request {
  std::string session{};
  std::string id{};
  std::string version = "1.0";
  std::string source = "events";
  std::string method = "configure";
  std::size_t filters = 1;
  /// The reason for which the payload is refused; empty if it is good.
  std::string refusal{};
  /// The filter that the event system cannot use, and the subscription that it refuses; from 1.
  std::size_t badFilter = 0;
  std::size_t badSubscription = 0;
};

/// What the service does, in few words and without its means: which calls it answers how, and what
/// it sends. Says each as one text, in order.
class SessionModel {
 public:
  void create(const std::string& session);
  void remove(const std::string& session);
  void request(const Request& request);
  /// An event for the subscription with this number, of those that are there, in order of age.
  void event(std::size_t subscription, const std::string& json, bool internal);
  /// One turn of the main loop: whatever was queued before it.
  void turn();

  bool has(const std::string& session) const { return sessions_.count(session) != 0; }
  const std::map<std::string, std::vector<unsigned>>& sessions() const { return sessions_; }
  const std::map<unsigned, std::string>& subscriptions() const { return subscriptions_; }
  /// What must have happened by now.
  std::vector<std::string> said;

 private:
  struct Queued {
    bool isEvent;
    Request request;
    std::string json;
  };

  void configure(const Request& request);
  void cancel(const std::string& session);
  void refuse(const Request& request, const std::string& method, int code, const std::string& text);

  std::map<std::string, std::vector<unsigned>> sessions_;
  std::map<unsigned, std::string> subscriptions_;
  unsigned lastSubscription_ = 0;
  std::deque<Queued> queue_;
};

}  // namespace fuzz
