// Slot functions of the boolean row (type id 27). The stored image is the
// byte itself, one per value in every byte order:
//
//   | b0 | b1 | ... |     00 false, 01 true, FF null (other bytes kept as read)
//
// Arrays in memory: fewer than two values are one zeroed byte; more are a
// block whose first 32-bit word holds the count, then the zeroed bytes, so a
// delete must get the same count as its create.
#ifndef KSBOOLEANROW_H
#define KSBOOLEANROW_H

#include "ksboolean.h"
#include "kstypes.h"

void* BooleanCreate(uint count);
void* BooleanDelete(void* values, uint count);

uint BooleanStore(void* disk, const void* mem, uchar byteOrder, uint count);  // count
uint BooleanLoad(void* mem, const void* disk, uchar byteOrder, uint count);   // count
uint BooleanCountSize(uint count);                                            // count
uint BooleanDiskLen(const void* mem, uchar flag, uchar byteOrder, uint count);
uint BooleanDiskLenFromMemFile(MemFile* file, uchar byteOrder, uint count);  // file not read

// Text: what the print slot gives; from text reads it back as the scan
// does, a missing or null string giving false.
KsTypeConvertData* BooleanConvertToKsString(void* values, uint count);
void* BooleanConvertFromKsString(KsTypeConvertData* text, uint count);

void BooleanConstruct(void* values, uint count, uint);  // false
void BooleanDestruct(void* values, uint count, uint);
void BooleanAssign(void* dst, void* src, uint count, int fill);
void BooleanCopy(void* dst, void* src, uint count, int fill);
// Bytes are bytes: every direction copies; stored to stored truncates or
// zero-pads to dstLen.
uint BooleanTranslate(void* dst, uchar dstFormat, uint dstLen, void* src, uchar srcFormat,
                      uint srcLen, uint count);
int BooleanIsNull(void* value);
int BooleanSetNull(void* value);

// "TRUE" for the byte 1, the null print string for a null, "FALSE" for the
// rest; the format is ignored. Each of `count` values, joined by ",".
KsString& BooleanPrintToKsString(KsString& out, void* value, const char* format, uint count);
// One value: text beginning with the null print string is null; exactly
// "T", "t", "TRUE", "true" or "1" is true; anything else false.
void* BooleanScanFromKsString(void* value, KsString& in, const char* format, uint count);

void* BooleanDefaultValue(uint count, int);            // `count` false values
int BooleanGetValue(void* value, uint, uchar, uchar);  // booleans do not step: -2999

#endif
