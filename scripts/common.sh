# shellcheck shell=bash
# Read by the other scripts: where they run, how they build and test.

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

export PYTHONPATH=$PWD PYTHONDONTWRITEBYTECODE=1

# With ccache: headers compiled once for many tests are no obstacle.
export CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime

JOBS=$(nproc)
export JOBS

# build PRESET: scripts/build, quiet unless it fails.
build() {
    local log
    log=$(mktemp)
    if scripts/build "$1" >"$log" 2>&1; then
        echo "built preset $1"
        rm -f "$log"
    else
        cat "$log"
        rm -f "$log"
        return 1
    fi
}

# build_labelled PRESET LABEL: only the programs of the tests with that label; a
# test is named as its program.
build_labelled() {
    local targets
    cmake --preset "$1" >/dev/null
    targets=$(ctest --test-dir "build/$1" -L "$2" -N | sed -n 's/^ *Test *#[0-9]*: //p')
    # shellcheck disable=SC2086  # a list of words
    cmake --build --preset "$1" --target $targets | tail -1
}

# run_tests PRESET [ctest options]: the preset's tests, and why some did not run.
run_tests() {
    local folder=build/$1 status=0
    shift
    ctest --test-dir "$folder" -j "$JOBS" --output-on-failure --no-tests=error "$@" || status=$?
    grep -hE '^SKIPPED: ' "$folder/Testing/Temporary/LastTest.log" | sort | uniq -c || true
    return "$status"
}
