// Shared pieces of the kry command-line tool.

#include "cli.h"

#include <atomic>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <thread>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace kry_tool {

Globals g;

void wipe(void *p, std::size_t n) {
    volatile unsigned char *q = static_cast<volatile unsigned char *>(p);
    while (n-- > 0) *q++ = 0;
}

// ---- command line -------------------------------------------------------------

bool Args::parse(int argc, char **argv, std::initializer_list<OptionSpec> specs, std::string &error) {
    auto find_long = [&](std::string_view name) -> const OptionSpec * {
        for (const OptionSpec &s : specs)
            if (s.long_name != nullptr && name == s.long_name) return &s;
        return nullptr;
    };
    auto find_short = [&](char c) -> const OptionSpec * {
        for (const OptionSpec &s : specs)
            if (s.short_name != 0 && s.short_name == c) return &s;
        return nullptr;
    };
    auto key_of = [](const OptionSpec &s) {
        return s.long_name != nullptr ? std::string(s.long_name) : std::string(1, s.short_name);
    };
    bool options_done = false;
    for (int i = 0; i < argc; ++i) {
        const std::string_view arg = argv[i];
        if (options_done || arg.size() < 2 || arg[0] != '-') {
            positional_.emplace_back(arg);
            continue;
        }
        if (arg == "--") {
            options_done = true;
            continue;
        }
        // Long form: "--name", "--name=value", or OpenSSL's "-name".
        const bool double_dash = arg.starts_with("--");
        std::string_view body = arg.substr(double_dash ? 2 : 1);
        std::string_view inline_value;
        bool has_inline = false;
        if (double_dash) {
            if (const auto eq = body.find('='); eq != std::string_view::npos) {
                inline_value = body.substr(eq + 1);
                body = body.substr(0, eq);
                has_inline = true;
            }
        }
        const OptionSpec *spec = (double_dash || body.size() > 1) ? find_long(body) : nullptr;
        if (spec == nullptr && !double_dash) {
            spec = find_short(body[0]);
            if (spec != nullptr && body.size() > 1) {
                if (!spec->takes_value) {
                    error = "unknown option '" + std::string(arg) + "'";
                    return false;
                }
                inline_value = body.substr(1);  // "-kVALUE"
                has_inline = true;
            }
        }
        if (spec == nullptr) {
            error = "unknown option '" + std::string(arg) + "'";
            return false;
        }
        if (!spec->takes_value) {
            if (has_inline) {
                error = "option '" + std::string(arg) + "' takes no value";
                return false;
            }
            values_.emplace(key_of(*spec), std::string());
            continue;
        }
        if (has_inline) {
            values_.emplace(key_of(*spec), std::string(inline_value));
        } else if (i + 1 < argc) {
            values_.emplace(key_of(*spec), std::string(argv[++i]));
        } else {
            error = "option '" + std::string(arg) + "' needs a value";
            return false;
        }
    }
    return true;
}

bool Args::has(std::string_view name) const { return values_.find(name) != values_.end(); }

std::string Args::get(std::string_view name, std::string_view fallback) const {
    auto [lo, hi] = values_.equal_range(name);
    if (lo == hi) return std::string(fallback);
    std::string last;
    for (auto it = lo; it != hi; ++it) last = it->second;
    return last;
}

std::vector<std::string> Args::all(std::string_view name) const {
    std::vector<std::string> out;
    auto [lo, hi] = values_.equal_range(name);
    for (auto it = lo; it != hi; ++it) out.push_back(it->second);
    return out;
}

int usage_error(std::string_view command, std::string_view message) {
    std::fprintf(stderr, "kry %.*s: %.*s\nTry 'kry %.*s --help' for more information.\n",
                 static_cast<int>(command.size()), command.data(), static_cast<int>(message.size()),
                 message.data(), static_cast<int>(command.size()), command.data());
    return kExitUsage;
}

int fail(std::string_view operation, std::string_view reason) {
    std::fprintf(stderr, "kry: %.*s: %.*s\n", static_cast<int>(operation.size()), operation.data(),
                 static_cast<int>(reason.size()), reason.data());
    return kExitFailure;
}

