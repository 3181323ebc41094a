# shellcheck shell=bash
# Debian trees of their own, for what this system has not or must not get. Source
# this file after packages.sh. Trees are shared by all clones on a machine.

# The first mirror of a suite among apt's own sources.
mirror_of_apt() {
    # shellcheck disable=SC2016 # apt fills these in
    apt-get indextargets --format '$(RELEASE) $(CODENAME) $(COMPONENT) $(REPO_URI)' \
        'Identifier: Packages' |
        awk -v suite="$1" '($1 == suite || $2 == suite) && $3 == "main" { print $4; exit }'
}

# debian_tree NAME ARCHITECTURE PACKAGE,PACKAGE...: prints the path of a minimal tree
# of this system's release with these packages in it, and makes it first if there is
# none. An interrupted run leaves no half tree: it is made aside and renamed.
debian_tree() {
    local cache=${QUIB_CACHE:-/var/cache/quibtool} suite tree mirror proxy='' work
    suite=$(. /etc/os-release && echo "${VERSION_CODENAME:?}") || return 1
    tree=$cache/$1-$suite
    if [[ ! -d $tree ]]; then
        need_packages debootstrap debian-archive-keyring >&2 || return 1
        mirror=$(mirror_of_apt "$suite")
        case $mirror in
        http://* | https://* | file:/*) ;;
        *)
            echo "apt's source for $suite is no plain mirror: ${mirror:-none}" >&2
            return 1
            ;;
        esac
        # apt may go through a proxy that only its own configuration knows.
        eval "$(apt-config shell proxy Acquire::http::Proxy)"
        [[ -n $proxy ]] && export http_proxy=${http_proxy:-$proxy} https_proxy=${https_proxy:-$proxy}

        mkdir -p "$cache" || return 1
        exec 9>"$cache/lock"
        flock 9
        if [[ ! -d $tree ]]; then
            echo "Making a Debian tree in $tree (a minute or two)" >&2
            rm -rf --one-file-system "$cache"/making.*
            work=$(mktemp -d "$cache/making.XXXXXX") || return 1
            # In a mount namespace of its own, so that what debootstrap mounts goes with it.
            if ! unshare --mount --propagation private \
                debootstrap --arch="$2" --variant=minbase --include="$3" \
                "$suite" "$work/tree" "$mirror" </dev/null >"$work/log" 2>&1; then
                tail -n 15 "$work/log" >&2
                rm -rf --one-file-system "$work"
                return 1
            fi
            rm -f "$work"/tree/var/cache/apt/archives/*.deb
            mkdir -p "$work/tree/tmp" "$work/tree/proc" "$work/tree/dev"
            mv "$work/tree" "$tree"
            rm -rf --one-file-system "$work"
        fi
        exec 9>&-
    fi
    echo "$tree"
}
