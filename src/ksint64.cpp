// KsInt64: the corner cases of division, shifts and the conversion from
// double, text printing and scanning, and the slot functions of its row.
#include "ksint64.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>

#include "ksbase.h"
#include "ksimageutil.h"
#include "ksint64row.h"
#include "ksstring.h"
#include "ksstringrow.h"
#include "kstextutil.h"
#include "kstypcmp.h"

namespace {

constexpr KsI64 kMin = std::numeric_limits<KsI64>::min();
constexpr KsI64 kMax = std::numeric_limits<KsI64>::max();

// Assertion logs are matched on source and line, so both stay fixed.
constexpr const char* kDivideByZero = "KsInt64 divide by zero";
constexpr const char* kSourceName = "src/ksint64";
constexpr int kDivideByZeroLine = 748;

}  // namespace

// ---------------------------------------------------------------------------
// Arithmetic.
// ---------------------------------------------------------------------------

// The value keeps only the seven significant digits of its "%E" text: the
// digits are walked with the decimal exponent counting down, and whatever
// the exponent leaves over becomes trailing zeros. to_chars gives the same
// digits as printf's "%E" without depending on the C locale's decimal point.
KsInt64::KsInt64(double v) : low_(0), high_(0) {
    const double m = std::fabs(v);
    KsU64 magnitude = 0;
    if (m > 9223372036854774784.0) {  // the largest double below 2^63
        magnitude = static_cast<KsU64>(kMax);
    } else if (m >= 1.0) {
        char buf[32];
        const std::to_chars_result r =
            std::to_chars(buf, buf + sizeof buf, v, std::chars_format::scientific, 6);
        const char* mark = std::find(buf, r.ptr, 'e');
        int exponent = 0;
        for (const char* q = mark + 2; q < r.ptr; ++q) exponent = exponent * 10 + (*q - '0');
        bool fraction = false;
        for (const char* q = buf; q < mark; ++q) {
            if (*q == '.') {
                fraction = true;
            } else if (*q >= '0' && *q <= '9') {
                if (fraction) --exponent;
                if (exponent < 0) break;
                magnitude = magnitude * 10 + static_cast<KsU64>(*q - '0');
            }
        }
        for (; exponent >= 1; --exponent) magnitude *= 10;
    }
    if (v < 0) magnitude = 0 - magnitude;
    *this = KsInt64(magnitude);
}

KsInt64 KsInt64::operator<<(unsigned int n) const {
    if (n >= 64) return KsInt64();
    return KsInt64(GetU8b() << n);
}

KsInt64 KsInt64::operator>>(unsigned int n) const {
    if (n >= 64) return high_ < 0 ? KsInt64(-1) : KsInt64();
    return KsInt64(Get8b() >> n);  // arithmetic: the sign is copied in
}

KsInt64 KsInt64::Abs() const { return high_ < 0 ? -*this : *this; }

// Native division wherever it is defined; the remaining inputs get the
// results of the original bit-serial routine, which never trapped.
KsInt64 KsInt64::Division(const KsInt64& divisor, int wantRemainder) const {
    const KsI64 a = Get8b();
    const KsI64 b = divisor.Get8b();
    if (b == kMin) {
        // |b| exceeds every other magnitude.
        if (a == kMin) return wantRemainder ? KsInt64() : KsInt64(1);
        return wantRemainder ? *this : KsInt64();
    }
    if (b == 0) {
        VARN_assert(kDivideByZero, kSourceName, kDivideByZeroLine);
        // The routine's fix-up for a dividend of -2^63 still adds its one.
        return (wantRemainder && a == kMin) ? KsInt64(-1) : KsInt64();
    }
    if (b == -1) return wantRemainder ? KsInt64() : -*this;  // -2^63 / -1 wraps
    return KsInt64(wantRemainder ? a % b : a / b);
}

