// KsStrCmp (null rules, native bytes, order keys, collation levels, masks,
// wildcards with backtracking, the wildcard setters) and the string rows'
// comparators over arrays in memory and hand-built stored images.
#include "ksstrcmp.h"

#include <gtest/gtest.h>

#include <cstring>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "ksi18n.h"
#include "ksstring.h"

namespace {

class KsStrCmpTest : public ::testing::Test {
protected:
    void TearDown() override { SetWildcards('*', '?', 0); }

public:
    static void SetWildcards(ushort any, ushort one, ushort escape)
    {
        KsStrCmpSetAsterisk(KsChar(any, 1, 0));
        KsStrCmpSetQuestion(KsChar(one, 1, 0));
        KsStrCmpSetEscape(KsChar(escape, 1, 0));
    }
};

using KsStrCmpNull = KsStrCmpTest;
using KsStrCmpPattern = KsStrCmpTest;
using KsStrCmpOrder = KsStrCmpTest;
using KsStrCmpCollation = KsStrCmpTest;
using KsStringCompareMemory = KsStrCmpTest;
using KsStringCompareStored = KsStrCmpTest;

int Cmp(const char* a, const char* b, ushort mode, uchar cs = 1, uchar lang = 1, int* detail = nullptr, short length = -1)
{
    return KsStrCmp(cs, lang, a, cs, lang, b, mode, length, 8, detail);
}

// Machine-order 16-bit copy of an ASCII/Latin-1 text.
std::vector<ushort> Wide(const char* s)
{
    const uchar* u = reinterpret_cast<const uchar*>(s);
    return std::vector<ushort>(u, u + std::strlen(s) + 1);
}
const char* C(const std::vector<ushort>& w) { return reinterpret_cast<const char*>(w.data()); }

TEST_F(KsStrCmpNull, NullAndEmptyRules)
{
    struct Case { uchar cs1, lang1; const char* t1; uchar cs2, lang2; const char* t2; ushort mode; short length; int expected; };
    const Case cases[] = {
        {1, 254, nullptr, 1, 254, nullptr, 0x10, -1, 0}, {254, 0, nullptr, 7, 254, "x", 0, -1, 0},  // compatibility null form
        {1, 1, "", 1, 254, nullptr, 0, -1, 1},           {1, 1, "", 254, 0, nullptr, 0x100, -1, 1},
        {1, 254, nullptr, 1, 1, "x", 0x10, -1, -1},      {1, 254, nullptr, 1, 1, "", 0x100, -1, -1},
        {1, 254, nullptr, 1, 1, "x", 0, -1, -1},         {1, 254, nullptr, 1, 1, "", 0, -1, 0},  // patterns: null as ""
        {1, 254, nullptr, 1, 1, "*", 0, -1, 0},          {0, 254, "abc", 0, 0, "", 0, -1, 0},
        {1, 1, "abc", 1, 1, "xyz", 0x10, 0, 0},          {1, 1, nullptr, 1, 1, "a", 0x10, -1, -1},  // null pointer: ""
        {0, 1, nullptr, 0, 1, "", 0x10, -1, 0},          {0, 1, "x", 0, 1, nullptr, 0x10, -1, 1},
        {0, 1, "", 0, 1, nullptr, 0x100, -1, 0},
    };
    for (const Case& c : cases) {
        const int r = KsStrCmp(c.cs1, c.lang1, c.t1, c.cs2, c.lang2, c.t2, c.mode, c.length, 8, nullptr);
        EXPECT_EQ((r > 0) - (r < 0), c.expected) << &c - cases;
    }
}

// Every pattern case runs through the native byte path, the collation path
// of an 8-bit and a 16-bit code set and an ideographic language.
TEST_F(KsStrCmpPattern, WildcardsWithBacktracking)
{
    struct Case { const char* text; const char* pattern; bool native; bool collated; };
    const Case cases[] = {
        {"abc", "a*", true, true},       {"abcbcd", "a*bcd", true, true},  {"abcbce", "a*bcd", false, false},
        {"abc", "*", true, true},        {"", "*", true, true},            {"", "", true, true},
        {"abc", "*c", true, true},       {"abc", "*b", false, false},      {"abc", "a*b*c", true, true},
        {"abc", "a**c", true, true},     {"abc", "***", true, true},       {"abc", "a?c", true, true},
        {"ac", "a?c", false, false},     {"abc", "???", true, true},       {"abcd", "???", false, false},
        {"ab", "*?", true, true},        {"a", "*??", false, false},       {"mississippi", "*sip*", true, true},
        {"mississippi", "m*iss*ppi", true, true}, {"mississippi", "m*iss*ppx", false, false},
        {"aaaaaaaaab", "*a*a*a*b", true, true},   {"aaaaaaaaaa", "*a*a*a*b", false, false},
        {"Abc", "abc", false, true},     {"ABCD", "a*D", false, true},     {"abc", "", false, false}, {"", "a", false, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.text) + " ~ " + c.pattern);
        EXPECT_EQ(Cmp(c.text, c.pattern, 0, 0, 0) == 0, c.native);
        EXPECT_EQ(Cmp(c.text, c.pattern, 0) == 0, c.collated);
        EXPECT_EQ(KsStrCmp(253, 4, C(Wide(c.text)), 253, 4, C(Wide(c.pattern)), 0, -1, 8, nullptr) == 0, c.collated);
        EXPECT_EQ(Cmp(c.text, c.pattern, 0, 1, 21) == 0, c.native);  // ideographic
    }
}

