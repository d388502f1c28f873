# shellcheck shell=bash
# Read by the other scripts: where they run, and how they set up and build.

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

export PYTHONPATH=$PWD PYTHONDONTWRITEBYTECODE=1

JOBS=$(nproc)
export JOBS

if [ -z "${CMAKE_CXX_COMPILER_LAUNCHER:-}" ] && command -v ccache >/dev/null; then
    export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
fi

# Installs what is missing on this machine.
setup() {
    if [ -x scripts/setup ]; then scripts/setup; fi
}

# build PRESET: configures and builds; quiet unless it fails.
build() {
    local log
    log=$(mktemp)
    if cmake --preset "$1" >"$log" 2>&1 && cmake --build --preset "$1" -j "$JOBS" >>"$log" 2>&1; then
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
