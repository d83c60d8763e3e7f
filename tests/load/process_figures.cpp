// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/load/process_figures.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace load {

ProcessFigures figuresOf(pid_t process) {
  const std::string folder = "/proc/" + std::to_string(process);
  ProcessFigures figures;
  figures.when = std::chrono::steady_clock::now();
  const std::filesystem::directory_iterator open(folder + "/fd");
  figures.descriptors = static_cast<std::size_t>(std::distance(begin(open), end(open)));
  std::size_t pages = 0;
  std::ifstream(folder + "/statm") >> pages >> pages;
  figures.residentBytes = pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  return figures;
}

double bytesPerHour(const std::vector<ProcessFigures>& samples) {
  const auto count = static_cast<double>(samples.size());
  double sumX = 0;
  double sumY = 0;
  double sumXX = 0;
  double sumXY = 0;
  for (const ProcessFigures& sample : samples) {
    const std::chrono::duration<double, std::ratio<3600>> hours =
        sample.when - samples.front().when;
    const double x = hours.count();
    const auto y = static_cast<double>(sample.residentBytes);
    sumX += x;
    sumY += y;
    sumXX += x * x;
    sumXY += x * y;
  }
  const double spread = count * sumXX - sumX * sumX;
  return spread > 0 ? (count * sumXY - sumX * sumY) / spread : 0;
}

}  // namespace load
