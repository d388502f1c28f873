# shellcheck shell=bash
# Sourced by the other scripts: working folder, build and test functions.

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

export PYTHONPATH=$PWD PYTHONDONTWRITEBYTECODE=1

# Lets ccache work with precompiled headers.
export CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime

JOBS=$(nproc)
export JOBS

# quiet COMMAND: prints its output only if it fails.
quiet() {
    local log status=0
    log=$(mktemp)
    "$@" >"$log" 2>&1 || status=$?
    [ "$status" -eq 0 ] || cat "$log"
    rm -f "$log"
    return "$status"
}

# progress COMMAND: prints its output as it comes. Without a terminal, prints one
# line per tenth of a build, and all output if it fails.
progress() {
    if [ -t 1 ]; then
        "$@"
        return
    fi
    local log status=0
    log=$(mktemp)
    "$@" 2>&1 | tee "$log" | awk '
        match($0, /^\[[0-9]+\/[0-9]+/) {
            split(substr($0, 2, RLENGTH - 1), step, "/")
            if (int(10 * step[1] / step[2]) != tenth) { tenth = int(10 * step[1] / step[2]); print; fflush() }
            next
        }
        /^missing:|^Get:.*kB|^Setting up |^-- (Configuring|Generating) done/ { print; fflush() }' ||
        status=$?
    [ "$status" -eq 0 ] || cat "$log"
    rm -f "$log"
    return "$status"
}

# build PRESET [TARGET...]: builds everything, or the targets.
build() {
    echo "builds preset $1"
    progress scripts/build "$@"
}

# build_labelled PRESET LABEL: builds only the test programs with that label; a test
# has its program's name.
build_labelled() {
    local targets
    echo "builds preset $1, tests with label $2"
    quiet cmake --preset "$1"
    targets=$(ctest --test-dir "build/$1" -L "$2" -N | sed -n 's/^ *Test *#[0-9]*: //p')
    # shellcheck disable=SC2086  # a list of words
    progress cmake --build --preset "$1" --target $targets
}

# run_tests PRESET [ctest options]: runs the preset's tests, twice as many at once
# as there are processors (they mostly wait), and prints why tests were skipped.
run_tests() {
    local folder=build/$1 status=0
    shift
    ctest --test-dir "$folder" -j "$((2 * JOBS))" --output-on-failure --no-tests=error "$@" || status=$?
    grep -hE '^SKIPPED: ' "$folder/Testing/Temporary/LastTest.log" | sort | uniq -c || true
    return "$status"
}
