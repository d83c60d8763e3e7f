// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "devkit/host-monitor/temperature.h"

#include <algorithm>
#include <cmath>

namespace host_monitor {
namespace {

constexpr const char* kZones = "/sys/class/thermal/";

}  // namespace

std::vector<Property> Temperature::read() {
  std::optional<std::int64_t> hottest;
  std::optional<bool> critical;
  for (const std::string& name : tree_.names(kZones, "thermal_zone")) {
    const std::string zone = kZones + name;
    // In thousandths of a degree.
    const auto now = tree_.number(zone + "/temp");
    if (!now) {
      continue;
    }
    hottest = std::max(hottest.value_or(*now), *now);
    if (const auto limit = criticalPoint(zone)) {
      critical = critical.value_or(false) || *now >= *limit;
    }
  }

  std::vector<Property> properties;
  if (hottest) {
    const double degrees = std::round(static_cast<double>(*hottest) / 100) / 10;
    properties.push_back({"Monitoring/EnvironmentalConditions/Temperature", "",
                          JsonPtr(json_pack("{s:f}", "Status", degrees))});
  }
  if (critical) {
    properties.push_back({"Device/HardwareFailure/TemperatureCritical", "",
                          JsonPtr(json_pack("{s:b}", "Critical", *critical ? 1 : 0))});
  }
  return properties;
}

std::optional<std::int64_t> Temperature::criticalPoint(const std::string& zone) const {
  for (int point = 0;; ++point) {
    const std::string file = zone + "/trip_point_" + std::to_string(point);
    const auto type = tree_.text(file + "_type");
    if (!type) {
      return std::nullopt;
    }
    if (type == "critical") {
      return tree_.number(file + "_temp");
    }
  }
}

}  // namespace host_monitor
