// Collation orders: the layout of every class, alphabets in every language
// and 8-bit code set, language extras, expansions, the order walk, IsSpace
// by order, Transform with the case operations, and racing first use.
#include "ksi18n.h"
#include "ksstrcmp.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

std::vector<uchar> EightBitCodeSets()
{
    std::vector<uchar> ids;
    for (const KsCodeSet* const* cs = KsLanguageContext::CodeSets(); *cs; ++cs)
        if (!(*cs)->IsWide())
            ids.push_back((*cs)->Id());
    return ids;
}

// A Unicode character as a one-character text of a code set; empty when the
// code set lacks it.
std::string Text(uchar cs, std::initializer_list<ushort> chars)
{
    std::string out;
    const KsCodeSet& set = KsCodeSet::ForText(cs);
    for (ushort u : chars) {
        const int b = set.FromUnicode(u);
        if (b <= 0)
            return "";
        out += char(b);
    }
    return out;
}

int Compare(uchar cs, uchar lang, const std::string& a, const std::string& b, ushort mode = KS_CMP_EXACT)
{
    return KsStrCmp(cs, lang, a.c_str(), cs, lang, b.c_str(), mode, -1, 8, nullptr);
}

ushort Order(ushort u, uchar lang = 1) { return KsCollation::Order(u, KS_CS_UNICODE, lang); }

constexpr ushort Letter(char c, uint accent = 0, uint ext = 0)
{
    const bool upper = c >= 'A' && c <= 'Z';
    return ushort(0x4000 | (upper ? 0u : 1u) << 12 | accent << 7 | uint((c | 0x20) - 'a' + 3) << 2 | ext);
}

// ---------------------------------------------------------------------------
// Layout
// ---------------------------------------------------------------------------
TEST(KsCollationLayout, ClassesOfTheAlphabeticLayout)
{
    struct Case { ushort u; KsOrderEntry entry; };
    const Case cases[] = {
        {0, 0},                 {' ', 48},             {'\t', 25},            {'\r', 29},
        {0xA0, 51},             {0x3000, 68},          {0x85, 50},            {'*', 80 + 79},
        {'?', 80 + 42},         {'/', 80 + 44},        {0xBF, 80 + 139},      {0xB5, 80 + 110},
        {'0', 0x3F00},          {'7', 0x3F46},         {0xB2, 0x3F15},        {0x0667, 0x3F46},
        {'A', Letter('A')},     {'z', Letter('z')},    {0xC0, Letter('A', 3)}, {0xE9, Letter('e', 2)},
        {0x0107, Letter('c', 2)}, {0x0150, Letter('O', 14)}, {0x00F8, Letter('o', 8)},
        {0x0131, Letter('i', 16)}, {0xFF21, Letter('A', 16)}, {0xAA, Letter('a', 16)},
        {0x00FE, Letter('z', 0, 1)},
        {0x0181, Letter('B', 16)}, {0x0247, Letter('e', 8)}, {0x0140, Letter('l', 16)}, {0x1D00, Letter('a', 16)},
        {0x0186, 0x8186},       // open O spells no letter
        {0x00DF, Letter('s', 15) | KsOrderEntry(Letter('s', 15)) << 16},
        {0x00C6, Letter('A', 15) | KsOrderEntry(Letter('E', 15)) << 16},
        {0xFB03, Letter('f', 15) | KsOrderEntry(Letter('f', 15)) << 16 | KsOrderEntry(Letter('i', 15)) << 32},
        {0x01C6, Letter('d', 15) | KsOrderEntry(Letter('z', 9)) << 16},
        {0x03B1, 0x83B1},       {0x4E00, 0xCE00},      {0xE000, 0xE000},      {0xFFFF, 13},
    };
    for (const Case& c : cases)
        EXPECT_EQ(KsCollation::Entry16(c.u, 1), c.entry) << std::hex << "U+" << c.u;
}

