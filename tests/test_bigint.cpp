// BIGINT: life cycle, growth, words and bits, comparison, single-word and
// multi-word addition and subtraction, the shifts, and the conversions to
// and from bytes, hexadecimal and decimal text.  Conversions and division
// by a word are checked against OpenSSL's BN; addition and subtraction
// against a byte-wise schoolbook reference.

#include <kry/bigint.h>
#include <kry/error.h>

#include "bigint/bigint_internal.h"

#include "oracle_bn.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

using kry_test::Bytes;
using kry_test::TestRng;

struct BigFree {
    void operator()(BIGINT *b) const { free_BIGINT(b); }
};
using Big = std::unique_ptr<BIGINT, BigFree>;

struct TextFree {
    void operator()(char *t) const { lum_free(t, "test", 0); }
};
using Text = std::unique_ptr<char, TextFree>;

Big from_bytes(const Bytes &bytes) {
    return Big(binary_to_BIGINT(bytes.data(), static_cast<int32_t>(bytes.size()), nullptr));
}

Big from_hex_text(const std::string &hex) { return Big(HEX_to_BIGINT(hex.c_str())); }

std::string hex_of(const BIGINT *b) {
    Text t(BIGINT_to_HEX(b));
    return t ? std::string(t.get()) : std::string("<null>");
}

std::string dec_of(const BIGINT *b) {
    Text t(BIGINT_to_DEC(b));
    return t ? std::string(t.get()) : std::string("<null>");
}

// A word in the byte-wise hex form of the library and of OpenSSL.
std::string word_hex(uint32_t w) {
    Big b(new_BIGINT());
    set_BIGINT_word(b.get(), w);
    return hex_of(b.get());
}

// Upper-case hex of a big-endian byte string without leading zero bytes.
std::string canonical_hex(const Bytes &bytes) {
    size_t i = 0;
    while (i < bytes.size() && bytes[i] == 0) i++;
    if (i == bytes.size()) return "0";
    std::string s = kry_test::to_hex(bytes.data() + i, bytes.size() - i);
    for (char &c : s) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return s;
}

// Random bytes of 1..max_words words, with a nonzero top byte.
Bytes random_value(TestRng &rng, uint32_t max_words) {
    const size_t n = 4 * (1 + rng.below(max_words)) - rng.below(4);
    Bytes b = rng.bytes(n);
    if (b[0] == 0) b[0] = 1;
    return b;
}

// Schoolbook references on big-endian byte strings.
Bytes ref_add(const Bytes &a, const Bytes &b) {
    Bytes r(std::max(a.size(), b.size()) + 1);
    unsigned carry = 0;
    for (size_t i = 0; i < r.size(); i++) {
        unsigned s = carry;
        if (i < a.size()) s += a[a.size() - 1 - i];
        if (i < b.size()) s += b[b.size() - 1 - i];
        r[r.size() - 1 - i] = static_cast<uint8_t>(s);
        carry = s >> 8;
    }
    return r;
}

// a - b for a >= b.
Bytes ref_sub(const Bytes &a, const Bytes &b) {
    Bytes r(a.size());
    int borrow = 0;
    for (size_t i = 0; i < a.size(); i++) {
        int d = a[a.size() - 1 - i] - borrow;
        if (i < b.size()) d -= b[b.size() - 1 - i];
        borrow = d < 0;
        r[r.size() - 1 - i] = static_cast<uint8_t>(d + (borrow ? 256 : 0));
    }
    return r;
}

// The damaged records: length above size, negative length, no array.
std::vector<BIGINT> damaged_records(uint32_t *words) {
    return {BIGINT{words, 3, 2, BIGINT_IN_PLACE}, BIGINT{words, -1, 2, BIGINT_IN_PLACE},
            BIGINT{nullptr, 2, 2, BIGINT_IN_PLACE}, BIGINT{nullptr, 0, 4, BIGINT_IN_PLACE}};
}

// ---- life cycle ------------------------------------------------------------

TEST(BigintLifeCycle, NewRecordIsEmptyAndMalloced) {
    Big b(new_BIGINT());
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(b->data, nullptr);
    EXPECT_EQ(b->length, 0);
    EXPECT_EQ(b->size, 0);
    EXPECT_EQ(b->flags, BIGINT_MALLOCED);
}

TEST(BigintLifeCycle, InitZeroesOnlyMarkedRecords) {
    EXPECT_EQ(init_BIGINT(nullptr), 1);
    uint32_t words[2] = {7, 8};
    BIGINT fresh{words, 2, 2, 0};
    EXPECT_EQ(init_BIGINT(&fresh), 0);
    EXPECT_EQ(fresh.data, words);  // flags 0: fields are kept
    EXPECT_EQ(fresh.length, 2);
    EXPECT_EQ(fresh.flags, BIGINT_IN_PLACE);

    for (uint32_t flag : {BIGINT_MALLOCED, BIGINT_STATIC_DATA, BIGINT_IN_PLACE}) {
        BIGINT marked{words, 2, 2, flag | 0x100u};
        EXPECT_EQ(init_BIGINT(&marked), 0);
        EXPECT_EQ(marked.data, nullptr);  // dropped, not released
        EXPECT_EQ(marked.length, 0);
        EXPECT_EQ(marked.size, 0);
        EXPECT_EQ(marked.flags, BIGINT_IN_PLACE);
    }
    EXPECT_EQ(words[0], 7u);
}

TEST(BigintLifeCycle, ClearReleasesAndKeepsRecordUsable) {
    BIGINT b{nullptr, 0, 0, 0};
    init_BIGINT(&b);
    ASSERT_EQ(set_BIGINT_bit(&b, 100), 0);
    EXPECT_EQ(b.size, 4);
    clear_BIGINT(&b);
    EXPECT_EQ(b.data, nullptr);
    EXPECT_EQ(b.length, 0);
    EXPECT_EQ(b.size, 0);
    EXPECT_EQ(b.flags, BIGINT_IN_PLACE);
    ASSERT_EQ(set_BIGINT_word(&b, 5), 0);
    EXPECT_EQ(get_BIGINT_word(&b), 5u);
    clear_BIGINT(&b);
    clear_BIGINT(nullptr);  // ignored
}

