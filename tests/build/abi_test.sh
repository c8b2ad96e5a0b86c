#!/usr/bin/env bash
# abi_test.sh LIBRARY [--write]: the binary interface of a library built with debug information is
# the one in cmake/abi.xml: same names, arguments, and layout of the settings. --write takes over
# what it is now.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
library=$1
now=$(mktemp)
trap 'rm -f "$now"' EXIT
abidw --headers-dir include/tarnix --exported-interfaces-only --drop-private-types \
  --no-corpus-path --no-comp-dir-path --no-show-locs --no-parameter-names "$library" |
  sed -e "s|$PWD/||" -e '/<elf-needed>/,/<\/elf-needed>/d' >"$now"

if [[ ${2-} == --write ]]; then
  cp "$now" cmake/abi.xml
  exit
fi
status=0
abidiff cmake/abi.xml "$now" || status=$?
if ((status)); then
  echo "the binary interface differs from cmake/abi.xml; if that is intended: a new minor version,"
  echo "a line in CHANGELOG.md, and $0 $library --write"
fi
exit $status
