// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "bench/sink/data_source.h"

#include <cstdio>
#include <string_view>
#include <utility>

#include "bench/common/load.h"
#include "service/dbus_names.h"

namespace {

constexpr const char* kInterface = "com.ovra.WSDataStreaming1.DataSource";

/// One call of the data source, answered before this returns.
bool call(sd_bus* bus, sd_bus_message* message, const char* method) {
  sd_bus_error error = SD_BUS_ERROR_NULL;
  const bool done = sd_bus_call(bus, message, 0, &error, nullptr) >= 0;
  if (!done) {
    std::fprintf(stderr, "sink: %s: %s\n", method, error.message);
  }
  sd_bus_error_free(&error);
  return done;
}

MessagePtr makeCall(sd_bus* bus, const char* method) {
  sd_bus_message* message = nullptr;
  check(sd_bus_message_new_method_call(bus, &message, dbus_names::kDataSourceBusName,
                                       dbus_names::kDataSourceObjectPath, kInterface, method),
        "cannot make a call");
  return MessagePtr(message);
}

}  // namespace

void DataSource::owned() {
  if (onOwned_) {
    std::exchange(onOwned_, nullptr)(bench::now());
  }
}

void DataSource::awaitName(std::function<void(std::uint64_t)> onOwned) {
  onOwned_ = std::move(onOwned);
  if (!watching_) {
    watching_ = true;
    check(sd_bus_match_signal(bus_, nullptr, "org.freedesktop.DBus", nullptr,
                              "org.freedesktop.DBus", "NameOwnerChanged", onOwnerChanged, this),
          "cannot watch the name");
  }
  if (sd_bus_get_name_creds(bus_, dbus_names::kDataSourceBusName, 0, nullptr) >= 0) {
    owned();
  }
}

int DataSource::onOwnerChanged(sd_bus_message* message, void* userData, sd_bus_error* /*error*/) {
  const char* name = nullptr;
  const char* newOwner = nullptr;
  if (sd_bus_message_read(message, "sss", &name, nullptr, &newOwner) >= 0 &&
      std::string_view(name) == dbus_names::kDataSourceBusName && *newOwner != '\0') {
    static_cast<DataSource*>(userData)->owned();
  }
  return 0;
}

std::uint64_t DataSource::open(std::uint64_t count, const std::string& filters) {
  std::uint64_t opened = 0;
  for (std::uint64_t index = 0; index < count; ++index) {
    const std::string session = "s" + std::to_string(index);
    const MessagePtr create = makeCall(bus_, "CreateSession");
    check(sd_bus_message_append(create.get(), "sas", session.c_str(), 0), "cannot append");
    const MessagePtr configure = makeCall(bus_, "HandleRequest");
    check(sd_bus_message_append(configure.get(), "ssssss", session.c_str(), "1.0", "configured",
                                "events", "configure", filters.c_str()),
          "cannot append");
    opened +=
        call(bus_, create.get(), "CreateSession") && call(bus_, configure.get(), "HandleRequest");
  }
  return opened;
}

void DataSource::probe(std::function<void(std::uint64_t)> onAnswer) {
  onAnswer_ = std::move(onAnswer);
  probed_ = bench::now();
  // A session that does not exist: refused by the main loop, and nothing changes.
  const MessagePtr remove = makeCall(bus_, "RemoveSession");
  check(sd_bus_message_append(remove.get(), "s", "no such session"), "cannot append");
  check(sd_bus_call_async(bus_, nullptr, remove.get(), onProbeAnswer, this, 0), "cannot probe");
}

int DataSource::onProbeAnswer(sd_bus_message* /*message*/, void* userData,
                              sd_bus_error* /*error*/) {
  auto* self = static_cast<DataSource*>(userData);
  if (self->onAnswer_) {
    std::exchange(self->onAnswer_, nullptr)(bench::now() - self->probed_);
  }
  return 0;
}
