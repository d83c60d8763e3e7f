#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 the lumenfeed developers
# SPDX-License-Identifier: MIT
#
# Puts wrong includes into a copy of the tree and wants each of them found.
#   check_layers_test.sh SOURCE_TREE
set -euo pipefail

source=$1
copy=$(mktemp -d)
trap 'rm -rf "$copy"' EXIT
for folder in common dbus input events service sessions platform devkit; do
  cp -r "$source/$folder" "$copy/"
done
check="$source/scripts/check-layers"
"$check" "$copy"

failures=0
# wrong FILE INCLUDE: FILE with this include as its third line must be refused, by its place.
wrong() {
  cp "$copy/$1" "$copy/saved"
  sed -i "3i #include $2" "$copy/$1"
  if report=$("$check" "$copy" 2>&1); then
    echo "$1 may include $2" >&2
    failures=1
  elif ! grep -qF "$1:3: " <<<"$report"; then
    echo "$1 including $2 is not reported by its place: $report" >&2
    failures=1
  fi
  mv "$copy/saved" "$copy/$1"
}

wrong common/ptr.h '"service/dbus_names.h"'
wrong input/input_handler.cpp '"events/event_filter.h"'
wrong input/input_handler.h '"service/dbus_names.h"'
wrong input/input_handler.cpp '<event2.h>'
wrong events/event_filter.h '"service/ws_service_dbus.h"'
wrong events/event_consumer_handler.cpp '"service/dbus_names.h"'
wrong events/event_consumer_handler.cpp '"dbus/generated_ws_event_dbus.h"'
wrong events/event_filter.cpp '<ovlog.h>'
wrong service/ws_service_dbus.h '"sessions/session_data.h"'
wrong service/ws_service_dbus.cpp '"input/input_handler.h"'
wrong service/event_data_source_dbus.cpp '<ovlog.h>'
wrong service/main.cpp '<wsevent.h>'
wrong sessions/session_data.h '<event2.h>'
wrong sessions/request_handler.cpp '"platform/host/model/json_text.h"'
wrong platform/include/event2.h '"common/ptr.h"'
wrong platform/host/log/ov_log_syslog.cpp '"service/dbus_names.h"'
wrong devkit/conformance/probe.cpp '"platform/host/model/json_text.h"'
exit $failures
