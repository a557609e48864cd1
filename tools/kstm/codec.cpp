// kstm encode / decode / compare: values to stored images and back, and
// comparisons, for every row that has the slots, through the public API.
// Command-line texts are UTF-8; string values are converted into the code
// set asked for (default ISO-8859-1) and printed back as UTF-8.
#include "codec.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "kstypemgr.h"
#include "ksutf8.h"

namespace {

struct Options {
    uchar order = 1;
    bool orderGiven = false;
    ushort mode = 0;
    bool modeGiven = false;
    uchar language = 0;
    uchar codeSet = KS_CS_ISO8859_1;
    long count = -1;
    std::vector<std::string> args;
};

bool ParseNumber(const std::string& text, long lo, long hi, long& out) {
    if (text.empty()) return false;
    errno = 0;
    char* end = nullptr;
    const long v = std::strtol(text.c_str(), &end, 0);
    if (errno || *end || v < lo || v > hi) return false;
    out = v;
    return true;
}

// Parses "--order", "--mode", "--language", "--codeset", "--count"; every
// other argument is positional. `--` ends the options.
bool ParseOptions(int argc, char** argv, int first, Options& o, std::string& error) {
    bool optionsDone = false;
    for (int i = first; i < argc; ++i) {
        const std::string a = argv[i];
        if (optionsDone || a.size() < 3 || a.compare(0, 2, "--") != 0) {
            if (a == "--" && !optionsDone) {
                optionsDone = true;
                continue;
            }
            o.args.push_back(a);
            continue;
        }
        if (a == "--hex") continue;  // blob values are hex texts already
        if (i + 1 >= argc) {
            error = a + " needs a value";
            return false;
        }
        const std::string v = argv[++i];
        long n = 0;
        if (a == "--order") {
            if (v == "msb") n = 2;
            else if (v == "lsb") n = 0;
            else if (v == "native") n = 1;
            else if (!ParseNumber(v, 0, 15, n)) {
                error = "bad byte order '" + v + "' (msb, lsb, native or 0..15)";
                return false;
            }
            o.order = static_cast<uchar>(n);
            o.orderGiven = true;
        } else if (a == "--mode") {
            if (!ParseNumber(v, 0, 0xFFFF, n)) {
                error = "bad mode '" + v + "' (0 to 0xFFFF)";
                return false;
            }
            o.mode = static_cast<ushort>(n);
            o.modeGiven = true;
        } else if (a == "--language") {
            if (!ParseNumber(v, 0, 255, n)) {
                error = "bad language '" + v + "' (0 to 255)";
                return false;
            }
            o.language = static_cast<uchar>(n);
        } else if (a == "--codeset") {
            if (!ParseNumber(v, 1, 255, n) || !KsLanguageContext::QueryCodeSet(static_cast<uchar>(n))) {
                error = "unknown code set '" + v + "'";
                return false;
            }
            o.codeSet = static_cast<uchar>(n);
        } else if (a == "--count") {
            if (!ParseNumber(v, 1, 100000, n)) {
                error = "bad count '" + v + "' (1 to 100000)";
                return false;
            }
            o.count = n;
        } else {
            error = "unknown option '" + a + "'";
            return false;
        }
    }
    return true;
}

bool ResolveType(KsTypeMgr& mgr, const std::string& name, char& id) {
    if (mgr.Name2KsTypeId(name.c_str(), id) == 0) return true;
    for (int i = 0; i < KsTypeRowCount - 1; ++i)
        if (name == mgr.TypeIdNameGet(static_cast<char>(i), nullptr)) {
            id = static_cast<char>(i);
            return true;
        }
    long n = 0;
    if (ParseNumber(name, 0, KsTypeRowCount - 2, n)) {
        id = static_cast<char>(n);
        return true;
    }
    return false;
}

bool IsStringKind(char id) { return id == KsSTRING_T || id == KsISTRING_T || id == KsCASEISTRING_T; }

// A command-line text as a KsString of the asked code set and language.
KsString FromUtf8(const std::string& text, const Options& o) {
    KsString wide;
    if (!text.empty()) KsMBS2KsString(text.data(), wide, static_cast<int>(text.size()));
    KsString out;
    out.CopyMapped(wide, o.codeSet);
    out.SetLanguage(o.language);
    return out;
}

bool ParseHex(const std::string& text, std::vector<unsigned char>& out) {
    std::string digits;
    for (char c : text)
        if (c != ' ' && c != ':' && c != '_') digits += c;
    if (digits.size() % 2) return false;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        int v = 0;
        for (int k = 0; k < 2; ++k) {
            const char c = digits[i + k];
            int d;
            if (c >= '0' && c <= '9') d = c - '0';
            else if (c >= 'a' && c <= 'f') d = c - 'a' + 10;
            else if (c >= 'A' && c <= 'F') d = c - 'A' + 10;
            else return false;
            v = v * 16 + d;
        }
        out.push_back(static_cast<unsigned char>(v));
    }
    return true;
}

