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
    EXPECT_EQ(KsConvertOrderToString(order, language, text), 0);
    return text.StrGet();
}

TEST(KsOrderFields, SymbolAndDigitBounds)
{
    struct Case { ushort order; int status; ushort value; };
    const Case symbols[] = {{80, 0, 0}, {79, -2002, 65535}, {16127, 0, 16047}, {16128, -2002, 16048}, {0, -2002, 65456}};
    for (const Case& c : symbols) {
        ushort symbol = 1;
        EXPECT_EQ(KsExtractSymbolFromOrder(c.order, symbol), c.status) << c.order;
        EXPECT_EQ(symbol, c.value) << c.order;
    }
    struct DigitCase { ushort order; int status; ushort digit, expand; };
    const DigitCase digits[] = {
        {16128, 0, 0, 0},    {16128 + 70, 0, 7, 0}, {16128 + 71, 0, 7, 1},
        {16383, 0, 25, 1},   {16384, -2002, 25, 0}, {16127, -2002, 6553, 1},
    };
    for (const DigitCase& c : digits) {
        ushort digit = 99, expand = 99;
        EXPECT_EQ(KsExtractDigitFromOrder(c.order, digit, expand), c.status) << c.order;
        EXPECT_EQ(digit, c.digit) << c.order;
        EXPECT_EQ(expand, c.expand) << c.order;
    }
}

TEST(KsOrderFields, LetterFields)
{
    ushort letterCase, accent, letter, extension;
    EXPECT_EQ(KsExtractLetterFromOrder(0x4000 | 2 << 12 | 14 << 7 | 28 << 2 | 3, letterCase, accent, letter, extension), 0);
    EXPECT_EQ(letterCase, 2);
    EXPECT_EQ(accent, 14);
    EXPECT_EQ(letter, 28);
    EXPECT_EQ(extension, 3);
    EXPECT_EQ(KsExtractLetterFromOrder(0x8000, letterCase, accent, letter, extension), -2002);
}

