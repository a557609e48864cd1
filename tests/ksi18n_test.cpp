// Code sets against ICU itself, bulk conversion, the context defaults,
// Unicode properties, KsChar and KsStringIterator.
#include "ksi18n.h"

#include <gtest/gtest.h>
#include <unicode/ucnv.h>

#include <bit>
#include <cstring>
#include <numeric>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

namespace {

// One ICU converter that stops (-1) on undefined bytes and unmappable characters.
struct IcuConverter {
    UErrorCode err = U_ZERO_ERROR;
    UConverter* cnv;
    explicit IcuConverter(const char* name) : cnv(ucnv_open(name, &err))
    {
        EXPECT_EQ(err, U_ZERO_ERROR) << name;  // no fallback, no ambiguous alias
        ucnv_setToUCallBack(cnv, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &err);
        ucnv_setFromUCallBack(cnv, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &err);
    }
    ~IcuConverter() { ucnv_close(cnv); }
    int ToU(uint b)
    {
        const char in = char(b);
        UChar out[4];
        return ucnv_toUChars(cnv, out, 4, &in, 1, &(err = U_ZERO_ERROR)) == 1 && U_SUCCESS(err) ? out[0] : -1;
    }
    int FromU(UChar in)
    {
        char out[4];
        return ucnv_fromUChars(cnv, out, 4, &in, 1, &(err = U_ZERO_ERROR)) == 1 && U_SUCCESS(err) ? uchar(out[0]) : -1;
    }
};

std::vector<const KsCodeSet*> EightBitSets()
{
    std::vector<const KsCodeSet*> sets;
    for (const KsCodeSet* const* cs = KsLanguageContext::CodeSets(); *cs; ++cs)
        if (!(*cs)->IsWide())
            sets.push_back(*cs);
    return sets;
}

// Where the tables deliberately differ from ICU: ICU's PC code pages swap
// three controls, which the ASCII promise for ids up to 26 overrides.
bool IsAsciiOverride(uchar id, uint byteOrUnicode)
{
    return (id == 25 || id == 26) &&
           (byteOrUnicode == 0x1A || byteOrUnicode == 0x1C || byteOrUnicode == 0x7F);
}

class KsI18nTest : public ::testing::Test {
protected:
    void TearDown() override { KsLanguageContext::Reset(); }
};

// ---------------------------------------------------------------------------
// Code sets
// ---------------------------------------------------------------------------
using KsI18nCodeSetTest = KsI18nTest;

TEST_F(KsI18nCodeSetTest, EveryByteAndUnicodeValueMapsAsIcuDoes)
{
    ASSERT_EQ(EightBitSets().size(), 28u);
    const KsCodeSet& uni = *KsLanguageContext::QueryCodeSet(KS_CS_UNICODE);
    for (const KsCodeSet* cs : EightBitSets()) {
        SCOPED_TRACE(cs->Name());
        IcuConverter icu(cs->IcuName());
        ASSERT_NE(cs->ToUnicodeTable(), nullptr);
        for (uint b = 0; b < 256; ++b) {
            const int fromIcu = icu.ToU(b);
            const ushort expected = IsAsciiOverride(cs->Id(), b) ? ushort(b) : fromIcu < 0 ? 0xFFFD : ushort(fromIcu);
            ASSERT_EQ(cs->ToUnicode(ushort(b)), expected) << "byte " << b;
            ASSERT_EQ(cs->ToUnicodeTable()[b], expected);
            // A byte's properties are those of its Unicode value.
            KsUnicodeProps got{}, want{};
            ASSERT_EQ(cs->GetUnicodeProps(ushort(b), got), 0);
            if (expected != 0xFFFD) {
                uni.GetUnicodeProps(expected, want);
                ASSERT_EQ(std::memcmp(&got, &want, sizeof got), 0) << "properties of byte " << b;
            }
        }
        EXPECT_EQ(cs->ToUnicode(0x100), 0xFFFD);
        for (uint u = 0; u < 0x10000; ++u) {
            const int expected = IsAsciiOverride(cs->Id(), u) ? int(u) : icu.FromU(ushort(u));
            ASSERT_EQ(cs->FromUnicode(ushort(u)), expected) << "U+" << std::hex << u;
            ASSERT_EQ(cs->FromUnicodeOrSub(ushort(u)), expected < 0 ? 0x1A : expected);
        }
    }
}

TEST_F(KsI18nCodeSetTest, RegistryAndSixteenBitSets)
{
    for (uchar id : {14, 16, 29, 253})
        EXPECT_EQ(KsLanguageContext::QueryCodeSet(id)->Id(), id);
    for (uchar id : {15, 30, 225, 254})  // gaps, and 16-bit ids other than 253 are not registered
        EXPECT_EQ(KsLanguageContext::QueryCodeSet(id), nullptr) << int(id);

    const KsCodeSet& uni = *KsLanguageContext::QueryCodeSet(KS_CS_UNICODE);
    EXPECT_EQ(uni.ToUnicodeTable(), nullptr);
    EXPECT_EQ(std::vector<int>({uni.ToUnicode(0xD800), uni.FromUnicode(0x20AC), uni.Substitute()}),
              std::vector<int>({0xD800, 0x20AC, 0xFFFD}));
    for (uchar id : {225, 254, 255})
        EXPECT_EQ(&KsCodeSet::ForText(id), &uni);
    EXPECT_EQ(&KsCodeSet::ForText(15), KsLanguageContext::QueryCodeSet(1));
}

// ---------------------------------------------------------------------------
// Bulk conversion
// ---------------------------------------------------------------------------
using KsI18nConvertTest = KsI18nTest;

TEST_F(KsI18nConvertTest, SingleCharactersAcrossCodeSets)
{
    // Unmappable characters become 0x1A, undefined bytes U+FFFD; id 0 and
    // unassigned 8-bit ids are native (ISO-8859-1); every 16-bit id holds Unicode.
    // Assigning a KsChar maps the same way, keeping the target's code set and language.
    const struct { uchar srcCs; ushort src; uchar dstCs; ushort dst; } cases[] = {
        {1, 0xE9, 16, 0xE9},  {1, 0xE9, 26, 0x82},    {18, 0x80, 14, 0xA4},   {18, 0x80, 1, 0x1A},
        {18, 0x80, 253, 0x20AC}, {253, 0x20AC, 18, 0x80}, {253, 0x4E00, 1, 0x1A}, {3, 0xA5, 253, 0xFFFD},
        {3, 0xA5, 1, 0x1A},   {27, 0xC1, 17, 0xE0},   {29, 0xC1, 1, 0x41},    {1, 0x41, 29, 0xC1},
        {0, 0xE9, 253, 0x00E9}, {100, 0xE9, 26, 0x82}, {225, 0x20AC, 253, 0x20AC}, {254, 0x0160, 16, 0x8A},
        {3, 0xA5, 3, 0xA5},  // an undefined byte stays within its code set
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << int(c.srcCs) << " -> " << int(c.dstCs));
        uchar src[2] = {uchar(c.src), 0}, dst[2] = {0xEE, 0xEE};
        if (KsCodeSetIsWide(c.srcCs)) std::memcpy(src, &c.src, 2);
        ASSERT_EQ(KsConvertText(dst, c.dstCs, src, c.srcCs, 1), 1u);
        ushort got = dst[0];
        if (KsCodeSetIsWide(c.dstCs)) std::memcpy(&got, dst, 2); else { EXPECT_EQ(dst[1], 0xEE); }
        EXPECT_EQ(got, c.dst);
        KsChar ch(ushort(0x7777), c.dstCs, 9);
        ch = KsChar(c.src, c.srcCs, 3);
        EXPECT_EQ(std::vector<uint>({ch.Code(), ch.CodeSet(), ch.Language()}), std::vector<uint>({c.dst, c.dstCs, 9}));
    }
    KsChar outside(ushort(0), 2, 0);
    outside = KsChar(ushort(0x141), 1, 0);  // not a byte of an 8-bit set: substitute
    EXPECT_EQ(outside.Code(), 0x1A);
}

