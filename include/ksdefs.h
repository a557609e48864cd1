// Basic scalar names, export macro and status codes shared by every unit.
// Status results are plain ints: 0 is success, the constants below are the rest.
#ifndef KSDEFS_H
#define KSDEFS_H

#include <cstddef>
#include <cstdint>

#if defined(_WIN32)
#  if defined(KSTM_BUILDING)
#    define KSTM_API __declspec(dllexport)
#  elif defined(KSTM_STATIC)
#    define KSTM_API
#  else
#    define KSTM_API __declspec(dllimport)
#  endif
#else
#  define KSTM_API __attribute__((visibility("default")))
#endif

typedef unsigned char uchar;
typedef unsigned short ushort;
typedef unsigned int uint;

// 64-bit integers of the interface (the predecessor's __int64 forms).
typedef long long KsI64;
typedef unsigned long long KsU64;

static_assert(sizeof(short) == 2 && sizeof(int) == 4 && sizeof(KsI64) == 8,
              "the stored images assume 16-bit short and 32-bit int");

enum KsStatus : int {
    KS_OK = 0,
    KS_NOT_SUPPORTED = -2999,   // not supported, or failed
    KS_INVALID_ARGUMENT = -2002,
    KS_END_OF_LIST = -2005,
    KS_NO_TIMEZONE = -2171,
    KS_SHORT_OPERAND = 2101,    // an operand ran out of bytes
    KS_STEP_OVERFLOW = 2091     // stepping a value would overflow
};

#endif
