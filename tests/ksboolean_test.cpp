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

uchar Raw(const KsBoolean& b) { return *reinterpret_cast<const uchar*>(&b); }
KsBoolean FromByte(uchar v) {
    KsBoolean b;
    std::memcpy(&b, &v, 1);
    return b;
}

std::string Text(const KsString& s) { return s.StrGet(); }

TEST(KsBooleanTest, ConstructionStoresZeroOrOne) {
    for (int in : {0, 1, -1, 256}) {
        KsBoolean b = FromByte(255);
        b = in;
        EXPECT_EQ(Raw(KsBoolean(in)) * 2 + Raw(b), in ? 3 : 0) << in;
    }
    KsBoolean n, t(1);
    EXPECT_EQ(Raw(n), 0);
    n.SetNullValue();
    EXPECT_EQ(Raw(n), 255);
    t = n;
    EXPECT_EQ(KsBoolean(t).IsNullValue() * 2 + KsBoolean(0).IsNullValue(), 2);
}

// The states (plus a foreign true byte) under ==, <, > and the comparator, and against ints.
TEST(KsBooleanTest, OrderNullFalseTrue) {
    const KsBoolean n = FromByte(255), f(0), t(1), foreign = FromByte(7);
    struct Case {
        const char* name;
        KsBoolean a, b;
        int eq, lt, gt;
    } cases[] = {
        {"null,null", n, n, 1, 0, 0},  {"null,false", n, f, 0, 1, 0}, {"true,null", t, n, 0, 0, 1},
        {"false,true", f, t, 0, 1, 0}, {"true,false", t, f, 0, 0, 1}, {"true,true", t, t, 1, 0, 0},
        {"7,true", foreign, t, 1, 0, 0}, {"7,false", foreign, f, 0, 0, 1},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.a == c.b, c.eq) << c.name;
        EXPECT_EQ(c.a < c.b, c.lt) << c.name;
        EXPECT_EQ(c.a > c.b, c.gt) << c.name;
        int status = -1;
        KsBoolean a = c.a, b = c.b;
        EXPECT_EQ(BooleanCompare(8, 0, &a, 0, &b, 0, 1, status), c.lt ? -1 : (c.gt ? 1 : 0)) << c.name;
        EXPECT_EQ(status, 0);
    }
    struct IntCase {
        KsBoolean b;
        int v, eq, lt, gt;
    } ints[] = {
        {n, 0, 0, 1, 0},  {f, 0, 1, 0, 0},  {f, 5, 0, 1, 0}, {t, 0, 0, 0, 1}, {t, -1, 1, 0, 0},
        {foreign, 5, 1, 0, 1},  // > takes the byte itself
    };
    for (const IntCase& c : ints)
        EXPECT_EQ((c.b == c.v) * 4 + (c.b < c.v) * 2 + (c.b > c.v), c.eq * 4 + c.lt * 2 + c.gt)
            << int(Raw(c.b)) << " vs " << c.v;
}

TEST(BooleanCompareTest, ArraysAndShortOperands) {
    struct Case {
        Bytes a, b;
        uint lenA, lenB, count;
        int expected, status;
    } cases[] = {
        {{1, 0, 1}, {1, 0, 1}, 0, 0, 3, 0, 0},  {{0xff, 1}, {0, 0}, 0, 0, 2, -1, 0},
        {{1, 1}, {1, 0}, 0, 0, 2, 1, 0},        {{1, 1}, {1, 0}, 0, 0, 0, 0, 0},  // count 0
        {{0, 1}, {1, 0}, 1, 0, 2, -1, KS_SHORT_OPERAND},  // decided, still short
        {{1, 1}, {1, 0}, 0, 1, 2, 0, KS_SHORT_OPERAND}, {{1, 1, 1}, {1, 1, 0}, 5, 5, 3, 1, 0},
    };
    for (const Case& c : cases)
        for (uchar format : {uchar(8), uchar(1), uchar(0x82)}) {
            int status = -1;
            Bytes a = c.a, b = c.b;
            EXPECT_EQ(BooleanCompare(format, c.lenA, a.data(), c.lenB, b.data(), 0, c.count, status),
                      c.expected);
            EXPECT_EQ(status, c.status);
        }
}

TEST(KsBooleanTextTest, Print) {
    NullPrintGuard guard;
    KsString out("old");
    uchar three[] = {1, 255, 0, 7};
    EXPECT_EQ(Text(BooleanPrintToKsString(out, three + 1, "noop", 1)), "{NULL}");
    EXPECT_EQ(Text(BooleanPrintToKsString(out, three + 3, "noop", 1)), "FALSE");
    KsTypeMgr::SetNullPrintString(KsString("?"));
    EXPECT_EQ(Text(BooleanPrintToKsString(out, three, nullptr, 3)), "TRUE,?,FALSE");
    EXPECT_EQ(Text(BooleanPrintToKsString(out, three, nullptr, 0)), "");
}

