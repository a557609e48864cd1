// String comparison: the native byte path, the order path, the multi-level
// collation with wildcards and backtracking, and the string rows'
// comparators over arrays in memory and in stored images. Orders come from
// the collation tables (KsCollation); nothing here calls ICU.
#include "ksstrcmp.h"

#include "ksbase.h"
#include "ksi18n.h"
#include "ksstring.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdint>
#include <cstring>
#include <new>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

constexpr uint kNoLimit = 0xFFFFFFFFu;
constexpr ushort kModeExactOrOrder = KS_CMP_EXACT | KS_CMP_ORDER;

inline bool IsNull(uchar codeSet, uchar language)
{
    return language == 254 || (codeSet == 254 && language == 0);
}
template <typename T>
inline int Cmp(T x, T y) { return (x > y) - (x < y); }
inline int Sign(long long v) { return (v > 0) - (v < 0); }

// ---------------------------------------------------------------------------
// Wildcard characters (Unicode) and their orders in the alphabetic layout,
// asked of code set 1 on first use and kept; a kept 0 means not yet asked.
// Ideographic texts order every character by its code, so there the
// characters themselves are the wildcard orders.
// ---------------------------------------------------------------------------
std::atomic<ushort> gAsteriskChar{'*'};
std::atomic<ushort> gQuestionChar{'?'};
std::atomic<ushort> gEscapeChar{0};
std::atomic<ushort> gAsteriskOrder{0};
std::atomic<ushort> gQuestionOrder{0};
std::atomic<ushort> gEscapeOrder{0};
constexpr auto kRelaxed = std::memory_order_relaxed;

ushort AlphabeticOrder(ushort u)
{
    const KsCodeSet* cs1 = KsLanguageContext::QueryCodeSet(1);
    const int b = cs1 ? cs1->FromUnicode(u) : -1;
    if (b > 0)
        return ushort(KsCollation::Table8(cs1->Id(), 0)[b]);
    return ushort(KsCollation::Entry16(u, 0));  // not in code set 1: its Unicode order
}

[[gnu::noinline]] ushort AskOrder(std::atomic<ushort>& order, ushort c)
{
    const ushort o = AlphabeticOrder(c);
    order.store(o, kRelaxed);
    return o;
}

// Inline: every pattern comparison asks for all three.
inline ushort KeptOrder(std::atomic<ushort>& order, const std::atomic<ushort>& ch)
{
    const ushort o = order.load(kRelaxed);
    if (o)
        return o;
    const ushort c = ch.load(kRelaxed);
    return c ? AskOrder(order, c) : 0;  // 0: switched off
}

void SetWildcard(std::atomic<ushort>& ch, std::atomic<ushort>& order, const KsChar& c)
{
    ch.store(c.ToUnicode(), kRelaxed);
    order.store(0, kRelaxed);  // asked again on next use
}

struct Wildcards {
    ushort any = 0, one = 0, escape = 0;  // orders; 0 = off
};

// Inline on purpose: returned out of line, the three fields came back
// through a stack slot written in halves and read whole (a forwarding stall).
[[gnu::always_inline]] inline Wildcards WildcardsFor(bool ideographic)
{
    Wildcards w;
    if (ideographic) {
        w.any = gAsteriskChar.load(kRelaxed);
        w.one = gQuestionChar.load(kRelaxed);
        w.escape = gEscapeChar.load(kRelaxed);
    } else {
        w.any = KeptOrder(gAsteriskOrder, gAsteriskChar);
        w.one = KeptOrder(gQuestionOrder, gQuestionChar);
        w.escape = KeptOrder(gEscapeOrder, gEscapeChar);
    }
    return w;
}

// A wildcard character as a byte of the native code set; -1 when off or
// not representable.
int NativeByte(const std::atomic<ushort>& ch)
{
    const ushort u = ch.load(kRelaxed);
    if (!u)
        return -1;
    const KsCodeSet* cs = KsLanguageContext::QueryCodeSet(0);
    const int b = cs ? cs->FromUnicode(u) : (u < 0x80 ? u : -1);
    return b > 0 ? b : -1;
}

// ---------------------------------------------------------------------------
// Order source: walks at most `left` characters of a text (stopping at a
// zero character) and delivers collation orders, the further orders of an
// expansion first.
// ---------------------------------------------------------------------------
const uchar kEmptyText[2] = {0, 0};

struct Source {
    const uchar* p;
    uint left;                    // characters that may still be read
    const KsOrderEntry* table;    // 8-bit text; null for 16-bit text
    uchar language;
    uchar width;
    bool highFirst;
    bool ideographic;
    bool readable;                // `left` characters are there to read (a count was given)
    uint pendingCount = 0;
    ushort pending[2] = {0, 0};

    Source(const char* text, uint n, uchar codeSet, uchar lang, uchar format, int length,
           const KsOrderEntry* knownTable = nullptr)
        : p(text ? reinterpret_cast<const uchar*>(text) : kEmptyText),
          left(!text ? 0 : length >= 0 && uint(length) < n ? uint(length) : n),
          table(knownTable ? knownTable : KsCollation::Table8(codeSet, lang)),
          language(lang),
          width(uchar(KsCodeSetWidth(codeSet))),
          highFirst((format & 0x0F) == 2),
          ideographic(KsCollation::IsIdeographic(lang)),
          readable(n != kNoLimit)
    {
    }

    // 8-bit text with its table already looked up.
    Source(const uchar* text, uint n, const KsOrderEntry* t, uchar lang, bool isReadable)
        : p(text), left(n), table(t), language(lang), width(1), highFirst(false),
          ideographic(KsCollation::IsIdeographic(lang)), readable(isReadable)
    {
    }

