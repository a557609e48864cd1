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
    out.append(2, '\0');
    return out;
}

KsString Make(uchar cs, const char* text, uchar language = 0)
{
    KsString s(cs, language);
    s.EditText(text, cs, 0, 0, ushort(std::strlen(text)), 1, KsString::EditAssignAt);
    return s;
}

KsString Make16(std::initializer_list<ushort> units, uchar cs = KS_CS_UNICODE)
{
    std::vector<ushort> v(units);
    KsString s(cs, 0);
    s.EditText(v.data(), cs, 0, 0, ushort(v.size()), 1, KsString::EditAssignAt);
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

using KsStringState = KsStringTest;
using KsStringCtor = KsStringTest;
using KsStringAssign = KsStringTest;
using KsStringCodeSet = KsStringTest;
using KsStringEdit = KsStringTest;
using KsStringOverflow = KsStringTest;
using KsStringAppend = KsStringTest;

// ---------------------------------------------------------------------------
TEST_F(KsStringState, NullAndEmpty)
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
        EXPECT_EQ(!c.s, c.empty);
        EXPECT_EQ(c.s.IsNullValue(), c.null);
    }
    EXPECT_EQ(Bytes(nulled), "<none>");
    EXPECT_EQ(nulled.CodeSet(), 0);
    EXPECT_EQ(nulled.Language(), 254);

    KsString d;
    EXPECT_EQ(d.Size(), 0);
    EXPECT_EQ(d.Len(), 0);
    EXPECT_STREQ(d.StrGet(), "");
    EXPECT_EQ(KsString::EmptyString().Text(), nullptr);
}

TEST_F(KsStringState, DefaultsComeFromTheLanguageContext)
{
    KsString::SetDefaultCodeSet(5);
    KsString::SetDefaultLanguage(3);
    KsString::SetDefaultCmpOp(0x100);
    EXPECT_EQ(KsLanguageContext::GetDefaultCmpOp(), 0x100);
    KsString s;
    EXPECT_EQ(s.CodeSet(), 5);
    EXPECT_EQ(s.Language(), 3);
    EXPECT_EQ(KsString("x").CodeSet(), 0);  // text takes the 8-bit default
    EXPECT_EQ(KsString("x").Language(), 3);
}

// ---------------------------------------------------------------------------
TEST_F(KsStringCtor, Forms)
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
        {"empty text n 5", KsString("", 5), "<none>", 0},
        {"n 0", KsString("abc", 0), "<none>", 0},
        {"n 65535", KsString("abc", 65535), B("abc"), 0},
        {"n 3 of abcdef", KsString("abcdef", 3), B("abc"), 0},
        {"n beyond terminator", KsString("ab", 10), B("ab"), 0},
        {"n on unterminated", KsString(raw, 3), B("xyz"), 0},
        {"char", KsString('A'), B("A"), 0},
        {"char 0", KsString('\0'), "<none>", 0},
        {"uchar 65", KsString(static_cast<unsigned char>(65)), B("A"), 0},
        {"uchar e9", KsString(static_cast<unsigned char>(0xE9)), B("\xE9"), 0},
        {"short 65", KsString(static_cast<short>(65)), B("65"), 0},
        {"short min", KsString(static_cast<short>(SHRT_MIN)), B("-32768"), 0},
        {"int min", KsString(INT_MIN), B("-2147483648"), 0},
        {"unsigned max", KsString(4294967295u), B("-1"), 0},
        {"unsigned 2^31", KsString(2147483648u), B("-2147483648"), 0},
        {"i64 min", KsString(static_cast<KsI64>(LLONG_MIN)), B("-9223372036854775808"), 0},
        {"u64 max", KsString(static_cast<KsU64>(ULLONG_MAX)), B("18446744073709551615"), 0},
        {"double 0.1", KsString(0.1), B("0.10000000000000001"), 0},
        {"double 1e21", KsString(1e21), B("1e+21"), 0},
        {"16-bit char", KsString(static_cast<unsigned short>(0x263A)), U({0x263A}), 253},
        {"16-bit char 0", KsString(static_cast<unsigned short>(0)), "<none>", 253},
        {"16-bit text", KsString(wide), U({'a', 0x263A, 'b'}), 253},
        {"16-bit null", KsString(static_cast<const unsigned short*>(nullptr)), "<none>", 253},
        {"16-bit n 2", KsString(wide, 2), U({'a', 0x263A}), 253},
        {"16-bit n 9", KsString(wide, 9), U({'a', 0x263A, 'b'}), 253},
        {"16-bit empty", KsString(wide + 3), "<none>", 253},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(Bytes(c.s), c.bytes);
        EXPECT_EQ(c.s.CodeSet(), c.cs);
        EXPECT_EQ(c.s.Language(), 0);
    }
}

