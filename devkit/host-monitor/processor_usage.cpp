// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "devkit/host-monitor/processor_usage.h"

#include <cmath>
#include <sstream>

namespace host_monitor {

bool ProcessorUsage::parse(const std::string& line, std::string& token, Reading& reading) const {
  std::istringstream fields(line);
  std::uint64_t user = 0;
  std::uint64_t nice = 0;
  std::uint64_t system = 0;
  std::uint64_t idle = 0;
  if (line.rfind("cpu", 0) != 0 || !(fields >> token >> user >> nice >> system >> idle)) {
    return false;
  }
  // Later fields came with later kernels. Guest time, behind them, is within user time already.
  std::uint64_t ioWait = 0;
  std::uint64_t interrupts = 0;
  std::uint64_t softInterrupts = 0;
  std::uint64_t stolen = 0;
  fields >> ioWait >> interrupts >> softInterrupts >> stolen;
  reading.busy = user + nice + system + interrupts + softInterrupts + stolen;
  reading.total = reading.busy + idle + ioWait;
  return token == "cpu" || perCpu_;
}

std::vector<Property> ProcessorUsage::read() {
  std::vector<Property> properties;
  std::istringstream lines(tree_.text("/proc/stat").value_or(""));
  for (std::string line; std::getline(lines, line);) {
    std::string token;
    Reading now;
    if (!parse(line, token, now)) {
      continue;
    }
    Reading& last = last_[token];
    // No tick since the last reading, or a counter of the kernel that went back: no new value.
    if (now.total > last.total && now.busy >= last.busy) {
      const double share =
          static_cast<double>(now.busy - last.busy) / static_cast<double>(now.total - last.total);
      now.percent = std::round(share * 1000) / 10;
    } else {
      now.percent = last.percent;
    }
    last = now;
    properties.push_back({"Monitoring/ProcessorUsage", token,
                          JsonPtr(json_pack("{s:f}", "Value", now.percent)), true});
  }
  return properties;
}

}  // namespace host_monitor
