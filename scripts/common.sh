# shellcheck shell=bash
# Read by the other scripts: where they run, how they build and test.

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

export PYTHONPATH=$PWD PYTHONDONTWRITEBYTECODE=1

# With ccache: headers compiled once for many tests are no obstacle.
export CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime

JOBS=$(nproc)
export JOBS

# quiet COMMAND: its output only when it fails.
quiet() {
    local log status=0
    log=$(mktemp)
    "$@" >"$log" 2>&1 || status=$?
    [ "$status" -eq 0 ] || cat "$log"
    rm -f "$log"
    return "$status"
}

# build PRESET: all of it.
build() {
    quiet scripts/build "$1"
    echo "built preset $1"
}

# build_labelled PRESET LABEL: only the programs of the tests with that label; a
# test is named as its program.
build_labelled() {
    local targets
    quiet cmake --preset "$1"
    targets=$(ctest --test-dir "build/$1" -L "$2" -N | sed -n 's/^ *Test *#[0-9]*: //p')
    # shellcheck disable=SC2086  # a list of words
    quiet cmake --build --preset "$1" --target $targets
    echo "built preset $1, tests with label $2"
}

# run_tests PRESET [ctest options]: the preset's tests, twice as many at once as there
# are processors, as they mostly wait; and why some did not run.
run_tests() {
    local folder=build/$1 status=0
    shift
    ctest --test-dir "$folder" -j "$((2 * JOBS))" --output-on-failure --no-tests=error "$@" || status=$?
    grep -hE '^SKIPPED: ' "$folder/Testing/Temporary/LastTest.log" | sort | uniq -c || true
    return "$status"
}
