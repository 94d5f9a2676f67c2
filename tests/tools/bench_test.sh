#!/usr/bin/env bash
# What everything else on the bench relies on: status, isolation, nothing left behind.
set -uo pipefail
bench=$1
failed=0

check() {  # WHAT COMMAND...
  local what=$1
  shift
  "$@" && return
  printf 'FAILED: %s\n' "$what"
  failed=1
}

answers() {  # STATUS COMMAND...
  local expected=$1
  shift
  "$@" 2>/dev/null
  (($? == expected))
}

nothing_escapes() {
  local place places=(/ /etc /etc/config /media/mmc /config /run /mnt /opt /tmp /var/tmp)
  # shellcheck disable=SC2016  # expanded on the device
  "$bench" -- bash -c 'for d; do : >"$d/bench-probe" || exit 1; done' _ "${places[@]}" || return 1
  for place in "${places[@]}"; do
    [[ ! -e $place/bench-probe ]] || return 1
  done
}

orphans_are_reaped() {
  # shellcheck disable=SC2016  # expanded on the device
  "$bench" -- sh -c 'for i in 1 2 3 4 5; do sh -c "sleep 0.05 &"; done; sleep 0.3
    [ "$(ps -eo stat,comm | grep -c -e ^Z -e sleep)" = 0 ]'
}

killing_stays_inside() {
  sleep 60 &
  local outside=$!
  "$bench" -- sh -c 'sleep 60 & pkill -9 bash; pkill -9 sleep; sleep 0.1; ! pgrep sleep'
  local inside=$?
  kill "$outside" && ((inside == 0))
}

killed_bench_leaves_nothing() {
  local bench_pid mark
  mark=$((RANDOM + 71000))
  "$bench" -- sh -c "setsid sleep $mark & sleep $mark" &
  bench_pid=$!
  until pgrep -f "^sleep $mark" >/dev/null; do sleep 0.02; done
  kill -KILL "$bench_pid"
  wait "$bench_pid" 2>/dev/null
  for _ in {1..50}; do
    pgrep -f "^sleep $mark" >/dev/null || return 0
    sleep 0.02
  done
  return 1
}

check "a status passes through" answers 3 "$bench" -- sh -c 'exit 3'
# shellcheck disable=SC2016  # expanded on the device
check "a signal is told" answers 137 "$bench" -- sh -c 'kill -9 $$'
check "its own failure is told apart" answers 125 "$bench" --keep /nonexistent -- true
check "bad usage is told" answers 125 "$bench" --nonsense -- true
check "wlan0 is up with its address" \
  "$bench" -- sh -c 'ip -o link show wlan0 | grep -q "UP.*02:00:5e:10:20:30"'
check "the options leave things out" "$bench" --no-card --no-token --no-wlan0 -- sh -c \
  '! test -e /media/mmc && ! test -e /etc/config/.user_config && ! ip link show wlan0 2>/dev/null'
check "nothing escapes" nothing_escapes
check "orphans are reaped" orphans_are_reaped
check "killing stays inside" killing_stays_inside
check "a killed bench leaves nothing" killed_bench_leaves_nothing
exit "$failed"
