// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/host/event/arrival.h"
#include "platform/host/event/broker_client.h"
#include "platform/host/event/publication_reader.h"

namespace event {

/// The connection on which StateCheck asks: subscribes to topics, some at a time, and looks which
/// states come.
class StateCheckSession : private BrokerClient {
 public:
  using Wanted = std::function<bool()>;
  using Report = std::function<void(std::vector<Arrival>& answers)>;

  /// What is answered is taken from `properties`.
  StateCheckSession(const Configuration& configuration, const Timing& timing, StopSignal& stop,
                    std::vector<PublicationPtr>& properties, std::uint64_t asking);

  /// Returns without a reason when all is answered or no longer wanted.
  std::string run(const Wanted& wanted, const Report& report);
  /// True if the broker gave us the session of another connection.
  bool isAnothers() const { return anothers_; }

 private:
  struct Question {
    PublicationPtr known;
    /// Another state than that.
    PublicationPtr found;
    /// The broker has something there, or does not tell.
    bool kept = false;
    bool same = false;
  };

  void onConnected(bool sessionPresent, const mosquitto_property* properties) override;
  void onSubscribed(int count, const int* granted) override;
  void onProbeAnswered() override;
  void onReceived(const mosquitto_message& message, const mosquitto_property* properties) override;

  void askSome();
  void keep(Question& question);
  bool settled() const { return Clock::now() >= lastAsked_ + timing().stateSettling; }
  void finish();

  std::vector<PublicationPtr>& properties_;
  const std::uint64_t asking_;
  PublicationReader reader_;
  std::vector<Question> questions_;
  std::unordered_map<std::string, std::size_t> byTopic_;
  /// The questions that the topics of the last SUBSCRIBE belong to.
  std::vector<std::size_t> subscribing_;
  std::size_t unanswered_ = 0;
  std::size_t foundBytes_ = 0;
  Clock::time_point lastAsked_{};
  Clock::time_point nextProbe_{};
  bool quiet_ = false;
  bool anothers_ = false;
  Report report_;
};

/// The MQTT topics under which the property's publisher may keep its state.
std::vector<std::string> spellings(const Source& source);

}  // namespace event
