#!/usr/bin/env bash
# Prints the path of a 32-bit Debian tree with Wine in it, and makes the tree
# first if there is none.
set -euo pipefail
here=$(dirname "${BASH_SOURCE[0]}")
# shellcheck source=scripts/packages.sh
source "$here/packages.sh"
# shellcheck source=scripts/debian-tree.sh
source "$here/debian-tree.sh"
debian_tree wine32 i386 wine32,wine