TEST_F(KsI18nConvertTest, StopsAtZeroAndAtCount)
{
    const uchar text[] = {'a', 'b', 0, 'c'};
    const ushort wide[] = {'a', 'b', 0, 'c'};
    const struct { uchar dstCs; const void* src; uchar srcCs; uint n, written; } cases[] = {
        {1, text, 1, 4, 2}, {16, text, 1, 4, 2}, {253, text, 1, 4, 2}, {1, wide, 253, 4, 2},
        {253, wide, 253, 4, 2}, {1, text, 1, 1, 1}, {253, wide, 253, 1, 1}, {16, text, 1, 0, 0},
    };
    for (const auto& c : cases) {
        uchar dst[8];
        std::memset(dst, 0xEE, sizeof dst);
        EXPECT_EQ(KsConvertText(dst, c.dstCs, c.src, c.srcCs, c.n), c.written);
        EXPECT_EQ(dst[c.written * KsCodeSetWidth(c.dstCs)], 0xEE) << "wrote past the characters";
    }
    uchar dst[4];
    EXPECT_EQ(KsConvertText(nullptr, 1, text, 1, 4), 0u);
    EXPECT_EQ(KsConvertText(dst, 1, nullptr, 1, 4), 0u);
}

TEST_F(KsI18nConvertTest, UnalignedSixteenBitText)
{
    alignas(2) uchar src[16] = {}, dst[16] = {};
    const ushort in[] = {0x00E9, 0x20AC, 0x0160};
    std::memcpy(src + 1, in, sizeof in);
    ASSERT_EQ(KsConvertText(dst + 1, 16, src + 1, 253, 3), 3u);
    EXPECT_EQ(std::memcmp(dst + 1, "\xE9\x80\x8A", 3), 0);
    ASSERT_EQ(KsConvertText(dst + 3, 253, src + 1, 225, 3), 3u);
    EXPECT_EQ(std::memcmp(dst + 3, in, sizeof in), 0);
}

