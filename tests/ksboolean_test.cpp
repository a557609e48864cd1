// KsBoolean: the three states under every operator, the comparator, print and
// scan, arrays, stored images and translation.
#include "ksboolean.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "ksbooleanrow.h"
#include "ksstring.h"
#include "kstest_util.h"
#include "kstypes.h"

namespace {

typedef std::vector<uchar> Bytes;

uchar Raw(const KsBoolean& b) {
    uchar v;
    std::memcpy(&v, &b, 1);
    return v;
}

KsBoolean FromByte(uchar v) {
    KsBoolean b;
    std::memcpy(&b, &v, 1);
    return b;
}

KsBoolean Null() {
    KsBoolean b;
    b.SetNullValue();
    return b;
}

std::string Text(const KsString& s) { return s.StrGet(); }

TEST(KsBooleanTest, ConstructionStoresZeroOrOne) {
    struct Case {
        int in;
        uchar byte;
    } cases[] = {{0, 0}, {1, 1}, {7, 1}, {-1, 1}, {255, 1}, {256, 1}};
    for (const Case& c : cases) {
        EXPECT_EQ(Raw(KsBoolean(c.in)), c.byte) << c.in;
        KsBoolean b = Null();
        b = c.in;
        EXPECT_EQ(Raw(b), c.byte) << c.in;
    }
    EXPECT_EQ(Raw(KsBoolean()), 0);

    KsBoolean n = Null();
    EXPECT_EQ(Raw(n), 255);
    EXPECT_EQ(n.IsNullValue(), 1);
    EXPECT_EQ(KsBoolean(n).IsNullValue(), 1);
    KsBoolean t(1);
    t = n;
    EXPECT_EQ(t.IsNullValue(), 1);
    EXPECT_EQ(KsBoolean(0).IsNullValue(), 0);
}

// Every pair of the three states (plus a foreign true byte) under ==, < and >.
TEST(KsBooleanTest, OrderNullFalseTrue) {
    const KsBoolean n = Null(), f(0), t(1), foreign = FromByte(7);
    struct Case {
        const char* name;
        KsBoolean a, b;
        int eq, lt, gt;
    } cases[] = {
        {"null,null", n, n, 1, 0, 0},   {"null,false", n, f, 0, 1, 0},
        {"null,true", n, t, 0, 1, 0},   {"false,null", f, n, 0, 0, 1},
        {"true,null", t, n, 0, 0, 1},   {"false,false", f, f, 1, 0, 0},
        {"false,true", f, t, 0, 1, 0},  {"true,false", t, f, 0, 0, 1},
        {"true,true", t, t, 1, 0, 0},   {"7,true", foreign, t, 1, 0, 0},
        {"7,false", foreign, f, 0, 0, 1},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.a == c.b, c.eq) << c.name;
        EXPECT_EQ(c.a < c.b, c.lt) << c.name;
        EXPECT_EQ(c.a > c.b, c.gt) << c.name;
        int status = -1;
        KsBoolean a = c.a, b = c.b;
        EXPECT_EQ(BooleanCompare(8, 0, &a, 0, &b, 0, 1, status), c.lt ? -1 : (c.gt ? 1 : 0))
            << c.name;
        EXPECT_EQ(status, 0);
    }
}

TEST(KsBooleanTest, AgainstInts) {
    const KsBoolean n = Null(), f(0), t(1), foreign = FromByte(7);
    struct Case {
        const char* name;
        KsBoolean b;
        int v;
        int eq, lt, gt;
    } cases[] = {
        {"null,0", n, 0, 0, 1, 0},  {"null,5", n, 5, 0, 1, 0},
        {"false,0", f, 0, 1, 0, 0}, {"false,5", f, 5, 0, 1, 0},
        {"true,0", t, 0, 0, 0, 1},  {"true,5", t, 5, 1, 0, 0},
        {"true,-1", t, -1, 1, 0, 0},
        {"7,5", foreign, 5, 1, 0, 1},  // > takes the byte itself
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.b == c.v, c.eq) << c.name;
        EXPECT_EQ(c.b < c.v, c.lt) << c.name;
        EXPECT_EQ(c.b > c.v, c.gt) << c.name;
    }
}

