# Sourced by the scripts beside it: where the project stands, how to say what is done.

set -euo pipefail

project=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$project"

say() {
    printf '== %s\n' "$*"
}

fail() {
    printf 'error: %s\n' "$*" >&2
    exit 1
}

as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    else
        sudo "$@"
    fi
}

# quietly WHAT COMMAND...: says WHAT, keeps the command's output to itself unless it fails.
quietly() {
    local what=$1 output
    shift
    say "$what"
    output=$(mktemp)
    if ! "$@" >"$output" 2>&1; then
        cat "$output" >&2
        rm -f "$output"
        fail "$what"
    fi
    rm -f "$output"
}

# build PRESET [TARGET...]: configures where needed and builds; a second run finds nothing to do.
# Warnings are errors here, so that none reaches the main line.
build() {
    local preset=$1
    shift
    if [ ! -f "build/$preset/build.ninja" ]; then
        quietly "configuring $preset" cmake --preset "$preset" -DYESTERMARK_WARNINGS_AS_ERRORS=ON
    fi
    quietly "building $preset" cmake --build --preset "$preset" "${@/#/--target=}"
}
