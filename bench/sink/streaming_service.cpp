// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "bench/sink/streaming_service.h"

#include <cstdlib>
#include <utility>

#include "bench/common/load.h"
#include "bench/common/message.h"
#include "service/dbus_names.h"

StreamingService::StreamingService(sd_bus* bus, Recorder& recorder, std::function<void()> onFull)
    : recorder_(recorder), onFull_(std::move(onFull)) {
  static const sd_bus_vtable vtable[] = {
      SD_BUS_VTABLE_START(0),
      SD_BUS_METHOD("SendResponse", "ssssss", "", onResponseCall, SD_BUS_VTABLE_UNPRIVILEGED),
      SD_BUS_METHOD("SendErrorResponse", "ssssss", "", onErrorResponseCall,
                    SD_BUS_VTABLE_UNPRIVILEGED),
      SD_BUS_METHOD("SendStreamData", "sssss", "", onStreamData, SD_BUS_VTABLE_UNPRIVILEGED),
      SD_BUS_VTABLE_END};
  // Interface and bus name are one text.
  check(sd_bus_add_object_vtable(bus, nullptr, dbus_names::kServiceObjectPath,
                                 dbus_names::kServiceBusName, vtable, this),
        "cannot export the object");
  check(sd_bus_request_name(bus, dbus_names::kServiceBusName, 0), "cannot own the name");
}

void StreamingService::reset(std::uint64_t expected) {
  recorder_.reset(expected);
  counts_.received = 0;
  counts_.answered = 0;
  counts_.mostInFlight = 0;
  strangers_ = 0;
}

int StreamingService::onStreamData(sd_bus_message* message, void* userData,
                                   sd_bus_error* /*error*/) {
  auto* self = static_cast<StreamingService*>(userData);
  const std::uint64_t received = bench::now();
  const char* session = nullptr;
  const char* payload = nullptr;
  const int read =
      sd_bus_message_read(message, "sssss", &session, nullptr, nullptr, nullptr, &payload);
  if (read < 0) {
    return read;
  }
  ++self->counts_.received;
  bench::Stamp stamp;
  if (!bench::readStamp(payload, stamp)) {
    ++self->strangers_;
    return sd_bus_reply_method_return(message, nullptr);
  }
  // Sessions are called s0, s1, and so on.
  const std::uint64_t index = std::strtoull(session + 1, nullptr, 10);
  const bool full = self->recorder_.add({received, stamp.sent, stamp.number, index});
  const int answered = sd_bus_reply_method_return(message, nullptr);
  if (full) {
    self->onFull_();
  }
  return answered;
}

int StreamingService::onResponseCall(sd_bus_message* message, void* userData,
                                     sd_bus_error* /*error*/) {
  auto* self = static_cast<StreamingService*>(userData);
  ++self->responses_;
  return sd_bus_reply_method_return(message, nullptr);
}

int StreamingService::onErrorResponseCall(sd_bus_message* message, void* userData,
                                          sd_bus_error* error) {
  auto* self = static_cast<StreamingService*>(userData);
  ++self->errorResponses_;
  return onResponseCall(message, userData, error);
}
