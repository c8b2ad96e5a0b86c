#!/usr/bin/env bash
# consume.sh PREFIX LIBDIR WORK: builds and runs, against the tree installed below PREFIX, C++ hosts
# through find_package and a C host through pkg-config. WORK is made for the builds.
# Environment: CMAKE, CC, CXX, VERSION (of the package), CMAKE_GENERATOR.
set -euo pipefail
prefix=$1 libdir=$2 work=$3
source_dir=$PWD/tests/install
mkdir -p "$work"

echo "== find_package"
"$CMAKE" -S "$source_dir" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$prefix" -DVERSION="$VERSION" \
  -DCMAKE_CXX_COMPILER="$CXX" -DCMAKE_BUILD_TYPE=Release >"$work/configure.log"
grep -F "tarnix_DIR:PATH=$prefix/$libdir/cmake/tarnix" "$work/cmake/CMakeCache.txt"
"$CMAKE" --build "$work/cmake"
"$work/cmake/consumer"
layer=
if [[ -f $prefix/include/tarnix/tarnix.hpp ]]; then layer=1; fi
if [[ $layer ]]; then "$work/cmake/layer" && "$work/cmake/layer_header_only"; fi
if [[ -f $prefix/include/tarnix/tarnix.f90 ]] && command -v gfortran >/dev/null; then
  "$CMAKE" -S "$source_dir/fortran" -B "$work/fortran" -DCMAKE_PREFIX_PATH="$prefix" \
    -DVERSION="$VERSION" -DSOURCE="$PWD/interfaces/fortran/examples/first_host.f90" \
    >"$work/configure.log"
  "$CMAKE" --build "$work/fortran"
  "$work/fortran/consumer"
fi

echo "== pkg-config"
command -v pkg-config >/dev/null || { echo "pkg-config not found"; exit 1; }
export PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig
pkg-config --exact-version="$VERSION" tarnix
flags=()
eval "flags+=($(pkg-config --cflags --libs tarnix))" # blanks in paths come with a backslash
echo "${flags[*]}"
"$CC" -std=c11 "$source_dir/main.c" -o "$work/main" "${flags[@]}" -lm
LD_LIBRARY_PATH=$prefix/$libdir "$work/main"
if [[ $layer ]]; then
  "$CXX" -std=c++17 "$source_dir/layer.cpp" -o "$work/layer" "${flags[@]}"
  LD_LIBRARY_PATH=$prefix/$libdir "$work/layer"
fi
