// Internal helpers shared by every subsystem: the test-mode gate, wiping,
// byte-order loads and stores, and RAII guards over lum_ allocations.
#ifndef KRY_SRC_FOUNDATION_COMMON_H
#define KRY_SRC_FOUNDATION_COMMON_H

#include <kry/error.h>

#include "foundation/wipe_check.h"

#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace kry {

static_assert(std::endian::native == std::endian::little,
              "kry's public state records assume a little-endian target");

// ---- module flags --------------------------------------------------------
// The exported flags are plain bytes; the library reads and writes them with
// atomic operations so that concurrent first calls do not race.
inline uint8_t flag_load(uint8_t &flag) {
    return std::atomic_ref<uint8_t>(flag).load(std::memory_order_relaxed);
}
inline void flag_store(uint8_t &flag, uint8_t value) {
    std::atomic_ref<uint8_t>(flag).store(value, std::memory_order_relaxed);
}

inline bool proven() { return flag_load(statusisproven) == 1; }

// The test-mode gate with which gated toolkit entries begin:
//   if (uint32_t r = kry::test_mode_gate(); r != 0) return <entry's value>;
// While test_mode is 1 and initialize_flag is set, the first gated call runs
// LUMCryptoInitialize (the module start-up hook); its nonzero result fails
// the entry.
inline uint32_t test_mode_gate() {
    if (flag_load(test_mode) == 1 && flag_load(initialize_flag) != 0)
        return LUMCryptoInitialize();
    return 0;
}

// The reduced gate of the name lookups: only initialize_flag is tested.
inline uint32_t reduced_gate() {
    if (flag_load(initialize_flag) != 0)
        return LUMCryptoInitialize();
    return 0;
}

// ---- wiping --------------------------------------------------------------
// Zeroes n bytes in a way the optimiser cannot drop as a dead store.
inline void wipe(void *p, size_t n) {
    if (p == nullptr || n == 0)
        return;
    std::memset(p, 0, n);
    __asm__ __volatile__("" : : "r"(p) : "memory");
}
template <class T> inline void wipe_object(T &obj) { wipe(&obj, sizeof obj); }

// Wipes an object when the scope ends (locals holding secrets).
template <class T> class WipeOnExit {
  public:
    explicit WipeOnExit(T &obj) : obj_(obj) {}
    ~WipeOnExit() { wipe_object(obj_); }
    WipeOnExit(const WipeOnExit &) = delete;
    WipeOnExit &operator=(const WipeOnExit &) = delete;
  private:
    T &obj_;
};

// ---- byte order ----------------------------------------------------------
inline uint32_t load32_be(const uint8_t *p) {
    uint32_t v;
    std::memcpy(&v, p, 4);
    return __builtin_bswap32(v);
}
inline uint32_t load32_le(const uint8_t *p) {
    uint32_t v;
    std::memcpy(&v, p, 4);
    return v;
}
inline uint64_t load64_be(const uint8_t *p) {
    uint64_t v;
    std::memcpy(&v, p, 8);
    return __builtin_bswap64(v);
}
inline void store32_be(uint8_t *p, uint32_t v) {
    v = __builtin_bswap32(v);
    std::memcpy(p, &v, 4);
}
inline void store32_le(uint8_t *p, uint32_t v) { std::memcpy(p, &v, 4); }
inline void store64_be(uint8_t *p, uint64_t v) {
    v = __builtin_bswap64(v);
    std::memcpy(p, &v, 8);
}
inline void store64_le(uint8_t *p, uint64_t v) { std::memcpy(p, &v, 8); }

inline constexpr uint32_t rotl32(uint32_t x, int n) { return std::rotl(x, n); }
inline constexpr uint32_t rotr32(uint32_t x, int n) { return std::rotr(x, n); }
inline constexpr uint64_t rotr64(uint64_t x, int n) { return std::rotr(x, n); }

// Error word from its three fields.
constexpr uint32_t error_word(uint32_t library, uint32_t function, uint32_t reason) {
    return (library << 24) | (function << 16) | reason;
}

}  // namespace kry

#endif  // KRY_SRC_FOUNDATION_COMMON_H
