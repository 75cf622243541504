#!/usr/bin/env bash
# Kills mmsutil with SIGKILL at random moments while "sending set" or "profile set" changes
# several values together, and checks after each kill, through "sending show --json" and
# "profile show NAME --json", that the values are either all the old ones or all the new ones.
#
# Usage: kill_settings.sh MMSUTIL [KILLS]
#   KILLS: how many runs to kill at a random moment (half of each command); else $TAVMMS_KILLS,
#   else 10.
# The tool's platform directory and working directories are a temporary directory of its own.
# shellcheck disable=SC2034 # the value arrays are read through the namerefs of change and show
set -euo pipefail

mmsutil=${1:?usage: kill_settings.sh MMSUTIL [KILLS]}
kills=${2:-${TAVMMS_KILLS:-10}}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export TAV_PLATFORM_DIR=$work/platform
export TAV_LOCAL_DOWNLOAD_PATH=$work/download
mkdir -p "$TAV_PLATFORM_DIR"

profile="Operator MMS"
# Two sets of values for each command; every value differs between the two.
sending_a=(--delivery-report on --read-report on --expiry 300 --priority Low)
sending_b=(--delivery-report off --read-report off --expiry 86400 --priority High)
profile_a=("$profile" --server-uri http://a.example/mms --data-connect-profile "Net A"
    --wap-gateway 1 --connection-type 1 --secure-type 1)
profile_b=("$profile" --server-uri http://b.example/mms --data-connect-profile "Net B"
    --wap-gateway 2 --connection-type 2 --secure-type 2)
show_sending=(sending show --json)
show_profile=(profile show "$profile" --json)

fail() {
    echo "kill_settings: $*" >&2
    exit 1
}

# Becomes "mmsutil GROUP set" with the values of SET (a or b): run it in the background, and the
# process to kill is the tool itself.
change() {
    local -n values=$1_$2
    exec "$mmsutil" "$1" set "${values[@]}"
}

show() {
    local -n arguments=show_$1
    "$mmsutil" "${arguments[@]}"
}

now_ms() {
    echo $(($(date +%s%N) / 1000000))
}

# What "show" prints after each set of values, and the set each group holds now.
declare -A shown state
"$mmsutil" profile add "$profile" >/dev/null
longest=1 # ms that one change takes, which the random delays span
groups=(sending profile)
for group in "${groups[@]}"; do
    for set in a b; do
        start=$(now_ms)
        (change "$group" "$set") || fail "$group set failed before any kill"
        took=$(($(now_ms) - start))
        longest=$((took > longest ? took : longest))
        shown[$group,$set]=$(show "$group")
    done
    [[ ${shown[$group,a]} != "${shown[$group,b]}" ]] || fail "the two $group sets read alike"
    state[$group]=b
done

landed=0
for ((i = 0; i < kills; i++)); do
    group=${groups[i % 2]}
    next=$([[ ${state[$group]} == a ]] && echo b || echo a)
    change "$group" "$next" &
    pid=$!
    delay=$((RANDOM % (longest + 1)))
    sleep "$((delay / 1000)).$(printf '%03d' $((delay % 1000)))"
    kill -KILL "$pid" 2>/dev/null || true
    status=0
    wait "$pid" 2>/dev/null || status=$? # no word of the kill from the shell
    case $status in
    0) ;;
    137) landed=$((landed + 1)) ;;
    *) fail "run $i: $group set exited with $status" ;;
    esac
    now=$(show "$group") || fail "run $i: $group show failed after the kill"
    if [[ $now == "${shown[$group,$next]}" ]]; then
        state[$group]=$next
    elif [[ $status == 0 ]]; then
        fail "run $i: $group set finished, but its values are not all there: $now"
    elif [[ $now != "${shown[$group,${state[$group]}]}" ]]; then
        fail "run $i: after the kill the $group values are neither all old nor all new: $now"
    fi
done

echo "kill_settings: $kills runs, $landed killed before they finished;" \
    "every read was all old or all new"
# A few runs may all finish before their kill by chance; many may not.
((kills < 10 || landed > 0)) || fail "no kill landed while the tool ran"
