#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 the lumenfeed developers
# SPDX-License-Identifier: MIT
#
# Run by scripts/check-confinement inside its root: as the unit that the root boots for, it starts
# the confined one; as that, with the argument "run", it is confined and runs the tests.
set -euo pipefail

if [ "${1:-}" != run ]; then
  exec systemctl start tests.service
fi

# as_expected WHAT EXPECTED ACTUAL
as_expected() {
  [ "$2" = "$3" ] || { echo "test-confined: $1: expected '$2', got '$3'" >&2; exit 1; }
  echo "ok: $1"
}
# The tests prove nothing of a confinement that is not there.
of_status() { awk -v name="$1:" '$1 == name {print $2}' /proc/self/status; }
as_expected "a user of its own" daemon "$(id -un)"
as_expected "no capabilities" "0000000000000000 0000000000000000" "$(of_status CapEff) $(of_status CapBnd)"
as_expected "no new privileges" 1 "$(of_status NoNewPrivs)"
as_expected "system calls are filtered" 2 "$(of_status Seccomp)"
writable=$(awk '$5 != "/proc" {print $5}' /proc/self/mountinfo | sort -u | while read -r mount; do
  find "$mount" -xdev -type d -writable -print -quit 2>/dev/null || true
done)
as_expected "nothing to write to but a private /tmp" "/tmp /var/tmp" "$(sort -u <<<"$writable" | xargs)"

run_one() {
  local program=$1 output
  output=/tmp/$(basename "$program").out
  "$program" --gtest_brief=1 >"$output" 2>&1 || { tail -40 "$output"; exit 1; }
  echo "$(basename "$program"): $(grep -oE 'PASSED *\] [0-9]+' "$output" | grep -oE '[0-9]+$')"
}
export -f run_one
# shellcheck disable=SC2016  # expanded inside
xargs -P "$(nproc)" -I{} bash -c 'run_one "$1"' bash {} </programs | tee /tmp/passed
awk '{n += $2} END {print n " cases passed in the confinement"}' /tmp/passed