// ---------------------------------------------------------------------------
// Text.
// ---------------------------------------------------------------------------
namespace {

bool IsDirective(char c) {
    return c == 'S' || c == 'd' || c == 'i' || c == 'o' || c == 'x' || c == 'X';
}

// Longest conversion: sign, "0" and 22 octal digits.
constexpr std::size_t kMaxConversion = 24;

// Writes one conversion at p and returns its end. The magnitude is taken as
// unsigned, so -2^63 needs no special digits: its decimal text keeps the
// sign, while octal and hex show the bare bit pattern.
char* FormatValue(char* p, KsI64 value, char directive) {
    KsU64 magnitude = static_cast<KsU64>(value);
    const bool decimal = directive != 'o' && directive != 'x' && directive != 'X';
    if (value < 0) {
        magnitude = 0 - magnitude;
        if (value != kMin || decimal) *p++ = '-';
    }
    if (decimal) return std::to_chars(p, p + 20, magnitude).ptr;

    const char* digits = directive == 'X' ? "0123456789ABCDEF" : "0123456789abcdef";
    const unsigned shift = directive == 'o' ? 3 : 4;
    const unsigned mask = directive == 'o' ? 7 : 15;
    *p++ = '0';
    if (directive != 'o') *p++ = directive;
    char rev[22];
    int n = 0;
    do {
        rev[n++] = digits[magnitude & mask];
        magnitude >>= shift;
    } while (magnitude);
    while (n) *p++ = rev[--n];
    return p;
}

// Collects output in a stack buffer and appends it to the string in chunks.
class Appender {
public:
    explicit Appender(KsString& out) : out_(out) {}
    void Put(char c) {
        if (n_ + 1 >= sizeof buf_) Flush();
        buf_[n_++] = c;
    }
    void Put(KsI64 value, char directive) {
        if (n_ + kMaxConversion + 1 >= sizeof buf_) Flush();
        n_ = static_cast<std::size_t>(FormatValue(buf_ + n_, value, directive) - buf_);
    }
    void Flush() {
        if (n_ == 0) return;
        buf_[n_] = 0;
        out_ << buf_;
        n_ = 0;
    }

private:
    KsString& out_;
    char buf_[128];
    std::size_t n_ = 0;
};

// Digit value of a text character: letters count from 10 ('A' and 'a'),
// anything else is out of every base.
unsigned DigitValue(char c) {
    if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
    if (c >= 'A' && c <= 'Z') return static_cast<unsigned>(c - 'A' + 10);
    if (c >= 'a' && c <= 'z') return static_cast<unsigned>(c - 'a' + 10);
    return 99;
}

// Walks format and text (n bytes, never read beyond) together; false on a
// mismatch. `result` gets the value of the last directive, 0 without one.
bool ScanText(const char* t, std::size_t n, const char* f, KsU64& result) {
    result = 0;
    std::size_t p = 0;
    while (*f && p < n) {
        // A "%" that starts no directive is matched like any other character;
        // unlike printing, the character after it is looked at afresh, so
        // "%%d" reads "%" and then a number.
        if (f[0] != '%' || !IsDirective(f[1])) {
            if (t[p] != *f) return false;
            ++p;
            ++f;
            continue;
        }
        const char directive = f[1];
        f += 2;
        const char terminator = *f;

        bool negative = false;
        if (p < n && (t[p] == '-' || t[p] == '+')) negative = t[p++] == '-';
        unsigned base = 10;
        if (p < n && t[p] == '0') {
            if (p + 1 < n && (t[p + 1] == 'x' || t[p + 1] == 'X')) {
                base = 16;
                p += 2;
            } else {
                base = 8;  // the zero is read as a digit
            }
        }
        switch (directive) {
        case 'x': case 'X': if (base != 16) return false; break;
        case 'd': case 'i': if (base != 10) return false; break;
        case 'o': if (base != 8) return false; break;
        default: break;
        }

        KsU64 value = 0;  // wraps without an overflow check
        for (; p < n && t[p] != terminator; ++p) {
            const unsigned digit = DigitValue(t[p]);
            if (digit >= base) return false;
            value = value * base + digit;
        }
        result = negative ? 0 - value : value;
        if (p < n) {  // stopped at the terminator: step over it in both
            ++p;
            ++f;
        }
    }
    return true;
}

}  // namespace

