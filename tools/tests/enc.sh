#!/usr/bin/env bash
# Checks 'kry enc' and 'kry dec': every cipher and mode round trip over
# several input sizes, byte equality with 'openssl enc -K -iv' in both
# directions wherever OpenSSL has the cipher, --nopad, known answers for the
# ciphers OpenSSL lacks, every refusal with its message and exit status,
# proven mode, removal of a failed -out file, and that memory stays flat
# over a 256 MiB stream.
#
#   usage: enc.sh PATH/TO/kry

set -u

# shellcheck source-path=SCRIPTDIR source=lib/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
kry_test_init openssl python3 head od tr cmp /usr/bin/time -- "$@"

expect_same_file() {
    if cmp -s "$2" "$3"; then
        pass
    else
        fail "$1: $2 and $3 differ"
    fi
}
rand_hex() { head -c "$1" /dev/urandom | od -An -v -tx1 | tr -d ' \n'; }

# OpenSSL 3 keeps DES, Blowfish and SEED in its legacy provider.
OSSL=(openssl enc -provider legacy -provider default)
LEGACY=1
if ! printf x | "${OSSL[@]}" -e -des-ecb -K 0123456789abcdef > /dev/null 2>&1; then
    echo "enc.sh: note: OpenSSL's legacy provider is not available; DES, BF and SEED are checked round trip only" >&2
    OSSL=(openssl enc)
    LEGACY=0
fi

SIZES=(0 1 15 16 17 1000 65539)
for n in "${SIZES[@]}"; do head -c "$n" /dev/urandom > "p$n.bin"; done
OSSL_SIZES=(0 16 17 65539)

# name:key bytes:block bytes:OpenSSL prefix (empty: OpenSSL lacks it)
CIPHERS=(
    AES-128:16:16:aes-128 AES-192:24:16:aes-192 AES-256:32:16:aes-256
    ARIA-128:16:16:aria-128 ARIA-192:24:16:aria-192 ARIA-256:32:16:aria-256
    SEED:16:16:seed DES:8:8:des DES-EDE:16:8:des-ede DES-EDE3:24:8:des-ede3
    RC5:16:8: BF:16:8:bf RC2:8:8:
)

# openssl_has PREFIX MODE: whether 'openssl enc' offers the cipher here.
openssl_has() {
    [ -n "$1" ] || return 1
    printf 'x' | "${OSSL[@]}" -e "-$1-$2" -K "$KEY" ${IV:+-iv "$IV"} > /dev/null 2>&1
}

