// kry dgst: message digests of files, like sha256sum (with --check);
// kry hmac: HMAC (FIPS 198, RFC 2104) of files under a key.

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
        "usage: kry dgst -a ALG [FILE...]\n"
        "       kry dgst -a ALG -c LISTFILE\n"
        "       kry dgst -l\n"
        "\n"
        "  -a, --algorithm ALG  the digest: SHA1, SHA224, SHA256, SHA384, SHA512,\n"
        "                       MD5, HAS160, MDC2\n"
        "  -c, --check LISTFILE read 'HEX  NAME' lines (as printed by dgst; '-' is\n"
        "                       standard input), hash each NAME again and print\n"
        "                       'NAME: OK' or 'NAME: FAILED'; the status is 0 only\n"
        "                       when every line verified.  -a is required (SHA-1\n"
        "                       and HAS-160 digests have the same length).\n"
        "  -l, --list           list the digest algorithms and their lengths\n"
        "\n"
        "Without --check: print the ALG digest of each FILE (standard input when no\n"
        "FILE is given or FILE is '-'), one 'HEX  NAME' line per file.  A name\n"
        "holding a backslash or a newline is escaped and its line starts with a\n"
        "backslash, as sha256sum does.\n"
        "\n"
        "ALG is matched without regard to case; a hyphen between letters and\n"
        "digits is accepted (sha256, SHA-256, has-160, MDC-2).\n",
        out);
}

