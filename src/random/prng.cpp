// The general-purpose random number generator of FIPS 186-2 (appendix 3.1
// with change notice 1, without the reduction modulo q), its process-wide
// entropy pool, and random integers drawn from it.
//
// A unit holds XKEY (b bits, 160 <= b <= 512 when seeded), a fixed XSEED and
// a G function.  One step is
//   XVAL = (XKEY + XSEED) mod 2^b,  x = G(XVAL),  XKEY = (1 + XKEY + x) mod 2^b
// where b is the bit length of XKEY as it stands.  G is either a hash
// compression on a persistent state that chains from step to step (SHA-1,
// SHA-256, SHA-384, SHA-512, HAS-160) or a five-round construction over a
// 128-bit block cipher (ARIA-128/192/256, SEED) after FIPS 186-2
// appendix 3.3.
//
// Seeds not given by the caller come from the C runtime's rand(), seeded
// with the clock, and from a 20-byte digest chained through a 1023-byte
// entropy pool that is fed once per process with readings of the platform.
#include "random/prng_internal.h"

#include "bigint/bigint_internal.h"
#include "cipher/aria.h"
#include "cipher/seed.h"
#include "foundation/common.h"

#include <kry/blockcipher.h>
#include <kry/digest.h>
#include <kry/prng.h>

