// The cipher and mode names of 'kry enc' and 'kry dec'.

#include "cipher_names.h"

#include <kry.h>

#include <cctype>

namespace kry_tool {
namespace {

constexpr CipherInfo kCiphers[] = {
    {"AES-128", KRY_AES_128, 16, 16, true},
    {"AES-192", KRY_AES_192, 24, 16, true},
    {"AES-256", KRY_AES_256, 32, 16, true},
    {"ARIA-128", KRY_ARIA_128, 16, 16, true},
    {"ARIA-192", KRY_ARIA_192, 24, 16, true},
    {"ARIA-256", KRY_ARIA_256, 32, 16, true},
    {"SEED", KRY_SEED, 16, 16, true},
    {"DES", KRY_DES, 8, 8, true},
    {"DES-EDE", KRY_DES_EDE2, 16, 8, true},    // two keys, K1 K2 K1
    {"DES-EDE3", KRY_DES_EDE3, 24, 8, true},   // three keys
    {"RC5", KRY_RC5, 16, 8, true},             // RC5-32/12/16
    {"BF", KRY_BLOWFISH, 16, 8, true},         // Blowfish, 128-bit key
    {"RC2", KRY_RC2, 8, 8, false},             // 1024 effective key bits
};

// Other spellings of a cipher name.
struct Alias {
    const char *alias;
    const char *name;
};
constexpr Alias kCipherAliases[] = {
    {"AES128", "AES-128"},   {"AES192", "AES-192"},   {"AES256", "AES-256"},
    {"ARIA128", "ARIA-128"}, {"ARIA192", "ARIA-192"}, {"ARIA256", "ARIA-256"},
    {"BLOWFISH", "BF"},      {"DES3", "DES-EDE3"},    {"3DES", "DES-EDE3"},
    {"DES-EDE2", "DES-EDE"},
};

// CFB runs with a segment of one whole block (CFB-128 for the 16-byte
// ciphers, CFB-64 for the 8-byte ones), which is what OpenSSL calls "cfb".
constexpr ModeInfo kModes[] = {
    {"ECB", KRY_MODE_ECB, false, false},
    {"CBC", KRY_MODE_CBC, false, true},
    {"CFB", KRY_MODE_CFB, true, true},
    {"OFB", KRY_MODE_OFB, true, true},
    {"CTR", KRY_MODE_CTR, true, true},
};

std::string upper(std::string_view s) {
    std::string out(s);
    for (char &c : out) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return out;
}

const CipherInfo *cipher_by_name(const std::string &name) {
    for (const CipherInfo &c : kCiphers)
        if (name == c.name) return &c;
    for (const Alias &a : kCipherAliases)
        if (name == a.alias) return cipher_by_name(a.name);
    return nullptr;
}

const ModeInfo *mode_by_name(const std::string &name, const CipherInfo &cipher) {
    for (const ModeInfo &m : kModes)
        if (name == m.name) return &m;
    // The segment length spelled out: CFB128 for 16-byte blocks, CFB64 for
    // 8-byte blocks.
    if ((name == "CFB128" && cipher.block_length == 16) || (name == "CFB64" && cipher.block_length == 8))
        return &kModes[2];
    return nullptr;
}

std::string printable(std::string_view s) {
    std::string out;
    for (char c : s) out.push_back(std::isprint(static_cast<unsigned char>(c)) ? c : '?');
    return out;
}

}  // namespace

std::string CipherChoice::full_name() const {
    if (cipher == nullptr || mode == nullptr) return "?";
    return std::string(cipher->name) + "-" + mode->name;
}

uint32_t CipherChoice::identifier(bool no_padding) const {
    uint32_t id = cipher->base_id | mode->mode;
    if (no_padding || mode->stream) id |= KRY_NO_PADDING;
    return id;
}

bool find_cipher(std::string_view name_in, CipherChoice &out, std::string &error) {
    const std::string name = upper(name_in);
    if (name.empty()) {
        error = "empty cipher name";
        return false;
    }
    if (cipher_by_name(name) != nullptr) {
        error = "no mode in cipher name '" + printable(name_in) + "' (for example " +
                cipher_by_name(name)->name + "-CBC)";
        return false;
    }
    const std::size_t dash = name.rfind('-');
    if (dash == std::string::npos || dash == 0 || dash + 1 == name.size()) {
        error = "unknown cipher '" + printable(name_in) + "' (see 'kry enc -l')";
        return false;
    }
    const CipherInfo *cipher = cipher_by_name(name.substr(0, dash));
    if (cipher == nullptr) {
        error = "unknown cipher '" + printable(name_in) + "' (see 'kry enc -l')";
        return false;
    }
    const std::string mode_name = name.substr(dash + 1);
    const ModeInfo *mode = mode_by_name(mode_name, *cipher);
    if (mode == nullptr) {
        error = "unknown mode '" + printable(name_in.substr(dash + 1)) + "' for " + cipher->name +
                " (modes: ECB, CBC, CFB, OFB" + (cipher->has_ctr ? ", CTR)" : ")");
        return false;
    }
    if (mode->mode == KRY_MODE_CTR && !cipher->has_ctr) {
        error = std::string(cipher->name) + " has no CTR mode";
        return false;
    }
    out.cipher = cipher;
    out.mode = mode;
    return true;
}

void list_ciphers(std::FILE *out) {
    for (const CipherInfo &c : kCiphers) {
        for (const ModeInfo &m : kModes) {
            if (m.mode == KRY_MODE_CTR && !c.has_ctr) continue;
            const std::string full = std::string(c.name) + "-" + m.name;
            if (m.needs_iv) {
                std::fprintf(out, "%-14s key %2u bytes, IV %2u bytes\n", full.c_str(), c.key_length,
                             c.block_length);
            } else {
                std::fprintf(out, "%-14s key %2u bytes, no IV\n", full.c_str(), c.key_length);
            }
        }
    }
}

}  // namespace kry_tool
