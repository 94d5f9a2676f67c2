#!/usr/bin/env bash
# What everything else on the bench relies on: status, isolation, nothing left behind.
# shellcheck disable=SC2016  # what is quoted is expanded on the device
set -uo pipefail
bench=$1
failed=0

check() {  # STATUS WHAT COMMAND...
  "${@:3}" 2>/dev/null
  (($? == $1)) || { echo "FAILED: $2" && failed=1; }
}

nothing_escapes() {
  local place places=(/ /etc /etc/config /media/mmc /config /run /mnt /opt /tmp /var/tmp)
  "$bench" -- bash -c 'for d; do : >"$d/bench-probe" || exit 1; done' _ "${places[@]}" || return 2
  for place in "${places[@]}"; do [[ ! -e $place/bench-probe ]] || return 1; done
}

killing_stays_inside() {
  sleep 60 &
  "$bench" -- sh -c 'sleep 60 & pkill -9 bash; pkill -9 sleep; sleep 0.1; ! pgrep sleep' || return 2
  kill $!
}

killed_bench_leaves_nothing() {
  local mark=$((RANDOM + 71000))
  "$bench" -- sh -c "setsid sleep $mark & sleep $mark" &
  until pgrep -f "^sleep $mark"; do sleep 0.02; done >/dev/null
  kill -KILL $!
  for _ in {1..50}; do
    pgrep -f "^sleep $mark" >/dev/null || return 0
    sleep 0.02
  done
  return 1
}

check 3 "a status passes through" "$bench" -- sh -c 'exit 3'
check 125 "its own failure is told apart" "$bench" --keep /nonexistent -- true
check 0 "wlan0 is up with its address" \
  "$bench" -- sh -c 'ip -o link show wlan0 | grep -q "UP.*02:00:5e:10:20:30"'
check 0 "the options leave things out" "$bench" --no-card --no-token --no-wlan0 -- sh -c \
  '! test -e /media/mmc && ! test -e /etc/config/.user_config && ! ip link show wlan0'
check 0 "orphans are reaped" "$bench" -- sh -c 'for i in 1 2 3; do sh -c "sleep 0.05 &"; done
  sleep 0.3; [ "$(ps -eo stat,comm | grep -c -e ^Z -e sleep)" = 0 ]'
check 0 "nothing escapes" nothing_escapes
check 0 "killing stays inside" killing_stays_inside
check 0 "a killed bench leaves nothing" killed_bench_leaves_nothing
exit "$failed"