// Exact results: the byte difference on native text (cs 0), over `length`
// when given; the primary order otherwise. Exact modes have no wildcards.
TEST_F(KsStrCmpPattern, ResultsAndExactModes)
{
    struct Case { const char* a; const char* b; ushort mode; uchar cs; short length; int result; };
    const Case cases[] = {
        {"abcbce", "a*bcd", 0, 0, -1, 'b' - 'd'}, {"abd", "abc", 0, 0, -1, 1},         {"ab", "ab?", 0, 0, -1, -'?'},
        {"abcbce", "a*bcd", 0, 1, -1, -1},        {"b", "a*", 0, 1, -1, 1},
        {"\xDF" "x", "?x", 0, 1, -1, 0},          {"\xDF", "s?", 0, 1, -1, 0},       {"\xDF", "ss", 0, 1, -1, 0},  // "?" takes one whole character
        {"abc", "a*", 0x10, 0, -1, 'b' - '*'},    {"abc", "a?c", 0x10, 0, -1, 'b' - '?'}, {"a*c", "a*c", 0x10, 0, -1, 0},
        {"ab", "abc", 0x10, 0, -1, -'c'},         {"\xE9", "e", 0x10, 0, -1, 0xE9 - 'e'}, {"abc", "ABC", 0x100, 0, -1, 'a' - 'A'},
        {"abcX", "abcY", 0x10, 0, 3, 0},          {"abc", "a*", 0x10, 1, -1, 1},     {"abc", "a?c", 0x10, 1, -1, 1}, 
        {"a*c", "a*c", 0x10, 1, -1, 0},           {"abc", "a*", 0x100, 1, -1, 1},
    };
    for (const Case& c : cases) {
        const int r = Cmp(c.a, c.b, c.mode, c.cs, 1, nullptr, c.length);
        EXPECT_EQ(c.cs ? (r > 0) - (r < 0) : r, c.result) << c.a << " ~ " << c.b << " mode " << std::hex << c.mode;
    }
    // A match still reports what told the texts apart below the primary level.
    int detail = 9, detail2 = 9;
    EXPECT_EQ(Cmp("ABcx", "ab*", 0, 1, 1, &detail) + Cmp("\xE0" "bc", "a*c", 0, 1, 1, &detail2), 0);
    EXPECT_EQ(detail * 10 + detail2, -30 + 2);
}

