// RSA key generation at usual sizes, checked by OpenSSL.
#include <gtest/gtest.h>

#include <kry/bigint.h>
#include <kry/digest.h>
#include <kry/error.h>
#include <kry/rsa.h>

#include "oracle_bn.h"
#include "oracle_pk_rsa.h"
#include "rsa_test_util.h"
#include "test_support.h"

using namespace kry_test;
using namespace rsa_test;
using oracle::rsa::Key;

namespace {

Key key_of(const RSA *rsa) {
    Key k;
    k.n = hex_of(rsa->n);
    k.e = hex_of(rsa->e);
    k.d = hex_of(rsa->d);
    k.p = hex_of(rsa->p);
    k.q = hex_of(rsa->q);
    k.dP = hex_of(rsa->dP);
    k.dQ = hex_of(rsa->dQ);
    k.qInv = hex_of(rsa->qInv);
    return k;
}

void generate_and_check(int bits, int kind, const char *e_hex) {
    ChangeNonProvenMode();
    RSA *rsa = new_RSA();
    Big e(e_hex);
    ASSERT_EQ(generate_RSA_params(rsa, e.b, bits, kind), 0u);
    EXPECT_EQ(rsa->key_state, 31u);
    EXPECT_EQ(rsa->mode, 1);
    const int32_t nbits = get_BIGINT_bits_length(rsa->n);
    EXPECT_TRUE(nbits == bits || nbits == bits - 1);
    const Key k = key_of(rsa);
    EXPECT_TRUE(oracle::rsa::check_private_key(k));

    const Bytes m = bytes_of("key generation check");
    ASSERT_EQ(init_RSASSA(rsa, KRY_SHA256, 1, 1), 0u);
    ASSERT_EQ(update_RSASSA(rsa, m.data(), static_cast<uint32_t>(m.size())), 0u);
    Bytes sig(get_RSA_length(rsa));
    uint32_t len = 0;
    ASSERT_EQ(final_RSASSA(rsa, sig.data(), &len), 0u);
    EXPECT_TRUE(oracle::rsa::verify_pkcs1(k, "SHA256", m, sig));
    EXPECT_EQ(sig, oracle::rsa::sign_pkcs1(k, "SHA256", m));
    free_RSA(rsa);
}

TEST(RsaKeygenSlow, Kind1Bits1024) { generate_and_check(1024, 1, "10001"); }
TEST(RsaKeygenSlow, Kind2Bits1024) { generate_and_check(1024, 2, "10001"); }
TEST(RsaKeygenSlow, Kind1Bits2048) { generate_and_check(2048, 1, "10001"); }
TEST(RsaKeygenSlow, Kind2Bits2048) { generate_and_check(2048, 2, "10001"); }
TEST(RsaKeygenSlow, OddSizeExponentThree) { generate_and_check(1025, 1, "3"); }

}  // namespace