for entry in "${CIPHERS[@]}"; do
    IFS=: read -r name klen blen oname <<< "$entry"
    KEY=$(rand_hex "$klen")
    modes="ECB CBC CFB OFB CTR"
    [ "$name" = RC2 ] && modes="ECB CBC CFB OFB"
    for mode in $modes; do
        cipher=$name-$mode
        lmode=$(printf '%s' "$mode" | tr 'A-Z' 'a-z')
        if [ "$mode" = ECB ]; then IV=""; else IV=$(rand_hex "$blen"); fi
        ivopt=()
        [ -n "$IV" ] && ivopt=(--iv "$IV")
        have_ossl=0
        openssl_has "$oname" "$lmode" && have_ossl=1
        for n in "${SIZES[@]}"; do
            "$KRY" enc -c "$cipher" -k "$KEY" "${ivopt[@]}" -in "p$n.bin" -out c.bin 2> err.txt
            st=$?
            expect_status "$cipher enc size $n ($(head -c 200 err.txt))" 0 "$st"
            clen=$(wc -c < c.bin)
            case $mode in
                ECB | CBC) expected_len=$(( (n / blen + 1) * blen )) ;;
                *) expected_len=$n ;;
            esac
            expect_eq "$cipher size $n ciphertext length" "$expected_len" "$clen"
            "$KRY" dec -c "$cipher" -k "$KEY" "${ivopt[@]}" < c.bin > d.bin 2> err.txt
            expect_status "$cipher dec size $n ($(head -c 200 err.txt))" 0 $?
            expect_same_file "$cipher round trip size $n" "p$n.bin" d.bin
            if [ "$have_ossl" = 1 ] && [[ " ${OSSL_SIZES[*]} " == *" $n "* ]]; then
                "${OSSL[@]}" -e "-$oname-$lmode" -K "$KEY" ${IV:+-iv "$IV"} -in "p$n.bin" -out o.bin 2> /dev/null
                expect_same_file "$cipher size $n equals openssl enc" c.bin o.bin
                "${OSSL[@]}" -d "-$oname-$lmode" -K "$KEY" ${IV:+-iv "$IV"} -in c.bin -out od.bin 2> /dev/null
                expect_same_file "$cipher size $n: openssl decrypts kry's ciphertext" "p$n.bin" od.bin
                if [ "$n" = 17 ]; then
                    "$KRY" dec -c "$cipher" -k "$KEY" "${ivopt[@]}" -in o.bin -out kd.bin
                    expect_same_file "$cipher size $n: kry decrypts openssl's ciphertext" "p$n.bin" kd.bin
                fi
            fi
        done
        # OpenSSL has every mode but CTR of these ciphers (DES, BF and SEED
        # through its legacy provider): the comparison must have run.
        must_compare=0
        case $name in
            AES-* | ARIA-*) must_compare=1 ;;
            DES-EDE | DES-EDE3) [ "$mode" != CTR ] && must_compare=1 ;;
            DES | BF | SEED) [ "$mode" != CTR ] && [ "$LEGACY" = 1 ] && must_compare=1 ;;
        esac
        if [ "$must_compare" = 1 ] && [ "$have_ossl" = 0 ]; then
            fail "$cipher: openssl enc -$oname-$lmode is not available to compare with"
        else
            pass
        fi
        # --nopad with whole blocks (ECB and CBC).
        if [ "$mode" = ECB ] || [ "$mode" = CBC ]; then
            head -c $((blen * 4096 + blen * 3)) /dev/urandom > aligned.bin
            "$KRY" enc -c "$cipher" -k "$KEY" "${ivopt[@]}" --nopad -in aligned.bin -out cn.bin
            expect_status "$cipher --nopad enc" 0 $?
            expect_eq "$cipher --nopad length" "$(wc -c < aligned.bin)" "$(wc -c < cn.bin)"
            "$KRY" dec -c "$cipher" -k "$KEY" "${ivopt[@]}" --nopad -in cn.bin -out dn.bin
            expect_same_file "$cipher --nopad round trip" aligned.bin dn.bin
            if [ "$have_ossl" = 1 ]; then
                "${OSSL[@]}" -e "-$oname-$lmode" -K "$KEY" ${IV:+-iv "$IV"} -nopad -in aligned.bin -out on.bin 2> /dev/null
                expect_same_file "$cipher --nopad equals openssl -nopad" cn.bin on.bin
            fi
        fi
    done
done

# ---------------------------------------------------------------------------
# Known answers for the ciphers OpenSSL's enc lacks: RC5-32/12/16 (RFC 2040
# vectors) and FIPS 197 / RFC 5794 / RFC 4269 single blocks.
kat() {  # kat DESCRIPTION CIPHER KEY PLAINTEXT-HEX CIPHERTEXT-HEX
    printf '%s' "$4" | sed 's/../\\x&/g' | xargs -0 printf > kat_in.bin
    actual=$("$KRY" enc -c "$2" -k "$3" --nopad -in kat_in.bin | od -An -v -tx1 | tr -d ' \n')
    expect_eq "$1" "$5" "$actual"
}
kat "RC5 vector 1" rc5-ecb 00000000000000000000000000000000 0000000000000000 21a5dbee154b8f6d
kat "RC5 vector 2" rc5-ecb 915f4619be41b2516355a50110a9ce91 21a5dbee154b8f6d f7c013ac5b2b8952
kat "AES-128 FIPS 197 C.1" aes-128-ecb 000102030405060708090a0b0c0d0e0f \
    00112233445566778899aabbccddeeff 69c4e0d86a7b0430d8cdb78070b4c55a
kat "ARIA-128 RFC 5794" aria-128-ecb 000102030405060708090a0b0c0d0e0f \
    00112233445566778899aabbccddeeff d718fbd6ab644c739da95f3be6451778