TEST_F(KsStrCmpPattern, SettersChangeTheCharacters)
{
    struct Case { ushort one; const char* text; const char* pattern; bool match; };
    const Case cases[] = {
        {'_', "abcd", "a%d", true},  {'_', "abcd", "a*d", false}, {'_', "abc", "a_c", true},   {'_', "a?c", "a?c", true},
        {'_', "abc", "a?c", false},  {'_', "a%", "a\\%", true},   {'_', "ab", "a\\%", false},  {'_', "a\\", "a\\", true},
        {'_', "a_b", "a\\_%", true}, {'_', "axb", "a\\_%", false}, {0, "abc", "a_c", false},   {0, "a_c", "a_c", true},  // 0: off
    };
    for (uchar cs : {0, 1, 253}) {
        for (const Case& c : cases) {
            SetWildcards('%', c.one, '\\');
            const int r = cs == 253 ? KsStrCmp(cs, 1, C(Wide(c.text)), cs, 1, C(Wide(c.pattern)), 0, -1, 8, nullptr)
                                    : Cmp(c.text, c.pattern, 0, cs);
            EXPECT_EQ(r == 0, c.match) << int(cs) << ": " << c.text << " ~ " << c.pattern;
        }
    }
}

// Keys: language in the top byte, then the order; outside language 20 an
// order with bit 14 (and below 0x8000) moves its bits 7-13 to the low byte.
TEST_F(KsStrCmpOrder, KeysDecideCharacterByCharacter)
{
    auto key = [](ushort o, long long lang) {
        const bool moved = lang != 20 && o < 0x8000 && (o & 0x4000);
        return !o ? 0 : lang << 24 | (moved ? (o & 0x407F) << 8 | ((o >> 7) & 0x7F) : (long long)o << 8);
    };
    for (uchar lang : {1, 4, 20, 21}) {
        const KsOrderEntry* t = KsCollation::Table8(1, lang);
        for (int x = 1; x < 256; x += 3) {
            for (int y = 1; y < 256; ++y) {
                const char a[] = {char(x), 0}, b[] = {char(y), 0};
                const long long diff = key(ushort(t[x]), lang) - key(ushort(t[y]), lang);
                const int r = Cmp(a, b, 0x100, 1, lang);
                ASSERT_EQ((r > 0) - (r < 0), (diff > 0) - (diff < 0)) << int(lang) << ": " << x << " " << y;
            }
        }
    }
    // The language is the top byte; a text's end is key 0.
    EXPECT_LT(KsStrCmp(1, 1, "b", 1, 2, "a", 0x100, -1, 8, nullptr), 0);
    EXPECT_GT(Cmp("ab", "a", 0x100), 0);
    EXPECT_EQ(Cmp("abX", "abY", 0x100, 1, 1, nullptr, 2), 0);
    // Extension before accent and case: Spanish n-tilde follows every n.
    EXPECT_GT(Cmp("\xF1", "N", 0x100, 1, 4), 0);
    EXPECT_LT(Cmp("\xF1", "o", 0x100, 1, 4), 0);
}

TEST_F(KsStrCmpCollation, LevelsMasksAndDetail)
{
    struct Case { const char* a; const char* b; ushort mode; int result; int detail; };
    const Case cases[] = {
        {"abc", "abc", 0x10, 0, 0},        {"abc", "abd", 0x10, -1, -1},     {"\xE0" "b", "ac", 0x10, -1, -1},  // primary first
        {"\xE0" "b", "ab", 0x10, 1, 2},    {"\xE0" "b", "ab", 0, 0, 2},      {"Ab", "ab", 0x10, -1, -3},
        {"Ab", "\xE0" "b", 0x10, -1, -2},  {"ab", "AB", 0, 0, 3},            {"ab", "abc", 0x10, -1, -1},
        {"a b", "ab", 0x10, -1, -1},       {"a1", "a\xB9", 0x10, -1, -2},
        {"a", "i", 0x10, -1, -1},          {"a", "i", 0x30, 0, 0},       // 0x20 clears bits 5-6
        {"a", "b", 0x50, 0, 0},            {"a", "i", 0x50, -1, -1},     // 0x40 clears bits 0-4
        {"a", "z", 0x70, 0, 0},            {"a", "Z", 0x70, 1, 3},       // both: bits 0-6
        {"0", "3", 0x50, 0, 0},            {"0", "4", 0x50, -1, -1},
        {"\xE9t\xE9", "ete", 0x70, 1, 2},  {"x", "x", 0xF0, 0, 0},
    };
    for (const Case& c : cases) {
        int detail = 99;
        const int r = Cmp(c.a, c.b, c.mode, 1, 1, &detail);
        EXPECT_EQ(r * 100 + detail, c.result * 100 + c.detail) << c.a << " vs " << c.b << " mode " << std::hex << c.mode;
    }
}

