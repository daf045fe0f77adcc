#include "foundation/cpu.h"

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

namespace kry::cpu {

const Features &features() {
    static const Features f = [] {
        Features r;
#if defined(__x86_64__) || defined(__i386__)
        unsigned a, b, c, d;
        if (__get_cpuid(1, &a, &b, &c, &d)) {
            r.ssse3 = c & (1u << 9);
            r.sse41 = c & (1u << 19);
            r.aesni = c & (1u << 25);
        }
        if (__get_cpuid_count(7, 0, &a, &b, &c, &d)) {
            r.sha = b & (1u << 29);
            r.gfni = c & (1u << 8);
        }
#endif
        return r;
    }();
    return f;
}

}  // namespace kry::cpu