// ---------------------------------------------------------------------------
TEST_F(KsStringAssign, CopyAssignAndMove)
{
    // Copies are byte-identical, characters after an inner zero included.
    KsString gap(240, 5);
    gap.EditText(U({'x'}).data(), 240, 2, 0, 1, 1, KsString::EditAssignAt);
    KsString copy(gap);
    KsString assigned = Make(1, "old");
    assigned = gap;
    for (const KsString* s : {&copy, &assigned}) {
        EXPECT_EQ(Bytes(*s), Bytes(gap));
        EXPECT_EQ(Bytes(*s), std::string("\0\0\0\0x\0\0\0", 8));
        EXPECT_NE(s->Text(), gap.Text());
        EXPECT_EQ(s->CodeSet(), 240);
        EXPECT_EQ(s->Language(), 5);
    }
    const char* before = assigned.Text();
    KsString& self = assigned;
    assigned = self;
    EXPECT_EQ(assigned.Text(), before);

    assigned = "xy";  // back to the defaults
    EXPECT_EQ(Bytes(assigned), B("xy"));
    EXPECT_EQ(assigned.CodeSet(), 0);
    EXPECT_EQ(assigned.Language(), 0);
    // An empty text is still copied (a bare terminator); a null one is not,
    // and the constructor builds nothing for either.
    assigned = "";
    EXPECT_EQ(assigned.Size(), 1);
    EXPECT_EQ(assigned.IsEmpty(), 1);
    const unsigned short none[1] = {0};
    assigned = none;
    EXPECT_EQ(assigned.Size(), 2);
    assigned = static_cast<const char*>(nullptr);
    EXPECT_EQ(assigned.Text(), nullptr);
    EXPECT_EQ(KsString("").Size(), 0);

    // Destruct moves the buffer; the source keeps its labels.
    KsString m(1, 2);
    const char* moved = gap.Text();
    m.Destruct(gap);
    EXPECT_EQ(m.Text(), moved);
    EXPECT_EQ(m.Size(), 8);
    EXPECT_EQ(m.CodeSet(), 240);
    EXPECT_EQ(gap.Text(), nullptr);
    EXPECT_EQ(gap.Size(), 0);
    EXPECT_EQ(gap.CodeSet(), 240);
    EXPECT_EQ(gap.Language(), 5);
    m.Destruct(m);
    EXPECT_EQ(m.Text(), moved);

    m.d_deactivate();
    EXPECT_EQ(m.Text(), nullptr);
    EXPECT_EQ(m.CodeSet(), 0);
    EXPECT_EQ(m.Language(), 0);
}

// ---------------------------------------------------------------------------
TEST_F(KsStringCodeSet, RelabelConvertAndMap)
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
        {"map to itself", Make(26, "\xE9"), map(26), 0, B("\xE9"), 26},
        {"set, 8 to 16", Make(1, "\xE9" "A"), set(253), 0, U({0xE9, 'A'}), 253},
        {"set, 16 to native", Make16({0xE9, 'A'}), set(0), 0, B("\xE9" "A"), 0},
        {"map, 16 to 8", Make16({0xE9, 0x4E00}), map(26), 0, B("\x82\x1A"), 26},  // 0x1A: substitute
        {"set without buffer", KsString(1, 0), set(253), 0, "<none>", 253},
    };
    for (Case& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(c.op(c.s), c.result);
        EXPECT_EQ(Bytes(c.s), c.bytes);
        EXPECT_EQ(c.s.CodeSet(), c.cs);
    }
}

