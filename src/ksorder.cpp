// Collation order descriptions and the inverse lookup of an order in an
// 8-bit code set's order table.
#include "ksorder.h"

#include "ksi18n.h"
#include "ksstring.h"

#include <cstdio>
#include <cstring>

namespace {

constexpr ushort kSymbolBase = 80;
constexpr ushort kDigitBase = 0x3F00;
constexpr ushort kLetterBase = 0x4000;

// Symbol numbers 32..139 that have a name (others describe as "symbol ").
const char* SymbolName(ushort n)
{
    switch (n) {
    case 32: return "_";
    case 34: return "macron sign";
    case 35: return "soft hyphen";
    case 36: return "-";
    case 37: return ",";
    case 38: return ";";
    case 39: return ":";
    case 40: return "!";
    case 41: return "inverted exclamation mark";
    case 42: return "?";
    case 44: return "solidus";
    case 46: return "full stop";
    case 49: return "middle dot";
    case 50: return "cedilla";
    case 52: return "apostrophe";
    case 55: return "\"";
    case 58: return "left pointing o_double angle quotation mark";
    case 59: return "right pointing o_double angle quotation mark";
    case 60: return "(";
    case 62: return ")";
    case 64: return "[";
    case 65: return "]";
    case 66: return "{";
    case 67: return "}";
    case 68: return "section sign";
    case 69: return "pilcrow sign";
    case 70: return "copyright sign";
    case 71: return "registered sign";
    case 73: return "@";
    case 74: return "currency sign";
    case 75: return "cent sign";
    case 76: return "$";
    case 77: return "pound sign";
    case 78: return "yen sign";
    case 79: return "*";
    case 80: return "reverse solidus";
    case 81: return "&";
    case 82: return "#";
    case 83: return "%";
    case 85: return "+";
    case 87: return "plus minus sign";
    case 88: return "'";
    case 89: return "`";
    case 91: return "^";
    case 94: return "diaeresis";
    case 96: return "~";
    case 98: return "division sign";
    case 99: return "multiplication sign";
    case 101: return "<";
    case 103: return "=";
    case 105: return ">";
    case 106: return "not sign";
    case 107: return "|";
    case 108: return "broken bar";
    case 109: return "degree sign";
    case 110: return "micron sign";
    case 139: return "inverted question mark";
    default: return "";
    }
}

const char* const kAccentNames[15] = {
    "",           "cedilla",   "accent acute", "accent grave",  "accent circumflex",
    "tilde",      "diaeresis", "ring above",   "stroke",        "accent caron",
    "accent macron", "accent breve", "dot above", "ogonek",     "accent o_double acute",
};

// The description, at most 64 bytes with the terminator.
void Describe(ushort order, uchar language, char* out, std::size_t size)
{
    if ((order & 0x8000) || (language & 0x7F) >= 20) {
        std::snprintf(out, size, "HAN character 0x%04x\n", order);
        return;
    }
    if (order < kSymbolBase) {
        std::snprintf(out, size, "%s", order == 13 ? "undefined ordering indicator" : "space");
        return;
    }
    if (order < kDigitBase) {
        ushort symbol = 0;
        KsExtractSymbolFromOrder(order, symbol);
        std::snprintf(out, size, "symbol %s", symbol >= 32 && symbol <= 139 ? SymbolName(symbol) : "");
        return;
    }
    if (order < kLetterBase) {
        ushort digit = 0, expand = 0;
        KsExtractDigitFromOrder(order, digit, expand);
        std::snprintf(out, size, "digit %u%s", uint(digit), expand ? " with expand" : "");
        return;
    }
    ushort letterCase = 0, accent = 0, letter = 0, extension = 0;
    KsExtractLetterFromOrder(order, letterCase, accent, letter, extension);
    const char c = char(letter + 62 + (letterCase ? 32 : 0));
    // Accent numbers above 14 have no name: " with " stays bare on purpose.
    std::snprintf(out, size, "%s letter %c%s%s%s", letterCase ? "lower" : "upper", c,
                  accent ? " with " : "", accent && accent < 15 ? kAccentNames[accent] : "",
                  extension ? " with extension" : "");
}

}  // namespace

int KsExtractSymbolFromOrder(ushort order, ushort& symbol)
{
    symbol = ushort(order - kSymbolBase);
    return symbol > 16047 ? KS_INVALID_ARGUMENT : KS_OK;
}

int KsExtractDigitFromOrder(ushort order, ushort& digit, ushort& expand)
{
    expand = order & 1;
    digit = ushort(ushort((order & ~1u) - kDigitBase) / 10);
    return ushort(order - kDigitBase) > 255 ? KS_INVALID_ARGUMENT : KS_OK;
}

int KsExtractLetterFromOrder(ushort order, ushort& letterCase, ushort& accent, ushort& letter,
                             ushort& extension)
{
    letterCase = (order >> 12) & 3;
    accent = (order >> 7) & 0x1F;
    letter = (order >> 2) & 0x1F;
    extension = order & 3;
    return (order & 0x8000) ? KS_INVALID_ARGUMENT : KS_OK;
}

int KsConvertOrderToString(ushort order, uchar language, KsString& text)
{
    char buf[64];
    Describe(order, language, buf, sizeof(buf));
    text = buf;
    return KS_OK;
}

int KsConvertOrderToChar(ushort order, uchar language, uchar& c, int codeSet, const char** name)
{
    c = 0;
    if (name)
        *name = nullptr;
    if (codeSet < 0 || codeSet > 255 || KsCodeSetIsWide(uchar(codeSet)))
        return KS_INVALID_ARGUMENT;
    const KsOrderEntry* table = KsCollation::Table8(uchar(codeSet), language);
    int found = -1;
    for (int b = 0; b < 256; ++b) {
        if (ushort(table[b]) != order)
            continue;
        if (!(table[b] >> 16)) {  // sorts as one letter: the best answer
            found = b;
            break;
        }
        if (found < 0)
            found = b;
    }
    if (found < 0)
        return KS_INVALID_ARGUMENT;
    c = uchar(found);
    if (name) {
        thread_local char description[64];
        Describe(order, language, description, sizeof(description));
        *name = description;
    }
    return KS_OK;
}
