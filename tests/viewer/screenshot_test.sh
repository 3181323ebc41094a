#!/usr/bin/env bash
# screenshot_test.sh DIRECTORY PICTURE PROGRAM [WRAPPER...]
#
# Starts the viewer on a display without a screen, with a fixed view, with a filter, a
# warp and a dragged corner, and in a window of a phone's size with the list of keys,
# takes a picture of the display each time, and compares the window with the frame that
# the viewer says it made. They stay in DIRECTORY, as frame.bmp and screen.png, and the
# same after warped- and phone-.
# Exit status 77: skipped, for want of a tool. With a Wine session around, the
# program is a Windows one and the display is the session's.
set -uo pipefail
compare=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)/screenshot.py

directory=$1
picture=$2
program=$3
shift 3

skip() {
    echo "skipped: $1"
    exit 77
}
[[ $program != '' ]] || skip 'the viewer has no window here, SDL2 was not found for this target'
command -v python3 >/dev/null || skip 'Python is not installed'
[[ -n ${QUIB_SCREEN:-} ]] || command -v Xvfb >/dev/null || skip 'Xvfb is not installed'

mkdir -p "$directory" && cd "$directory" || exit 1
rm -f ./*frame.bmp ./*screen.png display
server='' viewer=''
end_all() {
    [[ -z $viewer ]] || kill -- -"$viewer" 2>/dev/null
    [[ -z $server ]] || kill "$server" 2>/dev/null
    wait 2>/dev/null
}
trap end_all EXIT

drive=
if [[ -n ${QUIB_SCREEN:-} ]]; then
    drive=Z:
    screen=$QUIB_SCREEN
else
    Xvfb -displayfd 3 -screen 0 1280x1024x24 -fbdir "$directory" -nocursor -nolisten tcp \
        3>display </dev/null >xvfb.log 2>&1 &
    server=$!
    for ((i = 0; i < 300; i++)); do
        [[ -s display ]] && break
        sleep 0.1
    done
    [[ -s display ]] || {
        echo 'Xvfb did not start:'
        cat xvfb.log
        exit 1
    }
    DISPLAY=:$(tr -d '[:space:]' <display)
    export DISPLAY
    screen=$directory/Xvfb_screen0
fi

# shows PREFIX OPTIONS...: whether the window of a viewer with these options shows
# what it wrote to PREFIXframe.bmp.
shows() {
    local prefix=$1 began=$SECONDS result='the viewer wrote no frame' shown=1
    shift
    # In a process group of its own, so that it ends with all that it started.
    set -m
    "${command[@]}" "$drive$picture" --size 960x640 "$@" \
        --frame "$drive$directory/${prefix}frame.bmp" </dev/null >"${prefix}viewer.log" 2>&1 &
    viewer=$!
    set +m
    # It takes a while to show: look again until it does.
    while ((SECONDS - began < 120)); do
        if [[ -s ${prefix}frame.bmp ]]; then
            result=$("$compare" "${prefix}frame.bmp" "$screen" "${prefix}screen.png" 2>&1) && {
                shown=0
                break
            }
        fi
        kill -0 "$viewer" 2>/dev/null || break
        sleep 0.5
    done
    echo "$result"
    [[ $shown == 0 ]] || cat "${prefix}viewer.log"
    kill -- -"$viewer" 2>/dev/null
    wait "$viewer" 2>/dev/null
    viewer=''
    return $shown
}

command=("$@" "$program")
shows '' --view 21.3,14.6,2.35 --mode 2 || exit 1
shows warped- --keys 5KW --drag 862,574,520,330 || exit 1
shows phone- --size 375x667 --keys 5K || exit 1
cmp -s frame.bmp warped-frame.bmp && {
    echo 'both frames are the same'
    exit 1
}
exit 0