kat "SEED RFC 4269 vector 1" seed-ecb 00000000000000000000000000000000 \
    000102030405060708090a0b0c0d0e0f 5ebac6e0054e166819aff1cc6d346cdb

# RC2 with 1024 effective key bits (what the library uses) is out of reach of
# 'openssl enc'; libcrypto's EVP interface can set the effective bits, so ask
# it through Python's ctypes.
cat > rc2_oracle.py <<'PY'
import ctypes, ctypes.util, sys
name = ctypes.util.find_library("crypto")
if name is None:
    sys.exit(3)
lib = ctypes.CDLL(name)
vp, cp, ip = ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int
lib.OSSL_PROVIDER_load.restype = vp
lib.OSSL_PROVIDER_load.argtypes = [vp, cp]
lib.EVP_CIPHER_fetch.restype = vp
lib.EVP_CIPHER_fetch.argtypes = [vp, cp, cp]
lib.EVP_CIPHER_CTX_new.restype = vp
lib.EVP_CipherInit_ex.argtypes = [vp, vp, vp, cp, cp, ip]
lib.EVP_CIPHER_CTX_set_key_length.argtypes = [vp, ip]
lib.EVP_CIPHER_CTX_ctrl.argtypes = [vp, ip, ip, vp]
lib.EVP_CIPHER_CTX_set_padding.argtypes = [vp, ip]
lib.EVP_CipherUpdate.argtypes = [vp, cp, ctypes.POINTER(ip), cp, ip]
lib.EVP_CipherFinal_ex.argtypes = [vp, cp, ctypes.POINTER(ip)]
if not lib.OSSL_PROVIDER_load(None, b"legacy") or not lib.OSSL_PROVIDER_load(None, b"default"):
    sys.exit(3)
mode, key, iv = sys.argv[1], bytes.fromhex(sys.argv[2]), bytes.fromhex(sys.argv[3])
data = open(sys.argv[4], "rb").read()
cipher = lib.EVP_CIPHER_fetch(None, ("RC2-" + mode).encode(), None)
ctx = lib.EVP_CIPHER_CTX_new()
if not cipher or not ctx:
    sys.exit(3)
ok = lib.EVP_CipherInit_ex(ctx, cipher, None, None, None, 1)
ok = ok and lib.EVP_CIPHER_CTX_set_key_length(ctx, len(key))
ok = ok and lib.EVP_CIPHER_CTX_ctrl(ctx, 3, 1024, None)  # EVP_CTRL_SET_RC2_KEY_BITS
ok = ok and lib.EVP_CipherInit_ex(ctx, None, None, key, iv or None, 1)
out = ctypes.create_string_buffer(len(data) + 16)
tail = ctypes.create_string_buffer(16)
n, m = ip(0), ip(0)
ok = ok and lib.EVP_CipherUpdate(ctx, out, ctypes.byref(n), data, len(data))
ok = ok and lib.EVP_CipherFinal_ex(ctx, tail, ctypes.byref(m))
if not ok:
    sys.exit(4)
sys.stdout.buffer.write(out.raw[:n.value] + tail.raw[:m.value])
PY
RC2_KEY=$(rand_hex 8)
RC2_IV=$(rand_hex 8)
if python3 rc2_oracle.py ECB "$RC2_KEY" "" p16.bin > /dev/null 2>&1; then
    pass
    for mode in ECB CBC CFB OFB; do
        iv=$RC2_IV
        ivopt=(--iv "$RC2_IV")
        [ $mode = ECB ] && { iv=""; ivopt=(); }
        for n in 0 1 17 1000 65539; do
            python3 rc2_oracle.py $mode "$RC2_KEY" "$iv" "p$n.bin" > o.bin
            "$KRY" enc -c rc2-$mode -k "$RC2_KEY" "${ivopt[@]}" -in "p$n.bin" -out c.bin
            expect_same_file "RC2-$mode size $n equals libcrypto's RC2 (1024 effective bits)" c.bin o.bin
        done
    done
else
    fail "RC2: libcrypto cannot be reached from python3 (ctypes), so RC2 cannot be compared"
fi

