#include "test_support.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace kry_test {

static int hex_value(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    throw std::invalid_argument(std::string("bad hex digit: ") + c);
}

Bytes from_hex(const std::string &hex) {
    std::string digits;
    for (char c : hex)
        if (!isspace(static_cast<unsigned char>(c))) digits += c;
    if (digits.size() % 2) throw std::invalid_argument("odd hex length");
    Bytes out(digits.size() / 2);
    for (size_t i = 0; i < out.size(); i++)
        out[i] = static_cast<uint8_t>(hex_value(digits[2 * i]) << 4 | hex_value(digits[2 * i + 1]));
    return out;
}

std::string to_hex(const uint8_t *data, size_t len) {
    static const char digits[] = "0123456789abcdef";
    std::string s;
    s.reserve(2 * len);
    for (size_t i = 0; i < len; i++) {
        s += digits[data[i] >> 4];
        s += digits[data[i] & 15];
    }
    return s;
}

Bytes bytes_of(const std::string &text) { return Bytes(text.begin(), text.end()); }

std::string vector_path(const std::string &name) { return std::string(KRY_TEST_VECTORS) + "/" + name; }

static std::string trim(const std::string &s) {
    size_t b = s.find_first_not_of(" \t\r\n");
    if (b == std::string::npos) return "";
    size_t e = s.find_last_not_of(" \t\r\n");
    return s.substr(b, e - b + 1);
}

std::vector<VectorBlock> read_vectors(const std::string &name) {
    std::ifstream in(vector_path(name));
    if (!in) throw std::runtime_error("cannot open vector file " + vector_path(name));
    std::vector<VectorBlock> blocks;
    VectorBlock cur;
    std::string line;
    while (std::getline(in, line)) {
        std::string t = trim(line);
        if (t.empty()) {
            if (!cur.empty()) blocks.push_back(cur), cur.clear();
            continue;
        }
        if (t[0] == '#') continue;
        size_t eq = t.find('=');
        if (eq == std::string::npos) continue;
        cur[trim(t.substr(0, eq))] = trim(t.substr(eq + 1));
    }
    if (!cur.empty()) blocks.push_back(cur);
    return blocks;
}

Bytes message_of(const VectorBlock &block) {
    Bytes one = from_hex(block.at("MSG"));
    auto it = block.find("REPEAT");
    size_t repeat = it == block.end() ? 1 : std::stoul(it->second);
    Bytes out;
    out.reserve(one.size() * repeat);
    for (size_t i = 0; i < repeat; i++) out.insert(out.end(), one.begin(), one.end());
    return out;
}

std::string capture_stdout(const std::function<void()> &fn) {
    fflush(stdout);
    testing::internal::CaptureStdout();
    fn();
    fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

}  // namespace kry_test
