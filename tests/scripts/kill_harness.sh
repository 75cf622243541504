#!/bin/bash
# Kills mmsutil with SIGKILL at random points of a command that changes the store, again and
# again, and checks after each kill that the next commands find every message the store reported
# as kept whole, no row without its mail file, and a contact import all there or not at all.
#   kill_harness.sh MMSUTIL OPERATION [KILLS]
# OPERATION: compose, receive, receive-pdu, mailfile-write or contacts-import. KILLS: how many commands are
# killed (default $TAVMMS_KILLS, else 10).
set -uo pipefail

tool=$1
operation=$2
kills=${3:-${TAVMMS_KILLS:-10}}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export TAV_PLATFORM_DIR=$work/platform
export TAV_LOCAL_DOWNLOAD_PATH=$work/download
export TZ=UTC
mkdir -p "$work/bodies"
# The bodies are up to 90 KB, over a fresh store's limits.
"$tool" settings set max-mo-size 0 >/dev/null && "$tool" settings set max-mt-size 0 >/dev/null ||
    { echo "kill_harness: cannot lift the size limits" >&2; exit 1; }
kept=$work/kept # "id md5-of-body", one line per message reported as kept
: >"$kept"

fail()
{
    echo "kill_harness $operation: $*" >&2
    exit 1
}

now_us()
{
    echo $(($(date +%s%N) / 1000))
}

# The body of message number $1, a file of its own with a size of its own.
body_file()
{
    local file=$work/bodies/$1.bin
    [ -f "$file" ] || head -c $((1000 + $1 * 373 % 90000)) /dev/urandom >"$file"
    echo "$file"
}

# Runs "$tool $@" in the background, writing its output to $work/out, and kills it after a random
# time up to $longest microseconds. Sets $status to its exit status (137 when it was killed).
run_killed()
{
    "$tool" "$@" >"$work/out" 2>"$work/err" &
    local pid=$!
    local delay=$((RANDOM * 32768 + RANDOM))
    delay=$((delay % (longest + 1)))
    sleep "$(printf '%d.%06d' $((delay / 1000000)) $((delay % 1000000)))"
    kill -9 "$pid" 2>/dev/null
    { wait "$pid"; } 2>/dev/null
    status=$?
}

# How long one uncut run of "$tool $@" takes, in microseconds; the kills fall within it.
calibrate()
{
    local start
    start=$(now_us)
    "$tool" "$@" >"$work/out" 2>"$work/err" || fail "an uncut run failed: $(cat "$work/err")"
    longest=$(($(now_us) - start))
}

# The id the store reported in its output ("ID PATH"), if it got that far.
reported_id()
{
    awk 'NR == 1 && $1 ~ /^[0-9]+$/ { print $1 }' "$work/out"
}

# A replace killed between the mail file and its row leaves the row behind the file's header until
# the next replace: show then says so, and shows the message all the same.
row_may_lag()
{
    [ "$operation" = mailfile-write ] && grep -q "its header does not match its row" "$work/err"
}

# Shows message $1 into $work/show.
show_message()
{
    "$tool" show "$1" >"$work/show" 2>"$work/err" || row_may_lag
}

# Message $1, reported as kept, shows whole with the body whose md5 is $2.
verify_message()
{
    local path
    show_message "$1" || fail "message $1, reported as kept, does not show: $(cat "$work/err")"
    path=$(awk '$1 == "Mail" && $2 == "file:" { print $3 }' "$work/show")
    [ "$("$tool" mailfile body "$path" | md5sum | cut -d' ' -f1)" = "$2" ] ||
        fail "message $1, reported as kept, has another body"
}

# The checks after a kill: a listing runs (and completes what the kill left) and holds every
# message reported as kept, check finds no row without a whole mail file, and the newest kept
# message (every kept one each 25th round and at the end, $1 = all) shows whole with its body.
verify_messages()
{
    # An empty store lists its heading alone and answers no (3).
    local listed=0
    "$tool" list >"$work/list" 2>"$work/err" || listed=$?
    if [ "$listed" -ne 0 ] && { [ "$listed" -ne 3 ] || [ "$(wc -l <"$work/list")" -ne 1 ]; }; then
        fail "list failed after a kill: $(cat "$work/err")"
    fi
    local rows
    rows=" $(awk 'NR > 1 { print $1 }' "$work/list" | paste -sd' ') "
    local id sum
    while read -r id sum; do
        [[ "$rows" == *" $id "* ]] || fail "message $id, reported as kept, is not listed"
    done <"$kept"
    if [ "${1:-}" = all ]; then
        while read -r id sum; do
            verify_message "$id" "$sum"
        done <"$kept"
    else
        read -r id sum < <(tail -n 1 "$kept")
        verify_message "$id" "$sum"
    fi
    # 3 says problems remain: they are judged below.
    local status=0
    "$tool" check >"$work/check" 2>"$work/err" || status=$?
    [ "$status" -eq 0 ] || [ "$status" -eq 3 ] || fail "check failed: $(cat "$work/err")"
    # A kill may leave a file without a row (an add that died before its commit): that is for an
    # explicit repair. A row without its whole mail file is a message lost.
    while read -r line; do
        case "$line" in
        checked*) ;;
        # The message is whole beside it; its next save, or check --repair, removes it.
        *": left by an interrupted save beside "*) ;;
        *": its header does not match its row "*)
            [ "$operation" = mailfile-write ] || fail "after a kill: $line"
            ;;
        row*) fail "after a kill: $line" ;;
        *)
            local name=${line%%:*}
            local number=${name%%.*}
            [[ "$rows" == *" $number "* ]] && fail "after a kill: $line"
            ;;
        esac
    done <"$work/check"
}

