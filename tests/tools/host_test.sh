#!/usr/bin/env bash
# The small host with the real plug-in, on the bench: host_test.sh PLUG-IN HOST...
set -euo pipefail
plug_in=$1
host=("${@:2}")  # maybe with an emulator in front
fail() { echo "FAILED: $1" && exit 1; }

# Runs the host until it has fetched in vain, then sends SIGNAL: its status.
end_by() {  # SIGNAL
  : >/run/host.log  # what the last run left must not be taken for this one's
  "${host[@]}" "$plug_in" >/run/host.log &
  until grep -q "Failed to get processes for version latest" /run/host.log; do sleep 0.02; done
  kill -s "$1" $!
  wait $!
}

end_by TERM || fail "SIGTERM ends it with $?"
grep -qx 'mac address 02005e102030' /run/host.log || fail "a line is not as the plug-in wrote it"
end_by INT || fail "SIGINT ends it with $?"
! "${host[@]}" /none.so 2>/dev/null || fail "a plug-in that is not there is accepted"
! "${host[@]}" libc.so.6 2>/dev/null || fail "a library without the three functions is accepted"
