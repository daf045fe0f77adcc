#!/usr/bin/env bash
# Checks 'kry hmac' against OpenSSL's HMAC (and Python's hmac module for the
# empty key, which 'openssl dgst -mac HMAC' refuses): every digest OpenSSL
# has, keys shorter than, equal to and longer than the digest's block, files
# of several sizes and standard input; HAS-160 and MDC-2 for determinism and
# key dependence; the refusals with their messages and exit statuses.
#
#   usage: hmac.sh PATH/TO/kry

set -u

# shellcheck source-path=SCRIPTDIR source=lib/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
kry_test_init openssl python3 head od tr -- "$@"

: > empty.bin
printf 'Hi There' > hi.txt
head -c 63 /dev/urandom > r63.bin
head -c 1000 /dev/urandom > r1000.bin
head -c 65536 /dev/urandom > r65536.bin
head -c 200003 /dev/urandom > r200003.bin
FILES=(empty.bin hi.txt r63.bin r1000.bin r65536.bin r200003.bin)

head -c 1 /dev/urandom > k1.bin
head -c 64 /dev/urandom > k64.bin
head -c 65 /dev/urandom > k65.bin
head -c 129 /dev/urandom > k129.bin
head -c 200 /dev/urandom > k200.bin
KEYS=(k1.bin k64.bin k65.bin k129.bin k200.bin)

# ---------------------------------------------------------------------------
# RFC 2202 / RFC 4231 test case 2 (key "Jefe").
printf 'what do ya want for nothing?' > jefe.txt
actual=$("$KRY" hmac -a sha1 -k 4a656665 jefe.txt)
expect_eq "RFC 2202 HMAC-SHA1 case 2" "effcdf6ae5eb2fa2d27416d5f184df9c259a7c79  jefe.txt" "$actual"
actual=$("$KRY" hmac -a sha256 -k 4a656665 < jefe.txt)
expect_eq "RFC 4231 HMAC-SHA256 case 2 (stdin)" \
    "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843  -" "$actual"
actual=$("$KRY" hmac -a md5 -k 4a656665 jefe.txt)
expect_eq "RFC 2104 HMAC-MD5 (Jefe)" "750c783e6ab0b503eaa86e310a5db738  jefe.txt" "$actual"

