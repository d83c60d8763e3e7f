// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <jansson.h>

#include <memory>
#include <string>
#include <vector>

namespace host_monitor {

/// jansson's own release function has internal linkage: no type of a header may be made of it.
struct JsonDeleter {
  void operator()(json_t* json) const { json_decref(json); }
};
using JsonPtr = std::unique_ptr<json_t, JsonDeleter>;

/// The state of one measured thing, as ONVIF names it.
struct Property {
  /// The ONVIF topic without its namespace prefix, for instance "Monitoring/ProcessorUsage".
  std::string topic;
  /// The value of the Source item "Token"; empty where the topic has no source.
  std::string token;
  /// The items of Data: an object.
  JsonPtr data;
  /// Published at every interval, not only when it changed.
  bool periodic = false;
};

/// One kind of thing that this machine can measure. Implementations read the kernel's files and
/// nothing else, on the main thread.
class Measurement {
 public:
  Measurement() = default;
  Measurement(const Measurement&) = delete;
  Measurement& operator=(const Measurement&) = delete;
  virtual ~Measurement() = default;

  /// The states of all things of the kind that can be measured now; none is a fine answer.
  virtual std::vector<Property> read() = 0;
};

}  // namespace host_monitor
