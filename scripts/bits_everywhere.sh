#!/usr/bin/env bash
# bits_everywhere.sh [NAME...]: builds the core and the collection with every compiler, option and
# machine of the table below that is available, or those rows whose name begins with a NAME, and
# prints what tests/bits finds: whether all solves have the stored bits when the functions are the
# portable ones, and how many differ from those of gcc -O2 on this machine when they are the C
# library's own.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
root=$PWD
work=${TMPDIR:-/tmp}/tarnix_bits.$$
trap 'rm -rf "$work"' EXIT
mkdir -p "$work"

# name; C++ compiler, with the same options for C behind "c"; options; what runs the program
rows='gcc -O2; g++; gcc; -O2;
gcc -O0; g++; gcc; -O0;
gcc -O1; g++; gcc; -O1;
gcc -O3; g++; gcc; -O3;
gcc -O2, no vector types; g++; gcc; -O2 -DTARNIX_PLAIN_PAIRS;
gcc -O2, 11; g++-11; gcc-11; -O2;
gcc -O2, 14; g++-14; gcc-14; -O2;
gcc LTO; g++; gcc; -O2 -flto=auto;
gcc AVX2 and FMA; g++; gcc; -O3 -mavx2 -mfma; avx2
gcc AVX-512; g++; gcc; -O3 -mavx512f -mfma; avx512f
gcc sanitizers; g++; gcc; -O1 -fsanitize=address,undefined;
clang -O0; clang++; clang; -O0;
clang -O2; clang++; clang; -O2;
clang -O3, 19; clang++-19; clang-19; -O3;
clang AVX2 and FMA; clang++; clang; -O3 -mavx2 -mfma; avx2
Windows, MinGW -O2; x86_64-w64-mingw32-g++-posix; x86_64-w64-mingw32-gcc-posix; -O2 -static; wine
Windows, MinGW -O3; x86_64-w64-mingw32-g++-posix; x86_64-w64-mingw32-gcc-posix; -O3 -static; wine
arm64 -O0; aarch64-linux-gnu-g++; aarch64-linux-gnu-gcc; -O0 -static; qemu-aarch64-static
arm64 -O2; aarch64-linux-gnu-g++; aarch64-linux-gnu-gcc; -O2 -static; qemu-aarch64-static
arm64 -O3; aarch64-linux-gnu-g++; aarch64-linux-gnu-gcc; -O3 -static; qemu-aarch64-static
armhf -O2; arm-linux-gnueabihf-g++; arm-linux-gnueabihf-gcc; -O2 -static; qemu-arm-static
riscv64 -O2; riscv64-linux-gnu-g++; riscv64-linux-gnu-gcc; -O2 -static; qemu-riscv64-static
s390x (big-endian) -O2; s390x-linux-gnu-g++; s390x-linux-gnu-gcc; -O2 -static; qemu-s390x-static
i386 SSE2 -O2; i686-linux-gnu-g++; i686-linux-gnu-gcc; -O2 -static -msse2 -mfpmath=sse;
i386 x87 -O2; i686-linux-gnu-g++; i686-linux-gnu-gcc; -O2 -static -mfpmath=387;'

# One translation unit: nine tenths of the time to compile 40 are the standard library's headers.
for source in "$root"/src/*/*.cpp; do echo "#include \"$source\""; done >"$work/core.cpp"

# build FOLDER CXX CC OPTIONS...: the two programs, portable and native
build() {
  local folder=$1 cxx=$2 cc=$3 kind extra
  local options=("${@:4}" -ffp-contract=off -w "-I$root/include" "-I$root/src" "-I$root/problems")
  options+=(-Dtarnix_EXPORTS) # no import from a DLL
  mkdir -p "$folder/portable" "$folder/native"
  cd "$folder"
  "$cxx" -std=c++20 "${options[@]}" -c "$work/core.cpp" "$root/tests/bits/bits.cpp"
  for kind in portable native; do
    extra=()
    if [[ $kind == portable ]]; then
      extra=(-DPORTABLE_MATH -include "$root/tests/bits/portable_math.h")
    fi
    (cd "$kind" && "$cc" -std=c11 "${options[@]}" "${extra[@]}" -c "$root"/problems/*.c)
    "$cxx" "${@:4}" core.o bits.o "$kind"/*.o -lm -o "bits_$kind.exe"
  done
  cd "$root"
}

export WINEDEBUG=-all
failed=0
reference=
printf '| %-27s | %-40s | %-14s | %-22s |\n' Build Compiler 'Same functions' "C library's functions"
printf '|---|---|---|---|\n'
while IFS=';' read -r name cxx cc options runner; do
  cxx=${cxx# } cc=${cc# } runner=${runner# }
  if (($# > 0)) && [[ -n $reference ]]; then
    for wanted; do [[ $name == "$wanted"* ]] && break; done
    [[ $name == "$wanted"* ]] || continue
  fi
  start=()
  missing=
  case $runner in
    avx*) grep -qw "$runner" /proc/cpuinfo || missing="this processor has no $runner" ;;
    ?*) start=("$runner") && command -v "$runner" >/dev/null || missing="no $runner" ;;
  esac
  command -v "$cxx" >/dev/null || missing="no $cxx"
  if [[ -n $missing ]]; then
    printf '| %-27s | %-40s | %-14s | %-22s |\n' "$name" "$missing" 'not tried' ''
    continue
  fi
  folder=$work/build
  rm -rf "$folder"
  read -ra words <<<"$options"
  build "$folder" "$cxx" "$cc" "${words[@]}"
  same=same
  "${start[@]}" "$folder/bits_portable.exe" >/dev/null || same=different
  "${start[@]}" "$folder/bits_native.exe" --list | tr -d '\r' >"$work/list"
  if [[ -z $reference ]]; then reference=$work/reference && cp "$work/list" "$reference"; fi
  differing=$(diff "$reference" "$work/list" | grep -c '^>' || true)
  if [[ $same != same && $name != *x87* ]]; then failed=1; fi
  printf '| %-27s | %-40s | %-14s | %-22s |\n' "$name" \
    "$("$cxx" --version | head -1 | cut -c1-40)" "$same" \
    "$differing of $(wc -l <"$reference") solves differ"
done <<<"$rows"
exit $failed
