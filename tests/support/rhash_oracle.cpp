// RHash as the HAS-160 oracle.
#include "oracle.h"

#include <rhash.h>

namespace oracle {

Bytes rhash_has160(const uint8_t *data, size_t len) {
    static const bool ready = (rhash_library_init(), true);
    (void)ready;
    Bytes out(20);
    if (rhash_msg(RHASH_HAS160, data, len, out.data()) < 0) return {};
    return out;
}

}  // namespace oracle
