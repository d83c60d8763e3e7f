# SPDX-FileCopyrightText: 2026 the lumenfeed developers
# SPDX-License-Identifier: MIT
# shellcheck shell=bash
#
# What a script asks and expects that lives with the packages in a root. Sourced.

name=com.ovra.WSEventDataSource1
# bus_call METHOD ARGUMENT...: calls the bus itself.
bus_call() {
  local method=$1
  shift
  dbus-send --system --print-reply=literal --dest=org.freedesktop.DBus / \
    "org.freedesktop.DBus.$method" "$@"
}
fail() {
  echo "$(basename "$0"): $*" >&2
  exit 1
}

# as_expected WHAT EXPECTED ACTUAL
as_expected() {
  [ "$2" = "$3" ] || fail "$1: expected '$2', got '$3'"
  echo "ok: $1"
}

owner() { bus_call GetConnectionUnixUser string:$name | awk '{print $2}'; }
process() { bus_call GetConnectionUnixProcessID string:$name | awk '{print $2}'; }

# session WHAT: a session end to end, with the events of the host monitor that runs.
session() {
  lumenfeed-console --topic 'tns1:Monitoring/ProcessorUsage' --count 3 --seconds 60 >/tmp/events ||
    fail "the console ended with status $?: $(cat /tmp/events /tmp/*.log)"
  grep -q '"type":"response"' /tmp/events || fail "no response: $(cat /tmp/events)"
  as_expected "$1" 3 "$(grep -c '"topic":"tns1:Monitoring/ProcessorUsage"' /tmp/events)"
}
