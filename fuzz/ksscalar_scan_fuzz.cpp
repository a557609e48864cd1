// Arbitrary bytes as the text of every plain scalar scan (and of the
// null-capable ones), under each row's default format and a set of others,
// in both character widths. The bytes before the first newline also serve as
// a format of their own for printing and scanning. Scans must stay inside
// the text and inside the value; values read under the default formats must
// print again.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "ksnull.h"
#include "ksnulltext.h"
#include "ksscalartext.h"
#include "ksstring.h"

namespace {

struct Row {
    KsPrintFunc print;
    KsScanFunc scan;
    const char* format;  // the row's default
    std::size_t size;    // bytes of one value
    bool stable;         // printing under the default format reads back to the same text
};

const Row kRows[] = {
    {&CharPrintToKsString, &CharScanFromKsString, "%c", 1, false},
    {&ShortPrintToKsString, &ShortScanFromKsString, "%hd", 2, true},
    {&ShortPrintToKsString, &ShortScanFromKsString, "%hu", 2, true},
    {&LongPrintToKsString, &LongScanFromKsString, "%ld", 4, true},
    {&LongPrintToKsString, &LongScanFromKsString, "%lu", 4, true},
    {&LongPrintToKsString, &LongScanFromKsString, "#%lu", 4, true},
    {&IntPrintToKsString, &IntScanFromKsString, "%d", 4, true},
    {&IntPrintToKsString, &IntScanFromKsString, "%u", 4, true},
    {&FloatPrintToKsString, &FloatScanFromKsString, "%.17g", 4, true},
    {&DoublePrintToKsString, &DoubleScanFromKsString, "%.17g", 8, true},
    {&O_8BPrintToKsString, &O_8BScanFromKsString, "%I64d", 8, true},
    {&O_U8BPrintToKsString, &O_U8BScanFromKsString, "%I64u", 8, true},
    {&KsNullCharPrintToKsString, &KsNullCharScanFromKsString, "%c", 2, false},
    {&KsNullShortPrintToKsString, &KsNullShortScanFromKsString, "%hd", 4, true},
    {&KsNullLongPrintToKsString, &KsNullLongScanFromKsString, "%ld", 8, true},
    {&KsNullDoublePrintToKsString, &KsNullDoubleScanFromKsString, "%.17g", 16, true},
    {&KsNullKsInt64PrintToKsString, &KsNullKsInt64ScanFromKsString, "%S", 12, true},
    {&KsNullU8BPrintToKsString, &KsNullU8BScanFromKsString, "%I64u", 16, true},
};

const char* const kFormats[] = {"%d",   "%i",        "%x",          "%5c",         "%2x",
                                "%hhd", "%I64x",     "%.17g",       "%f",          "%a",
                                "%s",   "%*[a-z]%d", "ldexp(%.17g, %d)", "ldex[%a,%d]",
                                "%%%d", "%",         "%*d,%d",      "x%lf"};

constexpr std::size_t kValueBytes = 64;  // char scans fill up to this many bytes

// Scans `text` into a fresh value and returns the value printed again.
std::string Exercise(const Row& row, KsString& text, const char* format) {
    // Guard bytes around the value catch writes past it.
    unsigned char buf[kValueBytes + 16];
    std::memset(buf, 0xA5, sizeof buf);
    unsigned char* value = buf + 8;
    const uint count = row.size == 1 ? uint(kValueBytes) : 1;
    const std::size_t used = row.size == 1 ? kValueBytes : row.size;
    std::memset(value, 0, used);
    if (row.scan(value, text, format, count) != value) __builtin_trap();
    for (std::size_t i = 0; i < 8; ++i)
        if (buf[i] != 0xA5 || value[used + i] != 0xA5) __builtin_trap();

    KsString out;
    row.print(out, value, format, count);
    if (out.Width() == 1 && std::strlen(out.StrGet()) != out.Len()) __builtin_trap();
    return std::string(out.StrGet(), out.Len());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 4096) return 0;
    KsString text(reinterpret_cast<const char*>(data), static_cast<unsigned short>(size));

    std::vector<unsigned short> units(size + 1, 0);
    for (std::size_t i = 0; i < size; ++i) units[i] = data[i] ? data[i] : 1;
    KsString wide(units.data());

    const void* nl = std::memchr(data, '\n', size);
    const std::string own(reinterpret_cast<const char*>(data),
                          nl ? static_cast<const std::uint8_t*>(nl) - data : 0);

    for (const Row& row : kRows) {
        const std::string printed = Exercise(row, text, row.format);
        if (row.stable) {
            KsString again(printed.c_str(), static_cast<unsigned short>(printed.size()));
            if (Exercise(row, again, row.format) != printed) __builtin_trap();
        }
        Exercise(row, wide, row.format);
        Exercise(row, text, nullptr);
        if (nl) Exercise(row, text, own.c_str());
        for (const char* f : kFormats) Exercise(row, text, f);
    }
    return 0;
}