TEST(BigintLifeCycle, ClearDropsConstantArrayWithoutTouchingIt) {
    static const uint32_t table[2] = {0x12345678, 9};
    BIGINT b{const_cast<uint32_t *>(table), 2, 2, BIGINT_STATIC_DATA | BIGINT_IN_PLACE};
    clear_BIGINT(&b);
    EXPECT_EQ(b.data, nullptr);
    EXPECT_EQ(b.flags, BIGINT_IN_PLACE);
    EXPECT_EQ(table[0], 0x12345678u);
}

TEST(BigintLifeCycle, FreeReleasesOnlyMallocedRecords) {
    EXPECT_EQ(free_BIGINT(nullptr), 1);
    BIGINT local{nullptr, 0, 0, 0};
    init_BIGINT(&local);
    set_BIGINT_word(&local, 3);
    EXPECT_EQ(free_BIGINT(&local), 0);  // cleared, the record stays
    EXPECT_EQ(local.data, nullptr);
    EXPECT_EQ(local.size, 0);
    EXPECT_EQ(local.flags, BIGINT_IN_PLACE);

    BIGINT *heap = new_BIGINT();
    ASSERT_NE(heap, nullptr);
    set_BIGINT_bit(heap, 300);
    EXPECT_EQ(free_BIGINT(heap), 0);
}

TEST(BigintLifeCycle, CopyAndDup) {
    Big a = from_hex_text("0123456789ABCDEF0011223344556677");
    Big b(new_BIGINT());
    EXPECT_EQ(copy_BIGINT(b.get(), a.get()), 0u);
    EXPECT_EQ(hex_of(b.get()), "0123456789ABCDEF0011223344556677");
    EXPECT_EQ(b->length, a->length);
    EXPECT_EQ(copy_BIGINT(a.get(), a.get()), 0u);
    EXPECT_EQ(copy_BIGINT(nullptr, a.get()), 1u);
    EXPECT_EQ(copy_BIGINT(b.get(), nullptr), 1u);

    // Copying a shorter value keeps the larger array.
    Big small = from_hex_text("05");
    EXPECT_EQ(copy_BIGINT(b.get(), small.get()), 0u);
    EXPECT_EQ(b->length, 1);
    EXPECT_EQ(b->size, 4);

    Big d(dup_BIGINT(a.get()));
    ASSERT_NE(d, nullptr);
    EXPECT_NE(d->data, a->data);
    EXPECT_EQ(d->flags, BIGINT_MALLOCED);
    EXPECT_EQ(cmp_BIGINT(d.get(), a.get()), 0);
    EXPECT_EQ(dup_BIGINT(nullptr), nullptr);
}

TEST(BigintLifeCycle, CopyIntoConstantArrayFailsWithExpandWord) {
    static const uint32_t table[1] = {1};
    BIGINT fixed{const_cast<uint32_t *>(table), 1, 1, BIGINT_STATIC_DATA};
    Big two_words = from_hex_text("0100000000");
    EXPECT_EQ(copy_BIGINT(&fixed, two_words.get()), 0x11010500u);
    EXPECT_EQ(fixed.data, table);
    EXPECT_EQ(copy_BIGINT(const_cast<BIGINT *>(value_one_BIGINT()), two_words.get()), 0x11010500u);
    EXPECT_EQ(get_BIGINT_word(value_one_BIGINT()), 1u);
}

TEST(BigintLifeCycle, SwapExchangesArraysAndOnlyTheStaticBit) {
    static const uint32_t table[1] = {42};
    Big heap = from_hex_text("0102030405");
    BIGINT fixed{const_cast<uint32_t *>(table), 1, 1, BIGINT_STATIC_DATA | BIGINT_IN_PLACE};
    uint32_t *heap_data = heap->data;

    ASSERT_EQ(swap_BIGINT(heap.get(), &fixed), 0);
    EXPECT_EQ(heap->data, table);
    EXPECT_EQ(heap->length, 1);
    EXPECT_EQ(heap->size, 1);
    EXPECT_EQ(heap->flags, BIGINT_MALLOCED | BIGINT_STATIC_DATA);  // bit 0 kept, bit 1 taken
    EXPECT_EQ(fixed.data, heap_data);
    EXPECT_EQ(fixed.length, 2);
    EXPECT_EQ(fixed.flags, 0u);  // bit 2 dropped, bit 1 went with the array
    // The constant array moved with bit 1: the heap record may not grow it.
    EXPECT_EQ(set_BIGINT_bit(heap.get(), 40), 1);
    EXPECT_EQ(swap_BIGINT(heap.get(), &fixed), 0);
    EXPECT_EQ(heap->flags, BIGINT_MALLOCED);
    EXPECT_EQ(fixed.flags, BIGINT_STATIC_DATA);
    EXPECT_EQ(hex_of(heap.get()), "0102030405");
    EXPECT_EQ(swap_BIGINT(nullptr, &fixed), 1);
    EXPECT_EQ(swap_BIGINT(heap.get(), nullptr), 1);
}

TEST(BigintLifeCycle, ConstantRecords) {
    const BIGINT *one = value_one_BIGINT();
    const BIGINT *zero = value_zero_BIGINT();
    EXPECT_EQ(one->length, 1);
    EXPECT_EQ(one->size, 1);
    EXPECT_EQ(one->data[0], 1u);
    EXPECT_EQ(one->flags & BIGINT_STATIC_DATA, BIGINT_STATIC_DATA);
    EXPECT_EQ(zero->length, 1);  // not the normalised form of zero
    EXPECT_EQ(zero->size, 1);
    EXPECT_EQ(zero->data[0], 0u);
    EXPECT_EQ(zero->flags & BIGINT_STATIC_DATA, BIGINT_STATIC_DATA);
    EXPECT_EQ(value_one_BIGINT(), one);

    // Compared by length the constant zero is above a computed zero.
    Big computed(new_BIGINT());
    set_BIGINT_word(computed.get(), 0);
    EXPECT_EQ(cmp_BIGINT(zero, computed.get()), 1);
    EXPECT_EQ(get_BIGINT_word(zero), 0u);
    EXPECT_EQ(hex_of(zero), "0");
    EXPECT_EQ(dec_of(one), "1");
}

