// nettle's side of the benchmarks (hogweed for RSA and DSA, GMP's mpz for
// the modular exponentiation, which is what nettle's public-key code runs
// on).  Only plain byte strings cross peers_extra.h.
#include "peers_extra.h"

#include <gmp.h>
#include <nettle/aes.h>
#include <nettle/arcfour.h>
#include <nettle/arctwo.h>
#include <nettle/bignum.h>
#include <nettle/blowfish.h>
#include <nettle/cbc.h>
#include <nettle/ctr.h>
#include <nettle/des.h>
#include <nettle/dsa.h>
#include <nettle/hmac.h>
#include <nettle/knuth-lfib.h>
#include <nettle/md5.h>
#include <nettle/nettle-meta.h>
#include <nettle/rsa.h>
#include <nettle/sha1.h>
#include <nettle/sha2.h>

#include <cstring>
#include <vector>

namespace peers {

namespace {

const nettle_hash *hash_meta(Hash hash) {
    switch (hash) {
    case Hash::SHA1: return &nettle_sha1;
    case Hash::SHA224: return &nettle_sha224;
    case Hash::SHA256: return &nettle_sha256;
    case Hash::SHA384: return &nettle_sha384;
    case Hash::SHA512: return &nettle_sha512;
    case Hash::MD5: return &nettle_md5;
    }
    return nullptr;
}

// One context for the run; the digest call re-initialises it.
class Hasher final : public Op {
public:
    explicit Hasher(const nettle_hash *meta) : meta_(meta), ctx_(meta->context_size) { meta_->init(ctx_.data()); }
    bool run(const uint8_t *in, std::size_t length, uint8_t *out) override {
        meta_->update(ctx_.data(), length, in);
        meta_->digest(ctx_.data(), meta_->digest_size, out);
        return true;
    }

private:
    const nettle_hash *meta_;
    std::vector<uint8_t> ctx_;
};

// A fresh context on the stack per message: init, update, digest.
template <class Ctx, void (*Init)(Ctx *), void (*Update)(Ctx *, size_t, const uint8_t *),
          void (*Digest)(Ctx *, size_t, uint8_t *), size_t Length>
class OneShot final : public Op {
public:
    bool run(const uint8_t *in, std::size_t length, uint8_t *out) override {
        Ctx ctx;
        Init(&ctx);
        Update(&ctx, length, in);
        Digest(&ctx, Length, out);
        return true;
    }
};

Op *new_hasher(Hash hash, bool one_shot) {
    if (one_shot) {
        switch (hash) {
        case Hash::SHA1:
            return new OneShot<sha1_ctx, sha1_init, sha1_update, sha1_digest, SHA1_DIGEST_SIZE>;
        case Hash::SHA224:
            return new OneShot<sha256_ctx, sha224_init, sha256_update, sha224_digest, SHA224_DIGEST_SIZE>;
        case Hash::SHA256:
            return new OneShot<sha256_ctx, sha256_init, sha256_update, sha256_digest, SHA256_DIGEST_SIZE>;
        default: return nullptr;
        }
    }
    const nettle_hash *meta = hash_meta(hash);
    return meta ? new Hasher(meta) : nullptr;
}

// A block cipher's encryption context and function.
struct Keyed {
    std::vector<uint8_t> ctx;
    nettle_cipher_func *encrypt = nullptr;
    std::size_t block = 0;
};

template <class Ctx>
Ctx *make_ctx(Keyed &k) {
    k.ctx.assign(sizeof(Ctx), 0);
    return reinterpret_cast<Ctx *>(k.ctx.data());
}

bool set_up(Keyed &k, Block block, const uint8_t *key, std::size_t key_length, int rc2_bits) {
    switch (block) {
    case Block::AES128:
        if (key_length != 16) return false;
        aes128_set_encrypt_key(make_ctx<aes128_ctx>(k), key);
        k.encrypt = reinterpret_cast<nettle_cipher_func *>(aes128_encrypt);
        k.block = 16;
        return true;
    case Block::AES192:
        if (key_length != 24) return false;
        aes192_set_encrypt_key(make_ctx<aes192_ctx>(k), key);
        k.encrypt = reinterpret_cast<nettle_cipher_func *>(aes192_encrypt);
        k.block = 16;
        return true;
    case Block::AES256:
        if (key_length != 32) return false;
        aes256_set_encrypt_key(make_ctx<aes256_ctx>(k), key);
        k.encrypt = reinterpret_cast<nettle_cipher_func *>(aes256_encrypt);
        k.block = 16;
        return true;
    case Block::DES:
        if (key_length != 8 || !des_set_key(make_ctx<des_ctx>(k), key)) return false;
        k.encrypt = reinterpret_cast<nettle_cipher_func *>(des_encrypt);
        k.block = 8;
        return true;
    case Block::DES_EDE3:
        if (key_length != 24 || !des3_set_key(make_ctx<des3_ctx>(k), key)) return false;
        k.encrypt = reinterpret_cast<nettle_cipher_func *>(des3_encrypt);
        k.block = 8;
        return true;
    case Block::Blowfish:
        if (!blowfish_set_key(make_ctx<blowfish_ctx>(k), key_length, key)) return false;
        k.encrypt = reinterpret_cast<nettle_cipher_func *>(blowfish_encrypt);
        k.block = 8;
        return true;
    case Block::RC2:
        arctwo_set_key_ekb(make_ctx<arctwo_ctx>(k), key_length, key, static_cast<unsigned>(rc2_bits));
        k.encrypt = reinterpret_cast<nettle_cipher_func *>(arctwo_encrypt);
        k.block = 8;
        return true;
    default: return false;  // no ARIA, no SEED in nettle
    }
}

class Cipher final : public Op {
public:
    Cipher(Keyed keyed, Mode mode, const uint8_t *iv)
        : k_(std::move(keyed)), mode_(mode), iv_(iv, iv + k_.block), chain_(k_.block) {}
    ~Cipher() override { std::memset(k_.ctx.data(), 0, k_.ctx.size()); }
    bool run(const uint8_t *in, std::size_t length, uint8_t *out) override {
        std::memcpy(chain_.data(), iv_.data(), k_.block);
        if (mode_ == Mode::CBC)
            cbc_encrypt(k_.ctx.data(), k_.encrypt, k_.block, chain_.data(), length, out, in);
        else
            ctr_crypt(k_.ctx.data(), k_.encrypt, k_.block, chain_.data(), length, out, in);
        return true;
    }

private:
    Keyed k_;
    Mode mode_;
    std::vector<uint8_t> iv_, chain_;
};

Op *new_cipher(Block block, Mode mode, const uint8_t *key, std::size_t key_length, const uint8_t *iv,
               int rc2_bits) {
    Keyed k;
    if (!set_up(k, block, key, key_length, rc2_bits)) return nullptr;
    return new Cipher(std::move(k), mode, iv);
}

class Rc4 final : public Op {
public:
    Rc4(const uint8_t *key, std::size_t key_length) { arcfour_set_key(&ctx_, key_length, key); }
    bool run(const uint8_t *in, std::size_t length, uint8_t *out) override {
        arcfour_crypt(&ctx_, length, out, in);
        return true;
    }

private:
    arcfour_ctx ctx_;
};

Op *new_rc4(const uint8_t *key, std::size_t key_length) { return new Rc4(key, key_length); }

class Hmac final : public Op {
public:
    Hmac(const uint8_t *key, std::size_t key_length) { hmac_sha256_set_key(&ctx_, key_length, key); }
    bool run(const uint8_t *in, std::size_t length, uint8_t *out) override {
        // The digest call restarts the inner hash from the pad state.
        hmac_sha256_update(&ctx_, length, in);
        hmac_sha256_digest(&ctx_, SHA256_DIGEST_SIZE, out);
        return true;
    }

private:
    hmac_sha256_ctx ctx_;
};

Op *new_hmac(const uint8_t *key, std::size_t key_length) { return new Hmac(key, key_length); }

void load(mpz_t z, const Bytes &b) { mpz_import(z, b.size(), 1, 1, 1, 0, b.data()); }

Bytes store(const mpz_t z) {
    Bytes out((mpz_sizeinbase(z, 2) + 7) / 8);
    std::size_t written = 0;
    mpz_export(out.data(), &written, 1, 1, 1, 0, z);
    out.resize(written);
    return out;
}

class ModExp final : public ModExpOp {
public:
    ModExp(const Bytes &a, const Bytes &p, const Bytes &m) {
        mpz_inits(a_, p_, m_, r_, nullptr);
        load(a_, a);
        load(p_, p);
        load(m_, m);
    }
    ~ModExp() override { mpz_clears(a_, p_, m_, r_, nullptr); }
    bool run() override {
        mpz_powm(r_, a_, p_, m_);
        return true;
    }
    Bytes result() const override { return store(r_); }

private:
    mpz_t a_, p_, m_, r_;
};

ModExpOp *new_mod_exp(const Bytes &a, const Bytes &p, const Bytes &m) { return new ModExp(a, p, m); }

// A deterministic generator for RSA blinding, DSA's k and key generation:
// good enough to time the arithmetic.
knuth_lfib_ctx *random_ctx() {
    static knuth_lfib_ctx ctx = [] {
        knuth_lfib_ctx c;
        knuth_lfib_init(&c, 20240611u);
        return c;
    }();
    return &ctx;
}

void random_bytes(void *ctx, size_t length, uint8_t *dst) {
    knuth_lfib_random(static_cast<knuth_lfib_ctx *>(ctx), length, dst);
}

class Rsa final : public SignOp {
public:
    explicit Rsa(const RsaComponents &k) {
        rsa_public_key_init(&pub_);
        rsa_private_key_init(&key_);
        load(pub_.n, k.n);
        load(pub_.e, k.e);
        load(key_.d, k.d);
        load(key_.p, k.p);
        load(key_.q, k.q);
        load(key_.a, k.dp);
        load(key_.b, k.dq);
        load(key_.c, k.qinv);
        ok_ = rsa_public_key_prepare(&pub_) == 1 && rsa_private_key_prepare(&key_) == 1;
        mpz_init(s_);
    }
    ~Rsa() override {
        rsa_public_key_clear(&pub_);
        rsa_private_key_clear(&key_);
        mpz_clear(s_);
    }
    bool ok() const { return ok_; }
    bool sign(const Bytes &message, Bytes *signature) override {
        uint8_t digest[SHA256_DIGEST_SIZE];
        sha256_ctx h;
        sha256_init(&h);
        sha256_update(&h, message.size(), message.data());
        sha256_digest(&h, sizeof digest, digest);
        if (rsa_sha256_sign_digest_tr(&pub_, &key_, random_ctx(), random_bytes, digest, s_) != 1) return false;
        signature->assign(pub_.size, 0);
        nettle_mpz_get_str_256(pub_.size, signature->data(), s_);
        return true;
    }
    bool verify(const Bytes &message, const Bytes &signature) override {
        sha256_ctx h;
        sha256_init(&h);
        sha256_update(&h, message.size(), message.data());
        mpz_t s;
        mpz_init(s);
        load(s, signature);
        const bool good = rsa_sha256_verify(&pub_, &h, s) == 1;
        mpz_clear(s);
        return good;
    }

private:
    rsa_public_key pub_;
    rsa_private_key key_;
    mpz_t s_;
    bool ok_ = false;
};

SignOp *new_rsa(const RsaComponents &k) {
    auto *rsa = new Rsa(k);
    if (!rsa->ok()) {
        delete rsa;
        return nullptr;
    }
    return rsa;
}

bool rsa_keygen(int bits) {
    rsa_public_key pub;
    rsa_private_key key;
    rsa_public_key_init(&pub);
    rsa_private_key_init(&key);
    mpz_set_ui(pub.e, 65537);
    const bool ok = rsa_generate_keypair(&pub, &key, random_ctx(), random_bytes, nullptr, nullptr,
                                         static_cast<unsigned>(bits), 0) == 1;
    rsa_public_key_clear(&pub);
    rsa_private_key_clear(&key);
    return ok;
}

class Dsa final : public SignOp {
public:
    explicit Dsa(const DsaComponents &k) : q_bytes_(strip_zeros(k.q).size()) {
        dsa_params_init(&params_);
        mpz_inits(x_, y_, nullptr);
        load(params_.p, k.p);
        load(params_.q, k.q);
        load(params_.g, k.g);
        load(x_, k.x);
        load(y_, k.y);
        dsa_signature_init(&sig_);
    }
    ~Dsa() override {
        dsa_params_clear(&params_);
        mpz_clears(x_, y_, nullptr);
        dsa_signature_clear(&sig_);
    }
    bool sign(const Bytes &message, Bytes *signature) override {
        uint8_t digest[SHA1_DIGEST_SIZE];
        sha1_ctx h;
        sha1_init(&h);
        sha1_update(&h, message.size(), message.data());
        sha1_digest(&h, sizeof digest, digest);
        if (dsa_sign(&params_, x_, random_ctx(), random_bytes, sizeof digest, digest, &sig_) != 1) return false;
        signature->assign(2 * q_bytes_, 0);
        nettle_mpz_get_str_256(q_bytes_, signature->data(), sig_.r);
        nettle_mpz_get_str_256(q_bytes_, signature->data() + q_bytes_, sig_.s);
        return true;
    }
    bool verify(const Bytes &message, const Bytes &signature) override {
        if (signature.size() != 2 * q_bytes_) return false;
        uint8_t digest[SHA1_DIGEST_SIZE];
        sha1_ctx h;
        sha1_init(&h);
        sha1_update(&h, message.size(), message.data());
        sha1_digest(&h, sizeof digest, digest);
        dsa_signature sig;
        dsa_signature_init(&sig);
        nettle_mpz_set_str_256_u(sig.r, q_bytes_, signature.data());
        nettle_mpz_set_str_256_u(sig.s, q_bytes_, signature.data() + q_bytes_);
        const bool good = dsa_verify(&params_, y_, sizeof digest, digest, &sig) == 1;
        dsa_signature_clear(&sig);
        return good;
    }

private:
    std::size_t q_bytes_;
    dsa_params params_;
    mpz_t x_, y_;
    dsa_signature sig_;
};

SignOp *new_dsa(const DsaComponents &k) { return new Dsa(k); }

const Library kLibrary = {"nettle", new_hasher, new_cipher, new_rc4, new_hmac, new_mod_exp, new_rsa, rsa_keygen, new_dsa};

}  // namespace

const Library *nettle_library() { return &kLibrary; }

}  // namespace peers
