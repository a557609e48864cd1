// String storage (current, legacy and old-table images, their sizes) and the
// remaining slots of the string rows: text conversion, translation, print,
// scan and value stepping.
#include "ksstringstorerow.h"

#include <cstdint>
#include <cstring>
#include <new>
#include <string>

#include "ksbase.h"
#include "ksi18n.h"
#include "ksimageutil.h"
#include "ksstring.h"
#include "kstypes.h"

namespace {

constexpr uchar kEndMark = 0xFF;
constexpr uchar kNullMark = 254;
// A caller that passes no bound vouches for the image.
constexpr std::size_t kUnbounded = SIZE_MAX;

KsString* Strings(void* p) { return static_cast<KsString*>(p); }
const KsString* Strings(const void* p) { return static_cast<const KsString*>(p); }

uint ReadLength(const uchar* p, uchar order)
{
    ushort v;
    ShortStore(&v, p, order, 1);
    return v;
}

void WriteLength(uchar* p, uint length, uchar order)
{
    const ushort v = ushort(length);
    ShortStore(p, &v, order, 1);
}

// Bytes after the code-set and language fields up to the end marker: the
// characters plus the 0 byte plus the marker. The 8-bit terminator becomes
// the 0 byte and one byte is added for the marker; the two bytes of a
// 16-bit terminator become the 0 byte and the marker.
uint Payload(const KsString& s)
{
    const uint size = s.Text() ? s.Size() : 0;
    if (size == 0)
        return 2;
    return s.Width() == 2 ? size : size + 1;
}

// The code set that the size options see.
uchar SizeCodeSet(uchar cs, uchar flag)
{
    if (cs == kNullMark)
        return cs;
    if (flag & 0x20)
        return 0;
    if ((flag & 0x40) && cs == 0)
        return KsLanguageContext::GetNativeCodeSet();
    return cs;
}

// Option 0x80 sizes the collation-weight form: four times the length for
// 8-bit text, twice for 16-bit, kept to 16 bits.
uint SizeScaled(uint length, uchar cs, uchar flag)
{
    cs = SizeCodeSet(cs, flag);
    if ((flag & 0x80) && cs != 0 && cs != kNullMark)
        return ushort((2 / KsCodeSetWidth(cs)) * length * 2);
    return length;
}

// Legacy image: T, then zero-terminated 8-bit texts filling T bytes. The
// caller has checked that the last of them (offset T + 1) is 0, so every
// text that starts inside the area ends inside it.
uint LoadLegacy(KsString* mem, const uchar* disk, std::size_t total, uint count)
{
    const char* area = reinterpret_cast<const char*>(disk + 2);
    std::size_t at = 0;
    for (uint i = 0; i < count; ++i) {
        if (at >= total)
            return 0;
        mem[i] = area + at;
        at += std::strlen(area + at) + 1;
    }
    return uint(total + 2);
}

//   +0 L | +2 code set | +3 language | +4 characters | +L 00 | +L+1 FF
uint LoadImage(KsString* mem, const uchar* disk, std::size_t limit, uchar flag, uint count)
{
    if (!mem || !disk || count == 0 || limit < 2)
        return 0;
    const uchar order = flag & 15;
    const std::size_t first = ReadLength(disk, order);
    if (first + 2 > limit)
        return 0;
    if (disk[first + 1] == 0)
        return LoadLegacy(mem, disk, first, count);

    std::size_t at = 0;
    for (uint i = 0; i < count; ++i) {
        if (limit - at < 4)
            return 0;
        const uchar* e = disk + at;
        const std::size_t length = ReadLength(e, order);
        // Below 2 the code set and language would lie outside the element.
        if (length < 2 || length + 2 > limit - at)
            return 0;
        const uchar cs = e[2];
        KsString& s = mem[i];
        s.Destroy();
        s.SetCodeSet(cs);
        s.SetLanguage(e[3]);
        const std::size_t chars = length < 4 ? 0 : (length - 4) / KsCodeSetWidth(cs);
        if (chars)
            s.EditText(e + 4, cs, 0, 0, ushort(chars), 1, KsString::EditAssignAt, order);
        at += length + 2;
    }
    return uint(at);
}

uint ImageSize(const uchar* disk, std::size_t limit, uchar flag, uint count)
{
    if (!disk)
        return 0;
    const uchar order = flag & 15;
    std::size_t at = 0;
    KsU64 total = 0;
    for (uint i = 0; i < count; ++i) {
        if (limit - at < 2)
            return 0;
        const uchar* e = disk + at;
        const uint length = ReadLength(e, order);
        if (length + 2 > limit - at)
            return 0;
        // Legacy: one total for the whole array. As for the load, only the
        // first element can say so, so that size and load always agree.
        if (i == 0 && !(flag & 0x80) && e[length + 1] == 0)
            return length + 2;
        if (length < 2)
            return 0;  // as for the load
        total += SizeScaled(length, e[2], flag) + 2;
        at += length + 2;
    }
    return uint(total);
}

// ---- Old-table image ---------------------------------------------------------

// The old image holds 8-bit text: a string in a 16-bit code set is written
// in the default 8-bit code set, one byte per character.
struct OldText {
    const char* text;
    uint length;
    KsString converted;  // `text` may point into it: not copyable

