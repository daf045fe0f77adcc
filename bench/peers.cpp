// OpenSSL and RHash sides of the digest benchmark.  Kept apart from
// bench_digest.cpp so that OpenSSL's type names never meet kry's.
#include "peers.h"

#include <openssl/evp.h>
#include <rhash.h>

namespace peers {

class Hasher {
public:
    virtual ~Hasher() = default;
    virtual const char *library() const = 0;
    virtual std::size_t length() const = 0;
    virtual bool hash(const uint8_t *data, std::size_t length, uint8_t *out) = 0;
};

namespace {

// EVP with a context and an explicitly fetched algorithm, both made once;
// each message runs EVP_DigestInit_ex2 / EVP_DigestUpdate / EVP_DigestFinal_ex.
class OpenSslHasher final : public Hasher {
public:
    OpenSslHasher(EVP_MD *md, EVP_MD_CTX *ctx) : md_(md), ctx_(ctx) {}
    ~OpenSslHasher() override {
        EVP_MD_CTX_free(ctx_);
        EVP_MD_free(md_);
    }
    const char *library() const override { return "OpenSSL"; }
    std::size_t length() const override { return static_cast<std::size_t>(EVP_MD_get_size(md_)); }
    bool hash(const uint8_t *data, std::size_t length, uint8_t *out) override {
        unsigned int written = 0;
        return EVP_DigestInit_ex2(ctx_, md_, nullptr) == 1 &&
               EVP_DigestUpdate(ctx_, data, length) == 1 &&
               EVP_DigestFinal_ex(ctx_, out, &written) == 1;
    }

private:
    EVP_MD *md_;
    EVP_MD_CTX *ctx_;
};

// RHash with one context made once; each message runs rhash_reset /
// rhash_update / rhash_final.
class RHashHasher final : public Hasher {
public:
    RHashHasher(rhash ctx, std::size_t length) : ctx_(ctx), length_(length) {}
    ~RHashHasher() override { rhash_free(ctx_); }
    const char *library() const override { return "RHash"; }
    std::size_t length() const override { return length_; }
    bool hash(const uint8_t *data, std::size_t length, uint8_t *out) override {
        rhash_reset(ctx_);
        return rhash_update(ctx_, data, length) >= 0 && rhash_final(ctx_, out) >= 0;
    }

private:
    rhash ctx_;
    std::size_t length_;
};

Hasher *new_openssl(const char *name) {
    EVP_MD *md = EVP_MD_fetch(nullptr, name, nullptr);
    if (md == nullptr) return nullptr;
    EVP_MD_CTX *ctx = EVP_MD_CTX_new();
    if (ctx == nullptr) {
        EVP_MD_free(md);
        return nullptr;
    }
    return new OpenSslHasher(md, ctx);
}

Hasher *new_rhash(unsigned id) {
    static const bool ready = (rhash_library_init(), true);
    (void)ready;
    const int length = rhash_get_digest_size(id);
    if (length <= 0) return nullptr;
    rhash ctx = rhash_init(id);
    if (ctx == nullptr) return nullptr;
    return new RHashHasher(ctx, static_cast<std::size_t>(length));
}

}  // namespace

Hasher *new_hasher(Alg alg) {
    switch (alg) {
    case Alg::SHA1: return new_openssl("SHA1");
    case Alg::SHA224: return new_openssl("SHA224");
    case Alg::SHA256: return new_openssl("SHA256");
    case Alg::SHA384: return new_openssl("SHA384");
    case Alg::SHA512: return new_openssl("SHA512");
    case Alg::MD5: return new_openssl("MD5");
    case Alg::HAS160: return new_rhash(RHASH_HAS160);
    }
    return nullptr;
}

void free_hasher(Hasher *hasher) { delete hasher; }

bool one_shot(Alg alg, const uint8_t *data, std::size_t length, uint8_t *out) {
    const EVP_MD *md = nullptr;
    switch (alg) {
    case Alg::SHA1: md = EVP_sha1(); break;
    case Alg::SHA224: md = EVP_sha224(); break;
    case Alg::SHA256: md = EVP_sha256(); break;
    default: return false;
    }
    unsigned int written = 0;
    return EVP_Digest(data, length, out, &written, md, nullptr) == 1;
}

const char *library_name(const Hasher *hasher) { return hasher->library(); }

std::size_t digest_length(const Hasher *hasher) { return hasher->length(); }

bool hash(Hasher *hasher, const uint8_t *data, std::size_t length, uint8_t *out) {
    return hasher->hash(data, length, out);
}

}  // namespace peers
