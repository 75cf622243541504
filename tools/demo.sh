#!/usr/bin/env bash
# The main job behind `make run`: a sample message written to its mail file under the default
# working directory, then shown back.
set -euo pipefail

mmsutil=${1:?usage: demo.sh PATH-TO-MMSUTIL}
top=$(cd "$(dirname "$0")/.." && pwd)
export TAV_LOCAL_DOWNLOAD_PATH=${TAV_LOCAL_DOWNLOAD_PATH:-${XDG_DATA_HOME:-$HOME/.local/share}/tavmms/download}

echo "== Working directories"
"$mmsutil" paths

mailfile="${TAV_LOCAL_DOWNLOAD_PATH%/}/mms/mailfile/1.mms"
echo
echo "== Writing a sample message to $mailfile"
"$mmsutil" mailfile write "$mailfile" \
    --from "<Demo>[PLMN]+15550100" \
    --to "<Ann>[PLMN]+15550101" --to "bob@example.org" \
    --cc "+15550102" \
    --subject "Hello from libtavmmsutility" \
    --priority High \
    --body "$top/examples/data/sample-body.txt"

echo
echo "== The message read back"
"$mmsutil" mailfile show "$mailfile"
