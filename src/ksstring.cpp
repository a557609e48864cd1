// KsString: representation, construction, code-set changes and the resize
// primitive EditText that every edit goes through.
#include "ksstring.h"

#include <bit>
#include <cstdio>
#include <cstring>
#include <new>

#include "ksbase.h"
#include "ksi18n.h"

namespace {

constexpr uchar kNullMark = 254;

// Stored 16-bit units high byte first need a swap on little-endian machines.
constexpr bool kMachineIsHighFirst = std::endian::native == std::endian::big;

char* Allocate(std::size_t bytes) { return static_cast<char*>(::operator new(bytes)); }

void Free(void* p) { ::operator delete(p); }

// Called whenever a result is cut down to MaxSize bytes.
void ReportOverflow()
{
    if (DefaultConfig().GetInt("debug", "stringOverflow", 0) != 0)
        VARN_assert("String overflow", "src/ksstring", 1110);
}

// Characters before the first zero character, looking at no more than
// `limit` characters.
uint CountChars(const void* text, uint width, uint limit)
{
    if (width == 1) {
        const void* zero = std::memchr(text, 0, limit);
        return zero ? uint(static_cast<const char*>(zero) - static_cast<const char*>(text)) : limit;
    }
    const uchar* p = static_cast<const uchar*>(text);
    uint n = 0;
    while (n < limit && (p[2 * n] | p[2 * n + 1]) != 0)
        ++n;
    return n;
}

bool FirstCharIsZero(const void* text, uint width)
{
    const uchar* p = static_cast<const uchar*>(text);
    return width == 1 ? p[0] == 0 : (p[0] | p[1]) == 0;
}

// Writes into a fresh buffer of `limit` bytes, clipping every write at the end.
struct ClippedWriter {
    char* buf;
    std::size_t limit;
    std::size_t at = 0;

    void Copy(const void* src, std::size_t bytes)
    {
        bytes = Room(bytes);
        if (src)
            std::memcpy(buf + at, src, bytes);
        else
            std::memset(buf + at, 0, bytes);
        at += bytes;
    }
    // `times` copies of one character of `width` bytes.
    void Repeat(const void* ch, uint width, std::size_t times)
    {
        std::size_t bytes = Room(times * width);
        if (width == 1) {
            std::memset(buf + at, *static_cast<const uchar*>(ch), bytes);
        } else {
            for (std::size_t i = 0; i + 2 <= bytes; i += 2)
                std::memcpy(buf + at + i, ch, 2);
        }
        at += bytes;
    }
    void ZeroRest()
    {
        std::memset(buf + at, 0, limit - at);
        at = limit;
    }
    std::size_t Room(std::size_t bytes) const { return bytes < limit - at ? bytes : limit - at; }
};

// Text buffers for the numeric constructors.
template <typename T>
int Format(char (&out)[32], const char* fmt, T v)
{
    int n = std::snprintf(out, sizeof out, fmt, v);
    return n < 0 ? 0 : (n < int(sizeof out) ? n : int(sizeof out) - 1);
}

}  // namespace

// ---------------------------------------------------------------------------
// Code-set conversion into a new exactly sized buffer.
// ---------------------------------------------------------------------------
char* KsConvertCodeSet(const void* src, uchar srcCs, int n, uchar dstCs, ushort& size)
{
    if (!src) {
        size = 0;
        return nullptr;
    }
    const uint sw = KsCodeSetWidth(srcCs);
    const uint dw = KsCodeSetWidth(dstCs);
    // n bounds the scan, so a text without terminator is never overrun.
    uint chars = n >= 0       ? CountChars(src, sw, uint(n))
                 : sw == 1    ? uint(std::strlen(static_cast<const char*>(src)))
                              : CountChars(src, sw, 0x7FFFFFFFu);
    std::size_t bytes = (std::size_t(chars) + 1) * dw;
    if (bytes > KsString::MaxSize) {
        ReportOverflow();
        bytes = KsString::MaxSize;
        chars = KsString::MaxSize / dw - 1;
    }
    char* buf = Allocate(bytes);
    uint written = KsConvertText(buf, dstCs, src, srcCs, chars);
    // Zero-filled after the last character, so the terminator is there for
    // every target (a 16-bit zero for Unicode).
    std::memset(buf + std::size_t(written) * dw, 0, bytes - std::size_t(written) * dw);
    size = ushort(bytes);
    return buf;
}

// ---------------------------------------------------------------------------
// Construction, assignment, destruction.
// ---------------------------------------------------------------------------
KsString::KsString()
    : text_(nullptr), size_(0), codeSet_(GetDefaultCodeSet()), language_(GetDefaultLanguage())
{
}

KsString::KsString(uchar codeSet, uchar language)
    : text_(nullptr), size_(0), codeSet_(codeSet), language_(language)
{
}

