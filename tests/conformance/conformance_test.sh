#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 the lumenfeed developers
# SPDX-License-Identifier: MIT
#
# Runs the program that checks a platform's libraries against the host platform's, with a broker of
# its own.
#   conformance_test.sh STEP PROGRAM [LIBRARIES]
# STEP: kept (every promise is), example (also by the platform of platform/example), silent (a platform without an event is found out), refused (a topic
# that the library does not take is found out), usage.
set -euo pipefail

step=$1
# Whatever this shell starts ends with it, however that ends.
with_shell=(setpriv --pdeathsig KILL)
program=("${with_shell[@]}" "$2")
work=$(mktemp -d)
broker=
finish() {
  [ -z "$broker" ] || kill "$broker"
  rm -rf "$work"
}
trap finish EXIT

fail() {
  echo "$*" >&2
  exit 1
}

start_broker() {
  cat >"$work/mosquitto.conf" <<CONF
listener 0 $work/broker
allow_anonymous true
max_inflight_messages 0
max_queued_messages 0
user $(id -un)
CONF
  PATH=$PATH:/usr/sbin "${with_shell[@]}" mosquitto -c "$work/mosquitto.conf" \
    >"$work/broker.log" 2>&1 &
  broker=$!
  # shellcheck disable=SC2016  # expanded inside
  timeout 30 bash -c 'until mosquitto_pub --unix "$1/broker" -t up -n 2>/dev/null; do :; done' \
    bash "$work" || fail "no broker: $(cat "$work/broker.log")"
  printf '[broker]\naddress=unix:%s\n' "$work/broker" >"$work/event2.conf"
  export EVENT2_CONFIG=$work/event2.conf
}

case $step in
  kept)
    start_broker
    "${program[@]}" --publish "for mark; do
        printf '{\"Source\":{\"InputToken\":\"1\"},\"Data\":{\"Mark\":\"%s\"}}\n' \"\$mark\"
      done | mosquitto_pub --unix $work/broker -q 1 -l -t dev/onvif-ej/Device/Trigger/DigitalInput" |
      tee "$work/report"
    grep -q '^ok .* every event of a burst arrives$' "$work/report" || fail "no burst was checked"
    ;;
  example)
    export EXAMPLE_EVENTS=$work/events
    mkfifo "$EXAMPLE_EVENTS"
    # Held open: who publishes does not wait for a consumer.
    exec 4<>"$EXAMPLE_EVENTS"
    # shellcheck disable=SC2016  # expanded by the program's shell
    LD_LIBRARY_PATH=$3 "${program[@]}" --publish 'for mark; do
        printf "tns1:Device/Trigger/DigitalInput {\"Data\":{\"Mark\":\"%s\"}}\n" "$mark"
      done >"$EXAMPLE_EVENTS"' | tee "$work/report"
    grep -q '^ok .* every event of a burst arrives$' "$work/report" || fail "no burst was checked"
    ;;
  silent)
    start_broker
    status=0
    "${program[@]}" --publish : --deadline 1 >"$work/report" || status=$?
    [ $status -eq 1 ] || fail "status $status without an event"
    grep -q '^not ok .* an event on the topic arrives$' "$work/report" || fail "$(cat "$work/report")"
    ;;
  refused)
    start_broker
    for option in --topic --other-topic; do
      status=0
      "${program[@]}" --publish : --deadline 1 $option 'tns1:[' >"$work/report" || status=$?
      [ $status -eq 1 ] || fail "status $status with a wrong $option"
      grep -q "^not ok .* the topic of $option is taken\$" "$work/report" || fail "$(cat "$work/report")"
      grep -q '^1\.\.' "$work/report" || fail "no end of the report: $(cat "$work/report")"
    done
    ;;
  usage)
    for arguments in "" "--burst 1 --publish :" "--no-such-option" "--publish : more"; do
      status=0
      # shellcheck disable=SC2086  # several words
      "${program[@]}" $arguments >"$work/report" 2>&1 || status=$?
      [ $status -eq 2 ] || fail "'$arguments' ends with status $status"
      grep -q -- '--help' "$work/report" || fail "'$arguments' says $(cat "$work/report")"
    done
    ;;
  *) fail "unknown step $step" ;;
esac
