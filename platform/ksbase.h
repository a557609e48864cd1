// Base services: byte-order scalar routines, in-memory files, clocks, the
// assertion hook, configuration, version check and the memory handler.
//
// Scalar routines take (destination, source, format, count) and return the
// bytes produced. Format 8 (bit 3 set) copies in-memory values; otherwise
// the low four bits pick the stored order: 2 = most significant byte first,
// any other code = least significant byte first. The swap is its own
// inverse, so a Store routine also reads a stored image back into memory.
#ifndef KSBASE_H
#define KSBASE_H

#include "ksdefs.h"

// ---------------------------------------------------------------------------
// Scalar routines. Stored widths: char 1, short 2, int 4, unsigned 4, long 4,
// float 4, double 8, o_8b 8 (equal to the in-memory widths). Store and Load
// accept unaligned pointers and dst == src (in-place swap); a count of 0
// returns 0 without touching either pointer. Floating values are swapped as
// bit patterns. SizeGet(values, kind, format, count) returns the stored size
// of `count` values (the in-memory size when format has bit 8); `kind` names
// the representation of `values` and is 8 (in memory) for every caller here;
// `values` is not read. NullSizeGet adds one flag byte per value.
//
// Example: 0x04030201 as a long, format 2 -> 04 03 02 01; format 1 -> 01 02 03 04.
// ---------------------------------------------------------------------------
#define KS_DECLARE_SCALAR_ROUTINES(Name)                                                    \
    KSTM_API uint Name##Store(void* dst, const void* src, uchar format, uint count);       \
    KSTM_API uint Name##Load(void* dst, const void* src, uchar format, uint count);        \
    KSTM_API uint Name##SizeGet(const void* values, uchar kind, uchar format, uint count); \
    KSTM_API uint Name##NullSizeGet(const void* values, uchar kind, uchar format, uint count);

KS_DECLARE_SCALAR_ROUTINES(Char)
KS_DECLARE_SCALAR_ROUTINES(Short)
KS_DECLARE_SCALAR_ROUTINES(Int)
KS_DECLARE_SCALAR_ROUTINES(Unsigned)
KS_DECLARE_SCALAR_ROUTINES(Long)
KS_DECLARE_SCALAR_ROUTINES(Float)
KS_DECLARE_SCALAR_ROUTINES(Double)
KS_DECLARE_SCALAR_ROUTINES(O_8B)
#undef KS_DECLARE_SCALAR_ROUTINES

// Single-value forms: one value of 2, 4 or 8 bytes; return the bytes produced.
KSTM_API uint ShortStoreOne(void* dst, const void* src, uchar format);
KSTM_API uint LongStoreOne(void* dst, const void* src, uchar format);
KSTM_API uint O_8BStoreOne(void* dst, const void* src, uchar format);

// ---------------------------------------------------------------------------
// MemFile: a read-only file over a caller-owned byte buffer.
// ---------------------------------------------------------------------------
class KSTM_API MemFile {
public:
    enum { SeekSet = 0, SeekCur = 1, SeekEnd = 2 };

    MemFile(const void* data, uint size);

    // Moves the position; 0 on success, -1 (position unchanged) when the new
    // position would fall outside [0, size].
    int Seek(long offset, int whence = SeekCur);
    long Tell() const;
    // Copies up to n bytes from the position on and advances; returns the
    // number of bytes copied (fewer at the end of the data).
    uint Read(void* dst, uint n);

    uint Size() const { return size_; }
    uint Remaining() const { return size_ - pos_; }
    const uchar* Data() const { return data_; }
    const uchar* Current() const { return data_ + pos_; }

private:
    const uchar* data_;
    uint size_;
    uint pos_;
};

// ---------------------------------------------------------------------------
// Clocks. Records as the date and time classes read them.
// ---------------------------------------------------------------------------
struct bdate {
    short year;
    signed char month;
    signed char day;
};
static_assert(sizeof(bdate) == 4, "bdate layout");

