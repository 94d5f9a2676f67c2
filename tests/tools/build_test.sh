#!/usr/bin/env bash
# What an integrator's build must give and refuse: build_test.sh SOURCE SCRATCH
set -uo pipefail
source_dir=$1 scratch=$2
failed=0
rm -rf "$scratch"

for url in http://cloud.test https://cloud.test/ https://cloud.test/api https:// cloud.test \
  https://cloud.test:port "https://cloud.test?x" "https://a b"; do
  if cmake -S "$source_dir" -B "$scratch/refused" -DTOLVAR_CLOUD_URL="$url" >"$scratch.log" 2>&1 ||
    ! grep -q "TOLVAR_CLOUD_URL is" "$scratch.log"; then
    echo "FAILED: accepted, or refused without a message: $url"
    failed=1
  fi
done

cmake -S "$source_dir" -B "$scratch/plain" -DTOLVAR_CLOUD_URL=https://cloud.example:8443 \
  >"$scratch.log" && cmake --build "$scratch/plain" >>"$scratch.log" || exit 1
names=$(nm -D --defined-only "$scratch/plain/libtolvar.so" | cut -d ' ' -f 3 | sort | tr '\n' ' ')
if [[ $names != "create_tolvar destroy_tolvar launch_tolvar " ]]; then
  echo "FAILED: exports $names"
  failed=1
fi
if ! grep -q https://cloud.example:8443 "$scratch/plain/libtolvar.so"; then
  echo "FAILED: the cloud's URL is not compiled in"
  failed=1
fi
exit "$failed"