    ushort Peek() const
    {
        if (!left)
            return 0;
        if (width == 1)
            return *p;
        if (highFirst)
            return ushort(p[0] << 8 | p[1]);
        ushort u;
        std::memcpy(&u, p, 2);
        return u;
    }

    // Next order, 0 at the end; `start` tells whether it begins a character.
    ushort Next(bool& start)
    {
        if (pendingCount) {
            const ushort o = pending[0];
            pending[0] = pending[1];
            --pendingCount;
            start = false;
            return o;
        }
        start = true;
        const ushort c = Peek();
        if (!c)
            return 0;
        p += width;
        --left;
        const KsOrderEntry e =
            table ? table[c] : ideographic ? KsOrderEntry(c) : KsCollation::Entry16(c, language);
        if (e >> 16) {
            pending[0] = ushort(e >> 16);
            pending[1] = ushort(e >> 32);
            pendingCount = pending[1] ? 2 : 1;
        }
        return ushort(e);
    }

    // Passes the rest of the current character, or the next character when
    // none is under way; false at the end.
    bool SkipChar()
    {
        if (pendingCount) {
            pendingCount = 0;
            return true;
        }
        bool start;
        if (!Next(start))
            return false;
        pendingCount = 0;
        return true;
    }
};

// Equal characters under the same order table have equal orders at every
// level, so a common prefix needs no lookups (the usual case for sorted
// keys). Not used while wildcards are live: a "*" in the prefix matters.
constexpr std::uint64_t kLow7 = 0x7F7F7F7F7F7F7F7Full;
constexpr std::uint64_t kHigh = 0x8080808080808080ull;

// High bit set in every zero byte of x (exact, no carries across bytes).
inline std::uint64_t ZeroBytes(std::uint64_t x) { return ~(((x & kLow7) + kLow7) | x) & kHigh; }

// Bytes of the common prefix within two 8-byte words that may be read
// (8 when the words agree and hold no zero byte).
inline uint CommonBytes(std::uint64_t x, std::uint64_t y)
{
    const std::uint64_t stop = (~ZeroBytes(x ^ y) & kHigh) | ZeroBytes(x);
    if (!stop)
        return 8;
    if constexpr (std::endian::native == std::endian::little)
        return uint(__builtin_ctzll(stop)) >> 3;
    else
        return uint(__builtin_clzll(stop)) >> 3;
}

// Length of the common prefix of two byte texts (at most n, stopping at a
// zero byte). Whole words are read only when n bytes of both texts are
// known to be readable; a zero-terminated text may end on any byte.
inline uint CommonPrefix8(const uchar* a, const uchar* b, uint n, bool readable)
{
    uint i = 0;
    for (; readable && i + 8 <= n; i += 8) {
        std::uint64_t x, y;
        std::memcpy(&x, a + i, 8);
        std::memcpy(&y, b + i, 8);
        const uint common = CommonBytes(x, y);
        if (common < 8)
            return i + common;
    }
    while (i < n && a[i] == b[i] && a[i])
        ++i;
    return i;
}

void SkipCommonPrefix(Source& a, Source& b)
{
    if (a.pendingCount || b.pendingCount || a.width != b.width || a.table != b.table)
        return;
    if (!a.table && (a.ideographic != b.ideographic ||
                     (!a.ideographic && KsCollation::Group(a.language) != KsCollation::Group(b.language))))
        return;
    const uint n = std::min(a.left, b.left);
    uint i = 0;
    if (a.width == 1) {
        i = CommonPrefix8(a.p, b.p, n, a.readable && b.readable);
    } else {
        while (i < n && std::memcmp(a.p + 2 * i, b.p + 2 * i, 2) == 0 && (a.p[2 * i] | a.p[2 * i + 1]))
            ++i;
    }
    a.p += std::size_t(i) * a.width;
    b.p += std::size_t(i) * b.width;
    a.left -= i;
    b.left -= i;
}

// ---------------------------------------------------------------------------
// Levels of a (masked) order. Primary: letter number and extension, digit,
// symbol number, space order, or the whole order of an ideograph; it keeps
// the class order space < symbol < digit < letter < ideograph. Secondary:
// the accent (the expanded form of a digit). Tertiary: the case.
// ---------------------------------------------------------------------------
inline bool IsLetter(ushort m) { return (m & 0xC000) == 0x4000; }
inline bool IsDigit(ushort m) { return (m & 0xFF00) == 0x3F00; }

inline uint Primary(ushort m, bool ideographic)
{
    if (ideographic)
        return m;
    if (IsLetter(m))
        return m & 0x407Fu;
    if (IsDigit(m))
        return m & ~1u;
    return m;
}
inline uint Secondary(ushort m, bool ideographic)
{
    if (ideographic)
        return 0;
    if (IsLetter(m))
        return (m >> 7) & 0x1Fu;
    return IsDigit(m) ? (m & 1u) : 0;
}
inline uint Tertiary(ushort m, bool ideographic)
{
    return !ideographic && IsLetter(m) ? (m >> 12) & 3u : 0;
}

// First differences below the primary level, in text order.
struct Levels {
    int accent = 0;
    int letterCase = 0;
    void Note(ushort m1, bool i1, ushort m2, bool i2)
    {
        if (!accent)
            accent = Cmp(Secondary(m1, i1), Secondary(m2, i2));
        if (!letterCase)
            letterCase = Cmp(Tertiary(m1, i1), Tertiary(m2, i2));
    }
    int Detail() const { return accent ? 2 * accent : 3 * letterCase; }
};

