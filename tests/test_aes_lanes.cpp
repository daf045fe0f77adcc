// AES multi-block paths: the 128-bit AES instructions with eight blocks in
// flight, and the 256-bit forms (VAES) with sixteen, give exactly what the
// table-driven single-block code gives, through the unit's ECB, CBC and CTR
// over many lengths and cuts, including the unit's state (chaining value,
// counter, last keystream block, byte position, pending input) after every
// update and after final; CTR across 64- and 128-bit counter carries against
// OpenSSL's AES-CTR (SP 800-38A counter block incremented as one 128-bit
// big-endian number).
#include "cipher/aes.h"

#include <kry/blockcipher.h>
#include <kry/error.h>

#include "cipher_util.h"
#include "oracle.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

using kry_test::Bytes;
using kry_test::to_hex;

namespace {

enum class Impl { kTables, kNarrow, kWide };

const char *name_of(Impl i) { return i == Impl::kTables ? "tables" : i == Impl::kNarrow ? "AES-NI" : "VAES"; }

std::vector<Impl> implementations() {
    std::vector<Impl> v{Impl::kTables};
    if (kry::aes_hardware_available()) v.push_back(Impl::kNarrow);
    if (kry::aes_wide_available()) v.push_back(Impl::kWide);
    return v;
}

void select(Impl i) {
    kry::aes_use_hardware(i != Impl::kTables);
    kry::aes_use_wide(i == Impl::kWide);
}

class AesLanes : public testing::Test {
  protected:
    static void SetUpTestSuite() { ChangeNonProvenMode(); }
    void TearDown() override { select(Impl::kWide); }
};

// The unit's observable state after a call.
std::string state_of(const BLOCK_CIPHER_UNIT *u) {
    return to_hex(Bytes(u->feedback, u->feedback + 16)) + "/" + to_hex(Bytes(u->keystream, u->keystream + 16)) + "/" +
           std::to_string(u->position) + "/" + std::to_string(u->pending_count) + "/" +
           to_hex(Bytes(u->pending, u->pending + u->pending_count)) + "/" + std::to_string(u->hold_back) + "/" +
           to_hex(Bytes(u->held, u->held + 16));
}

struct Trace {
    uint32_t rc = 0;
    Bytes out;
    std::vector<std::string> states;
};

// init, one update per piece (ends at the cuts), final; the state after
// each call is recorded.  in_place runs each update with out == in.
Trace run(uint32_t id, uint32_t direction, const Bytes &key, const Bytes &iv, const Bytes &in,
          const std::vector<size_t> &cuts, bool in_place) {
    Trace t;
    BLOCK_CIPHER_UNIT *u = new_BLOCK_CIPHER_UNIT();
    t.rc = init_BlockCipher(u, id, key.data(), iv.data(), direction);
    Bytes out(in.size() + 64);
    size_t produced = 0, at = 0;
    std::vector<size_t> ends = cuts;
    ends.push_back(in.size());
    for (size_t end : ends) {
        if (t.rc != 0) break;
        if (end < at || end > in.size()) continue;
        uint32_t n = 0;
        if (in_place) {
            // The piece is copied to where its output goes (the unit may
            // emit held bytes first, so output starts at produced).
            Bytes buf(end - at + 64);
            if (end > at)
                std::memcpy(buf.data(), in.data() + at, end - at);
            t.rc = update_BlockCipher(u, buf.data(), &n, buf.data(), static_cast<int32_t>(end - at));
            if (t.rc == 0 && n != 0) std::memcpy(out.data() + produced, buf.data(), n);
        } else {
            t.rc = update_BlockCipher(u, out.data() + produced, &n, in.data() + at, static_cast<int32_t>(end - at));
        }
        produced += n;
        at = end;
        t.states.push_back(state_of(u));
    }
    if (t.rc == 0) {
        uint32_t n = 0;
        t.rc = final_BlockCipher(u, out.data() + produced, &n);
        produced += n;
        t.states.push_back(state_of(u));
    }
    free_BLOCK_CIPHER_UNIT(u);
    out.resize(produced);
    t.out = out;
    return t;
}

uint32_t base_of(size_t key_length) {
    return key_length == 16 ? KRY_AES_128 : key_length == 24 ? KRY_AES_192 : KRY_AES_256;
}

// Every mode, direction, padding bit, key length, many lengths and cut
// patterns: each fast implementation gives the tables' output and states.
TEST_F(AesLanes, UnitMatchesTablesOverLengthsAndCuts) {
    const auto impls = implementations();
    if (impls.size() < 2) GTEST_SKIP() << "no AES instructions";
    kry_test::TestRng rng(20261122);
    const std::vector<size_t> lengths = {0,   1,   15,  16,  17,  31,  32,  33,  127, 128, 129, 255,
                                         256, 257, 271, 272, 383, 400, 511, 512, 513, 1000, 4096, 4103};
    size_t cases = 0;
    for (size_t klen : {16u, 24u, 32u}) {
        const Bytes key = rng.bytes(klen);
        for (uint32_t mode : {KRY_MODE_ECB, KRY_MODE_CBC, KRY_MODE_CTR}) {
            for (uint32_t pad : {0u, KRY_NO_PADDING}) {
                const uint32_t id = base_of(klen) | mode | pad;
                for (uint32_t dir : {KRY_ENCRYPT, KRY_DECRYPT}) {
                    for (size_t len : lengths) {
                        if (pad == KRY_NO_PADDING && mode != KRY_MODE_CTR && dir == KRY_DECRYPT && len % 16 != 0)
                            continue;
                        if (pad == 0 && mode != KRY_MODE_CTR && dir == KRY_DECRYPT && (len % 16 != 0 || len == 0))
                            continue;
                        Bytes iv = rng.bytes(16);
                        if (len % 3 == 0) std::memset(iv.data() + 8, 0xFF, 8);  // low counter half about to carry
                        const Bytes in = rng.bytes(len);
                        // Cuts at block boundaries only (the set the in-place runs use: with
                        // pending input the unit's output runs ahead of its input) ...
                        std::vector<std::vector<size_t>> cut_sets = {{}, {}};
                        for (size_t at = 16 * (1 + rng.bytes(1)[0] % 9); at < len; at += 16 * (1 + rng.bytes(1)[0] % 9))
                            cut_sets[1].push_back(at);
                        // ... and anywhere.
                        for (int c = 0; c < 3 && len > 0; c++) {
                            std::vector<size_t> cuts;
                            size_t at = 0;
                            while (at < len) {
                                at += 1 + rng.bytes(1)[0] % (c == 0 ? 7 : c == 1 ? 40 : 300);
                                if (at < len) cuts.push_back(at);
                            }
                            cut_sets.push_back(cuts);
                        }
                        for (size_t set = 0; set < cut_sets.size(); set++) {
                            const auto &cuts = cut_sets[set];
                            for (bool in_place : {false, true}) {
                                // (a padded decryption releases its held block ahead of the input)
                                if (in_place && (set > 1 || (set == 1 && pad == 0 && dir == KRY_DECRYPT))) continue;
                                select(Impl::kTables);
                                const Trace want = run(id, dir, key, iv, in, cuts, in_place);
                                for (size_t i = 1; i < impls.size(); i++) {
                                    select(impls[i]);
                                    const Trace got = run(id, dir, key, iv, in, cuts, in_place);
                                    const std::string what = std::string(name_of(impls[i])) + " id " +
                                                             std::to_string(id) + " dir " + std::to_string(dir) +
                                                             " len " + std::to_string(len) + " pieces " +
                                                             std::to_string(cuts.size() + 1) +
                                                             (in_place ? " in place" : "");
                                    ASSERT_EQ(got.rc, want.rc) << what;
                                    ASSERT_EQ(to_hex(got.out), to_hex(want.out)) << what;
                                    ASSERT_EQ(got.states, want.states) << what;
                                }
                                cases++;
                            }
                        }
                    }
                }
            }
        }
    }
    EXPECT_GT(cases, 1000u);
}

// The block functions directly, any count, in place too: CTR output, counter
// and last keystream block; CBC decryption output and chaining value.
TEST_F(AesLanes, BlockFunctionsMatchTables) {
    const auto impls = implementations();
    if (impls.size() < 2) GTEST_SKIP() << "no AES instructions";
    kry_test::TestRng rng(77);
    for (uint32_t klen : {16u, 24u, 32u}) {
        const Bytes key = rng.bytes(klen);
        kry::AES_SCHEDULE enc{}, dec{};
        ASSERT_EQ(kry::aes_set_encrypt_key(key.data(), klen, enc), 0u);
        ASSERT_EQ(kry::aes_set_decrypt_key(key.data(), klen, dec), 0u);
        for (size_t n = 0; n <= 70; n++) {
            const Bytes in = rng.bytes(16 * n), ctr0 = rng.bytes(16), chain0 = rng.bytes(16), s0 = rng.bytes(16);
            Bytes want_ctr_out, want_ctr, want_s, want_cbc_out, want_chain, want_ecb_e, want_ecb_d;
            for (size_t i = 0; i < impls.size(); i++) {
                select(impls[i]);
                for (bool in_place : {false, true}) {
                    Bytes out = in, c = ctr0, s = s0, ch = chain0, e = in, d = in;
                    Bytes src = in;
                    kry::aes_ctr_blocks(in_place ? out.data() : src.data(), out.data(), n, c.data(), s.data(), enc);
                    Bytes cbc = in;
                    kry::aes_cbc_decrypt_blocks(in_place ? cbc.data() : src.data(), cbc.data(), n, ch.data(), dec);
                    kry::aes_encrypt_blocks(in_place ? e.data() : src.data(), e.data(), n, enc);
                    kry::aes_decrypt_blocks(in_place ? d.data() : src.data(), d.data(), n, dec);
                    if (i == 0 && !in_place) {
                        want_ctr_out = out, want_ctr = c, want_s = s, want_cbc_out = cbc, want_chain = ch;
                        want_ecb_e = e, want_ecb_d = d;
                        continue;
                    }
                    const std::string what = std::string(name_of(impls[i])) + " key " + std::to_string(klen) +
                                             " n " + std::to_string(n) + (in_place ? " in place" : "");
                    EXPECT_EQ(to_hex(out), to_hex(want_ctr_out)) << what;
                    EXPECT_EQ(to_hex(c), to_hex(want_ctr)) << what;
                    EXPECT_EQ(to_hex(s), to_hex(want_s)) << what;
                    EXPECT_EQ(to_hex(cbc), to_hex(want_cbc_out)) << what;
                    EXPECT_EQ(to_hex(ch), to_hex(want_chain)) << what;
                    EXPECT_EQ(to_hex(e), to_hex(want_ecb_e)) << what;
                    EXPECT_EQ(to_hex(d), to_hex(want_ecb_d)) << what;
                }
            }
            if (n == 0) {
                EXPECT_EQ(to_hex(want_ctr), to_hex(ctr0));
                EXPECT_EQ(to_hex(want_s), to_hex(s0));
                EXPECT_EQ(to_hex(want_chain), to_hex(chain0));
            }
        }
    }
}

// CTR across the carry out of the low 64 bits and the wrap of the whole
// 128-bit counter, against OpenSSL's AES-CTR, with every implementation.
TEST_F(AesLanes, CtrCarriesMatchOpenSsl) {
    kry_test::TestRng rng(5);
    const std::vector<std::string> ivs = {
        "0123456789abcdeffffffffffffffffa", "0123456789abcdeffffffffffffffff0", "fffffffffffffffffffffffffffffff9",
        "ffffffffffffffffffffffffffffffff", "00000000000000000000000000000000", "0000000000000000fffffffffffffffe"};
    for (Impl impl : implementations()) {
        select(impl);
        for (const char *name : {"AES-128-CTR", "AES-192-CTR", "AES-256-CTR"}) {
            const size_t klen = std::stoul(std::string(name).substr(4, 3)) / 8;
            const Bytes key = rng.bytes(klen);
            for (const auto &ivh : ivs) {
                const Bytes iv = kry_test::from_hex(ivh);
                for (size_t len : {16u * 16u, 16u * 40u + 5u, 33u}) {
                    const Bytes pt = rng.bytes(len);
                    Bytes want;
                    ASSERT_TRUE(oracle::openssl_cipher(name, key, iv, true, false, pt, want));
                    const auto got = kry_test::unit_crypt(base_of(klen) | KRY_MODE_CTR | KRY_NO_PADDING, KRY_ENCRYPT,
                                                          key, iv, pt, {7, 200});
                    ASSERT_EQ(got.rc, 0u);
                    EXPECT_EQ(to_hex(got.out), to_hex(want)) << name_of(impl) << " " << name << " iv " << ivh;
                }
            }
        }
    }
}

}  // namespace