TEST(BigintLifeCycle, GrowingTheConstantsFails) {
    auto *one = const_cast<BIGINT *>(value_one_BIGINT());
    auto *zero = const_cast<BIGINT *>(value_zero_BIGINT());
    EXPECT_EQ(kry::expand_BIGINT(one, 2), nullptr);
    EXPECT_EQ(kry::expand_BIGINT(zero, 2), nullptr);
    EXPECT_EQ(set_BIGINT_bit(one, 33), 1);
    EXPECT_EQ(add_BIGINT_word(zero, 7), 1);
    EXPECT_EQ(set_BIGINT_word(one, 9), 1);  // the arrays are never written
    clear_BIGINT(one);
    EXPECT_EQ(free_BIGINT(zero), 1);
    EXPECT_EQ(init_BIGINT(one), 1);
    EXPECT_EQ(swap_BIGINT(one, zero), 1);
    EXPECT_EQ(one->data[0], 1u);
    EXPECT_EQ(one->length, 1);
    EXPECT_EQ(zero->data[0], 0u);

    // A copy of the record still carries the constant array and its bit.
    BIGINT copy = *value_one_BIGINT();
    EXPECT_EQ(kry::expand_BIGINT(&copy, 4), nullptr);
    EXPECT_EQ(add_BIGINT_word(&copy, 1), 1);
}

// ---- growth and normalisation --------------------------------------------

TEST(BigintGrowth, ExpandCopiesUsedWordsAndSetsSize) {
    BIGINT b{nullptr, 0, 0, 0};
    init_BIGINT(&b);
    ASSERT_EQ(kry::expand_BIGINT(&b, 3), &b);
    EXPECT_EQ(b.size, 3);
    b.data[0] = 0xAAAA;
    b.data[1] = 0xBBBB;
    b.length = 2;
    uint32_t *old = b.data;
    EXPECT_EQ(kry::expand_BIGINT(&b, 2), &b);  // smaller: nothing happens
    EXPECT_EQ(b.data, old);
    ASSERT_EQ(kry::expand_BIGINT(&b, 10), &b);
    EXPECT_EQ(b.size, 10);
    EXPECT_EQ(b.data[0], 0xAAAAu);
    EXPECT_EQ(b.data[1], 0xBBBBu);
    EXPECT_EQ(b.length, 2);
    clear_BIGINT(&b);
}

TEST(BigintGrowth, RefusesMoreThan0xFFFFFFWords) {
    BIGINT b{nullptr, 0, 0, 0};
    init_BIGINT(&b);
    EXPECT_EQ(kry::expand_BIGINT(&b, 0x1000000), nullptr);
    EXPECT_EQ(b.size, 0);
    EXPECT_EQ(set_BIGINT_bit(&b, 0x1000000 * 32), 1);
    EXPECT_EQ(kry::expand_BIGINT(nullptr, 1), nullptr);
    clear_BIGINT(&b);
}

TEST(BigintGrowth, NormalizeDropsZeroTopWords) {
    Big b = from_hex_text("00000000000000000000000012");
    EXPECT_EQ(b->length, 4);
    kry::normalize_BIGINT(b.get());
    EXPECT_EQ(b->length, 1);
    Big z = from_hex_text("0000000000");
    kry::normalize_BIGINT(z.get());
    EXPECT_EQ(z->length, 0);
    kry::normalize_BIGINT(nullptr);
}

TEST(BigintGrowth, CompareWords) {
    const uint32_t a[3] = {1, 2, 3};
    const uint32_t b[3] = {9, 2, 3};
    EXPECT_EQ(kry::cmp_BIGINT_words(a, b, 3), -1);
    EXPECT_EQ(kry::cmp_BIGINT_words(b, a, 3), 1);
    EXPECT_EQ(kry::cmp_BIGINT_words(a, a, 3), 0);
    EXPECT_EQ(kry::cmp_BIGINT_words(a, b, 0), 0);
    EXPECT_EQ(kry::cmp_BIGINT_words(nullptr, b, 3), 1);
    EXPECT_EQ(kry::cmp_BIGINT_words(a, nullptr, 3), 1);
}

// ---- words and bits ----------------------------------------------------------

TEST(BigintWords, SetAndGetWord) {
    Big b(new_BIGINT());
    EXPECT_EQ(get_BIGINT_word(b.get()), 0u);
    EXPECT_EQ(set_BIGINT_word(b.get(), 0xDEADBEEF), 0);
    EXPECT_EQ(b->length, 1);
    EXPECT_EQ(get_BIGINT_word(b.get()), 0xDEADBEEFu);
    EXPECT_EQ(set_BIGINT_word(b.get(), 0), 0);
    EXPECT_EQ(b->length, 0);
    EXPECT_EQ(b->size, 1);
    EXPECT_EQ(set_BIGINT_word(nullptr, 1), 1);
    EXPECT_EQ(get_BIGINT_word(nullptr), 1u);

    Big two = from_hex_text("100000000");
    EXPECT_EQ(get_BIGINT_word(two.get()), 0xFFFFFFFFu);
}

TEST(BigintWords, SetBitGrowsAndZeroFills) {
    Big b(new_BIGINT());
    ASSERT_EQ(set_BIGINT_bit(b.get(), 0), 0);
    ASSERT_EQ(set_BIGINT_bit(b.get(), 95), 0);
    EXPECT_EQ(b->length, 3);
    EXPECT_EQ(b->size, 3);
    EXPECT_EQ(b->data[1], 0u);
    EXPECT_EQ(hex_of(b.get()), "800000000000000000000001");
    EXPECT_EQ(set_BIGINT_bit(b.get(), 33), 0);  // inside: no growth
    EXPECT_EQ(b->length, 3);
    EXPECT_EQ(b->data[1], 2u);
    EXPECT_EQ(set_BIGINT_bit(b.get(), -1), 1);
    EXPECT_EQ(set_BIGINT_bit(nullptr, 3), 1);

    EXPECT_EQ(is_BIGINT_bit_set(b.get(), 0), 1);
    EXPECT_EQ(is_BIGINT_bit_set(b.get(), 1), 0);
    EXPECT_EQ(is_BIGINT_bit_set(b.get(), 33), 1);
    EXPECT_EQ(is_BIGINT_bit_set(b.get(), 95), 1);
    EXPECT_EQ(is_BIGINT_bit_set(b.get(), 96), 0);
    EXPECT_EQ(is_BIGINT_bit_set(b.get(), 5000), 0);
    EXPECT_EQ(is_BIGINT_bit_set(b.get(), -3), 0);
    EXPECT_EQ(is_BIGINT_bit_set(nullptr, 0), 0);
}

