// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "devkit/host-monitor/property.h"
#include "devkit/host-monitor/tree.h"

namespace host_monitor {

/// The hottest of the machine's thermal zones, in degrees Celsius, and whether any zone has
/// reached the temperature that its driver calls critical.
class Temperature : public Measurement {
 public:
  explicit Temperature(const Tree& tree) : tree_(tree) {}

  std::vector<Property> read() override;

 private:
  std::optional<std::int64_t> criticalPoint(const std::string& zone) const;

  const Tree& tree_;
};

}  // namespace host_monitor
