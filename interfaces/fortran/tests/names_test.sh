#!/usr/bin/env bash
# The module binds every entry point of tarnix.h and session.h, and its constants have the values of
# the headers.
set -euo pipefail
headers=(include/tarnix/tarnix.h include/tarnix/session.h)
module=interfaces/fortran/tarnix.f90
failed=0
same() { # WHAT EXPECTED FOUND
  [[ -n $2 ]] && diff <(echo "$2") <(echo "$3") || { echo "$1 differ"; failed=1; }
}

same "entry points" \
  "$(sed 's/^ *#.*//' "${headers[@]}" | tr '\n' ' ' | grep -oE 'VRK_API [^;]*' |
    sed -E 's/^[^(]*[ *]([A-Za-z_0-9]+)\(.*/\1/' | sort)" \
  "$(grep -oE "bind\(C, name='[A-Za-z_0-9]+'\)" $module | sed -E "s/.*'(.*)'.*/\1/" | sort)"
same "constants" \
  "$(cat "${headers[@]}" include/tarnix/routines.h |
    sed -nE 's/^(#define|enum \{|) *(VRK_[A-Z_]+) (= )?([0-9]+).*/\2 \4/p' | sort)" \
  "$(sed -nE 's/.*parameter, public :: (VRK_[A-Z_]+) = ([0-9]+)$/\1 \2/p' $module | sort)"
exit $failed