TEST(BooleanCompareTest, ArraysAndShortOperands) {
    struct Case {
        Bytes a, b;
        uint lenA, lenB, count;
        int expected, status;
    } cases[] = {
        {{1, 0, 1}, {1, 0, 1}, 0, 0, 3, 0, 0},
        {{1, 0, 0}, {1, 0, 1}, 0, 0, 3, -1, 0},
        {{0xff, 1}, {0, 0}, 0, 0, 2, -1, 0},
        {{1, 1}, {1, 0}, 0, 0, 2, 1, 0},
        {{1, 1}, {1, 0}, 0, 0, 0, 0, 0},               // count 0
        {{0, 1}, {1, 0}, 1, 0, 2, -1, KS_SHORT_OPERAND},  // decided, still short
        {{1, 1}, {1, 0}, 0, 1, 2, 0, KS_SHORT_OPERAND},
        {{1, 1, 1}, {1, 1, 0}, 5, 5, 3, 1, 0},
    };
    for (const Case& c : cases)
        for (uchar format : {uchar(8), uchar(1), uchar(2), uchar(0x82)}) {
            int status = -1;
            Bytes a = c.a, b = c.b;
            EXPECT_EQ(BooleanCompare(format, c.lenA, a.data(), c.lenB, b.data(), 0, c.count,
                                     status),
                      c.expected);
            EXPECT_EQ(status, c.status);
        }
}

TEST(KsBooleanTextTest, Print) {
    NullPrintGuard guard;
    struct Case {
        uchar byte;
        const char* expected;
    } cases[] = {{0, "FALSE"}, {1, "TRUE"}, {255, "{NULL}"}, {7, "FALSE"}};
    for (const Case& c : cases) {
        KsString out("old");
        uchar v = c.byte;
        EXPECT_EQ(Text(BooleanPrintToKsString(out, &v, "noop", 1)), c.expected) << int(c.byte);
    }
    KsTypeMgr::SetNullPrintString(KsString("?"));
    uchar three[] = {1, 255, 0};
    KsString out;
    EXPECT_EQ(Text(BooleanPrintToKsString(out, three, nullptr, 3)), "TRUE,?,FALSE");
    EXPECT_EQ(Text(BooleanPrintToKsString(out, three, nullptr, 0)), "");
}

TEST(KsBooleanTextTest, Scan) {
    NullPrintGuard guard;
    struct Case {
        const char* text;
        uchar byte;
    } cases[] = {
        {"T", 1},        {"t", 1},        {"TRUE", 1},     {"true", 1},   {"1", 1},
        {"True", 0},     {"tRUE", 0},     {"yes", 0},      {"", 0},       {"1 ", 0},
        {" 1", 0},       {"0", 0},        {"TRUEX", 0},    {"{NULL}", 255},
        {"{NULL}x", 255}, {"{NULL", 0},
    };
    for (const Case& c : cases) {
        uchar v = 0x55;
        KsString in(c.text);
        EXPECT_EQ(BooleanScanFromKsString(&v, in, "noop", 1), &v);
        EXPECT_EQ(v, c.byte) << '"' << c.text << '"';
    }
    const unsigned short wide[] = {'t', 'r', 'u', 'e', 0};
    KsString w(wide);
    ASSERT_EQ(w.Width(), 2u);
    uchar v = 0;
    BooleanScanFromKsString(&v, w, nullptr, 1);
    EXPECT_EQ(v, 1);

    KsTypeMgr::SetNullPrintString(KsString("n/a"));
    KsString na("n/a"), old("{NULL}");
    BooleanScanFromKsString(&v, na, nullptr, 1);
    EXPECT_EQ(v, 255);
    BooleanScanFromKsString(&v, old, nullptr, 1);
    EXPECT_EQ(v, 0);
    EXPECT_EQ(BooleanScanFromKsString(nullptr, na, nullptr, 1), nullptr);
}

TEST(KsBooleanTextTest, PrintScanAndConversionRoundTrip) {
    uchar values[] = {0, 1, 255};
    for (uchar& v : values) {
        KsString text;
        BooleanPrintToKsString(text, &v, nullptr, 1);
        uchar back = 0x55;
        BooleanScanFromKsString(&back, text, nullptr, 1);
        EXPECT_EQ(back, v) << Text(text);
    }
    KsTypeConvertData* text = BooleanConvertToKsString(values, 3);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(Text(*text->GetString(1)), "TRUE");
    uchar* back = static_cast<uchar*>(BooleanConvertFromKsString(text, 4));
    EXPECT_EQ(Bytes(back, back + 4), (Bytes{0, 1, 255, 0}));  // missing string: false
    BooleanDelete(back, 4);
    KsTypeMgr mgr;
    text->owner = &mgr;
    delete text;
}

