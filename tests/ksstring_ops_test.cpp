// KsString operations: appending, editing, trimming, case, searching,
// comparison, element access, numeric conversion and list splitting.
#include "ksstring.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "ksi18n.h"
#include "ksmodule.h"

namespace {

// Language 255: the default language.
KsString Make(const char* text, uchar cs = 1, uchar language = 255)
{
    KsString s(cs, language == 255 ? KsString::GetDefaultLanguage() : language);
    if (*text)
        s.EditText(text, 1, 0, 0, ushort(std::strlen(text)), 1, KsString::EditAssignAt);
    return s;
}

// The characters as text (16-bit units narrowed); "<none>" without a buffer.
// Checks the exact-size invariant on the way.
std::string Show(const KsString& s)
{
    if (!s.Text())
        return "<none>";
    std::string out;
    for (int i = 0; i < s.Len(); ++i)
        out.push_back(char(s[i].Code()));
    EXPECT_EQ(s.Size(), (s.Len() + 1u) * s.Width()) << out;
    return out;
}

class KsStringOpsTest : public ::testing::Test {
protected:
    void SetUp() override { KsLanguageContext::Reset(); }
    void TearDown() override
    {
        ___KsTypeMgrOptions() = options_;
        KsString::SetAsterisk(KsChar(ushort('*'), 1, 0));
        KsLanguageContext::Reset();
    }
    int options_ = ___KsTypeMgrOptions();
};


using Op = std::function<void(KsString&)>;

// ---------------------------------------------------------------------------
TEST_F(KsStringOpsTest, EveryOperandKind)
{
    const ushort wide[] = {'w', 'x', 0};
    struct Case {
        uchar cs;
        Op append;
        const char* want;
    } cases[] = {
        {1, [](KsString& s) { s << ushort(65); }, ">65"},  // 8-bit: the number
        {253, [](KsString& s) { s << ushort(65); }, ">A"},
        {1, [&](KsString& s) { s << wide; }, ">wx"},
        {253, [](KsString& s) { s << KsU64(ULLONG_MAX); }, ">18446744073709551615"},
        {1, [](KsString& s) { s << 0.5f << ' ' << 0.1; }, ">0.5 0.10000000000000001"},
        {1, [](KsString& s) { s << Make("ab", 253); }, ">ab"},
    };
    for (const Case& c : cases) {
        KsString s = Make(">", c.cs);
        c.append(s);
        EXPECT_EQ(Show(s), c.want);
    }
    const KsString sum = Make("ab", 1, 7) + Make("cd", 253, 9);
    EXPECT_EQ(Show(sum), "abcd");
    EXPECT_EQ(sum.Language(), 7);
}

// ---------------------------------------------------------------------------
TEST_F(KsStringOpsTest, EditTrimCaseReplace)
{
    // Patterns and temporaries take the default language: order comparison
    // only matches within one language.
    KsString::SetDefaultLanguage(3);
    const KsString xyz = Make("xyz");
    struct Case {
        const char* text;
        Op op;
        const char* want;
    } cases[] = {
        {"abcd", [&](KsString& s) { s.Insert(xyz, 4); }, "abcdxyz"},
        {"abcd", [&](KsString& s) { s.Insert(xyz, 5); }, "abcd"},
        {"abcd", [&](KsString& s) { s.Insert(s, 2); }, "ababcdcd"},
        {"abcd", [&](KsString& s) { s.Replace(xyz, 2); }, "abxy"},
        {"abcd", [](KsString& s) { s.Cut(1, -1); }, "a"},
        {"abcd", [](KsString& s) { s.Cut(2, 9); }, "ab"},
        {"abcd", [](KsString& s) { s = s.Copy(2, -1); }, "cd"},
        {"abcd", [](KsString& s) { s = s.Left(0); }, "<none>"},
        {"abcd", [](KsString& s) { s = s.Right(10); }, "abcd"},
        {"abcd", [](KsString& s) { s.Fill(0, 'x'); }, ""},
        {"abcd", [](KsString& s) { s.Expand(6, 'x'); }, "abcdxx"},
        {" \t ab c \r\n", [](KsString& s) { s.Trim(); }, "ab c"},
        {"   ", [](KsString& s) { s.Trim(); }, ""},
        {"Mixed 1x", [](KsString& s) { s.ToUpper(); }, "MIXED 1X"},
        {"Stra\xDF" "e", [](KsString& s) { s.ToUpper(); }, "STRASSE"},
        {"a-b-c", [](KsString& s) { s.ReplaceAll(Make("-"), KsString()); }, "abc"},
        {"a-b-c", [](KsString& s) { s.ReplaceAll(ushort('-'), ushort('='), 2); }, "a-b=c"},
        {"aa", [](KsString& s) { s.ReplaceAll(Make("a"), Make("aa")); }, "aaaa"},
        {"a--b--", [](KsString& s) { s.ReplaceAll(Make("--"), Make("=")); }, "a=b="},
    };
    for (uchar cs : {uchar(1), uchar(253)}) {
        for (const Case& c : cases) {
            SCOPED_TRACE(std::string(c.text) + " -> " + c.want + ", cs " + std::to_string(cs));
            KsString s = Make(c.text, cs);
            c.op(s);
            EXPECT_EQ(Show(s), c.want);
            EXPECT_EQ(s.CodeSet(), cs);
            EXPECT_EQ(s.Language(), 3);
        }
    }
    // Without a buffer: inserting creates one, the rest leaves it alone.
    KsString none(1, 0);
    EXPECT_EQ(Show(none.Cut(0, -1).ToUpper().Trim()), "<none>");
    EXPECT_EQ(Show(none.Insert(xyz, 0)), "xyz");
    // Counts above 32767 still cut (the count parameter is a short).
    KsString big(1, 0);
    big.Fill(40000, ' ') << "x";
    EXPECT_EQ(Show(big.LeftTrim()), "x");
}

// ---------------------------------------------------------------------------
TEST_F(KsStringOpsTest, FindCompareAndAccess)
{
    const KsString abc = Make("abcabc");
    EXPECT_EQ(abc.Find(Make("bc"), 5), -1);  // rest too short
    EXPECT_EQ(abc.Find(Make(""), 7), -1);    // start past the length
    EXPECT_EQ(abc.Find(Make("c", 253)), 2);  // pattern of the other width
    EXPECT_EQ(Make("abcde").Find(Make("b?d"), 0, 0), 1);  // wildcard prefix match
    EXPECT_EQ(Make("abcd").Find(Make("b?d"), 0, 0xFFFF), -1);  // 65535 is never a pattern
    EXPECT_EQ(Make("ab?d").Find(Make("b?d"), 0, 0xFFFF), 1);
    EXPECT_EQ(abc.Find('b', 2), 4);

    struct Case {
        KsString a, b;
        int sign;  // of a against b
    } cases[] = {
        {Make("abc"), Make("abd"), -1}, {Make("b"), Make("abc"), 1}, {Make("abc", 253), Make("abc"), 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(Show(c.a) + " / " + Show(c.b));
        const std::vector<bool> got = {c.a == c.b, c.a != c.b, c.a < c.b,
                                       c.a > c.b,  c.a <= c.b, c.a >= c.b};
        EXPECT_EQ(got, (std::vector<bool>{c.sign == 0, c.sign != 0, c.sign < 0, c.sign > 0,
                                          c.sign <= 0, c.sign >= 0}));
    }
    EXPECT_EQ(Make("abc", 0).Compare(Make("a*", 0), -1, 0), 0);
    EXPECT_NE(Make("abc", 0).Compare(Make("a*", 0), -1, 0x10), 0);
    EXPECT_EQ(Make("abc", 1, 1).EqualsIgnoreLanguage(Make("abc", 1, 2)), 1);

    for (uchar cs : {uchar(1), uchar(253)}) {
        KsString s = Make("abc", cs, 4);
        EXPECT_EQ(s[2].Code(), 'c');
        EXPECT_EQ(s[2].Language(), 4);
        s[1] = KsChar(ushort('X'), 1, 0);  // writes through
        EXPECT_EQ(Show(s), "aXc");
        const KsChar past = s[3];
        EXPECT_EQ(std::vector<int>({past.Code(), past.CodeSet(), past.Language()}),
                  std::vector<int>({0, 255, 255}));
    }
    // The prefix match follows the process-wide "any run" character.
    KsString::SetAsterisk(KsChar(ushort('%'), 1, 0));
    EXPECT_EQ(abc.Find(Make("b*"), 0, 0), -1);
}

// ---------------------------------------------------------------------------
// The integer conversions must agree with strtoll (base 0, or base 10 with
// option bit 0), clamped like a 32-bit strtol, for 8- and 16-bit text.
TEST_F(KsStringOpsTest, AgreeWithStrtol)
{
    const char* inputs[] = {"  -17x", "+5", "0x1F", "0X", "-0x10", "010", "09", "", "- 5",
                            "2147483648", "-2147483649", "99999999999999999999", "\v\f7"};
    for (int option : {0, 1}) {
        ___KsTypeMgrOptions() = option;
        for (const char* in : inputs) {
            SCOPED_TRACE(std::string(in) + " option " + std::to_string(option));
            const long long ref = std::strtoll(in, nullptr, option ? 10 : 0);
            const int ref32 = int(ref < INT_MIN ? INT_MIN : ref > INT_MAX ? INT_MAX : ref);
            for (uchar cs : {uchar(0), uchar(253)}) {
                const KsString s = Make(in, cs);
                EXPECT_EQ(KsI64(s), ref);
                EXPECT_EQ(int(s), ref32);
                EXPECT_EQ(short(s), short(ref32));
            }
        }
    }
    EXPECT_EQ(double(Make(" -2.5e3")), -2500.0);
    EXPECT_EQ(double(Make("3.25x", 253)), 3.25);
}

TEST_F(KsStringOpsTest, StrictFormsAndSplitList)
{
    // Atol/Atoll decimal, Strtol/Strtoll with base detection; "-" marks a
    // refused text (result -1, output 0).
    struct Case {
        const char* text;
        const char* decimal;
        const char* detected;
    } cases[] = {{"077", "77", "63"}, {"-0x10", "0", "-16"}, {"12ab", "12", "12"},
                 {" 5", "-", "-"}, {"+5", "-", "-"}, {"", "-", "-"}};
    auto run = [](const KsString& s, auto method, auto out) {
        const int rc = (s.*method)(out);
        return rc == -1 && out == 0 ? std::string("-") : std::to_string(out);
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        const KsString s = Make(c.text, 1), w = Make(c.text, 253);
        EXPECT_EQ(run(s, &KsString::Atol, 99), c.decimal);
        EXPECT_EQ(run(w, &KsString::Strtol, 99), c.detected);
        EXPECT_EQ(run(w, &KsString::Atoll, KsI64(99)), c.decimal);
        EXPECT_EQ(run(s, &KsString::Strtoll, KsI64(99)), c.detected);
    }

    struct Split {
        const char* list;
        const char* sep;
        std::vector<std::string> items;  // then -2005
    } splits[] = {
        {"a,b", ",", {"a@2", "b@4"}},
        {" a , b ,c", ",", {"a@4", "b@8", "c@10"}},
        {"a,,b", ",", {"a@2", "@3", "b@5"}},
        {"a::b", "::", {"a@2", ":b@5"}},  // the next search starts one past the hit
    };
    for (const Split& c : splits) {
        SCOPED_TRACE(c.list);
        KsString list = Make(c.list), item;
        ushort pos = 0;
        for (const std::string& want : c.items) {
            ASSERT_EQ(KsSplitList(list, item, Make(c.sep), pos), 0);
            EXPECT_EQ(item.StrGet() + ("@" + std::to_string(pos)), want);
        }
        EXPECT_EQ(KsSplitList(list, item, Make(c.sep), pos), KS_END_OF_LIST);
    }
}

}  // namespace
