#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 the lumenfeed developers
# SPDX-License-Identifier: MIT
#
# Run by scripts/cross-build inside its root: cross-build-inside.sh ARCH
set -euo pipefail
cd "$(dirname "$0")/../.."

architecture=$1
toolchain=$PWD/cmake/toolchains/$architecture.cmake
triplet=$(sed -n 's/^set(triplet \(.*\))/\1/p' "$toolchain")
qemu=$(sed -n 's/^set(CMAKE_CROSSCOMPILING_EMULATOR \(.*\))/\1/p' "$toolchain")
out=/out
work=$(mktemp -d)

step() { printf -- '-- %s: %s (%d s)\n' "$architecture" "$1" "$SECONDS"; }

step "Host platform and unit tests"
cmake -S . -B /build/host -G Ninja --toolchain "$toolchain" -DCMAKE_BUILD_TYPE=MinSizeRel >/dev/null
cmake --build /build/host --target ovlog event2 wsevent lumenfeed_console unit_tests unit_bus_tests
ctest --test-dir /build/host/tests/unit --output-on-failure --no-tests=error -j "$(nproc)" |
  tee "$work/tests"
for component in platform dev; do
  DESTDIR=$out cmake --install /build/host/platform --prefix /usr --component $component --strip
  DESTDIR=$out cmake --install /build/host/packaging --prefix /usr --component $component
done >/dev/null

step "Service, with the preset for devices"
export PKG_CONFIG_LIBDIR=$out/usr/lib/pkgconfig:/usr/lib/$triplet/pkgconfig:/usr/share/pkgconfig
cmake --preset device -B /build/device --toolchain "$toolchain" >/dev/null
cmake --build /build/device
DESTDIR=$out cmake --install /build/device --prefix /usr --component service --strip >/dev/null

step "A session end to end"
cat >"$work/mosquitto.conf" <<CONF
listener 0 $work/broker
allow_anonymous true
user root
CONF
mosquitto -c "$work/mosquitto.conf" >"$work/broker.log" 2>&1 &
printf '[broker]\naddress=unix:%s\n' "$work/broker" >"$work/event2.conf"
# A property's state, which the broker keeps: whoever subscribes gets it.
# shellcheck disable=SC2016  # expanded inside
timeout 60 bash -c 'until mosquitto_pub --unix "$1/broker" -r -q 1 \
  -t here/onvif-ej/Device/Trigger/DigitalInput -m "$2" 2>/dev/null; do :; done' bash "$work" \
  '{"Source":{"InputToken":"1"},"Data":{"LogicalState":true}}'
dbus-daemon --config-file=/build/host/private-bus/bus.conf --nofork --print-address=3 \
  3>"$work/address" 2>"$work/bus.log" &
# shellcheck disable=SC2016
timeout 60 bash -c 'until [ -s "$1/address" ]; do :; done' bash "$work"
DBUS_SYSTEM_BUS_ADDRESS=$(head -1 "$work/address")
export DBUS_SYSTEM_BUS_ADDRESS
EVENT2_CONFIG=$work/event2.conf LD_LIBRARY_PATH=$out/usr/lib \
  "$qemu" $out/usr/sbin/lumenfeed 2>"$work/service.log" &
service=$!
"$qemu" /build/host/devkit/console/lumenfeed-console --topic 'tns1:Device//.' --count 1 \
  --wait 60 --seconds 60 | tee "$work/events" ||
  { cat "$work"/*.log >&2; exit 1; }
grep -q '"property":"Initialized"' "$work/events"
kill -TERM $service
status=0
wait $service || status=$?
[ $status -eq 0 ] || { echo "the service ended with status $status" >&2; exit 1; }

step "Sizes, stripped"
{
  for file in "$out"/usr/sbin/lumenfeed "$out"/usr/lib/lib*.so.1.0.0; do
    printf '%-24s %8d bytes, %s\n' "$(basename "$file")" "$(stat -c %s "$file")" \
      "$("$triplet-size" "$file" | awk 'NR == 2 {print "text " $1 ", data " $2 ", bss " $3}')"
  done
  grep -E 'tests passed' "$work/tests"
} | tee "$out/report"
