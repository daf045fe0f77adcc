#!/usr/bin/env bash
# Checks the kry commands selftest, kat and speed: the self-test's result
# number and exit status in and out of proven mode, the known-answer table
# (a PASS row for every algorithm, refusals in proven mode, selection of
# rows), and the speed lines and their argument handling.
#
#   usage: check.sh PATH/TO/kry
#
# Exits non-zero when any check fails.

set -u

# shellcheck source-path=SCRIPTDIR source=lib/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
kry_test_init grep awk wc -- "$@"

# The RESULT column of the row ALGORITHM in a kat table: the table has
# fixed columns (12 and 32 characters, one space between), RESULT from 47.
row_result() {
    awk -v alg="$1" '$1 == alg { print substr($0, 47); exit }' "$2"
}

# ---------------------------------------------------------------------------
# selftest: outside proven mode the run ends at the HMAC check with 46.
"$KRY" selftest > st.txt 2> st.err
expect_status "selftest" 0 $?
expect_egrep "selftest reports 46" '^result: .*\(46\)$' st.txt
expect_egrep "selftest explains 46" 'ends at its HMAC check by design \(46\)' st.txt
expect_egrep "selftest names its mode" '^self-test in non-proven mode$' st.txt
if grep -q 'CHECK' st.txt; then fail "selftest without -v prints progress lines"; else pass; fi

# -v shows the self-test's own lines, the last of them "HMAC CHECK 0".
"$KRY" selftest -v > stv.txt 2> stv.err
expect_status "selftest -v" 0 $?
for step in FLAGS CONTEXT VERSION PRNG; do
    expect_egrep "selftest -v: $step passed" "^$step CHECK 1\$" stv.txt
done
expect_eq "selftest -v: last progress line" "HMAC CHECK 0" "$(grep 'CHECK' stv.txt | tail -n 1)"
if grep -q '^HMAC CHECK 1$' stv.txt; then fail "selftest -v: HMAC step reported as passed"; else pass; fi

# In proven mode the HMAC step's MD5 HMAC is refused: 50.
"$KRY" --proven selftest -v > stp.txt 2> stp.err
expect_status "--proven selftest" 0 $?
expect_egrep "--proven selftest reports 50" '^result: .*\(50\)$' stp.txt
expect_egrep "--proven selftest names its mode" '^self-test in proven mode$' stp.txt
expect_eq "--proven selftest -v: last progress line" "HMAC CHECK 0" "$(grep 'CHECK' stp.txt | tail -n 1)"

# A second run gives the same outcome.
"$KRY" selftest > /dev/null 2>&1
expect_status "selftest again" 0 $?

"$KRY" selftest extra > /dev/null 2>&1
expect_status "selftest with an argument" 2 $?
"$KRY" selftest --bogus > /dev/null 2>&1
expect_status "selftest with an unknown option" 2 $?
"$KRY" selftest --help > help.txt 2>&1
expect_status "selftest --help" 0 $?
expect_egrep "selftest --help" '^usage: kry \[--proven\] selftest' help.txt

# ---------------------------------------------------------------------------
# kat: every algorithm has a row, every row passes.
ALL_ROWS="SHA-1 SHA-224 SHA-256 SHA-384 SHA-512 MD5 HAS-160 MDC-2
AES-128 AES-192 AES-256 AES-128-CBC AES-128-CFB AES-128-OFB AES-128-CTR
ARIA-128 ARIA-192 ARIA-256 SEED DES DES-EDE2 DES-EDE3 RC5 BLOWFISH RC2 RC4
HMAC-MD5 HMAC-SHA1 HMAC-SHA224 HMAC-SHA256 HMAC-SHA384 HMAC-SHA512
CBC-MAC DES-MAC RSA-PKCS1 RSA-PSS RSA-OAEP DSA KCDSA PRNG"
# Approved in proven mode: these pass there, every other row is refused.
APPROVED="SHA-1 SHA-256 SHA-384 SHA-512 HAS-160 ARIA-128 ARIA-192 ARIA-256 SEED RC4
HMAC-SHA1 HMAC-SHA256 HMAC-SHA384 HMAC-SHA512 RSA-PKCS1 RSA-PSS RSA-OAEP KCDSA PRNG"
row_count=$(echo $ALL_ROWS | wc -w)

