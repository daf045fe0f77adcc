#!/usr/bin/env bash
# Checks 'kry rand': exact lengths raw and in hex, output files, that two
# runs differ, and the refusals of bad counts.
#
#   usage: rand.sh PATH/TO/kry

set -u

# shellcheck source-path=SCRIPTDIR source=lib/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
kry_test_init -- "$@"

# Exact lengths, raw on standard output and into a file.
for n in 0 1 7 1000 65535 65536 65537 1048576; do
    "$KRY" rand "$n" > raw.bin
    expect_status "rand $n" 0 $?
    expect_eq "rand $n length" "$n" "$(wc -c < raw.bin)"
    "$KRY" rand "$n" -o file.bin
    expect_status "rand $n -o" 0 $?
    expect_eq "rand $n -o length" "$n" "$(wc -c < file.bin)"
done
"$KRY" rand 33 --out=long.bin
expect_eq "rand --out=FILE length" 33 "$(wc -c < long.bin)"
"$KRY" rand 3000000 > big.bin
expect_eq "rand 3000000 length" 3000000 "$(wc -c < big.bin)"

# --hex: lowercase hex digits, 2N of them, one newline.
for n in 0 1 16 1000 100000; do
    "$KRY" rand "$n" --hex > hex.txt
    expect_status "rand $n --hex" 0 $?
    expect_eq "rand $n --hex lines" 1 "$(wc -l < hex.txt)"
    expect_eq "rand $n --hex bytes" "$((2 * n + 1))" "$(wc -c < hex.txt)"
    if [ "$n" -gt 0 ]; then
        if grep -Eq '^[0-9a-f]+$' hex.txt; then pass; else fail "rand $n --hex is not lowercase hex"; fi
    fi
done
"$KRY" rand --hex 8 -o hexfile.txt
if grep -Eq '^[0-9a-f]{16}$' hexfile.txt; then pass; else fail "rand --hex -o: '$(cat hexfile.txt)'"; fi

# Two outputs differ (and a long output is not one repeated chunk).
a=$("$KRY" rand 32 --hex)
b=$("$KRY" rand 32 --hex)
if [ "$a" != "$b" ]; then pass; else fail "two runs gave the same 32 bytes"; fi
head -c 65536 big.bin > first.bin
tail -c +65537 big.bin | head -c 65536 > second.bin
if cmp -s first.bin second.bin; then fail "64 KiB chunks repeat"; else pass; fi
# Not all one byte value: at least 250 of the 256 values in 1 MiB.
"$KRY" rand 1048576 > mib.bin
distinct=$(od -An -v -tu1 mib.bin | tr -s ' ' '\n' | grep -v '^$' | sort -u | wc -l)
if [ "$distinct" -ge 250 ]; then pass; else fail "1 MiB holds only $distinct byte values"; fi

# Proven mode works too.
"$KRY" --proven rand 20 > proven.bin
expect_status "rand in proven mode" 0 $?
expect_eq "rand in proven mode length" 20 "$(wc -c < proven.bin)"

# Refusals: not a decimal count -> status 1 with a message; bad command
# lines -> status 2.
for bad in abc -1 1.5 0x10 '' ' 5' 12abc 1099511627777 99999999999999999999 184467440737095516160; do
    "$KRY" rand -- "$bad" > out.bin 2> err.txt
    expect_status "rand '$bad'" 1 $?
    expect_grep "rand '$bad' message" "is not a byte count" err.txt
    if [ -s out.bin ]; then fail "rand '$bad' wrote output"; else pass; fi
done
"$KRY" rand > out.bin 2> err.txt
expect_status "rand without N" 2 $?
"$KRY" rand 1 2 > out.bin 2> err.txt
expect_status "rand with two counts" 2 $?
"$KRY" rand 5 --bogus > out.bin 2> err.txt
expect_status "rand unknown option" 2 $?
"$KRY" rand 5 -o > out.bin 2> err.txt
expect_status "rand -o without a file" 2 $?
"$KRY" rand 5 -o no/such/dir/x.bin > out.bin 2> err.txt
expect_status "rand into a missing directory" 1 $?
expect_grep "rand output error message" "cannot open the output" err.txt
out=$("$KRY" rand --help)
expect_status "rand --help" 0 $?
case $out in *usage*) pass ;; *) fail "rand --help prints no usage" ;; esac

kry_test_summary
