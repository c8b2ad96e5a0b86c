#!/usr/bin/env bash
# exports_test.sh LIBRARY LIST: the library's dynamic symbols are exactly the names of the list.
set -euo pipefail
export LC_ALL=C

found=$(nm -D --defined-only "$1" | awk '{ print $NF }' | sort)
listed=$(grep -v '^#' "$2" | sort)
if ! diff <(echo "$listed") <(echo "$found"); then
  echo "exported names differ from $2 (< only in the list, > only in the library)"
  exit 1
fi
echo "$(wc -l <<<"$found") exported names, all listed"
