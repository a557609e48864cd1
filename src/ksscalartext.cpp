// Text forms of the plain scalar kinds: format translation, the bulk
// conversions, the byte printer, bounded scans and the double printer and
// reader.
#include "ksscalartext.h"

#include <cctype>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>

#include "ksmodule.h"
#include "ksscalar.h"
#include "ksstring.h"
#include "ksstringrow.h"
#include "kstextutil.h"

namespace {

// ---------------------------------------------------------------------------
// Format translation.
// ---------------------------------------------------------------------------
constexpr uint kPrintFieldLimit = 511;   // a printf width or precision beyond is refused
constexpr uint kScanFieldLimit = 65535;  // no text is longer
constexpr std::size_t kValueText = 512;  // buffer of one printed value, terminator included
constexpr std::size_t kMaxText = KsString::MaxSize - 1;  // characters an 8-bit string holds

bool IsIntegerConversion(char c) { return c && std::strchr("diouxXc", c); }
bool IsFloatConversion(char c) { return c && std::strchr("aAeEfFgG", c); }
bool IsSignedConversion(char c) { return c == 'd' || c == 'i'; }

// Reads a decimal field; false when it exceeds `limit`.
bool ReadField(const char*& p, uint limit, uint& value) {
    value = 0;
    while (*p >= '0' && *p <= '9') {
        value = value * 10 + uint(*p++ - '0');
        if (value > limit) return false;
    }
    return true;
}

// Length prefixes of both dialects; the result is the narrowing they ask
// for (8, 16) or 0. Every other prefix only named a width, which the
// argument now decides.
uchar ReadLengthPrefix(const char*& p) {
    if (p[0] == 'h') {
        if (p[1] == 'h') {
            p += 2;
            return 8;
        }
        ++p;
        return 16;
    }
    if (p[0] == 'I' && ((p[1] == '6' && p[2] == '4') || (p[1] == '3' && p[2] == '2'))) {
        p += 3;
        return 0;
    }
    if (p[0] == 'l' && p[1] == 'l') {
        p += 2;
        return 0;
    }
    if (*p && std::strchr("lLqjztIw", *p)) ++p;
    return 0;
}

// ---------------------------------------------------------------------------
// Calls with a format built at run time.
// ---------------------------------------------------------------------------
int PrintRaw(char* buf, std::size_t size, const char* format, ...) {
    va_list ap;
    va_start(ap, format);
    const int n = std::vsnprintf(buf, size, format, ap);
    va_end(ap);
    return n;
}

int ScanRaw(const char* text, const char* format, ...) {
    va_list ap;
    va_start(ap, format);
    const int n = std::vsscanf(text, format, ap);
    va_end(ap);
    return n;
}

// ---------------------------------------------------------------------------
// Printing and scanning through translated pieces.
// ---------------------------------------------------------------------------
struct FmtValue {
    KsU64 bits = 0;   // integers: the value's bits
    uint width = 32;  // integers: 8, 16, 32 or 64
    double real = 0;  // floating arguments
};

KsI64 SignExtend(KsU64 bits, uint width) {
    if (width >= 64) return KsI64(bits);
    const KsU64 sign = KsU64(1) << (width - 1);
    bits &= (sign << 1) - 1;
    return KsI64(bits ^ sign) - KsI64(sign);
}

KsU64 ZeroExtend(KsU64 bits, uint width) {
    return width >= 64 ? bits : bits & ((KsU64(1) << width) - 1);
}

// One piece into `buf` (kValueText bytes); returns the characters written.
std::size_t PrintPiece(const KsFormatPiece& piece, const FmtValue& v, KsFormatArg arg,
                       char* buf) {
    const char* f = piece.text.c_str();
    int n;
    const char c = piece.conversion;
    if (!c) {
        n = PrintRaw(buf, kValueText, f);
    } else if (IsFloatConversion(c)) {
        n = PrintRaw(buf, kValueText, f, v.real);
    } else {
        const bool wide = arg == KsFormatArg::Int64 && !piece.narrow && c != 'c';
        if (IsSignedConversion(c) || c == 'c') {
            const KsI64 x = SignExtend(v.bits, v.width);
            n = wide ? PrintRaw(buf, kValueText, f, static_cast<long long>(x))
                     : PrintRaw(buf, kValueText, f, static_cast<int>(x));
        } else {
            const KsU64 x = ZeroExtend(v.bits, v.width);
            n = wide ? PrintRaw(buf, kValueText, f, static_cast<unsigned long long>(x))
                     : PrintRaw(buf, kValueText, f, static_cast<unsigned>(x));
        }
    }
    if (n < 0) return 0;
    return std::size_t(n) < kValueText ? std::size_t(n) : kValueText - 1;
}

void AppendPieces(const std::vector<KsFormatPiece>& pieces, const FmtValue* values,
                  const KsFormatArg* args, std::string& text) {
    char buf[kValueText];
    for (const KsFormatPiece& p : pieces)
        text.append(buf, PrintPiece(p, values[p.arg], args[p.arg], buf));
}

// The whole text of `format` applied to the values; empty when the format
// is unusable. Clipped to one value buffer.
std::string FormatValues(const char* format, const FmtValue* values, const KsFormatArg* args,
                         int count) {
    std::vector<KsFormatPiece> pieces;
    std::string text;
    if (KsFormatTranslate(format, args, count, false, pieces))
        AppendPieces(pieces, values, args, text);
    if (text.size() > kValueText - 1) text.resize(kValueText - 1);
    return text;
}

struct ScanSlot {
    bool set = false;
    KsU64 bits = 0;  // integers, extended to 64 bits by the conversion's signedness
    double real = 0;
};

template <typename T>
int ScanInto(const char* text, const char* f, T& v, int& used) {
    return ScanRaw(text, f, &v, &used);
}

// Scans `text` (NUL-terminated, owned by the caller) piece by piece, each
// followed by "%n" so the next piece starts where the last one stopped.
// Returns the number of values assigned.
int ScanPieces(const char* text, const std::vector<KsFormatPiece>& pieces, const KsFormatArg* args,
               ScanSlot* slots) {
    int assigned = 0;
    std::size_t pos = 0;
    std::string f;
    for (const KsFormatPiece& p : pieces) {
        f = p.text;
        f += "%n";
        const char* t = text + pos;
        int used = -1;
        int r = 0;
        ScanSlot s;
        const char c = p.conversion;
        if (!c) {
            ScanRaw(t, f.c_str(), &used);
        } else if (IsFloatConversion(c)) {
            r = ScanInto(t, f.c_str(), s.real, used);
        } else if (c == 'c') {
            char ch = 0;
            r = ScanInto(t, f.c_str(), ch, used);
            s.bits = static_cast<uchar>(ch);
        } else {
            const bool sig = IsSignedConversion(c);
            const uint width = p.narrow ? p.narrow : args[p.arg] == KsFormatArg::Int64 ? 64 : 32;
            KsU64 raw = 0;
            switch (width) {
            case 8: {
                unsigned char x = 0;
                r = sig ? ScanInto(t, f.c_str(), reinterpret_cast<signed char&>(x), used)
                        : ScanInto(t, f.c_str(), x, used);
                raw = x;
                break;
            }
            case 16: {
                unsigned short x = 0;
                r = sig ? ScanInto(t, f.c_str(), reinterpret_cast<short&>(x), used)
                        : ScanInto(t, f.c_str(), x, used);
                raw = x;
                break;
            }
            case 32: {
                unsigned x = 0;
                r = sig ? ScanInto(t, f.c_str(), reinterpret_cast<int&>(x), used)
                        : ScanInto(t, f.c_str(), x, used);
                raw = x;
                break;
            }
            default: {
                unsigned long long x = 0;
                r = sig ? ScanInto(t, f.c_str(), reinterpret_cast<long long&>(x), used)
                        : ScanInto(t, f.c_str(), x, used);
                raw = x;
                break;
            }
            }
            s.bits = sig ? KsU64(SignExtend(raw, width)) : raw;
        }
        if (c && r >= 1) {
            s.set = true;
            slots[p.arg] = s;
            ++assigned;
        }
        if (used < 0 || (c && r < 1)) break;
        pos += std::size_t(used);
    }
    return assigned;
}

// ---------------------------------------------------------------------------
// Texts in and out.
// ---------------------------------------------------------------------------

// The characters of `in` as single-byte text (a wide string through code set
// 1), bounded by the string's length: a buffer without terminator is read no
// further.
std::string SingleByteText(const KsString& in) { return KsSingleByteText(in, 1); }

// Replaces the text of `out`, keeping its code set and language (a null
// string takes the defaults instead, so the result is not null).
void PutText(KsString& out, const char* text, std::size_t len, uchar codeSet) {
    KsString fresh = out.IsNullValue() ? KsString() : KsString(out.CodeSet(), out.Language());
    if (len > kMaxText) len = kMaxText;
    if (len) fresh.EditText(text, codeSet, 0, 0, ushort(len), 1, KsString::EditAssignAt);
    out.Destruct(fresh);
}

void PutText(KsString& out, const std::string& text) {
    // Code set 0: taken as it is by an 8-bit string, converted for a wide one.
    PutText(out, text.data(), text.size(), 0);
}

template <typename T>
FmtValue IntegerValue(const void* value) {
    T v;
    std::memcpy(&v, value, sizeof v);
    FmtValue f;
    f.bits = KsU64(static_cast<std::make_unsigned_t<T>>(v));
    f.width = sizeof(T) * 8;
    return f;
}

template <typename T>
constexpr KsFormatArg ArgOf() {
    return sizeof(T) == 8 ? KsFormatArg::Int64 : KsFormatArg::Int32;
}

template <typename T>
KsString& PrintInteger(KsString& out, void* value, const char* format, const char* fallback) {
    if (!value) return out;
    const FmtValue v = IntegerValue<T>(value);
    const KsFormatArg arg = ArgOf<T>();
    PutText(out, FormatValues(format ? format : fallback, &v, &arg, 1));
    return out;
}

template <typename T>
void* ScanInteger(void* value, KsString& in, const char* format, const char* fallback) {
    if (!value) return nullptr;
    const KsFormatArg arg = ArgOf<T>();
    std::vector<KsFormatPiece> pieces;
    if (!KsFormatTranslate(format ? format : fallback, &arg, 1, true, pieces)) return value;
    const std::string text = SingleByteText(in);
    ScanSlot slot;
    if (ScanPieces(text.c_str(), pieces, &arg, &slot) && slot.set) {
        const T v = static_cast<T>(static_cast<std::make_unsigned_t<T>>(slot.bits));
        std::memcpy(value, &v, sizeof v);
    }
    return value;
}

// ---------------------------------------------------------------------------
// Doubles.
// ---------------------------------------------------------------------------
const char kDoubleFormat[] = "%.17g";
const char kLdexpFormat[] = "ldexp(%.17g, %d)";

bool IsLdexpFormat(const char* f) { return f[0] != '%' && std::strncmp(f, "ldex", 4) == 0; }

std::string DoubleText(double v, const char* f) {
    if (!f) f = kDoubleFormat;
    if (IsLdexpFormat(f)) {
        // frexp leaves the exponent unspecified for NaN and infinities.
        int e = 0;
        const double m = std::isfinite(v) ? std::frexp(v, &e) : v;
        FmtValue values[2];
        values[0].real = m;
        values[1].bits = KsU64(static_cast<uint>(e));
        const KsFormatArg args[2] = {KsFormatArg::Double, KsFormatArg::Int32};
        return FormatValues(f, values, args, 2);
    }
    if (std::strcmp(f, kDoubleFormat) == 0) {
        if (std::isnan(v)) return "NaN";
        if (std::isinf(v)) return v < 0 ? "-Infinity" : "Infinity";
    }
    FmtValue value;
    value.real = v;
    const KsFormatArg arg = KsFormatArg::Double;
    return FormatValues(f, &value, &arg, 1);
}

bool StartsWith(const char* s, const char* prefix) {
    return std::strncmp(s, prefix, std::strlen(prefix)) == 0;
}

// Mantissa and exponent as `format` (two arguments) lays them out.
bool ReadLdexp(const char* text, const char* format, double& out) {
    const KsFormatArg args[2] = {KsFormatArg::Double, KsFormatArg::Int32};
    std::vector<KsFormatPiece> pieces;
    if (!KsFormatTranslate(format, args, 2, true, pieces)) return false;
    ScanSlot slots[2];
    if (ScanPieces(text, pieces, args, slots) < 2 || !slots[0].set || !slots[1].set) return false;
    out = std::ldexp(slots[0].real, static_cast<int>(static_cast<uint>(slots[1].bits)));
    return true;
}

bool ScanPlainDouble(const char* text, const char* format, double& out) {
    const KsFormatArg arg = KsFormatArg::Double;
    std::vector<KsFormatPiece> pieces;
    if (!KsFormatTranslate(format, &arg, 1, true, pieces)) return false;
    ScanSlot slot;
    if (!ScanPieces(text, pieces, &arg, &slot) || !slot.set) return false;
    out = slot.real;
    return true;
}

// The reader behind "%.17g" and the "ldex..." formats: the three special
// texts, the mantissa-exponent form (as `format` writes it, or the standard
// "ldexp(m, e)"), or a plain number.
bool ReadDouble(const std::string& textIn, const char* format, double& out) {
    const char* text = textIn.c_str();
    while (std::isspace(static_cast<uchar>(*text))) ++text;
    if (StartsWith(text, "NaN")) {
        out = std::numeric_limits<double>::quiet_NaN();
        return true;
    }
    if (StartsWith(text, "-Infinity") || StartsWith(text, "Infinity")) {
        out = text[0] == '-' ? -HUGE_VAL : HUGE_VAL;
        return true;
    }
    if (IsLdexpFormat(format) && ReadLdexp(text, format, out)) return true;
    if (StartsWith(text, "ldexp(")) return ReadLdexp(text, kLdexpFormat, out);
    return ScanPlainDouble(text, "%lg", out);
}

bool ScanDoubleText(KsString& in, const char* format, double& out) {
    const char* f = format ? format : kDoubleFormat;
    const std::string text = SingleByteText(in);
    if (IsLdexpFormat(f) || std::strcmp(f, kDoubleFormat) == 0) return ReadDouble(text, f, out);
    return ScanPlainDouble(text.c_str(), f, out);
}

// ---------------------------------------------------------------------------
// Bulk conversion.
// ---------------------------------------------------------------------------
template <typename T, typename Make>
KsTypeConvertData* ToStrings(void* values, uint count, Make make) {
    KsString* strings = static_cast<KsString*>(StringCreate(count));
    if (!strings) return nullptr;
    if (values) {
        for (uint i = 0; i < count; ++i) {
            T v;
            std::memcpy(&v, static_cast<const char*>(values) + std::size_t(i) * sizeof(T),
                        sizeof v);
            strings[i] += make(v);
        }
    }
    KsTypeConvertData* carrier = KsTypeConvertData::Make(KsSTRING_T, count, strings, nullptr);
    if (!carrier) StringDelete(strings, count);
    return carrier;
}

template <typename T, typename Read>
void* FromStrings(KsTypeConvertData* text, uint count, KsScalarKind kind, Read read) {
    void* values = KsScalarSlotsGet(kind).create(count);
    if (!values) return nullptr;
    const KsString empty;
    for (uint i = 0; i < count; ++i) {
        KsString* s = text ? text->GetString(int(i)) : nullptr;
        const T v = read(s && !s->IsNullValue() ? *s : empty);
        std::memcpy(static_cast<char*>(values) + std::size_t(i) * sizeof(T), &v, sizeof v);
    }
    return values;
}

// The character kinds read back the one character their constructor writes.
uchar FirstByte(const KsString& s) {
    if (s.Width() == 1) return static_cast<uchar>(s.StrGet()[0]);
    const std::string text = SingleByteText(s);
    return text.empty() ? 0 : static_cast<uchar>(text[0]);
}

int ToInt(const KsString& s) { return int(s); }
// Through 64 bits so that the "%d" texts of values from 2^31 up ("-1") and
// their plain decimal forms ("4294967295") both come back.
uint ToUInt(const KsString& s) { return uint(KsU64(KsI64(s))); }

// Values from 2^63 up print in full, so reading them needs an unsigned parse;
// the base follows the options word as the other conversions do.
KsU64 ToU64(const KsString& s) {
    const std::string text = SingleByteText(s);
    return std::strtoull(text.c_str(), nullptr, (___KsTypeMgrOptions() & 1) ? 10 : 0);
}

}  // namespace

