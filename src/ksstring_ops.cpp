// KsString operations beyond the representation: appending, editing,
// searching, trimming, case change, comparison, numeric conversion and list
// splitting. Every change of the text goes through EditText, so results are
// exactly sized, stay within 65532 bytes and keep the string's code set.
#include "ksstring.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "ksi18n.h"
#include "ksmodule.h"
#include "ksstrcmp.h"

namespace {

constexpr ushort kToEnd = 0xFFFF;      // count or operator meaning "to the end" / "default"
constexpr uchar kNoCharacter = 255;    // code set and language of operator[] past the end

// The "any run" wildcard (Unicode, 0 = off) as last handed to the
// comparison, so that Find's prefix match follows SetAsterisk.
std::atomic<ushort> gAsterisk{'*'};

// Character i of a text of width w (16-bit units in machine order, read
// bytewise so alignment never matters).
uint CharAt(const char* text, uint w, std::size_t i)
{
    if (w == 1)
        return static_cast<uchar>(text[i]);
    ushort u;
    std::memcpy(&u, text + 2 * i, 2);
    return u;
}

// ---------------------------------------------------------------------------
// Integer parsing over 8- or 16-bit characters, accepting what strtol does
// in the C locale: leading white space, a sign, and with base 0 the 0x and 0
// prefixes. Out-of-range values saturate at [lo, hi] as strtol does for its
// 32-bit long, whatever the width of long on this machine.
// ---------------------------------------------------------------------------
bool IsCSpace(uint c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

uint DigitValue(uint c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'Z')
        return c - 'A' + 10;
    return 99;
}

KsI64 ParseInteger(const char* text, uint w, uint base, KsI64 lo, KsI64 hi)
{
    std::size_t i = 0;
    while (IsCSpace(CharAt(text, w, i)))
        ++i;
    bool negative = false;
    if (uint c = CharAt(text, w, i); c == '-' || c == '+') {
        negative = c == '-';
        ++i;
    }
    if (base == 0) {
        // Each character is read only after its predecessor proved non-zero,
        // so the scan never passes the terminator.
        if (CharAt(text, w, i) != '0') {
            base = 10;
        } else if (uint x = CharAt(text, w, i + 1);
                   (x == 'x' || x == 'X') && DigitValue(CharAt(text, w, i + 2)) < 16) {
            base = 16;
            i += 2;
        } else {
            base = 8;
        }
    }
    // Magnitude limit: |lo| for negative values, hi otherwise.
    const KsU64 limit = negative ? KsU64(-(lo + 1)) + 1 : KsU64(hi);
    KsU64 mag = 0;
    for (uint d; (d = DigitValue(CharAt(text, w, i))) < base; ++i)
        mag = mag > (limit - d) / base ? limit : mag * base + d;
    if (!negative)
        return KsI64(mag);
    return mag == 0 ? 0 : -KsI64(mag - 1) - 1;
}

// Base 0 (detection) unless option bit 0 asks for plain decimal.
uint OptionBase() { return (___KsTypeMgrOptions() & 1) ? 10 : 0; }

int Collate(const KsString& a, const KsString& b, ushort mode, short length)
{
    return KsStrCmp(a.CodeSet(), a.Language(), a.Text(), b.CodeSet(), b.Language(), b.Text(),
                    mode, length, 8, nullptr);
}

int DefaultCollate(const KsString& a, const KsString& b)
{
    return Collate(a, b, KsLanguageContext::GetDefaultCmpOp(), -1);
}

}  // namespace

// ---------------------------------------------------------------------------
// Appending.
// ---------------------------------------------------------------------------
KsString& KsString::operator<<(unsigned short c)
{
    // An 8-bit string takes the number, not the character: kept as callers
    // of the predecessor expect it.
    if (Width() == 2)
        return *this += KsString(c);
    return *this += KsString(uint(c));
}

KsString& KsString::operator<<(const unsigned short* s) { return *this += KsString(s); }
KsString& KsString::operator<<(short v) { return *this += KsString(v); }
KsString& KsString::operator<<(int v) { return *this += KsString(v); }
KsString& KsString::operator<<(unsigned int v) { return *this += KsString(v); }
KsString& KsString::operator<<(KsI64 v) { return *this += KsString(v); }
KsString& KsString::operator<<(KsU64 v) { return *this += KsString(v); }
KsString& KsString::operator<<(float v) { return *this += KsString(double(v)); }
KsString& KsString::operator<<(double v) { return *this += KsString(v); }