ushort MaskOf(ushort mode)
{
    if (mode & KS_CMP_MASK40)
        return (mode & KS_CMP_MASK20) ? ushort(~0x7Fu) : ushort(~0x1Fu);
    return (mode & KS_CMP_MASK20) ? ushort(~0x60u) : ushort(0xFFFF);
}

// ---------------------------------------------------------------------------
// Pattern matching from the first "*" on: both rests are laid out as order
// lists, then matched with backtracking: a failing rest retries the last
// "*" one order further on (retrying earlier stars cannot help).
// ---------------------------------------------------------------------------
enum : uchar { kLiteral, kAny, kOne };
struct Item {
    ushort order;
    uchar kind;
    bool start;  // begins a character
};

int MatchFromStar(Source& a, Source& b, ushort mask, const Wildcards& wc, const Levels& before,
                  int& detail)
{
    std::vector<Item> pat, txt;  // the retry state lives here; freed on return
    pat.push_back(Item{wc.any, kAny, true});
    for (;;) {
        bool s;
        const ushort o = b.Next(s);
        if (!o)
            break;
        if (s && o == wc.escape) {
            bool t;
            const ushort lit = b.Next(t);
            pat.push_back(Item{lit ? lit : o, kLiteral, true});
            if (!lit)
                break;
        } else if (s && o == wc.any) {
            if (pat.back().kind != kAny)
                pat.push_back(Item{o, kAny, true});
        } else if (s && o == wc.one) {
            pat.push_back(Item{o, kOne, true});
        } else {
            pat.push_back(Item{o, kLiteral, s});
        }
    }
    for (;;) {
        bool s;
        const ushort o = a.Next(s);
        if (!o)
            break;
        txt.push_back(Item{o, kLiteral, s});
    }

    const std::size_t np = pat.size(), nt = txt.size();
    std::size_t i = 0, j = 0, star = 0, starJ = 0;
    Levels atStar = before, cur = before;
    int firstFail = 0;
    for (;;) {
        int fail;
        if (i < np) {
            const Item& p = pat[i];
            if (p.kind == kAny) {
                star = ++i;
                starJ = j;
                atStar = cur;
                if (star == np)
                    break;  // a trailing "*" takes whatever is left
                continue;
            }
            if (p.kind == kOne) {
                if (j < nt) {
                    for (++j; j < nt && !txt[j].start; ++j) {
                    }
                    ++i;
                    continue;
                }
                fail = -1;
            } else if (j < nt) {
                const ushort m1 = ushort(txt[j].order & mask), m2 = ushort(p.order & mask);
                fail = Cmp(Primary(m1, a.ideographic), Primary(m2, b.ideographic));
                if (!fail) {
                    cur.Note(m1, a.ideographic, m2, b.ideographic);
                    ++i;
                    ++j;
                    continue;
                }
            } else {
                fail = -1;  // the text ran out
            }
        } else if (j == nt) {
            break;  // matched
        } else {
            fail = 1;  // the pattern ran out
        }
        if (!firstFail)
            firstFail = fail;
        if (starJ < nt) {
            j = ++starJ;
            i = star;
            cur = atStar;
            continue;
        }
        detail = firstFail;
        return firstFail;
    }
    detail = cur.Detail();
    return 0;
}

// ---------------------------------------------------------------------------
// Multi-level collation, the second text read as a pattern unless exact.
// Result: primary level only, or with mode bit 0x10 all three levels.
// ---------------------------------------------------------------------------
int Collate(Source& a, Source& b, ushort mode, int& detail, Levels levels = Levels())
{
    const ushort mask = MaskOf(mode);
    const bool exact = (mode & KS_CMP_EXACT) != 0;
    Wildcards wc;
    if (exact)
        SkipCommonPrefix(a, b);
    else
        wc = WildcardsFor(b.ideographic);
    for (;;) {
        bool s1, s2;
        ushort o2 = b.Next(s2);
        if (!exact && s2 && o2) {
            if (o2 == wc.escape) {
                bool t;
                if (const ushort lit = b.Next(t))
                    o2 = lit;  // the escaped character stands for itself
            } else if (o2 == wc.any) {
                return MatchFromStar(a, b, mask, wc, levels, detail);
            } else if (o2 == wc.one) {
                if (!a.SkipChar()) {
                    detail = -1;
                    return -1;
                }
                continue;
            }
        }
        const ushort o1 = a.Next(s1);
        if (!o1 && !o2)
            break;
        const ushort m1 = ushort(o1 & mask), m2 = ushort(o2 & mask);
        if (m1 == m2)
            continue;
        if (const int c = Cmp(Primary(m1, a.ideographic), Primary(m2, b.ideographic))) {
            detail = c;
            return c;
        }
        levels.Note(m1, a.ideographic, m2, b.ideographic);
    }
    detail = levels.Detail();
    return exact ? Sign(detail) : 0;
}

// The bytes of an 8-bit table whose order is a wildcard or escape order
// (those that send the pattern walk to the matcher), packed as
// [count:8][byte 0:8]..[byte 3:8]; unused byte slots repeat byte 0, and a
// count of kMany means too many to look for. Building one reads all 256
// entries, so results are kept in a few slots chosen by table (tables are
// never freed nor changed), each slot a sequence lock over atomics: a
// reader that sees it change or busy builds its own answer.
constexpr std::uint64_t kManyWildcardBytes = 0xFF;

struct WildcardSlot {
    std::atomic<uint> sequence{0};  // odd while written
    std::atomic<const KsOrderEntry*> table{nullptr};
    std::atomic<std::uint64_t> key{0};    // any | one << 16 | escape << 32
    std::atomic<std::uint64_t> bytes{0};  // packed as above
};
WildcardSlot gWildcardSlots[8];