// ---------------------------------------------------------------------------
// Format translation.
// ---------------------------------------------------------------------------
namespace {

bool Translate(const char* format, const KsFormatArg* args, int argCount, bool scan,
               std::vector<KsFormatPiece>& pieces) {
    if (!format) return false;
    KsFormatPiece cur;
    int next = 0;
    const char* p = format;
    while (*p) {
        if (*p != '%') {
            cur.text += *p++;
            continue;
        }
        if (p[1] == '%') {
            cur.text += "%%";
            p += 2;
            continue;
        }
        const char* q = p + 1;
        std::string conv = "%";
        bool suppress = false;
        if (scan && *q == '*') {
            suppress = true;
            conv += '*';
            ++q;
        }
        // printf flags; a scan drops them, so print formats scan as well.
        while (*q && std::strchr("-+ #0'", *q)) {
            if (!scan) conv += *q;
            ++q;
        }
        uint width = 0;
        const char* w = q;
        if (!ReadField(q, scan ? kScanFieldLimit : kPrintFieldLimit, width)) return false;
        if (*q == '$' || *q == '*') return false;
        conv.append(w, q);
        if (*q == '.') {
            const char* start = q++;
            uint precision = 0;
            if (*q == '*' || !ReadField(q, kPrintFieldLimit, precision)) return false;
            if (!scan) conv.append(start, q);
        }
        const uchar narrow = ReadLengthPrefix(q);
        const char c = *q;
        if (!c) return false;
        p = q + 1;
        if (suppress) {
            // Nothing is stored: only the conversion's matching matters.
            if (c == '[') {
                const char* e = p;
                if (*e == '^') ++e;
                if (*e == ']') ++e;
                while (*e && *e != ']') ++e;
                if (!*e) return false;
                cur.text += conv;
                cur.text.append(q, e + 1);
                p = e + 1;
                continue;
            }
            if (!IsIntegerConversion(c) && !IsFloatConversion(c) && c != 's') return false;
            cur.text += conv;
            cur.text += c;
            continue;
        }
        if (next >= argCount || (!IsIntegerConversion(c) && !IsFloatConversion(c)) ||
            IsFloatConversion(c) != (args[next] == KsFormatArg::Double) ||
            (scan && c == 'c' && width > 1)) {
            return false;
        }
        KsFormatPiece piece;
        piece.conversion = c;
        piece.arg = uchar(next);
        if (IsFloatConversion(c)) {
            if (scan) conv += 'l';
        } else if (c != 'c') {
            piece.narrow = narrow;
            if (narrow == 8)
                conv += "hh";
            else if (narrow == 16)
                conv += 'h';
            else if (args[next] == KsFormatArg::Int64)
                conv += "ll";
        }
        conv += c;
        ++next;
        // A piece holds one conversion: literal text before it joins it.
        if (cur.conversion) {
            pieces.push_back(cur);
            cur = KsFormatPiece();
        }
        cur.text += conv;
        cur.conversion = piece.conversion;
        cur.narrow = piece.narrow;
        cur.arg = piece.arg;
    }
    if (!cur.text.empty() || cur.conversion) pieces.push_back(cur);
    return true;
}

}  // namespace

