#!/bin/sh
# No code of the virtual camera makes a call that the camera overrides: it would wait in virtual
# time where it means real time. Every such call would leave a relocation in an object.
# Usage: check_recursion.sh NM READELF OBJECT...
nm=$1 readelf=$2
shift 2
boundary=$(printf '%s\n' "$@" | grep '/boundary/')
overridden=$("$nm" -g --defined-only $boundary | awk '$2 == "T" && $3 !~ /^_Z/ { print $3 }')
if [ "$(printf '%s\n' "$overridden" | wc -l)" -lt 50 ]; then
    echo "overridden calls not found"
    exit 1
fi

# Fortified variants call their plain one; a picture is read before the clock starts.
allowed=' device_calls.cpp:read select_calls.cpp:poll picture.cpp:fopen '
failed=0
for object in "$@"; do
    source=$(basename "$object" .o)
    [ "$source" != wide_time_calls.cpp ] || continue # each of its calls is there to make its older one
    calls=$("$readelf" -rW "$object" | awk -v names="$overridden" '
        BEGIN { split(names, list, "\n"); for (i in list) isOurs[list[i]] = 1 }
        $5 in isOurs { print $5 }' | sort -u)
    for call in $calls; do
        case $allowed in *" $source:$call "*) continue ;; esac
        echo "$source calls $call, which the camera overrides"
        failed=1
    done
done
exit $failed
