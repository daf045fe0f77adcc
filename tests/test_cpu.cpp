// The processor features read once with CPUID and XGETBV agree with the
// compiler's own detection, and the portable build sees none.
#include "foundation/cpu.h"

#include <gtest/gtest.h>

namespace {

TEST(Cpu, FeaturesAgreeWithTheCompilersDetection) {
    const kry::cpu::Features &f = kry::cpu::features();
    EXPECT_EQ(&f, &kry::cpu::features());  // read once
#if (defined(__x86_64__) || defined(__i386__)) && !defined(KRY_PORTABLE)
    __builtin_cpu_init();
    EXPECT_EQ(f.ssse3, __builtin_cpu_supports("ssse3") != 0);
    EXPECT_EQ(f.sse41, __builtin_cpu_supports("sse4.1") != 0);
    EXPECT_EQ(f.aesni, __builtin_cpu_supports("aes") != 0);
    EXPECT_EQ(f.pclmul, __builtin_cpu_supports("pclmul") != 0);
    EXPECT_EQ(f.avx2, __builtin_cpu_supports("avx2") != 0);
    EXPECT_EQ(f.bmi2, __builtin_cpu_supports("bmi2") != 0);
#if !defined(__clang__)
    EXPECT_EQ(f.sha, __builtin_cpu_supports("sha") != 0);
    EXPECT_EQ(f.gfni, __builtin_cpu_supports("gfni") != 0);
    EXPECT_EQ(f.vaes, __builtin_cpu_supports("vaes") != 0 && f.avx2 && f.aesni);
    EXPECT_EQ(f.ifma, __builtin_cpu_supports("avx512ifma") != 0 && __builtin_cpu_supports("avx512vl") != 0);
#endif
    // What each path needs comes with it.
    if (f.vaes) {
        EXPECT_TRUE(f.avx2);
        EXPECT_TRUE(f.aesni);
    }
#else
    EXPECT_FALSE(f.ssse3 || f.sse41 || f.aesni || f.pclmul || f.sha || f.gfni || f.avx2 || f.vaes || f.bmi2 ||
                 f.adx || f.ifma);
#endif
}

}  // namespace
