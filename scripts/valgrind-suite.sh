#!/usr/bin/env bash
# Runs test executables of a normal (non-sanitizer) build under valgrind
# memcheck: any memory error or definite leak fails the run.  The one
# intended leak (the record KRY_SIGNVERIFY_free keeps) is suppressed by name
# in tests/valgrind.supp.
#
#   scripts/valgrind-suite.sh BUILD_DIR [JOBS] [--ci | TEST_NAME...]
#
# Without test names, every tests/test_* executable of BUILD_DIR except the
# *_slow ones (CTest label "slow") runs; --ci runs the subset listed below.  JOBS executables run at once
# (default 2).  Each executable's valgrind output goes to
# BUILD_DIR/valgrind/<name>.log (or $KRY_VALGRIND_LOGS/<name>.log); the logs
# of failures are printed.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${1:?usage: valgrind-suite.sh BUILD_DIR [JOBS] [TEST_NAME...]}"
jobs="${2:-2}"
shift $(( $# >= 2 ? 2 : 1 ))
supp="$root/tests/valgrind.supp"
logs="${KRY_VALGRIND_LOGS:-$build/valgrind}"
mkdir -p "$logs"

# The CI subset: every subsystem, the context API and the parsers of
# encoded key pairs and padding, about a third of the full run's time.
ci_subset=(
    test_mempool test_membuf test_stream test_stream_file test_stack test_error test_utils test_module
    test_bigint test_bigint_pool test_bigint_modexp
    test_digest_unit test_digest_kat test_digest_portable
    test_aes test_aria test_seed test_des_unit test_cipher_unit test_rc4 test_blowfish
    test_hmac test_cbcmac
    test_prng
    test_rsa_padding test_rsa_proven test_dsa test_kcdsa test_key
    test_api_frame test_api_objects test_api_keystore test_api_sign test_selftest_lock
    test_threads
)

if (( $# == 1 )) && [[ "$1" == "--ci" ]]; then
    names=("${ci_subset[@]}")
elif (( $# > 0 )); then
    names=("$@")
else
    names=()
    for exe in "$build"/tests/test_*; do
        [[ -x "$exe" && -f "$exe" ]] || continue
        name="$(basename "$exe")"
        [[ "$name" == *_slow ]] && continue
        names+=("$name")
    done
fi
(( ${#names[@]} > 0 )) || { echo "no test executables in $build/tests" >&2; exit 1; }

run_one() {
    local build="$1" supp="$2" logs="$3" name="$4"
    local start=$SECONDS
    # The tests read their vector files relative to nothing (absolute paths
    # are compiled in), so the working directory does not matter.
    if valgrind --tool=memcheck --error-exitcode=1 --leak-check=full \
            --errors-for-leak-kinds=definite --show-leak-kinds=definite \
            --suppressions="$supp" --log-file="$logs/$name.log" \
            "$build/tests/$name" --gtest_brief=1 >"$logs/$name.out" 2>&1; then
        echo "ok   $name ($((SECONDS - start)) s)"
    else
        echo "FAIL $name ($((SECONDS - start)) s)"
        cat "$logs/$name.out" "$logs/$name.log"
        return 1
    fi
}
export -f run_one

start=$SECONDS
status=0
printf '%s\n' "${names[@]}" |
    xargs -P "$jobs" -I{} bash -c 'run_one "$@"' _ "$build" "$supp" "$logs" {} || status=1
echo "valgrind: ${#names[@]} executables in $((SECONDS - start)) s"
exit $status
