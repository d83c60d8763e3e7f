#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 the lumenfeed developers
# SPDX-License-Identifier: MIT
#
# Builds the service for a device: against an installed tree of a vendor's, which here holds the
# doubles of the three libraries, with the options of the preset for devices.
#   system_platform_test.sh STEP WORK_DIR SOURCE_TREE DOUBLES_DIR [CMAKE_ARGUMENT...]
# STEP: service (all of the above), unknown-platform or missing-library (what is to be refused).
set -euo pipefail

step=$1 work=$2 source=$3 doubles=$4
shift 4
arguments=("$@")
vendor=$work/vendor

fail() {
  echo "$*" >&2
  exit 1
}

# What a vendor installs: headers, libraries, and one description for pkg-config each.
make_vendor_tree() {
  mkdir -p "$vendor/include" "$vendor/lib/pkgconfig"
  cp "$source"/platform/include/*.h "$vendor/include/"
  cp -P "$doubles"/*.so* "$vendor/lib/"
  local name
  for name in ovlog event2 wsevent; do
    cat >"$vendor/lib/pkgconfig/$name.pc" <<PC
prefix=$vendor
Name: $name
Description: A vendor's library
Version: 7.1
Requires: glib-2.0
Cflags: -I\${prefix}/include
Libs: -L\${prefix}/lib -l$name
PC
  done
}

configure() {
  (cd "$source" && PKG_CONFIG_PATH=$vendor/lib/pkgconfig cmake --preset device -B "$work/build" \
    "${arguments[@]}" "$@")
}

# refused TEXT CMAKE_ARGUMENT...: configuring fails and says why.
refused() {
  local text=$1 output
  shift
  if output=$(configure "$@" 2>&1); then
    fail "configured, with $*"
  fi
  grep -qF "$text" <<<"$output" || fail "no word of '$text' in: $output"
}

# The program needs the vendor's libraries by their names and nothing else of ours, and looks for
# them beside itself, after LD_LIBRARY_PATH.
check_program() {
  local program=$1 dynamic name
  dynamic=$(readelf -dW "$program")
  for name in libovlog.so.1 libevent2.so.1 libwsevent.so.1; do
    grep -qF "(NEEDED)" <<<"$dynamic" || fail "nothing is needed: $dynamic"
    grep -qF "Shared library: [$name]" <<<"$dynamic" || fail "$name is not needed: $dynamic"
  done
  grep -qF "(RPATH)" <<<"$dynamic" && fail "there is an RPATH: $dynamic"
  # shellcheck disable=SC2016  # the dynamic linker's own variable
  grep -qE '\(RUNPATH\) .*\[\$ORIGIN/\.\./lib[^:]*\]$' <<<"$dynamic" ||
    fail "the run path is not relative: $dynamic"
  ! find "$work/installed" -name 'lib*.so*' | grep -q . || fail "libraries were installed"
}

# Without a bus: status 1 and two lines, of the client and of the entry point, in this order.
check_start() {
  local program=$1 status=0 lines expected
  mkdir "$work/record" && mkfifo "$work/record/control"
  LUMENFEED_DOUBLES=$work/record LD_LIBRARY_PATH=$vendor/lib \
    DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nonexistent "$program" || status=$?
  [ $status -eq 1 ] || fail "the exit status is $status"
  lines=$(grep -P '^log\t(?!64\t)' "$work/record/record" | cut -f 2-4)
  expected=$'256\t-\tCould not establish DBus connection\n'
  expected+=$'256\t-\tException when starting lumenfeed: Could not establish DBus connection, could not start'
  [ "$lines" = "$expected" ] || fail "logged: $(cat "$work/record/record")"
}

rm -rf "$work"
mkdir -p "$work"
case $step in
  service)
    make_vendor_tree
    configure
    cmake --build "$work/build"
    cmake --install "$work/build" --prefix "$work/installed"
    check_program "$work/installed/sbin/lumenfeed"
    check_start "$work/installed/sbin/lumenfeed"
    ;;
  unknown-platform)
    refused 'LUMENFEED_PLATFORM is "vendor"; it must be host or system' -DLUMENFEED_PLATFORM=vendor
    ;;
  missing-library)
    make_vendor_tree
    rm "$vendor/lib/pkgconfig/wsevent.pc"
    refused wsevent
    ;;
  *) fail "unknown step $step" ;;
esac
