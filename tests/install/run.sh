#!/usr/bin/env bash
# Installs the build into a staging folder, moves the whole to another place, and builds and runs
# a C++ host through find_package and a C host through pkg-config there.
# Environment: CMAKE, BUILD (build folder), LIBDIR, CC, CXX, CMAKE_GENERATOR.
set -euo pipefail
source_dir=$PWD/tests/install
work=$BUILD/install_consumer
rm -rf "$work"
mkdir -p "$work"

"$CMAKE" --install "$BUILD" --prefix "$work/staged" >"$work/install.log"
mv "$work/staged" "$work/moved"
prefix=$work/moved
find "$prefix" -printf '%P -> %l\n' | sed 's/ -> $//' | sort

echo "== find_package"
"$CMAKE" -S "$source_dir" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_CXX_COMPILER="$CXX" -DCMAKE_BUILD_TYPE=Release >"$work/configure.log"
grep -F "tarnix_DIR:PATH=$prefix/$LIBDIR/cmake/tarnix" "$work/cmake/CMakeCache.txt"
"$CMAKE" --build "$work/cmake"
"$work/cmake/consumer"

echo "== pkg-config"
command -v pkg-config >/dev/null || { echo "pkg-config not found"; exit 1; }
export PKG_CONFIG_PATH=$prefix/$LIBDIR/pkgconfig
flags=()
eval "flags+=($(pkg-config --cflags --libs tarnix))" # blanks in paths come with a backslash
echo "$(pkg-config --modversion tarnix): ${flags[*]}"
"$CC" -std=c11 "$source_dir/main.c" -o "$work/main" "${flags[@]}" -lm
LD_LIBRARY_PATH=$prefix/$LIBDIR "$work/main"
