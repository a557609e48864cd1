// Scalar comparators. One templated core per element width: the byte-order
// decision is made once per call, and the loop compares raw images first
// (equal images hold equal values) so that only the deciding pair is decoded.
//
// Stored elements of w bytes lie back to back, each
//   format 2:      | most significant .. least significant |
//   other codes:   | least significant .. most significant |   (8 and 1: native)
#include "kstypcmp.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "ksbase.h"

namespace {

constexpr bool kHostLittle = std::endian::native == std::endian::little;

inline std::uint8_t ByteSwap(std::uint8_t v) { return v; }
inline std::uint16_t ByteSwap(std::uint16_t v) { return std::uint16_t((v >> 8) | (v << 8)); }
inline std::uint32_t ByteSwap(std::uint32_t v) {
#if defined(__GNUC__) || defined(__clang__)
    return __builtin_bswap32(v);
#else
    return (v >> 24) | ((v >> 8) & 0xFF00u) | ((v << 8) & 0xFF0000u) | (v << 24);
#endif
}
inline std::uint64_t ByteSwap(std::uint64_t v) {
#if defined(__GNUC__) || defined(__clang__)
    return __builtin_bswap64(v);
#else
    return (std::uint64_t(ByteSwap(std::uint32_t(v))) << 32) | ByteSwap(std::uint32_t(v >> 32));
#endif
}

// The 2-byte kinds assemble their bytes themselves: 8 and 1 native, 2 most
// significant first, every other code least significant first.
bool AssemblySwaps(uchar format) {
    const uchar f = format & 15;
    if (f == 8 || f == 1) return false;
    return (f == 2) == kHostLittle;
}

// The wider kinds read through the base-services swap routines, whose rule
// is: bit 8 set copies, otherwise 2 is most significant first and every
// other code least significant first.
bool RoutineSwaps(uchar format) {
    if (format & 8) return false;
    return ((format & 15) == 2) == kHostLittle;
}

template <typename Value>
int Order(Value x, Value y) {
    if constexpr (std::is_floating_point_v<Value>) {
        return KsFloatOrder(x, y);
    } else {
        return (x > y) - (x < y);
    }
}

template <typename Value, bool Swap>
int CompareAt(const uchar* x, const uchar* y) {
    typedef std::conditional_t<sizeof(Value) == 1, std::uint8_t,
            std::conditional_t<sizeof(Value) == 2, std::uint16_t,
            std::conditional_t<sizeof(Value) == 4, std::uint32_t, std::uint64_t>>> Raw;
    static_assert(sizeof(Raw) == sizeof(Value));
    Raw rx, ry;
    std::memcpy(&rx, x, sizeof(Raw));
    std::memcpy(&ry, y, sizeof(Raw));
    if (rx == ry) [[likely]] return 0;  // equal images hold equal values
    if constexpr (Swap) {
        rx = ByteSwap(rx);
        ry = ByteSwap(ry);
    }
    return Order(std::bit_cast<Value>(rx), std::bit_cast<Value>(ry));
}

template <typename Value>
int Run(bool swap, uint lenA, void* a, uint lenB, void* b, uint count, int& status) {
    constexpr uint w = sizeof(Value);
    if (swap) return KsCompareFixed(lenA, a, lenB, b, count, w, status, CompareAt<Value, true>);
    return KsCompareFixed(lenA, a, lenB, b, count, w, status, CompareAt<Value, false>);
}

// "int"/"unsigned": the stored width is the base library's to say. Where it
// is 4 the swap rule applies; otherwise each element goes through IntLoad.
// The width depends on the format byte alone, so the fast path asks a table
// filled at load time; the table reads 0 until then, which takes the slow
// path, so callers during static initialisation are served too.
uint IntStride(uchar format) {
    return (format & 15) == 8 ? 4u : IntSizeGet(nullptr, 8, format, 1);
}

std::array<uchar, 256> IntStrides() {
    std::array<uchar, 256> s{};
    for (int f = 0; f < 256; ++f) s[f] = uchar(IntStride(uchar(f)));
    return s;
}
const std::array<uchar, 256> kIntStrides = IntStrides();

template <typename Value>
[[gnu::noinline]] int RunIntLoad(uchar format, uint lenA, void* a, uint lenB, void* b, uint count,
                                 int& status) {
    return KsCompareFixed(lenA, a, lenB, b, count, IntStride(format), status,
                          [format](const uchar* x, const uchar* y) {
                              Value vx = 0, vy = 0;
                              IntLoad(&vx, x, format, 1);
                              IntLoad(&vy, y, format, 1);
                              return Order(vx, vy);
                          });
}

template <typename Value>
int RunInt(uchar format, uint lenA, void* a, uint lenB, void* b, uint count, int& status) {
    if (kIntStrides[format] == sizeof(Value))
        return Run<Value>(RoutineSwaps(format), lenA, a, lenB, b, count, status);
    return RunIntLoad<Value>(format, lenA, a, lenB, b, count, status);
}

}  // namespace