KsString operator+(const KsString& a, const KsString& b)
{
    KsString r(a.CodeSet(), a.Language());
    r += a;
    r += b;
    return r;
}

// ---------------------------------------------------------------------------
// Editing.
// ---------------------------------------------------------------------------
KsString& KsString::Insert(const KsString& s, ushort pos)
{
    if (pos <= Len())
        EditText(s.text_, s.codeSet_, pos, 0, s.Len(), 1, EditInsert);
    return *this;
}

KsString& KsString::Replace(const KsString& s, ushort pos)
{
    const int len = Len();
    int count = s.Len();
    if (pos + count > len)
        count = len - pos;
    if (count >= 1)
        EditText(s.text_, s.codeSet_, pos, 0, ushort(count), 1, EditOverwrite);
    return *this;
}

// Counts are taken as unsigned: strings reach 65531 characters, beyond the
// range of the short parameter.
KsString& KsString::Cut(ushort pos, short n)
{
    const int len = Len();
    int count = ushort(n);
    if (count == kToEnd || pos + count > len)
        count = len - pos;
    // Overwriting with a repeat count of 0 removes the characters; the
    // source only has to be non-empty, and text_ is (count >= 1).
    if (count >= 1)
        EditText(text_, codeSet_, pos, 0, ushort(count), 0, EditOverwrite);
    return *this;
}

KsString KsString::Copy(ushort pos, short n) const
{
    KsString r(codeSet_, language_);
    const int len = Len();
    if (!text_ || pos >= len)
        return r;
    int count = ushort(n);
    if (count == kToEnd || pos + count > len)
        count = len - pos;
    if (count >= 1)
        r.EditText(text_, codeSet_, 0, pos, ushort(count), 1, EditAssignAt);
    return r;
}

KsString KsString::Left(ushort n) const
{
    const ushort len = Len();
    return Copy(0, short(n < len ? n : len));
}

KsString KsString::Right(ushort n) const
{
    const ushort len = Len();
    const ushort m = n < len ? n : len;
    return Copy(ushort(len - m), short(m));
}

KsString& KsString::Fill(ushort n, char c)
{
    EditText(&c, GetDefault8CodeSet(), 0, 0, 1, n, EditAssignAt);
    return *this;
}

KsString& KsString::Fill(ushort n, unsigned short c)
{
    EditText(&c, GetDefault16CodeSet(), 0, 0, 1, n, EditAssignAt);
    return *this;
}

KsString& KsString::Expand(ushort n, char c)
{
    const ushort len = Len();
    if (len < n)
        EditText(&c, GetDefault8CodeSet(), len, 0, 1, ushort(n - len), EditAssignAt);
    return *this;
}

KsString& KsString::Expand(ushort n, unsigned short c)
{
    const ushort len = Len();
    if (len < n)
        EditText(&c, GetDefault16CodeSet(), len, 0, 1, ushort(n - len), EditAssignAt);
    return *this;
}

// ---------------------------------------------------------------------------
// Trimming and case change.
// ---------------------------------------------------------------------------
KsString& KsString::LeftTrim()
{
    const uint w = Width();
    const ushort len = Len();
    ushort n = 0;
    while (n < len && KsChar(ushort(CharAt(text_, w, n)), codeSet_, language_).IsSpace())
        ++n;
    if (n)
        Cut(0, short(n));
    return *this;
}

KsString& KsString::RightTrim()
{
    const uint w = Width();
    const ushort len = Len();
    ushort end = len;
    while (end > 0 && KsChar(ushort(CharAt(text_, w, end - 1u)), codeSet_, language_).IsSpace())
        --end;
    if (end < len)
        Cut(end, short(kToEnd));
    return *this;
}

KsString& KsString::Trim() { return LeftTrim().RightTrim(); }

KsString& KsString::ToUpper()
{
    KsCharToUpper op;
    return Transform(op);
}

KsString& KsString::ToLower()
{
    KsCharToLower op;
    return Transform(op);
}

