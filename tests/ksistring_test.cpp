// KsIString and KsCaseIString: weight maps over every byte, the weighted
// order, editing, the stored image (golden bytes, truncation), the
// comparator and the slot functions of rows 20 and 21.
#include "ksistring.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "ksbase.h"
#include "ksistringrow.h"
#include "ksstring.h"
#include "kstypes.h"

namespace {

// Octal escapes where a letter follows: \337 is 0xDF (sharp s), \351 0xE9
// (e acute), \214 0x8C (OE).

typedef std::vector<uchar> Bytes;

std::string Str(const KsWeightedText& s) { return s.StrGet(); }
std::string Str(const KsString& s) { return s.StrGet(); }
std::string Byte(uint c) { return std::string(1, char(c)); }
int Sign(int v) { return v < 0 ? -1 : (v > 0 ? 1 : 0); }

const KsWeightPair* Dict() { return KsWeightMapGet(KsDictionaryMap); }
const KsWeightPair* Blind() { return KsWeightMapGet(KsCaseBlindMap); }
uchar Upper(uint c) { return c ? uchar(KsIString(Byte(c).c_str()).ToUpper()[0]) : 0; }
uchar Lower(uint c) { return c ? uchar(KsIString(Byte(c).c_str()).ToLower()[0]) : 0; }
void* Ptr(const Bytes& b) { return const_cast<uchar*>(b.data()); }

// Letters: bytes that ToUpper or ToLower changes, and the sharp s.
bool IsLetter(uint c) { return c != 0 && (Upper(c) != c || Lower(c) != c || c == 0xDF); }

// The stored image of some values, through the row's store function.
template <class T>
Bytes Image(const std::vector<T>& v, uchar flag, bool weights = false) {
    constexpr bool dict = std::is_same_v<T, KsIString>;
    auto* store = weights ? (dict ? KsIStringStoreWeights : KsCaseIStringStoreWeights)
                          : (dict ? KsIStringStore : KsCaseIStringStore);
    std::size_t room = 3;
    for (const T& s : v) room += 2u * s.Len() + 1;
    Bytes out(room);
    out.resize(store(out.data(), v.data(), flag, uint(v.size())));
    return out;
}

int gAsserts = 0;
void CountAssert(const char*, const char*, int) { ++gAsserts; }

TEST(KsIStringMapTest, PinnedEntries) {
    struct { uint c; uchar weight, second; } cases[] = {
        {0x00, 0x00, 0},    {0x3F, 0x3F, 0}, {'@', 0x40, 0},  {'A', 0x54, 0},  {'a', 0x4E, 0},
        {'_', 0x46, 0},     {0x7F, 0x4B, 0}, {0x80, 0xE0, 0}, {140, 144, 'i'}, {156, 138, 'd'},
        {159, 179, 1},      {0x9E, 0xFE, 0}, {0xA0, 0xB0, 0}, {0xBF, 0xCF, 0}, {0xC0, 0x54, 3},
        {0xDF, 0x9C, 0x9C}, {0xE9, 0x64, 2}, {0xF7, 0x4D, 0}, {0xFF, 0xB0, 1},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Dict()[c.c].weight, c.weight) << c.c;
        EXPECT_EQ(Dict()[c.c].second, c.second) << c.c;
    }
}

TEST(KsIStringMapTest, LetterOrderAndCaseBlindMap) {
    // a < A < b ...; no letter weighs between a lower case and its upper case.
    for (uint l = 'a'; l <= 'z'; ++l) {
        const uint lo = Dict()[l].weight, up = Dict()[l - 32].weight;
        EXPECT_TRUE(lo < up && (l == 'z' || up < Dict()[l + 1].weight)) << l;
        for (uint c = 0; c < 256; ++c)
            EXPECT_FALSE(IsLetter(c) && Dict()[c].weight > lo && Dict()[c].weight < up) << l << " " << c;
    }
    // Case blind: every byte weighs as its other case; bytes without case
    // keep the dictionary entry.
    for (uint c = 0; c < 256; ++c) {
        const KsWeightPair p = Blind()[c], up = Blind()[Upper(c)], low = Blind()[Lower(c)];
        const KsWeightPair same = IsLetter(c) ? p : Dict()[c];
        for (const KsWeightPair& q : {up, low, same})
            EXPECT_TRUE(p.weight == q.weight && p.second == q.second) << c;
    }
}

