#include "foundation/cpu.h"


#if (defined(__x86_64__) || defined(__i386__)) && !defined(KRY_PORTABLE)
#define KRY_CPUID 1
#include <cpuid.h>
#endif

namespace kry::cpu {

namespace {

#if KRY_CPUID
// The extended register state the OS saves (XGETBV 0); YMM state is bits 1
// and 2.  Only called when CPUID reports OSXSAVE.
unsigned long long xcr0() {
    unsigned eax, edx;
    __asm__ volatile("xgetbv" : "=a"(eax), "=d"(edx) : "c"(0));
    return (static_cast<unsigned long long>(edx) << 32) | eax;
}
#endif

Features detect() {
    Features r;
#if KRY_CPUID
    unsigned a, b, c, d;
    bool ymm = false;
    bool zmm = false;
    if (__get_cpuid(1, &a, &b, &c, &d)) {
        r.ssse3 = c & (1u << 9);
        r.sse41 = c & (1u << 19);
        r.aesni = c & (1u << 25);
        r.pclmul = c & (1u << 1);
        const bool osxsave = c & (1u << 27);
        const bool avx = c & (1u << 28);
        ymm = osxsave && avx && (xcr0() & 6) == 6;
        // Opmask, upper ZMM halves and ZMM16-31 (bits 5 to 7) as well.
        zmm = ymm && (xcr0() & 0xE6) == 0xE6;
    }
    if (__get_cpuid_count(7, 0, &a, &b, &c, &d)) {
        r.sha = b & (1u << 29);
        r.gfni = c & (1u << 8);
        r.avx2 = ymm && (b & (1u << 5));
        r.vaes = r.avx2 && r.aesni && (c & (1u << 9));
        r.bmi2 = b & (1u << 8);
        r.adx = b & (1u << 19);
        const bool avx512f = b & (1u << 16);
        const bool avx512vl = b & (1u << 31);
        r.ifma = zmm && avx512f && avx512vl && (b & (1u << 21));
    }
#endif
    return r;
}

}  // namespace

const Features &features() {
    static const Features f = detect();
    return f;
}

}  // namespace kry::cpu
