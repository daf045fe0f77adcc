// Crypto++ as a test oracle.  Kept apart from kry's headers.
#include "oracle_cryptopp.h"

#include <cryptopp/rc5.h>

namespace oracle {

bool cryptopp_rc5_ecb(const uint8_t key[16], const uint8_t in[8], uint8_t out[8], bool encrypt) {
    constexpr unsigned kRounds = 12;
    if (encrypt) {
        CryptoPP::RC5::Encryption e;
        e.SetKeyWithRounds(key, 16, kRounds);
        e.ProcessBlock(in, out);
    } else {
        CryptoPP::RC5::Decryption d;
        d.SetKeyWithRounds(key, 16, kRounds);
        d.ProcessBlock(in, out);
    }
    return true;
}

}  // namespace oracle