TEST(BigintWords, BitLength) {
    Big b(new_BIGINT());
    EXPECT_EQ(get_BIGINT_bits_length(b.get()), 0);
    EXPECT_EQ(get_BIGINT_bits_length(nullptr), 0);
    for (int32_t n : {0, 1, 7, 8, 31, 32, 33, 255, 256, 1023}) {
        BIGINT x{nullptr, 0, 0, 0};
        init_BIGINT(&x);
        set_BIGINT_bit(&x, n);
        EXPECT_EQ(get_BIGINT_bits_length(&x), n + 1) << n;
        clear_BIGINT(&x);
    }
    set_BIGINT_word(b.get(), 0x00010000);
    EXPECT_EQ(get_BIGINT_bits_length(b.get()), 17);
    set_BIGINT_word(b.get(), 0x00FFFFFF);
    EXPECT_EQ(get_BIGINT_bits_length(b.get()), 24);
}

TEST(BigintWords, HexWithZeroTopWordCountsFromTopWord) {
    Big b = from_hex_text("00000000FF");
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(b->length, 2);
    EXPECT_EQ(b->data[1], 0u);
    EXPECT_EQ(b->data[0], 0xFFu);
    EXPECT_EQ(get_BIGINT_bits_length(b.get()), 32);
}

TEST(BigintWords, Compare) {
    Big a = from_hex_text("100000000");
    Big b = from_hex_text("FFFFFFFF");
    Big c = from_hex_text("100000001");
    EXPECT_EQ(cmp_BIGINT(a.get(), b.get()), 1);
    EXPECT_EQ(cmp_BIGINT(b.get(), a.get()), -1);
    EXPECT_EQ(cmp_BIGINT(a.get(), c.get()), -1);
    EXPECT_EQ(cmp_BIGINT(c.get(), a.get()), 1);
    EXPECT_EQ(cmp_BIGINT(a.get(), a.get()), 0);
    EXPECT_EQ(cmp_BIGINT(nullptr, a.get()), 1);
    EXPECT_EQ(cmp_BIGINT(a.get(), nullptr), 1);
    // By length first: an unnormalised value is "longer".
    Big padded = from_hex_text("0000000001");
    Big one = from_hex_text("01");
    EXPECT_EQ(cmp_BIGINT(padded.get(), b.get()), 1);
    EXPECT_EQ(cmp_BIGINT(one.get(), value_one_BIGINT()), 0);
}

// ---- single-word arithmetic ---------------------------------------------------------

TEST(BigintWordArithmetic, AddWord) {
    Big b(new_BIGINT());
    EXPECT_EQ(add_BIGINT_word(b.get(), 0), 0);
    EXPECT_EQ(b->length, 0);
    EXPECT_EQ(add_BIGINT_word(b.get(), 7), 0);  // zero becomes w
    EXPECT_EQ(hex_of(b.get()), "07");
    set_BIGINT_word(b.get(), 0xFFFFFFFE);
    EXPECT_EQ(add_BIGINT_word(b.get(), 5), 0);  // carry out of a non-full top word
    EXPECT_EQ(hex_of(b.get()), "0100000003");
    EXPECT_EQ(b->length, 2);

    Big full = from_hex_text("FFFFFFFFFFFFFFFF");
    EXPECT_EQ(add_BIGINT_word(full.get(), 1), 0);
    EXPECT_EQ(hex_of(full.get()), "010000000000000000");
    EXPECT_EQ(full->length, 3);

    Big mid = from_hex_text("12345678FFFFFFFF");
    EXPECT_EQ(add_BIGINT_word(mid.get(), 2), 0);
    EXPECT_EQ(hex_of(mid.get()), "1234567900000001");
    EXPECT_EQ(mid->length, 2);

    // A full top word makes room for a carry word up front.
    Big top = from_hex_text("FFFFFFFF00000000");
    EXPECT_EQ(add_BIGINT_word(top.get(), 1), 0);
    EXPECT_EQ(hex_of(top.get()), "FFFFFFFF00000001");
    EXPECT_EQ(top->length, 2);
    EXPECT_GE(top->size, 3);
    EXPECT_EQ(add_BIGINT_word(nullptr, 1), 1);
}

TEST(BigintWordArithmetic, SubWordAbsoluteDifferenceQuirk) {
    Big b(new_BIGINT());
    set_BIGINT_word(b.get(), 3);
    EXPECT_EQ(sub_BIGINT_word(b.get(), 5), 0);
    EXPECT_EQ(get_BIGINT_word(b.get()), 2u);  // |3 - 5|
    set_BIGINT_word(b.get(), 0);
    EXPECT_EQ(sub_BIGINT_word(b.get(), 5), 0);
    EXPECT_EQ(get_BIGINT_word(b.get()), 5u);  // 0 - 5 gives 5
    set_BIGINT_word(b.get(), 9);
    EXPECT_EQ(sub_BIGINT_word(b.get(), 9), 0);
    EXPECT_EQ(b->length, 0);
    set_BIGINT_word(b.get(), 9);
    EXPECT_EQ(sub_BIGINT_word(b.get(), 4), 0);
    EXPECT_EQ(get_BIGINT_word(b.get()), 5u);
    EXPECT_EQ(sub_BIGINT_word(nullptr, 1), 1);
}

TEST(BigintWordArithmetic, SubWordBorrowsUpward) {
    Big b = from_hex_text("100000000");
    EXPECT_EQ(sub_BIGINT_word(b.get(), 1), 0);
    EXPECT_EQ(b->length, 1);
    EXPECT_EQ(hex_of(b.get()), "FFFFFFFF");
    Big c = from_hex_text("050000000000000003");
    EXPECT_EQ(sub_BIGINT_word(c.get(), 4), 0);
    EXPECT_EQ(hex_of(c.get()), "04FFFFFFFFFFFFFFFF");
    EXPECT_EQ(c->length, 3);
    Big d = from_hex_text("0100000000FFFFFFFF");
    EXPECT_EQ(sub_BIGINT_word(d.get(), 0xFFFFFFFF), 0);
    EXPECT_EQ(hex_of(d.get()), "010000000000000000");
}

