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

# show_progress: of ninja's output a word on how far it has come: one line that changes
# on a terminal, a line for each quarter elsewhere. Not by awk, which may read in blocks.
show_progress() {
    local live=no line last=0 told=0 quarter seen=no
    [[ -t 1 ]] && live=yes
    while IFS= read -r line; do
        [[ $line =~ ^\[([0-9]+)/([0-9]+)\] ]] || continue
        ((BASH_REMATCH[1] >= last)) || told=0 # another build
        last=${BASH_REMATCH[1]} quarter=$((4 * BASH_REMATCH[1] / BASH_REMATCH[2]))
        if [[ $live == yes ]]; then
            printf '\r  %d of %d\033[K' "$last" "${BASH_REMATCH[2]}"
        elif ((quarter > told)); then
            echo "  $last of ${BASH_REMATCH[2]}"
        fi
        told=$quarter seen=yes
    done
    [[ $live == no || $seen == no ]] || echo
}

# build_showing LOG COMMAND...: as build_quietly, and shows progress.
build_showing() {
    mkdir -p "$(dirname "$1")"
    if ! "${@:2}" </dev/null 2>&1 | tee -a "$1" | show_progress; then
        tail -n 40 "$1" >&2
        echo "The build failed; all of its output is in $1" >&2
        return 1
    fi
}