TEST(KsCollationLayout, AccentsComeFromTheDecomposition)
{
    // Each letter in every code set that has it (and as Unicode): base
    // letter, case and accent number.
    struct Case { ushort u; char base; uint accent; };
    const Case cases[] = {
        {0xE7, 'c', 1},  {0xC7, 'C', 1},  {0xE9, 'e', 2},  {0xC9, 'E', 2},  {0xE8, 'e', 3},  {0xC8, 'E', 3},
        {0xEA, 'e', 4},  {0xCA, 'E', 4},  {0xF1, 'n', 5},  {0xD1, 'N', 5},  {0xFC, 'u', 6},  {0xDC, 'U', 6},
        {0xE5, 'a', 7},  {0xC5, 'A', 7},  {0xF8, 'o', 8},  {0xD8, 'O', 8},  {0x10D, 'c', 9}, {0x10C, 'C', 9},
        {0x101, 'a', 10}, {0x100, 'A', 10}, {0x103, 'a', 11}, {0x102, 'A', 11}, {0x17C, 'z', 12}, {0x17B, 'Z', 12},
        {0x105, 'a', 13}, {0x104, 'A', 13}, {0x151, 'o', 14}, {0x150, 'O', 14},
    };
    const uchar codeSets[] = {1, 2, 16, 18, 23};  // Latin-1, Latin-2, Windows-1250/1252/1257
    for (const Case& c : cases) {
        EXPECT_EQ(Order(c.u), Letter(c.base, c.accent)) << std::hex << "U+" << c.u;
        int found = 0;
        for (uchar cs : codeSets) {
            const int b = KsCodeSet::ForText(cs).FromUnicode(c.u);
            if (b < 0)
                continue;
            ++found;
            EXPECT_EQ(KsCollation::Order(ushort(b), cs, 1), Letter(c.base, c.accent)) << std::hex << "U+" << c.u << " cs " << std::dec << int(cs);
        }
        EXPECT_GT(found, 0) << std::hex << "U+" << c.u;
    }
}

TEST(KsCollationLayout, RankedSymbolsAreDistinctAndInRange)
{
    std::vector<bool> seen(16048, false);
    for (uint u = 0x100; u < 0x10000; ++u) {
        const ushort o = Order(ushort(u));
        if (o < 80 || o >= 0x3F00)
            continue;
        const uint n = o - 80u;
        ASSERT_GE(n, 140u) << std::hex << u;
        ASSERT_LE(n, 16047u) << std::hex << u;
        EXPECT_FALSE(seen[n]) << "symbol number " << n << " twice, U+" << std::hex << u;
        seen[n] = true;
    }
}

TEST(KsCollationLayout, IdeographicLanguagesOrderByCode)
{
    for (uchar lang : {20, 21, 22, 20 | 0x80}) {
        for (ushort u : {ushort('a'), ushort('*'), ushort(0xE9), ushort(0x4E00), ushort(0xFFFF)})
            EXPECT_EQ(KsCollation::Entry16(u, lang), u);
        EXPECT_EQ(KsCollation::Order(0xE9, 1, lang), 0xE9);   // 8-bit text: its Unicode value
        EXPECT_EQ(KsCollation::Order(0xC8, 7, lang), 0x0398);  // Greek capital theta
    }
    // Other scripts in an alphabetic language share the ideograph class;
    // their orders collide with those of higher code points.
    EXPECT_EQ(Order(0x03B1), Order(0x83B1));
}

TEST(KsCollationLayout, UndefinedBytesHaveNoOrder)
{
    for (uchar b : {0xA5, 0xAE, 0xBE, 0xC3})  // undefined in ISO-8859-3
        EXPECT_EQ(KsCollation::Order(b, 3, 1), 13);
}

// ---------------------------------------------------------------------------
// Alphabets
// ---------------------------------------------------------------------------
TEST(KsCollationAlphabet, LettersAscendInEveryLanguageAndCodeSet)
{
    for (uchar cs : EightBitCodeSets()) {
        for (uchar lang = 0; lang < 20; ++lang) {
            for (char first : {'a', 'A'}) {
                for (int i = 0; i < 25; ++i) {
                    const std::string x = Text(cs, {ushort(first + i)}), y = Text(cs, {ushort(first + i + 1)});
                    ASSERT_FALSE(x.empty() || y.empty());
                    EXPECT_LT(Compare(cs, lang, x, y, 0), 0) << int(cs) << "/" << int(lang) << ": " << x << y;
                    EXPECT_LT(Compare(cs, lang, x + "z", y + "a", 0), 0);
                }
            }
        }
    }
}

