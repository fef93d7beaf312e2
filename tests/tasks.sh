#!/usr/bin/env bash
# Runs the short examples. Argument: the folder of the programs.
set -euo pipefail

bin=$1
# shellcheck source=tests/programs.sh
source "$(dirname "${BASH_SOURCE[0]}")/programs.sh"

head='<?xml version="1.0" encoding="utf-8"?>'
printf '<!DOCTYPE a><a>\n <b><c>1</c> </b>\n <b>x <c/> y</b></a>' >a.xml
expect 0 '' "$bin/xml_edit" a.xml a/b/c 'ü < 🙂'
expect 0 '' "$bin/xml_edit" a.xml a/b@id ''
[[ $(cat a.xml) == "$head
<a>
  <b id=\"\" >
    <c>ü &lt; 🙂</c>
  </b>
  <b id=\"\" >x <c>ü &lt; 🙂</c> y</b>
</a>" ]] || fail "xml_edit: $(cat a.xml)"

printf '<gpx><trk><trkpt lat="1" lon="2"><ele>3</ele></trkpt><trkpt lon="5" lat="4"/></trk></gpx>' >a.gpx
expect 0 $'1,2,3\n4,5' "$bin/gpx_to_csv" a.gpx
printf '<gpx>\n<trkpt lat="1"' >bad.gpx
"$bin/gpx_to_csv" bad.gpx 2>report && fail "gpx_to_csv takes half a file"
grep -q 'line 2, column 15$' report || fail "gpx_to_csv: $(cat report)"
expect 1 $'a.xml: 5 elements\nbad.gpx: A tag is not well formed. : line 2, column 15\nnone: File not found. : none' \
    "$bin/xml_check" a.xml bad.gpx none

expect 0 'port 80' "$bin/settings" a.txt
expect 0 'port 81' "$bin/settings" a.txt port 81
expect 0 'port 81, quiet' "$bin/settings" a.txt quiet Yes
[[ $(cat a.txt) == $'port=81\nquiet=Yes' ]] || fail "settings: $(cat a.txt)"
"$bin/settings" a.txt port x >/dev/null 2>&1 && fail "settings takes any port"

"$bin/log_append" app.log & "$bin/log_append" app.log
wait $! || fail "log_append"
[[ $(grep -c $'^[0-9/]* [0-9:]* INFO \(one\|two\) says [0-9]* 🙂\r$' app.log) == 400 ]] || fail "log_append lost lines"

expect 0 $'7 characters, 8 units\n🙂 eßürG' "$bin/emoji"
"$bin/emoji" $'\xff' 2>report && fail "emoji takes what is no UTF-8"
grep -q 'Malformed UTF-8. : offset 0' report || fail "emoji: $(cat report)"

expect 2 '' "$bin/ask_server"
if command -v python3 >/dev/null; then
    python3 -c '
import socket
server = socket.create_server(("127.0.0.1", 0))
print(server.getsockname()[1], flush=True)
client = server.accept()[0]
client.sendall(b"You said " + client.recv(100).rstrip())
client.close()' >port &
    for ((i = 0; i < 100; ++i)); do
        [[ ! -s port ]] || break
        sleep 0.1
    done
    expect 0 'You said hello' "$bin/ask_server" 127.0.0.1 "$(cat port)" hello
    wait $!
fi
