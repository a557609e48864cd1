// Collation orders: the character -> order tables of every language group,
// the order walk of KsStringIterator, Transform and the case operations.
// Tables are built from ICU on first use (per Unicode page and language
// group, per 8-bit code set and group) and published atomically; lookups
// after that are plain table reads. The layout is described in
// docs/collation.md.
#include "ksi18n.h"

#include <unicode/uchar.h>
#include <unicode/unorm2.h>

#include <array>
#include <atomic>
#include <cstring>
#include <memory>
#include <mutex>

namespace {

// ---------------------------------------------------------------------------
// Order layout of the alphabetic languages.
// ---------------------------------------------------------------------------
constexpr ushort kUndefinedOrder = 13;
constexpr ushort kSymbolBase = 80;
constexpr ushort kDigitBase = 0x3F00;
constexpr ushort kLetterBit = 0x4000;
constexpr ushort kOtherScript = 0x8000;
constexpr uint kLastSymbol = 16047;        // highest symbol number of the layout
constexpr uint kFirstRankedSymbol = 140;   // symbols without a fixed number start here

// Accent numbers. 1..14 have names; the rest describe as plain "with ".
constexpr uchar kAccLigature = 15;   // one part of a character that sorts as several letters
constexpr uchar kAccVariant = 16;    // a letter variant without a combining mark (eng, dotless i, ...)
constexpr uchar kAccOtherMark = 31;

constexpr ushort LetterOrder(uint letter, uint ext, uint accent, bool upper)
{
    return ushort(kLetterBit | (upper ? 0u : 1u) << 12 | accent << 7 | letter << 2 | ext);
}
constexpr uint LetterNumber(char ascii) { return uint((ascii | 0x20) - 'a') + 3; }
constexpr bool IsAsciiLetter(uint u) { return (u >= 'A' && u <= 'Z') || (u >= 'a' && u <= 'z'); }

constexpr KsOrderEntry Pack(ushort o0, ushort o1 = 0, ushort o2 = 0)
{
    return KsOrderEntry(o0) | KsOrderEntry(o1) << 16 | KsOrderEntry(o2) << 32;
}

// Combining mark -> accent number.
uchar AccentOf(ushort mark)
{
    switch (mark) {
    case 0: return 0;
    case 0x0327: return 1;   // cedilla
    case 0x0301: return 2;   // acute
    case 0x0300: return 3;   // grave
    case 0x0302: return 4;   // circumflex
    case 0x0303: return 5;   // tilde
    case 0x0308: return 6;   // diaeresis
    case 0x030A: return 7;   // ring above
    case 0x0335: case 0x0336: case 0x0337: case 0x0338: return 8;  // stroke overlays
    case 0x030C: return 9;   // caron
    case 0x0304: return 10;  // macron
    case 0x0306: return 11;  // breve
    case 0x0307: return 12;  // dot above
    case 0x0328: return 13;  // ogonek
    case 0x030B: return 14;  // double acute
    case 0x0309: return 17;  // hook above
    case 0x031B: return 18;  // horn
    case 0x0323: return 19;  // dot below
    case 0x0326: return 20;  // comma below
    case 0x0324: return 21;  // diaeresis below
    case 0x0325: return 22;  // ring below
    case 0x032D: return 23;  // circumflex below
    case 0x032E: return 24;  // breve below
    case 0x0330: return 25;  // tilde below
    case 0x0331: return 26;  // macron below
    case 0x030F: return 27;  // double grave
    case 0x0311: return 28;  // inverted breve
    default: return kAccOtherMark;
    }
}

// Symbols with a fixed number (all below U+0100); 0 = none. The numbers are
// the ones the order descriptions name.
constexpr std::array<ushort, 256> kFixedSymbols = [] {
    std::array<ushort, 256> t{};
    const struct { ushort u, n; } fixed[] = {
        {'_', 32},    {0xAF, 34},  {0xAD, 35},  {'-', 36},   {',', 37},   {';', 38},   {':', 39},
        {'!', 40},    {0xA1, 41},  {'?', 42},   {'/', 44},   {'.', 46},   {0xB7, 49},  {0xB8, 50},
        {0xB4, 52},   {'"', 55},   {0xAB, 58},  {0xBB, 59},  {'(', 60},   {')', 62},   {'[', 64},
        {']', 65},    {'{', 66},   {'}', 67},   {0xA7, 68},  {0xB6, 69},  {0xA9, 70},  {0xAE, 71},
        {'@', 73},    {0xA4, 74},  {0xA2, 75},  {'$', 76},   {0xA3, 77},  {0xA5, 78},  {'*', 79},
        {'\\', 80},   {'&', 81},   {'#', 82},   {'%', 83},   {'+', 85},   {0xB1, 87},  {'\'', 88},
        {'`', 89},    {'^', 91},   {0xA8, 94},  {'~', 96},   {0xF7, 98},  {0xD7, 99},  {'<', 101},
        {'=', 103},   {'>', 105},  {0xAC, 106}, {'|', 107},  {0xA6, 108}, {0xB0, 109}, {0xB5, 110},
        {0xBF, 139},
    };
    for (const auto& f : fixed)
        t[f.u] = f.n;
    return t;
}();

inline ushort FixedSymbol(ushort u) { return u < 256 ? kFixedSymbols[u] : 0; }

// Space class: the terminator 0, the controls and the white space of the
// BMP each get an order of their own, so that a tab and a space differ.
ushort SpaceOrder(ushort u)
{
    if (u < 0x20)
        return u == 0 ? 0 : ushort(16 + u);  // 17..47: keeps 13 free for "no order"
    switch (u) {
    case 0x20: return 48;
    case 0x7F: return 49;
    case 0xA0: return 51;
    case 0x1680: return 52;
    case 0x2028: return 64;
    case 0x2029: return 65;
    case 0x202F: return 66;
    case 0x205F: return 67;
    case 0x3000: return 68;
    default: break;
    }
    if (u >= 0x80 && u <= 0x9F)
        return 50;  // C1 controls
    if (u >= 0x2000 && u <= 0x200A)
        return ushort(53 + (u - 0x2000));
    return 69;
}

// Latin letters without a canonical decomposition to A..Z. `a` gives letter
// and case; with `b` the character sorts as the two letters a b.
struct Special {
    ushort u;
    char a, b;
    uchar accent;
    uchar ext;
};
constexpr Special kSpecials[] = {
    {0x00DF, 's', 's', 0, 0}, {0x1E9E, 'S', 'S', 0, 0},  // sharp s
    {0x00E6, 'a', 'e', 0, 0}, {0x00C6, 'A', 'E', 0, 0},  // ae
    {0x0153, 'o', 'e', 0, 0}, {0x0152, 'O', 'E', 0, 0},  // oe
    {0x00F8, 'o', 0, 8, 0},   {0x00D8, 'O', 0, 8, 0},    // o with stroke
    {0x0111, 'd', 0, 8, 0},   {0x0110, 'D', 0, 8, 0},
    {0x0142, 'l', 0, 8, 0},   {0x0141, 'L', 0, 8, 0},
    {0x0127, 'h', 0, 8, 0},   {0x0126, 'H', 0, 8, 0},
    {0x0167, 't', 0, 8, 0},   {0x0166, 'T', 0, 8, 0},
    {0x0180, 'b', 0, 8, 0},   {0x0243, 'B', 0, 8, 0},
    {0x0268, 'i', 0, 8, 0},   {0x0197, 'I', 0, 8, 0},
    {0x01B6, 'z', 0, 8, 0},   {0x01B5, 'Z', 0, 8, 0},
    {0x01E5, 'g', 0, 8, 0},   {0x01E4, 'G', 0, 8, 0},
    {0x00F0, 'd', 0, kAccVariant, 0}, {0x00D0, 'D', 0, kAccVariant, 0},  // eth
    {0x0131, 'i', 0, kAccVariant, 0},                                      // dotless i
    {0x014B, 'n', 0, kAccVariant, 0}, {0x014A, 'N', 0, kAccVariant, 0},  // eng
    {0x0138, 'k', 0, kAccVariant, 0},                                      // kra
    {0x0192, 'f', 0, kAccVariant, 0}, {0x0191, 'F', 0, kAccVariant, 0},  // f with hook
    {0x0259, 'e', 0, kAccVariant, 0}, {0x018F, 'E', 0, kAccVariant, 0},  // schwa
    {0x00FE, 'z', 0, 0, 1},   {0x00DE, 'Z', 0, 0, 1},    // thorn: a letter after z
};

const Special* FindSpecial(ushort u)
{
    for (const Special& s : kSpecials)
        if (s.u == u)
            return &s;
    return nullptr;
}

// ---------------------------------------------------------------------------
// Language groups: languages whose alphabet has letters of its own after a
// base letter. A rule sets letter and extension of a character; its accent
// and case stay as derived unless `accent` says otherwise.
// ---------------------------------------------------------------------------
constexpr uchar kKeepAccent = 0xFF;
struct Rule {
    ushort u;
    char letter;
    uchar ext;
    uchar accent;
};

constexpr Rule kSpanish[] = {{0xF1, 'n', 1, kKeepAccent}, {0xD1, 'n', 1, kKeepAccent}};
// Danish and Norwegian: z < ae < o-stroke < a-ring (a and o with diaeresis
// go with ae and o-stroke); thorn is th-like.
constexpr Rule kDanish[] = {
    {0xE6, 'z', 1, kKeepAccent}, {0xC6, 'z', 1, kKeepAccent}, {0xE4, 'z', 1, kKeepAccent},
    {0xC4, 'z', 1, kKeepAccent}, {0xF8, 'z', 2, kKeepAccent}, {0xD8, 'z', 2, kKeepAccent},
    {0xF6, 'z', 2, kKeepAccent}, {0xD6, 'z', 2, kKeepAccent}, {0xE5, 'z', 3, kKeepAccent},
    {0xC5, 'z', 3, kKeepAccent}, {0xFE, 't', 0, kAccVariant}, {0xDE, 't', 0, kAccVariant},
};
// Swedish and Finnish: z < a-ring < a-diaeresis < o-diaeresis (ae and
// o-stroke go with the last two).
constexpr Rule kSwedish[] = {
    {0xE5, 'z', 1, kKeepAccent}, {0xC5, 'z', 1, kKeepAccent}, {0xE4, 'z', 2, kKeepAccent},
    {0xC4, 'z', 2, kKeepAccent}, {0xE6, 'z', 2, kKeepAccent}, {0xC6, 'z', 2, kKeepAccent},
    {0xF6, 'z', 3, kKeepAccent}, {0xD6, 'z', 3, kKeepAccent}, {0xF8, 'z', 3, kKeepAccent},
    {0xD8, 'z', 3, kKeepAccent}, {0xFE, 't', 0, kAccVariant}, {0xDE, 't', 0, kAccVariant},
};
// Icelandic: accented vowels and eth follow their base; thorn, ae and
// o-diaeresis follow z.
constexpr Rule kIcelandic[] = {
    {0xE1, 'a', 1, kKeepAccent}, {0xC1, 'a', 1, kKeepAccent}, {0xF0, 'd', 1, 0},
    {0xD0, 'd', 1, 0},           {0xE9, 'e', 1, kKeepAccent}, {0xC9, 'e', 1, kKeepAccent},
    {0xED, 'i', 1, kKeepAccent}, {0xCD, 'i', 1, kKeepAccent}, {0xF3, 'o', 1, kKeepAccent},
    {0xD3, 'o', 1, kKeepAccent}, {0xFA, 'u', 1, kKeepAccent}, {0xDA, 'u', 1, kKeepAccent},
    {0xFD, 'y', 1, kKeepAccent}, {0xDD, 'y', 1, kKeepAccent}, {0xFE, 'z', 1, 0},
    {0xDE, 'z', 1, 0},           {0xE6, 'z', 2, 0},           {0xC6, 'z', 2, 0},
    {0xF6, 'z', 3, kKeepAccent}, {0xD6, 'z', 3, kKeepAccent}, {0xF8, 'z', 3, kKeepAccent},
    {0xD8, 'z', 3, kKeepAccent},
};
constexpr Rule kPolish[] = {
    {0x105, 'a', 1, kKeepAccent}, {0x104, 'a', 1, kKeepAccent}, {0x107, 'c', 1, kKeepAccent},
    {0x106, 'c', 1, kKeepAccent}, {0x119, 'e', 1, kKeepAccent}, {0x118, 'e', 1, kKeepAccent},
    {0x142, 'l', 1, kKeepAccent}, {0x141, 'l', 1, kKeepAccent}, {0x144, 'n', 1, kKeepAccent},
    {0x143, 'n', 1, kKeepAccent}, {0xF3, 'o', 1, kKeepAccent},  {0xD3, 'o', 1, kKeepAccent},
    {0x15B, 's', 1, kKeepAccent}, {0x15A, 's', 1, kKeepAccent}, {0x17A, 'z', 1, kKeepAccent},
    {0x179, 'z', 1, kKeepAccent}, {0x17C, 'z', 2, kKeepAccent}, {0x17B, 'z', 2, kKeepAccent},
};
constexpr Rule kCzech[] = {
    {0x10D, 'c', 1, kKeepAccent}, {0x10C, 'c', 1, kKeepAccent}, {0x159, 'r', 1, kKeepAccent},
    {0x158, 'r', 1, kKeepAccent}, {0x161, 's', 1, kKeepAccent}, {0x160, 's', 1, kKeepAccent},
    {0x17E, 'z', 1, kKeepAccent}, {0x17D, 'z', 1, kKeepAccent},
};
constexpr Rule kHungarian[] = {
    {0xF6, 'o', 1, kKeepAccent},  {0xD6, 'o', 1, kKeepAccent},  {0x151, 'o', 1, kKeepAccent},
    {0x150, 'o', 1, kKeepAccent}, {0xFC, 'u', 1, kKeepAccent},  {0xDC, 'u', 1, kKeepAccent},
    {0x171, 'u', 1, kKeepAccent}, {0x170, 'u', 1, kKeepAccent},
};
// Turkish: dotless i (and its capital, plain I) sorts between h and i;
// capital dotted I is the capital of i.
constexpr Rule kTurkish[] = {
    {0xE7, 'c', 1, kKeepAccent},  {0xC7, 'c', 1, kKeepAccent},  {0x11F, 'g', 1, kKeepAccent},
    {0x11E, 'g', 1, kKeepAccent}, {0x131, 'h', 3, 0},           {'I', 'h', 3, 0},
    {0x130, 'i', 0, 0},           {0xF6, 'o', 1, kKeepAccent},  {0xD6, 'o', 1, kKeepAccent},
    {0x15F, 's', 1, kKeepAccent}, {0x15E, 's', 1, kKeepAccent}, {0xFC, 'u', 1, kKeepAccent},
    {0xDC, 'u', 1, kKeepAccent},
};

struct Group {
    const Rule* rules;
    int count;
};
template <std::size_t N>
constexpr Group G(const Rule (&r)[N]) { return Group{r, int(N)}; }

constexpr Group kGroups[] = {
    {nullptr, 0},  G(kSpanish), G(kDanish), G(kSwedish), G(kIcelandic),
    G(kPolish),    G(kCzech),   G(kHungarian), G(kTurkish),
};
constexpr int kGroupCount = int(sizeof(kGroups) / sizeof(kGroups[0]));
constexpr int kIdeographic = kGroupCount;  // table slot of the ideographic languages

// Language id -> group (kIdeographic for ids whose low 7 bits are 20 or more).
constexpr std::array<uchar, 128> kGroupOf = [] {
    std::array<uchar, 128> g{};
    for (int l = 0; l < 128; ++l)
        g[l] = l >= 20 ? uchar(kIdeographic) : 0;
    g[4] = 1;              // Spanish
    g[7] = g[8] = 2;       // Danish, Norwegian
    g[9] = g[10] = 3;      // Swedish, Finnish
    g[12] = 4;             // Icelandic
    g[13] = 5;             // Polish
    g[14] = 6;             // Czech
    g[15] = 7;             // Hungarian
    g[16] = 8;             // Turkish
    return g;
}();
inline int GroupOf(uchar language) { return kGroupOf[language & 0x7F]; }

const Rule* FindRule(int group, ushort u)
{
    const Group& g = kGroups[group];
    for (int i = 0; i < g.count; ++i)
        if (g.rules[i].u == u)
            return &g.rules[i];
    return nullptr;
}

// ---------------------------------------------------------------------------
// Character classification (ICU, only while tables are built).
// ---------------------------------------------------------------------------
const KsUnicodeProps& Props(ushort u, KsUnicodeProps& scratch)
{
    KsCodeSet::ForText(KS_CS_UNICODE).GetUnicodeProps(u, scratch);
    return scratch;
}

bool IsMark(UChar32 c) { return (U_GET_GC_MASK(c) & U_GC_M_MASK) != 0 || u_getCombiningClass(c) != 0; }

// Categories whose characters are symbols (those without a fixed number are
// numbered in code-point order from kFirstRankedSymbol on).
constexpr uint32_t kSymbolCategories = U_GC_P_MASK | U_GC_S_MASK | U_GC_M_MASK | U_GC_CF_MASK |
                                       U_GC_NL_MASK | U_GC_NO_MASK | U_GC_LM_MASK;
bool InSymbolSet(ushort u) { return (U_GET_GC_MASK(u) & kSymbolCategories) != 0 && !FixedSymbol(u); }

// Symbol numbers: count of ranked symbols before each page.
struct SymbolRanks {
    std::once_flag once;
    ushort pageStart[256];
};
SymbolRanks gRanks;

const ushort* RankPageStarts()
{
    std::call_once(gRanks.once, [] {
        uint running = 0;
        for (uint page = 0; page < 256; ++page) {
            gRanks.pageStart[page] = ushort(running);
            for (uint i = 0; i < 256; ++i)
                if (InSymbolSet(ushort(page << 8 | i)))
                    ++running;
        }
    });
    return gRanks.pageStart;
}

ushort RankedSymbol(uint rank)
{
    const uint n = kFirstRankedSymbol + rank;
    return ushort(kSymbolBase + (n > kLastSymbol ? kLastSymbol : n));
}

// One letter of a result: letter number, extension, accent, case.
struct Part {
    uint letter, ext, accent;
    bool upper;
};

struct Parts {
    Part p[3];
    int n = 0;
    void Add(uint letter, uint ext, uint accent, bool upper) { p[n++] = Part{letter, ext, accent, upper}; }
    KsOrderEntry Entry() const
    {
        ushort o[3] = {0, 0, 0};
        for (int i = 0; i < n; ++i)
            o[i] = LetterOrder(p[i].letter, p[i].ext, p[i].accent, p[i].upper);
        return Pack(o[0], o[1], o[2]);
    }
};

bool IsUpperAscii(char c) { return c >= 'A' && c <= 'Z'; }

// The letters of a special; a non-zero `markAccent` (from a combining mark
// on top of it) replaces the accent of the first letter.
void AddSpecial(const Special& s, uchar markAccent, Parts& out)
{
    if (s.b) {
        out.Add(LetterNumber(s.a), 0, markAccent ? markAccent : kAccLigature, IsUpperAscii(s.a));
        out.Add(LetterNumber(s.b), 0, kAccLigature, IsUpperAscii(s.b));
    } else {
        out.Add(LetterNumber(s.a), s.ext, markAccent ? markAccent : s.accent, IsUpperAscii(s.a));
    }
}

// Accent a character has without a language rule.
uchar DerivedAccent(ushort u, const KsUnicodeProps& p)
{
    if (p.mark)
        return AccentOf(p.mark);
    const Special* s = FindSpecial(u);
    return s && !s->b ? s->accent : 0;
}

// The letters of a compatibility decomposition when it spells one to three
// letters A..Z (each with at most one mark that counts): ligatures such as
// fi, ij, dz with caron, and variants such as the fullwidth letters.
bool CompatLetters(ushort u, Parts& out)
{
    UErrorCode err = U_ZERO_ERROR;
    const UNormalizer2* nfkd = unorm2_getNFKDInstance(&err);
    UChar buf[16];
    const int32_t len = U_SUCCESS(err) ? unorm2_getDecomposition(nfkd, u, buf, 16, &err) : -1;
    if (U_FAILURE(err) || len <= 0)
        return false;
    Parts parts;
    ushort marks[3] = {0, 0, 0};
    for (int32_t i = 0; i < len; ++i) {
        const UChar c = buf[i];
        if (IsMark(c) && parts.n > 0) {
            if (!marks[parts.n - 1])
                marks[parts.n - 1] = c;
            continue;
        }
        if (!IsAsciiLetter(c) || parts.n == 3)
            return false;
        parts.Add(LetterNumber(char(c)), 0, 0, c < 'a');
    }
    if (parts.n == 0)
        return false;
    for (int i = 0; i < parts.n; ++i)
        parts.p[i].accent = marks[i] ? AccentOf(marks[i]) : parts.n == 1 ? kAccVariant : kAccLigature;
    out = parts;
    return true;
}

// Latin letters that neither decompose nor are listed above (B with hook, E
// with stroke, L with middle dot, small capitals) sort with the letter their
// Unicode name spells: with stroke as accent 8, else as a variant.
bool NamedLatinLetter(ushort u, Parts& out)
{
    char name[128];
    UErrorCode err = U_ZERO_ERROR;
    const int32_t len = u_charName(u, U_UNICODE_CHAR_NAME, name, int32_t(sizeof(name)), &err);
    if (U_FAILURE(err) || len <= 0 || len >= int32_t(sizeof(name)))
        return false;
    const struct { const char* prefix; bool upper; } forms[] = {
        {"LATIN CAPITAL LETTER ", true},
        {"LATIN SMALL LETTER ", false},
        {"LATIN LETTER SMALL CAPITAL ", false},
    };
    for (const auto& f : forms) {
        const std::size_t n = std::strlen(f.prefix);
        if (std::strncmp(name, f.prefix, n) != 0)
            continue;
        const char* rest = name + n;
        if (!IsAsciiLetter(uchar(rest[0])) || (rest[1] && std::strncmp(rest + 1, " WITH ", 6) != 0))
            return false;
        out.Add(LetterNumber(rest[0]), 0, std::strstr(rest, "STROKE") ? 8 : kAccVariant, f.upper);
        return true;
    }
    return false;
}

// A Latin letter: its orders in `out`; false for letters of other scripts.
bool LatinLetter(ushort u, const KsUnicodeProps& p, int group, Parts& out)
{
    if (const Rule* r = FindRule(group, u)) {
        const uchar accent = r->accent == kKeepAccent ? DerivedAccent(u, p) : r->accent;
        const bool upper = IsAsciiLetter(u) ? u < 'a' : (p.flags & KS_UP_UPPER) != 0;
        out.Add(LetterNumber(r->letter), r->ext, accent, upper);
        return true;
    }
    if (const Special* s = FindSpecial(u)) {
        AddSpecial(*s, 0, out);
        return true;
    }
    if (IsAsciiLetter(u)) {
        out.Add(LetterNumber(char(u)), 0, 0, u < 'a');
        return true;
    }
    if (p.base != u && p.base != 0xFFFD) {
        const uchar markAccent = AccentOf(p.mark);
        if (IsAsciiLetter(p.base)) {
            out.Add(LetterNumber(char(p.base)), 0, markAccent, p.base < 'a');
            return true;
        }
        // A base that is itself special or ruled: o-stroke with acute, ae
        // with macron and the like.
        if (const Rule* r = FindRule(group, p.base)) {
            KsUnicodeProps bp;
            const uchar baseAccent =
                r->accent == kKeepAccent ? DerivedAccent(p.base, Props(p.base, bp)) : r->accent;
            out.Add(LetterNumber(r->letter), r->ext, markAccent ? markAccent : baseAccent,
                    (p.flags & KS_UP_UPPER) != 0);
            return true;
        }
        if (const Special* s = FindSpecial(p.base)) {
            AddSpecial(*s, markAccent, out);
            return true;
        }
    }
    return CompatLetters(u, out) || NamedLatinLetter(u, out);
}

KsOrderEntry Classify(ushort u, int group, uint symbolRank)
{
    if (u == 0)
        return 0;
    if (const ushort n = FixedSymbol(u))
        return kSymbolBase + n;
    KsUnicodeProps scratch;
    const KsUnicodeProps& p = Props(u, scratch);
    const int8_t cat = p.category;
    if (!(p.flags & KS_UP_DEFINED))
        return kUndefinedOrder;
    if (cat == U_PRIVATE_USE_CHAR || cat == U_SURROGATE)
        return kOtherScript | u;
    if (p.flags & KS_UP_SPACE)
        return SpaceOrder(u);
    if (cat == U_DECIMAL_DIGIT_NUMBER && u_charDigitValue(u) >= 0)
        return kDigitBase + 10 * u_charDigitValue(u);
    if (u_getIntPropertyValue(u, UCHAR_NUMERIC_TYPE) == U_NT_DIGIT) {
        const double v = u_getNumericValue(u);
        if (v >= 0 && v <= 9)
            return kDigitBase + 10 * int(v) + 1;  // superscripts, circled digits: expanded form
    }
    if (U_MASK(cat) & U_GC_L_MASK) {
        Parts parts;
        if (LatinLetter(u, p, group, parts))
            return parts.Entry();
        if (cat != U_MODIFIER_LETTER)
            return kOtherScript | u;
    }
    if (InSymbolSet(u))
        return RankedSymbol(symbolRank);
    return kUndefinedOrder;
}

// ---------------------------------------------------------------------------
// Tables.
// ---------------------------------------------------------------------------
// Unicode pages of the alphabetic groups, filled lazily.
std::atomic<const KsOrderEntry*> gPages[kGroupCount][256];

const KsOrderEntry* BuildPage(int group, uint page)
{
    auto fresh = std::make_unique<KsOrderEntry[]>(256);
    uint rank = RankPageStarts()[page];
    for (uint i = 0; i < 256; ++i) {
        const ushort u = ushort(page << 8 | i);
        fresh[i] = Classify(u, group, rank);
        if (InSymbolSet(u))
            ++rank;
    }
    std::atomic<const KsOrderEntry*>& slot = gPages[group][page];
    const KsOrderEntry* expected = nullptr;
    if (slot.compare_exchange_strong(expected, fresh.get(), std::memory_order_acq_rel))
        return fresh.release();  // kept for the process lifetime
    return expected;
}

inline KsOrderEntry PageEntry(int group, ushort u)
{
    const KsOrderEntry* page = gPages[group][u >> 8].load(std::memory_order_acquire);
    if (!page)
        page = BuildPage(group, u >> 8);
    return page[u & 0xFF];
}

// 8-bit tables per code set id (the ids of assigned 8-bit code sets are
// below 32) and group, the ideographic slot last.
constexpr int kMaxCodeSet8 = 32;
std::atomic<const KsOrderEntry*> gTables8[kMaxCodeSet8][kGroupCount + 1];

[[gnu::noinline]] const KsOrderEntry* BuildTable8(const KsCodeSet& cs, int group)
{
    auto fresh = std::make_unique<KsOrderEntry[]>(256);
    const ushort* toU = cs.ToUnicodeTable();
    for (uint b = 0; b < 256; ++b) {
        const ushort u = toU ? toU[b] : ushort(b);
        if (b == 0)
            fresh[b] = 0;
        else if (group == kIdeographic)
            fresh[b] = u;
        else if (u == 0xFFFD)  // a byte the code set leaves undefined
            fresh[b] = kUndefinedOrder;
        else
            fresh[b] = PageEntry(group, u);
    }
    std::atomic<const KsOrderEntry*>& slot = gTables8[cs.Id()][group];
    const KsOrderEntry* expected = nullptr;
    if (slot.compare_exchange_strong(expected, fresh.get(), std::memory_order_acq_rel))
        return fresh.release();
    return expected;
}

[[gnu::noinline]] const KsOrderEntry* Table8Slow(uchar codeSet, int group)
{
    const KsCodeSet& cs = KsCodeSet::ForText(codeSet);
    static_assert(kMaxCodeSet8 > 29, "8-bit code set ids fit the table");
    const KsOrderEntry* t = gTables8[cs.Id()][group].load(std::memory_order_acquire);
    return t ? t : BuildTable8(cs, group);
}

}  // namespace

