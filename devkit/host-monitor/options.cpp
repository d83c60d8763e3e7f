// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "devkit/host-monitor/options.h"

#include "devkit/command-line/command_line.h"

namespace host_monitor {
namespace {

constexpr double kShortestInterval = 0.01;
constexpr double kLongestInterval = 86400;

constexpr const char* kSummary =
    "Measures this machine and publishes what it finds as events in the ONVIF event-broker\n"
    "format: retained MQTT messages under PREFIX/onvif-ej/. Only what the machine can really\n"
    "measure is published:\n"
    "\n"
    "  Monitoring/ProcessorUsage                       percent, at every interval\n"
    "  Monitoring/LinkStatus                           of each interface with a known speed\n"
    "  Monitoring/OperatingTime/LastReboot\n"
    "  Monitoring/OperatingTime/LastClockSynchronization\n"
    "                                                  where systemd-timesyncd sets the clock\n"
    "  Monitoring/EnvironmentalConditions/Temperature  of the hottest thermal zone\n"
    "  Device/HardwareFailure/TemperatureCritical      where a zone has a critical point\n"
    "  Device/HardwareFailure/StorageFailure           of ext4 file systems, SCSI and NVMe disks\n"
    "\n"
    "The first states are published at once (the first ProcessorUsage is the average since the\n"
    "machine was started), later ones when they change. A state that can no longer be measured\n"
    "is removed from the broker.\n"
    "\n"
    "It runs until SIGINT or SIGTERM, then removes all its states from the broker. A lost\n"
    "connection is made again, and the broker then gets every state again.";

constexpr const char* kDescription =
    "Examples:\n"
    "  lumenfeed-host-monitor --broker unix:/run/mosquitto.sock --prefix gate-1\n"
    "  lumenfeed-host-monitor --broker broker.example:1883 --interval 60\n"
    "\n"
    "Exit status:\n"
    "  0  ended by a signal; with --once, everything is published\n"
    "  1  the broker did not confirm everything in time\n"
    "  2  wrong usage\n";

constexpr command_line::Program kProgram = {"lumenfeed-host-monitor", kSummary, kDescription};

std::nullopt_t fail(const std::string& message) {
  command_line::complain(kProgram, message);
  return std::nullopt;
}

/// Where GOption leaves what it found; texts are owned by GLib's allocator.
struct Raw {
  char* broker = nullptr;
  char* prefix = nullptr;
  char* root = nullptr;
  double interval = Options().interval;
  double wait = Options().wait;
  gboolean perCpu = FALSE;
  gboolean once = FALSE;

  Raw() = default;
  Raw(const Raw&) = delete;
  Raw& operator=(const Raw&) = delete;
  ~Raw() {
    g_free(broker);
    g_free(prefix);
    g_free(root);
  }
};

bool parseCommandLine(int argc, char** argv, Raw& raw) {
  const GOptionEntry entries[] = {
      {"broker", 'b', 0, G_OPTION_ARG_STRING, &raw.broker,
       "The MQTT broker: unix:/path or host[:port] (default: localhost:1883)", "ADDRESS"},
      {"prefix", 'p', 0, G_OPTION_ARG_STRING, &raw.prefix,
       "What stands before /onvif-ej/ in the topics (default: the host's name)", "PREFIX"},
      {"interval", 'i', 0, G_OPTION_ARG_DOUBLE, &raw.interval,
       "Seconds from one measurement to the next, 0.01 to 86400 (default: 5)", "SECONDS"},
      {"per-cpu", 0, 0, G_OPTION_ARG_NONE, &raw.perCpu,
       "Publish the usage of each processor too, not only of all together", nullptr},
      {"once", 0, 0, G_OPTION_ARG_NONE, &raw.once,
       "Publish everything once, leave it at the broker, and end", nullptr},
      {"wait", 'w', 0, G_OPTION_ARG_DOUBLE, &raw.wait,
       "With --once: wait so many seconds for the broker (default: 10)", "SECONDS"},
      {"root", 0, 0, G_OPTION_ARG_FILENAME, &raw.root,
       "Read /proc, /sys and /run below this directory: for a container that sees its host's "
       "there, and for tests",
       "DIRECTORY"},
      {nullptr, 0, 0, G_OPTION_ARG_NONE, nullptr, nullptr, nullptr}};
  return command_line::parse(kProgram, entries, argc, argv);
}

}  // namespace

std::optional<Options> Options::parse(int argc, char** argv) {
  Raw raw;
  if (!parseCommandLine(argc, argv, raw)) {
    return std::nullopt;
  }
  Options options;
  const std::string broker = raw.broker != nullptr ? raw.broker : "localhost";
  const auto address = BrokerAddress::parse(broker);
  if (!address) {
    return fail("--broker '" + broker + "' is neither unix:/path nor host[:port]");
  }
  options.broker = *address;
  options.prefix = raw.prefix != nullptr ? raw.prefix : g_get_host_name();
  if (options.prefix.empty() || options.prefix.find_first_of("+#") != std::string::npos ||
      !g_utf8_validate(options.prefix.c_str(), -1, nullptr)) {
    return fail("--prefix '" + options.prefix + "' is no MQTT topic (empty, '+', '#' or no UTF-8)");
  }
  // The negation catches what is no number, too.
  if (!(raw.interval >= kShortestInterval && raw.interval <= kLongestInterval)) {
    return fail("--interval is not from 0.01 to 86400 seconds");
  }
  if (!(raw.wait > 0 && raw.wait <= kLongestInterval)) {
    return fail("--wait is not above 0 and up to 86400 seconds");
  }
  options.interval = raw.interval;
  options.wait = raw.wait;
  options.perCpu = raw.perCpu == TRUE;
  options.once = raw.once == TRUE;
  options.root = raw.root != nullptr ? raw.root : "";
  return options;
}

}  // namespace host_monitor
