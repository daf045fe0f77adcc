# shellcheck shell=bash
# Helpers shared by the end-to-end scripts in tools/tests.  Each script
# sources this file, calls kry_test_init, runs its checks through pass,
# fail and the expect_* functions, and ends with kry_test_summary:
#
#   set -u
#   source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
#   kry_test_init head cmp -- "$@"
#   ...checks...
#   kry_test_summary
#
# This file lives in lib/ so that the test registration, which takes every
# tools/tests/*.sh, does not run it as a test of its own.

KRY_TEST_NAME=${0##*/}
failures=0
checks=0

# kry_test_init [PROGRAM...] -- SCRIPT-ARGUMENTS...
# Takes the script's single argument, the tool's path, into KRY (made
# absolute, as the checks run from a temporary directory) and checks that it
# is executable and that every PROGRAM is installed; exits with status 2 if
# not.  Then makes the temporary directory TMP, removed on exit, and changes
# into it.
kry_test_init() {
    local programs=() prog
    while [ $# -gt 0 ] && [ "$1" != -- ]; do
        programs+=("$1")
        shift
    done
    [ $# -gt 0 ] && shift  # the --
    if [ $# -ne 1 ]; then
        echo "usage: $0 PATH/TO/kry" >&2
        exit 2
    fi
    KRY=$1
    case $KRY in
        /*) ;;
        *) KRY=$PWD/$KRY ;;
    esac
    if [ ! -x "$KRY" ]; then
        echo "$KRY_TEST_NAME: '$KRY' is not an executable" >&2
        exit 2
    fi
    for prog in "${programs[@]}"; do
        if ! command -v "$prog" >/dev/null 2>&1; then
            echo "$KRY_TEST_NAME: required program '$prog' not found" >&2
            exit 2
        fi
    done
    TMP=$(mktemp -d "${TMPDIR:-/tmp}/kry_tool_test.XXXXXX") || exit 2
    trap 'rm -rf "$TMP"' EXIT
    cd "$TMP" || exit 2
}

# kry_test_summary: prints "NAME.sh: N checks, M failed"; returns 0 when
# no check failed, 1 otherwise (the script's exit status, as its last
# command).
kry_test_summary() {
    echo "$KRY_TEST_NAME: $checks checks, $failures failed"
    [ "$failures" -eq 0 ]
}

pass() { checks=$((checks + 1)); }
fail() {
    checks=$((checks + 1))
    failures=$((failures + 1))
    echo "FAIL: $*" >&2
}

# expect_eq DESCRIPTION EXPECTED ACTUAL
expect_eq() {
    if [ "$2" = "$3" ]; then
        pass
    else
        fail "$1"
        printf '  expected: %s\n  actual:   %s\n' "$2" "$3" >&2
    fi
}

# expect_status DESCRIPTION EXPECTED ACTUAL
expect_status() {
    if [ "$2" -eq "$3" ]; then
        pass
    else
        fail "$1: exit status $3, expected $2"
    fi
}

# expect_grep DESCRIPTION BASIC-REGEX FILE: some line of FILE matches.
expect_grep() {
    if grep -q -- "$2" "$3"; then
        pass
    else
        fail "$1: '$2' not in '$(cat "$3")'"
    fi
}

# expect_egrep DESCRIPTION EXTENDED-REGEX FILE: some line of FILE matches;
# on failure FILE is shown line by line.
expect_egrep() {
    if grep -Eq -- "$2" "$3"; then
        pass
    else
        fail "$1: no line matching '$2' in $3"
        sed 's/^/  | /' "$3" >&2
    fi
}

# hex_of FILE: the bytes of FILE in lowercase hex, on one line.
hex_of() { od -An -v -tx1 "$1" | tr -d ' \n'; }
