// Fixed published keys and small helpers shared by the fuzz targets.
//
// RSA: the 1024-bit key of the PKCS #1 v2.0 RSAES-OAEP example with
//      intermediate values (tests/vectors/rsa/oaep-int.txt).
// DSA: the FIPS 186-2 Appendix 5 example key (tests/vectors/dsa.txt).
// KCDSA: the TTAK.KO-12.0001/R4 (1024, 160) HAS-160 example key
//      (tests/vectors/kcdsa.txt).
#ifndef KRY_FUZZ_FUZZ_KEYS_H
#define KRY_FUZZ_FUZZ_KEYS_H

#include <kry.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace kry_fuzz {

using Bytes = std::vector<uint8_t>;

// RSA component order: n, e, d, p, q, dP, dQ, qInv (the key-pair tags 1..8).
inline const char *const kRsaHex[8] = {
    "bbf82f090682ce9c2338ac2b9da871f7368d07eed41043a440d6b6f07454f51fb8dfbaaf035c02ab61ea48ceeb6fcd4876ed520d60e1ec4619"
    "719d8a5b8b807fafb8e0a3dfc737723ee6b4b7d93a2584ee6a649d060953748834b2454598394ee0aab12d7b61a51f527a9a41f6c1687fe253"
    "7298ca2a8f5946f8e5fd091dbdcb",
    "11",
    "a5dafc5341faf289c4b988db30c1cdf83f31251e0668b42784813801579641b29410b3c7998d6bc465745e5c392669d6870da2c082a939e37f"
    "dcb82ec93edac97ff3ad5950accfbc111c76f1a9529444e56aaf68c56c092cd38dc3bef5d20a939926ed4f74a13eddfbe1a1cecc4894af9428"
    "c2b7b8883fe4463a4bc85b1cb3c1",
    "eecfae81b1b9b3c908810b10a1b5600199eb9f44aef4fda493b81a9e3d84f632124ef0236e5d1e3b7e28fae7aa040a2d5b252176459d1f3975"
    "41ba2a58fb6599",
    "c97fb1f027f453f6341233eaaad1d9353f6c42d08866b1d05a0f2035028b9d869840b41666b42e92ea0da3b43204b5cfce3352524d0416a5a4"
    "41e700af461503",
    "54494ca63eba0337e4e24023fcd69a5aeb07dddc0183a4d0ac9b54b051f2b13ed9490975eab77414ff59c1f7692e9a2e202b38fc910a474174"
    "adc93c1f67c981",
    "471e0290ff0af0750351b7f878864ca961adbd3a8a7e991c5c0556a94c3146a7f9803f8f6f8ae342e931fd8ae47a220d1b99a495849807fe39"
    "f9245a9836da3d",
    "b06c4fdabb6301198d265bdbae9423b380f271f73453885093077fcd39e2119fc98632154f5883b167a967bf402b4e9e2e0f9656e698ea3666"
    "edfb25798039f7",
};

// DSA and KCDSA component order: p, q, g, y, x (the key-pair tags 1..5).
inline const char *const kDsaHex[5] = {
    "8df2a494492276aa3d25759bb06869cbeac0d83afb8d0cf7cbb8324f0d7882e5d0762fc5b7210eafc2e9adac32ab7aac49693dfbf83724c2ec"
    "0736ee31c80291",
    "c773218c737ec8ee993b4f2ded30f48edace915f",
    "626d027839ea0a13413163a55b4cb500299d5522956cefcb3bff10f399ce2c2e71cb9de5fa24babf58e5b79521925c9cc42e9f6f464b088cc5"
    "72af53e6d78802",
    "19131871d75b1612a819f29d78d1b0d7346f7aa77bb62a859bfd6c5675da9d212d3a36ef1672ef660b8c7c255cc0ec74858fba33f44c066996"
    "30a76b030ee333",
    "2070b3223dba372fde1c0ffc7b2e3b498b260614",
};

inline const char *const kKcdsaHex[5] = {
    "d7b9afc104f4d53f737db88d6bf77e12cd7ec3d71cbe3cb74cd224bff348154afba6bfed797044dfc655dcc20c952c0ec43a97e1ad67e687d1"
    "0729caf622845d162afca8f0248cc412b3596c4c5d3384f7e25ee644ba87bb09b164fb465477b87fdba5eaa400ffa0925714ae19464ffacead"
    "3a9750d121948ab2d8d65c82379f",
    "c3ddd3717bf05b8f8dd725c162f0b9432c6f77fb",
    "50e414c7a56892d1ad633e42d5cd8346f2c09808111c772cc30b0c544102c27e7b5f9bec57b9df2a153128919d795e46652b2a072e1f2517f2"
    "a3afff5815253aaefe35724cfa1af6afce3a6b41e3d0e13bed0eff54383c4665e69b47ba79bbc3339f86b9be2b58894a18b201afc41fe3a0d9"
    "3d3125efda79bc50dbbb2c3ab639",
    "96dce0e7b2f170093d9b51d2ba78202733b62c406d3769758b3e0cbba1ff6c78727a35703cb6bc2476c3c293743dfee94aa4b9efa9a17fa6bf"
    "790ac25a82c61523f50abaac7b64647eb15c957b07f5ed7d467243089f74695cd58fbf57920cc0c05d45829c0a8161b943f18451845760ed09"
    "6540e78aa9750b03d02448cbf8de",
    "068c4ef355d8b6f53eff1df6f243f98563896c58",
};

