// Slot functions of the string rows that deal with stored images, text and
// value stepping: row 11 of the current table and the old table's own row 11.
// The image functions themselves are public (include/ksstringstore.h).
//
// Old-table image of an array (8-bit text only, no null value):
//
//   +0  T   16-bit total of the bytes that follow (byte order of the flag)
//   +2  text 0, 00, text 1, 00, ...   (strings in a 16-bit code set are
//       written in the default 8-bit code set)
#ifndef KSSTRINGSTORE_INTERNAL_H
#define KSSTRINGSTORE_INTERNAL_H

// Same file name as this header: reach the public one by its directory.
#include "ksstringstore.h"
#include "kstypes.h"

// ---- Current table, row 11 --------------------------------------------------
// Slot 4 StringStore, slot 5 StringLoad, slot 7 StringSizeGet (public).

// Slot 6: 6 bytes per string (an empty or null string).
uint StringCountSize(uint count);
// Slot 8: the size of the image at the file's position (StringSizeGetBounded
// over what remains of the file); 0 when an element runs past the end. The
// position is left unchanged.
uint StringDiskLenFromMemFile(MemFile* file, uchar byteOrder, uint count);

// Slot 12: copies of the strings (allocated with new KsString[count], which
// the row's delete slot frees) in a carrier without owner.
KsTypeConvertData* StringConvertToKsString(void* values, uint count);
// Slot 13: new KsString[count]; element i is a copy of the carrier's string
// i (null strings stay null), or empty where the carrier has none.
void* StringConvertFromKsString(KsTypeConvertData* text, uint count);

// Slot 18. Memory to stored: StringStore, or 0 (nothing written) when dstLen
// is not 0 and the image needs more. Stored to memory: the load, bounded by
// srcLen unless it is 0; returns the image bytes consumed. Stored to stored:
// the bytes as they are (no re-ordering), truncated or zero-padded to dstLen;
// returns the bytes copied. Memory to memory: assignment, count * sizeof.
uint StringTranslate(void* dst, uchar dstFormat, uint dstLen, void* src, uchar srcFormat,
                     uint srcLen, uint count);

// Slot 22. The format's first "%s" conversion (flag '-', width and precision
// in characters) stands for the text; "%%" is a percent sign; anything else
// is copied as it stands. The result takes the value's code set and language
// (literal text is converted into that code set), so nothing is lost. A null
// string prints the null print string instead. `out` is replaced; `count`
// values are joined by ","; count 0 empties `out`.
KsString& StringPrintToKsString(KsString& out, void* value, const char* format, uint count);
// Slot 23, the reverse: with "%s" (or no format, or one without "%s") the
// value becomes a copy of `in` (code set and language included); otherwise `in` must begin with the
// format's text before the conversion and end with the text after it, else
// the value is left unchanged; a width drops the padding that print adds and
// a precision caps the characters. A text equal to the null print string
// makes the value null. With count > 1 the text is split at "," and each
// piece scanned into the next element (the last one takes the rest).
void* StringScanFromKsString(void* value, KsString& in, const char* format, uint count);

// Slot 26: steps an in-memory string (format 8) along the character order:
// mode 2 makes it the empty string (the smallest value); 'O' leaves it; 'M'
// and 'N' append the character 1, which gives the next larger string in
// byte (16-bit unit) order, or 2091 without change when the string is full.
// A null string steps to the empty string. Stored strings cannot grow in
// place: any other format, other modes and a null pointer give -2999.
int StringGetValue(void* value, uint, uchar format, uchar mode);

// ---- Old table, row 11 ------------------------------------------------------
// Slot 4: returns T + 2; 0 for a null pointer or when T would exceed 65535.
uint StringStoreOld(void* disk, const void* mem, uchar byteOrder, uint count);
// Slot 7: flag bit 3 set: 2 + T of `count` strings in memory (0 beyond 65535);
// clear: 2 + the T stored at `mem`.
uint StringDiskLenOld(const void* mem, uchar flag, uchar byteOrder, uint count);
// Slot 8: per element a 16-bit length and that many bytes; the sum of 2 + L,
// or 0 when an element runs past the end of the file. Position unchanged.
uint StringDiskLenFromMemFileOld(MemFile* file, uchar byteOrder, uint count);
// Slot 18: as StringTranslate, storing with StringStoreOld.
uint StringTranslateOld(void* dst, uchar dstFormat, uint dstLen, void* src, uchar srcFormat,
                        uint srcLen, uint count);

#endif