// ---------------------------------------------------------------------------
// KsCollation
// ---------------------------------------------------------------------------
const KsOrderEntry* KsCollation::Table8(uchar codeSet, uchar language)
{
    const int group = GroupOf(language);
    // Hot path: a slot is only ever filled for the code set of its own id,
    // so a filled slot of the id asked for is the answer (0 and unassigned
    // ids follow the native code set and go the long way).
    if (codeSet && codeSet < kMaxCodeSet8)
        if (const KsOrderEntry* t = gTables8[codeSet][group].load(std::memory_order_acquire))
            return t;
    return KsCodeSetIsWide(codeSet) ? nullptr : Table8Slow(codeSet, group);
}

int KsCollation::Group(uchar language) { return GroupOf(language); }

KsOrderEntry KsCollation::Entry16(ushort ch, uchar language)
{
    const int group = GroupOf(language);
    return group == kIdeographic ? KsOrderEntry(ch) : PageEntry(group, ch);
}

KsOrderEntry KsCollation::Entry(ushort ch, uchar codeSet, uchar language)
{
    if (KsCodeSetIsWide(codeSet))
        return Entry16(ch, language);
    if (ch > 0xFF)
        return IsIdeographic(language) ? KsOrderEntry(ch) : kUndefinedOrder;
    return Table8(codeSet, language)[ch];
}

