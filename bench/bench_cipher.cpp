// Cipher and MAC throughput of kry next to OpenSSL, in one process.
//
// Every case ("AES-128-CBC", "RC4", "HMAC-SHA256", ...) and message size has
// a benchmark "LABEL/SIZE/kry" and, where OpenSSL has the algorithm,
// "LABEL/SIZE/OpenSSL".  One iteration encrypts (or authenticates) one whole
// message.  Both sides set their key once and allocate nothing per message:
//
// - block-cipher modes: kry one BLOCK_CIPHER_UNIT set up once by
//   init_BlockCipher (no-padding bit, encryption); per message the unit's
//   feedback register is reloaded from its IV field and its stream position
//   cleared (what init_BlockCipher leaves there), then update_BlockCipher and
//   final_BlockCipher.  OpenSSL one EVP_CIPHER_CTX keyed once;
//   EVP_CipherInit_ex2 with the IV alone, EVP_CipherUpdate, EVP_CipherFinal_ex
//   per message.  "CBC+key" cases set key and IV per message on both sides
//   (init_BlockCipher; EVP_CipherInit_ex2 with key and IV).
// - RC4: init_RC4 once, do_RC4 per message (the stream continues); OpenSSL
//   keyed once, EVP_CipherUpdate per message.
// - HMAC: init_HMAC once, update_HMAC and final_HMAC per message; OpenSSL
//   EVP_MAC keyed once, EVP_MAC_init with no key (the same key), update,
//   final per message.
//
// The optional peers (libgcrypt, nettle, Crypto++, Botan; peers_extra.h) run
// the CBC and CTR cases, RC4 and HMAC-SHA256 where they have the algorithm,
// in the same way: keyed once, the IV (or counter) set again per message.
//
// Before timing, every case is run twice on both sides and the outputs are
// compared; cases without a peer are compared with the mode built from
// OpenSSL's ECB (or, for RC5, from kry's own ECB after a known-answer
// check).  A difference is reported on stderr, flagged in the table and
// makes the exit status 1.

#include <kry.h>

#include "peers_cipher.h"
#include "peers_extra.h"
#include "ratio_report.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

constexpr std::size_t kSmall = 64;
constexpr std::size_t kLarge = 16 * 1024;

// Default minimum time per benchmark, seconds: the whole run (about a
// hundred benchmarks) takes about a minute.
constexpr const char *kDefaultMinTime = "--benchmark_min_time=0.2";

Bytes random_bytes(std::size_t length, uint32_t seed) {
    Bytes bytes(length);
    std::mt19937 gen(seed);
    for (auto &b : bytes) b = static_cast<uint8_t>(gen());
    return bytes;
}

const Bytes &input() {
    static const Bytes data = random_bytes(kLarge, 20240611u);
    return data;
}
const Bytes &key_material() {
    static const Bytes key = random_bytes(32, 97u);
    return key;
}
const Bytes &iv_material() {
    static const Bytes iv = random_bytes(16, 1009u);
    return iv;
}

// ---- the two sides ----------------------------------------------------------

// Processes one message of a case; made once per benchmark.
class Runner {
public:
    virtual ~Runner() = default;
    virtual bool run(const uint8_t *in, std::size_t length, uint8_t *out) = 0;
};
using Factory = std::function<std::unique_ptr<Runner>()>;

// kry's block-cipher unit, encrypting with the no-padding bit.
class KryBlock final : public Runner {
public:
    KryBlock(uint32_t id, const uint8_t *key, const uint8_t *iv, bool rekey)
        : unit_(new_BLOCK_CIPHER_UNIT()), id_(id), key_(key), iv_(iv), rekey_(rekey) {}
    ~KryBlock() override { free_BLOCK_CIPHER_UNIT(unit_); }
    KryBlock(const KryBlock &) = delete;
    KryBlock &operator=(const KryBlock &) = delete;

    bool set_up() { return unit_ != nullptr && init_BlockCipher(unit_, id_, key_, iv_, KRY_ENCRYPT) == 0; }

    bool run(const uint8_t *in, std::size_t length, uint8_t *out) override {
        if (rekey_) {
            if (!set_up()) return false;
        } else {
            // A new message under the same key: the chaining value (CBC) or
            // counter (CTR) starts again from the IV, as after
            // init_BlockCipher.  Whole-block messages leave nothing pending.
            std::memcpy(unit_->feedback, unit_->iv, sizeof unit_->feedback);
            unit_->position = 0;
        }
        uint32_t first = 0, last = 0;
        if (update_BlockCipher(unit_, out, &first, in, static_cast<int32_t>(length)) != 0 ||
            final_BlockCipher(unit_, out + first, &last) != 0)
            return false;
        return first + last == length;
    }

private:
    BLOCK_CIPHER_UNIT *unit_;
    uint32_t id_;
    const uint8_t *key_;
    const uint8_t *iv_;
    bool rekey_;
};

