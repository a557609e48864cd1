// Base services: stored byte images against golden bytes and an independent
// reference swap, memory-file bounds, configuration parsing, the clock zone
// override, the hooks and the version rule.
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <string>
#include <vector>

#include "ksbase.h"

namespace {

using Bytes = std::vector<uchar>;
using Routine = uint (*)(void*, const void*, uchar, uint);

// Reference image, built byte by byte: most significant first for order code 2.
Bytes Image(std::uint64_t v, int width, bool msbFirst) {
    Bytes out(width);
    for (int i = 0; i < width; ++i) out[msbFirst ? width - 1 - i : i] = uchar(v >> (8 * i));
    return out;
}

// Two values at odd addresses through every routine: both images match the
// reference, nothing outside them is touched, and an in-place store works.
TEST(KsBaseScalar, GoldenImagesSizesAndUnalignedStores) {
    struct Kind {
        Routine store, load;
        uint (*size)(const void*, uchar, uchar, uint);
        uint (*nullSize)(const void*, uchar, uchar, uint);
        uint (*one)(void*, const void*, uchar);
        uint width;
    };
#define KS_KIND(N, O, W) {N##Store, N##Load, N##SizeGet, N##NullSizeGet, O, W}
    const Kind kinds[] = {KS_KIND(Char, nullptr, 1), KS_KIND(Short, ShortStoreOne, 2), KS_KIND(Int, nullptr, 4),
                          KS_KIND(Unsigned, nullptr, 4), KS_KIND(Long, LongStoreOne, 4), KS_KIND(Float, nullptr, 4),
                          KS_KIND(Double, nullptr, 8), KS_KIND(O_8B, O_8BStoreOne, 8)};
#undef KS_KIND
    const std::uint64_t values[2] = {0x0807060504030201ull, 0xF8F7F6F5F4F3F2F1ull};  // native bytes 01 02 .. 08
    for (const Kind& k : kinds) {
        for (uchar format : {0, 1, 2, 3, 8, 10, 0x12}) {
            SCOPED_TRACE(std::to_string(k.width) + " bytes, format " + std::to_string(format));
            const bool msbFirst = (format & 15) == 2;
            Bytes want = Image(values[0], k.width, msbFirst), second = Image(values[1], k.width, msbFirst);
            want.insert(want.end(), second.begin(), second.end());
            uchar src[17], dst[18];
            std::memcpy(src + 1, &values[0], k.width);
            std::memcpy(src + 1 + k.width, &values[1], k.width);
            for (Routine r : {k.store, k.load}) {
                std::memset(dst, 0xEE, sizeof dst);
                EXPECT_EQ(2 * k.width, r(dst + 1, src + 1, format, 2));
                EXPECT_EQ(want, Bytes(dst + 1, dst + 1 + 2 * k.width));
                EXPECT_TRUE(dst[0] == 0xEE && dst[1 + 2 * k.width] == 0xEE);
            }
            if (k.one) {
                std::memset(dst, 0xEE, sizeof dst);
                EXPECT_EQ(k.width, k.one(dst + 1, src + 1, format));
                EXPECT_EQ(Bytes(want.begin(), want.begin() + k.width), Bytes(dst + 1, dst + 1 + k.width));
                EXPECT_EQ(0xEE, dst[1 + k.width]);
            }
            k.store(src + 1, src + 1, format, 2);
            EXPECT_EQ(want, Bytes(src + 1, src + 1 + 2 * k.width));
            EXPECT_EQ(5 * k.width, k.size(nullptr, 8, format, 5));
            EXPECT_EQ(5 * k.width + 5, k.nullSize(nullptr, 8, format, 5));
        }
        EXPECT_EQ(0u, k.store(nullptr, nullptr, 2, 0) + k.size(nullptr, 8, 2, 0));
    }
    const std::uint32_t long4 = 0x04030201;
    uchar out[4];
    EXPECT_EQ((Bytes{4, 3, 2, 1}), Bytes(out, out + LongStore(out, &long4, 2, 1)));
}

TEST(KsBaseMemFile, SeekStaysInsideBounds) {
    const char data[] = "0123456789";
    MemFile f(data, 10);
    enum { Set = MemFile::SeekSet, Cur = MemFile::SeekCur, End = MemFile::SeekEnd };
    const struct { long offset; int whence, result, position; } steps[] = {
        {4, Set, 0, 4},   {3, Cur, 0, 7},   {4, Cur, -1, 7},        {-8, Cur, -1, 7},
        {-7, Cur, 0, 0},  {0, End, 0, 10},  {1, End, -1, 10},       {-10, End, 0, 0},
        {-1, Set, -1, 0}, {11, Set, -1, 0}, {LONG_MAX, Cur, -1, 0}, {LONG_MIN, End, -1, 0},
        {2, 7, -1, 0},    {6, Set, 0, 6}};
    for (const auto& s : steps) {
        EXPECT_EQ(s.result, f.Seek(s.offset, s.whence)) << s.offset << " " << s.whence;
        EXPECT_EQ(s.position, f.Tell()) << s.offset << " " << s.whence;
    }
    char out[8] = {};
    EXPECT_EQ(4u, f.Read(out, 8));  // clipped at the end
    EXPECT_EQ("6789", std::string(out, 4));
    EXPECT_EQ(0u, f.Read(out, 1));
}

TEST(KsBaseConfig, ParsesAndRejectsLines) {
    const struct { const char* text; int result, value; } cases[] = {  // value of [s] k
        {"[s]\nk=5", 0, 5}, {"; c\n# c\n\n  [ s ]  \r\n  k  =  -12  ; note\r\n", 0, -12},
        {"[s]\nk = 0x1F\n", 0, 31}, {"[s]\nk = 0xFFFFFFFF\n", 0, -1}, {"[s]\nk = -0x80000000\n", 0, INT_MIN},
        {"[s]\nk = 1\nk = 2\n[t]\nk = 3\n[s]\n", 0, 2},
        {"[S]\nK = 1\n", 0, 99},  // names are case-sensitive
        {"k = 1\n[s]\n", 1, 99},  // key before any section
        {"[s]\nk = 1\nkey without value\n", 3, 99}, {"[s\nk = 1\n", 1, 99}, {"[s]\n= 1\n", 2, 99},
        {"[s]\nk = 2147483648\n", 2, 99}, {"[s]\nk = -2147483649\n", 2, 99}, {"[s]\nk = 0x100000000\n", 2, 99},
        {"[s]\nk = 12 3\n", 2, 99}, {"[s]\nk = 0x\n", 2, 99}};
    KsConfig config;
    for (const auto& c : cases) {
        config.SetInt("s", "k", 77);  // must be replaced, or cleared on failure
        EXPECT_EQ(c.result, config.LoadText(c.text)) << c.text;
        EXPECT_EQ(c.value, config.GetInt("s", "k", 99)) << c.text;
    }
    EXPECT_EQ(1, config.GetInt(nullptr, "k", 1));
    // An unreadable file (absent; a directory) leaves the configuration empty.
    for (const std::string& path : {testing::TempDir() + "ksbase_missing.ini", testing::TempDir()}) {
        config.SetInt("s", "k", 1);
        EXPECT_EQ(-1, config.LoadFile(path.c_str())) << path;
        EXPECT_EQ(99, config.GetInt("s", "k", 99)) << path;
    }
}

// DefaultConfig is built once per process, so each case runs in a fresh
// process that sets KSTM_CONFIG first. Good and malformed files.
TEST(KsBaseConfigDeathTest, DefaultConfigReadsKstmConfig) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    auto WriteTemp = [](const char* name, const char* text) {
        const std::string path = testing::TempDir() + name;
        std::ofstream(path, std::ios::binary) << text;
        return path;
    };
    const std::string good = WriteTemp("ksbase_env_good.ini", "[debug]\nstringOverflow = 7\n");
    const std::string bad = WriteTemp("ksbase_env_bad.ini", "[debug]\nstringOverflow = x\n");
    auto run = [](const std::string& path) {
        setenv("KSTM_CONFIG", path.c_str(), 1);
        std::exit(DefaultConfig().GetInt("debug", "stringOverflow", 3));
    };
    EXPECT_EXIT(run(good), testing::ExitedWithCode(7), "");
    EXPECT_EXIT(run(bad), testing::ExitedWithCode(3), "ksbase_env_bad.ini: line 2 is malformed");
    std::remove(good.c_str());
    std::remove(bad.c_str());
}

