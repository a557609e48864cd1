// UTF-8 exchange. One table drives both directions; the decoder into KsString
// has inline paths for ASCII runs and two- and three-byte sequences and falls
// back to the table for the rest, with the same results.
#include "ksutf8.h"

#include <cstdint>
#include <cstring>
#include <memory>

#include "ksi18n.h"
#include "ksstring.h"

namespace {

// One row per sequence length; a zero row ends the table.
struct Utf8Row {
    std::uint32_t leadMask;
    std::uint32_t leadValue;
    std::uint32_t shift;
    std::uint32_t largest;
    std::uint32_t smallest;
};

constexpr Utf8Row kRows[] = {
    {0x80, 0x00, 0, 0x7F, 0},
    {0xE0, 0xC0, 6, 0x7FF, 0x80},
    {0xF0, 0xE0, 12, 0xFFFF, 0x800},
    {0xF8, 0xF0, 18, 0x1FFFFF, 0x10000},
    {0xFC, 0xF8, 24, 0x3FFFFFF, 0x200000},
    {0xFE, 0xFC, 30, 0x7FFFFFFF, 0x4000000},
    {0, 0, 0, 0, 0},
};

// A decode stops once this many bytes are consumed.
constexpr std::size_t kDecodeLimit = 32768;
// The chunk of characters gathered on the stack; longer texts gather in one
// heap buffer instead.
constexpr std::size_t kChunk = 256;
// Code sets whose bytes below 0x80 are ASCII, for the encoder's and the
// length's fast paths (the two bounds differ on purpose).
constexpr uchar kLastPlainCodeSet = 26;
constexpr uchar kLastPlainLengthCodeSet = 5;

int Decode(ushort* out, const uchar* s, uint n)
{
    if (n == 0)
        return -1;
    const std::uint32_t lead = s[0];
    std::uint32_t value = lead;
    for (uint k = 0; kRows[k].leadMask != 0; ++k) {
        const Utf8Row& row = kRows[k];
        if ((lead & row.leadMask) == row.leadValue) {
            value &= row.largest;
            if (value < row.smallest)
                return -1;  // overlong
            *out = ushort(value);
            return int(k + 1);
        }
        if (n <= k + 1)
            return -1;  // truncated
        const std::uint32_t bits = s[k + 1] ^ 0x80u;
        if (bits > 63)
            return -1;  // not a continuation byte
        value = (value << 6) | bits;
    }
    return -1;
}

int Encode(uchar* out, std::uint32_t c)
{
    for (uint k = 0; kRows[k].leadMask != 0; ++k) {
        const Utf8Row& row = kRows[k];
        if (row.largest < c)
            continue;
        uint shift = row.shift;
        *out++ = uchar((c >> shift) | row.leadValue);
        while (shift > 0) {
            shift -= 6;
            *out++ = uchar(((c >> shift) & 0x3F) | 0x80);
        }
        return int(k + 1);
    }
    return -1;
}

int SequenceLength(std::uint32_t c)
{
    for (uint k = 0; kRows[k].leadMask != 0; ++k)
        if (kRows[k].largest >= c)
            return int(k + 1);
    return -1;
}

// The characters of a string as Unicode units: the string's own buffer when
// it is already in code set 253, else a converted copy.
class UnicodeText {
public:
    explicit UnicodeText(const KsString& s) : from_(&s)
    {
        if (s.CodeSet() != KS_CS_UNICODE) {
            copy_ = KsString(KS_CS_UNICODE, s.Language());
            copy_ += s;
            from_ = &copy_;
        }
        count_ = from_->Len();
    }
    uint Count() const { return count_; }
    ushort operator[](uint i) const
    {
        ushort u;
        std::memcpy(&u, from_->Text() + 2 * std::size_t(i), 2);
        return u;
    }

private:
    const KsString* from_;
    KsString copy_;
    uint count_ = 0;
};

// Plain text of the fast paths: every byte up to the terminator below 0x80.
// Returns its length, or -1 at the first byte of 0x80 or more.
long PlainLength(const KsString& s)
{
    const uchar* t = reinterpret_cast<const uchar*>(s.StrGet());
    std::size_t n = 0;
    for (; t[n]; ++n)
        if (t[n] >= 0x80)
            return -1;
    return long(n);
}

// True when none of the 8 bytes is 0 or 0x80 and above (false alarms only
// cost the slow path).
inline bool EightPlain(std::uint64_t w)
{
    constexpr std::uint64_t kHigh = 0x8080808080808080ull;
    constexpr std::uint64_t kOnes = 0x0101010101010101ull;
    return ((w | (w - kOnes)) & kHigh) == 0;
}

// Runs of two- and three-byte sequences, as the table decodes them: a
// missing or non-continuation byte or an overlong form fails (false).
inline bool TwoByteRun(const uchar* p, std::size_t avail, std::size_t end, std::size_t& used,
                       ushort* units, std::size_t& count)
{
    do {
        const uint c1 = avail - used >= 2 ? p[used + 1] ^ 0x80u : 0xFFu;
        const uint v = ((uint(p[used]) << 6) | c1) & 0x7FF;
        if (c1 > 63 || v < 0x80)
            return false;
        units[count++] = ushort(v);
        used += 2;
    } while (used < end && (p[used] & 0xE0) == 0xC0);
    return true;
}

inline bool ThreeByteRun(const uchar* p, std::size_t avail, std::size_t end, std::size_t& used,
                         ushort* units, std::size_t& count)
{
    do {
        const std::size_t left = avail - used;
        const uint c1 = left >= 2 ? p[used + 1] ^ 0x80u : 0xFFu;
        const uint c2 = left >= 3 && c1 <= 63 ? p[used + 2] ^ 0x80u : 0xFFu;
        const uint v = ((uint(p[used]) << 12) | (c1 << 6) | c2) & 0xFFFF;
        if (c1 > 63 || c2 > 63 || v < 0x800)
            return false;
        units[count++] = ushort(v);
        used += 3;
    } while (used < end && (p[used] & 0xF0) == 0xE0);
    return true;
}

int DecodeText(const char* text, KsString& out, int n)
{
    if (out.Text()) {
        const uchar language = out.Language();
        out.Destroy();
        out.SetLanguage(language);
    }
    out.SetCodeSet(KS_CS_UNICODE);  // no buffer: a relabelling
    if (n == 0)
        return 0;
    if (!text)
        return -1;  // the single-character decoder's 0 counts as a failure

    const uchar* p = reinterpret_cast<const uchar*>(text);
    // Without a count the text ends at its zero byte, and nothing beyond it
    // may be read; a character starting below the limit takes at most 7
    // bytes to judge, so the scan can stop a little after the limit.
    std::size_t avail = std::size_t(n);
    if (n < 0)
        for (avail = 0; avail < kDecodeLimit + 8 && p[avail];)
            ++avail;
    // Characters start only below `end`: one that starts below the limit
    // may end beyond it.
    const std::size_t end = avail < kDecodeLimit ? avail : kDecodeLimit;

    // Characters are gathered (at most one per byte, so `end` units always
    // suffice) and appended in one edit at the end: the same text as
    // appending every full 256-character chunk, without recopying the
    // growing string each time.
    ushort chunk[kChunk];
    std::unique_ptr<ushort[]> heap;
    ushort* units = chunk;
    if (end > kChunk) {
        heap.reset(new ushort[end]);
        units = heap.get();
    }
    std::size_t count = 0;
    std::size_t used = 0;
    int result = 0;
    while (used < end) {
        uint c = p[used];
        if (c - 1 < 0x7F) {
            // An ASCII run: eight bytes at a time, then the rest one by one.
            while (end - used >= 8) {
                std::uint64_t w;
                std::memcpy(&w, p + used, 8);
                if (!EightPlain(w))
                    break;
                for (int j = 0; j < 8; ++j)
                    units[count + j] = p[used + j];
                count += 8;
                used += 8;
            }
            while (used < end && (c = p[used]) - 1 < 0x7F) {
                units[count++] = ushort(c);
                ++used;
            }
            continue;
        }
        if (c == 0)
            break;
        const std::size_t left = avail - used;
        if ((c & 0xE0) == 0xC0) {
            if (!TwoByteRun(p, avail, end, used, units, count)) {
                result = -1;
                break;
            }
        } else if ((c & 0xF0) == 0xE0) {
            if (!ThreeByteRun(p, avail, end, used, units, count)) {
                result = -1;
                break;
            }
        } else {
            ushort u = 0;
            const int k = Decode(&u, p + used, left > 0xFFFFFFFFu ? 0xFFFFFFFFu : uint(left));
            if (k < 1) {
                result = -1;
                break;
            }
            if (u == 0)
                break;  // a longer value whose low 16 bits are 0 ends the text too
            units[count++] = u;
            used += std::size_t(k);
        }
    }
    if (result == 0 && used >= kDecodeLimit)
        result = -2;
    if (count)
        out.EditText(units, KS_CS_UNICODE, 0, 0, ushort(count), 1, KsString::EditAssignAt);
    return result != 0 ? result : int(used);
}

}  // namespace