KsString::KsString(const KsString& other)
    : text_(nullptr), size_(0), codeSet_(other.codeSet_), language_(other.language_)
{
    CopyText(other);
}

KsString::KsString(char c)
    : text_(nullptr), size_(0), codeSet_(GetDefault8CodeSet()), language_(GetDefaultLanguage())
{
    if (c != 0)
        EditText(&c, codeSet_, 0, 0, 1, 1, EditAssignAt);
}

KsString::KsString(unsigned short c)
    : text_(nullptr), size_(0), codeSet_(GetDefault16CodeSet()), language_(GetDefaultLanguage())
{
    if (c != 0)
        EditText(&c, codeSet_, 0, 0, 1, 1, EditAssignAt);
}

KsString::KsString(const char* s)
    : text_(nullptr), size_(0), codeSet_(GetDefault8CodeSet()), language_(GetDefaultLanguage())
{
    AssignText8(s, 0xFFFF);
}

KsString::KsString(const unsigned short* s)
    : text_(nullptr), size_(0), codeSet_(GetDefault16CodeSet()), language_(GetDefaultLanguage())
{
    AssignText16(s, 0xFFFF);
}

KsString::KsString(const char* s, unsigned short n)
    : text_(nullptr), size_(0), codeSet_(GetDefault8CodeSet()), language_(GetDefaultLanguage())
{
    AssignText8(s, n);
}

KsString::KsString(const unsigned short* s, unsigned short n)
    : text_(nullptr), size_(0), codeSet_(GetDefault16CodeSet()), language_(GetDefaultLanguage())
{
    AssignText16(s, n);
}

KsString::KsString(unsigned char v)
    : text_(nullptr), size_(0), codeSet_(GetDefault8CodeSet()), language_(GetDefaultLanguage())
{
    if (v != 0)
        EditText(&v, codeSet_, 0, 0, 1, 1, EditAssignAt);
}

KsString::KsString(short v) : KsString(int(v)) {}

KsString::KsString(int v)
    : text_(nullptr), size_(0), codeSet_(GetDefault8CodeSet()), language_(GetDefaultLanguage())
{
    char buf[32];
    AssignText8(buf, ushort(Format(buf, "%d", v)));
}

// "%d" on purpose: values from 2^31 up read as negative numbers.
KsString::KsString(unsigned int v) : KsString(int(v)) {}

KsString::KsString(KsI64 v)
    : text_(nullptr), size_(0), codeSet_(GetDefault8CodeSet()), language_(GetDefaultLanguage())
{
    char buf[32];
    AssignText8(buf, ushort(Format(buf, "%lld", v)));
}

KsString::KsString(KsU64 v)
    : text_(nullptr), size_(0), codeSet_(GetDefault8CodeSet()), language_(GetDefaultLanguage())
{
    char buf[32];
    AssignText8(buf, ushort(Format(buf, "%llu", v)));
}

KsString::KsString(double v)
    : text_(nullptr), size_(0), codeSet_(GetDefault8CodeSet()), language_(GetDefaultLanguage())
{
    char buf[32];
    AssignText8(buf, ushort(Format(buf, "%.17g", v)));
}

KsString::~KsString() { Destroy(); }

void KsString::Init()
{
    text_ = nullptr;
    size_ = 0;
    codeSet_ = GetDefaultCodeSet();
    language_ = GetDefaultLanguage();
}

KsString& KsString::operator=(const KsString& other)
{
    if (this == &other)
        return *this;
    SetBuffer(nullptr, 0);
    codeSet_ = other.codeSet_;
    CopyText(other);
    language_ = other.language_;
    return *this;
}

KsString& KsString::operator=(const char* s)
{
    SetBuffer(nullptr, 0);
    codeSet_ = GetDefault8CodeSet();
    // A non-null text is always copied: an empty one leaves a bare
    // terminator (unlike the constructor, which builds nothing for it).
    if (s && !*s)
        EditText(s, codeSet_, 0, 0, 0, 1, EditAssignAt);
    else
        AssignText8(s, 0xFFFF);
    language_ = GetDefaultLanguage();
    return *this;
}

KsString& KsString::operator=(const unsigned short* s)
{
    SetBuffer(nullptr, 0);
    codeSet_ = GetDefault16CodeSet();
    if (s && !*s)
        EditText(s, codeSet_, 0, 0, 0, 1, EditAssignAt);
    else
        AssignText16(s, 0xFFFF);
    language_ = GetDefaultLanguage();
    return *this;
}

void KsString::Destruct(KsString& other)
{
    if (this == &other)
        return;
    Free(text_);
    text_ = other.text_;
    size_ = other.size_;
    codeSet_ = other.codeSet_;
    language_ = other.language_;
    other.text_ = nullptr;
    other.size_ = 0;
}

