// Slot functions of the null-capable scalar rows: one template, instantiated
// per kind with the plain kind's base-services store routine and sizes.
#include "ksnull.h"

#include <climits>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>

#include "ksbase.h"
#include "ksimageutil.h"
#include "kstypcmp.h"

namespace {

typedef uint (*StoreRoutine)(void* dst, const void* src, uchar format, uint count);
typedef uint (*SizeRoutine)(const void* values, uchar kind, uchar format, uint count);

// KsInt64 words are stored one 4-byte word at a time, low word first:
//   | low (4, format order) | high (4, format order) |
uint Int64Store(void* dst, const void* src, uchar format, uint count) {
    auto* d = static_cast<uchar*>(dst);
    const auto* s = static_cast<const uchar*>(src);
    for (uint i = 0; i < count; ++i, d += 8, s += 8) {
        LongStoreOne(d, s, format & 15);
        LongStoreOne(d + 4, s + 4, format & 15);
    }
    return count * 8;
}
uint Int64SizeGet(const void*, uchar, uchar, uint count) { return count * 8; }
uint Int64NullSizeGet(const void*, uchar, uchar, uint count) { return count * 9; }

KsI64 ToI64(KsNullInt64Words w) {
    return static_cast<KsI64>((static_cast<KsU64>(static_cast<uint>(w.high)) << 32) | w.low);
}
KsNullInt64Words FromI64(KsI64 v) {
    return {static_cast<uint>(v), static_cast<int>(v >> 32)};
}

template <typename V>
int Order(const V& x, const V& y) {
    if constexpr (std::is_same_v<V, KsNullInt64Words>) {
        return Order(ToI64(x), ToI64(y));
    } else if constexpr (std::is_floating_point_v<V>) {
        return KsFloatOrder(x, y);
    } else {
        return (x > y) - (x < y);
    }
}

// What a null becomes when stepped: the least value of the kind's order
// short of NaN and -inf (0 for the unsigned kinds, the lowest finite value
// for the floating ones).
template <typename V>
V Smallest() {
    if constexpr (std::is_same_v<V, KsNullInt64Words>) {
        return FromI64(std::numeric_limits<KsI64>::min());
    } else {
        return std::numeric_limits<V>::lowest();
    }
}

// Adds one; false (value unchanged) when the result would not be greater.
template <typename V>
bool StepUp(V& v) {
    if constexpr (std::is_same_v<V, KsNullInt64Words>) {
        const KsI64 x = ToI64(v);
        if (x == std::numeric_limits<KsI64>::max()) return false;
        v = FromI64(x + 1);
    } else if constexpr (std::is_floating_point_v<V>) {
        const V next = v + 1;
        if (!(next > v)) return false;
        v = next;
    } else {
        if (v == std::numeric_limits<V>::max()) return false;
        v = static_cast<V>(v + 1);
    }
    return true;
}

template <typename E, StoreRoutine Put, SizeRoutine Size, SizeRoutine NullSize>
struct Row {
    typedef decltype(E::value) V;

    // Fewer than two elements are one object, more an array; Delete must
    // be given the same count.
    static E* Allocate(uint count) {
        const std::size_t bytes = sizeof(E) * (count > 1 ? count : 1);
        for (int attempt = 1;; ++attempt) {
            E* p = count > 1 ? new (std::nothrow) E[count]() : new (std::nothrow) E();
            if (p) return p;
            if (!KsCallMemoryHandler(bytes, attempt)) return nullptr;
        }
    }

    static void* Create(uint count) { return Allocate(count); }

    static void* Delete(void* values, uint count) {
        if (count > 1)
            delete[] static_cast<E*>(values);
        else
            delete static_cast<E*>(values);
        return nullptr;
    }

