// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "events/event_consumer_handler.h"
#include "service/event_data_source_dbus.h"
#include "tests/fuzz/session_model.h"

namespace fuzz {

/// Everything that the service answered and sent, as the model says it.
std::vector<std::string>& said();

/// The data source without a bus: calls reach its handlers as GDBus hands them over, answers and
/// messages are noted. Only one at a time.
class ServiceCalls {
 public:
  ServiceCalls();
  ~ServiceCalls();
  ServiceCalls(const ServiceCalls&) = delete;
  ServiceCalls& operator=(const ServiceCalls&) = delete;

  void create(const std::string& session);
  void remove(const std::string& session);
  void request(const Request& request, const std::string& payload);

 private:
  std::unique_ptr<IWSServiceDBus> streaming_;
  std::unique_ptr<EventConsumerHandler> handler_;
  std::unique_ptr<EventDataSourceDBus> source_;
};

}  // namespace fuzz
