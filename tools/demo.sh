#!/usr/bin/env bash
# The main job behind `make run`: a sample message gets its row in the message index of the
# device database, and its mail file, named after the row's id, under the default working
# directory; both are shown back, then the whole index is listed. Every run adds one more message.
set -euo pipefail

mmsutil=${1:?usage: demo.sh PATH-TO-MMSUTIL}
top=$(cd "$(dirname "$0")/.." && pwd)
data=${XDG_DATA_HOME:-$HOME/.local/share}/tavmms
export TAV_LOCAL_DOWNLOAD_PATH=${TAV_LOCAL_DOWNLOAD_PATH:-$data/download}
body="$top/examples/data/sample-body.txt"
subject="Hello from libtavmmsutility"
# Each run's message has a URI of its own, so that looking it up finds this run's row.
uri="http://mmsc.example.org/demo/$(date +%Y%m%d-%H%M%S)-$$"

echo "== Where the data goes"
"$mmsutil" paths

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
echo "== Writing the message to the mail file of row $id"
mailfile=$("$mmsutil" mailfile write --id "$id" \
    --from "<Demo>[PLMN]+15550100" \
    --to "<Ann>[PLMN]+15550101" --to "bob@example.org" \
    --cc "+15550102" \
    --subject "$subject" \
    --priority High \
    --body "$body")
echo "Written: $mailfile"

echo
echo "== The mail file read back"
"$mmsutil" mailfile show "$mailfile"

echo
echo "== Row $id read back"
"$mmsutil" index show "$id"

echo
echo "== Looking the row up by its URI"
echo "$uri -> row $("$mmsutil" index find "$uri")"

echo
echo "== Every row of the message index"
"$mmsutil" index list