"$KRY" kat > kat.txt 2> kat.err
expect_status "kat" 0 $?
expect_eq "kat header" "ALGORITHM SOURCE RESULT" "$(head -n 1 kat.txt | tr -s ' ')"
for alg in $ALL_ROWS; do
    expect_eq "kat row $alg" "PASS" "$(row_result "$alg" kat.txt)"
done
expect_eq "kat row count" "$((row_count + 2))" "$(wc -l < kat.txt | tr -d ' ')"
expect_eq "kat summary" "$row_count passed, 0 failed" "$(tail -n 1 kat.txt)"
if grep -Eq 'FAIL|refused' kat.txt; then fail "kat output mentions FAIL or refused"; else pass; fi
# Every row names a source.
expect_eq "kat rows without a source" "0" \
    "$(awk 'NR > 1 && NF < 3 && !/passed/' kat.txt | wc -l | tr -d ' ')"

# One row by name, spelled in any case, with or without the hyphen.
for spelling in sha256 SHA-256 Sha256; do
    "$KRY" kat "$spelling" > one.txt 2> one.err
    expect_status "kat $spelling" 0 $?
    expect_eq "kat $spelling: only that row" "SHA-256 PASS" "$(sed -n 2p one.txt | awk '{print $1, $NF}')"
    expect_eq "kat $spelling: line count" "3" "$(wc -l < one.txt | tr -d ' ')"
done
# A family.
"$KRY" kat aes > fam.txt 2> fam.err
expect_status "kat aes" 0 $?
expect_eq "kat aes rows" "AES-128 AES-192 AES-256 AES-128-CBC AES-128-CFB AES-128-OFB AES-128-CTR" \
    "$(awk 'NR > 1 && !/passed/ {print $1}' fam.txt | tr '\n' ' ' | sed 's/ $//')"
# -v lists the checks of a row.
"$KRY" kat -v dsa > v.txt 2> v.err
expect_status "kat -v dsa" 0 $?
expect_egrep "kat -v dsa: signature check" '^ +ok +published signature satisfies v = r$' v.txt
expect_egrep "kat -v dsa: wrong signature check" '^ +ok +signature with one bit changed gives v != r$' v.txt

# Unknown names are refused with the list of names, nothing on stdout.
for bad in sha3 aes-512 ''; do
    "$KRY" kat "$bad" > bad.txt 2> bad.err
    expect_status "kat '$bad'" 2 $?
    if [ -s bad.txt ]; then fail "kat '$bad' wrote to stdout"; else pass; fi
    expect_egrep "kat '$bad' message" "^kry kat: unknown algorithm '$bad'; known: SHA-1 " bad.err
done
"$KRY" kat sha1 nosuch > bad.txt 2> bad.err
expect_status "kat with one unknown name among known ones" 2 $?
"$KRY" kat --bogus > /dev/null 2>&1
expect_status "kat with an unknown option" 2 $?
"$KRY" kat -h > help.txt 2>&1
expect_status "kat -h" 0 $?
expect_egrep "kat -h" '^usage: kry \[--proven\] kat' help.txt

# Proven mode: approved algorithms pass, the others are refused, exit 0.
"$KRY" --proven kat > kp.txt 2> kp.err
expect_status "--proven kat" 0 $?
for alg in $ALL_ROWS; do
    expected="refused (proven mode)"
    for ok in $APPROVED; do
        [ "$alg" = "$ok" ] && expected=PASS
    done
    expect_eq "--proven kat row $alg" "$expected" "$(row_result "$alg" kp.txt)"
done
approved_count=$(echo $APPROVED | wc -w)
expect_eq "--proven kat summary" \
    "$approved_count passed, 0 failed, $((row_count - approved_count)) refused in proven mode" \
    "$(tail -n 1 kp.txt)"

