#!/usr/bin/env bash
# try_debs.sh TREE PACKAGES CHECKOUT: installs the Debian packages into the tree,
# compiles and runs programs against them there, and removes them. The tree must then
# have just the files that it had before. To be run in a mount namespace of its own.
set -euo pipefail
tree=$1 packages=$2 checkout=$3
names=(quibtool quibtool-doc libquibtool-dev libquibtool1)

inside() {
    # shellcheck disable=SC2016 # for the inner shell
    env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8 DEBIAN_FRONTEND=noninteractive \
        chroot "$tree" sh -c 'cd /tmp && exec "$@"' inside "$@"
}

# All files but those in which the system keeps its own books.
files() {
    find "$tree" -xdev -printf '%P %y %l\n' |
        grep -vE '^(proc|dev|sys|tmp|mnt|run|var/log|var/cache/ldconfig|root)(/| )|^[^ ]*-old ' | sort
}

say() {
    echo "--- $*"
}

mount -t proc proc "$tree/proc"
mount --rbind /dev "$tree/dev"
mount -t tmpfs tmpfs "$tree/tmp"
mount --bind "$packages" "$tree/mnt"
# What an interrupted run has left.
inside dpkg --purge "${names[@]}" >/dev/null 2>&1 || true
before=$(files)
mkdir "$tree/tmp/consumer"
cp -R "$checkout/tests/install/consumer/." "$tree/tmp/consumer/"

say "install"
inside sh -c 'dpkg -i /mnt/*.deb'

say "programs in C and C++ by pkg-config"
for source in main dib; do
    for standard in c99 c17; do
        inside sh -c "cc -std=$standard -pedantic -Wall -Wextra -Werror consumer/$source.c \
            \$(pkg-config --cflags --libs quibtool) -o $source && ./$source"
    done
    inside sh -c "cc -static consumer/$source.c \
        \$(pkg-config --static --cflags --libs quibtool) -o static && ./static"
done
# shellcheck disable=SC2016 # for the inner shell
inside sh -c 'c++ -std=c++20 consumer/main.cpp $(pkg-config --cflags --libs quibtool) -o cpp && ./cpp'

say "programs by CMake"
inside cmake -G Ninja -S consumer -B cmake -D COMPONENTS=shared,static
inside cmake --build cmake
for program in c cpp dib static static_dib; do
    inside "cmake/consumer_$program"
done

say "the viewer's first frame"
# It then finds no display for its window, which is an error and told.
inside timeout 60 quib_viewer --size 320x200 --frame frame.bmp || true
[[ $(stat -c %s "$tree/tmp/frame.bmp") -gt 100000 ]]

if [[ -e $tree/usr/bin/quib ]]; then
    say "the tool"
    inside quib /usr/share/quibtool/cat.bmp resize 64x48 small.bmp
    inside quib /usr/share/quibtool/cat.bmp resize 64x48 small.png
    [[ -s $tree/tmp/small.bmp && -s $tree/tmp/small.png ]]
fi

if [[ -d $checkout/bindings/python/quibtool ]]; then
    say "Python"
    mkdir "$tree/tmp/python"
    cp -R "$checkout/bindings/python/quibtool" "$tree/tmp/python/"
    inside env PYTHONPATH=/tmp/python python3 -c 'import quibtool; print(quibtool.__file__)'
fi

if compgen -G "$packages/quibtool-doc_*.deb" >/dev/null; then
    say "documentation"
    inside test -s /usr/share/doc/quibtool/installing.md.gz
    python3 "$checkout/tests/examples/reference_test.py" "$checkout" \
        "$tree/usr/share/doc/quibtool/reference"
fi

say "remove"
inside dpkg --purge "${names[@]}"
diff <(echo "$before") <(files) || {
    echo "these files were not there before, or are gone"
    exit 1
}
if inside sh -c 'ldconfig -p | grep -i quib'; then
    echo "the loader still knows the library"
    exit 1
fi
