#!/usr/bin/env bash
# The main job behind `make run`: a message's whole way through the library, on the default data
# directories. The MMS settings get a default profile, and the size limits of today's operators,
# when they have no default profile; the sample contacts are
# imported into the address book (importing again replaces them), and its owner is set when there
# is none. Then a message is composed: a header with the stored sending options, recipients named
# from the address book, its row in the message index and its mail file, named after the row's id,
# written with its header checked. A reply is received into the inbox, and a message from a blocked sender is
# refused. The messages are listed and the new one is shown in full. Every run adds two messages;
# the settings, the owner and the block list are made once.
set -euo pipefail

mmsutil=${1:?usage: demo.sh PATH-TO-MMSUTIL}
top=$(cd "$(dirname "$0")/.." && pwd)
data=${XDG_DATA_HOME:-$HOME/.local/share}/tavmms
export TAV_LOCAL_DOWNLOAD_PATH=${TAV_LOCAL_DOWNLOAD_PATH:-$data/download}
body="$top/examples/data/sample-body.txt"
subject="Hello from libtavmmsutility"
profile="Operator MMS"
owner_name="Dana Demo"
owner_number=+15550100
blocked=+15550666

echo "== Where the data goes"
"$mmsutil" paths

echo
echo "== The MMS settings"
if [ -z "$("$mmsutil" profile default)" ]; then
    # grep reads the whole list, so that the tool never writes into a closed pipe.
    if "$mmsutil" profile list | grep -xF "$profile" >/dev/null; then
        echo "There is no default profile; making the listed \"$profile\" the default."
    else
        echo "There is no default profile; adding \"$profile\" and making it the default."
        "$mmsutil" profile add "$profile"
        "$mmsutil" profile set "$profile" \
            --server-uri "http://mmsc.example.org/mms" \
            --data-connect-profile "Operator Internet"
    fi
    "$mmsutil" profile default "$profile"
    # The size limits operators commonly use today, in KB: 300 for sent and 1024 for received
    # messages (a fresh store's 50 and 100 are older ones).
    "$mmsutil" settings set max-mo-size 300
    "$mmsutil" settings set max-mt-size 1024
fi
"$mmsutil" settings show

echo
echo "== The address book, filled from a sample vCard file"
"$mmsutil" contacts import "$top/tools/sample-contacts.vcf"
"$mmsutil" contacts list

echo
echo "== The phone's owner, who sends the messages composed here"
# "contacts owner" says "no owner" and exits with 3 until one is set.
if ! "$mmsutil" contacts owner >/dev/null; then
    "$mmsutil" contacts owner --set "$owner_name" "$owner_number"
fi
"$mmsutil" contacts owner

echo
echo "== The sending options a new message takes"
"$mmsutil" sending show

echo
echo "== Composing a message to Ann and Bob, with a copy to Carol"
# compose prints the new message's id and its mail file.
composed=$("$mmsutil" compose \
    --to +15550101 --to bob@example.org --cc +15550102 \
    --subject "$subject" --content-type text/plain --body "$body")
read -r id mailfile <<<"$composed"
echo "Message $id: its row in the message index, and its mail file $mailfile"

echo
echo "== Receiving Ann's reply into the inbox"
received=$("$mmsutil" receive "$body" --from +15550101 \
    --subject "Re: $subject" --content-type text/plain)
read -r reply replyfile <<<"$received"
echo "Message $reply: its row in the message index, and its mail file $replyfile"

echo
echo "== Receiving a message from $blocked, who is on the block list"
# "block check" exits with 3 for an address that is not blocked yet.
if ! "$mmsutil" block check "$blocked" >/dev/null; then
    "$mmsutil" block add "$blocked"
fi
# receive refuses a blocked sender with exit status 4; here that refusal is what should happen.
status=0
"$mmsutil" receive "$body" --from "$blocked" --subject "Buy now" || status=$?
if [ "$status" -ne 4 ]; then
    echo "receive should have refused $blocked with exit status 4, not $status" >&2
    exit 1
fi
echo "Refused, as it should be: nothing of it was stored."

echo
echo "== Every message, one line each"
"$mmsutil" list

echo
echo "== Message $id in full: its row beside its mail file"
"$mmsutil" show "$id"
