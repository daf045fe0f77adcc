// Modular exponentiation of kry next to OpenSSL, in one process.
//
// Every case has a benchmark "LABEL/kry" and "LABEL/OpenSSL"; one iteration
// is one exponentiation r = a^p mod m with an odd modulus of the case's
// size, a base below it and a random exponent (full size unless the label
// says e=65537).  Both sides keep what a caller would keep between calls:
//
// - kry: mod_exp_mont_BIGINT (or mod_exp_BIGINT for the "plain" case) with
//   one BIGINT_POOL reused by every call; the Montgomery context is built
//   inside each call.
// - OpenSSL: BN_mod_exp_mont with one BN_CTX reused by every call and no
//   BN_MONT_CTX passed in, so it also builds its Montgomery context per
//   call.
//
// The optional peers run every case too: libgcrypt gcry_mpi_powm, GMP
// mpz_powm (what nettle's public-key code uses; listed as "nettle"),
// Crypto++ ModularExponentiation and Botan power_mod, each on operands
// loaded once.
//
// Before timing, every side computes every case once and the results are
// compared; a difference is reported on stderr, flagged in the table and
// makes the exit status 1.  The table gives exponentiations per second
// (from CPU time, median when repeated), the best peer and the ratio
// kry/peer of the rates (above 1: kry is faster).

#include <kry.h>

#include "peers_bn.h"
#include "peers_extra.h"
#include "ratio_report.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

constexpr const char *kDefaultMinTime = "--benchmark_min_time=0.5";

// A random value of exactly bits bits (big-endian); odd when asked.
Bytes random_value(int bits, std::mt19937 &gen, bool odd) {
    Bytes b(static_cast<size_t>((bits + 7) / 8));
    for (auto &x : b) x = static_cast<uint8_t>(gen());
    const int top = (bits - 1) % 8;
    b[0] = static_cast<uint8_t>((b[0] & ((2u << top) - 1)) | (1u << top));
    if (odd) b.back() |= 1;
    return b;
}

struct Case {
    std::string label;
    int bits = 0;          // modulus size
    bool plain = false;    // kry's mod_exp_BIGINT instead of mod_exp_mont_BIGINT
    Bytes a, p, m;
    bool agrees = false;
    std::vector<std::pair<const peers::Library *, bool>> extras;  // optional peers, agreeing
};

Case make_case(const std::string &label, int bits, int exp_bits, bool plain, uint32_t seed) {
    std::mt19937 gen(seed);
    Case c;
    c.label = label;
    c.bits = bits;
    c.plain = plain;
    c.m = random_value(bits, gen, true);
    c.a = random_value(bits - 1, gen, false);  // below m
    c.p = exp_bits == 17 ? Bytes{0x01, 0x00, 0x01} : random_value(exp_bits, gen, false);
    return c;
}

std::vector<Case> make_cases() {
    std::vector<Case> cases;
    cases.push_back(make_case("512 bits", 512, 512, false, 512));
    cases.push_back(make_case("1024 bits", 1024, 1024, false, 1024));
    cases.push_back(make_case("2048 bits", 2048, 2048, false, 2048));
    cases.push_back(make_case("4096 bits", 4096, 4096, false, 4096));
    cases.push_back(make_case("2048 bits e=65537", 2048, 17, false, 65537));
    cases.push_back(make_case("2048 bits e=65537 plain", 2048, 17, true, 65537));
    return cases;
}

// kry's operands and pool, set up once per benchmark.
class KrySide {
public:
    explicit KrySide(const Case &c)
        : a_(binary_to_BIGINT(c.a.data(), static_cast<int32_t>(c.a.size()), nullptr)),
          p_(binary_to_BIGINT(c.p.data(), static_cast<int32_t>(c.p.size()), nullptr)),
          m_(binary_to_BIGINT(c.m.data(), static_cast<int32_t>(c.m.size()), nullptr)),
          r_(new_BIGINT()), pool_(new_BIGINT_POOL()), plain_(c.plain) {}
    ~KrySide() {
        free_BIGINT(a_);
        free_BIGINT(p_);
        free_BIGINT(m_);
        free_BIGINT(r_);
        free_BIGINT_POOL(pool_);
    }
    KrySide(const KrySide &) = delete;
    KrySide &operator=(const KrySide &) = delete;