#include <fcntl.h>
#include <sys/random.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace kry {
namespace {

constexpr const char *kSource = "prng.c";
constexpr uint32_t kBound = 0xFFFFFFFF;

// Status words (library 0x0D).
constexpr uint32_t kGateFailure = 0xFFFFFFFE;
constexpr uint32_t kRefusedInProvenMode = 0xFFFFFFFF;
constexpr uint32_t kErrXkeyLength = 0x0D010001;
constexpr uint32_t kErrUnknownG = 0x0D020004;
constexpr uint32_t kErrNullOutput = 0x0D030006;
constexpr uint32_t kErrNoXkey = 0x0D030F00;
constexpr uint32_t kErrGeneration = 0x0D030700;
constexpr uint32_t kErrContinuousTest = 0x0D031A00;

constexpr uint32_t kMinXkeyBytes = 20;
constexpr uint32_t kMaxXkeyBytes = 64;
constexpr uint32_t kHashBlockBytes = 64;   // the G input block
constexpr uint32_t kCipherResultBytes = 20;
constexpr uint32_t kCipherBlockBytes = 16;

// ---- G algorithms ----------------------------------------------------------

enum class GKind { Hash, Aria, Seed };

using HashInit = uint32_t (*)(void *state);
using HashUpdate = uint32_t (*)(void *state, const uint8_t *data, uint32_t length);

struct GInfo {
    uint32_t id;
    GKind kind;
    uint32_t state_bytes;    // allocation of the G state
    uint32_t g_size;         // the unit's G size field
    uint32_t result_bytes;   // bytes of a G result
    uint32_t block_bytes;    // bytes output per block
    uint32_t key_bytes;      // cipher key length
    bool refused_in_proven;  // not an approved generator
    HashInit init;
    HashUpdate update;
};

static_assert(sizeof(SEED_SCHEDULE) == 128);

constexpr GInfo kGTable[] = {
    {KRY_SHA1, GKind::Hash, sizeof(SHA1_STATE), sizeof(SHA1_STATE), 20, 20, 0, false,
     [](void *s) { return init_SHA1(static_cast<SHA1_STATE *>(s)); },
     [](void *s, const uint8_t *d, uint32_t n) { return update_SHA1(static_cast<SHA1_STATE *>(s), d, n); }},
    {KRY_SHA256, GKind::Hash, sizeof(SHA256_STATE), sizeof(SHA256_STATE), 32, 32, 0, true,
     [](void *s) { return init_SHA256(static_cast<SHA256_STATE *>(s)); },
     [](void *s, const uint8_t *d, uint32_t n) { return update_SHA256(static_cast<SHA256_STATE *>(s), d, n); }},
    {KRY_SHA384, GKind::Hash, sizeof(SHA512_STATE), sizeof(SHA512_STATE), 48, 48, 0, true,
     [](void *s) { return init_SHA384(static_cast<SHA512_STATE *>(s)); },
     [](void *s, const uint8_t *d, uint32_t n) { return update_SHA384(static_cast<SHA512_STATE *>(s), d, n); }},
    {KRY_SHA512, GKind::Hash, sizeof(SHA512_STATE), sizeof(SHA512_STATE), 64, 64, 0, true,
     [](void *s) { return init_SHA512(static_cast<SHA512_STATE *>(s)); },
     [](void *s, const uint8_t *d, uint32_t n) { return update_SHA512(static_cast<SHA512_STATE *>(s), d, n); }},
    {KRY_HAS160, GKind::Hash, sizeof(HAS160_STATE), sizeof(HAS160_STATE), 20, 20, 0, true,
     [](void *s) { return init_HAS160(static_cast<HAS160_STATE *>(s)); },
     [](void *s, const uint8_t *d, uint32_t n) { return update_HAS160(static_cast<HAS160_STATE *>(s), d, n); }},
    {0x03000100, GKind::Aria, sizeof(ARIA_SCHEDULE), 32, kCipherResultBytes, kCipherBlockBytes, 16, false, nullptr,
     nullptr},
    {0x03000200, GKind::Aria, sizeof(ARIA_SCHEDULE), 32, kCipherResultBytes, kCipherBlockBytes, 24, false, nullptr,
     nullptr},
    {0x03000300, GKind::Aria, sizeof(ARIA_SCHEDULE), 32, kCipherResultBytes, kCipherBlockBytes, 32, false, nullptr,
     nullptr},
    {0x04000100, GKind::Seed, sizeof(SEED_SCHEDULE), 16, kCipherResultBytes, kCipherBlockBytes, 16, false, nullptr,
     nullptr},
};

const GInfo *find_g(uint32_t id) {
    for (const GInfo &g : kGTable)
        if (g.id == id)
            return &g;
    return nullptr;
}

// Bytes allocated for a G state whose G size field is g_size: the cipher
// states are larger than the part of them the G size covers.
uint32_t g_state_allocation(uint32_t g_size) {
    if (g_size == 32)
        return sizeof(ARIA_SCHEDULE);
    if (g_size == 16)
        return sizeof(SEED_SCHEDULE);
    return g_size;
}

// Wipes the whole G state (not only its G size) and releases it.
void release_g_state(PRNG_UNIT *unit) {
    if (unit->g_state != nullptr) {
        wipe(unit->g_state, g_state_allocation(unit->g_size));
        lum_free(unit->g_state, kSource, __LINE__);
    }
    unit->g_state = nullptr;
    unit->g_size = 0;
}

// ---- BIGINT helpers ----------------------------------------------------------

// Wipes the words in use of a scratch integer and makes it zero (the array
// stays with the record for reuse).
void scrub(BIGINT *v) {
    if (v != nullptr && v->data != nullptr && v->length > 0)
        wipe(v->data, static_cast<size_t>(std::min(v->length, v->size)) * sizeof(uint32_t));
    if (v != nullptr)
        v->length = 0;
}

// v = v mod 2^bits; the dropped words are wiped.  0, or 1 for null.
int truncate_bits(BIGINT *v, int32_t bits) {
    if (v == nullptr || bits < 0)
        return 1;
    const int32_t words = (bits + 31) / 32;
    if (v->length > words) {
        wipe(v->data + words, static_cast<size_t>(v->length - words) * sizeof(uint32_t));
        v->length = words;
    }
    if (bits % 32 != 0 && v->length == words)
        v->data[words - 1] &= (1u << (bits % 32)) - 1;
    normalize_BIGINT(v);
    return 0;
}

// Writes v as exactly width big-endian bytes, leading zeros included (the
// bytes above width, if any, are not written).
void write_be(const BIGINT *v, uint8_t *out, uint32_t width) {
    for (uint32_t k = 0; k < width; k++) {
        const uint32_t i = width - 1 - k;  // byte index from the least significant end
        const int32_t word = static_cast<int32_t>(i / 4);
        const uint32_t w = (v != nullptr && word < v->length) ? v->data[word] : 0;
        out[k] = static_cast<uint8_t>(w >> (8 * (i % 4)));
    }
}

// r = (a + b) mod 2^bits.  0 on success.
int add_mod_pow2(BIGINT *r, const BIGINT *a, const BIGINT *b, int32_t bits, BIGINT_POOL *pool) {
    if (r == nullptr || a == nullptr || b == nullptr)
        return 1;
    int err = add_BIGINT(r, a, b, pool);
    err += truncate_bits(r, bits);
    return err;
}

// ---- the G functions -----------------------------------------------------------

// The chaining value of a hash state as the G result.  SHA-1, SHA-256 and
// HAS-160 give their words big-endian.  For SHA-384 and SHA-512 the result
// is the 32-bit words found at 8-byte steps from H0, each big-endian: the
// low halves of H0..H7 (the state keeps native 64-bit words, low half first
// in memory), followed for SHA-512 by eight and for SHA-384 by four words
// from the same positions of the state's block buffer, which the generator
// never fills.
uint32_t read_hash_result(uint32_t id, const void *state, uint8_t *x) {
    switch (id) {
    case KRY_SHA1: {
        const auto *s = static_cast<const SHA1_STATE *>(state);
        for (int i = 0; i < 5; i++)
            store32_be(x + 4 * i, s->h[i]);
        return 20;
    }
    case KRY_HAS160: {
        const auto *s = static_cast<const HAS160_STATE *>(state);
        for (int i = 0; i < 5; i++)
            store32_be(x + 4 * i, s->h[i]);
        return 20;
    }
    case KRY_SHA256: {
        const auto *s = static_cast<const SHA256_STATE *>(state);
        for (int i = 0; i < 8; i++)
            store32_be(x + 4 * i, s->h[i]);
        return 32;
    }
    case KRY_SHA384:
    case KRY_SHA512: {
        const auto *s = static_cast<const SHA512_STATE *>(state);
        const int words = id == KRY_SHA512 ? 16 : 12;
        for (int i = 0; i < words; i++) {
            const uint32_t w = i < 8 ? static_cast<uint32_t>(s->h[i]) : load32_le(s->block + 8 * (i - 8));
            store32_be(x + 4 * i, w);
        }
        return static_cast<uint32_t>(4 * words);
    }
    default:
        return 0;
    }
}

// XVAL at full width (ceil(b/8) bytes) at the front of a zero-filled 64-byte
// block; false when it does not fit.
bool xval_block(const BIGINT *xval, int32_t b, uint8_t block[kHashBlockBytes]) {
    std::memset(block, 0, kHashBlockBytes);
    if (b < 0)
        return false;
    const uint32_t bytes = (static_cast<uint32_t>(b) + 7) / 8;
    if (bytes > kHashBlockBytes)
        return false;
    write_be(xval, block, bytes);
    return true;
}

// The round function of the block-cipher G: one block under one key.
void cipher_round(const GInfo &g, void *state, const uint8_t *key, const uint8_t in[16], uint8_t out[16]) {
    if (g.kind == GKind::Aria) {
        auto &ks = *static_cast<ARIA_SCHEDULE *>(state);
        aria_set_encrypt_key(key, g.key_bytes, ks);
        aria_encrypt_block(in, out, ks);
    } else {
        auto &ks = *static_cast<SEED_SCHEDULE *>(state);
        seed_set_key(key, ks);
        seed_encrypt_block(in, out, ks);
    }
}

// One generator step on the unit.  x receives the G result (up to 64
// bytes) and x_length its length.
uint32_t run_g(PRNG_UNIT *unit, const BIGINT *xval, int32_t b, uint8_t x[64], uint32_t *x_length) {
    const GInfo *g = find_g(unit->g_id);
    if (g == nullptr)
        return 1;
    if (g->kind == GKind::Hash)
        return prng::prng_G_hash(unit, xval, b, x, x_length);
    *x_length = kCipherResultBytes;
    return prng::prng_G_cipher(unit, prng::kT, xval, b, x);
}

// ---- the entropy pool ------------------------------------------------------------

struct EntropyPool {
    uint8_t bytes[prng::kPoolBytes];
    uint8_t digest[prng::kPoolDigestBytes];
    int32_t index;        // next write position
    int32_t fill;         // bytes ever written, at most 1023
    uint32_t counter[2];  // the second word counts the 20-byte chunks mixed
    double entropy;       // accumulated estimate, up to 32.0
    uint32_t collected;   // the platform readings have been mixed in
};

EntropyPool g_pool;                        // zero at load
std::mutex g_pool_lock;                    // guards g_pool, srand/rand sequences
std::atomic<uint32_t> g_collection_runs{0};

// The mixing of pool_add; the caller holds the lock.
void pool_add_locked(const uint8_t *bytes, int32_t count, double estimate) {
    constexpr int32_t N = prng::kPoolBytes;
    if (bytes == nullptr || count < 0)
        return;
    uint8_t running[prng::kPoolDigestBytes];
    std::memcpy(running, g_pool.digest, sizeof running);
    uint32_t counter[2] = {g_pool.counter[0], g_pool.counter[1]};
    WipeOnExit wipe_running(running);

    int32_t at = g_pool.index;
    const int64_t next = static_cast<int64_t>(g_pool.index) + count;
    if (next < N) {
        g_pool.index = static_cast<int32_t>(next);
        if (g_pool.index > g_pool.fill)
            g_pool.fill = g_pool.index;
    } else {
        g_pool.fill = N;
        g_pool.index = static_cast<int32_t>(next % N);
    }
    g_pool.counter[1] += static_cast<uint32_t>((static_cast<int64_t>(count) + 19) / 20);

    SHA1_STATE sha;
    WipeOnExit wipe_sha(sha);
    for (int32_t i = 0; i < count; i += 20) {
        const int32_t j = std::min(20, count - i);
        init_SHA1(&sha);
        update_SHA1(&sha, running, sizeof running);
        if (at + j > N) {
            update_SHA1(&sha, g_pool.bytes + at, static_cast<uint32_t>(N - at));
            update_SHA1(&sha, g_pool.bytes, static_cast<uint32_t>(at + j - N));
        } else {
            update_SHA1(&sha, g_pool.bytes + at, static_cast<uint32_t>(j));
        }
        update_SHA1(&sha, bytes + i, static_cast<uint32_t>(j));
        uint8_t counter_bytes[8];
        store32_le(counter_bytes, counter[0]);
        store32_le(counter_bytes + 4, counter[1]);
        update_SHA1(&sha, counter_bytes, sizeof counter_bytes);
        final_SHA1(&sha, running);
        counter[1]++;
        for (int32_t k = 0; k < j; k++) {
            g_pool.bytes[at] ^= running[k];
            if (++at >= N)
                at = 0;
        }
    }
    for (uint32_t k = 0; k < prng::kPoolDigestBytes; k++)
        g_pool.digest[k] ^= running[k];
    if (g_pool.entropy < 32.0)
        g_pool.entropy += estimate;
}

uint32_t u32(uint64_t v) { return static_cast<uint32_t>(v); }

// Sixteen bytes from the system's random source (in place of a GUID);
// nothing is checked, whatever the buffer holds is used.
void system_random_16(uint8_t out[16]) {
    ssize_t got = getrandom(out, 16, GRND_NONBLOCK);
    if (got == 16)
        return;
    int fd = open("/dev/urandom", O_RDONLY | O_CLOEXEC);
    if (fd >= 0) {
        ssize_t r = read(fd, out, 16);
        (void)r;
        close(fd);
    }
}

// Reads the platform once and mixes the readings into the pool, each as
// decimal text with an estimate equal to its length.  Every reading is
// formatted first, then all are mixed in order.  The caller holds the lock.
void collect_entropy_locked() {
    char texts[7][96] = {};

    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    std::snprintf(texts[0], sizeof texts[0], "%4d%02d%02d%d%02d%02d%02d%03d", local.tm_year + 1900,
                  local.tm_mon + 1, local.tm_mday, local.tm_wday, local.tm_hour, local.tm_min, local.tm_sec,
                  static_cast<int>(now.tv_nsec / 1000000));

    timespec boot{};
    clock_gettime(CLOCK_BOOTTIME, &boot);
    const uint64_t boot_ms = static_cast<uint64_t>(boot.tv_sec) * 1000u + static_cast<uint64_t>(boot.tv_nsec) / 1000000u;
    std::snprintf(texts[1], sizeof texts[1], "%010u", u32(boot_ms));

    std::snprintf(texts[2], sizeof texts[2], "%010u", u32(static_cast<uint64_t>(syscall(SYS_gettid))));
    std::snprintf(texts[3], sizeof texts[3], "%010u", u32(static_cast<uint64_t>(getpid())));

    void *fresh = lum_malloc(1, kSource, __LINE__);
    std::snprintf(texts[4], sizeof texts[4], "%010u", u32(reinterpret_cast<uintptr_t>(fresh)));
    lum_Free(fresh, 1);

    uint8_t id[16] = {};
    system_random_16(id);
    std::snprintf(texts[5], sizeof texts[5], "%010u%010u%010u%010u", load32_le(id), load32_le(id + 4),
                  load32_le(id + 8), load32_le(id + 12));
    wipe(id, sizeof id);

    timespec mono{};
    clock_gettime(CLOCK_MONOTONIC, &mono);
    const uint64_t counter = static_cast<uint64_t>(mono.tv_sec) * 1000000000u + static_cast<uint64_t>(mono.tv_nsec);
    std::snprintf(texts[6], sizeof texts[6], "%10u%04u", u32(counter), u32(counter >> 32));

    constexpr int32_t kLengths[7] = {18, 10, 10, 10, 10, 40, 14};
    for (int i = 0; i < 7; i++)
        pool_add_locked(reinterpret_cast<const uint8_t *>(texts[i]), kLengths[i], kLengths[i]);
    wipe(texts, sizeof texts);
    g_collection_runs.fetch_add(1, std::memory_order_relaxed);
}

// ---- seeding -------------------------------------------------------------------

// The low 32 bits of the local time as a file time: 100-ns intervals since
// 1601-01-01 at millisecond resolution.
uint32_t local_file_time_low() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    constexpr int64_t kEpochDelta = 11644473600;  // seconds from 1601-01-01 to 1970-01-01
    const int64_t seconds = static_cast<int64_t>(now.tv_sec) + local.tm_gmtoff + kEpochDelta;
    const uint64_t ticks = static_cast<uint64_t>(seconds) * 10000000u + static_cast<uint64_t>(now.tv_nsec / 1000000) * 10000u;
    return static_cast<uint32_t>(ticks);
}