# ---------------------------------------------------------------------------
# Against OpenSSL: every digest, every key length, every file.
for alg in sha1 sha224 sha256 sha384 sha512 md5; do
    for k in "${KEYS[@]}"; do
        hexkey=$(hex_of "$k")
        expected=""
        for f in "${FILES[@]}"; do
            mac=$(openssl dgst "-$alg" -mac HMAC -macopt "hexkey:$hexkey" -r "$f" | cut -d' ' -f1)
            expected+="$mac  $f"$'\n'
        done
        actual=$("$KRY" hmac -a "$alg" -k "$hexkey" "${FILES[@]}")
        expect_status "$alg key $k" 0 $?
        expect_eq "$alg key $k matches openssl" "${expected%$'\n'}" "$actual"
    done
    # The key as a file gives the same result as the key in hex.
    actual=$("$KRY" hmac -a "$alg" --key-file k65.bin r1000.bin)
    expected=$("$KRY" hmac -a "$alg" -k "$(hex_of k65.bin)" r1000.bin)
    expect_eq "$alg --key-file equals -k" "$expected" "$actual"
    # Standard input, implicit and as '-'.
    mac=$(openssl dgst "-$alg" -mac HMAC -macopt "hexkey:$(hex_of k64.bin)" -r r200003.bin | cut -d' ' -f1)
    actual=$("$KRY" hmac -a "$alg" -k "$(hex_of k64.bin)" < r200003.bin)
    expect_eq "$alg stdin matches openssl" "$mac  -" "$actual"
    actual=$("$KRY" hmac -a "$alg" --key-file k64.bin - < r200003.bin)
    expect_eq "$alg '-' matches openssl" "$mac  -" "$actual"
    # The empty key (python's hmac module: openssl refuses an empty hexkey).
    expected=$(python3 -c 'import hashlib, hmac, sys
print(hmac.new(b"", open(sys.argv[2], "rb").read(), getattr(hashlib, sys.argv[1])).hexdigest())' \
        "$alg" r1000.bin)
    actual=$("$KRY" hmac -a "$alg" -k "" r1000.bin)
    expect_eq "$alg empty key (-k '')" "$expected  r1000.bin" "$actual"
    actual=$("$KRY" hmac -a "$alg" --key-file empty.bin r1000.bin)
    expect_eq "$alg empty key file" "$expected  r1000.bin" "$actual"
done

# ---------------------------------------------------------------------------
# HAS-160 and MDC-2: no oracle; deterministic, keyed, of the right length.
for entry in has160:40 HAS-160:40 mdc2:32 MDC-2:32; do
    alg=${entry%%:*}
    len=${entry#*:}
    one=$("$KRY" hmac -a "$alg" -k 0011 r1000.bin)
    expect_status "$alg runs" 0 $?
    two=$("$KRY" hmac -a "$alg" -k 0011 < r1000.bin)
    expect_eq "$alg deterministic (file and stdin)" "${one%% *}" "${two%% *}"
    other=$("$KRY" hmac -a "$alg" -k 0012 r1000.bin)
    if [ "${one%% *}" != "${other%% *}" ]; then pass; else fail "$alg ignores the key"; fi
    digest=$("$KRY" dgst -a "$alg" r1000.bin)
    if [ "${one%% *}" != "${digest%% *}" ]; then pass; else fail "$alg HMAC equals the plain digest"; fi
    hex=${one%% *}
    expect_eq "$alg tag length" "$len" "${#hex}"
    long=$("$KRY" hmac -a "$alg" --key-file k200.bin empty.bin r65536.bin)
    expect_status "$alg long key, two files" 0 $?
    expect_eq "$alg long key, two lines" 2 "$(printf '%s\n' "$long" | wc -l)"
done

# Names holding a backslash are escaped as dgst does.
cp hi.txt 'back\slash.txt'
actual=$("$KRY" hmac -a sha256 -k 4a656665 'back\slash.txt')
case $actual in
    '\'*'  back\\slash.txt') pass ;;
    *) fail "escaped name: '$actual'" ;;
esac

# ---------------------------------------------------------------------------
# A missing file is reported; the others are still printed; status 1.
"$KRY" hmac -a sha1 -k 00 hi.txt missing.bin jefe.txt > out.txt 2> err.txt
expect_status "missing file" 1 $?
expect_eq "lines around a missing file" 2 "$(wc -l < out.txt)"
expect_grep "missing file message" '^kry: missing.bin: No such file' err.txt

# Refusals.
"$KRY" hmac -a sha256 -k 00zz hi.txt > out.txt 2> err.txt
expect_status "bad hex key" 1 $?
expect_grep "bad hex key message" "^kry: hmac: bad hex in the key: 'z' is not a hex digit" err.txt
if [ -s out.txt ]; then fail "bad hex key wrote to stdout"; else pass; fi
"$KRY" hmac -a sha256 -k 123 hi.txt > out.txt 2> err.txt
expect_status "odd hex key" 1 $?
expect_grep "odd hex key message" "bad hex in the key: odd number of hex digits" err.txt
"$KRY" hmac -a sha256 hi.txt > out.txt 2> err.txt
expect_status "missing key" 2 $?
expect_grep "missing key message" "a key is needed" err.txt
"$KRY" hmac -a sha256 -k 00 --key-file k1.bin hi.txt > out.txt 2> err.txt
expect_status "two keys" 2 $?
"$KRY" hmac -a sha256 --key-file nokey.bin hi.txt > out.txt 2> err.txt
expect_status "missing key file" 1 $?
expect_grep "missing key file message" "cannot read the key file: nokey.bin" err.txt
"$KRY" hmac -a sha1 --key-file - < k1.bin > out.txt 2> err.txt
expect_status "key and data both on stdin" 2 $?
expect_grep "key and data both on stdin message" "cannot both come from standard input" err.txt
actual=$("$KRY" hmac -a sha1 --key-file - jefe.txt < k1.bin)
expected=$("$KRY" hmac -a sha1 -k "$(hex_of k1.bin)" jefe.txt)
expect_eq "key from stdin, data from a file" "$expected" "$actual"
"$KRY" hmac -a sha3 -k 00 hi.txt > out.txt 2> err.txt
expect_status "unknown algorithm" 1 $?
expect_grep "unknown algorithm message" "unknown digest algorithm 'sha3'" err.txt
"$KRY" hmac -k 00 hi.txt > out.txt 2> err.txt
expect_status "no algorithm" 2 $?
"$KRY" hmac -a sha1 -k 00 -x hi.txt > out.txt 2> err.txt
expect_status "unknown option" 2 $?

# Proven mode: HMAC over MD5 is not approved.
"$KRY" --proven hmac -a md5 -k 00 hi.txt > out.txt 2> err.txt
expect_status "proven md5" 1 $?
expect_grep "proven md5 message" "refused in proven mode" err.txt
actual=$("$KRY" --proven hmac -a sha256 -k 4a656665 jefe.txt 2>&1)
expect_eq "proven sha256" "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843  jefe.txt" "$actual"

# Help and listing.
out=$("$KRY" hmac --help)
expect_status "hmac --help" 0 $?
case $out in *usage*) pass ;; *) fail "hmac --help prints no usage" ;; esac
out=$("$KRY" hmac -l)
expect_status "hmac -l" 0 $?
expect_eq "hmac -l lists 8 digests" 8 "$(printf '%s\n' "$out" | wc -l)"

kry_test_summary
