// Internals of the type tables shared by the dispatcher, the tool and tests.
#ifndef KSTYPES_INTERNAL_H
#define KSTYPES_INTERNAL_H

#include "kstypes.h"

// Slots of a row that exist but whose functions are not built yet; they hold
// the reserved row's inert functions meanwhile (a pending set-null answers
// -2999 so that SetNullValue falls back).
struct KsPendingSlots {
    signed char id;
    unsigned char slot;
};
const KsPendingSlots* KsPendingSlotList(uint* count);

// Slots that a row leaves empty by design (besides 27).
bool KsSlotIsEmptyByDesign(int id, int slot, bool oldTable);

// The reserved row, for comparisons in tests.
const KsTypeDescriptor& KsReservedRow();

// Replaces the default manager, null included; returns the previous one.
KsTypeMgr* KsExchangeDefaultTypeMgr(KsTypeMgr* mgr);

#endif