    OldText(const OldText&) = delete;
    OldText& operator=(const OldText&) = delete;
    explicit OldText(const KsString& s)
    {
        const KsString* from = &s;
        if (s.Width() == 2 && s.Text()) {
            converted.CopyMapped(s, KsString::GetDefault8CodeSet());
            from = &converted;
        }
        text = from->StrGet();
        length = from->Width() == 1 ? from->Len() : 0;
    }
};

// T of `count` strings, or a value above 65535 when they do not fit.
KsU64 OldTotal(const KsString* s, uint count)
{
    KsU64 total = 0;
    for (uint i = 0; i < count && total <= 0xFFFF; ++i)
        total += OldText(s[i]).length + 1;
    return total;
}

// Walks `count` elements of 2 + L bytes each; 0 when one runs past `limit`.
uint OldImageSize(const uchar* disk, std::size_t limit, uchar flag, uint count)
{
    if (!disk)
        return 0;
    std::size_t at = 0;
    for (uint i = 0; i < count; ++i) {
        if (limit - at < 2)
            return 0;
        const std::size_t length = ReadLength(disk + at, flag & 15);
        if (length + 2 > limit - at)
            return 0;
        at += length + 2;
    }
    return uint(at);
}

using StoreFunc = uint (*)(void*, const void*, uchar, uint);
using MemSizeFunc = uint (*)(const void*, uchar, uchar, uint);

uint Translate(StoreFunc store, MemSizeFunc memSize, void* dst, uchar dstFormat, uint dstLen,
               void* src, uchar srcFormat, uint srcLen, uint count)
{
    const bool dstMem = dstFormat & 8;
    const bool srcMem = srcFormat & 8;
    if (!dstMem && srcMem) {
        if (dstLen != 0 && memSize(src, 8, dstFormat & 15, count) > dstLen)
            return 0;
        return store(dst, src, dstFormat & 15, count);
    }
    if (!dstMem) {
        return KsCopyStoredImage(dst, dstLen, src, srcLen);  // bytes unchanged
    }
    if (!srcMem)
        return srcLen ? StringLoadBounded(dst, src, srcLen, srcFormat & 15, count)
                      : StringLoad(dst, src, srcFormat & 15, count);
    if (!dst || !src)
        return 0;
    for (uint i = 0; i < count; ++i)
        Strings(dst)[i] = Strings(src)[i];
    return uint(count * sizeof(KsString));
}

// ---- Text ------------------------------------------------------------------

// A print format split round its first "%s" conversion.
struct TextFormat {
    std::string before, after;  // literal text, "%%" already reduced
    bool hasValue = false;
    bool left = false;
    uint width = 0;
    uint precision = 0xFFFFu;  // characters at most