TEST_F(KsStrCmpCollation, CodeSetsLanguagesAndByteOrders)
{
    const std::vector<ushort> wide = Wide("\xE9t\xE9");
    const char ab[] = {0, 'A', 0, 'B', 0, 0}, ac[] = {0, 'A', 0, 'C', 0, 0}, abc[3] = {'a', 'b', 'c'};  // ab, ac: high byte first
    struct Case { uchar cs1, lang1; const char* t1; uint n1; uchar cs2, lang2; const char* t2; ushort mode; int order, expected; };
    const Case cases[] = {
        {1, 1, "\xE9t\xE9", ~0u, 253, 1, C(wide), 0x10, 8, 0}, {16, 1, "\x9A", ~0u, 1, 1, "s", 0, 8, 0},  // 1250 s-caron
        {0, 1, "\xE9", ~0u, 1, 1, "e", 0, 8, 0},                // 0 is the native code set
        {1, 9, "\xE4", ~0u, 1, 1, "\xE4", 0, 8, 1},            // Swedish a-diaeresis is not an a
        {253, 1, ab, ~0u, 253, 1, ac, 0x10, 2, -1}, {253, 1, ab, ~0u, 1, 1, "ab", 0, 2, 0},
        {1, 1, abc, 2, 1, 1, "ab", 0x10, 8, 0}, {1, 1, abc, 2, 1, 1, "abc", 0x10, 8, -1},  // nothing past n is read
        {1, 1, nullptr, 20, 1, 1, "", 0x10, 8, 0},
    };
    for (const Case& c : cases) {
        const int r = KsStrCmpN(c.cs1, c.lang1, c.t1, c.n1, c.cs2, c.lang2, c.t2, ~0u, c.mode, -1, c.order, nullptr);
        EXPECT_EQ((r > 0) - (r < 0), c.expected) << &c - cases;
    }
}

// The string rows' comparators.
KsString Make(uchar cs, uchar lang, const char* text)
{
    KsString s(cs, lang);
    if (*text)
        s.EditText(text, cs, 0, 0, ushort(std::strlen(text)), 1, KsString::EditAssignAt);
    return s;
}

TEST_F(KsStringCompareMemory, WalksArraysOfStrings)
{
    KsString a[3] = {Make(1, 1, "x"), Make(1, 1, "abc"), Make(1, 1, "q")};
    KsString b[3] = {Make(1, 1, "x"), Make(1, 1, "ABC"), Make(1, 1, "a")};
    KsString none[2] = {KsString(1, 1), KsString(1, 1)}, some[2] = {Make(1, 1, "x"), KsString(1, 1)};  // no buffers
    struct Case { uint lenA; KsString *x, *y; ushort mode; uint count; int result, status; };
    const Case cases[] = {
        {0, a, b, 0, 3, 1, 0},    {0, a, b, 0x10, 3, 1, 0},  // decided by the third; by the second: case
        {0, a, b, 0x90, 3, 3, 0}, {0, a, b, 0, 2, 0, 0},     // 0x80: the detail value
        {0, a, b, 0, 0, 0, 0},    {sizeof(KsString), a, b, 0, 3, 0, 2101},  // a holds one element
        {0, none, some, 0, 2, -1, 0}, {0, some, none, 0, 2, 1, 0}, {0, none, none, 0, 2, 0, 0},
    };
    for (const Case& c : cases) {
        int status = -1;
        EXPECT_EQ(StringCompare(8, c.lenA, c.x, 0, c.y, c.mode, c.count, status), c.result) << &c - cases;
        EXPECT_EQ(status, c.status) << &c - cases;
    }
}

