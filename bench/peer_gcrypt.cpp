// libgcrypt's side of the benchmarks.  Only plain byte strings cross
// peers_extra.h.
#include "peers_extra.h"

#include <gcrypt.h>

#include <cstring>

namespace peers {

namespace {

void initialise() {
    static const bool ready = [] {
        gcry_check_version(nullptr);
        gcry_control(GCRYCTL_DISABLE_SECMEM, 0);
        gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0);
        return true;
    }();
    (void)ready;
}

int md_algo(Hash hash) {
    switch (hash) {
    case Hash::SHA1: return GCRY_MD_SHA1;
    case Hash::SHA224: return GCRY_MD_SHA224;
    case Hash::SHA256: return GCRY_MD_SHA256;
    case Hash::SHA384: return GCRY_MD_SHA384;
    case Hash::SHA512: return GCRY_MD_SHA512;
    case Hash::MD5: return GCRY_MD_MD5;
    }
    return 0;
}

// One handle for the run: gcry_md_reset, gcry_md_write, gcry_md_read per
// message.
class Hasher final : public Op {
public:
    Hasher(gcry_md_hd_t hd, int algo) : hd_(hd), length_(gcry_md_get_algo_dlen(algo)) {}
    ~Hasher() override { gcry_md_close(hd_); }
    bool run(const uint8_t *in, std::size_t length, uint8_t *out) override {
        gcry_md_reset(hd_);
        gcry_md_write(hd_, in, length);
        const unsigned char *digest = gcry_md_read(hd_, 0);
        if (digest == nullptr) return false;
        std::memcpy(out, digest, length_);
        return true;
    }

private:
    gcry_md_hd_t hd_;
    unsigned length_;
};

class OneShot final : public Op {
public:
    explicit OneShot(int algo) : algo_(algo) {}
    bool run(const uint8_t *in, std::size_t length, uint8_t *out) override {
        gcry_md_hash_buffer(algo_, out, in, length);
        return true;
    }

private:
    int algo_;
};

Op *new_hasher(Hash hash, bool one_shot) {
    initialise();
    const int algo = md_algo(hash);
    if (one_shot) return new OneShot(algo);
    gcry_md_hd_t hd = nullptr;
    if (gcry_md_open(&hd, algo, 0) != 0) return nullptr;
    return new Hasher(hd, algo);
}

int cipher_algo(Block block) {
    switch (block) {
    case Block::AES128: return GCRY_CIPHER_AES128;
    case Block::AES192: return GCRY_CIPHER_AES192;
    case Block::AES256: return GCRY_CIPHER_AES256;
    case Block::SEED: return GCRY_CIPHER_SEED;
    case Block::DES: return GCRY_CIPHER_DES;
    case Block::DES_EDE3: return GCRY_CIPHER_3DES;
    case Block::Blowfish: return GCRY_CIPHER_BLOWFISH;
    // No ARIA before libgcrypt 1.11; RC2 only with as many effective key
    // bits as key bits (RFC2268_40 / _128), which is not the case measured.
    default: return 0;
    }
}

// A cipher handle keyed once; the IV (CBC) or counter (CTR) set per message,
// or nothing (RC4, the stream runs on).
class Cipher final : public Op {
public:
    Cipher(gcry_cipher_hd_t hd, int mode, const uint8_t *iv, std::size_t block)
        : hd_(hd), mode_(mode), iv_(iv ? Bytes(iv, iv + block) : Bytes()) {}
    ~Cipher() override { gcry_cipher_close(hd_); }
    bool run(const uint8_t *in, std::size_t length, uint8_t *out) override {
        if (mode_ == GCRY_CIPHER_MODE_CBC && gcry_cipher_setiv(hd_, iv_.data(), iv_.size()) != 0) return false;
        if (mode_ == GCRY_CIPHER_MODE_CTR && gcry_cipher_setctr(hd_, iv_.data(), iv_.size()) != 0) return false;
        return gcry_cipher_encrypt(hd_, out, length, in, length) == 0;
    }

private:
    gcry_cipher_hd_t hd_;
    int mode_;
    Bytes iv_;
};

Op *open_cipher(int algo, int mode, const uint8_t *key, std::size_t key_length, const uint8_t *iv) {
    initialise();
    gcry_cipher_hd_t hd = nullptr;
    if (algo == 0 || gcry_cipher_open(&hd, algo, mode, 0) != 0) return nullptr;
    if (gcry_cipher_setkey(hd, key, key_length) != 0) {
        gcry_cipher_close(hd);
        return nullptr;
    }
    return new Cipher(hd, mode, iv, gcry_cipher_get_algo_blklen(algo));
}

Op *new_cipher(Block block, Mode mode, const uint8_t *key, std::size_t key_length, const uint8_t *iv, int) {
    return open_cipher(cipher_algo(block), mode == Mode::CBC ? GCRY_CIPHER_MODE_CBC : GCRY_CIPHER_MODE_CTR,
                       key, key_length, iv);
}

Op *new_rc4(const uint8_t *key, std::size_t key_length) {
    return open_cipher(GCRY_CIPHER_ARCFOUR, GCRY_CIPHER_MODE_STREAM, key, key_length, nullptr);
}

// gcry_mac keyed once; gcry_mac_reset returns to the state after the key
// was set (the pad states are kept).
class Hmac final : public Op {
public:
    explicit Hmac(gcry_mac_hd_t hd) : hd_(hd) {}
    ~Hmac() override { gcry_mac_close(hd_); }
    bool run(const uint8_t *in, std::size_t length, uint8_t *out) override {
        std::size_t tag_length = 32;
        return gcry_mac_reset(hd_) == 0 && gcry_mac_write(hd_, in, length) == 0 &&
               gcry_mac_read(hd_, out, &tag_length) == 0;
    }

private:
    gcry_mac_hd_t hd_;
};

Op *new_hmac(const uint8_t *key, std::size_t key_length) {
    initialise();
    gcry_mac_hd_t hd = nullptr;
    if (gcry_mac_open(&hd, GCRY_MAC_HMAC_SHA256, 0, nullptr) != 0) return nullptr;
    if (gcry_mac_setkey(hd, key, key_length) != 0) {
        gcry_mac_close(hd);
        return nullptr;
    }
    return new Hmac(hd);
}

gcry_mpi_t mpi(const Bytes &b) {
    gcry_mpi_t m = nullptr;
    if (gcry_mpi_scan(&m, GCRYMPI_FMT_USG, b.data(), b.size(), nullptr) != 0) return nullptr;
    return m;
}

Bytes bytes(gcry_mpi_t m) {
    unsigned char *buffer = nullptr;
    std::size_t length = 0;
    if (m == nullptr || gcry_mpi_aprint(GCRYMPI_FMT_USG, &buffer, &length, m) != 0) return {};
    Bytes out(buffer, buffer + length);
    gcry_free(buffer);
    return strip_zeros(out);
}

class ModExp final : public ModExpOp {
public:
    ModExp(const Bytes &a, const Bytes &p, const Bytes &m)
        : a_(mpi(a)), p_(mpi(p)), m_(mpi(m)), r_(gcry_mpi_new(0)) {}
    ~ModExp() override {
        gcry_mpi_release(a_);
        gcry_mpi_release(p_);
        gcry_mpi_release(m_);
        gcry_mpi_release(r_);
    }
    bool ok() const { return a_ && p_ && m_ && r_; }
    bool run() override {
        gcry_mpi_powm(r_, a_, p_, m_);
        return true;
    }
    Bytes result() const override { return bytes(r_); }

private:
    gcry_mpi_t a_, p_, m_, r_;
};

ModExpOp *new_mod_exp(const Bytes &a, const Bytes &p, const Bytes &m) {
    initialise();
    auto *e = new ModExp(a, p, m);
    if (!e->ok()) {
        delete e;
        return nullptr;
    }
    return e;
}

// The value after a token of an S-expression, as unsigned big-endian bytes.
Bytes token_value(gcry_sexp_t sexp, const char *token) {
    gcry_sexp_t list = gcry_sexp_find_token(sexp, token, 0);
    if (list == nullptr) return {};
    gcry_mpi_t m = gcry_sexp_nth_mpi(list, 1, GCRYMPI_FMT_USG);
    gcry_sexp_release(list);
    Bytes out = bytes(m);
    gcry_mpi_release(m);
    return out;
}

// Keys as S-expressions; the message digest is computed per operation and
// handed over as (hash ALG DIGEST) with PKCS #1 v1.5 padding for RSA, or as
// the raw value for DSA.
class PkKey : public SignOp {
public:
    ~PkKey() override {
        gcry_sexp_release(private_);
        gcry_sexp_release(public_);
    }
    bool ok() const { return private_ && public_; }

protected:
    gcry_sexp_t private_ = nullptr, public_ = nullptr;
};

class Rsa final : public PkKey {
public:
    explicit Rsa(const RsaComponents &k) : length_(strip_zeros(k.n).size()) {
        gcry_mpi_t n = mpi(k.n), e = mpi(k.e), d = mpi(k.d), p = mpi(k.p), q = mpi(k.q), u = gcry_mpi_new(0);
        // libgcrypt wants p < q and u = p^-1 mod q.
        if (gcry_mpi_cmp(p, q) > 0) gcry_mpi_swap(p, q);
        gcry_mpi_invm(u, p, q);
        gcry_sexp_build(&private_, nullptr, "(private-key (rsa (n %m)(e %m)(d %m)(p %m)(q %m)(u %m)))", n, e, d,
                        p, q, u);
        gcry_sexp_build(&public_, nullptr, "(public-key (rsa (n %m)(e %m)))", n, e);
        for (gcry_mpi_t m : {n, e, d, p, q, u}) gcry_mpi_release(m);
    }
    bool sign(const Bytes &message, Bytes *signature) override {
        gcry_sexp_t data = digest(message), sig = nullptr;
        const bool good = data && gcry_pk_sign(&sig, data, private_) == 0;
        gcry_sexp_release(data);
        if (good) *signature = pad_left(token_value(sig, "s"), length_);
        gcry_sexp_release(sig);
        return good && !signature->empty();
    }
    bool verify(const Bytes &message, const Bytes &signature) override {
        gcry_sexp_t data = digest(message), sig = nullptr;
        bool good = data && gcry_sexp_build(&sig, nullptr, "(sig-val (rsa (s %b)))",
                                            static_cast<int>(signature.size()), signature.data()) == 0;
        good = good && gcry_pk_verify(sig, data, public_) == 0;
        gcry_sexp_release(data);
        gcry_sexp_release(sig);
        return good;
    }

private:
    static gcry_sexp_t digest(const Bytes &message) {
        unsigned char h[32];
        gcry_md_hash_buffer(GCRY_MD_SHA256, h, message.data(), message.size());
        gcry_sexp_t data = nullptr;
        gcry_sexp_build(&data, nullptr, "(data (flags pkcs1)(hash sha256 %b))", 32, h);
        return data;
    }
    std::size_t length_;
};

template <class T, class K>
SignOp *checked(const K &k) {
    initialise();
    auto *op = new T(k);
    if (!op->ok()) {
        delete op;
        return nullptr;
    }
    return op;
}

SignOp *new_rsa(const RsaComponents &k) { return checked<Rsa>(k); }

bool rsa_keygen(int bits) {
    initialise();
    gcry_sexp_t params = nullptr, key = nullptr;
    bool ok = gcry_sexp_build(&params, nullptr, "(genkey (rsa (nbits %d)(rsa-use-e %d)))", bits, 65537) == 0 &&
              gcry_pk_genkey(&key, params) == 0;
    gcry_sexp_release(params);
    gcry_sexp_release(key);
    return ok;
}

class Dsa final : public PkKey {
public:
    explicit Dsa(const DsaComponents &k) : q_bytes_(strip_zeros(k.q).size()) {
        gcry_mpi_t p = mpi(k.p), q = mpi(k.q), g = mpi(k.g), y = mpi(k.y), x = mpi(k.x);
        gcry_sexp_build(&private_, nullptr, "(private-key (dsa (p %m)(q %m)(g %m)(y %m)(x %m)))", p, q, g, y, x);
        gcry_sexp_build(&public_, nullptr, "(public-key (dsa (p %m)(q %m)(g %m)(y %m)))", p, q, g, y);
        for (gcry_mpi_t m : {p, q, g, y, x}) gcry_mpi_release(m);
    }
    bool sign(const Bytes &message, Bytes *signature) override {
        gcry_sexp_t data = digest(message), sig = nullptr;
        const bool good = data && gcry_pk_sign(&sig, data, private_) == 0;
        gcry_sexp_release(data);
        if (good) {
            const Bytes r = pad_left(token_value(sig, "r"), q_bytes_), s = pad_left(token_value(sig, "s"), q_bytes_);
            *signature = r;
            signature->insert(signature->end(), s.begin(), s.end());
        }
        gcry_sexp_release(sig);
        return good && signature->size() == 2 * q_bytes_;
    }
    bool verify(const Bytes &message, const Bytes &signature) override {
        if (signature.size() != 2 * q_bytes_) return false;
        gcry_sexp_t data = digest(message), sig = nullptr;
        const int half = static_cast<int>(q_bytes_);
        bool good = data && gcry_sexp_build(&sig, nullptr, "(sig-val (dsa (r %b)(s %b)))", half, signature.data(),
                                            half, signature.data() + q_bytes_) == 0;
        good = good && gcry_pk_verify(sig, data, public_) == 0;
        gcry_sexp_release(data);
        gcry_sexp_release(sig);
        return good;
    }

private:
    static gcry_sexp_t digest(const Bytes &message) {
        unsigned char h[20];
        gcry_md_hash_buffer(GCRY_MD_SHA1, h, message.data(), message.size());
        gcry_mpi_t value = nullptr;
        gcry_mpi_scan(&value, GCRYMPI_FMT_USG, h, sizeof h, nullptr);
        gcry_sexp_t data = nullptr;
        gcry_sexp_build(&data, nullptr, "(data (flags raw)(value %m))", value);
        gcry_mpi_release(value);
        return data;
    }
    std::size_t q_bytes_;
};

SignOp *new_dsa(const DsaComponents &k) { return checked<Dsa>(k); }

const Library kLibrary = {"libgcrypt", new_hasher, new_cipher, new_rc4, new_hmac, new_mod_exp, new_rsa, rsa_keygen, new_dsa};

}  // namespace

const Library *gcrypt_library() { return &kLibrary; }

}  // namespace peers
