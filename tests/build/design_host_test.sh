#!/usr/bin/env bash
# design_host_test.sh PROGRAM: the host that opens the library at run time solves its designs, shows
# one with its trace, and rejects what it does not know.
set -euo pipefail
cd / # it finds the library wherever it is started

program=$1
run() { ${EMULATOR:+"$EMULATOR"} "$program" "$@"; }

failed=0
for method in 'sqp:converged' 'grg:(converged|min step|no change)'; do
  table=$(run --method "${method%%:*}")
  echo "$table"
  rows=$(grep -cE '^[A-Za-z0-9_]+ +[0-9]+ +[0-9]+ +[0-9]+ ' <<<"$table") || true
  solved=$(grep -cE " ${method#*:} +[-+.0-9e]+ +[-+]" <<<"$table") || true
  ((rows >= 8 && solved == rows)) || { echo "solved $solved of $rows designs"; failed=1; }
done

one=$(run three_bar_truss --print 2)
for text in 'Search Direction' 'Step Length=' '^three_bar_truss +2 '; do
  grep -qE "$text" <<<"$one" || { echo "no '$text' when one design is traced"; failed=1; }
done

status=0
run no_such_design 2>/dev/null || status=$?
((status == 2)) || { echo "an unknown design ends with $status"; failed=1; }
exit $failed
