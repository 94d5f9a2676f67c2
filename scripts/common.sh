# What the scripts share: where the checkout is, packages, builds. Sourced, not run.
# shellcheck shell=bash disable=SC2034

checkout=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
cd -- "$checkout" || exit

say() { printf '== %s\n' "$*"; }

die() {
  printf '%s: %s\n' "${0##*/}" "$*" >&2
  exit 1
}

# Packages of the product, of its tools and tests, of the bench device with its stories, and of the
# sanitizers.
build_packages=(g++ make cmake ninja-build pkg-config libcurl4-openssl-dev libcjson-dev libssl-dev
  libcpp-httplib-dev libcli11-dev nlohmann-json3-dev libgtest-dev libgmock-dev libbenchmark-dev
  openssl)
bench_packages=(bubblewrap util-linux mount iproute2 procps python3 python3-jsonschema
  python3-yaml curl strace)
clang_packages=(clang libclang-rt-dev llvm)

as_root() {
  if ((EUID == 0)); then
    "$@"
  elif type -P sudo >/dev/null; then
    sudo "$@"
  else
    die "needs root or sudo for: $*"
  fi
}

is_installed() {  # PACKAGE
  [[ $(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null) == installed ]]
}

install_packages() {  # PACKAGE...
  local package missing=()
  for package in "$@"; do
    is_installed "$package" || missing+=("$package")
  done
  ((${#missing[@]})) || return 0
  say "installing ${missing[*]}"
  mkdir -p build
  (
    # Scripts may run side by side. A service that a package starts must not keep the lock.
    flock 9
    as_root env DEBIAN_FRONTEND=noninteractive apt-get update -qq 9>&-
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
      "${missing[@]}" >/dev/null 9>&-
  ) 9>build/packages
}

build() {  # PRESET [TARGET...]
  local preset=$1
  shift
  say "building $preset"
  mkdir -p build
  # Scripts may run side by side.
  flock build/lock cmake --preset "$preset" >/dev/null
  flock build/lock cmake --build --preset "$preset" ${1:+--target "$@"}
}

# The emulated machine's images, and the product for it.
make_machine() {
  scripts/sysroot
  device/machine-images
  build mipsel tolvar tolvar-host examples
}

play() {  # STORY [ARGUMENT...]
  exec device/bench -- python3 -B -m "stories.$1" "${@:2}"
}
