// Shared pieces of the kry command-line tool: option parsing, messages,
// hex, files, passwords, progress display and RAII owners for library
// objects.  The tool uses only the library's public C interface.
#ifndef KRY_TOOL_CLI_H
#define KRY_TOOL_CLI_H

#include <kry.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace kry_tool {

constexpr int kExitOk = 0;
constexpr int kExitFailure = 1;  // an operation failed (or a signature is invalid)
constexpr int kExitUsage = 2;    // bad command line

// Global state set by main before a command runs.
struct Globals {
    bool proven = false;  // --proven: stay in the library's proven mode
};
extern Globals g;

// ---- secrets --------------------------------------------------------------

// Zeroes memory in a way the compiler keeps.
void wipe(void *p, std::size_t n);

// A byte vector that is wiped when it is destroyed or cleared.
class SecretBytes {
public:
    SecretBytes() = default;
    explicit SecretBytes(std::size_t n) : v_(n) {}
    ~SecretBytes() { clear(); }
    SecretBytes(const SecretBytes &) = delete;
    SecretBytes &operator=(const SecretBytes &) = delete;
    SecretBytes(SecretBytes &&o) noexcept : v_(std::move(o.v_)) {}
    SecretBytes &operator=(SecretBytes &&o) noexcept {
        if (this != &o) { clear(); v_ = std::move(o.v_); }
        return *this;
    }
    void clear() { if (!v_.empty()) wipe(v_.data(), v_.size()); v_.clear(); }
    std::vector<uint8_t> &vec() { return v_; }
    const std::vector<uint8_t> &vec() const { return v_; }
    uint8_t *data() { return v_.data(); }
    const uint8_t *data() const { return v_.data(); }
    std::size_t size() const { return v_.size(); }
    bool empty() const { return v_.empty(); }
private:
    std::vector<uint8_t> v_;
};

// A string that is wiped when it is destroyed (passwords).
class SecretString {
public:
    SecretString() = default;
    ~SecretString() { clear(); }
    SecretString(const SecretString &) = delete;
    SecretString &operator=(const SecretString &) = delete;
    void clear() { if (!s_.empty()) wipe(s_.data(), s_.size()); s_.clear(); }
    std::string &str() { return s_; }
    const char *c_str() const { return s_.c_str(); }
    std::size_t size() const { return s_.size(); }
    bool empty() const { return s_.empty(); }
private:
    std::string s_;
};

// ---- command line -----------------------------------------------------------

struct OptionSpec {
    const char *long_name;   // "key-file" (without dashes); nullptr for none
    char short_name;         // 'k'; 0 for none
    bool takes_value;
};

// Parses "-k VALUE", "-kVALUE", "--key VALUE", "--key=VALUE", flags, "--"
// and positional arguments.  "-" alone is positional.  A few commands use
// single-dash long names as OpenSSL does ("-in", "-out"); list them with
// long_name "in" and the parser accepts both "-in" and "--in".
class Args {
public:
    // Returns false (with `error` set) on an unknown option or a missing value.
    bool parse(int argc, char **argv, std::initializer_list<OptionSpec> specs, std::string &error);

    bool has(std::string_view name) const;                 // flag or option given
    std::string get(std::string_view name, std::string_view fallback = {}) const;  // last value
    std::vector<std::string> all(std::string_view name) const;  // every value, in order
    const std::vector<std::string> &positional() const { return positional_; }

private:
    std::multimap<std::string, std::string, std::less<>> values_;
    std::vector<std::string> positional_;
};

// Prints "kry CMD: MESSAGE" and the hint to use --help; returns kExitUsage.
int usage_error(std::string_view command, std::string_view message);

// Prints one line "kry: OPERATION: REASON" on standard error; returns kExitFailure.
int fail(std::string_view operation, std::string_view reason);

// The toolkit's texts for an error word, on one line, with the word in hex:
// "F_INIT_DIGEST R_INVALID_ALGORITHM (error 0x..)".
std::string toolkit_error(uint32_t word);

// The meaning of a KRY_ return number: "no key pair under that alias (18)".
std::string api_error(uint32_t rc);

// A name folded for lookups: lower case, without '-', '_' and spaces, so
// that "SHA-256", "sha_256" and "sha256" compare equal.
std::string fold_name(std::string_view name);

