// Digest throughput of kry next to a peer library, in one process.
//
// For every algorithm and input size two benchmarks run: "ALG/SIZE/kry" and
// "ALG/SIZE/<peer>".  Each iteration hashes one whole message of SIZE bytes
// (init, update, final).  Both sides keep one context for the whole run:
// kry a DIGEST_UNIT bound once with init_Digest, then update_Digest and
// final_Digest per message (final_Digest re-initialises the state, so each
// iteration pays for init, update and final); OpenSSL an EVP_MD_CTX with a
// prefetched EVP_MD, EVP_DigestInit_ex2/Update/Final_ex per message; RHash one
// context with rhash_reset/update/final per message.  Neither side allocates
// per message.
//
// The optional peers (libgcrypt, nettle, Crypto++, Botan; peers_extra.h) run
// the same cases with their reused contexts: "ALG/SIZE/nettle", ...
//
// "ALG one-shot/64" cases time kry's one-call Digest() on 64-byte messages
// (SHA-1, SHA-224, SHA-256) against each peer's one-call or cheapest
// per-message form: OpenSSL EVP_Digest, gcry_md_hash_buffer, nettle
// init/update/digest on a context on the stack, Crypto++ CalculateDigest on
// a new object, Botan's reused HashFunction.
//
// After the runs a table compares the throughputs.  Google Benchmark flags
// work as usual; the default --benchmark_min_time is lowered to keep the
// whole run short.

#include <kry.h>

#include "peers.h"
#include "peers_extra.h"
#include "ratio_report.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace {

struct Algorithm {
    const char *label;              // as printed
    uint32_t kry_id;
    std::optional<peers::Alg> peer; // none: kry alone
};

const Algorithm kAlgorithms[] = {
    {"SHA-1", KRY_SHA1, peers::Alg::SHA1},
    {"SHA-224", KRY_SHA224, peers::Alg::SHA224},
    {"SHA-256", KRY_SHA256, peers::Alg::SHA256},
    {"SHA-384", KRY_SHA384, peers::Alg::SHA384},
    {"SHA-512", KRY_SHA512, peers::Alg::SHA512},
    {"MD5", KRY_MD5, peers::Alg::MD5},
    {"HAS-160", KRY_HAS160, peers::Alg::HAS160},
    {"MDC-2", KRY_MDC2, std::nullopt},
};

const std::size_t kSizes[] = {64, 16 * 1024};

// Default minimum time per benchmark, seconds; 30 benchmarks finish in
// well under a minute.
constexpr const char *kDefaultMinTime = "--benchmark_min_time=0.3";

const std::vector<uint8_t> &input() {
    static const std::vector<uint8_t> data = [] {
        std::vector<uint8_t> bytes(16 * 1024);
        std::mt19937 gen(20240611u);
        for (auto &b : bytes) b = static_cast<uint8_t>(gen());
        return bytes;
    }();
    return data;
}

std::string bench_name(const Algorithm &alg, std::size_t size, const std::string &side) {
    return std::string(alg.label) + "/" + std::to_string(size) + "/" + side;
}

void bench_kry(benchmark::State &state, uint32_t id, std::size_t size) {
    const uint8_t *data = input().data();
    DIGEST_UNIT *unit = new_DIGEST_UNIT();
    if (unit == nullptr) {
        state.SkipWithError("new_DIGEST_UNIT failed");
        return;
    }
    if (init_Digest(unit, id) != 0) {
        free_DIGEST_UNIT(unit);
        state.SkipWithError("init_Digest failed");
        return;
    }
    uint8_t out[KRY_MAX_DIGEST_LENGTH];
    uint32_t length = 0;
    for (auto _ : state) {
        if (update_Digest(unit, data, static_cast<uint32_t>(size)) != 0 ||
            final_Digest(unit, out, &length) != 0) {
            state.SkipWithError("kry digest failed");
            break;
        }
        benchmark::DoNotOptimize(out);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(size));
    free_DIGEST_UNIT(unit);
}

void bench_peer(benchmark::State &state, peers::Alg alg, std::size_t size) {
    const uint8_t *data = input().data();
    peers::Hasher *hasher = peers::new_hasher(alg);
    if (hasher == nullptr) {
        state.SkipWithError("peer does not provide the algorithm");
        return;
    }
    uint8_t out[64];
    for (auto _ : state) {
        if (!peers::hash(hasher, data, size, out)) {
            state.SkipWithError("peer digest failed");
            break;
        }
        benchmark::DoNotOptimize(out);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(size));
    peers::free_hasher(hasher);
}

