// Byte-order scalar routines: copy in-memory values or swap them into and out
// of stored images. Stored image of `count` values of width w:
//
//   format 2:      | v0 most significant .. least | v1 ... |   (w bytes each)
//   other formats: | v0 least significant .. most | v1 ... |
//
// No alignment is assumed anywhere: values move through memcpy, which the
// compiler turns into plain loads and stores, and the swap loop vectorises.
#include <bit>
#include <cstdint>
#include <cstring>

#include "ksbase.h"

namespace {

inline std::uint8_t Swap(std::uint8_t v) { return v; }
#if defined(__GNUC__) || defined(__clang__)
inline std::uint16_t Swap(std::uint16_t v) { return __builtin_bswap16(v); }
inline std::uint32_t Swap(std::uint32_t v) { return __builtin_bswap32(v); }
inline std::uint64_t Swap(std::uint64_t v) { return __builtin_bswap64(v); }
#else
inline std::uint16_t Swap(std::uint16_t v) { return std::uint16_t((v >> 8) | (v << 8)); }
inline std::uint32_t Swap(std::uint32_t v) {
    return (v >> 24) | ((v >> 8) & 0xFF00u) | ((v << 8) & 0xFF0000u) | (v << 24);
}
inline std::uint64_t Swap(std::uint64_t v) {
    return (std::uint64_t(Swap(std::uint32_t(v))) << 32) | Swap(std::uint32_t(v >> 32));
}
#endif

static_assert(std::endian::native == std::endian::little ||
                  std::endian::native == std::endian::big,
              "mixed-endian hosts are not supported");

// True when the image's byte order differs from the host's.
inline bool NeedsSwap(uchar format) {
    if (format & 8) return false;  // in-memory values
    const bool msbFirst = (format & 15) == 2;
    return msbFirst == (std::endian::native == std::endian::little);
}

// Same code for Store and Load: the swap is its own inverse. Element-wise
// read-then-write keeps dst == src correct; the copy path uses memmove.
template <typename U>
uint Convert(void* dst, const void* src, uchar format, uint count) {
    if (count == 0) return 0;
    const std::size_t bytes = std::size_t(count) * sizeof(U);
    if (sizeof(U) == 1 || !NeedsSwap(format)) {
        if (dst != src) std::memmove(dst, src, bytes);
        return uint(bytes);
    }
    auto* d = static_cast<unsigned char*>(dst);
    const auto* s = static_cast<const unsigned char*>(src);
    for (std::size_t i = 0; i < bytes; i += sizeof(U)) {
        U v;
        std::memcpy(&v, s + i, sizeof(U));
        v = Swap(v);
        std::memcpy(d + i, &v, sizeof(U));
    }
    return uint(bytes);
}

template <typename U>
uint ConvertOne(void* dst, const void* src, uchar format) {
    U v;
    std::memcpy(&v, src, sizeof(U));
    if (NeedsSwap(format)) v = Swap(v);
    std::memcpy(dst, &v, sizeof(U));
    return sizeof(U);
}

}  // namespace

// Stored and in-memory widths are equal for every kind, so SizeGet ignores
// the format.
#define KS_DEFINE_SCALAR_ROUTINES(Name, Bits)                                    \
    uint Name##Store(void* dst, const void* src, uchar format, uint count) {   \
        return Convert<Bits>(dst, src, format, count);                         \
    }                                                                          \
    uint Name##Load(void* dst, const void* src, uchar format, uint count) {    \
        return Convert<Bits>(dst, src, format, count);                         \
    }                                                                          \
    uint Name##SizeGet(const void*, uchar, uchar, uint count) {                \
        return count * uint(sizeof(Bits));                                     \
    }                                                                          \
    uint Name##NullSizeGet(const void*, uchar, uchar, uint count) {            \
        return count * uint(sizeof(Bits) + 1);                                 \
    }

KS_DEFINE_SCALAR_ROUTINES(Char, std::uint8_t)
KS_DEFINE_SCALAR_ROUTINES(Short, std::uint16_t)
KS_DEFINE_SCALAR_ROUTINES(Int, std::uint32_t)
KS_DEFINE_SCALAR_ROUTINES(Unsigned, std::uint32_t)
KS_DEFINE_SCALAR_ROUTINES(Long, std::uint32_t)
KS_DEFINE_SCALAR_ROUTINES(Float, std::uint32_t)
KS_DEFINE_SCALAR_ROUTINES(Double, std::uint64_t)
KS_DEFINE_SCALAR_ROUTINES(O_8B, std::uint64_t)
#undef KS_DEFINE_SCALAR_ROUTINES

static_assert(sizeof(float) == 4 && sizeof(double) == 8, "floats are swapped as 4 and 8 bytes");

uint ShortStoreOne(void* dst, const void* src, uchar format) {
    return ConvertOne<std::uint16_t>(dst, src, format);
}
uint LongStoreOne(void* dst, const void* src, uchar format) {
    return ConvertOne<std::uint32_t>(dst, src, format);
}
uint O_8BStoreOne(void* dst, const void* src, uchar format) {
    return ConvertOne<std::uint64_t>(dst, src, format);
}