void print_hmac_usage(std::FILE *out) {
    std::fputs(
        "usage: kry hmac -a ALG (-k HEX | --key-file FILE) [FILE...]\n"
        "       kry hmac -l\n"
        "\n"
        "Prints the HMAC (FIPS 198, RFC 2104) of each FILE (standard input when no\n"
        "FILE is given or FILE is '-') as one 'HEX  NAME' line per file, like dgst.\n"
        "\n"
        "  -a, --algorithm ALG  the digest: SHA1, SHA224, SHA256, SHA384, SHA512,\n"
        "                       MD5, HAS160, MDC2 (spelled as for dgst)\n"
        "  -k, --key HEX        the key in hex (any length, also empty)\n"
        "      --key-file FILE  the key as the raw bytes of FILE\n"
        "  -l, --list           list the digest algorithms\n"
        "\n"
        "A key given with -k shows in the process list; prefer --key-file.\n",
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

std::string algorithm_label(uint32_t id) {
    const char *name = get_DigestAlg_Name(id);
    return name != nullptr ? name : "the digest";
}

// A name with a backslash or a newline is written escaped, and the line
// that holds it starts with a backslash (the sha256sum convention).
bool needs_escape(const std::string &name) { return name.find_first_of("\\\n") != std::string::npos; }

std::string escape_name(const std::string &name) {
    std::string out;
    out.reserve(name.size() + 4);
    for (char c : name) {
        if (c == '\\') {
            out += "\\\\";
        } else if (c == '\n') {
            out += "\\n";
        } else {
            out.push_back(c);
        }
    }
    return out;
}

// Prints "HEX  NAME" the way sha256sum does.
void print_digest_line(const std::string &hex, const std::string &name) {
    const bool escape = needs_escape(name);
    std::string line;
    line.reserve(hex.size() + name.size() + 4);
    if (escape) line.push_back('\\');
    line += hex;
    line += "  ";
    line += escape ? escape_name(name) : name;
    line.push_back('\n');
    std::fwrite(line.data(), 1, line.size(), stdout);
}

// The text for a failed toolkit call on one file.
std::string call_error(const char *what, uint32_t rc, uint32_t algorithm) {
    if (rc == 0xFFFFFFFFu) return algorithm_label(algorithm) + " is refused in proven mode";
    return std::string(what) + ": " + toolkit_error(rc);
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

// Owns an HMAC_UNIT; freeing it wipes the key block.
class HmacUnit {
public:
    HmacUnit() : unit_(new_HMAC_UNIT()) {}
    ~HmacUnit() { free_HMAC_UNIT(unit_); }
    HmacUnit(const HmacUnit &) = delete;
    HmacUnit &operator=(const HmacUnit &) = delete;
    HMAC_UNIT *get() const { return unit_; }
private:
    HMAC_UNIT *unit_;
};

// Reads `in` to its end in chunks, handing each chunk to `feed` (which
// returns 0 or an error word).  False with `error` set on a read error or a
// failing feed.
template <typename Feed>
bool read_chunks(std::FILE *in, std::vector<uint8_t> &buffer, Feed feed, std::string &error) {
    for (;;) {
        const std::size_t got = std::fread(buffer.data(), 1, buffer.size(), in);
        if (got > 0 && !feed(buffer.data(), got, error)) return false;
        if (got < buffer.size()) {
            if (std::ferror(in)) {
                error = std::strerror(errno != 0 ? errno : EIO);
                return false;
            }
            return true;  // end of file
        }
    }
}

// Hashes one open stream through the unit.
bool hash_stream(DIGEST_UNIT *unit, uint32_t algorithm, std::FILE *in, std::vector<uint8_t> &buffer,
                 std::string &hex, std::string &error) {
    // Binding afresh for every file also discards whatever a failed earlier
    // file left in the state.
    uint32_t rc = init_Digest(unit, algorithm);
    if (rc != 0) {
        error = call_error("cannot initialise the digest", rc, algorithm);
        return false;
    }
    auto feed = [&](const uint8_t *data, std::size_t n, std::string &err) {
        const uint32_t urc = update_Digest(unit, data, static_cast<uint32_t>(n));
        if (urc != 0) err = call_error("digest update failed", urc, algorithm);
        return urc == 0;
    };
    if (!read_chunks(in, buffer, feed, error)) return false;
    uint8_t out[KRY_MAX_DIGEST_LENGTH] = {};
    uint32_t length = 0;
    rc = final_Digest(unit, out, &length);
    if (rc != 0 || length == 0 || length > sizeof out) {
        error = call_error("digest final failed", rc, algorithm);
        return false;
    }
    hex = to_hex(out, length);
    return true;
}

// HMAC of one open stream: the unit is keyed afresh for every file.
bool hmac_stream(HMAC_UNIT *unit, uint32_t algorithm, const SecretBytes &key, std::FILE *in,
                 std::vector<uint8_t> &buffer, std::string &hex, std::string &error) {
    // init_HMAC refuses a null key pointer; an empty key still needs one.
    static const uint8_t kNoKey[1] = {0};
    uint32_t rc = init_HMAC(unit, algorithm, key.empty() ? kNoKey : key.data(),
                            static_cast<uint32_t>(key.size()));
    if (rc != 0) {
        error = call_error("cannot initialise HMAC", rc, algorithm);
        return false;
    }
    auto feed = [&](const uint8_t *data, std::size_t n, std::string &err) {
        const uint32_t urc = update_HMAC(unit, data, static_cast<uint32_t>(n));
        if (urc != 0) err = call_error("HMAC update failed", urc, algorithm);
        return urc == 0;
    };
    if (!read_chunks(in, buffer, feed, error)) return false;
    uint8_t out[KRY_MAX_DIGEST_LENGTH] = {};
    uint32_t length = 0;
    rc = final_HMAC(unit, out, &length);
    if (rc != 0 || length == 0 || length > sizeof out) {
        error = call_error("HMAC final failed", rc, algorithm);
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

// Opens NAME ("-": standard input) for hashing; nullptr with `error`.
std::FILE *open_for_hashing(const std::string &name, std::string &error) {
    if (name == "-") return stdin;
    errno = 0;
    std::FILE *in = std::fopen(name.c_str(), "rb");
    if (in == nullptr) error = std::strerror(errno != 0 ? errno : ENOENT);
    return in;
}

void close_after_hashing(std::FILE *in) {
    if (in == stdin) {
        std::clearerr(stdin);
    } else if (in != nullptr) {
        std::fclose(in);
    }
}

// Runs `one(FILE*, hex, error)` over every file and prints the lines.
template <typename One>
int for_each_file(const std::vector<std::string> &files, One one) {
    int status = kExitOk;
    std::string hex;
    std::string error;
    for (const std::string &name : files) {
        std::FILE *in = open_for_hashing(name, error);
        if (in == nullptr) {
            std::fprintf(stderr, "kry: %s: %s\n", name.c_str(), error.c_str());
            status = kExitFailure;
            continue;
        }
        errno = 0;
        const bool ok = one(in, hex, error);
        close_after_hashing(in);
        if (!ok) {
            std::fprintf(stderr, "kry: %s: %s\n", name.c_str(), error.c_str());
            status = kExitFailure;
            continue;
        }
        print_digest_line(hex, name);
    }
    return status;
}

int hash_files(uint32_t algorithm, const std::vector<std::string> &files) {
    DigestUnit unit;
    if (unit.get() == nullptr) return fail("dgst", "out of memory");
    std::vector<uint8_t> buffer(kChunkSize);
    return for_each_file(files, [&](std::FILE *in, std::string &hex, std::string &error) {
        return hash_stream(unit.get(), algorithm, in, buffer, hex, error);
    });
}

// ---- dgst --check -------------------------------------------------------------------

// Splits one line of a digest list into its hex digest and file name.
// Accepts "HEX  NAME", "HEX *NAME" (binary marker) and the escaped form
// "\HEX  ESCAPED-NAME".  False for a malformed line.
bool parse_check_line(std::string_view line, std::size_t hex_length, std::string &hex, std::string &name) {
    bool escaped = false;
    if (!line.empty() && line[0] == '\\') {
        escaped = true;
        line.remove_prefix(1);
    }
    if (line.size() < hex_length + 3) return false;
    for (std::size_t i = 0; i < hex_length; ++i)
        if (std::isxdigit(static_cast<unsigned char>(line[i])) == 0) return false;
    if (line[hex_length] != ' ' || (line[hex_length + 1] != ' ' && line[hex_length + 1] != '*')) return false;
    hex.assign(line.substr(0, hex_length));
    for (char &c : hex) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    const std::string_view raw = line.substr(hex_length + 2);
    name.clear();
    if (!escaped) {
        name.assign(raw);
        return true;
    }
    for (std::size_t i = 0; i < raw.size(); ++i) {
        if (raw[i] != '\\') {
            name.push_back(raw[i]);
            continue;
        }
        if (i + 1 >= raw.size()) return false;
        const char next = raw[++i];
        if (next == '\\') {
            name.push_back('\\');
        } else if (next == 'n') {
            name.push_back('\n');
        } else {
            return false;
        }
    }
    return true;
}

// Prints "NAME: RESULT".  As sha256sum -c does, only a name holding a
// newline is escaped (and then its backslashes too).
void print_check_result(const std::string &name, const char *result) {
    if (name.find('\n') != std::string::npos) {
        std::printf("\\%s: %s\n", escape_name(name).c_str(), result);
    } else {
        std::printf("%s: %s\n", name.c_str(), result);
    }
}

std::string count_text(uint64_t n, const char *one, const char *many) {
    return std::to_string(n) + " " + (n == 1 ? one : many);
}

int check_list(uint32_t algorithm, const std::string &list_path) {
    const uint32_t digest_length = get_DigestLength(algorithm);
    if (digest_length == 0 || digest_length > KRY_MAX_DIGEST_LENGTH)
        return fail("dgst", "cannot tell the length of " + algorithm_label(algorithm));
    std::string error;
    std::FILE *list = open_input(list_path, error);
    if (list == nullptr) return fail("dgst", "cannot open the digest list: " + error);
    const std::string list_label = list_path == "-" ? "standard input" : list_path;

    DigestUnit unit;
    if (unit.get() == nullptr) {
        close_input(list);
        return fail("dgst", "out of memory");
    }
    std::vector<uint8_t> buffer(kChunkSize);
    uint64_t line_number = 0, good_lines = 0, malformed = 0, mismatched = 0, unreadable = 0;
    std::string line, expected, name, actual;
    bool read_error = false;
    for (;;) {
        // One line of any length, without its newline.
        line.clear();
        int c;
        bool got_any = false;
        while ((c = std::fgetc(list)) != EOF) {
            got_any = true;
            if (c == '\n') break;
            line.push_back(static_cast<char>(c));
        }
        if (!got_any) {
            read_error = std::ferror(list) != 0;
            break;
        }
        ++line_number;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (!parse_check_line(line, 2 * digest_length, expected, name)) {
            ++malformed;
            std::fprintf(stderr, "kry: %s: line %llu: improperly formatted digest line\n", list_label.c_str(),
                         static_cast<unsigned long long>(line_number));
            continue;
        }
        ++good_lines;
        std::FILE *in = open_for_hashing(name, error);
        bool ok = in != nullptr;
        if (ok) {
            errno = 0;
            ok = hash_stream(unit.get(), algorithm, in, buffer, actual, error);
            close_after_hashing(in);
        }
        if (!ok) {
            ++unreadable;
            std::fprintf(stderr, "kry: %s: %s\n", (needs_escape(name) ? escape_name(name) : name).c_str(),
                         error.c_str());
            print_check_result(name, "FAILED open or read");
            continue;
        }
        if (actual == expected) {
            print_check_result(name, "OK");
        } else {
            ++mismatched;
            print_check_result(name, "FAILED");
        }
    }
    if (list == stdin) std::clearerr(stdin);
    close_input(list);
    std::fflush(stdout);
    if (read_error) return fail("dgst", "cannot read the digest list " + list_label);
    if (good_lines == 0)
        return fail("dgst", list_label + ": no properly formatted " + algorithm_label(algorithm) + " digest lines found");
    if (mismatched == 0 && unreadable == 0 && malformed == 0) return kExitOk;
    std::string summary;
    auto add = [&summary](const std::string &part) {
        if (!summary.empty()) summary += ", ";
        summary += part;
    };
    if (mismatched > 0) add(count_text(mismatched, "computed digest did NOT match", "computed digests did NOT match"));
    if (unreadable > 0) add(count_text(unreadable, "listed file could not be read", "listed files could not be read"));
    if (malformed > 0) add(count_text(malformed, "line is improperly formatted", "lines are improperly formatted"));
    std::fprintf(stderr, "kry: dgst: WARNING: %s\n", summary.c_str());
    return kExitFailure;
}

// Reads the HMAC key from -k HEX or --key-file FILE; 0 or the exit status.
int read_hmac_key(const Args &args, SecretBytes &key) {
    const bool hex = args.has("key");
    const bool file = args.has("key-file");
    if (hex && file) return usage_error("hmac", "give the key either with -k or with --key-file, not both");
    if (!hex && !file) return usage_error("hmac", "a key is needed: -k HEX or --key-file FILE");
    std::string error;
    if (hex) {
        SecretString text;
        text.str() = args.get("key");
        if (!from_hex(text.str(), key.vec(), error)) return fail("hmac", "bad hex in the key: " + error);
    } else if (!read_file(args.get("key-file"), key, 1u << 20, error)) {
        return fail("hmac", "cannot read the key file: " + error);
    }
    return 0;
}

}  // namespace

int cmd_dgst(int argc, char **argv) {
    Args args;
    std::string error;
    if (!args.parse(argc, argv,
                    {{"algorithm", 'a', true}, {"check", 'c', true}, {"list", 'l', false}, {"help", 'h', false}},
                    error)) {
        return usage_error("dgst", error);
    }
    if (args.has("help")) {
        print_dgst_usage(stdout);
        return kExitOk;
    }
    const std::vector<std::string> &files_given = args.positional();
    if (args.has("list")) {
        if (args.has("algorithm") || args.has("check") || !files_given.empty())
            return usage_error("dgst", "-l takes no algorithm and no files");
        return list_algorithms();
    }
    if (!args.has("algorithm")) {
        return usage_error("dgst", args.has("check") ? "--check needs -a ALG as well" : "dgst needs -a ALG or -l");
    }
    const std::string algorithm_name = args.get("algorithm");
    const uint32_t algorithm = lookup_algorithm(algorithm_name);
    if (algorithm == 0) {
        std::fprintf(stderr, "kry: unknown digest algorithm '%s' (see 'kry dgst -l')\n", algorithm_name.c_str());
        return kExitFailure;
    }
    if (args.has("check")) {
        if (!files_given.empty()) return usage_error("dgst", "--check reads the names from LISTFILE; give no FILE");
        if (args.all("check").size() > 1) return usage_error("dgst", "give --check once");
        return check_list(algorithm, args.get("check"));
    }
    std::vector<std::string> files = files_given;
    if (files.empty()) files.emplace_back("-");
    return hash_files(algorithm, files);
}

int cmd_hmac(int argc, char **argv) {
    Args args;
    std::string error;
    if (!args.parse(argc, argv,
                    {{"algorithm", 'a', true},
                     {"key", 'k', true},
                     {"key-file", 0, true},
                     {"list", 'l', false},
                     {"help", 'h', false}},
                    error)) {
        return usage_error("hmac", error);
    }
    if (args.has("help")) {
        print_hmac_usage(stdout);
        return kExitOk;
    }
    if (args.has("list")) {
        if (args.has("algorithm") || args.has("key") || args.has("key-file") || !args.positional().empty())
            return usage_error("hmac", "-l takes no other arguments");
        return list_algorithms();
    }
    if (!args.has("algorithm")) return usage_error("hmac", "hmac needs -a ALG");
    const std::string algorithm_name = args.get("algorithm");
    const uint32_t algorithm = lookup_algorithm(algorithm_name);
    if (algorithm == 0) {
        return fail("hmac", "unknown digest algorithm '" + algorithm_name + "' (see 'kry hmac -l')");
    }
    std::vector<std::string> files = args.positional();
    if (files.empty()) files.emplace_back("-");
    if (args.has("key-file") && args.get("key-file") == "-") {
        for (const std::string &f : files)
            if (f == "-") return usage_error("hmac", "the key and the data cannot both come from standard input");
    }
    SecretBytes key;
    if (const int status = read_hmac_key(args, key); status != 0) return status;

    HmacUnit unit;
    if (unit.get() == nullptr) return fail("hmac", "out of memory");
    std::vector<uint8_t> buffer(kChunkSize);
    const int status = for_each_file(files, [&](std::FILE *in, std::string &hex, std::string &err) {
        return hmac_stream(unit.get(), algorithm, key, in, buffer, hex, err);
    });
    wipe(buffer.data(), buffer.size());
    return status;
}

}  // namespace kry_tool
