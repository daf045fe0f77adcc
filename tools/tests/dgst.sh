#!/usr/bin/env bash
# Checks the kry command-line tool against coreutils (sha*sum, md5sum) and
# rhash (HAS-160), plus its argument handling and exit statuses.
#
#   usage: dgst.sh PATH/TO/kry
#
# Exits non-zero when any check fails.

set -u

# shellcheck source-path=SCRIPTDIR source=lib/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
kry_test_init sha1sum sha224sum sha256sum sha384sum sha512sum md5sum rhash head cmp -- "$@"

# ---------------------------------------------------------------------------
# Inputs: empty, tiny, around the 64 KiB read size and a few MB of random data.
: > empty.bin
printf 'abc' > abc.txt
printf 'The quick brown fox jumps over the lazy dog\n' > fox.txt
head -c 65536 /dev/urandom > chunk.bin
head -c 65537 /dev/urandom > chunk_plus1.bin
head -c 3145731 /dev/urandom > random.bin
printf 'a\0b\r\n\377\0' > binary.bin
printf 'spaced name' > 'with space.txt'
FILES=(empty.bin abc.txt fox.txt chunk.bin chunk_plus1.bin random.bin binary.bin 'with space.txt')

# ---------------------------------------------------------------------------
# Files and standard input against coreutils.
for pair in sha1:sha1sum sha224:sha224sum sha256:sha256sum sha384:sha384sum \
            sha512:sha512sum md5:md5sum; do
    alg=${pair%%:*}
    ref=${pair#*:}

    expected=$("$ref" "${FILES[@]}")
    actual=$("$KRY" dgst -a "$alg" "${FILES[@]}")
    status=$?
    expect_status "$alg files" 0 "$status"
    expect_eq "$alg files match $ref" "$expected" "$actual"

    expected=$("$ref" < random.bin)
    actual=$("$KRY" dgst -a "$alg" < random.bin)
    expect_eq "$alg stdin (no file) matches $ref" "$expected" "$actual"

    expected=$("$ref" - < binary.bin)
    actual=$("$KRY" dgst -a "$alg" - < binary.bin)
    expect_eq "$alg stdin ('-') matches $ref" "$expected" "$actual"

    expected=$(printf '' | "$ref")
    actual=$(printf '' | "$KRY" dgst -a "$alg")
    expect_eq "$alg empty stdin matches $ref" "$expected" "$actual"
done

# ---------------------------------------------------------------------------
# HAS-160 against rhash: compare the hex digest only.
for f in "${FILES[@]}"; do
    expected=$(rhash --printf='%{has160}\n' "$f" | tr 'A-F' 'a-f')
    actual=$("$KRY" dgst -a has160 "$f")
    expect_eq "has160 of '$f' matches rhash" "$expected  $f" "$actual"
done
expected=$(rhash --printf='%{has160}\n' - < random.bin | tr 'A-F' 'a-f')
actual=$("$KRY" dgst -a HAS-160 < random.bin)
expect_eq "has160 stdin matches rhash" "$expected  -" "$actual"

# ---------------------------------------------------------------------------
# MDC-2 known answer (ISO/IEC 10118-2 example, 24 bytes, no newline).
printf 'Now is the time for all ' > mdc2.txt
actual=$("$KRY" dgst -a mdc2 mdc2.txt)
expect_eq "mdc2 known answer" "42e50cd224baceba760bdd2bd409281a  mdc2.txt" "$actual"
actual=$(printf 'Now is the time for all ' | "$KRY" dgst -a MDC-2)
expect_eq "mdc2 known answer on stdin" "42e50cd224baceba760bdd2bd409281a  -" "$actual"

# ---------------------------------------------------------------------------
# Algorithm spellings.
reference=$(sha256sum abc.txt)
for spelling in SHA256 sha256 Sha256 SHA-256 sha-256; do
    actual=$("$KRY" dgst -a "$spelling" abc.txt)
    expect_eq "spelling '$spelling'" "$reference" "$actual"
done
actual=$("$KRY" dgst -aSHA-256 abc.txt)
expect_eq "attached -aSHA-256" "$reference" "$actual"
reference=$(md5sum abc.txt)
actual=$("$KRY" dgst -a Md5 abc.txt)
expect_eq "spelling 'Md5'" "$reference" "$actual"
reference=$("$KRY" dgst -a has160 abc.txt)
actual=$("$KRY" dgst -a HAS-160 abc.txt)
expect_eq "spelling 'HAS-160'" "$reference" "$actual"

# A hyphen that does not separate letters from digits is not accepted.
"$KRY" dgst -a SHA2-56 abc.txt > out.txt 2> err.txt
expect_status "misplaced hyphen" 1 $?

# ---------------------------------------------------------------------------
# Unknown algorithm: status 1, message on stderr, nothing on stdout.
"$KRY" dgst -a sha3 abc.txt > out.txt 2> err.txt
expect_status "unknown algorithm" 1 $?
if [ -s out.txt ]; then fail "unknown algorithm wrote to stdout"; else pass; fi
if grep -q '^kry: ' err.txt; then pass; else fail "unknown algorithm: no 'kry: ' message on stderr"; fi

# ---------------------------------------------------------------------------
# Missing file: status 1, message on stderr, the other files still printed.
"$KRY" dgst -a sha256 abc.txt does-not-exist.bin fox.txt > out.txt 2> err.txt
expect_status "missing file" 1 $?
expected=$(sha256sum abc.txt fox.txt)
expect_eq "files around a missing one still printed" "$expected" "$(cat out.txt)"
if grep -q '^kry: .*does-not-exist.bin' err.txt; then
    pass
else
    fail "missing file: no 'kry: ...does-not-exist.bin' message on stderr"
fi

# A directory cannot be read either.
mkdir adir
"$KRY" dgst -a sha1 adir abc.txt > out.txt 2> err.txt
expect_status "directory argument" 1 $?
expect_eq "file after a directory still printed" "$(sha1sum abc.txt)" "$(cat out.txt)"

# ---------------------------------------------------------------------------
# Usage errors: status 2.
"$KRY" dgst > /dev/null 2>&1
expect_status "dgst without -a" 2 $?
"$KRY" dgst -a > /dev/null 2>&1
expect_status "-a without a name" 2 $?
"$KRY" dgst -x abc.txt > /dev/null 2>&1
expect_status "unknown dgst option" 2 $?
"$KRY" frobnicate > /dev/null 2>&1
expect_status "unknown command" 2 $?
"$KRY" version extra > /dev/null 2>&1
expect_status "version with an argument" 2 $?

# ---------------------------------------------------------------------------
# Help, version, listing.
for args in "" "help" "-h" "--help"; do
    # shellcheck disable=SC2086
    out=$("$KRY" $args)
    status=$?
    expect_status "help ('$args')" 0 "$status"
    case $out in
        *usage*) pass ;;
        *) fail "help ('$args') prints no usage text" ;;
    esac