// Parses an integer option value ("2048"); false when it is not a number in
// [lo, hi].
bool parse_uint(std::string_view text, uint64_t lo, uint64_t hi, uint64_t &out);

// ---- hex ---------------------------------------------------------------------

std::string to_hex(const uint8_t *bytes, std::size_t length);
inline std::string to_hex(const std::vector<uint8_t> &v) { return to_hex(v.data(), v.size()); }
// Accepts upper and lower case and an optional "0x"; refuses odd lengths and
// non-hex characters, explaining why in `error`.
bool from_hex(std::string_view text, std::vector<uint8_t> &out, std::string &error);

// ---- files --------------------------------------------------------------------

// Opens PATH for reading ("-": standard input).  Returns nullptr with
// `error` set.  close_input does not close standard input.
std::FILE *open_input(const std::string &path, std::string &error);
void close_input(std::FILE *f);
// Opens PATH for writing ("-" or empty: standard output).  `private_file`
// creates it with mode 0600 (keys).
std::FILE *open_output(const std::string &path, bool private_file, std::string &error);
// Closes an output, reporting write errors; does not close standard output.
bool close_output(std::FILE *f, std::string &error);

// Reads a whole file ("-": standard input) of at most `limit` bytes.
bool read_file(const std::string &path, std::vector<uint8_t> &out, std::size_t limit, std::string &error);
bool read_file(const std::string &path, SecretBytes &out, std::size_t limit, std::string &error);
// Writes a whole file ("-": standard output).
bool write_file(const std::string &path, const uint8_t *data, std::size_t length, bool private_file,
                std::string &error);

// ---- passwords ------------------------------------------------------------------

// Reads a password from SPEC: "prompt" (from the terminal, no echo; with
// `confirm` asked twice), "env:VAR" or "file:PATH" (its first line).  An empty
// spec means "prompt" when standard input is a terminal and is an error
// otherwise.
bool get_password(const std::string &spec, const char *prompt, bool confirm, SecretString &out,
                  std::string &error);

// ---- progress -------------------------------------------------------------------

// A progress bar on standard error, drawn only when standard error is a
// terminal and the total is large enough to be worth showing.
class Progress {
public:
    Progress(std::string label, uint64_t total);
    ~Progress();
    void update(uint64_t done);
    void finish();
private:
    std::string label_;
    uint64_t total_;
    bool active_;
    int last_percent_ = -1;
};

// A spinner on standard error while a long call runs on this thread; the
// spinner runs on a second thread.  Drawn only on a terminal.
class Spinner {
public:
    explicit Spinner(std::string label);
    ~Spinner();
    Spinner(const Spinner &) = delete;
    Spinner &operator=(const Spinner &) = delete;
private:
    struct Impl;
    Impl *impl_;
};

// ---- library objects ---------------------------------------------------------------

// A KRY_ context: KRY_Initialize, then KRY_Context_new; freed on destruction.
class Context {
public:
    Context();
    ~Context();
    Context(const Context &) = delete;
    Context &operator=(const Context &) = delete;
    // 0 when the context exists, else the KRY_ return number that failed.
    uint32_t status() const { return status_; }
    KRY_Context *get() const { return ctx_; }
private:
    KRY_Context *ctx_ = nullptr;
    uint32_t status_ = 0;
};

// ---- commands ----------------------------------------------------------------------

// Each command gets the arguments after its name (argv[0] is the first one).
int cmd_dgst(int argc, char **argv);
int cmd_hmac(int argc, char **argv);
int cmd_enc(int argc, char **argv);
int cmd_dec(int argc, char **argv);
int cmd_rand(int argc, char **argv);
int cmd_genkey(int argc, char **argv);
int cmd_sign(int argc, char **argv);
int cmd_verify(int argc, char **argv);
int cmd_encrypt(int argc, char **argv);
int cmd_decrypt(int argc, char **argv);
int cmd_keyinfo(int argc, char **argv);
int cmd_selftest(int argc, char **argv);
int cmd_kat(int argc, char **argv);
int cmd_speed(int argc, char **argv);

}  // namespace kry_tool

#endif  // KRY_TOOL_CLI_H
