#!/usr/bin/env bash
# readme_test.sh README SOURCE PROGRAM [output]: the README shows the first host program as it is,
# with the output that it has, and in at most 25 lines. With "output" it shows the output alone.
# EMULATOR in the environment starts the program; its machine's mathematical functions may round
# otherwise, so numbers are then compared by their form alone.
set -euo pipefail

# The fenced block that follows the line <!-- NAME -->.
block() {
  awk -v mark="<!-- $1 -->" '
    $0 == mark { seen = 1; next }
    seen && /^```/ { if (inside) exit; inside = 1; next }
    inside { print }' "$2"
}

form() {
  if [[ ${EMULATOR-} ]]; then sed -E 's/[0-9][0-9.]*(e[-+]?[0-9]+)?/#/g; s/ +/ /g'; else cat; fi
}

failed=0
output=$(${EMULATOR:+"$EMULATOR"} "$3") || { echo "$3 ended with $?"; failed=1; }
diff <(block "output of $2" "$1" | form) <(echo "$output" | form) ||
  { echo "$1 shows another output of $2"; failed=1; }
if [[ ${4:-} != output ]]; then
  diff <(block "$2" "$1") "$2" || { echo "$1 does not show $2 verbatim"; failed=1; }
  (($(wc -l <"$2") <= 25)) || { echo "$2 has more than 25 lines"; failed=1; }
fi
exit $failed
