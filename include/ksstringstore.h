// Stored images of KsString arrays. Each element is
//
//   +0  L   16-bit, in the byte order of the flag: the bytes after this field
//   +2  code set, +3 language (254: null value)
//   +4  the characters without terminator (16-bit ones high byte first when
//       the flag's low nibble is 2, else in machine order)
//   +L  00, +L+1  FF (end marker)
//
// so an element takes L + 2 bytes; a string without characters is 6 bytes.
// Only the low four bits of the flag pick the byte order (2: high byte
// first). The loaders also read the legacy image (a 16-bit total, then
// zero-terminated 8-bit texts), recognised by a 0 at offset L + 1.
#ifndef KSSTRINGSTORE_H
#define KSSTRINGSTORE_H

#include "ksdefs.h"

// Writes `count` strings of `src` into `dst`, which must have room for
// StringSizeGet(src, 8, flag, count) bytes. Returns the bytes written (0 for
// count 0 or a null pointer).
KSTM_API uint StringStore(void* dst, const void* src, unsigned char flag, unsigned int count);

// Reads `count` strings into `dst` (constructed KsString values). REQUIRES:
// the image is complete; nothing checks it against a buffer size (use
// StringLoadBounded for bytes of unknown origin). Returns the image bytes
// consumed; 0 for count 0, a null pointer, an element length below 2 (its
// code set would lie outside it) or a legacy image holding fewer than
// `count` texts. Elements loaded before a failure keep their values.
KSTM_API uint StringLoad(void* dst, const void* src, unsigned char flag, unsigned int count);

// The same, reading nothing outside the first `srcLen` bytes: an image that
// runs past them gives 0.
KSTM_API uint StringLoadBounded(void* dst, const void* src, uint srcLen, unsigned char flag,
                                unsigned int count);

// Image size in bytes. kind bit 3 (0x08) set: `data` is `count` KsString in
// memory; clear: `data` is an image (which must be complete). flag: byte
// order in the low nibble plus option bits 0x20 (code sets other than 254
// count as 0), 0x40 (code set 0 counts as the native one) and 0x80 (size of
// the collation-weight form, for code sets other than 0 and 254: an image's
// L, or a string's L - 2, times four for 8-bit text and two for 16-bit,
// kept to 16 bits). A legacy image gives its L + 2 (not recognised under
// 0x80).
KSTM_API uint StringSizeGet(const void* data, unsigned char kind, unsigned char flag,
                            unsigned int count);

// StringSizeGet of an image, reading nothing outside the first `dataLen`
// bytes; 0 when an element runs past them. The size of an image that loads
// is what the load consumes.
KSTM_API uint StringSizeGetBounded(const void* data, uint dataLen, unsigned char flag,
                                   unsigned int count);

#endif