// Stored images built by hand:
//   [L:2][code set][language][characters][0][FF], L = 4 + bytes of characters.
struct Image {
    uchar format;
    std::vector<uchar> bytes;
    explicit Image(uchar f) : format(f) {}
    void Put16(uint v) { bytes.insert(bytes.end(), {uchar(format == 2 ? v >> 8 : v), uchar(format == 2 ? v : v >> 8)}); }
    Image& Add(uchar cs, uchar lang, const char* text)
    {
        const std::size_t n = std::strlen(text);
        Put16(uint(4 + n * (cs > 224 ? 2 : 1)));
        bytes.insert(bytes.end(), {cs, lang});
        for (std::size_t i = 0; i < n; ++i)  // 16-bit: format 1 is machine order, 2 high byte first
            cs > 224 ? Put16(uchar(text[i])) : bytes.push_back(uchar(text[i]));
        bytes.insert(bytes.end(), {0, 0xFF});
        return *this;
    }
    // The old image: [L:2][characters][0], L = characters + 1.
    Image& AddOld(const char* text)
    {
        Put16(uint(std::strlen(text) + 1)), bytes.insert(bytes.end(), text, text + std::strlen(text) + 1);
        return *this;
    }
    uint Size() const { return uint(bytes.size()); }
};

struct Result { int result, status; };
Result Compare(Image& a, Image& b, ushort mode, uint count = 1, uint lenA = ~0u, uint lenB = ~0u, bool old = false)
{
    Result r{0, 77};
    r.result = (old ? StringCompareOld : StringCompare)(a.format, lenA == ~0u ? a.Size() : lenA, a.bytes.data(),
                                                        lenB == ~0u ? b.Size() : lenB, b.bytes.data(), mode, count, r.status);
    return r;
}

TEST_F(KsStringCompareStored, ElementsInBothByteOrders)
{
    struct Case { const char* a1; uchar csA; const char* a2; const char* b1; uchar csB; const char* b2; ushort mode; int result; };
    const Case cases[] = {
        {"x", 1, "abc", "x", 1, "abd", 0x10, -1},     {"x", 1, "abc", "x", 1, "abc", 0x10, 0},
        {"y", 1, "abc", "x", 1, "abd", 0x10, 1},      {"x", 253, "\xE9t\xE9", "x", 1, "\xE9t\xE9", 0x10, 0},
        {"x", 253, "abc", "x", 253, "abd", 0x100, -1}, {"x", 1, "abcbcd", "x", 1, "a*bcd", 0, 0},
        {"x", 0, "abc", "x", 0, "ab?", 0, 0},          {"x", 0, "ABC", "x", 0, "abc", 0x10, -1},
        {"x", 1, "ab", "x", 1, "abc", 0x10, -1},       {"x", 1, "", "x", 1, "", 0x10, 0},
    };
    for (uchar format : {1, 2}) {
        for (const Case& c : cases) {
            Image a(format), b(format);
            a.Add(c.csA, 1, c.a1).Add(c.csA, 1, c.a2);
            b.Add(c.csB, 1, c.b1).Add(c.csB, 1, c.b2);
            for (bool bounded : {true, false}) {
                const Result r = Compare(a, b, c.mode, 2, bounded ? a.Size() : 0, bounded ? b.Size() : 0);
                EXPECT_EQ(r.result * 1000 + r.status, c.result * 1000) << int(format) << ": " << c.a2 << " vs " << c.b2;
            }
        }
    }
}