TEST_F(KsStringCodeSet, CopyMapped)
{
    KsString src = Make(1, "h\xE9llo", 3);
    KsString t(26, 9);
    EXPECT_EQ(t.CopyMapped(t, 1), KS_INVALID_ARGUMENT);
    EXPECT_EQ(t.CodeSet(), 26);

    struct Case {
        uchar cs;
        short n;
        std::string bytes;
    } cases[] = {
        {253, 2, U({'h', 0xE9})},
        {253, -1, U({'h', 0xE9, 'l', 'l', 'o'})},
        {26, 40, B("h\x82llo")},  // n beyond the text: exact size all the same
        {26, 0, B("")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.n);
        EXPECT_EQ(t.CopyMapped(src, c.cs, c.n), KS_OK);
        EXPECT_EQ(Bytes(t), c.bytes);
        EXPECT_EQ(t.CodeSet(), c.cs);
        EXPECT_EQ(t.Language(), 3);
    }
    EXPECT_EQ(t.CopyMapped(KsString(1, 254), 253), KS_OK);
    EXPECT_EQ(t.Text(), nullptr);
    EXPECT_EQ(t.IsNullValue(), 1);

    const char raw[2] = {'a', 'b'};
    ushort size = 1;
    char* buf = KsConvertCodeSet(raw, 1, 2, 253, size);
    EXPECT_EQ(std::string(buf, size), U({'a', 'b'}));
    ::operator delete(buf);
    EXPECT_EQ(KsConvertCodeSet(nullptr, 1, -1, 253, size), nullptr);
    EXPECT_EQ(size, 0);
}

// ---------------------------------------------------------------------------
TEST_F(KsStringEdit, ModesOnEightBit)
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
        {"overwrite empty source", "abcd", "", 1, 0, 1, 1, 1, B("abcd")},
        {"overwrite null source", "abcd", nullptr, 1, 0, 1, 1, 1, B("abcd")},
        {"insert", "abcd", "XY", 2, 0, 2, 1, 2, B("abXYcd")},
        {"insert at end", "abcd", "XY", 4, 0, 2, 1, 2, B("abcdXY")},
        {"insert source start", "ab", "0123", 1, 2, 2, 1, 2, B("a23b")},
        {"insert repeat", "ab", "Z", 1, 0, 1, 4, 2, B("aZZZZb")},
        {"insert into none", nullptr, "XY", 0, 0, 2, 1, 2, B("XY")},
        {"insert empty source", "ab", "", 0, 0, 1, 1, 2, B("ab")},
        {"assign at", "abcd", "XY", 2, 0, 2, 1, 3, B("abXY")},
        {"assign at 0 nothing", "abcd", "", 0, 0, 0, 1, 3, B("")},
        {"assign repeat into none", nullptr, "x", 0, 0, 1, 3, 3, B("xxx")},
        {"assign past end", "ab", "Q", 3, 0, 1, 1, 3, std::string("ab\0Q\0", 5)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        KsString s = c.initial ? Make(1, c.initial) : KsString(1, 0);
        s.EditText(c.src, 1, c.pos, c.start, c.count, c.repeat, c.mode);
        EXPECT_EQ(Bytes(s), c.bytes);
        EXPECT_EQ(s.CodeSet(), 1);
    }
}

