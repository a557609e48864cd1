// Module identity and context.
#include "ksmodule.h"

#include <cstdio>
#include <new>

#include "ksbase.h"
#include "ksi18n.h"
#include "kstypes.h"
#include "kstypes_internal.h"

namespace {

constexpr uint kMajor = 11, kMinor = 0, kPatch = 6, kBuild = 169, kSub = 0;
constexpr const char* kProduct = "Brontel Typemanager";
constexpr const char* kModule = "BR110Btms80";
constexpr const char* kBuildDate = "Sep 21 2012";
constexpr const char* kBuildDateTime = "Sep 21 2012 01:49:27";
constexpr const char* kBuildKind = "unknown";

#if defined(__clang__)
constexpr const char* kCompiler = "Clang";
constexpr uint kCompilerVersion = __clang_major__ * 100 + __clang_minor__;
#elif defined(__GNUC__)
constexpr const char* kCompiler = "GCC";
constexpr uint kCompilerVersion = __GNUC__ * 100 + __GNUC_MINOR__;
#else
constexpr const char* kCompiler = "unknown";
constexpr uint kCompilerVersion = 0;
#endif

char g_infoBuffer[64];
int g_options = 0;

}  // namespace

int KsCheckDll(int flags) {
    return CheckKsVersionNumber(kMajor, kMinor, kPatch, kBuild, kSub,
                                static_cast<uint>(flags) | 3u);
}

const char* KsDescribeDll(uint* major, uint* minor, uint* patch, uint* build, uint* sub,
                          const char** module, const char** buildTime, const char** buildKind,
                          uint* compilerVersion, const char** compiler, const char** extra) {
    if (major) *major = kMajor;
    if (minor) *minor = kMinor;
    if (patch) *patch = kPatch;
    if (build) *build = kBuild;
    if (sub) *sub = kSub;
    if (module) *module = kModule;
    if (buildTime) *buildTime = kBuildDateTime;
    if (buildKind) *buildKind = kBuildKind;
    if (compilerVersion) *compilerVersion = kCompilerVersion;
    if (compiler) *compiler = kCompiler;
    if (extra) *extra = "";
    return kProduct;
}

void GetKsTypeMgrInfo(const char** compiler, uint* compilerVersion, const char** name,
                      const char** date, const char** module) {
    if (compiler) *compiler = kCompiler;
    if (compilerVersion) *compilerVersion = kCompilerVersion;
    if (name) {
        std::snprintf(g_infoBuffer, sizeof g_infoBuffer, "%s %u.%u.%u.%u.%u ", kProduct, kMajor,
                      kMinor, kPatch, kBuild, kSub);
        *name = g_infoBuffer;
    }
    if (date) *date = kBuildDate;
    if (module) *module = kModule;
}

int& ___KsTypeMgrOptions() { return g_options; }

void ___KsTypemgrContext(int start) {
    ___KsI18NContext(start);
    if (start) {
        // Starting twice replaces the default without deleting the first.
        KsExchangeDefaultTypeMgr(new (std::nothrow) KsTypeMgr(5));
    } else {
        delete KsExchangeDefaultTypeMgr(nullptr);
    }
}