// The 8-bit walk passes runs of equal bytes without looking at orders, in
// a pattern only up to its first wildcard byte; one stored element alone
// takes a shortcut, the second of two the general walk. Long, mostly shared
// texts with wildcards, escapes and expansions, under several wildcard
// settings (a letter, a control whose order 32 bytes share, all off), must
// give what the 16-bit walk gives: value, detail and the comparators' result.
TEST_F(KsStringCompareStored, EveryPathMatchesTheOrderWalk)
{
    struct Setting { ushort any, one, escape; };
    const Setting settings[] = {{'*', '?', 0}, {'*', '?', '\\'}, {'e', '-', 0}, {0x85, '?', '*'}, {0, 0, 0}};
    const std::string alphabet = "aaaabbeeeAEz\xE9\xC9\xE4\xDF\xF1 *?-\\1\xB9Z\x85";
    const ushort modes[] = {0, 0x20, 0x40, 0x60, 0x80, 0xA0, 0xC0, 0xE0, 0x10, 0x90, 0x100};
    const uchar languages[] = {1, 4, 9, 16, 21};
    const uchar codeSets[] = {1, 16, 14};
    std::mt19937 rng(77);
    auto pick = [&](std::size_t n) { return std::size_t(rng() % n); };
    auto text = [&] { std::string t(pick(41), 'a'); for (char& c : t) c = alphabet[pick(alphabet.size())]; return t; };
    for (const Setting& w : settings) {
        SetWildcards(w.any, w.one, w.escape);
        for (int i = 0; i < 4000; ++i) {
            const std::string x = text();
            std::string y = pick(4) ? x : text();
            for (std::size_t e = y == x ? pick(3) : 0; e; --e) {  // a few edits, mostly after a long shared run
                const std::size_t at = pick(y.size() + 1);
                const char c = pick(3) ? alphabet[pick(alphabet.size())] : "*?"[pick(2)];
                pick(2) && at < y.size() ? void(y[at] = c) : void(y.insert(at, 1, c));
            }
            if (pick(5) == 0)
                y.resize(pick(y.size() + 1));
            const ushort mode = modes[pick(std::size(modes))];
            const uchar cs1 = codeSets[pick(3)], cs2 = pick(4) ? cs1 : codeSets[pick(3)];
            const uchar lang1 = languages[pick(5)], lang2 = pick(4) ? lang1 : languages[pick(5)];
            const short length = pick(4) ? -1 : short(1 + pick(30));
            std::vector<ushort> wx(x.size() + 1, 0), wy(y.size() + 1, 0);
            KsConvertText(wx.data(), 253, x.c_str(), cs1, uint(x.size()));
            KsConvertText(wy.data(), 253, y.c_str(), cs2, uint(y.size()));
            int refDetail = 99, detail = 99, detailN = 99;
            const int ref = KsStrCmp(253, lang1, C(wx), 253, lang2, C(wy), mode, length, 8, &refDetail);
            SCOPED_TRACE(x + " | " + y + " mode " + std::to_string(mode) + " cs " + std::to_string(cs1) + "/" + std::to_string(cs2) +
                         " lang " + std::to_string(lang1) + "/" + std::to_string(lang2) + " length " + std::to_string(length));
            ASSERT_EQ(KsStrCmp(cs1, lang1, x.c_str(), cs2, lang2, y.c_str(), mode, length, 8, &detail), ref);
            // Counted texts: whole words are read.
            ASSERT_EQ(KsStrCmpN(cs1, lang1, x.data(), uint(x.size()), cs2, lang2, y.data(), uint(y.size()), mode, length, 8, &detailN), ref);
            ASSERT_EQ(detail * 1000 + detailN, refDetail * 1001);
            if (length >= 0)
                continue;
            const int expected = (mode & 0x80) && refDetail ? refDetail : (ref > 0) - (ref < 0);
            for (uchar format : {1, 2}) {
                Image one(format), other(format), two(format), otherTwo(format);
                one.Add(cs1, lang1, x.c_str()), other.Add(cs2, lang2, y.c_str());
                two.Add(cs1, lang1, "").Add(cs1, lang1, x.c_str()), otherTwo.Add(cs2, lang2, "").Add(cs2, lang2, y.c_str());
                const Result r = Compare(one, other, mode), r2 = Compare(two, otherTwo, mode, 2);
                ASSERT_EQ(r.result * 1000 + r.status, expected * 1000);
                ASSERT_EQ(r2.result * 1000 + r2.status, expected * 1000);
            }
            KsString a[1] = {Make(cs1, lang1, x.c_str())}, b[1] = {Make(cs2, lang2, y.c_str())};
            int status = 0;  // in memory an empty string has no buffer
            ASSERT_TRUE(x.empty() || y.empty() || StringCompare(8, 0, a, 0, b, mode, 1, status) == expected);
        }
    }
}

