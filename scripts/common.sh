# shellcheck shell=bash
# What the checks of packages and of use from outside share. To be sourced; sets `root`, the repository, and `work`, a
# folder that goes when the script ends.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    echo "$(basename "$0"): $*" >&2
    exit 1
}

# quietly COMMAND...: shows the output only if the command fails
quietly() {
    "$@" >"$work/log" 2>&1 || { cat "$work/log" >&2; fail "failed: $*"; }
}

# The shared library as packages hold it, in build/package: g++, optimised. Built once for all checks.
build_package() {
    quietly cmake -S "$root" -B "$root/build/package" -G Ninja -DCMAKE_CXX_COMPILER=g++ -DCMAKE_BUILD_TYPE=Release \
        -DBUILD_TESTING=OFF -DMORAINE_BUILD_EXAMPLES=OFF -DCMAKE_INSTALL_PREFIX=/usr
    quietly cmake --build "$root/build/package"
}

# run_consumer PROGRAM KIND WAY: KIND is what the program was told by the compile definitions it got. PROGRAM-extras, the
# one with moraine::extras, runs too.
run_consumer() {
    local program said
    for program in "$1" "$1-extras"; do
        said=$("$program") || fail "the program failed: $program, $2, $3"
        [[ $said == "$2" ]] || fail "expected a $2 library, $program was built for a $said one: $3"
    done
    echo "ok: $2, $3"
}

# consumer_of PREFIX BUILD [OPTION...]: builds the project outside in the folder BUILD with the library installed at PREFIX
consumer_of() {
    local prefix=$1 build=$2
    shift 2
    quietly cmake -S "$root/tests/consumer" -B "$build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" "$@"
    grep -q "moraine_DIR:PATH=$prefix/" "$build/CMakeCache.txt" || fail "find_package took another installation"
    quietly cmake --build "$build"
}