// Seconds since the epoch of a date and time record (proleptic Gregorian).
long long Seconds(const bdate& d, const btime& t) {
    const int y = d.year - (d.month <= 2), era = (y >= 0 ? y : y - 399) / 400, yoe = y - era * 400;
    const int doy = (153 * (d.month + (d.month > 2 ? -3 : 9)) + 2) / 5 + d.day - 1;
    const long long days = era * 146097LL + yoe * 365 + yoe / 4 - yoe / 100 + doy - 719468;
    return days * 86400 + t.hour * 3600 + t.minute * 60 + t.second;
}

// The override pins the zone whatever TZ says; without it TZ decides.
TEST(KsBaseClock, ZoneFromOverrideOrTz) {
    const char* saved = std::getenv("TZ");
    const std::string old = saved ? saved : "";
    const struct { const char* tz; int override, minutes; } cases[] = {
        {"UTC", 120, 120}, {"<+0530>-5:30", -330, -330}, {"<+0530>-5:30", 0, 0}, {"<+0530>-5:30", INT_MIN, 330},
        {"UTC", INT_MIN, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.tz) + " " + std::to_string(c.override));
        setenv("TZ", c.tz, 1);
        c.override == INT_MIN ? bksClearTimeZoneOverride() : bksSetTimeZoneOverride(c.override);
        EXPECT_EQ(c.minutes, bksgettimezone());
        bdate ld{}, ud{};
        btime lt{}, ut{}, t{};
        uint ns = 0;
        ASSERT_EQ(0, bksGetHiresTimeUTC(&ud, &ut, &ns) + bksGetHiresTime(&ld, &lt, nullptr) + bksgettime(&t));
        EXPECT_NEAR(c.minutes * 60.0, double(Seconds(ld, lt) - Seconds(ud, ut)), 1.0);
        EXPECT_TRUE(lt.offset == c.minutes * 60 && t.offset == c.minutes * 60 && ut.offset == 0);
        EXPECT_LT(ns, 1000000000u);
        EXPECT_EQ(ns / 10000000u, ut.hundredths);
    }
    saved ? setenv("TZ", old.c_str(), 1) : unsetenv("TZ");
    tzset();

    bdate d{};
    btime t{};
    const long long before = std::time(nullptr);
    ASSERT_EQ(0, bksgetsystemtime(&t, &d));
    EXPECT_GE(Seconds(d, t), before);
    EXPECT_LE(Seconds(d, t), static_cast<long long>(std::time(nullptr)));
}

