// Scalar comparators over stored arrays in byte order 2 (most significant
// byte first), beside a hand-written byte-swapping loop over the same data.
// The arrays differ only in their last element, so every element is read.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "ksbase.h"
#include "kstypcmp.h"

namespace {

template <typename U>
U Swap(U v) {
    if constexpr (sizeof(U) == 4)
        return __builtin_bswap32(v);
    else
        return __builtin_bswap64(v);
}

// The baseline: what a caller would write for one kind and one byte order.
template <typename T>
__attribute__((noinline)) int HandCompare(const uchar* a, const uchar* b, uint count) {
    typedef std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t> U;
    for (uint i = 0; i < count; ++i) {
        U ra, rb;
        std::memcpy(&ra, a + i * sizeof(U), sizeof(U));
        std::memcpy(&rb, b + i * sizeof(U), sizeof(U));
        T x, y;
        ra = Swap(ra);
        rb = Swap(rb);
        std::memcpy(&x, &ra, sizeof(T));
        std::memcpy(&y, &rb, sizeof(T));
        if (x != y) return x < y ? -1 : 1;
    }
    return 0;
}

// Two stored images of `count` values that differ in the last one.
template <typename T>
void MakeImages(uint count, std::vector<uchar>& a, std::vector<uchar>& b) {
    std::mt19937_64 rng(count);
    std::vector<T> values(count);
    for (T& v : values) {
        if constexpr (std::is_floating_point_v<T>)
            v = T(std::int32_t(rng())) / 7;
        else
            v = T(rng());
    }
    a.resize(count * sizeof(T));
    b.resize(count * sizeof(T));
    uint (*store)(void*, const void*, uchar, uint) =
        sizeof(T) == 4 ? (std::is_floating_point_v<T> ? FloatStore : LongStore)
                       : (std::is_floating_point_v<T> ? DoubleStore : O_8BStore);
    store(a.data(), values.data(), 2, count);
    values.back() = values.back() + 1;
    store(b.data(), values.data(), 2, count);
}

template <typename T>
void BM_Comparator(benchmark::State& state, KsTypeCmpFunc cmp) {
    const uint count = uint(state.range(0));
    std::vector<uchar> a, b;
    MakeImages<T>(count, a, b);
    KsTypeCmpFunc volatile f = cmp;  // called through a pointer, as the type manager does
    for (auto _ : state) {
        int status;
        benchmark::DoNotOptimize(f(2, 0, a.data(), 0, b.data(), 0, count, status));
        benchmark::DoNotOptimize(status);
    }
    state.SetItemsProcessed(state.iterations() * count);
}

template <typename T>
void BM_Hand(benchmark::State& state) {
    const uint count = uint(state.range(0));
    std::vector<uchar> a, b;
    MakeImages<T>(count, a, b);
    for (auto _ : state) benchmark::DoNotOptimize(HandCompare<T>(a.data(), b.data(), count));
    state.SetItemsProcessed(state.iterations() * count);
}

// The same loop reached through a pointer, as every slot function is.
template <typename T>
void BM_HandPtr(benchmark::State& state) {
    const uint count = uint(state.range(0));
    std::vector<uchar> a, b;
    MakeImages<T>(count, a, b);
    int (*volatile f)(const uchar*, const uchar*, uint) = HandCompare<T>;
    for (auto _ : state) benchmark::DoNotOptimize(f(a.data(), b.data(), count));
    state.SetItemsProcessed(state.iterations() * count);
}

template <typename T>
void Register(const char* name, KsTypeCmpFunc cmp) {
    const std::string n(name);
    benchmark::RegisterBenchmark(("BM_Cmp/" + n).c_str(), BM_Comparator<T>, cmp)
        ->Arg(1)->Arg(16)->Arg(1024);
    benchmark::RegisterBenchmark(("BM_Hand/" + n).c_str(), BM_Hand<T>)->Arg(1)->Arg(16)->Arg(1024);
    benchmark::RegisterBenchmark(("BM_HandPtr/" + n).c_str(), BM_HandPtr<T>)
        ->Arg(1)->Arg(16)->Arg(1024);
}

const bool kRegistered = [] {
    Register<std::int32_t>("LongCompare", LongCompare);
    Register<std::uint32_t>("DwordCompare", DwordCompare);
    Register<std::int32_t>("IntCompare", IntCompare);
    Register<float>("FloatCompare", FloatCompare);
    Register<std::int64_t>("O_8BCompare", O_8BCompare);
    Register<std::uint64_t>("O_U8BCompare", O_U8BCompare);
    Register<double>("DoubleCompare", DoubleCompare);
    return true;
}();

}  // namespace
