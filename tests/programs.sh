# shellcheck shell=bash
# For scripts that run programs as their users would, in an empty folder, which goes when the script ends. To be sourced.

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

fail() {
    echo "$(basename "$0"): $*" >&2
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
    [[ $status != 0 || ! -s $work/errors ]] || fail "$*: went well, but says: $(cat "$work/errors")"
}
