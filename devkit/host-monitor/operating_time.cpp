// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "devkit/host-monitor/operating_time.h"

#include <cstdint>
#include <sstream>
#include <string>

#include "common/ptr.h"

namespace host_monitor {
namespace {

std::vector<Property> timeProperty(const char* topic, std::int64_t seconds) {
  const common::Ptr<GDateTime, g_date_time_unref> time(g_date_time_new_from_unix_utc(seconds));
  std::vector<Property> properties;
  if (time != nullptr) {
    const common::GCharPtr text(g_date_time_format(time.get(), "%Y-%m-%dT%H:%M:%SZ"));
    properties.push_back({topic, "", JsonPtr(json_pack("{s:s}", "Status", text.get()))});
  }
  return properties;
}

}  // namespace

std::vector<Property> LastReboot::read() {
  std::istringstream lines(tree_.text("/proc/stat").value_or(""));
  for (std::string line; std::getline(lines, line);) {
    std::istringstream fields(line);
    std::string name;
    std::int64_t seconds = 0;
    if (fields >> name >> seconds && name == "btime") {
      return timeProperty("Monitoring/OperatingTime/LastReboot", seconds);
    }
  }
  return {};
}

std::vector<Property> LastClockSynchronization::read() {
  // The file is touched at each synchronization.
  const auto seconds = tree_.modified("/run/systemd/timesync/synchronized");
  return seconds ? timeProperty("Monitoring/OperatingTime/LastClockSynchronization", *seconds)
                 : std::vector<Property>();
}

}  // namespace host_monitor