TEST(KsIStringTest, DictionaryOrder) {
    // Sorted: the case of an earlier letter outweighs later letters.
    const char* sorted[] = {"",  "a", "ab",     "apple", "A", "Ab", "AB",
                            "b", "B", "Banana", "y",     "Y", "z"};
    for (std::size_t i = 0; i < std::size(sorted); ++i)
        for (std::size_t j = 0; j < std::size(sorted); ++j) {
            const KsIString a(sorted[i]), b(sorted[j]);
            EXPECT_EQ(Sign(a.Compare(b)), (i > j) - (i < j)) << sorted[i] << " " << sorted[j];
            EXPECT_EQ(bool(a < b), i < j);
            EXPECT_EQ(bool(a >= b), i >= j);
        }
}

TEST(KsIStringTest, WeightedComparisons) {
    // Accents count only when side 1 folds them; sharp s and OE expand; a
    // folded expansion weighs one less; flag 0x80 holds the weights of "ab".
    struct { const char *a, *b; uchar flagsA, flagsB; int dict, blind; } cases[] = {
        {"abc", "ABC", 0, 0, -1, 0},          {"\xE9", "e", 0, 0, 0, 0},
        {"\xE9", "e", 0x20, 0, 1, 1},         {"e", "\xE9", 0, 0x20, 0, 0},
        {"\xC9", "\xE9", 0, 0, 1, 0},          {"Stra\337e", "Strasse", 0, 0, 0, 0},
        {"Stra\337e", "STRASSE", 0, 0, -1, 0}, {"\337a", "ssb", 0, 0, -1, -1},
        {"\xDF", "st", 0, 0, -1, -1},
        {"\x8C", "OE", 0, 0, 0, 0},           {"\x8C", "\x9C", 0, 0, 1, 0},
        {"\x9F", "\xFF", 0, 0, 1, 0},          {"\xDF", "ss", 0x20, 0, -1, -1},
        {"\x4E\x5A", "ab", 0x80, 0, 0, 0},     {"x", "", 0, 0, 1, 1},
    };
    for (const auto& c : cases) {
        KsIString a(c.a), b(c.b);
        a.SetFlags(c.flagsA);
        b.SetFlags(c.flagsB);
        EXPECT_EQ(Sign(a.Compare(b)), c.dict) << c.a << " " << c.b;
        KsCaseIString x(c.a), y(c.b);
        x.SetFlags(c.flagsA);
        y.SetFlags(c.flagsB);
        if (!(c.flagsA & 0x80)) { EXPECT_EQ(Sign(x.Compare(y)), c.blind) << c.a << " " << c.b; }
    }
    EXPECT_EQ(KsIString("abcX").Compare("abcY", 3), 0);
    EXPECT_LT(KsIString("abcX").Compare("abcY", 4), 0);
    EXPECT_EQ(KsIString().Compare("a"), -1);
}

TEST(KsIStringTest, Construction) {
    struct { KsIString s; const char* text; } cases[] = {
        {KsIString(short(-5)), "-5"}, {KsIString(4294967295u), "4294967295"},
        {KsIString(KsI64(-9223372036854775807LL - 1)), "-9223372036854775808"},
        {KsIString(KsU64(18446744073709551615ULL)), "18446744073709551615"},
        {KsIString(0.1), "0.10000000000000001"}, {KsIString('\0'), ""},
        {KsIString("abcdef", 3), "abc"}, {KsIString(nullptr), ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Str(c.s), c.text);
        EXPECT_EQ(bool(!c.s), c.text[0] == 0) << c.text;  // empty means no buffer
    }
    EXPECT_EQ(int(KsIString("0x10")), 16);
}