TEST(KsBooleanRowTest, ArraysCarryTheirCount) {
    for (uint count : {0u, 1u, 2u, 9u}) {
        uchar* a = static_cast<uchar*>(BooleanCreate(count));
        ASSERT_NE(a, nullptr);
        const uint n = count < 2 ? 1 : count;
        EXPECT_EQ(Bytes(a, a + n), Bytes(n, 0));
        if (count >= 2) {
            uint stored;
            std::memcpy(&stored, a - 4, 4);
            EXPECT_EQ(stored, count);
        }
        EXPECT_EQ(BooleanDelete(a, count), nullptr);
    }
    uchar* d = static_cast<uchar*>(BooleanDefaultValue(2, 0));
    EXPECT_EQ(Bytes(d, d + 2), Bytes(2, 0));
    BooleanDelete(d, 2);
}

TEST(KsBooleanRowTest, LifeCycleAndNull) {
    uchar v[4] = {9, 9, 9, 9};
    BooleanConstruct(v, 3, 0);
    EXPECT_EQ(Bytes(v, v + 4), (Bytes{0, 0, 0, 9}));
    uchar src[] = {255, 1, 0};
    BooleanAssign(v, src, 3, 0);
    EXPECT_EQ(Bytes(v, v + 3), (Bytes{255, 1, 0}));
    BooleanCopy(v, src + 1, 3, 1);
    EXPECT_EQ(Bytes(v, v + 3), (Bytes{1, 1, 1}));
    EXPECT_EQ(BooleanIsNull(v), 0);
    EXPECT_EQ(BooleanSetNull(v), 0);
    EXPECT_EQ(v[0], 255);
    EXPECT_EQ(BooleanIsNull(v), 1);
    EXPECT_EQ(BooleanGetValue(v, 0, 8, 'N'), KS_NOT_SUPPORTED);
}

TEST(KsBooleanRowTest, StoredImageIsTheBytesInEveryOrder) {
    const uchar mem[] = {0, 1, 255, 7};
    for (uchar order : {uchar(1), uchar(2), uchar(8)}) {
        uchar disk[5] = {0xEE, 0xEE, 0xEE, 0xEE, 0xEE};
        EXPECT_EQ(BooleanStore(disk, mem, order, 4), 4u);
        EXPECT_EQ(Bytes(disk, disk + 5), (Bytes{0, 1, 255, 7, 0xEE}));
        uchar back[4] = {};
        EXPECT_EQ(BooleanLoad(back, disk, order, 4), 4u);
        EXPECT_EQ(Bytes(back, back + 4), Bytes(mem, mem + 4));
    }
    EXPECT_EQ(BooleanCountSize(6), 6u);
    EXPECT_EQ(BooleanDiskLen(mem, 8, 2, 4), 4u);
    EXPECT_EQ(BooleanDiskLenFromMemFile(nullptr, 2, 3), 3u);
}

TEST(KsBooleanRowTest, Translate) {
    uchar mem[] = {1, 0, 255};
    uchar out[5] = {0xEE, 0xEE, 0xEE, 0xEE, 0xEE};
    EXPECT_EQ(BooleanTranslate(out, 2, 3, mem, 8, 0, 3), 3u);
    EXPECT_EQ(Bytes(out, out + 4), (Bytes{1, 0, 255, 0xEE}));
    uchar back[3] = {};
    EXPECT_EQ(BooleanTranslate(back, 8, 0, out, 2, 3, 3), 3u);
    EXPECT_EQ(Bytes(back, back + 3), Bytes(mem, mem + 3));
    // Stored to stored: truncate, or zero-pad to the destination length.
    EXPECT_EQ(BooleanTranslate(out, 1, 2, mem, 2, 3, 3), 2u);
    EXPECT_EQ(BooleanTranslate(out, 1, 5, mem, 2, 3, 3), 3u);
    EXPECT_EQ(Bytes(out, out + 5), (Bytes{1, 0, 255, 0, 0}));
}

}  // namespace