bool KsFormatTranslate(const char* format, const KsFormatArg* args, int argCount, bool scan,
                       std::vector<KsFormatPiece>& pieces) {
    pieces.clear();
    if (Translate(format, args, argCount, scan, pieces)) return true;
    pieces.clear();
    return false;
}

// ---------------------------------------------------------------------------
// Bulk conversion.
// ---------------------------------------------------------------------------
KsTypeConvertData* CharConvertToKsString(void* values, uint count) {
    return ToStrings<char>(values, count, [](char v) { return KsString(v); });
}
void* CharConvertFromKsString(KsTypeConvertData* text, uint count) {
    return FromStrings<char>(text, count, KsScalarKind::Char,
                             [](const KsString& s) { return char(FirstByte(s)); });
}

KsTypeConvertData* O_U1BConvertToKsString(void* values, uint count) {
    return ToStrings<uchar>(values, count, [](uchar v) { return KsString(v); });
}
void* O_U1BConvertFromKsString(KsTypeConvertData* text, uint count) {
    return FromStrings<uchar>(text, count, KsScalarKind::UChar, FirstByte);
}

KsTypeConvertData* ShortConvertToKsString(void* values, uint count) {
    return ToStrings<short>(values, count, [](short v) { return KsString(v); });
}
void* ShortConvertFromKsString(KsTypeConvertData* text, uint count) {
    return FromStrings<short>(text, count, KsScalarKind::Short,
                              [](const KsString& s) { return short(s); });
}

