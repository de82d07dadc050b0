# Completion of the command line in bash. Commands, operations and options are asked from the program itself.
_tervo_words() {
  tervo "$@" --help 2>/dev/null | sed -nE 's/^  ([a-z][a-z0-9-]*)  .*/\1/p; s/^ +((-[a-z],)?(--[a-z-]+)).*/\3/p'
}
_tervo() {
  local word=${COMP_WORDS[COMP_CWORD]} command=() i
  COMPREPLY=()
  for ((i = 1; i < COMP_CWORD; ++i)); do
    [[ ${COMP_WORDS[i]} == -* ]] && break
    # Files do not change what there is to choose from.
    [[ ${COMP_WORDS[i]} == *[./]* ]] && break
    command+=("${COMP_WORDS[i]}")
    ((${#command[@]} == 2)) && break
  done
  [[ ${command[0]-} == process ]] || command=("${command[@]:0:1}")
  if [[ $word == -* || ${#command[@]} == 0 || ( ${command[0]} == process && ${#command[@]} == 1 ) ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$(_tervo_words "${command[@]}")" -- "$word")
  fi
}
complete -o default -F _tervo tervo
