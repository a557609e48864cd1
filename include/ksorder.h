// Collation order descriptions: a 16-bit order taken apart into its fields
// and named in English ("upper letter A with accent grave"), for
// diagnostics and tools. The order layout is in docs/collation.md; an order
// with bit 15 set, or any order of an ideographic language (id & 0x7F of 20
// or more), is a character code.
#ifndef KSORDER_H
#define KSORDER_H

#include "ksdefs.h"

class KsString;

// symbol = order - 80 (16-bit). -2002 when that exceeds 16047, else 0.
KSTM_API int KsExtractSymbolFromOrder(ushort order, ushort& symbol);

// expand = bit 0, digit = ((order & ~1) - 0x3F00) / 10 (16-bit). -2002 when
// order - 0x3F00 exceeds 255, else 0.
KSTM_API int KsExtractDigitFromOrder(ushort order, ushort& digit, ushort& expand);

// The fields of a letter order: case (bits 12-13, 0 upper), accent (bits
// 7-11), letter number (bits 2-6, 3 = A ... 28 = Z) and extension (bits
// 0-1). -2002 when bit 15 is set (not a letter of the layout), else 0.
KSTM_API int KsExtractLetterFromOrder(ushort order, ushort& letterCase, ushort& accent,
                                      ushort& letter, ushort& extension);

// The description of an order in a language. Always 0.
//
// Example: 0x4000 | 3 << 7 | 3 << 2 in language 1 -> "upper letter A with accent grave"
KSTM_API int KsConvertOrderToString(ushort order, uchar language, KsString& text);

// The byte of the 8-bit code set `codeSet` (0 = native) whose collation
// order in `language` is `order`: the first byte with exactly that order,
// a byte that sorts as one letter before one that begins an expansion.
// With `name` non-null, *name receives the order's description (a buffer
// of the calling thread, valid until its next call). Returns 0, or -2002
// (c = 0, *name null) when no byte has the order or codeSet is not 8-bit.
KSTM_API int KsConvertOrderToChar(ushort order, uchar language, uchar& c, int codeSet,
                                  const char** name);

#endif
