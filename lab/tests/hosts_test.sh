#!/bin/bash
# The lab on other machines, on demand: an ssh server on the loopback is two of them, a worker is
# killed in the middle, and every row comes once and is what it is here.
#
# hosts_test.sh, in a checkout that ./run can build; as root on Debian it installs what it needs.
set -euo pipefail
cd "$(dirname "$(readlink -f "$0")")/../.."
scripts/need openssh-server openssh-client parallel
folder=$(mktemp -d)
port=$((20000 + RANDOM % 20000))
runs=40000
store=$folder/lab.sqlite

fail() {
    echo "hosts_test: $*" >&2
    exit 1
}

finish() {
    [ ! -f "$folder/sshd.pid" ] || kill "$(cat "$folder/sshd.pid")" || :
    rm -rf "$folder"
}
trap finish EXIT

start_server() {
    mkdir -p /run/sshd
    ssh-keygen -q -t ed25519 -N '' -f "$folder/host_key"
    ssh-keygen -q -t ed25519 -N '' -f "$folder/key"
    cp "$folder/key.pub" "$folder/authorized"
    /usr/sbin/sshd -f /dev/null -h "$folder/host_key" -p "$port" -o ListenAddress=127.0.0.1 \
        -o ListenAddress=127.0.0.2 -o AuthorizedKeysFile="$folder/authorized" \
        -o StrictModes=no -o UsePAM=no -o PermitRootLogin=prohibit-password \
        -o PidFile="$folder/sshd.pid" -o MaxStartups=100 -E "$folder/sshd.log"
    local options="-p $port -i $folder/key -o UserKnownHostsFile=$folder/known"
    options+=" -o StrictHostKeyChecking=accept-new -o BatchMode=yes"
    printf '1/ssh %s %s@127.0.0.1\n1/ssh %s %s@127.0.0.2\n' "$options" "$USER" "$options" \
        "$USER" >"$folder/hosts"
}

# The lab processes below our server, which nobody else's are.
list_workers() {
    local pid=$1 child
    for child in $(cat /proc/"$pid"/task/*/children 2>/dev/null); do
        ! tr '\0' ' ' 2>/dev/null <"/proc/$child/cmdline" | grep -q '^[^ ]*bin/lab ' || echo "$child"
        list_workers "$child"
    done
}

USER=$(id -un)
./run lab build >/dev/null
start_server
./run lab --hosts "$folder/hosts" --store "$store" --runs $runs --light day,night \
    >"$folder/table" 2>"$folder/said" &
call=$!
killed=0
for _ in $(seq 300); do
    sleep 0.2
    [ -f "$folder/sshd.pid" ] || continue
    worker=$(list_workers "$(cat "$folder/sshd.pid")" | head -1) || :
    [ -n "$worker" ] || continue
    ! kill -9 "$worker" 2>/dev/null || killed=$((killed + 1))
    [ $killed -lt 2 ] || break
done
wait $call || fail "the call fails: $(cat "$folder/said")"
[ $killed -ge 2 ] || fail "no worker was there to be killed"
for cell in search=built-in "search=built-in night=on"; do
    ./run lab rows --store "$store" --cell "$cell" | grep -v '^#' >"$folder/rows"
    [ "$(wc -l <"$folder/rows")" = $runs ] || fail "$cell: $(wc -l <"$folder/rows") rows"
    [ "$(cut -d, -f1 "$folder/rows" | sort -un | wc -l)" = $runs ] || fail "$cell: rows twice"
done
grep -E '^search=' "$folder/table"
echo "hosts_test: $killed workers killed, every row there once"
