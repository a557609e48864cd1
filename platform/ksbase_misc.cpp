// Process-wide base services: the assertion hook, the memory handler, the
// configuration object and the version check. Hooks are atomic pointers so
// that tests can swap them while other threads run.
#include <atomic>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

#include "ksbase.h"

// ---------------------------------------------------------------------------
// Assertion hook and memory handler.
// ---------------------------------------------------------------------------
namespace {

void DefaultAssertHandler(const char* expression, const char* source, int line) {
    std::fprintf(stderr, "assertion failed: %s (%s:%d)\n", expression ? expression : "?",
                 source ? source : "?", line);
}

// Frees nothing, so retrying could not help.
int DefaultMemoryHandler(std::size_t, int) { return 0; }

std::atomic<KsAssertHandler> g_assertHandler{&DefaultAssertHandler};
std::atomic<KsMemoryHandler> g_memoryHandler{&DefaultMemoryHandler};

}  // namespace

void VARN_assert(const char* expression, const char* source, int line) {
    g_assertHandler.load()(expression, source, line);
}

KsAssertHandler KsSetAssertHandler(KsAssertHandler handler) {
    return g_assertHandler.exchange(handler ? handler : &DefaultAssertHandler);
}

int KsCallMemoryHandler(std::size_t size, int attempt) {
    return g_memoryHandler.load()(size, attempt);
}

KsMemoryHandler KsSetMemoryHandler(KsMemoryHandler handler) {
    return g_memoryHandler.exchange(handler ? handler : &DefaultMemoryHandler);
}

// ---------------------------------------------------------------------------
// Configuration.
// ---------------------------------------------------------------------------
namespace {

// Transparent comparators let lookups take the caller's text without a copy.
using KeyMap = std::map<std::string, int, std::less<>>;
using SectionMap = std::map<std::string, KeyMap, std::less<>>;

std::string_view Trim(std::string_view s) {
    const char* blanks = " \t\r\f\v";
    const auto first = s.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return s.substr(first, s.find_last_not_of(blanks) - first + 1);
}

int DigitValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return 99;
}

// Decimal with optional sign, or 0x hex. An unsigned hex value up to
// 0xFFFFFFFF is taken as the 32-bit pattern (flag words); otherwise the
// value must fit an int.
bool ParseInt(std::string_view s, int* out) {
    bool negative = false;
    if (!s.empty() && (s[0] == '+' || s[0] == '-')) {
        negative = s[0] == '-';
        s.remove_prefix(1);
    }
    int base = 10;
    const bool hex = s.size() > 2 && s[0] == '0' && (s[1] == 'x' || s[1] == 'X');
    if (hex) {
        base = 16;
        s.remove_prefix(2);
    }
    if (s.empty()) return false;
    unsigned long long magnitude = 0;
    for (char c : s) {
        const int d = DigitValue(c);
        if (d >= base) return false;
        magnitude = magnitude * base + d;
        if (magnitude > 0xFFFFFFFFull) return false;
    }
    if (negative) {
        if (magnitude > 1ull + INT_MAX) return false;
        *out = static_cast<int>(-static_cast<long long>(magnitude));
        return true;
    }
    const unsigned long long limit = hex ? 0xFFFFFFFFull : static_cast<unsigned long long>(INT_MAX);
    if (magnitude > limit) return false;
    *out = static_cast<int>(static_cast<unsigned>(magnitude));
    return true;
}

// Returns 0, or the 1-based number of the first malformed line.
int Parse(std::string_view text, SectionMap* sections) {
    KeyMap* current = nullptr;  // no section yet
    int lineNo = 0;
    while (!text.empty()) {
        ++lineNo;
        const auto end = text.find('\n');
        std::string_view line = Trim(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);

        if (line.empty() || line[0] == ';' || line[0] == '#') continue;
        if (line[0] == '[') {
            if (line.back() != ']') return lineNo;
            const std::string_view name = Trim(line.substr(1, line.size() - 2));
            if (name.empty()) return lineNo;
            current = &(*sections)[std::string(name)];
            continue;
        }
        const auto eq = line.find('=');
        if (eq == std::string_view::npos || current == nullptr) return lineNo;
        const std::string_view key = Trim(line.substr(0, eq));
        std::string_view value = line.substr(eq + 1);
        // Values are numbers, so ';' or '#' can only start a trailing comment.
        value = Trim(value.substr(0, value.find_first_of(";#")));
        int number = 0;
        if (key.empty() || !ParseInt(value, &number)) return lineNo;
        (*current)[std::string(key)] = number;
    }
    return 0;
}

}  // namespace

