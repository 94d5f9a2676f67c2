#!/usr/bin/env bash
# What everything else on the bench relies on: status, isolation, nothing left behind.
# shellcheck disable=SC2016  # what is quoted is expanded on the device
set -euxo pipefail  # what fails is the last command shown
bench=$1

# A status passes through, and the bench's own failure is told apart.
[[ $("$bench" -- sh -c 'exit 3' || echo $?) == 3 ]]
[[ $("$bench" --keep /nonexistent -- true || echo $?) == 125 ]]

# wlan0 is up with its address; options leave things out; orphans are reaped.
"$bench" -- sh -c 'ip -o link show wlan0 | grep -q "UP.*02:00:5e:10:20:30"'
"$bench" --no-card --no-token --no-wlan0 -- sh -c \
  '! test -e /media/mmc && ! test -e /etc/config/.user_config && ! ip link show wlan0'
"$bench" -- sh -c 'for i in 1 2 3; do sh -c "sleep 0.05 &"; done
  sleep 0.3; [ "$(ps -eo stat,comm | grep -c -e ^Z -e sleep)" = 0 ]'

# No file escapes.
places=(/ /etc /etc/config /media/mmc /config /run /mnt /opt /tmp /var/tmp)
"$bench" -- bash -c 'for d; do : >"$d/bench-probe" || exit 1; done' _ "${places[@]}"
for place in "${places[@]}"; do [[ ! -e $place/bench-probe ]]; done

# Killing stays inside.
sleep 60 &
"$bench" -- sh -c 'sleep 60 & pkill -9 bash; pkill -9 sleep; sleep 0.1; ! pgrep sleep'
kill $!

# A killed bench leaves nothing.
mark=$((RANDOM + 71000))
"$bench" -- sh -c "setsid sleep $mark & sleep $mark" &
until pgrep -f "^sleep $mark"; do sleep 0.02; done
kill -KILL $!
timeout 2 sh -c "while pgrep -f '^sleep $mark'; do sleep 0.02; done"