std::string toolkit_error(uint32_t word) {
    // GetErrorCode prints its texts on standard output; catch them in a
    // temporary file and fold them onto one line.
    std::string text;
    std::fflush(stdout);
    std::FILE *tmp = std::tmpfile();
    const int saved = tmp != nullptr ? dup(STDOUT_FILENO) : -1;
    if (saved >= 0 && dup2(fileno(tmp), STDOUT_FILENO) >= 0) {
        GetErrorCode(word);
        std::fflush(stdout);
        dup2(saved, STDOUT_FILENO);
        std::rewind(tmp);
        char buf[512];
        std::size_t got;
        while ((got = std::fread(buf, 1, sizeof buf, tmp)) > 0) text.append(buf, got);
    }
    if (saved >= 0) close(saved);
    if (tmp != nullptr) std::fclose(tmp);
    std::string folded;
    for (char c : text) {
        const bool space = std::isspace(static_cast<unsigned char>(c)) != 0;
        if (space) {
            if (!folded.empty() && folded.back() != ' ') folded.push_back(' ');
        } else {
            folded.push_back(c);
        }
    }
    while (!folded.empty() && folded.back() == ' ') folded.pop_back();
    char word_text[32];
    std::snprintf(word_text, sizeof word_text, "error 0x%08X", word);
    if (folded.empty()) return word_text;
    return folded + " (" + word_text + ")";
}

std::string api_error(uint32_t rc) {
    struct Meaning { uint32_t rc; const char *text; };
    static constexpr Meaning kMeanings[] = {
        {KRY_R_OK, "success"},
        {KRY_R_NOT_INITIALIZED, "the library has not been initialised"},
        {KRY_R_SELFTEST_RUNNING, "a self-test is running"},
        {KRY_R_INVALID_CONTEXT, "invalid context"},
        {KRY_R_MALLOC, "out of memory, or the entry cannot be made"},
        {KRY_R_INVALID_ARGUMENT, "invalid argument"},
        {KRY_R_RANDOM, "the random generator failed"},
        {KRY_R_UNKNOWN_DIGEST, "unknown digest"},
        {KRY_R_BUFFER_TOO_SMALL, "output buffer too small"},
        {KRY_R_SYMKEY_NOT_FOUND, "no symmetric key under that alias"},
        {KRY_R_UNSUPPORTED_CIPHER, "cipher, mode and key length do not fit"},
        {KRY_R_ENCRYPT_INIT, "encryption could not be started"},
        {KRY_R_ENCRYPT_UPDATE, "encryption failed"},
        {KRY_R_ENCRYPT_FINAL, "encryption could not be finished"},
        {KRY_R_DECRYPT_INIT, "decryption could not be started"},
        {KRY_R_DECRYPT_UPDATE, "decryption failed"},
        {KRY_R_DECRYPT_FINAL, "decryption could not be finished (bad padding or truncated input)"},
        {KRY_R_SIGN_KEY_NOT_FOUND, "no key pair under that alias"},
        {KRY_R_SIGN, "signing failed (refused in proven mode, or unknown key type)"},
        {KRY_R_VERIFY_KEY_NOT_FOUND, "no key pair under that alias"},
        {KRY_R_VERIFY, "verification could not be carried out"},
        {KRY_R_BAD_SIGNATURE, "the signature does not verify"},
        {KRY_R_NOT_RSA, "the key pair is not an RSA key"},
        {KRY_R_RSA_ENCRYPT, "RSA encryption failed (message too long for the key and encoding?)"},
        {KRY_R_RSA_DECRYPT, "RSA decryption failed (wrong key, encoding or corrupted input)"},
        {KRY_R_RSA_GENERATE, "RSA key generation failed"},
        {KRY_R_DSA_GENERATE, "DSA key generation failed"},
        {KRY_R_KCDSA_GENERATE, "KCDSA key generation failed"},
        {KRY_R_EXPORT, "key pair export failed"},
        {KRY_R_IMPORT, "key pair import failed (malformed key or wrong password)"},
        {KRY_R_STORE_REFUSED, "the key store refused the entry"},
        {KRY_R_ALIAS_NOT_FOUND, "alias not found"},
        {KRY_R_NO_ENTRY, "no entry at that index"},
        {KRY_R_COUNT, "count failed"},
        {KRY_R_SELFTEST_KAT, "a known-answer comparison failed"},
        {KRY_R_DIGEST_INIT, "digest could not be started"},
        {KRY_R_DIGEST_UPDATE, "digest update failed"},
        {KRY_R_DIGEST_FINAL, "digest could not be finished"},
        {KRY_R_HMAC_INIT, "HMAC could not be started (refused in proven mode?)"},
        {KRY_R_HMAC_UPDATE, "HMAC update failed"},
        {KRY_R_HMAC_FINAL, "HMAC could not be finished"},
        {KRY_R_PROVEN_REFUSED, "refused in proven mode"},
    };
    for (const Meaning &m : kMeanings) {
        if (m.rc == rc) {
            char buf[16];
            std::snprintf(buf, sizeof buf, " (%u)", rc);
            return std::string(m.text) + buf;
        }
    }
    char buf[48];
    std::snprintf(buf, sizeof buf, "unexpected return number %u", rc);
    return buf;
}

