#!/usr/bin/env bash
# fuzz.sh SECONDS [NAME...]: feeds each program of tests/fuzz, built by the preset fuzz, with its
# seeds and then with random changes of them, for so many seconds in all. New inputs that reach new
# code are kept in build/fuzz/corpus; one that fails is kept next to it and named.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
seconds=$1
shift
programs=("${@/#/build/fuzz/tests/fuzz/fuzz_}")
if (($# == 0)); then
  for program in build/fuzz/tests/fuzz/fuzz_*; do
    if [[ -f $program && -x $program ]]; then programs+=("$program"); fi
  done
fi
((${#programs[@]})) || { echo "fuzz: no programs in build/fuzz"; exit 1; }
each=$(((seconds + ${#programs[@]} - 1) / ${#programs[@]}))
failed=0
for program in "${programs[@]}"; do
  name=${program##*/fuzz_}
  found=build/fuzz/corpus/$name
  mkdir -p "$found"
  log=build/fuzz/$name.log
  if "$program" -max_total_time="$each" -timeout=20 -rss_limit_mb=4096 -max_len=4096 \
    -print_final_stats=1 -artifact_prefix="build/fuzz/$name-" "$found" "tests/fuzz/corpus/$name" \
    >"$log" 2>&1; then
    printf '%-14s %9s runs in %s s\n' "$name" \
      "$(awk '/number_of_executed_units/ { print $2 }' "$log")" "$each"
  else
    tail -40 "$log"
    echo "fuzz: $name FAILED; the input is named above"
    failed=1
  fi
done
exit $failed