    explicit TextFormat(const char* f)
    {
        std::string* lit = &before;
        while (f && *f) {
            if (*f != '%') {
                lit->push_back(*f++);
                continue;
            }
            if (f[1] == '%') {
                lit->push_back('%');
                f += 2;
                continue;
            }
            const char* p = f + 1;
            bool minus = false;
            while (*p && std::strchr("-+ #0", *p))
                minus |= *p++ == '-';
            uint w = 0, prec = 0xFFFFu;
            while (*p >= '0' && *p <= '9')
                w = Capped(w * 10 + uint(*p++ - '0'));
            if (*p == '.') {
                prec = 0;
                for (++p; *p >= '0' && *p <= '9';)
                    prec = Capped(prec * 10 + uint(*p++ - '0'));
            }
            if (*p == 's' && !hasValue) {
                hasValue = true;
                left = minus;
                width = w;
                precision = prec;
                lit = &after;
                f = p + 1;
                continue;
            }
            lit->push_back(*f++);  // not ours: the '%' stays, the rest follows as text
        }
    }
    static uint Capped(uint v) { return v > KsString::MaxSize ? KsString::MaxSize : v; }
    bool IsPlain() const { return hasValue && before.empty() && after.empty() && width == 0 &&
                                  precision == 0xFFFFu; }
};

void AppendLiteral(KsString& s, const std::string& text)
{
    if (!text.empty())
        s += KsString(text.c_str());
}

void AppendSpaces(KsString& s, uint n)
{
    if (n)
        s.EditText(" ", 0, s.Len(), 0, 1, ushort(n), KsString::EditAssignAt);
}

// `text` mapped into code set `cs` (ASCII literals of a format, the comma).
KsString Mapped(const KsString& text, uchar cs)
{
    KsString m;
    m.CopyMapped(text, cs);
    return m;
}

bool SameText(const KsString& a, const KsString& b)
{
    const KsString m = Mapped(b, a.CodeSet());
    const uint n = a.Len();
    return n == m.Len() && std::memcmp(a.StrGet(), m.StrGet(), std::size_t(n) * a.Width()) == 0;
}

KsString PrintOne(const KsString& value, const TextFormat& f)
{
    const KsString& src = value.IsNullValue() ? KsTypeMgr::GetNullPrintString() : value;
    if (!f.hasValue) {
        KsString r(src.CodeSet(), src.Language());
        AppendLiteral(r, f.before);
        return r;
    }
    if (f.IsPlain())
        return src;
    KsString r(src.CodeSet(), src.Language());
    const uint len = src.Len();
    const uint chars = len < f.precision ? len : f.precision;
    const uint pad = f.width > chars ? f.width - chars : 0;
    AppendLiteral(r, f.before);
    if (!f.left)
        AppendSpaces(r, pad);
    if (chars)
        r.EditText(src.Text(), src.CodeSet(), r.Len(), 0, ushort(chars), 1, KsString::EditAssignAt);
    if (f.left)
        AppendSpaces(r, pad);
    AppendLiteral(r, f.after);
    return r;
}

// Characters [from, from + n) of `in` as a string of its code set and language.
KsString Piece(const KsString& in, uint from, uint n)
{
    KsString r(in.CodeSet(), in.Language());
    if (n)
        r.EditText(in.Text(), in.CodeSet(), 0, ushort(from), ushort(n), 1, KsString::EditAssignAt);
    return r;
}

bool MatchesAt(const KsString& in, uint at, const KsString& lit)
{
    const uint n = lit.Len();
    const uint w = in.Width();
    return at + n <= in.Len() &&
           std::memcmp(in.StrGet() + std::size_t(at) * w, lit.StrGet(), std::size_t(n) * w) == 0;
}

uint CharAt(const KsString& s, uint i)
{
    const uchar* p = reinterpret_cast<const uchar*>(s.StrGet());
    if (s.Width() == 1)
        return p[i];
    ushort u;
    std::memcpy(&u, p + 2 * std::size_t(i), 2);
    return u;
}

void ScanOne(KsString& value, const KsString& in, const TextFormat& f)
{
    KsString result;
    if (f.IsPlain() || !f.hasValue) {
        result = in;
    } else {
        const KsString before = Mapped(KsString(f.before.c_str()), in.CodeSet());
        const KsString after = Mapped(KsString(f.after.c_str()), in.CodeSet());
        const uint len = in.Len();
        if (!MatchesAt(in, 0, before) || len - before.Len() < after.Len() ||
            !MatchesAt(in, len - after.Len(), after))
            return;
        uint from = before.Len();
        uint to = len - after.Len();
        // Drop the padding that print adds for a width.
        const uint space = CharAt(Mapped(KsString(" "), in.CodeSet()), 0);
        if (f.width) {
            if (f.left)
                while (to > from && CharAt(in, to - 1) == space)
                    --to;
            else
                while (from < to && CharAt(in, from) == space)
                    ++from;
        }
        uint n = to - from;
        if (n > f.precision)
            n = f.precision;
        result = Piece(in, from, n);
    }
    if (!result.IsNullValue() && SameText(result, KsTypeMgr::GetNullPrintString()))
        result.SetNullValue();
    value.Destruct(result);
}

}  // namespace