TEST(BigintWordArithmetic, DivWordAgainstOpenSsl) {
    TestRng rng(11);
    for (int i = 0; i < 300; i++) {
        Bytes v = random_value(rng, 80);
        uint32_t w = static_cast<uint32_t>(rng.next());
        if (i % 3 == 0) w >>= rng.below(32);
        if (w == 0) w = 3;
        Big b = from_bytes(v);
        const std::string hex = hex_of(b.get());
        char wt[16];
        std::snprintf(wt, sizeof wt, "%X", w);
        const uint32_t rem = div_BIGINT_word(b.get(), w);
        EXPECT_EQ(word_hex(rem), oracle::bn::mod(hex, wt)) << hex << " / " << wt;
        EXPECT_EQ(hex_of(b.get()), oracle::bn::div(hex, wt));
        if (b->length > 0) {
            EXPECT_NE(b->data[b->length - 1], 0u);
        }
        EXPECT_EQ(mod_BIGINT_word(from_bytes(v).get(), w), rem);
    }
}

TEST(BigintWordArithmetic, DivWordExtremeDivisorsAgainstOpenSsl) {
    TestRng rng(12);
    const uint32_t divisors[] = {1, 2, 3, 10, 0x7FFFFFFF, 0x80000000, 0x80000001, 0xFFFFFFFF,
                                 0xFFFFFFFE, 0x10000, 0xFFFF, 1000000000};
    std::vector<Bytes> values = {Bytes(37, 0xFF), Bytes(64, 0xFF), Bytes{0x80}, Bytes{0xFF, 0xFF, 0xFF, 0xFF},
                                 kry_test::from_hex("8000000000000000"), kry_test::from_hex("0100000000")};
    for (int i = 0; i < 20; i++) values.push_back(random_value(rng, 20));
    for (const Bytes &v : values) {
        for (uint32_t w : divisors) {
            Big b = from_bytes(v);
            const std::string hex = hex_of(b.get());
            const std::string wt = word_hex(w);
            EXPECT_EQ(word_hex(mod_BIGINT_word(b.get(), w)), oracle::bn::mod(hex, wt)) << hex << " % " << wt;
            EXPECT_EQ(word_hex(div_BIGINT_word(b.get(), w)), oracle::bn::mod(hex, wt)) << hex << " / " << wt;
            EXPECT_EQ(hex_of(b.get()), oracle::bn::div(hex, wt)) << hex << " / " << wt;
        }
    }
}

TEST(BigintWordArithmetic, DivWordEdges) {
    Big b = from_hex_text("1234");
    EXPECT_EQ(div_BIGINT_word(b.get(), 0), 0xFFFFFFFFu);
    EXPECT_EQ(mod_BIGINT_word(b.get(), 0), 0xFFFFFFFFu);
    EXPECT_EQ(hex_of(b.get()), "1234");
    Big z(new_BIGINT());
    EXPECT_EQ(div_BIGINT_word(z.get(), 7), 0u);
    EXPECT_EQ(mod_BIGINT_word(z.get(), 7), 0u);
    EXPECT_EQ(div_BIGINT_word(nullptr, 7), 0xFFFFFFFFu);

    Big c = from_hex_text("0100000005");
    EXPECT_EQ(div_BIGINT_word(c.get(), 0x10), 5u);
    EXPECT_EQ(hex_of(c.get()), "10000000");
    EXPECT_EQ(c->length, 1);  // the zero top word is trimmed

    // The dividend is shifted with the divisor, so its array grows by a word.
    Big d = from_hex_text("FFFFFFFF");
    EXPECT_EQ(div_BIGINT_word(d.get(), 1), 0u);
    EXPECT_EQ(hex_of(d.get()), "FFFFFFFF");
    EXPECT_GE(d->size, 2);

    // The constant records cannot be divided in place.
    EXPECT_EQ(div_BIGINT_word(const_cast<BIGINT *>(value_one_BIGINT()), 3), 0xFFFFFFFFu);
    EXPECT_EQ(mod_BIGINT_word(value_one_BIGINT(), 3), 1u);
}

// ---- addition and subtraction --------------------------------------------------

TEST(BigintAddSub, AgainstReference) {
    TestRng rng(21);
    for (int i = 0; i < 400; i++) {
        Bytes x = random_value(rng, 80), y = random_value(rng, 80);
        if (i % 5 == 0) y = x;
        if (i % 7 == 0) std::fill(x.begin(), x.end(), 0xFF);
        Big a = from_bytes(x), b = from_bytes(y);
        Big r(new_BIGINT());
        ASSERT_EQ(add_BIGINT(r.get(), a.get(), b.get(), nullptr), 0);
        EXPECT_EQ(hex_of(r.get()), canonical_hex(ref_add(x, y)));
        EXPECT_NE(r->data[r->length - 1], 0u);

        const bool x_big = cmp_BIGINT(a.get(), b.get()) >= 0;
        const Bytes &hi = x_big ? x : y, &lo = x_big ? y : x;
        const BIGINT *bh = x_big ? a.get() : b.get(), *bl = x_big ? b.get() : a.get();
        ASSERT_EQ(sub_BIGINT(r.get(), bh, bl, nullptr), 0);
        EXPECT_EQ(hex_of(r.get()), canonical_hex(ref_sub(hi, lo)));
        if (r->length > 0) {
            EXPECT_NE(r->data[r->length - 1], 0u);
        }
        if (cmp_BIGINT(bh, bl) != 0) {
            EXPECT_EQ(sub_BIGINT(r.get(), bl, bh, nullptr), 1);
        }
    }
}

TEST(BigintAddSub, CarriesAndBorrowsAcrossEveryLength) {
    // All-ones plus one and a power of two minus one, for odd and even
    // lengths, with the result in a fresh record and in either operand.
    for (int32_t words = 1; words <= 9; words++) {
        for (int32_t small = 1; small <= words; small++) {
            const Bytes ones(4 * words, 0xFF);
            Bytes unit(4 * small, 0);
            unit.back() = 1;
            const std::string sum = canonical_hex(ref_add(ones, unit));
            for (int where = 0; where < 3; where++) {
                Big a = from_bytes(ones), b = from_bytes(unit), fresh(new_BIGINT());
                BIGINT *r = where == 0 ? fresh.get() : where == 1 ? a.get() : b.get();
                ASSERT_EQ(add_BIGINT(r, a.get(), b.get(), nullptr), 0);
                EXPECT_EQ(hex_of(r), sum) << words << " " << small << " " << where;
                ASSERT_EQ(add_BIGINT(r, b.get() == r ? a.get() : b.get(), r, nullptr), 0);

                Big p = from_bytes(ref_add(ones, unit)), one = from_bytes(unit), out(new_BIGINT());
                BIGINT *d = where == 0 ? out.get() : where == 1 ? p.get() : one.get();
                ASSERT_EQ(sub_BIGINT(d, p.get(), one.get(), nullptr), 0);
                EXPECT_EQ(hex_of(d), canonical_hex(ones)) << words << " " << small << " " << where;
                EXPECT_EQ(d->length, words);
            }
        }
    }
}

