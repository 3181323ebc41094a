#!/usr/bin/env bash
# screenshot_test.sh DIRECTORY PICTURE PROGRAM [WRAPPER...]
#
# Starts the viewer with a fixed view on a display without a screen, takes a
# picture of the display, and compares the window with the frame that the viewer
# says it made. Both stay in DIRECTORY, as frame.bmp and screen.png.
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
rm -f frame.bmp screen.png display
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

# In a process group of its own, so that it ends with all that it started.
set -m
"$@" "$program" "$drive$picture" --size 960x640 --view 21.3,14.6,2.35 --mode 2 \
    --frame "$drive$directory/frame.bmp" </dev/null >viewer.log 2>&1 &
viewer=$!
set +m

# It takes a while to show: look again until it does.
result='the viewer wrote no frame'
while ((SECONDS < 120)); do
    if [[ -s frame.bmp ]]; then
        result=$("$compare" frame.bmp "$screen" screen.png 2>&1) && {
            echo "$result"
            exit 0
        }
    fi
    kill -0 "$viewer" 2>/dev/null || break
    sleep 0.5
done
echo "$result"
cat viewer.log
exit 1
