# shellcheck shell=bash
# Shared by the scripts of this folder: sourced, not run.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
jobs=$(nproc 2>/dev/null || getconf _NPROCESSORS_ONLN 2>/dev/null || echo 2)

say() { printf '%s\n' "== $*"; }
die() {
  printf '%s\n' "error: $*" >&2
  exit 1
}

# packages_for PURPOSE...: the names of the packages wanted for these purposes.
packages_for() {
  local purpose
  for purpose in "$@"; do
    awk -v purpose="$purpose" '!/^#/ && $2 == purpose { print $1 }' "$root/scripts/packages"
  done
}

installed() { [[ $(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null) == installed ]]; }

# apt_get ARGS...: as root or by sudo; its output is shown only when it fails.
apt_get() {
  local as_root=() log
  if [[ $(id -u) -ne 0 ]]; then as_root=(sudo); fi
  log=$(mktemp)
  if ! "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq -o Dpkg::Use-Pty=0 "$@" >"$log" 2>&1; then
    cat "$log" >&2
    rm -f "$log"
    return 1
  fi
  rm -f "$log"
}

# need PURPOSE...: installs the packages that are missing. Where it cannot, it names them and continues if the build tools
# are there; CMake leaves out the parts whose packages are missing, and says so.
need() {
  local package missing=()
  if command -v apt-get >/dev/null && command -v dpkg-query >/dev/null; then
    for package in $(packages_for "$@"); do installed "$package" || missing+=("$package"); done
    if ((${#missing[@]})) && [[ $(id -u) -ne 0 ]] && ! command -v sudo >/dev/null; then
      say "not root, and there is no sudo; run this as root: apt-get install --no-install-recommends ${missing[*]}"
    elif ((${#missing[@]})); then
      say "installing ${missing[*]}"
      apt_get update || say "apt-get update failed; continuing with the present package lists"
      if ! apt_get install -y --no-install-recommends "${missing[@]}"; then
        for package in "${missing[@]}"; do
          apt_get install -y --no-install-recommends "$package" || say "could not install $package; continuing without it"
        done
      fi
    fi
  else
    say "there is no apt-get; install the counterparts of these Debian packages: $(packages_for "$@" | xargs)"
  fi
  command -v cmake >/dev/null || die "cmake (3.25 or later) is needed"
  command -v ninja >/dev/null || die "ninja is needed"
  command -v "${CXX:-c++}" >/dev/null || die "a C++20 compiler is needed (${CXX:-c++} not found)"
}

# build PRESET [BUILD-ARGUMENT...]: configures, with the arguments in `configure` too, and builds.
configure=()
build() {
  local preset=$1
  shift
  (
    cd "$root" || exit
    cmake --preset "$preset" "${configure[@]}" &&
      cmake --build --preset "$preset" --parallel "$jobs" "$@"
  )
}

# run_tests PRESET [CTEST-ARGUMENT...]
run_tests() {
  local preset=$1
  shift
  (cd "$root" && ctest --preset "$preset" --parallel "$jobs" "$@")
}
