#!/usr/bin/env bash
# Installs the build into a staging folder, moves the whole to another place, and builds and runs
# hosts against it there.
# Environment: BUILD (build folder), LIBDIR, and what consume.sh requires.
set -euo pipefail
work=$BUILD/install_consumer
rm -rf "$work"
mkdir -p "$work"

"$CMAKE" --install "$BUILD" --prefix "$work/staged" >"$work/install.log"
mv "$work/staged" "$work/moved"
find "$work/moved" -printf '%P -> %l\n' | sed 's/ -> $//' | sort

bash tests/install/consume.sh "$work/moved" "$LIBDIR" "$work"
