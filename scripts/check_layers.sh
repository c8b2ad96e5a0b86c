#!/usr/bin/env bash
# check_layers.sh [SRC]: checks what each folder of the core includes: itself, what its row of the
# table names, the public headers, the standard library; nothing else.
set -euo pipefail
cd "${1:-$(dirname "${BASH_SOURCE[0]}")/../src}"

declare -A may=(
  [base]=""
  [state]="base"
  [trace]="base state"
  [eval]="base state trace"
  [qp]="base state trace"
  [sqp]="base state trace eval qp"
  [grg]="base state trace eval qp"
  [api]="base state trace eval qp sqp grg"
)

bad=0
complain() {
  echo "$1: $2"
  bad=1
}

files=0
while read -r file; do
  files=$((files + 1))
  from=${file%/*}
  if [[ -z ${may[$from]+known} ]]; then
    complain "$file" "belongs to no layer"
    continue
  fi
  while read -r include; do
    name=${include:1:-1}
    case $include in
      '"tarnix/'* | '<tarnix/'*) continue ;;
      \<*)
        [[ $name =~ ^[a-z0-9_]+$ ]] || complain "$file" "includes <$name>, no standard C++ header"
        continue
        ;;
    esac
    # A header without a folder is one of the same folder; every path must lead to a file.
    if [[ $name != */* ]]; then name=$(dirname "$file")/$name; fi
    to=${name%/*}
    if [[ ! -f $name || $name == *..* ]]; then
      complain "$file" "includes \"$name\", no file below src"
    elif [[ $to != "$from" && " ${may[$from]} " != *" $to "* ]]; then
      complain "$file" "($from) must not include \"$name\" ($to)"
    fi
  done < <(sed -nE 's/^[[:space:]]*#[[:space:]]*include[[:space:]]*([<"][^>"]+[>"]).*/\1/p' "$file")
done < <(find . -type f \( -name '*.h' -o -name '*.cpp' \) -printf '%P\n' | sort)

if ((files == 0)); then complain src "has no sources"; fi
if ((bad)); then exit 1; fi
echo "$files files, every include within its layer"
