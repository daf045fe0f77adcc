#include "peers_extra.h"

namespace peers {

std::vector<const Library *> libraries() {
    std::vector<const Library *> all;
#ifdef KRY_BENCH_HAVE_GCRYPT
    all.push_back(gcrypt_library());
#endif
#ifdef KRY_BENCH_HAVE_NETTLE
    all.push_back(nettle_library());
#endif
#ifdef KRY_BENCH_HAVE_CRYPTOPP
    all.push_back(cryptopp_library());
#endif
#ifdef KRY_BENCH_HAVE_BOTAN
    all.push_back(botan_library());
#endif
    return all;
}

Bytes strip_zeros(const Bytes &b) {
    std::size_t i = 0;
    while (i < b.size() && b[i] == 0) ++i;
    return Bytes(b.begin() + static_cast<std::ptrdiff_t>(i), b.end());
}

Bytes pad_left(const Bytes &b, std::size_t length) {
    const Bytes s = strip_zeros(b);
    if (s.size() > length) return {};
    Bytes out(length - s.size(), 0);
    out.insert(out.end(), s.begin(), s.end());
    return out;
}

}  // namespace peers