int KsMultiByte2WChar(unsigned short* out, char* s, unsigned int n)
{
    if (!s)
        return 0;
    ushort scratch;
    return Decode(out ? out : &scratch, reinterpret_cast<const uchar*>(s), n);
}

int KsWChar2MultiByte(char* out, wchar_t c)
{
    if (!out)
        return 0;
    return Encode(reinterpret_cast<uchar*>(out), std::uint32_t(c));
}

int KsMultiByteStr2WCharStr(unsigned short* dst, int dstMax, char* src, int srcLen)
{
    if (srcLen <= 0 || !src)
        return 0;
    const uchar* p = reinterpret_cast<const uchar*>(src);
    int count = 0;
    for (int used = 0; used < srcLen;) {
        ushort scratch;
        ushort* to = dst && count < dstMax ? dst + count : &scratch;
        const int k = Decode(to, p + used, uint(srcLen - used));
        if (k < 0)
            return k;
        used += k;
        ++count;
    }
    return count;
}

int KsMBS2KsString(const char* s, KsString& out, int n) { return DecodeText(s, out, n); }

int KsMultiByteString2KsString(const char* s, KsString& out, int n)
{
    return DecodeText(s, out, n);
}

int KsMultiByteString2KsString(const KsString& s, KsString& out)
{
    if (&s == &out) {
        const KsString copy(s);
        return DecodeText(copy.StrGet(), out, copy.Len());
    }
    return DecodeText(s.StrGet(), out, s.Len());
}

