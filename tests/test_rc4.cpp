// RC4: the classic and RFC 6229 keystream vectors, state carried across
// calls, in-place operation, error words, the record's life cycle, a
// tampered state, and a differential test against OpenSSL's RC4.
#include <kry/error.h>
#include <kry/rc4.h>

#include "oracle.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <cstring>

using kry_test::Bytes;
using kry_test::from_hex;
using kry_test::to_hex;

namespace {

constexpr uint32_t kErr = 0x07000003;

Bytes rc4(const Bytes &key, const Bytes &in) {
    RC4_UNIT unit;
    EXPECT_EQ(init_RC4(&unit, key.data(), static_cast<int32_t>(key.size())), 0u);
    Bytes out(in.size());
    if (!in.empty()) {
        EXPECT_EQ(do_RC4(&unit, in.data(), static_cast<uint32_t>(in.size()), out.data()), 0u);
    }
    return out;
}

bool all_zero(const void *p, size_t n) {
    const auto *b = static_cast<const uint8_t *>(p);
    for (size_t i = 0; i < n; i++)
        if (b[i] != 0) return false;
    return true;
}

}  // namespace

TEST(Rc4, PublishedVectors) {
    size_t n = 0;
    for (auto &v : kry_test::read_vectors("rc4.txt")) {
        Bytes key = from_hex(v.at("KEY")), pt = from_hex(v.at("PT"));
        const size_t offset = std::stoul(v.at("OFFSET"));
        RC4_UNIT unit;
        ASSERT_EQ(init_RC4(&unit, key.data(), static_cast<int32_t>(key.size())), 0u);
        if (offset != 0) {
            Bytes skip(offset);
            ASSERT_EQ(do_RC4(&unit, skip.data(), static_cast<uint32_t>(offset), skip.data()), 0u);
        }
        Bytes out(pt.size());
        ASSERT_EQ(do_RC4(&unit, pt.data(), static_cast<uint32_t>(pt.size()), out.data()), 0u);
        EXPECT_EQ(to_hex(out), v.at("CT")) << "key " << v.at("KEY") << " offset " << offset;
        n++;
    }
    EXPECT_EQ(n, 256u);
}

TEST(Rc4, StateCarriesAcrossCalls) {
    const Bytes key = from_hex("0123456789abcdef");
    const Bytes pt = from_hex("00112233445566778899");
    const Bytes whole = rc4(key, pt);
    RC4_UNIT unit;
    ASSERT_EQ(init_RC4(&unit, key.data(), 8), 0u);
    Bytes split(10);
    ASSERT_EQ(do_RC4(&unit, pt.data(), 3, split.data()), 0u);
    ASSERT_EQ(do_RC4(&unit, pt.data() + 3, 7, split.data() + 3), 0u);
    EXPECT_EQ(split, whole);

    // Every split of a longer message, byte counts crossing the 8-byte steps.
    kry_test::TestRng rng(4);
    const Bytes msg = rng.bytes(300);
    const Bytes one = rc4(key, msg);
    for (int round = 0; round < 50; round++) {
        ASSERT_EQ(init_RC4(&unit, key.data(), 8), 0u);
        Bytes out(msg.size());
        size_t at = 0;
        while (at < msg.size()) {
            size_t n = std::min<size_t>(msg.size() - at, 1 + rng.below(20));
            ASSERT_EQ(do_RC4(&unit, msg.data() + at, static_cast<uint32_t>(n), out.data() + at), 0u);
            at += n;
        }
        ASSERT_EQ(out, one);
    }
}

TEST(Rc4, InPlaceAndInverse) {
    const Bytes key = from_hex("ef012345");
    kry_test::TestRng rng(5);
    const Bytes msg = rng.bytes(1000);
    Bytes buf = msg;
    RC4_UNIT unit;
    ASSERT_EQ(init_RC4(&unit, key.data(), 4), 0u);
    ASSERT_EQ(do_RC4(&unit, buf.data(), static_cast<uint32_t>(buf.size()), buf.data()), 0u);
    EXPECT_EQ(buf, rc4(key, msg));
    ASSERT_EQ(init_RC4(&unit, key.data(), 4), 0u);
    ASSERT_EQ(do_RC4(&unit, buf.data(), static_cast<uint32_t>(buf.size()), buf.data()), 0u);
    EXPECT_EQ(buf, msg);
}

TEST(Rc4, ErrorWords) {
    const Bytes key = from_hex("0102030405");
    uint8_t buf[4] = {};
    RC4_UNIT unit;
    EXPECT_EQ(init_RC4(nullptr, key.data(), 5), kErr);
    EXPECT_EQ(init_RC4(&unit, nullptr, 5), kErr);
    EXPECT_EQ(init_RC4(&unit, key.data(), 0), kErr);
    EXPECT_EQ(init_RC4(&unit, key.data(), -1), kErr);
    ASSERT_EQ(init_RC4(&unit, key.data(), 5), 0u);
    EXPECT_EQ(do_RC4(nullptr, buf, 4, buf), kErr);
    EXPECT_EQ(do_RC4(&unit, nullptr, 4, buf), kErr);
    EXPECT_EQ(do_RC4(&unit, buf, 4, nullptr), kErr);
    EXPECT_EQ(do_RC4(&unit, buf, 0, buf), kErr);
    // None of the failures above moved the state.
    EXPECT_EQ(unit.i, 0u);
    EXPECT_EQ(unit.j, 0u);
}

