#!/usr/bin/env bash
# Runs the example programs as their users would. Argument: the folder of the programs.
set -euo pipefail

bin=$1
# shellcheck source=tests/programs.sh
source "$(dirname "${BASH_SOURCE[0]}")/programs.sh"

to_full_disk() { "$@" >/dev/full; }
without_cr() { "$@" | tr -d '\r'; }
counts() { "$bin/xml_outline" --quiet "$1" | grep -E '^(elements|texts) ' | tr -s ' '; }

for program in "$bin"/*; do
    if [[ -f $program && -x $program ]]; then
        "$program" --help | grep -q '^usage: ' || fail "$program --help"
        expect 1 '' to_full_disk "$program" --help
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
[[ $(ls) == $'errors\nlong\ntable' ]] || fail "a draft is left"

head='<?xml version="1.0" encoding="utf-8" standalone="yes"?>'
printf 'name,n1\r\n"Tea, ""green"" & <more>",3\n\n\xc3\xbc,\n' >table.csv
rows='<row><name>Tea, &quot;green&quot; &amp; &lt;more&gt;</name><n1>3</n1></row><row><name>ü</name><n1/></row>'
expect 0 "$head<table>$rows</table>" "$bin/xml_build" --plain table.csv
expect 0 '' "$bin/xml_build" - table.xml <table.csv
expect 0 $'texts 3\nelements 7' counts table.xml
for wrong in '' 'a b' '1' ',a' $'a,b\nx' $'a\n"x'; do
    expect 1 '' "$bin/xml_build" - table.xml <<<"$wrong"
done
expect 1 '' "$bin/xml_build" absent table.xml
expect 0 '' "$bin/xml_reformat" table.xml table.again
cmp table.xml table.again || fail "a failed run has changed the document, or xml_build does not indent as xml_reformat"
expect 1 '' "$bin/xml_outline" absent
expect 1 '' "$bin/xml_reformat" absent never
[[ ! -e never ]] || fail "a failed run has made a file"
expect 0 "$(tr -d '\r' <table.xml)" without_cr "$bin/xml_reformat" table.xml -

# Several blocks, and a length that leaves something for the closing call.
head -c 200003 /dev/urandom >bytes
expect 0 "$(base64 -w 0 bytes)" "$bin/codec" encode BASE64 bytes
base64 bytes | sed 's/$/\r/' >bytes.base64
expect 0 '' "$bin/codec" encode url - bytes.url <bytes
for name in base64 url; do
    expect 0 '' "$bin/codec" decode $name bytes.$name decoded
    cmp bytes decoded || fail "codec $name"
done
expect 0 'a%2Fb+c%0A' "$bin/codec" encode URL <<<'a/b c'
# Two blocks that part CR and LF after the padding.
expect 0 A "$bin/codec" decode BASE64 < <(printf 'QQ==\r'; sleep 0.2; printf '\n')
expect 1 '' "$bin/codec" decode BASE64 - decoded <<<'Q'
cmp bytes decoded || fail "a failed run has changed the file"
expect 2 '' "$bin/codec" encode none
expect 2 '' "$bin/codec" recode URL
if command -v script >/dev/null; then  # which brings a terminal along
    script -qec "(printf QQ; sleep 0.7; printf '==') | '$bin/codec' decode BASE64 - decoded" /dev/null >seen
    grep -q 'reading: ' seen || fail "no progress on a terminal"
    [[ $(cat decoded) == A ]] || fail "codec on a terminal"
fi

printf 'b1\nab1\nab12\r\n\n\xc3\xbc1x\nab' >lines
expect 0 $'b1\n\xc3\xbc1x' "$bin/wildcard" '?#*' <lines
expect 0 9 "$bin/wildcard" --count '*b*' lines table - <lines
expect 0 '' "$bin/wildcard" -- --no-such-line lines
expect 1 '' "$bin/wildcard" '*#' lines
expect 1 '' "$bin/wildcard" --count '*' lines absent
expect 1 '' to_full_disk "$bin/wildcard" '*' lines

expect 0 $'2024-02-29: valid' "$bin/validate" date 2024-02-29
for wrong in 'date 2023-02-29' 'date 2023-1' 'date -1-1-1' 'port 0' 'port 65536' 'port x' 'digits 12a' 'letters 1' \
    'alnum -' 'ascii ü' 'ipv4 1.2.3'; do
    # shellcheck disable=SC2086  # two words
    "$bin/validate" $wrong >verdicts && fail "valid: $wrong"
    grep -q "^${wrong#* }: [^v]" verdicts || fail "validate $wrong: $(cat verdicts)"
done
expect 1 $'80: valid\n99999: not from 1 to 65535' "$bin/validate" port <<<$'80\r\n99999'
expect 2 '' "$bin/validate" colour blue

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
[[ $(ls) != *draft* ]] || fail "a draft is left"