    // Per element, stored:  | flag (1 = null) | value (plain kind's image) |
    //           bit 8 set:  | value (in memory) | flag |
    static uint Store(void* disk, const void* mem, uchar format, uint count) {
        if (!disk || !mem) return 0;
        const uchar f = format & 15;
        auto* out = static_cast<uchar*>(disk);
        const E* in = static_cast<const E*>(mem);
        for (uint i = 0; i < count; ++i) {
            const uchar flag = in[i].flag != 0 ? 1 : 0;  // any non-zero flag is null
            if (f & 8) {
                out += Put(out, &in[i].value, f, 1);
                *out++ = flag;
            } else {
                *out++ = flag;
                out += Put(out, &in[i].value, f, 1);
            }
        }
        return static_cast<uint>(out - static_cast<uchar*>(disk));
    }

    // Only a stored flag byte of 1 means null, so that stray bytes do not
    // turn into nulls.
    static uint Load(void* mem, const void* disk, uchar format, uint count) {
        if (!disk || !mem) return 0;
        const uchar f = format & 15;
        const auto* in = static_cast<const uchar*>(disk);
        E* out = static_cast<E*>(mem);
        for (uint i = 0; i < count; ++i) {
            uchar flag;
            V v;
            if (f & 8) {
                in += Put(&v, in, f, 1);
                flag = *in++;
            } else {
                flag = *in++;
                in += Put(&v, in, f, 1);
            }
            out[i].value = flag == 1 ? V() : v;
            out[i].flag = flag == 1 ? 1 : 0;
        }
        return static_cast<uint>(in - static_cast<const uchar*>(disk));
    }

    static uint CountSize(uint count) { return NullSize(nullptr, 8, 1, count); }
    static uint DiskLen(const void*, uchar, uchar format, uint count) {
        return NullSize(nullptr, 8, format & 15, count);
    }
    static uint DiskLenFile(MemFile*, uchar format, uint count) {
        return NullSize(nullptr, 8, format & 15, count);
    }

    // Each element is loaded first, so null detection is the load rule:
    // in memory too, only a flag of 1 is null here.
    static int Compare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort, uint count,
                       int& status) {
        const uchar f = format & 15;
        const uint stride = f == 8 ? static_cast<uint>(sizeof(E)) : Size(nullptr, 8, f, 1) + 1;
        return KsCompareFixed(lenA, a, lenB, b, count, stride, status,
                              [f](const uchar* x, const uchar* y) {
                                  E ex, ey;
                                  Load(&ex, x, f, 1);
                                  Load(&ey, y, f, 1);
                                  if (ex.flag | ey.flag) return ey.flag - ex.flag;
                                  return Order(ex.value, ey.value);
                              });
    }

    static void Construct(void* values, uint count, uint) {
        if (!values) return;
        E* p = static_cast<E*>(values);
        for (uint i = 0; i < count; ++i) new (p + i) E();
    }

    static void Destruct(void*, uint, uint) {}

    // Assignment and copy into raw memory are the same for these values.
    static void Assign(void* dst, void* src, uint count, int fill) {
        if (!dst || !src || count == 0) return;
        if (!fill) {
            std::memmove(dst, src, sizeof(E) * count);
            return;
        }
        const E first = *static_cast<const E*>(src);
        E* d = static_cast<E*>(dst);
        for (uint i = 0; i < count; ++i) d[i] = first;
    }

    // Memory <-> stored through store and load; stored -> stored copies
    // bytes; memory -> memory copies elements. Returns the bytes produced
    // at dst.
    static uint Translate(void* dst, uchar dstFormat, uint dstLen, void* src, uchar srcFormat,
                          uint srcLen, uint count) {
        const bool dstMem = dstFormat & 8;
        const bool srcMem = srcFormat & 8;
        if (!dstMem) {
            if (srcMem) return Store(dst, src, dstFormat & 15, count);
            if (!dst || !src) return 0;  // a missing buffer copies nothing
            return KsCopyStoredImage(dst, dstLen, src, srcLen);
        }
        if (!srcMem) {
            if (Load(dst, src, srcFormat & 15, count) == 0) return 0;
        } else if (dst && src && count) {
            std::memmove(dst, src, sizeof(E) * count);
        } else {
            return 0;
        }
        return static_cast<uint>(sizeof(E) * count);
    }

