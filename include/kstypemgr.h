// Umbrella header: every public class and function of the type manager and
// of the platform services it builds on.
#ifndef KSTYPEMGR_H
#define KSTYPEMGR_H

#include "ksdefs.h"
#include "ksbase.h"
#include "ksi18n.h"
#include "ksstring.h"
#include "kstypes.h"
#include "ksmodule.h"
#include "ksblob.h"
#include "ksboolean.h"
#include "ksint64.h"
#include "ksistring.h"
#include "ksstrcmp.h"
#include "ksstringstore.h"
#include "ksutf8.h"
#include "ksorder.h"
#include "kstypcmp.h"
#include "ksnull.h"
#include "ksscalartext.h"

#endif