TEST(KsBooleanTextTest, Scan) {
    NullPrintGuard guard;
    struct Case {
        const char* text;
        uchar byte;
    } cases[] = {
        {"T", 1},   {"t", 1}, {"TRUE", 1}, {"true", 1},  {"1", 1},        {"True", 0},     {"yes", 0},
        {"", 0},    {" 1", 0}, {"TRUEX", 0}, {"{NULL}", 255}, {"{NULL}x", 255}, {"{NULL", 0},
    };
    for (const Case& c : cases) {
        uchar v = 0x55;
        KsString in(c.text);
        EXPECT_EQ(BooleanScanFromKsString(&v, in, "noop", 1), &v);
        EXPECT_EQ(v, c.byte) << '"' << c.text << '"';
    }
    const unsigned short wide[] = {'t', 'r', 'u', 'e', 0};
    KsString w(wide), na("n/a"), old("{NULL}");
    uchar v[3] = {};
    BooleanScanFromKsString(v, w, nullptr, 1);
    KsTypeMgr::SetNullPrintString(KsString("n/a"));
    BooleanScanFromKsString(v + 1, na, nullptr, 1);
    BooleanScanFromKsString(v + 2, old, nullptr, 1);  // the default no longer reads as null
    EXPECT_EQ(Bytes(v, v + 3), (Bytes{1, 255, 0}));
    EXPECT_EQ(BooleanScanFromKsString(nullptr, na, nullptr, 1), nullptr);
}

TEST(KsBooleanTextTest, ConversionRoundTrip) {
    uchar values[] = {0, 1, 255};
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

TEST(KsBooleanRowTest, ArraysAndLifeCycle) {
    uchar* a = static_cast<uchar*>(BooleanCreate(9));
    uint stored;
    std::memcpy(&stored, a - 4, 4);  // arrays carry their count
    EXPECT_EQ(stored, 9u);
    EXPECT_EQ(Bytes(a, a + 9), Bytes(9, 0));
    EXPECT_EQ(BooleanDelete(a, 9), nullptr);

    uchar v[4] = {9, 9, 9, 9}, src[] = {255, 1, 0};
    BooleanConstruct(v, 3, 0);
    EXPECT_EQ(Bytes(v, v + 4), (Bytes{0, 0, 0, 9}));
    BooleanAssign(v, src, 2, 0);
    BooleanCopy(v + 2, src + 1, 2, 1);
    EXPECT_EQ(Bytes(v, v + 4), (Bytes{255, 1, 1, 1}));
    EXPECT_EQ(BooleanIsNull(v + 1), 0);
    EXPECT_EQ(BooleanSetNull(v + 1), 0);
    EXPECT_EQ(BooleanIsNull(v + 1), 1);
    EXPECT_EQ(BooleanGetValue(v, 0, 8, 'N'), KS_NOT_SUPPORTED);
}

TEST(KsBooleanRowTest, StoredImageIsTheBytesInEveryOrder) {
    const uchar mem[] = {0, 1, 255, 7};
    for (uchar order : {uchar(1), uchar(2), uchar(8)}) {
        uchar disk[5] = {0xEE, 0xEE, 0xEE, 0xEE, 0xEE}, back[4] = {};
        EXPECT_EQ(BooleanStore(disk, mem, order, 4) + BooleanLoad(back, disk, order, 4), 8u);
        EXPECT_EQ(Bytes(disk, disk + 5), (Bytes{0, 1, 255, 7, 0xEE}));
        EXPECT_EQ(Bytes(back, back + 4), Bytes(mem, mem + 4));
    }
    EXPECT_EQ(BooleanCountSize(6) + BooleanDiskLen(mem, 8, 2, 4) + BooleanDiskLenFromMemFile(nullptr, 2, 3), 13u);
}

TEST(KsBooleanRowTest, Translate) {
    uchar mem[] = {1, 0, 255};
    uchar out[5] = {0xEE, 0xEE, 0xEE, 0xEE, 0xEE};
    EXPECT_EQ(BooleanTranslate(out, 2, 3, mem, 8, 0, 3), 3u);
    EXPECT_EQ(Bytes(out, out + 4), (Bytes{1, 0, 255, 0xEE}));
    // Stored to stored: truncate, or zero-pad to the destination length.
    EXPECT_EQ(BooleanTranslate(out, 1, 2, mem, 2, 3, 3), 2u);
    EXPECT_EQ(BooleanTranslate(out, 1, 5, mem, 2, 3, 3), 3u);
    EXPECT_EQ(Bytes(out, out + 5), (Bytes{1, 0, 255, 0, 0}));
}

}  // namespace
