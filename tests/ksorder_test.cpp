// Order descriptions: field extraction at the class boundaries, the
// description texts, and KsConvertOrderToChar inverting the order tables.
#include "ksorder.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "ksi18n.h"
#include "ksstring.h"

namespace {

std::string Describe(ushort order, uchar language = 1)
{
    KsString text;
    return KsConvertOrderToString(order, language, text) == 0 ? text.StrGet() : "(failed)";
}

TEST(KsOrderFields, ClassBounds)
{
    // value: the symbol number, or digit * 10 + expand.
    struct Case { ushort order; bool digit; int status; uint value; };
    const Case cases[] = {
        {80, false, 0, 0},         {79, false, -2002, 65535},      {16127, false, 0, 16047}, {16128, false, -2002, 16048},
        {16128, true, 0, 0},       {16128 + 71, true, 0, 71},      {16383, true, 0, 251},    {16384, true, -2002, 250},
        {16127, true, -2002, 65531},
    };
    for (const Case& c : cases) {
        ushort a = 99, b = 0;
        EXPECT_EQ(c.digit ? KsExtractDigitFromOrder(c.order, a, b) : KsExtractSymbolFromOrder(c.order, a), c.status) << c.order;
        EXPECT_EQ(a * 10u + b, c.digit ? c.value : c.value * 10u) << c.order;
    }
    ushort fields[4];
    EXPECT_EQ(KsExtractLetterFromOrder(0x4000 | 2 << 12 | 14 << 7 | 28 << 2 | 3, fields[0], fields[1], fields[2], fields[3]), 0);
    EXPECT_EQ(fields[0] << 12 | fields[1] << 7 | fields[2] << 2 | fields[3], 2 << 12 | 14 << 7 | 28 << 2 | 3);
    EXPECT_EQ(KsExtractLetterFromOrder(0x8000, fields[0], fields[1], fields[2], fields[3]), -2002);
}

TEST(KsOrderDescription, OrdersAndRealCharacters)
{
    struct Case { ushort order; uchar language; const char* text; };
    const Case cases[] = {
        {13, 1, "undefined ordering indicator"}, {79, 1, "space"}, {80 + 44, 1, "symbol solidus"}, {80 + 33, 1, "symbol "},
        {80 + 140, 1, "symbol "}, {80 + 139, 1, "symbol inverted question mark"}, {16128 + 70, 1, "digit 7"},
        {80 + 58, 1, "symbol left pointing o_double angle quotation mark"},
        {16128 + 71, 1, "digit 7 with expand"}, {0x5000 | 3 << 2 | 3 << 7, 1, "lower letter a with accent grave"},
        {0x4000 | 3 << 2 | 3 << 7 | 1, 1, "upper letter A with accent grave with extension"},
        {0x7000 | 28 << 2 | 14 << 7, 1, "lower letter z with accent o_double acute"},
        {0x4000 | 3 << 2 | 15 << 7, 1, "upper letter A with "}, {0x4000 | 28 << 2 | 2, 1, "upper letter Z with extension"},
        {0x4000 | 3 << 2, 20 | 0x80, "HAN character 0x400c\n"}, {0x83B1, 1, "HAN character 0x83b1\n"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(Describe(c.order, c.language), c.text) << std::hex << c.order;
    struct CharCase { uchar cs, language, byte; const char* text; };
    const CharCase chars[] = {
        {1, 1, 0xE7, "lower letter c with cedilla"}, {1, 1, 0xD8, "upper letter O with stroke"},
        {2, 1, 0xE8, "lower letter c with accent caron"}, {2, 1, 0xB1, "lower letter a with ogonek"},
        {23, 1, 0xE2, "lower letter a with accent macron"}, {1, 1, 0xF1, "lower letter n with tilde"},
        {1, 4, 0xF1, "lower letter n with tilde with extension"}, {1, 9, 0xC5, "upper letter Z with ring above with extension"},
        {1, 1, 0xDF, "lower letter s with "}, {1, 1, 0xB9, "digit 1 with expand"}, {1, 21, 'a', "HAN character 0x0061\n"},
    };
    for (const CharCase& c : chars)
        EXPECT_EQ(Describe(KsCollation::Order(c.byte, c.cs, c.language), c.language), c.text) << std::hex << int(c.byte);
}

TEST(KsOrderDescription, NamedSymbols)
{
    // A sample of the named symbols: number and description. The 8-bit
    // tables are checked against 16-bit orders elsewhere.
    struct Case { ushort u; ushort number; const char* text; };
    const Case cases[] = {
        {'_', 32, "_"}, {0xAD, 35, "soft hyphen"}, {'.', 46, "full stop"}, {0xB4, 52, "apostrophe"}, {0xA7, 68, "section sign"},
        {0xBB, 59, "right pointing o_double angle quotation mark"}, {0xA5, 78, "yen sign"}, {'\\', 80, "reverse solidus"},
        {'%', 83, "%"}, {0xB1, 87, "plus minus sign"}, {0xD7, 99, "multiplication sign"}, {0xB5, 110, "micron sign"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(KsCollation::Order(c.u, 253, 1), 80 + c.number) << std::hex << "U+" << c.u;
        for (uchar language : {0, 9, 16})
            EXPECT_EQ(Describe(80 + c.number, language), std::string("symbol ") + c.text) << std::hex << "U+" << c.u;
    }
}

TEST(KsOrderToChar, InvertsEveryUniqueOrderOfEveryEightBitTable)
{
    for (const KsCodeSet* const* cs = KsLanguageContext::CodeSets(); *cs; ++cs) {
        for (uchar language : {0, 1, 2, 4, 7, 9, 12, 13, 14, 15, 16, 17, 18, 20, 21}) {
            if ((*cs)->IsWide())
                break;
            const KsOrderEntry* table = KsCollation::Table8((*cs)->Id(), language);
            std::map<ushort, int> uses;
            for (int b = 0; b < 256; ++b)
                ++uses[ushort(table[b])];
            for (int b = 0; b < 256; ++b) {
                uchar c = 0;
                const char* name = nullptr;
                if (uses[ushort(table[b])] != 1)
                    continue;
                ASSERT_EQ(KsConvertOrderToChar(ushort(table[b]), language, c, (*cs)->Id(), &name), 0);
                EXPECT_EQ(c, b) << (*cs)->Name() << " language " << int(language);
                ASSERT_NE(name, nullptr);
                EXPECT_EQ(std::string(name), Describe(ushort(table[b]), language));
            }
        }
    }
}

TEST(KsOrderToChar, RefusesWhatNoByteHas)
{
    uchar c = 7;
    const char* name = "x";
    EXPECT_EQ(KsConvertOrderToChar(0x4E00, 20, c, 1, &name), -2002);  // no ideograph in Latin-1
    EXPECT_EQ(c + (name != nullptr), 0);
    EXPECT_EQ(KsConvertOrderToChar(80 + 3000, 1, c, 1, nullptr), -2002);
    EXPECT_EQ(KsConvertOrderToChar(80 + 79, 1, c, 253, nullptr), -2002);  // not an 8-bit code set
    // Shared orders give the first byte.
    ASSERT_EQ(KsConvertOrderToChar(50, 1, c, 1, nullptr), 0);  // C1 controls
    EXPECT_EQ(c, 0x80);
    ASSERT_EQ(KsConvertOrderToChar(80 + 79, 1, c, 0, nullptr), 0);  // native
    EXPECT_EQ(c, '*');
}

}  // namespace
