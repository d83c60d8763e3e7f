// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

#include "devkit/host-monitor/property.h"

namespace host_monitor {

/// The MQTT topic of a property in the ONVIF event-broker format.
std::string mqttTopic(const std::string& prefix, const Property& property);

/// The items of Data as compact JSON; equal texts are equal states.
std::string dataText(const Property& property);

/// The message of a property that has this state now.
std::string eventText(const Property& property, const std::string& data);

}  // namespace host_monitor