struct btime {
    uchar hour;
    uchar minute;
    uchar second;
    uchar hundredths;
    int offset;  // seconds local time is ahead of UTC (local routines; 0 from the UTC ones)
};
static_assert(sizeof(btime) == 8, "btime layout");

// The record routines return 0, or -2999 when the clock cannot be converted;
// null record pointers are skipped. Hundredths are always filled.
KSTM_API int bksgetdate(bdate* date);                               // local date
KSTM_API int bksgettime(btime* time);                               // local time
KSTM_API int bksgetsystemtime(btime* time, bdate* date);            // universal time and date
KSTM_API int bksgettimezone();  // minutes ahead of UTC, or -2171
KSTM_API int bksGetHiresTime(bdate* date, btime* time, uint* nanoseconds);     // local
KSTM_API int bksGetHiresTimeUTC(bdate* date, btime* time, uint* nanoseconds);  // universal

// Tests pin the local zone with an override (minutes ahead of UTC); it
// replaces TZ for every clock routine until cleared. The override is one
// atomic word, so setting it while other threads read the clock is safe.
KSTM_API void bksSetTimeZoneOverride(int minutesAheadOfUtc);
KSTM_API void bksClearTimeZoneOverride();

// ---------------------------------------------------------------------------
// Assertion hook: reports and returns; the caller continues with a defined
// result.
// ---------------------------------------------------------------------------
typedef void (*KsAssertHandler)(const char* expression, const char* source, int line);
KSTM_API void VARN_assert(const char* expression, const char* source, int line);
// Installs a handler (null restores the default, which writes to stderr) and
// returns the previous one.
KSTM_API KsAssertHandler KsSetAssertHandler(KsAssertHandler handler);

// ---------------------------------------------------------------------------
// Memory handler: asked after an allocation of `size` bytes failed for the
// `attempt`-th time (1 first). Non-zero means "try again".
// ---------------------------------------------------------------------------
typedef int (*KsMemoryHandler)(std::size_t size, int attempt);
KSTM_API int KsCallMemoryHandler(std::size_t size, int attempt);
// Installs a handler (null restores the default, which frees nothing and
// answers 0) and returns the previous one.
KSTM_API KsMemoryHandler KsSetMemoryHandler(KsMemoryHandler handler);

// ---------------------------------------------------------------------------
// Configuration: integer keys in sections. At first use the INI file named by
// the environment variable KSTM_CONFIG is read, if set; a malformed file is
// reported once on stderr and ignored.
//
//   ; comment            # comment too
//   [debug]
//   stringOverflow = 1   ; values: decimal with optional sign, or 0x hex
//
// Names are case-sensitive and trimmed; a key before any section, a line
// without '=' or a value that is not a 32-bit integer is malformed. Each
// object is guarded by its own lock, so lookups may run on several threads.
// ---------------------------------------------------------------------------
class KSTM_API KsConfig {
public:
    int GetInt(const char* section, const char* key, int defaultValue) const;
    void SetInt(const char* section, const char* key, int value);
    // Replaces the contents with the INI text; returns 0, or the 1-based line
    // number of the first malformed line (the contents are then left empty).
    int LoadText(const char* text);
    // The same for a file; -1 (contents left empty) when it cannot be read.
    int LoadFile(const char* path);
    void Clear();

    KsConfig();
    ~KsConfig();
    KsConfig(const KsConfig&) = delete;
    KsConfig& operator=(const KsConfig&) = delete;

private:
    struct Impl;
    Impl* impl_;
};
KSTM_API KsConfig& DefaultConfig();

// ---------------------------------------------------------------------------
// Version check: 0 when a module of the given version may run with this base
// library, -2999 otherwise. Flag bit 0 (1): the major numbers must match;
// bit 1 (2): the module's minor number must not be above the library's.
// ---------------------------------------------------------------------------
KSTM_API int CheckKsVersionNumber(uint major, uint minor, uint patch, uint build, uint sub,
                                  uint flags);
// The version of this base library.
KSTM_API void KsBaseVersion(uint* major, uint* minor, uint* patch, uint* build, uint* sub);

#endif
