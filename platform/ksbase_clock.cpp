// Clocks: the only unit that reads the OS wall clock and the local zone.
// Local time comes from localtime_r under TZ, unless a test has pinned the
// zone with an override, in which case it is UTC shifted by the override.
#include <atomic>
#include <chrono>
#include <climits>
#include <ctime>

#include "ksbase.h"

namespace {

// INT_MIN marks "no override"; one word so readers never see half an update.
constexpr int kNoOverride = INT_MIN;
std::atomic<int> g_overrideMinutes{kNoOverride};

struct Instant {
    std::time_t seconds;
    uint nanoseconds;  // [0, 999999999]
};

Instant Now() {
    using namespace std::chrono;
    const auto since = system_clock::now().time_since_epoch();
    auto secs = duration_cast<seconds>(since);
    auto nanos = duration_cast<nanoseconds>(since - secs).count();
    if (nanos < 0) {  // before 1970: keep the fraction positive
        secs -= seconds(1);
        nanos += 1000000000;
    }
    return {static_cast<std::time_t>(secs.count()), static_cast<uint>(nanos)};
}

// Broken-down local time and the seconds local time is ahead of UTC.
bool LocalParts(std::time_t t, std::tm* tm, long* offsetSeconds) {
    const int minutes = g_overrideMinutes.load(std::memory_order_relaxed);
    if (minutes != kNoOverride) {
        const long long shift = static_cast<long long>(minutes) * 60;
        const std::time_t shifted = static_cast<std::time_t>(t + shift);
        *offsetSeconds = static_cast<long>(shift);
        return gmtime_r(&shifted, tm) != nullptr;
    }
    tzset();  // localtime_r need not notice a changed TZ by itself
    if (localtime_r(&t, tm) == nullptr) return false;
    *offsetSeconds = tm->tm_gmtoff;
    return true;
}

bool UtcParts(std::time_t t, std::tm* tm) { return gmtime_r(&t, tm) != nullptr; }

void FillDate(const std::tm& tm, bdate* date) {
    if (!date) return;
    date->year = static_cast<short>(tm.tm_year + 1900);
    date->month = static_cast<signed char>(tm.tm_mon + 1);
    date->day = static_cast<signed char>(tm.tm_mday);
}

void FillTime(const std::tm& tm, uint nanoseconds, long offsetSeconds, btime* time) {
    if (!time) return;
    time->hour = static_cast<uchar>(tm.tm_hour);
    time->minute = static_cast<uchar>(tm.tm_min);
    // A leap second (60) is folded into 59 so callers' range checks hold.
    time->second = static_cast<uchar>(tm.tm_sec > 59 ? 59 : tm.tm_sec);
    time->hundredths = static_cast<uchar>(nanoseconds / 10000000u);
    time->offset = static_cast<int>(offsetSeconds);
}

int Local(bdate* date, btime* time, uint* nanoseconds) {
    const Instant now = Now();
    std::tm tm{};
    long offset = 0;
    if (!LocalParts(now.seconds, &tm, &offset)) return KS_NOT_SUPPORTED;
    FillDate(tm, date);
    FillTime(tm, now.nanoseconds, offset, time);
    if (nanoseconds) *nanoseconds = now.nanoseconds;
    return KS_OK;
}

int Utc(bdate* date, btime* time, uint* nanoseconds) {
    const Instant now = Now();
    std::tm tm{};
    if (!UtcParts(now.seconds, &tm)) return KS_NOT_SUPPORTED;
    FillDate(tm, date);
    FillTime(tm, now.nanoseconds, 0, time);
    if (nanoseconds) *nanoseconds = now.nanoseconds;
    return KS_OK;
}

}  // namespace

int bksgetdate(bdate* date) { return Local(date, nullptr, nullptr); }

int bksgettime(btime* time) { return Local(nullptr, time, nullptr); }

int bksgetsystemtime(btime* time, bdate* date) { return Utc(date, time, nullptr); }

int bksgettimezone() {
    const int minutes = g_overrideMinutes.load(std::memory_order_relaxed);
    if (minutes != kNoOverride) return minutes;
    std::tm tm{};
    long offset = 0;
    if (!LocalParts(Now().seconds, &tm, &offset)) return KS_NO_TIMEZONE;
    return static_cast<int>(offset / 60);
}

int bksGetHiresTime(bdate* date, btime* time, uint* nanoseconds) {
    return Local(date, time, nanoseconds);
}

int bksGetHiresTimeUTC(bdate* date, btime* time, uint* nanoseconds) {
    return Utc(date, time, nanoseconds);
}

void bksSetTimeZoneOverride(int minutesAheadOfUtc) {
    g_overrideMinutes.store(minutesAheadOfUtc, std::memory_order_relaxed);
}

void bksClearTimeZoneOverride() { g_overrideMinutes.store(kNoOverride, std::memory_order_relaxed); }