struct KsConfig::Impl {
    mutable std::mutex lock;
    SectionMap sections;

    // Parses first, so the lock is held only for the swap.
    int Replace(std::string_view text) {
        SectionMap parsed;
        const int bad = Parse(text, &parsed);
        if (bad != 0) parsed.clear();
        std::lock_guard<std::mutex> guard(lock);
        sections.swap(parsed);
        return bad;
    }
};

KsConfig::KsConfig() : impl_(new Impl) {}
KsConfig::~KsConfig() { delete impl_; }

int KsConfig::GetInt(const char* section, const char* key, int defaultValue) const {
    if (!section || !key) return defaultValue;
    std::lock_guard<std::mutex> guard(impl_->lock);
    const auto s = impl_->sections.find(std::string_view(section));
    if (s == impl_->sections.end()) return defaultValue;
    const auto k = s->second.find(std::string_view(key));
    return k == s->second.end() ? defaultValue : k->second;
}

void KsConfig::SetInt(const char* section, const char* key, int value) {
    if (!section || !key) return;
    std::lock_guard<std::mutex> guard(impl_->lock);
    impl_->sections[std::string(Trim(section))][std::string(Trim(key))] = value;
}

int KsConfig::LoadText(const char* text) { return impl_->Replace(text ? text : ""); }

int KsConfig::LoadFile(const char* path) {
    std::string text;
    std::FILE* f = path ? std::fopen(path, "rb") : nullptr;
    bool readable = f != nullptr;
    if (f) {
        char chunk[4096];
        std::size_t n;
        while ((n = std::fread(chunk, 1, sizeof chunk, f)) > 0) text.append(chunk, n);
        readable = !std::ferror(f);  // a directory opens but fails to read
        std::fclose(f);
    }
    if (!readable) {
        Clear();
        return -1;
    }
    // The whole text, so that a stray NUL byte is a malformed line, not an end.
    return impl_->Replace(text);
}

void KsConfig::Clear() {
    std::lock_guard<std::mutex> guard(impl_->lock);
    impl_->sections.clear();
}

KsConfig& DefaultConfig() {
    // Built once, thread-safely, and never destroyed, so that code running
    // during static destruction can still read it. A bad file must not stop
    // the host: it is reported and the configuration stays empty.
    static KsConfig* config = [] {
        auto* c = new KsConfig;
        const char* path = std::getenv("KSTM_CONFIG");
        if (path && *path) {
            const int result = c->LoadFile(path);
            if (result < 0)
                std::fprintf(stderr, "kstypemgr: configuration file %s: cannot be read; ignored\n",
                             path);
            else if (result > 0)
                std::fprintf(stderr, "kstypemgr: configuration file %s: line %d is malformed; "
                             "ignored\n", path, result);
        }
        return c;
    }();
    return *config;
}

// ---------------------------------------------------------------------------
// Version check.
// ---------------------------------------------------------------------------
namespace {
constexpr uint kMajor = 11, kMinor = 0, kPatch = 6, kBuild = 169, kSub = 0;
}

int CheckKsVersionNumber(uint major, uint minor, uint, uint, uint, uint flags) {
    if ((flags & 1) && major != kMajor) return KS_NOT_SUPPORTED;
    if ((flags & 2) && minor > kMinor) return KS_NOT_SUPPORTED;
    return KS_OK;
}

void KsBaseVersion(uint* major, uint* minor, uint* patch, uint* build, uint* sub) {
    if (major) *major = kMajor;
    if (minor) *minor = kMinor;
    if (patch) *patch = kPatch;
    if (build) *build = kBuild;
    if (sub) *sub = kSub;
}
