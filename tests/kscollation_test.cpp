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

// A Unicode character as a text of a code set; empty when the code set lacks it.
std::string Text(uchar cs, ushort u)
{
    const int b = KsCodeSet::ForText(cs).FromUnicode(u);
    return b > 0 ? std::string(1, char(b)) : std::string();
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
TEST(KsCollationLayout, ClassesOfEveryLayout)
{
    struct Case { ushort u; KsOrderEntry entry; };
    const Case cases[] = {
        {0, 0},                   {' ', 48},                 {'\t', 25},                {0xA0, 51},
        {0x3000, 68},             {0x85, 50},                {'*', 80 + 79},            {0xBF, 80 + 139},
        {'0', 0x3F00},            {'7', 0x3F46},             {0xB2, 0x3F15},            {0x0667, 0x3F46},
        {'A', Letter('A')},       {'z', Letter('z')},        {0x0131, Letter('i', 16)}, {0xFF21, Letter('A', 16)},
        {0xAA, Letter('a', 16)},  {0x00FE, Letter('z', 0, 1)}, {0x0181, Letter('B', 16)}, {0x0140, Letter('l', 16)},
        {0x0186, 0x8186},         // open O spells no letter
        // Accents come from the decomposition, one row per accent number.
        {0xE7, Letter('c', 1)},   {0xC9, Letter('E', 2)},    {0xE8, Letter('e', 3)},    {0xEA, Letter('e', 4)},
        {0xD1, Letter('N', 5)},   {0xFC, Letter('u', 6)},    {0xE5, Letter('a', 7)},    {0xF8, Letter('o', 8)},
        {0x10D, Letter('c', 9)},  {0x100, Letter('A', 10)},  {0x103, Letter('a', 11)},  {0x17C, Letter('z', 12)},
        {0x105, Letter('a', 13)}, {0x150, Letter('O', 14)},  {0x0247, Letter('e', 8)},  {0x1D00, Letter('a', 16)},
        {0x00DF, Letter('s', 15) | KsOrderEntry(Letter('s', 15)) << 16},
        {0x00C6, Letter('A', 15) | KsOrderEntry(Letter('E', 15)) << 16},
        {0xFB03, Letter('f', 15) | KsOrderEntry(Letter('f', 15)) << 16 | KsOrderEntry(Letter('i', 15)) << 32},
        {0x01C6, Letter('d', 15) | KsOrderEntry(Letter('z', 9)) << 16},
        {0x03B1, 0x83B1},         {0x4E00, 0xCE00},          {0xE000, 0xE000},          {0xFFFF, 13},
    };
    for (const Case& c : cases)
        EXPECT_EQ(KsCollation::Entry16(c.u, 1), c.entry) << std::hex << "U+" << c.u;
    for (uchar b : {0xA5, 0xAE, 0xBE, 0xC3})  // undefined in ISO-8859-3
        EXPECT_EQ(KsCollation::Order(b, 3, 1), 13);
    // Ideographic languages order by code.
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

TEST(KsCollationLayout, RankedSymbolsAreDistinctAndInRange)
{
    std::vector<bool> seen(16048, false);
    for (uint u = 0x100; u < 0x10000; ++u) {
        const ushort o = Order(ushort(u));
        if (o < 80 || o >= 0x3F00)
            continue;
        ASSERT_TRUE(o >= 80 + 140 && !seen[o - 80]) << "symbol " << o - 80 << " out of range or twice, U+" << std::hex << u;
        seen[o - 80] = true;
    }
}

// ---------------------------------------------------------------------------
// Alphabets
// ---------------------------------------------------------------------------
TEST(KsCollationAlphabet, LettersAscendInEveryLanguageAndCodeSet)
{
    for (uchar cs : EightBitCodeSets()) {
        for (uchar lang = 0; lang < 20; ++lang) {
            for (int i = 0; i < 50; ++i) {
                const ushort x = ushort((i < 25 ? 'a' : 'A' - 25) + i);
                const std::string a = Text(cs, x), b = Text(cs, ushort(x + 1));
                ASSERT_FALSE(a.empty() || b.empty());
                EXPECT_LT(Compare(cs, lang, a + "z", b + "a", 0), 0) << int(cs) << "/" << int(lang) << ": " << a << b;
            }
        }
    }
}

TEST(KsCollationAlphabet, LanguageExtras)
{
    // In each language a < b < c, b being the language's own letter (texts
    // in the code set given).
    struct Case { uchar lang; uchar cs; const char* a; const char* b; const char* c; };
    const Case cases[] = {
        {4, 1, "n", "\xF1", "o"},          // Spanish n-tilde
        {9, 1, "z", "\xE5", "\xE4"},       // Swedish: z, a-ring, a-diaeresis, o-diaeresis
        {9, 1, "\xE4", "\xF6", "\xF6z"},   {10, 1, "z", "\xE5", "\xE4"},  // Finnish
        {7, 1, "z", "\xE6", "\xF8"},       // Danish: z, ae, o-stroke, a-ring
        {8, 1, "\xF8", "\xE5", "\xE5z"},   // Norwegian
        {2, 1, "a", "\xE4", "b"},          // German: umlauts are accented vowels
        {13, 2, "l", "\xB3", "m"},         {13, 2, "z", "\xBC", "\xBF"},  // Polish l-stroke; z, z-acute, z-dot
        {14, 2, "s", "\xB9", "t"},         {15, 2, "o", "\xF5", "p"},     // Czech s-caron, Hungarian o-double-acute
        {16, 20, "h", "\xFD", "i"},        {16, 20, "g", "\xF0", "h"},    // Turkish dotless i, g-breve
        {12, 1, "d", "\xF0", "e"},         {12, 1, "z", "\xFE", "\xE6"},  // Icelandic eth; z, thorn, ae
    };
    for (const Case& c : cases) {
        EXPECT_LT(Compare(c.cs, c.lang, c.a, c.b), 0) << int(c.lang) << ": " << c.a << " < " << c.b;
        EXPECT_LT(Compare(c.cs, c.lang, std::string(c.b) + "a", std::string(c.c) + "a"), 0) << int(c.lang) << ": " << c.b;
    }
    // Elsewhere these are accented forms of their base letter; Turkish I is
    // the capital of dotless i, dotted capital I that of i.
    struct Same { uchar cs, lang; const char* a; const char* b; bool same; };
    const Same same[] = {
        {1, 1, "\xF1", "n", true},  {1, 2, "\xE5", "a", true},  {1, 2, "\xE4" "b", "ac", false}, {20, 16, "I", "i", false},
        {20, 16, "\xDD", "i", true}, {20, 16, "I", "\xFD", true}, {20, 1, "I", "i", true},
    };
    for (const Same& c : same)
        EXPECT_EQ(Compare(c.cs, c.lang, c.a, c.b, 0) == 0, c.same) << int(c.lang) << ": " << c.a << " ~ " << c.b;
}

TEST(KsCollationAlphabet, LowerLevelsAndExpansions)
{
    // Equal at the primary level, told apart below it; x + "x" sorts after.
    struct Case { uchar cs, lang; const char* a; const char* b; int detail; };
    const Case cases[] = {
        {1, 1, "a", "A", 3},         {1, 1, "a", "\xE0", -2},  {1, 1, "\xC0", "\xE0", -3}, {16, 1, "s", "\x9A", -2},
        {16, 1, "L", "\xA3", -2},    {1, 1, "o", "\xF8", -2},  {1, 1, "stra\xDF" "e", "strasse", 1},
        {1, 2, "\xDF", "SS", 1},     {1, 1, "\xC6ON", "AEON", 1}, {14, 3, "\xBD" "uvre", "oeuvre", 1},
    };
    for (const Case& c : cases) {
        int detail = 0;
        EXPECT_EQ(KsStrCmp(c.cs, c.lang, c.a, c.cs, c.lang, c.b, 0, -1, 8, &detail), 0) << c.b;
        EXPECT_EQ(c.detail == 1 ? detail != 0 : detail == c.detail, true) << c.b << ": " << detail;
        EXPECT_LT(Compare(c.cs, c.lang, c.a, std::string(c.b) + "x", 0), 0) << c.b;
    }
}

// ---------------------------------------------------------------------------
// Order walk, IsSpace
// ---------------------------------------------------------------------------
TEST(KsCollationIterator, DeliversExpansionsBeforeMovingOn)
{
    const char text[] = "a\xDF" "b";
    KsStringIterator it(text, 1, 1);
    EXPECT_EQ(it.CurrentOrder(), Letter('a'));
    const ushort orders[] = {Letter('a'), Letter('s', 15), Letter('s', 15), Letter('b'), 0, 0};
    const uint positions[] = {1, 2, 2, 3, 3, 3};  // after each order
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(it.GetNextOrder(), orders[i]) << i;
        EXPECT_EQ(it.Position(), positions[i]) << i;
    }
    KsStringIterator skip(text, 1, 1);
    skip.Next();
    skip.GetNextOrder();  // first half of the sharp s
    skip.Next();          // stepping by characters drops the second half
    EXPECT_EQ(skip.GetNextOrder(), 0);

    const uchar wide[] = {0x00, 0xC0, 0x4E, 0x00, 0, 0};  // high byte first
    KsStringIterator w(wide, 253, 1, 2);
    for (ushort expected : {Letter('A', 3), ushort(0xCE00), ushort(0)})
        EXPECT_EQ(w.GetNextOrder(), expected);
}

TEST(KsCollationIterator, IsSpaceMeansOrderBelow80)
{
    struct Case { ushort code; uchar cs; uchar lang; int space; };
    const Case cases[] = {
        {0, 1, 1, 1},      {' ', 1, 1, 1},    {0x85, 1, 1, 1},  {0xA5, 3, 1, 1},   // no order (13)
        {'a', 1, 1, 0},    {'0', 1, 1, 0},    {0xAD, 1, 1, 0},  // soft hyphen is a symbol
        {'a', 1, 20, 0},   {' ', 1, 21, 1},   {0x3000, 253, 20, 1}, {0x4E00, 253, 20, 0},
    };
    for (const Case& c : cases)
        EXPECT_EQ(KsChar(c.code, c.cs, c.lang).IsSpace(), c.space) << std::hex << c.code << " lang " << std::dec << int(c.lang);
}

// ---------------------------------------------------------------------------
// Transform
// ---------------------------------------------------------------------------
TEST(KsCollationTransform, CaseMappingsStayInsideTheCodeSet)
{
    struct Case { const char* text; uchar cs; uchar lang; bool upper; uint room; const char* expected; };
    const Case cases[] = {
        {"stra\xDF" "e", 1, 2, true, 0, "STRASSE"},  {"\xC0\xC9 Hi", 1, 1, false, 0, "\xE0\xE9 hi"},
        {"\xFF\xB5x", 1, 1, true, 0, "\xFF\xB5X"},   // y-diaeresis and micro have no Latin-1 capital
        {"iI\xFD\xDD", 20, 16, true, 0, "\xDDI" "I\xDD"}, {"iI\xFD\xDD", 20, 16, false, 0, "i\xFD\xFDi"},  // Turkish
        {"iI", 1, 16, false, 0, "ii"},              {"iI", 20, 1, true, 0, "II"},  // no dotless i in Latin-1
        {"", 1, 1, true, 0, ""},
        // Output that does not fit is dropped, the terminator always written.
        {"\xDF\xDF", 1, 1, true, 4, "SS"},          {"abc", 1, 1, true, 1, ""},
    };
    KsCharToUpper up;
    KsCharToLower low;
    for (const Case& c : cases) {
        std::vector<char> buf(c.room ? c.room : 2 * (std::strlen(c.text) + 1), '\x55');
        KsStringIterator it(c.text, c.cs, c.lang);
        const uint bytes = it.Transform(c.upper ? static_cast<KsCharOperation&>(up) : low, buf.data(), uint(buf.size()));
        EXPECT_TRUE(it.AtEnd()) << c.text;
        ASSERT_GE(bytes, 1u) << c.text;
        EXPECT_EQ(std::string(buf.data(), bytes), std::string(c.expected) + '\0') << c.text;
    }
    KsStringIterator none("x", 1, 1);
    EXPECT_EQ(none.Transform(up, nullptr, 10), 0u);
    // 16-bit text keeps its byte order: sharp s, Cyrillic a; high byte first.
    const uchar text[] = {0x00, 0xDF, 0x04, 0x30, 0, 0}, expected[] = {0x00, 'S', 0x00, 'S', 0x04, 0x10, 0, 0};
    uchar out[12];
    KsStringIterator it(text, 253, 1, 2);
    ASSERT_EQ(it.Transform(up, out, sizeof(out)), 8u);
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
            EXPECT_EQ(table[0], 0u);
            for (uint b = 1; b < 256; ++b) {
                const ushort u = set.ToUnicode(ushort(b));
                const KsOrderEntry expected =
                    u != 0xFFFD ? KsCollation::Entry16(u, lang) : KsCollation::IsIdeographic(lang) ? 0xFFFD : 13;
                ASSERT_EQ(table[b], expected) << set.Name() << " byte " << std::hex << b << " language " << std::dec << int(lang);
            }
        }
    }
}

TEST(KsCollationTables, RacingFirstUseAgrees)
{
    // Code set 28 with Hungarian is used by no other test.
    const KsOrderEntry* seen[4];
    KsOrderEntry wide[4];
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&, i] { seen[i] = KsCollation::Table8(28, 15), wide[i] = KsCollation::Entry16(0x0151, 15); });
    for (auto& t : threads)
        t.join();
    for (int i = 1; i < 4; ++i)
        EXPECT_TRUE(seen[i] == seen[0] && wide[i] == wide[0]) << i;
    EXPECT_EQ(wide[0], Letter('o', 14, 1));
    EXPECT_EQ(seen[0][0x61], Letter('a'));
    EXPECT_EQ(seen[0][0xC1], 0x8430);  // KOI8-U Cyrillic a: another script
}

}  // namespace
