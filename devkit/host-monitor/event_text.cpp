// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "devkit/host-monitor/event_text.h"

#include "common/ptr.h"

namespace host_monitor {
namespace {

/// Percent and degrees are rounded to one decimal: more digits than six would only show how
/// binary numbers are stored.
constexpr size_t kFormat = JSON_COMPACT | JSON_REAL_PRECISION(6);

std::string dump(const json_t* json) {
  const common::MallocCharPtr text(json_dumps(json, kFormat));
  return text.get();
}

std::string now() {
  const common::Ptr<GDateTime, g_date_time_unref> time(g_date_time_new_now_utc());
  const common::GCharPtr seconds(g_date_time_format(time.get(), "%Y-%m-%dT%H:%M:%S"));
  const common::GCharPtr text(
      g_strdup_printf("%s.%03dZ", seconds.get(), g_date_time_get_microsecond(time.get()) / 1000));
  return text.get();
}

/// The kernel takes any bytes but '/' in the name of a network interface.
std::string validToken(const Property& property) {
  const common::GCharPtr valid(g_utf8_make_valid(property.token.c_str(), -1));
  return valid.get();
}

}  // namespace

std::string mqttTopic(const std::string& prefix, const Property& property) {
  std::string topic = prefix + "/onvif-ej/" + property.topic;
  if (!property.token.empty()) {
    std::string token = validToken(property);
    for (char& c : token) {
      // Wildcards cannot be published to.
      c = c == '+' || c == '#' ? '_' : c;
    }
    topic += "/&" + token;
  }
  return topic;
}

std::string dataText(const Property& property) {
  return dump(property.data.get());
}

std::string eventText(const Property& property, const std::string& data) {
  const JsonPtr source(json_object());
  if (!property.token.empty()) {
    json_object_set_new(source.get(), "Token", json_string(validToken(property).c_str()));
  }
  return R"({"UtcTime":")" + now() + R"(","Source":)" + dump(source.get()) + R"(,"Data":)" + data +
         "}";
}

}  // namespace host_monitor
