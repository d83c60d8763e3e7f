// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/event/state_check_session.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "platform/host/model/topic.h"

namespace event {

namespace {

/// In one SUBSCRIBE, so that no broker's queue overflows and no packet gets too large.
constexpr std::size_t kMaxTopics = 100;
constexpr std::size_t kMaxTopicBytes = std::size_t{64} * 1024;
/// Of states that differ: when so much is held, the answers are handed over before more is asked.
constexpr std::size_t kMaxFound = std::size_t{4} * 1024 * 1024;
constexpr std::chrono::milliseconds kProbePause{20};

}  // namespace

std::vector<std::string> spellings(const Source& source) {
  const std::string& topic = source.mqttTopic;
  std::vector<std::string> both{topic};
  const std::string prefix = std::string(model::kOnvifPrefix) + ":";
  const std::string_view local = std::string_view(topic).substr(source.local);
  if (local.substr(0, prefix.size()) == prefix) {
    both.push_back(std::string(topic).erase(source.local, prefix.size()));
  } else if (model::prefixOf(local.substr(0, local.find('/'))).empty()) {
    both.push_back(std::string(topic).insert(source.local, prefix));
  }
  return both;
}

StateCheckSession::StateCheckSession(const Configuration& configuration, const Timing& timing,
                                     StopSignal& stop, std::vector<PublicationPtr>& properties,
                                     std::uint64_t asking)
    : BrokerClient(configuration, timing, makeId(), stop),
      properties_(properties),
      asking_(asking),
      reader_(configuration.topicPrefix) {}

std::string StateCheckSession::run(const Wanted& wanted, const Report& report) {
  report_ = report;
  connect();
  const auto done = [this] { return properties_.empty() && questions_.empty(); };
  while (isReady() && wanted() && !done()) {
    step(true, kProbePause);
    if (goesOn() && !probing() && subscribing_.empty() && Clock::now() >= nextProbe_) {
      quiet_ = settled();
      probe();
    }
  }
  if (failure().empty()) {
    disconnect();
  }
  for (Question& question : questions_) {
    properties_.push_back(std::move(question.known));
  }
  return failure();
}

/// The session is kept as that of the events is, in case it is that one: a broker may name its
/// clients by their login. Leaving at once, without a word, loses nothing of what it holds.
void StateCheckSession::onConnected(bool sessionPresent, const mosquitto_property* /*properties*/) {
  if (sessionPresent) {
    anothers_ = true;
    fail("it takes all connections of this login for one");
    return;
  }
  ready();
  askSome();
}

void StateCheckSession::askSome() {
  std::vector<std::string> topics;
  std::size_t bytes = 0;
  while (!properties_.empty() && topics.size() < kMaxTopics && bytes < kMaxTopicBytes) {
    for (std::string& topic : spellings(*properties_.back()->source)) {
      bytes += topic.size();
      byTopic_.emplace(topic, questions_.size());
      subscribing_.push_back(questions_.size());
      topics.push_back(std::move(topic));
    }
    questions_.push_back({std::move(properties_.back()), nullptr});
    properties_.pop_back();
    ++unanswered_;
  }
  std::vector<char*> pointers;
  std::transform(topics.begin(), topics.end(), std::back_inserter(pointers),
                 [](std::string& topic) { return topic.data(); });
  // Not as published: so only what comes because of the subscription is marked as retained.
  check(mosquitto_subscribe_multiple(client(), nullptr, static_cast<int>(pointers.size()),
                                     pointers.data(), 0, MQTT_SUB_OPT_SEND_RETAIN_ALWAYS, nullptr));
  lastAsked_ = Clock::now();
}

void StateCheckSession::onSubscribed(int count, const int* granted) {
  if (static_cast<std::size_t>(count) != subscribing_.size()) {
    fail("wrong answer to a subscription");
    return;
  }
  for (std::size_t index = 0; index < subscribing_.size(); ++index) {
    if (granted[index] >= MQTT_RC_UNSPECIFIED) {
      keep(questions_[subscribing_[index]]);
    }
  }
  subscribing_.clear();
  nextProbe_ = Clock::now();
}

void StateCheckSession::onReceived(const mosquitto_message& message,
                                   const mosquitto_property* /*properties*/) {
  const auto asked = byTopic_.find(message.topic);
  if (!message.retain || asked == byTopic_.end()) {
    return;
  }
  quiet_ = false;
  Question& question = questions_[asked->second];
  keep(question);
  const std::string_view payload(static_cast<const char*>(message.payload),
                                 static_cast<std::size_t>(message.payloadlen));
  if (payload == question.known->message->payload()) {
    question.same = true;
    return;
  }
  std::string error;
  const std::shared_ptr<Publication> found = reader_.read(message.topic, payload, true, error);
  if (found != nullptr) {
    found->stored = true;
    foundBytes_ += found->bytes();
    question.found = found;
  }
}

void StateCheckSession::keep(Question& question) {
  unanswered_ -= question.kept ? 0 : 1;
  question.kept = true;
}

/// All states that were asked for are in when all were answered, or when none came in a round that
/// began after the broker has had its time to begin.
void StateCheckSession::onProbeAnswered() {
  if (!properties_.empty() && foundBytes_ < kMaxFound) {
    askSome();
  } else if (unanswered_ == 0 || quiet_) {
    finish();
  } else {
    nextProbe_ = std::max(lastAsked_ + timing().stateSettling, Clock::now() + kProbePause);
  }
}

void StateCheckSession::finish() {
  std::vector<Arrival> answers;
  for (Question& question : questions_) {
    if (!question.kept) {
      answers.push_back({Arrival::Kind::StateGone, std::move(question.known), asking_});
    } else if (question.found != nullptr && !question.same) {
      answers.push_back({Arrival::Kind::StateFound, std::move(question.found), asking_});
    }
  }
  questions_.clear();
  byTopic_.clear();
  unanswered_ = 0;
  foundBytes_ = 0;
  report_(answers);
  if (!properties_.empty()) {
    askSome();
  }
}

}  // namespace event
