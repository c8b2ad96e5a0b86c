#!/usr/bin/env bash
# exports_test.sh LIBRARY LIST SESSIONS HEADER...: the library's dynamic symbols, the names that the
# public headers declare, and both lists together are one and the same. Every name of the
# second list begins with tarnix_session_, and no other does.
set -euo pipefail
export LC_ALL=C

listed=$(grep -hv '^#' "$2" "$3" | sort)
case $1 in
  *.dll) found=$(objdump -p "$1" | awk '/^\[Ordinal\/Name/ { names = 1; next }
    NF == 0 { names = 0 } names { print $NF }' | sort) ;;
  *) found=$(nm -D --defined-only "$1" | awk '{ print $NF }' | sort) ;;
esac
declared=$(grep -hE '^(extern )?VRK_API ' "${@:4}" |
  sed -E 's/^(extern )?VRK_API [A-Za-z0-9_]+[ *]+([A-Za-z0-9_]+).*/\2/' | sort)

failed=0
if grep -q '^tarnix_session_' "$2" || grep -vE '^#|^tarnix_session_' "$3"; then
  echo "a name is in the wrong list"
  failed=1
fi
diff <(echo "$listed") <(echo "$found") ||
  { echo "names differ: < in $2 or $3, > exported by the library"; failed=1; }
diff <(echo "$listed") <(echo "$declared") ||
  { echo "names differ: < in $2 or $3, > declared in the headers"; failed=1; }
if ((failed == 0)); then echo "$(wc -l <<<"$listed") names: listed, exported, declared"; fi
exit $failed
