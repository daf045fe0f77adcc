// SHA-1 and SHA-256 compression with the x86 SHA extensions, chosen at run
// time when the processor has them (CPUID leaf 7, EBX bit 29, with SSSE3 and
// SSE4.1).  Each function compresses nblocks 64-byte blocks into h.
#ifndef KRY_SRC_DIGEST_SHA_X86_H
#define KRY_SRC_DIGEST_SHA_X86_H

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace kry::x86 {

#if defined(__x86_64__) || defined(__i386__)
// The answer of has_sha_extensions(), settled on first use (-1 until then)
// and again by use_sha_extensions().
extern std::atomic<signed char> sha_extensions_state;
bool settle_sha_extensions();

// True when the processor has the SHA extensions and they have not been
// switched off with use_sha_extensions(false) (tests use that to run the
// portable code on such processors too).  Called for every block function
// call, so the answer is kept in one byte.
inline bool has_sha_extensions() {
    const signed char s = sha_extensions_state.load(std::memory_order_relaxed);
    if (s < 0) [[unlikely]]
        return settle_sha_extensions();
    return s != 0;
}
void use_sha_extensions(bool enabled);
void sha1_compress_shani(uint32_t h[5], const uint8_t *blocks, size_t nblocks);
void sha256_compress_shani(uint32_t h[8], const uint8_t *blocks, size_t nblocks);
#else
inline bool has_sha_extensions() { return false; }
inline void use_sha_extensions(bool) {}
inline void sha1_compress_shani(uint32_t *, const uint8_t *, size_t) {}
inline void sha256_compress_shani(uint32_t *, const uint8_t *, size_t) {}
#endif

}  // namespace kry::x86

#endif  // KRY_SRC_DIGEST_SHA_X86_H
