// SHA-1 and SHA-256 compression with the x86 SHA extensions, chosen at run
// time when the processor has them (CPUID leaf 7, EBX bit 29, with SSSE3 and
// SSE4.1).  Each function compresses nblocks 64-byte blocks into h.
#ifndef KRY_SRC_DIGEST_SHA_X86_H
#define KRY_SRC_DIGEST_SHA_X86_H

#include <cstddef>
#include <cstdint>

namespace kry::x86 {

#if defined(__x86_64__) || defined(__i386__)
// True when the processor has the SHA extensions and they have not been
// switched off with use_sha_extensions(false) (tests use that to run the
// portable code on such processors too).
bool has_sha_extensions();
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