TEST(BigintAddSub, ResultMayBeAnOperand) {
    Big a = from_hex_text("FFFFFFFFFFFFFFFFFFFFFFFF");
    Big b = from_hex_text("01");
    ASSERT_EQ(add_BIGINT(a.get(), a.get(), b.get(), nullptr), 0);
    EXPECT_EQ(hex_of(a.get()), "01000000000000000000000000");
    ASSERT_EQ(add_BIGINT(b.get(), a.get(), b.get(), nullptr), 0);
    EXPECT_EQ(hex_of(b.get()), "01000000000000000000000001");
    ASSERT_EQ(sub_BIGINT(b.get(), b.get(), a.get(), nullptr), 0);
    EXPECT_EQ(hex_of(b.get()), "01");
    ASSERT_EQ(sub_BIGINT(a.get(), a.get(), b.get(), nullptr), 0);
    EXPECT_EQ(hex_of(a.get()), "FFFFFFFFFFFFFFFFFFFFFFFF");
    ASSERT_EQ(add_BIGINT(a.get(), a.get(), a.get(), nullptr), 0);
    EXPECT_EQ(hex_of(a.get()), "01FFFFFFFFFFFFFFFFFFFFFFFE");
    ASSERT_EQ(sub_BIGINT(a.get(), a.get(), a.get(), nullptr), 0);
    EXPECT_EQ(a->length, 0);
}

TEST(BigintAddSub, Edges) {
    Big zero(new_BIGINT()), five = from_hex_text("05"), three = from_hex_text("03");
    Big r(new_BIGINT());
    ASSERT_EQ(add_BIGINT(r.get(), zero.get(), zero.get(), nullptr), 0);
    EXPECT_EQ(r->length, 0);
    ASSERT_EQ(add_BIGINT(r.get(), zero.get(), five.get(), nullptr), 0);
    EXPECT_EQ(hex_of(r.get()), "05");
    ASSERT_EQ(sub_BIGINT(r.get(), five.get(), zero.get(), nullptr), 0);
    EXPECT_EQ(hex_of(r.get()), "05");
    EXPECT_EQ(sub_BIGINT(r.get(), three.get(), five.get(), nullptr), 1);  // a < b, equal lengths
    Big longer = from_hex_text("0100000000");
    EXPECT_EQ(sub_BIGINT(r.get(), five.get(), longer.get(), nullptr), 1);
    // Zero words above a's length take no part.
    Big padded = from_hex_text("0000000003");
    ASSERT_EQ(sub_BIGINT(r.get(), five.get(), padded.get(), nullptr), 0);
    EXPECT_EQ(hex_of(r.get()), "02");
    EXPECT_EQ(add_BIGINT(nullptr, five.get(), three.get(), nullptr), 1);
    EXPECT_EQ(add_BIGINT(r.get(), nullptr, three.get(), nullptr), 1);
    EXPECT_EQ(sub_BIGINT(r.get(), five.get(), nullptr, nullptr), 1);
    EXPECT_EQ(sub_BIGINT(nullptr, five.get(), three.get(), nullptr), 1);
    // The constants may be read, never written.
    ASSERT_EQ(add_BIGINT(r.get(), value_one_BIGINT(), value_one_BIGINT(), nullptr), 0);
    EXPECT_EQ(hex_of(r.get()), "02");
    EXPECT_EQ(add_BIGINT(const_cast<BIGINT *>(value_zero_BIGINT()), five.get(), three.get(), nullptr), 1);
}

// ---- shifts ----------------------------------------------------------------------

std::string pow2_hex(int32_t n) {
    Big p(new_BIGINT());
    set_BIGINT_bit(p.get(), n);
    return hex_of(p.get());
}

TEST(BigintShift, AgainstOpenSsl) {
    TestRng rng(31);
    for (int i = 0; i < 300; i++) {
        Bytes v = random_value(rng, 40);
        const int32_t n = static_cast<int32_t>(rng.below(i % 2 ? 70 : 1200));
        Big a = from_bytes(v);
        const std::string hex = hex_of(a.get());
        Big r(new_BIGINT());
        ASSERT_EQ(kry::lshift_BIGINT(r.get(), a.get(), n), 0);
        EXPECT_EQ(hex_of(r.get()), oracle::bn::mul(hex, pow2_hex(n))) << n;
        ASSERT_EQ(kry::rshift_BIGINT(r.get(), a.get(), n), 0);
        EXPECT_EQ(hex_of(r.get()), oracle::bn::div(hex, pow2_hex(n))) << n;
        if (r->length > 0) {
            EXPECT_NE(r->data[r->length - 1], 0u);
        }
        // In place.
        ASSERT_EQ(kry::lshift_BIGINT(a.get(), a.get(), n), 0);
        ASSERT_EQ(kry::rshift_BIGINT(a.get(), a.get(), n), 0);
        EXPECT_EQ(hex_of(a.get()), hex);
    }
}

TEST(BigintShift, Edges) {
    Big zero(new_BIGINT());
    Big r(new_BIGINT());
    ASSERT_EQ(kry::lshift_BIGINT(r.get(), zero.get(), 70), 0);
    EXPECT_EQ(r->length, 0);
    Big one = from_hex_text("01");
    ASSERT_EQ(kry::lshift_BIGINT(r.get(), one.get(), 64), 0);
    EXPECT_EQ(r->length, 3);
    EXPECT_EQ(r->data[0], 0u);
    EXPECT_EQ(r->data[1], 0u);
    EXPECT_EQ(r->data[2], 1u);
    ASSERT_EQ(kry::rshift_BIGINT(r.get(), one.get(), 1), 0);
    EXPECT_EQ(r->length, 0);
    ASSERT_EQ(kry::rshift_BIGINT(r.get(), one.get(), 5000), 0);
    EXPECT_EQ(r->length, 0);
    EXPECT_EQ(kry::lshift_BIGINT(r.get(), one.get(), -1), 1);
    EXPECT_EQ(kry::rshift_BIGINT(r.get(), one.get(), -1), 1);
    EXPECT_EQ(kry::lshift_BIGINT(nullptr, one.get(), 1), 1);
    EXPECT_EQ(kry::lshift_BIGINT(r.get(), nullptr, 1), 1);
}

