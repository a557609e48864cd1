// Null-capable scalars (type ids 28-38, 44, 45): the plain value, then a
// signed null flag (0 = has a value, non-zero = null), padded to the value's
// alignment. A null element holds value 0.
//
// Stored image of one element: flag byte (1 = null, 0 = not) then the value
// as the plain kind stores it; with bit 8 of the format, value then flag.
#ifndef KSNULL_H
#define KSNULL_H

#include <cstddef>
#include <cstdint>

#include "ksdefs.h"
#include "kstypes.h"

template <typename V, std::size_t Align = alignof(V)>
struct alignas(Align) KsNullValue {
    V value{};
    signed char flag{0};

    int IsNullValue() const { return flag; }
    void SetNullValue() {
        value = V();
        flag = 1;
    }
};

// The value of KsNull_KsInt64: a 64-bit integer as two 32-bit words, low
// (unsigned) then high (signed), the layout of KsInt64; ordered as signed
// 64-bit. Stored as two 4-byte words, low first, each in the format's order.
struct KsNullInt64Words {
    uint low;
    int high;
};

typedef KsNullValue<signed char> KsNull_char;        // 28
typedef KsNullValue<unsigned char> KsNull_uchar;     // 29
typedef KsNullValue<std::int16_t> KsNull_short;      // 30
typedef KsNullValue<std::uint16_t> KsNull_ushort;    // 31
typedef KsNullValue<std::int32_t> KsNull_int;        // 32
typedef KsNullValue<std::uint32_t> KsNull_unsigned;  // 33
typedef KsNullValue<std::int32_t> KsNull_long;       // 34 (4 bytes, as "o_4b")
typedef KsNullValue<std::uint32_t> KsNull_ulong;     // 35
typedef KsNullValue<float> KsNull_float;             // 36
typedef KsNullValue<double, 8> KsNull_double;        // 37
typedef KsNullValue<KsNullInt64Words> KsNull_KsInt64;  // 38
typedef KsNullValue<KsI64, 8> KsNull_8b;             // 44
typedef KsNullValue<KsU64, 8> KsNull_u8b;            // 45

static_assert(sizeof(KsNull_char) == 2 && sizeof(KsNull_uchar) == 2, "1-byte kinds");
static_assert(sizeof(KsNull_short) == 4 && sizeof(KsNull_ushort) == 4, "2-byte kinds");
static_assert(sizeof(KsNull_int) == 8 && sizeof(KsNull_unsigned) == 8 &&
                  sizeof(KsNull_long) == 8 && sizeof(KsNull_ulong) == 8 &&
                  sizeof(KsNull_float) == 8,
              "4-byte kinds");
static_assert(sizeof(KsNull_double) == 16 && sizeof(KsNull_8b) == 16 && sizeof(KsNull_u8b) == 16,
              "8-byte kinds");
static_assert(sizeof(KsNull_KsInt64) == 12 && alignof(KsNull_KsInt64) == 4, "KsInt64 kind");
static_assert(offsetof(KsNull_char, flag) == 1 && offsetof(KsNull_short, flag) == 2 &&
                  offsetof(KsNull_int, flag) == 4 && offsetof(KsNull_KsInt64, flag) == 8 &&
                  offsetof(KsNull_8b, flag) == 8,
              "the flag sits right behind the value");

// The slot functions of one null-capable row. Print and scan (22, 23) are
// not here: they belong with the scalar printers.
struct KsNullRowSlots {
    KsCreateFunc create;             // 2: count 0 or 1 = single object, else array
    KsDeleteFunc destroy;            // 3: must get the same count as create
    KsStoreFunc store;               // 4
    KsLoadFunc load;                 // 5: only a stored flag byte of 1 means null
    KsCountSizeFunc countSize;       // 6
    KsDiskLenFunc diskLen;           // 7
    KsDiskLenFileFunc diskLenFile;   // 8
    KsTypeCmpFunc compare;           // 9: null before every value, nulls equal
    KsConstructFunc construct;       // 14: value 0, not null
    KsDestructFunc destruct;         // 15
    KsAssignFunc assign;             // 16
    KsAssignFunc copy;               // 17
    KsTranslateFunc translate;       // 18
    KsIsNullFunc isNull;             // 19: the flag, sign-extended
    KsSetNullFunc setNull;           // 20
    KsDefaultValueFunc defaultValue; // 25: all null
    KsGetValueFunc getValue;         // 26
};

// Slots of row `typeId`; null unless it is one of 28-38, 44, 45.
KSTM_API const KsNullRowSlots* KsNullSlotsGet(int typeId);

#endif
