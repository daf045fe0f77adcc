// OpenSSL's side of the big-integer benchmark, behind plain byte-string
// functions: no OpenSSL type appears here, so this header sits next to kry's
// own, whose type names clash with OpenSSL's.
#ifndef KRY_BENCH_PEERS_BN_H
#define KRY_BENCH_PEERS_BN_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace peers {

// One modular exponentiation r = a^p mod m with OpenSSL's BN_mod_exp_mont:
// the operands are loaded once, the BN_CTX is reused from call to call, and
// the Montgomery context is built inside every call (no BN_MONT_CTX is
// passed in), as kry's exponentiation builds its own.
class ModExp;

// Big-endian unsigned operands; the modulus must be odd.  Null on failure.
ModExp *new_mod_exp(const std::vector<uint8_t> &a, const std::vector<uint8_t> &p,
                    const std::vector<uint8_t> &m);
void free_mod_exp(ModExp *e);

// One exponentiation; false when OpenSSL fails.
bool run(ModExp *e);

// The last result, big-endian without leading zeros (empty for zero).
std::vector<uint8_t> result(const ModExp *e);

}  // namespace peers

#endif  // KRY_BENCH_PEERS_BN_H