// A default XKEY from rand(): 20 to 64 bytes; each whole group of four
// bytes takes four fresh values r0..r3 and keeps the low byte of
// (r0*s) >> 24, (r1*s) >> 16, (r2*s) >> 8 and r3*s (32-bit products); the
// last length mod 4 bytes stay zero.  The caller holds the lock.
uint32_t draw_xkey(uint8_t out[kMaxXkeyBytes], uint32_t s) {
    const uint32_t length = static_cast<uint32_t>(std::rand()) % 45 + 20;
    std::memset(out, 0, kMaxXkeyBytes);
    for (uint32_t i = 0; i + 4 <= length; i += 4) {
        const uint32_t r0 = static_cast<uint32_t>(std::rand());
        const uint32_t r1 = static_cast<uint32_t>(std::rand());
        const uint32_t r2 = static_cast<uint32_t>(std::rand());
        const uint32_t r3 = static_cast<uint32_t>(std::rand());
        out[i] = static_cast<uint8_t>((r0 * s) >> 24);
        out[i + 1] = static_cast<uint8_t>((r1 * s) >> 16);
        out[i + 2] = static_cast<uint8_t>((r2 * s) >> 8);
        out[i + 3] = static_cast<uint8_t>(r3 * s);
    }
    return length;
}

// A default XSEED: each byte i folds XKEY byte i into the pool digest,
// replaces the digest by its SHA-1 and takes byte i of the new digest.
// The caller holds the lock.
void draw_xseed(const uint8_t *xkey, uint8_t out[20]) {
    uint8_t next[KRY_MAX_DIGEST_LENGTH];
    for (uint32_t i = 0; i < 20; i++) {
        g_pool.digest[i] ^= xkey[i];
        uint32_t length = 0;
        Digest(KRY_SHA1, g_pool.digest, prng::kPoolDigestBytes, next, &length);
        std::memcpy(g_pool.digest, next, prng::kPoolDigestBytes);
        out[i] = g_pool.digest[i];
    }
    wipe(next, sizeof next);
}

