# Completion of tarnix in bash. Commands and options are asked of the program's own help.
_tarnix() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command='' i
  for ((i = 1; i < COMP_CWORD; ++i)); do
    if [[ ${COMP_WORDS[i]} != -* ]]; then
      command=${COMP_WORDS[i]}
      break
    fi
  done
  if [[ -z $command ]]; then
    mapfile -t COMPREPLY < <(compgen -W "--help --version $(tarnix --help 2>/dev/null |
      awk '/^Subcommands:/ { on = 1; next } /^[^ ]|^$/ { on = 0 } on && /^  [a-z]/ { print $1 }')" \
      -- "$word")
  elif [[ $word == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$(tarnix "$command" --help 2>/dev/null |
      grep -oE -- '(^|[ ,])--?[a-z][a-z-]*' | tr -d ' ,')" -- "$word")
  elif [[ $before == --start || $before == --at ]]; then
    mapfile -t COMPREPLY < <(compgen -W 'start best' -- "$word")
    mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -f -X '!*.jsonl' -- "$word")
  elif [[ $before == --plan ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$(tarnix "$command" --help 2>/dev/null |
      sed -n 's/.*--plan [^{]*{\([^}]*\)}.*/\1/p' | tr , ' ')" -- "$word")
  elif [[ $before == -o || $before == --output ]]; then
    mapfile -t COMPREPLY < <(compgen -d -- "$word")
  else
    mapfile -t COMPREPLY < <(compgen -f -X '!*.toml' -- "$word"; compgen -d -- "$word")
    compopt -o filenames 2>/dev/null
  fi
}
complete -F _tarnix tarnix