std::uint64_t BuildWildcardBytes(const KsOrderEntry* t, const Wildcards& wc)
{
    // An order of 0 matches a switched-off wildcard here, as it does in the
    // walk's own test: such a byte goes to the matcher either way.
    uchar found[4] = {0, 0, 0, 0};
    uint n = 0;
    for (uint c = 1; c < 256; ++c) {
        const ushort o = ushort(t[c]);
        if (o != wc.any && o != wc.one && o != wc.escape)
            continue;
        if (n == 4)
            return kManyWildcardBytes;
        found[n++] = uchar(c);
    }
    std::uint64_t packed = n;
    for (uint k = 0; k < 4; ++k)
        packed |= std::uint64_t(k < n ? found[k] : found[0]) << (8 + 8 * k);
    return packed;
}

std::uint64_t WildcardBytesOf(const KsOrderEntry* t, const Wildcards& wc)
{
    const std::uint64_t key = wc.any | std::uint64_t(wc.one) << 16 | std::uint64_t(wc.escape) << 32;
    WildcardSlot& slot = gWildcardSlots[(reinterpret_cast<std::uintptr_t>(t) >> 11) & 7];
    uint seq = slot.sequence.load(std::memory_order_acquire);
    if (!(seq & 1) && slot.table.load(kRelaxed) == t && slot.key.load(kRelaxed) == key) {
        const std::uint64_t packed = slot.bytes.load(kRelaxed);
        std::atomic_thread_fence(std::memory_order_acquire);
        if (slot.sequence.load(kRelaxed) == seq)
            return packed;
    }
    const std::uint64_t packed = BuildWildcardBytes(t, wc);
    seq = slot.sequence.load(kRelaxed);
    if (!(seq & 1) && slot.sequence.compare_exchange_strong(seq, seq + 1, std::memory_order_acquire)) {
        std::atomic_thread_fence(std::memory_order_release);
        slot.table.store(t, kRelaxed);
        slot.key.store(key, kRelaxed);
        slot.bytes.store(packed, kRelaxed);
        slot.sequence.store(seq + 2, std::memory_order_release);
    }
    return packed;
}

// Length of the common prefix of a text and a pattern that holds none of
// the pattern's wildcard bytes (at most n, stopping at a zero byte): the
// run the pattern walk may pass without looking at orders. Whole blocks are
// read only when n bytes of both are readable, and `back` bytes before a
// and b (already passed) let the last block end at n instead of falling
// back to single bytes. Unused wildcard slots hold byte 0 or a repeat,
// which stop nothing a zero byte would not.
uint CommonPlainPrefix8(const uchar* a, const uchar* b, uint n, uint back, bool readable,
                        std::uint64_t wild)
{
    if (wild == kManyWildcardBytes)
        return 0;
    const uchar w0 = uchar(wild >> 8), w1 = uchar(wild >> 16), w2 = uchar(wild >> 24),
                w3 = uchar(wild >> 32);
    uint i = 0;
    if (readable) {
#if defined(__SSE2__)
        // Each wildcard byte spread over a whole register: four bytes in,
        // each one four times per 32-bit lane, then one lane broadcast.
        __m128i spread = _mm_cvtsi32_si128(int(std::uint32_t(wild >> 8)));
        spread = _mm_unpacklo_epi8(spread, spread);
        spread = _mm_unpacklo_epi16(spread, spread);
        const __m128i v0 = _mm_shuffle_epi32(spread, 0x00), v1 = _mm_shuffle_epi32(spread, 0x55),
                      v2 = _mm_shuffle_epi32(spread, 0xAA), v3 = _mm_shuffle_epi32(spread, 0xFF);
        const __m128i zero = _mm_setzero_si128();
        const bool many = (wild & 0xFF) > 2;  // usually two: "*" and "?"
        // Bit k set: byte k of the 16 at x and y ends the run.
        auto ends = [&](const uchar* x, const uchar* y) {
            const __m128i vx = _mm_loadu_si128(reinterpret_cast<const __m128i*>(x));
            const __m128i vy = _mm_loadu_si128(reinterpret_cast<const __m128i*>(y));
            __m128i stop = _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(vy, zero), _mm_cmpeq_epi8(vy, v0)),
                                        _mm_cmpeq_epi8(vy, v1));
            if (many)
                stop = _mm_or_si128(stop, _mm_or_si128(_mm_cmpeq_epi8(vy, v2), _mm_cmpeq_epi8(vy, v3)));
            return (~uint(_mm_movemask_epi8(_mm_cmpeq_epi8(vx, vy))) & 0xFFFFu) |
                   uint(_mm_movemask_epi8(stop));
        };
        for (; i + 16 <= n; i += 16)
            if (const uint e = ends(a + i, b + i))
                return i + uint(__builtin_ctz(e));
        if (i < n && n + back >= 16) {
            const uint e = ends(a + n - 16, b + n - 16) >> (i + 16 - n);
            return e ? i + uint(__builtin_ctz(e)) : n;
        }