// ---------------------------------------------------------------------------
// Current image.
// ---------------------------------------------------------------------------
uint StringStore(void* dst, const void* src, unsigned char flag, unsigned int count)
{
    if (!dst || !src)
        return 0;
    const uchar order = flag & 15;
    uchar* out = static_cast<uchar*>(dst);
    const KsString* s = Strings(src);
    std::size_t at = 0;
    for (uint i = 0; i < count; ++i) {
        const uint payload = Payload(s[i]);
        uchar* e = out + at;
        WriteLength(e, payload + 2, order);
        e[2] = s[i].CodeSet();
        e[3] = s[i].Language();
        const uint bytes = payload - 2;  // characters, without terminator
        uchar* chars = e + 4;
        if (bytes) {
            if (s[i].Width() == 2 && order == 2)
                ShortStore(chars, s[i].Text(), 2, bytes / 2);
            else
                std::memcpy(chars, s[i].Text(), bytes);
        }
        chars[bytes] = 0;
        chars[bytes + 1] = kEndMark;
        at += payload + 4;
    }
    return uint(at);
}

uint StringLoad(void* dst, const void* src, unsigned char flag, unsigned int count)
{
    return LoadImage(Strings(dst), static_cast<const uchar*>(src), kUnbounded, flag, count);
}

uint StringLoadBounded(void* dst, const void* src, uint srcLen, unsigned char flag,
                       unsigned int count)
{
    return LoadImage(Strings(dst), static_cast<const uchar*>(src), srcLen, flag, count);
}

uint StringSizeGet(const void* data, unsigned char kind, unsigned char flag, unsigned int count)
{
    if (!data)
        return 0;
    if (!(kind & 8))
        return ImageSize(static_cast<const uchar*>(data), kUnbounded, flag, count);
    const KsString* s = Strings(data);
    KsU64 total = 0;
    for (uint i = 0; i < count; ++i)
        total += SizeScaled(Payload(s[i]), s[i].CodeSet(), flag) + 4;
    return uint(total);
}

uint StringSizeGetBounded(const void* data, uint dataLen, unsigned char flag, unsigned int count)
{
    return ImageSize(static_cast<const uchar*>(data), dataLen, flag, count);
}

uint StringCountSize(uint count) { return 6 * count; }

uint StringDiskLenFromMemFile(MemFile* file, uchar byteOrder, uint count)
{
    if (!file)
        return 0;
    return ImageSize(file->Current(), file->Remaining(), byteOrder, count);
}

uint StringTranslate(void* dst, uchar dstFormat, uint dstLen, void* src, uchar srcFormat,
                     uint srcLen, uint count)
{
    return Translate(&StringStore, &StringSizeGet, dst, dstFormat, dstLen, src, srcFormat, srcLen,
                     count);
}

// ---------------------------------------------------------------------------
// Old-table image.
// ---------------------------------------------------------------------------
//   +0 T | +2 text 0, 00 | text 1, 00 | ...
uint StringStoreOld(void* disk, const void* mem, uchar byteOrder, uint count)
{
    if (!disk || (count && !mem))
        return 0;
    const KsString* s = Strings(mem);
    const KsU64 total = OldTotal(s, count);
    if (total > 0xFFFF)
        return 0;
    uchar* out = static_cast<uchar*>(disk);
    WriteLength(out, uint(total), byteOrder & 15);
    std::size_t at = 2;
    for (uint i = 0; i < count; ++i) {
        const OldText t(s[i]);
        std::memcpy(out + at, t.text, t.length);
        out[at + t.length] = 0;
        at += t.length + 1;
    }
    return uint(at);
}

