#!/usr/bin/env bash
# Generates a key of each type at kry's default sizes (RSA 2048, DSA 1024,
# KCDSA 2048/224), checks the sizes keyinfo reports, then signs and verifies
# with each, and checks RSA encryption at 2048 bits.
#
#   usage: pubkey_slow.sh PATH/TO/kry
#
# Exits non-zero when any check fails.

set -u

# shellcheck source-path=SCRIPTDIR source=lib/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
kry_test_init -- "$@"

export KRY_TEST_PW='slow test password'
P=(--pass env:KRY_TEST_PW)
head -c 1000000 /dev/urandom > data.bin
cp data.bin tampered.bin
printf '\001' | dd of=tampered.bin bs=1 seek=999999 conv=notrunc 2> /dev/null
cmp -s data.bin tampered.bin && printf '\002' | dd of=tampered.bin bs=1 seek=999999 conv=notrunc 2> /dev/null

for t in rsa dsa kcdsa; do
    start=$(date +%s.%N)
    "$KRY" genkey "$t" -o "$t.key" "${P[@]}"
    expect_status "genkey $t (default size)" 0 $?
    end=$(date +%s.%N)
    echo "pubkey_slow.sh: genkey $t took $(echo "$end - $start" | bc 2> /dev/null || echo '?') s"
    "$KRY" keyinfo "$t.key" "${P[@]}" > info.txt
    expect_status "keyinfo $t" 0 $?
    case $t in
        rsa)
            # Two 1024-bit primes with their top bit set: 2047 or 2048 bits.
            case $(sed -n 3p info.txt) in
                "modulus bits: 2048" | "modulus bits: 2047") pass ;;
                *) fail "rsa default modulus: $(sed -n 3p info.txt)" ;;
            esac
            ;;
        dsa)
            expect_eq "dsa default p bits" "p bits: 1024" "$(sed -n 3p info.txt)"
            expect_eq "dsa default q bits" "q bits: 160" "$(sed -n 4p info.txt)"
            ;;
        kcdsa)
            expect_eq "kcdsa default p bits" "p bits: 2048" "$(sed -n 3p info.txt)"
            expect_eq "kcdsa default q bits" "q bits: 224" "$(sed -n 4p info.txt)"
            ;;
    esac
    "$KRY" sign -k "$t.key" "${P[@]}" data.bin -o "$t.sig"
    expect_status "sign $t" 0 $?
    out=$("$KRY" verify -k "$t.key" "${P[@]}" data.bin "$t.sig")
    expect_status "verify $t" 0 $?
    expect_eq "verify $t prints Signature OK" "Signature OK" "$out"
    err=$("$KRY" verify -k "$t.key" "${P[@]}" tampered.bin "$t.sig" 2>&1 > /dev/null)
    expect_status "verify $t of a tampered file" 1 $?
    expect_eq "verify $t of a tampered file: message" "kry: verify: the signature does not verify" "$err"
done
expect_eq "rsa 2048 signature length" 256 "$(stat -c %s rsa.sig)"

# RSA encryption at 2048 bits: OAEP carries 256 - 42 = 214 bytes.
head -c 214 /dev/urandom > m214.bin
head -c 215 /dev/urandom > m215.bin
"$KRY" encrypt -k rsa.key "${P[@]}" -in m214.bin -out c.bin
expect_status "encrypt 214 bytes" 0 $?
"$KRY" decrypt -k rsa.key "${P[@]}" -in c.bin -out d.bin
if cmp -s m214.bin d.bin; then pass; else fail "2048-bit OAEP round trip"; fi
err=$("$KRY" encrypt -k rsa.key "${P[@]}" -in m215.bin -out x.bin 2>&1)
expect_eq "215 bytes refused" "kry: encrypt: message too long: at most 214 bytes for this key and encoding" "$err"

kry_test_summary