KsString& KsInt64::PrintToKsString(KsString& out, const char* format) const {
    const char* f = format ? format : "%S";
    Appender app(out);
    const KsI64 value = Get8b();
    while (*f) {
        if (f[0] == '%' && IsDirective(f[1])) {
            app.Put(value, f[1]);
            f += 2;
            continue;
        }
        app.Put(*f);
        // A "%" that starts no directive takes the next character along as text.
        if (f[0] == '%' && f[1]) app.Put(*++f);
        ++f;
    }
    app.Flush();
    return out;
}

void KsInt64::ScanFromKsString(const KsString& text, const char* format) {
    const char* f = format ? format : "%S";
    KsU64 value;
    const KsSingleByte narrow(text, 0);  // scanning works on single-byte text
    const bool ok = ScanText(narrow.Chars(), narrow.Len(), f, value);
    *this = ok ? KsInt64(value) : KsInt64(-1);
}

// ---------------------------------------------------------------------------
// Comparator.
// ---------------------------------------------------------------------------
namespace {

// Stored element: [low word: 4 bytes][high word: 4 bytes], each in the
// format's byte order. Nibble 8 (memory) and 1 (native stored) are the
// in-memory layout already.
KsI64 ReadElement(const uchar* p, uchar nibble) {
    KsInt64 v;
    if (nibble == 8 || nibble == 1) {
        std::memcpy(&v, p, sizeof v);
    } else {
        uchar* w = reinterpret_cast<uchar*>(&v);
        LongStoreOne(w, p, nibble);
        LongStoreOne(w + 4, p + 4, nibble);
    }
    return v.Get8b();
}

}  // namespace

int Int64Compare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort, uint count,
                 int& status) {
    const uchar nibble = format & 15;
    return KsCompareFixed(lenA, a, lenB, b, count, 8, status,
                          [nibble](const uchar* x, const uchar* y) {
                              const KsI64 vx = ReadElement(x, nibble);
                              const KsI64 vy = ReadElement(y, nibble);
                              return (vx > vy) - (vx < vy);
                          });
}

// ---------------------------------------------------------------------------
// Row slot functions.
// ---------------------------------------------------------------------------
namespace {

void* Allocate(std::size_t bytes) {
    for (int attempt = 1;; ++attempt) {
        if (void* p = ::operator new(bytes, std::nothrow)) return p;
        if (!KsCallMemoryHandler(bytes, attempt)) return nullptr;
    }
}

// Arrays of two or more: [count: 4 bytes][4 bytes padding][values...]. The
// padding keeps the values 8-byte aligned for readers that load them whole.
constexpr std::size_t kArrayHeader = 8;

// Stored image of each value: [low word][high word], 4 bytes each, through
// the base library's swap (its own inverse, so it serves both directions).
// Example, value 0x0102030405060708: format 2 -> 05 06 07 08 01 02 03 04;
// format 1 on a little-endian host -> 08 07 06 05 04 03 02 01.
uint MoveWords(void* dst, const void* src, uchar format, uint count) {
    if (!dst || !src) return 0;
    uchar* d = static_cast<uchar*>(dst);
    const uchar* s = static_cast<const uchar*>(src);
    uint bytes = 0;
    for (uint i = 0; i < count; ++i, d += 8, s += 8) {
        bytes += LongStoreOne(d, s, format);
        bytes += LongStoreOne(d + 4, s + 4, format);
    }
    return bytes;
}

}  // namespace

void* Int64Create(uint count) {
    if (count < 2) {
        void* p = Allocate(sizeof(KsInt64));
        if (p) std::memset(p, 0, sizeof(KsInt64));
        return p;
    }
    const std::size_t bytes = kArrayHeader + std::size_t(count) * sizeof(KsInt64);
    uchar* block = static_cast<uchar*>(Allocate(bytes));
    if (!block) return nullptr;
    std::memset(block, 0, bytes);
    std::memcpy(block, &count, sizeof count);
    return block + kArrayHeader;
}

void* Int64Delete(void* values, uint count) {
    if (!values) return nullptr;
    if (count < 2)
        ::operator delete(values);
    else
        ::operator delete(static_cast<uchar*>(values) - kArrayHeader);
    return nullptr;
}

void Int64Construct(void* values, uint count, uint) {
    if (values && count) std::memset(values, 0, std::size_t(count) * sizeof(KsInt64));
}