uint StringDiskLenOld(const void* mem, uchar flag, uchar byteOrder, uint count)
{
    if (!mem && (count || !(flag & 8)))
        return 0;
    if (!(flag & 8))
        return ReadLength(static_cast<const uchar*>(mem), byteOrder & 15) + 2;
    const KsU64 total = OldTotal(Strings(mem), count);
    return total > 0xFFFF ? 0 : uint(total + 2);
}

uint StringDiskLenFromMemFileOld(MemFile* file, uchar byteOrder, uint count)
{
    if (!file)
        return 0;
    return OldImageSize(file->Current(), file->Remaining(), byteOrder, count);
}

uint StringTranslateOld(void* dst, uchar dstFormat, uint dstLen, void* src, uchar srcFormat,
                        uint srcLen, uint count)
{
    return Translate(&StringStoreOld, &StringDiskLenOld, dst, dstFormat, dstLen, src, srcFormat,
                     srcLen, count);
}

// ---------------------------------------------------------------------------
// Text conversion, print and scan.
// ---------------------------------------------------------------------------
KsTypeConvertData* StringConvertToKsString(void* values, uint count)
{
    if (!values && count)
        return nullptr;
    KsString* copies = new (std::nothrow) KsString[count];
    if (!copies)
        return nullptr;
    for (uint i = 0; i < count; ++i)
        copies[i] = Strings(values)[i];
    KsTypeConvertData* carrier = KsTypeConvertData::Make(KsSTRING_T, count, copies, nullptr);
    if (!carrier)
        delete[] copies;
    return carrier;
}

void* StringConvertFromKsString(KsTypeConvertData* text, uint count)
{
    KsString* values = new (std::nothrow) KsString[count];
    if (!values)
        return nullptr;
    for (uint i = 0; text && i < count; ++i)
        if (const KsString* s = text->GetString(int(i)))
            values[i] = *s;
    return values;
}

KsString& StringPrintToKsString(KsString& out, void* value, const char* format, uint count)
{
    if (count == 0 || !value) {
        out = KsString::EmptyString();
        return out;
    }
    const TextFormat f(format ? format : "%s");
    KsString result = PrintOne(Strings(value)[0], f);
    for (uint i = 1; i < count; ++i) {
        result << ",";
        result += PrintOne(Strings(value)[i], f);
    }
    out.Destruct(result);
    return out;
}

void* StringScanFromKsString(void* value, KsString& in, const char* format, uint count)
{
    if (!value || count == 0)
        return value;
    const TextFormat f(format ? format : "%s");
    if (count == 1) {
        ScanOne(Strings(value)[0], in, f);
        return value;
    }
    const KsString text(in);  // `value` may be `in` itself
    const uint comma = CharAt(Mapped(KsString(","), text.CodeSet()), 0);
    const uint len = text.Len();
    uint from = 0;
    for (uint i = 0; i < count && from <= len; ++i) {
        uint to = from;
        if (i + 1 < count)
            while (to < len && CharAt(text, to) != comma)
                ++to;
        else
            to = len;
        ScanOne(Strings(value)[i], Piece(text, from, to - from), f);
        from = to + 1;
    }
    return value;
}

// ---------------------------------------------------------------------------
// Value stepping.
// ---------------------------------------------------------------------------
int StringGetValue(void* value, uint, uchar format, uchar mode)
{
    if (!value || format != 8)
        return KS_NOT_SUPPORTED;
    KsString& s = *Strings(value);
    switch (mode) {
        case 2:
            s = KsString(s.IsNullValue() ? KsString::GetDefaultCodeSet() : s.CodeSet(),
                         s.IsNullValue() ? KsString::GetDefaultLanguage() : s.Language());
            return KS_OK;
        case 'O':
            return KS_OK;
        case 'M':
        case 'N': {
            if (s.IsNullValue()) {
                s = KsString();
                return KS_OK;
            }
            const uint w = s.Width();
            const uint len = s.Len();
            if ((std::size_t(len) + 2) * w > KsString::MaxSize)
                return KS_STEP_OVERFLOW;
            const ushort one = 1;  // the smallest non-zero unit in either width
            const uchar oneByte = 1;
            s.EditText(w == 2 ? static_cast<const void*>(&one) : &oneByte, s.CodeSet(), ushort(len),
                       0, 1, 1, KsString::EditAssignAt);
            return KS_OK;
        }
        default:
            return KS_NOT_SUPPORTED;
    }
}
