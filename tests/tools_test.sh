#!/bin/bash
# What the tools say and end with when they are given words that they do not know or files that can't
# be written whole, and what is done with a build folder that belongs to another place.
#
#     tools_test.sh FOLDER-OF-PROGRAMS
set -uo pipefail
bin=$1
root=$(dirname "$(readlink -f "$0")")/..
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
failed=0

# expect STATUS TEXT COMMAND...: the text is part of what is said on standard error.
expect() {
    local status=$1 text=$2
    shift 2
    "$@" >said 2>complaint </dev/null
    local ended=$?
    if [ $ended != "$status" ] || [[ $(<complaint) != *"$text"* ]]; then
        echo "$*: $ended instead of $status, or it does not say '$text' but:"
        cat complaint
        failed=1
    fi
}

head -c 500 "$root/tests/scenario/pictures/quarters.jpg" >cut.jpg
while IFS='|' read -r status text words; do
    read -ra words <<<"$words"
    expect "$status" "$text" "${words[@]}"
done <<END
2|there is no '--chekc'|$root/run abi --chekc
2|there is no '--chekc'|$root/scripts/abi --chekc
2|there is no 'abc'|$root/run fuzz abc
2|'0' is no number of minutes|$root/run fuzz explore 0
2|'help' is one word too many|$root/run bench help
2|takes two words|$root/run vcd README.md
1|there is no command 'nonsense'|$root/run nonsense
0||$root/run fuzz --help
1|is no number of iterations|$bin/micro_benches --iterations x
1|README.md: line 1 is not one of a trace|$bin/trace_to_vcd $root/README.md x.vcd
105|-1 is no whole number|$bin/demo --seed -1
105|is neither 0 nor a pace|$bin/demo --pace nan
105|0.9 is neither inf nor a distance|$bin/demo --distance 0.9
0||$bin/demo --night --distance 2 --out night
1|no PNG or JPEG picture that can be read whole|$bin/demo --picture cut.jpg
109|nonsense|$bin/demo nonsense
2|20-1 runs backward|$bin/storm 20-1
105|abc|$bin/storm abc
1|/proc/none: can't be made ready: No such file|$bin/demo --out /proc/none
1|can't make the waveform's file: No such file|$bin/demo --vcd missing/x.vcd
END
[ ! -e x.vcd ] || { echo "a refused trace leaves a waveform" && failed=1; }

# One run a story, each file of which is a full disk's.
mkdir -p full
for file in before_autofocus.png focus_value_over_position.svg console.txt trace.txt; do
    ln -s /dev/full full/$file
done
expect 1 "full/console.txt: can't be written: No space left on device" "$bin/demo" --out full
for file in before_autofocus.png focus_value_over_position.svg trace.txt; do
    grep -q "full/$file: can't be written: No space" complaint || { echo "no word of $file" && failed=1; }
done
grep -q 'VERDICT: BAD, 3 checks' said || { echo "a good verdict without files" && failed=1; }
expect 1 "/dev/full: can't be written" "$bin/demo" --out vcd --vcd /dev/full

# A picture without a detail shows an autofocus that fails, and whole beside the crop.
expect 1 "" "$bin/demo" --picture "$root/tests/scenario/pictures/flat.png" --no-texture --out flat
grep -q 'BAD.*sharp' said && [ -s flat/scene.png ] || { echo "a flat picture comes out sharp" && failed=1; }
! grep -q 'trigger fires\|refocus done' said || { echo "a run that never came is told of" && failed=1; }
! grep -q nan flat/*.svg || { echo "a plot without points is no picture" && failed=1; }

# A build folder that names other sources is made anew; one of this place stays, until packages were
# installed that it knows nothing of.
mkdir -p checkout/scripts checkout/build/one stub
cp "$root/scripts/build" checkout/scripts
printf '#!/bin/sh\necho "$@" >>%s/called\n' "$work" >stub/cmake && chmod +x stub/cmake
for source in /elsewhere "$(readlink -f checkout)"; do
    mkdir -p checkout/build/one && touch checkout/build/one/build.ninja
    echo "CMAKE_HOME_DIRECTORY:INTERNAL=$source" >checkout/build/one/CMakeCache.txt
    PATH=$work/stub:$PATH checkout/scripts/build one target 2>/dev/null
done
touch -d '1 minute ago' checkout/build/one/build.ninja && touch checkout/build/install.log
PATH=$work/stub:$PATH checkout/scripts/build one target 2>/dev/null
printf '%s\n' '--preset one' '--build --preset one --target target' \
    '--build --preset one --target target' \
    '--preset one' '--build --preset one --target target' | diff - called || failed=1
exit $failed