class KryRc4 final : public Runner {
public:
    KryRc4(const uint8_t *key, int32_t key_length) : unit_(new_RC4_UNIT()) {
        ok_ = unit_ != nullptr && init_RC4(unit_, key, key_length) == 0;
    }
    ~KryRc4() override { free_RC4_UNIT(unit_); }
    KryRc4(const KryRc4 &) = delete;
    KryRc4 &operator=(const KryRc4 &) = delete;
    bool ok() const { return ok_; }
    bool run(const uint8_t *in, std::size_t length, uint8_t *out) override {
        return do_RC4(unit_, in, static_cast<uint32_t>(length), out) == 0;
    }

private:
    RC4_UNIT *unit_;
    bool ok_ = false;
};

class KryHmac final : public Runner {
public:
    KryHmac(uint32_t digest_id, const uint8_t *key, uint32_t key_length) : unit_(new_HMAC_UNIT()) {
        ok_ = unit_ != nullptr && init_HMAC(unit_, digest_id, key, key_length) == 0;
    }
    ~KryHmac() override { free_HMAC_UNIT(unit_); }
    KryHmac(const KryHmac &) = delete;
    KryHmac &operator=(const KryHmac &) = delete;
    bool ok() const { return ok_; }
    // Writes the tag (up to 64 bytes) to out.
    bool run(const uint8_t *in, std::size_t length, uint8_t *out) override {
        uint32_t tag_length = 0;
        return update_HMAC(unit_, in, static_cast<uint32_t>(length)) == 0 &&
               final_HMAC(unit_, out, &tag_length) == 0;
    }

private:
    HMAC_UNIT *unit_;
    bool ok_ = false;
};

class PeerCipher final : public Runner {
public:
    explicit PeerCipher(peers::Cipher *cipher) : cipher_(cipher) {}
    ~PeerCipher() override { peers::free_cipher(cipher_); }
    PeerCipher(const PeerCipher &) = delete;
    PeerCipher &operator=(const PeerCipher &) = delete;
    bool run(const uint8_t *in, std::size_t length, uint8_t *out) override {
        return peers::encrypt(cipher_, in, length, out);
    }

private:
    peers::Cipher *cipher_;
};

class PeerMac final : public Runner {
public:
    explicit PeerMac(peers::Mac *mac) : mac_(mac) {}
    ~PeerMac() override { peers::free_mac(mac_); }
    PeerMac(const PeerMac &) = delete;
    PeerMac &operator=(const PeerMac &) = delete;
    bool run(const uint8_t *in, std::size_t length, uint8_t *out) override {
        std::size_t tag_length = 0;
        return peers::mac(mac_, in, length, out, &tag_length);
    }

private:
    peers::Mac *mac_;
};

// One of the optional peers' operations.
class ExtraRunner final : public Runner {
public:
    explicit ExtraRunner(peers::Op *op) : op_(op) {}
    bool run(const uint8_t *in, std::size_t length, uint8_t *out) override { return op_->run(in, length, out); }

private:
    std::unique_ptr<peers::Op> op_;
};

// ---- references for the cases OpenSSL does not run itself ---------------

// ECB encryption of whole blocks.
using Ecb = std::function<bool(const uint8_t *in, std::size_t length, uint8_t *out)>;

bool compose_cbc(const Ecb &ecb, std::size_t block, const uint8_t *iv, const uint8_t *in,
                 std::size_t length, uint8_t *out) {
    Bytes chain(iv, iv + block), x(block);
    for (std::size_t at = 0; at < length; at += block) {
        for (std::size_t i = 0; i < block; i++) x[i] = chain[i] ^ in[at + i];
        if (!ecb(x.data(), block, chain.data())) return false;
        std::memcpy(out + at, chain.data(), block);
    }
    return true;
}

