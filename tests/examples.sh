#!/usr/bin/env bash
# Runs the example programs as their users would. Argument: the folder of the programs.
set -euo pipefail

bin=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

fail() {
    echo "examples: $*" >&2
    exit 1
}

# expect STATUS OUTPUT COMMAND...: the command ends with this status and prints exactly this
expect() {
    local wanted_status=$1 wanted=$2 status=0 output
    shift 2
    output=$("$@" 2>"$work/errors") || status=$?
    [[ $status == "$wanted_status" ]] || fail "$*: status $status and not $wanted_status: $(cat "$work/errors")"
    [[ $output == "$wanted" ]] || fail "$*: printed '$output' and not '$wanted'"
    [[ $status == 0 || -s $work/errors || $output != '' ]] || fail "$*: failed without a word"
}

for program in "$bin"/*; do
    if [[ -f $program && -x $program ]]; then
        "$program" --help | grep -q '^usage: ' || fail "$program --help"
        expect 2 '' "$program" --no-such-option a b c d e
    fi
done

expect 1 '' "$bin/properties" table get a
expect 0 '' "$bin/properties" table set b 'x = ü'
expect 0 '' "$bin/properties" table set a 1
expect 0 '' "$bin/properties" table set a 2
expect 0 '2' "$bin/properties" table get a
expect 0 $'a=2\nb=x = ü' "$bin/properties" table
expect 0 '' "$bin/properties" table remove a
expect 1 '' "$bin/properties" table remove a
before=$(cat table)
expect 1 '' "$bin/properties" table set 'a b' 1
expect 1 '' "$bin/properties" table set c $'1\n2'
expect 1 '' "$bin/properties" /dev/null set c 1
[[ $(cat table) == "$before" ]] || fail "a failed change has changed the table"
# More than the two full blocks that a table from a file is refused for.
for ((i = 0; i < 3000; ++i)); do echo "name$i=value"; done >long
expect 0 value "$bin/properties" long get name2999
[[ $(ls) == $'errors\nlong\ntable' ]] || fail "a draft was left behind"

expect 0 'adder: 1 + ... + 1000 = 500500' "$bin/worker_thread" 1000

"$bin/log_many" 3 2 200 | grep -q '^every line is there' || fail "log_many"

"$bin/tcp_properties" serve 0 a=1 'b=x y' >port &
for ((i = 0; i < 100; ++i)); do
    [[ ! -s port ]] || break
    sleep 0.1
done
expect 0 $'a=1\r\nb=x y\r' "$bin/tcp_properties" fetch "$(cat port)"
wait $! || fail "the server failed"
expect 1 '' "$bin/tcp_properties" fetch "$(cat port)"
