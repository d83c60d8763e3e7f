// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <vector>

#include "devkit/host-monitor/property.h"
#include "devkit/host-monitor/tree.h"

namespace host_monitor {

/// When the machine was started.
class LastReboot : public Measurement {
 public:
  explicit LastReboot(const Tree& tree) : tree_(tree) {}

  std::vector<Property> read() override;

 private:
  const Tree& tree_;
};

/// When the clock was last set from the network, where systemd-timesyncd does that. Nothing else
/// on a Linux machine keeps that moment: the kernel only knows whether, not when.
class LastClockSynchronization : public Measurement {
 public:
  explicit LastClockSynchronization(const Tree& tree) : tree_(tree) {}

  std::vector<Property> read() override;

 private:
  const Tree& tree_;
};

}  // namespace host_monitor