std::string fold_name(std::string_view name) {
    std::string out;
    for (char c : name) {
        if (c == '-' || c == '_' || c == ' ') continue;
        out += static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    }
    return out;
}

bool parse_uint(std::string_view text, uint64_t lo, uint64_t hi, uint64_t &out) {
    if (text.empty() || text.size() > 19) return false;
    uint64_t v = 0;
    for (char c : text) {
        if (c < '0' || c > '9') return false;
        v = v * 10 + static_cast<uint64_t>(c - '0');
    }
    if (v < lo || v > hi) return false;
    out = v;
    return true;
}

// ---- hex -----------------------------------------------------------------------

std::string to_hex(const uint8_t *bytes, std::size_t length) {
    static const char digits[] = "0123456789abcdef";
    std::string out;
    out.reserve(2 * length);
    for (std::size_t i = 0; i < length; ++i) {
        out.push_back(digits[bytes[i] >> 4]);
        out.push_back(digits[bytes[i] & 0x0F]);
    }
    return out;
}

bool from_hex(std::string_view text, std::vector<uint8_t> &out, std::string &error) {
    if (text.starts_with("0x") || text.starts_with("0X")) text.remove_prefix(2);
    if (text.size() % 2 != 0) {
        error = "odd number of hex digits";
        return false;
    }
    auto nibble = [](char c) -> int {
        if (c >= '0' && c <= '9') return c - '0';
        if (c >= 'a' && c <= 'f') return c - 'a' + 10;
        if (c >= 'A' && c <= 'F') return c - 'A' + 10;
        return -1;
    };
    std::vector<uint8_t> bytes;
    bytes.reserve(text.size() / 2);
    for (std::size_t i = 0; i < text.size(); i += 2) {
        const int hi = nibble(text[i]);
        const int lo = nibble(text[i + 1]);
        if (hi < 0 || lo < 0) {
            error = "'" + std::string(1, hi < 0 ? text[i] : text[i + 1]) + "' is not a hex digit";
            wipe(bytes.data(), bytes.size());
            return false;
        }
        bytes.push_back(static_cast<uint8_t>(hi << 4 | lo));
    }
    if (!out.empty()) wipe(out.data(), out.size());
    out = std::move(bytes);
    return true;
}

// ---- files -------------------------------------------------------------------------

std::FILE *open_input(const std::string &path, std::string &error) {
    if (path == "-") return stdin;
    errno = 0;
    std::FILE *f = std::fopen(path.c_str(), "rb");
    if (f == nullptr) error = path + ": " + std::strerror(errno != 0 ? errno : ENOENT);
    return f;
}

void close_input(std::FILE *f) {
    if (f != nullptr && f != stdin) std::fclose(f);
}

std::FILE *open_output(const std::string &path, bool private_file, std::string &error) {
    if (path.empty() || path == "-") return stdout;
    errno = 0;
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, private_file ? 0600 : 0666);
    if (fd < 0) {
        error = path + ": " + std::strerror(errno);
        return nullptr;
    }
    std::FILE *f = fdopen(fd, "wb");
    if (f == nullptr) {
        error = path + ": " + std::strerror(errno);
        ::close(fd);
    }
    return f;
}

