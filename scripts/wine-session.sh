#!/usr/bin/env bash
# wine-session.sh 64|32 DIRECTORY COMMAND...
#
# Runs a command with Wine at hand for run-in-wine.sh: a display without a
# screen, a private Wine prefix in DIRECTORY, and a Wine server that stays up
# between programs. All of it ends with the command, whose exit status is given.
#
# 32-bit Wine lives in the tree that QUIB_WINE_ROOT names (wine32-tree.sh makes
# one). The session then has a mount namespace of its own, where the tree sees
# this checkout under the same path.
set -euo pipefail
scripts=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
checkout=$(dirname "$scripts")

bits=$1
directory=$2
shift 2

if [[ $bits == 32 && ${QUIB_WINE_NAMESPACE:-} != yes ]]; then
    QUIB_WINE_NAMESPACE=yes exec unshare --mount --propagation private \
        "$scripts/wine-session.sh" "$bits" "$directory" "$@"
fi

mkdir -p "$directory"
directory=$(cd "$directory" && pwd)
export QUIB_WINE_SESSION=$bits
export WINEPREFIX=$directory/prefix
export HOME=$directory/home
export WINEDEBUG=${WINEDEBUG:--all}
# No offers to download Mono and Gecko, no entries in the desktop's menus.
export WINEDLLOVERRIDES='mscoree,mshtml=;winemenubuilder.exe=d'
mkdir -p "$WINEPREFIX" "$HOME"

if [[ $bits == 32 ]]; then
    export QUIB_WINE_ROOT
    root=${QUIB_WINE_ROOT:?}
    export WINEARCH=win32
    mount --bind /proc "$root/proc"
    mount --rbind /dev "$root/dev"
    # A /tmp of its own keeps this session's Wine server apart from others.
    mount -t tmpfs tmpfs "$root/tmp"
    mkdir -p "$root/tmp/.X11-unix" "$root$checkout"
    [[ -d /tmp/.X11-unix ]] || mkdir -m 1777 /tmp/.X11-unix
    mount --bind /tmp/.X11-unix "$root/tmp/.X11-unix"
    mount --bind "$checkout" "$root$checkout"
else
    export WINEARCH=win64
fi

inside() {
    if [[ $bits == 32 ]]; then
        chroot "$root" "$@"
    else
        "$@"
    fi
}

if [[ $bits == 32 ]]; then
    server=/usr/lib/wine/wineserver32
else
    server=wineserver
fi

xvfb=
end_session() {
    inside timeout 60 "$server" -k 2>/dev/null || true
    if [[ -n $xvfb ]]; then
        kill "$xvfb" 2>/dev/null || true
    fi
}
trap end_session EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

# The server of a session that was killed may still hold the prefix.
inside timeout 60 "$server" -k 2>/dev/null || true

display_file=$directory/display
rm -f "$display_file"
Xvfb -displayfd 3 -screen 0 1280x1024x24 -fbdir "$directory" -nocursor -nolisten tcp \
    3>"$display_file" </dev/null >"$directory/xvfb.log" 2>&1 &
xvfb=$!
for ((i = 0; i < 300; i++)); do
    [[ -s $display_file ]] && break
    kill -0 "$xvfb" 2>/dev/null || break
    sleep 0.1
done
if [[ ! -s $display_file ]]; then
    echo "Xvfb did not start:" >&2
    cat "$directory/xvfb.log" >&2
    exit 1
fi
DISPLAY=:$(tr -d '[:space:]' <"$display_file")
export DISPLAY
# What the display shows, as Xvfb keeps it: an X window dump.
export QUIB_SCREEN=$directory/Xvfb_screen0

# A prefix counts as made once it says so: an interrupted one is made anew.
if [[ ! -e $directory/prefix-is-made ]]; then
    rm -rf "$WINEPREFIX"
    mkdir -p "$WINEPREFIX"
    timeout 300 "$scripts/run-in-wine.sh" wineboot --init </dev/null >"$directory/wineboot.log" 2>&1 || {
        echo "Wine could not make its prefix:" >&2
        tail -n 15 "$directory/wineboot.log" >&2
        exit 1
    }
    # The server writes the registry when it goes.
    inside timeout 60 "$server" -w
    touch "$directory/prefix-is-made"
fi
# It goes by itself a minute after its last program, should this script be killed.
inside "$server" -p60 </dev/null >/dev/null 2>&1

status=0
"$@" || status=$?
exit "$status"
