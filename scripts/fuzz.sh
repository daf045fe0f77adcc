#!/usr/bin/env bash
# Runs the libFuzzer targets of a fuzz build, each for a given number of
# seconds, on a scratch copy of its committed corpus (fuzz/corpus/<surface>/;
# the repository is never written).  Fails when any target finds a crash, a
# leak, a timeout or runs out of memory; the reproducer is kept under
# BUILD_DIR/fuzz-findings/<target>/.
#
# Usage:
#   scripts/fuzz.sh [--build] BUILD_DIR SECONDS [TARGET...]
#
#   --build    first configure BUILD_DIR with clang and -DKRY_FUZZ=ON (only
#              the library and the fuzz targets) and build the targets;
#              without it BUILD_DIR must already hold a fuzz build.
#   BUILD_DIR  the fuzz build directory (e.g. build/fuzz).
#   SECONDS    run time per target.
#   TARGET     fuzz_<surface> names; default: every fuzz/fuzz_*.cpp.
#
# Environment: FUZZ_JOBS (build parallelism, default 2), FUZZ_TIMEOUT
# (seconds one input may take, default 25), FUZZ_RSS_MB (default 2048).
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"

build=0
if [[ "${1:-}" == "--build" ]]; then
    build=1
    shift
fi
if [[ $# -lt 2 ]]; then
    sed -n '2,22p' "$0" | sed 's/^# \{0,1\}//'
    exit 2
fi
build_dir="$1"
seconds="$2"
shift 2
if ! [[ "$seconds" =~ ^[0-9]+$ ]] || [[ "$seconds" -lt 1 ]]; then
    echo "fuzz.sh: SECONDS must be a positive integer, not '$seconds'" >&2
    exit 2
fi
case "$build_dir" in
    /*) ;;
    *) build_dir="$PWD/$build_dir" ;;
esac

targets=("$@")
if [[ ${#targets[@]} -eq 0 ]]; then
    for src in "$root"/fuzz/fuzz_*.cpp; do
        [[ -e "$src" ]] || continue
        name="$(basename "$src" .cpp)"
        targets+=("$name")
    done
fi
if [[ ${#targets[@]} -eq 0 ]]; then
    echo "fuzz.sh: no fuzz targets under $root/fuzz" >&2
    exit 2
fi

if [[ $build -eq 1 ]]; then
    CC=clang CXX=clang++ cmake -S "$root" -B "$build_dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DKRY_FUZZ=ON -DKRY_BUILD_TESTS=OFF -DKRY_BUILD_BENCH=OFF -DKRY_BUILD_TOOLS=OFF \
        -DKRY_BUILD_EXAMPLES=OFF -DKRY_WERROR=ON
    cmake --build "$build_dir" -j"${FUZZ_JOBS:-2}" --target "${targets[@]}"
fi

find_binary() {
    local t="$1" p
    for p in "$build_dir/fuzz/$t" "$build_dir/$t"; do
        if [[ -x "$p" ]]; then
            echo "$p"
            return 0
        fi
    done
    return 1
}

scratch="$(mktemp -d "${TMPDIR:-/tmp}/kry-fuzz.XXXXXX")"
trap 'rm -rf "$scratch"' EXIT

failed=()
printf '%-24s %8s %12s %8s %8s %8s %s\n' target seconds execs exec/s cov ft result
for t in "${targets[@]}"; do
    bin="$(find_binary "$t")" || {
        echo "fuzz.sh: $t is not built in $build_dir (use --build)" >&2
        failed+=("$t(missing)")
        continue
    }
    surface="${t#fuzz_}"
    work="$scratch/$t"
    mkdir -p "$work/corpus" "$work/artifacts"
    if [[ -d "$root/fuzz/corpus/$surface" ]]; then
        cp -R "$root/fuzz/corpus/$surface/." "$work/corpus/"
    fi
    log="$work/log"
    set +e
    "$bin" -max_total_time="$seconds" -timeout="${FUZZ_TIMEOUT:-25}" \
        -rss_limit_mb="${FUZZ_RSS_MB:-2048}" -print_final_stats=1 \
        -artifact_prefix="$work/artifacts/" "$work/corpus" >"$log" 2>&1
    rc=$?
    set -e
    execs="$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)"
    rate="$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log" | tail -1)"
    cov="$(grep -o 'cov: [0-9]*' "$log" | tail -1 | cut -d' ' -f2)"
    ft="$(grep -o 'ft: [0-9]*' "$log" | tail -1 | cut -d' ' -f2)"
    if [[ $rc -eq 0 ]]; then
        result=ok
    else
        result="FAILED (exit $rc)"
        failed+=("$t")
        keep="$build_dir/fuzz-findings/$t"
        mkdir -p "$keep"
        cp -R "$work/artifacts/." "$keep/" 2>/dev/null || true
        cp "$log" "$keep/log"
        echo "---- $t: last lines of the log (all of it in $keep/log) ----" >&2
        tail -40 "$log" >&2
        echo "---- reproducers in $keep ----" >&2
    fi
    printf '%-24s %8s %12s %8s %8s %8s %s\n' "$t" "$seconds" "${execs:-?}" "${rate:-?}" \
        "${cov:-?}" "${ft:-?}" "$result"
done

if [[ ${#failed[@]} -gt 0 ]]; then
    echo "fuzz.sh: failures: ${failed[*]}" >&2
    exit 1
fi
echo "fuzz.sh: all ${#targets[@]} targets ran $seconds s without findings"