bool close_output(std::FILE *f, std::string &error) {
    if (f == nullptr) return false;
    bool ok = std::fflush(f) == 0 && !std::ferror(f);
    if (!ok) error = std::strerror(errno != 0 ? errno : EIO);
    if (f != stdout && std::fclose(f) != 0 && ok) {
        ok = false;
        error = std::strerror(errno);
    }
    return ok;
}

namespace {

bool read_into(const std::string &path, std::vector<uint8_t> &out, std::size_t limit, std::string &error) {
    std::FILE *f = open_input(path, error);
    if (f == nullptr) return false;
    uint8_t buf[16384];
    bool ok = true;
    for (;;) {
        const std::size_t got = std::fread(buf, 1, sizeof buf, f);
        if (got > limit - out.size()) {
            error = (path == "-" ? std::string("standard input") : path) + ": larger than " +
                    std::to_string(limit) + " bytes";
            ok = false;
            break;
        }
        out.insert(out.end(), buf, buf + got);
        if (got < sizeof buf) {
            if (std::ferror(f)) {
                error = path + ": " + std::strerror(errno != 0 ? errno : EIO);
                ok = false;
            }
            break;
        }
    }
    wipe(buf, sizeof buf);
    if (f == stdin) std::clearerr(stdin);
    close_input(f);
    return ok;
}

}  // namespace

bool read_file(const std::string &path, std::vector<uint8_t> &out, std::size_t limit, std::string &error) {
    out.clear();
    return read_into(path, out, limit, error);
}

bool read_file(const std::string &path, SecretBytes &out, std::size_t limit, std::string &error) {
    out.clear();
    // Reserve up front so that growth never leaves an unwiped copy behind.
    out.vec().reserve(limit < (1u << 20) ? limit : (1u << 20));
    const std::size_t cap = out.vec().capacity();
    const bool ok = read_into(path, out.vec(), limit < cap ? limit : cap, error);
    if (!ok) out.clear();
    return ok;
}

bool write_file(const std::string &path, const uint8_t *data, std::size_t length, bool private_file,
                std::string &error) {
    std::FILE *f = open_output(path, private_file, error);
    if (f == nullptr) return false;
    bool ok = length == 0 || std::fwrite(data, 1, length, f) == length;
    std::string close_error;
    if (!close_output(f, close_error)) {
        ok = false;
        error = path + ": " + close_error;
    } else if (!ok) {
        error = path + ": write failed";
    }
    return ok;
}

// ---- passwords -------------------------------------------------------------------------

namespace {

bool prompt_once(const char *prompt, SecretString &out, std::string &error) {
    const int fd = ::open("/dev/tty", O_RDWR | O_CLOEXEC);
    if (fd < 0) {
        error = "no terminal to ask for the password on (use --pass env:VAR or --pass file:PATH)";
        return false;
    }
    termios old_attr{};
    const bool is_tty = tcgetattr(fd, &old_attr) == 0;
    if (is_tty) {
        termios quiet = old_attr;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        quiet.c_lflag |= ECHONL;
        tcsetattr(fd, TCSAFLUSH, &quiet);
    }
    if (write(fd, prompt, std::strlen(prompt)) < 0) { /* the prompt is a courtesy */ }
    out.clear();
    char c;
    bool ok = true;
    for (;;) {
        const ssize_t got = read(fd, &c, 1);
        if (got <= 0) { ok = !out.empty(); break; }
        if (c == '\n' || c == '\r') break;
        out.str().push_back(c);
        if (out.size() > 4096) { ok = false; break; }
    }
    c = 0;
    if (is_tty) tcsetattr(fd, TCSAFLUSH, &old_attr);
    ::close(fd);
    if (!ok) {
        out.clear();
        error = "no password was entered";
    }
    return ok;
}

}  // namespace

