#!/usr/bin/env bash
# avx512.sh RESULTS: builds the programs that test what a processor level adds, its kernels
# and the digests of all functions, runs them at level avx512 in an emulated processor that
# has it, and leaves their results in the directory RESULTS, as scripts/count_results.py
# wants them. A part of ./test.
#
# The emulator, bochs, boots a Debian kernel and an initramfs from a CD. In there are the
# programs, what they read, and an init that runs one after the other. It speaks through
# two serial ports, which are files here: the console, and the results.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

results=${1:?} work=$PWD/build/avx512
programs=(quib_kernel_tests quib_sameness_tests)
# bochs 2.7 takes a gather whose indices lie in one of the upper 16 registers for an illegal
# instruction. These tests meet the few that the compiler made so.
refused='WarpFixed.*:*/QUIBRotate3D:*/QUIBWarpAffine:*/QuibRotate'
other_levels='Vectors.OfAnUnknown*:Vectors.OfLevelBase*:Vectors.OfLevelAvx2*:*KernelLevels.*/base:*KernelLevels.*/avx2'
# Together these take longer than all others.
longest='AlphaBlend.GivesThePlainResultForEveryAlphaAndPairOfColours'
longest+=':AlphaBlend.GivesThePlainResultInRunsThatGoPastTheCaches'
longest+=':AreaKernels.BlockMeansRoundEverySumOfSmallBlocks'
longest+=':CompositeKernels.PixelsArePlainForEveryPairOfAlphas'
longest+=':CompositeKernels.TintedPixelsArePlainAndKeepTheirLastBytes'
longest+=':MirrorKernels.ReverseRowsReversesEachRow'
longest+=':PairBlend.GivesThePlainResultOverOpaqueRunsForEveryAlphaAndPairOfColours'
longest+=':PixelKernels.GiveThePlainResultForPairsOfElements'
longest+=':PixelKernels.TakeRunsOfAnyLengthBesideInaccessiblePages'
longest+=':RankKernels.HistogramsOfColumnsCountUpTo65535'
longest+=':RankKernels.NetworksFindTheMedian'
longest+=':RankKernels.VectorMediansAreThePlainOnes'
longest+=':RankKernels.VectorMediansOfNineAreThePlainOnes'
files_read=(tests/zxdll/files tests/sameness/digests.txt)
most_seconds=5400

