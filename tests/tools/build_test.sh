#!/usr/bin/env bash
# What an integrator's build must give and refuse: build_test.sh SOURCE SCRATCH
set -euo pipefail
source_dir=$1 build=$2
fail() { echo "FAILED: $1" && exit 1; }

for url in http://cloud.test https://cloud.test/ https://cloud.test/api https:// cloud.test \
  https://cloud.test:port "https://cloud.test?x" "https://a b"; do
  output=$(cmake -DTOLVAR_CLOUD_URL="$url" -P "$source_dir/cmake/options.cmake" 2>&1) &&
    fail "accepted: $url"
  [[ $output == *"TOLVAR_CLOUD_URL is"* ]] || fail "refused without its message: $url"
done

rm -rf "$build"
url=https://cloud.example:8443
output=$(cmake -S "$source_dir" -B "$build" -DTOLVAR_CLOUD_URL=$url && cmake --build "$build") ||
  fail "$output"
names=$(nm -D --defined-only "$build/libtolvar.so" | cut -d ' ' -f 3 | sort | xargs)
[[ $names == "create_tolvar destroy_tolvar launch_tolvar" ]] || fail "exports $names"
grep -q $url "$build/libtolvar.so" || fail "the cloud's URL is not compiled in"