// The unsigned short constructor makes a one-character wide string; a number
// kind takes its decimal text instead, which reads back.
KsTypeConvertData* WordConvertToKsString(void* values, uint count) {
    return ToStrings<ushort>(values, count, [](ushort v) { return KsString(int(v)); });
}
void* WordConvertFromKsString(KsTypeConvertData* text, uint count) {
    return FromStrings<ushort>(text, count, KsScalarKind::UShort,
                               [](const KsString& s) { return ushort(short(s)); });
}

KsTypeConvertData* LongConvertToKsString(void* values, uint count) {
    return ToStrings<int>(values, count, [](int v) { return KsString(v); });
}
void* LongConvertFromKsString(KsTypeConvertData* text, uint count) {
    return FromStrings<int>(text, count, KsScalarKind::Long, ToInt);
}

KsTypeConvertData* ULongConvertToKsString(void* values, uint count) {
    return ToStrings<uint>(values, count, [](uint v) { return KsString(v); });
}
void* ULongConvertFromKsString(KsTypeConvertData* text, uint count) {
    return FromStrings<uint>(text, count, KsScalarKind::ULong, ToUInt);
}

KsTypeConvertData* IntConvertToKsString(void* values, uint count) {
    return ToStrings<int>(values, count, [](int v) { return KsString(v); });
}
void* IntConvertFromKsString(KsTypeConvertData* text, uint count) {
    return FromStrings<int>(text, count, KsScalarKind::Int, ToInt);
}