TEST_F(KsStringEdit, SourceCodeSetsAndByteOrder)
{
    const uchar image[] = {0x00, 0x41, 0x26, 0x3A, 0x00, 0xE9};  // high byte first
    const ushort unit = 0x263A;
    struct Case {
        const char* label;
        KsString target;
        const void* src;
        uchar srcCs;
        ushort pos, start, count, repeat;
        uchar byteOrder;
        std::string bytes;
    } cases[] = {
        // The target keeps its code set; other code sets are converted into it.
        {"8 into 16", Make16({'a', 'b'}), "\xE9", 1, 1, 0, 1, 1, 8, U({'a', 0xE9})},
        {"8 into 8", Make(0, "a"), "\x82", 26, 1, 0, 1, 1, 8, B("a\xE9")},
        {"repeat converted", Make16({}), "\xE9", 1, 0, 0, 1, 3, 8, U({0xE9, 0xE9, 0xE9})},
        // A native source is taken as it is at equal width only.
        {"native, equal width", Make(26, "a"), "\xE9", 0, 1, 0, 1, 1, 8, B("a\xE9")},
        {"native into 16", Make16({'a'}), "\xE9" "B", 0, 1, 0, 2, 1, 8, U({'a', 0xE9, 'B'})},
        {"stored image", Make16({}), image, 253, 0, 0, 3, 1, 2, U({0x41, 0x263A, 0xE9})},
        {"stored image into 8", Make(1, ""), image, 253, 0, 2, 1, 1, 0x12, B("\xE9")},
        {"machine order", Make16({}), &unit, 253, 0, 0, 1, 1, 8, U({0x263A})},
    };
    for (Case& c : cases) {
        SCOPED_TRACE(c.label);
        const uchar cs = c.target.CodeSet();
        c.target.EditText(c.src, c.srcCs, c.pos, c.start, c.count, c.repeat, KsString::EditAssignAt,
                          c.byteOrder);
        EXPECT_EQ(Bytes(c.target), c.bytes);
        EXPECT_EQ(c.target.CodeSet(), cs);
    }
}

// ---------------------------------------------------------------------------
TEST_F(KsStringOverflow, TruncatesToTheLimit)
{
    const std::string full8(65531, 'a');
    const std::vector<ushort> full16 = [] {
        std::vector<ushort> v(32765, 0x263A);
        v.push_back(0);
        return v;
    }();
    struct Case {
        const char* label;
        std::function<KsString()> make;
        ushort len;
        size_t assertions;  // when the assertion is turned on
    } cases[] = {
        {"8-bit at the limit", [&] { return KsString(full8.c_str()); }, 65531, 0},
        {"8-bit append", [&] { return KsString(full8.c_str()) << "bc"; }, 65531, 1},
        {"8-bit insert",
         [&] {
             KsString s(full8.c_str());
             s.EditText("XY", 1, 0, 0, 2, 1, KsString::EditInsert);
             return s;
         },
         65531, 1},
        {"8-bit construct", [] { return KsString(std::string(70000, 'z').c_str()); }, 65531, 1},
        {"16-bit at the limit", [&] { return KsString(full16.data()); }, 32765, 0},
        {"16-bit append", [&] { return KsString(full16.data()) << 'x'; }, 32765, 1},
        {"16-bit conversion",
         [] {
             KsString s(std::string(40000, 'a').c_str());
             s.SetCodeSet(253);
             return s;
         },
         32765, 1},
        {"16-bit repeat",
         [] {
             KsString s(253, 0);
             s.EditText("y", 1, 0, 0, 1, 40000, KsString::EditAssignAt);
             return s;
         },
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

// ---------------------------------------------------------------------------
TEST_F(KsStringAppend, Appends)
{
    KsString a = Make(26, "ab", 2);
    a += Make(26, "cd");
    EXPECT_EQ(Bytes(a), B("abcd"));
    EXPECT_EQ(a.Language(), 2);
    a << 'e' << "fg";
    EXPECT_EQ(Bytes(a), B("abcdefg"));
    a += a;
    EXPECT_EQ(Bytes(a), B("abcdefgabcdefg"));

    KsString b = Make(1, "x");
    b << Make16({0xE9});
    EXPECT_EQ(Bytes(b), B("x\xE9"));
    EXPECT_EQ(b.CodeSet(), 1);

    KsString c = Make16({'x'});
    c << "\xE9" << 'y';
    EXPECT_EQ(Bytes(c), U({'x', 0xE9, 'y'}));

    KsString d(1, 0);
    d << "hi";
    EXPECT_EQ(Bytes(d), B("hi"));
}

}  // namespace
