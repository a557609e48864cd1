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
        {"%lx", {I32}, false, "%x"},
        {"%ld", {I64}, true, "%lld"},
        {"%I64d", {I32}, false, "%d"},
        {"%hd", {I64}, false, "%hd"},
        {"%-08.3ld", {I32}, false, "%-08.3d"},
        {"%-08.3ld", {I32}, true, "%8d"},
        {"%.17g", {DBL}, true, "%lg"},
        {"100%% of %d", {I32}, false, "100%% of %d"},
        {"ldexp(%.17g, %d)", {DBL, I32}, false, "ldexp(%.17g, |%d)"},
        {"%*[]x]%d", {I32}, true, "%*[]x]%d"},
        // Refused: nothing may reach printf/scanf that reads a wrong argument.
        {"%s", {I32}, true, ""},
        {"%n", {I32}, true, ""},
        {"%d%d", {I32}, false, ""},
        {"%f", {I32}, false, ""},
        {"%*d", {I32}, false, ""},
        {"%1$d", {I32}, false, ""},
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

// ---------------------------------------------------------------------------
// Integers.
// ---------------------------------------------------------------------------
struct IntRow {
    KsPrintFunc print;
    KsScanFunc scan;
    uint width;  // bytes
};
const IntRow kShort = {&ShortPrintToKsString, &ShortScanFromKsString, 2};
const IntRow kLong = {&LongPrintToKsString, &LongScanFromKsString, 4};
const IntRow kInt = {&IntPrintToKsString, &IntScanFromKsString, 4};
const IntRow k8B = {&O_8BPrintToKsString, &O_8BScanFromKsString, 8};
const IntRow kU8B = {&O_U8BPrintToKsString, &O_U8BScanFromKsString, 8};

TEST(KsScalarTextTest, IntegerPrint) {
    struct Case {
        const IntRow& row;
        Bits bits;  // little-endian: the value's bytes come first
        const char* format;
        const char* expected;
    } cases[] = {
        {kShort, 0xFFFF, nullptr, "-1"},
        {kShort, 0xFFFF, "%d", "-1"},  // signed conversions widen with the sign
        {kShort, 0xFFFF, "%u", "65535"},
        {kLong, 0xFFFFFFFF, "%ld", "-1"},
        {kLong, 0xFFFFFFFF, "%lu", "4294967295"},
        {kLong, 7, "#%lu", "#7"},
        {k8B, 0x8000000000000000ull, nullptr, "-9223372036854775808"},
        {k8B, Bits(1) << 40, "%ld", "1099511627776"},
        {k8B, 70000, "%hd", "4464"},
        {kU8B, ~Bits(0), nullptr, "18446744073709551615"},
        {k8B, 5, "%s", ""},  // refused format: empty text
    };
    for (const Case& c : cases) {
        KsString out("old text");
        Bits v = c.bits;
        c.row.print(out, &v, c.format, 1);
        EXPECT_EQ(Text(out), c.expected) << (c.format ? c.format : "(default)");
    }

    // The output keeps its code set and language.
    KsString wide(253, 3);
    short s = 7;
    ShortPrintToKsString(wide, &s, nullptr, 1);
    EXPECT_EQ(wide.CodeSet(), 253);
    EXPECT_EQ(wide.Language(), 3);
    EXPECT_EQ(int(wide), 7);
}

TEST(KsScalarTextTest, IntegerScan) {
    constexpr Bits kSeed = 0x5A5A5A5A5A5A5A5Aull;
    struct Case {
        const IntRow& row;
        KsString text;
        const char* format;
        Bits expected;  // kSeed: unchanged
    } cases[] = {
        {kShort, "70000", "%hd", 4464},
        {kLong, "4294967295", "%lu", 0xFFFFFFFF},
        {kLong, "12", "#%lu", kSeed},
        {kInt, "0x1f", "%i", 31},
        {kInt, "abc", "%d", kSeed},
        {kInt, "-3", "%hd", 0xFFFFFFFD},
        {kInt, "1,2", "%*d,%d", 2},
        {kInt, Wide("  42"), "%d", 42},
        {k8B, "-9223372036854775808", nullptr, 0x8000000000000000ull},
        {kU8B, "18446744073709551615", nullptr, ~Bits(0)},
    };
    for (const Case& c : cases) {
        Bits v = kSeed;
        EXPECT_EQ(c.row.scan(&v, const_cast<KsString&>(c.text), c.format, 1), &v);
        const Bits mask = c.row.width == 8 ? ~Bits(0) : (Bits(1) << (8 * c.row.width)) - 1;
        EXPECT_EQ(v & mask, c.expected & mask) << "'" << Text(c.text) << "'";
        EXPECT_EQ(v & ~mask, kSeed & ~mask) << "wrote past the value";
    }
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
    double d = 0;
    DoubleScanFromKsString(&d, s, nullptr, 1);
    EXPECT_EQ(d, 1234.0);
    char c[5] = {};
    CharScanFromKsString(c, s, "%c", 5);
    EXPECT_STREQ(c, "1234");
}