std::string g_captured;
void Capture(const char* e, const char* s, int l) { g_captured = e + (s + std::to_string(l)); }
int RetryTwice(std::size_t size, int attempt) { return size == 64 && attempt < 3; }

TEST(KsBaseHooks, HandlersCanBeSwappedAndRestored) {
    const KsAssertHandler previous = KsSetAssertHandler(&Capture);
    VARN_assert("KsInt64 divide by zero", "src/ksint64", 748);
    EXPECT_EQ("KsInt64 divide by zerosrc/ksint64748", g_captured);
    EXPECT_EQ(&Capture, KsSetAssertHandler(nullptr));  // back to the default
    testing::internal::CaptureStderr();
    VARN_assert("x > 0", "src/a", 12);
    EXPECT_EQ("assertion failed: x > 0 (src/a:12)\n", testing::internal::GetCapturedStderr());
    KsSetAssertHandler(previous);

    // Without a memory handler an allocation is never retried.
    EXPECT_EQ(0, KsCallMemoryHandler(64, 1));
    const KsMemoryHandler before = KsSetMemoryHandler(&RetryTwice);
    EXPECT_TRUE(KsCallMemoryHandler(64, 2) == 1 && KsCallMemoryHandler(64, 3) == 0);
    EXPECT_EQ(&RetryTwice, KsSetMemoryHandler(before));
}

TEST(KsBaseVersion, AcceptsPerFlags) {
    uint v[5] = {};
    KsBaseVersion(&v[0], &v[1], &v[2], &v[3], &v[4]);
    EXPECT_EQ((std::vector<uint>{11, 0, 6, 169, 0}), std::vector<uint>(v, v + 5));
    const struct { uint major, minor, flags; int result; } cases[] = {
        {11, 0, 3, 0},     {12, 0, 3, -2999}, {10, 0, 1, -2999}, {11, 1, 3, -2999}, {11, 1, 1, 0},
        {12, 1, 2, -2999}, {12, 0, 2, 0},     {99, 99, 0, 0},    {11, 0, 4, 0}};
    for (const auto& c : cases)
        EXPECT_EQ(c.result, CheckKsVersionNumber(c.major, c.minor, 6, 169, 0, c.flags))
            << c.major << "." << c.minor << " flags " << c.flags;
}

}  // namespace
