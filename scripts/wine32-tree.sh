#!/usr/bin/env bash
# Prints the path of a 32-bit Debian tree with Wine in it, and makes the tree
# first if there is none. It is shared by all clones on a machine. An
# interrupted run leaves no half tree: it is made aside and renamed.
set -euo pipefail
# shellcheck source=scripts/packages.sh
source "$(dirname "${BASH_SOURCE[0]}")/packages.sh"

cache=${QUIB_CACHE:-/var/cache/quibtool}
suite=$(. /etc/os-release && echo "${VERSION_CODENAME:?}")
tree=$cache/wine32-$suite

# The first mirror of this suite among apt's own sources.
mirror_of_apt() {
    # shellcheck disable=SC2016 # apt fills these in
    apt-get indextargets --format '$(RELEASE) $(CODENAME) $(COMPONENT) $(REPO_URI)' \
        'Identifier: Packages' |
        awk -v suite="$suite" '($1 == suite || $2 == suite) && $3 == "main" { print $4; exit }'
}

make_tree() {
    local mirror=$1 work=$2
    # In a mount namespace of its own, so that what debootstrap mounts goes with it.
    unshare --mount --propagation private \
        debootstrap --arch=i386 --variant=minbase --include=wine32,wine \
        "$suite" "$work/tree" "$mirror" </dev/null >"$work/log" 2>&1 || {
        tail -n 15 "$work/log" >&2
        return 1
    }
    rm -f "$work"/tree/var/cache/apt/archives/*.deb
    mkdir -p "$work/tree/tmp" "$work/tree/proc" "$work/tree/dev"
    mv "$work/tree" "$tree"
}

if [[ ! -d $tree ]]; then
    need_packages debootstrap debian-archive-keyring >&2
    mirror=$(mirror_of_apt)
    case $mirror in
    http://* | https://* | file:/*) ;;
    *)
        echo "apt's source for $suite is no plain mirror: ${mirror:-none}" >&2
        exit 1
        ;;
    esac
    # apt may go through a proxy that only its own configuration knows.
    proxy=
    eval "$(apt-config shell proxy Acquire::http::Proxy)"
    [[ -n $proxy ]] && export http_proxy=${http_proxy:-$proxy} https_proxy=${https_proxy:-$proxy}

    mkdir -p "$cache"
    exec 9>"$cache/lock"
    flock 9
    if [[ ! -d $tree ]]; then
        echo "Making a 32-bit Debian tree with Wine in $tree (about a minute)" >&2
        rm -rf --one-file-system "$cache"/making.*
        work=$(mktemp -d "$cache/making.XXXXXX")
        trap 'rm -rf --one-file-system "$work"' EXIT
        make_tree "$mirror" "$work"
    fi
fi
echo "$tree"
