// PKCS #1 (RFC 8017) encodings: EMSA-PKCS1-v1_5, EMSA-PSS, EME-OAEP in the
// PKCS #1 v2.0 and v2.1 block forms, RSAES-PKCS1-v1_5 and MGF1.
#include "pubkey/rsa_padding.h"

#include <kry/prng.h>

#include "foundation/common.h"
#include "foundation/ct.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace {

struct DigestInfoPrefix {
    uint32_t digest_id;
    uint32_t length;
    uint8_t bytes[19];
};

// DER DigestInfo prefixes of PKCS #1 (RFC 8017 section 9.2, note 1).
constexpr DigestInfoPrefix kPrefixes[] = {
    {KRY_MD5, 18, {0x30, 0x20, 0x30, 0x0c, 0x06, 0x08, 0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x02, 0x05,
                   0x05, 0x00, 0x04, 0x10}},
    {KRY_SHA1, 15, {0x30, 0x21, 0x30, 0x09, 0x06, 0x05, 0x2b, 0x0e, 0x03, 0x02, 0x1a, 0x05, 0x00, 0x04,
                    0x14}},
    {KRY_SHA256, 19, {0x30, 0x31, 0x30, 0x0d, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04,
                      0x02, 0x01, 0x05, 0x00, 0x04, 0x20}},
    {KRY_SHA384, 19, {0x30, 0x41, 0x30, 0x0d, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04,
                      0x02, 0x02, 0x05, 0x00, 0x04, 0x30}},
    {KRY_SHA512, 19, {0x30, 0x51, 0x30, 0x0d, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04,
                      0x02, 0x03, 0x05, 0x00, 0x04, 0x40}},
};

const DigestInfoPrefix *find_prefix(uint32_t digest_id) {
    for (const auto &p : kPrefixes)
        if (p.digest_id == digest_id)
            return &p;
    return nullptr;
}

// Heap buffer of n bytes, wiped and released at scope exit.
class SecureBuffer {
public:
    explicit SecureBuffer(size_t n)
        : size_(n),
          data_(n <= UINT32_MAX ? static_cast<uint8_t *>(lum_calloc(n ? static_cast<uint32_t>(n) : 1u, 1,
                                                                    __FILE__, __LINE__))
                                : nullptr) {}
    ~SecureBuffer() { lum_Free(data_, static_cast<uint32_t>(size_)); }
    SecureBuffer(const SecureBuffer &) = delete;
    SecureBuffer &operator=(const SecureBuffer &) = delete;
    uint8_t *get() { return data_; }
    bool ok() const { return data_ != nullptr; }

private:
    size_t size_;
    uint8_t *data_;
};

uint32_t modulus_bits(const RSA *rsa) {
    if (rsa == nullptr || rsa->n == nullptr)
        return 0;
    int32_t bits = get_BIGINT_bits_length(rsa->n);
    return bits > 0 ? static_cast<uint32_t>(bits) : 0;
}

// Digest of the concatenation of up to three parts with the unit's own algorithm.
bool digest_parts(DIGEST_UNIT *unit, const uint8_t *a, uint32_t al, const uint8_t *b, uint32_t bl,
                  const uint8_t *c, uint32_t cl, uint8_t *out, bool *final_failed = nullptr) {
    if (init_Digest(unit, unit->algorithm_id) != 0)
        return false;
    if (al != 0 && update_Digest(unit, a, al) != 0)
        return false;
    if (bl != 0 && update_Digest(unit, b, bl) != 0)
        return false;
    if (cl != 0 && update_Digest(unit, c, cl) != 0)
        return false;
    uint32_t out_length = 0;
    if (final_Digest(unit, out, &out_length) != 0) {
        if (final_failed != nullptr)
            *final_failed = true;
        return false;
    }
    return true;
}

void xor_into(uint8_t *dst, const uint8_t *mask, uint32_t n) {
    for (uint32_t i = 0; i < n; ++i)
        dst[i] ^= mask[i];
}

// Applies dst ^= MGF1(seed, n) through a temporary mask buffer.
bool mask_with_mgf1(uint8_t *dst, uint32_t n, const uint8_t *seed, uint32_t seed_length,
                    DIGEST_UNIT *unit) {
    SecureBuffer mask(n);
    if (!mask.ok())
        return false;
    if (kry::mgf1_RSA(mask.get(), n, seed, seed_length, unit) != 0)
        return false;
    xor_into(dst, mask.get(), n);
    return true;
}

bool oaep_v20(int32_t form) { return form == 0 || form == 8; }

} // namespace