// An array of `count` values of one row, freed through the row.
class Values {
public:
    Values(KsTypeMgr& mgr, char id, uint count) : mgr_(mgr), id_(id), count_(count) {
        data_ = mgr.Create(id, count);
    }
    ~Values() {
        if (data_) mgr_.Delete(id_, data_, count_);
    }
    Values(const Values&) = delete;
    Values& operator=(const Values&) = delete;
    void* Data() const { return data_; }
    void* At(uint i) const { return mgr_.GetArrayElement(id_, data_, i, count_); }

private:
    KsTypeMgr& mgr_;
    char id_;
    uint count_;
    void* data_;
};

bool HasSlot(KsTypeMgr& mgr, char id, int slot) {
    return KsTypeSlotGet(mgr.RowGet(id), slot) != nullptr && !KsTypeSlotPending(KsTypeMgr::RowOf(id), slot);
}

// Fills element `at` from a command-line text through the row's scan slot.
bool ScanValue(KsTypeMgr& mgr, char id, void* at, const std::string& text, const Options& o) {
    KsString in = IsStringKind(id) ? FromUtf8(text, o) : KsString(text.c_str());
    mgr.ScanFromKsString(id, at, in, nullptr, 1);
    if (id == KsSTRING_T) {
        // The text keeps the asked code set and language.
        KsString* s = static_cast<KsString*>(at);
        *s = in;
    }
    return true;
}

int Fail(const std::string& message) {
    std::fprintf(stderr, "kstm: %s\n", message.c_str());
    return 2;
}

}  // namespace

std::string KstmUtf8(const KsString& s) {
    char* buf = nullptr;
    int size = 0;
    const int n = KsString2MultiByteString(s, buf, size);
    std::string out = n >= 0 && buf ? std::string(buf, static_cast<std::size_t>(n)) : std::string(s.StrGet());
    ::operator delete(buf);
    return out;
}

std::string KstmHex(const void* p, std::size_t n, const char* separator) {
    static const char digits[] = "0123456789abcdef";
    const unsigned char* bytes = static_cast<const unsigned char*>(p);
    std::string s;
    for (std::size_t i = 0; i < n; ++i) {
        if (i) s += separator;
        s += digits[bytes[i] >> 4];
        s += digits[bytes[i] & 15];
    }
    return s;
}

int KstmEncode(int argc, char** argv) {
    Options o;
    std::string error;
    if (!ParseOptions(argc, argv, 2, o, error)) return Fail(error);
    if (o.args.size() < 2) return Fail("usage: kstm encode TYPE [--order msb|lsb|native] VALUE...");
    KsTypeMgr mgr(5);
    char id = 0;
    if (!ResolveType(mgr, o.args[0], id)) return Fail("unknown type '" + o.args[0] + "'");
    if (!HasSlot(mgr, id, 23)) return Fail(std::string("type ") + mgr.NameGet(id, nullptr) + " cannot read values yet");
    const uint count = static_cast<uint>(o.args.size() - 1);
    Values values(mgr, id, count);
    if (!values.Data()) return Fail("out of memory");
    std::size_t textBytes = 0;
    for (uint i = 0; i < count; ++i) {
        ScanValue(mgr, id, values.At(i), o.args[i + 1], o);
        textBytes += o.args[i + 1].size();
    }
    std::vector<unsigned char> image(textBytes * 4 + 64 * count + 1024);
    uint n;
    if (HasSlot(mgr, id, 4)) {
        n = mgr.Store(id, image.data(), values.Data(), o.order, count);
    } else if (HasSlot(mgr, id, 18)) {
        n = mgr.Translate(id, image.data(), o.order, static_cast<uint>(image.size()), values.Data(), 8, 0, count);
    } else {
        return Fail(std::string("type ") + mgr.NameGet(id, nullptr) + " has no stored image");
    }
    if (n == 0 || n > image.size()) return Fail("the values could not be stored");
    std::printf("%s\n", KstmHex(image.data(), n).c_str());
    return 0;
}