TEST(KsOrderDescription, EdgeCases)
{
    struct Case { ushort order; uchar language; const char* text; };
    const Case cases[] = {
        {13, 1, "undefined ordering indicator"},
        {0, 1, "space"},
        {79, 1, "space"},
        {80 + 44, 1, "symbol solidus"},
        {80 + 33, 1, "symbol "},
        {80 + 79, 1, "symbol *"},
        {80 + 58, 1, "symbol left pointing o_double angle quotation mark"},
        {80 + 140, 1, "symbol "},
        {80 + 139, 1, "symbol inverted question mark"},
        {16128 + 70, 1, "digit 7"},
        {16128 + 71, 1, "digit 7 with expand"},
        {0x4000 | 3 << 2 | 3 << 7, 1, "upper letter A with accent grave"},
        {0x5000 | 3 << 2 | 3 << 7, 1, "lower letter a with accent grave"},
        {0x4000 | 3 << 2 | 3 << 7 | 1, 1, "upper letter A with accent grave with extension"},
        {0x7000 | 28 << 2 | 14 << 7, 1, "lower letter z with accent o_double acute"},
        {0x4000 | 3 << 2 | 15 << 7, 1, "upper letter A with "},
        {0x4000 | 28 << 2 | 2, 1, "upper letter Z with extension"},
        {0x4E00, 20, "HAN character 0x4e00\n"},
        {0x4000 | 3 << 2, 20 | 0x80, "HAN character 0x400c\n"},
        {0x83B1, 1, "HAN character 0x83b1\n"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(Describe(c.order, c.language), c.text) << std::hex << c.order;
}

TEST(KsOrderDescription, DescribesTheOrdersOfRealCharacters)
{
    struct Case { uchar cs, language, byte; const char* text; };
    const Case cases[] = {
        {1, 1, 0xC0, "upper letter A with accent grave"},
        {1, 1, 0xE9, "lower letter e with accent acute"},
        {1, 1, 0xE7, "lower letter c with cedilla"},
        {1, 1, 0xD8, "upper letter O with stroke"},
        {2, 1, 0xE8, "lower letter c with accent caron"},
        {2, 1, 0xF5, "lower letter o with accent o_double acute"},
        {2, 1, 0xB1, "lower letter a with ogonek"},
        {23, 1, 0xE2, "lower letter a with accent macron"},
        {1, 4, 0xF1, "lower letter n with tilde with extension"},
        {1, 1, 0xF1, "lower letter n with tilde"},
        {1, 9, 0xC5, "upper letter Z with ring above with extension"},
        {2, 13, 0xA3, "upper letter L with stroke with extension"},
        {1, 1, 0xDF, "lower letter s with "},  // first half of the sharp s
        {1, 1, '*', "symbol *"},
        {1, 1, '7', "digit 7"},
        {1, 1, 0xB9, "digit 1 with expand"},
        {1, 1, '\t', "space"},
        {3, 1, 0xA5, "undefined ordering indicator"},
        {1, 21, 'a', "HAN character 0x0061\n"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(Describe(KsCollation::Order(c.byte, c.cs, c.language), c.language), c.text) << std::hex << int(c.byte);
}

TEST(KsOrderDescription, NamedSymbolsHaveTheirNumbersInEveryCodeSet)
{
    // Every symbol the descriptions name, in every 8-bit code set that has
    // the character and in 16-bit text: its number and its description.
    struct Case { ushort u; ushort number; const char* text; };
    const Case cases[] = {
        {'_', 32, "_"}, {0xAF, 34, "macron sign"}, {0xAD, 35, "soft hyphen"}, {'-', 36, "-"}, {',', 37, ","},
        {';', 38, ";"}, {':', 39, ":"}, {'!', 40, "!"}, {0xA1, 41, "inverted exclamation mark"}, {'?', 42, "?"},
        {'/', 44, "solidus"}, {'.', 46, "full stop"}, {0xB7, 49, "middle dot"}, {0xB8, 50, "cedilla"},
        {0xB4, 52, "apostrophe"}, {'"', 55, "\""}, {0xAB, 58, "left pointing o_double angle quotation mark"},
        {0xBB, 59, "right pointing o_double angle quotation mark"}, {'(', 60, "("}, {')', 62, ")"}, {'[', 64, "["},
        {']', 65, "]"}, {'{', 66, "{"}, {'}', 67, "}"}, {0xA7, 68, "section sign"}, {0xB6, 69, "pilcrow sign"},
        {0xA9, 70, "copyright sign"}, {0xAE, 71, "registered sign"}, {'@', 73, "@"}, {0xA4, 74, "currency sign"},
        {0xA2, 75, "cent sign"}, {'$', 76, "$"}, {0xA3, 77, "pound sign"}, {0xA5, 78, "yen sign"}, {'*', 79, "*"},
        {'\\', 80, "reverse solidus"}, {'&', 81, "&"}, {'#', 82, "#"}, {'%', 83, "%"}, {'+', 85, "+"},
        {0xB1, 87, "plus minus sign"}, {'\'', 88, "'"}, {'`', 89, "`"}, {'^', 91, "^"}, {0xA8, 94, "diaeresis"},
        {'~', 96, "~"}, {0xF7, 98, "division sign"}, {0xD7, 99, "multiplication sign"}, {'<', 101, "<"},
        {'=', 103, "="}, {'>', 105, ">"}, {0xAC, 106, "not sign"}, {'|', 107, "|"}, {0xA6, 108, "broken bar"},
        {0xB0, 109, "degree sign"}, {0xB5, 110, "micron sign"}, {0xBF, 139, "inverted question mark"},
    };
    for (const Case& c : cases) {
        const std::string text = std::string("symbol ") + c.text;
        EXPECT_EQ(KsCollation::Order(c.u, 253, 1), 80 + c.number) << std::hex << "U+" << c.u;
        for (const KsCodeSet* const* cs = KsLanguageContext::CodeSets(); *cs; ++cs) {
            const int b = (*cs)->FromUnicode(c.u);
            if ((*cs)->IsWide() || b < 0)
                continue;
            for (uchar language : {0, 1, 9, 16}) {
                const ushort order = KsCollation::Order(ushort(b), (*cs)->Id(), language);
                EXPECT_EQ(order, 80 + c.number) << (*cs)->Name() << std::hex << " U+" << c.u;
                EXPECT_EQ(Describe(order, language), text) << (*cs)->Name();
            }
        }
    }
}

TEST(KsOrderToChar, InvertsEveryUniqueOrderOfEveryEightBitTable)
{
    for (const KsCodeSet* const* cs = KsLanguageContext::CodeSets(); *cs; ++cs) {
        if ((*cs)->IsWide())
            continue;
        for (uchar language : {0, 1, 2, 4, 7, 9, 12, 13, 14, 15, 16, 17, 18, 20, 21}) {
            const KsOrderEntry* table = KsCollation::Table8((*cs)->Id(), language);
            std::map<ushort, int> uses;
            for (int b = 0; b < 256; ++b)
                ++uses[ushort(table[b])];
            for (int b = 0; b < 256; ++b) {
                const ushort order = ushort(table[b]);
                if (uses[order] != 1)
                    continue;
                uchar c = 0;
                const char* name = nullptr;
                ASSERT_EQ(KsConvertOrderToChar(order, language, c, (*cs)->Id(), &name), 0);
                EXPECT_EQ(c, b) << (*cs)->Name() << " language " << int(language);
                ASSERT_NE(name, nullptr);
                EXPECT_EQ(std::string(name), Describe(order, language));
            }
        }
    }
}

TEST(KsOrderToChar, RefusesWhatNoByteHas)
{
    uchar c = 7;
    const char* name = "x";
    EXPECT_EQ(KsConvertOrderToChar(0x4E00, 20, c, 1, &name), -2002);  // no ideograph in Latin-1
    EXPECT_EQ(c, 0);
    EXPECT_EQ(name, nullptr);
    EXPECT_EQ(KsConvertOrderToChar(80 + 3000, 1, c, 1, nullptr), -2002);
    EXPECT_EQ(KsConvertOrderToChar(80 + 79, 1, c, 253, nullptr), -2002);  // not an 8-bit code set
    // Shared orders give the first byte; a byte that sorts as one letter
    // wins over one that begins an expansion.
    ASSERT_EQ(KsConvertOrderToChar(50, 1, c, 1, nullptr), 0);  // C1 controls
    EXPECT_EQ(c, 0x80);
    ASSERT_EQ(KsConvertOrderToChar(KsCollation::Order('*', 1, 1), 1, c, 0, nullptr), 0);  // native
    EXPECT_EQ(c, '*');
}

}  // namespace