# ---------------------------------------------------------------------------
# Names without regard to case, CFB's segment spelled out, stdin/stdout and
# the long option forms.
K16=000102030405060708090a0b0c0d0e0f
IV16=f0e0d0c0b0a090807060504030201000
"$KRY" enc -c AES-128-CFB -k $K16 --iv $IV16 -in p1000.bin -out ref.bin
for spelling in aes-128-cfb Aes-128-Cfb AES-128-CFB128 aes128-cfb; do
    "$KRY" enc -c "$spelling" -k $K16 --iv $IV16 < p1000.bin > alt.bin
    expect_same_file "spelling '$spelling'" ref.bin alt.bin
done
"$KRY" enc --cipher=aes-128-cfb --key=$K16 --iv=$IV16 --in p1000.bin --out alt.bin
expect_same_file "long options with '='" ref.bin alt.bin
"$KRY" enc -c des-cfb64 -k 0123456789abcdef --iv 0011223344556677 -in p17.bin -out a.bin
"$KRY" enc -c DES-CFB -k 0123456789abcdef --iv 0011223344556677 -in p17.bin -out b.bin
expect_same_file "DES-CFB64 is DES-CFB" a.bin b.bin
"$KRY" enc -c blowfish-cbc -k $K16 --iv 0011223344556677 -in p17.bin -out a.bin
"$KRY" enc -c BF-CBC -k $K16 --iv 0011223344556677 -in p17.bin -out b.bin
expect_same_file "BLOWFISH-CBC is BF-CBC" a.bin b.bin
# Key from a file of raw bytes.
printf '\000\001\002\003\004\005\006\007\010\011\012\013\014\015\016\017' > key16.bin
"$KRY" enc -c aes-128-cfb --key-file key16.bin --iv $IV16 -in p1000.bin -out alt.bin
expect_same_file "--key-file" ref.bin alt.bin

# A stream larger than many chunks, through pipes, against OpenSSL.
head -c 3000001 /dev/urandom > big.bin
for c in aes-256-cbc aria-192-ctr des-ede3-cbc; do
    case $c in
        aes-256*) k=$(rand_hex 32); iv=$(rand_hex 16) ;;
        aria-192*) k=$(rand_hex 24); iv=$(rand_hex 16) ;;
        des-ede3*) k=$(rand_hex 24); iv=$(rand_hex 8) ;;
    esac
    cat big.bin | "$KRY" enc -c "$c" -k "$k" --iv "$iv" | cat > kbig.bin
    "${OSSL[@]}" -e "-$c" -K "$k" -iv "$iv" -in big.bin -out obig.bin
    expect_same_file "$c over 3 MB through pipes equals openssl" kbig.bin obig.bin
    "$KRY" dec -c "$c" -k "$k" --iv "$iv" -in kbig.bin | cmp -s - big.bin
    expect_status "$c over 3 MB round trip" 0 $?
done

# ---------------------------------------------------------------------------
# Refusals: message text and exit status.
KEY=$K16
refuse() {  # refuse DESCRIPTION STATUS PATTERN ARGS...
    local what=$1 status=$2 pattern=$3
    shift 3
    "$KRY" "$@" > out.bin 2> err.txt
    expect_status "$what" "$status" $?
    expect_grep "$what message" "$pattern" err.txt
    if [ "$(wc -l < err.txt)" -le 2 ]; then pass; else fail "$what: more than one message: $(cat err.txt)"; fi
}
refuse "short key" 1 "^kry: enc: the key is 15 bytes; AES-128-CBC needs 16 bytes$" \
    enc -c aes-128-cbc -k 000102030405060708090a0b0c0d0e --iv $IV16 -in p16.bin
refuse "long key" 1 "the key is 17 bytes; AES-128-CBC needs 16 bytes" \
    enc -c aes-128-cbc -k ${K16}00 --iv $IV16 -in p16.bin
refuse "DES-EDE3 key of 16 bytes" 1 "the key is 16 bytes; DES-EDE3-CBC needs 24 bytes" \
    dec -c des-ede3-cbc -k $K16 --iv 0011223344556677 -in p16.bin
