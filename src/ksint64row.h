// Slot functions of the "KsInt64" row (type id 26). Values are KsInt64
// arrays; the stored image of one value is 8 bytes, the low word then the
// high word, each 4 bytes in the format's byte order (format 8: in memory).
// The comparator, Int64Compare, is public (ksint64.h).
#ifndef KSINT64ROW_H
#define KSINT64ROW_H

#include "ksdefs.h"
#include "kstypes.h"

// Life cycle. Fewer than two values are one plain allocation; larger arrays
// carry their count in front of the values. Free with the same count.
void* Int64Create(uint count);
void* Int64Delete(void* values, uint count);
void Int64Construct(void* values, uint count, uint);
void Int64Destruct(void* values, uint count, uint);
void Int64Assign(void* dst, void* src, uint count, int fill);
void Int64Copy(void* dst, void* src, uint count, int fill);
void* Int64DefaultValue(uint count, int);

// Storage: every size is count * 8; store and load return the bytes moved.
uint Int64Store(void* disk, const void* mem, uchar byteOrder, uint count);
uint Int64Load(void* mem, const void* disk, uchar byteOrder, uint count);
uint Int64CountSize(uint count);
uint Int64DiskLen(const void* mem, uchar flag, uchar byteOrder, uint count);
uint Int64DiskLenFile(MemFile* file, uchar byteOrder, uint count);
// Memory <-> stored through store/load; stored -> stored copies bytes,
// truncated or zero-padded to dstLen, and returns the bytes copied.
uint Int64Translate(void* dst, uchar dstFormat, uint dstLen, void* src, uchar srcFormat,
                    uint srcLen, uint count);

// Bulk text conversion: decimal texts out; texts in read as KsString's 64-bit
// conversion ("0x10" is 16, "12abc" 12, "abc" 0); a missing or null text is 0.
KsTypeConvertData* Int64ConvertToKsString(void* values, uint count);
void* Int64ConvertFromKsString(KsTypeConvertData* text, uint count);

// Print replaces the text of `out` (keeping its code set and language) with
// the first value; the dispatcher handles arrays. Scan reads the first value.
KsString& Int64Print(KsString& out, void* value, const char* format, uint count);
void* Int64Scan(void* value, KsString& in, const char* format, uint count);

// Stepping for GetValue: format 8 only. Mode 2 sets -2^63; 'O' keeps the
// value; 'M'/'N' add one (2091, unchanged, at 2^63-1); others -2999.
int Int64GetValue(void* value, uint, uchar format, uchar mode);

#endif
