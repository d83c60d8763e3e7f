// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "devkit/host-monitor/storage_failure.h"

#include <map>
#include <string>

namespace host_monitor {
namespace {

/// The states in which the kernel has given up a SCSI or SATA ("offline") or NVMe disk.
bool isFailed(const std::string& state) {
  return state == "offline" || state == "transport-offline" || state == "dead";
}

}  // namespace

std::vector<Property> StorageFailure::read() {
  // A file system on a whole disk shares its token with the disk: either can fail.
  std::map<std::string, bool> failed;
  for (const std::string& device : tree_.names("/sys/fs/ext4")) {
    if (const auto errors = tree_.number("/sys/fs/ext4/" + device + "/errors_count")) {
      failed[device] |= *errors > 0;
    }
  }
  for (const std::string& disk : tree_.names("/sys/block")) {
    if (const auto state = tree_.text("/sys/block/" + disk + "/device/state")) {
      failed[disk] |= isFailed(*state);
    }
  }

  std::vector<Property> properties;
  properties.reserve(failed.size());
  for (const auto& [token, hasFailed] : failed) {
    properties.push_back({"Device/HardwareFailure/StorageFailure", token,
                          JsonPtr(json_pack("{s:b}", "Failed", hasFailed ? 1 : 0))});
  }
  return properties;
}

}  // namespace host_monitor