TEST(KsIStringTest, Editing) {
    typedef KsIString S;
    struct { S result; const char* expected; } cases[] = {
        {S("abcd").Cut(1, 2), "ad"},          {S("abcd").Cut(1, 65535), "a"},
        {S("abcd").Cut(4, 1), "abcd"},        {S("ab").Fill(0, 'x'), ""},
        {S("abcd").Insert("xy", 4), "abcdxy"}, {S("abcd").Insert("xy", 5), "abcd"},
        {S("abcd").Replace("xyz", 2), "abxy"}, {S("abcd").Replace("x", 4), "abcd"},
        {S("ab").Expand(4, '.'), "ab.."},     {S("abcd").Expand(3, '.'), "abcd"},
        {S("a b 0").SpaceToZero(), "a0b00"},  {S("a0b 0").ZeroToSpace(), "a b  "},
        {S("abz\xE0\xF7\xFE\x9C\x9F").ToUpper(), "ABZ\xC0\xF7\xDE\x8C\xFF"},
        {S("ABZ\xC0\xD7\xDE\x8C\xFF").ToLower(), "abz\xE0\xD7\xFE\x9C\x9F"},
        {S("abcd").Copy(3, 9), "d"},          {S("ab") + S("cd"), "abcd"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Str(c.result), c.expected);
        EXPECT_EQ(bool(!c.result), c.expected[0] == 0) << c.expected;
    }
    // Results are cut at MaxLen.
    EXPECT_EQ(S().Fill(65535, 'x').Len(), KsWeightedText::MaxLen);
}

TEST(KsIStringTest, SubStringPosUsesTheWeightMap) {
    struct { const char *text, *part; int dict, blind; } cases[] = {
        {"Hello", "ll", 2, 2},     {"Hello", "LL", -1, 2},    {"Hello", "", -1, -1},
        {"Stra\337e", "ss", 4, 4}, {"Strasse", "\xDF", 4, 4}, {"\337x", "s", -1, -1},
        {"abc", "abcd", -1, -1},   {"", "a", -1, -1},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(KsIString(c.text).SubStringPos(c.part), c.dict) << c.text << " " << c.part;
        EXPECT_EQ(KsCaseIString(c.text).SubStringPos(c.part), c.blind) << c.text << " " << c.part;
    }
}

TEST(KsIStringTest, CopiesAndFlags) {
    KsIString a("ab");
    a.SetFlags(0xA0);
    KsIString c(a);
    EXPECT_EQ(a.Copy(0, 1).Flags(), 0xA0);
    c = "x";  // the bytes are text again; the accent option stays
    EXPECT_EQ(c.Flags(), 0x20);

    const KsAssertHandler previous = KsSetAssertHandler(&CountAssert);
    gAsserts = 0;
    a[0] = 'z';
    a[2] = 'q';  // the terminator is out of reach
    a[-1] = 'q';
    EXPECT_EQ(KsIString()[0], 0);
    KsSetAssertHandler(previous);
    EXPECT_EQ(gAsserts, 3);
    EXPECT_EQ(Str(a), "zb");
}

// ---------------------------------------------------------------------------
// Stored image.
// ---------------------------------------------------------------------------
TEST(KsIStringImageTest, GoldenBytes) {
    const std::vector<KsIString> v{"ab", KsIString(), "c"};
    KsIString e("\351B\xDF");
    struct { Bytes image, expected; } cases[] = {
        {Image(v, 1), {0x40, 0x06, 0x00, 'a', 'b', 0, 0, 'c', 0}},
        {Image(v, 2), {0x40, 0x00, 0x06, 'a', 'b', 0, 0, 'c', 0}},
        {Image(v, 0x82), {0x01, 0x00, 0x06, 'a', 'b', 0, 0, 'c', 0}},
        {Image(std::vector<KsIString>{}, 2), {0x40, 0x00, 0x00}},
        {Image(std::vector<KsIString>{e}, 2, true), {0x80, 0x00, 0x05, 0x64, 0x5B, 0x9C, 0x9C, 0}},
        {Image(std::vector<KsIString>{e}, 0x21, true),
         {0xA0, 0x05, 0x00, 0x66, 0x5B, 0x9B, 0x9C, 0}},
        {Image(std::vector<KsCaseIString>{"\351B\xDF"}, 0, true),
         {0x81, 0x05, 0x00, 0x64, 0x5A, 0x9C, 0x9C, 0}},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i)
        EXPECT_EQ(cases[i].image, cases[i].expected) << i;
}