# Every kept message whole each 25th round and after the last.
verify_round()
{
    if (($1 % 25 == 0 || $1 == kills)); then
        verify_messages all
    else
        verify_messages
    fi
}

# The command line that adds message number $1 with `compose` or `receive`, in $args.
add_args()
{
    local body
    body=$(body_file "$1")
    if [ "$operation" = compose ]; then
        args=(compose --to +15550101 --to bob@example.org --subject "Message $1" --body "$body")
    elif [ "$operation" = receive-pdu ]; then
        # An m-retrieve.conf: its type, transaction id, version 1.2, sender, Message-ID and
        # content type text/plain, then the body as it is.
        local pdu=$work/bodies/$1.conf
        {
            printf '\x8c\x84\x98T%s\0\x8d\x92\x89\x15\x80+15550199/TYPE=PLMN\0' "$1"
            printf '\x8bm-%s@mmsc.example\0\x84\x83' "$1"
            cat "$body"
        } >"$pdu"
        args=(receive --pdu "$pdu" --uri "http://mmsc.example/get/$1")
    else
        args=(receive "$body" --from +15550199 --subject "Message $1"
            --message-id "m-$1@mmsc.example" --uri "http://mmsc.example/get/$1")
    fi
}

# Notes message number $1 as kept when the store reported it so.
note_kept()
{
    local id
    id=$(reported_id)
    [ -n "$id" ] && echo "$id $(md5sum <"$(body_file "$1")" | cut -d' ' -f1)" >>"$kept"
}

contacts_count()
{
    "$tool" contacts list 2>"$work/err" | grep -cv '^  ' || true
}

# A vCard file of $2 contacts of their own for round $1.
vcards()
{
    local i
    for ((i = 0; i < $2; i++)); do
        printf 'BEGIN:VCARD\r\nVERSION:3.0\r\nUID:round-%s-%s\r\nFN:Person %s %s\r\n' "$1" "$i" "$1" "$i"
        printf 'TEL;TYPE=CELL:+4917%08d\r\nEMAIL:p%s.%s@example.org\r\nEND:VCARD\r\n' \
            "$(($1 * 1000 + i))" "$1" "$i"
    done
}

case "$operation" in
compose | receive | receive-pdu)
    add_args 0
    calibrate "${args[@]}"
    note_kept 0
    for ((round = 1; round <= kills; round++)); do
        add_args "$round"
        run_killed "${args[@]}"
        note_kept "$round"
        verify_round "$round"
    done
    ;;
mailfile-write)
    calibrate compose --to +15550101 --subject "Replaced again and again" --body "$(body_file 0)"
    id=$(reported_id)
    current=$(md5sum <"$(body_file 0)" | cut -d' ' -f1)
    for ((round = 1; round <= kills; round++)); do
        body=$(body_file "$round")
        run_killed mailfile write --id "$id" --replace --from +15550100 --to +15550101 \
            --subject "Round $round" --body "$body"
        new=$(md5sum <"$body" | cut -d' ' -f1)
        show_message "$id" || fail "message $id does not show after a kill: $(cat "$work/err")"
        now=$("$tool" mailfile body "$work/download/mms/mailfile/$id.mms" | md5sum | cut -d' ' -f1)
        [ "$now" = "$current" ] || [ "$now" = "$new" ] || fail "message $id holds neither body"
        [ "$status" -eq 0 ] && [ "$now" != "$new" ] && fail "a replace that succeeded was lost"
        current=$now
        echo "$id $current" >"$kept"
        verify_round "$round"
    done
    ;;
contacts-import)
    vcards 0 50 >"$work/round.vcf"
    calibrate contacts import "$work/round.vcf"
    for ((round = 1; round <= kills; round++)); do
        before=$(contacts_count)
        vcards "$round" 50 >"$work/round.vcf"
        run_killed contacts import "$work/round.vcf"
        after=$(contacts_count)
        [ "$after" -eq "$before" ] || [ "$after" -eq $((before + 50)) ] ||
            fail "round $round: $before contacts before the import, $after after it was killed"
    done
    ;;
*)
    fail "unknown operation (compose, receive, receive-pdu, mailfile-write or contacts-import)"
    ;;
esac
echo "kill_harness $operation: $kills kills, every message and contact whole or absent"
