// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <glib-unix.h>
#include <ovlog.h>

#include <csignal>
#include <exception>

#include "common/log_level.h"
#include "events/event_consumer_handler.h"
#include "service/event_data_source_dbus.h"
#include "service/ws_service_dbus.h"

static gboolean handle_termination(void* userData) {
  g_main_loop_quit(static_cast<GMainLoop*>(userData));
  return G_SOURCE_REMOVE;
}

int main(int argc, char** argv) {
  ov_log_syslog(argc, argv);
  try {
    g_log(nullptr, G_LOG_LEVEL_INFO, "%sStarting lumenfeed", common::kLogPrefix);
    // Left to process exit; static, so that it is still reachable then.
    static GMainLoop* const loop = g_main_loop_new(nullptr, FALSE);
    g_unix_signal_add(SIGTERM, handle_termination, loop);

    // Each holds a plain pointer to the one before: destroyed in reverse order, whatever happens.
    WSServiceDBus wsService;
    EventConsumerHandler consumerHandler(&wsService);
    const EventDataSourceDBus dataSource(&consumerHandler);
    g_main_loop_run(loop);
  } catch (const std::exception& exception) {
    g_log(nullptr, common::errorLevel(), "%sException when starting lumenfeed: %s, could not start",
          common::kLogPrefix, exception.what());
    return 1;
  }
  g_log(nullptr, G_LOG_LEVEL_INFO, "%sTerminating lumenfeed", common::kLogPrefix);
  return 0;
}
