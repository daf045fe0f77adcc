// Botan 2's side of the benchmarks.  Only plain byte strings cross
// peers_extra.h.
#include "peers_extra.h"

#include <botan/auto_rng.h>
#include <botan/bigint.h>
#include <botan/cipher_mode.h>
#include <botan/dl_group.h>
#include <botan/dsa.h>
#include <botan/hash.h>
#include <botan/mac.h>
#include <botan/numthry.h>
#include <botan/pubkey.h>
#include <botan/rsa.h>
#include <botan/stream_cipher.h>

#include <cstring>
#include <memory>
#include <string>

namespace peers {

namespace {

Botan::RandomNumberGenerator &rng() {
    static Botan::AutoSeeded_RNG generator;
    return generator;
}

const char *hash_name(Hash hash) {
    switch (hash) {
    case Hash::SHA1: return "SHA-1";
    case Hash::SHA224: return "SHA-224";
    case Hash::SHA256: return "SHA-256";
    case Hash::SHA384: return "SHA-384";
    case Hash::SHA512: return "SHA-512";
    case Hash::MD5: return "MD5";
    }
    return "";
}

// One HashFunction for the run: update, then final (which resets it).  It
// is also Botan's cheapest way to hash single messages, so it serves the
// one-shot cases too.
class Hasher final : public Op {
public:
    explicit Hasher(std::unique_ptr<Botan::HashFunction> h) : h_(std::move(h)) {}
    bool run(const uint8_t *in, std::size_t length, uint8_t *out) override {
        h_->update(in, length);
        h_->final(out);
        return true;
    }

private:
    std::unique_ptr<Botan::HashFunction> h_;
};

Op *new_hasher(Hash hash, bool) {
    auto h = Botan::HashFunction::create(hash_name(hash));
    return h ? new Hasher(std::move(h)) : nullptr;
}

const char *block_name(Block block) {
    switch (block) {
    case Block::AES128: return "AES-128";
    case Block::AES192: return "AES-192";
    case Block::AES256: return "AES-256";
    case Block::ARIA128: return "ARIA-128";
    case Block::ARIA192: return "ARIA-192";
    case Block::ARIA256: return "ARIA-256";
    case Block::SEED: return "SEED";
    case Block::DES: return "DES";
    case Block::DES_EDE3: return "TripleDES";
    case Block::Blowfish: return "Blowfish";
    case Block::RC2: return nullptr;  // not in Botan 2
    }
    return nullptr;
}

// CBC: a Cipher_Mode keyed once, start(iv) and an in-place process per
// message.
class Cbc final : public Op {
public:
    Cbc(std::unique_ptr<Botan::Cipher_Mode> mode, const uint8_t *iv, std::size_t iv_length)
        : mode_(std::move(mode)), iv_(iv, iv + iv_length) {}
    bool run(const uint8_t *in, std::size_t length, uint8_t *out) override {
        std::memcpy(out, in, length);
        mode_->start(iv_.data(), iv_.size());
        return mode_->process(out, length) == length;
    }

private:
    std::unique_ptr<Botan::Cipher_Mode> mode_;
    Bytes iv_;
};

// Stream ciphers (CTR, RC4): keyed once; CTR takes its IV per message, RC4
// runs on.
class Stream final : public Op {
public:
    Stream(std::unique_ptr<Botan::StreamCipher> cipher, const uint8_t *iv, std::size_t iv_length)
        : cipher_(std::move(cipher)), iv_(iv ? Bytes(iv, iv + iv_length) : Bytes()) {}
    bool run(const uint8_t *in, std::size_t length, uint8_t *out) override {
        if (!iv_.empty()) cipher_->set_iv(iv_.data(), iv_.size());
        cipher_->cipher(in, out, length);
        return true;
    }

private:
    std::unique_ptr<Botan::StreamCipher> cipher_;
    Bytes iv_;
};

Op *new_cipher(Block block, Mode mode, const uint8_t *key, std::size_t key_length, const uint8_t *iv, int) {
    const char *name = block_name(block);
    if (name == nullptr) return nullptr;
    const std::size_t iv_length = block >= Block::DES ? 8 : 16;
    try {
        if (mode == Mode::CBC) {
            auto cbc = Botan::Cipher_Mode::create(std::string(name) + "/CBC/NoPadding", Botan::ENCRYPTION);
            if (!cbc) return nullptr;
            cbc->set_key(key, key_length);
            return new Cbc(std::move(cbc), iv, iv_length);
        }
        auto ctr = Botan::StreamCipher::create("CTR-BE(" + std::string(name) + ")");
        if (!ctr) return nullptr;
        ctr->set_key(key, key_length);
        return new Stream(std::move(ctr), iv, iv_length);
    } catch (const std::exception &) {
        return nullptr;
    }
}

Op *new_rc4(const uint8_t *key, std::size_t key_length) {
    auto rc4 = Botan::StreamCipher::create("RC4");
    if (!rc4) return nullptr;
    rc4->set_key(key, key_length);
    return new Stream(std::move(rc4), nullptr, 0);
}

class Hmac final : public Op {
public:
    explicit Hmac(std::unique_ptr<Botan::MessageAuthenticationCode> mac) : mac_(std::move(mac)) {}
    bool run(const uint8_t *in, std::size_t length, uint8_t *out) override {
        mac_->update(in, length);
        mac_->final(out);
        return true;
    }

private:
    std::unique_ptr<Botan::MessageAuthenticationCode> mac_;
};

Op *new_hmac(const uint8_t *key, std::size_t key_length) {
    auto mac = Botan::MessageAuthenticationCode::create("HMAC(SHA-256)");
    if (!mac) return nullptr;
    mac->set_key(key, key_length);
    return new Hmac(std::move(mac));
}

Botan::BigInt big(const Bytes &b) { return Botan::BigInt(b.data(), b.size()); }

Bytes bytes(const Botan::BigInt &n) {
    Bytes out(n.bytes());
    n.binary_encode(out.data(), out.size());
    return strip_zeros(out);
}

class ModExp final : public ModExpOp {
public:
    ModExp(const Bytes &a, const Bytes &p, const Bytes &m) : a_(big(a)), p_(big(p)), m_(big(m)) {}
    bool run() override {
        r_ = Botan::power_mod(a_, p_, m_);
        return true;
    }
    Bytes result() const override { return bytes(r_); }

private:
    Botan::BigInt a_, p_, m_, r_;
};

ModExpOp *new_mod_exp(const Bytes &a, const Bytes &p, const Bytes &m) { return new ModExp(a, p, m); }

// A signer and a verifier made once from the keys; one message per call.
class Signature final : public SignOp {
public:
    Signature(std::unique_ptr<Botan::Private_Key> priv, std::unique_ptr<Botan::Public_Key> pub, const char *padding)
        : priv_(std::move(priv)), pub_(std::move(pub)), signer_(*priv_, rng(), padding), verifier_(*pub_, padding) {}
    bool sign(const Bytes &message, Bytes *signature) override {
        *signature = signer_.sign_message(message.data(), message.size(), rng());
        return true;
    }
    bool verify(const Bytes &message, const Bytes &signature) override {
        return verifier_.verify_message(message.data(), message.size(), signature.data(), signature.size());
    }

private:
    std::unique_ptr<Botan::Private_Key> priv_;
    std::unique_ptr<Botan::Public_Key> pub_;
    Botan::PK_Signer signer_;
    Botan::PK_Verifier verifier_;
};

SignOp *new_rsa(const RsaComponents &k) {
    try {
        auto priv = std::make_unique<Botan::RSA_PrivateKey>(big(k.p), big(k.q), big(k.e), big(k.d), big(k.n));
        auto pub = std::make_unique<Botan::RSA_PublicKey>(big(k.n), big(k.e));
        return new Signature(std::move(priv), std::move(pub), "EMSA3(SHA-256)");
    } catch (const std::exception &) {
        return nullptr;
    }
}

bool rsa_keygen(int bits) {
    try {
        Botan::RSA_PrivateKey key(rng(), static_cast<std::size_t>(bits), 65537);
        return true;
    } catch (const std::exception &) {
        return false;
    }
}

SignOp *new_dsa(const DsaComponents &k) {
    try {
        const Botan::DL_Group group(big(k.p), big(k.q), big(k.g));
        auto priv = std::make_unique<Botan::DSA_PrivateKey>(rng(), group, big(k.x));
        auto pub = std::make_unique<Botan::DSA_PublicKey>(group, big(k.y));
        return new Signature(std::move(priv), std::move(pub), "EMSA1(SHA-1)");
    } catch (const std::exception &) {
        return nullptr;
    }
}

const Library kLibrary = {"Botan", new_hasher, new_cipher, new_rc4, new_hmac, new_mod_exp, new_rsa, rsa_keygen, new_dsa};

}  // namespace

const Library *botan_library() { return &kLibrary; }

}  // namespace peers
