// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "devkit/host-monitor/link_status.h"

#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace host_monitor {

std::vector<Property> LinkStatus::read() {
  std::vector<Property> properties;
  for (const std::string& interface : tree_.names("/sys/class/net")) {
    if (JsonPtr data = link(interface)) {
      properties.push_back({"Monitoring/LinkStatus", interface,
                            JsonPtr(json_pack("{s:o}", "Link", data.release()))});
    }
  }
  return properties;
}

JsonPtr LinkStatus::link(const std::string& interface) const {
  const std::string directory = "/sys/class/net/" + interface;
  // The kernel says -1, or refuses the reading, for what it does not know.
  const auto speed = tree_.number(directory + "/speed");
  if (!speed || *speed <= 0) {
    return nullptr;
  }
  JsonPtr link(json_object());
  if (const auto negotiated = autoNegotiation(interface)) {
    json_object_set_new(link.get(), "AutoNegotiation", json_boolean(*negotiated));
  }
  json_object_set_new(link.get(), "Speed", json_integer(*speed));
  const auto duplex = tree_.text(directory + "/duplex");
  if (duplex == "full" || duplex == "half") {
    json_object_set_new(link.get(), "Duplex", json_string(duplex == "full" ? "Full" : "Half"));
  }
  return link;
}

std::optional<bool> LinkStatus::autoNegotiation(const std::string& interface) const {
  // Only the kernel's network interface tells, and only of this machine.
  if (!tree_.ownMachine()) {
    return std::nullopt;
  }
  const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd < 0) {
    return std::nullopt;
  }
  // A first call with no room for the link modes is enough: the kernel fills in the rest.
  ethtool_link_settings settings = {};
  settings.cmd = ETHTOOL_GLINKSETTINGS;
  ifreq request = {};
  interface.copy(request.ifr_name, IFNAMSIZ - 1);
  request.ifr_data = reinterpret_cast<char*>(&settings);
  const bool answered = ioctl(fd, SIOCETHTOOL, &request) == 0;
  close(fd);
  return answered ? std::optional(settings.autoneg == AUTONEG_ENABLE) : std::nullopt;
}

}  // namespace host_monitor