// ---------------------------------------------------------------------------
// Bytes.
// ---------------------------------------------------------------------------
TEST(KsScalarTextTest, BytePrintAndScan) {
    struct PrintCase {
        std::vector<uchar> bytes;
        const char* format;
        uint count;
        const char* expected;
    } prints[] = {
        {{0x41, 0x07}, "%c", 2, "A0x07"},
        {{0x41, 0x07}, "%c", 0, ""},
        {{0x41, 0xFF}, "%d;", 2, "65;0xff"},
        {{0x20, 0x7E, 0x7F}, nullptr, 3, " ~0x7f"},
    };
    for (const PrintCase& c : prints) {
        KsString out("old");
        std::vector<uchar> bytes = c.bytes;
        CharPrintToKsString(out, bytes.data(), c.format, c.count);
        EXPECT_EQ(Text(out), c.expected);
    }

    struct ScanCase {
        KsString text;
        const char* format;
        uint count;
        const char* expected;  // the 4 bytes after scanning into "...."
    } scans[] = {
        {"AB", "%c", 4, "AB.."},  // stops where the text does
        {"ABCDE", nullptr, 3, "ABC."},
        {Wide("xy"), "%c", 2, "xy.."},
        {"65", "%d", 1, "A..."},
        {"4142", "%2x", 2, "A\x14.."},  // each element starts one character later
    };
    for (const ScanCase& c : scans) {
        char v[5] = "....";
        CharScanFromKsString(v, const_cast<KsString&>(c.text), c.format, c.count);
        EXPECT_EQ(std::string(v, 4), c.expected) << Text(c.text) << " " << c.format;
    }
}

// ---------------------------------------------------------------------------
// Doubles.
// ---------------------------------------------------------------------------
std::string PrintDouble(double v, const char* format) {
    KsString out;
    DoublePrintToKsString(out, &v, format, 1);
    return Text(out);
}

double ScanDouble(const KsString& text, const char* format) {
    double v = -7.0;
    DoubleScanFromKsString(&v, const_cast<KsString&>(text), format, 1);
    return v;
}

TEST(KsScalarTextTest, DoublePrint) {
    struct Case {
        double v;
        const char* format;
        const char* expected;
    } cases[] = {
        {-std::numeric_limits<double>::quiet_NaN(), nullptr, "NaN"},
        {std::numeric_limits<double>::signaling_NaN(), "%.17g", "NaN"},
        {-kInf, "%.17g", "-Infinity"},
        {kInf, "%.17g", "Infinity"},
        {0.1, "%.17g", "0.10000000000000001"},
        {3.0, "ldexp(%.17g, %d)", "ldexp(0.75, 2)"},
        {-0.375, "ldexp(%.17g, %I64d)", "ldexp(-0.75, -1)"},
        {8.0, "ldex[%a,%d]", "ldex[0x1p-1,4]"},
        {1.5, "ldexp(%d)", ""},
    };
    for (const Case& c : cases) EXPECT_EQ(PrintDouble(c.v, c.format), c.expected) << c.format;

    // Cut to the 511 characters of the print buffer.
    EXPECT_EQ(PrintDouble(1e308, "ldexp(%.400f, %.400d)").size(), 511u);

    float f = 0.1f;
    KsString out;
    FloatPrintToKsString(out, &f, nullptr, 1);
    EXPECT_EQ(Text(out), "0.10000000149011612");
}