// The bulk paths (composed tables, 8->16, 16->8) agree with the per
// character mapping for every pair of code sets and every character.
TEST_F(KsI18nConvertTest, BulkPathsAgreeWithPerCharacterMapping)
{
    const std::vector<const KsCodeSet*> sets = EightBitSets();
    std::vector<uchar> bytes(255);
    std::iota(bytes.begin(), bytes.end(), uchar(1));
    uchar out[255];
    ushort wide[255];
    std::vector<ushort> units(0xFFFF);
    std::iota(units.begin(), units.end(), ushort(1));
    std::vector<uchar> narrow(units.size());

    for (const KsCodeSet* s : sets) {
        for (const KsCodeSet* d : sets) {
            ASSERT_EQ(KsConvertText(out, d->Id(), bytes.data(), s->Id(), 255), 255u);
            // Within one code set bytes are copied, undefined ones included.
            for (uint i = 0; i < 255; ++i)
                ASSERT_EQ(out[i], s == d ? bytes[i] : d->FromUnicodeOrSub(s->ToUnicode(bytes[i])))
                    << s->Name() << " -> " << d->Name() << " byte " << i + 1;
        }
        ASSERT_EQ(KsConvertText(wide, KS_CS_UNICODE, bytes.data(), s->Id(), 255), 255u);
        for (uint i = 0; i < 255; ++i)
            ASSERT_EQ(wide[i], s->ToUnicode(bytes[i]));
        ASSERT_EQ(KsConvertText(narrow.data(), s->Id(), units.data(), KS_CS_UNICODE, 0xFFFF), 0xFFFFu);
        for (std::size_t i = 0; i < units.size(); ++i)
            ASSERT_EQ(narrow[i], s->FromUnicodeOrSub(units[i])) << s->Name();
    }
}