bool get_password(const std::string &spec_in, const char *prompt, bool confirm, SecretString &out,
                  std::string &error) {
    std::string spec = spec_in;
    if (spec.empty()) {
        if (!isatty(STDIN_FILENO)) {
            error = "a password is needed: give --pass prompt, --pass env:VAR or --pass file:PATH";
            return false;
        }
        spec = "prompt";
    }
    out.clear();
    if (spec == "prompt") {
        if (!prompt_once(prompt, out, error)) return false;
        if (confirm) {
            SecretString again;
            if (!prompt_once("Repeat the password: ", again, error)) return false;
            if (again.str() != out.str()) {
                out.clear();
                error = "the passwords do not match";
                return false;
            }
        }
    } else if (spec.starts_with("env:")) {
        const std::string var = spec.substr(4);
        const char *value = var.empty() ? nullptr : std::getenv(var.c_str());
        if (value == nullptr) {
            error = "environment variable '" + var + "' is not set";
            return false;
        }
        out.str() = value;
    } else if (spec.starts_with("file:")) {
        SecretBytes bytes;
        if (!read_file(spec.substr(5), bytes, 65536, error)) return false;
        std::size_t n = 0;
        while (n < bytes.size() && bytes.data()[n] != '\n' && bytes.data()[n] != '\r') ++n;
        out.str().assign(reinterpret_cast<const char *>(bytes.data()), n);
    } else {
        error = "password source '" + spec + "' is not one of prompt, env:VAR, file:PATH";
        return false;
    }
    if (out.empty()) {
        error = "the password is empty";
        return false;
    }
    if (std::memchr(out.c_str(), '\0', out.size()) != nullptr) {
        out.clear();
        error = "the password holds a NUL byte";
        return false;
    }
    return true;
}

// ---- progress ---------------------------------------------------------------------------

Progress::Progress(std::string label, uint64_t total)
    : label_(std::move(label)), total_(total), active_(total >= (8u << 20) && isatty(STDERR_FILENO)) {}

Progress::~Progress() { finish(); }

void Progress::update(uint64_t done) {
    if (!active_ || total_ == 0) return;
    const int percent = static_cast<int>(done >= total_ ? 100 : done * 100 / total_);
    if (percent == last_percent_) return;
    last_percent_ = percent;
    char bar[41];
    const int filled = percent * 40 / 100;
    for (int i = 0; i < 40; ++i) bar[i] = i < filled ? '#' : '.';
    bar[40] = 0;
    std::fprintf(stderr, "\r%s [%s] %3d%%", label_.c_str(), bar, percent);
    std::fflush(stderr);
}

void Progress::finish() {
    if (!active_) return;
    if (last_percent_ >= 0) std::fputs("\n", stderr);
    active_ = false;
}

struct Spinner::Impl {
    std::string label;
    std::mutex m;
    std::condition_variable cv;
    bool stop = false;
    std::thread t;
};

Spinner::Spinner(std::string label) : impl_(nullptr) {
    if (!isatty(STDERR_FILENO)) return;
    impl_ = new Impl;
    impl_->label = std::move(label);
    impl_->t = std::thread([p = impl_] {
        static const char kFrames[] = "|/-\\";
        unsigned frame = 0;
        const auto start = std::chrono::steady_clock::now();
        std::unique_lock<std::mutex> lock(p->m);
        while (!p->stop) {
            const auto secs = std::chrono::duration_cast<std::chrono::seconds>(
                                  std::chrono::steady_clock::now() - start)
                                  .count();
            std::fprintf(stderr, "\r%s %c %llds", p->label.c_str(), kFrames[frame++ % 4],
                         static_cast<long long>(secs));
            std::fflush(stderr);
            p->cv.wait_for(lock, std::chrono::milliseconds(120));
        }
        std::fprintf(stderr, "\r%s done\n", p->label.c_str());
    });
}

Spinner::~Spinner() {
    if (impl_ == nullptr) return;
    {
        std::lock_guard<std::mutex> lock(impl_->m);
        impl_->stop = true;
    }
    impl_->cv.notify_all();
    impl_->t.join();
    delete impl_;
}

// ---- library objects -----------------------------------------------------------------------

Context::Context() {
    status_ = KRY_Initialize();
    if (status_ == KRY_R_OK) status_ = KRY_Context_new(&ctx_);
}

Context::~Context() {
    if (ctx_ != nullptr) KRY_Context_free(ctx_);
}

}  // namespace kry_tool
