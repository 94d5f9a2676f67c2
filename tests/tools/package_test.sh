#!/usr/bin/env bash
# The packages as their users meet them: package_test.sh BUILD READELF HOST_TEST HOST...
# Unpacks them into an empty root, looks at the hardening and drives the plug-in from there.
set -euxo pipefail  # what fails is the last command shown
build=$1 readelf=$2 host_test=$3
shift 3
root=/run/root plug_in=/run/root/usr/lib/libtolvar.so

mkdir -p /run/tar /run/client
cpack --config "$build/CPackConfig.cmake" -B /run/packages >/run/cpack.log
dpkg-deb -x /run/packages/*.deb $root
tar -xzf /run/packages/*.tar.gz -C /run/tar --strip-components=1
cmp $plug_in /run/tar/usr/lib/libtolvar.so

segments=$("$readelf" --segments --wide $plug_in)
dynamic=$("$readelf" --dynamic --wide $plug_in)
imports=$("$readelf" --dyn-syms --wide $plug_in)
[[ $segments == *GNU_RELRO* ]]
[[ $segments =~ GNU_STACK[^$'\n']*' RW ' ]]     # not executable
[[ $dynamic =~ FLAGS_1[^$'\n']*' NOW' ]]
[[ $imports == *'UND __stack_chk_fail'* ]]      # stack protector
[[ $imports =~ 'UND __'[a-z]+'_chk@' ]]         # fortified calls of the C library

# On 32 bits only calls with names like "__clock_gettime64" and "__stat64_time64" know the seconds
# after 2038. The C++ library's own clocks and sleeps were built without them.
if [[ $("$readelf" --file-header $plug_in) == *ELF32* ]]; then
  times='clock_[a-z]+|nanosleep|time|gettimeofday|settimeofday|mktime|timegm|(local|gm|c)time(_r)?'
  files='[fl]?stat|fstatat|__[fl]?xstat|utime|utimes|utimensat|futimens'
  waits='p?select|ppoll|sigtimedwait|sem_timedwait|pthread_[a-z]+_(timed|clock)[a-z]+'
  others='[gs]etsockopt|(send|recv)m?msg|ioctl|getrusage|[gs]etitimer|timerfd_[gs]ettime'
  [[ ! $imports =~ ' UND '($times|$files|$waits|$others)(64)?@ ]]
  [[ ! $imports =~ ' UND _ZNSt'(6chrono|11this_thread) ]]
fi

# The client header is found by pkg-config and by CMake, and compiles.
cd /run/client
printf '#include <tolvar_heartbeat.h>\nint main(void) { return TOLVAR_STATUS_OK; }\n' >main.c
printf '%s\n' 'cmake_minimum_required(VERSION 3.25)' 'project(client C)' \
  'find_package(tolvar-client REQUIRED)' 'add_executable(client main.c)' \
  'target_link_libraries(client tolvar::client)' >CMakeLists.txt
read -r flags < <(PKG_CONFIG_LIBDIR=$root/usr/lib/pkgconfig pkg-config --cflags tolvar-client)
cc -D_GNU_SOURCE "$flags" main.c
cmake -B b -DCMAKE_PREFIX_PATH=$root/usr
cmake --build b

"$host_test" $plug_in "$@"
