// Bulk text conversion (slots 12 and 13) of the null-capable rows: a null
// element is a null KsString and back; a value converts as its plain kind.
#ifndef KSNULLCONV_H
#define KSNULLCONV_H

#include "kstypes.h"

// The slot functions of null-capable row `id` (28-38, 44, 45); null pointers
// for any other id.
KsToTextFunc KsNullToTextFunc(int id);
KsFromTextFunc KsNullFromTextFunc(int id);

#endif
