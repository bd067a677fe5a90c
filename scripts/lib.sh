# Shared by the scripts of this folder; sourced, with the project's folder as the working directory.

cd "$(dirname "${BASH_SOURCE[0]}")/.."

# The packages that building and running the programs takes; those that checking or measuring takes come beside them.
run_packages=(g++ cmake ninja-build pkg-config python3 util-linux
  libicu-dev libplist-dev libsystemd-dev libssl-dev libncurses-dev nlohmann-json3-dev libcli11-dev
  qt6-base-dev libqt6svg6
  libxcb1-dev libxcb-record0-dev libxcb-res0-dev)
check_packages=(clang lld clang-format clang-tidy libclang-rt-14-dev llvm ccache
  libgtest-dev libgmock-dev libbenchmark-dev dbus-daemon mount
  libxcb-xtest0-dev xvfb xauth xdotool xserver-xephyr poppler-utils)
bench_packages=(libgtest-dev libgmock-dev libbenchmark-dev libxcb-xtest0-dev xvfb)

say() { printf '\n== %s\n' "$*"; }

# need PACKAGE...: installs what is missing, or says how and stops.
need() {
  local package missing=()
  for package in "$@"; do
    [[ $(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null) == installed ]] \
      || missing+=("$package")
  done
  ((${#missing[@]})) || return 0
  local as_root=(env)
  if ((EUID != 0)); then
    if ! sudo -n true 2>/dev/null; then
      printf 'Missing packages. Install them with:\n  sudo apt-get install --no-install-recommends %s\n' \
        "${missing[*]}" >&2
      exit 1
    fi
    as_root=(sudo -n env)
  fi
  say "Installing ${missing[*]}"
  "${as_root[@]}" apt-get -q update
  "${as_root[@]}" DEBIAN_FRONTEND=noninteractive \
    apt-get -q install -y --no-install-recommends "${missing[@]}"
}

# ccache stores what was compiled with precompiled headers, which all checks use, only with this setting.
export CCACHE_SLOPPINESS=pch_defines,time_macros

# configure PRESET [OPTION...]: prints what CMake said only when it fails.
configure() {
  local preset=$1
  shift
  local launcher=()
  command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
  cmake --preset "$preset" "${launcher[@]}" "$@" >"build/$preset.log" 2>&1 \
    || { cat "build/$preset.log" >&2; return 1; }
}

# fixed_addresses COMMAND...: runs it without address randomisation where the system allows that, because now and then
# Clang 14's sanitizers cannot place their memory among mappings at random addresses.
fixed_addresses() {
  if setarch -R true 2>/dev/null; then setarch -R "$@"; else "$@"; fi
}

sources() {
  find src frontends hosts driver programs resources tests bench \( -name '*.h' -o -name '*.cpp' \) -type f | sort
}