void Int64Destruct(void*, uint, uint) {}

void Int64Assign(void* dst, void* src, uint count, int fill) {
    if (!dst || !src || count == 0) return;
    if (!fill) {
        std::memmove(dst, src, std::size_t(count) * sizeof(KsInt64));
        return;
    }
    uchar first[sizeof(KsInt64)];
    std::memcpy(first, src, sizeof first);
    uchar* d = static_cast<uchar*>(dst);
    for (uint i = 0; i < count; ++i) std::memcpy(d + i * sizeof first, first, sizeof first);
}

// Trivially copyable: copying into raw memory is assignment.
void Int64Copy(void* dst, void* src, uint count, int fill) { Int64Assign(dst, src, count, fill); }

void* Int64DefaultValue(uint count, int) { return Int64Create(count); }

uint Int64Store(void* disk, const void* mem, uchar byteOrder, uint count) {
    return MoveWords(disk, mem, byteOrder & 15, count);
}

uint Int64Load(void* mem, const void* disk, uchar byteOrder, uint count) {
    return MoveWords(mem, disk, byteOrder & 15, count);
}

uint Int64CountSize(uint count) { return count * 8; }

uint Int64DiskLen(const void*, uchar, uchar, uint count) { return count * 8; }

uint Int64DiskLenFile(MemFile*, uchar, uint count) { return count * 8; }

uint Int64Translate(void* dst, uchar dstFormat, uint dstLen, void* src, uchar srcFormat,
                    uint srcLen, uint count) {
    const bool dstMem = dstFormat & 8;
    const bool srcMem = srcFormat & 8;
    if (!dstMem) {
        if (srcMem) return Int64Store(dst, src, dstFormat, count);
        return KsCopyStoredImage(dst, dstLen, src, srcLen);
    }
    if (!srcMem) return Int64Load(dst, src, srcFormat, count);
    if (count) std::memmove(dst, src, std::size_t(count) * sizeof(KsInt64));
    return count * 8;
}

KsTypeConvertData* Int64ConvertToKsString(void* values, uint count) {
    if (!values && count) return nullptr;
    // Made like the string row's arrays: the carrier's owner frees them there.
    KsString* strings = static_cast<KsString*>(StringCreate(count));
    if (!strings) return nullptr;
    const KsInt64* v = static_cast<const KsInt64*>(values);
    for (uint i = 0; i < count; ++i) v[i].PrintToKsString(strings[i], "%S");
    KsTypeConvertData* data = KsTypeConvertData::Make(KsSTRING_T, count, strings, nullptr);
    if (!data) StringDelete(strings, count);
    return data;
}

// Texts read as the string's own 64-bit conversion does (base detection, no
// -1 for bad text), not as the "%S" scan.
void* Int64ConvertFromKsString(KsTypeConvertData* text, uint count) {
    KsInt64* values = static_cast<KsInt64*>(Int64Create(count));
    if (!values || !text) return values;
    for (uint i = 0; i < count; ++i) {
        const KsString* s = text->GetString(static_cast<int>(i));
        if (s && !s->IsNullValue()) values[i] = KsInt64(static_cast<KsI64>(*s));
    }
    return values;
}

KsString& Int64Print(KsString& out, void* value, const char* format, uint) {
    out = KsString(out.CodeSet(), out.Language());
    if (value) static_cast<const KsInt64*>(value)->PrintToKsString(out, format);
    return out;
}

void* Int64Scan(void* value, KsString& in, const char* format, uint) {
    if (!value) return nullptr;
    static_cast<KsInt64*>(value)->ScanFromKsString(in, format);
    return value;
}

int Int64GetValue(void* value, uint, uchar format, uchar mode) {
    if (format != 8 || !value) return KS_NOT_SUPPORTED;
    KsInt64& v = *static_cast<KsInt64*>(value);
    switch (mode) {
    case 2:
        v = KsInt64(kMin);
        return KS_OK;
    case 'O':
        return KS_OK;
    case 'M':
    case 'N':
        if (v.Get8b() == kMax) return KS_STEP_OVERFLOW;
        ++v;
        return KS_OK;
    default:
        return KS_NOT_SUPPORTED;
    }
}
