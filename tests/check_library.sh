#!/bin/sh
# The shape of the library that ships: what it offers, and what it needs of a camera's system.
# Usage: check_library.sh NM READELF LIBRARY LIST HEADERS
nm=$1 readelf=$2 library=$3 list=$4 headers=$5
export LC_ALL=C
failed=0

names=$("$nm" -D --defined-only "$library" | awk '{ print $3 }' | sort)
if ! printf '%s\n' "$names" | diff "$list" -; then
    echo "exported names (>) differ from $list (<)"
    failed=1
fi

for name in $names; do
    if ! grep -qrw "$name" "$headers"; then
        echo "exported but in no header: $name"
        failed=1
    fi
done

# No C++ runtime, and nothing that a program would have to provide but the ISP's calls.
needed=$("$readelf" -d "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' |
    grep -Ev '^(libc|libm|libpthread|ld-linux[-_a-z0-9]*)\.so\.[0-9]+$')
undefined=$("$nm" -D --undefined-only "$library" |
    awk '$1 == "U" && $2 !~ /@/ && $2 !~ /^HI_MPI_ISP_/ { print $2 }')
if [ -n "$needed$undefined" ]; then
    echo "needs more than libc, libm and threads:" $needed $undefined
    failed=1
fi
exit $failed
