#!/usr/bin/env bash
# exports_test.sh LIBRARY LIST HEADER...: the library's dynamic symbols, the names that the public
# headers declare, and the list are one and the same.
set -euo pipefail
export LC_ALL=C

listed=$(grep -v '^#' "$2" | sort)
found=$(nm -D --defined-only "$1" | awk '{ print $NF }' | sort)
declared=$(grep -hE '^(extern )?VRK_API ' "${@:3}" |
  sed -E 's/^(extern )?VRK_API [A-Za-z0-9_]+ ([A-Za-z0-9_]+).*/\2/' | sort)

failed=0
diff <(echo "$listed") <(echo "$found") ||
  { echo "names differ: < in $2, > exported by the library"; failed=1; }
diff <(echo "$listed") <(echo "$declared") ||
  { echo "names differ: < in $2, > declared in the headers"; failed=1; }
if ((failed == 0)); then echo "$(wc -l <<<"$listed") names: listed, exported, declared"; fi
exit $failed
