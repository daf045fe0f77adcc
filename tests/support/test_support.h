// Test helpers: hex conversion, the NAME = value vector files under
// tests/vectors, deterministic random bytes, and captured standard output.
#ifndef KRY_TEST_SUPPORT_H
#define KRY_TEST_SUPPORT_H

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace kry_test {

using Bytes = std::vector<uint8_t>;

Bytes from_hex(const std::string &hex);
std::string to_hex(const uint8_t *data, size_t len);  // lower case
inline std::string to_hex(const Bytes &b) { return to_hex(b.data(), b.size()); }
Bytes bytes_of(const std::string &text);

// One block of a vector file: NAME -> value, in the file's spelling.
using VectorBlock = std::map<std::string, std::string>;
// Reads tests/vectors/<name>; blank lines end blocks, '#' lines are comments.
std::vector<VectorBlock> read_vectors(const std::string &name);
// The message of a block: MSG repeated REPEAT times (REPEAT defaults to 1).
Bytes message_of(const VectorBlock &block);
// Full path of a file under tests/vectors.
std::string vector_path(const std::string &name);

// Deterministic pseudo-random bytes for differential tests.
class TestRng {
  public:
    explicit TestRng(uint64_t seed) : s_(seed ? seed : 0x9E3779B97F4A7C15ull) {}
    uint64_t next() {
        s_ ^= s_ << 13;
        s_ ^= s_ >> 7;
        s_ ^= s_ << 17;
        return s_;
    }
    uint32_t below(uint32_t n) { return n ? static_cast<uint32_t>(next() % n) : 0; }
    Bytes bytes(size_t n) {
        Bytes b(n);
        for (auto &x : b) x = static_cast<uint8_t>(next() >> 24);
        return b;
    }
  private:
    uint64_t s_;
};

// Runs fn with standard output captured and returns exactly what was printed.
std::string capture_stdout(const std::function<void()> &fn);

}  // namespace kry_test

#endif