// The counter is the whole block as one big-endian number; the first
// keystream block encrypts the IV itself.
bool compose_ctr(const Ecb &ecb, std::size_t block, const uint8_t *iv, const uint8_t *in,
                 std::size_t length, uint8_t *out) {
    Bytes counters(length), counter(iv, iv + block);
    for (std::size_t at = 0; at < length; at += block) {
        std::memcpy(counters.data() + at, counter.data(), block);
        for (std::size_t i = block; i-- > 0;)
            if (++counter[i] != 0) break;
    }
    Bytes stream(length);
    if (!ecb(counters.data(), length, stream.data())) return false;
    for (std::size_t i = 0; i < length; i++) out[i] = in[i] ^ stream[i];
    return true;
}

Ecb kry_ecb(uint32_t base_id, const uint8_t *key) {
    return [base_id, key](const uint8_t *in, std::size_t length, uint8_t *out) {
        uint32_t written = 0;
        return BlockCipher(base_id | KRY_MODE_ECB | KRY_NO_PADDING, KRY_ENCRYPT, key, nullptr, in,
                           static_cast<int32_t>(length), out, &written) == 0 &&
               written == length;
    };
}

Ecb peer_ecb(std::string name, const uint8_t *key, std::size_t key_length, int rc2_bits) {
    return [=](const uint8_t *in, std::size_t length, uint8_t *out) {
        return peers::ecb_encrypt(name.c_str(), key, key_length, rc2_bits, in, length, out);
    };
}

// RC5-32/12/16 examples 1 and 2 of R. Rivest, "The RC5 Encryption Algorithm"
// (1994), as byte strings.
bool rc5_known_answers() {
    struct Answer {
        uint8_t key[16], plain[8], cipher[8];
    };
    static const Answer answers[] = {
        {{0}, {0}, {0x21, 0xa5, 0xdb, 0xee, 0x15, 0x4b, 0x8f, 0x6d}},
        {{0x91, 0x5f, 0x46, 0x19, 0xbe, 0x41, 0xb2, 0x51, 0x63, 0x55, 0xa5, 0x01, 0x10, 0xa9, 0xce, 0x91},
         {0x21, 0xa5, 0xdb, 0xee, 0x15, 0x4b, 0x8f, 0x6d},
         {0xf7, 0xc0, 0x13, 0xac, 0x5b, 0x2b, 0x89, 0x52}},
    };
    for (const Answer &a : answers) {
        uint8_t out[8] = {};
        if (!kry_ecb(KRY_RC5, a.key)(a.plain, 8, out) || std::memcmp(out, a.cipher, 8) != 0)
            return false;
    }
    return true;
}

// ---- the cases -------------------------------------------------------------

// An optional peer's side of a case.
struct Extra {
    std::string library;
    Factory make;
    bool agrees = true;
};

struct Case {
    std::string label;  // "AES-128-CBC"
    std::size_t size;   // message bytes
    Factory kry;
    Factory peer;       // empty: kry alone
    // For kry alone: the expected output of one message (empty function:
    // nothing to compare with).
    std::function<bool(const uint8_t *in, std::size_t length, uint8_t *out)> reference;
    std::string reference_name;  // what the reference is, for messages
    bool agrees = true;
    std::vector<Extra> extras{};  // the optional peers that have the case
};

struct BlockAlgorithm {
    const char *label;
    uint32_t id;             // base identifier
    std::size_t key_length;
    std::size_t block;
    const char *peer_prefix; // OpenSSL name without the mode ("AES-128"); null: none
    bool kry_ctr;            // the unit has the CTR mode (RC2 has none)
    bool peer_ctr;           // OpenSSL has the CTR mode
    int rc2_bits;
    std::optional<peers::Block> block_id;  // for the optional peers
};

const BlockAlgorithm kBlockAlgorithms[] = {
    {"AES-128", KRY_AES_128, 16, 16, "AES-128", true, true, 0, peers::Block::AES128},
    {"AES-192", KRY_AES_192, 24, 16, "AES-192", true, true, 0, peers::Block::AES192},
    {"AES-256", KRY_AES_256, 32, 16, "AES-256", true, true, 0, peers::Block::AES256},
    {"ARIA-128", KRY_ARIA_128, 16, 16, "ARIA-128", true, true, 0, peers::Block::ARIA128},
    {"ARIA-192", KRY_ARIA_192, 24, 16, "ARIA-192", true, true, 0, peers::Block::ARIA192},
    {"ARIA-256", KRY_ARIA_256, 32, 16, "ARIA-256", true, true, 0, peers::Block::ARIA256},
    {"SEED", KRY_SEED, 16, 16, "SEED", true, false, 0, peers::Block::SEED},
    {"DES", KRY_DES, 8, 8, "DES", true, false, 0, peers::Block::DES},
    {"DES-EDE3", KRY_DES_EDE3, 24, 8, "DES-EDE3", true, false, 0, peers::Block::DES_EDE3},
    {"Blowfish", KRY_BLOWFISH, 16, 8, "BF", true, false, 0, peers::Block::Blowfish},
    {"RC2", KRY_RC2, 8, 8, "RC2", false, false, 1024, peers::Block::RC2},  // 8-byte key, 1024 effective bits
    {"RC5", KRY_RC5, 16, 8, nullptr, true, false, 0, std::nullopt},  // no RC5 in the system's OpenSSL
};

