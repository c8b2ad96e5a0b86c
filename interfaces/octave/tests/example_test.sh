#!/usr/bin/env bash
# example_test.sh EXAMPLE OCTAVE...: the README shows the example, or its output at least, as it is.
set -euo pipefail
example=$1
shift
runner=$(mktemp)
trap 'rm -f "$runner"' EXIT
{
  echo '#!/bin/sh'
  printf 'exec'
  printf " '%s'" "$@" "$example"
} >"$runner"
chmod +x "$runner"
bash tests/build/readme_test.sh interfaces/octave/README.md "$example" "$runner"