// Loads bytes into *slot (made when absent); false when that fails.
bool load_integer(BIGINT *&slot, const uint8_t *bytes, uint32_t length) {
    if (length > 0x7FFFFFFF)
        return false;
    BIGINT *v = binary_to_BIGINT(bytes, static_cast<int32_t>(length), slot);
    if (v == nullptr)
        return false;
    slot = v;
    return true;
}

// The unit's scratch pool: the caller's, or one of its own.
void attach_pool(PRNG_UNIT *unit, BIGINT_POOL *pool) {
    if (pool != nullptr) {
        if (unit->pool_owned != 0 && unit->pool != nullptr && unit->pool != pool)
            free_BIGINT_POOL(unit->pool);
        unit->pool = pool;
        unit->pool_owned = 0;
    } else if (unit->pool_owned == 0 || unit->pool == nullptr) {
        unit->pool = new_BIGINT_POOL();
        unit->pool_owned = 1;
    }
}

}  // namespace

// ---- internal entries ------------------------------------------------------------

namespace prng {

uint32_t prng_block_length(uint32_t id) {
    const GInfo *g = find_g(id);
    return g != nullptr ? g->block_bytes : 0;
}

uint32_t prng_select_G(PRNG_UNIT *unit, uint32_t id) {
    if (test_mode_gate() != 0)
        return kGateFailure;
    if (unit == nullptr)
        return 1;
    const GInfo *g = find_g(id);
    if (g != nullptr && g->refused_in_proven && IsProven() == 1)
        return kRefusedInProvenMode;
    if (g == nullptr) {
        unit->g_id = 0;
        return kErrUnknownG;
    }
    unit->g_id = id;
    release_g_state(unit);
    void *state = lum_malloc(g->state_bytes, kSource, __LINE__);
    if (state != nullptr) {
        std::memset(state, 0, g->state_bytes);
        if (g->init != nullptr)
            g->init(state);
        unit->g_state = state;
        unit->g_size = g->g_size;
    }
    return 0;
}

uint32_t prng_G_hash(PRNG_UNIT *unit, const BIGINT *xval, int32_t b, uint8_t x[64], uint32_t *x_length) {
    if (unit == nullptr || x == nullptr || x_length == nullptr || unit->g_state == nullptr)
        return 1;
    const GInfo *g = find_g(unit->g_id);
    if (g == nullptr || g->kind != GKind::Hash)
        return 1;
    uint8_t block[kHashBlockBytes];
    WipeOnExit wipe_block(block);
    if (!xval_block(xval, b, block))
        return 1;
    // No init, no final, no padding: the block is compressed on top of the
    // previous step's chaining value.
    if (g->update(unit->g_state, block, kHashBlockBytes) != 0)
        return 1;
    *x_length = read_hash_result(g->id, unit->g_state, x);
    return 0;
}

// FIPS 186-2 appendix 3.3 builds G from DES; here the block is widened to
// 128 bits.  t and c (XVAL) are taken as five big-endian words t0..t4 and
// c0..c4, and x_j = t_j ^ c_j.  XVAL is written at full width (ceil(b/8)
// bytes) at the front of a zero-filled 64-byte block, as for the hash G,
// and folded into 20 bytes by exclusive-or of byte i into byte i mod 20
// (for b = 160 this is XVAL itself).  With indices mod 5, round i = 0..4 is
//   block = x_i || x_{i+1} ^ x_{i+4} || x_{i+2} || x_{i+3}
//   key   = c_{i+4} || c_{i+3} || c_{i+2} || c_{i+1}      (16 bytes: ARIA-128, SEED)
//           || c_i || x_{i+4}                          (24 bytes: ARIA-192)
//           || x_{i+3} || x_{i+2}                      (32 bytes: ARIA-256)
//   y_i   = E_key(block) = y_{i,0} || y_{i,1} || y_{i,2} || y_{i,3}
// and the result is z_0 || ... || z_4 with
//   z_i = y_{i,0} ^ y_{i+1,1} ^ y_{i+2,2} ^ y_{i+3,3},
// so every output word of every round enters the result once.
uint32_t prng_G_cipher(PRNG_UNIT *unit, const uint8_t t[20], const BIGINT *xval, int32_t b, uint8_t x[20]) {
    if (unit == nullptr || t == nullptr || x == nullptr || unit->g_state == nullptr)
        return 1;
    const GInfo *g = find_g(unit->g_id);
    if (g == nullptr || g->kind == GKind::Hash)
        return 1;
    uint8_t block[kHashBlockBytes];
    WipeOnExit wipe_block(block);
    if (!xval_block(xval, b, block))
        return 1;
    uint8_t folded[20] = {};
    WipeOnExit wipe_folded(folded);
    for (uint32_t i = 0; i < kHashBlockBytes; i++)
        folded[i % 20] ^= block[i];

    uint32_t c[5], xw[5], y[5][4];
    WipeOnExit wipe_c(c);
    WipeOnExit wipe_x(xw);
    WipeOnExit wipe_y(y);
    for (int j = 0; j < 5; j++) {
        c[j] = load32_be(folded + 4 * j);
        xw[j] = load32_be(t + 4 * j) ^ c[j];
    }
    uint8_t key[32], in[16], out[16];
    WipeOnExit wipe_key(key);
    WipeOnExit wipe_in(in);
    WipeOnExit wipe_out(out);
    for (int i = 0; i < 5; i++) {
        const uint32_t key_words[8] = {c[(i + 4) % 5], c[(i + 3) % 5], c[(i + 2) % 5], c[(i + 1) % 5],
                                       c[i],           xw[(i + 4) % 5], xw[(i + 3) % 5], xw[(i + 2) % 5]};
        for (int k = 0; k < 8; k++)
            store32_be(key + 4 * k, key_words[k]);
        store32_be(in, xw[i]);
        store32_be(in + 4, xw[(i + 1) % 5] ^ xw[(i + 4) % 5]);
        store32_be(in + 8, xw[(i + 2) % 5]);
        store32_be(in + 12, xw[(i + 3) % 5]);
        cipher_round(*g, unit->g_state, key, in, out);
        for (int k = 0; k < 4; k++)
            y[i][k] = load32_be(out + 4 * k);
    }
    for (int i = 0; i < 5; i++)
        store32_be(x + 4 * i, y[i][0] ^ y[(i + 1) % 5][1] ^ y[(i + 2) % 5][2] ^ y[(i + 3) % 5][3]);
    return 0;
}

uint32_t prng_next_block(PRNG_UNIT *unit, uint8_t *out, uint32_t *length) {
    if (test_mode_gate() != 0)
        return kGateFailure;
    if (out == nullptr)
        return kErrNullOutput;
    if (unit == nullptr || unit->xkey == nullptr)
        return kErrNoXkey;
    const GInfo *g = find_g(unit->g_id);
    if (g == nullptr)
        return 1;

    kry::PoolFrame frame(unit->pool);
    BIGINT *xval = frame.get();
    BIGINT *xb = frame.get();
    if (xval == nullptr || xb == nullptr)
        return 1;
    const int32_t b = get_BIGINT_bits_length(unit->xkey);
    uint8_t x[64] = {};
    WipeOnExit wipe_x(x);
    uint32_t x_length = 0;

    uint32_t err = static_cast<uint32_t>(add_mod_pow2(xval, unit->xkey, unit->xseed, b, unit->pool));
    err += run_g(unit, xval, b, x, &x_length);
    if (err == 0) {
        // XKEY = (1 + XKEY + x) mod 2^b
        if (binary_to_BIGINT(x, static_cast<int32_t>(x_length), xb) == nullptr)
            err += 1;
        else {
            err += static_cast<uint32_t>(add_BIGINT(unit->xkey, unit->xkey, xb, unit->pool));
            err += static_cast<uint32_t>(add_BIGINT_word(unit->xkey, 1));
            err += static_cast<uint32_t>(truncate_bits(unit->xkey, b));
        }
        // x at full width: the block length's first bytes of the G result.
        std::memcpy(out, x, g->block_bytes);
        if (length != nullptr)
            *length = g->block_bytes;
    }
    scrub(xval);
    scrub(xb);
    return err;
}

void pool_add(const uint8_t *bytes, int32_t count, double estimate) {
    std::lock_guard<std::mutex> lock(g_pool_lock);
    pool_add_locked(bytes, count, estimate);
}

void pool_snapshot(PoolView &view) {
    std::lock_guard<std::mutex> lock(g_pool_lock);
    std::memcpy(view.bytes, g_pool.bytes, sizeof view.bytes);
    std::memcpy(view.digest, g_pool.digest, sizeof view.digest);
    view.index = g_pool.index;
    view.fill = g_pool.fill;
    view.counter[0] = g_pool.counter[0];
    view.counter[1] = g_pool.counter[1];
    view.entropy = g_pool.entropy;
    view.collected = g_pool.collected;
}

uint32_t collection_runs() { return g_collection_runs.load(std::memory_order_relaxed); }

}  // namespace prng
}  // namespace kry