TEST(KsIStringImageTest, SizesAgreeWithTheStore) {
    const std::vector<KsIString> v{"Stra\337e", KsIString(), "\214uvre", "x"};
    const uint n = uint(v.size());
    for (uchar order : {1, 2}) {
        const Bytes text = Image(v, order), weights = Image(v, order, true);
        EXPECT_EQ(KsIStringDiskLen(v.data(), 8, order, n), text.size());
        EXPECT_EQ(KsIStringDiskLen(text.data(), 0, order, n), text.size());
        EXPECT_EQ(KsIStringWeightFormSize(v.data(), n), text.size() + 2);  // two expand
        EXPECT_EQ(KsIStringDiskLen(weights.data(), 0, order, n), weights.size());
    }
    // In-memory values asked for in the weight form: no size.
    EXPECT_EQ(KsIStringDiskLen(v.data(), 8, 0x81, n), 0u);
    EXPECT_EQ(KsCaseIStringCountSize(5), 8u);
}

template <class T>
void RoundTrip(uint (*load)(void*, const void*, uchar, uint), bool weights) {
    const std::vector<T> v{"Ab", T(), "\xDF\xE9"};
    for (uchar order : {1, 2}) {
        const Bytes image = Image(v, uchar(order | 0x20), weights);
        std::vector<T> back(3, T("old"));
        ASSERT_EQ(load(back.data(), image.data(), order, 3), image.size());
        for (std::size_t i = 0; i < v.size(); ++i) {
            EXPECT_EQ(back[i].Compare(v[i]), 0) << i;
            EXPECT_EQ(back[i].Flags(), weights ? 0xA0 : 0) << i;
            if (!weights) { EXPECT_EQ(Str(back[i]), Str(v[i])); }
        }
        // Fewer values than stored: 3 plus what they took.
        std::vector<T> one(1);
        EXPECT_EQ(load(one.data(), image.data(), order, 1), 6u);  // "Ab" and its 0
    }
}

TEST(KsIStringImageTest, StoreAndLoad) {
    for (bool weights : {false, true}) {
        RoundTrip<KsIString>(KsIStringLoad, weights);
        RoundTrip<KsCaseIString>(KsCaseIStringLoad, weights);
    }

    // The other row's weights are refused.
    const Bytes blind = Image(std::vector<KsCaseIString>{"a"}, 1, true);
    KsIString target("keep");
    EXPECT_EQ(KsIStringLoad(&target, blind.data(), 1, 1), 0u);
    EXPECT_EQ(Str(target), "keep");

    // P no longer fits 16 bits.
    std::vector<KsIString> big(2, KsIString(std::string(40000, 'x').c_str()));
    Bytes out(90000);
    EXPECT_EQ(KsIStringStore(out.data(), big.data(), 1, 2), 0u);
}

// Every cut of an image fails cleanly and leaves the targets untouched.
TEST(KsIStringImageTest, TruncatedImages) {
    const std::vector<KsIString> v{"abc", KsIString(), "\xDF"};
    for (bool weights : {false, true}) {
        const Bytes image = Image(v, 2, weights);
        for (uint len = 0; len <= image.size(); ++len) {
            const Bytes cut(image.begin(), image.begin() + len);
            std::vector<KsIString> back(3, KsIString("old"));
            const bool whole = len == image.size();
            EXPECT_EQ(KsIStringLoadBounded(back.data(), cut.data(), len, 2, 3), whole ? len : 0u) << len;
            for (const KsIString& s : back) EXPECT_EQ(Str(s), whole ? Str(s) : "old");
            EXPECT_EQ(KsIStringImageSize(cut.data(), len, 2, 3), whole ? len : 0u) << len;
            MemFile file(cut.data(), len);
            EXPECT_EQ(KsIStringDiskLenFromMemFile(&file, 2, 3), whole ? len : 0u) << len;
            EXPECT_EQ(file.Tell(), 0);
        }
    }
}

