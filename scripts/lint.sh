#!/usr/bin/env bash
# lint.sh [CHECK...]: what tools say about the sources, by default all of
#   columns     no line of code above 100 columns, no tab, no blank at the end of a line
#   shell       shellcheck; nothing is piped into grep -q
#   format      clang-format, of the version that the sources are formatted with
#   tidy        clang-tidy on the core and the interfaces, by the compile commands of a build: with
#               two processors half an hour, hence not part of a plain ./check
#   python      flake8 and mypy
#   spelling    codespell
#   yaml        every YAML file parses, and what the forges' runners call is there
# or `quick` for all but tidy. A tool that is missing is named and its check skipped.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit

have() { command -v "$1" >/dev/null 2>&1; }
skip() { echo "lint: $1 is skipped: $2 is missing"; }
files() { git ls-files --cached --others --exclude-standard -- "$@" ':!:tests/fuzz/corpus/*'; }
scripts() { files '*.sh' run check .ci/run; }

check_columns() { # prose and data may be longer where a table or an address asks for it
  files '*.cpp' '*.hpp' '*.h' '*.c' '*.inc' '*.f90' '*.py' '*.sh' '*.cmake' \
    '*CMakeLists.txt' run check | xargs awk '
      { if (length($0) > 100) bad("above 100 columns")
        if (/\t/) bad("tab")
        if (/[ \t]$/) bad("blank at the end") }
      function bad(what) { printf "%s:%d: %s\n", FILENAME, FNR, what; count++ }
      END { exit count > 0 }'
}

# grep -q ends at the first match; what writes to it then dies of SIGPIPE, and under pipefail the
# whole test is false, now and then.
piped_into_quiet_grep() {
  scripts | xargs awk '!/^ *#/ && /\| *(z|e|f)?grep +(-[a-zA-Z]+ +)*-[a-zA-Z]*q/ {
      printf "%s:%d: piped into grep -q: use a here string, or >/dev/null\n", FILENAME, FNR; n++ }
    END { exit n > 0 }'
}
check_shell() {
  local status=0
  piped_into_quiet_grep || status=1
  if have shellcheck; then
    scripts | xargs shellcheck --external-sources --severity=warning || status=1
  else
    skip shell shellcheck
  fi
  return $status
}

# The LLVM tools of other versions break lines in other places and find other faults.
llvm=14
llvm_tool() { # NAME: the program of that version, where it is installed
  local program
  for program in "$1-$llvm" "$1"; do
    if have "$program" && [[ $("$program" --version) =~ version\ $llvm\. ]]; then
      echo "$program"
      return
    fi
  done
  false
}

check_format() {
  local program
  program=$(llvm_tool clang-format) || { skip format "clang-format $llvm" && return 0; }
  files '*.cpp' '*.hpp' '*.h' '*.c' | xargs "$program" --dry-run --Werror
}

compiled() { # DATABASE PATTERN...: of the files that match, those that this build compiles
  files "${@:2}" | while read -r file; do
    if grep -qF "\"file\": \"$PWD/$file\"" "$1"; then echo "$file"; fi
  done
}
tidy_octave() { # PROGRAM: what Octave's own tool compiles, hence in no database
  local flags
  have mkoctfile || { skip "tidy of interfaces/octave" mkoctfile && return 0; }
  read -ra flags <<<"$(mkoctfile -p INCFLAGS)"
  "$1" --quiet --warnings-as-errors='*' interfaces/octave/src/*.cpp -- \
    -std=c++17 -Iinclude -Iinterfaces/cpp/include "${flags[@]}" 2> >(without_counts)
}
without_counts() {
  grep -v ' warnings\? generated\.$\|^Suppressed\|^Use -header-filter' >&2
}
check_tidy() {
  local program database status=0
  program=$(llvm_tool clang-tidy) || { skip tidy "clang-tidy $llvm" && return 0; }
  for database in build/release build/release-clang; do
    if [[ -f $database/compile_commands.json ]]; then
      compiled "$database/compile_commands.json" 'src/*.cpp' 'interfaces/*.cpp' ':!:*/tests/*' |
        xargs -P "$(nproc)" -n 4 "$program" --quiet -p "$database" --warnings-as-errors='*' \
          2> >(without_counts) || status=1
      tidy_octave "$program" || status=1
      return $status
    fi
  done
  skip tidy "a configured build (./check release)"
}

check_python() {
  local status=0
  if have flake8; then
    files '*.py' scripts/mutate | xargs flake8 --max-line-length 100 || status=1
  else
    skip flake8 flake8
  fi
  if have mypy; then
    files '*.py' scripts/mutate |
      xargs mypy --scripts-are-modules --ignore-missing-imports --no-error-summary || status=1
  else
    skip mypy mypy
  fi
  return $status
}

check_spelling() {
  have codespell || { skip spelling codespell && return 0; }
  # Names in code, misspellings that tests ask for, words that are written both ways.
  local ignored=minimze,lenght,heigth,sovle,ue,inout,catalogue,catalogues,judgement,judgements
  files ':!:*.svg' ':!:cmake/abi.xml' |
    xargs codespell --builtin clear,rare,en-GB_to_en-US --ignore-regex '\b[a-z]+[A-Z]\w*' \
      --ignore-words-list "$ignored,minimise,maximise"
}

check_yaml() {
  local status=0 called
  if have python3 && python3 -c 'import yaml' 2>/dev/null; then
    files '*.yml' '*.yaml' '*.cff' .clang-format .clang-tidy | xargs python3 -c 'import sys, yaml
for name in sys.argv[1:]:
    with open(name) as stream:
        list(yaml.safe_load_all(stream))' || status=1
  else
    skip yaml python3-yaml
  fi
  for called in $(files '*.yml' '*.yaml' | xargs grep -ohE '\./[a-z][a-z./]*|scripts/[a-z_./]+'); do
    [[ -x $called ]] || { echo "a runner calls $called, which is not there" && status=1; }
  done
  return $status
}

quick=(columns shell format python spelling yaml)
checks=("$@")
if [[ $# == 0 ]]; then checks=("${quick[@]}" tidy); fi
if [[ ${1-} == quick ]]; then checks=("${quick[@]}" "${@:2}"); fi
failed=()
for check in "${checks[@]}"; do
  if ! "check_$check"; then failed+=("$check"); fi
done
if ((${#failed[@]})); then
  echo "lint: FAILED: ${failed[*]}"
  exit 1
fi
echo "lint: passed: ${checks[*]}"
