#!/usr/bin/env bash
# Fuzzes every target of a fuzz build for a while, one after the other:
#   fuzz/run_targets.sh BUILD_DIR/fuzz SECONDS
# Each starts from its seeds in fuzz/corpus/<target>/ and writes what it finds into a fresh work
# corpus in the build directory, so that the seeds stay as committed. A target that crashes, leaks,
# hangs or runs out of memory fails the run: its input is kept in the build directory and copied
# into fuzz/corpus/<target>/, where it joins the seeds once it is committed with the fix. Every
# target runs even after one has failed; the status is 1 when any failed.
set -uo pipefail

if [ $# -ne 2 ]; then
    echo "usage: $0 BUILD_DIR/fuzz SECONDS" >&2
    exit 2
fi
build=$(cd "$1" && pwd) || exit 2
seconds=$2
source_dir=$(cd "$(dirname "$0")" && pwd)

failed=()
for source in "$source_dir"/fuzz_*.cpp; do
    target=$(basename "$source" .cpp)
    seeds="$source_dir/corpus/$target"
    work="$build/work/$target"
    found="$build/found/$target"
    log="$build/$target.log"
    rm -rf "$work" "$found"
    mkdir -p "$work" "$found"
    # A target's own dictionary where it has one, else the words of the mail file and its texts.
    dictionary="$source_dir/$target.dict"
    [ -f "$dictionary" ] || dictionary="$source_dir/tavmms.dict"

    echo "$target: fuzzing for ${seconds} s (log: $log)"
    # -timeout: one input of a few kilobytes that takes this long is a hang.
    "$build/$target" "$work" "$seeds" -max_total_time="$seconds" -timeout=25 \
        -dict="$dictionary" -artifact_prefix="$found/" -print_final_stats=1 >"$log" 2>&1
    status=$?
    tail -n 12 "$log" | grep -E '^(Done|stat::number_of_executed_units|stat::new_units_added)' |
        sed "s/^/  /"
    [ "$status" -eq 0 ] && continue

    failed+=("$target")
    echo "$target FAILED (exit status $status); the end of its log:"
    grep -v -E '^#[0-9]+|NEW_FUNC' "$log" | tail -n 60 | sed "s/^/  /"
    saved=0
    for input in "$found"/*; do
        [ -f "$input" ] || continue
        case $(basename "$input") in slow-unit-*) continue ;; esac
        cp "$input" "$seeds/"
        echo "$target: the input is saved as $input"
        echo "$target: and copied to $seeds/$(basename "$input"): commit it with the fix"
        saved=1
    done
    [ "$saved" -eq 1 ] || echo "$target: no input was saved; see $log"
done

if [ ${#failed[@]} -ne 0 ]; then
    echo "fuzzing failed: ${failed[*]}"
    exit 1
fi
echo "fuzzing found nothing in ${seconds} s per target"
