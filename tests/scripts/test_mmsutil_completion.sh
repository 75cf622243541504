#!/bin/bash
# The bash completion of mmsutil, against a built mmsutil: commands, group commands, options,
# option values and file names.
#   test_mmsutil_completion.sh COMPLETION_FILE MMSUTIL
set -uo pipefail

completion=$1
tool=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export TAV_PLATFORM_DIR=$work/platform

# shellcheck source=/dev/null
source "$completion"
failures=0

# Completes the last of the given words after the tool's path; prints the candidates on one line,
# in byte order.
candidates()
{
    COMP_WORDS=("$tool" "$@")
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    COMP_LINE=${COMP_WORDS[*]}
    COMP_POINT=${#COMP_LINE}
    COMPREPLY=()
    _mmsutil
    printf '%s\n' "${COMPREPLY[@]}" | LC_ALL=C sort | paste -sd' '
}

expect()
{
    local want=$1 got
    shift
    got=$(candidates "$@")
    if [[ $got != "$want" ]]; then
        echo "FAIL: mmsutil $* <TAB> gave '$got', expected '$want'"
        ((failures++))
    fi
}

# Contains the word $1 among the candidates of the remaining words.
expect_among()
{
    local want=$1 got
    shift
    got=" $(candidates "$@") "
    if [[ $got != *" $want "* ]]; then
        echo "FAIL: mmsutil $* <TAB> gave '$got', expected '$want' among them"
        ((failures++))
    fi
}

if [[ $(complete -p mmsutil) != *"-F _mmsutil"* ]]; then
    echo "FAIL: sourcing the file does not register the completion of mmsutil"
    ((failures++))
fi

touch "$work/alpha.mms" "$work/alpine.txt" "$work/beta.bin"
mkdir "$work/photos"
touch "$work/photo.txt"
cd "$work" || exit 1

# Commands, from the tool's list; a group's word takes one of the group's commands.
expect "mailfile" mai
expect "mark" mar
expect "content-type" content
expect "export" exp
expect "backup" bac
for command in mailfile index settings profile block sending flex paths export backup parts extract pdu; do
    expect_among "$command" ""
done
expect "--help --version -h -v" -
expect "write" mailfile w
expect "delete" index de
expect "region remove" contacts re
expect "list" -v index l
expect "decode" pdu d
expect "send-req" pdu s
expect "" nosuch ""

# Options of a command, also where it takes no more arguments.
expect "--bcc --body" mailfile write --b
expect "--unread" list --unr
expect "--dry-run" delete --dr
expect "--attach" compose --att
expect "--text --text-file" compose --tex
expect "--mixed" compose --mi
expect "--pdu" receive --pd
expect "--help --output -h -o" pdu send-req 3 -
expect "--bcc --eml --folder --force --from --help --limit --mbox --offset --read --reverse --since \
--sort --subject --to --unread --until -h" export 3 ""
expect "--mbox" export --mb
expect "--reverse" export --mbox out.mbox --rev
expect "--folder --help --json -h" index list ""
expect "--folder --force" backup --f
expect "--folder --force --help --since --until -h" backup out.tar.zst ""
expect "--help --json -h" mailfile show alpha.mms ""
expect "--help --json -h" mailfile show alpha.mms -
expect "--help --json -h" parts 1 ""
expect "--help --part -h" extract 1 photos ""
expect "--help --json -h" pdu decode alpha.mms ""

# Option values: a choice, a file, none for free text; also written as --option=value.
expect "off on" mailfile write --delivery-report ""
expect "off" mailfile write --read-report = of
expect "off on" sending set --delivery-report =
expect "beta.bin" mailfile write --body b
expect "$work/beta.bin" mailfile write --body = "$work/b"
expect "beta.bin" receive --pdu b
expect "beta.bin" compose --attach b
expect "beta.bin" compose --text-file b
expect "beta.bin" pdu send-req 3 -o b
expect "" compose --text ""
expect "" mailfile write --subject ""
expect "alpha.mms alpine.txt" export 3 --eml al
expect "alpha.mms alpine.txt" export --mbox al
expect "photo.txt photos" export --eml pho
expect "" backup --since ""

# Arguments: file names where the argument is a file, also where it repeats ("FILE..."), nothing
# where it is not. The value of --subject is no argument, so "al" is the file.
expect "alpha.mms alpine.txt" mailfile show al
expect "alpha.mms alpine.txt" pdu decode al
# A directory argument completes directories alone.
expect "photos" extract 1 ph
expect "alpha.mms alpine.txt" backup --folder inbox al
expect "" extract ""
expect "alpha.mms alpine.txt" mailfile write --subject alpha al
expect "$work/alpha.mms" mailfile body "$work/alpha"
expect "alpha.mms alpine.txt" contacts import beta.bin al
expect "" index show ""

if ((failures)); then
    echo "$failures case(s) failed"
    exit 1
fi
echo "all cases passed"