TEST_F(KsStringCompareStored, CutOperandsAndStatuses)
{
    const std::string longText(300, 'x'), longOther = std::string(299, 'x') + "y";
    struct Case { const char* name; const char* a; const char* b; ushort mode; int cutA, cutB, result, status; };
    // cutA / cutB: character bytes present of a cut element (-1: whole).
    const Case cases[] = {
        {"b cut inside", "abcdef", "abcdef", 0, -1, 3, 0, 2101},    {"a cut, longer than b", "abcdef", "abc", 0, 4, -1, 1, 0},
        {"a cut, shorter than b", "abcdef", "abc", 0, 2, -1, 0, 2101}, {"a cut, differs early", "abzdef", "abcdef", 0x10, 3, -1, 1, 2101},
        {"b cut, longer than a", "ab", "abcdef", 0x10, -1, 4, -1, 0}, {"star, complete pattern", "abcdef", "ab*", 0, 4, -1, 0, 0},
        {"star, pattern goes on", "abcdef", "ab*f", 0, 4, -1, 0, 2101}, {"star ignored when exact", "abcdef", "ab*", 0x10, 4, -1, 1, 0},
        {"only the terminator cut", longText.c_str(), longText.c_str(), 0x10, 300, -1, 0, 2101},
        {"heap scratch decides", longText.c_str(), longOther.c_str(), 0x10, 300, -1, -1, 2101},
        {"cut length too long", longText.c_str(), longText.c_str(), 0x10, 280, -1, -1, -2999},
    };
    for (uchar format : {1, 2}) {
        for (const Case& c : cases) {
            Image a(format), b(format);
            a.Add(1, 1, c.a), b.Add(1, 1, c.b);
            const Result r = Compare(a, b, c.mode, 1, c.cutA < 0 ? a.Size() : 4 + c.cutA, c.cutB < 0 ? b.Size() : 4 + c.cutB);
            EXPECT_EQ(r.result * 10000 + r.status, c.result * 10000 + c.status) << c.name;
        }
    }
}

TEST_F(KsStringCompareStored, ShortenedMarkersBoundsAndOldImages)
{
    auto expect = [](Result r, int result, int status, const char* what) {
        EXPECT_EQ(r.result * 10000 + r.status, result * 10000 + status) << what;
    };
    Image a(1), b(1), two(2), other(2);
    a.Add(253, 1, "abc"), b.Add(254, 0x81, "ab");  // b: shortened when stored; 16-bit by its code set
    expect(Compare(a, b, 0), 0, 2101, "b counts as cut: only \"ab\" is compared");
    expect(Compare(a, b, 0x10), 1, 2101, "exact: not cut, the whole texts compare");
    two.Add(1, 1, "same").Add(1, 1, "next"), other.Add(1, 1, "same").Add(1, 1, "next");
    expect(Compare(two, other, 0x10, 2, 10 + 4), 0, 2101, "four bytes of the second element left");
    expect(Compare(two, other, 0x10, 2, 3), 0, 2101, "not even a header");
    expect(Compare(two, other, 0x10, 3), 0, 2101, "a third element is asked for");
    expect(Compare(two, other, 0x10, 2), 0, 0, "complete");
    for (uchar format : {1, 2}) {
        Image x(format), y(format), p(format);
        x.AddOld("abcbcd").AddOld("x").AddOld(""), y.AddOld("abcbcd").AddOld("x").AddOld(""), p.AddOld("a*bcd");
        expect(Compare(x, y, 0x10, 2, ~0u, ~0u, true), 0, 0, "old: equal");
        expect(Compare(x, y, 0x10, 3, ~0u, ~0u, true), 0, 2101, "old: under 5 bytes left is short, even for \"\"");
        expect(Compare(x, p, 0, 1, ~0u, ~0u, true), 0, 0, "old: native text, the pattern matches");
        expect(Compare(x, p, 0x10, 1, ~0u, ~0u, true), 1, 0, "old: exact");
        expect(Compare(x, y, 0, 1, ~0u, 2 + 3, true), 0, 2101, "old: b cut inside its characters");
    }
}

}  // namespace
