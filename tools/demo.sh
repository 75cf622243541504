#!/usr/bin/env bash
# The main job behind `make run`: the MMS settings get a default profile when they have none and
# are shown; a sample message gets its row in the message index of the device database, and its
# mail file, named after the row's id, under the default working directory, with its reports,
# expiry and priority taken from the stored sending options; both are shown back, then the whole
# index is listed; the sample contacts are imported into the address book, which names the
# message's sender and recipients. Every run adds one more message; the settings are made once,
# and importing the contacts again replaces them.
set -euo pipefail

mmsutil=${1:?usage: demo.sh PATH-TO-MMSUTIL}
top=$(cd "$(dirname "$0")/.." && pwd)
data=${XDG_DATA_HOME:-$HOME/.local/share}/tavmms
export TAV_LOCAL_DOWNLOAD_PATH=${TAV_LOCAL_DOWNLOAD_PATH:-$data/download}
body="$top/examples/data/sample-body.txt"
subject="Hello from libtavmmsutility"
# Each run's message has a URI of its own, so that looking it up finds this run's row.
uri="http://mmsc.example.org/demo/$(date +%Y%m%d-%H%M%S)-$$"
profile="Operator MMS"

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
fi
"$mmsutil" settings show

echo
echo "== The address book, filled from a sample vCard file"
"$mmsutil" contacts import "$top/tools/sample-contacts.vcf"
"$mmsutil" contacts list

echo
echo "== The sending options a new message takes"
"$mmsutil" sending show

echo
echo "== Adding the sample message's row to the message index"
id=$("$mmsutil" index add \
    --from "Demo <+15550100>" \
    --to "Ann <+15550101>, bob@example.org" \
    --subject "$subject" \
    --folder 1 \
    --size "$(wc -c <"$body")" \
    --time "$(date +%s)" \
    --uri "$uri")
echo "The database gave the row id $id."

echo
echo "== Writing the message to the mail file of row $id, with the sending options above"
mailfile=$("$mmsutil" mailfile write --id "$id" \
    --from "<Demo>[PLMN]+15550100" \
    --to "<Ann>[PLMN]+15550101" --to "bob@example.org" \
    --cc "+15550102" \
    --subject "$subject" \
    --body "$body")
echo "Written: $mailfile"

echo
echo "== The mail file read back"
"$mmsutil" mailfile show "$mailfile"

echo
echo "== The message's sender and recipients, named from the address book"
for address in +15550100 +15550101 bob@example.org +15550102; do
    # A lookup that finds nobody says "not found" and exits with 3.
    echo "$address -> $("$mmsutil" contacts lookup "$address" || true)"
done

echo
echo "== Row $id read back"
"$mmsutil" index show "$id"

echo
echo "== Looking the row up by its URI"
echo "$uri -> row $("$mmsutil" index find "$uri")"

echo
echo "== Every row of the message index"
"$mmsutil" index list
