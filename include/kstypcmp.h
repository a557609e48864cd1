// Comparators of the plain scalar kinds, and the comparison protocol that
// every comparator shares: compare `count` elements of `a` with those of `b`,
// first unequal element decides; result -1, 0 or 1 (a before, equal, after).
//
// Format (low four bits): 8 = values in memory, 1 = stored in native order,
// 2 = stored most significant byte first, anything else = least significant
// byte first. lenA/lenB are the bytes available at a/b, 0 meaning exactly
// `count` elements; status is 0, or 2101 when an operand ran short. The mode
// word is for the text kinds: the scalar comparators ignore it.
#ifndef KSTYPCMP_H
#define KSTYPCMP_H

#include <cmath>

#include "ksdefs.h"
#include "kstypes.h"

KSTM_API int CharCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort mode,
                         uint count, int& status);  // signed 1 byte ("o_char")
KSTM_API int ByteCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort mode,
                         uint count, int& status);  // unsigned 1 byte ("o_u1b")
KSTM_API int ShortCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort mode,
                          uint count, int& status);  // signed 2 bytes ("o_2b")
KSTM_API int WordCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort mode,
                         uint count, int& status);  // unsigned 2 bytes ("o_u2b")
// "int" and "enum" / "unsigned": 4 bytes in memory; stored elements are
// IntSizeGet() bytes wide and read with IntLoad.
KSTM_API int IntCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort mode,
                        uint count, int& status);
KSTM_API int UnsignedCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort mode,
                             uint count, int& status);
KSTM_API int LongCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort mode,
                         uint count, int& status);  // signed 4 bytes ("o_4b")
KSTM_API int DwordCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort mode,
                          uint count, int& status);  // unsigned 4 bytes ("o_u4b", "BlockId")
KSTM_API int O_8BCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort mode,
                         uint count, int& status);  // signed 8 bytes ("o_8b")
KSTM_API int O_U8BCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort mode,
                          uint count, int& status);  // unsigned 8 bytes ("o_u8b")
// Floating kinds order totally: NaN < -inf < finite < +inf; all NaNs are
// equal, and -0.0 equals 0.0.
KSTM_API int FloatCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort mode,
                          uint count, int& status);
KSTM_API int DoubleCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort mode,
                           uint count, int& status);

// Rank of a floating value in that order: NaN -2, -inf -1, +inf 1, any
// finite value (subnormals and both zeros included) 0. Hashing uses it too.
KSTM_API int KsFloatClass(double value);

// The comparator of a plain scalar row (ids 0-10, 14, 42, 43); null for any
// other id.
KSTM_API KsTypeCmpFunc KsScalarComparator(int typeId);

// ---------------------------------------------------------------------------
// Building blocks for comparators of other fixed-width kinds.
// ---------------------------------------------------------------------------

// Three-way order of two floating values in the total order above. Apart
// from NaN, the plain comparisons already give it (infinities included).
inline int KsFloatOrder(double x, double y) {
    if (x < y) return -1;
    if (y < x) return 1;
    if (x == y) return 0;  // -0.0 == 0.0, equal infinities
    const bool nx = std::isnan(x), ny = std::isnan(y);
    return nx == ny ? 0 : (nx ? -1 : 1);
}

// Elements wholly inside an operand of `len` bytes (0 = exactly `count`).
// An element only partly present is never read: it counts as missing, so a
// length that is not a whole number of elements reports 2101 instead of
// reading past the operand.
inline uint KsCmpReachable(uint len, uint count, uint stride) {
    if (len == 0) return count;
    return len / stride;
}

// The stepping of the protocol for elements `stride` bytes apart.
// `cmp(const uchar* ea, const uchar* eb)` orders one pair (-1, 0, 1).
//
// After each compared element other than the last, the next element's start
// is tested against both ends before the result is looked at: an operand
// that is too short is reported (2101) even when the element just compared
// already decided the order. Example, 2-byte elements, count 2, lenA 2:
// a first pair 1 vs 2 returns -1 with status 2101.
template <typename ElementCmp>
inline int KsCompareFixed(uint lenA, const void* a, uint lenB, const void* b, uint count,
                          uint stride, int& status, ElementCmp cmp) {
    status = KS_OK;
    if (count == 0) return 0;
    uint reach = count;
    const uint ra = KsCmpReachable(lenA, count, stride);
    const uint rb = KsCmpReachable(lenB, count, stride);
    if (ra < reach) reach = ra;
    if (rb < reach) reach = rb;
    if (reach == 0) {
        status = KS_SHORT_OPERAND;  // not even the first element is present
        return 0;
    }
    const uchar* pa = static_cast<const uchar*>(a);
    const uchar* pb = static_cast<const uchar*>(b);
    for (uint i = 0; i < reach; ++i, pa += stride, pb += stride) {
        const int r = cmp(pa, pb);
        if (r != 0) {
            if (i + 1 == reach && reach < count) status = KS_SHORT_OPERAND;
            return r;
        }
    }
    if (reach < count) status = KS_SHORT_OPERAND;
    return 0;
}

#endif
