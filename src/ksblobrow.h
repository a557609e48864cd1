// Slot functions of the blob row (type id 18) and the stored image of a blob
// array. Every 32-bit word goes through LongStoreOne under the byte order:
//
//   +0   total T: the bytes that follow (sum of 4 + length per blob)
//   +4   length of blob 0 (0xFFFFFFFF: null), then its bytes
//   ...  length of blob 1, its bytes, ...
//
// Arrays in memory: fewer than two elements are one object; more are a block
// whose first 32-bit word (in a pointer-sized header) holds the count, so a
// delete must get the same count as its create.
#ifndef KSBLOBROW_H
#define KSBLOBROW_H

#include "ksblob.h"
#include "kstypes.h"

// Access to the private members for this unit's row functions and tests.
struct KsBlobInternals {
    static short ToShort(const KsBlob& b) { return static_cast<short>(b); }
    static int ToInt(const KsBlob& b) { return static_cast<int>(b); }
    static double ToDouble(const KsBlob& b) { return static_cast<double>(b); }
    static void AllocData(KsBlob& b, int n) { b.AllocData(n); }
};

void* BlobCreate(uint count);
void* BlobDelete(void* values, uint count);

// Returns 4 + total; 0 when the total would not fit in 31 bits.
uint BlobStore(void* disk, const void* mem, uchar byteOrder, uint count);
// `mem` holds `count` constructed blobs. The image must hold the 4 + total
// bytes its first word promises; nothing beyond is read. Returns 4 + total,
// or 0 (and `mem` untouched) for a negative total, a negative length other
// than 0xFFFFFFFF, or fewer than `count` elements inside the total.
uint BlobLoad(void* mem, const void* disk, uchar byteOrder, uint count);
// The same, reading nothing outside the first `diskLen` bytes: an image
// longer than that fails with 0.
uint BlobLoadBounded(void* mem, const void* disk, uint diskLen, uchar byteOrder, uint count);

// 4 + 4 * count: `count` empty or null blobs.
uint BlobCountSize(uint count);
// flag bit 8 set: `mem` is `count` blobs in memory. Clear: `mem` is a stored
// image and only its total word is read (0xFFFFFFFE and 0xFFFFFFFF count as
// 0; any other negative total gives 0).
uint BlobDiskLen(const void* mem, uchar flag, uchar byteOrder, uint count);
// The image at the file's position, which is left unchanged: 4 + total, or 0
// when the image does not fit in what remains of the file.
uint BlobDiskLenFromMemFile(MemFile* file, uchar byteOrder, uint count);

// Text: each blob as two lower-case hex digits per byte (KsString caps that at
// 32765 bytes); a null blob as the null print string. From text reads what
// the scan reads; a missing or null string gives an empty blob.
KsTypeConvertData* BlobConvertToKsString(void* values, uint count);
void* BlobConvertFromKsString(KsTypeConvertData* text, uint count);

void BlobConstruct(void* values, uint count, uint);
void BlobDestruct(void* values, uint count, uint);
void BlobAssign(void* dst, void* src, uint count, int fill);
void BlobCopy(void* dst, void* src, uint count, int fill);  // into raw memory
// In-memory destinations hold constructed blobs. Memory to stored: fails (0)
// when dstLen is not 0 and the image needs more. Stored to memory: srcLen,
// when not 0, bounds the read. Stored to stored copies bytes unchanged,
// truncating or zero-padding to dstLen.
uint BlobTranslate(void* dst, uchar dstFormat, uint dstLen, void* src, uchar srcFormat,
                   uint srcLen, uint count);
int BlobIsNull(void* value);
int BlobSetNull(void* value);

// "%L" is the length, "%%" a percent sign, "%" before anything else that
// character alone; the bytes never print. A null blob prints the null print
// string. Each of `count` values, joined by ",".
KsString& BlobPrintToKsString(KsString& out, void* value, const char* format, uint count);
// One value: text beginning with the null print string makes it null;
// otherwise the hex digit pairs up to the first non-pair are its bytes.
void* BlobScanFromKsString(void* value, KsString& in, const char* format, uint count);

void* BlobDefaultValue(uint count, int);             // `count` empty blobs
int BlobGetValue(void* value, uint, uchar, uchar);   // blobs do not step: -2999

#endif
