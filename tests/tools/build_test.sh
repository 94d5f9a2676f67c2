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

for credential in SC SV; do
  for value in '' 5c0f 5C0F3E9A7D214B68A1E2C7F09B3D6E45 5c0f3e9a7d214b68a1e2c7f09b3d6e456; do
    output=$(cmake "-DTOLVAR_CLIENT_$credential=$value" -P "$source_dir/cmake/options.cmake" 2>&1) &&
      fail "accepted: TOLVAR_CLIENT_$credential=$value"
    [[ $output == *"TOLVAR_CLIENT_$credential is"* ]] || fail "refused without its message: $value"
  done
done

rm -rf "$build"
url=https://cloud.example:8443
sc=00112233445566778899aabbccddeeff
output=$(cmake -S "$source_dir" -B "$build" -DTOLVAR_CLOUD_URL=$url -DTOLVAR_CLIENT_SC=$sc && cmake --build "$build") ||
  fail "$output"
names=$(nm -D --defined-only "$build/libtolvar.so" | cut -d ' ' -f 3 | sort | xargs)
[[ $names == "create_tolvar destroy_tolvar launch_tolvar" ]] || fail "exports $names"
for text in $url $sc; do
  grep -q "$text" "$build/libtolvar.so" || fail "not compiled in: $text"
done
