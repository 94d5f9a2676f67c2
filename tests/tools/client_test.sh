#!/usr/bin/env bash
# Compiles the programs of the page on writing an application, and with them the client header, in
# every language an application may be written in:
# client_test.sh SOURCE C_COMPILER CXX_COMPILER WARNING_OPTION...
set -euo pipefail
source_dir=$1 c=$2 cxx=$3
shift 3
warnings=("$@")

compile() {  # COMMAND...: each program of the page, from standard input
  local program
  for program in "${programs[@]}"; do
    "$@" "${warnings[@]}" -I"$source_dir/client" -fsyntax-only - <<<"$program" ||
      { echo "FAILED: $* refuses: $program"; exit 1; }
  done
}

mapfile -d '' -t programs < <(awk '/^```$/ && inside { inside = 0; printf "%c", 0 }
  inside { print }
  /^```c$/ { inside = 1 }' "$source_dir/docs/writing-an-application.md")
((${#programs[@]} == 2)) || { echo "FAILED: the page has ${#programs[@]} programs"; exit 1; }

for standard in 99 11 17; do
  compile "$c" -x c "-std=c$standard" -D_POSIX_C_SOURCE=200809L
done
for standard in 98 11 14 17 20; do
  compile "$cxx" -x c++ "-std=c++$standard" -Wold-style-cast -Wzero-as-null-pointer-constant
done