refuse "key file of the wrong length" 1 "the key is 1 byte; SEED-CBC needs 16 bytes" \
    enc -c seed-cbc --key-file p1.bin --iv $IV16 -in p16.bin
refuse "missing IV" 1 "^kry: enc: AES-128-CBC needs an IV: --iv HEX (16 bytes)$" \
    enc -c aes-128-cbc -k $KEY -in p16.bin
refuse "missing IV (CTR)" 1 "ARIA-256-CTR needs an IV" \
    dec -c aria-256-ctr -k ${K16}${K16} -in p16.bin
refuse "short IV" 1 "the IV is 8 bytes; AES-128-OFB needs 16 bytes" \
    enc -c aes-128-ofb -k $KEY --iv 0011223344556677 -in p16.bin
refuse "long IV for DES" 1 "the IV is 16 bytes; DES-CBC needs 8 bytes" \
    enc -c des-cbc -k 0123456789abcdef --iv $IV16 -in p16.bin
refuse "IV with ECB" 1 "^kry: enc: AES-128-ECB takes no IV$" \
    enc -c aes-128-ecb -k $KEY --iv $IV16 -in p16.bin
refuse "bad hex key" 1 "^kry: enc: bad hex in the key: 'g' is not a hex digit$" \
    enc -c aes-128-cbc -k 000102030405060708090a0b0c0d0e0g --iv $IV16 -in p16.bin
refuse "odd hex key" 1 "bad hex in the key: odd number of hex digits" \
    enc -c aes-128-cbc -k 0001020 --iv $IV16 -in p16.bin
refuse "bad hex IV" 1 "^kry: dec: bad hex in the IV: 'x' is not a hex digit$" \
    dec -c aes-128-cbc -k $KEY --iv 0x00x1 -in p16.bin
refuse "unknown cipher" 1 "^kry: enc: unknown cipher 'twofish-cbc' (see 'kry enc -l')$" \
    enc -c twofish-cbc -k $KEY --iv $IV16 -in p16.bin
refuse "unknown mode" 1 "^kry: enc: unknown mode 'GCM' for AES-128" \
    enc -c AES-128-GCM -k $KEY --iv $IV16 -in p16.bin
refuse "CFB8 is not offered" 1 "unknown mode 'cfb8' for AES-128" \
    enc -c aes-128-cfb8 -k $KEY --iv $IV16 -in p16.bin
refuse "CFB128 for an 8-byte block" 1 "unknown mode 'CFB128' for DES" \
    enc -c DES-CFB128 -k 0123456789abcdef --iv 0011223344556677 -in p16.bin
refuse "RC2 has no CTR" 1 "^kry: enc: RC2 has no CTR mode$" \
    enc -c rc2-ctr -k 0123456789abcdef --iv 0011223344556677 -in p16.bin
refuse "no mode" 1 "no mode in cipher name 'aes-128'" \
    enc -c aes-128 -k $KEY -in p16.bin
refuse "--nopad with a stream mode" 1 "applies to ECB and CBC only" \
    enc -c aes-128-ctr -k $KEY --iv $IV16 --nopad -in p16.bin
refuse "--nopad with unaligned input" 1 \
    "^kry: enc: the input is 17 bytes, not a multiple of the 16-byte block (needed with --nopad)$" \
    enc -c aes-128-cbc -k $KEY --iv $IV16 --nopad -in p17.bin
refuse "missing input file" 1 "^kry: enc: cannot open the input: nonexistent.bin: No such file" \
    enc -c aes-128-cbc -k $KEY --iv $IV16 -in nonexistent.bin
refuse "no cipher" 2 "a cipher is needed" enc -k $KEY --iv $IV16 -in p16.bin
refuse "no key" 2 "a key is needed" enc -c aes-128-cbc --iv $IV16 -in p16.bin
refuse "two keys" 2 "not both" enc -c aes-128-cbc -k $KEY --key-file key16.bin --iv $IV16 -in p16.bin
refuse "key and input both on stdin" 2 "cannot both come from standard input" \
    enc -c aes-128-cbc --key-file - --iv $IV16