// ---- conversions --------------------------------------------------------------------

TEST(BigintBinary, ToBinaryAddsSignByte) {
    uint8_t out[8] = {};
    Big b(new_BIGINT());
    set_BIGINT_word(b.get(), 0x80);
    ASSERT_EQ(BIGINT_to_binary(b.get(), out), 2);
    EXPECT_EQ(out[0], 0x00);
    EXPECT_EQ(out[1], 0x80);
    set_BIGINT_word(b.get(), 0x7F);
    ASSERT_EQ(BIGINT_to_binary(b.get(), out), 1);
    EXPECT_EQ(out[0], 0x7F);
    set_BIGINT_word(b.get(), 0);
    out[0] = 0xEE;
    ASSERT_EQ(BIGINT_to_binary(b.get(), out), 1);
    EXPECT_EQ(out[0], 0x00);
    set_BIGINT_word(b.get(), 0x80000000);  // the sign byte lies above the words
    ASSERT_EQ(BIGINT_to_binary(b.get(), out), 5);
    EXPECT_EQ(kry_test::to_hex(out, 5), "0080000000");
    EXPECT_EQ(BIGINT_to_binary(nullptr, out), 0);
    EXPECT_EQ(BIGINT_to_binary(b.get(), nullptr), 0);
}

TEST(BigintBinary, UnsignedExport) {
    uint8_t out[8] = {0xEE};
    Big b(new_BIGINT());
    EXPECT_EQ(BIGINT_to_binary_unsigned(b.get(), out), 0);
    EXPECT_EQ(out[0], 0xEE);
    set_BIGINT_word(b.get(), 0x80);
    ASSERT_EQ(BIGINT_to_binary_unsigned(b.get(), out), 1);
    EXPECT_EQ(out[0], 0x80);
    set_BIGINT_word(b.get(), 0x12345);
    ASSERT_EQ(BIGINT_to_binary_unsigned(b.get(), out), 3);
    EXPECT_EQ(kry_test::to_hex(out, 3), "012345");
    EXPECT_EQ(BIGINT_to_binary_unsigned(nullptr, out), 0);
}

TEST(BigintBinary, Import) {
    const Bytes v = kry_test::from_hex("000000000102030405060708090a");
    Big b = from_bytes(v);
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(b->flags, BIGINT_MALLOCED);
    EXPECT_EQ(b->length, 3);  // leading zero words stripped
    EXPECT_EQ(b->size, 4);    // (len - 1) / 4 + 1 words
    EXPECT_EQ(hex_of(b.get()), "0102030405060708090A");

    BIGINT local{nullptr, 0, 0, 0};
    init_BIGINT(&local);
    EXPECT_EQ(binary_to_BIGINT(v.data(), 3, &local), &local);
    EXPECT_EQ(local.length, 0);  // three zero bytes
    EXPECT_EQ(binary_to_BIGINT(v.data(), 0, &local), &local);
    EXPECT_EQ(local.length, 0);
    clear_BIGINT(&local);

    Big empty(binary_to_BIGINT(v.data(), 0, nullptr));
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(empty->length, 0);
    EXPECT_EQ(binary_to_BIGINT(nullptr, 4, nullptr), nullptr);
    EXPECT_EQ(binary_to_BIGINT(v.data(), -1, nullptr), nullptr);
    static const uint32_t table[1] = {0};
    BIGINT fixed{const_cast<uint32_t *>(table), 0, 1, BIGINT_STATIC_DATA};
    EXPECT_EQ(binary_to_BIGINT(v.data(), 8, &fixed), nullptr);
}

TEST(BigintHex, Parse) {
    EXPECT_EQ(HEX_to_BIGINT(nullptr), nullptr);
    EXPECT_EQ(HEX_to_BIGINT(""), nullptr);
    Big none = from_hex_text("xyz");
    ASSERT_NE(none, nullptr);
    EXPECT_EQ(none->length, 0);
    EXPECT_EQ(none->flags, BIGINT_MALLOCED);
    Big zero = from_hex_text("0");
    EXPECT_EQ(zero->length, 1);
    EXPECT_EQ(zero->data[0], 0u);
    Big mixed = from_hex_text("aBcDeF01g123");
    EXPECT_EQ(mixed->length, 1);
    EXPECT_EQ(mixed->data[0], 0xABCDEF01u);
    Big nine = from_hex_text("123456789");
    EXPECT_EQ(nine->length, 2);
    EXPECT_EQ(nine->data[0], 0x23456789u);
    EXPECT_EQ(nine->data[1], 0x1u);
    Big padded = from_hex_text("000000000000000000");
    EXPECT_EQ(padded->length, 3);
    EXPECT_EQ(hex_of(padded.get()), "0");
}

TEST(BigintHex, Format) {
    Big b(new_BIGINT());
    EXPECT_EQ(hex_of(b.get()), "0");
    set_BIGINT_word(b.get(), 10);
    EXPECT_EQ(hex_of(b.get()), "0A");
    set_BIGINT_word(b.get(), 0xABC);
    EXPECT_EQ(hex_of(b.get()), "0ABC");
    Big p = from_hex_text("00000000FF");
    EXPECT_EQ(hex_of(p.get()), "FF");
    EXPECT_EQ(BIGINT_to_HEX(nullptr), nullptr);
}

TEST(BigintDec, Format) {
    Big b(new_BIGINT());
    EXPECT_EQ(dec_of(b.get()), "0");
    set_BIGINT_word(b.get(), 1000000000);
    EXPECT_EQ(dec_of(b.get()), "1000000000");
    set_BIGINT_word(b.get(), 999999999);
    EXPECT_EQ(dec_of(b.get()), "999999999");
    set_BIGINT_word(b.get(), 0xFFFFFFFF);
    EXPECT_EQ(dec_of(b.get()), "4294967295");
    Big e18 = from_hex_text("0DE0B6B3A7640000");
    EXPECT_EQ(dec_of(e18.get()), "1000000000000000000");
    Big e9p = from_hex_text("3B9ACA0001");  // 10^9 * 256 + 1
    EXPECT_EQ(dec_of(e9p.get()), "256000000001");
    Big padded = from_hex_text("0000000000000000FF");
    EXPECT_EQ(dec_of(padded.get()), "255");
    EXPECT_EQ(hex_of(padded.get()), "FF");  // the value is left unchanged
    EXPECT_EQ(padded->length, 3);
    Big zeros = from_hex_text("0000");
    EXPECT_EQ(dec_of(zeros.get()), "0");
    EXPECT_EQ(BIGINT_to_DEC(nullptr), nullptr);
}