    static int IsNull(void* value) {
        return value ? static_cast<const E*>(value)->flag : 0;  // sign-extended
    }

    static int SetNull(void* value) {
        if (value) static_cast<E*>(value)->SetNullValue();
        return KS_OK;
    }

    static void* DefaultValue(uint count, int) {
        E* p = Allocate(count);
        if (p)
            for (uint i = 0; i < (count > 1 ? count : 1); ++i) p[i].SetNullValue();
        return p;
    }

    // In memory only, modes 'M' and 'N': a null becomes the smallest value,
    // any other value steps up by one (2091 when it cannot).
    static int GetValue(void* value, uint, uchar format, uchar mode) {
        if (format != 8 || (mode != 'M' && mode != 'N') || !value) return KS_NOT_SUPPORTED;
        E* e = static_cast<E*>(value);
        if (e->flag != 0) {
            e->value = Smallest<V>();
            e->flag = 0;
            return KS_OK;
        }
        if (!StepUp(e->value)) return KS_STEP_OVERFLOW;
        e->flag = 0;
        return KS_OK;
    }

    static constexpr KsNullRowSlots kSlots = {
        &Create,  &Delete, &Store,     &Load,      &CountSize, &DiskLen,
        &DiskLenFile, &Compare, &Construct, &Destruct, &Assign, &Assign,
        &Translate, &IsNull, &SetNull,   &DefaultValue, &GetValue};
};

typedef Row<KsNull_char, CharStore, CharSizeGet, CharNullSizeGet> CharRow;
typedef Row<KsNull_uchar, CharStore, CharSizeGet, CharNullSizeGet> UCharRow;
typedef Row<KsNull_short, ShortStore, ShortSizeGet, ShortNullSizeGet> ShortRow;
typedef Row<KsNull_ushort, ShortStore, ShortSizeGet, ShortNullSizeGet> UShortRow;
typedef Row<KsNull_int, IntStore, IntSizeGet, IntNullSizeGet> IntRow;
typedef Row<KsNull_unsigned, UnsignedStore, UnsignedSizeGet, UnsignedNullSizeGet> UnsignedRow;
typedef Row<KsNull_long, LongStore, LongSizeGet, LongNullSizeGet> LongRow;
typedef Row<KsNull_ulong, LongStore, LongSizeGet, LongNullSizeGet> ULongRow;
typedef Row<KsNull_float, FloatStore, FloatSizeGet, FloatNullSizeGet> FloatRow;
typedef Row<KsNull_double, DoubleStore, DoubleSizeGet, DoubleNullSizeGet> DoubleRow;
typedef Row<KsNull_KsInt64, Int64Store, Int64SizeGet, Int64NullSizeGet> Int64Row;
typedef Row<KsNull_8b, O_8BStore, O_8BSizeGet, O_8BNullSizeGet> I64Row;
typedef Row<KsNull_u8b, O_8BStore, O_8BSizeGet, O_8BNullSizeGet> U64Row;

}  // namespace

const KsNullRowSlots* KsNullSlotsGet(int typeId) {
    switch (typeId) {
    case KsNULL_1B_T: return &CharRow::kSlots;
    case KsNULL_U1B_T: return &UCharRow::kSlots;
    case KsNULL_2B_T: return &ShortRow::kSlots;
    case KsNULL_U2B_T: return &UShortRow::kSlots;
    case KsNULL_INT_T: return &IntRow::kSlots;
    case KsNULL_UNSIGNED_T: return &UnsignedRow::kSlots;
    case KsNULL_4B_T: return &LongRow::kSlots;
    case KsNULL_U4B_T: return &ULongRow::kSlots;
    case KsNULL_FLOAT_T: return &FloatRow::kSlots;
    case KsNULL_DOUBLE_T: return &DoubleRow::kSlots;
    case KsNULL_KSINT64_T: return &Int64Row::kSlots;
    case KsNULL_8B_T: return &I64Row::kSlots;
    case KsNULL_U8B_T: return &U64Row::kSlots;
    default: return nullptr;
    }
}
