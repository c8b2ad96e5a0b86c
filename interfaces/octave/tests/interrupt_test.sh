#!/usr/bin/env bash
# interrupt_test.sh OCTAVE PATH...: Ctrl-C in an analysis and in a solve between analyses ends the
# solve, runs what the script has for such cases, and leaves an interpreter that works.
set -euo pipefail
octave=$1
shift
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cat >"$work/endless.m" <<'M'
1;
function y = mark (x, file)
  fclose (fopen (file, 'w'));
  y = sum (x) + 1e-9 * rand ();
end
unwind_protect
  while true
    tarnix_fmincon (@(x) mark (x, getenv ('STARTED')), ones (20, 1), [], [], [], [], ...
                    zeros (20, 1), 9 * ones (20, 1));
  end
unwind_protect_cleanup
  printf ('cleaned up, %g\n', tarnix_fmincon (@(x) (x - 2)^2, 1));
end_unwind_protect
M
paths=()
for path in "$@"; do paths+=(--path "$path"); done
# A shell starts what runs in the background deaf to the signal.
STARTED=$work/started setsid python3 -c 'import os, signal, sys
signal.signal(signal.SIGINT, signal.default_int_handler)
os.execvp(sys.argv[1], sys.argv[1:])' "$octave" --norc "${paths[@]}" "$work/endless.m" \
  >"$work/output" 2>&1 &
pid=$!
for ((k = 0; k < 300; ++k)); do
  [[ ! -e $work/started ]] || break
  sleep 0.1
done
kill -INT $pid
for ((k = 0; k < 300; ++k)); do
  kill -0 $pid 2>/dev/null || break
  sleep 0.1
done
if kill -0 $pid 2>/dev/null; then
  kill -KILL $pid
  echo "the interrupt had no effect"
  exit 1
fi
cat "$work/output"
grep -q '^cleaned up, 2' "$work/output"