done

out=$("$KRY" version)
expect_status "version" 0 $?
if printf '%s\n' "$out" | grep -Eq '^kry [0-9]+\.[0-9]+\.[0-9]+$'; then
    pass
else
    fail "version output '$out'"
fi

out=$("$KRY" dgst -l)
expect_status "dgst -l" 0 $?
for entry in "SHA1 20" "SHA224 28" "SHA256 32" "SHA384 48" "SHA512 64" \
             "MD5 16" "HAS160 20" "MDC2 16"; do
    name=${entry% *}
    len=${entry#* }
    if printf '%s\n' "$out" | grep -Eq "^$name +$len bytes\$"; then
        pass
    else
        fail "dgst -l lacks '$name' with length $len"
    fi
done

# ---------------------------------------------------------------------------
# --check: re-hash the files of a digest list.
mkdir check && cd check || exit 2
printf 'one' > one.txt
printf 'two' > two.txt
head -c 100000 /dev/urandom > three.bin
printf 'slash' > 'back\slash.txt'
printf 'newline' > 'new
line.txt'
printf 'star' > star.txt
"$KRY" dgst -a sha256 one.txt two.txt three.bin 'back\slash.txt' 'new
line.txt' > list.txt
expect_status "writing a digest list" 0 $?
# The escaped lines are what sha256sum writes.
expect_eq "digest list equals sha256sum's" "$(sha256sum one.txt two.txt three.bin 'back\slash.txt' 'new
line.txt')" "$(cat list.txt)"

out=$("$KRY" dgst -a sha256 --check list.txt 2> err.txt)
expect_status "check all OK" 0 $?
expected='one.txt: OK
two.txt: OK
three.bin: OK
back\slash.txt: OK
\new\nline.txt: OK'
expect_eq "check all OK output" "$expected" "$out"
if [ -s err.txt ]; then fail "check all OK wrote to stderr: $(cat err.txt)"; else pass; fi
# Same results as sha256sum -c on the same list.
expect_eq "check output equals sha256sum -c" "$(sha256sum -c list.txt 2>/dev/null)" "$out"

# -c alias, list on standard input, upper-case hex, binary marker, CRLF.
out=$("$KRY" dgst -a SHA-256 -c - < list.txt)
expect_status "check from stdin" 0 $?
expect_eq "check from stdin output" "$expected" "$out"
{
    printf '%s  one.txt\n' "$(sha256sum < one.txt | cut -d' ' -f1 | tr 'a-f' 'A-F')"
    printf '%s *star.txt\n' "$(sha256sum < star.txt | cut -d' ' -f1)"
    printf '%s  two.txt\r\n' "$(sha256sum < two.txt | cut -d' ' -f1)"
} > variants.txt
out=$("$KRY" dgst -a sha256 --check=variants.txt)
expect_status "check upper case, '*' and CRLF" 0 $?
expect_eq "check variants output" "one.txt: OK
star.txt: OK
two.txt: OK" "$out"

# Other algorithms (MD5 with md5sum's list, HAS-160 from rhash).
md5sum one.txt three.bin > md5.txt
out=$("$KRY" dgst -a md5 -c md5.txt)
expect_status "check md5 list" 0 $?
expect_eq "check md5 output" "one.txt: OK
three.bin: OK" "$out"
printf '%s  two.txt\n' "$(rhash --printf='%{has160}' two.txt)" > has.txt
out=$("$KRY" dgst -a has160 -c has.txt)
expect_status "check has160 list from rhash" 0 $?
expect_eq "check has160 output" "two.txt: OK" "$out"
# The same list checked with SHA-1 (same length) fails.
"$KRY" dgst -a sha1 -c has.txt > out.txt 2> err.txt
expect_status "has160 list checked as sha1" 1 $?
expect_eq "has160 list checked as sha1 output" "two.txt: FAILED" "$(cat out.txt)"

# One corrupted file: FAILED, the rest OK, status 1, one warning line.
printf 'TWO' > two.txt
"$KRY" dgst -a sha256 --check list.txt > out.txt 2> err.txt
expect_status "check with a corrupted file" 1 $?
expect_eq "corrupted file output" 'one.txt: OK
two.txt: FAILED
three.bin: OK
back\slash.txt: OK
\new\nline.txt: OK' "$(cat out.txt)"
if grep -q '^kry: dgst: WARNING: 1 computed digest did NOT match$' err.txt; then
    pass
else
    fail "corrupted file warning: $(cat err.txt)"
fi
printf 'two' > two.txt

# A missing file: "FAILED open or read", its error on stderr, status 1.
rm three.bin
"$KRY" dgst -a sha256 --check list.txt > out.txt 2> err.txt
expect_status "check with a missing file" 1 $?
if grep -qx 'three.bin: FAILED open or read' out.txt; then pass; else fail "missing file line: $(cat out.txt)"; fi
if grep -q '^kry: three.bin: No such file or directory$' err.txt; then pass; else fail "missing file error: $(cat err.txt)"; fi
if grep -q 'WARNING: 1 listed file could not be read' err.txt; then pass; else fail "missing file warning: $(cat err.txt)"; fi
expect_eq "other files still OK" 4 "$(grep -c ': OK$' out.txt)"

# Malformed lines are reported with their numbers; the good ones checked.
{
    sha256sum one.txt
    echo 'this is not a digest line'
    printf '%s  two.txt\n' "$(sha256sum < two.txt | cut -d' ' -f1 | cut -c1-63)"
    echo
    printf '%s two.txt\n' "$(sha256sum < two.txt | cut -d' ' -f1)"
    printf '\\%s  bad\\qescape\n' "$(sha256sum < two.txt | cut -d' ' -f1)"
    sha256sum two.txt
} > malformed.txt
"$KRY" dgst -a sha256 --check malformed.txt > out.txt 2> err.txt
expect_status "check with malformed lines" 1 $?
expect_eq "malformed: good lines checked" "one.txt: OK
two.txt: OK" "$(cat out.txt)"
for n in 2 3 4 5 6; do
    if grep -qx "kry: malformed.txt: line $n: improperly formatted digest line" err.txt; then
        pass
    else
        fail "malformed line $n not reported: $(cat err.txt)"
    fi
done
if grep -q 'WARNING: 5 lines are improperly formatted' err.txt; then pass; else fail "malformed warning: $(cat err.txt)"; fi

# A list with no valid line at all is an error.
echo 'nothing to see here' > nothing.txt
"$KRY" dgst -a sha256 --check nothing.txt > out.txt 2> err.txt
expect_status "list without a valid line" 1 $?
if grep -q 'no properly formatted SHA256 digest lines found' err.txt; then pass; else fail "empty list message: $(cat err.txt)"; fi
: > empty_list.txt
"$KRY" dgst -a sha256 --check empty_list.txt > out.txt 2> err.txt
expect_status "empty list" 1 $?
# An MD5 list checked with -a sha256: every line has the wrong length.
"$KRY" dgst -a sha256 --check md5.txt > out.txt 2> err.txt
expect_status "md5 list checked as sha256" 1 $?
"$KRY" dgst -a sha256 --check no-such-list.txt > out.txt 2> err.txt
expect_status "missing list" 1 $?
if grep -q 'no-such-list.txt' err.txt; then pass; else fail "missing list message: $(cat err.txt)"; fi

# Usage errors.
"$KRY" dgst --check list.txt > /dev/null 2> err.txt
expect_status "--check without -a" 2 $?
if grep -q -- '--check needs -a ALG' err.txt; then pass; else fail "--check without -a message: $(cat err.txt)"; fi
"$KRY" dgst -a sha256 --check list.txt one.txt > /dev/null 2>&1
expect_status "--check with a FILE" 2 $?
"$KRY" dgst -a sha256 --check > /dev/null 2>&1
expect_status "--check without LISTFILE" 2 $?
cd .. || exit 2

# ---------------------------------------------------------------------------
kry_test_summary