// ---------------------------------------------------------------------------
// KsChar orders
// ---------------------------------------------------------------------------
ushort KsChar::Order() const { return KsCollation::Order(Code(), codeSet_, language_); }

// ---------------------------------------------------------------------------
// KsStringIterator: orders and Transform
// ---------------------------------------------------------------------------
ushort KsStringIterator::GetNextOrder()
{
    if (pendingCount_) {
        const ushort o = pending_[0];
        pending_[0] = pending_[1];
        pending_[1] = 0;
        --pendingCount_;
        return o;
    }
    const ushort c = Current();
    if (!c)
        return 0;
    ++pos_;
    const KsOrderEntry e = KsCollation::Entry(c, codeSet_, language_);
    pending_[0] = ushort(e >> 16);
    pending_[1] = ushort(e >> 32);
    pendingCount_ = uchar(pending_[1] ? 2 : pending_[0] ? 1 : 0);
    return ushort(e);
}

ushort KsStringIterator::CurrentOrder() const
{
    const ushort c = Current();
    return c ? KsCollation::Order(c, codeSet_, language_) : 0;
}

uint KsStringIterator::Transform(KsCharOperation& op, void* dst, uint dstSize)
{
    const uint w = KsCodeSetWidth(codeSet_);
    if (!dst || dstSize < w)
        return 0;
    const bool highFirst = (format_ & 0x0F) == 2;
    uchar* out = static_cast<uchar*>(dst);
    uint used = 0;
    auto put = [&](ushort c) {
        if (w == 1) {
            out[used] = uchar(c);
        } else if (highFirst) {
            out[used] = uchar(c >> 8);
            out[used + 1] = uchar(c);
        } else {
            std::memcpy(out + used, &c, 2);
        }
        used += w;
    };
    pendingCount_ = 0;
    for (ushort c = Current(); c; c = Current()) {
        ushort mapped[2];
        const uint n = op.Apply(c, codeSet_, language_, mapped);
        if (used + (n + 1) * w > dstSize)
            break;
        for (uint i = 0; i < n && i < 2; ++i)
            put(mapped[i]);
        ++pos_;
    }
    while (Current())  // what did not fit is dropped: end at the terminator
        ++pos_;
    put(0);
    return used;
}