TEST(KsIStringImageTest, Translate) {
    std::vector<KsIString> v{"ab", "c"};
    Bytes disk(16, 0xEE);
    EXPECT_EQ(KsIStringTranslate(disk.data(), 2, 7, v.data(), 8, 0, 2), 0u);  // needs 8
    EXPECT_EQ(KsIStringTranslate(disk.data(), 2, 8, v.data(), 8, 0, 2), 8u);
    std::vector<KsIString> back(2);
    EXPECT_EQ(KsIStringTranslate(back.data(), 8, 0, disk.data(), 2, 7, 2), 0u);
    EXPECT_EQ(KsIStringTranslate(back.data(), 8, 0, disk.data(), 2, 8, 2), 8u);
    EXPECT_EQ(Str(back[0]) + Str(back[1]), "abc");
    Bytes copy(10, 0xEE);  // stored to stored: zero-padded
    EXPECT_EQ(KsIStringTranslate(copy.data(), 2, 10, disk.data(), 2, 8, 2), 8u);
    EXPECT_EQ(copy, (Bytes{0x40, 0, 5, 'a', 'b', 0, 'c', 0, 0, 0}));
}

// ---------------------------------------------------------------------------
// Comparator.
// ---------------------------------------------------------------------------

// The member comparison, the comparator in memory, over text images and
// over weight images agree for every pair of one-byte texts, with and
// without folded accents.
TEST(KsIStringCompareTest, AllFormsAgreeOverAllBytePairs) {
    for (uchar fold : {0, 0x20}) {
        std::vector<KsIString> dict(256);
        std::vector<KsCaseIString> blind(256);
        std::vector<Bytes> text(256), weights(256), blindWeights(256);
        for (uint c = 0; c < 256; ++c) {
            (dict[c] = Byte(c).c_str()).SetFlags(fold);
            (blind[c] = Byte(c).c_str()).SetFlags(fold);
            text[c] = Image(std::vector<KsIString>{dict[c]}, 1);
            weights[c] = Image(std::vector<KsIString>{dict[c]}, uchar(1 | fold), true);
            blindWeights[c] = Image(std::vector<KsCaseIString>{blind[c]}, uchar(1 | fold), true);
        }
        for (uint a = 0; a < 256; ++a)
            for (uint b = 0; b < 256; ++b) {
                int status = -1;
                const int d = Sign(dict[a].Compare(dict[b]));
                ASSERT_EQ(KsIStringCompare(8, 0, &dict[a], 0, &dict[b], 0, 1, status), d) << a << " " << b;
                ASSERT_EQ(KsIStringCompare(1, 0, Ptr(weights[a]), 0, Ptr(weights[b]), 0, 1, status), d);
                // Weights against text: side 1's fold reaches side 2's mapping.
                ASSERT_EQ(KsIStringCompare(1, 0, Ptr(weights[a]), 0, Ptr(text[b]), 0, 1, status), d);
                if (!fold) { ASSERT_EQ(KsIStringCompare(1, 0, Ptr(text[a]), 0, Ptr(text[b]), 0, 1, status), d); }
                ASSERT_EQ(KsCaseIStringCompare(1, 0, Ptr(blindWeights[a]), 0, Ptr(blindWeights[b]), 0, 1, status),
                          Sign(blind[a].Compare(blind[b])));
                ASSERT_EQ(status, 0);
            }
    }
}

// Seeded texts over letters with expansions: weight images order as texts.
TEST(KsIStringCompareTest, WeightImagesOrderAsTexts) {
    const char alphabet[] = "aAeEoOsSz\xDF\x8C\x9C\xE9\xC9\x9F\xFF";
    std::mt19937 rng(20);
    for (int i = 0; i < 20000; ++i) {
        std::vector<KsIString> x(1), y(1);
        for (KsIString* t : {&x[0], &y[0]})
            for (uint k = rng() % 6; k--;) *t += KsIString(alphabet[rng() % (sizeof alphabet - 1)]);
        int status;
        ASSERT_EQ(KsIStringCompare(2, 0, Ptr(Image(x, 2, true)), 0, Ptr(Image(y, 2, true)), 0, 1, status),
                  Sign(x[0].Compare(y[0]))) << Str(x[0]) << " " << Str(y[0]);
    }
}

