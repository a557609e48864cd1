// Scalar comparators: random arrays in every format byte against a literal
// transcription of the stepping rule, readings that agree with the base
// routines and the floating total order.
#include <gtest/gtest.h>

#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "ksbase.h"
#include "kstypcmp.h"

namespace {

typedef std::uint64_t Bits;
using Routine = uint (*)(void*, const void*, uchar, uint);

// Reference image: most significant byte first exactly when the low nibble is
// 2 (on a little-endian host every other code, native included, is LSB first).
void Put(uchar* p, Bits v, int width, uchar format) {
    for (int i = 0; i < width; ++i) p[(format & 15) == 2 ? width - 1 - i : i] = uchar(v >> (8 * i));
}
Bits F(float v) { return std::bit_cast<std::uint32_t>(v); }
Bits D(double v) { return std::bit_cast<Bits>(v); }

// Values in ascending groups; values within a group compare equal.
struct Kind {
    const char* name;
    KsTypeCmpFunc cmp;
    int width;
    std::vector<std::vector<Bits>> groups;
};

std::vector<Kind> Kinds() {
    const Bits m = Bits(1) << 63;
    const std::vector<std::vector<Bits>> s32 = {{0x80000000}, {0xFFFFFF00}, {0xFFFFFFFF}, {0}, {1},
                                                {0x1000000}, {0x7FFFFFFF}};
    const std::vector<std::vector<Bits>> u32 = {{0}, {1}, {0x1000000}, {0x7FFFFFFF}, {0x80000000},
                                                {0xFFFFFFFF}};
    return {
        {"Char", CharCompare, 1, {{0x80}, {0xFF}, {0}, {1}, {0x7F}}},
        {"Byte", ByteCompare, 1, {{0}, {1}, {0x7F}, {0x80}, {0xFF}}},
        {"Short", ShortCompare, 2, {{0x8000}, {0xFF00}, {0xFFFF}, {0}, {1}, {0x100}, {0x7FFF}}},
        {"Word", WordCompare, 2, {{0}, {1}, {0x100}, {0x7FFF}, {0x8000}, {0xFF00}, {0xFFFF}}},
        {"Int", IntCompare, 4, s32},
        {"Unsigned", UnsignedCompare, 4, u32},
        {"Long", LongCompare, 4, s32},
        {"Dword", DwordCompare, 4, u32},
        {"O_8B", O_8BCompare, 8, {{m}, {~Bits(0xFF)}, {~Bits(0)}, {0}, {1}, {Bits(1) << 56}, {m - 1}}},
        {"O_U8B", O_U8BCompare, 8, {{0}, {1}, {Bits(1) << 56}, {m - 1}, {m}, {~Bits(0)}}},
        {"Float", FloatCompare, 4,
         {{F(NAN), F(-NAN), F(std::numeric_limits<float>::signaling_NaN())}, {F(-INFINITY)},
          {F(-FLT_MAX)}, {F(-FLT_TRUE_MIN)}, {F(-0.0f), F(0.0f)}, {F(1.0f)}, {F(INFINITY)}}},
        {"Double", DoubleCompare, 8,
         {{D(NAN), D(-NAN), D(std::numeric_limits<double>::signaling_NaN())}, {D(-INFINITY)},
          {D(-DBL_MAX)}, {D(-DBL_TRUE_MIN)}, {D(-0.0), D(0.0)}, {D(1.0)}, {D(INFINITY)}}},
    };
}

// The protocol as written: pointers step one element at a time, and the end
// tests come before the result test.
int Reference(uint w, uint lenA, uint lenB, uint count, const std::vector<int>& ga,
              const std::vector<int>& gb, int& status) {
    status = 0;
    if (count == 0) return 0;
    const uint endA = lenA ? lenA : w * count, endB = lenB ? lenB : w * count;
    if (w > endA || w > endB) {  // not even the first element is wholly present
        status = KS_SHORT_OPERAND;
        return 0;
    }
    uint a = 0, b = 0;
    int result = 0;
    for (uint left = count;;) {
        --left;
        if (result != 0 || status != 0) break;
        result = (ga[a / w] > gb[b / w]) - (ga[a / w] < gb[b / w]);
        if (left == 0) break;
        // The next element must lie wholly inside both operands.
        if (a + 2 * w > endA) status = KS_SHORT_OPERAND;
        else if (a += w; b + 2 * w > endB) status = KS_SHORT_OPERAND;
        else b += w;
    }
    return result;
}

class KsTypCmp : public ::testing::Test {
    void SetUp() override {
        if (std::endian::native != std::endian::little) GTEST_SKIP() << "reference images are LE";
    }
};

TEST_F(KsTypCmp, RandomArraysInEveryFormatFollowTheSteppingRule) {
    std::mt19937 rng(20240611);
    for (const Kind& k : Kinds()) {
        std::vector<std::pair<Bits, int>> pool;  // (value, group)
        for (int g = 0; g < int(k.groups.size()); ++g)
            for (Bits v : k.groups[g]) pool.push_back({v, g});
        for (int iter = 0; iter < 6000; ++iter) {
            const uint count = rng() % 6, full = count * k.width;
            const uchar format = uchar(rng());
            auto len = [&] { return rng() % 3 == 0 ? 0u : uint(rng() % (full + k.width + 1)); };
            const uint lenA = len(), lenB = len();
            std::vector<uchar> a(full + 1), b(full + 1);
            std::vector<int> ga(count + 1), gb(count + 1);
            // Neighbouring pool entries only, so that equal prefixes are common.
            const uint first = rng() % pool.size(), spread = 1 + rng() % 3;
            for (uint i = 0; i < count; ++i) {
                const auto& ea = pool[(first + rng() % spread) % pool.size()];
                const auto& eb = pool[(first + rng() % spread) % pool.size()];
                Put(&a[i * k.width], ea.first, k.width, format), ga[i] = ea.second;
                Put(&b[i * k.width], eb.first, k.width, format), gb[i] = eb.second;
            }
            int want, status = -1;
            const int expected = Reference(k.width, lenA, lenB, count, ga, gb, want);
            const int got = k.cmp(format, lenA, a.data(), lenB, b.data(), 0, count, status);
            ASSERT_TRUE(got == expected && status == want) << k.name << " format " << int(format) << " count "
                                                           << count << " lengths " << lenA << "/" << lenB;
        }
        int status = -1;  // count 0 reads nothing
        EXPECT_EQ(0, k.cmp(2, 1, nullptr, 0, nullptr, 0xFFFF, 0, status));
        EXPECT_EQ(0, status);
    }
}

TEST_F(KsTypCmp, EdgeCases) {
    struct Case { KsTypeCmpFunc cmp; uchar format; std::vector<uchar> a, b; uint lenA, count; int result, status; };
    const Case cases[] = {
        {ShortCompare, 2, {0x01, 0x00}, {0x00, 0x02}, 0, 1, 1, 0},   // 256 > 2
        {ShortCompare, 0, {0x01, 0x00}, {0x00, 0x02}, 0, 1, -1, 0},  // 1 < 512
        // Decided by the first element, yet a has no second one: reported.
        {ShortCompare, 8, {1, 0, 9, 9}, {2, 0, 9, 9}, 2, 2, -1, KS_SHORT_OPERAND},
        // An element only partly present is not read.
        {ShortCompare, 8, {1, 0, 9, 0}, {1, 0, 8, 0}, 3, 2, 0, KS_SHORT_OPERAND},
        {LongCompare, 8, {5, 0, 0, 0}, {6, 0, 0, 0}, 1, 1, 0, KS_SHORT_OPERAND},
    };
    for (const auto& c : cases) {
        std::vector<uchar> a = c.a, b = c.b;
        int status = -1;
        EXPECT_EQ(c.result, c.cmp(c.format, c.lenA, a.data(), 0, b.data(), 0, c.count, status));
        EXPECT_EQ(c.status, status) << c.result;
    }
}

// Seeded random values stored by the base routines under every format byte
// order as plain integers do.
TEST_F(KsTypCmp, WideValuesReadLikeTheBaseRoutines) {
    const struct { KsTypeCmpFunc cmp; Routine store; int width; bool isSigned; } kinds[] = {
        {ShortCompare, ShortStore, 2, true}, {WordCompare, ShortStore, 2, false}, {IntCompare, IntStore, 4, true},
        {UnsignedCompare, IntStore, 4, false}, {LongCompare, LongStore, 4, true}, {DwordCompare, LongStore, 4, false},
        {O_8BCompare, O_8BStore, 8, true},     {O_U8BCompare, O_8BStore, 8, false}};
    std::mt19937_64 rng(7);
    for (int i = 0; i < 128000; ++i) {
        const auto& k = kinds[i % 8];
        const uchar format = uchar(i / 8);
        // Mostly pairs that differ in one byte, so that every byte's weight shows.
        Bits x = rng(), y = i % 3 ? x ^ (Bits(1 + rng() % 255) << (8 * (rng() % k.width))) : rng();
        if (i % 97 == 0) y = x;
        uchar sx[8], sy[8];
        k.store(sx, &x, format, 1);
        k.store(sy, &y, format, 1);
        const int shift = 64 - 8 * k.width;  // compare the low `width` bytes
        const bool less = k.isSigned ? KsI64(x << shift) < KsI64(y << shift) : x << shift < y << shift;
        const bool same = x << shift == y << shift;
        int status;
        ASSERT_EQ(same ? 0 : less ? -1 : 1, k.cmp(format, 0, sx, 0, sy, 0, 1, status))
            << i % 8 << " format " << int(format) << " " << x << " " << y;
    }
}

TEST(KsTypCmpFloat, Class) {
    for (auto c : {std::pair{double(NAN), -2}, {-double(NAN), -2}, {std::numeric_limits<double>::signaling_NaN(), -2},
                   {-INFINITY, -1}, {INFINITY, 1}, {0.0, 0}, {-0.0, 0}, {DBL_TRUE_MIN, 0}, {-DBL_MAX, 0}})
        EXPECT_EQ(c.second, KsFloatClass(c.first)) << c.first;
}

TEST(KsTypCmpRows, ScalarRowsMapToTheirComparators) {
    KsTypeCmpFunc want[256] = {CharCompare,  ShortCompare, LongCompare, DoubleCompare,   FloatCompare, WordCompare,
                               DwordCompare, IntCompare,   UnsignedCompare, IntCompare,  ByteCompare};
    want[14] = DwordCompare, want[42] = O_8BCompare, want[43] = O_U8BCompare;
    for (int id = -128; id < 128; ++id) EXPECT_EQ(id < 0 ? nullptr : want[id], KsScalarComparator(id)) << id;
}

}  // namespace
