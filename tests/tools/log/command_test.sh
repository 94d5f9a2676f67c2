#!/usr/bin/env bash
# `tolvar log` as it is called: command_test.sh SCRATCH TOOL...
set -euo pipefail
scratch=$1
tool=("${@:2}")  # maybe with an emulator in front
fail() { echo "FAILED: $1" && exit 1; }
status_of() { "$@" >"$scratch/out" 2>"$scratch/err" && echo 0 || echo $?; }

rm -rf "$scratch" && mkdir -p "$scratch"
log=$scratch/log
printf '%s\n' '12:00:00 mac address 02' '12:00:01 Launched process cam' 'not the supervisor' >"$log"

# Statuses, and messages where they belong.
[[ $(status_of "${tool[@]}" log "$log") == 0 ]] || fail "a log is not read"
grep -q '^cam .*running' "$scratch/out" || fail "no table"
! grep -q $'\033' "$scratch/out" || fail "colours where there is no terminal"
[[ $(status_of "${tool[@]}" log - <"$log") == 0 ]] || fail "standard input is not read"
[[ $(status_of "${tool[@]}" log --process dog --process cam "$log") == 0 ]] || fail "two names are not taken"
grep -q '^cam .*running' "$scratch/out" || fail "a wanted process is not shown"
[[ $(status_of "${tool[@]}" log --process dog "$log") == 0 ]] || fail "a name takes the file with it"
! grep -q '^cam ' "$scratch/out" || fail "a process is shown that is not wanted"
[[ $(status_of "${tool[@]}" log "$scratch/none") == 1 && -s $scratch/err ]] || fail "no log, no message"
[[ $(status_of "${tool[@]}" log --since yesterday "$log") == 1 ]] || fail "a time that is none"
[[ $(status_of "${tool[@]}" log --since 2h "$log") == 1 ]] || fail "times of day have no 2 hours ago"
[[ $(status_of "${tool[@]}" log --why dog "$log") == 1 ]] || fail "a process that is none"
[[ $(status_of "${tool[@]}" log --html "$scratch/no/page" "$log") == 1 ]] || fail "a page nowhere"
[[ $(status_of "${tool[@]}" log --events --json "$log") == 2 ]] || fail "two ways at once"
[[ $(status_of "${tool[@]}" log --explain "12:00:00 Curl return code 60") == 0 ]] || fail "--explain"
grep -q cacert "$scratch/out" || fail "what a code of curl asks for is not said"

# Bytes of any kind and a line of 100 MB; memory stays what it is. (With a sanitizer the tool cannot
# even start within a limit.)
memory=200000
(ulimit -v $memory && "${tool[@]}" --version >/dev/null 2>&1) || memory=unlimited
{ head -c 2000000 /dev/urandom; head -c 100000000 /dev/zero | tr '\0' x; echo; cat "$log"; } |
  (ulimit -v $memory && "${tool[@]}" log --events >"$scratch/out") || fail "rubbish ends it"
grep -q 'cam .*launched' "$scratch/out" || fail "what follows rubbish is lost"

# The time line follows a log through a rotation.
"${tool[@]}" log --follow "$log" >"$scratch/out" &
follower=$!
wait_for() { for ((i = 0; i < 300; ++i)); do grep -q "$1" "$scratch/out" && return; sleep 0.02; done; fail "$2"; }
wait_for 'cam .*launched' "what was there is not shown"
mv "$log" "$log.1"
echo '12:00:09 Launched process dog' >"$log"
wait_for 'dog .*launched' "the new file is not followed"
kill $follower