template <class R>
Factory checked(std::function<std::unique_ptr<R>()> make) {
    return [make]() -> std::unique_ptr<Runner> {
        std::unique_ptr<R> runner = make();
        if (!runner || !runner->ok()) return nullptr;
        return runner;
    };
}

Factory kry_block(uint32_t id, bool rekey) {
    return [id, rekey]() -> std::unique_ptr<Runner> {
        auto runner = std::make_unique<KryBlock>(id, key_material().data(), iv_material().data(), rekey);
        if (!runner->set_up()) return nullptr;
        return runner;
    };
}

Factory peer_cipher(std::string name, std::size_t key_length, peers::Restart restart, int rc2_bits) {
    return [=]() -> std::unique_ptr<Runner> {
        peers::Cipher *cipher = peers::new_cipher(name.c_str(), key_material().data(), key_length,
                                                  iv_material().data(), restart, rc2_bits);
        if (cipher == nullptr) return nullptr;
        return std::make_unique<PeerCipher>(cipher);
    };
}

Factory extra_factory(std::function<peers::Op *()> make) {
    return [make]() -> std::unique_ptr<Runner> {
        peers::Op *op = make();
        if (op == nullptr) return nullptr;
        return std::make_unique<ExtraRunner>(op);
    };
}

// Adds the optional peers that can make the operation.
void add_extras(Case &c, const std::function<peers::Op *(const peers::Library &)> &make) {
    for (const peers::Library *lib : peers::libraries()) {
        const peers::Library *l = lib;
        Factory f = extra_factory([l, make] { return make(*l); });
        if (!f()) continue;
        c.extras.push_back(Extra{lib->name, f, true});
    }
}

