#!/usr/bin/env bash
# scripts/instructions.sh [PART OF A NAME]: how many instructions a pixel takes on 64-bit
# ARM, by the benchmarks' cases, and how many of them move single lanes of vectors: an
# emulator counts them. Installs what it lacks and says so.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/packages.sh
source scripts/packages.sh
# shellcheck source=scripts/build.sh
source scripts/build.sh

need_packages cmake ninja-build gcc pkg-config g++-aarch64-linux-gnu libc6-dev-arm64-cross \
    qemu-user libyuv-dev libpixman-1-dev libvips-dev
folder=build/instructions
log=build/logs/instructions.log
echo "Building in build/aarch64 and $folder" >&2
rm -f "$log"
build_quietly "$log" cmake --preset aarch64
build_quietly "$log" cmake --build --preset aarch64 --target quibtool_static

# The peers' headers alone, away from those of this machine's system.
mkdir -p "$folder/include"
ln -sfn /usr/include/{libyuv,libyuv.h,vips} "$folder/include/"
read -ra headers <<<"$(pkg-config --cflags-only-I glib-2.0 pixman-1)"
flags=(-std=c++20 -O1 -I. -Iinclude -I"$folder/include" "${headers[@]}" -Wno-missing-field-initializers
    -DQUIB_BENCH_LIBYUV=1 -DQUIB_BENCH_PIXMAN=1 -DQUIB_BENCH_VIPS=1
    "-DQUIB_BENCH_PHOTOGRAPH=\"$PWD/examples/images/cup.bmp\"")
compile() {
    aarch64-linux-gnu-g++ "${flags[@]}" -c "$1" -o "$folder/$(basename "$1" .cpp).o"
}
for source in benchmarks/*_bench.cpp benchmarks/instructions/main.cpp; do
    build_quietly "$log" compile "$source"
done
# What only peers have gives 0: none of it is counted.
link() {
    aarch64-linux-gnu-g++ -static "$folder"/*.o "$@" build/aarch64/lib/libQuibTool.a \
        build/aarch64/lib/libQuibPlatform.a -o "$folder/count"
}
rm -f "$folder/peers.o"
{
    link -Wl,--no-demangle 2>&1 | sed -n "s/.*undefined reference to .\(.*\)'$/\1/p" | sort -u |
        sed 's/.*/.globl &\n&:/' || true
    printf 'mov x0, #0\nret\n'
} >"$folder/peers.s"
build_quietly "$log" aarch64-linux-gnu-gcc -c "$folder/peers.s" -o "$folder/peers.o"
build_quietly "$log" link
build_quietly "$log" gcc -O2 -shared -fPIC -I. benchmarks/instructions/counter.c -o "$folder/counter.so"
exec qemu-aarch64 -plugin "$folder/counter.so" "$folder/count" "$@"
