// kry dgst: message digests of files, like sha256sum.

#include "cli.h"

#include <cctype>
#include <cerrno>
#include <cstring>

namespace kry_tool {
namespace {

constexpr std::size_t kChunkSize = 64 * 1024;

// Every digest the library registers, in listing order.
constexpr uint32_t kAlgorithms[] = {
    KRY_SHA1, KRY_SHA224, KRY_SHA256, KRY_SHA384,
    KRY_SHA512, KRY_MD5, KRY_HAS160, KRY_MDC2,
};

void print_dgst_usage(std::FILE *out) {
    std::fputs(
        "usage: kry COMMAND [ARGS]\n"
        "\n"
        "commands:\n"
        "  dgst -a ALG [FILE...]  print the ALG digest of each FILE (standard input\n"
        "                         when no FILE is given or FILE is '-'), one\n"
        "                         'HEX  NAME' line per file\n"
        "  dgst -l                list the digest algorithms and their lengths\n"
        "  version                print the toolkit version\n"
        "  help                   print this text\n"
        "\n"
        "ALG is matched without regard to case; a hyphen between letters and\n"
        "digits is accepted (sha256, SHA-256, has-160, MDC-2).\n",
        out);
}

// Drops a hyphen that stands between a letter and a digit ("SHA-256" ->
// "SHA256"); other hyphens stay and make the lookup fail.
std::string normalise_name(std::string_view name) {
    std::string out;
    out.reserve(name.size());
    for (std::size_t i = 0; i < name.size(); ++i) {
        const char c = name[i];
        if (c == '-' && i > 0 && i + 1 < name.size() &&
            std::isalpha(static_cast<unsigned char>(name[i - 1])) &&
            std::isdigit(static_cast<unsigned char>(name[i + 1]))) {
            continue;
        }
        out.push_back(c);
    }
    return out;
}

// Returns the identifier for a user-supplied name, or 0 when there is none.
uint32_t lookup_algorithm(std::string_view name) {
    const std::string key = normalise_name(name);
    if (key.empty() || key.find('\0') != std::string::npos) return 0;
    const uint32_t id = get_DigestAlg_ID_by_Name(key.c_str());
    if (id == 0xFFFFFFFFu || id == 0xFFFFFFFEu) return 0;
    return id;
}

// Prints "HEX  NAME" the way sha256sum does: a name holding a backslash or
// a newline is escaped and the line is marked with a leading backslash.
void print_digest_line(const std::string &hex, const std::string &name) {
    const bool escape = name.find_first_of("\\\n") != std::string::npos;
    std::string line;
    line.reserve(hex.size() + name.size() + 4);
    if (escape) line.push_back('\\');
    line += hex;
    line += "  ";
    for (char c : name) {
        if (escape && c == '\\') {
            line += "\\\\";
        } else if (escape && c == '\n') {
            line += "\\n";
        } else {
            line.push_back(c);
        }
    }
    line.push_back('\n');
    std::fwrite(line.data(), 1, line.size(), stdout);
}

// Owns the DIGEST_UNIT shared by every file of one invocation.
class DigestUnit {
public:
    DigestUnit() : unit_(new_DIGEST_UNIT()) {}
    ~DigestUnit() { free_DIGEST_UNIT(unit_); }
    DigestUnit(const DigestUnit &) = delete;
    DigestUnit &operator=(const DigestUnit &) = delete;

