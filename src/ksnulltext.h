// Print and scan slots (22, 23) of the null-capable rows (ids 28-38, 44,
// 45). A null element prints as the null print string; any other prints
// through the plain kind's printer. Empty text, or text beginning with the
// whole null print string, scans as null; anything else through the plain
// kind's scanner, clearing the flag.
#ifndef KSNULLTEXT_H
#define KSNULLTEXT_H

#include "ksdefs.h"

class KsString;

// Print: one element; a null format means the row's current default format
// (slot 21). "KsNull_char" hands the plain printer a count of 0, so a
// non-null element prints as the empty text; that is kept as it stands.
// Scan: one element; returns `value` (null for a null value).
KsString& KsNullCharPrintToKsString(KsString& out, void* value, const char* format, uint count);
void* KsNullCharScanFromKsString(void* value, KsString& in, const char* format, uint count);
KsString& KsNullUCharPrintToKsString(KsString& out, void* value, const char* format, uint count);
void* KsNullUCharScanFromKsString(void* value, KsString& in, const char* format, uint count);
KsString& KsNullShortPrintToKsString(KsString& out, void* value, const char* format, uint count);
void* KsNullShortScanFromKsString(void* value, KsString& in, const char* format, uint count);
KsString& KsNullUShortPrintToKsString(KsString& out, void* value, const char* format, uint count);
void* KsNullUShortScanFromKsString(void* value, KsString& in, const char* format, uint count);
KsString& KsNullIntPrintToKsString(KsString& out, void* value, const char* format, uint count);
void* KsNullIntScanFromKsString(void* value, KsString& in, const char* format, uint count);
KsString& KsNullUnsignedPrintToKsString(KsString& out, void* value, const char* format,
                                        uint count);
void* KsNullUnsignedScanFromKsString(void* value, KsString& in, const char* format, uint count);
KsString& KsNullLongPrintToKsString(KsString& out, void* value, const char* format, uint count);
void* KsNullLongScanFromKsString(void* value, KsString& in, const char* format, uint count);
KsString& KsNullULongPrintToKsString(KsString& out, void* value, const char* format, uint count);
void* KsNullULongScanFromKsString(void* value, KsString& in, const char* format, uint count);
KsString& KsNullFloatPrintToKsString(KsString& out, void* value, const char* format, uint count);
void* KsNullFloatScanFromKsString(void* value, KsString& in, const char* format, uint count);
KsString& KsNullDoublePrintToKsString(KsString& out, void* value, const char* format, uint count);
void* KsNullDoubleScanFromKsString(void* value, KsString& in, const char* format, uint count);
KsString& KsNullKsInt64PrintToKsString(KsString& out, void* value, const char* format,
                                       uint count);
void* KsNullKsInt64ScanFromKsString(void* value, KsString& in, const char* format, uint count);
KsString& KsNull8BPrintToKsString(KsString& out, void* value, const char* format, uint count);
void* KsNull8BScanFromKsString(void* value, KsString& in, const char* format, uint count);
KsString& KsNullU8BPrintToKsString(KsString& out, void* value, const char* format, uint count);
void* KsNullU8BScanFromKsString(void* value, KsString& in, const char* format, uint count);

#endif
