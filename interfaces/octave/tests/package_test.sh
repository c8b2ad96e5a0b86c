#!/usr/bin/env bash
# Makes the Octave package, installs it with pkg against an installed tarnix, and runs an example
# with what pkg has installed.
# Environment: BUILD, LIBDIR, CMAKE, OCTAVE, PACKAGE (name and version).
set -euo pipefail
work=$BUILD/octave_package_test
rm -rf "$work"
mkdir -p "$work/home"
for component in runtime development; do
  "$CMAKE" --install "$BUILD" --prefix "$work/installed" --component $component \
    >"$work/install.log"
done
"$CMAKE" --build "$BUILD" --target octave_package >"$work/package.log"
tar tzf "$BUILD/$PACKAGE.tar.gz"
export PKG_CONFIG_PATH=$work/installed/$LIBDIR/pkgconfig HOME=$work/home
pkg="pkg ('prefix', '$work/packages', '$work/packages'); pkg ('local_list', '$work/list')"
"$OCTAVE" --norc --eval "$pkg; pkg install $BUILD/$PACKAGE.tar.gz"
found=$("$OCTAVE" --norc --eval "$pkg; pkg load tarnix; source interfaces/octave/examples/column.m;
  disp (which ('tarnix_mex'))")
echo "$found"
[[ $found == *"flag 1, cost 26.4995"*"$work/packages/"* ]]
"$OCTAVE" --norc --eval "$pkg; pkg load tarnix; help tarnix_fmincon; pkg describe tarnix" |
  grep 'linear and nonlinear constraints'
