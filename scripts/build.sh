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

# build_showing LOG COMMAND...: the same, with a word on how far ninja has come: one
# line that changes on a terminal, a line for each quarter elsewhere.
build_showing() {
    local live=0
    [[ -t 1 ]] && live=1
    mkdir -p "$(dirname "$1")"
    if ! "${@:2}" </dev/null 2>&1 | tee -a "$1" | awk -v live="$live" '
        /^\[[0-9]+\/[0-9]+\]/ {
            split(substr($1, 2), count, /[\/\]]/)
            quarter = int(4 * count[1] / count[2])
            if (live) printf "\r  %d of %d", count[1], count[2]
            else if (quarter > told) print "  " count[1] " of " count[2]
            told = quarter
            seen = 1
            fflush()
        }
        END { if (live && seen) print "" }'; then
        tail -n 40 "$1" >&2
        echo "The build failed; all of its output is in $1" >&2
        return 1
    fi
}