// ---- exported entries ------------------------------------------------------------

using namespace kry;

extern "C" {

KRY_API PRNG_UNIT *new_PRNG_UNIT(void) {
    auto *unit = static_cast<PRNG_UNIT *>(lum_malloc(sizeof(PRNG_UNIT), kSource, __LINE__));
    if (unit != nullptr)
        std::memset(unit, 0, sizeof *unit);
    return unit;
}

KRY_API uint32_t init_PRNG(PRNG_UNIT *unit, uint32_t g_id, const uint8_t *xkey, uint32_t xkey_length,
                           const uint8_t *xseed, uint32_t xseed_length, BIGINT_POOL *pool) {
    if (test_mode_gate() != 0)
        return kGateFailure;
    if (unit == nullptr)
        return 1;
    // Marked first, so that clean releases whatever a failed init made.
    unit->bound = kBound;
    attach_pool(unit, pool);
    if (uint32_t r = prng::prng_select_G(unit, g_id); r != 0)
        return r;
    if (xkey != nullptr && (xkey_length < kMinXkeyBytes || xkey_length > kMaxXkeyBytes)) {
        free_BIGINT(unit->xkey);
        unit->xkey = nullptr;
        return kErrXkeyLength;
    }

    uint8_t drawn_key[kMaxXkeyBytes];
    uint8_t drawn_seed[20];
    WipeOnExit wipe_key(drawn_key);
    WipeOnExit wipe_seed(drawn_seed);
    for (;;) {
        const uint8_t *key = xkey;
        uint32_t key_length = xkey_length;
        const uint8_t *seed = xseed;
        uint32_t seed_length = xseed_length;
        {
            std::lock_guard<std::mutex> lock(g_pool_lock);
            const uint32_t s = local_file_time_low();
            std::srand(s);
            if (key == nullptr) {
                key_length = draw_xkey(drawn_key, s);
                key = drawn_key;
            }
            if (g_pool.collected == 0) {
                collect_entropy_locked();
                g_pool.collected = 1;
            }
            if (seed == nullptr) {
                draw_xseed(key, drawn_seed);
                seed = drawn_seed;
                seed_length = sizeof drawn_seed;
            }
        }
        load_integer(unit->xkey, key, key_length);
        load_integer(unit->xseed, seed, seed_length);
        // Another round when the two values are equal and one of them was
        // drawn here (two given values would never change).
        const bool drawn = xkey == nullptr || xseed == nullptr;
        if (!drawn || unit->xkey == nullptr || unit->xseed == nullptr || cmp_BIGINT(unit->xkey, unit->xseed) != 0)
            break;
    }
    return 0;
}

KRY_API uint32_t get_rand(PRNG_UNIT *unit, uint8_t *out, uint32_t length) {
    if (unit == nullptr || (out == nullptr && length != 0))
        return kErrGeneration;
    const uint32_t m = prng::prng_block_length(unit->g_id);
    uint8_t first[64] = {};
    uint8_t block[64] = {};
    WipeOnExit wipe_first(first);
    WipeOnExit wipe_block(block);
    uint32_t produced = 0;

    // The first block is the reference of the continuous test; it is never
    // output.
    if (prng::prng_next_block(unit, first, &produced) != 0)
        return kErrGeneration;

    if (m > length) {
        if (prng::prng_next_block(unit, block, &produced) != 0)
            return kErrGeneration;
        if (std::memcmp(first, block, m) == 0)
            return kErrContinuousTest;
        if (length != 0)
            std::memcpy(out, block, length);
        return 0;
    }
    if (m < length) {
        uint32_t done = 0;
        while (length - done > m) {
            if (prng::prng_next_block(unit, block, &produced) != 0)
                return kErrGeneration;
            if (std::memcmp(first, block, m) == 0)
                return kErrContinuousTest;
            std::memcpy(out + done, block, m);
            done += m;
        }
        // The last block is neither compared with the reference nor checked.
        (void)prng::prng_next_block(unit, block, &produced);
        std::memcpy(out + done, block, length - done);
        return 0;
    }
    // m == n: the reference block is drawn again, then the output block.
    if (prng::prng_next_block(unit, first, &produced) != 0)
        return kErrGeneration;
    if (prng::prng_next_block(unit, block, &produced) != 0)
        return kErrGeneration;
    if (std::memcmp(first, block, length) == 0)
        return kErrContinuousTest;
    std::memcpy(out, block, length);
    return 0;
}

KRY_API void clean_PRNG_UNIT(PRNG_UNIT *unit) {
    if (unit == nullptr || unit->bound != kBound)
        return;
    free_BIGINT(unit->xkey);
    free_BIGINT(unit->xseed);
    release_g_state(unit);
    if (unit->pool_owned != 0 && unit->pool != nullptr)
        free_BIGINT_POOL(unit->pool);
    wipe_object(*unit);
}

KRY_API void free_PRNG_UNIT(PRNG_UNIT *unit) {
    if (unit == nullptr)
        return;
    clean_PRNG_UNIT(unit);
    lum_Free(unit, sizeof *unit);
}

KRY_API uint32_t RAND_BYTES(uint8_t *out, uint32_t length) {
    if (uint32_t r = test_mode_gate(); r != 0)
        return r;
    PRNG_UNIT unit;
    std::memset(&unit, 0, sizeof unit);
    uint32_t r = init_PRNG(&unit, KRY_SHA1, nullptr, 0, nullptr, 0, nullptr);
    if (r == 0)
        r = get_rand(&unit, out, length);
    clean_PRNG_UNIT(&unit);
    return r;
}

KRY_API uint32_t get_rand_BIGINT(PRNG_UNIT *unit, BIGINT *result, int32_t bits) {
    if (test_mode_gate() != 0)
        return kGateFailure;
    if (result == nullptr || bits < 0)
        return kErrGeneration;
    const uint32_t n = (static_cast<uint32_t>(bits) + 7) / 8;
    auto *buffer = static_cast<uint8_t *>(lum_calloc(n != 0 ? n : 1, 1, kSource, __LINE__));
    if (buffer == nullptr)
        return kErrGeneration;
    uint32_t r = get_rand(unit, buffer, n);
    if (r == 0) {
        // At most bits bits: the surplus top bits of the first byte go.
        if (n != 0)
            buffer[0] = static_cast<uint8_t>(buffer[0] >> (8 * n - static_cast<uint32_t>(bits)));
        if (binary_to_BIGINT(buffer, static_cast<int32_t>(n), result) == nullptr)
            r = kErrGeneration;
    }
    wipe(buffer, n);
    lum_free(buffer, kSource, __LINE__);
    return r;
}

// FIPS 186-2 appendix 3.1 step with the reduction modulo q: x = G(XVAL) mod q
// enters the XKEY update.  No reference block and no continuous test.
KRY_API uint32_t get_rand_DSA_BIGINT(PRNG_UNIT *unit, BIGINT *result, const BIGINT *q) {
    if (test_mode_gate() != 0)
        return kGateFailure;
    if (unit == nullptr || unit->xkey == nullptr)
        return kErrNoXkey;
    if (result == nullptr)
        return kErrGeneration;

    kry::PoolFrame frame(unit->pool);
    BIGINT *xval = frame.get();
    BIGINT *xb = frame.get();
    if (xval == nullptr || xb == nullptr)
        return kErrGeneration;
    const int32_t b = get_BIGINT_bits_length(unit->xkey);
    uint8_t x[64] = {};
    WipeOnExit wipe_x(x);
    uint32_t x_length = 0;

    uint32_t err = static_cast<uint32_t>(add_mod_pow2(xval, unit->xkey, unit->xseed, b, unit->pool));
    err += run_g(unit, xval, b, x, &x_length);
    if (err == 0) {
        if (binary_to_BIGINT(x, static_cast<int32_t>(x_length), xb) == nullptr)
            err += 1;
        else if (q != nullptr)
            err += static_cast<uint32_t>(div_BIGINT(nullptr, result, xb, q, unit->pool));
        else
            err += copy_BIGINT(result, xb);
        if (err == 0) {
            err += static_cast<uint32_t>(add_BIGINT(unit->xkey, unit->xkey, result, unit->pool));
            err += static_cast<uint32_t>(add_BIGINT_word(unit->xkey, 1));
            err += static_cast<uint32_t>(truncate_bits(unit->xkey, b));
        }
    }
    scrub(xval);
    scrub(xb);
    return err != 0 ? kErrGeneration : 0;
}

}  // extern "C"
