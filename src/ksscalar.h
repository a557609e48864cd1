// Slot functions shared by the plain scalar rows: array life cycle, copy
// with fill, translation between in-memory and stored images, is-null,
// default value and value stepping. One instance per width/representation.
#ifndef KSSCALAR_H
#define KSSCALAR_H

#include "ksdefs.h"
#include "kstypes.h"

// The is-null function of every plain scalar row (and of the reserved row):
// scalars have no null value.
int ScalarIsNull(void* value);

// Per-representation slot sets. `Kind` names the in-memory type.
struct KsScalarSlots {
    KsCreateFunc create;
    KsDeleteFunc destroy;
    KsDiskLenFileFunc diskLenFile;
    KsConstructFunc construct;
    KsDestructFunc destruct;
    KsAssignFunc assign;
    KsAssignFunc copy;
    KsTranslateFunc translate;
    KsDefaultValueFunc defaultValue;
    KsGetValueFunc getValue;
};

enum class KsScalarKind {
    Char, UChar, Short, UShort, Long, ULong, Int, Unsigned, Enum, Float, Double, I64, U64
};
const KsScalarSlots& KsScalarSlotsGet(KsScalarKind kind);

#endif