KsString& KsString::Transform(KsCharOperation& op)
{
    if (size_ == 0)
        return *this;
    // One character may become two (sharp s to "SS").
    std::vector<char> out(2 * std::size_t(size_), 0);
    KsStringIterator it(text_, codeSet_, language_);
    const uint bytes = it.Transform(op, out.data(), uint(out.size()));
    const uint w = Width();
    uint chars = bytes >= w ? bytes / w - 1 : 0;
    if (chars > 0xFFFE)
        chars = 0xFFFE;  // EditText's overflow rule cuts it down further
    EditText(out.data(), codeSet_, 0, 0, ushort(chars), 1, EditAssignAt);
    return *this;
}

KsString& KsString::ReplaceAll(const KsString& from, const KsString& to, ushort start)
{
    // Arguments that are this string would change under the edits.
    if (&from == this || &to == this) {
        const KsString f(from), t(to);
        return ReplaceAll(f, t, start);
    }
    const ushort fromLen = from.Len();
    const ushort toLen = to.Len();
    // An empty pattern matches everywhere and would never finish.
    if (fromLen == 0)
        return *this;
    for (int hit = Find(from, start, kToEnd); hit >= 0;) {
        Cut(ushort(hit), short(fromLen));
        Insert(to, ushort(hit));
        const uint next = uint(hit) + toLen;
        if (next > Len())
            break;
        hit = Find(from, ushort(next), kToEnd);
    }
    return *this;
}

KsString& KsString::ReplaceAll(char from, char to, ushort start)
{
    return ReplaceAll(KsString(from), KsString(to), start);
}

KsString& KsString::ReplaceAll(unsigned short from, unsigned short to, ushort start)
{
    return ReplaceAll(KsString(from), KsString(to), start);
}

// ---------------------------------------------------------------------------
// Searching.
// ---------------------------------------------------------------------------
int KsString::Find(const KsString& pat, ushort start, ushort cmpOp) const
{
    if (pat.size_ == 0 || size_ == 0)
        return -1;
    const uint len = Len();
    if (start > len)
        return -1;
    const uint patLen = pat.Len();

    // Without the exact and order bits the comparison reads pat as a
    // pattern: followed by the "any run" wildcard it matches wherever pat
    // starts. Decided before 65535 becomes the default mode, so 65535 always
    // matches over the pattern's length. (Patterns beyond 32767 characters
    // are matched on their first 32767.)
    KsString wild;
    const char* patText = pat.text_;
    short length = short(patLen > 0x7FFF ? 0x7FFF : patLen);
    if ((cmpOp & (KS_CMP_EXACT | KS_CMP_ORDER)) == 0) {
        wild = pat;
        const ushort star = gAsterisk.load(std::memory_order_relaxed);
        if (star)
            wild.EditText(&star, KS_CS_UNICODE, wild.Len(), 0, 1, 1, EditAssignAt);
        patText = wild.text_;
        length = -1;
    }
    if (cmpOp == kToEnd)
        cmpOp = GetDefaultCmpOp();

    // Candidates while the rest is at least as long as the pattern (counted
    // in characters, so patterns of the other width are found too).
    const uint w = Width();
    for (uint p = start; p + patLen <= len; ++p) {
        if (KsStrCmp(codeSet_, language_, text_ + std::size_t(p) * w, pat.codeSet_, pat.language_,
                     patText, cmpOp, length, 8, nullptr) == 0)
            return int(p);
    }
    return -1;
}

int KsString::Find(char c, ushort start, ushort cmpOp) const
{
    return Find(KsString(c), start, cmpOp);
}

int KsString::Find(unsigned short c, ushort start, ushort cmpOp) const
{
    return Find(KsString(c), start, cmpOp);
}

int KsString::SubStringPos(const KsString& pat, ushort cmpOp) const { return Find(pat, 0, cmpOp); }

// ---------------------------------------------------------------------------
// Comparison.
// ---------------------------------------------------------------------------
bool KsString::operator==(const KsString& s) const { return this == &s || DefaultCollate(*this, s) == 0; }
bool KsString::operator!=(const KsString& s) const { return DefaultCollate(*this, s) != 0; }
bool KsString::operator<(const KsString& s) const { return DefaultCollate(*this, s) < 0; }
bool KsString::operator>(const KsString& s) const { return DefaultCollate(*this, s) > 0; }
bool KsString::operator<=(const KsString& s) const { return DefaultCollate(*this, s) <= 0; }
bool KsString::operator>=(const KsString& s) const { return DefaultCollate(*this, s) >= 0; }