KsTypeConvertData* UnsignedConvertToKsString(void* values, uint count) {
    return ToStrings<uint>(values, count, [](uint v) { return KsString(v); });
}
void* UnsignedConvertFromKsString(KsTypeConvertData* text, uint count) {
    return FromStrings<uint>(text, count, KsScalarKind::Unsigned, ToUInt);
}

KsTypeConvertData* EnumConvertToKsString(void* values, uint count) {
    return ToStrings<int>(values, count, [](int v) { return KsString(v); });
}
void* EnumConvertFromKsString(KsTypeConvertData* text, uint count) {
    return FromStrings<int>(text, count, KsScalarKind::Enum, ToInt);
}

KsTypeConvertData* BlockIdConvertToKsString(void* values, uint count) {
    return ToStrings<uint>(values, count, [](uint v) { return KsString(v); });
}
void* BlockIdConvertFromKsString(KsTypeConvertData* text, uint count) {
    return FromStrings<uint>(text, count, KsScalarKind::ULong, ToUInt);
}

KsTypeConvertData* FloatConvertToKsString(void* values, uint count) {
    return ToStrings<float>(values, count, [](float v) { return KsString(double(v)); });
}
void* FloatConvertFromKsString(KsTypeConvertData* text, uint count) {
    return FromStrings<float>(text, count, KsScalarKind::Float,
                              [](const KsString& s) { return float(double(s)); });
}