TEST(Rc4, InitSetsUpTheState) {
    RC4_UNIT unit;
    std::memset(&unit, 0xEE, sizeof unit);
    const uint8_t key = 0x42;
    ASSERT_EQ(init_RC4(&unit, &key, 1), 0u);
    EXPECT_EQ(unit.i, 0u);
    EXPECT_EQ(unit.j, 0u);
    bool seen[256] = {};
    for (uint32_t v : unit.S) {
        ASSERT_LT(v, 256u);
        EXPECT_FALSE(seen[v]);
        seen[v] = true;
    }
    // Long keys are accepted (no upper bound); key bytes wrap at the length.
    kry_test::TestRng rng(6);
    Bytes longkey = rng.bytes(1000);
    EXPECT_EQ(init_RC4(&unit, longkey.data(), 1000), 0u);
    Bytes k256(longkey.begin(), longkey.begin() + 256);
    Bytes z(64, 0);
    EXPECT_EQ(rc4(longkey, z), rc4(k256, z));  // only the first 256 bytes matter
    const Bytes ab = from_hex("a1b2"), abab = from_hex("a1b2a1b2a1b2a1b2");
    EXPECT_EQ(rc4(ab, z), rc4(abab, z));
}

TEST(Rc4, LifeCycle) {
    RC4_UNIT *unit = new_RC4_UNIT();
    ASSERT_NE(unit, nullptr);
    EXPECT_TRUE(all_zero(unit, sizeof *unit));
    const Bytes key = from_hex("0123456789abcdef");
    ASSERT_EQ(init_RC4(unit, key.data(), 8), 0u);
    uint8_t b[3] = {1, 2, 3};
    ASSERT_EQ(do_RC4(unit, b, 3, b), 0u);
    clean_RC4_UNIT(unit);
    EXPECT_TRUE(all_zero(unit, sizeof *unit));
    clean_RC4_UNIT(nullptr);
    free_RC4_UNIT(unit);
    free_RC4_UNIT(nullptr);
}

// A caller may write anything into the public record: entries above 255
// and indices above 255 must not lead outside S.
TEST(Rc4, TamperedStateStaysInBounds) {
    RC4_UNIT unit;
    for (uint32_t n = 0; n < 256; n++) unit.S[n] = 0xFFFFFF00u + n * 0x01010101u;
    unit.i = 0xFFFFFFF0u;
    unit.j = 0x12345678u;
    Bytes buf(100, 0);
    EXPECT_EQ(do_RC4(&unit, buf.data(), 100, buf.data()), 0u);
    EXPECT_LT(unit.i, 256u);
    EXPECT_LT(unit.j, 256u);
}

TEST(Rc4, MatchesOpenSsl) {
    kry_test::TestRng rng(0xA4C4);
    for (int round = 0; round < 300; round++) {
        Bytes key = rng.bytes(1 + rng.below(256));
        Bytes msg = rng.bytes(1 + rng.below(round % 10 == 0 ? 5000 : 100));
        Bytes want;
        ASSERT_TRUE(oracle::openssl_cipher("RC4", key, {}, true, false, msg, want)) << key.size();
        ASSERT_EQ(to_hex(rc4(key, msg)), to_hex(want)) << "key length " << key.size();
    }
}

// The record after each call, and the output, against the byte-at-a-time
// generator written here, for every starting index modulo 8 and lengths
// around the 8-byte steps; also from tampered records (entries above 255,
// indices above 255), where only the low bytes of the entries take part in
// the indices and the output and the entries themselves are swapped whole.
TEST(Rc4, RecordMatchesByteWiseGenerator) {
    auto reference = [](RC4_UNIT &u, const uint8_t *in, uint32_t length, uint8_t *out) {
        auto i = static_cast<uint8_t>(u.i), j = static_cast<uint8_t>(u.j);
        for (uint32_t n = 0; n < length; n++) {
            i = static_cast<uint8_t>(i + 1);
            const uint32_t si = u.S[i];
            j = static_cast<uint8_t>(j + si);
            const uint32_t sj = u.S[j];
            u.S[i] = sj;
            u.S[j] = si;
            out[n] = static_cast<uint8_t>(in[n] ^ u.S[static_cast<uint8_t>(si + sj)]);
        }
        u.i = i;
        u.j = j;
    };
    kry_test::TestRng rng(0x52C4);
    for (int round = 0; round < 200; round++) {
        RC4_UNIT ours, theirs;
        const Bytes key = rng.bytes(1 + rng.below(32));
        ASSERT_EQ(init_RC4(&ours, key.data(), static_cast<int32_t>(key.size())), 0u);
        if (round % 4 == 3) {
            for (auto &s : ours.S) s ^= static_cast<uint32_t>(rng.below(0x10000)) << 8;
            ours.i = static_cast<uint32_t>(rng.below(0x10000)) << 8 | static_cast<uint32_t>(rng.below(256));
            ours.j = static_cast<uint32_t>(rng.below(0x10000)) << 8 | static_cast<uint32_t>(rng.below(256));
        } else if (round % 4 == 2) {
            // A small state space so that j often lands on the next i.
            for (uint32_t n = 0; n < 256; n++) ours.S[n] = n % 3;
        }
        std::memcpy(&theirs, &ours, sizeof ours);
        for (int call = 0; call < 12; call++) {
            const uint32_t length = static_cast<uint32_t>(1 + rng.below(call % 3 == 0 ? 600 : 24));
            const Bytes msg = rng.bytes(length);
            Bytes a(length), b(length);
            ASSERT_EQ(do_RC4(&ours, msg.data(), length, a.data()), 0u);
            reference(theirs, msg.data(), length, b.data());
            ASSERT_EQ(to_hex(a), to_hex(b)) << "round " << round << " call " << call;
            ASSERT_EQ(std::memcmp(&ours, &theirs, sizeof ours), 0) << "round " << round << " call " << call;
        }
    }
}
