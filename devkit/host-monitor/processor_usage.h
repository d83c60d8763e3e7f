// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "devkit/host-monitor/property.h"
#include "devkit/host-monitor/tree.h"

namespace host_monitor {

/// How busy the processors were since the last reading, in percent; the first reading gives the
/// average since the machine was started, so that there is a value at once.
class ProcessorUsage : public Measurement {
 public:
  /// `perCpu`: beside all processors together ("cpu"), each by itself ("cpu0", "cpu1", ...).
  ProcessorUsage(const Tree& tree, bool perCpu) : tree_(tree), perCpu_(perCpu) {}

  std::vector<Property> read() override;

 private:
  struct Reading {
    std::uint64_t busy = 0;
    std::uint64_t total = 0;
    double percent = 0;
  };

  bool parse(const std::string& line, std::string& token, Reading& reading) const;

  const Tree& tree_;
  const bool perCpu_;
  std::map<std::string, Reading> last_;
};

}  // namespace host_monitor
