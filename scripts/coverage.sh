#!/usr/bin/env bash
# coverage.sh: of the preset coverage, after its tests: lines and branches that they ran, by folder,
# and whether the lines stay above the floor of each. The pages are in build/coverage/report.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
floors='src 99
interfaces/cpp/include 97
interfaces/cli 95
interfaces/ampl 96
interfaces/python/src 93'

mkdir -p build/coverage/report
gcovr --root . --object-directory build/coverage --filter 'src/' --filter 'interfaces/' \
  --exclude '.*/tests/.*' --exclude-throw-branches --exclude-unreachable-branches \
  --html-details build/coverage/report/index.html --csv build/coverage/report/files.csv \
  build/coverage
# filename,line_total,line_covered,line_percent,branch_total,branch_covered,...
awk -F, -v floors="$floors" '
  NR == 1 { for (i = 1; i <= NF; ++i) column[$i] = i; next }
  { for (folder in floor) if (index($1, folder "/") == 1) {
      lines[folder] += $column["line_total"]; ran[folder] += $column["line_covered"]
      branches[folder] += $column["branch_total"]; taken[folder] += $column["branch_covered"] } }
  BEGIN { count = split(floors, row, "\n")
    for (i = 1; i <= count; ++i) { split(row[i], pair, " "); name[i] = pair[1]
      floor[pair[1]] = pair[2] } }
  END { printf "%-24s %7s %8s %7s %10s\n", "folder", "lines", "covered", "floor", "branches"
    for (i = 1; i <= count; ++i) { f = name[i]
      if (!lines[f]) { print f ": nothing was measured"; bad = 1; continue }
      share = 100 * ran[f] / lines[f]
      printf "%-24s %7d %6.1f %% %5d %% %8.1f %%\n", f, lines[f], share, floor[f],
        branches[f] ? 100 * taken[f] / branches[f] : 100
      if (share < floor[f]) { print f ": below its floor"; bad = 1 } }
    exit bad }' build/coverage/report/files.csv
