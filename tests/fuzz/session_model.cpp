// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/fuzz/session_model.h"

namespace fuzz {

void SessionModel::create(const std::string& session) {
  if (has(session)) {
    said.push_back("error: Session " + session + " already exists");
  } else if (sessions_.size() == 32) {
    said.emplace_back("error: The maximum number of sessions has been exceeded");
  } else {
    sessions_[session] = {};
    said.emplace_back("created");
  }
}

void SessionModel::remove(const std::string& session) {
  if (!has(session)) {
    said.push_back("error: Session " + session + " does not exist");
    return;
  }
  cancel(session);
  sessions_.erase(session);
  said.emplace_back("removed");
}

void SessionModel::request(const Request& request) {
  if (request.source != "events") {
    said.push_back("error: Invalid data source id. Expected: events, received: " + request.source);
    return;
  }
  if (!has(request.session)) {
    said.push_back("error: Session " + request.session + " does not exist");
    return;
  }
  if (request.version[0] != '1') {
    refuse(request, "", 2100, "Invalid apiVersion. Current version is: 1.0");
  } else if (request.method != "configure") {
    refuse(request, "", 2102,
           "Invalid handle request configuration method. Expected method: configure; received "
           "method: " +
               request.method);
  } else if (!request.refusal.empty()) {
    refuse(request, "configure", 2104, "Invalid event datasource payload: " + request.refusal);
  } else {
    queue_.push_back({false, request, ""});
  }
  said.emplace_back("handled");
}

void SessionModel::event(std::size_t subscription, const std::string& json, bool internal) {
  if (internal || subscriptions_.empty()) {
    return;
  }
  auto live = subscriptions_.begin();
  std::advance(live, static_cast<std::ptrdiff_t>(subscription % subscriptions_.size()));
  queue_.push_back({true, {live->second, ""}, json});
}

void SessionModel::turn() {
  std::deque<Queued> now;
  now.swap(queue_);
  for (const Queued& queued : now) {
    if (!has(queued.request.session)) {
      continue;
    }
    if (queued.isEvent) {
      said.push_back("stream " + queued.request.session +
                     " 1.0 events notify {\"notification\":" + queued.json + "}");
    } else {
      configure(queued.request);
    }
  }
}

void SessionModel::configure(const Request& request) {
  if (request.badFilter > 0 && request.badFilter <= request.filters) {
    refuse(request, "configure", 2104, "Could not use supplied event filter");
    return;
  }
  cancel(request.session);
  for (std::size_t made = 1; made <= request.filters; ++made) {
    if (made == request.badSubscription) {
      cancel(request.session);
      refuse(request, "configure", 1100, "Internal error");
      return;
    }
    sessions_[request.session].push_back(++lastSubscription_);
    subscriptions_[lastSubscription_] = request.session;
  }
  said.push_back("response " + request.session + " 1.0 " + request.id + " events configure {}");
}

void SessionModel::cancel(const std::string& session) {
  for (const unsigned id : sessions_[session]) {
    subscriptions_.erase(id);
  }
  sessions_[session].clear();
}

void SessionModel::refuse(const Request& request, const std::string& method, int code,
                          const std::string& text) {
  said.push_back("refusal " + request.session + " 1.0 " + request.id + " events " + method + " " +
                 std::to_string(code) + " " + text);
}

}  // namespace fuzz
