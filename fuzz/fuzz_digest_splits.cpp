// libFuzzer target: digests and HMAC under arbitrary update splits.
//
// The input picks a digest, an HMAC key, split points and the message.  The
// DIGEST_UNIT fed in pieces must give the one-shot Digest() value, and again
// for a second message on the same unit (final leaves it ready); the
// HMAC_UNIT fed in pieces must give the one-shot HMac() value, likewise twice.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <kry/digest.h>
#include <kry/error.h>
#include <kry/hmac.h>

// A failed check names itself and aborts: libFuzzer keeps the input.
#define check(ok)                                                                  \
    do {                                                                           \
        if (!(ok)) {                                                               \
            fprintf(stderr, "check failed: %s (%s:%d)\n", #ok, __FILE__, __LINE__); \
            abort();                                                               \
        }                                                                          \
    } while (0)

namespace {

const uint32_t kDigests[] = {KRY_SHA1, KRY_SHA224, KRY_SHA256, KRY_SHA384,
                             KRY_SHA512, KRY_MD5, KRY_HAS160, KRY_MDC2};


// Calls feed(ptr, len) for up to 64 pieces cut as `cuts` says, then the rest.
template <class Feed>
void pieces(const std::vector<uint8_t> &msg, const std::vector<uint32_t> &cuts, Feed feed) {
    size_t pos = 0;
    const size_t steps = cuts.empty() ? 0 : 64;
    for (size_t step = 0; step < steps; ++step) {
        size_t piece = cuts[step % cuts.size()];
        if (piece > msg.size() - pos) piece = msg.size() - pos;
        feed(msg.data() + pos, static_cast<uint32_t>(piece));
        pos += piece;
    }
    feed(msg.data() + pos, static_cast<uint32_t>(msg.size() - pos));
}

}  // namespace

// SHA-224, MD5 and MDC-2 are wanted too: leave the toolkit's proven mode.
extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    ChangeNonProvenMode();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 3) return 0;
    const uint32_t id = kDigests[data[0] % (sizeof kDigests / sizeof kDigests[0])];
    size_t key_len = data[1];
    size_t ncuts = data[2] % 8;
    data += 3;
    size -= 3;
    if (key_len > size) key_len = size;
    // One spare byte: an empty key still has an address (NULL is refused).
    std::vector<uint8_t> key(data, data + key_len);
    key.reserve(key_len + 1);
    data += key_len;
    size -= key_len;
    std::vector<uint32_t> cuts;
    for (size_t i = 0; i < ncuts && size > 0; ++i) {
        // Cuts up to 300 bytes: across the 64- and 128-byte block edges.
        cuts.push_back((data[0] * 7u) % 301u);
        ++data;
        --size;
    }
    if (size > 8192) size = 8192;
    std::vector<uint8_t> msg(data, data + size);
    std::vector<uint8_t> msg2(msg.rbegin(), msg.rend());
    // Empty messages keep an address too.
    msg.reserve(msg.size() + 1);
    msg2.reserve(msg2.size() + 1);

    const uint32_t dlen = get_DigestLength(id);
    check(dlen > 0 && dlen <= KRY_MAX_DIGEST_LENGTH);

    // Digest.
    DIGEST_UNIT *unit = new_DIGEST_UNIT();
    check(unit != nullptr);
    check(init_Digest(unit, id) == 0);
    for (const auto *m : {&msg, &msg2}) {
        uint8_t one[KRY_MAX_DIGEST_LENGTH + 8], two[KRY_MAX_DIGEST_LENGTH + 8];
        uint32_t l1 = 0, l2 = 0;
        check(Digest(id, m->data(), static_cast<uint32_t>(m->size()), one, &l1) == 0);
        pieces(*m, cuts, [&](const uint8_t *p, uint32_t n) { check(update_Digest(unit, p, n) == 0); });
        check(final_Digest(unit, two, &l2) == 0);
        check(l1 == dlen && l2 == dlen);
        check(memcmp(one, two, dlen) == 0);
    }
    free_DIGEST_UNIT(unit);

    // HMAC.
    HMAC_UNIT *mac = new_HMAC_UNIT();
    check(mac != nullptr);
    check(init_HMAC(mac, id, key.data(), static_cast<uint32_t>(key.size())) == 0);
    for (const auto *m : {&msg, &msg2}) {
        uint8_t one[KRY_MAX_DIGEST_LENGTH + 8], two[KRY_MAX_DIGEST_LENGTH + 8];
        uint32_t l1 = 0, l2 = 0;
        check(HMac(id, key.data(), static_cast<uint32_t>(key.size()), m->data(),
                   static_cast<uint32_t>(m->size()), one, &l1) == 0);
        pieces(*m, cuts, [&](const uint8_t *p, uint32_t n) { check(update_HMAC(mac, p, n) == 0); });
        check(final_HMAC(mac, two, &l2) == 0);
        check(l1 == dlen && l2 == dlen);
        check(memcmp(one, two, dlen) == 0);
    }
    free_HMAC_UNIT(mac);
    return 0;
}
