// Weight maps and slot functions of the case-insensitive string rows (type
// ids 20 "KsIString" and 21 "KsCaseIString"). Stored image of an array, the
// same for both rows; P in the byte order of the flag (low nibble 2: high
// byte first, else low byte first):
//
//   +0  mark   0x40 text | 0x01 text stored with flag bit 0x80 |
//              0x80 + 0x20 (accents folded) + map id: weights
//   +1  P      16 bits: the number of bytes that follow
//   +3  string 0 zero-terminated, string 1, ...   (an empty string is 00)
//
// Example: "ab" and "" with flag 2 -> 40 00 04 61 62 00 00.
// In the weight form each character is its weight, followed by its
// expansion weight when it has one, so the weight strings compare bytewise
// (flag IsWeights) as their texts compare through the map.
#ifndef KSISTRINGROW_H
#define KSISTRINGROW_H

#include "ksistring.h"
#include "kstypes.h"

// One byte's entry of a weight map: `second` is 0, an accent number (1..8)
// or, above 8, the weight of a second letter the byte expands into.
struct KsWeightPair {
    uchar weight;
    uchar second;
};
// 256 entries, indexed by byte.
const KsWeightPair* KsWeightMapGet(KsWeightMapId map);

// Mark bytes of the stored image.
enum : uchar {
    KsIStringMarkText = 0x40,
    KsIStringMarkText80 = 0x01,  // stored with flag bit 0x80; still text
    KsIStringMarkWeights = 0x80  // | 0x20 when accents are folded | map id
};

// Size of the image at `image` for `count` values, reading nothing outside
// the first `imageLen` bytes: P + 3 for text, the walk over `count` weight
// strings for the weight form. 0 when the image does not fit.
uint KsIStringImageSize(const void* image, uint imageLen, uchar byteOrder, uint count);

// ---------------------------------------------------------------------------
// Row 20, KsIString. Row 21 has the same set under KsCaseIString*.
// ---------------------------------------------------------------------------
void* KsIStringCreate(uint count);                // `count` empty values (1 for 0)
void* KsIStringDelete(void* values, uint count);  // returns null
// Text image, mark 0x40 (0x01 with flag bit 0x80). Returns P + 3; 0 when P
// would not fit in 16 bits.
uint KsIStringStore(void* disk, const void* mem, uchar byteOrder, uint count);
// The weight form: mark 0x80 | (byteOrder & 0x20) | map id, each string as
// its weights (accent numbers added with flag bit 0x20). Returns P + 3, or
// 0 when P would not fit.
uint KsIStringStoreWeights(void* disk, const void* mem, uchar byteOrder, uint count);
// Its size for values in memory: 3 plus, per string, one byte per
// character, one per expanding character and one for the terminator.
uint KsIStringWeightFormSize(const void* mem, uint count);
// `mem` holds `count` constructed values. Reads `count` zero-terminated
// strings from offset 3 and returns 3 plus the bytes consumed; 0 (and `mem`
// untouched) when they do not lie within P, or for the other row's weight
// form. Values loaded from the weight form get flags IsWeights and the
// mark's 0x20.
uint KsIStringLoad(void* mem, const void* disk, uchar byteOrder, uint count);
// The same, reading nothing outside the first `diskLen` bytes.
uint KsIStringLoadBounded(void* mem, const void* disk, uint diskLen, uchar byteOrder, uint count);
uint KsIStringCountSize(uint count);  // 3 + count: `count` empty strings
// kind bit 3 set: `mem` is `count` values in memory, 3 + sum(Len + 1).
// Clear: `mem` is a stored image (KsIStringImageSize, unbounded). In-memory
// values asked for with bit 0x80 (bits 0x08 and 0x80 between kind and
// flag) give 0.
uint KsIStringDiskLen(const void* mem, uchar kind, uchar flag, uint count);
// The image at the file's position (left unchanged); 0 when it does not fit
// in what remains of the file.
uint KsIStringDiskLenFromMemFile(MemFile* file, uchar byteOrder, uint count);
// Each value's text as a KsString of the default 8-bit code set; from text
// takes each string's characters (8-bit), a missing or null string gives
// an empty value.
KsTypeConvertData* KsIStringConvertToKsString(void* values, uint count);
void* KsIStringConvertFromKsString(KsTypeConvertData* text, uint count);
void KsIStringConstruct(void* values, uint count, uint);
void KsIStringDestruct(void* values, uint count, uint);
void KsIStringAssign(void* dst, void* src, uint count, int fill);
void KsIStringCopy(void* dst, void* src, uint count, int fill);  // into raw memory
// Memory to stored: fails (0) when dstLen is not 0 and the image needs
// more. Stored to memory: srcLen, when not 0, bounds the read. Stored to
// stored copies bytes, truncating or zero-padding to dstLen.
uint KsIStringTranslate(void* dst, uchar dstFormat, uint dstLen, void* src, uchar srcFormat,
                        uint srcLen, uint count);
// These kinds have no null state: the empty value (no text) answers 1, and
// the dispatcher's fallback for SetNullValue empties a value.
int KsIStringIsNull(void* value);
// `format` (null: "%s") applied to each text, joined by ",".
KsString& KsIStringPrintToKsString(KsString& out, void* value, const char* format, uint count);
// One value: "%s" (or null) takes the whole text, spaces included; any
// other format is scanned into a text buffer (no match: empty).
void* KsIStringScanFromKsString(void* value, KsString& in, const char* format, uint count);
void* KsIStringDefaultValue(uint count, int);            // `count` empty values
int KsIStringGetValue(void* value, uint, uchar, uchar);  // texts do not step: -2999

// ---------------------------------------------------------------------------
// Row 21, KsCaseIString.
// ---------------------------------------------------------------------------
void* KsCaseIStringCreate(uint count);
void* KsCaseIStringDelete(void* values, uint count);
uint KsCaseIStringStore(void* disk, const void* mem, uchar byteOrder, uint count);
uint KsCaseIStringStoreWeights(void* disk, const void* mem, uchar byteOrder, uint count);
uint KsCaseIStringWeightFormSize(const void* mem, uint count);
uint KsCaseIStringLoad(void* mem, const void* disk, uchar byteOrder, uint count);
uint KsCaseIStringLoadBounded(void* mem, const void* disk, uint diskLen, uchar byteOrder,
                              uint count);
uint KsCaseIStringCountSize(uint count);
uint KsCaseIStringDiskLen(const void* mem, uchar kind, uchar flag, uint count);
uint KsCaseIStringDiskLenFromMemFile(MemFile* file, uchar byteOrder, uint count);
KsTypeConvertData* KsCaseIStringConvertToKsString(void* values, uint count);
void* KsCaseIStringConvertFromKsString(KsTypeConvertData* text, uint count);
void KsCaseIStringConstruct(void* values, uint count, uint);
void KsCaseIStringDestruct(void* values, uint count, uint);
void KsCaseIStringAssign(void* dst, void* src, uint count, int fill);
void KsCaseIStringCopy(void* dst, void* src, uint count, int fill);
uint KsCaseIStringTranslate(void* dst, uchar dstFormat, uint dstLen, void* src, uchar srcFormat,
                            uint srcLen, uint count);
int KsCaseIStringIsNull(void* value);
KsString& KsCaseIStringPrintToKsString(KsString& out, void* value, const char* format, uint count);
void* KsCaseIStringScanFromKsString(void* value, KsString& in, const char* format, uint count);
void* KsCaseIStringDefaultValue(uint count, int);
int KsCaseIStringGetValue(void* value, uint, uchar, uchar);

#endif