refuse "unknown option" 2 "unknown option '--bogus'" enc -c aes-128-cbc -k $KEY --bogus -in p16.bin
refuse "positional argument" 2 "unexpected argument 'p16.bin'" enc -c aes-128-cbc -k $KEY --iv $IV16 p16.bin
cp p1000.bin same.bin
refuse "same input and output" 1 "the input and the output are the same file" \
    enc -c aes-128-cbc -k $KEY --iv $IV16 -in same.bin -out same.bin
expect_same_file "same file left alone" p1000.bin same.bin

# Decryption failures, each with its own message; -out is removed.  The
# plaintexts are fixed: a random one decrypts under a wrong key (or its cut
# ciphertext under the right one) to a valid padding about once in 256 runs.
yes 'kry dec refusal' | head -c 1000 > fixed1000.bin
yes 'kry dec refusal' | head -c 3000001 > fixedbig.bin
"$KRY" enc -c aes-128-cbc -k $KEY --iv $IV16 -in fixed1000.bin -out c.bin
head -c 1000 c.bin > truncated.bin
head -c 992 c.bin > short_block.bin
WRONG=ff0102030405060708090a0b0c0d0e0f
refuse "wrong key" 1 "^kry: dec: bad padding: wrong key or IV, or a corrupted or truncated ciphertext$" \
    dec -c aes-128-cbc -k $WRONG --iv $IV16 -in c.bin -out plain.bin
if [ -e plain.bin ]; then fail "wrong key: -out file left behind"; else pass; fi
refuse "ciphertext cut inside a block" 1 \
    "^kry: dec: the ciphertext is 1000 bytes, not a multiple of the 16-byte block: truncated or not AES-128-CBC ciphertext$" \
    dec -c aes-128-cbc -k $KEY --iv $IV16 -in truncated.bin -out plain.bin
if [ -e plain.bin ]; then fail "truncated: -out file left behind"; else pass; fi
refuse "ciphertext cut at a block boundary" 1 "bad padding" \
    dec -c aes-128-cbc -k $KEY --iv $IV16 -in short_block.bin -out plain.bin
if [ -e plain.bin ]; then fail "cut at a block: -out file left behind"; else pass; fi
refuse "empty ciphertext" 1 "the ciphertext is empty" \
    dec -c aes-128-ecb -k $KEY -in p0.bin -out plain.bin
if [ -e plain.bin ]; then fail "empty: -out file left behind"; else pass; fi
refuse "--nopad ciphertext cut inside a block" 1 "not a multiple of the 8-byte block" \
    dec -c des-ecb -k 0123456789abcdef --nopad -in p17.bin -out plain.bin
if [ -e plain.bin ]; then fail "nopad truncated: -out file left behind"; else pass; fi
# A large failed decryption removes its partly written output as well.
"$KRY" enc -c seed-cbc -k $KEY --iv $IV16 -in fixedbig.bin -out cbig.bin
refuse "wrong key over 3 MB" 1 "bad padding" dec -c seed-cbc -k $WRONG --iv $IV16 -in cbig.bin -out plain.bin
if [ -e plain.bin ]; then fail "wrong key over 3 MB: -out file left behind"; else pass; fi
# A failed run never removes a device given as -out.
"$KRY" dec -c aes-128-cbc -k $WRONG --iv $IV16 -in c.bin -out /dev/null 2> /dev/null
expect_status "wrong key into /dev/null" 1 $?
if [ -c /dev/null ]; then pass; else fail "/dev/null was removed"; fi

# ---------------------------------------------------------------------------
# Proven mode: only ARIA and SEED (not in CTR).
refuse "AES in proven mode" 1 "^kry: enc: AES-128-CBC is refused in proven mode$" \
    --proven enc -c AES-128-CBC -k $KEY --iv $IV16 -in p16.bin
refuse "DES-EDE3 in proven mode" 1 "DES-EDE3-ECB is refused in proven mode" \
    --proven dec -c des-ede3-ecb -k ${K16}0011223344556677 -in p16.bin
refuse "ARIA-CTR in proven mode" 1 "ARIA-128-CTR is refused in proven mode" \
    --proven enc -c aria-128-ctr -k $KEY --iv $IV16 -in p16.bin
