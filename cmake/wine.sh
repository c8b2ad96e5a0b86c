#!/usr/bin/env bash
# wine.sh PREFIX PROGRAM...: runs a program under Wine, with its folder of settings at PREFIX. Tests
# run side by side: the folder is made by the first alone, whose server has ended before the next
# one starts, since a server that is about to end takes new programs down with it.
export WINEPREFIX=$1 WINEDEBUG=-all # Wine's own remarks stay out of the output
shift
{
  flock 9
  if [[ ! -e $WINEPREFIX/system.reg ]]; then
    wine wineboot -i >/dev/null 2>&1 9>&-
    wineserver -w >/dev/null 2>&1 9>&-
  fi
} 9>"$WINEPREFIX.lock"
exec wine "$@"
