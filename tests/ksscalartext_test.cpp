// Scalar text forms: format translation, print and scan of the plain rows
// (Windows-style prefixes on this platform, bounded scans, the byte printer,
// the double forms with exact round trips), bulk conversion, and print and
// scan of the null-capable rows.
#include "ksscalartext.h"

#include <gtest/gtest.h>

#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "ksnull.h"
#include "ksnulltext.h"
#include "ksscalar.h"
#include "ksstring.h"
#include "kstest_util.h"
#include "kstypes.h"

namespace {

typedef std::uint64_t Bits;
constexpr KsFormatArg I32 = KsFormatArg::Int32;
constexpr KsFormatArg I64 = KsFormatArg::Int64;
constexpr KsFormatArg DBL = KsFormatArg::Double;
const double kInf = std::numeric_limits<double>::infinity();

std::string Text(const KsString& s) { return std::string(s.StrGet(), s.Len()); }

KsString Wide(const char* s) {
    std::vector<unsigned short> units;
    for (; *s; ++s) units.push_back(static_cast<uchar>(*s));
    units.push_back(0);
    return KsString(units.data());
}

TEST(KsScalarTextTest, FormatTranslation) {
    struct Case {
        const char* format;
        std::vector<KsFormatArg> args;
        bool scan;
        const char* expected;  // pieces joined by "|"
    } cases[] = {
        {"%I64d", {I64}, false, "%lld"},
        {"%ld", {I64}, true, "%lld"},
        {"%I64d", {I32}, false, "%d"},
        {"%-08.3ld", {I32}, true, "%8d"},
        {"%.17g", {DBL}, true, "%lg"},
        {"ldexp(%.17g, %d)", {DBL, I32}, false, "ldexp(%.17g, |%d)"},
        {"%*[]x]%d", {I32}, true, "%*[]x]%d"},
        // Refused: nothing may reach printf/scanf that reads a wrong argument.
        {"%s", {I32}, true, ""},
        {"%d%d", {I32}, false, ""},
        {"%*d", {I32}, false, ""},
        {"%600d", {I32}, false, ""},
        {"%5c", {I32}, true, ""},
        {"%*[abc", {I32}, true, ""},
    };
    for (const Case& c : cases) {
        std::vector<KsFormatPiece> pieces;
        const bool ok =
            KsFormatTranslate(c.format, c.args.data(), int(c.args.size()), c.scan, pieces);
        std::string joined;
        for (const KsFormatPiece& p : pieces) joined += (joined.empty() ? "" : "|") + p.text;
        EXPECT_EQ(ok, *c.expected != 0) << c.format;
        EXPECT_EQ(joined, c.expected) << c.format << (c.scan ? " scan" : " print");
    }
}

struct IntRow {
    KsPrintFunc print;
    KsScanFunc scan;
    uint width;  // bytes
};
const IntRow kShort = {&ShortPrintToKsString, &ShortScanFromKsString, 2},
             kLong = {&LongPrintToKsString, &LongScanFromKsString, 4},
             kInt = {&IntPrintToKsString, &IntScanFromKsString, 4},
             k8B = {&O_8BPrintToKsString, &O_8BScanFromKsString, 8},
             kU8B = {&O_U8BPrintToKsString, &O_U8BScanFromKsString, 8};
constexpr Bits kSeed = 0x5A5A5A5A5A5A5A5Aull;

std::string Print(const IntRow& row, Bits v, const char* format) {  // little-endian value
    KsString out("old text");
    row.print(out, &v, format, 1);
    return Text(out);
}

// The scanned value; the bytes past it must stay as they were.
Bits Scan(const IntRow& row, KsString text, const char* format) {
    Bits v = kSeed;
    EXPECT_EQ(row.scan(&v, text, format, 1), &v);
    const Bits mask = row.width == 8 ? ~Bits(0) : (Bits(1) << (8 * row.width)) - 1;
    EXPECT_EQ(v & ~mask, kSeed & ~mask) << "wrote past the value";
    return v & mask;
}

TEST(KsScalarTextTest, IntegerPrintAndScan) {
    EXPECT_EQ(Print(kShort, 0xFFFF, "%d"), "-1");  // signed conversions widen with the sign
    EXPECT_EQ(Print(kShort, 0xFFFF, "%u"), "65535");
    EXPECT_EQ(Print(kLong, 0xFFFFFFFF, "%lu"), "4294967295");
    EXPECT_EQ(Print(k8B, 0x8000000000000000ull, nullptr), "-9223372036854775808");
    EXPECT_EQ(Print(k8B, 70000, "%hd"), "4464");
    EXPECT_EQ(Print(kU8B, ~Bits(0), nullptr), "18446744073709551615");
    EXPECT_EQ(Print(k8B, 5, "%s"), "");  // refused format: empty text

    EXPECT_EQ(Scan(kShort, "70000", "%hd"), 4464u);
    EXPECT_EQ(Scan(kLong, "12", "#%lu"), kSeed & 0xFFFFFFFF);  // unchanged
    EXPECT_EQ(Scan(kInt, "0x1f", "%i"), 31u);
    EXPECT_EQ(Scan(kInt, "-3", "%hd"), 0xFFFFFFFDu);
    EXPECT_EQ(Scan(kInt, Wide("  42"), "%d"), 42u);
    EXPECT_EQ(Scan(k8B, "-9223372036854775808", nullptr), 0x8000000000000000ull);
    EXPECT_EQ(Scan(kU8B, "18446744073709551615", nullptr), ~Bits(0));
    KsString any("1");
    EXPECT_EQ(IntScanFromKsString(nullptr, any, "%d", 1), nullptr);
}

TEST(KsScalarTextTest, ScanStopsAtTheStringsLength) {
    // A buffer whose terminator was overwritten: the scans read exactly the
    // string's bytes (ASan reports a read beyond them).
    KsString s("123");
    s.Text()[3] = '4';
    ASSERT_EQ(s.Len(), 4);
    int v = 0;
    IntScanFromKsString(&v, s, "%d", 1);
    EXPECT_EQ(v, 1234);
    char c[5] = {};
    CharScanFromKsString(c, s, "%c", 5);
    EXPECT_STREQ(c, "1234");
}

std::string PrintBytes(std::vector<uchar> bytes, const char* format, uint count) {
    KsString out("old");
    CharPrintToKsString(out, bytes.data(), format, count);
    return Text(out);
}

std::string ScanBytes(KsString text, const char* format, uint count) {
    char v[5] = "....";
    CharScanFromKsString(v, text, format, count);
    return std::string(v, 4);
}

TEST(KsScalarTextTest, BytePrintAndScan) {
    EXPECT_EQ(PrintBytes({0x41, 0x07}, "%c", 2), "A0x07");
    EXPECT_EQ(PrintBytes({0x41, 0xFF}, "%d;", 2), "65;0xff");
    EXPECT_EQ(PrintBytes({0x20, 0x7E, 0x7F}, nullptr, 3), " ~0x7f");
    EXPECT_EQ(ScanBytes("AB", "%c", 4), "AB..");  // stops where the text does
    EXPECT_EQ(ScanBytes(Wide("xy"), "%c", 2), "xy..");
    EXPECT_EQ(ScanBytes("65", "%d", 1), "A...");
    EXPECT_EQ(ScanBytes("4142", "%2x", 2), "A\x14..");  // each element starts one character later
}

std::string PrintDouble(double v, const char* format) {
    KsString out;
    DoublePrintToKsString(out, &v, format, 1);
    return Text(out);
}

double ScanDouble(KsString text, const char* format) {
    double v = -7.0;  // a refused text leaves it
    DoubleScanFromKsString(&v, text, format, 1);
    return v;
}

TEST(KsScalarTextTest, DoublePrintAndScan) {
    EXPECT_EQ(PrintDouble(-std::numeric_limits<double>::quiet_NaN(), nullptr), "NaN");
    EXPECT_EQ(PrintDouble(-kInf, "%.17g"), "-Infinity");
    EXPECT_EQ(PrintDouble(3.0, "ldexp(%.17g, %d)"), "ldexp(0.75, 2)");
    EXPECT_EQ(PrintDouble(8.0, "ldex[%a,%d]"), "ldex[0x1p-1,4]");
    EXPECT_EQ(PrintDouble(1.5, "ldexp(%d)"), "");
    // Cut to the 511 characters of the print buffer.
    EXPECT_EQ(PrintDouble(1e308, "ldexp(%.400f, %.400d)").size(), 511u);
    float f = 0.1f;
    KsString out;
    FloatPrintToKsString(out, &f, nullptr, 1);
    EXPECT_EQ(Text(out), "0.10000000149011612");

    EXPECT_EQ(ScanDouble("  Infinity", nullptr), kInf);
    EXPECT_EQ(ScanDouble("ldexp(0.5, 3)", "%.17g"), 4.0);
    EXPECT_EQ(ScanDouble("ldex[0x1p-1,4]", "ldex[%a,%d]"), 8.0);
    EXPECT_EQ(ScanDouble("ldexp(1, 2147483647)", nullptr), kInf);
    EXPECT_EQ(ScanDouble("ldexp(0.5,", nullptr), -7.0);
    EXPECT_EQ(ScanDouble("x2.5", "x%lf"), 2.5);
    EXPECT_EQ(ScanDouble("2.5", "%d"), -7.0);
    EXPECT_EQ(ScanDouble(Wide("ldexp(0.5, 2)"), nullptr), 2.0);
    EXPECT_TRUE(std::isnan(ScanDouble("NaN", nullptr)));
    KsString big("1e300");
    FloatScanFromKsString(&f, big, nullptr, 1);
    EXPECT_EQ(f, std::numeric_limits<float>::infinity());
}

// Both forms the reader takes give back every double bit for bit.
TEST(KsScalarTextTest, DoubleRoundTripsAreExact) {
    std::vector<double> values = {0.0, -0.0, 0.1, DBL_MIN, DBL_MAX, -DBL_MAX, kInf, -kInf,
                                  std::numeric_limits<double>::denorm_min()};
    std::mt19937_64 rng(20240611);
    while (values.size() < 3000) {
        const double d = std::bit_cast<double>(rng());
        if (std::isfinite(d)) values.push_back(d);
    }
    for (const char* format : {"ldexp(%.17g, %d)", "%.17g"}) {
        for (double v : values) {
            KsString text;
            DoublePrintToKsString(text, &v, format, 1);
            ASSERT_EQ(std::bit_cast<Bits>(ScanDouble(text, format)), std::bit_cast<Bits>(v))
                << format << " " << Text(text);
        }
    }
}

TEST(KsScalarTextTest, BulkConversionRoundTrips) {
    typedef KsScalarKind K;
    struct Bulk {
        KsToTextFunc to;
        KsFromTextFunc from;
        K kind;
        uint width;
        Bits value;
        const char* text;
    } rows[] = {
        {&O_U1BConvertToKsString, &O_U1BConvertFromKsString, K::UChar, 1, 0xE9, "\xE9"},
        {&WordConvertToKsString, &WordConvertFromKsString, K::UShort, 2, 65535, "65535"},
        {&ULongConvertToKsString, &ULongConvertFromKsString, K::ULong, 4, 0xFFFFFFFFu, "-1"},
        {&UnsignedConvertToKsString, &UnsignedConvertFromKsString, K::Unsigned, 4, 3000000000u,
         "-1294967296"},
        {&FloatConvertToKsString, &FloatConvertFromKsString, K::Float, 4,
         std::bit_cast<uint>(0.5f), "0.5"},
        {&DoubleConvertToKsString, &DoubleConvertFromKsString, K::Double, 8,
         std::bit_cast<Bits>(0.1), "0.10000000000000001"},
        {&O_8BConvertToKsString, &O_8BConvertFromKsString, K::I64, 8, 0x8000000000000000ull,
         "-9223372036854775808"},
        {&O_U8BConvertToKsString, &O_U8BConvertFromKsString, K::U64, 8, ~Bits(0),
         "18446744073709551615"},
    };
    KsTypeMgr mgr;
    for (const Bulk& r : rows) {
        // Values v, 0, v: texts "text", "", "text".
        std::vector<uchar> in(3 * r.width, 0);
        std::memcpy(&in[0], &r.value, r.width);
        std::memcpy(&in[2 * r.width], &r.value, r.width);
        KsTypeConvertData* text = r.to(in.data(), 3);
        ASSERT_NE(text, nullptr) << r.text;
        EXPECT_EQ(text->type, KsSTRING_T);
        EXPECT_EQ(text->count, 3u);
        EXPECT_EQ(text->owner, nullptr);
        EXPECT_EQ(Text(*text->GetString(0)), r.text);

        void* back = r.from(text, 3);
        EXPECT_EQ(std::memcmp(back, in.data(), in.size()), 0) << r.text;
        KsScalarSlotsGet(r.kind).destroy(back, 3);

        // A null string and a missing one (index 3) read as 0.
        text->GetString(0)->SetNullValue();
        back = r.from(text, 4);
        std::vector<uchar> expected(4 * r.width, 0);
        std::memcpy(&expected[2 * r.width], &r.value, r.width);
        EXPECT_EQ(std::memcmp(back, expected.data(), expected.size()), 0) << r.text;
        KsScalarSlotsGet(r.kind).destroy(back, 4);

        // Wide texts are read through their single-byte form.
        *text->GetString(1) = Wide(r.text);
        back = r.from(text, 2);
        EXPECT_EQ(std::memcmp(static_cast<uchar*>(back) + r.width, &r.value, r.width), 0)
            << r.text << " wide";
        KsScalarSlotsGet(r.kind).destroy(back, 2);

        text->owner = &mgr;  // the texts go back through the owner's string row
        delete text;
    }
}

template <typename Elem>
Elem Make(decltype(Elem::value) v, bool null = false) {
    Elem e;
    e.value = v;
    e.flag = null ? 1 : 0;
    return e;
}

std::string PrintNull(KsPrintFunc print, void* value, const char* format) {
    KsString out("old");
    print(out, value, format, 1);
    return Text(out);
}

TEST(KsScalarTextTest, NullCapablePrint) {
    KsNull_char nullChar = Make<KsNull_char>(0, true);
    KsNull_uchar uc = Make<KsNull_uchar>('A');
    KsNull_unsigned u = Make<KsNull_unsigned>(3000000000u);
    KsNull_8b b = Make<KsNull_8b>(-5000000000ll);
    KsNull_KsInt64 i64 = Make<KsNull_KsInt64>({5, 0});
    KsNull_int nullInt = Make<KsNull_int>(0, true);
    EXPECT_EQ(PrintNull(&KsNullCharPrintToKsString, &nullChar, nullptr), "{NULL}");
    EXPECT_EQ(PrintNull(&KsNullUCharPrintToKsString, &uc, nullptr), "A");
    EXPECT_EQ(PrintNull(&KsNullUnsignedPrintToKsString, &u, "%d"), "-1294967296");
    EXPECT_EQ(PrintNull(&KsNull8BPrintToKsString, &b, nullptr), "-5000000000");
    EXPECT_EQ(PrintNull(&KsNullKsInt64PrintToKsString, &i64, nullptr), "5");
    EXPECT_EQ(PrintNull(&KsNullIntPrintToKsString, &nullInt, "%d"), "{NULL}");

    // A changed null print string, into a wide output.
    NullPrintGuard guard;
    KsTypeMgr::SetNullPrintString(KsString("<nil>"));
    KsString out(253, 0), narrow;
    KsNullIntPrintToKsString(out, &nullInt, nullptr, 1);
    narrow.CopyMapped(out, 1);
    EXPECT_EQ(out.CodeSet(), 253);
    EXPECT_EQ(Text(narrow), "<nil>");
}

TEST(KsScalarTextTest, NullCapableScan) {
    struct Case {
        KsString text;
        bool null;
        short value;
    } cases[] = {{"", true, 0}, {"{NULL}xyz", true, 0}, {Wide("{NULL}"), true, 0},
                 {"{NUL", false, 99}};  // not null, though nothing was read
    for (Case& c : cases) {
        KsNull_short e = Make<KsNull_short>(99, true);
        EXPECT_EQ(KsNullShortScanFromKsString(&e, c.text, nullptr, 1), &e);
        EXPECT_EQ(e.IsNullValue() != 0, c.null) << Text(c.text);
        EXPECT_EQ(e.value, c.value) << Text(c.text);
    }

    KsNull_KsInt64 i = Make<KsNull_KsInt64>({0, 0}, true);
    KsString minus("-2");
    KsNullKsInt64ScanFromKsString(&i, minus, nullptr, 1);
    EXPECT_EQ(i.value.low, 0xFFFFFFFEu);
    EXPECT_EQ(i.value.high, -1);
    EXPECT_EQ(i.flag, 0);

    // After a change of the null print string only the new text is null.
    NullPrintGuard guard;
    KsTypeMgr::SetNullPrintString(KsString("-"));
    KsNull_int n = Make<KsNull_int>(5);
    KsNullIntScanFromKsString(&n, minus, nullptr, 1);
    EXPECT_NE(n.IsNullValue(), 0);
    KsString braces("{NULL}");
    n = Make<KsNull_int>(5, true);
    KsNullIntScanFromKsString(&n, braces, nullptr, 1);
    EXPECT_EQ(n.IsNullValue(), 0);
}

}  // namespace
