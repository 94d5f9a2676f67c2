#!/usr/bin/env bash
# The packages as their users meet them: package_test.sh BUILD READELF HOST_TEST HOST...
# Unpacks them into an empty root, looks at the hardening and drives the plug-in from there.
set -uo pipefail
build=$1 readelf=$2 host_test=$3
shift 3
root=/run/root
failed=0

check() {  # WHAT COMMAND...
  "${@:2}" || { echo "FAILED: $1" && failed=1; }
}

is_hardened() {  # LIBRARY
  [[ $("$readelf" -dlW "$1" | grep -cE 'GNU_RELRO|FLAGS_1.* NOW|GNU_STACK.* RW ') == 3 ]]
}

client_compiles() {
  local project=/run/client flags
  mkdir -p "$project"
  printf '#include <tolvar_heartbeat.h>\nint main(void) { return TOLVAR_STATUS_OK; }\n' >"$project"/main.c
  printf '%s\n' 'cmake_minimum_required(VERSION 3.25)' 'project(client C)' \
    'find_package(tolvar-client REQUIRED)' 'add_executable(client main.c)' \
    'target_link_libraries(client tolvar::client)' >"$project"/CMakeLists.txt
  read -r flags < <(PKG_CONFIG_LIBDIR=$root/usr/lib/pkgconfig pkg-config --cflags tolvar-client)
  cc -D_GNU_SOURCE "$flags" -o "$project"/plain "$project"/main.c &&
    cmake -S "$project" -B "$project"/b "-DCMAKE_PREFIX_PATH=$root/usr" >"$project"/log &&
    cmake --build "$project"/b >>"$project"/log
}

cp -r "$build/CPackConfig.cmake" /run/ && mkdir -p $root /run/tar /run/packages &&
  cpack --config /run/CPackConfig.cmake -B /run/packages >/run/cpack.log || exit 1
dpkg-deb -x /run/packages/*.deb $root
tar -xzf /run/packages/*.tar.gz -C /run/tar --strip-components=1
check "both packages hold the same plug-in" cmp $root/usr/lib/libtolvar.so /run/tar/usr/lib/libtolvar.so
check "the plug-in is hardened" is_hardened $root/usr/lib/libtolvar.so
check "the client header is found and compiles" client_compiles
check "the plug-in runs from there" "$host_test" $root/usr/lib/libtolvar.so "$@"
exit "$failed"
