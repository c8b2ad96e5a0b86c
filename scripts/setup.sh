# shellcheck shell=bash
# Sourced by ./run and ./check from the repository's root: sees that the machine has what a build
# needs, and knows how a preset is configured and built.

say() { printf '== %s\n' "$*"; }
die() {
  printf 'error: %s\n' "$*" >&2
  exit 1
}

# --- What is on the machine ------------------------------------------------------------------
have() { command -v "$1" >/dev/null 2>&1; }
has_header() { have g++ && g++ -E -x c++ - <<<"#include <$1>" >/dev/null 2>&1; }
links() { # COMPILER OPTION...: a sanitizer's run time may be a package of its own
  local program status=0
  program=$(mktemp) || return 1
  "$@" -x c++ - -o "$program" <<<"${main-int main() { return 0; \}}" >/dev/null 2>&1 || status=$?
  rm -f "$program"
  return $status
}
has_sanitizers() { links "$1" -fsanitize=address,undefined; }
has_thread_sanitizer() { links "$1" -fsanitize=thread; }
has_fuzzer() {
  have clang++ && main='extern "C" int LLVMFuzzerTestOneInput(const unsigned char*, unsigned long) {
    return 0; }' links clang++ -fsanitize=fuzzer,address,undefined
}
has_cross() { # PRESET: its compiler and what runs the programs here
  case $1 in
    windows) have x86_64-w64-mingw32-g++-posix && have wine ;;
    arm64) have aarch64-linux-gnu-g++ && have qemu-aarch64-static ;;
  esac
}
has_cmake() { # 3.22 is the oldest that the build files accept
  local version
  have cmake && have ctest && version=$(cmake --version | awk 'NR == 1 { print $3 }') &&
    printf '%s\n' 3.22 "$version" | sort --check=quiet --version-sort
}
has_builder() { have ninja || have make; }

needs=() # each "required|optional", Debian package, probe with its arguments
need() { needs+=("$*"); }

need_compilers() { # for the preset $1
  case $1 in
    *clang | fuzz)
      need required clang have clang
      need required clang have clang++
      ;;
    *)
      need required gcc have gcc
      need required g++ have g++
      ;;
  esac
  case $1 in
    dev) need required g++ has_sanitizers g++ ;;
    dev-clang) need required libclang-rt-dev has_sanitizers clang++ ;;
    tsan) need required g++ has_thread_sanitizer g++ ;;
    fuzz) need required libclang-rt-dev has_fuzzer ;;
    coverage) need required gcovr have gcovr ;;
    windows)
      need required g++-mingw-w64-x86-64 have x86_64-w64-mingw32-g++-posix
      need required wine have wine
      ;;
    arm64)
      need required crossbuild-essential-arm64 have aarch64-linux-gnu-g++
      need required qemu-user-static have qemu-aarch64-static
      ;;
  esac
}

# Packages of the kind $1 whose probe fails.
missing() {
  local entry kind package probe
  for entry in "${needs[@]}"; do
    read -r kind package probe <<<"$entry"
    # shellcheck disable=SC2086 # the probe and its arguments are words
    if [[ $kind == "$1" ]] && ! $probe; then echo "$package"; fi
  done | sort -u | paste -sd ' '
}

# True where the packages named may be installed: a person at the terminal is asked first.
may_install() {
  if [[ -n ${assume_yes-} || -n ${CI-} || ! -t 0 || ! -t 2 ]]; then return 0; fi
  local answer
  read -rp "Install them with apt-get? [y/N] " answer
  [[ $answer == [yY]* ]]
}

# Installs what is missing when it may, else says how. Ends the script when a required package
# stays away; continues without an optional one.
install_missing() {
  local required optional root=()
  required=$(missing required)
  optional=$(missing optional)
  [[ -n $required$optional ]] || return 0

  local install="apt-get install -y --no-install-recommends ${required:+$required }$optional"
  if [[ $(id -u) != 0 ]]; then root=(sudo -n); fi
  say "missing: ${required:+$required }$optional"
  if have apt-get && { [[ ${#root[@]} == 0 ]] || { have sudo && sudo -n true 2>/dev/null; }; } &&
    may_install; then
    say "installing: ${required:+$required }$optional"
    local apt=("${root[@]}" env DEBIAN_FRONTEND=noninteractive
      apt-get -q -o DPkg::Lock::Timeout=300)
    "${apt[@]}" update </dev/null || true # an old list may do
    # shellcheck disable=SC2086 # package names are words
    "${apt[@]}" install -y --no-install-recommends $required $optional </dev/null ||
      [[ -z $required ]] || "${apt[@]}" install -y --no-install-recommends $required </dev/null ||
      true
    hash -r
    required=$(missing required)
    optional=$(missing optional)
  else
    say "not installed: that takes root, or sudo without a password. The line to type:"
    echo "apt-get update && $install"
  fi

  if [[ -n $required ]]; then die "required: $required"; fi
  if [[ -n $optional ]]; then say "continuing without: $optional"; fi
}

need required cmake has_cmake
need required ninja-build has_builder

# Of the program tarnix; without them everything else is built.
need optional libcli11-dev has_header CLI/CLI.hpp
need optional libtomlplusplus-dev has_header toml++/toml.h
need optional libmuparser-dev has_header muParser.h
need optional nlohmann-json3-dev has_header nlohmann/json.hpp
need optional libre2-dev has_header re2/re2.h
need optional libboost-dev has_header boost/random/sobol.hpp # Sobol points of doe
need optional python3 have python3 # its tests, and one of the examples
need optional openmpi-bin have mpirun # a test; another takes slurm-wlm and munge where they are
need optional zsh have zsh # a test of the completion

# Of the Python package, and of its tests, which skip what they do not find. It is built for the
# distribution's own interpreter.
has_module() { /usr/bin/python3 -c "import $1" >/dev/null 2>&1; }
has_python_headers() {
  [[ -f $(/usr/bin/python3 -c "import sysconfig; print(sysconfig.get_path('include'))")/Python.h ]]
}
need optional python3-dev has_python_headers
need optional pybind11-dev test -d /usr/include/pybind11
need optional python3-numpy has_module numpy
need optional python3-pytest has_module pytest
need optional python3-scipy has_module scipy
need optional python3-pandas has_module pandas
need optional python3-matplotlib has_module matplotlib
need optional python3-distributed has_module distributed
need optional python3-mpi4py has_module mpi4py
need optional python3-mypy has_module mypy

# --- Building --------------------------------------------------------------------------------
jobs() { nproc 2>/dev/null || echo 2; }

configure() { # PRESET [options of cmake]
  if [[ -z ${CMAKE_GENERATOR-} ]] && have ninja; then export CMAKE_GENERATOR=Ninja; fi
  cmake --preset "$@"
}

build() { # PRESET [TARGET...]
  local preset=$1
  shift
  cmake --build --preset "$preset" --parallel "$(jobs)" ${1:+--target "$@"}
}
