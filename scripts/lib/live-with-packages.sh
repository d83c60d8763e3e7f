#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 the lumenfeed developers
# SPDX-License-Identifier: MIT
#
# Run by scripts/check-packages inside a root in which the packages are installed: starts what a
# machine has running, without a service manager, and uses the packages as a person would.
set -euo pipefail

# shellcheck source=scripts/lib/living.sh
. /living.sh

# The system bus as it is configured, and a broker as its package comes.
mkdir -p /run/dbus
dbus-daemon --system --nofork --nopidfile 2>/tmp/bus.log &
install -d -o mosquitto /run/mosquitto
mosquitto -c /etc/mosquitto/mosquitto.conf >/tmp/broker.log 2>&1 &
timeout 60 bash -c 'until [ -S /run/dbus/system_bus_socket ]; do :; done' || fail "$(cat /tmp/bus.log)"
timeout 60 bash -c 'until (: </dev/tcp/localhost/1883) 2>/dev/null; do :; done' ||
  fail "no broker: $(cat /tmp/broker.log /var/log/mosquitto/*)"
lumenfeed-host-monitor --prefix here --interval 0.1 2>/tmp/monitor.log &

# The first call has the bus start the service.
session "the bus starts the service, and a client gets its events"
as_expected "the service runs as its own user" "$(id -u lumenfeed)" "$(owner)"

# A stranger, on the bus as Debian configures it.
denied() {
  setpriv --reuid nobody --regid nogroup --clear-groups dbus-send --system --print-reply "$@" 2>&1 |
    grep -o 'org.freedesktop.DBus.Error.AccessDenied' | head -1
}
as_expected "a stranger may not call the service" org.freedesktop.DBus.Error.AccessDenied \
  "$(denied --dest=$name /com/ovra/WSEventDataSource1 \
    com.ovra.WSDataStreaming1.DataSource.RemoveSession string:s)"
as_expected "a stranger may not own its name" org.freedesktop.DBus.Error.AccessDenied \
  "$(denied --dest=org.freedesktop.DBus / org.freedesktop.DBus.RequestName string:$name uint32:0)"

# An upgrade while it runs: the running service is not disturbed, the next one is the new one.
running=$(process)
dpkg -i /next/*.deb >/tmp/upgrade.log 2>&1 || fail "upgrade: $(cat /tmp/upgrade.log)"
as_expected "an upgrade without a service manager leaves the service running" "$running" "$(process)"
session "a client gets its events after the upgrade"

# The end, and a start by hand.
pid=$(process)
kill -TERM "$pid"
# shellcheck disable=SC2016  # expanded inside
timeout 30 sh -c 'while kill -0 "$1" 2>/dev/null; do :; done' sh "$pid" || fail "it does not end"
setpriv --reuid lumenfeed --regid lumenfeed --clear-groups /usr/sbin/lumenfeed 2>/tmp/service.log &
by_hand=$!
# The console would have the bus start another one meanwhile.
deadline=$((SECONDS + 60))
until [ "$(process 2>/dev/null)" = $by_hand ]; do
  [ $SECONDS -lt $deadline ] || fail "it does not come up: $(cat /tmp/service.log)"
done
session "a client gets its events from a service that was started by hand"
kill -TERM $by_hand
status=0
wait $by_hand || status=$?
as_expected "told to end, it ends with status 0" 0 "$status"
tail -1 /tmp/service.log | grep -q 'Terminating lumenfeed' || fail "$(cat /tmp/service.log)"

# Removal: what was there before is what is there after, but for the packages that stay.
mapfile -t ours < <(dpkg-query -W -f '${Package}\n' 'lumenfeed*')
dpkg --purge "${ours[@]}" >/tmp/purge.log 2>&1 || fail "purge: $(cat /tmp/purge.log)"
traces=$({
  find / -xdev \( -iname '*lumenfeed*' -o -name '*ovra*' -o -name 'event2.conf*' \) \
    -not -path '/packages/*' -not -path '/next/*' -not -path '/tmp/*' -not -path '/proc/*'
  # Backups that passwd(1) and dpkg(1) keep tell of the past, as logs do.
  grep -rlI lumenfeed /etc /usr/share/dbus-1 /usr/lib/systemd /lib/systemd /var/lib /var/spool \
    --exclude='*-' --exclude='*-old' --exclude-dir=apt || true
} 2>/dev/null)
as_expected "a purge leaves no trace" "" "$traces"
as_expected "a purge takes the user along" "" "$(getent passwd lumenfeed || true)"
