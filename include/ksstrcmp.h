// String comparison: KsStrCmp compares two texts that each carry a code set
// and a language (native byte path with "*" and "?" patterns, collation
// order path, multi-level collation with wildcards), and StringCompare is
// the string row's comparator over arrays in memory or in stored images.
// Result: < 0 when the first text orders first, 0 when equal (or matched),
// > 0 otherwise. The levels and wildcard rules are in docs/collation.md.
#ifndef KSSTRCMP_H
#define KSSTRCMP_H

#include "ksdefs.h"

class KsChar;

// Mode bits of the comparison word.
enum : ushort {
    KS_CMP_EXACT = 0x10,     // accents and case count; no wildcards; native texts compare bytewise
    KS_CMP_MASK20 = 0x20,    // order masks (see docs/collation.md)
    KS_CMP_MASK40 = 0x40,
    KS_CMP_DETAIL = 0x80,    // the comparator reports the detail value
    KS_CMP_ORDER = 0x100     // order comparison (language-keyed orders), no wildcards
};

// `length`: characters to compare, -1 (any negative) = the whole texts.
// `format`: the low four bits of the caller's format byte (byte order of
// 16-bit text: 2 = high byte first, anything else machine order).
// `detail` (may be null) receives the secondary result: 0 when the texts
// are equal at every level, else the sign of their order times the level
// that tells them apart (1 primary, 2 accents, 3 case). Without mode bit
// 0x10 the result itself looks at the primary level only.
//
// Example: KsStrCmp(1, 1, "abcbcd", 1, 1, "a*bcd", 0, -1, 8, nullptr) == 0
KSTM_API int KsStrCmp(uchar codeSet1, uchar language1, const char* text1, uchar codeSet2,
                      uchar language2, const char* text2, ushort mode, short length, uchar format,
                      int* detail);

// KsStrCmp over texts of n1 and n2 characters (each also ends at a zero
// character; 0xFFFFFFFF = zero-terminated, no count), with a length not
// bound to 16 bits. A counted text need not be terminated: its n
// characters must be readable, and nothing beyond them is read.
KSTM_API int KsStrCmpN(uchar codeSet1, uchar language1, const char* text1, uint n1,
                       uchar codeSet2, uchar language2, const char* text2, uint n2, ushort mode,
                       int length, uchar format, int* detail);

// The comparator of the string row (current stored image), with the
// comparison protocol shared by every row: -1, 0 or 1 (the detail value
// under mode bit 0x80); status 2101 when an operand ran short, -2999 for an
// element length that cannot be valid.
KSTM_API int StringCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort mode,
                           uint count, int& status);
// The same over the older stored image (the old table's string row):
// per element a 16-bit length (characters + 1), the 8-bit characters and a
// zero byte; compared as native text in the default language.
KSTM_API int StringCompareOld(uchar format, uint lenA, void* a, uint lenB, void* b, ushort mode,
                              uint count, int& status);

// The process-wide wildcard characters: any run ("*"), any one character
// ("?") and the escape (none until set), as characters of the second text.
// A zero character switches the wildcard or the escape off. Not
// synchronised beyond single-value atomicity: set them before concurrent
// use.
KSTM_API void KsStrCmpSetAsterisk(const KsChar& c);
KSTM_API void KsStrCmpSetQuestion(const KsChar& c);
KSTM_API void KsStrCmpSetEscape(const KsChar& c);

#endif