KsTypeConvertData* DoubleConvertToKsString(void* values, uint count) {
    return ToStrings<double>(values, count, [](double v) { return KsString(v); });
}
void* DoubleConvertFromKsString(KsTypeConvertData* text, uint count) {
    return FromStrings<double>(text, count, KsScalarKind::Double,
                               [](const KsString& s) { return double(s); });
}

KsTypeConvertData* O_8BConvertToKsString(void* values, uint count) {
    return ToStrings<KsI64>(values, count, [](KsI64 v) { return KsString(v); });
}
void* O_8BConvertFromKsString(KsTypeConvertData* text, uint count) {
    return FromStrings<KsI64>(text, count, KsScalarKind::I64,
                              [](const KsString& s) { return KsI64(s); });
}

KsTypeConvertData* O_U8BConvertToKsString(void* values, uint count) {
    return ToStrings<KsU64>(values, count, [](KsU64 v) { return KsString(v); });
}
void* O_U8BConvertFromKsString(KsTypeConvertData* text, uint count) {
    return FromStrings<KsU64>(text, count, KsScalarKind::U64, ToU64);
}

// ---------------------------------------------------------------------------
// Print and scan.
// ---------------------------------------------------------------------------
KsString& CharPrintToKsString(KsString& out, void* value, const char* format, uint count) {
    static const KsFormatArg arg = KsFormatArg::Int32;
    std::string text;
    if (value && count) {
        std::vector<KsFormatPiece> pieces;
        const bool usable = KsFormatTranslate(format ? format : "%c", &arg, 1, false, pieces);
        static const std::vector<KsFormatPiece> hex = [] {
            std::vector<KsFormatPiece> h;
            KsFormatTranslate("0x%02x", &arg, 1, false, h);
            return h;
        }();
        const uchar* bytes = static_cast<const uchar*>(value);
        for (uint i = 0; i < count && text.size() < kMaxText; ++i) {
            FmtValue v;
            v.bits = bytes[i];
            v.width = 8;
            if (!std::isprint(bytes[i]))
                AppendPieces(hex, &v, &arg, text);
            else if (usable)
                AppendPieces(pieces, &v, &arg, text);
        }
    }
    PutText(out, text);
    return out;
}

