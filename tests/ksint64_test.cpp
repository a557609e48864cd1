// KsInt64: arithmetic corner cases, the conversion from double, text forms,
// the comparator and the slot functions of its row.
#include "ksint64.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "ksbase.h"
#include "ksint64row.h"
#include "ksstring.h"
#include "ksstringrow.h"

namespace {

constexpr KsI64 kMin = std::numeric_limits<KsI64>::min();
constexpr KsI64 kMax = std::numeric_limits<KsI64>::max();
typedef std::vector<uchar> Bytes;

std::string Print(const KsInt64& v, const char* format) {
    KsString out;
    v.PrintToKsString(out, format);
    return out.StrGet();
}

KsI64 Scan(const KsString& text, const char* format) {
    KsInt64 v(12345);
    v.ScanFromKsString(text, format);
    return v.Get8b();
}

// Records assertion reports instead of writing them to stderr.
struct AssertLog {
    static inline std::vector<std::string> reports;
    static void Handler(const char* expression, const char* source, int line) {
        reports.push_back(std::string(expression) + "|" + source + "|" + std::to_string(line));
    }
    KsAssertHandler previous;
    AssertLog() : previous(KsSetAssertHandler(&Handler)) { reports.clear(); }
    ~AssertLog() { KsSetAssertHandler(previous); }
};

TEST(KsInt64, WordsFollowTheConstructor) {
    struct Case { KsInt64 v; unsigned low; int high; };
    const Case cases[] = {
        {KsInt64(-1), 0xFFFFFFFFu, -1}, {KsInt64(0x80000000u), 0x80000000u, 0},
        {KsInt64(static_cast<KsU64>(-2)), 0xFFFFFFFEu, -1},  // above 2^63-1: negative
        {KsInt64(KsI64(0x123456789)), 0x23456789u, 1}, {KsInt64(7u, -3), 7u, -3},
    };
    for (const Case& c : cases) EXPECT_TRUE(c.v.Low() == c.low && c.v.High() == c.high) << c.low;
}

TEST(KsInt64, DivisionCorners) {
    struct Case { KsI64 a, b, q, r; int reports; };
    const Case cases[] = {
        {-7, 2, -3, -1, 0},     {7, -2, -3, 1, 0},     {-7, -2, 3, -1, 0},
        {kMin, -1, kMin, 0, 0}, {kMin, kMin, 1, 0, 0}, {kMin, 3, kMin / 3, kMin % 3, 0},
        {-5, kMin, 0, -5, 0},   {kMax, kMin, 0, kMax, 0},
        {5, 0, 0, 0, 1},        {kMin, 0, 0, -1, 1},
    };
    for (const Case& c : cases) {
        AssertLog log;
        const KsInt64 a(c.a), b(c.b);
        EXPECT_EQ((a / b).Get8b(), c.q) << c.a << " / " << c.b;
        EXPECT_EQ((a % b).Get8b(), c.r) << c.a << " % " << c.b;
        KsInt64 x = a, y = a;
        EXPECT_EQ(std::make_pair((x /= b).Get8b(), (y %= b).Get8b()), std::make_pair(c.q, c.r));
        ASSERT_EQ(log.reports.size(), size_t(4 * c.reports));
        for (const std::string& r : log.reports) EXPECT_EQ(r, "KsInt64 divide by zero|src/ksint64|748");
    }
}

TEST(KsInt64, ArithmeticMatchesWrappedNative) {
    std::mt19937_64 rng(64);
    std::vector<KsU64> values = {0, 1, 3, KsU64(kMin), KsU64(kMax), ~0ull, 0xFFFFFFFFull, 0x100000000ull};
    for (int i = 0; i < 2000; ++i) values.push_back(rng() >> (rng() % 64));
    for (size_t i = 0; i < values.size(); ++i) {
        const KsU64 x = values[i], y = values[(i * 7 + 3) % values.size()];
        const KsInt64 a(x), b(y);
        const KsI64 sx = KsI64(x), sy = KsI64(y);
        EXPECT_EQ((a * b).GetU8b(), x * y);
        EXPECT_EQ((a + b).GetU8b(), x + y);
        EXPECT_EQ((a - b).GetU8b(), x - y);
        EXPECT_EQ((a | b).GetU8b() ^ (a & b).GetU8b(), x ^ y);
        EXPECT_EQ((-a).GetU8b(), 0 - x);
        EXPECT_EQ((~a).GetU8b(), ~x);
        EXPECT_EQ((a < b) + 2 * (a > b) + 4 * (a == b), (sx < sy) + 2 * (sx > sy) + 4 * (sx == sy));
        EXPECT_EQ((a <= b) + 2 * (a >= b) + 4 * (a != b), (sx <= sy) + 2 * (sx >= sy) + 4 * (sx != sy));
        if (sy != 0 && !(sx == kMin && sy == -1) && sy != kMin) {
            EXPECT_EQ((a / b).Get8b(), sx / sy);
            EXPECT_EQ((a % b).Get8b(), sx % sy);
        }
    }
}

TEST(KsInt64, CompoundAndStepOperatorsReturnTheNewValue) {
    KsInt64 v(0xFFFFFFFFu), top(kMax);
    EXPECT_EQ((++v).Get8b(), 0x100000000LL);  // carry into the high word
    EXPECT_EQ((--v).Get8b(), 0xFFFFFFFFLL);
    EXPECT_EQ((v *= KsInt64(2)).Get8b(), 0x1FFFFFFFELL);
    EXPECT_EQ((v <<= 4).Get8b(), 0x1FFFFFFFE0LL);
    EXPECT_EQ((v >>= 8).Get8b(), 0x1FFFFFFFLL);
    EXPECT_EQ((++top).Get8b(), kMin);
}

TEST(KsInt64, ShiftsDoNotMaskTheCountAndAbsKeepsTheMinimum) {
    struct Case { KsI64 v; unsigned n; KsI64 left, right; };
    const Case cases[] = {
        {1, 63, kMin, 0}, {1, 64, 0, 0}, {-1, 70, 0, -1}, {5, 0, 5, 5}, {kMin, 63, 0, -1},
        {0x80000000LL, 1, 0x100000000LL, 0x40000000LL},  // bit 31 crosses the words
        {0x100000000LL, 1, 0x200000000LL, 0x80000000LL}, {kMax, 4000000000u, 0, 0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ((KsInt64(c.v) << c.n).Get8b(), c.left) << c.v << " << " << c.n;
        EXPECT_EQ((KsInt64(c.v) >> c.n).Get8b(), c.right) << c.v << " >> " << c.n;
    }
    const KsI64 abs[][2] = {{5, 5}, {-kMax, kMax}, {kMin, kMin}, {-0x100000000LL, 0x100000000LL}};
    for (const auto& c : abs) EXPECT_EQ(KsInt64(c[0]).Abs().Get8b(), c[1]) << c[0];
}

TEST(KsInt64, FromDoubleKeepsSevenDigits) {
    struct Case { double v; KsI64 expected; };
    const Case cases[] = {
        {0.999, 0}, {-2.5, -2}, {1e30, kMax}, {-1e19, -kMax}, {-0.0, 0}, {123456789.0, 123456800},
        {9.9999999, 10},  // "%E" rounds up to 1.000000E+01
        {12345678.0, 12345680}, {999999.5, 999999}, {9223372036854774784.0, 9223372000000000000LL},
        {std::nan(""), 0}, {-HUGE_VAL, -kMax}, {5e-324, 0},
    };
    for (const Case& c : cases) EXPECT_EQ(KsInt64(c.v).Get8b(), c.expected) << c.v;
}

TEST(KsInt64, PrintFormats) {
    struct Case { KsI64 v; const char* format; const char* text; };
    const Case cases[] = {
        {kMin, "%S", "-9223372036854775808"}, {kMin, "%o", "01000000000000000000000"},
        {kMin, "%X", "0X8000000000000000"},   {kMax, "%d", "9223372036854775807"},
        {0, "%o", "00"}, {0, "%x", "0x0"}, {-8, "%o", "-010"}, {42, nullptr, "42"},
        {42, "v=%i;", "v=42;"}, {42, "%d/%x", "42/0x2a"},
        {42, "%q%d", "%q42"},  // "%q" is text
        {42, "%%d", "%%d"},    // the second "%" is taken along as text
        {42, "100%", "100%"},
    };
    for (const Case& c : cases) EXPECT_EQ(Print(KsInt64(c.v), c.format), c.text) << c.format;
    KsString out("x=");
    KsInt64(7).PrintToKsString(out, "%S");
    EXPECT_STREQ(out.StrGet(), "x=7");  // appends
}

TEST(KsInt64, ScanFormats) {
    struct Case { const char* text; const char* format; KsI64 expected; };
    const Case cases[] = {
        {"0x1F", "%d", -1}, {"0x1F", "%S", 31}, {"0X1F", "%X", 31},
        {"1F", "%x", -1},                          // hex needs its prefix
        {"12", "%S;", 12}, {"12;99", "%S;", 12},   // text may end early or run on
        {"017", "%o", 15}, {"017", "%d", -1}, {"0", "%d", -1},  // a leading zero means octal
        {"0", "%S", 0}, {"18", "%o", -1}, {"+42", "%d", 42}, {"-0x10", "%x", -16}, {"4a", "%d", -1},
        {"%5", "%q%d", -1}, {"%q5", "%q%d", 5},    // "%q" must match itself
        {"%12", "%%d", 12}, {"%%12", "%%d", -1},   // only the "%" is literal
        {"1:2", "%d:%d", 2},                       // the last directive wins
        {"", "%d", 0}, {"7", nullptr, 7}, {"-9223372036854775808", "%S", kMin},
        {"18446744073709551617", "%S", 1},         // wraps without a check
    };
    for (const Case& c : cases) EXPECT_EQ(Scan(KsString(c.text), c.format), c.expected) << c.text << " / " << c.format;
    const unsigned short wide[] = {'-', '1', '2', 0};
    const KsString text(wide);
    ASSERT_EQ(text.Width(), 2u);
    EXPECT_EQ(Scan(text, "%d"), -12);
}

// Row slots.

Bytes Image(const std::vector<KsInt64>& values, uchar format) {
    Bytes disk(values.size() * 8 + 4, 0xEE);
    EXPECT_EQ(Int64Store(disk.data(), values.data(), format, uint(values.size())), values.size() * 8);
    disk.resize(values.size() * 8);
    return disk;
}

TEST(KsInt64Row, StoredImagesAreByteExact) {
    static_assert(std::endian::native == std::endian::little, "format 1 images below are little-endian");
    const std::vector<KsInt64> v = {KsInt64(0x0102030405060708LL), KsInt64(-2)};
    EXPECT_EQ(Image(v, 2), (Bytes{5, 6, 7, 8, 1, 2, 3, 4, 0xFF, 0xFF, 0xFF, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF}));
    EXPECT_EQ(Image(v, 1), (Bytes{8, 7, 6, 5, 4, 3, 2, 1, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}));
    EXPECT_EQ(Image(v, 0x12), Image(v, 2));  // only the low nibble counts
    for (uchar f : {1, 2, 8}) {
        const Bytes disk = Image(v, f);
        std::vector<KsInt64> back(2);
        EXPECT_EQ(Int64Load(back.data(), disk.data(), f, 2), 16u);
        EXPECT_TRUE(back[0] == v[0] && back[1] == v[1]);
    }
    EXPECT_EQ(Int64CountSize(5) + Int64DiskLen(nullptr, 0, 2, 3) + Int64DiskLenFile(nullptr, 2, 4), 96u);
}

TEST(KsInt64Row, Translate) {
    const KsInt64 v(0x0102030405060708LL);
    uchar disk[8];
    EXPECT_EQ(Int64Translate(disk, 2, 8, const_cast<KsInt64*>(&v), 8, 8, 1), 8u);
    EXPECT_EQ(disk[0], 5);
    KsInt64 back;
    EXPECT_EQ(Int64Translate(&back, 8, 8, disk, 2, 8, 1), 8u);
    EXPECT_TRUE(back == v);
    // Stored to stored: bytes as they are, zero-padded.
    uchar src[3] = {1, 2, 3}, dst[5];
    EXPECT_EQ(Int64Translate(dst, 2, 5, src, 1, 3, 1), 3u);
    EXPECT_EQ(Bytes(dst, dst + 5), (Bytes{1, 2, 3, 0, 0}));
}

TEST(KsInt64Row, CompareStatuses) {
    struct Case { uchar format; std::vector<KsI64> a, b; uint lenA, lenB, count; int result, status; };
    const Case cases[] = {
        {8, {-1}, {0x7FFFFFFF}, 0, 0, 1, -1, 0},  // high words decide, signed
        {8, {0x80000000LL}, {1}, 0, 0, 1, 1, 0},  // low words unsigned
        {1, {5, 6}, {5, 7}, 0, 0, 2, -1, 0},      {2, {5, 6}, {5, 6}, 0, 0, 2, 0, 0},
        {0, {-5, 6}, {-6, 6}, 0, 0, 2, 1, 0},     {8, {1}, {2}, 0, 0, 0, 0, 0},  // count 0
        {8, {1, 2}, {2, 2}, 8, 0, 2, -1, 2101},   // short operand reported though decided
        {8, {1, 2}, {1, 2}, 0, 8, 2, 0, 2101},
    };
    for (const Case& c : cases) {
        // Stored operands are stored images of the values.
        std::vector<KsInt64> va(c.a.begin(), c.a.end()), vb(c.b.begin(), c.b.end());
        Bytes a(va.size() * 8), b(vb.size() * 8);
        Int64Store(a.data(), va.data(), c.format, uint(va.size()));
        Int64Store(b.data(), vb.data(), c.format, uint(vb.size()));
        int status = -7;
        EXPECT_EQ(Int64Compare(c.format, c.lenA, a.data(), c.lenB, b.data(), 0, c.count, status), c.result);
        EXPECT_EQ(status, c.status);
    }
}

TEST(KsInt64Row, LifeCycleAndGetValue) {
    KsInt64* created = static_cast<KsInt64*>(Int64Create(2));
    EXPECT_EQ(created[1].Get8b(), 0);
    Int64Delete(created, 2);
    KsInt64 src[3] = {KsInt64(7), KsInt64(8), KsInt64(9)}, dst[3];
    Int64Assign(dst, src, 3, 1);
    EXPECT_EQ(dst[2].Get8b(), 7);
    Int64Copy(dst, src, 3, 0);
    Int64Construct(dst, 2, 0);
    EXPECT_EQ(dst[1].Get8b() * 10 + dst[2].Get8b(), 9);

    struct Case { KsI64 v; uchar format, mode; int status; KsI64 after; };
    const Case cases[] = {
        {5, 8, 'M', 0, 6}, {kMax, 8, 'M', 2091, kMax}, {-1, 8, 'N', 0, 0}, {5, 8, 'O', 0, 5},
        {5, 8, 2, 0, kMin}, {5, 8, 'X', -2999, 5}, {5, 1, 'M', -2999, 5},
    };
    for (const Case& c : cases) {
        KsInt64 v(c.v);
        EXPECT_EQ(Int64GetValue(&v, 0, c.format, c.mode), c.status);
        EXPECT_EQ(v.Get8b(), c.after);
    }
}

TEST(KsInt64Row, TextSlots) {
    KsInt64 values[3] = {KsInt64(kMin), KsInt64(0), KsInt64(-17)};
    KsTypeConvertData* text = Int64ConvertToKsString(values, 3);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(text->type, 11);
    EXPECT_STREQ(text->GetString(0)->StrGet(), "-9223372036854775808");
    text->GetString(1)->SetNullValue();  // a null text reads as 0

    // Texts in are read by the string's own conversion, not by the "%S" scan.
    struct Case { const char* text; KsI64 value; };
    const Case cases[] = {{"0x10", 16}, {"010", 8}, {"12abc", 12}, {"abc", 0}, {"-17", -17}};
    for (const Case& c : cases) {
        *text->GetString(2) = c.text;
        KsInt64* back = static_cast<KsInt64*>(Int64ConvertFromKsString(text, 4));
        EXPECT_EQ(back[0].Get8b(), kMin);
        EXPECT_EQ(back[1].Get8b(), 0);
        EXPECT_EQ(back[2].Get8b(), c.value) << c.text;
        EXPECT_EQ(back[3].Get8b(), 0);  // beyond the carrier
        Int64Delete(back, 4);
    }
    StringDelete(text->data, text->count);
    text->data = nullptr;
    delete text;

    KsString out("old text"), in("0x10");
    KsInt64 v(-255);
    EXPECT_STREQ(Int64Print(out, &v, "%x", 1).StrGet(), "-0xff");  // replaces
    EXPECT_EQ(Int64Scan(&v, in, nullptr, 1), &v);
    EXPECT_EQ(v.Get8b(), 16);
}

}  // namespace