#endif
        constexpr std::uint64_t kOnes = 0x0101010101010101ull;
        const std::uint64_t b0 = w0 * kOnes, b1 = w1 * kOnes, b2 = w2 * kOnes, b3 = w3 * kOnes;
        // High bit set in each byte of the 8 at x and y that ends the run.
        auto ends8 = [&](const uchar* x, const uchar* y) {
            std::uint64_t vx, vy;
            std::memcpy(&vx, x, 8);
            std::memcpy(&vy, y, 8);
            return (~ZeroBytes(vx ^ vy) & kHigh) | ZeroBytes(vy) | ZeroBytes(vy ^ b0) |
                   ZeroBytes(vy ^ b1) | ZeroBytes(vy ^ b2) | ZeroBytes(vy ^ b3);
        };
        for (; i + 8 <= n; i += 8) {
            if (const std::uint64_t e = ends8(a + i, b + i)) {
                if constexpr (std::endian::native == std::endian::little)
                    return i + (uint(__builtin_ctzll(e)) >> 3);
                else
                    return i + (uint(__builtin_clzll(e)) >> 3);
            }
        }
        if constexpr (std::endian::native == std::endian::little) {
            if (i < n && n + back >= 8) {
                const std::uint64_t e = ends8(a + n - 8, b + n - 8) >> (8 * (i + 8 - n));
                return e ? i + (uint(__builtin_ctzll(e)) >> 3) : n;
            }
        }
    }
    for (; i < n && a[i] == b[i] && a[i]; ++i)
        if (b[i] == w0 || b[i] == w1 || b[i] == w2 || b[i] == w3)
            break;
    return i;
}

template <bool kPattern>
int CollateBytesAs(const uchar* pa, uint na, const KsOrderEntry* ta, uchar la, const uchar* pb, uint nb,
                   const KsOrderEntry* tb, uchar lb, ushort mode, bool readable, int& detail)
{
    const bool ia = KsCollation::IsIdeographic(la), ib = KsCollation::IsIdeographic(lb);
    Wildcards wc;
    std::uint64_t wild = 0;  // the pattern's wildcard bytes (CommonPlainPrefix8)
    if constexpr (kPattern) {
        wc = WildcardsFor(ib);
        if (ta == tb)
            wild = WildcardBytesOf(tb, wc);
    }
    // Runs of equal bytes decide nothing; skipped wherever they start (a
    // case difference early in a long key leaves the rest to skip). A
    // pattern's run ends before its first wildcard byte: from there the
    // walk below hands over to the matcher as it would have anyway.
    const bool skipRuns = ta == tb;
    const uchar* const textStart = pa;
    const uchar* const patternStart = pb;
    const ushort mask = MaskOf(mode);
    Levels levels;
    for (;;) {
        if (skipRuns && na && nb && *pa == *pb) {
            uint common;
            if constexpr (kPattern) {
                const uint back = uint(std::min(pa - textStart, pb - patternStart));
                common = CommonPlainPrefix8(pa, pb, std::min(na, nb), back, readable, wild);
            } else {
                common = CommonPrefix8(pa, pb, std::min(na, nb), readable);
            }
            pa += common;
            pb += common;
            na -= common;
            nb -= common;
        }
        const uint ca = na ? *pa : 0, cb = nb ? *pb : 0;
        const KsOrderEntry ea = ta[ca], eb = tb[cb];
        const ushort o2 = ushort(eb);
        if (((ea | eb) >> 16) || (kPattern && cb && (o2 == wc.any || o2 == wc.one || o2 == wc.escape))) {
            Source sa(pa, ca ? na : 0, ta, la, readable), sb(pb, cb ? nb : 0, tb, lb, readable);
            return Collate(sa, sb, mode, detail, levels);
        }
        if (!ca && !cb)
            break;
        if (ca) {
            ++pa;
            --na;
        }
        if (cb) {
            ++pb;
            --nb;
        }
        const ushort m1 = ushort(ea & mask), m2 = ushort(eb & mask);
        if (m1 == m2)
            continue;
        if (const int c = Cmp(Primary(m1, ia), Primary(m2, ib))) {
            detail = c;
            return c;
        }
        levels.Note(m1, ia, m2, ib);
    }
    detail = levels.Detail();
    return kPattern ? 0 : Sign(detail);
}

// Collate for two 8-bit texts, straight over bytes and tables (the common
// case of stored keys); hands over to Collate at the first character that
// sorts as several letters or is a wildcard of the pattern. na, nb:
// characters that may be read (a text also ends at a zero byte). Plain
// scalars on purpose: small structs passed by value go through memory and
// cost store-forwarding stalls on this hot path. One instance per reading
// of the second text keeps each loop's live values in registers.
int CollateBytes(const uchar* pa, uint na, const KsOrderEntry* ta, uchar la, const uchar* pb, uint nb,
                 const KsOrderEntry* tb, uchar lb, ushort mode, bool readable, int& detail)
{
    if (mode & KS_CMP_EXACT)
        return CollateBytesAs<false>(pa, na, ta, la, pb, nb, tb, lb, mode, readable, detail);
    return CollateBytesAs<true>(pa, na, ta, la, pb, nb, tb, lb, mode, readable, detail);
}

// ---------------------------------------------------------------------------
// Order comparison (mode bit 0x100): 32-bit keys with the language on top.
// ---------------------------------------------------------------------------
inline std::uint32_t OrderKey(ushort order, uchar language)
{
    if (!order)
        return 0;
    const std::uint32_t lang = std::uint32_t(language) << 24;
    // A letter: letter number and extension rank above accent and case.
    if (language != 20 && order < 0x8000 && (order & 0x4000))
        return lang | std::uint32_t(order & 0x407F) << 8 | ((order >> 7) & 0x7Fu);
    return lang | std::uint32_t(order) << 8;
}

int CompareOrders(Source& a, Source& b, int& detail)
{
    if (a.language == b.language)
        SkipCommonPrefix(a, b);
    for (;;) {
        bool s;
        const ushort o1 = a.Next(s), o2 = b.Next(s);
        if (!o1 && !o2)
            return 0;
        const std::uint32_t k1 = OrderKey(o1, a.language), k2 = OrderKey(o2, b.language);
        if (k1 != k2) {
            detail = Sign(static_cast<long long>(k1) - static_cast<long long>(k2));
            return detail;
        }
    }
}

