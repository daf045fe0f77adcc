// kry - command-line front end to the kry library.
//
// Every command is in its own file (cmd_*.cpp); this file picks the
// command, sets the library's mode and turns stray exceptions into a
// failure line.  Exit status: 0 on success, 1 when an operation failed (or
// a signature did not verify), 2 on a usage error.

#include "cli.h"
#include "keyfile.h"

#include <cerrno>
#include <cstring>
#include <exception>

namespace kry_tool {
namespace {

struct Command {
    const char *name;
    int (*run)(int, char **);
    const char *summary;
};

constexpr Command kCommands[] = {
    {"dgst", cmd_dgst, "message digest of files (SHA-1/2, MD5, HAS-160, MDC-2)"},
    {"hmac", cmd_hmac, "HMAC of files under a key"},
    {"enc", cmd_enc, "encipher with a block cipher (AES, ARIA, SEED, DES, ...)"},
    {"dec", cmd_dec, "decipher with a block cipher"},
    {"rand", cmd_rand, "random bytes"},
    {"genkey", cmd_genkey, "generate an RSA, DSA or KCDSA key pair into a key file"},
    {"sign", cmd_sign, "sign a file with a key file"},
    {"verify", cmd_verify, "verify a signature with a key file"},
    {"encrypt", cmd_encrypt, "RSA-encrypt a short message (OAEP or PKCS #1 v1.5)"},
    {"decrypt", cmd_decrypt, "RSA-decrypt a message"},
    {"keyinfo", cmd_keyinfo, "show the type, sizes and public values of a key file"},
    {"passwd", cmd_passwd, "re-encipher a key file under a new password"},
    {"selftest", cmd_selftest, "run the library's power-up self-test"},
    {"kat", cmd_kat, "run the known-answer tests of every algorithm"},
    {"speed", cmd_speed, "measure throughput per algorithm"},
    {"version", nullptr, "print the version"},
    {"help", nullptr, "print this text"},
};

void print_usage(std::FILE *out) {
    std::fputs("usage: kry [--proven] COMMAND [OPTIONS] [ARGS]\n\ncommands:\n", out);
    for (const Command &c : kCommands) std::fprintf(out, "  %-9s %s\n", c.name, c.summary);
    std::fputs(
        "\n"
        "--proven keeps the library in its proven (approved-only) mode; without it\n"
        "the tool leaves proven mode at start so that every algorithm is available.\n"
        "'kry COMMAND --help' describes each command.\n",
        out);
}

int run(int argc, char **argv) {
    // Global options may stand anywhere before a "--".
    std::vector<char *> rest;
    bool options_done = false;
    for (int i = 1; i < argc; ++i) {
        const std::string_view arg = argv[i];
        if (!options_done && arg == "--") options_done = true;
        if (!options_done && arg == "--proven") {
            g.proven = true;
            continue;
        }
        rest.push_back(argv[i]);
    }
    rest.push_back(nullptr);
    const int n = static_cast<int>(rest.size()) - 1;

    if (!g.proven) {
        // Leave proven mode in the toolkit and in the context layer so that
        // every algorithm can be used.
        ChangeNonProvenMode();
        KRY_ChangeNonProvenMode();
    }

    if (n == 0) {
        print_usage(stdout);
        return kExitOk;
    }
    const std::string_view name = rest[0];
    if (name == "help" || name == "-h" || name == "--help") {
        print_usage(stdout);
        return kExitOk;
    }
    if (name == "version" || name == "--version") {
        if (n > 1) return usage_error("version", "takes no arguments");
        const char *version = get_CryptoVersion();
        std::printf("kry %s\n", version != nullptr ? version : "(unknown)");
        std::printf("mode: %s\n", IsProven() != 0 ? "proven" : "non-proven");
        return kExitOk;
    }
    for (const Command &c : kCommands) {
        if (c.run != nullptr && name == c.name) return c.run(n - 1, rest.data() + 1);
    }
    std::fprintf(stderr, "kry: unknown command '%.*s'\nTry 'kry help' for the list of commands.\n",
                 static_cast<int>(name.size()), name.data());
    return kExitUsage;
}

}  // namespace
}  // namespace kry_tool

int main(int argc, char **argv) {
    using namespace kry_tool;
    int status = kExitFailure;
    try {
        status = run(argc, argv);
    } catch (const std::exception &e) {
        std::fprintf(stderr, "kry: %s\n", e.what());
        return kExitFailure;
    } catch (...) {
        std::fprintf(stderr, "kry: unexpected failure\n");
        return kExitFailure;
    }
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
        std::fprintf(stderr, "kry: write error: %s\n", std::strerror(errno));
        return kExitFailure;
    }
    return status;
}
