// Helpers shared by the translation slots of several rows. Stored-to-stored
// translation never reorders bytes: it truncates or zero-pads.
#ifndef KSIMAGEUTIL_H
#define KSIMAGEUTIL_H

#include "ksdefs.h"

// Copies a stored image to a stored image of `dstLen` bytes: the first dstLen
// bytes when the source is longer, else the whole source followed by zeros.
// Returns the bytes copied (min(srcLen, dstLen)). A zero length never touches
// its pointer.
uint KsCopyStoredImage(void* dst, uint dstLen, const void* src, uint srcLen);

#endif
