// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <mosquitto.h>
#include <mqtt_protocol.h>

#include <cstdint>

namespace event {

/// MQTT properties for one call.
class MqttProperties {
 public:
  MqttProperties() = default;
  ~MqttProperties() { mosquitto_property_free_all(&list_); }
  MqttProperties(const MqttProperties&) = delete;
  MqttProperties& operator=(const MqttProperties&) = delete;

  void addInt32(int id, std::uint32_t value) { mosquitto_property_add_int32(&list_, id, value); }
  void addVarint(int id, std::uint32_t value) { mosquitto_property_add_varint(&list_, id, value); }
  const mosquitto_property* get() const { return list_; }

 private:
  mosquitto_property* list_ = nullptr;
};

}  // namespace event
