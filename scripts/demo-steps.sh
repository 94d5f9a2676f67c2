# How the demo's story watches the device and records its steps. Sourced by demo-story, which sets
# host_log and reports.
# shellcheck shell=bash disable=SC2154

readonly story_start=$EPOCHREALTIME
rows=() failures=0
log_mark=1  # first line of the host's log that the step has not seen yet

seconds_since() {  # EPOCHREALTIME; one decimal
  local micros=$((${EPOCHREALTIME/./} - ${1/./}))
  printf '%d.%d' $((micros / 1000000)) $((micros / 100000 % 10))
}

begin() {  # WHAT_HAPPENED EXPECTED
  what=$1 expected=$2 observed=() missed=0
  step_start=$EPOCHREALTIME
  log_mark=$(($(wc -l <"$host_log") + 1))
  printf '%5s s  %s\n' "$(seconds_since "$story_start")" "$what"
}

observe() {  # TEXT
  observed+=("$1")
  printf '         - %s\n' "$1"
}

miss() {  # TEXT
  observe "MISSED: $1"
  missed=1
}

finish() {
  rows+=("$(seconds_since "$story_start")" "$(seconds_since "$step_start")" "$what" "$expected"
    "$(printf '%s; ' "${observed[@]}")" "$missed")
  failures=$((failures + missed))
}

# Finds TEXT in the host's log behind what the step has seen; what follows it is seen next.
see_log() {  # TEXT
  local found
  found=$(tail -n "+$log_mark" "$host_log" | grep -n -m 1 -F -- "$1") || return 1
  log_mark=$((log_mark + ${found%%:*}))
  seen=${found#*:}
}

expect_log() {  # TEXT SECONDS
  if wait_for "$2" see_log "$1"; then
    observe "$seen"
  else
    miss "no \"$1\" in the log within $2 s"
  fi
}

expect_running_anew() {  # NAME OLD_PID VERSION SECONDS
  if wait_for "$4" runs_anew "$1" "$2" "$3"; then
    observe "$1 $3 runs, pid ${2:-none} -> $(pid_of "$1")"
  else
    miss "$1 $3 does not run anew within $4 s"
  fi
}

see_report() { grep -q -e "$1" "$reports"; }  # REGULAR_EXPRESSION

expect_report() {  # REGULAR_EXPRESSION
  if wait_for 25 see_report "$1"; then
    observe "$(grep -o -m 1 -e '{[^{]*'"$1"'[^}]*}' "$reports" | head -n 1)"
  else
    miss "no report with $1"
  fi
}

print_table() {
  local i verdict
  printf '\n%6s  %5s  %-4s  %s\n' "at (s)" "took" "" "what happened | expected of the device | observed"
  for ((i = 0; i < ${#rows[@]}; i += 6)); do
    verdict=ok
    ((rows[i + 5] == 0)) || verdict=MISS
    printf '%6s  %5s  %-4s  %s\n' "${rows[i]}" "${rows[i + 1]}" "$verdict" "${rows[i + 2]}"
    printf '%21s expected: %s\n' "" "${rows[i + 3]}"
    printf '%21s observed: %s\n' "" "${rows[i + 4]%; }"
  done
  printf '\n%d of %d steps happened\n' $((${#rows[@]} / 6 - failures)) $((${#rows[@]} / 6))
}