void* CharScanFromKsString(void* value, KsString& in, const char* format, uint count) {
    if (!value) return nullptr;
    const char* f = format ? format : "%c";
    const std::string text = SingleByteText(in);
    uchar* bytes = static_cast<uchar*>(value);
    if (std::strcmp(f, "%c") == 0) {
        // The default format takes every character as it is.
        for (uint i = 0; i < count && i < text.size(); ++i) bytes[i] = static_cast<uchar>(text[i]);
        return value;
    }
    const KsFormatArg arg = KsFormatArg::Int32;
    std::vector<KsFormatPiece> pieces;
    if (!KsFormatTranslate(f, &arg, 1, true, pieces)) return value;
    // One element reads from a window of the text, so that walking a long
    // text character by character stays linear.
    for (std::size_t i = 0, pos = 0; i < count && pos < text.size(); ++i, ++pos) {
        const std::string window = text.substr(pos, kValueText);
        ScanSlot slot;
        if (ScanPieces(window.c_str(), pieces, &arg, &slot) && slot.set)
            bytes[i] = static_cast<uchar>(slot.bits);
    }
    return value;
}

KsString& ShortPrintToKsString(KsString& out, void* value, const char* format, uint) {
    return PrintInteger<short>(out, value, format, "%hd");
}
void* ShortScanFromKsString(void* value, KsString& in, const char* format, uint) {
    return ScanInteger<short>(value, in, format, "%hd");
}

KsString& LongPrintToKsString(KsString& out, void* value, const char* format, uint) {
    return PrintInteger<int>(out, value, format, "%ld");
}
void* LongScanFromKsString(void* value, KsString& in, const char* format, uint) {
    return ScanInteger<int>(value, in, format, "%ld");
}

KsString& IntPrintToKsString(KsString& out, void* value, const char* format, uint) {
    return PrintInteger<int>(out, value, format, "%d");
}
void* IntScanFromKsString(void* value, KsString& in, const char* format, uint) {
    return ScanInteger<int>(value, in, format, "%d");
}

KsString& O_8BPrintToKsString(KsString& out, void* value, const char* format, uint) {
    return PrintInteger<KsI64>(out, value, format, "%I64d");
}
void* O_8BScanFromKsString(void* value, KsString& in, const char* format, uint) {
    return ScanInteger<KsI64>(value, in, format, "%I64d");
}

KsString& O_U8BPrintToKsString(KsString& out, void* value, const char* format, uint) {
    return PrintInteger<KsU64>(out, value, format, "%I64u");
}
void* O_U8BScanFromKsString(void* value, KsString& in, const char* format, uint) {
    return ScanInteger<KsU64>(value, in, format, "%I64u");
}

KsString& DoublePrintToKsString(KsString& out, void* value, const char* format, uint) {
    if (!value) return out;
    double v;
    std::memcpy(&v, value, sizeof v);
    PutText(out, DoubleText(v, format));
    return out;
}

void* DoubleScanFromKsString(void* value, KsString& in, const char* format, uint) {
    if (!value) return nullptr;
    double v;
    if (ScanDoubleText(in, format, v)) std::memcpy(value, &v, sizeof v);
    return value;
}

KsString& FloatPrintToKsString(KsString& out, void* value, const char* format, uint) {
    if (!value) return out;
    float v;
    std::memcpy(&v, value, sizeof v);
    PutText(out, DoubleText(double(v), format));
    return out;
}

void* FloatScanFromKsString(void* value, KsString& in, const char* format, uint) {
    if (!value) return nullptr;
    double v;
    if (ScanDoubleText(in, format, v)) {
        const float f = static_cast<float>(v);  // IEEE rounding; out of range gives infinity
        std::memcpy(value, &f, sizeof f);
    }
    return value;
}
