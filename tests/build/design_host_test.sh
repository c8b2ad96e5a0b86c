#!/usr/bin/env bash
# design_host_test.sh PROGRAM: the host that opens the library at run time solves its designs, shows
# one with its trace, and refuses what it does not know.
set -euo pipefail
cd / # it finds the library wherever it is started

table=$("$1")
echo "$table"
rows=$(grep -cE '^[A-Za-z0-9_]+ +[0-9]+ +[0-9]+ +[0-9]+ ' <<<"$table")
converged=$(grep -cE ' converged +[0-9.-]+ ' <<<"$table")
failed=0
((rows >= 8)) || { echo "only $rows designs"; failed=1; }
((converged == rows)) || { echo "only $converged of $rows converged"; failed=1; }

one=$("$1" three_bar_truss --print 2)
for text in 'Search Direction' 'Step Length=' '^three_bar_truss +2 '; do
  grep -qE "$text" <<<"$one" || { echo "no '$text' when one design is traced"; failed=1; }
done

status=0
"$1" no_such_design 2>/dev/null || status=$?
((status == 2)) || { echo "an unknown design ends with $status"; failed=1; }
exit $failed
