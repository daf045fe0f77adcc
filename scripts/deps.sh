# Sourced by the scripts in this folder: makes sure the Debian packages that
# building and testing kry need are installed (installing them when run as
# root), and knows the build directories.
KRY_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
KRY_JOBS=${KRY_JOBS:-$(nproc 2>/dev/null || echo 2)}

kry_need_packages() {
    local missing=() p
    for p in "$@"; do
        dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    if [ "$(id -u)" -eq 0 ]; then
        echo "kry: installing ${missing[*]}" >&2
        export DEBIAN_FRONTEND=noninteractive
        apt-get update -qq >/dev/null && apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
    else
        echo "kry: missing packages: ${missing[*]} (run as root, or: sudo apt-get install ${missing[*]})" >&2
        return 1
    fi
}

# What the library itself needs to build.
KRY_BUILD_PACKAGES=(cmake make g++ pkgconf)
# What scripts/hardening adds: clang with libFuzzer for the fuzz targets.
KRY_HARDENING_PACKAGES=(clang libclang-rt-14-dev)
# What the tests, the benchmark and the packaging checks add.
KRY_TEST_PACKAGES=(libgtest-dev libssl-dev openssl doxygen librhash-dev rhash libcrypto++-dev nlohmann-json3-dev libbenchmark-dev coreutils time groff-base python3 valgrind)
# What scripts/bench adds: Google Benchmark, the required peers (OpenSSL,
# RHash) and the optional ones (libgcrypt, nettle with GMP, Crypto++,
# Botan 2).
KRY_BENCH_PACKAGES=(libbenchmark-dev libssl-dev librhash-dev libgcrypt20-dev nettle-dev libgmp-dev libcrypto++-dev libbotan-2-dev)