refuse "SEED-CTR in proven mode" 1 "SEED-CTR is refused in proven mode" \
    enc --proven -c seed-ctr -k $KEY --iv $IV16 -in p16.bin
for c in ARIA-128-ECB ARIA-128-CBC ARIA-192-CBC ARIA-256-CBC SEED-ECB SEED-CBC; do
    ivopt=()
    case $c in *-CBC) ivopt=(--iv $IV16) ;; esac
    k=$(rand_hex 16)
    case $c in ARIA-192*) k=$(rand_hex 24) ;; ARIA-256*) k=$(rand_hex 32) ;; esac
    "$KRY" --proven enc -c $c -k "$k" "${ivopt[@]}" -in p1000.bin -out pc.bin
    expect_status "$c in proven mode" 0 $?
    "$KRY" enc -c $c -k "$k" "${ivopt[@]}" -in p1000.bin -out npc.bin
    expect_same_file "$c proven equals non-proven" pc.bin npc.bin
    "$KRY" --proven dec -c $c -k "$k" "${ivopt[@]}" -in pc.bin -out pd.bin
    expect_same_file "$c proven round trip" p1000.bin pd.bin
done

# ---------------------------------------------------------------------------
# Help and the list.
for cmd in enc dec; do
    out=$("$KRY" $cmd --help)
    expect_status "$cmd --help" 0 $?
    case $out in *usage*) pass ;; *) fail "$cmd --help prints no usage" ;; esac
done
out=$("$KRY" enc -l)
expect_status "enc -l" 0 $?
expect_eq "enc -l lists 64 ciphers" 64 "$(printf '%s\n' "$out" | wc -l)"
for c in AES-128-ECB ARIA-256-CBC SEED-CTR DES-EDE3-CBC DES-EDE-OFB BF-CFB RC5-CTR RC2-OFB; do
    if printf '%s\n' "$out" | grep -q "^$c "; then pass; else fail "enc -l lacks $c"; fi
done
if printf '%s\n' "$out" | grep -q "^RC2-CTR "; then fail "enc -l lists RC2-CTR"; else pass; fi

# ---------------------------------------------------------------------------
# The progress bar: drawn when standard error is a terminal and the input a
# large regular file; never drawn for a pipe or when stderr is not a terminal.
head -c 9437184 /dev/zero > nine.bin
"$KRY" enc -c aes-128-ctr -k $KEY --iv $IV16 -in nine.bin -out nine.enc 2> err.txt
if [ -s err.txt ]; then fail "progress drawn without a terminal: $(cat err.txt)"; else pass; fi
if command -v script > /dev/null 2>&1; then
    script -qec "'$KRY' enc -c aes-128-ctr -k $KEY --iv $IV16 -in nine.bin -out nine2.enc" /dev/null > tty.txt 2>&1
    if tr '\r' '\n' < tty.txt | grep -q '^enc \[#*\] 100%'; then pass; else fail "no progress bar on a terminal: $(head -c 300 tty.txt)"; fi
    expect_same_file "output with the progress bar" nine.enc nine2.enc
    script -qec "cat nine.bin | '$KRY' dec -c aes-128-ctr -k $KEY --iv $IV16 > nine.dec" /dev/null > tty.txt 2>&1
    if grep -q '%' tty.txt; then fail "progress bar for a pipe of unknown size"; else pass; fi
fi

# ---------------------------------------------------------------------------
# Streaming: 256 MiB from a pipe; the resident size must stay far below it.
maxrss=$( { head -c 268435456 /dev/zero |
            /usr/bin/time -f 'RSS %M' "$KRY" enc -c aes-128-ctr -k $KEY --iv $IV16 > /dev/null; } 2>&1 |
          sed -n 's/^RSS //p')
if [ -n "$maxrss" ] && [ "$maxrss" -lt 102400 ]; then
    pass
else
    fail "256 MiB stream: maximum resident size '${maxrss:-?}' KiB is not below 100 MiB"
fi
out_len=$(head -c 33554432 /dev/zero | "$KRY" enc -c aria-128-cbc -k $KEY --iv $IV16 | wc -c)
expect_eq "32 MiB ARIA-128-CBC output length" 33554448 "$out_len"

kry_test_summary
