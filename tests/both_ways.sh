#!/bin/bash
# What the virtual camera does is the same to the byte whether its threads are contexts or the
# kernel's: the demo's stories and 50 storms. Usage: both_ways.sh DEMO STORM
set -euo pipefail
demo=$1 storm=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

for story in "" calibrate presets; do
    "$demo" $story --out "$work/contexts" >"$work/said"
    "$demo" $story --out "$work/threads" --kernel-threads >"$work/said"
    for trace in "$work"/contexts/trace*.txt; do
        cmp "$trace" "$work/threads/$(basename "$trace")"
    done
done
"$storm" 1-25 --both-ways
