#!/bin/sh
# run-in-wine.sh PROGRAM ARGUMENTS...: runs a Windows program inside the
# session that wine-session.sh made. CMake's emulator for the Windows presets.
case ${QUIB_WINE_SESSION:-} in
64)
    wine=/usr/lib/wine/wine64
    [ -x $wine ] || wine=wine
    ;;
32) ;;
*)
    echo "run-in-wine.sh: run this inside scripts/wine-session.sh, or use ./test" >&2
    exit 1
    ;;
esac

# Less than ctest waits, so that a hanging program's output is still seen.
limit="timeout --kill-after=10 ${QUIB_WINE_TIMEOUT:-840}"

# A Wine program may start services that go on after it. They inherit its
# output, and whoever reads that from a pipe would wait for them: hence a file.
output=$(mktemp)
trap 'rm -f "$output"' EXIT
if [ "$QUIB_WINE_SESSION" = 64 ]; then
    $limit "$wine" "$@" >"$output" 2>&1
else
    # shellcheck disable=SC2016 # for the inner shell
    $limit chroot "$QUIB_WINE_ROOT" /bin/sh -c 'cd "$0" && exec wine "$@"' "$PWD" "$@" \
        >"$output" 2>&1
fi
status=$?
cat "$output"
[ $status = 0 ] || echo "$1 ended with status $status"
exit $status
