# shellcheck shell=bash
# Debian packages, for scripts that install what they lack. Source this file.

# as_root COMMAND...: runs a command as root, or fails with a message.
as_root() {
    if [[ $(id -u) == 0 ]]; then
        "$@"
    elif command -v sudo >/dev/null && sudo -n true 2>/dev/null; then
        sudo -n -- "$@"
    else
        echo "root is needed (or sudo without a password) to run: $*" >&2
        return 1
    fi
}

package_is_installed() {
    [[ $(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null) == installed ]]
}

# need_packages NAME...: installs those packages that are not there; fails if
# one cannot be had. Asks nothing of the network when all are there.
need_packages() {
    local missing=() package
    if ! command -v dpkg-query >/dev/null; then
        echo "This is no Debian system; these packages are taken as present: $*" >&2
        return 0
    fi
    for package in "$@"; do
        package_is_installed "$package" || missing+=("$package")
    done
    [[ ${#missing[@]} == 0 ]] && return 0

    echo "Installing with apt: ${missing[*]}"
    local log lock status=0
    log=$(mktemp)
    # One at a time: another process of this script may be at it.
    exec {lock}>"/tmp/quibtool-apt-$(id -u).lock"
    flock "$lock"
    local apt=(env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=300)
    as_root "${apt[@]}" update </dev/null >"$log" 2>&1
    # A failed update is no reason to stop: known lists may do.
    if ! as_root "${apt[@]}" install -y --no-install-recommends "${missing[@]}" \
        </dev/null >>"$log" 2>&1; then
        echo "These could not be installed: ${missing[*]}" >&2
        tail -n 15 "$log" >&2
        status=1
    fi
    exec {lock}>&-
    rm -f "$log"
    return $status
}

# use_compiler_cache: makes every build but the first one short, for a build from the
# current directory. One that the environment names already is kept.
use_compiler_cache() {
    [[ -z ${CMAKE_CXX_COMPILER_LAUNCHER:-} ]] && need_packages ccache || return 0
    export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
    export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
    export CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
}
