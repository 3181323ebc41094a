# shellcheck shell=bash
# Building for scripts that start a program. Source this file.

# build_quietly LOG COMMAND...: a build's output goes to a log, which is shown if
# the build fails.
build_quietly() {
    mkdir -p "$(dirname "$1")"
    if ! "${@:2}" </dev/null >>"$1" 2>&1; then
        tail -n 40 "$1" >&2
        echo "The build failed; all of its output is in $1" >&2
        return 1
    fi
}
