#!/usr/bin/env bash
# readme_solve_test.sh README PROBLEM PROGRAM: the README shows what the program prints when it
# solves the problem file, to the end of the constraints. Of the time the form is compared: digits
# count as digits.
set -euo pipefail

timeless() { sed -E '/ evaluations, /s/[0-9]+\.([0-9]) s$/N.N s/'; }
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
shown=$(awk -v mark="<!-- output of tarnix solve $2 -->" '
  $0 == mark { seen = 1; next }
  seen && /^```/ { if (inside) exit; inside = 1; next }
  inside { print }' "$1" | timeless)
[[ $shown == *" N.N s"* ]] || { echo "$1 does not show $2, or its time in another form"; exit 1; }
printed=$("$3" solve --quiet --output "$directory" "$2" | timeless | sed '/^  1 % more: /,$d')
diff <(echo "$shown") <(echo "$printed")
