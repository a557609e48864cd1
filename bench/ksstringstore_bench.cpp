// String images against a plain memcpy of the same bytes, and UTF-8 decoding
// into a KsString against ICU's u_strFromUTF8 into a ready buffer. Texts:
// ASCII, Latin text with some two-byte characters, and CJK (three bytes
// each), short (about 40 bytes) and long (about 4000 bytes).
#include <benchmark/benchmark.h>

#include <unicode/ustring.h>

#include <cstring>
#include <string>
#include <vector>

#include "ksstring.h"
#include "ksstringstorerow.h"
#include "ksutf8.h"

namespace {

// ---------------------------------------------------------------------------
// Images: 64 strings of `len` characters each.
// ---------------------------------------------------------------------------
constexpr uint kStrings = 64;

std::vector<KsString> Strings(uint len, bool wide)
{
    std::vector<KsString> v;
    for (uint i = 0; i < kStrings; ++i) {
        KsString s(uchar(wide ? 253 : 1), 0);
        if (wide) {
            std::vector<ushort> units(len);
            for (uint j = 0; j < len; ++j)
                units[j] = ushort(0x400 + (i + j) % 64);
            s.EditText(units.data(), 253, 0, 0, ushort(len), 1, KsString::EditAssignAt);
        } else {
            std::string text(len, 'a');
            for (uint j = 0; j < len; ++j)
                text[j] = char('a' + (i + j) % 26);
            s.EditText(text.data(), 1, 0, 0, ushort(len), 1, KsString::EditAssignAt);
        }
        v.push_back(s);
    }
    return v;
}

// Arguments: characters per string, 16-bit (1) or not, byte order.
void BM_StringStore(benchmark::State& state)
{
    const auto values = Strings(uint(state.range(0)), state.range(1) != 0);
    const uchar order = uchar(state.range(2));
    std::vector<uchar> image(StringSizeGet(values.data(), 8, order, kStrings));
    for (auto _ : state) {
        benchmark::DoNotOptimize(StringStore(image.data(), values.data(), order, kStrings));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(image.size()));
}

void BM_StringLoad(benchmark::State& state)
{
    const auto values = Strings(uint(state.range(0)), state.range(1) != 0);
    const uchar order = uchar(state.range(2));
    std::vector<uchar> image(StringSizeGet(values.data(), 8, order, kStrings));
    StringStore(image.data(), values.data(), order, kStrings);
    std::vector<KsString> loaded(kStrings);
    for (auto _ : state) {
        benchmark::DoNotOptimize(StringLoad(loaded.data(), image.data(), order, kStrings));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(image.size()));
}

// The baseline: the image's bytes copied in one piece.
void BM_ImageMemcpy(benchmark::State& state)
{
    const auto values = Strings(uint(state.range(0)), state.range(1) != 0);
    const uchar order = uchar(state.range(2));
    std::vector<uchar> image(StringSizeGet(values.data(), 8, order, kStrings));
    StringStore(image.data(), values.data(), order, kStrings);
    std::vector<uchar> copy(image.size());
    for (auto _ : state) {
        std::memcpy(copy.data(), image.data(), image.size());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(image.size()));
}

#define IMAGE_ARGS                                                                          \
    ArgNames({"chars", "wide", "order"})                                                    \
        ->Args({16, 0, 1})                                                                  \
        ->Args({16, 1, 2})                                                                  \
        ->Args({200, 0, 1})                                                                 \
        ->Args({200, 1, 1})                                                                 \
        ->Args({200, 1, 2})
BENCHMARK(BM_StringStore)->IMAGE_ARGS;
BENCHMARK(BM_StringLoad)->IMAGE_ARGS;
BENCHMARK(BM_ImageMemcpy)->IMAGE_ARGS;
#undef IMAGE_ARGS

// ---------------------------------------------------------------------------
// UTF-8 decoding. Arguments: text kind (0 ASCII, 1 Latin, 2 CJK), bytes.
// ---------------------------------------------------------------------------
std::string Utf8Text(int kind, std::size_t bytes)
{
    static const char* const pieces[] = {
        "The quick brown fox jumps over the lazy dog. ",
        "Gr\xC3\xBC\xC3\x9F""e aus M\xC3\xBCnchen, sch\xC3\xB6ne Stra\xC3\x9F""e. ",
        "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E\xE3\x81\xAE\xE6\x96\x87\xE7\xAB\xA0\xE3\x80\x82",
    };
    std::string s;
    while (s.size() < bytes)
        s += pieces[kind];
    // Cut at a character boundary at or below `bytes`.
    std::size_t cut = bytes;
    while (cut > 0 && (uchar(s[cut]) & 0xC0) == 0x80)
        --cut;
    s.resize(cut);
    return s;
}

void BM_KsMBS2KsString(benchmark::State& state)
{
    const std::string text = Utf8Text(int(state.range(0)), std::size_t(state.range(1)));
    for (auto _ : state) {
        KsString out;
        benchmark::DoNotOptimize(KsMBS2KsString(text.data(), out, int(text.size())));
        benchmark::DoNotOptimize(out.Text());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}

void BM_IcuStrFromUTF8(benchmark::State& state)
{
    const std::string text = Utf8Text(int(state.range(0)), std::size_t(state.range(1)));
    std::vector<UChar> buf(text.size() + 1);
    for (auto _ : state) {
        UErrorCode err = U_ZERO_ERROR;
        int32_t len = 0;
        benchmark::DoNotOptimize(u_strFromUTF8(buf.data(), int32_t(buf.size()), &len, text.data(),
                                               int32_t(text.size()), &err));
        benchmark::DoNotOptimize(len);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}

#define UTF8_ARGS                                                                           \
    ArgNames({"kind", "bytes"})                                                             \
        ->Args({0, 40})                                                                     \
        ->Args({0, 4000})                                                                   \
        ->Args({1, 40})                                                                     \
        ->Args({1, 4000})                                                                   \
        ->Args({2, 40})                                                                     \
        ->Args({2, 4000})
BENCHMARK(BM_KsMBS2KsString)->UTF8_ARGS;
BENCHMARK(BM_IcuStrFromUTF8)->UTF8_ARGS;
#undef UTF8_ARGS

}  // namespace