TEST(KsCollationAlphabet, CaseAndAccentAreLowerLevels)
{
    // Latin-1 and Windows-1250: capitals and accented forms share the
    // primary level with the base letter.
    struct Case { uchar cs; ushort a, b; int exact; int detail; };
    const Case cases[] = {
        {1, 'a', 'A', 1, 3},      {1, 'a', 0xE0, -1, -2},  {1, 0xC0, 0xE0, -1, -3},
        {1, 'e', 0xE9, -1, -2},   {16, 's', 0x161, -1, -2}, {16, 'L', 0x141, -1, -2},
        {1, 'o', 0xF8, -1, -2},
    };
    for (const Case& c : cases) {
        const std::string a = Text(c.cs, {c.a}), b = Text(c.cs, {c.b});
        int detail = 0;
        EXPECT_EQ(KsStrCmp(c.cs, 1, a.c_str(), c.cs, 1, b.c_str(), 0, -1, 8, &detail), 0) << std::hex << c.b;
        EXPECT_EQ(detail, c.detail) << std::hex << c.b;
        EXPECT_EQ(KsStrCmp(c.cs, 1, a.c_str(), c.cs, 1, b.c_str(), KS_CMP_EXACT, -1, 8, nullptr), c.exact);
    }
}

TEST(KsCollationAlphabet, LanguageExtras)
{
    // In each language a < b < c, b being the language's own letter (texts
    // in the code set given).
    struct Case { uchar lang; uchar cs; const char* a; const char* b; const char* c; };
    const Case cases[] = {
        {4, 1, "n", "\xF1", "o"},            // Spanish n-tilde
        {9, 1, "z", "\xE5", "\xE4"},         // Swedish: z, a-ring, a-diaeresis, o-diaeresis
        {9, 1, "\xE4", "\xF6", "\xF6z"},
        {10, 1, "z", "\xE5", "\xE4"},        // Finnish
        {7, 1, "z", "\xE6", "\xF8"},         // Danish: z, ae, o-stroke, a-ring
        {8, 1, "\xF8", "\xE5", "\xE5z"},     // Norwegian
        {2, 1, "a", "\xE4", "b"},            // German: umlauts are accented vowels (below)
        {2, 1, "o", "\xF6", "p"},
        {2, 1, "u", "\xFC", "v"},
        {13, 2, "l", "\xB3", "m"},           // Polish l-stroke; z, z-acute, z-dot
        {13, 2, "z", "\xBC", "\xBF"},
        {14, 2, "s", "\xB9", "t"},           // Czech s-caron
        {15, 2, "o", "\xF5", "p"},           // Hungarian o-double-acute
        {16, 20, "h", "\xFD", "i"},          // Turkish dotless i, g-breve
        {16, 20, "g", "\xF0", "h"},
        {12, 1, "d", "\xF0", "e"},           // Icelandic eth; z, thorn, ae
        {12, 1, "z", "\xFE", "\xE6"},
        {12, 1, "a", "\xE1", "b"},
    };
    for (const Case& c : cases) {
        EXPECT_LT(Compare(c.cs, c.lang, c.a, c.b), 0) << int(c.lang) << ": " << c.a << " < " << c.b;
        EXPECT_LT(Compare(c.cs, c.lang, c.b, c.c), 0) << int(c.lang) << ": " << c.b << " < " << c.c;
        EXPECT_LT(Compare(c.cs, c.lang, std::string(c.b) + "a", std::string(c.c) + "a"), 0);
    }
    // Elsewhere these are accented forms of their base letter.
    EXPECT_EQ(Compare(1, 1, "\xF1", "n", 0), 0);
    EXPECT_EQ(Compare(1, 2, "\xE5", "a", 0), 0);
    EXPECT_EQ(Compare(1, 2, "\xE4", "a", 0), 0);
    EXPECT_LT(Compare(1, 2, "\xE4" "b", "ac", 0), 0);
    // Turkish: I is the capital of dotless i, dotted capital I that of i.
    EXPECT_NE(Compare(20, 16, "I", "i", 0), 0);
    EXPECT_EQ(Compare(20, 16, "\xDD", "i", 0), 0);
    EXPECT_EQ(Compare(20, 16, "I", "\xFD", 0), 0);
    EXPECT_EQ(Compare(20, 1, "I", "i", 0), 0);
}

