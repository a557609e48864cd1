// Text forms of the plain scalar kinds: bulk conversion to and from KsString
// arrays, and printf-style print and scan. Formats are written in the type
// table's dialect (32-bit "%ld", "%I64d" for 64 bits); KsFormatTranslate
// turns them into this platform's printf/scanf formats, and nothing prints or
// scans a scalar without it. Scans never read past a string's length.
#ifndef KSSCALARTEXT_H
#define KSSCALARTEXT_H

#include <string>
#include <vector>

#include "ksdefs.h"
#include "kstypes.h"

// ---------------------------------------------------------------------------
// Format translation.
// ---------------------------------------------------------------------------

// What a format's conversions are handed, in order.
enum class KsFormatArg : uchar {
    Int32,   // integers of up to 32 bits (8- and 16-bit values widened)
    Int64,
    Double,
};

// One piece of a translated format: at most one conversion with the literal
// text around it, ready for one printf or scanf call with at most one
// argument. Text between two conversions stays with the first.
struct KsFormatPiece {
    std::string text;     // e.g. "ldexp(%.17g, " or "%d)"
    char conversion = 0;  // d i u o x X c, a A e E f F g G; 0 = literal text only
    uchar narrow = 0;     // 8 ("hh") or 16 ("h"): the printed/scanned value is cut to that width
    uchar arg = 0;        // index of the argument the conversion consumes
};

// Rewrites `format` for this platform's printf (scan false) or scanf (scan
// true), given the arguments it may consume. Integer conversions take the
// argument's own width whatever their length prefix says ("%I64d", "%ld" and
// "%d" alike become "%d" for Int32 and "%lld" for Int64), except "h" and "hh",
// which stay and narrow. Floating conversions print without a prefix and scan
// with "l". Scanning drops flags and precision ("%.17g" scans as "%lg").
// Returns false, leaving `pieces` empty, when the format cannot be used
// safely with these arguments: more conversions than arguments, a conversion
// of the wrong class, %s %p %n %[ (scanf allows them suppressed with '*'),
// '*' or "n$" in printf, a dangling '%', a printf width or precision above
// 511, or a scanf "%Nc" with N > 1.
//
// Example: "ldexp(%.17g, %I64d)" with {Double, Int32} prints as the pieces
// "ldexp(%.17g, " and "%d)".
KSTM_API bool KsFormatTranslate(const char* format, const KsFormatArg* args, int argCount,
                                bool scan, std::vector<KsFormatPiece>& pieces);

// ---------------------------------------------------------------------------
// Bulk conversion (slots 12 and 13). To text: a carrier (type 11, no owner)
// of `count` KsString made with new[] (free them through the string row's
// delete), element i holding the text of value i as the KsString
// constructors make it. From text: a new array from the row's create, a
// missing or null string giving 0.
// ---------------------------------------------------------------------------
KSTM_API KsTypeConvertData* CharConvertToKsString(void* values, uint count);       // o_char
KSTM_API void* CharConvertFromKsString(KsTypeConvertData* text, uint count);
KSTM_API KsTypeConvertData* O_U1BConvertToKsString(void* values, uint count);      // o_u1b
KSTM_API void* O_U1BConvertFromKsString(KsTypeConvertData* text, uint count);
KSTM_API KsTypeConvertData* ShortConvertToKsString(void* values, uint count);      // o_2b
KSTM_API void* ShortConvertFromKsString(KsTypeConvertData* text, uint count);
KSTM_API KsTypeConvertData* WordConvertToKsString(void* values, uint count);       // o_u2b
KSTM_API void* WordConvertFromKsString(KsTypeConvertData* text, uint count);
KSTM_API KsTypeConvertData* LongConvertToKsString(void* values, uint count);       // o_4b
KSTM_API void* LongConvertFromKsString(KsTypeConvertData* text, uint count);
KSTM_API KsTypeConvertData* ULongConvertToKsString(void* values, uint count);      // o_u4b
KSTM_API void* ULongConvertFromKsString(KsTypeConvertData* text, uint count);
KSTM_API KsTypeConvertData* IntConvertToKsString(void* values, uint count);        // int
KSTM_API void* IntConvertFromKsString(KsTypeConvertData* text, uint count);
KSTM_API KsTypeConvertData* UnsignedConvertToKsString(void* values, uint count);   // unsigned
KSTM_API void* UnsignedConvertFromKsString(KsTypeConvertData* text, uint count);
KSTM_API KsTypeConvertData* EnumConvertToKsString(void* values, uint count);       // enum
KSTM_API void* EnumConvertFromKsString(KsTypeConvertData* text, uint count);
KSTM_API KsTypeConvertData* BlockIdConvertToKsString(void* values, uint count);    // BlockId
KSTM_API void* BlockIdConvertFromKsString(KsTypeConvertData* text, uint count);
KSTM_API KsTypeConvertData* FloatConvertToKsString(void* values, uint count);      // o_float
KSTM_API void* FloatConvertFromKsString(KsTypeConvertData* text, uint count);
KSTM_API KsTypeConvertData* DoubleConvertToKsString(void* values, uint count);     // o_double
KSTM_API void* DoubleConvertFromKsString(KsTypeConvertData* text, uint count);
KSTM_API KsTypeConvertData* O_8BConvertToKsString(void* values, uint count);       // o_8b
KSTM_API void* O_8BConvertFromKsString(KsTypeConvertData* text, uint count);
KSTM_API KsTypeConvertData* O_U8BConvertToKsString(void* values, uint count);      // o_u8b
KSTM_API void* O_U8BConvertFromKsString(KsTypeConvertData* text, uint count);

