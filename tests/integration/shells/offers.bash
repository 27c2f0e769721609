#!/usr/bin/env bash
# offers.bash SCRIPT WORD...: what bash offers in the place of the last word once SCRIPT is loaded, an offer a line; FILES
# where it leaves it to its own completion of files.
set -u
# shellcheck disable=SC1090
source "$1"
shift
compopt() { [ "$*" = '-o default' ] && echo FILES; } # bash has it only while a key is being pressed
COMP_WORDS=("$@")
COMP_CWORD=$(($# - 1))
"$(complete -p zavctl | sed -nE 's/.* -F ([^ ]+) .*/\1/p')"
[ ${#COMPREPLY[@]} = 0 ] || printf '%s\n' "${COMPREPLY[@]}"
