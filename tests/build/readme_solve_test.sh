#!/usr/bin/env bash
# readme_solve_test.sh README PROBLEM PROGRAM: the README shows what the program prints when it
# solves the problem file; the time that a solve takes is left out of the comparison.
set -euo pipefail

timeless() { sed -E 's/, [0-9.e-]+ s$//'; }
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
shown=$(awk -v mark="<!-- output of tarnix solve $2 -->" '
  $0 == mark { seen = 1; next }
  seen && /^```/ { if (inside) exit; inside = 1; next }
  inside { print }' "$1" | timeless)
[[ -n $shown ]] || { echo "$1 does not show $2"; exit 1; }
diff <(echo "$shown") <("$3" solve --quiet --output "$directory" "$2" | timeless)
