// kry key files: a small binary container for one key pair, enciphered by
// the library's key pair export (see docs/key-file-format.md), and the
// helpers the public-key commands share to read and write them.
#ifndef KRY_TOOL_KEYFILE_H
#define KRY_TOOL_KEYFILE_H

#include "cli.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kry_tool {

// Layout of the fixed header (all integers big-endian):
//   0  8  magic "KRYKEY\r\n"
//   8  1  format version (1)
//   9  1  key type: KRY_KEYPAIR_RSA (2), KRY_KEYPAIR_DSA (3), KRY_KEYPAIR_KCDSA (4)
//  10  1  flags: bit 0 set = enciphered under a password the user chose;
//         clear = enciphered under the empty password (no protection)
//  11  1  reserved, 0
//  12  4  length N of the key data that follows
//  16  N  key data: the output of KRY_KeyPairExport
//  16+N 32 SHA-256 of bytes 0 .. 16+N-1 (a check against accidental damage;
//         the key data's own integrity rests on the password)
constexpr std::size_t kKeyFileHeader = 16;
constexpr std::size_t kKeyFileChecksum = 32;
constexpr uint8_t kKeyFileVersion = 1;
constexpr uint8_t kKeyFlagPassword = 0x01;
// Largest key file the tool reads (an 8192-bit RSA key is under 6 KiB).
constexpr std::size_t kKeyFileLimit = 1u << 20;

struct KeyFile {
    uint8_t type = 0;          // KRY_KEYPAIR_*
    bool password = false;     // enciphered under a chosen password
    std::vector<uint8_t> data; // the KRY_KeyPairExport bytes
};

// Checks a key file image; on failure `error` holds the reason.
bool parse_key_file(const uint8_t *bytes, std::size_t length, KeyFile &out, std::string &error);
// The file image for a key.
std::vector<uint8_t> build_key_file(const KeyFile &key);

// "RSA", "DSA", "KCDSA" (or "unknown").
const char *key_type_name(uint8_t type);

// Refuses a password given literally on the command line ("pass:..." or a
// bare word); true when SOURCE is one of prompt, env:VAR, file:PATH or empty.
bool check_pass_source(const std::string &source, std::string &error);

// Reads PATH, asks for its password when it has one (SOURCE) and imports the
// key pair into CTX under ALIAS.  On failure `error` is a full reason line.
// The password read is left in `password` (empty for a file without one).
bool load_key(KRY_Context *ctx, const std::string &path, const std::string &pass_source, const char *alias,
              KeyFile &file, SecretString &password, std::string &error);

// The public values of a key pair and its sizes.
struct PublicKeyInfo {
    uint8_t type = 0;
    std::vector<uint8_t> n, e;        // RSA
    std::vector<uint8_t> p, q, g, y;  // DSA, KCDSA
    uint32_t modulus_bits = 0;        // RSA n; DSA/KCDSA p
    uint32_t q_bits = 0;              // DSA/KCDSA
};

// Reads the public values of a key file's key pair (the password is
// needed: the values are enciphered with the private ones).
bool key_public_info(const KeyFile &file, const SecretString &password, PublicKeyInfo &info,
                     std::string &error);

// kry passwd: re-enciphers a key file under a new password.
int cmd_passwd(int argc, char **argv);

}  // namespace kry_tool

#endif  // KRY_TOOL_KEYFILE_H