namespace kry {

uint32_t mgf1_RSA(uint8_t *out, uint32_t out_length, const uint8_t *seed, uint32_t seed_length,
                  DIGEST_UNIT *unit) {
    if (unit == nullptr)
        return 0x10210003u;
    uint32_t h = get_DigestLength(unit->algorithm_id);
    if (h == 0 || h > KRY_MAX_DIGEST_LENGTH)
        return 0x10210600u;
    SecureBuffer block(h);
    if (!block.ok())
        return 0x10210400u;
    uint32_t done = 0;
    for (uint32_t counter = 0; done < out_length; ++counter) {
        uint8_t c[4] = {static_cast<uint8_t>(counter >> 24), static_cast<uint8_t>(counter >> 16),
                        static_cast<uint8_t>(counter >> 8), static_cast<uint8_t>(counter)};
        if (!digest_parts(unit, seed, seed_length, c, 4, nullptr, 0, block.get()))
            return 0x10210600u;
        uint32_t take = out_length - done < h ? out_length - done : h;
        std::memcpy(out + done, block.get(), take);
        done += take;
    }
    return 0;
}

uint32_t pss_encode_with_salt(RSA *rsa, uint8_t *em, uint32_t em_length, const uint8_t *hash,
                              uint32_t h, int32_t salt_length, DIGEST_UNIT *unit, const uint8_t *salt) {
    if (unit == nullptr || salt_length < 0 ||
        static_cast<uint64_t>(em_length) < static_cast<uint64_t>(h) + static_cast<uint32_t>(salt_length) + 2)
        return 0x100D0003u;
    if (em == nullptr || (hash == nullptr && h != 0) || (salt == nullptr && salt_length != 0))
        return 1;
    uint32_t bits = modulus_bits(rsa);
    if (bits < 2)
        return 1;
    uint32_t em_bits = bits - 1;
    if (em_bits % 8 == 0) {
        em[0] = 0;
        ++em;
        --em_length;
    }
    uint32_t hlen = get_DigestLength(unit->algorithm_id);
    uint32_t slen = static_cast<uint32_t>(salt_length);
    if (hlen == 0 || hlen > KRY_MAX_DIGEST_LENGTH ||
        static_cast<uint64_t>(em_length) < static_cast<uint64_t>(hlen) + slen + 2)
        return 1;
    static const uint8_t zeros[8] = {0};
    uint8_t H[KRY_MAX_DIGEST_LENGTH];
    kry::WipeOnExit<decltype(H)> wipe_h(H);
    SecureBuffer m_prime(8 + static_cast<size_t>(h));
    if (!m_prime.ok())
        return 1;
    std::memcpy(m_prime.get(), zeros, 8);
    if (h != 0)
        std::memcpy(m_prime.get() + 8, hash, h);
    if (!digest_parts(unit, m_prime.get(), 8 + h, salt, slen, nullptr, 0, H))
        return 1;
    uint32_t db_length = em_length - hlen - 1;
    uint8_t *db = em;
    std::memset(db, 0, db_length);
    db[db_length - slen - 1] = 0x01;
    if (slen != 0)
        std::memcpy(db + db_length - slen, salt, slen);
    if (!mask_with_mgf1(db, db_length, H, hlen, unit)) {
        kry::wipe(em, em_length);
        return 1;
    }
    if (em_bits % 8 != 0)
        db[0] &= static_cast<uint8_t>(0xFFu >> (8 - em_bits % 8));
    std::memcpy(em + db_length, H, hlen);
    em[em_length - 1] = 0xBC;
    return 0;
}

uint32_t oaep_encode_with_seed(RSA *rsa, const uint8_t *m, uint32_t m_length, uint8_t *em,
                               uint32_t capacity, int32_t form, const uint8_t *seed_in) {
    uint32_t k = (modulus_bits(rsa) + 7) / 8;
    bool v20 = oaep_v20(form);
    uint32_t L = v20 ? (k == 0 ? 0 : k - 1) : k;
    if (em != nullptr)
        std::memset(em, 0, capacity);
    if (em == nullptr || rsa == nullptr || rsa->digest == nullptr || seed_in == nullptr)
        return L;
    DIGEST_UNIT *unit = rsa->digest;
    uint32_t h = get_DigestLength(unit->algorithm_id);
    if (h == 0 || h > KRY_MAX_DIGEST_LENGTH)
        return L;
    if (static_cast<uint64_t>(L) < 2ull * h + 1 || static_cast<uint64_t>(m_length) + 2ull * h + 1 > L ||
        L > capacity || (m == nullptr && m_length != 0))
        return L;
    // Block layout: [00] maskedSeed (h) maskedDB.
    uint32_t offset = v20 ? 0 : 1;
    uint8_t *seed = em + offset;
    uint8_t *db = seed + h;
    uint32_t db_length = L - offset - h;
    if (!digest_parts(unit, nullptr, 0, nullptr, 0, nullptr, 0, db))
        goto fail;
    db[db_length - m_length - 1] = 0x01;
    if (m_length != 0)
        std::memcpy(db + db_length - m_length, m, m_length);
    std::memcpy(seed, seed_in, h);
    if (!mask_with_mgf1(db, db_length, seed, h, unit))
        goto fail;
    if (!mask_with_mgf1(seed, h, db, db_length, unit))
        goto fail;
    return L;
fail:
    kry::wipe(em, capacity);
    return L;
}

} // namespace kry

