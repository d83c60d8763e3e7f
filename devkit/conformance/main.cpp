// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "checks.h"

int main(int argc, char** argv) {
  const Options options = readOptions(argc, argv);
  Report report;
  checkLog(argc, argv, report);
  checkFilters(report);
  checkSubscriptions(options, report);
  checkDelivery(options, report);
  checkEnds(options, report);
  return report.end();
}