int CharCompare(uchar, uint lenA, void* a, uint lenB, void* b, ushort, uint count, int& status) {
    return Run<signed char>(false, lenA, a, lenB, b, count, status);
}

int ByteCompare(uchar, uint lenA, void* a, uint lenB, void* b, ushort, uint count, int& status) {
    return Run<unsigned char>(false, lenA, a, lenB, b, count, status);
}

int ShortCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort, uint count,
                 int& status) {
    return Run<std::int16_t>(AssemblySwaps(format), lenA, a, lenB, b, count, status);
}

int WordCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort, uint count,
                int& status) {
    return Run<std::uint16_t>(AssemblySwaps(format), lenA, a, lenB, b, count, status);
}

int IntCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort, uint count,
               int& status) {
    return RunInt<std::int32_t>(format, lenA, a, lenB, b, count, status);
}

int UnsignedCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort, uint count,
                    int& status) {
    return RunInt<std::uint32_t>(format, lenA, a, lenB, b, count, status);
}

int LongCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort, uint count,
                int& status) {
    return Run<std::int32_t>(RoutineSwaps(format), lenA, a, lenB, b, count, status);
}

int DwordCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort, uint count,
                 int& status) {
    return Run<std::uint32_t>(RoutineSwaps(format), lenA, a, lenB, b, count, status);
}

int O_8BCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort, uint count,
                int& status) {
    return Run<std::int64_t>(RoutineSwaps(format), lenA, a, lenB, b, count, status);
}

int O_U8BCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort, uint count,
                 int& status) {
    return Run<std::uint64_t>(RoutineSwaps(format), lenA, a, lenB, b, count, status);
}

int FloatCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort, uint count,
                 int& status) {
    return Run<float>(RoutineSwaps(format), lenA, a, lenB, b, count, status);
}

int DoubleCompare(uchar format, uint lenA, void* a, uint lenB, void* b, ushort, uint count,
                  int& status) {
    return Run<double>(RoutineSwaps(format), lenA, a, lenB, b, count, status);
}

int KsFloatClass(double value) {
    switch (std::fpclassify(value)) {
    case FP_NAN: return -2;
    case FP_INFINITE: return std::signbit(value) ? -1 : 1;
    default: return 0;
    }
}

KsTypeCmpFunc KsScalarComparator(int typeId) {
    switch (typeId) {
    case Ks1B_T: return &CharCompare;
    case Ks2B_T: return &ShortCompare;
    case Ks4B_T: return &LongCompare;
    case KsDOUBLE_T: return &DoubleCompare;
    case KsFLOAT_T: return &FloatCompare;
    case KsU2B_T: return &WordCompare;
    case KsU4B_T: return &DwordCompare;
    case KsINT_T: return &IntCompare;
    case KsUNSIGNED_T: return &UnsignedCompare;
    case KsENUM_T: return &IntCompare;
    case KsU1B_T: return &ByteCompare;
    case KsBLOCKID_T: return &DwordCompare;
    case Ks8B_T: return &O_8BCompare;
    case KsU8B_T: return &O_U8BCompare;
    default: return nullptr;
    }
}