int KsString::Compare(const KsString& s, short len, ushort cmpOp) const
{
    return Collate(*this, s, cmpOp == kToEnd ? GetDefaultCmpOp() : cmpOp, len);
}

int KsString::EqualsIgnoreLanguage(const KsString& s) const
{
    const uchar language = language_ == s.language_ ? language_ : 0;
    return KsStrCmp(codeSet_, language, text_, s.codeSet_, language, s.text_, KS_CMP_ORDER, -1, 8,
                    nullptr) == 0
               ? 1
               : 0;
}

// ---------------------------------------------------------------------------
// Element access.
// ---------------------------------------------------------------------------
KsChar KsString::operator[](int i)
{
    if (i < 0 || i >= Len())
        return KsChar(ushort(0), kNoCharacter, kNoCharacter);
    return KsChar(text_ + std::size_t(i) * Width(), codeSet_, language_);
}

KsChar KsString::operator[](int i) const
{
    if (i < 0 || i >= Len())
        return KsChar(ushort(0), kNoCharacter, kNoCharacter);
    return KsChar(ushort(CharAt(text_, Width(), std::size_t(i))), codeSet_, language_);
}

// ---------------------------------------------------------------------------
// Numeric conversion.
// ---------------------------------------------------------------------------
KsString::operator int() const
{
    return text_ ? int(ParseInteger(text_, Width(), OptionBase(), INT32_MIN, INT32_MAX)) : 0;
}

KsString::operator short() const { return short(int(*this)); }

KsString::operator KsI64() const
{
    return text_ ? ParseInteger(text_, Width(), OptionBase(), INT64_MIN, INT64_MAX) : 0;
}

KsString::operator double() const
{
    if (!text_)
        return 0.0;
    if (Width() == 1)
        return std::strtod(text_, nullptr);
    // A number is ASCII: the 16-bit text up to its first other unit.
    std::string narrow;
    for (std::size_t i = 0;; ++i) {
        const uint c = CharAt(text_, 2, i);
        if (c == 0 || c > 0x7F)
            break;
        narrow.push_back(char(c));
    }
    return std::strtod(narrow.c_str(), nullptr);
}

namespace {

// The strict conversions insist on a leading digit or minus sign.
bool StartsNumber(const KsString& s)
{
    if (!s.Text())
        return false;
    const uint c = CharAt(s.Text(), s.Width(), 0);
    return (c >= '0' && c <= '9') || c == '-';
}

template <typename T>
int ParseStrict(const KsString& s, T& out, uint base, KsI64 lo, KsI64 hi)
{
    out = 0;
    if (!StartsNumber(s))
        return -1;
    out = T(ParseInteger(s.Text(), s.Width(), base, lo, hi));
    return 0;
}

}  // namespace

int KsString::Atol(int& out) const { return ParseStrict(*this, out, 10, INT32_MIN, INT32_MAX); }
int KsString::Strtol(int& out) const { return ParseStrict(*this, out, 0, INT32_MIN, INT32_MAX); }
int KsString::Atoll(KsI64& out) const { return ParseStrict(*this, out, 10, INT64_MIN, INT64_MAX); }
int KsString::Strtoll(KsI64& out) const { return ParseStrict(*this, out, 0, INT64_MIN, INT64_MAX); }

// ---------------------------------------------------------------------------
// List splitting and wildcard characters.
// ---------------------------------------------------------------------------
int KsSplitList(KsString& list, KsString& item, const KsString& sep, ushort& pos)
{
    int hit = list.Find(sep, pos, kToEnd);
    // A leading separator introduces no item.
    while (hit == 0)
        hit = list.Find(sep, ++pos, kToEnd);
    if (hit < 0) {
        if (!list.Text() || pos >= list.Len())
            return KS_END_OF_LIST;
        hit = list.Len();
    }
    item = list.Copy(pos, short(hit - pos));
    item.LeftTrim();
    item.RightTrim();
    pos = ushort(hit + 1);
    return KS_OK;
}

void KsString::SetAsterisk(const KsChar& c)
{
    KsStrCmpSetAsterisk(c);
    gAsterisk.store(c.ToUnicode(), std::memory_order_relaxed);
}
void KsString::SetQuestion(const KsChar& c) { KsStrCmpSetQuestion(c); }
void KsString::SetEscape(const KsChar& c) { KsStrCmpSetEscape(c); }