using OpFactory = std::function<std::unique_ptr<peers::Op>()>;

void bench_op(benchmark::State &state, const OpFactory &make, std::size_t size) {
    const uint8_t *data = input().data();
    std::unique_ptr<peers::Op> op = make();
    if (!op) {
        state.SkipWithError("peer does not provide the algorithm");
        return;
    }
    uint8_t out[64];
    for (auto _ : state) {
        if (!op->run(data, size, out)) {
            state.SkipWithError("peer digest failed");
            break;
        }
        benchmark::DoNotOptimize(out);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(size));
}

// kry's one-call Digest(): a unit and a state per call.
void bench_kry_one_shot(benchmark::State &state, uint32_t id, std::size_t size) {
    const uint8_t *data = input().data();
    uint8_t out[KRY_MAX_DIGEST_LENGTH];
    uint32_t length = 0;
    for (auto _ : state) {
        if (Digest(id, data, static_cast<uint32_t>(size), out, &length) != 0) {
            state.SkipWithError("kry Digest failed");
            break;
        }
        benchmark::DoNotOptimize(out);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(size));
}

void bench_openssl_one_shot(benchmark::State &state, peers::Alg alg, std::size_t size) {
    const uint8_t *data = input().data();
    uint8_t out[64];
    for (auto _ : state) {
        if (!peers::one_shot(alg, data, size, out)) {
            state.SkipWithError("EVP_Digest failed");
            break;
        }
        benchmark::DoNotOptimize(out);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(size));
}

// kry's digest of the first size bytes of the input.
std::vector<uint8_t> kry_digest(uint32_t id, std::size_t size) {
    uint8_t out[KRY_MAX_DIGEST_LENGTH] = {};
    uint32_t length = 0;
    if (Digest(id, input().data(), static_cast<uint32_t>(size), out, &length) != 0) return {};
    return std::vector<uint8_t>(out, out + length);
}

// Runs a peer's op on two messages and compares both with kry's digest.
bool op_agrees(const OpFactory &make, uint32_t id, std::size_t size) {
    std::unique_ptr<peers::Op> op = make();
    const std::vector<uint8_t> ours = kry_digest(id, size);
    if (!op || ours.empty()) return false;
    for (int m = 0; m < 2; ++m) {
        uint8_t theirs[64] = {};
        if (!op->run(input().data(), size, theirs) || std::memcmp(theirs, ours.data(), ours.size()) != 0)
            return false;
    }
    return true;
}

peers::Hash extra_hash(peers::Alg alg) {
    switch (alg) {
    case peers::Alg::SHA1: return peers::Hash::SHA1;
    case peers::Alg::SHA224: return peers::Hash::SHA224;
    case peers::Alg::SHA256: return peers::Hash::SHA256;
    case peers::Alg::SHA384: return peers::Hash::SHA384;
    case peers::Alg::SHA512: return peers::Hash::SHA512;
    default: return peers::Hash::MD5;
    }
}

// Hashes the benchmark input once on both sides; false when they differ or
// a side fails (the numbers would then compare different work).
bool digests_agree(const Algorithm &alg, std::size_t size, std::string &peer_library) {
    peers::Hasher *hasher = peers::new_hasher(*alg.peer);
    if (hasher == nullptr) return false;
    peer_library = peers::library_name(hasher);
    uint8_t theirs[64] = {};
    const bool peer_ok = peers::hash(hasher, input().data(), size, theirs);
    const std::size_t peer_length = peers::digest_length(hasher);
    peers::free_hasher(hasher);

    uint8_t ours[KRY_MAX_DIGEST_LENGTH] = {};
    uint32_t our_length = 0;
    const uint32_t rc = Digest(alg.kry_id, input().data(), static_cast<uint32_t>(size),
                               ours, &our_length);
    return peer_ok && rc == 0 && our_length == peer_length &&
           std::memcmp(ours, theirs, peer_length) == 0;
}

}  // namespace

