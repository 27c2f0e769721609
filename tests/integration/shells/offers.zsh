#!/usr/bin/env zsh
# offers.zsh SCRIPT LINE: types LINE and a tab into a zsh that has loaded SCRIPT, and prints what it offers: an offer a
# line, a tab and what it is told as behind it.
work=$(mktemp -d)
{
    cat >$work/.zshrc <<'RC'
PROMPT=
stty columns 999 # so that nothing is cut
autoload -Uz compinit
compinit -u -D
source $SCRIPT
zstyle ':completion:*' insert-tab false
compadd() {
    local -a offers told
    local index
    if [[ " ${@[1,(i)(-|--)]} " != *' '-[OAD]' '* ]]; then # those offer nothing yet
        index=${@[(i)-d]}
        ((index < $#)) && told=("${(@P)@[index + 1]}")
        builtin compadd -A offers -D told "$@"
        for ((index = 1; index <= $#offers; ++index)); do
            print -r -- "$offers[index]"$'\t'"${told[index]#*-- }" >>$OFFERS
        done
    fi
    builtin compadd "$@"
}
tell_end() { print END }
comppostfuncs=(tell_end)
print BEGIN
RC
    zmodload zsh/zpty
    export ZDOTDIR=$work SCRIPT=$1 OFFERS=$work/offers TERM=dumb
    : >$OFFERS
    zpty shell zsh -d -i
    zpty -r shell shown '*BEGIN*'
    zpty -w -n shell "$2"$'\t'
    zpty -r shell shown '*END*'
    zpty -d shell
    cat $OFFERS
} always {
    rm -rf $work
}
