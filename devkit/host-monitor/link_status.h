// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "devkit/host-monitor/property.h"
#include "devkit/host-monitor/tree.h"

namespace host_monitor {

/// How each network interface is connected. An interface is there while its driver reports a
/// speed: it is gone while the link is down, and for virtual interfaces that have none.
class LinkStatus : public Measurement {
 public:
  explicit LinkStatus(const Tree& tree) : tree_(tree) {}

  std::vector<Property> read() override;

 private:
  JsonPtr link(const std::string& interface) const;
  std::optional<bool> autoNegotiation(const std::string& interface) const;

  const Tree& tree_;
};

}  // namespace host_monitor
