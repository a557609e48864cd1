// Print and scan of the null-capable scalars: the null print string for a
// null element, the plain kind's text for the others.
#include "ksnulltext.h"

#include <cstring>
#include <string>

#include "ksint64.h"
#include "ksint64row.h"
#include "ksnull.h"
#include "ksscalartext.h"
#include "ksstring.h"
#include "kstextutil.h"
#include "kstypes.h"

namespace {

// Empty text, or text beginning with the whole null print string (compared
// byte for byte, both in single-byte form; wide strings through code set 1).
bool IsNullText(const KsString& in) {
    const KsSingleByte text(in, 1);
    return text.Len() == 0 || text.BeginsWithNullPrint();
}

// Replaces the text of `out` with the null print string, keeping out's code
// set and language as the plain printers do.
void PutNullText(KsString& out) {
    const KsString& mark = KsTypeMgr::GetNullPrintString();
    KsString fresh = out.IsNullValue() ? KsString() : KsString(out.CodeSet(), out.Language());
    if (const ushort n = mark.Len())
        fresh.EditText(mark.Text(), mark.CodeSet(), 0, 0, n, 1, KsString::EditAssignAt);
    out.Destruct(fresh);
}

const char* RowFormat(int row) { return KsCurrentTypeTable()[row]->format; }

// `Plain` is the plain kind's value as its printer and scanner take it; the
// element's value is copied through it so the layouts need not be the same
// type (KsNull_KsInt64 holds the two words of a KsInt64).
template <typename Elem, typename Plain, KsPrintFunc Print, int Row, uint Count>
KsString& NullPrint(KsString& out, void* value, const char* format, uint) {
    static_assert(sizeof(Plain) == sizeof(Elem::value), "value layouts differ");
    if (!value) return out;
    Elem* e = static_cast<Elem*>(value);
    if (e->IsNullValue()) {
        PutNullText(out);
        return out;
    }
    Plain v;
    std::memcpy(static_cast<void*>(&v), &e->value, sizeof v);
    return Print(out, &v, format ? format : RowFormat(Row), Count);
}

template <typename Elem, typename Plain, KsScanFunc Scan, int Row>
void* NullScan(void* value, KsString& in, const char* format, uint) {
    if (!value) return nullptr;
    Elem* e = static_cast<Elem*>(value);
    if (IsNullText(in)) {
        e->SetNullValue();
        return value;
    }
    Plain v;
    std::memcpy(static_cast<void*>(&v), &e->value, sizeof v);
    Scan(&v, in, format ? format : RowFormat(Row), 1);
    std::memcpy(static_cast<void*>(&e->value), &v, sizeof v);
    e->flag = 0;
    return value;
}

}  // namespace

#define KS_NULL_TEXT(Name, Elem, Plain, Print, Scan, Row, Count)                              \
    KsString& Name##PrintToKsString(KsString& out, void* value, const char* format,          \
                                    uint count) {                                            \
        return NullPrint<Elem, Plain, Print, Row, Count>(out, value, format, count);         \
    }                                                                                        \
    void* Name##ScanFromKsString(void* value, KsString& in, const char* format, uint count) { \
        return NullScan<Elem, Plain, Scan, Row>(value, in, format, count);                   \
    }

// KsNull_char passes a count of 0: a non-null element prints empty.
KS_NULL_TEXT(KsNullChar, KsNull_char, signed char, CharPrintToKsString, CharScanFromKsString,
             KsNULL_1B_T, 0)
KS_NULL_TEXT(KsNullUChar, KsNull_uchar, unsigned char, CharPrintToKsString,
             CharScanFromKsString, KsNULL_U1B_T, 1)
KS_NULL_TEXT(KsNullShort, KsNull_short, short, ShortPrintToKsString, ShortScanFromKsString,
             KsNULL_2B_T, 1)
KS_NULL_TEXT(KsNullUShort, KsNull_ushort, ushort, ShortPrintToKsString, ShortScanFromKsString,
             KsNULL_U2B_T, 1)
KS_NULL_TEXT(KsNullInt, KsNull_int, int, IntPrintToKsString, IntScanFromKsString,
             KsNULL_INT_T, 1)
KS_NULL_TEXT(KsNullUnsigned, KsNull_unsigned, uint, IntPrintToKsString, IntScanFromKsString,
             KsNULL_UNSIGNED_T, 1)
KS_NULL_TEXT(KsNullLong, KsNull_long, int, LongPrintToKsString, LongScanFromKsString,
             KsNULL_4B_T, 1)
KS_NULL_TEXT(KsNullULong, KsNull_ulong, uint, LongPrintToKsString, LongScanFromKsString,
             KsNULL_U4B_T, 1)
KS_NULL_TEXT(KsNullFloat, KsNull_float, float, FloatPrintToKsString, FloatScanFromKsString,
             KsNULL_FLOAT_T, 1)
KS_NULL_TEXT(KsNullDouble, KsNull_double, double, DoublePrintToKsString,
             DoubleScanFromKsString, KsNULL_DOUBLE_T, 1)
KS_NULL_TEXT(KsNullKsInt64, KsNull_KsInt64, KsInt64, Int64Print, Int64Scan, KsNULL_KSINT64_T,
             1)
KS_NULL_TEXT(KsNull8B, KsNull_8b, KsI64, O_8BPrintToKsString, O_8BScanFromKsString,
             KsNULL_8B_T, 1)
KS_NULL_TEXT(KsNullU8B, KsNull_u8b, KsU64, O_U8BPrintToKsString, O_U8BScanFromKsString,
             KsNULL_U8B_T, 1)

#undef KS_NULL_TEXT
