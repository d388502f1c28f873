# shellcheck shell=bash
# Read by the other scripts: where they run, how they build and test.

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

export PYTHONPATH=$PWD PYTHONDONTWRITEBYTECODE=1

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

# run_tests PRESET [ctest options]: the preset's tests, and why some did not run.
run_tests() {
    local folder=build/$1 status=0
    shift
    ctest --test-dir "$folder" -j "$JOBS" --output-on-failure --no-tests=error "$@" || status=$?
    grep -hE '^SKIPPED: ' "$folder/Testing/Temporary/LastTest.log" | sort | uniq -c || true
    return "$status"
}