// ---------------------------------------------------------------------------
// Print and scan (slots 22 and 23). Print replaces the text of `out`
// (keeping its code set and language) and, except for the byte kinds, prints
// the first value only: the dispatcher walks arrays. A null format means the
// row's default. Scan returns `value` (null for a null value) and leaves the
// value unchanged when the text does not match or the format is unusable;
// wide texts are read through a single-byte copy.
// ---------------------------------------------------------------------------

// o_char, o_u1b: per byte, isprint bytes through the format, others as
// "0x%02x"; the scan reads up to `count` bytes, one element per text
// character.
KSTM_API KsString& CharPrintToKsString(KsString& out, void* value, const char* format,
                                       uint count);
KSTM_API void* CharScanFromKsString(void* value, KsString& in, const char* format, uint count);
// o_2b, o_u2b: 16-bit values; a signed conversion widens with the sign,
// an unsigned one without, so one function serves both rows.
KSTM_API KsString& ShortPrintToKsString(KsString& out, void* value, const char* format,
                                        uint count);
KSTM_API void* ShortScanFromKsString(void* value, KsString& in, const char* format, uint count);
// o_4b, o_u4b, BlockId: 32-bit values.
KSTM_API KsString& LongPrintToKsString(KsString& out, void* value, const char* format,
                                       uint count);
KSTM_API void* LongScanFromKsString(void* value, KsString& in, const char* format, uint count);
// int, unsigned, enum: 32-bit values.
KSTM_API KsString& IntPrintToKsString(KsString& out, void* value, const char* format,
                                      uint count);
KSTM_API void* IntScanFromKsString(void* value, KsString& in, const char* format, uint count);
// o_8b, o_u8b: 64-bit values.
KSTM_API KsString& O_8BPrintToKsString(KsString& out, void* value, const char* format,
                                       uint count);
KSTM_API void* O_8BScanFromKsString(void* value, KsString& in, const char* format, uint count);
KSTM_API KsString& O_U8BPrintToKsString(KsString& out, void* value, const char* format,
                                        uint count);
KSTM_API void* O_U8BScanFromKsString(void* value, KsString& in, const char* format,
                                     uint count);
// o_double: "%.17g" prints NaN, -Infinity and Infinity as "NaN", "-Infinity"
// and "Infinity"; a format beginning with "ldex" prints frexp's mantissa and
// exponent, e.g. "ldexp(%.17g, %d)" gives "ldexp(0.75, 2)" for 3, which reads
// back exactly. "%.17g" and "ldex..." formats scan with a reader that takes
// the number, the ldexp form and the three special texts; other formats
// scan plainly. At most 511 characters are printed.
KSTM_API KsString& DoublePrintToKsString(KsString& out, void* value, const char* format,
                                         uint count);
KSTM_API void* DoubleScanFromKsString(void* value, KsString& in, const char* format,
                                      uint count);
// o_float: as o_double on the value widened; scans narrow the result.
KSTM_API KsString& FloatPrintToKsString(KsString& out, void* value, const char* format,
                                        uint count);
KSTM_API void* FloatScanFromKsString(void* value, KsString& in, const char* format, uint count);

#endif