TEST(KsCollationAlphabet, ExpansionsSortAsTheirLetters)
{
    struct Case { uchar cs; uchar lang; const char* a; const char* b; };
    const Case cases[] = {
        {1, 1, "stra\xDF" "e", "strasse"}, {1, 2, "\xDF", "SS"},   {1, 1, "\xE6on", "aeon"},
        {1, 1, "\xC6ON", "AEON"},          {14, 3, "\xBD" "uvre", "oeuvre"},
    };
    for (const Case& c : cases) {
        int detail = 0;
        EXPECT_EQ(KsStrCmp(c.cs, c.lang, c.a, c.cs, c.lang, c.b, 0, -1, 8, &detail), 0) << c.b;
        EXPECT_NE(detail, 0) << c.b;  // told apart below the primary level
        EXPECT_LT(Compare(c.cs, c.lang, c.a, std::string(c.b) + "x", 0), 0) << c.b;
    }
    // Danish and Swedish give ae a place of its own after z.
    EXPECT_GT(Compare(1, 7, "\xE6", "az", 0), 0);
    EXPECT_GT(Compare(1, 9, "\xE6", "az", 0), 0);
    // Ligatures of the 16-bit repertoire: fi, ffi.
    const ushort fi[] = {0xFB01, 0}, ffi[] = {0xFB03, 'x', 0}, plain[] = {'f', 'f', 'i', 'x', 0};
    const ushort fiPlain[] = {'f', 'i', 0};
    auto c16 = [](const ushort* a, const ushort* b) {
        return KsStrCmp(253, 1, reinterpret_cast<const char*>(a), 253, 1, reinterpret_cast<const char*>(b), 0, -1, 8, nullptr);
    };
    EXPECT_EQ(c16(fi, fiPlain), 0);
    EXPECT_EQ(c16(ffi, plain), 0);
}

// ---------------------------------------------------------------------------
// Order walk, IsSpace
// ---------------------------------------------------------------------------
TEST(KsCollationIterator, DeliversExpansionsBeforeMovingOn)
{
    const char text[] = "a\xDF" "b";
    KsStringIterator it(text, 1, 1);
    EXPECT_EQ(it.CurrentOrder(), Letter('a'));
    EXPECT_EQ(it.GetNextOrder(), Letter('a'));
    EXPECT_EQ(it.GetNextOrder(), Letter('s', 15));
    EXPECT_EQ(it.Position(), 2u);
    EXPECT_EQ(it.GetNextOrder(), Letter('s', 15));
    EXPECT_EQ(it.GetNextOrder(), Letter('b'));
    EXPECT_EQ(it.GetNextOrder(), 0);
    EXPECT_EQ(it.GetNextOrder(), 0);
    EXPECT_EQ(it.Position(), 3u);

    KsStringIterator skip(text, 1, 1);
    skip.Next();
    skip.GetNextOrder();  // first half of the sharp s
    skip.Next();          // stepping by characters drops the second half
    EXPECT_EQ(skip.GetNextOrder(), 0);

    const uchar wide[] = {0x00, 0xC0, 0x4E, 0x00, 0, 0};  // high byte first
    KsStringIterator w(wide, 253, 1, 2);
    EXPECT_EQ(w.GetNextOrder(), Letter('A', 3));
    EXPECT_EQ(w.GetNextOrder(), 0xCE00);
    EXPECT_EQ(w.GetNextOrder(), 0);
}

TEST(KsCollationIterator, IsSpaceMeansOrderBelow80)
{
    struct Case { ushort code; uchar cs; uchar lang; int space; };
    const Case cases[] = {
        {0, 1, 1, 1},      {' ', 1, 1, 1},    {'\t', 1, 1, 1},  {0xA0, 1, 1, 1},   {0x85, 1, 1, 1},
        {0xA5, 3, 1, 1},   // no order (13)
        {'a', 1, 1, 0},    {'*', 1, 1, 0},    {'0', 1, 1, 0},   {0xAD, 1, 1, 0},   // soft hyphen is a symbol
        {'a', 1, 20, 0},   {' ', 1, 21, 1},   {0x3000, 253, 20, 1}, {0x4E00, 253, 20, 0},
    };
    for (const Case& c : cases)
        EXPECT_EQ(KsChar(c.code, c.cs, c.lang).IsSpace(), c.space) << std::hex << c.code << " lang " << std::dec << int(c.lang);
}

// ---------------------------------------------------------------------------
// Transform
// ---------------------------------------------------------------------------
std::string Transformed(const char* text, uchar cs, uchar lang, bool upper, uint room = 0)
{
    const std::size_t n = std::char_traits<char>::length(text);
    std::vector<char> buf(room ? room : 2 * (n + 1), '\x55');
    KsStringIterator it(text, cs, lang);
    KsCharToUpper up;
    KsCharToLower low;
    const uint bytes = it.Transform(upper ? static_cast<KsCharOperation&>(up) : low, buf.data(), uint(buf.size()));
    EXPECT_TRUE(it.AtEnd());
    EXPECT_GE(bytes, 1u);
    EXPECT_EQ(buf[bytes - 1], '\0');
    return std::string(buf.data(), bytes - 1);
}

