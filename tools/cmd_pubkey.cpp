// kry genkey, sign, verify, encrypt, decrypt, keyinfo and passwd: key pairs
// kept in kry key files (keyfile.h) and used through the KRY_ context API.

#include "keyfile.h"

#include <algorithm>
#include <cstring>

namespace kry_tool {
namespace {

constexpr const char *kAlias = "key";
constexpr std::size_t kChunkSize = 64 * 1024;
constexpr uint32_t kExportBuffer = 64 * 1024;  // an 8192-bit RSA key exports in under 6 KiB
constexpr uint32_t kSignatureBuffer = 2048;    // an 8192-bit RSA signature is 1024 bytes
constexpr std::size_t kRsaInputLimit = 4096;

const char *const kPassHelp =
    "  --pass SOURCE      where the key file's password comes from: prompt (the\n"
    "                     default on a terminal), env:VAR or file:PATH (its first\n"
    "                     line); a password written on the command line is refused\n";

bool wants_help(int argc, char **argv) {
    for (int i = 0; i < argc; ++i) {
        if (std::strcmp(argv[i], "--") == 0) return false;
        if (std::strcmp(argv[i], "-h") == 0 || std::strcmp(argv[i], "--help") == 0) return true;
    }
    return false;
}

// KRY_SIGNVERIFY_free releases what the object holds but keeps its small
// record allocated (the API's documented behaviour).  The tool makes at most
// one object per run; its record is parked here so that it stays reachable
// and leak checkers do not report it.
KRY_SIGNVERIFY *volatile g_kept_record = nullptr;

// A KRY_SIGNVERIFY owner.
class SignVerify {
public:
    explicit SignVerify(KRY_Context *ctx) : ctx_(ctx) { status_ = KRY_SIGNVERIFY_new(ctx_, &sv_); }
    ~SignVerify() {
        if (sv_ != nullptr) {
            KRY_SIGNVERIFY_free(ctx_, sv_);
            g_kept_record = sv_;
        }
    }
    SignVerify(const SignVerify &) = delete;
    SignVerify &operator=(const SignVerify &) = delete;
    uint32_t status() const { return status_; }
    KRY_SIGNVERIFY *get() const { return sv_; }
private:
    KRY_Context *ctx_;
    KRY_SIGNVERIFY *sv_ = nullptr;
    uint32_t status_ = 0;
};

// The context every command needs; reports its failure under `op`.
bool context_ok(const Context &ctx, const char *op, int &rc) {
    if (ctx.status() != 0) {
        rc = fail(op, "the library could not start: " + api_error(ctx.status()));
        return false;
    }
    return true;
}

// ---- genkey -------------------------------------------------------------------

void print_genkey_usage(std::FILE *out) {
    std::fputs(
        "usage: kry genkey rsa|dsa|kcdsa [options] -o FILE\n"
        "\n"
        "Generates a key pair and writes it, enciphered under a password, to FILE\n"
        "(created with mode 0600).\n"
        "\n"
        "options:\n"
        "  -o, --out FILE     the key file to write (required)\n"
        "  --bits N           rsa: modulus bits, 512..8192, a multiple of 8 (default 2048)\n"
        "                     dsa: bits of p, 512..1024, a multiple of 64 (default 1024)\n"
        "  --pbits N          kcdsa: bits of p, 1024..2048 in steps of 256 (default 2048)\n"
        "  --qbits N          kcdsa: bits of q, 160..256 in steps of 32 (default 224)\n"
        "  --lcm              rsa: d = e^-1 mod lcm(p-1, q-1) (default: mod (p-1)(q-1))\n"
        "  --gen G            dsa: domain parameter generator sha1 (default), seed or aria\n",
        out);
    std::fputs(kPassHelp, out);
    std::fputs(
        "                     (asked twice at the prompt)\n"
        "  --no-pass          do not protect the key with a password (anyone who can read\n"
        "                     the file can use the key)\n"
        "  -h, --help         print this text\n",
        out);
}

}  // namespace

int cmd_genkey(int argc, char **argv) {
    if (wants_help(argc, argv)) {
        print_genkey_usage(stdout);
        return kExitOk;
    }
    Args args;
    std::string error;
    if (!args.parse(argc, argv,
                    {{"out", 'o', true},
                     {"bits", 0, true},
                     {"pbits", 0, true},
                     {"qbits", 0, true},
                     {"lcm", 0, false},
                     {"gen", 0, true},
                     {"pass", 0, true},
                     {"no-pass", 0, false}},
                    error))
        return usage_error("genkey", error);
    if (args.positional().size() != 1) return usage_error("genkey", "give one key type: rsa, dsa or kcdsa");
    const std::string type_word = args.positional()[0];
    uint8_t type;
    if (type_word == "rsa" || type_word == "RSA") type = KRY_KEYPAIR_RSA;
    else if (type_word == "dsa" || type_word == "DSA") type = KRY_KEYPAIR_DSA;
    else if (type_word == "kcdsa" || type_word == "KCDSA") type = KRY_KEYPAIR_KCDSA;
    else return usage_error("genkey", "unknown key type '" + type_word + "' (rsa, dsa or kcdsa)");
    if (!args.has("out")) return usage_error("genkey", "give the key file to write with -o FILE");
    const std::string out_path = args.get("out");
    if (out_path == "-") return usage_error("genkey", "key files are not written to standard output");

    uint64_t bits = type == KRY_KEYPAIR_RSA ? 2048 : 1024, pbits = 2048, qbits = 224;
    if (args.has("bits")) {
        if (type == KRY_KEYPAIR_KCDSA) return usage_error("genkey", "kcdsa takes --pbits and --qbits, not --bits");
        if (type == KRY_KEYPAIR_RSA &&
            (!parse_uint(args.get("bits"), 512, 8192, bits) || bits % 8 != 0))
            return usage_error("genkey", "--bits for rsa must be a multiple of 8 from 512 to 8192");
        if (type == KRY_KEYPAIR_DSA &&
            (!parse_uint(args.get("bits"), 512, 1024, bits) || bits % 64 != 0))
            return usage_error("genkey", "--bits for dsa must be a multiple of 64 from 512 to 1024");
    }
    if ((args.has("pbits") || args.has("qbits")) && type != KRY_KEYPAIR_KCDSA)
        return usage_error("genkey", "--pbits and --qbits are for kcdsa keys");
    if (args.has("pbits") && (!parse_uint(args.get("pbits"), 1024, 2048, pbits) || pbits % 256 != 0))
        return usage_error("genkey", "--pbits must be 1024, 1280, 1536, 1792 or 2048");
    if (args.has("qbits") && (!parse_uint(args.get("qbits"), 160, 256, qbits) || qbits % 32 != 0))
        return usage_error("genkey", "--qbits must be 160, 192, 224 or 256");
    if (args.has("lcm") && type != KRY_KEYPAIR_RSA) return usage_error("genkey", "--lcm is for rsa keys");
    uint32_t generator = KRY_SHA1;
    if (args.has("gen")) {
        if (type != KRY_KEYPAIR_DSA) return usage_error("genkey", "--gen is for dsa keys");
        const std::string gen = args.get("gen");
        if (gen == "sha1") generator = KRY_SHA1;
        else if (gen == "seed") generator = KRY_SEED;
        else if (gen == "aria") generator = KRY_ARIA_128;
        else return usage_error("genkey", "unknown --gen '" + gen + "' (sha1, seed or aria)");
    }
    if (args.has("no-pass") && args.has("pass")) return usage_error("genkey", "give --pass or --no-pass, not both");
    const std::string pass_source = args.get("pass");
    if (!check_pass_source(pass_source, error)) return fail("genkey", error);

    SecretString password;
    if (!args.has("no-pass") && !get_password(pass_source, "Password for the new key: ", true, password, error))
        return fail("genkey", error);

    Context ctx;
    int rc = 0;
    if (!context_ok(ctx, "genkey", rc)) return rc;
    uint32_t r;
    std::string label;
    {
        if (type == KRY_KEYPAIR_RSA) {
            label = "Generating a " + std::to_string(bits) + "-bit RSA key";
            Spinner spin(label);
            r = KRY_RSACreate(ctx.get(), kAlias, static_cast<uint32_t>(bits), args.has("lcm") ? 2u : 1u);
        } else if (type == KRY_KEYPAIR_DSA) {
            label = "Generating a " + std::to_string(bits) + "-bit DSA key";
            Spinner spin(label);
            r = KRY_DSACreate(ctx.get(), generator, kAlias, static_cast<uint32_t>(bits));
        } else {
            label = "Generating a " + std::to_string(pbits) + "/" + std::to_string(qbits) + "-bit KCDSA key";
            Spinner spin(label);
            r = KRY_KCDSACreate(ctx.get(), kAlias, static_cast<uint32_t>(pbits), static_cast<uint32_t>(qbits));
        }
    }
    if (r != 0) {
        if (g.proven && (r == KRY_R_PROVEN_REFUSED || type == KRY_KEYPAIR_KCDSA))
            return fail("genkey", std::string(key_type_name(type)) + " key generation refused in proven mode");
        return fail("genkey", std::string(key_type_name(type)) + " key generation failed: " + api_error(r));
    }
    KeyFile file;
    file.type = type;
    file.password = !args.has("no-pass");
    file.data.resize(kExportBuffer);
    uint32_t length = kExportBuffer;
    r = KRY_KeyPairExport(ctx.get(), kAlias, file.data.data(), kExportBuffer, &length, password.c_str());
    if (r != 0 || length > kExportBuffer) return fail("genkey", "the key could not be exported: " + api_error(r));
    file.data.resize(length);
    const std::vector<uint8_t> image = build_key_file(file);
    if (image.empty()) return fail("genkey", "the key file's checksum could not be computed");
    if (!write_file(out_path, image.data(), image.size(), true, error)) return fail("genkey", error);
    return kExitOk;
}

// ---- sign / verify ------------------------------------------------------------

namespace {

void print_sign_usage(std::FILE *out, bool verify) {
    if (verify)
        std::fputs("usage: kry verify -k KEYFILE [--pass SOURCE] [-a sha1|has160] FILE SIG\n"
                   "\n"
                   "Checks the signature in SIG over FILE ('-': standard input).  Prints\n"
                   "\"Signature OK\" and exits 0 when it verifies; exits 1 when it does not.\n",
                   out);
    else
        std::fputs("usage: kry sign -k KEYFILE [--pass SOURCE] [-a sha1|has160] FILE [-o SIG]\n"
                   "\n"
                   "Signs FILE ('-': standard input) and writes the signature to SIG\n"
                   "(standard output when -o is not given).\n",
                   out);
    std::fputs("\n"
               "options:\n"
               "  -k, --key KEYFILE  the key file (RSA, DSA or KCDSA)\n",
               out);
    std::fputs(kPassHelp, out);
    std::fputs("  -a, --digest ALG   sha1 (default for RSA and DSA) or has160; KCDSA always\n"
               "                     hashes with has160\n",
               out);
    if (!verify) std::fputs("  -o, --out SIG      where to write the signature\n", out);
    std::fputs("  -h, --help         print this text\n"
               "\n"
               "RSA signatures are as long as the modulus; DSA and KCDSA signatures are the\n"
               "byte string 30 L 30 rlen 00 r 30 slen s.\n",
               out);
}

// Digest number of the signing calls for -a, checked against the key type.
bool sign_digest(const std::string &name, uint8_t type, uint32_t &digest, std::string &error) {
    if (name.empty()) {
        digest = type == KRY_KEYPAIR_KCDSA ? KRY_SIGN_HAS160 : KRY_SIGN_SHA1;
        return true;
    }
    if (name == "sha1" || name == "SHA1" || name == "sha-1" || name == "SHA-1") {
        digest = KRY_SIGN_SHA1;
    } else if (name == "has160" || name == "HAS160" || name == "has-160" || name == "HAS-160") {
        digest = KRY_SIGN_HAS160;
    } else {
        error = "unknown signing digest '" + name + "' (sha1 or has160)";
        return false;
    }
    if (type == KRY_KEYPAIR_KCDSA && digest != KRY_SIGN_HAS160) {
        error = "KCDSA signatures always use has160";
        return false;
    }
    return true;
}

// Checks the DSA/KCDSA signature string 30 L 30 rl r 30 sl s.
bool well_formed_dsa_signature(const std::vector<uint8_t> &s) {
    const std::size_t n = s.size();
    if (n < 8 || s[0] != 0x30 || s[1] != n - 2 || s[2] != 0x30) return false;
    const std::size_t rl = s[3];
    if (rl == 0 || 4 + rl + 2 > n || s[4 + rl] != 0x30) return false;
    const std::size_t sl = s[5 + rl];
    return sl != 0 && 6 + rl + sl == n;
}

// Runs FILE through Update; false with `error` on a read or library error.
template <class Update>
bool stream_file(const std::string &path, Update update, std::string &error) {
    std::FILE *in = open_input(path, error);
    if (in == nullptr) return false;
    std::vector<uint8_t> buffer(kChunkSize);
    bool ok = true;
    for (;;) {
        const std::size_t n = std::fread(buffer.data(), 1, buffer.size(), in);
        if (n > 0) {
            const uint32_t r = update(buffer.data(), static_cast<uint32_t>(n));
            if (r != 0) {
                error = api_error(r);
                ok = false;
                break;
            }
        }
        if (n < buffer.size()) {
            if (std::ferror(in)) {
                error = (path == "-" ? std::string("standard input") : path) + ": read error";
                ok = false;
            }
            break;
        }
    }
    close_input(in);
    return ok;
}

int sign_or_verify(int argc, char **argv, bool verify) {
    const char *op = verify ? "verify" : "sign";
    if (wants_help(argc, argv)) {
        print_sign_usage(stdout, verify);
        return kExitOk;
    }
    Args args;
    std::string error;
    if (verify) {
        if (!args.parse(argc, argv, {{"key", 'k', true}, {"pass", 0, true}, {"digest", 'a', true}}, error))
            return usage_error(op, error);
    } else if (!args.parse(argc, argv,
                           {{"key", 'k', true}, {"pass", 0, true}, {"digest", 'a', true}, {"out", 'o', true}},
                           error)) {
        return usage_error(op, error);
    }
    if (!args.has("key")) return usage_error(op, "give the key file with -k KEYFILE");
    const std::size_t want = verify ? 2 : 1;
    if (args.positional().size() != want)
        return usage_error(op, verify ? "give the signed FILE and the SIG file" : "give one FILE to sign");
    const std::string data_path = args.positional()[0];
    std::vector<uint8_t> signature;
    if (verify && !read_file(args.positional()[1], signature, 65536, error)) return fail(op, error);

    Context ctx;
    int rc = 0;
    if (!context_ok(ctx, op, rc)) return rc;
    KeyFile file;
    SecretString password;
    if (!load_key(ctx.get(), args.get("key"), args.get("pass"), kAlias, file, password, error))
        return fail(op, error);
    uint32_t digest = 0;
    if (!sign_digest(args.get("digest"), file.type, digest, error)) return fail(op, error);

    if (verify) {
        // Signatures of the wrong shape get their own message before the
        // library judges the value.
        if (file.type == KRY_KEYPAIR_RSA) {
            PublicKeyInfo info;
            if (!key_public_info(file, password, info, error)) return fail(op, error);
            const std::size_t k = (info.modulus_bits + 7) / 8;
            if (signature.size() != k)
                return fail(op, "the signature is " + std::to_string(signature.size()) +
                                    " bytes; a signature by this key is " + std::to_string(k) +
                                    " bytes (truncated, or not an RSA signature by this key)");
        } else if (!well_formed_dsa_signature(signature)) {
            return fail(op, std::string("malformed signature: not a ") + key_type_name(file.type) +
                                " signature string (truncated or corrupted)");
        }
    }
    password.clear();

    SignVerify sv(ctx.get());
    if (sv.status() != 0) return fail(op, api_error(sv.status()));
    const auto refused = [&](uint32_t r) {
        return g.proven && (r == KRY_R_SIGN || r == KRY_R_VERIFY);
    };
    uint32_t r = verify ? KRY_VerifyInit(ctx.get(), sv.get(), digest, kAlias)
                        : KRY_SignInit(ctx.get(), sv.get(), digest, kAlias);
    if (r != 0) {
        if (refused(r))
            return fail(op, std::string(key_type_name(file.type)) + " signatures are refused in proven mode");
        return fail(op, std::string("could not start: ") + api_error(r));
    }
    KRY_Context *c = ctx.get();
    KRY_SIGNVERIFY *s = sv.get();
    const bool streamed =
        verify ? stream_file(data_path, [&](const uint8_t *d, uint32_t n) { return KRY_VerifyUpdate(c, s, d, n); },
                             error)
               : stream_file(data_path, [&](const uint8_t *d, uint32_t n) { return KRY_SignUpdate(c, s, d, n); },
                             error);
    if (!streamed) return fail(op, error);

    if (verify) {
        r = KRY_VerifyFinal(c, s, signature.data(), static_cast<uint32_t>(signature.size()));
        if (r == 0) {
            std::fputs("Signature OK\n", stdout);
            return kExitOk;
        }
        if (refused(r))
            return fail(op, std::string(key_type_name(file.type)) + " signatures are refused in proven mode");
        if (r == KRY_R_BAD_SIGNATURE || r == KRY_R_VERIFY) return fail(op, "the signature does not verify");
        return fail(op, api_error(r));
    }
    std::vector<uint8_t> out(kSignatureBuffer);
    uint32_t length = 0;
    r = KRY_SignFinal(c, s, out.data(), kSignatureBuffer, &length);
    if (r != 0) {
        if (refused(r))
            return fail(op, std::string(key_type_name(file.type)) + " signing refused in proven mode");
        return fail(op, "signing failed: " + api_error(r));
    }
    if (length > out.size()) return fail(op, "signing failed: the library reported an impossible length");
    if (!write_file(args.get("out", "-"), out.data(), length, false, error)) return fail(op, error);
    return kExitOk;
}

}  // namespace

int cmd_sign(int argc, char **argv) { return sign_or_verify(argc, argv, false); }
int cmd_verify(int argc, char **argv) { return sign_or_verify(argc, argv, true); }

// ---- encrypt / decrypt --------------------------------------------------------

namespace {

void print_rsa_usage(std::FILE *out, bool decrypt) {
    std::fputs(decrypt ? "usage: kry decrypt -k KEYFILE [--pass SOURCE] [--oaep | --pkcs1] [-in F] [-out F]\n"
                         "\n"
                         "Decrypts one RSA ciphertext (exactly as long as the modulus).\n"
                       : "usage: kry encrypt -k KEYFILE [--pass SOURCE] [--oaep | --pkcs1] [-in F] [-out F]\n"
                         "\n"
                         "Encrypts one short message (a key, say) to an RSA key: at most k - 42 bytes\n"
                         "with OAEP and k - 11 with PKCS #1 v1.5, k the modulus length in bytes.\n",
               out);
    std::fputs("\n"
               "options:\n"
               "  -k, --key KEYFILE  the RSA key file\n",
               out);
    std::fputs(kPassHelp, out);
    std::fputs("  --oaep             RSAES-OAEP (PKCS #1 v2.1, SHA-1), the default\n"
               "  --pkcs1            RSAES-PKCS1-v1_5 (refused in proven mode)\n"
               "  -in F              input ('-' or absent: standard input)\n"
               "  -out F             output ('-' or absent: standard output)\n"
               "  -h, --help         print this text\n",
               out);
}

int rsa_command(int argc, char **argv, bool decrypt) {
    const char *op = decrypt ? "decrypt" : "encrypt";
    if (wants_help(argc, argv)) {
        print_rsa_usage(stdout, decrypt);
        return kExitOk;
    }
    Args args;
    std::string error;
    if (!args.parse(argc, argv,
                    {{"key", 'k', true},
                     {"pass", 0, true},
                     {"oaep", 0, false},
                     {"pkcs1", 0, false},
                     {"in", 0, true},
                     {"out", 0, true}},
                    error))
        return usage_error(op, error);
    if (!args.has("key")) return usage_error(op, "give the key file with -k KEYFILE");
    if (!args.positional().empty()) return usage_error(op, "unexpected argument '" + args.positional()[0] + "'");
    if (args.has("oaep") && args.has("pkcs1")) return usage_error(op, "give --oaep or --pkcs1, not both");
    const bool pkcs1 = args.has("pkcs1");
    const uint32_t encoding = pkcs1 ? KRY_RSAENC_PKCS1_V15 : KRY_RSAENC_OAEP_V21;
    const char *encoding_name = pkcs1 ? "PKCS #1 v1.5" : "OAEP";

    Context ctx;
    int rc = 0;
    if (!context_ok(ctx, op, rc)) return rc;
    KeyFile file;
    SecretString password;
    if (!load_key(ctx.get(), args.get("key"), args.get("pass"), kAlias, file, password, error))
        return fail(op, error);
    if (file.type != KRY_KEYPAIR_RSA)
        return fail(op, std::string("the key is a ") + key_type_name(file.type) + " key; " + op +
                            " needs an RSA key");
    PublicKeyInfo info;
    if (!key_public_info(file, password, info, error)) return fail(op, error);
    password.clear();
    const std::size_t k = (info.modulus_bits + 7) / 8;

    SecretBytes input;
    if (!read_file(args.get("in", "-"), input, kRsaInputLimit, error)) return fail(op, error);
    if (decrypt) {
        if (input.size() != k)
            return fail(op, "the ciphertext is " + std::to_string(input.size()) + " bytes; this key's are " +
                                std::to_string(k) + " (truncated or corrupted)");
    } else {
        // The library's decryption refuses an empty message, so none is made.
        if (input.empty()) return fail(op, "nothing to encrypt: the input is empty");
        const std::size_t overhead = pkcs1 ? 11 : 42;
        const std::size_t max = k > overhead ? k - overhead : 0;
        if (input.size() > max)
            return fail(op, "message too long: at most " + std::to_string(max) +
                                " bytes for this key and encoding");
    }
    SecretBytes output(k + 16);
    uint32_t length = 0;
    const uint32_t r =
        decrypt ? KRY_RSA_pri_decrypt(ctx.get(), input.data(), static_cast<uint32_t>(input.size()), output.data(),
                                      static_cast<uint32_t>(output.size()), &length, kAlias, encoding)
                : KRY_RSA_pub_encrypt(ctx.get(), input.data(), static_cast<uint32_t>(input.size()), output.data(),
                                      static_cast<uint32_t>(output.size()), &length, kAlias, encoding);
    if (r != 0) {
        if (g.proven && pkcs1)
            return fail(op, std::string("RSA ") + encoding_name + (decrypt ? " decryption" : " encryption") +
                                " is refused in proven mode");
        if (r == KRY_R_NOT_RSA) return fail(op, std::string(op) + " needs an RSA key");
        if (decrypt)
            return fail(op, std::string("decryption failed: the ciphertext is corrupted, or was not made for "
                                        "this key with ") + encoding_name);
        return fail(op, "encryption failed: " + api_error(r));
    }
    if (length > output.size()) return fail(op, "the library reported an impossible length");
    if (!decrypt && length < k) {
        // The library writes c without leading zero bytes; a ciphertext file
        // always holds k bytes (I2OSP, RFC 8017 section 4.1), as OpenSSL
        // expects and as decrypt checks.
        std::copy_backward(output.data(), output.data() + length, output.data() + k);
        std::fill(output.data(), output.data() + (k - length), uint8_t{0});
        length = static_cast<uint32_t>(k);
    }
    if (!write_file(args.get("out", "-"), output.data(), length, false, error)) return fail(op, error);
    return kExitOk;
}

}  // namespace

int cmd_encrypt(int argc, char **argv) { return rsa_command(argc, argv, false); }
int cmd_decrypt(int argc, char **argv) { return rsa_command(argc, argv, true); }

// ---- keyinfo --------------------------------------------------------------------

int cmd_keyinfo(int argc, char **argv) {
    if (wants_help(argc, argv)) {
        std::fputs("usage: kry keyinfo [-k] KEYFILE [--pass SOURCE]\n"
                   "\n"
                   "Prints a key file's type, sizes and public values in hex (RSA n and e;\n"
                   "DSA and KCDSA p, q, g and y).  Private values are never printed.\n"
                   "\n"
                   "options:\n"
                   "  -k, --key KEYFILE  the key file\n",
                   stdout);
        std::fputs(kPassHelp, stdout);
        std::fputs("  -h, --help         print this text\n", stdout);
        return kExitOk;
    }
    Args args;
    std::string error;
    if (!args.parse(argc, argv, {{"key", 'k', true}, {"pass", 0, true}}, error))
        return usage_error("keyinfo", error);
    std::string path;
    if (args.has("key")) {
        if (!args.positional().empty()) return usage_error("keyinfo", "give the key file once");
        path = args.get("key");
    } else {
        if (args.positional().size() != 1) return usage_error("keyinfo", "give one key file");
        path = args.positional()[0];
    }
    Context ctx;
    int rc = 0;
    if (!context_ok(ctx, "keyinfo", rc)) return rc;
    KeyFile file;
    SecretString password;
    if (!load_key(ctx.get(), path, args.get("pass"), kAlias, file, password, error)) return fail("keyinfo", error);
    PublicKeyInfo info;
    if (!key_public_info(file, password, info, error)) return fail("keyinfo", error);
    password.clear();
    std::printf("type: %s\n", key_type_name(info.type));
    std::printf("protected: %s\n", file.password ? "yes (password)" : "no");
    if (info.type == KRY_KEYPAIR_RSA) {
        std::printf("modulus bits: %u\n", info.modulus_bits);
        std::printf("n: %s\n", to_hex(info.n).c_str());
        std::printf("e: %s\n", to_hex(info.e).c_str());
    } else {
        std::printf("p bits: %u\n", info.modulus_bits);
        std::printf("q bits: %u\n", info.q_bits);
        std::printf("p: %s\n", to_hex(info.p).c_str());
        std::printf("q: %s\n", to_hex(info.q).c_str());
        std::printf("g: %s\n", to_hex(info.g).c_str());
        std::printf("y: %s\n", to_hex(info.y).c_str());
    }
    return kExitOk;
}

// ---- passwd -----------------------------------------------------------------------

int cmd_passwd(int argc, char **argv) {
    if (wants_help(argc, argv)) {
        std::fputs("usage: kry passwd -k KEYFILE [--pass SOURCE] [--new-pass SOURCE | --no-pass] -o OUT\n"
                   "\n"
                   "Writes the key in KEYFILE to OUT (mode 0600) enciphered under a new password.\n"
                   "OUT may be KEYFILE itself.\n"
                   "\n"
                   "options:\n"
                   "  -k, --key KEYFILE  the key file\n",
                   stdout);
        std::fputs(kPassHelp, stdout);
        std::fputs("  --new-pass SOURCE  the new password, from the same sources (asked twice at\n"
                   "                     the prompt)\n"
                   "  --no-pass          write the key without password protection\n"
                   "  -o, --out OUT      the key file to write\n"
                   "  -h, --help         print this text\n",
                   stdout);
        return kExitOk;
    }
    Args args;
    std::string error;
    if (!args.parse(argc, argv,
                    {{"key", 'k', true}, {"pass", 0, true}, {"new-pass", 0, true}, {"no-pass", 0, false},
                     {"out", 'o', true}},
                    error))
        return usage_error("passwd", error);
    if (!args.has("key")) return usage_error("passwd", "give the key file with -k KEYFILE");
    if (!args.has("out")) return usage_error("passwd", "give the key file to write with -o OUT");
    if (!args.positional().empty()) return usage_error("passwd", "unexpected argument '" + args.positional()[0] + "'");
    if (args.has("no-pass") && args.has("new-pass"))
        return usage_error("passwd", "give --new-pass or --no-pass, not both");
    const std::string out_path = args.get("out");
    if (out_path == "-") return usage_error("passwd", "key files are not written to standard output");
    const std::string new_source = args.get("new-pass");
    if (!check_pass_source(new_source, error)) return fail("passwd", error);

    Context ctx;
    int rc = 0;
    if (!context_ok(ctx, "passwd", rc)) return rc;
    KeyFile file;
    SecretString old_password;
    if (!load_key(ctx.get(), args.get("key"), args.get("pass"), kAlias, file, old_password, error))
        return fail("passwd", error);
    old_password.clear();
    SecretString new_password;
    if (!args.has("no-pass") && !get_password(new_source, "New password: ", true, new_password, error))
        return fail("passwd", error);
    KeyFile out;
    out.type = file.type;
    out.password = !args.has("no-pass");
    out.data.resize(kExportBuffer);
    uint32_t length = kExportBuffer;
    const uint32_t r =
        KRY_KeyPairExport(ctx.get(), kAlias, out.data.data(), kExportBuffer, &length, new_password.c_str());
    if (r != 0 || length > kExportBuffer) return fail("passwd", "the key could not be exported: " + api_error(r));
    out.data.resize(length);
    const std::vector<uint8_t> image = build_key_file(out);
    if (image.empty()) return fail("passwd", "the key file's checksum could not be computed");
    if (!write_file(out_path, image.data(), image.size(), true, error)) return fail("passwd", error);
    return kExitOk;
}

}  // namespace kry_tool
