// Processor features that select the hardware paths of the ciphers and
// hashes, read once with CPUID.  On other processors every feature is false
// and the portable code runs.
#ifndef KRY_SRC_FOUNDATION_CPU_H
#define KRY_SRC_FOUNDATION_CPU_H

namespace kry::cpu {

struct Features {
    bool ssse3 = false;
    bool sse41 = false;
    bool aesni = false;  // AES round instructions
    bool sha = false;    // SHA-1 / SHA-256 instructions
    bool gfni = false;   // Galois-field affine instructions (SSE forms)
};

const Features &features();

}  // namespace kry::cpu

#endif  // KRY_SRC_FOUNDATION_CPU_H
