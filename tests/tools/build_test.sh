#!/usr/bin/env bash
# What an integrator's build must give and refuse: build_test.sh SOURCE SCRATCH
set -euo pipefail
source_dir=$1 scratch=$2
fail() {
  echo "FAILED: $1"
  exit 1
}
rm -rf "$scratch"
mkdir -p "$scratch"

for url in http://cloud.test https://cloud.test/ https://cloud.test/api https:// cloud.test \
  https://cloud.test:port "https://cloud.test?x" "https://a b"; do
  ! cmake -S "$source_dir" -B "$scratch/refused" -DTOLVAR_CLOUD_URL="$url" >"$scratch/log" 2>&1 ||
    fail "accepted: $url"
  grep -q "TOLVAR_CLOUD_URL is" "$scratch/log" || fail "refused without its message: $url"
done

url=https://cloud.example:8443 build=$scratch/plain
{ cmake -S "$source_dir" -B "$build" -DTOLVAR_CLOUD_URL="$url" && cmake --build "$build"; } \
  >"$scratch/log" 2>&1 || fail "$(<"$scratch/log")"
names=$(nm -D --defined-only "$build/libtolvar.so" | cut -d ' ' -f 3 | sort | xargs)
[[ $names == "create_tolvar destroy_tolvar launch_tolvar" ]] || fail "exports $names"
grep -q "$url" "$build/libtolvar.so" || fail "the cloud's URL is not compiled in"