// ---------------------------------------------------------------------------
// Case operations
// ---------------------------------------------------------------------------
KsCharOperation::~KsCharOperation() = default;

namespace {

constexpr uchar kTurkishLanguage = 16;

// `target` in the code set of the text, or the character itself when the
// code set has no such character.
uint Emit(const KsCodeSet& cs, ushort ch, ushort target, ushort out[2])
{
    const int m = cs.FromUnicode(target);
    out[0] = m >= 0 ? ushort(m) : ch;
    return 1;
}

}  // namespace

uint KsCharToUpper::Apply(ushort ch, uchar codeSet, uchar language, ushort out[2])
{
    const KsCodeSet& cs = KsCodeSet::ForText(codeSet);
    KsUnicodeProps p;
    if (cs.GetUnicodeProps(ch, p) != KS_OK || !(p.flags & KS_UP_DEFINED)) {
        out[0] = ch;
        return 1;
    }
    if (p.unicode == 0xDF) {  // sharp s has no capital in most code sets
        const int s = cs.FromUnicode('S');
        if (s >= 0) {
            out[0] = out[1] = ushort(s);
            return 2;
        }
    }
    if ((language & 0x7F) == kTurkishLanguage && (p.unicode == 'i' || p.unicode == 0x131)) {
        if (p.unicode == 'i' && cs.FromUnicode(0x130) >= 0)
            return Emit(cs, ch, 0x130, out);
        return Emit(cs, ch, 'I', out);
    }
    return Emit(cs, ch, p.upper, out);
}

uint KsCharToLower::Apply(ushort ch, uchar codeSet, uchar language, ushort out[2])
{
    const KsCodeSet& cs = KsCodeSet::ForText(codeSet);
    KsUnicodeProps p;
    if (cs.GetUnicodeProps(ch, p) != KS_OK || !(p.flags & KS_UP_DEFINED)) {
        out[0] = ch;
        return 1;
    }
    if ((language & 0x7F) == kTurkishLanguage && (p.unicode == 'I' || p.unicode == 0x130)) {
        if (p.unicode == 'I' && cs.FromUnicode(0x131) >= 0)
            return Emit(cs, ch, 0x131, out);
        return Emit(cs, ch, 'i', out);
    }
    return Emit(cs, ch, p.lower, out);
}