TEST(KsIStringCompareTest, StatusesOfStoredOperands) {
    auto img = [](std::vector<KsIString> v) { return Image(v, 2); };
    struct { const char* name; Bytes a; uint lenA; Bytes b; uint lenB, count; int result, status; } cases[] = {
        {"second decides", img({"ab", "c"}), 0, img({"ab", "d"}), 0, 2, -1, 0},
        {"header short", img({"a"}), 2, img({"a"}), 0, 1, 0, 2101},
        {"cut shorter, decided", img({"abx"}), 6, img({"abcdef"}), 0, 1, 1, 2101},
        {"cut longer", img({"abcdefg"}), 10, img({"abc"}), 0, 1, 1, 0},
        {"cut equal length", img({"abc"}), 6, img({"abc"}), 0, 1, 0, 2101},
        {"second cut prefix", img({"abc"}), 0, img({"ab"}), 5, 1, 0, 2101},
        {"element missing", img({"a"}), 0, img({"a", "b"}), 0, 2, 0, 2101},
        {"bound ends at element", img({"a", "b"}), 5, img({"a", "b"}), 0, 2, 0, 2101},
        {"other row's weights", Image(std::vector<KsCaseIString>{"a"}, 2, true), 0, img({"a"}), 0,
         1, -1, -2999},
    };
    for (auto& c : cases) {
        int status = -1;
        EXPECT_EQ(KsIStringCompare(2, c.lenA, c.a.data(), c.lenB, c.b.data(), 0, c.count, status), c.result) << c.name;
        EXPECT_EQ(status, c.status) << c.name;
    }
}

TEST(KsIStringCompareTest, InMemoryArrays) {
    KsCaseIString a[2] = {"ABC", "x"}, b[2] = {"abc", "x"}, c[2] = {KsCaseIString(), "x"};
    int status;
    EXPECT_EQ(KsCaseIStringCompare(8, 0, c, 0, b, 0, 2, status), -1);  // no text first
    EXPECT_EQ(KsCaseIStringCompare(8, sizeof(KsCaseIString), a, 0, b, 0, 2, status), 0);
    EXPECT_EQ(status, 2101);
}

// ---------------------------------------------------------------------------
// Slot functions.
// ---------------------------------------------------------------------------
TEST(KsIStringSlotTest, LifeCycleAndText) {
    void* values = KsCaseIStringCreate(3);
    auto* cv = static_cast<KsCaseIString*>(values);
    KsCaseIString src[3] = {"a", "b", "c"};
    KsCaseIStringAssign(cv, src + 2, 3, 1);
    EXPECT_EQ(Str(cv[0]) + Str(cv[1]) + Str(cv[2]), "ccc");
    EXPECT_EQ(KsCaseIStringDelete(values, 3), nullptr);

    alignas(KsIString) unsigned char raw[2 * sizeof(KsIString)];
    KsIString s("q");
    KsIStringCopy(raw, &s, 2, 1);
    auto* r = reinterpret_cast<KsIString*>(raw);
    EXPECT_EQ(Str(r[0]) + Str(r[1]), "qq");
    KsIStringDestruct(raw, 2, 0);
    void* d = KsIStringDefaultValue(2, 0);
    EXPECT_EQ(KsIStringIsNull(d), 1);
    KsIStringDelete(d, 2);
    EXPECT_EQ(KsIStringGetValue(&s, 0, 8, 'N'), -2999);

    KsIString v[2] = {"a b", KsIString()};
    KsTypeConvertData* text = KsIStringConvertToKsString(v, 2);
    ASSERT_NE(text, nullptr);
    text->GetString(1)->SetNullValue();
    auto* back = static_cast<KsIString*>(KsIStringConvertFromKsString(text, 3));
    EXPECT_EQ(Str(back[0]), "a b");
    EXPECT_TRUE(!back[1]);  // null string
    EXPECT_TRUE(!back[2]);  // missing string
    KsIStringDelete(back, 3);
    delete[] static_cast<KsString*>(text->data);
    delete text;

    KsString out("old");
    KsIStringPrintToKsString(out, v, "[%s]", 2);
    EXPECT_EQ(Str(out), "[a b],[]");
    KsString in("  x y ");
    KsCaseIString word;
    KsCaseIStringScanFromKsString(&word, in, "%2s", 1);
    EXPECT_EQ(Str(word), "x");
    EXPECT_EQ(KsIStringScanFromKsString(nullptr, in, "%s", 1), nullptr);
}

}  // namespace
