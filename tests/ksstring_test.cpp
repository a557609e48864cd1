// KsString: states, construction, code-set changes, EditText and overflow.
#include "ksstring.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "ksbase.h"
#include "ksi18n.h"

namespace {

// The buffer as bytes, terminator included; "<none>" without a buffer.
std::string Bytes(const KsString& s)
{
    return s.Text() ? std::string(s.Text(), s.Size()) : std::string("<none>");
}

std::string B(const char* text) { return std::string(text, std::strlen(text) + 1); }

// Machine-order 16-bit text as bytes, terminator included.
std::string U(std::initializer_list<ushort> units)
{
    std::string out;
    for (ushort u : units)
        out.append(reinterpret_cast<const char*>(&u), 2);
    return out.append(2, '\0');
}

KsString Make(uchar cs, const char* text, uchar language = 0)
{
    KsString s(cs, language);
    s.EditText(text, cs, 0, 0, ushort(std::strlen(text)), 1, KsString::EditAssignAt);
    return s;
}

KsString Make16(std::initializer_list<ushort> units)
{
    std::vector<ushort> v(units);
    KsString s(KS_CS_UNICODE, 0);
    s.EditText(v.data(), KS_CS_UNICODE, 0, 0, ushort(v.size()), 1, KsString::EditAssignAt);
    return s;
}

struct Assertion {
    std::string expression, source;
    int line;
};
std::vector<Assertion> g_assertions;
void Capture(const char* e, const char* s, int l) { g_assertions.push_back({e, s, l}); }

class KsStringTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        KsLanguageContext::Reset();
        g_assertions.clear();
        previous_ = KsSetAssertHandler(Capture);
    }
    void TearDown() override
    {
        KsSetAssertHandler(previous_);
        DefaultConfig().SetInt("debug", "stringOverflow", 0);
        KsLanguageContext::Reset();
    }
    KsAssertHandler previous_ = nullptr;
};