// ctest runs each test in a process of its own, so there the lazily built
// tables (conversion and property pages) are first built here, by racing threads.
TEST_F(KsI18nConvertTest, TablesAreSafeOnFirstUseFromSeveralThreads)
{
    std::vector<uchar> bytes(255);
    std::iota(bytes.begin(), bytes.end(), uchar(1));
    std::vector<std::vector<ushort>> results(8);
    std::vector<std::thread> threads;
    for (std::vector<ushort>& res : results)
        threads.emplace_back([&bytes, r = &res] {
            uchar out[255];
            KsUnicodeProps p;
            for (uchar s : {11, 21, 28, 29}) {
                for (uchar d : {11, 21, 28, 29}) {
                    r->push_back(ushort(KsConvertText(out, d, bytes.data(), s, 255)));
                    r->insert(r->end(), out, out + 255);
                }
                r->push_back((KsLanguageContext::QueryCodeSet(s)->GetUnicodeProps(0xC0, p), p.lower));
            }
            for (uint u = 0x0E00; u < 0x1000; ++u)
                r->push_back((KsLanguageContext::QueryCodeSet(KS_CS_UNICODE)->GetUnicodeProps(ushort(u), p), p.flags));
        });
    for (std::thread& th : threads)
        th.join();
    for (std::size_t t = 1; t < results.size(); ++t)
        EXPECT_EQ(results[t], results[0]) << "thread " << t;
}

// ---------------------------------------------------------------------------
// Context
// ---------------------------------------------------------------------------
using KsI18nContextTest = KsI18nTest;

TEST_F(KsI18nContextTest, DefaultsSetAndReset)
{
    typedef KsLanguageContext C;
    auto current = [] {
        return std::vector<uint>({C::GetDefaultCodeSet(), C::GetDefault8CodeSet(), C::GetDefault16CodeSet(),
                                  C::GetDefaultLanguage(), C::GetDefaultCmpOp(), C::QueryCodeSet(0)->Id()});
    };
    auto changeAll = [] {
        C::SetDefaultCodeSet(16), C::SetDefault8CodeSet(18), C::SetDefault16CodeSet(225);
        C::SetDefaultLanguage(2), C::SetDefaultCmpOp(0x4321), C::SetNativeCodeSet(26);
    };
    const std::vector<uint> defaults = {0, 0, 253, 0, 0x110, 1};
    EXPECT_EQ(current(), defaults);
    changeAll();
    EXPECT_EQ(current(), std::vector<uint>({16, 18, 225, 2, 0x4321, 26}));
    EXPECT_EQ(___KsI18NContext(0), 0);  // stopping keeps the settings
    EXPECT_EQ(C::GetNativeCodeSet(), 26);
    C::Reset();
    EXPECT_EQ(current(), defaults);
    changeAll();
    EXPECT_EQ(___KsI18NContext(1), 0);
    EXPECT_EQ(current(), defaults);
}

TEST_F(KsI18nContextTest, NativeCodeSetIsAnAssignedEightBitSetAndServesIdZero)
{
    for (uchar refused : {0, 15, 200, 253})
        EXPECT_EQ((KsLanguageContext::SetNativeCodeSet(refused), KsLanguageContext::GetNativeCodeSet()), 1) << int(refused);
    KsLanguageContext::SetNativeCodeSet(18);
    EXPECT_EQ(KsLanguageContext::GetNativeCodeSet(), 18);
    const uchar euro = 0x80;
    ushort wide[2];
    for (uchar id : {0, 1})
        ASSERT_EQ(KsConvertText(wide + id, KS_CS_UNICODE, &euro, id, 1), 1u);
    EXPECT_EQ(std::vector<ushort>(wide, wide + 2), std::vector<ushort>({0x20AC, 0x0080}));
}