TEST(KsCollationTransform, CaseMappingsStayInsideTheCodeSet)
{
    struct Case { const char* text; uchar cs; uchar lang; bool upper; const char* expected; };
    const Case cases[] = {
        {"stra\xDF" "e", 1, 2, true, "STRASSE"},
        {"\xC0\xC9 Hi", 1, 1, false, "\xE0\xE9 hi"},
        {"\xFF\xB5x", 1, 1, true, "\xFF\xB5X"},     // y-diaeresis and micro have no Latin-1 capital
        {"iI\xFD\xDD", 20, 16, true, "\xDDI" "I\xDD"},  // Turkish
        {"iI\xFD\xDD", 20, 16, false, "i\xFD\xFDi"},
        {"iI", 1, 16, false, "ii"},                 // no dotless i in Latin-1
        {"iI", 20, 1, true, "II"},
        {"", 1, 1, true, ""},
    };
    for (const Case& c : cases)
        EXPECT_EQ(Transformed(c.text, c.cs, c.lang, c.upper), c.expected) << c.text;
    // Output that does not fit is dropped, the terminator always written.
    EXPECT_EQ(Transformed("\xDF\xDF", 1, 1, true, 4), "SS");
    EXPECT_EQ(Transformed("abc", 1, 1, true, 1), "");
    KsStringIterator none("x", 1, 1);
    KsCharToUpper up;
    EXPECT_EQ(none.Transform(up, nullptr, 10), 0u);
}

TEST(KsCollationTransform, SixteenBitTextKeepsItsByteOrder)
{
    const uchar text[] = {0x00, 0xDF, 0x04, 0x30, 0, 0};  // sharp s, Cyrillic a; high byte first
    uchar out[12];
    KsStringIterator it(text, 253, 1, 2);
    KsCharToUpper up;
    ASSERT_EQ(it.Transform(up, out, sizeof(out)), 8u);
    const uchar expected[] = {0x00, 'S', 0x00, 'S', 0x04, 0x10, 0, 0};
    EXPECT_EQ(std::memcmp(out, expected, 8), 0);
}

TEST(KsCollationTables, ACharacterHasOneOrderInEveryCodeSet)
{
    // Every byte of every 8-bit table orders as its Unicode character does
    // in 16-bit text; undefined bytes have no order.
    for (uchar cs : EightBitCodeSets()) {
        const KsCodeSet& set = KsCodeSet::ForText(cs);
        for (uchar lang : {0, 1, 2, 4, 7, 9, 12, 13, 14, 15, 16, 18, 20, 22, 1 | 0x80}) {
            const KsOrderEntry* table = KsCollation::Table8(cs, lang);
            for (uint b = 1; b < 256; ++b) {
                const ushort u = set.ToUnicode(ushort(b));
                const KsOrderEntry expected =
                    u != 0xFFFD ? KsCollation::Entry16(u, lang) : KsCollation::IsIdeographic(lang) ? 0xFFFD : 13;
                ASSERT_EQ(table[b], expected) << set.Name() << " byte " << std::hex << b << " language " << std::dec << int(lang);
            }
            EXPECT_EQ(table[0], 0u);
        }
    }
}

// ---------------------------------------------------------------------------
// First use from several threads
// ---------------------------------------------------------------------------
TEST(KsCollationTables, RacingFirstUseAgrees)
{
    // Code set 28 with Hungarian is used by no other test.
    std::vector<const KsOrderEntry*> seen(4);
    std::vector<KsOrderEntry> wide(4);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&, i] {
            seen[i] = KsCollation::Table8(28, 15);
            wide[i] = KsCollation::Entry16(0x0151, 15);
        });
    for (auto& t : threads)
        t.join();
    for (int i = 1; i < 4; ++i) {
        EXPECT_EQ(seen[i], seen[0]);
        EXPECT_EQ(wide[i], wide[0]);
    }
    EXPECT_EQ(wide[0], Letter('o', 14, 1));
    EXPECT_EQ(seen[0][0x61], Letter('a'));
    EXPECT_EQ(seen[0][0xC1], 0x8430);  // KOI8-U Cyrillic a: another script
}

}  // namespace