std::vector<Case> make_cases() {
    std::vector<Case> cases;
    const uint8_t *key = key_material().data();
    const uint8_t *iv = iv_material().data();

    for (const BlockAlgorithm &alg : kBlockAlgorithms) {
        const std::string label = alg.label;
        const uint32_t cbc = alg.id | KRY_MODE_CBC | KRY_NO_PADDING;
        const uint32_t ctr = alg.id | KRY_MODE_CTR | KRY_NO_PADDING;
        const std::size_t block = alg.block;
        Ecb ecb;
        std::string ecb_name;
        if (alg.peer_prefix != nullptr) {
            const std::string peer_name = std::string(alg.peer_prefix) + "-ECB";
            ecb = peer_ecb(peer_name, key, alg.key_length, alg.rc2_bits);
            ecb_name = "OpenSSL " + peer_name;
        } else {
            ecb = kry_ecb(alg.id, key);
            ecb_name = "kry's own " + label + " ECB";
        }
        auto cbc_reference = [ecb, block, iv](const uint8_t *in, std::size_t length, uint8_t *out) {
            return compose_cbc(ecb, block, iv, in, length, out);
        };
        auto ctr_reference = [ecb, block, iv](const uint8_t *in, std::size_t length, uint8_t *out) {
            return compose_ctr(ecb, block, iv, in, length, out);
        };
        const std::string cbc_peer = alg.peer_prefix ? std::string(alg.peer_prefix) + "-CBC" : "";
        const std::string ctr_peer = alg.peer_ctr ? std::string(alg.peer_prefix) + "-CTR" : "";

        for (std::size_t size : {kSmall, kLarge}) {
            Case c{label + "-CBC", size, kry_block(cbc, false), {}, {}, {}};
            if (alg.block_id) {
                const peers::Block b = *alg.block_id;
                const std::size_t key_length = alg.key_length;
                const int bits = alg.rc2_bits;
                add_extras(c, [b, key, iv, key_length, bits](const peers::Library &lib) -> peers::Op * {
                    return lib.cipher ? lib.cipher(b, peers::Mode::CBC, key, key_length, iv, bits) : nullptr;
                });
            }
            if (!cbc_peer.empty())
                c.peer = peer_cipher(cbc_peer, alg.key_length, peers::Restart::iv, alg.rc2_bits);
            else {
                c.reference = cbc_reference;
                c.reference_name = "CBC built on " + ecb_name;
            }
            cases.push_back(std::move(c));
        }
        {
            Case c{label + "-CBC+key", kSmall, kry_block(cbc, true), {}, {}, {}};
            if (!cbc_peer.empty())
                c.peer = peer_cipher(cbc_peer, alg.key_length, peers::Restart::key_and_iv, alg.rc2_bits);
            else {
                c.reference = cbc_reference;
                c.reference_name = "CBC built on " + ecb_name;
            }
            cases.push_back(std::move(c));
        }
        if (alg.kry_ctr) {
            Case c{label + "-CTR", kLarge, kry_block(ctr, false), {}, {}, {}};
            if (alg.block_id) {
                const peers::Block b = *alg.block_id;
                const std::size_t key_length = alg.key_length;
                add_extras(c, [b, key, iv, key_length](const peers::Library &lib) -> peers::Op * {
                    return lib.cipher ? lib.cipher(b, peers::Mode::CTR, key, key_length, iv, 0) : nullptr;
                });
            }
            if (!ctr_peer.empty())
                c.peer = peer_cipher(ctr_peer, alg.key_length, peers::Restart::iv, 0);
            else {
                c.reference = ctr_reference;
                c.reference_name = "CTR built on " + ecb_name;
            }
            cases.push_back(std::move(c));
        }
    }

    // RC4 with a 16-byte key; the stream runs on from message to message.
    for (std::size_t size : {kSmall, kLarge}) {
        cases.push_back(Case{
            "RC4", size,
            checked<KryRc4>([key] { return std::make_unique<KryRc4>(key, 16); }),
            peer_cipher("RC4", 16, peers::Restart::none, 0), {}, {}});
        add_extras(cases.back(), [key](const peers::Library &lib) -> peers::Op * {
            return lib.rc4 ? lib.rc4(key, 16) : nullptr;
        });
    }

    // HMAC with a 32-byte key (shorter than the digests' blocks).
    struct Hmac {
        const char *label;
        uint32_t id;
        const char *peer;
    };
    for (const Hmac &h : {Hmac{"HMAC-SHA1", KRY_SHA1, "SHA1"}, Hmac{"HMAC-SHA256", KRY_SHA256, "SHA256"}}) {
        for (std::size_t size : {kSmall, kLarge}) {
            const uint32_t id = h.id;
            const char *digest = h.peer;
            cases.push_back(Case{
                h.label, size,
                checked<KryHmac>([id, key] { return std::make_unique<KryHmac>(id, key, 32); }),
                [digest, key]() -> std::unique_ptr<Runner> {
                    peers::Mac *mac = peers::new_hmac(digest, key, 32);
                    if (mac == nullptr) return nullptr;
                    return std::make_unique<PeerMac>(mac);
                },
                {}, {}});
            if (id == KRY_SHA256)
                add_extras(cases.back(), [key](const peers::Library &lib) -> peers::Op * {
                    return lib.hmac_sha256 ? lib.hmac_sha256(key, 32) : nullptr;
                });
        }
    }
    return cases;
}

// ---- check and timing -----------------------------------------------------

std::string bench_name(const Case &c, const char *side) {
    return c.label + "/" + std::to_string(c.size) + "/" + side;
}

// Output bytes a message yields: the message length, or the tag (64 bytes
// are compared; unwritten bytes stay zero on both sides).
std::size_t output_room(std::size_t size) { return size + 64; }