void KsString::Destroy()
{
    Free(text_);
    text_ = nullptr;
    size_ = 0;
    codeSet_ = 0;
    language_ = 0;
}

// The whole buffer, characters after an inner zero included: a copy is
// byte-identical to its source.
void KsString::CopyText(const KsString& other)
{
    if (other.text_ && other.size_ >= Width())
        EditText(other.text_, codeSet_, 0, 0, ushort(other.size_ / Width() - 1), 1, EditAssignAt);
}

void KsString::AssignText8(const char* s, ushort n)
{
    if (!s || n == 0)
        return;
    uint len = n == 0xFFFF ? uint(std::strlen(s)) : CountChars(s, 1, n);
    if (len == 0)
        return;
    // Longer texts are clipped by EditText's overflow rule; a count above
    // 65534 would never fit anyway.
    if (len > 0xFFFE)
        len = 0xFFFE;
    EditText(s, codeSet_, 0, 0, ushort(len), 1, EditAssignAt);
}

void KsString::AssignText16(const unsigned short* s, ushort n)
{
    if (!s || n == 0)
        return;
    uint len = CountChars(s, 2, n == 0xFFFF ? 0xFFFFu : n);
    if (len == 0)
        return;
    if (len > 0xFFFE)
        len = 0xFFFE;
    EditText(s, codeSet_, 0, 0, ushort(len), 1, EditAssignAt);
}

void KsString::SetBuffer(char* text, ushort size)
{
    Free(text_);
    text_ = text;
    size_ = size;
}

// ---------------------------------------------------------------------------
// States and representation.
// ---------------------------------------------------------------------------
int KsString::IsNullValue() const
{
    return language_ == kNullMark || (codeSet_ == kNullMark && language_ == 0) ? 1 : 0;
}

int KsString::SetNullValue()
{
    SetBuffer(nullptr, 0);
    codeSet_ = 0;
    language_ = kNullMark;
    return 0;
}

int KsString::IsEmpty() const
{
    return !text_ || size_ == 0 || FirstCharIsZero(text_, Width()) ? 1 : 0;
}

const char* KsString::StrGet() const { return text_ ? text_ : ""; }

ushort KsString::Len() const
{
    if (!text_)
        return 0;
    const uint w = Width();
    return ushort(CountChars(text_, w, size_ / w));
}

const KsString& KsString::EmptyString()
{
    static const KsString empty;
    return empty;
}

// ---------------------------------------------------------------------------
// Process-wide defaults.
// ---------------------------------------------------------------------------
uchar KsString::GetDefaultCodeSet() { return KsLanguageContext::GetDefaultCodeSet(); }
void KsString::SetDefaultCodeSet(uchar codeSet) { KsLanguageContext::SetDefaultCodeSet(codeSet); }
uchar KsString::GetDefault8CodeSet() { return KsLanguageContext::GetDefault8CodeSet(); }
uchar KsString::GetDefault16CodeSet() { return KsLanguageContext::GetDefault16CodeSet(); }
uchar KsString::GetDefaultLanguage() { return KsLanguageContext::GetDefaultLanguage(); }
void KsString::SetDefaultLanguage(uchar language) { KsLanguageContext::SetDefaultLanguage(language); }
ushort KsString::GetDefaultCmpOp() { return KsLanguageContext::GetDefaultCmpOp(); }
void KsString::SetDefaultCmpOp(ushort op) { KsLanguageContext::SetDefaultCmpOp(op); }

// ---------------------------------------------------------------------------
// Code-set changes.
// ---------------------------------------------------------------------------
int KsString::SetCodeSetCode(uchar codeSet)
{
    if (KsCodeSetWidth(codeSet) != Width())
        return KS_INVALID_ARGUMENT;
    codeSet_ = codeSet;
    return KS_OK;
}

void KsString::SetCodeSet(uchar codeSet)
{
    if (text_ && KsCodeSetWidth(codeSet) != Width()) {
        ushort size = 0;
        char* buf = KsConvertCodeSet(text_, codeSet_, Len(), codeSet, size);
        SetBuffer(buf, size);
    }
    codeSet_ = codeSet;
}

int KsString::MapToCodeSet(uchar codeSet)
{
    if (codeSet == 0)
        return KS_INVALID_ARGUMENT;
    if (codeSet == codeSet_)
        return KS_OK;
    if (text_) {
        ushort size = 0;
        char* buf = KsConvertCodeSet(text_, codeSet_, Len(), codeSet, size);
        SetBuffer(buf, size);
    }
    codeSet_ = codeSet;
    return KS_OK;
}

