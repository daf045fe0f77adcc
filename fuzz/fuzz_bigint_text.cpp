// libFuzzer target: BIGINT text and byte conversions and arithmetic on the
// results, each checked against a second path.
//
// Layout: byte 0 = length of the hex text (the text is NUL-terminated here),
// the text, then the rest as big-endian bytes for binary_to_BIGINT.
//   * BIGINT_to_HEX(HEX_to_BIGINT(t)) is t's leading hex run, upper case,
//     without leading zeros, padded to an even length ("0" for zero);
//   * BIGINT_to_DEC agrees with a base-10^9 conversion done here;
//   * binary round trips (minimal and signed forms);
//   * (a + b) - b == a, (a * b) / b == a rem 0, a = q*d + r with r < d,
//     a*a == sqr(a);
//   * mod_exp (and Montgomery for odd moduli) on one-word operands agrees
//     with 64-bit square-and-multiply.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <kry/bigint.h>
#include <kry/error.h>

// A failed check names itself and aborts: libFuzzer keeps the input.
#define check(ok)                                                                  \
    do {                                                                           \
        if (!(ok)) {                                                               \
            fprintf(stderr, "check failed: %s (%s:%d)\n", #ok, __FILE__, __LINE__); \
            abort();                                                               \
        }                                                                          \
    } while (0)

namespace {


std::string take_text(char *t) {
    std::string s = t ? t : "";
    lum_free(t, __FILE__, __LINE__);
    return s;
}

std::string hex_of(const BIGINT *b) {
    char *t = BIGINT_to_HEX(b);
    check(t != nullptr);
    return take_text(t);
}

int hexval(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// The expected BIGINT_to_HEX of the leading hex run of `t`.
std::string canonical_hex(const std::string &t) {
    std::string d;
    for (char c : t) {
        if (hexval(c) < 0) break;
        d += "0123456789ABCDEF"[hexval(c)];
    }
    size_t z = d.find_first_not_of('0');
    d = z == std::string::npos ? "" : d.substr(z);
    if (d.empty()) return "0";
    if (d.size() % 2) d = "0" + d;
    return d;
}

// Decimal of a hex digit string by base-10^9 limbs.
std::string decimal_of_hex(const std::string &hex) {
    std::vector<uint32_t> limbs{0};  // little-endian base 10^9
    for (char c : hex) {
        uint64_t carry = static_cast<uint64_t>(hexval(c));
        for (auto &l : limbs) {
            uint64_t v = static_cast<uint64_t>(l) * 16 + carry;
            l = static_cast<uint32_t>(v % 1000000000u);
            carry = v / 1000000000u;
        }
        if (carry) limbs.push_back(static_cast<uint32_t>(carry));
    }
    std::string s = std::to_string(limbs.back());
    for (size_t i = limbs.size() - 1; i-- > 0;) {
        std::string part = std::to_string(limbs[i]);
        s += std::string(9 - part.size(), '0') + part;
    }
    return s;
}

std::string bytes_hex(const uint8_t *p, size_t n) {
    std::string s;
    for (size_t i = 0; i < n; ++i) {
        s += "0123456789ABCDEF"[p[i] >> 4];
        s += "0123456789ABCDEF"[p[i] & 15];
    }
    return canonical_hex(s);
}

uint64_t pow_mod(uint64_t a, uint64_t e, uint64_t m) {
    uint64_t r = 1 % m;
    a %= m;
    while (e) {
        if (e & 1) r = static_cast<uint64_t>((static_cast<unsigned __int128>(r) * a) % m);
        a = static_cast<uint64_t>((static_cast<unsigned __int128>(a) * a) % m);
        e >>= 1;
    }
    return r;
}

// r = x * y (or x * x).  An operand of length 0 (zero from an empty byte
// string) is refused by the multiplications with 1: then r is set to zero.
void mul(BIGINT *r, const BIGINT *x, const BIGINT *y, BIGINT_POOL *pool) {
    const int rc = x == y ? sqr_BIGINT(r, x, pool) : mtp_BIGINT(r, x, y, pool);
    if (x->length == 0 || y->length == 0) {
        check(rc == 0 || rc == 1);
        if (rc != 0) check(copy_BIGINT(r, value_zero_BIGINT()) == 0);
    } else {
        check(rc == 0);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 1) return 0;
    size_t tlen = data[0];
    ++data;
    --size;
    if (tlen > size) tlen = size;
    std::string text(reinterpret_cast<const char *>(data), tlen);
    text = text.c_str();  // stops at an embedded NUL, as the C call does
    data += tlen;
    size -= tlen;
    if (size > 512) size = 512;

    BIGINT_POOL *pool = new_BIGINT_POOL();
    check(pool != nullptr);

    // Text.
    BIGINT *a = HEX_to_BIGINT(text.c_str());
    if (text.empty()) {
        check(a == nullptr);
        a = new_BIGINT();
    }
    check(a != nullptr);
    const std::string ahex = canonical_hex(text);
    check(hex_of(a) == ahex);
    char *dec = BIGINT_to_DEC(a);
    check(dec != nullptr);
    check(take_text(dec) == decimal_of_hex(ahex));

    // Bytes.
    BIGINT *b = binary_to_BIGINT(data, static_cast<int32_t>(size), nullptr);
    check(b != nullptr);
    const std::string bhex = bytes_hex(data, size);
    check(hex_of(b) == bhex);
    {
        std::vector<uint8_t> out(size + 8, 0xEE);
        int32_t n = BIGINT_to_binary_unsigned(b, out.data());
        check(n >= 0 && static_cast<size_t>(n) <= size);
        size_t lead = 0;
        while (lead < size && data[lead] == 0) ++lead;
        check(static_cast<size_t>(n) == size - lead);
        check(memcmp(out.data(), data + lead, static_cast<size_t>(n)) == 0);
        int32_t m = BIGINT_to_binary(b, out.data());
        const int32_t bits = get_BIGINT_bits_length(b);
        check(m == (bits + 8) / 8);
        BIGINT *back = binary_to_BIGINT(out.data(), m, nullptr);
        check(back != nullptr && hex_of(back) == bhex);
        free_BIGINT(back);
    }

    // Arithmetic, checked through a second path.
    BIGINT *s = new_BIGINT(), *t = new_BIGINT(), *q = new_BIGINT(), *r = new_BIGINT(), *u = new_BIGINT();
    check(add_BIGINT(s, a, b, pool) == 0);
    check(sub_BIGINT(t, s, b, pool) == 0);
    check(hex_of(t) == ahex);
    mul(s, a, b, pool);
    if (bhex != "0") {
        check(div_BIGINT(q, r, s, b, pool) == 0);
        check(hex_of(q) == ahex);
        check(hex_of(r) == "0");
        // a = q*b + r, r < b.
        check(div_BIGINT(q, r, a, b, pool) == 0);
        check(cmp_BIGINT(r, b) < 0 || hex_of(r) == "0");
        mul(t, q, b, pool);
        check(add_BIGINT(u, t, r, pool) == 0);
        check(hex_of(u) == ahex);
    } else {
        check(div_BIGINT(q, r, a, b, pool) == 1);
    }
    mul(t, a, a, pool);
    if (a->length != 0) check(mtp_BIGINT(u, a, a, pool) == 0);
    else mul(u, a, b, pool);
    check(hex_of(t) == hex_of(u));

    // Small modular exponentiation against 64-bit arithmetic.
    if (size >= 12) {
        uint32_t w[3];
        memcpy(w, data, sizeof w);
        if (w[2] != 0) {
            check(set_BIGINT_word(q, w[0]) == 0 && set_BIGINT_word(r, w[1]) == 0 && set_BIGINT_word(u, w[2]) == 0);
            // A zero exponent gives 1 for every modulus, 1 included (documented).
            const uint64_t want = w[1] == 0 ? 1 : pow_mod(w[0], w[1], w[2]);
            check(mod_exp_BIGINT(t, q, r, u, pool) == 0);
            check(get_BIGINT_word(t) == want);
            if (w[2] & 1) {
                check(mod_exp_mont_BIGINT(t, q, r, u, pool) == 0);
                check(get_BIGINT_word(t) == want);
            }
        }
    }

    free_BIGINT(a);
    free_BIGINT(b);
    free_BIGINT(s);
    free_BIGINT(t);
    free_BIGINT(q);
    free_BIGINT(r);
    free_BIGINT(u);
    free_BIGINT_POOL(pool);
    return 0;
}