TEST(KsScalarTextTest, DoubleReader) {
    struct Case {
        KsString text;
        const char* format;
        double expected;  // -7: unchanged
    } cases[] = {
        {"  Infinity", nullptr, kInf},
        {"-Infinity", "%.17g", -kInf},
        {"ldexp(0.5, 3)", "%.17g", 4.0},
        {"1.25", "ldexp(%.17g, %d)", 1.25},
        {"ldex[0x1p-1,4]", "ldex[%a,%d]", 8.0},
        {"ldexp(1, 2147483647)", nullptr, kInf},
        {"ldexp(0.5,", nullptr, -7.0},
        {"1e400", nullptr, kInf},
        {"x2.5", "x%lf", 2.5},
        {"2.5", "%d", -7.0},
        {Wide("ldexp(0.5, 2)"), nullptr, 2.0},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ScanDouble(c.text, c.format), c.expected) << "'" << Text(c.text) << "'";
    EXPECT_TRUE(std::isnan(ScanDouble("NaN", nullptr)));

    float f = 3.0f;
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

// ---------------------------------------------------------------------------
// Bulk conversion.
// ---------------------------------------------------------------------------
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
        {&CharConvertToKsString, &CharConvertFromKsString, K::Char, 1, 'A', "A"},
        {&O_U1BConvertToKsString, &O_U1BConvertFromKsString, K::UChar, 1, 0xE9, "\xE9"},
        {&ShortConvertToKsString, &ShortConvertFromKsString, K::Short, 2, 0xFFFB, "-5"},
        {&WordConvertToKsString, &WordConvertFromKsString, K::UShort, 2, 65535, "65535"},
        {&LongConvertToKsString, &LongConvertFromKsString, K::Long, 4, 0x80000000u,
         "-2147483648"},
        {&ULongConvertToKsString, &ULongConvertFromKsString, K::ULong, 4, 0xFFFFFFFFu, "-1"},
        {&IntConvertToKsString, &IntConvertFromKsString, K::Int, 4, 123, "123"},
        {&UnsignedConvertToKsString, &UnsignedConvertFromKsString, K::Unsigned, 4, 3000000000u,
         "-1294967296"},
        {&EnumConvertToKsString, &EnumConvertFromKsString, K::Enum, 4, 2, "2"},
        {&BlockIdConvertToKsString, &BlockIdConvertFromKsString, K::ULong, 4, 4000000000u,
         "-294967296"},
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

// ---------------------------------------------------------------------------
// Null-capable rows.
// ---------------------------------------------------------------------------
template <typename Elem>
Elem Make(decltype(Elem::value) v, bool null = false) {
    Elem e;
    e.value = v;
    e.flag = null ? 1 : 0;
    return e;
}

TEST(KsScalarTextTest, NullCapablePrint) {
    KsNull_char c = Make<KsNull_char>('A');
    KsNull_char nullChar = Make<KsNull_char>(0, true);
    KsNull_uchar uc = Make<KsNull_uchar>('A');
    KsNull_unsigned u = Make<KsNull_unsigned>(3000000000u);
    KsNull_float f = Make<KsNull_float>(0.25f);
    KsNull_8b b = Make<KsNull_8b>(-5000000000ll);
    KsNull_KsInt64 i64 = Make<KsNull_KsInt64>({5, 0});
    KsNull_int nullInt = Make<KsNull_int>(0, true);
    struct Case {
        KsPrintFunc print;
        void* value;
        const char* format;
        const char* expected;
    } cases[] = {
        {&KsNullCharPrintToKsString, &c, nullptr, ""},  // count 0 reaches the byte printer
        {&KsNullCharPrintToKsString, &nullChar, nullptr, "{NULL}"},
        {&KsNullUCharPrintToKsString, &uc, nullptr, "A"},
        {&KsNullUnsignedPrintToKsString, &u, "%d", "-1294967296"},
        {&KsNullFloatPrintToKsString, &f, "%.2f", "0.25"},
        {&KsNull8BPrintToKsString, &b, nullptr, "-5000000000"},
        {&KsNullKsInt64PrintToKsString, &i64, nullptr, "5"},
        {&KsNullIntPrintToKsString, &nullInt, "%d", "{NULL}"},
    };
    for (const Case& k : cases) {
        KsString out("old");
        k.print(out, k.value, k.format, 1);
        EXPECT_EQ(Text(out), k.expected);
    }

    // A changed null print string, into a wide output.
    NullPrintGuard guard;
    KsTypeMgr::SetNullPrintString(KsString("<nil>"));
    KsString out(253, 0);
    KsNullIntPrintToKsString(out, &nullInt, nullptr, 1);
    KsString narrow;
    narrow.CopyMapped(out, 1);
    EXPECT_EQ(out.CodeSet(), 253);
    EXPECT_EQ(Text(narrow), "<nil>");
}

TEST(KsScalarTextTest, NullCapableScan) {
    struct Case {
        KsString text;
        bool null;
        short value;
    } cases[] = {
        {"", true, 0},
        {KsString(), true, 0},
        {"{NULL}xyz", true, 0},
        {Wide("{NULL}"), true, 0},
        {" 7", false, 7},
        {"{NUL", false, 99},  // not null, though nothing was read
    };
    for (const Case& c : cases) {
        KsNull_short e = Make<KsNull_short>(99, true);
        EXPECT_EQ(KsNullShortScanFromKsString(&e, const_cast<KsString&>(c.text), nullptr, 1), &e);
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
    EXPECT_EQ(n.value, 5);
}

}  // namespace