int KsString::CopyMapped(const KsString& src, uchar codeSet, short n)
{
    if (&src == this)
        return KS_INVALID_ARGUMENT;
    ushort size = 0;
    char* buf = src.text_ ? KsConvertCodeSet(src.text_, src.codeSet_, n < 0 ? int(src.Len()) : n,
                                             codeSet, size)
                          : nullptr;
    SetBuffer(buf, size);
    codeSet_ = codeSet;
    language_ = src.language_;
    return KS_OK;
}

// ---------------------------------------------------------------------------
// The resize primitive.
// ---------------------------------------------------------------------------
void KsString::EditText(const void* src, uchar srcCodeSet, ushort pos, ushort srcStart, ushort count,
                        ushort repeat, int mode, uchar byteOrder)
{
    const uint w = Width();
    const uint sw = KsCodeSetWidth(srcCodeSet);
    if (mode != EditAssignAt && (!src || FirstCharIsZero(src, sw)))
        return;

    // The source characters that are actually read: one when repeating.
    const std::size_t inserted = std::size_t(count) * repeat;
    const uint fetch = inserted == 0 ? 0 : (repeat != 1 ? 1u : count);
    const uchar* from = src ? static_cast<const uchar*>(src) + std::size_t(srcStart) * sw : nullptr;

    // 16-bit units of a stored image held high byte first are brought into
    // machine order before anything else looks at them.
    uchar* swapped = nullptr;
    if (from && fetch && sw == 2 && (byteOrder & 0x0F) == 2 && !kMachineIsHighFirst) {
        swapped = reinterpret_cast<uchar*>(Allocate(std::size_t(fetch) * 2));
        for (uint i = 0; i < fetch; ++i) {
            swapped[2 * i] = from[2 * i + 1];
            swapped[2 * i + 1] = from[2 * i];
        }
        from = swapped;
    }

    // The target keeps its code set; a source in another one is converted.
    // A native (0) source of the target's width is taken as it is.
    char* converted = nullptr;
    if (from && fetch && srcCodeSet != codeSet_ && (srcCodeSet != 0 || sw != w)) {
        converted = Allocate(std::size_t(fetch) * w);
        uint got = KsConvertText(converted, codeSet_, from, srcCodeSet, fetch);
        std::memset(converted + std::size_t(got) * w, 0, std::size_t(fetch - got) * w);
        from = reinterpret_cast<const uchar*>(converted);
    }

    // New size; positions beyond the old text are pulled back to its end for
    // the modes that keep the old characters after pos.
    const std::size_t old = size_;
    std::size_t newSize = 0;
    std::size_t keep = 0;      // bytes of the old buffer kept in front
    std::size_t tailAt = 0;    // old bytes from here on follow the new characters
    std::size_t tailBytes = 0;
    if (mode == EditAssignAt) {
        newSize = (std::size_t(pos) + inserted + 1) * w;
        keep = std::size_t(pos) * w;
    } else {
        const std::size_t base = old ? old : w;
        const std::size_t oldChars = base / w - 1;
        const std::size_t p = pos < oldChars ? pos : oldChars;
        std::size_t replaced = 0;
        if (mode == EditOverwrite)
            replaced = count < oldChars - p ? count : oldChars - p;
        // A repeat count of 0 overwrites `count` characters with nothing.
        newSize = base - replaced * w + inserted * w;
        keep = p * w;
        tailAt = (p + replaced) * w;
        tailBytes = old > tailAt ? old - tailAt : 0;
    }
    if (newSize > MaxSize) {
        ReportOverflow();
        newSize = MaxSize;
    }

    ClippedWriter out{Allocate(newSize), newSize};
    if (keep) {
        const std::size_t have = keep < old ? keep : old;
        out.Copy(text_, have);
        out.Copy(nullptr, keep - have);
    }
    if (repeat != 1 && fetch) {
        // The first source character `repeat` times; with a count above 1
        // the remaining slots stay zero.
        out.Repeat(from, w, repeat);
        out.Copy(nullptr, (inserted - repeat) * w);
    } else {
        out.Copy(from, inserted * w);
    }
    if (tailBytes)
        out.Copy(text_ + tailAt, tailBytes);
    out.ZeroRest();
    // The last slot always holds the terminator, also after clipping.
    std::memset(out.buf + newSize - w, 0, w);

    Free(converted);
    Free(swapped);
    SetBuffer(out.buf, ushort(newSize));
}

// ---------------------------------------------------------------------------
// Appending.
// ---------------------------------------------------------------------------
KsString& KsString::operator+=(const KsString& s)
{
    EditText(s.text_, s.codeSet_, Len(), 0, s.Len(), 1, EditAssignAt);
    return *this;
}

KsString& KsString::operator<<(const char* s) { return *this += KsString(s); }

KsString& KsString::operator<<(char c) { return *this += KsString(c); }
