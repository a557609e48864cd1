// Helpers shared by the translation slots of several rows.
#include "ksimageutil.h"

#include <cstring>

uint KsCopyStoredImage(void* dst, uint dstLen, const void* src, uint srcLen) {
    if (srcLen > dstLen) {
        if (dstLen) std::memcpy(dst, src, dstLen);
        return dstLen;
    }
    if (srcLen < dstLen) std::memset(dst, 0, dstLen);
    if (srcLen) std::memcpy(dst, src, srcLen);
    return srcLen;
}