// ---------------------------------------------------------------------------
// Native texts (both code sets 0): bytes, the second text a pattern unless
// mode bit 0x10 or 0x100 asks for a plain byte comparison.
// ---------------------------------------------------------------------------
uint BoundedLength(const uchar* s, uint limit)
{
    if (!s)
        return 0;
    if (limit == kNoLimit)
        return uint(std::strlen(reinterpret_cast<const char*>(s)));
    const void* zero = std::memchr(s, 0, limit);  // stops at the first zero
    return zero ? uint(static_cast<const uchar*>(zero) - s) : limit;
}

int NativeMatch(const uchar* t, uint nt, const uchar* p, uint np)
{
    const int any = NativeByte(gAsteriskChar), one = NativeByte(gQuestionChar),
              esc = NativeByte(gEscapeChar);
    uint i = 0, j = 0, star = 0, starJ = 0;
    bool haveStar = false;
    int firstFail = 0;
    for (;;) {
        int fail;
        if (i < np) {
            int c = p[i];
            uint step = 1;
            if (c == esc && i + 1 < np) {
                c = p[i + 1];
                step = 2;
            } else if (c == any) {
                while (i < np && p[i] == any)
                    ++i;
                if (i == np)
                    return 0;  // a trailing "*" takes whatever is left
                star = i;
                starJ = j;
                haveStar = true;
                continue;
            } else if (c == one) {
                if (j < nt) {
                    ++i;
                    ++j;
                    continue;
                }
                fail = -c;
                goto failed;
            }
            if (j < nt && t[j] == c) {
                i += step;
                ++j;
                continue;
            }
            fail = (j < nt ? t[j] : 0) - c;
        } else if (j == nt) {
            return 0;
        } else {
            fail = t[j];
        }
    failed:
        if (!firstFail)
            firstFail = fail;
        if (haveStar && starJ < nt) {
            j = ++starJ;
            i = star;
            continue;
        }
        return firstFail;
    }
}

int CompareNative(const char* text1, uint n1, const char* text2, uint n2, ushort mode, int length)
{
    if (length > 0) {
        n1 = std::min(n1, uint(length));
        n2 = std::min(n2, uint(length));
    }
    const uchar* a = reinterpret_cast<const uchar*>(text1);
    const uchar* b = reinterpret_cast<const uchar*>(text2);
    const uint len1 = BoundedLength(a, n1), len2 = BoundedLength(b, n2);
    if (!(mode & kModeExactOrOrder))
        return NativeMatch(a ? a : kEmptyText, len1, b ? b : kEmptyText, len2);
    if (!a)
        return len2 == 0 ? 0 : -1;
    if (!b)
        return len1 ? 1 : 0;
    for (uint i = 0;; ++i) {
        const int c1 = i < len1 ? a[i] : 0, c2 = i < len2 ? b[i] : 0;
        if (c1 != c2)
            return c1 - c2;
        if (!c1)
            return 0;
    }
}

}  // namespace

// ---------------------------------------------------------------------------
// KsStrCmp
// ---------------------------------------------------------------------------
int KsStrCmpN(uchar codeSet1, uchar language1, const char* text1, uint n1, uchar codeSet2,
              uchar language2, const char* text2, uint n2, ushort mode, int length, uchar format,
              int* detail)
{
    int unused = 0;
    int& d = detail ? *detail : unused;
    d = 0;
    const bool null1 = IsNull(codeSet1, language1), null2 = IsNull(codeSet2, language2);
    if (null1 && null2)
        return 0;
    if (null2) {
        d = 1;
        return 1;
    }
    if (null1) {
        if (mode & kModeExactOrOrder) {
            d = -1;
            return -1;
        }
        text1 = "";  // compared as an empty text
        n1 = 0;
    }
    if (length == 0)
        return 0;
    if (codeSet1 == 0 && codeSet2 == 0) {
        const int r = CompareNative(text1, n1, text2, n2, mode, length);
        d = Sign(r);
        return r;
    }
    if (!codeSet1 || !codeSet2) {
        const uchar native = KsLanguageContext::GetNativeCodeSet();
        codeSet1 = codeSet1 ? codeSet1 : native;
        codeSet2 = codeSet2 ? codeSet2 : native;
    }
    Source a(text1, n1, codeSet1, language1, format, length);
    Source b(text2, n2, codeSet2, language2, format, length,
             codeSet2 == codeSet1 && language2 == language1 ? a.table : nullptr);
    if (mode & KS_CMP_ORDER)
        return CompareOrders(a, b, d);
    if (a.table && b.table)
        return CollateBytes(a.p, a.left, a.table, language1, b.p, b.left, b.table, language2, mode,
                            a.readable && b.readable, d);
    return Collate(a, b, mode, d);
}

int KsStrCmp(uchar codeSet1, uchar language1, const char* text1, uchar codeSet2, uchar language2,
             const char* text2, ushort mode, short length, uchar format, int* detail)
{
    return KsStrCmpN(codeSet1, language1, text1, kNoLimit, codeSet2, language2, text2, kNoLimit,
                     mode, length < 0 ? -1 : length, format, detail);
}

void KsStrCmpSetAsterisk(const KsChar& c) { SetWildcard(gAsteriskChar, gAsteriskOrder, c); }
void KsStrCmpSetQuestion(const KsChar& c) { SetWildcard(gQuestionChar, gQuestionOrder, c); }
void KsStrCmpSetEscape(const KsChar& c) { SetWildcard(gEscapeChar, gEscapeOrder, c); }

