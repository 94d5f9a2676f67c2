#!/usr/bin/env bash
# The small host with the real plug-in, on the bench: host_test.sh HOST PLUG-IN
set -uo pipefail
host=$1 plug_in=$2
failed=0

check() {  # WHAT STATUS
  (($2 == 0)) && return
  printf 'FAILED: %s\n' "$1"
  failed=1
}

# Runs the host until it has logged TEXT, then sends SIGNAL: its status.
end_after() {  # TEXT SIGNAL OPTION...
  local text=$1 signal=$2
  shift 2
  "$host" "$@" "$plug_in" >/run/host.log &
  until grep -q "$text" /run/host.log; do sleep 0.02; done
  kill -s "$signal" $!
  wait $!
}

end_after "Failed to get processes for version latest" TERM
check "SIGTERM ends it with 0" $?
grep -q '^mac address 02005e102030$' /run/host.log
check "the plug-in's lines stay as they are" $?
end_after "Failed to get processes for version latest" INT --stamp
check "SIGINT ends it with 0" $?
! grep -qvE '^[0-9]{2}:[0-9]{2}:[0-9]{2}\.[0-9]{3} [^ ]' /run/host.log
check "each line is stamped" $?
! "$host" /none.so 2>/dev/null
check "a plug-in that is not there is refused" $?
! "$host" "$(ldd "$host" | sed -n 's|.* \(/[^ ]*/libc\.so[^ ]*\).*|\1|p')" 2>/dev/null
check "a library without the three functions is refused" $?
exit "$failed"