int main(int argc, char **argv) {
    // SHA-224, MD5 and MDC-2 are refused in proven mode.
    ChangeNonProvenMode();

    std::FILE *table = ratio_report::initialize(argc, argv, kDefaultMinTime);
    if (table == nullptr) return 2;

    // Check once that both sides compute the same digests.
    std::map<std::string, std::string> peer_library;  // label -> library
    std::map<std::string, bool> agrees;               // "label/size" -> ok
    bool all_agree = true;
    for (const Algorithm &alg : kAlgorithms) {
        if (!alg.peer) continue;
        for (std::size_t size : kSizes) {
            std::string library = "peer";
            const bool ok = digests_agree(alg, size, library);
            peer_library[alg.label] = library;
            agrees[std::string(alg.label) + "/" + std::to_string(size)] = ok;
            if (!ok) {
                all_agree = false;
                std::fprintf(stderr, "kry_bench: %s digest of %zu bytes differs from %s\n",
                             alg.label, size, library.c_str());
            }
        }
    }

    std::vector<ratio_report::Row> rows;
    const std::vector<const peers::Library *> libraries = peers::libraries();
    for (const Algorithm &alg : kAlgorithms) {
        for (std::size_t size : kSizes) {
            ratio_report::Row row;
            row.label = alg.label;
            row.size = size;
            row.kry_benchmark = bench_name(alg, size, "kry");
            benchmark::RegisterBenchmark(row.kry_benchmark.c_str(), bench_kry, alg.kry_id, size);
            if (alg.peer) {
                const std::string library = peer_library[alg.label];
                row.add_peer(bench_name(alg, size, library), library,
                             agrees[std::string(alg.label) + "/" + std::to_string(size)]);
                benchmark::RegisterBenchmark(row.peers.back().benchmark.c_str(), bench_peer, *alg.peer, size);
            }
            if (alg.peer && *alg.peer != peers::Alg::HAS160) {
                for (const peers::Library *lib : libraries) {
                    if (lib->hasher == nullptr) continue;
                    const peers::Hash hash = extra_hash(*alg.peer);
                    OpFactory make = [lib, hash] { return std::unique_ptr<peers::Op>(lib->hasher(hash, false)); };
                    if (!make()) continue;
                    const bool ok = op_agrees(make, alg.kry_id, size);
                    if (!ok) {
                        all_agree = false;
                        std::fprintf(stderr, "kry_bench: %s digest of %zu bytes differs from %s\n", alg.label,
                                     size, lib->name);
                    }
                    row.add_peer(bench_name(alg, size, lib->name), lib->name, ok);
                    benchmark::RegisterBenchmark(row.peers.back().benchmark.c_str(), bench_op, make, size);
                }
            }
            rows.push_back(row);
        }
    }

    // One-call digests of 64-byte messages.
    for (const Algorithm &alg : kAlgorithms) {
        if (!alg.peer || (*alg.peer != peers::Alg::SHA1 && *alg.peer != peers::Alg::SHA224 &&
                          *alg.peer != peers::Alg::SHA256))
            continue;
        const std::size_t size = 64;
        const std::string label = std::string(alg.label) + " one-shot";
        auto name = [&](const std::string &side) { return label + "/" + std::to_string(size) + "/" + side; };
        ratio_report::Row row;
        row.label = label;
        row.size = size;
        row.kry_benchmark = name("kry");
        benchmark::RegisterBenchmark(row.kry_benchmark.c_str(), bench_kry_one_shot, alg.kry_id, size);
        {
            const std::vector<uint8_t> ours = kry_digest(alg.kry_id, size);
            uint8_t theirs[64] = {};
            const bool ok = !ours.empty() && peers::one_shot(*alg.peer, input().data(), size, theirs) &&
                            std::memcmp(theirs, ours.data(), ours.size()) == 0;
            if (!ok) {
                all_agree = false;
                std::fprintf(stderr, "kry_bench: %s differs from OpenSSL EVP_Digest\n", label.c_str());
            }
            row.add_peer(name("OpenSSL"), "OpenSSL", ok);
            benchmark::RegisterBenchmark(row.peers.back().benchmark.c_str(), bench_openssl_one_shot, *alg.peer,
                                         size);
        }
        for (const peers::Library *lib : libraries) {
            if (lib->hasher == nullptr) continue;
            const peers::Hash hash = extra_hash(*alg.peer);
            OpFactory make = [lib, hash] { return std::unique_ptr<peers::Op>(lib->hasher(hash, true)); };
            if (!make()) continue;
            const bool ok = op_agrees(make, alg.kry_id, size);
            if (!ok) {
                all_agree = false;
                std::fprintf(stderr, "kry_bench: %s differs from %s\n", label.c_str(), lib->name);
            }
            row.add_peer(name(lib->name), lib->name, ok);
            benchmark::RegisterBenchmark(row.peers.back().benchmark.c_str(), bench_op, make, size);
        }
        rows.push_back(row);
    }

    ratio_report::CollectingReporter reporter(benchmark::CreateDefaultDisplayReporter());
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    ratio_report::print_table(table, reporter, rows);
    return all_agree ? 0 : 1;
}
