#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 the lumenfeed developers
# SPDX-License-Identifier: MIT
#
# Run by scripts/check-packages in a root that systemd has booted, with the packages in /packages and
# their next version in /next: how the service manager starts, confines, restarts and ends the service.
set -euo pipefail
# shellcheck source=scripts/lib/living.sh
. /living.sh

unit=lumenfeed.service
# property NAME...: of the unit, in one line.
property() { local one; for one; do systemctl show $unit -P "$one"; done | xargs; }
# eventually WHAT COMMAND...
eventually() {
  local what=$1 deadline=$((SECONDS + 60))
  shift
  until "$@"; do
    [ $SECONDS -lt $deadline ] || fail "$what: $(systemctl status --no-pager --lines 20 $unit 2>&1)"
  done
  echo "ok: $what"
}
# Another process than this one has the name.
back() {
  local now
  now=$(process 2>/dev/null) && [ -n "$now" ] && [ "$now" != "$1" ] && [ "$now" = "$(property MainPID)" ]
}

dpkg -i /packages/*.deb >/tmp/install.log 2>&1 || fail "installation: $(cat /tmp/install.log)"
as_expected "installed, it is on and runs" "active enabled" \
  "$(systemctl is-active $unit) $(systemctl is-enabled $unit)"
lumenfeed-host-monitor --prefix here --interval 0.1 2>/tmp/monitor.log &

systemctl stop $unit
as_expected "told to stop, it ends with status 0 and stays away" "inactive success 0" \
  "$(property ActiveState Result ExecMainStatus)"
session "a call over the bus starts the unit, and a client gets its events"
running=$(process)
as_expected "the unit's process has the name" "$running" "$(property MainPID)"
as_expected "the service runs as its own user" "$(id -u lumenfeed)" "$(owner)"
as_expected "no capabilities, no new privileges, system calls filtered" \
  "CapInh 0 CapPrm 0 CapEff 0 CapBnd 0 CapAmb 0 NoNewPrivs 1 Seccomp 2" \
  "$(sed -n 's/^\(Cap[A-Za-z]*\|NoNewPrivs\|Seccomp\):\t0*\(.\)$/\1 \2/p' "/proc/$running/status" | xargs)"
as_expected "a root that is read-only" ro \
  "$(awk '$5 == "/" {print substr($6, 1, 2)}' "/proc/$running/mountinfo" | tail -1)"

kill -KILL "$running"
eventually "killed, it is started again" back "$running"
running=$(process)
kill -TERM "$running"
eventually "ended by somebody else, with status 0, it is started again" back "$running"
session "a client gets its events from the one that was started again"
running=$(process)
kill -KILL "$(systemctl show -P MainPID dbus.service)"
eventually "when the bus went away and is back, so is the service" back "$running"
session "a client gets its events over the new bus"

# A start that fails, at a pace for tests.
drop_in=/run/systemd/system/$unit.d/no-bus.conf
mkdir -p "${drop_in%/*}"
printf '[Service]\nEnvironment=DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nowhere\nRestartSec=1ms\n' >"$drop_in"
systemctl daemon-reload
systemctl restart --no-block $unit
gave_up() { [ "$(property ActiveState)" = failed ]; }
eventually "a start that fails again and again is given up" gave_up
as_expected "after as many starts as the unit says" "exit-code 1 $(property StartLimitBurst)" \
  "$(property Result ExecMainStatus NRestarts)"
last=$(property ExecMainStartTimestampMonotonic)
systemctl start $unit 2>/dev/null || true
as_expected "and is not started once more" "$last" "$(property ExecMainStartTimestampMonotonic)"
rm "$drop_in"
systemctl daemon-reload
systemctl reset-failed $unit
session "after reset-failed, a call over the bus starts it"

running=$(process)
dpkg -i /next/*.deb >/tmp/upgrade.log 2>&1 || fail "upgrade: $(cat /tmp/upgrade.log)"
eventually "an upgrade puts the new one in the place of the running one" back "$running"
session "a client gets its events after the upgrade"

mapfile -t ours < <(dpkg-query -W -f '${Package}\n' 'lumenfeed*')
dpkg --purge "${ours[@]}" >/tmp/purge.log 2>&1 || fail "purge: $(cat /tmp/purge.log)"
as_expected "a purge ends it" "not-found inactive" "$(property LoadState ActiveState)"
as_expected "no unit has failed" "" "$(systemctl list-units --failed --plain --no-legend)"
