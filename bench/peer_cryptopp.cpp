// Crypto++'s side of the benchmarks.  Only plain byte strings cross
// peers_extra.h.
#define CRYPTOPP_ENABLE_NAMESPACE_WEAK 1
#include "peers_extra.h"

#include <cryptopp/aes.h>
#include <cryptopp/algparam.h>
#include <cryptopp/arc4.h>
#include <cryptopp/argnames.h>
#include <cryptopp/aria.h>
#include <cryptopp/blowfish.h>
#include <cryptopp/des.h>
#include <cryptopp/dsa.h>
#include <cryptopp/hmac.h>
#include <cryptopp/integer.h>
#include <cryptopp/md5.h>
#include <cryptopp/modes.h>
#include <cryptopp/nbtheory.h>
#include <cryptopp/osrng.h>
#include <cryptopp/rc2.h>
#include <cryptopp/rsa.h>
#include <cryptopp/seed.h>
#include <cryptopp/sha.h>

#include <memory>

namespace peers {

namespace {

using CryptoPP::Integer;

CryptoPP::AutoSeededRandomPool &rng() {
    static CryptoPP::AutoSeededRandomPool pool;
    return pool;
}

// One hash object for the run: Update, then Final (which restarts it).
template <class H>
class Hasher final : public Op {
public:
    bool run(const uint8_t *in, std::size_t length, uint8_t *out) override {
        h_.Update(in, length);
        h_.Final(out);
        return true;
    }

private:
    H h_;
};

// A new object on the stack per message and its CalculateDigest.
template <class H>
class OneShot final : public Op {
public:
    bool run(const uint8_t *in, std::size_t length, uint8_t *out) override {
        H h;
        h.CalculateDigest(out, in, length);
        return true;
    }
};

template <class H>
Op *hasher(bool one_shot) {
    if (one_shot) return new OneShot<H>;
    return new Hasher<H>;
}

Op *new_hasher(Hash hash, bool one_shot) {
    switch (hash) {
    case Hash::SHA1: return hasher<CryptoPP::SHA1>(one_shot);
    case Hash::SHA224: return hasher<CryptoPP::SHA224>(one_shot);
    case Hash::SHA256: return hasher<CryptoPP::SHA256>(one_shot);
    case Hash::SHA384: return hasher<CryptoPP::SHA384>(one_shot);
    case Hash::SHA512: return hasher<CryptoPP::SHA512>(one_shot);
    case Hash::MD5: return hasher<CryptoPP::Weak::MD5>(one_shot);
    }
    return nullptr;
}

// A mode object keyed once; Resynchronize with the IV per message.
class Cipher final : public Op {
public:
    Cipher(std::unique_ptr<CryptoPP::SymmetricCipher> cipher, const uint8_t *iv)
        : cipher_(std::move(cipher)), iv_(iv, iv + cipher_->IVSize()) {}
    bool run(const uint8_t *in, std::size_t length, uint8_t *out) override {
        cipher_->Resynchronize(iv_.data(), static_cast<int>(iv_.size()));
        cipher_->ProcessData(out, in, length);
        return true;
    }

private:
    std::unique_ptr<CryptoPP::SymmetricCipher> cipher_;
    Bytes iv_;
};

template <class B>
Op *cipher(Mode mode, const uint8_t *key, std::size_t key_length, const uint8_t *iv, int rc2_bits) {
    std::unique_ptr<CryptoPP::SymmetricCipher> c;
    if (mode == Mode::CBC)
        c = std::make_unique<typename CryptoPP::CBC_Mode<B>::Encryption>();
    else
        c = std::make_unique<typename CryptoPP::CTR_Mode<B>::Encryption>();
    CryptoPP::AlgorithmParameters params =
        CryptoPP::MakeParameters(CryptoPP::Name::IV(), CryptoPP::ConstByteArrayParameter(iv, c->IVSize()));
    if (rc2_bits > 0) params(CryptoPP::Name::EffectiveKeyLength(), rc2_bits);
    try {
        c->SetKey(key, key_length, params);
    } catch (const CryptoPP::Exception &) {
        return nullptr;
    }
    return new Cipher(std::move(c), iv);
}

Op *new_cipher(Block block, Mode mode, const uint8_t *key, std::size_t key_length, const uint8_t *iv,
               int rc2_bits) {
    switch (block) {
    case Block::AES128:
    case Block::AES192:
    case Block::AES256: return cipher<CryptoPP::AES>(mode, key, key_length, iv, 0);
    case Block::ARIA128:
    case Block::ARIA192:
    case Block::ARIA256: return cipher<CryptoPP::ARIA>(mode, key, key_length, iv, 0);
    case Block::SEED: return cipher<CryptoPP::SEED>(mode, key, key_length, iv, 0);
    case Block::DES: return cipher<CryptoPP::DES>(mode, key, key_length, iv, 0);
    case Block::DES_EDE3: return cipher<CryptoPP::DES_EDE3>(mode, key, key_length, iv, 0);
    case Block::Blowfish: return cipher<CryptoPP::Blowfish>(mode, key, key_length, iv, 0);
    case Block::RC2: return cipher<CryptoPP::RC2>(mode, key, key_length, iv, rc2_bits);
    }
    return nullptr;
}

class Rc4 final : public Op {
public:
    Rc4(const uint8_t *key, std::size_t key_length) : rc4_(key, key_length) {}
    bool run(const uint8_t *in, std::size_t length, uint8_t *out) override {
        rc4_.ProcessData(out, in, length);
        return true;
    }

private:
    CryptoPP::Weak::ARC4 rc4_;
};

Op *new_rc4(const uint8_t *key, std::size_t key_length) { return new Rc4(key, key_length); }

// HMAC<SHA256> keyed once; Final restarts it with the same key.
class Hmac final : public Op {
public:
    Hmac(const uint8_t *key, std::size_t key_length) : mac_(key, key_length) {}
    bool run(const uint8_t *in, std::size_t length, uint8_t *out) override {
        mac_.Update(in, length);
        mac_.Final(out);
        return true;
    }

private:
    CryptoPP::HMAC<CryptoPP::SHA256> mac_;
};

Op *new_hmac(const uint8_t *key, std::size_t key_length) { return new Hmac(key, key_length); }

Integer integer(const Bytes &b) { return Integer(b.data(), b.size()); }

Bytes bytes(const Integer &i) {
    Bytes out(i.MinEncodedSize());
    i.Encode(out.data(), out.size());
    return strip_zeros(out);
}

class ModExp final : public ModExpOp {
public:
    ModExp(const Bytes &a, const Bytes &p, const Bytes &m) : a_(integer(a)), p_(integer(p)), m_(integer(m)) {}
    bool run() override {
        r_ = CryptoPP::ModularExponentiation(a_, p_, m_);
        return true;
    }
    Bytes result() const override { return bytes(r_); }

private:
    Integer a_, p_, m_, r_;
};

ModExpOp *new_mod_exp(const Bytes &a, const Bytes &p, const Bytes &m) { return new ModExp(a, p, m); }

template <class Scheme, class PrivateKey, class PublicKey>
class Signature final : public SignOp {
public:
    Signature(const PrivateKey &priv, const PublicKey &pub) : signer_(priv), verifier_(pub) {}
    bool sign(const Bytes &message, Bytes *signature) override {
        signature->resize(signer_.MaxSignatureLength());
        const std::size_t length = signer_.SignMessage(rng(), message.data(), message.size(), signature->data());
        signature->resize(length);
        return true;
    }
    bool verify(const Bytes &message, const Bytes &signature) override {
        return verifier_.VerifyMessage(message.data(), message.size(), signature.data(), signature.size());
    }

private:
    typename Scheme::Signer signer_;
    typename Scheme::Verifier verifier_;
};

using RsaScheme = CryptoPP::RSASS<CryptoPP::PKCS1v15, CryptoPP::SHA256>;

SignOp *new_rsa(const RsaComponents &k) {
    try {
        CryptoPP::InvertibleRSAFunction priv;
        // u = q^-1 mod p, as in the components.
        priv.Initialize(integer(k.n), integer(k.e), integer(k.d), integer(k.p), integer(k.q), integer(k.dp),
                        integer(k.dq), integer(k.qinv));
        CryptoPP::RSAFunction pub;
        pub.Initialize(integer(k.n), integer(k.e));
        return new Signature<RsaScheme, CryptoPP::InvertibleRSAFunction, CryptoPP::RSAFunction>(priv, pub);
    } catch (const CryptoPP::Exception &) {
        return nullptr;
    }
}

bool rsa_keygen(int bits) {
    try {
        CryptoPP::InvertibleRSAFunction key;
        key.Initialize(rng(), static_cast<unsigned>(bits), Integer(65537));
        return true;
    } catch (const CryptoPP::Exception &) {
        return false;
    }
}

SignOp *new_dsa(const DsaComponents &k) {
    try {
        CryptoPP::DSA::PrivateKey priv;
        priv.Initialize(integer(k.p), integer(k.q), integer(k.g), integer(k.x));
        CryptoPP::DSA::PublicKey pub;
        pub.Initialize(integer(k.p), integer(k.q), integer(k.g), integer(k.y));
        return new Signature<CryptoPP::DSA, CryptoPP::DSA::PrivateKey, CryptoPP::DSA::PublicKey>(priv, pub);
    } catch (const CryptoPP::Exception &) {
        return nullptr;
    }
}

const Library kLibrary = {"Crypto++", new_hasher, new_cipher, new_rc4, new_hmac, new_mod_exp, new_rsa, rsa_keygen, new_dsa};

}  // namespace

const Library *cryptopp_library() { return &kLibrary; }

}  // namespace peers
