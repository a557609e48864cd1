// Collated comparison of stored string images (8-bit, ISO-8859-1, English)
// against a memcmp loop over the same characters and against ICU's
// ucol_strcoll on the same texts (converted to UTF-16 beforehand, outside
// the timed loop). Keys of 16 and 200 characters; two loads:
//   near  - the pair differs in one letter at a random position;
//   case  - the pair differs only in the case of the first letter, so the
//           whole key is walked before the lower level decides.
// Modes: 0x10 (exact, the counterpart of ICU's tertiary strength) and the
// pattern readings 0, 0x20 and 0x40 (primary level, "*" and "?" live).
#include <benchmark/benchmark.h>

#include <unicode/ucol.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "ksi18n.h"
#include "ksstrcmp.h"

namespace {

constexpr int kPairs = 512;

struct Pair {
    std::vector<uchar> a, b;        // stored images: [L][cs][lang][chars][0][FF]
    std::vector<UChar> ua, ub;      // the same texts for ICU
};

std::vector<uchar> Image(const std::string& s)
{
    const std::size_t len = 4 + s.size();
    std::vector<uchar> img(len + 2, 0);
    img[0] = uchar(len);
    img[1] = uchar(len >> 8);
    img[2] = 1;  // ISO-8859-1
    img[3] = 1;  // English
    for (std::size_t i = 0; i < s.size(); ++i)
        img[4 + i] = uchar(s[i]);
    img[len + 1] = 0xFF;
    return img;
}

std::vector<UChar> Utf16(const std::string& s)
{
    std::vector<UChar> u;
    for (char c : s)
        u.push_back(UChar(uchar(c)));  // ISO-8859-1 is the first 256 code points
    return u;
}

const std::vector<Pair>& Pairs(int length, bool caseOnly)
{
    static std::vector<Pair> cache[2][2];
    std::vector<Pair>& pairs = cache[length > 16][caseOnly];
    if (!pairs.empty())
        return pairs;
    // Mostly lower-case letters, some capitals, accented letters and spaces.
    const std::string alphabet = "abcdefghijklmnopqrstuvwxyzeeaaoiunrtsABCDEMNS   \xE9\xE8\xFC\xF6\xE4\xF1\xE7\xC9";
    std::mt19937 rng(length * 2 + caseOnly);
    for (int i = 0; i < kPairs; ++i) {
        std::string s;
        for (int k = 0; k < length; ++k)
            s += alphabet[rng() % alphabet.size()];
        std::string t = s;
        if (caseOnly) {
            s[0] = 'a';
            t[0] = 'A';
        } else {
            const int at = int(rng() % uint(length));
            t[at] = t[at] == 'm' ? 'n' : 'm';
        }
        pairs.push_back(Pair{Image(s), Image(t), Utf16(s), Utf16(t)});
    }
    return pairs;
}

void BM_Memcmp(benchmark::State& state)
{
    const std::vector<Pair>& pairs = Pairs(int(state.range(0)), state.range(1) != 0);
    for (auto _ : state) {
        int sum = 0;
        for (const Pair& p : pairs) {
            const uint la = uint(p.a[0] | p.a[1] << 8) - 4, lb = uint(p.b[0] | p.b[1] << 8) - 4;
            int r = std::memcmp(p.a.data() + 4, p.b.data() + 4, la < lb ? la : lb);
            if (!r)
                r = (la > lb) - (la < lb);
            sum += r;
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kPairs);
}

void BM_StringCompare(benchmark::State& state)
{
    const std::vector<Pair>& pairs = Pairs(int(state.range(0)), state.range(1) != 0);
    const ushort mode = ushort(state.range(2));
    for (auto _ : state) {
        int sum = 0;
        for (const Pair& p : pairs) {
            int status;
            sum += StringCompare(1, uint(p.a.size()), const_cast<uchar*>(p.a.data()), uint(p.b.size()),
                                 const_cast<uchar*>(p.b.data()), mode, 1, status);
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kPairs);
}

void BM_IcuStrcoll(benchmark::State& state)
{
    const std::vector<Pair>& pairs = Pairs(int(state.range(0)), state.range(1) != 0);
    UErrorCode err = U_ZERO_ERROR;
    UCollator* coll = ucol_open("en", &err);
    if (U_FAILURE(err)) {
        state.SkipWithError("ucol_open failed");
        return;
    }
    for (auto _ : state) {
        int sum = 0;
        for (const Pair& p : pairs)
            sum += ucol_strcoll(coll, p.ua.data(), int32_t(p.ua.size()), p.ub.data(), int32_t(p.ub.size()));
        benchmark::DoNotOptimize(sum);
    }
    ucol_close(coll);
    state.SetItemsProcessed(state.iterations() * kPairs);
}

// Args: key length, case-only load, (StringCompare) mode word.
BENCHMARK(BM_Memcmp)->ArgNames({"len", "case"})->Args({16, 0})->Args({200, 0})->Args({16, 1})->Args({200, 1});
BENCHMARK(BM_StringCompare)
    ->ArgNames({"len", "case", "mode"})
    ->Args({16, 0, 0x10})->Args({200, 0, 0x10})->Args({16, 1, 0x10})->Args({200, 1, 0x10})
    ->Args({16, 0, 0})->Args({200, 0, 0})->Args({16, 1, 0})->Args({200, 1, 0})
    ->Args({16, 0, 0x20})->Args({200, 0, 0x20})->Args({16, 1, 0x20})->Args({200, 1, 0x20})
    ->Args({16, 0, 0x40})->Args({200, 0, 0x40})->Args({16, 1, 0x40})->Args({200, 1, 0x40});
BENCHMARK(BM_IcuStrcoll)->ArgNames({"len", "case"})->Args({16, 0})->Args({200, 0})->Args({16, 1})->Args({200, 1});

}  // namespace