TEST_F(KsI18nContextTest, Languages)
{
    const struct { uchar id; std::string name, locale; bool ideographic; } cases[] = {
        {0, "Neutral", "root", false}, {2, "German", "de", false}, {8, "Norwegian", "no", false},
        {20, "Chinese", "zh", true}};
    for (const auto& c : cases) {
        const KsLanguage* l = KsLanguageContext::QueryLanguage(c.id);
        ASSERT_NE(l, nullptr) << int(c.id);
        EXPECT_EQ(std::make_tuple(std::string(l->Name()), std::string(l->Locale()), l->IsIdeographic()),
                  std::make_tuple(c.name, c.locale, c.ideographic));
    }
    for (int id : {19, 23, 0x81, 255, int(KS_LANG_NULLMARK)})  // gaps, and the null mark which is known
        EXPECT_EQ(KsLanguageContext::QueryLanguage(uchar(id)) != nullptr, id == KS_LANG_NULLMARK) << id;
    std::set<uint> ids;
    for (const KsLanguage* const* l = KsLanguageContext::Languages(); *l; ++l)
        EXPECT_TRUE(ids.insert((*l)->Id()).second);
    EXPECT_EQ(ids.size(), 23u);
}

// ---------------------------------------------------------------------------
// Unicode properties
// ---------------------------------------------------------------------------
using KsI18nPropsTest = KsI18nTest;

TEST_F(KsI18nPropsTest, Samples)
{
    constexpr uchar U = KS_UP_UPPER, L = KS_UP_LOWER, A = KS_UP_ALPHA, D = KS_UP_DIGIT,
                    S = KS_UP_SPACE, P = KS_UP_PUNCT, I = KS_UP_IDEO, Def = KS_UP_DEFINED;
    const struct { uchar cs; ushort ch, unicode, upper, lower, base, mark; uchar flags; } cases[] = {
        {1, 0xC0, 0x00C0, 0x00C0, 0x00E0, 'A', 0x0300, Def | A | U},         // À
        {1, 0xDF, 0x00DF, 0x00DF, 0x00DF, 0x00DF, 0, Def | A | L},            // ß
        {1, '7', '7', '7', '7', '7', 0, Def | D},
        {1, 0xA0, 0xA0, 0xA0, 0xA0, 0xA0, 0, Def | S},                        // no-break space
        {1, 0xAD, 0xAD, 0xAD, 0xAD, 0xAD, 0, Def},                            // soft hyphen: format, not space
        {1, '$', '$', '$', '$', '$', 0, Def | P},
        {16, 0x8A, 0x0160, 0x0160, 0x0161, 'S', 0x030C, Def | A | U},         // Š in Windows-1250
        {29, 0x81, 'a', 'A', 'a', 'a', 0, Def | A | L},                       // EBCDIC a
        {3, 0xA5, 0xFFFD, 0xFFFD, 0xFFFD, 0xFFFD, 0, 0},                      // undefined byte
        {253, 0x1EA6, 0x1EA6, 0x1EA6, 0x1EA7, 'A', 0x0302, Def | A | U},      // Ầ: full decomposition
        {253, 0x4E00, 0x4E00, 0x4E00, 0x4E00, 0x4E00, 0, Def | A | I},
        {253, 0xAC00, 0xAC00, 0xAC00, 0xAC00, 0x1100, 0, Def | A},            // Hangul: jamo are no marks
        {253, 0x0378, 0x0378, 0x0378, 0x0378, 0x0378, 0, 0},                  // unassigned
    };
    for (const auto& c : cases) {
        KsUnicodeProps p{};
        ASSERT_EQ(KsLanguageContext::QueryCodeSet(c.cs)->GetUnicodeProps(c.ch, p), 0);
        EXPECT_EQ(std::vector<uint>({p.unicode, p.upper, p.lower, p.base, p.mark, p.flags}),
                  std::vector<uint>({c.unicode, c.upper, c.lower, c.base, c.mark, c.flags}))
            << "code set " << int(c.cs) << " char " << std::hex << c.ch;
    }
    KsUnicodeProps p{};
    EXPECT_EQ(KsLanguageContext::QueryCodeSet(1)->GetUnicodeProps(0x100, p), KS_INVALID_ARGUMENT);
}

// ---------------------------------------------------------------------------
// KsChar and KsStringIterator
// ---------------------------------------------------------------------------
using KsI18nCharTest = KsI18nTest;