# The kernel's package is unpacked here, and not installed.
fetch_kernel() {
    [[ -s $work/kernel/vmlinuz ]] && return
    local package
    package=$(apt-cache depends --important linux-image-cloud-amd64 |
        sed -n 's/^ *Depends: *\(linux-image-.*\)$/\1/p')
    rm -rf "$work/kernel"
    mkdir -p "$work/kernel/package"
    (cd "$work/kernel" && apt-get -q download "${package:?apt knows no kernel}" &&
        dpkg -x ./*.deb package)
    mv "$work"/kernel/package/boot/vmlinuz-* "$work/kernel/vmlinuz"
    rm -rf "$work"/kernel/*.deb "$work/kernel/package"
}

print_init() {
    cat <<END
#!/bin/busybox sh
/bin/busybox --install -s /bin
mount -t proc proc /proc
mount -t devtmpfs dev /dev
exec 3>/dev/ttyS1
stty -F /dev/ttyS1 115200 -opost
grep -E '^(model name|flags)' /proc/cpuinfo >&3
export QUIB_TEST_LEVEL=avx512
for program in ${programs[*]}; do
    \$program --gtest_color=no --gtest_filter='-$refused:$other_levels:$longest' \\
        --gtest_output=xml:/tmp/results.xml
    status=\$?
    echo "results \$program.1" >&3
    cat /tmp/results.xml >&3
    echo "end \$program.1 \$status" >&3
    rm -f /tmp/results.xml
done
exec 3>&-
usleep 100000
poweroff -f
END
}

# Everything lies in the guest where it lies here, since the programs name their files
# and libraries by whole paths.
make_initramfs() {
    local root=$work/root program library
    rm -rf "$root"
    mkdir -p "$root"/{bin,dev,proc,tmp} "$root$PWD"
    cp /bin/busybox "$root/bin/"
    for program in "${programs[@]}"; do
        strip -o "$root/bin/$program" "build/release/bin/$program"
        for library in $(ldd "build/release/bin/$program" | grep -o '/[^ ]*'); do
            mkdir -p "$root${library%/*}"
            cp -L "$library" "$root$library"
        done
    done
    cp -r --parents "${files_read[@]}" "$root$PWD/"
    print_init >"$root/init"
    chmod +x "$root/init"
    (cd "$root" && find . | cpio --quiet -o -H newc | gzip) >"$work/cd/initrd"
    rm -rf "$root"
}

# The emulator and the kernel disagree about the size of compacted registers, upon which
# the kernel does without AVX: so it is told to save them as they are.
make_cd() {
    rm -rf "$work/cd"
    mkdir -p "$work/cd"
    make_initramfs
    cp "$work/kernel/vmlinuz" /usr/lib/ISOLINUX/isolinux.bin \
        /usr/lib/syslinux/modules/bios/ldlinux.c32 "$work/cd/"
    cat >"$work/cd/isolinux.cfg" <<END
default tests
label tests
  kernel vmlinuz
  append initrd=initrd console=ttyS0,115200 clearcpuid=xsavec,xsaves mitigations=off
END
    xorriso -as mkisofs -quiet -o "$work/cd.iso" -b isolinux.bin -c boot.cat \
        -no-emul-boot -boot-load-size 4 -boot-info-table "$work/cd"
}

configure_emulator() {
    cat >"$work/bochsrc" <<END
cpu: model=corei7_skylake_x, ips=40000000
megs: 2048
romimage: file=/usr/share/bochs/BIOS-bochs-latest
vgaromimage: file=/usr/share/bochs/VGABIOS-lgpl-latest
ata0-master: type=cdrom, path=$work/cd.iso, status=inserted
boot: cdrom
com1: enabled=1, mode=file, dev=$work/console.txt
com2: enabled=1, mode=file, dev=$work/results.txt
plugin_ctrl: speaker=0
display_library: term
panic: action=fatal
log: $work/bochs.log
END
    # Debian's bochs has its debugger in it, which begins with a prompt.
    echo continue >"$work/commands"
}

# What the emulator shows goes to a terminal that it opens; if nobody reads there, it stops
# when that is full.
drain_display() {
    local terminal=''
    while kill -0 "$emulator" 2>/dev/null && [[ -z $terminal ]]; do
        sleep 1
        terminal=$(sed -n 's/^Bochs connected to screen "\(.*\)"$/\1/p' "$work/bochs.out")
    done
    [[ -z $terminal ]] || exec cat "$terminal" >/dev/null 2>&1
}

# The emulator ends when the guest is switched off, always with status 1.
emulate() {
    local end=$((SECONDS + most_seconds)) emulator
    rm -f "$work"/{console.txt,results.txt,bochs.log}
    configure_emulator
    bochs -q -f "$work/bochsrc" -rc "$work/commands" </dev/null >"$work/bochs.out" 2>&1 &
    emulator=$!
    trap 'kill -KILL "$emulator" 2>/dev/null' EXIT
    drain_display &
    while kill -0 "$emulator" 2>/dev/null; do
        sleep 2
        if ((SECONDS > end)); then
            echo "The guest has not come to an end in $most_seconds seconds."
        elif grep -aq 'Kernel panic' "$work/console.txt" 2>/dev/null; then
            echo "The guest's kernel has given up."
        else
            continue
        fi
        kill -KILL "$emulator"
        break
    done
    wait
    trap - EXIT
}

show_guest() {
    if [[ ! -s $work/results.txt ]]; then
        echo "The guest has not come as far as its init; the end of $work/bochs.out and console.txt:"
        tail -n 20 "$work"/{bochs.out,console.txt} || true
        return 1
    fi
    echo "The guest's console, from where its init begins ($work/console.txt):"
    sed -n '/Run \/init/,$p' "$work/console.txt" | tr -d '\r'
    grep '^model name' "$work/results.txt"
    echo "AVX-512: $(sed -n "/^flags/p" "$work/results.txt" | grep -o "avx512[a-z]*" | paste -sd " ")"
}

# The results of each program that came to an end, and a line with its status in `ended`.
split_results() {
    : >"$results/ended"
    awk -v directory="$results" '
        /^results / { file = directory "/" $2 ".xml"; next }
        /^end / { close(file); file = ""; print $2, $3 >(directory "/ended"); next }
        file != "" { print >file }' "$work/results.txt"
}

# trouble PROCESS: what a program's process lacks to count, or nothing.
trouble() {
    local status
    status=$(sed -n "s/^$1 //p" "$results/ended")
    if [[ -z $status ]]; then
        echo "it came to no end"
    elif [[ $status != 0 ]]; then
        echo "it ended with status $status"
    elif ! grep -q '^<testsuites .* level="avx512"' "$results/$1.xml"; then
        echo "its results do not say that it ran at level avx512"
    fi
}

# print_skipped PATTERN:PATTERN... REASON
print_skipped() {
    local pattern patterns
    IFS=: read -ra patterns <<<"$1"
    for pattern in "${patterns[@]}"; do
        echo "<testcase name=\"$pattern\"><skipped message=\"$2\"/></testcase>"
    done
}

# print_outcome: ctest's part of the results; fails if a program did. What is left out but
# for its level counts as skipped.
print_outcome() {
    local program why failures=0
    echo '<testsuite>'
    print_skipped "$refused" 'bochs takes an instruction that they need for an illegal one'
    print_skipped "$longest" 'too long for the emulator'
    for program in "${programs[@]/%/.1}"; do
        why=$(trouble "$program")
        if [[ -n $why ]]; then
            echo "<testcase name=\"$program\" status=\"fail\"><failure message=\"$why\"/></testcase>"
            echo "$program: $why" >&2
            failures=$((failures + 1))
        else
            echo "<testcase name=\"$program\" status=\"run\"/>"
        fi
    done
    echo '</testsuite>'
    ((failures == 0))
}

rm -rf "$results"
mkdir -p "$results" "$work"
cmake --preset release
cmake --build --preset release --target "${programs[@]}"
fetch_kernel
make_cd
emulate
show_guest
split_results
print_outcome >"$results/ctest.xml"
