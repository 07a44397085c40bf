#!/bin/bash
# The lab as a tool: refuses what it does not know before anything runs, goes on where it was broken
# off, gives the same rows however they are shared out, ranks a bad search last.
#
# lab_tool_test.sh LAB [PAGES_CAMERA]
set -euo pipefail
lab=$1
camera=${2:-}
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
store=$folder/lab.sqlite

fail() {
    echo "lab_tool_test: $*" >&2
    exit 1
}

refuses() {
    ! "$lab" --store "$folder/none.sqlite" "$@" >"$folder/said" 2>&1 || fail "takes '$*'"
    [ -s "$folder/said" ] || fail "refuses '$*' without a word"
    [ ! -e "$folder/none.sqlite" ] || fail "makes a store for '$*'"
}
refuses --noise 1,loud
refuses --search best
refuses --scene sunset
refuses --light dawn
refuses --runs 0
refuses --nearest 0.5
refuses --picture /nonexistent.png
refuses tracking --search golden
refuses chunk 0
refuses chunk 0 20 --cell "noise=loud"
refuses chunk 0 20 --noise 4
refuses tracking verdict
refuses show 3 --cell "delay=9"
refuses report
refuses report --runs 20
refuses measure
! "$lab" --store "$folder/no/such/folder/lab.sqlite" --runs 20 2>"$folder/said" ||
    fail "has nowhere to write and says nothing"

# The store spells numbers its own way.
plain() { grep -v '^#' | awk -F, -v OFS=, '{for (i = 1; i <= NF; i++) if ($i ~ /[0-9]/) $i += 0; print}'; }
dump() { "$lab" chunk 0 "$1" --cell "$2" | plain; }
kept() { "$lab" rows --store "$store" --cell "$1" | plain; }

# Broken off, gone on with: every row once, and the same as in one piece.
"$lab" --store "$store" --runs 40000 >"$folder/table" 2>"$folder/said" &
player=$!
for _ in $(seq 100); do
    sleep 0.1
    [ "$(kept search=built-in 2>/dev/null | wc -l)" -lt 200 ] || break
done
kill -INT $player
status=0
wait $player || status=$?
[ $status = 130 ] || fail "an interrupt ends it with $status"
grep -q interrupted "$folder/said" || fail "an interrupt goes without a word"
some=$(kept search=built-in | wc -l)
[ "$some" -ge 200 ] && [ "$some" -lt 40000 ] || fail "an interrupt leaves $some rows"
"$lab" --store "$store" --runs $((some + 400)) >"$folder/table" 2>&1
kept search=built-in >"$folder/kept"
[ "$(cut -d, -f1 "$folder/kept" | sort -un | wc -l)" = "$(wc -l <"$folder/kept")" ] ||
    fail "a row is there twice"
[ "$(wc -l <"$folder/kept")" -ge $((some + 400)) ] || fail "it does not go on"
diff <(head -200 "$folder/kept") <(dump 200 search=built-in) || fail "rows differ from a chunk's"

# A run that misses misses by the same in the page's camera.
if [ -n "$camera" ]; then
    "$lab" show 0 --cell "search=built-in backlash-focus=8" --trace "$folder/trace" >"$folder/said"
    "$camera" "$folder/trace.session" --alone --trace "$folder/again"
    ended() { # where the focus stands a second after the order's end
        awk -v until="$1" '/ isp frame / && $1 < until {print $6}' "$2" | tail -1
    }
    until=$(awk '{for (i = 1; i < NF; i++) if ($i == "at_ms" || $i == "ms") sum += $(i + 1)}
                 END {print sum * 1000}' <(head -1 "$folder/said"))
    [ -n "$(ended "$until" "$folder/trace")" ] || fail "the trace of a run has no frame"
    [ "$(ended "$until" "$folder/trace")" = "$(ended "$until" "$folder/again")" ] ||
        fail "a run ends elsewhere on the page"
    grep -q "^on the page: ./run view --replay $folder/trace.session --from" "$folder/said" ||
        fail "nobody says how to see it on the page"
fi

# A search that seeks the blur is the worst of all.
"$lab" --store "$store" --runs 200 --search built-in,full-scan,golden,hill,coarse-fine,blur \
    --nearest 2 >"$folder/table"
awk '/^search=/ {print $4, $1}' "$folder/table" | sort -n | head -1 | grep -q search=blur ||
    fail "the planted search is not the worst: $(cat "$folder/table")"

# The report and its charts.
"$lab" --store "$store" tracking --runs 40 >"$folder/table" 2>&1
"$lab" --store "$store" refocus --runs 40 >"$folder/table" 2>&1
"$lab" report --store "$store" --out "$folder/out" >"$folder/files"
while read -r file; do
    [ -s "$file" ] || fail "$file is announced and empty"
done <"$folder/files"
grep -q "</html>" "$folder/out/lab.html" || fail "the page has no end"
for row in '<td>tele, 4.0 to 2.5 m' '<td>32.0</td>' '<td>search=built-in</td>'; do
    grep -q "$row" "$folder/out/lab.html" || fail "the page has no row '$row'"
done
! "$lab" report --store "$store" --out /dev/full 2>"$folder/said" >/dev/null ||
    fail "a report that can't be written goes without a word"
echo "lab_tool_test: as it should be"