// The password under which the enciphered forms are made.
inline const char kPassword[] = "fuzz password";

inline Bytes from_hex(const char *hex) {
    Bytes out;
    const size_t n = std::strlen(hex);
    auto nibble = [](char c) -> uint8_t {
        if (c >= '0' && c <= '9')
            return static_cast<uint8_t>(c - '0');
        if (c >= 'a' && c <= 'f')
            return static_cast<uint8_t>(c - 'a' + 10);
        return static_cast<uint8_t>(c - 'A' + 10);
    };
    size_t i = 0;
    if (n % 2 != 0) {
        out.push_back(nibble(hex[0]));
        i = 1;
    }
    for (; i + 1 < n; i += 2)
        out.push_back(static_cast<uint8_t>(nibble(hex[i]) << 4 | nibble(hex[i + 1])));
    return out;
}

inline void put32(Bytes &out, uint32_t v) {
    out.push_back(static_cast<uint8_t>(v >> 24));
    out.push_back(static_cast<uint8_t>(v >> 16));
    out.push_back(static_cast<uint8_t>(v >> 8));
    out.push_back(static_cast<uint8_t>(v));
}

// The component list (tag, 4-byte length, value) of the hexadecimal values.
inline Bytes component_list(const char *const *hex, size_t count) {
    Bytes list;
    for (size_t i = 0; i < count; i++) {
        const Bytes v = from_hex(hex[i]);
        list.push_back(static_cast<uint8_t>(i + 1));
        put32(list, static_cast<uint32_t>(v.size()));
        list.insert(list.end(), v.begin(), v.end());
    }
    return list;
}

// A plain encoded key pair: count byte, payload length, payload.
inline Bytes plain_encoding(uint8_t count, const Bytes &payload) {
    Bytes out;
    out.push_back(count);
    put32(out, static_cast<uint32_t>(payload.size()));
    out.insert(out.end(), payload.begin(), payload.end());
    return out;
}

// An enciphered encoded key pair: the payload is enciphered with SEED-CBC
// and PKCS #7 padding under SHA-256(password) as key || IV.  Returns an
// empty vector when the cipher refuses.
inline Bytes enciphered_encoding(uint8_t count, const Bytes &payload, const char *password) {
    uint8_t digest[32];
    uint32_t digest_length = sizeof digest;
    if (Digest(KRY_SHA256, reinterpret_cast<const uint8_t *>(password), static_cast<uint32_t>(std::strlen(password)),
               digest, &digest_length) != 0)
        return {};
    Bytes cipher(payload.size() + 16);
    uint32_t cipher_length = 0;
    // SEED, CBC, PKCS #7 padding.
    const uint32_t r = BlockCipher(0x04000120u, KRY_ENCRYPT, digest, digest + 16,
                                   payload.empty() ? digest : payload.data(), static_cast<int32_t>(payload.size()),
                                   cipher.data(), &cipher_length);
    std::memset(digest, 0, sizeof digest);
    if (r != 0)
        return {};
    cipher.resize(cipher_length);
    return plain_encoding(count, cipher);
}

// An RSA unit holding the fixed key (all eight values); NULL on failure.
inline RSA *fixed_rsa(bool private_key) {
    BIGINT *v[8] = {};
    for (int i = 0; i < 8; i++) {
        const Bytes b = from_hex(kRsaHex[i]);
        v[i] = binary_to_BIGINT(b.data(), static_cast<int32_t>(b.size()), nullptr);
    }
    RSA *rsa = new_RSA();
    uint32_t r = rsa == nullptr ? 1 : 0;
    if (r == 0) {
        if (private_key)
            r = set_RSA_params(rsa, v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7]);
        else
            r = set_RSA_public_parmas(rsa, v[0], v[1]);
    }
    for (BIGINT *b : v)
        if (b != nullptr)
            free_BIGINT(b);
    if (r != 0) {
        free_RSA(rsa);
        return nullptr;
    }
    return rsa;
}

}  // namespace kry_fuzz

#endif  // KRY_FUZZ_FUZZ_KEYS_H
