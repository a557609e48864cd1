// Array life cycle, translation and value stepping of the plain scalar rows.
#include "ksscalar.h"

#include <cstring>
#include <limits>
#include <new>
#include <type_traits>

#include "ksbase.h"
#include "ksimageutil.h"

int ScalarIsNull(void*) { return 0; }

namespace {

typedef uint (*StoreRoutine)(void* dst, const void* src, uchar format, uint count);
typedef uint (*SizeRoutine)(const void* values, uchar kind, uchar format, uint count);

template <typename T>
void* Create(uint count) {
    return new (std::nothrow) T[count == 0 ? 1 : count]();
}

template <typename T>
void* Delete(void* values, uint) {
    delete[] static_cast<T*>(values);
    return nullptr;
}

template <typename T>
void Construct(void* values, uint count, uint) {
    if (values && count) std::memset(values, 0, sizeof(T) * count);
}

void Destruct(void*, uint, uint) {}

// Assignment and copy are the same for trivially copyable values.
template <typename T>
void Assign(void* dst, void* src, uint count, int fill) {
    if (!dst || !src || count == 0) return;
    if (!fill) {
        std::memmove(dst, src, sizeof(T) * count);
        return;
    }
    T first;
    std::memcpy(&first, src, sizeof(T));
    T* d = static_cast<T*>(dst);
    for (uint i = 0; i < count; ++i) d[i] = first;
}

template <SizeRoutine Size>
uint DiskLenFile(MemFile*, uchar format, uint count) {
    return Size(nullptr, 8, format & 15, count);
}

template <typename T, StoreRoutine Store>
uint Translate(void* dst, uchar dstFormat, uint dstLen, void* src, uchar srcFormat, uint srcLen,
               uint count) {
    const bool dstMem = dstFormat & 8;
    const bool srcMem = srcFormat & 8;
    if (!dstMem) {
        if (srcMem) return Store(dst, src, dstFormat & 15, count);
        return KsCopyStoredImage(dst, dstLen, src, srcLen);
    }
    if (!srcMem) return Store(dst, src, srcFormat, count);  // the swap reads the image back
    if (count) std::memmove(dst, src, sizeof(T) * count);
    return static_cast<uint>(sizeof(T) * count);
}

template <typename T>
void* DefaultValue(uint count, int) {
    return Create<T>(count);
}

// Mode 2 sets the smallest value (the sign bit alone for integers), 'O'
// keeps the value, 'M' and 'N' add one unless that would not make it greater.
template <typename T>
int GetValue(void* value, uint, uchar format, uchar mode) {
    if (format != 8 || !value) return KS_NOT_SUPPORTED;
    T v;
    std::memcpy(&v, value, sizeof(T));
    switch (mode) {
    case 2: {
        T smallest;
        if constexpr (std::numeric_limits<T>::is_integer) {
            typedef std::make_unsigned_t<T> U;
            smallest = static_cast<T>(static_cast<U>(U(1) << (sizeof(T) * 8 - 1)));
        } else {
            smallest = std::numeric_limits<T>::lowest();
        }
        std::memcpy(value, &smallest, sizeof(T));
        return KS_OK;
    }
    case 'O':
        return KS_OK;
    case 'M':
    case 'N': {
        if constexpr (std::numeric_limits<T>::is_integer) {
            if (v == std::numeric_limits<T>::max()) return KS_STEP_OVERFLOW;
            v = static_cast<T>(v + 1);
        } else {
            const T next = static_cast<T>(v + 1);
            if (!(next > v)) return KS_STEP_OVERFLOW;
            v = next;
        }
        std::memcpy(value, &v, sizeof(T));
        return KS_OK;
    }
    default:
        return KS_NOT_SUPPORTED;
    }
}

// Rows of equal representation share every slot but value stepping (which
// follows the row's signedness) and, for int/unsigned/enum, translation.
template <typename Mem, typename Step, StoreRoutine Store, SizeRoutine Size>
constexpr KsScalarSlots MakeSlots() {
    return KsScalarSlots{&Create<Mem>,      &Delete<Mem>,           &DiskLenFile<Size>,
                         &Construct<Mem>,   &Destruct,              &Assign<Mem>,
                         &Assign<Mem>,      &Translate<Mem, Store>, &DefaultValue<Mem>,
                         &GetValue<Step>};
}

uint EnumStore(void* dst, const void* src, uchar format, uint count) {
    return IntStore(dst, src, format, count);
}

const KsScalarSlots kSlots[] = {
    MakeSlots<signed char, signed char, CharStore, CharSizeGet>(),    // Char
    MakeSlots<signed char, unsigned char, CharStore, CharSizeGet>(),  // UChar
    MakeSlots<short, short, ShortStore, ShortSizeGet>(),              // Short
    MakeSlots<short, unsigned short, ShortStore, ShortSizeGet>(),     // UShort
    MakeSlots<int, int, LongStore, LongSizeGet>(),                    // Long
    MakeSlots<int, unsigned, LongStore, LongSizeGet>(),               // ULong
    MakeSlots<int, int, IntStore, IntSizeGet>(),                      // Int
    MakeSlots<int, unsigned, UnsignedStore, UnsignedSizeGet>(),       // Unsigned
    MakeSlots<int, int, EnumStore, IntSizeGet>(),                     // Enum
    MakeSlots<float, float, FloatStore, FloatSizeGet>(),              // Float
    MakeSlots<double, double, DoubleStore, DoubleSizeGet>(),          // Double
    MakeSlots<KsI64, KsI64, O_8BStore, O_8BSizeGet>(),                // I64
    MakeSlots<KsI64, KsU64, O_8BStore, O_8BSizeGet>(),                // U64
};

}  // namespace

const KsScalarSlots& KsScalarSlotsGet(KsScalarKind kind) { return kSlots[static_cast<int>(kind)]; }
