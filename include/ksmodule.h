// Module entry points: version check, self-description, the options word
// and the start and stop of the module's process-wide context.
#ifndef KSMODULE_H
#define KSMODULE_H

#include "ksdefs.h"

// Asks the base services whether this module's version (11.0.6.169.0) fits;
// returns their answer (0 = fits).
KSTM_API int KsCheckDll(int flags);

// Fills every out argument that is not null from the module identity (the
// last receives an empty text) and returns the product text.
KSTM_API const char* KsDescribeDll(uint* major, uint* minor, uint* patch, uint* build, uint* sub,
                                   const char** module, const char** buildTime,
                                   const char** buildKind, uint* compilerVersion,
                                   const char** compiler, const char** extra);

// Each out pointer that is not null receives its item; `name` receives a
// static buffer rebuilt on every call (not thread-safe).
KSTM_API void GetKsTypeMgrInfo(const char** compiler, uint* compilerVersion, const char** name,
                               const char** date, const char** module);

// The process-wide options word. Bit 0 set: KsString's integer conversions
// parse plain decimal instead of detecting the base.
KSTM_API int& ___KsTypeMgrOptions();

// start != 0: starts the internationalisation context and makes a new
// default KsTypeMgr for format version 5. start == 0: deletes the default
// manager and sets it null. Meant for the thread that loads the module.
KSTM_API void ___KsTypemgrContext(int start);

#endif