    bool ok() const { return a_ && p_ && m_ && r_ && pool_; }
    bool run() {
        return (plain_ ? mod_exp_BIGINT(r_, a_, p_, m_, pool_) : mod_exp_mont_BIGINT(r_, a_, p_, m_, pool_)) == 0;
    }
    Bytes result() const {
        Bytes out(static_cast<size_t>(4 * r_->length + 4));
        out.resize(static_cast<size_t>(BIGINT_to_binary_unsigned(r_, out.data())));
        return out;
    }

private:
    BIGINT *a_, *p_, *m_, *r_;
    BIGINT_POOL *pool_;
    bool plain_;
};

bool check(const Case &c) {
    KrySide kry(c);
    peers::ModExp *peer = peers::new_mod_exp(c.a, c.p, c.m);
    bool same = kry.ok() && peer != nullptr && kry.run() && peers::run(peer) &&
                kry.result() == peers::result(peer);
    if (!same) std::fprintf(stderr, "%s: kry and OpenSSL differ\n", c.label.c_str());
    peers::free_mod_exp(peer);
    return same;
}

void bench_kry(benchmark::State &state, const Case *c) {
    KrySide kry(*c);
    if (!kry.ok()) {
        state.SkipWithError("set-up failed");
        return;
    }
    for (auto _ : state) {
        if (!kry.run()) {
            state.SkipWithError("mod_exp failed");
            return;
        }
    }
    // One "byte" per exponentiation: the collected rate is exponentiations
    // per second.
    state.SetBytesProcessed(state.iterations());
}

void bench_openssl(benchmark::State &state, const Case *c) {
    peers::ModExp *e = peers::new_mod_exp(c->a, c->p, c->m);
    if (e == nullptr) {
        state.SkipWithError("set-up failed");
        return;
    }
    for (auto _ : state) {
        if (!peers::run(e)) {
            state.SkipWithError("BN_mod_exp_mont failed");
            break;
        }
    }
    peers::free_mod_exp(e);
    state.SetBytesProcessed(state.iterations());
}

bool check_extra(const Case &c, const peers::Library &lib) {
    KrySide kry(c);
    std::unique_ptr<peers::ModExpOp> e(lib.mod_exp(c.a, c.p, c.m));
    const bool same = kry.ok() && e && kry.run() && e->run() && kry.result() == e->result();
    if (!same) std::fprintf(stderr, "%s: kry and %s differ\n", c.label.c_str(), lib.name);
    return same;
}

void bench_extra(benchmark::State &state, const Case *c, const peers::Library *lib) {
    std::unique_ptr<peers::ModExpOp> e(lib->mod_exp(c->a, c->p, c->m));
    if (!e) {
        state.SkipWithError("set-up failed");
        return;
    }
    for (auto _ : state) {
        if (!e->run()) {
            state.SkipWithError("exponentiation failed");
            break;
        }
    }
    state.SetBytesProcessed(state.iterations());
}

}  // namespace

int main(int argc, char **argv) {
    std::FILE *table = ratio_report::initialize(argc, argv, kDefaultMinTime);
    if (table == nullptr) return 2;

    static std::vector<Case> cases = make_cases();
    bool all_agree = true;
    for (Case &c : cases) {
        c.agrees = check(c);
        all_agree = all_agree && c.agrees;
        for (const peers::Library *lib : peers::libraries()) {
            if (lib->mod_exp == nullptr) continue;
            const bool ok = check_extra(c, *lib);
            all_agree = all_agree && ok;
            c.extras.emplace_back(lib, ok);
        }
    }
    std::vector<ratio_report::Row> rows;
    for (const Case &c : cases) {
        ratio_report::Row row;
        row.label = "modexp " + c.label;
        row.kry_benchmark = c.label + "/kry";
        benchmark::RegisterBenchmark(row.kry_benchmark.c_str(), bench_kry, &c);
        row.add_peer(c.label + "/OpenSSL", "OpenSSL", c.agrees);
        benchmark::RegisterBenchmark((c.label + "/OpenSSL").c_str(), bench_openssl, &c);
        for (const auto &[lib, ok] : c.extras) {
            row.add_peer(c.label + "/" + lib->name, lib->name, ok);
            benchmark::RegisterBenchmark(row.peers.back().benchmark.c_str(), bench_extra, &c, lib);
        }
        rows.push_back(row);
    }

    ratio_report::CollectingReporter reporter(benchmark::CreateDefaultDisplayReporter());
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    ratio_report::print_table(table, reporter, rows, ratio_report::Unit::operations,
                              "Modular exponentiation: operations per second (CPU time; median of repetitions)");
    return all_agree ? 0 : 1;
}
