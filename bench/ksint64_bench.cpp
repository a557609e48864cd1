// KsInt64 multiply, divide, print and scan against native int64_t and
// std::to_chars / std::from_chars. Each iteration handles one value of a
// fixed pseudo-random set of 1024, so the rates are per value.
#include <benchmark/benchmark.h>

#include <charconv>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "ksint64.h"
#include "ksstring.h"

namespace {

constexpr std::size_t kValues = 1024;

// Mixed magnitudes: short and full-width values, both signs; divisors never 0.
const std::vector<std::int64_t>& Values() {
    static const std::vector<std::int64_t> values = [] {
        std::mt19937_64 rng(2024);
        std::vector<std::int64_t> v(kValues);
        for (auto& x : v) x = static_cast<std::int64_t>(rng() >> (rng() % 63));
        for (std::size_t i = 0; i < v.size(); i += 2) v[i] = -v[i];
        return v;
    }();
    return values;
}

const std::vector<std::int64_t>& Divisors() {
    static const std::vector<std::int64_t> divisors = [] {
        std::mt19937_64 rng(99);
        std::vector<std::int64_t> v(kValues);
        for (auto& x : v) x = static_cast<std::int64_t>((rng() >> (rng() % 63)) | 1);
        return v;
    }();
    return divisors;
}

void BM_MultiplyKsInt64(benchmark::State& state) {
    const auto& v = Values();
    std::size_t i = 0;
    for (auto _ : state) {
        const KsInt64 r = KsInt64(v[i]) * KsInt64(v[(i + 1) % kValues]);
        benchmark::DoNotOptimize(r);
        i = (i + 1) % kValues;
    }
}
BENCHMARK(BM_MultiplyKsInt64);

void BM_MultiplyNative(benchmark::State& state) {
    const auto& v = Values();
    std::size_t i = 0;
    for (auto _ : state) {
        const std::uint64_t r = std::uint64_t(v[i]) * std::uint64_t(v[(i + 1) % kValues]);
        benchmark::DoNotOptimize(r);
        i = (i + 1) % kValues;
    }
}
BENCHMARK(BM_MultiplyNative);

void BM_DivideKsInt64(benchmark::State& state) {
    const auto& v = Values();
    const auto& d = Divisors();
    std::size_t i = 0;
    for (auto _ : state) {
        const KsInt64 r = KsInt64(v[i]) / KsInt64(d[i]);
        benchmark::DoNotOptimize(r);
        i = (i + 1) % kValues;
    }
}
BENCHMARK(BM_DivideKsInt64);

void BM_DivideNative(benchmark::State& state) {
    const auto& v = Values();
    const auto& d = Divisors();
    std::size_t i = 0;
    for (auto _ : state) {
        const std::int64_t r = v[i] / d[i];
        benchmark::DoNotOptimize(r);
        i = (i + 1) % kValues;
    }
}
BENCHMARK(BM_DivideNative);

// Printing into a KsString that is emptied each time, as the print slot does.
void BM_PrintKsInt64(benchmark::State& state) {
    const auto& v = Values();
    std::size_t i = 0;
    KsString out;
    for (auto _ : state) {
        out = KsString(out.CodeSet(), out.Language());
        KsInt64(v[i]).PrintToKsString(out, "%S");
        benchmark::DoNotOptimize(out.Text());
        i = (i + 1) % kValues;
    }
}
BENCHMARK(BM_PrintKsInt64);

void BM_PrintToChars(benchmark::State& state) {
    const auto& v = Values();
    std::size_t i = 0;
    char buf[24];
    for (auto _ : state) {
        const auto r = std::to_chars(buf, buf + sizeof buf, v[i]);
        benchmark::DoNotOptimize(r.ptr);
        benchmark::DoNotOptimize(buf);
        i = (i + 1) % kValues;
    }
}
BENCHMARK(BM_PrintToChars);

// to_chars plus the same KsString append: separates the formatting from the
// string's allocation cost.
void BM_PrintToCharsIntoKsString(benchmark::State& state) {
    const auto& v = Values();
    std::size_t i = 0;
    KsString out;
    char buf[24];
    for (auto _ : state) {
        out = KsString(out.CodeSet(), out.Language());
        *std::to_chars(buf, buf + sizeof buf - 1, v[i]).ptr = 0;
        out << buf;
        benchmark::DoNotOptimize(out.Text());
        i = (i + 1) % kValues;
    }
}
BENCHMARK(BM_PrintToCharsIntoKsString);

void BM_ScanKsInt64(benchmark::State& state) {
    std::vector<KsString> texts;
    for (std::int64_t x : Values()) {
        texts.emplace_back();
        KsInt64(x).PrintToKsString(texts.back(), "%S");
    }
    std::size_t i = 0;
    KsInt64 r;
    for (auto _ : state) {
        r.ScanFromKsString(texts[i], "%S");
        benchmark::DoNotOptimize(r);
        i = (i + 1) % kValues;
    }
}
BENCHMARK(BM_ScanKsInt64);

void BM_ScanFromChars(benchmark::State& state) {
    std::vector<std::string> texts;
    for (std::int64_t x : Values()) texts.push_back(std::to_string(x));
    std::size_t i = 0;
    std::int64_t r = 0;
    for (auto _ : state) {
        const std::string& t = texts[i];
        std::from_chars(t.data(), t.data() + t.size(), r);
        benchmark::DoNotOptimize(r);
        i = (i + 1) % kValues;
    }
}
BENCHMARK(BM_ScanFromChars);

}  // namespace
