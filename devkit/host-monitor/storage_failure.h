// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <vector>

#include "devkit/host-monitor/property.h"
#include "devkit/host-monitor/tree.h"

namespace host_monitor {

/// Whether storage has failed, for what can tell: each mounted ext4 file system (errors found
/// since its last check) and each disk whose driver keeps a state.
class StorageFailure : public Measurement {
 public:
  explicit StorageFailure(const Tree& tree) : tree_(tree) {}

  std::vector<Property> read() override;

 private:
  const Tree& tree_;
};

}  // namespace host_monitor
