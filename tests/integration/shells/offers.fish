#!/usr/bin/env fish
# offers.fish SCRIPT LINE: what fish offers behind LINE once SCRIPT is loaded, an offer a line, a tab and what it is told
# as behind it.
source $argv[1]
complete --do-complete $argv[2]
