#!/usr/bin/env bash
# The layer check accepts a valid tree and rejects each of a list of planted faults.
set -euo pipefail
check=$PWD/scripts/check_layers.sh
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
cd "$tree"
failed=0

# plant FILE LINE: a valid tree with this line as the file's only content.
plant() {
  rm -rf src && mkdir -p src/{base,state,trace,eval,qp,sqp,grg,api}
  touch src/base/views.h src/state/settings.h src/api/driver.h src/{trace/trace,eval/eval,qp/qp}.h
  touch src/{sqp/sqp,grg/grg}.h
  mkdir -p "src/$(dirname "$1")"
  echo "$2" >"src/$1"
}

while IFS='|' read -r expected file line; do
  plant "$file" "$line"
  if bash "$check" src >out 2>&1; then found=sound; else found=fault; fi
  if [[ $found != "$expected" ]] || { [[ $found == fault ]] && ! grep -qF "$file" out; }; then
    echo "expected $expected, found $found: $file with $line"
    cat out
    failed=1
  fi
done <<'CASES'
sound|qp/solver.cpp|#include "qp.h"
sound|qp/solver.cpp|#include "state/settings.h"
sound|sqp/run.cpp|#include <tarnix/routines.h>
sound|grg/run.cpp|#include <vector>
sound|api/entry_points.cpp|#include "sqp/sqp.h"
sound|api/entry_points.cpp|#include "driver.h"
fault|base/list.h|#include "state/settings.h"
fault|state/problem.cpp|#include "trace/trace.h"
fault|trace/line.cpp|#include "eval/eval.h"
fault|eval/gradients.cpp|#include "qp/qp.h"
fault|qp/solver.cpp|  #  include "sqp/sqp.h"
fault|grg/run.cpp|#include "sqp/sqp.h"
fault|sqp/run.cpp|#include "api/driver.h"
fault|sqp/run.cpp|#include "../api/driver.h"
fault|sqp/run.cpp|#include "interfaces/cpp/tarnix.hpp"
fault|sqp/run.cpp|#include <unistd.h>
fault|qp/deeper/new.cpp|#include "base/views.h"
fault|extra/new.cpp|#include "base/views.h"
CASES
exit $failed