// ---------------------------------------------------------------------------
// The string rows' comparator
// ---------------------------------------------------------------------------
namespace {

// What is left of one operand: the next element and, when bounded, the
// bytes available from there.
struct Side {
    const uchar* p;
    uint left;
    bool bounded;
};

struct Element {
    const char* text = nullptr;
    uint bytes = 0;     // character bytes present
    uint consumed = 0;  // bytes up to the next element
    uchar codeSet = 0;
    uchar language = 0;
    int cut = 0;        // 1: only the terminator is missing; 2: characters are missing
};

enum ReadResult { kRead, kShort, kInvalid };

inline uint Load16(const uchar* p, uchar fmt)
{
    return fmt == 2 ? uint(p[0] << 8 | p[1]) : uint(p[0] | p[1] << 8);
}

// One stored element.
//   current:  [L:2][code set][language][characters: L-4][0][FF]   (L+2 bytes)
//   old:      [L:2][characters: L-1][0]                           (L+2 bytes)
// L is in the format's byte order. Nothing past the bound is read.
[[gnu::always_inline]] inline ReadResult ReadStored(const Side& s, uchar fmt, bool old, Element& e)
{
    const uint header = old ? 2 : 4;
    if (s.bounded && s.left < header)
        return kShort;
    const uint len = Load16(s.p, fmt);
    uint chars;
    if (old) {
        e.codeSet = 0;
        e.language = KsLanguageContext::GetDefaultLanguage();
        chars = len ? len - 1 : 0;
    } else {
        e.codeSet = s.p[2];
        e.language = s.p[3];
        chars = len > 4 ? len - 4 : 0;
    }
    e.text = reinterpret_cast<const char*>(s.p + header);
    e.bytes = chars;
    e.consumed = len + 2;
    e.cut = 0;
    if (s.bounded && s.left < e.consumed) {
        const uint present = s.left - header;
        if (present >= chars) {
            e.cut = 1;
        } else {
            // Cut operands are short key prefixes; a long cut one means a
            // length field that cannot be right.
            if (present >= 254)
                return kInvalid;
            e.cut = 2;
            e.bytes = present;
        }
    }
    return kRead;
}

// An 8-bit text that is not null (code set 0 takes the native byte path).
inline bool IsPlain8(uint codeSet, uint language)
{
    return codeSet != 0 && !KsCodeSetIsWide(uchar(codeSet)) && language != 254;
}

// The usual call: one whole stored element on each side, both 8-bit and
// not null, collated. Everything stays in locals (the general walk
// keeps its elements in memory, where the compiler's fused field loads
// stall on store forwarding). False when the general walk must decide.
bool CompareOneStored8(uchar fmt, uint lenA, const uchar* a, uint lenB, const uchar* b, ushort mode,
                       int& result)
{
    if ((mode & KS_CMP_ORDER) || (lenA && lenA < 4) || (lenB && lenB < 4))
        return false;
    const uint la = Load16(a, fmt), lb = Load16(b, fmt);
    if (la < 4 || lb < 4 || (lenA && lenA < la + 2) || (lenB && lenB < lb + 2))
        return false;
    const uint csA = a[2], langA = a[3], csB = b[2], langB = b[3];
    if (!IsPlain8(csA, langA) || !IsPlain8(csB, langB))
        return false;
    const KsOrderEntry* ta = KsCollation::Table8(uchar(csA), uchar(langA));
    const KsOrderEntry* tb =
        csA == csB && langA == langB ? ta : KsCollation::Table8(uchar(csB), uchar(langB));
    int detail = 0;
    result = CollateBytes(a + 4, la - 4, ta, uchar(langA), b + 4, lb - 4, tb, uchar(langB), mode,
                          true, detail);
    if ((mode & KS_CMP_DETAIL) && detail)
        result = detail;
    return true;
}

ReadResult ReadMemory(const Side& s, Element& e)
{
    if (s.bounded && s.left < sizeof(KsString))
        return kShort;
    const KsString* str = reinterpret_cast<const KsString*>(s.p);
    e.text = str->Text();
    e.codeSet = str->CodeSet();
    e.language = str->Language();
    const uint w = KsCodeSetWidth(e.codeSet);
    e.bytes = str->Size() >= w ? str->Size() - w : 0;
    e.consumed = sizeof(KsString);
    e.cut = 0;
    return kRead;
}

// Copy of a cut text with two zero bytes after it: on the stack when it is
// short, else on the heap (exhaustion goes to the memory handler).
class Scratch {
public:
    Scratch() = default;
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    ~Scratch()
    {
        if (heap_)
            ::operator delete(heap_);
    }

