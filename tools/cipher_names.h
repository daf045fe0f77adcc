// Names of the block ciphers and modes the tool offers ("AES-128-CBC",
// "seed-ctr", "DES-EDE3-CFB"), mapped to the library's cipher identifiers.
// The spellings follow the ones OpenSSL's enc command uses, so that the
// same name can be given to both.
#ifndef KRY_TOOL_CIPHER_NAMES_H
#define KRY_TOOL_CIPHER_NAMES_H

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace kry_tool {

struct CipherInfo {
    const char *name;         // canonical name: "AES-128", "DES-EDE3", "BF"
    uint32_t base_id;         // KRY_AES_128, ...
    uint32_t key_length;      // bytes
    uint32_t block_length;    // bytes (also the IV length)
    bool has_ctr;             // RC2 has no CTR mode
};

struct ModeInfo {
    const char *name;         // "ECB", "CBC", "CFB", "OFB", "CTR"
    uint32_t mode;            // KRY_MODE_*
    bool stream;              // CFB, OFB, CTR: no padding, any length
    bool needs_iv;            // everything but ECB
};

struct CipherChoice {
    const CipherInfo *cipher = nullptr;
    const ModeInfo *mode = nullptr;
    // "AES-128-CBC": the canonical full name.
    std::string full_name() const;
    // The library identifier, with the no-padding bit when asked for (and
    // always for the stream modes).
    uint32_t identifier(bool no_padding) const;
};

// Looks up "CIPHER-MODE" without regard to case.  On failure returns false
// with a one-line reason in `error` (unknown cipher, unknown mode, mode
// missing, mode the cipher does not have).
bool find_cipher(std::string_view name, CipherChoice &out, std::string &error);

// Prints every cipher and mode, one "NAME-MODE  key N bytes, IV M bytes"
// line each.
void list_ciphers(std::FILE *out);

}  // namespace kry_tool

#endif  // KRY_TOOL_CIPHER_NAMES_H
