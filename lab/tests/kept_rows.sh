#!/bin/bash
# Plays the kept rows again: the same run leaves the same row on every machine and processor.
#
# kept_rows.sh PROGRAM... compares, kept_rows.sh --renew PROGRAM... writes what there is now, cell by
# cell as before. PROGRAM... is lab_rows, an emulator before it or not.
set -euo pipefail
kept=$(dirname "$(readlink -f "$0")")/kept_rows.txt
isRenewed=false
[ "$1" != --renew ] || {
    isRenewed=true
    shift
}
fresh=$(mktemp)
trap 'rm -f "$fresh"' EXIT

# A head is "# KIND FIRST COUNT CELL"; its rows follow it.
grep '^#' "$kept" | while read -r _ kind first count cell; do
    echo "# $kind $first $count $cell"
    "$@" "$kind" "$first" "$count" "$cell" | grep -v '^#'
done >"$fresh"

if $isRenewed; then
    cp "$fresh" "$kept"
elif ! diff "$kept" "$fresh"; then
    echo "kept_rows: rows differ; where that is meant: lab/tests/kept_rows.sh --renew $*" >&2
    exit 1
fi
echo "kept_rows: $(grep -vc '^#' "$kept") rows"