int KstmDecode(int argc, char** argv) {
    Options o;
    std::string error;
    if (!ParseOptions(argc, argv, 2, o, error)) return Fail(error);
    if (o.args.size() != 2) return Fail("usage: kstm decode TYPE [--order msb|lsb|native] [--count N] HEX");
    KsTypeMgr mgr(5);
    char id = 0;
    if (!ResolveType(mgr, o.args[0], id)) return Fail("unknown type '" + o.args[0] + "'");
    std::vector<unsigned char> image;
    if (!ParseHex(o.args[1], image)) return Fail("bad hex text (an even number of hex digits expected)");
    if (image.empty()) return Fail("empty image");
    const bool viaLoad = HasSlot(mgr, id, 5);
    if (!viaLoad && !HasSlot(mgr, id, 18)) return Fail(std::string("type ") + mgr.NameGet(id, nullptr) + " has no stored image");
    if (!HasSlot(mgr, id, 8)) return Fail(std::string("type ") + mgr.NameGet(id, nullptr) + " cannot size images yet");

    std::size_t pos = 0;
    bool first = true;
    while (pos < image.size()) {
        MemFile file(image.data() + pos, static_cast<uint>(image.size() - pos));
        uint count = o.count > 0 ? static_cast<uint>(o.count) : 1;
        if (mgr.IsFixed(id) && o.count < 0) {
            // Fixed lengths: every element of the image at once.
            const uint width = mgr.DiskLenGetFromMemFile(id, &file, o.order, 1);
            if (width == 0) return Fail("cannot size this type's image");
            if ((image.size() - pos) % width) {
                char msg[96];
                std::snprintf(msg, sizeof msg, "image of %zu bytes is not a whole number of %u-byte values",
                              image.size() - pos, width);
                return Fail(msg);
            }
            count = static_cast<uint>((image.size() - pos) / width);
        }
        const uint need = mgr.DiskLenGetFromMemFile(id, &file, o.order, count);
        if (need == 0 || need > image.size() - pos) {
            char msg[96];
            std::snprintf(msg, sizeof msg, "truncated or malformed image at byte %zu", pos);
            return Fail(msg);
        }
        Values values(mgr, id, count);
        if (!values.Data()) return Fail("out of memory");
        uint used;
        if (viaLoad) {
            used = mgr.Load(id, values.Data(), image.data() + pos, o.order, count);
        } else {
            used = mgr.Translate(id, values.Data(), 8, 0, image.data() + pos, o.order, need, count);
        }
        if (used == 0) return Fail("the image could not be loaded");
        for (uint i = 0; i < count; ++i) {
            KsString out;
            mgr.PrintToKsString(id, out, values.At(i), nullptr, 1);
            if (mgr.IsNullValue(id, values.At(i))) out = KsTypeMgr::GetNullPrintString();
            std::printf("%s%s", first ? "" : "\n", KstmUtf8(out).c_str());
            first = false;
        }
        pos += need;
        if (o.count > 0) break;
    }
    std::printf("\n");
    if (pos < image.size()) std::fprintf(stderr, "kstm: %zu bytes after the image ignored\n", image.size() - pos);
    return 0;
}

int KstmCompare(int argc, char** argv) {
    Options o;
    std::string error;
    if (!ParseOptions(argc, argv, 2, o, error)) return Fail(error);
    if (o.args.size() != 3) return Fail("usage: kstm compare TYPE [--mode M] [--language L] [--codeset C] A B");
    KsTypeMgr mgr(5);
    char id = 0;
    if (!ResolveType(mgr, o.args[0], id)) return Fail("unknown type '" + o.args[0] + "'");
    if (!HasSlot(mgr, id, 9) || !HasSlot(mgr, id, 23))
        return Fail(std::string("type ") + mgr.NameGet(id, nullptr) + " cannot compare values yet");
    Values a(mgr, id, 1), b(mgr, id, 1);
    if (!a.Data() || !b.Data()) return Fail("out of memory");
    ScanValue(mgr, id, a.Data(), o.args[1], o);
    ScanValue(mgr, id, b.Data(), o.args[2], o);
    const ushort mode = o.modeGiven ? o.mode : (id == KsSTRING_T ? KsString::GetDefaultCmpOp() : 0);
    int status = 0;
    const int result = mgr.Cmp(id, 0, a.Data(), 0, b.Data(), mode, 1, 8, status);
    std::printf("result %d status %d\n", result, status);
    return 0;
}
