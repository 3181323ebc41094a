#!/usr/bin/env bash
# fuzz.sh SECONDS [TARGET...]: builds the fuzz targets, replays the corpora, and runs each
# target so long, two at a time. Fails if anything was found.
#
# Inputs that reached something new stay in build/fuzz/corpora/TARGET and are used by later
# runs; inputs that found something are in build/fuzz/findings, and are replayed by
# `build/fuzz/bin/TARGET_fuzz FILE`.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 1
# shellcheck source=scripts/packages.sh
source scripts/packages.sh

seconds=${1:-} targets=("${@:2}")
if [[ ! $seconds =~ ^[1-9][0-9]*$ ]]; then
    sed -n '2,3s/^# //p' "${BASH_SOURCE[0]}" >&2
    exit 2
fi
((${#targets[@]})) || mapfile -t targets < <(sed -n 's/^quib_fuzz(\(.*\))$/\1/p' fuzz/CMakeLists.txt)

logs=$PWD/build/logs/fuzz findings=$PWD/build/fuzz/findings corpora=$PWD/build/fuzz/corpora
rm -rf "$logs" "$findings"
mkdir -p "$logs" "$findings" "$corpora"

# What targets read of an input whose bytes are choices; files may be longer.
longest_choices=600
longest() {
    grep -q 'fuzz/input.h\|fuzz/pictures.h' "fuzz/$1_fuzz.cpp" && echo $longest_choices || echo 4096
}

build() {
    local names=("${targets[@]/%/_fuzz}")
    need_packages cmake ninja-build clang libclang-rt-14-dev &&
        cmake --preset fuzz && cmake --build --preset fuzz --target "${names[@]}"
}

# Leaks are looked for after each run by the targets themselves.
options=(-detect_leaks=0 -entropic=0 -timeout=20 -rss_limit_mb=4096 -print_final_stats=1
    -print_funcs=0)

# replay TARGET: runs what is checked in once, so that a known finding shows at once.
replay() {
    "build/fuzz/bin/$1_fuzz" "${options[@]}" -runs=0 -artifact_prefix="$findings/$1-" \
        "fuzz/corpus/$1" </dev/null >"$logs/$1-replay.log" 2>&1
}

fuzz() {
    mkdir -p "$corpora/$1"
    "build/fuzz/bin/$1_fuzz" "${options[@]}" -max_total_time="$seconds" \
        -max_len="$(longest "$1")" -artifact_prefix="$findings/$1-" \
        "$corpora/$1" "fuzz/corpus/$1" </dev/null >"$logs/$1.log" 2>&1
}

# run TARGET: writes down the target's row of the table, and what it found.
run() {
    local found=1 log=$logs/$1-replay.log start=$SECONDS runs
    if replay "$1"; then
        log=$logs/$1.log start=$SECONDS
        fuzz "$1" && found=0
    fi
    # The statistics of a run that found something come twice.
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
    echo "$1 ${runs:-0} $((SECONDS - start)) $found" >"$logs/$1.row"
    ((found == 0)) && return
    echo "[$1] found something; the end of $log:"
    tail -n 30 "$log" | sed 's/^/    /'
}

print_table() {
    local target runs took found format='%-16s %12s %8s %12s %9s\n'
    # shellcheck disable=SC2059 # one format for all rows
    printf "$format" target runs seconds 'runs/second' findings
    for target in "${targets[@]}"; do
        read -r _ runs took found <"$logs/$target.row"
        # shellcheck disable=SC2059
        printf "$format" "$target" "$runs" "$took" $((runs / (took > 0 ? took : 1))) "$found"
        total=$((total + runs)) failures=$((failures + found))
    done
}

echo "[fuzz] build"
use_compiler_cache >"$logs/packages.log"
if ! build </dev/null >"$logs/build.log" 2>&1; then
    echo "[fuzz] failed to build; the end of $logs/build.log:"
    tail -n 40 "$logs/build.log" | sed 's/^/    /'
    exit 1
fi
for target in "${targets[@]}"; do
    while (($(jobs -rp | wc -l) >= 2)); do wait -n; done
    echo "[fuzz] $target"
    run "$target" &
done
wait

total=0 failures=0
echo
print_table
echo
echo "$total runs, $failures findings"
((failures == 0))