extern "C" {

KRY_API uint32_t add_EMSA_PKCS1_v1_5_ENCODE(uint8_t *em, uint32_t em_length, const uint8_t *hash,
                                            uint32_t h, uint32_t digest_id) {
    const DigestInfoPrefix *prefix = find_prefix(digest_id);
    if (prefix == nullptr)
        return 0xFFFFFFFFu;
    if (em_length < prefix->length + 11)
        return 1;
    // Keep every write inside em even for a hash the length test does not count.
    if (em == nullptr || (hash == nullptr && h != 0) ||
        static_cast<uint64_t>(prefix->length) + h + 3 > em_length)
        return 1;
    uint32_t ff = em_length - prefix->length - h - 3;
    em[0] = 0x00;
    em[1] = 0x01;
    std::memset(em + 2, 0xFF, ff);
    em[2 + ff] = 0x00;
    std::memcpy(em + 3 + ff, prefix->bytes, prefix->length);
    if (h != 0)
        std::memcpy(em + 3 + ff + prefix->length, hash, h);
    return 0;
}

KRY_API uint32_t check_EMSA_PKCS1_v1_5_ENCODE(const uint8_t *em, int32_t length, uint32_t k,
                                              const uint8_t *hash, uint32_t h, uint32_t digest_id) {
    if (em == nullptr || length < 1)
        return 1;
    SecureBuffer expected(k);
    if (!expected.ok())
        return 0x10200400u;
    if (add_EMSA_PKCS1_v1_5_ENCODE(expected.get(), k, hash, h, digest_id) != 0)
        return 0x10200800u;
    // The received value carries no leading zero byte: compare from the second byte on.
    if (k == 0 || static_cast<uint32_t>(length) > k - 1)
        return 0x10201900u;
    return kry::ct_equal(em, expected.get() + 1, static_cast<size_t>(length)) ? 0 : 0x10201900u;
}

KRY_API uint32_t add_RSASSA_PKCS1_PSS_ENCODE(RSA *rsa, uint8_t *em, uint32_t em_length,
                                             const uint8_t *hash, uint32_t h, int32_t salt_length,
                                             DIGEST_UNIT *unit) {
    if (unit == nullptr || salt_length < 0 ||
        static_cast<uint64_t>(em_length) < static_cast<uint64_t>(h) + static_cast<uint32_t>(salt_length) + 2)
        return 0x100D0003u;
    uint32_t slen = static_cast<uint32_t>(salt_length);
    SecureBuffer salt(slen);
    if (!salt.ok())
        return 1;
    if (slen != 0) {
        PRNG_UNIT *prng = new_PRNG_UNIT();
        if (prng == nullptr)
            return 1;
        uint32_t r = init_PRNG(prng, KRY_SHA1, nullptr, 0, nullptr, 0, nullptr);
        if (r == 0)
            r = get_rand(prng, salt.get(), slen);
        free_PRNG_UNIT(prng);
        if (r != 0)
            return 1;
    }
    return kry::pss_encode_with_salt(rsa, em, em_length, hash, h, salt_length, unit, salt.get());
}

KRY_API uint32_t check_RSASSA_PKCS1_PSS_ENCODE(RSA *rsa, const uint8_t *em, uint32_t length,
                                               const uint8_t *hash, uint32_t h, int32_t salt_length,
                                               DIGEST_UNIT *unit) {
    constexpr uint32_t kFault = 0xFFFFFFFFu;
    uint32_t slen_min = salt_length > 0 ? static_cast<uint32_t>(salt_length) : 0;
    if (em == nullptr || unit == nullptr || (hash == nullptr && h != 0) ||
        static_cast<uint64_t>(length) < static_cast<uint64_t>(h) + slen_min + 2 || em[length - 1] != 0xBC)
        return kFault;
    uint32_t bits = modulus_bits(rsa);
    if (bits < 2)
        return kFault;
    uint32_t em_bits = bits - 1;
    uint32_t em_length = (em_bits + 7) / 8;
    // The value arrives without leading zero bytes; a k-byte value (one byte
    // longer when the modulus length is 1 modulo 8) must lead with zeros.
    if (length > em_length) {
        uint32_t lead = 0;
        for (uint32_t i = 0; i < length - em_length; ++i)
            lead |= em[i];
        if (lead != 0)
            return kFault;
        em += length - em_length;
        length = em_length;
    }
    uint32_t hlen = get_DigestLength(unit->algorithm_id);
    if (hlen == 0 || hlen > KRY_MAX_DIGEST_LENGTH || static_cast<uint64_t>(em_length) < hlen + 2ull)
        return kFault;
    SecureBuffer block(em_length);
    if (!block.ok())
        return kFault;
    std::memcpy(block.get() + (em_length - length), em, length);
    uint8_t *b = block.get();
    uint8_t top_mask = em_bits % 8 != 0 ? static_cast<uint8_t>(0xFFu >> (8 - em_bits % 8)) : 0xFF;
    if ((b[0] & static_cast<uint8_t>(~top_mask)) != 0)
        return kFault;
    uint32_t db_length = em_length - hlen - 1;
    uint8_t *db = b;
    const uint8_t *H = b + db_length;
    if (!mask_with_mgf1(db, db_length, H, hlen, unit))
        return kFault;
    db[0] &= top_mask;
    // The 0x01 separator after the zero padding, found by a scan of the
    // whole DB with masks.
    uint32_t i = 0, found = 0, separator_ok = 0;
    for (uint32_t j = 0; j < db_length; ++j) {
        const uint32_t first = kry::ct_is_nonzero(db[j]) & ~found;
        i = kry::ct_select(first, j, i);
        separator_ok = kry::ct_select(first, kry::ct_eq(db[j], 0x01), separator_ok);
        found |= first;
    }
    if ((found & separator_ok) == 0)
        return kFault;
    ++i;
    uint32_t found_salt = db_length - i;
    if (salt_length >= 0 && found_salt != static_cast<uint32_t>(salt_length))
        return kFault;
    static const uint8_t zeros[8] = {0};
    uint8_t H2[KRY_MAX_DIGEST_LENGTH];
    kry::WipeOnExit<decltype(H2)> wipe_h2(H2);
    bool final_failed = false;
    if (init_Digest(unit, unit->algorithm_id) != 0 || update_Digest(unit, zeros, 8) != 0 ||
        (h != 0 && update_Digest(unit, hash, h) != 0) ||
        (found_salt != 0 && update_Digest(unit, db + i, found_salt) != 0))
        return 1;
    uint32_t out_length = 0;
    if (final_Digest(unit, H2, &out_length) != 0)
        final_failed = true;
    if (final_failed)
        return 0; // the library's long-standing behaviour: no comparison
    return kry::ct_equal(H, H2, hlen) ? 0 : 1;
}

KRY_API uint32_t encode_RSAES_OAEP_PADDING(RSA *rsa, const uint8_t *m, uint32_t m_length, uint8_t *em,
                                           uint32_t capacity, uint8_t *scratch, uint32_t label_length,
                                           int32_t form) {
    (void)scratch;
    (void)label_length; // the label is always empty
    uint8_t seed[KRY_MAX_DIGEST_LENGTH];
    kry::WipeOnExit<decltype(seed)> wipe_seed(seed);
    std::memset(seed, 0, sizeof seed);
    uint32_t h = (rsa != nullptr && rsa->digest != nullptr) ? get_DigestLength(rsa->digest->algorithm_id) : 0;
    if (h == 0 || h > KRY_MAX_DIGEST_LENGTH || RAND_BYTES(seed, h) != 0) {
        uint32_t k = (modulus_bits(rsa) + 7) / 8;
        if (em != nullptr)
            std::memset(em, 0, capacity);
        return oaep_v20(form) ? (k == 0 ? 0 : k - 1) : k;
    }
    return kry::oaep_encode_with_seed(rsa, m, m_length, em, capacity, form, seed);
}

KRY_API uint32_t decode_RSAES_OAEP_PADDING(RSA *rsa, const uint8_t *em, uint32_t length, uint8_t *out,
                                           uint32_t capacity, uint8_t *scratch, uint32_t label_length,
                                           int32_t form) {
    (void)scratch;
    (void)label_length;
    if (rsa == nullptr || rsa->digest == nullptr || (em == nullptr && length != 0))
        return 0;
    DIGEST_UNIT *unit = rsa->digest;
    uint32_t k = (modulus_bits(rsa) + 7) / 8;
    bool v20 = oaep_v20(form);
    uint32_t L = v20 ? (k == 0 ? 0 : k - 1) : k;
    uint32_t h = get_DigestLength(unit->algorithm_id);
    if (h == 0 || h > KRY_MAX_DIGEST_LENGTH || length > L || static_cast<uint64_t>(L) < 2ull * h + 1)
        return 0;
    SecureBuffer block(L);
    if (!block.ok())
        return 0;
    if (length != 0)
        std::memcpy(block.get() + (L - length), em, length);
    uint32_t offset = v20 ? 0 : 1; // the v2.1 leading byte is skipped unchecked
    uint8_t *seed = block.get() + offset;
    uint8_t *db = seed + h;
    uint32_t db_length = L - offset - h;
    if (db_length < h + 1)
        return 0;
    if (!mask_with_mgf1(seed, h, db, db_length, unit) || !mask_with_mgf1(db, db_length, seed, h, unit))
        return 0;
    uint8_t lhash[KRY_MAX_DIGEST_LENGTH];
    if (!digest_parts(unit, nullptr, 0, nullptr, 0, nullptr, 0, lhash))
        return 0;
    // lHash check and the search for the 0x01 separator over the whole DB,
    // with masks, and one decision at the end.
    const uint32_t lhash_ok = kry::ct_equal(lhash, db, h) ? 0xFFFFFFFFu : 0u;
    uint32_t i = h, found = 0, separator_ok = 0;
    for (uint32_t j = h; j < db_length; ++j) {
        const uint32_t first = kry::ct_is_nonzero(db[j]) & ~found;
        i = kry::ct_select(first, j, i);
        separator_ok = kry::ct_select(first, kry::ct_eq(db[j], 0x01), separator_ok);
        found |= first;
    }
    if ((lhash_ok & found & separator_ok) == 0)
        return 0;
    ++i;
    uint32_t m_length = db_length - i;
    if (m_length > capacity || (out == nullptr && m_length != 0))
        return 0;
    if (m_length != 0)
        std::memcpy(out, db + i, m_length);
    return m_length;
}

KRY_API uint32_t encode_RSAES_PKCS1_PADDING(RSA *rsa, const uint8_t *m, uint32_t m_length, uint8_t *em,
                                            uint32_t k) {
    if (rsa == nullptr || em == nullptr || k < 11 || m_length > k - 11 || (m == nullptr && m_length != 0))
        return 0;
    uint32_t pad = k - m_length - 3;
    em[0] = 0x00;
    if (rsa->mode == 0) {
        em[1] = 0x02;
        uint8_t *ps = em + 2;
        if (RAND_BYTES(ps, pad) != 0) {
            kry::wipe(em, k);
            return 0;
        }
        for (uint32_t i = 0; i < pad; ++i) {
            while (ps[i] == 0) {
                if (RAND_BYTES(ps + i, 1) != 0) {
                    kry::wipe(em, k);
                    return 0;
                }
            }
        }
    } else {
        em[1] = 0x01;
        std::memset(em + 2, 0xFF, pad);
    }
    em[2 + pad] = 0x00;
    if (m_length != 0)
        std::memcpy(em + 3 + pad, m, m_length);
    return k;
}

KRY_API uint32_t decode_RSAES_PKCS1_PADDING(RSA *rsa, const uint8_t *em, uint32_t length, uint8_t *out,
                                            uint32_t capacity) {
    (void)rsa; // either block type is accepted in any mode
    if (em == nullptr || length < 1)
        return 0;
    // Block type 1 or 2, then the first zero byte after at least eight
    // padding bytes: the whole block is scanned with masks.
    const uint32_t type_ok = kry::ct_eq(em[0], 0x01) | kry::ct_eq(em[0], 0x02);
    uint32_t i = 1, found = 0;
    for (uint32_t j = 1; j < length; ++j) {
        const uint32_t first = kry::ct_is_zero(em[j]) & ~found;
        i = kry::ct_select(first, j, i);
        found |= first;
    }
    if ((type_ok & found & ~kry::ct_lt(i - 1, 8)) == 0)
        return 0;
    uint32_t m_length = length - i - 1;
    if (m_length > capacity || (out == nullptr && m_length != 0))
        return 0;
    if (m_length != 0)
        std::memcpy(out, em + i + 1, m_length);
    return m_length;
}

} // extern "C"
