#!/usr/bin/env bash
# The shared library exports exactly the names listed in exports.txt and
# depends on nothing but the C and C++ runtime.
#   check_exports.sh LIBKRY_SO EXPORTS_TXT
set -euo pipefail
lib=$1
want=$2
# Sanitizer builds add their own instrumentation symbols.
got=$(nm -D --defined-only "$lib" | awk '{print $3}' | grep -v -E '^__(odr_asan|asan|ubsan|sanitizer)' | LC_ALL=C sort)
if ! diff <(LC_ALL=C sort "$want") <(printf '%s\n' "$got"); then
    echo "exported names differ from $want (< expected, > exported)" >&2
    exit 1
fi
needed=$(readelf -d "$lib" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
for n in $needed; do
    case "$n" in
        libc.so.*|libm.so.*|libstdc++.so.*|libgcc_s.so.*|ld-linux*|libasan.so.*|libubsan.so.*) ;;
        *) echo "unexpected dependency: $n" >&2; exit 1 ;;
    esac
done
echo "exports: $(printf '%s\n' "$got" | wc -l) names as listed; dependencies: $needed"
