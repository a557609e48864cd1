// Text helpers shared by the print and scan slots.
#include "kstextutil.h"

#include <cstring>

#include "kstypes.h"

KsSingleByte::KsSingleByte(const KsString& s, uchar codeSet) : text_(&s), codeSet_(codeSet) {
    if (s.Width() == 2) {
        converted_.CopyMapped(s, codeSet);
        text_ = &converted_;
    }
}

bool KsSingleByte::BeginsWithNullPrint() const {
    const KsSingleByte null(KsTypeMgr::GetNullPrintString(), codeSet_);
    return Len() >= null.Len() && std::memcmp(Chars(), null.Chars(), null.Len()) == 0;
}