TEST_F(KsStringTest, NullAndEmpty)
{
    KsString nulled = Make(1, "abc", 7);
    EXPECT_EQ(nulled.SetNullValue(), 0);
    struct Case {
        const char* label;
        KsString s;
        int empty, null;
    } cases[] = {
        {"default", KsString(), 1, 0},
        {"text", Make(1, "abc"), 0, 0},
        {"terminator only", Make(253, ""), 1, 0},
        {"SetNullValue", nulled, 1, 1},
        {"language 254", KsString(1, 254), 1, 1},
        {"code set 254, language 0", KsString(254, 0), 1, 1},
        {"code set 254, language 1", KsString(254, 1), 1, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(c.s.IsEmpty(), c.empty);
        EXPECT_EQ(c.s.IsNullValue(), c.null);
    }
    EXPECT_EQ(Bytes(nulled), "<none>");
    EXPECT_EQ(nulled.CodeSet(), 0);
    EXPECT_EQ(nulled.Language(), 254);
    EXPECT_STREQ(KsString().StrGet(), "");
}

TEST_F(KsStringTest, ConstructorForms)
{
    const char raw[3] = {'x', 'y', 'z'};  // no terminator: n must bound the scan
    const ushort wide[] = {'a', 0x263A, 'b', 0};
    struct Case {
        const char* label;
        KsString s;
        std::string bytes;
        uchar cs;
    } cases[] = {
        {"null text", KsString(static_cast<const char*>(nullptr)), "<none>", 0},
        {"empty text", KsString(""), "<none>", 0},
        {"n 0", KsString("abc", 0), "<none>", 0},
        {"n 3 of abcdef", KsString("abcdef", 3), B("abc"), 0},
        {"n beyond terminator", KsString("ab", 10), B("ab"), 0},
        {"n on unterminated", KsString(raw, 3), B("xyz"), 0},
        {"char 0", KsString('\0'), "<none>", 0},
        {"uchar e9", KsString(static_cast<unsigned char>(0xE9)), B("\xE9"), 0},
        {"short min", KsString(static_cast<short>(SHRT_MIN)), B("-32768"), 0},
        {"unsigned max", KsString(4294967295u), B("-1"), 0},
        {"i64 min", KsString(static_cast<KsI64>(LLONG_MIN)), B("-9223372036854775808"), 0},
        {"u64 max", KsString(static_cast<KsU64>(ULLONG_MAX)), B("18446744073709551615"), 0},
        {"double 0.1", KsString(0.1), B("0.10000000000000001"), 0},
        {"16-bit char", KsString(static_cast<unsigned short>(0x263A)), U({0x263A}), 253},
        {"16-bit text", KsString(wide), U({'a', 0x263A, 'b'}), 253},
        {"16-bit n 2", KsString(wide, 2), U({'a', 0x263A}), 253},
        {"16-bit empty", KsString(wide + 3), "<none>", 253},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(Bytes(c.s), c.bytes);
        EXPECT_EQ(c.s.CodeSet(), c.cs);
    }
}

TEST_F(KsStringTest, CopyAssignAndMove)
{
    // Copies are byte-identical, characters after an inner zero included.
    KsString gap(240, 5);
    gap.EditText(U({'x'}).data(), 240, 2, 0, 1, 1, KsString::EditAssignAt);
    KsString assigned = Make(1, "old");
    assigned = gap;
    EXPECT_EQ(Bytes(assigned), std::string("\0\0\0\0x\0\0\0", 8));
    EXPECT_NE(assigned.Text(), gap.Text());
    EXPECT_EQ(assigned.CodeSet(), 240);
    EXPECT_EQ(assigned.Language(), 5);

    // An empty text is still copied (a bare terminator); a null one is not.
    assigned = "";
    EXPECT_EQ(assigned.Size(), 1);
    EXPECT_EQ(assigned.CodeSet(), 0);
    assigned = static_cast<const char*>(nullptr);
    EXPECT_EQ(assigned.Text(), nullptr);

    // Destruct moves the buffer; the source keeps its labels.
    KsString m(1, 2);
    const char* moved = gap.Text();
    m.Destruct(gap);
    EXPECT_EQ(m.Text(), moved);
    EXPECT_EQ(m.CodeSet(), 240);
    EXPECT_EQ(gap.Text(), nullptr);
    EXPECT_EQ(gap.CodeSet(), 240);
    m.Destruct(m);
    EXPECT_EQ(m.Text(), moved);
}

TEST_F(KsStringTest, RelabelConvertAndMap)
{
    using Op = std::function<int(KsString&)>;
    auto relabel = [](uchar cs) { return Op([cs](KsString& s) { return s.SetCodeSetCode(cs); }); };
    auto set = [](uchar cs) { return Op([cs](KsString& s) { s.SetCodeSet(cs); return 0; }); };
    auto map = [](uchar cs) { return Op([cs](KsString& s) { return s.MapToCodeSet(cs); }); };
    struct Case {
        const char* label;
        KsString s;
        Op op;
        int result;
        std::string bytes;
        uchar cs;
    } cases[] = {
        {"relabel across widths", Make(1, "\xE9"), relabel(253), KS_INVALID_ARGUMENT, B("\xE9"), 1},
        {"relabel", Make(1, "\xE9"), relabel(26), 0, B("\xE9"), 26},
        // Equal widths: SetCodeSet leaves the bytes, MapToCodeSet converts.
        {"set, equal widths", Make(1, "x\xE9"), set(26), 0, B("x\xE9"), 26},
        {"map, equal widths", Make(1, "x\xE9"), map(26), 0, B("x\x82"), 26},
        {"map to native", Make(1, "x\xE9"), map(0), KS_INVALID_ARGUMENT, B("x\xE9"), 1},
        {"set, 8 to 16", Make(1, "\xE9" "A"), set(253), 0, U({0xE9, 'A'}), 253},
        {"map, 16 to 8", Make16({0xE9, 0x4E00}), map(26), 0, B("\x82\x1A"), 26},  // 0x1A: substitute
    };
    for (Case& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(c.op(c.s), c.result);
        EXPECT_EQ(Bytes(c.s), c.bytes);
        EXPECT_EQ(c.s.CodeSet(), c.cs);
    }

    KsString src = Make(1, "h\xE9llo", 3), t(26, 9);
    EXPECT_EQ(t.CopyMapped(t, 1), KS_INVALID_ARGUMENT);
    EXPECT_EQ(t.CopyMapped(src, 253, 2), KS_OK);
    EXPECT_EQ(Bytes(t), U({'h', 0xE9}));
    EXPECT_EQ(t.Language(), 3);
    EXPECT_EQ(t.CopyMapped(src, 26, 40), KS_OK);  // n beyond the text: exact size all the same
    EXPECT_EQ(Bytes(t), B("h\x82llo"));
    EXPECT_EQ(t.CopyMapped(KsString(1, 254), 253), KS_OK);
    EXPECT_EQ(t.IsNullValue(), 1);
}

TEST_F(KsStringTest, EditModes)
{
    struct Case {
        const char* label;
        const char* initial;  // nullptr: no buffer
        const char* src;
        ushort pos, start, count, repeat;
        int mode;
        std::string bytes;
    } cases[] = {
        {"overwrite", "abcd", "XY", 1, 0, 2, 1, 1, B("aXYd")},
        {"overwrite repeat", "abcd", "X", 1, 0, 1, 3, 1, B("aXXXcd")},
        {"overwrite repeat 0 removes", "abcd", "z", 1, 0, 2, 0, 1, B("ad")},
        {"overwrite null source", "abcd", nullptr, 1, 0, 1, 1, 1, B("abcd")},
        {"insert source start", "ab", "0123", 1, 2, 2, 1, 2, B("a23b")},
        {"insert into none", nullptr, "XY", 0, 0, 2, 1, 2, B("XY")},
        {"assign at", "abcd", "XY", 2, 0, 2, 1, 3, B("abXY")},
        {"assign past end", "ab", "Q", 3, 0, 1, 1, 3, std::string("ab\0Q\0", 5)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        KsString s = c.initial ? Make(1, c.initial) : KsString(1, 0);
        s.EditText(c.src, 1, c.pos, c.start, c.count, c.repeat, c.mode);
        EXPECT_EQ(Bytes(s), c.bytes);
    }

    // The target keeps its code set; other code sets are converted into it,
    // a native source only at equal width.
    const uchar image[] = {0x00, 0x41, 0x26, 0x3A, 0x00, 0xE9};  // high byte first
    struct SrcCase {
        const char* label;
        KsString target;
        const void* src;
        uchar srcCs;
        ushort start, count;
        uchar byteOrder;
        std::string bytes;
    } sources[] = {
        {"8 into 16", Make16({'a'}), "\xE9", 1, 0, 1, 8, U({'a', 0xE9})},
        {"8 into 8", Make(0, "a"), "\x82", 26, 0, 1, 8, B("a\xE9")},
        {"native, equal width", Make(26, "a"), "\xE9", 0, 0, 1, 8, B("a\xE9")},
        {"native into 16", Make16({'a'}), "\xE9" "B", 0, 0, 2, 8, U({'a', 0xE9, 'B'})},
        {"stored image", Make16({'a'}), image, 253, 0, 3, 2, U({'a', 0x41, 0x263A, 0xE9})},
        {"stored image into 8", Make(1, "a"), image, 253, 2, 1, 0x12, B("a\xE9")},
    };
    for (SrcCase& c : sources) {
        SCOPED_TRACE(c.label);
        const uchar cs = c.target.CodeSet();
        c.target.EditText(c.src, c.srcCs, 1, c.start, c.count, 1, KsString::EditAssignAt, c.byteOrder);
        EXPECT_EQ(Bytes(c.target), c.bytes);
        EXPECT_EQ(c.target.CodeSet(), cs);
    }
}

TEST_F(KsStringTest, OverflowTruncatesToTheLimit)
{
    const std::string full8(65531, 'a');
    std::vector<ushort> full16(32765, 0x263A);
    full16.push_back(0);
    struct Case {
        const char* label;
        std::function<KsString()> make;
        ushort len;
        size_t assertions;  // when the assertion is turned on
    } cases[] = {
        {"8-bit at the limit", [&] { return KsString(full8.c_str()); }, 65531, 0},
        {"8-bit append", [&] { return KsString(full8.c_str()) << "bc"; }, 65531, 1},
        {"8-bit construct", [] { return KsString(std::string(70000, 'z').c_str()); }, 65531, 1},
        {"16-bit append", [&] { return KsString(full16.data()) << 'x'; }, 32765, 1},
        {"16-bit conversion", [] { KsString s(std::string(40000, 'a').c_str()); s.SetCodeSet(253); return s; },
         32765, 1},
    };
    for (int flag : {0, 1}) {
        DefaultConfig().SetInt("debug", "stringOverflow", flag);
        for (const Case& c : cases) {
            SCOPED_TRACE(std::string(c.label) + (flag ? ", assertion on" : ""));
            g_assertions.clear();
            KsString s = c.make();
            EXPECT_EQ(s.Size(), 65532);
            EXPECT_EQ(s.Len(), c.len);
            EXPECT_EQ(std::string(s.Text() + 65532 - s.Width(), s.Width()), std::string(s.Width(), '\0'));
            ASSERT_EQ(g_assertions.size(), flag ? c.assertions : 0u);
            for (const Assertion& a : g_assertions) {
                EXPECT_EQ(a.expression, "String overflow");
                EXPECT_EQ(a.source, "src/ksstring");
                EXPECT_EQ(a.line, 1110);
            }
        }
    }
}

TEST_F(KsStringTest, Appends)
{
    KsString a = Make(26, "ab", 2);
    a += Make(26, "cd");
    a << 'e';
    a += a;
    EXPECT_EQ(Bytes(a), B("abcdeabcde"));
    EXPECT_EQ(a.Language(), 2);

    KsString b = Make(1, "x");
    b << Make16({0xE9});
    EXPECT_EQ(Bytes(b), B("x\xE9"));
    KsString c = Make16({'x'});
    c << "\xE9";
    EXPECT_EQ(Bytes(c), U({'x', 0xE9}));
}

}  // namespace
