#!/usr/bin/env bash
# long.sh BUILD: soak, dirty callbacks and failing allocations for TARNIX_LONG_SECONDS in all (300),
# and the program killed again and again. Prints a table; the status says whether all was right.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
build=$1
seconds=${TARNIX_LONG_SECONDS:-300}
failed=0
echo "machine: $(nproc) processors, $(uname -srm), $(date --utc +%F)"
"$build/tests/tarnix_long" "$seconds" || failed=1

program=$build/interfaces/cli/tarnix
if [[ -x $program ]] && command -v python3 >/dev/null; then
  rounds=0 wrong=0
  end=$((SECONDS + seconds / 3))
  while ((SECONDS < end)); do
    rounds=$((rounds + 1))
    python3 interfaces/cli/tests/cli_test.py "$program" examples Kill \
      >"$build/long_kill.log" 2>&1 ||
      { wrong=$((wrong + 1)) && cp "$build/long_kill.log" "$build/long_kill_$rounds.log"; }
  done
  printf '%-20s %9d rounds %38d wrong\n' "kills and resumes" "$rounds" "$wrong"
  if ((wrong)); then failed=1; fi
else
  echo "kills are skipped: no program, or no python3"
fi
exit $failed
