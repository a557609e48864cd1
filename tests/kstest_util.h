// Helpers shared by several test files (header only).
#ifndef KSTEST_UTIL_H
#define KSTEST_UTIL_H

#include "ksstring.h"
#include "kstypes.h"

// Keeps the process-wide null print string as the test found it.
class NullPrintGuard {
public:
    NullPrintGuard() : saved_(KsTypeMgr::GetNullPrintString()) {}
    ~NullPrintGuard() { KsTypeMgr::SetNullPrintString(saved_); }
    NullPrintGuard(const NullPrintGuard&) = delete;
    NullPrintGuard& operator=(const NullPrintGuard&) = delete;

private:
    KsString saved_;
};

#endif