// Runs a case's kry side twice (two messages) and compares both with the
// peer's (or with the reference).  Returns false and says why on failure.
bool check(const Case &c) {
    const uint8_t *in = input().data();
    const std::size_t room = output_room(c.size);
    Bytes ours[2] = {Bytes(room), Bytes(room)};
    Bytes theirs[2] = {Bytes(room), Bytes(room)};

    auto ours_runner = c.kry();
    if (!ours_runner) {
        std::fprintf(stderr, "kry_bench_cipher: %s: kry set-up failed\n", c.label.c_str());
        return false;
    }
    for (Bytes &out : ours) {
        if (!ours_runner->run(in, c.size, out.data())) {
            std::fprintf(stderr, "kry_bench_cipher: %s: kry failed on %zu bytes\n", c.label.c_str(), c.size);
            return false;
        }
    }

    std::string against;
    if (c.peer) {
        against = "OpenSSL";
        auto peer_runner = c.peer();
        if (!peer_runner) {
            std::fprintf(stderr, "kry_bench_cipher: %s: OpenSSL set-up failed\n", c.label.c_str());
            return false;
        }
        for (Bytes &out : theirs) {
            if (!peer_runner->run(in, c.size, out.data())) {
                std::fprintf(stderr, "kry_bench_cipher: %s: OpenSSL failed on %zu bytes\n",
                             c.label.c_str(), c.size);
                return false;
            }
        }
    } else if (c.reference) {
        against = c.reference_name;
        if (c.label.rfind("RC5", 0) == 0 && !rc5_known_answers()) {
            std::fprintf(stderr, "kry_bench_cipher: %s: kry's RC5 ECB fails the known answers\n",
                         c.label.c_str());
            return false;
        }
        // Every message starts from the same IV: both references are equal.
        for (Bytes &out : theirs) {
            if (!c.reference(in, c.size, out.data())) {
                std::fprintf(stderr, "kry_bench_cipher: %s: reference (%s) failed\n", c.label.c_str(),
                             against.c_str());
                return false;
            }
        }
    } else {
        return true;
    }
    for (int m = 0; m < 2; m++) {
        if (ours[m] != theirs[m]) {
            std::fprintf(stderr, "kry_bench_cipher: %s: message %d of %zu bytes differs from %s\n",
                         c.label.c_str(), m + 1, c.size, against.c_str());
            return false;
        }
    }
    return true;
}

// Runs an optional peer's side of a case on two messages and compares both
// with kry's.
bool check_extra(const Case &c, const Extra &extra) {
    const uint8_t *in = input().data();
    const std::size_t room = output_room(c.size);
    auto ours_runner = c.kry();
    auto peer_runner = extra.make();
    if (!ours_runner || !peer_runner) return false;
    for (int m = 0; m < 2; m++) {
        Bytes ours(room), theirs(room);
        if (!ours_runner->run(in, c.size, ours.data()) || !peer_runner->run(in, c.size, theirs.data()) ||
            ours != theirs) {
            std::fprintf(stderr, "kry_bench_cipher: %s: message %d of %zu bytes differs from %s\n", c.label.c_str(),
                         m + 1, c.size, extra.library.c_str());
            return false;
        }
    }
    return true;
}

void run_benchmark(benchmark::State &state, const Factory &make, std::size_t size) {
    std::unique_ptr<Runner> runner = make();
    if (!runner) {
        state.SkipWithError("set-up failed");
        return;
    }
    const uint8_t *in = input().data();
    Bytes out(output_room(size));
    for (auto _ : state) {
        if (!runner->run(in, size, out.data())) {
            state.SkipWithError("encryption failed");
            break;
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(size));
}

}  // namespace

int main(int argc, char **argv) {
    // Everything but ARIA and SEED, and CTR for all, is refused in proven
    // mode.
    ChangeNonProvenMode();

    std::FILE *table = ratio_report::initialize(argc, argv, kDefaultMinTime);
    if (table == nullptr) return 2;

    std::vector<Case> cases = make_cases();
    bool all_agree = true;
    for (Case &c : cases) {
        c.agrees = check(c);
        all_agree = all_agree && c.agrees;
        for (Extra &extra : c.extras) {
            extra.agrees = check_extra(c, extra);
            all_agree = all_agree && extra.agrees;
        }
    }

    std::vector<ratio_report::Row> rows;
    for (const Case &c : cases) {
        ratio_report::Row row;
        row.label = c.label;
        row.size = c.size;
        row.kry_benchmark = bench_name(c, "kry");
        benchmark::RegisterBenchmark(row.kry_benchmark.c_str(), run_benchmark, c.kry, c.size);
        if (c.peer) {
            row.add_peer(bench_name(c, "OpenSSL"), "OpenSSL", c.agrees);
            benchmark::RegisterBenchmark(row.peers.back().benchmark.c_str(), run_benchmark, c.peer, c.size);
        } else if (!c.agrees) {
            row.note = " (output differs!)";
        }
        for (const Extra &extra : c.extras) {
            row.add_peer(bench_name(c, extra.library.c_str()), extra.library, extra.agrees);
            benchmark::RegisterBenchmark(row.peers.back().benchmark.c_str(), run_benchmark, extra.make, c.size);
        }
        rows.push_back(row);
    }

    ratio_report::CollectingReporter reporter(benchmark::CreateDefaultDisplayReporter());
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    ratio_report::print_table(table, reporter, rows);
    return all_agree ? 0 : 1;
}