int KsString2KsMBS(const KsString& s, char* out, int n)
{
    if (!out || n < 0)
        n = 0;
    if (s.CodeSet() <= kLastPlainCodeSet) {
        // Copied as it is while the bytes stay below 0x80.
        const uchar* t = reinterpret_cast<const uchar*>(s.StrGet());
        bool plain = true;
        int i = 0;
        for (; i < n; ++i) {
            const uchar c = t[i];
            if (c == 0) {
                std::memset(out + i, 0, std::size_t(n - i));
                return i;
            }
            if (c >= 0x80) {
                plain = false;
                break;
            }
            out[i] = char(c);
        }
        if (plain) {
            const long len = PlainLength(s);
            if (len >= 0)
                return -int(len);
        }
    }
    const UnicodeText u(s);
    uchar seq[6];
    int written = 0;
    for (uint i = 0; i < u.Count(); ++i) {
        const ushort c = u[i];
        int k = 1;
        if (c < 127)
            seq[0] = uchar(c);
        else if ((k = Encode(seq, c)) < 0)
            return -1;
        if (k > n - written)
            return -written;
        std::memcpy(out + written, seq, std::size_t(k));
        written += k;
    }
    if (written < n)
        out[written] = 0;
    return written;
}

int KsMBSLength(const KsString& s, unsigned short maxChars)
{
    if (maxChars == 0)
        return 0;
    if (s.CodeSet() <= kLastPlainLengthCodeSet) {
        const long len = PlainLength(s);
        if (len >= 0)
            return int(len);
    }
    const UnicodeText u(s);
    const uint n = u.Count() < maxChars ? u.Count() : maxChars;
    int total = 0;
    for (uint i = 0; i < n; ++i) {
        const int k = SequenceLength(u[i]);
        if (k < 0)
            return -1;
        total += k;
    }
    return total;
}

int KsString2MultiByteString(const KsString& s, char*& out, int& size)
{
    constexpr int kInternal = 2048;
    char internal[kInternal];
    const bool own = size <= 0 || !out;
    if (own) {
        out = nullptr;
        size = 0;
    }
    const int result = KsString2KsMBS(s, own ? internal : out, own ? kInternal : size);
    if (result > 0) {
        if (!own)
            return result;
        out = static_cast<char*>(::operator new(std::size_t(result) + 1));
        std::memcpy(out, internal, std::size_t(result));
        out[result] = 0;
        size = result + 1;
        return result;
    }

    // Nothing written, or no fit: encode each character.
    const UnicodeText u(s);
    int total = 0;
    for (uint i = 0; i < u.Count(); ++i) {
        const int k = SequenceLength(u[i]);
        if (k < 0)
            return -1;
        total += k;
    }
    if (own) {
        size = total + 1;
        out = static_cast<char*>(::operator new(std::size_t(size)));
    }
    if (size <= total) {
        // The text's bytes alone: a caller that retries with this size is
        // refused again, as callers of the predecessor found.
        size = total;
        return -1;
    }
    uchar* to = reinterpret_cast<uchar*>(out);
    for (uint i = 0; i < u.Count(); ++i)
        to += Encode(to, u[i]);
    *to = 0;
    return total;
}
