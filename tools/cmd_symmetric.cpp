// kry enc / kry dec: a block cipher over a stream of any length, and
// kry rand: bytes from the library's random generator.
//
// Both stream in fixed chunks, so memory does not grow with the input.
// Ciphertexts match those of OpenSSL's "enc -K HEX -iv HEX" (PKCS #7 padding
// in ECB and CBC, no padding in CFB, OFB and CTR).

#include "cipher_names.h"
#include "cli.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

namespace kry_tool {
namespace {

constexpr std::size_t kChunkSize = 64 * 1024;

void print_cipher_usage(const char *command, std::FILE *out) {
    std::fprintf(out,
                 "usage: kry %s -c CIPHER-MODE (-k HEX | --key-file FILE) [--iv HEX]\n"
                 "               [-in FILE] [-out FILE] [--nopad]\n"
                 "       kry %s -l\n"
                 "\n",
                 command, command);
    std::fputs(
        "Enciphers (enc) or deciphers (dec) a stream of any length in chunks.\n"
        "\n"
        "  -c, --cipher NAME    CIPHER-MODE, without regard to case: AES-128, AES-192,\n"
        "                       AES-256, ARIA-128, ARIA-192, ARIA-256, SEED, DES,\n"
        "                       DES-EDE (two keys), DES-EDE3 (three keys), RC5, BF\n"
        "                       (Blowfish), RC2; with ECB, CBC, CFB (whole-block\n"
        "                       segments; also CFB128 / CFB64), OFB or CTR (not RC2):\n"
        "                       aria-256-cbc, SEED-CTR, DES-EDE3-CBC, BF-CBC\n"
        "  -k, --key HEX        the key in hex; its length must be the cipher's (a key\n"
        "                       on the command line shows in the process list)\n"
        "      --key-file FILE  the key as the raw bytes of FILE\n"
        "      --iv HEX         the IV in hex, one block long; needed by every mode\n"
        "                       but ECB, refused with ECB\n"
        "  -in, --in FILE       input (default: standard input)\n"
        "  -out, --out FILE     output (default: standard output)\n"
        "      --nopad          ECB and CBC: no PKCS #7 padding; the input must then be\n"
        "                       a whole number of blocks.  CFB, OFB and CTR never pad.\n"
        "  -l, --list           list the ciphers with their key and IV lengths\n"
        "\n"
        "The output is byte for byte that of 'openssl enc -e/-d -K HEX -iv HEX\n"
        "[-nopad]' for the ciphers OpenSSL has.  When decryption fails (wrong key,\n"
        "bad padding, truncated ciphertext) an -out file made by this run is\n"
        "removed; what was already written to standard output cannot be taken\n"
        "back, so check the exit status before using it.\n"
        "With --proven only the approved ciphers are available (ARIA and SEED in\n"
        "ECB, CBC, CFB and OFB).\n",
        out);
}

// Owns a BLOCK_CIPHER_UNIT; the unit wipes its key schedule when freed.
class CipherUnit {
public:
    CipherUnit() : unit_(new_BLOCK_CIPHER_UNIT()) {}
    ~CipherUnit() { free_BLOCK_CIPHER_UNIT(unit_); }
    CipherUnit(const CipherUnit &) = delete;
    CipherUnit &operator=(const CipherUnit &) = delete;
    BLOCK_CIPHER_UNIT *get() const { return unit_; }
private:
    BLOCK_CIPHER_UNIT *unit_;
};

std::string plural_bytes(uint64_t n) {
    return std::to_string(n) + (n == 1 ? " byte" : " bytes");
}

// An output file this run created: removed again unless kept.
class OutputFile {
public:
    ~OutputFile() { discard(); }
    bool open(const std::string &path, std::string &error) {
        path_ = path;
        f_ = open_output(path, false, error);
        // Only a regular file is ever removed again (never /dev/null or a
        // pipe given as -out).
        struct stat st {};
        created_ = f_ != nullptr && f_ != stdout && fstat(fileno(f_), &st) == 0 && S_ISREG(st.st_mode);
        return f_ != nullptr;
    }
    std::FILE *get() const { return f_; }
    bool is_stdout() const { return f_ == stdout; }
    // Flushes and closes; false with `error` on a write error.
    bool close(std::string &error) {
        const bool ok = close_output(f_, error);
        f_ = nullptr;
        return ok;
    }
    void keep() { created_ = false; }
    // Closes (if still open) and removes a file this run created.
    void discard() {
        if (f_ != nullptr) {
            std::string ignored;
            close_output(f_, ignored);
            f_ = nullptr;
        }
        if (created_) {
            ::unlink(path_.c_str());
            created_ = false;
        }
    }
private:
    std::string path_;
    std::FILE *f_ = nullptr;
    bool created_ = false;
};

bool write_all(std::FILE *f, const uint8_t *data, std::size_t n, std::string &error) {
    if (n == 0) return true;
    if (std::fwrite(data, 1, n, f) != n) {
        error = std::string("write failed: ") + std::strerror(errno != 0 ? errno : EIO);
        return false;
    }
    return true;
}

// Reads the key from -k HEX or --key-file FILE.  Returns 0, or the exit
// status after reporting.
int read_key(const char *command, const Args &args, SecretBytes &key) {
    const bool hex = args.has("key");
    const bool file = args.has("key-file");
    if (hex && file) return usage_error(command, "give the key either with -k or with --key-file, not both");
    if (!hex && !file) return usage_error(command, "a key is needed: -k HEX or --key-file FILE");
    std::string error;
    if (hex) {
        SecretString text;
        text.str() = args.get("key");
        if (!from_hex(text.str(), key.vec(), error)) return fail(command, "bad hex in the key: " + error);
    } else {
        if (!read_file(args.get("key-file"), key, 1u << 20, error))
            return fail(command, "cannot read the key file: " + error);
    }
    return 0;
}

int run_cipher(const char *command, bool encrypt, int argc, char **argv) {
    Args args;
    std::string error;
    if (!args.parse(argc, argv,
                    {{"cipher", 'c', true},
                     {"key", 'k', true},
                     {"key-file", 0, true},
                     {"iv", 0, true},
                     {"in", 0, true},
                     {"out", 0, true},
                     {"nopad", 0, false},
                     {"list", 'l', false},
                     {"help", 'h', false}},
                    error)) {
        return usage_error(command, error);
    }
    if (args.has("help")) {
        print_cipher_usage(command, stdout);
        return kExitOk;
    }
    if (!args.positional().empty())
        return usage_error(command, "unexpected argument '" + args.positional()[0] + "' (use -in FILE)");
    if (args.has("list")) {
        if (args.has("cipher") || args.has("key") || args.has("key-file"))
            return usage_error(command, "-l takes no other options");
        list_ciphers(stdout);
        return kExitOk;
    }
    if (!args.has("cipher")) return usage_error(command, "a cipher is needed: -c CIPHER-MODE (see -l)");

    const std::string operation = encrypt ? "enc" : "dec";
    CipherChoice choice;
    if (!find_cipher(args.get("cipher"), choice, error)) return fail(operation, error);
    const std::string cipher_name = choice.full_name();
    const bool no_padding = args.has("nopad");
    if (no_padding && choice.mode->stream)
        return fail(operation, "--nopad applies to ECB and CBC only; " + cipher_name + " never pads");

    if (args.has("key-file") && args.get("key-file") == "-" && args.get("in", "-") == "-")
        return usage_error(command, "the key and the input cannot both come from standard input");
    SecretBytes key;
    if (const int status = read_key(command, args, key); status != 0) return status;
    if (key.size() != choice.cipher->key_length) {
        return fail(operation, "the key is " + plural_bytes(key.size()) + "; " + cipher_name + " needs " +
                                   plural_bytes(choice.cipher->key_length));
    }

    std::vector<uint8_t> iv;
    if (choice.mode->needs_iv) {
        if (!args.has("iv")) {
            return fail(operation, cipher_name + " needs an IV: --iv HEX (" +
                                       plural_bytes(choice.cipher->block_length) + ")");
        }
        if (!from_hex(args.get("iv"), iv, error)) return fail(operation, "bad hex in the IV: " + error);
        if (iv.size() != choice.cipher->block_length) {
            return fail(operation, "the IV is " + plural_bytes(iv.size()) + "; " + cipher_name + " needs " +
                                       plural_bytes(choice.cipher->block_length));
        }
    } else if (args.has("iv")) {
        return fail(operation, cipher_name + " takes no IV");
    }

    // Input, and its size when it is a regular file (for the progress bar).
    const std::string in_path = args.get("in", "-");
    const std::string out_path = args.get("out", "-");
    std::FILE *in = open_input(in_path, error);
    if (in == nullptr) return fail(operation, "cannot open the input: " + error);
    struct InputCloser {
        std::FILE *f;
        ~InputCloser() { close_input(f); }
    } in_closer{in};
    uint64_t in_size = 0;
    struct stat in_stat {};
    const bool in_regular = fstat(fileno(in), &in_stat) == 0 && S_ISREG(in_stat.st_mode);
    if (in_regular) in_size = static_cast<uint64_t>(in_stat.st_size);
    if (in_regular && out_path != "-") {
        struct stat out_stat {};
        if (::stat(out_path.c_str(), &out_stat) == 0 && out_stat.st_dev == in_stat.st_dev &&
            out_stat.st_ino == in_stat.st_ino) {
            return fail(operation, "the input and the output are the same file");
        }
    }

    CipherUnit unit;
    if (unit.get() == nullptr) return fail(operation, "out of memory");
    const uint32_t id = choice.identifier(no_padding);
    const uint32_t rc = init_BlockCipher(unit.get(), id, key.data(), iv.empty() ? nullptr : iv.data(),
                                         encrypt ? KRY_ENCRYPT : KRY_DECRYPT);
    key.clear();
    if (rc == 0xFFFFFFFFu) return fail(operation, cipher_name + " is refused in proven mode");
    if (rc != 0) return fail(operation, "cannot set up " + cipher_name + ": " + toolkit_error(rc));

    OutputFile out;
    if (!out.open(out_path, error)) return fail(operation, "cannot open the output: " + error);

    const uint32_t block = choice.cipher->block_length;
    const bool padded_block_mode = !choice.mode->stream && !no_padding;
    std::vector<uint8_t> in_buf(kChunkSize);
    std::vector<uint8_t> out_buf(kChunkSize + 64);
    struct BufferWiper {
        std::vector<uint8_t> &a, &b;
        ~BufferWiper() {
            wipe(a.data(), a.size());
            wipe(b.data(), b.size());
        }
    } wiper{in_buf, out_buf};

    Progress progress(encrypt ? "enc" : "dec", in_regular ? in_size : 0);
    uint64_t total = 0;
    for (;;) {
        const std::size_t got = std::fread(in_buf.data(), 1, in_buf.size(), in);
        if (got > 0) {
            uint32_t out_len = 0;
            const uint32_t urc = update_BlockCipher(unit.get(), out_buf.data(), &out_len, in_buf.data(),
                                                    static_cast<int32_t>(got));
            if (urc != 0) {
                out.discard();
                return fail(operation, std::string(encrypt ? "encryption" : "decryption") +
                                           " failed: " + toolkit_error(urc));
            }
            if (out_len > out_buf.size()) {
                out.discard();
                return fail(operation, "internal error: the cipher wrote past its output buffer");
            }
            if (!write_all(out.get(), out_buf.data(), out_len, error)) {
                out.discard();
                return fail(operation, error);
            }
            total += got;
            progress.update(total);
        }
        if (got < in_buf.size()) {
            if (std::ferror(in)) {
                const std::string reason = std::strerror(errno != 0 ? errno : EIO);
                out.discard();
                return fail(operation, "cannot read the input: " + reason);
            }
            break;
        }
    }
    progress.finish();

    // Length checks the final call would only report as a generic failure.
    if (!choice.mode->stream && total % block != 0 && (no_padding || !encrypt)) {
        out.discard();
        if (encrypt) {
            return fail(operation, "the input is " + plural_bytes(total) + ", not a multiple of the " +
                                       std::to_string(block) + "-byte block (needed with --nopad)");
        }
        return fail(operation, "the ciphertext is " + plural_bytes(total) + ", not a multiple of the " +
                                   std::to_string(block) + "-byte block: truncated or not " + cipher_name +
                                   " ciphertext");
    }
    if (!encrypt && padded_block_mode && total == 0) {
        out.discard();
        return fail(operation, "the ciphertext is empty: a padded " + cipher_name +
                                   " ciphertext holds at least one block (truncated?)");
    }

    uint32_t out_len = 0;
    const uint32_t frc = final_BlockCipher(unit.get(), out_buf.data(), &out_len);
    if (frc != 0) {
        out.discard();
        if (!encrypt && padded_block_mode && frc == 0x01050008u) {
            return fail(operation, "bad padding: wrong key or IV, or a corrupted or truncated ciphertext");
        }
        return fail(operation, std::string(encrypt ? "encryption" : "decryption") +
                                   " could not be finished: " + toolkit_error(frc));
    }
    if (out_len > out_buf.size() || !write_all(out.get(), out_buf.data(), out_len, error)) {
        out.discard();
        return fail(operation, error.empty() ? "internal error: bad final length" : error);
    }
    if (!out.close(error)) {
        out.discard();
        return fail(operation, "cannot write the output: " + error);
    }
    out.keep();
    return kExitOk;
}

void print_rand_usage(std::FILE *out) {
    std::fputs(
        "usage: kry rand N [--hex] [-o FILE]\n"
        "\n"
        "Writes N random bytes from the library's generator (FIPS 186-2 with the\n"
        "process entropy pool): raw, or with --hex as lowercase hex and a newline.\n"
        "N is a decimal count up to 2^40.\n"
        "\n"
        "  --hex             print hex instead of raw bytes\n"
        "  -o, --out FILE    write to FILE (default: standard output)\n",
        out);
}

}  // namespace

int cmd_enc(int argc, char **argv) { return run_cipher("enc", true, argc, argv); }

int cmd_dec(int argc, char **argv) { return run_cipher("dec", false, argc, argv); }

int cmd_rand(int argc, char **argv) {
    Args args;
    std::string error;
    if (!args.parse(argc, argv, {{"hex", 0, false}, {"out", 'o', true}, {"help", 'h', false}}, error))
        return usage_error("rand", error);
    if (args.has("help")) {
        print_rand_usage(stdout);
        return kExitOk;
    }
    if (args.positional().size() != 1) return usage_error("rand", "give one byte count N");
    constexpr uint64_t kMaxBytes = uint64_t{1} << 40;
    uint64_t count = 0;
    const std::string &count_text = args.positional()[0];
    if (!parse_uint(count_text, 0, kMaxBytes, count)) {
        std::string shown;
        for (char c : count_text) shown.push_back(c >= 0x20 && c < 0x7F ? c : '?');
        return fail("rand", "'" + shown + "' is not a byte count (a decimal number from 0 to 2^40)");
    }
    const bool hex = args.has("hex");

    Context ctx;
    if (ctx.status() != 0) return fail("rand", "cannot start the library: " + api_error(ctx.status()));

    OutputFile out;
    if (!out.open(args.get("out", "-"), error)) return fail("rand", "cannot open the output: " + error);
    std::vector<uint8_t> buf(kChunkSize);
    std::string text;
    uint64_t left = count;
    while (left > 0) {
        const uint32_t n = static_cast<uint32_t>(left < buf.size() ? left : buf.size());
        const uint32_t rc = KRY_RandomBytes(ctx.get(), buf.data(), n);
        if (rc != KRY_R_OK) {
            wipe(buf.data(), buf.size());
            out.discard();
            return fail("rand", "the random generator failed: " + api_error(rc));
        }
        bool ok;
        if (hex) {
            text = to_hex(buf.data(), n);
            ok = write_all(out.get(), reinterpret_cast<const uint8_t *>(text.data()), text.size(), error);
            wipe(text.data(), text.size());
        } else {
            ok = write_all(out.get(), buf.data(), n, error);
        }
        if (!ok) {
            wipe(buf.data(), buf.size());
            out.discard();
            return fail("rand", error);
        }
        left -= n;
    }
    wipe(buf.data(), buf.size());
    if (hex && !write_all(out.get(), reinterpret_cast<const uint8_t *>("\n"), 1, error)) {
        out.discard();
        return fail("rand", error);
    }
    if (!out.close(error)) {
        out.discard();
        return fail("rand", "cannot write the output: " + error);
    }
    out.keep();
    return kExitOk;
}

}  // namespace kry_tool
