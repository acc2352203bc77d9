#!/bin/sh
# Fails when mandoc has something to say about the manual page given. Cross references are looked
# up among the pages of this machine, which differ from machine to machine.
said=$(mandoc -T lint -W style "$1" 2>/dev/null | grep -v 'referenced manual not found')
[ -z "$said" ] || { echo "$said"; exit 1; }
