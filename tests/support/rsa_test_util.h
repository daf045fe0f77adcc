// Helpers shared by the RSA tests: kry keys from hexadecimal oracle keys,
// and the PKCS #1 v1.5 signature vector file.
#ifndef KRY_TEST_RSA_TEST_UTIL_H
#define KRY_TEST_RSA_TEST_UTIL_H

#include <kry/bigint.h>
#include <kry/error.h>
#include <kry/rsa.h>

#include "oracle_pk_rsa.h"
#include "test_support.h"

#include <cctype>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace rsa_test {

using kry_test::Bytes;

inline std::string bytes_to_hex_upper(const Bytes &b) {
    static const char *digits = "0123456789ABCDEF";
    std::string s;
    for (uint8_t x : b) {
        s += digits[x >> 4];
        s += digits[x & 15];
    }
    return s.empty() ? "0" : s;
}

// Owning BIGINT from hexadecimal.
struct Big {
    BIGINT *b = nullptr;
    explicit Big(const std::string &hex) {
        if (!hex.empty()) {
            Bytes bytes = kry_test::from_hex(hex.size() % 2 ? "0" + hex : hex);
            b = binary_to_BIGINT(bytes.data(), static_cast<int32_t>(bytes.size()), nullptr);
        }
    }
    ~Big() {
        if (b != nullptr)
            free_BIGINT(b);
    }
    Big(const Big &) = delete;
    Big &operator=(const Big &) = delete;
};

inline std::string hex_of(const BIGINT *b) {
    if (b == nullptr)
        return "";
    Bytes out(static_cast<size_t>((get_BIGINT_bits_length(b) + 7) / 8) + 1);
    const int32_t n = BIGINT_to_binary_unsigned(b, out.data());
    out.resize(static_cast<size_t>(n));
    std::string s = bytes_to_hex_upper(out);
    while (s.size() > 1 && s[0] == '0')
        s.erase(0, 1);
    return s;
}

inline std::string strip_hex(std::string s) {
    while (s.size() > 1 && s[0] == '0')
        s.erase(0, 1);
    return s;
}

// Loads a key into the unit; with_crt false leaves the CRT values out.
inline uint32_t load_key(RSA *rsa, const oracle::rsa::Key &key, bool with_private = true, bool with_crt = true) {
    Big n(key.n), e(key.e), d(key.d), p(key.p), q(key.q), dp(key.dP), dq(key.dQ), qi(key.qInv);
    if (!with_private)
        return set_RSA_public_parmas(rsa, n.b, e.b);
    if (!with_crt)
        return set_RSA_params(rsa, n.b, e.b, d.b, nullptr, nullptr, nullptr, nullptr, nullptr);
    return set_RSA_params(rsa, n.b, e.b, d.b, p.b, q.b, dp.b, dq.b, qi.b);
}

inline Bytes strip_leading_zeros(Bytes b) {
    size_t i = 0;
    while (i < b.size() && b[i] == 0)
        ++i;
    return Bytes(b.begin() + static_cast<long>(i), b.end());
}

struct SignatureVector {
    size_t key_index;
    Bytes message;
    Bytes signature;
};

// Reads the PKCS #1 v1.5 signature example file: keys and (message, signature) pairs.
inline void read_pkcs1_sign_vectors(std::vector<oracle::rsa::Key> *keys, std::vector<SignatureVector> *vectors) {
    std::ifstream in(kry_test::vector_path("rsa/pkcs1v15sign-vectors.txt"));
    std::string line, label, hex;
    oracle::rsa::Key key;
    Bytes message;
    auto flush = [&]() {
        if (label.empty())
            return;
        if (label == "Modulus") {
            if (!key.qInv.empty())
                key = oracle::rsa::Key();  // the previous key was stored with its first signature
            key.n = hex;
        } else if (label == "Exponent") {
            if (key.e.empty())
                key.e = hex;
            else
                key.d = hex;
        } else if (label == "Public exponent") {
            key.e = hex;
        } else if (label == "Prime 1") {
            key.p = hex;
        } else if (label == "Prime 2") {
            key.q = hex;
        } else if (label == "Prime exponent 1") {
            key.dP = hex;
        } else if (label == "Prime exponent 2") {
            key.dQ = hex;
        } else if (label == "Coefficient") {
            key.qInv = hex;
        } else if (label == "Message to be signed") {
            message = kry_test::from_hex(hex);
        } else if (label == "Signature") {
            if (!key.qInv.empty() &&
                (keys->empty() || keys->back().n != key.n)) {
                keys->push_back(key);
            }
            vectors->push_back({keys->size() - 1, message, kry_test::from_hex(hex)});
        }
        label.clear();
        hex.clear();
    };
    while (std::getline(in, line)) {
        while (!line.empty() && std::isspace(static_cast<unsigned char>(line.back())))
            line.pop_back();
        if (line.rfind("# ", 0) == 0 && !line.empty() && line.back() == ':') {
            flush();
            label = line.substr(2, line.size() - 3);
        } else if (!line.empty() && line[0] != '#' && line[0] != '=') {
            if (!label.empty())
                for (char c : line)
                    if (std::isxdigit(static_cast<unsigned char>(c)))
                        hex += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        } else if (line.empty() || line[0] == '#') {
            // a blank or comment line ends a value only at the next label
        }
    }
    flush();
}

}  // namespace rsa_test

#endif