# ---------------------------------------------------------------------------
# speed: one line per algorithm with a positive number.
"$KRY" speed sha256 aes-128-cbc --seconds 0.05 > sp.txt 2> sp.err
expect_status "speed sha256 aes-128-cbc" 0 $?
expect_eq "speed line count" "2" "$(wc -l < sp.txt | tr -d ' ')"
expect_egrep "speed sha256 line" '^sha256 +[0-9]+\.[0-9]+ MB/s$' sp.txt
expect_egrep "speed aes-128-cbc line" '^aes-128-cbc +[0-9]+\.[0-9]+ MB/s$' sp.txt
expect_eq "speed numbers positive" "2" "$(awk '$2 + 0 > 0' sp.txt | wc -l | tr -d ' ')"

# Public-key lines: signatures and verifications per second.
"$KRY" speed RSA-2048 dsa-1024 kcdsa --seconds=0.05 > pk.txt 2> pk.err
expect_status "speed rsa-2048 dsa-1024 kcdsa" 0 $?
for alg in rsa-2048 dsa-1024 kcdsa; do
    expect_egrep "speed $alg line" "^$alg +[0-9]+\.[0-9] sign/s +[0-9]+\.[0-9] verify/s\$" pk.txt
done
expect_eq "speed sign and verify rates positive" "3" "$(awk '$2 + 0 > 0 && $4 + 0 > 0' pk.txt | wc -l | tr -d ' ')"

# RC4, HMAC and a CTR mode.
"$KRY" speed rc4 hmac-sha256 seed-ctr -s 0.02 > misc.txt 2> misc.err
expect_status "speed rc4 hmac-sha256 seed-ctr" 0 $?
expect_eq "speed rc4/hmac/ctr lines" "3" "$(grep -Ec ' [0-9]+\.[0-9]+ MB/s$' misc.txt)"

# Proven mode: a refused algorithm says so; an approved one measures.
"$KRY" --proven speed aes-128-cbc aria-128-cbc --seconds 0.02 > spp.txt 2> spp.err
expect_status "--proven speed" 0 $?
expect_egrep "--proven speed aes-128-cbc refused" '^aes-128-cbc +refused \(proven mode\)$' spp.txt
expect_egrep "--proven speed aria-128-cbc measured" '^aria-128-cbc +[0-9]+\.[0-9]+ MB/s$' spp.txt

# KCDSA signing draws k from the HAS-160 generator, which proven mode
# refuses; its verification is still measured.
"$KRY" --proven speed kcdsa --seconds 0.02 > spk.txt 2> spk.err
expect_status "--proven speed kcdsa" 0 $?
expect_egrep "--proven speed kcdsa line" '^kcdsa +- sign/s +[0-9]+\.[0-9] verify/s \(signing refused in proven mode' spk.txt

# Unknown names and bad --seconds are refused.
"$KRY" speed sha256 nosuch --seconds 0.05 > bad.txt 2> bad.err
expect_status "speed unknown name" 2 $?
if [ -s bad.txt ]; then fail "speed unknown name wrote to stdout"; else pass; fi
expect_egrep "speed unknown name message" "^kry speed: unknown algorithm 'nosuch'; known: sha1 " bad.err
for secs in abc 0 -1 1e9 nan inf '' 0.1x; do
    "$KRY" speed sha256 --seconds "$secs" > bad.txt 2> bad.err
    expect_status "speed --seconds '$secs'" 2 $?
    expect_egrep "speed --seconds '$secs' message" '^kry speed: --seconds takes a number' bad.err
done
"$KRY" speed sha256 --seconds > /dev/null 2>&1
expect_status "speed --seconds without a value" 2 $?
"$KRY" speed --help > help.txt 2>&1
expect_status "speed --help" 0 $?
expect_egrep "speed --help" '^usage: kry \[--proven\] speed' help.txt

# ---------------------------------------------------------------------------
kry_test_summary
