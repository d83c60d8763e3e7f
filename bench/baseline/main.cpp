// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

// The baseline of start-up and idle memory: a daemon that owns the service's name and does
// nothing else, linked to the same libraries.

#include <gio/gio.h>

#include <cstdlib>

#include "service/dbus_names.h"

namespace {

void onNameLost(GDBusConnection* /*connection*/, const char* name, void* /*userData*/) {
  g_printerr("baseline: cannot own %s\n", name);
  std::exit(EXIT_FAILURE);
}

}  // namespace

int main() {
  g_bus_own_name(G_BUS_TYPE_SYSTEM, dbus_names::kDataSourceBusName, G_BUS_NAME_OWNER_FLAGS_NONE,
                 nullptr, nullptr, onNameLost, nullptr, nullptr);
  g_main_loop_run(g_main_loop_new(nullptr, FALSE));
}
