#!/usr/bin/env bash
# Checks the tool's help texts and its manual page: every command answers
# --help with status 0 on standard output, every command the tool lists is
# described in docs/kry.1, the manual page formats without warnings, and
# unknown commands and options are usage errors (status 2).
#
#   usage: help.sh PATH/TO/kry
set -u
# Found from this script's own place, before the checks leave for their
# temporary directory.
MAN=$(cd "$(dirname "${BASH_SOURCE[0]}")/../../docs" && pwd)/kry.1
# shellcheck source-path=SCRIPTDIR source=lib/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
kry_test_init awk grep wc -- "$@"

# The command names, from the tool's own list.
commands=$("$KRY" help | awk '/^commands:/ {on = 1; next} on && /^  [a-z]/ {print $1} on && /^$/ {exit}')
[ -n "$commands" ] && pass || fail "kry help lists no commands"
[ "$(echo "$commands" | wc -l)" -ge 17 ] && pass || fail "kry help lists fewer than 17 commands"

for c in $commands; do
    case $c in help) continue ;; esac
    if [ "$c" != version ]; then
        out=$("$KRY" "$c" --help 2>/dev/null)
        st=$?
        [ $st -eq 0 ] && pass || fail "kry $c --help: status $st"
        case $out in
            *usage:*) pass ;;
            *) fail "kry $c --help prints no usage line" ;;
        esac
        out=$("$KRY" "$c" -h 2>/dev/null)
        [ $? -eq 0 ] && [ -n "$out" ] && pass || fail "kry $c -h"
    fi
    grep -q "^\.SS \"kry \(.*[ |]\)\?$c\b" "$MAN" && pass || fail "docs/kry.1 has no section for '$c'"
done

"$KRY" frobnicate > /dev/null 2>err.txt
[ $? -eq 2 ] && pass || fail "unknown command: status"
grep -q "unknown command 'frobnicate'" err.txt && pass || fail "unknown command: message"
"$KRY" dgst --frobnicate > /dev/null 2>&1
[ $? -eq 2 ] && pass || fail "unknown option: status"
"$KRY" > /dev/null 2>&1 && pass || fail "no command: status"

if command -v groff > /dev/null 2>&1; then
    warnings=$(groff -man -Tutf8 -ww -z "$MAN" 2>&1)
    [ -z "$warnings" ] && pass || fail "groff warnings on docs/kry.1: $warnings"
else
    fail "groff is not installed (needed to check docs/kry.1)"
fi

kry_test_summary