    const char* Copy(const char* src, uint n)
    {
        char* dst = local_;
        if (n + 2 > sizeof(local_)) {
            for (int attempt = 1; !(heap_ = static_cast<char*>(::operator new(n + 2, std::nothrow)));
                 ++attempt)
                if (!KsCallMemoryHandler(n + 2, attempt))
                    return nullptr;
            dst = heap_;
        }
        std::memcpy(dst, src, n);
        dst[n] = dst[n + 1] = 0;
        return dst;
    }

private:
    char local_[256];
    char* heap_ = nullptr;
};

// Characters before the first "*" of a pattern text, or -1.
int FindAsterisk(const Element& e, uint count, bool native, uchar fmt)
{
    if (native) {
        const int any = NativeByte(gAsteriskChar), esc = NativeByte(gEscapeChar);
        const uchar* t = reinterpret_cast<const uchar*>(e.text);
        for (uint i = 0; i < count && t[i]; ++i) {
            if (t[i] == esc)
                ++i;
            else if (t[i] == any)
                return int(i);
        }
        return -1;
    }
    Source s(e.text, count, e.codeSet, e.language, fmt, -1);
    const Wildcards wc = WildcardsFor(s.ideographic);
    if (!wc.any)
        return -1;
    int index = 0;
    for (;;) {
        bool start;
        const ushort o = s.Next(start);
        if (!o)
            return -1;
        if (!start)
            continue;
        if (o == wc.escape) {
            s.SkipChar();
            index += 2;
        } else if (o == wc.any) {
            return index;
        } else {
            ++index;
        }
    }
}

int CompareElements(uchar format, uint lenA, void* a, uint lenB, void* b, ushort mode, uint count,
                    int& status, bool old)
{
    status = KS_OK;
    if (!count)
        return 0;
    const uchar fmt = format & 0x0F;
    const bool memory = fmt == 8;
    // Fewer than 5 bytes left after an element count as a short operand, in
    // the old image too (where a trailing empty text takes only 3); in memory
    // the limit is one whole KsString, so nothing past the array is read.
    const uint minLeft = memory ? uint(sizeof(KsString)) : 5u;
    Side sa{static_cast<const uchar*>(a), lenA, lenA != 0};
    Side sb{static_cast<const uchar*>(b), lenB, lenB != 0};

    for (uint k = 0;;) {
        Element ea, eb;
        const ReadResult ra = memory ? ReadMemory(sa, ea) : ReadStored(sa, fmt, old, ea);
        const ReadResult rb = ra != kRead ? ra : memory ? ReadMemory(sb, eb) : ReadStored(sb, fmt, old, eb);
        if (ra == kInvalid || rb == kInvalid) {
            status = KS_NOT_SUPPORTED;
            return -1;
        }
        if (ra == kShort || rb == kShort) {
            status = KS_SHORT_OPERAND;
            return 0;
        }
        Scratch scratchA, scratchB;
        if (ea.cut && !(ea.text = scratchA.Copy(ea.text, ea.bytes))) {
            status = KS_NOT_SUPPORTED;
            return -1;
        }
        if (eb.cut && !(eb.text = scratchB.Copy(eb.text, eb.bytes))) {
            status = KS_NOT_SUPPORTED;
            return -1;
        }
        // Code set 254 with language bit 7: the value was shortened when
        // it was stored.
        if (ea.codeSet == 254 && (ea.language & 0x80)) {
            ea.language &= 0x7F;
            status = KS_SHORT_OPERAND;
        }
        if (eb.codeSet == 254 && (eb.language & 0x80)) {
            eb.language &= 0x7F;
            status = KS_SHORT_OPERAND;
            if (!(mode & kModeExactOrOrder) && !eb.cut)
                eb.cut = 2;
        }

        int r;
        if (!ea.text || !eb.text) {  // strings without a buffer (in memory)
            r = !ea.text && !eb.text ? 0 : !ea.text ? -1 : 1;
        } else {
            const uint countA = ea.bytes / KsCodeSetWidth(ea.codeSet);
            const uint countB = eb.bytes / KsCodeSetWidth(eb.codeSet);
            const uchar textFormat = memory ? uchar(8) : fmt;
            int compared = -1;  // uncut: the whole texts
            bool viaStar = false;
            if ((ea.cut || eb.cut) && !(mode & kModeExactOrOrder)) {
                const int star = FindAsterisk(eb, countB, ea.codeSet == 0 && eb.codeSet == 0, textFormat);
                if (star >= 0) {
                    // Only the part before the "*" decides; that is the whole
                    // answer when the "*" ends a complete pattern and the
                    // text holds that part.
                    compared = star;
                    viaStar = true;
                    const bool complete = !eb.cut && uint(star) + 1 == countB && countA >= uint(star);
                    if (!complete)
                        status = KS_SHORT_OPERAND;
                }
            }
            if (!viaStar && (ea.cut || eb.cut)) {
                compared = int(std::min(countA, countB));
                if ((ea.cut && countA <= countB) || (eb.cut && countB <= countA))
                    status = KS_SHORT_OPERAND;
            }
            int detail = 0;
            r = Sign(KsStrCmpN(ea.codeSet, ea.language, ea.text, countA, eb.codeSet, eb.language,
                               eb.text, countB, mode, compared, textFormat, &detail));
            if (!r && countA != countB && compared >= 0) {
                // Equal as far as compared: a cut operand that went past the
                // other's whole text is the longer one.
                if (ea.cut && uint(compared) == countB)
                    r = 1;
                else if (eb.cut && uint(compared) == countA)
                    r = -1;
            }
            // The detail replaces the result; a detail of 0 leaves the
            // decision of the cut rule above standing.
            if ((mode & KS_CMP_DETAIL) && detail)
                r = detail;
        }
        if (r || status)
            return r;
        if (++k == count)
            return 0;
        sa.p += ea.consumed;
        sb.p += eb.consumed;
        sa.left = sa.left > ea.consumed ? sa.left - ea.consumed : 0;
        sb.left = sb.left > eb.consumed ? sb.left - eb.consumed : 0;
        if ((sa.bounded && sa.left < minLeft) || (sb.bounded && sb.left < minLeft)) {
            status = KS_SHORT_OPERAND;
            return 0;
        }
    }
}

}  // namespace

int StringCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort mode, uint count,
                  int& status)
{
    const uchar fmt = format & 0x0F;
    int result;
    if (count == 1 && fmt != 8 &&
        CompareOneStored8(fmt, lenA, static_cast<const uchar*>(a), lenB,
                          static_cast<const uchar*>(b), mode, result)) {
        status = KS_OK;
        return result;
    }
    return CompareElements(format, lenA, a, lenB, b, mode, count, status, false);
}

int StringCompareOld(uchar format, uint lenA, void* a, uint lenB, void* b, ushort mode, uint count,
                     int& status)
{
    return CompareElements(format, lenA, a, lenB, b, mode, count, status, true);
}