    DIGEST_UNIT *get() const { return unit_; }

private:
    DIGEST_UNIT *unit_;
};

// Hashes one open stream through the unit.  Returns false with errno-style
// text in `error` on a read or library failure.
bool hash_stream(DIGEST_UNIT *unit, uint32_t algorithm, std::FILE *in,
                 std::vector<uint8_t> &buffer, std::string &hex, std::string &error) {
    // Binding afresh for every file also discards whatever a failed earlier
    // file left in the state.
    uint32_t rc = init_Digest(unit, algorithm);
    if (rc != 0) {
        char text[64];
        std::snprintf(text, sizeof text, "cannot initialise digest (error 0x%08X)", rc);
        error = text;
        return false;
    }
    for (;;) {
        const std::size_t got = std::fread(buffer.data(), 1, buffer.size(), in);
        if (got > 0) {
            rc = update_Digest(unit, buffer.data(), static_cast<uint32_t>(got));
            if (rc != 0) {
                char text[64];
                std::snprintf(text, sizeof text, "digest update failed (error 0x%08X)", rc);
                error = text;
                return false;
            }
        }
        if (got < buffer.size()) {
            if (std::ferror(in)) {
                error = std::strerror(errno);
                return false;
            }
            break;  // end of file
        }
    }
    uint8_t out[KRY_MAX_DIGEST_LENGTH] = {};
    uint32_t length = 0;
    rc = final_Digest(unit, out, &length);
    if (rc != 0 || length == 0 || length > sizeof out) {
        char text[64];
        std::snprintf(text, sizeof text, "digest final failed (error 0x%08X)", rc);
        error = text;
        return false;
    }
    hex = to_hex(out, length);
    return true;
}

int list_algorithms() {
    for (uint32_t id : kAlgorithms) {
        const char *name = get_DigestAlg_Name(id);
        if (name == nullptr) continue;
        std::printf("%-8s %2u bytes\n", name, get_DigestLength(id));
    }
    return kExitOk;
}

int hash_files(uint32_t algorithm, const std::vector<std::string> &files) {
    DigestUnit unit;
    if (unit.get() == nullptr) {
        std::fprintf(stderr, "kry: out of memory\n");
        return kExitFailure;
    }
    std::vector<uint8_t> buffer(kChunkSize);
    int status = kExitOk;
    std::string hex;
    std::string error;
    for (const std::string &name : files) {
        const bool is_stdin = (name == "-");
        std::FILE *in = nullptr;
        if (is_stdin) {
            in = stdin;
        } else {
            errno = 0;
            in = std::fopen(name.c_str(), "rb");
            if (in == nullptr) {
                std::fprintf(stderr, "kry: %s: %s\n", name.c_str(),
                             std::strerror(errno != 0 ? errno : ENOENT));
                status = kExitFailure;
                continue;
            }
        }
        errno = 0;
        const bool ok = hash_stream(unit.get(), algorithm, in, buffer, hex, error);
        if (is_stdin) {
            std::clearerr(stdin);
        } else {
            std::fclose(in);
        }
        if (!ok) {
            std::fprintf(stderr, "kry: %s: %s\n", name.c_str(), error.c_str());
            status = kExitFailure;
            continue;
        }
        print_digest_line(hex, name);
    }
    return status;
}

}  // namespace

int cmd_dgst(int argc, char **argv) {
    std::string algorithm_name;
    bool have_algorithm = false;
    bool list = false;
    std::vector<std::string> files;
    bool options_done = false;

    for (int i = 0; i < argc; ++i) {
        const std::string_view arg = argv[i];
        if (options_done || arg == "-" || arg.empty() || arg[0] != '-') {
            files.emplace_back(arg);
        } else if (arg == "--") {
            options_done = true;
        } else if (arg == "-l" || arg == "--list") {
            list = true;
        } else if (arg == "-h" || arg == "--help") {
            print_dgst_usage(stdout);
            return kExitOk;
        } else if (arg == "-a" || arg == "--algorithm") {
            if (i + 1 >= argc) return usage_error("dgst", "option -a needs an algorithm name");
            algorithm_name = argv[++i];
            have_algorithm = true;
        } else if (arg.starts_with("--algorithm=")) {
            algorithm_name = std::string(arg.substr(std::strlen("--algorithm=")));
            have_algorithm = true;
        } else if (arg.starts_with("-a")) {
            algorithm_name = std::string(arg.substr(2));
            have_algorithm = true;
        } else {
            const std::string message = "unknown option '" + std::string(arg) + "'";
            return usage_error("dgst", message);
        }
    }

    if (list) {
        if (have_algorithm || !files.empty()) {
            return usage_error("dgst", "-l takes no algorithm and no files");
        }
        return list_algorithms();
    }
    if (!have_algorithm) return usage_error("dgst", "dgst needs -a ALG or -l");

    const uint32_t algorithm = lookup_algorithm(algorithm_name);
    if (algorithm == 0) {
        std::fprintf(stderr, "kry: unknown digest algorithm '%s' (see 'kry dgst -l')\n",
                     algorithm_name.c_str());
        return kExitFailure;
    }
    if (files.empty()) files.emplace_back("-");
    return hash_files(algorithm, files);
}


int cmd_hmac(int, char **) { return fail("hmac", "not available yet"); }

}  // namespace kry_tool