TEST_F(KsI18nCharTest, ReferencesReadAndWriteTheirSlot)
{
    uchar wide[6] = {};
    KsChar high(wide + 1, 253, 0, 2), machine(wide + 3, 253, 0, 8);  // unaligned slots
    high = KsChar(ushort(0x80), 18, 0);
    machine = high;  // reads through one reference, writes through the other
    const ushort euro = 0x20AC;
    EXPECT_EQ(std::memcmp(wide, "\0\x20\xAC", 3), 0);  // high byte first
    EXPECT_EQ(std::memcmp(wide + 3, &euro, 2), 0);     // machine order
    EXPECT_EQ(wide[5], 0);
}

TEST_F(KsI18nCharTest, IsSpace)
{
    const struct { ushort code; uchar cs; int space; } cases[] = {
        {0, 1, 1}, {'\n', 1, 1}, {0x85, 1, 1}, {'a', 1, 0}, {0xA0, 18, 1}, {0x3000, 253, 1}, {0x4E00, 253, 0}, {0x40, 29, 1}};
    for (const auto& c : cases)
        EXPECT_EQ(KsChar(c.code, c.cs, 0).IsSpace(), c.space) << std::hex << c.code << " in " << std::dec << int(c.cs);
}

using KsI18nIteratorTest = KsI18nTest;

TEST_F(KsI18nIteratorTest, WalksEightBitText)
{
    const char text[] = "ab";
    KsStringIterator it(text, 1, 2);
    EXPECT_EQ(it.GetNextChar(), 'a');
    EXPECT_EQ(it.Current(), 'b');
    EXPECT_EQ(it.Ref().Language(), 2);
    it.Next();
    EXPECT_TRUE(it.AtEnd());
    it.Next();  // stays at the end
    EXPECT_EQ(it.GetNextChar(), 0);
    EXPECT_EQ(it.Position(), 2u);
    EXPECT_EQ(it.Pointer(), text + 2);

    KsStringIterator none(nullptr, 253, 0);
    EXPECT_EQ(none.GetNextChar(), 0);
    KsChar slot = none.Ref();
    slot = KsChar(ushort('q'), 1, 0);  // nothing to write into; must not crash
}

TEST_F(KsI18nIteratorTest, SixteenBitTextInBothByteOrders)
{
    const uchar text[] = {0x12, 0x34, 0x00, 0x41, 0x00, 0x00};
    const bool little = std::endian::native == std::endian::little;
    const ushort first = little ? 0x3412 : 0x1234, second = little ? 0x4100 : 0x0041;
    const struct { uchar format; ushort a, b; } cases[] = {
        {2, 0x1234, 0x0041}, {0x82, 0x1234, 0x0041}, {8, first, second}, {1, first, second}, {0, first, second}};
    for (const auto& c : cases) {
        KsStringIterator it(text, 253, 0, c.format);
        EXPECT_EQ(it.GetNextChar(), c.a) << int(c.format);
        EXPECT_EQ(it.Ref().Code(), c.b) << int(c.format);
        EXPECT_EQ(it.GetNextChar(), c.b);
        EXPECT_TRUE(it.AtEnd());
        EXPECT_EQ(it.Pointer(), text + 4);
    }
    KsStringIterator bytes(text, 1, 0, 2);  // 8-bit text ignores the format
    EXPECT_EQ(bytes.GetNextChar(), 0x12);
}

// The conversion walk of a string: source and target iterators, each
// character assigned through the target's Ref.
TEST_F(KsI18nIteratorTest, CopiesBetweenCodeSetsThroughRefs)
{
    const ushort src[] = {0x0160, 'k', 0x00F6, 0x20AC, 0};
    uchar dst[5] = {};
    KsStringIterator from(src, 253, 0), to(dst, 16, 0);
    for (; !from.AtEnd(); from.Next(), to.Next()) {
        KsChar slot = to.Ref();  // a copy: refers to the same slot
        slot = from.Ref();       // an assignment: maps and writes
    }
    EXPECT_EQ(to.Position(), 4u);
    EXPECT_EQ(std::memcmp(dst, "\x8A" "k\xF6\x80", 5), 0);
}

}  // namespace