TEST(BigintConversions, RandomAgainstOpenSsl) {
    TestRng rng(41);
    for (int i = 0; i < 400; i++) {
        Bytes v = random_value(rng, 80);
        if (i % 4 == 0) v[0] |= 0x80;
        const std::string expect_hex = canonical_hex(v);
        Big b = from_bytes(v);
        ASSERT_NE(b, nullptr);
        const std::string hex = hex_of(b.get());
        EXPECT_EQ(hex, expect_hex);
        EXPECT_EQ(oracle::bn::mul(hex, "1"), hex);  // OpenSSL's canonical form
        EXPECT_EQ(dec_of(b.get()), oracle::bn::to_dec(hex));

        Big parsed = from_hex_text(hex);
        EXPECT_EQ(cmp_BIGINT(parsed.get(), b.get()), 0);

        std::string lower = hex;
        for (char &c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        Big parsed_lower = from_hex_text(lower);
        EXPECT_EQ(cmp_BIGINT(parsed_lower.get(), b.get()), 0);

        Bytes out(v.size() + 1);
        const int32_t n = BIGINT_to_binary_unsigned(b.get(), out.data());
        ASSERT_EQ(n, static_cast<int32_t>(v.size()));
        EXPECT_EQ(Bytes(out.begin(), out.begin() + n), v);
        const int32_t s = BIGINT_to_binary(b.get(), out.data());
        if (v[0] & 0x80) {
            ASSERT_EQ(s, n + 1);
            EXPECT_EQ(out[0], 0);
            EXPECT_EQ(Bytes(out.begin() + 1, out.begin() + s), v);
        } else {
            ASSERT_EQ(s, n);
            EXPECT_EQ(Bytes(out.begin(), out.begin() + s), v);
        }
        EXPECT_EQ(get_BIGINT_bits_length(b.get()),
                  static_cast<int32_t>(8 * v.size()) - __builtin_clz(v[0]) + 24);
    }
}

TEST(BigintText, DumpAndPrint) {
    Big b(new_BIGINT());
    set_BIGINT_word(b.get(), 10);
    Text d(dump_BIGINT(b.get()));
    ASSERT_NE(d, nullptr);
    EXPECT_STREQ(d.get(), "0x0A");
    Text z(dump_BIGINT(value_zero_BIGINT()));
    EXPECT_STREQ(z.get(), "0x0");
    EXPECT_EQ(dump_BIGINT(nullptr), nullptr);

    EXPECT_EQ(kry_test::capture_stdout([&] { print_BIGINT(b.get()); }), "0x");
    Big big = from_hex_text("0123456789ABCDEF0123456789ABCDEF");
    EXPECT_EQ(kry_test::capture_stdout([&] { print_BIGINT(big.get()); }), "0x");
    EXPECT_EQ(kry_test::capture_stdout([] { print_BIGINT(nullptr); }), "");
}

// ---- damaged records -----------------------------------------------------------------

TEST(BigintDamaged, TreatedLikeNull) {
    uint32_t words[4] = {1, 2, 3, 4};
    Big ok = from_hex_text("05");
    uint8_t out[64];
    for (BIGINT bad : damaged_records(words)) {
        BIGINT r = bad;
        EXPECT_EQ(get_BIGINT_word(&r), 1u);
        EXPECT_EQ(set_BIGINT_word(&r, 1), 1);
        EXPECT_EQ(set_BIGINT_bit(&r, 1), 1);
        EXPECT_EQ(is_BIGINT_bit_set(&r, 1), 0);
        EXPECT_EQ(get_BIGINT_bits_length(&r), 0);
        EXPECT_EQ(cmp_BIGINT(&r, ok.get()), 1);
        EXPECT_EQ(cmp_BIGINT(ok.get(), &r), 1);
        EXPECT_EQ(add_BIGINT_word(&r, 1), 1);
        EXPECT_EQ(sub_BIGINT_word(&r, 1), 1);
        EXPECT_EQ(div_BIGINT_word(&r, 3), 0xFFFFFFFFu);
        EXPECT_EQ(mod_BIGINT_word(&r, 3), 0xFFFFFFFFu);
        EXPECT_EQ(add_BIGINT(ok.get(), &r, ok.get(), nullptr), 1);
        EXPECT_EQ(add_BIGINT(&r, ok.get(), ok.get(), nullptr), 1);
        EXPECT_EQ(sub_BIGINT(ok.get(), ok.get(), &r, nullptr), 1);
        EXPECT_EQ(sub_BIGINT(&r, ok.get(), ok.get(), nullptr), 1);
        EXPECT_EQ(copy_BIGINT(ok.get(), &r), 1u);
        EXPECT_EQ(copy_BIGINT(&r, ok.get()), 1u);
        EXPECT_EQ(dup_BIGINT(&r), nullptr);
        EXPECT_EQ(kry::expand_BIGINT(&r, 8), nullptr);
        EXPECT_EQ(kry::lshift_BIGINT(&r, ok.get(), 3), 1);
        EXPECT_EQ(kry::rshift_BIGINT(&r, ok.get(), 3), 1);
        EXPECT_EQ(kry::lshift_BIGINT(ok.get(), &r, 3), 1);
        EXPECT_EQ(BIGINT_to_binary(&r, out), 0);
        EXPECT_EQ(BIGINT_to_binary_unsigned(&r, out), 0);
        EXPECT_EQ(BIGINT_to_HEX(&r), nullptr);
        EXPECT_EQ(BIGINT_to_DEC(&r), nullptr);
        EXPECT_EQ(binary_to_BIGINT(out, 4, &r), nullptr);
        EXPECT_EQ(r.data, bad.data);
        EXPECT_EQ(r.length, bad.length);
    }
    EXPECT_EQ(words[0], 1u);
    EXPECT_EQ(hex_of(ok.get()), "05");
}

}  // namespace
