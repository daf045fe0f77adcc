// Processor features that select the hardware paths of the ciphers, hashes
// and big-integer kernels, read once with CPUID.  On other processors, and
// in a build with KRY_PORTABLE defined (CMake option KRY_PORTABLE), every
// feature is false and the portable code runs.  Each module also keeps its
// own switch that the tests turn off to run the portable code on a processor
// that has the feature.
#ifndef KRY_SRC_FOUNDATION_CPU_H
#define KRY_SRC_FOUNDATION_CPU_H

namespace kry::cpu {

struct Features {
    bool ssse3 = false;
    bool sse41 = false;
    bool aesni = false;  // AES round instructions
    bool pclmul = false; // carry-less multiplication
    bool sha = false;    // SHA-1 / SHA-256 instructions
    bool gfni = false;   // Galois-field affine instructions (SSE forms)
    bool avx2 = false;   // AVX2, with the YMM state enabled by the OS
    bool vaes = false;   // AES round instructions on YMM registers (with avx2)
    bool bmi2 = false;   // mulx, rorx, shlx
    bool adx = false;    // adcx, adox
    bool ifma = false;   // AVX-512 IFMA with VL (52-bit multiply-add), ZMM state enabled
};

const Features &features();

}  // namespace kry::cpu

#endif  // KRY_SRC_FOUNDATION_CPU_H
