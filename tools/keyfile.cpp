// kry key files and the key-loading helpers of the public-key commands.

#include "keyfile.h"

#include <cstring>

namespace kry_tool {
namespace {

constexpr uint8_t kMagic[8] = {'K', 'R', 'Y', 'K', 'E', 'Y', '\r', '\n'};

uint32_t load32(const uint8_t *p) {
    return (uint32_t{p[0]} << 24) | (uint32_t{p[1]} << 16) | (uint32_t{p[2]} << 8) | uint32_t{p[3]};
}

void store32(uint8_t *p, uint32_t v) {
    p[0] = static_cast<uint8_t>(v >> 24);
    p[1] = static_cast<uint8_t>(v >> 16);
    p[2] = static_cast<uint8_t>(v >> 8);
    p[3] = static_cast<uint8_t>(v);
}

bool known_type(uint8_t type) {
    return type == KRY_KEYPAIR_RSA || type == KRY_KEYPAIR_DSA || type == KRY_KEYPAIR_KCDSA;
}

// Bits of an unsigned big-endian value (leading zero bytes ignored).
uint32_t bit_length(const std::vector<uint8_t> &v) {
    std::size_t i = 0;
    while (i < v.size() && v[i] == 0) ++i;
    if (i == v.size()) return 0;
    uint32_t bits = static_cast<uint32_t>(v.size() - i - 1) * 8;
    for (uint8_t b = v[i]; b != 0; b >>= 1) ++bits;
    return bits;
}

// An owned toolkit KEY record.
struct KeyRecord {
    KEY *key = new_KEY();
    ~KeyRecord() { free_KEY(key); }
    KeyRecord() = default;
    KeyRecord(const KeyRecord &) = delete;
    KeyRecord &operator=(const KeyRecord &) = delete;
};

// SHA-256 of a key file's header and key data.
bool checksum(const uint8_t *bytes, std::size_t length, uint8_t *out) {
    uint32_t n = 0;
    return length <= UINT32_MAX && Digest(KRY_SHA256, bytes, static_cast<uint32_t>(length), out, &n) == 0 &&
           n == kKeyFileChecksum;
}

}  // namespace

const char *key_type_name(uint8_t type) {
    switch (type) {
    case KRY_KEYPAIR_RSA: return "RSA";
    case KRY_KEYPAIR_DSA: return "DSA";
    case KRY_KEYPAIR_KCDSA: return "KCDSA";
    default: return "unknown";
    }
}

bool parse_key_file(const uint8_t *bytes, std::size_t length, KeyFile &out, std::string &error) {
    if (length < sizeof kMagic || std::memcmp(bytes, kMagic, sizeof kMagic) != 0) {
        // A prefix of the magic is a cut-off key file, anything else is not one.
        if (length < sizeof kMagic && length > 0 && std::memcmp(bytes, kMagic, length) == 0) {
            error = "key file too short (" + std::to_string(length) + " bytes; the header alone is " +
                    std::to_string(kKeyFileHeader) + ")";
        } else {
            error = "not a kry key file";
        }
        return false;
    }
    if (length < kKeyFileHeader) {
        error = "key file too short (" + std::to_string(length) + " bytes; the header alone is " +
                std::to_string(kKeyFileHeader) + ")";
        return false;
    }
    if (bytes[8] != kKeyFileVersion) {
        error = "unsupported key file version " + std::to_string(bytes[8]) + " (this kry reads version " +
                std::to_string(kKeyFileVersion) + ")";
        return false;
    }
    if (!known_type(bytes[9])) {
        error = "unknown key type " + std::to_string(bytes[9]) + " in key file";
        return false;
    }
    if ((bytes[10] & ~kKeyFlagPassword) != 0 || bytes[11] != 0) {
        error = "unknown flags in key file header (flags 0x" + to_hex(bytes + 10, 1) + ", reserved 0x" +
                to_hex(bytes + 11, 1) + ")";
        return false;
    }
    const uint64_t announced = load32(bytes + 12);
    const uint64_t present = length - kKeyFileHeader;
    if (present < announced + kKeyFileChecksum) {
        error = "truncated key file: the header announces " + std::to_string(announced) +
                " bytes of key data and a " + std::to_string(kKeyFileChecksum) + "-byte checksum, " +
                std::to_string(present) + " bytes are present";
        return false;
    }
    if (present > announced + kKeyFileChecksum) {
        error = "key file has " + std::to_string(present - announced - kKeyFileChecksum) +
                " unexpected bytes after its checksum";
        return false;
    }
    uint8_t sum[kKeyFileChecksum];
    if (!checksum(bytes, kKeyFileHeader + static_cast<std::size_t>(announced), sum)) {
        error = "the key file's checksum could not be computed";
        return false;
    }
    if (std::memcmp(sum, bytes + kKeyFileHeader + announced, kKeyFileChecksum) != 0) {
        error = "corrupted key file (checksum mismatch)";
        return false;
    }
    // The key data is the library's encoded key pair: a component count, a
    // 4-byte payload length, the payload.
    const uint8_t *data = bytes + kKeyFileHeader;
    if (announced < 5 || data[0] == 0 || static_cast<uint64_t>(load32(data + 1)) + 5 != announced) {
        error = "corrupted key data in key file (its inner length does not match)";
        return false;
    }
    // Key pairs are written with every component: RSA n, e, d, p, q, dP,
    // dQ, qInv; DSA and KCDSA p, q, g, y, x.  The count is not enciphered,
    // so a type byte that does not match the key data shows here.
    const uint8_t expected_count = bytes[9] == KRY_KEYPAIR_RSA ? 8 : 5;
    if (data[0] != expected_count) {
        error = std::string("key data does not match the key type ") + key_type_name(bytes[9]) + " (" +
                std::to_string(data[0]) + " components, expected " + std::to_string(expected_count) + ")";
        return false;
    }
    out.type = bytes[9];
    out.password = (bytes[10] & kKeyFlagPassword) != 0;
    out.data.assign(data, data + announced);
    return true;
}

std::vector<uint8_t> build_key_file(const KeyFile &key) {
    std::vector<uint8_t> out(kKeyFileHeader + key.data.size() + kKeyFileChecksum);
    std::memcpy(out.data(), kMagic, sizeof kMagic);
    out[8] = kKeyFileVersion;
    out[9] = key.type;
    out[10] = key.password ? kKeyFlagPassword : 0;
    out[11] = 0;
    store32(out.data() + 12, static_cast<uint32_t>(key.data.size()));
    if (!key.data.empty()) std::memcpy(out.data() + kKeyFileHeader, key.data.data(), key.data.size());
    const std::size_t body = kKeyFileHeader + key.data.size();
    if (!checksum(out.data(), body, out.data() + body)) out.clear();
    return out;
}

bool check_pass_source(const std::string &source, std::string &error) {
    if (source.empty() || source == "prompt" || source.starts_with("env:") || source.starts_with("file:")) return true;
    error = "passwords are not taken from the command line (other users can read it in the process list); "
            "use --pass env:VAR, --pass file:PATH or --pass prompt";
    return false;
}

// Sizes and parities every key the library generates has.
bool plausible(const PublicKeyInfo &info) {
    const auto odd = [](const std::vector<uint8_t> &v) { return !v.empty() && (v.back() & 1) != 0; };
    if (info.type == KRY_KEYPAIR_RSA)
        return info.modulus_bits >= 256 && info.modulus_bits <= 16384 && odd(info.n) && odd(info.e);
    return info.modulus_bits >= 256 && info.modulus_bits <= 16384 && info.q_bits >= 128 && info.q_bits <= 512 &&
           odd(info.p) && odd(info.q) && bit_length(info.g) <= info.modulus_bits &&
           bit_length(info.y) <= info.modulus_bits;
}

bool load_key(KRY_Context *ctx, const std::string &path, const std::string &pass_source, const char *alias,
              KeyFile &file, SecretString &password, std::string &error) {
    if (!check_pass_source(pass_source, error)) return false;
    std::vector<uint8_t> image;
    std::string why;
    if (!read_file(path, image, kKeyFileLimit, why)) {
        error = why;
        return false;
    }
    if (!parse_key_file(image.data(), image.size(), file, why)) {
        error = path + ": " + why;
        return false;
    }
    password.clear();
    if (file.password) {
        const std::string prompt = "Password for " + path + ": ";
        if (!get_password(pass_source, prompt.c_str(), false, password, why)) {
            error = why;
            return false;
        }
    }
    const uint32_t rc = KRY_KeyPairImport(ctx, alias, file.type, file.data.data(),
                                          static_cast<uint32_t>(file.data.size()), password.c_str());
    if (rc == KRY_R_IMPORT) {
        error = file.password ? path + ": wrong password or corrupted key file"
                              : path + ": corrupted key file (the key data does not decipher)";
        return false;
    }
    if (rc != 0) {
        error = path + ": the key could not be loaded: " + api_error(rc);
        return false;
    }
    // A wrong password deciphers to noise whose padding is valid about once
    // in 256 tries, and the import may then accept it.  Refuse a key whose
    // public values cannot be those of a generated key.
    PublicKeyInfo info;
    if (!key_public_info(file, password, info, why) || !plausible(info)) {
        KRY_KeyPairDestory(ctx, alias);
        error = file.password ? path + ": wrong password or corrupted key file" : path + ": corrupted key file";
        return false;
    }
    return true;
}

bool key_public_info(const KeyFile &file, const SecretString &password, PublicKeyInfo &info, std::string &error) {
    KeyRecord record;
    if (record.key == nullptr) {
        error = "out of memory";
        return false;
    }
    // parse_key_file checked that the encoded key pair's own length covers
    // exactly the bytes present, so the unbounded toolkit import stays
    // within the buffer.
    uint32_t rc;
    switch (file.type) {
    case KRY_KEYPAIR_RSA: rc = import_RSA_KEY(record.key, file.data.data(), password.c_str()); break;
    case KRY_KEYPAIR_DSA: rc = import_DSA_KEY(record.key, file.data.data(), password.c_str()); break;
    case KRY_KEYPAIR_KCDSA: rc = import_KCDSA_KEY(record.key, file.data.data(), password.c_str()); break;
    default: error = "unknown key type"; return false;
    }
    if (rc != 0) {
        error = file.password ? "wrong password or corrupted key file" : "corrupted key file";
        return false;
    }
    // A plain export: count byte, 4-byte length, the component list.
    SecretBytes plain(file.data.size() + 4096);
    uint32_t length = static_cast<uint32_t>(plain.size());
    switch (file.type) {
    case KRY_KEYPAIR_RSA: rc = export_RSA_KEY(record.key, plain.data(), &length, nullptr); break;
    case KRY_KEYPAIR_DSA: rc = export_DSA_KEY(record.key, plain.data(), &length, nullptr); break;
    default: rc = export_KCDSA_KEY(record.key, plain.data(), &length, nullptr); break;
    }
    if (rc != 0 || length > plain.size() - 5 || load32(plain.data() + 1) != length) {
        error = "the key's values could not be read (" + toolkit_error(rc) + ")";
        return false;
    }
    info = PublicKeyInfo{};
    info.type = file.type;
    const uint8_t *p = plain.data() + 5;
    const uint8_t *end = p + length;
    while (p < end) {
        if (end - p < 5) {
            error = "malformed component list in key";
            return false;
        }
        const uint8_t tag = p[0];
        const uint32_t n = load32(p + 1);
        p += 5;
        if (static_cast<std::size_t>(end - p) < n) {
            error = "malformed component list in key";
            return false;
        }
        std::vector<uint8_t> *slot = nullptr;
        if (file.type == KRY_KEYPAIR_RSA) {
            if (tag == 1) slot = &info.n;
            else if (tag == 2) slot = &info.e;
        } else {
            if (tag == 1) slot = &info.p;
            else if (tag == 2) slot = &info.q;
            else if (tag == 3) slot = &info.g;
            else if (tag == 4) slot = &info.y;
        }
        if (slot != nullptr) slot->assign(p, p + n);  // public values only
        p += n;
    }
    if (file.type == KRY_KEYPAIR_RSA) {
        if (info.n.empty() || info.e.empty()) {
            error = "the key lacks its public values";
            return false;
        }
        info.modulus_bits = bit_length(info.n);
    } else {
        if (info.p.empty() || info.q.empty() || info.g.empty() || info.y.empty()) {
            error = "the key lacks its public values";
            return false;
        }
        info.modulus_bits = bit_length(info.p);
        info.q_bits = bit_length(info.q);
    }
    return true;
}

}  // namespace kry_tool
