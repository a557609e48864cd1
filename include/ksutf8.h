// UTF-8 exchange: KsString (any code set) to and from UTF-8 bytes, and
// single 16-bit characters to and from their sequences. Sequences follow the
// table-driven definition with up to six bytes; overlong forms are errors.
// A KsString character is one 16-bit unit, so at most three bytes are
// produced per character, and decoding keeps the low 16 bits of longer
// values. Decoded text is held in code set 253 (Unicode).
//
// Results: -1 for an invalid, overlong or truncated sequence (or a value no
// sequence length holds); -2 when a decode passes 32768 input bytes; a
// negative byte count when an encode does not fit its buffer.
//
// Example:
//   KsString s;
//   KsMBS2KsString("caf\xC3\xA9", s, 5);   // 5; s is "café" in code set 253
//   char buf[8];
//   KsString2KsMBS(s, buf, 8);             // 5; buf is "caf\xC3\xA9" and a zero
#ifndef KSUTF8_H
#define KSUTF8_H

#include <cwchar>

#include "ksdefs.h"

class KsString;

// Decodes one character from at most n bytes of s into *out. Returns the
// sequence length; 0 when s is null; -1 for n 0 or a bad sequence.
KSTM_API int KsMultiByte2WChar(unsigned short* out, char* s, unsigned int n);

// Encodes c into out (up to six bytes, no terminator). Returns the bytes
// written; 0 when out is null; -1 when c is above 0x7FFFFFFF.
KSTM_API int KsWChar2MultiByte(char* out, wchar_t c);

// Decodes srcLen bytes; the first dstMax characters go to dst, further ones
// are only counted. Returns the characters decoded (0 for srcLen <= 0 or a
// null src), or the first negative decoder result.
KSTM_API int KsMultiByteStr2WCharStr(unsigned short* dst, int dstMax, char* src, int srcLen);

// Decodes n bytes of s into out, which keeps its language and becomes code
// set 253. A zero byte ends the text (not counted); a negative n means "up
// to the zero byte". Returns the bytes consumed, -1 at a bad sequence or -2
// once 32768 bytes are consumed; the characters decoded before either stay
// in out.
KSTM_API int KsMBS2KsString(const char* s, KsString& out, int n);
KSTM_API int KsMultiByteString2KsString(const char* s, KsString& out, int n);
// The bytes of s (as many as s has characters) decoded into out; s and out
// may be the same string.
KSTM_API int KsMultiByteString2KsString(const KsString& s, KsString& out);

// Encodes s into out[0..n). Returns the bytes written, the terminator not
// counted. Text of code sets 0..26 without bytes of 0x80 or more is copied as
// it is and the rest of the buffer zero-filled; when it does not fit the
// result is minus its full length. Other text is encoded from code set 253
// and terminated when there is room; when it does not fit the result is
// minus the bytes that did. -1 on an encoding error.
KSTM_API int KsString2KsMBS(const KsString& s, char* out, int n);

// Bytes of the UTF-8 form of the first maxChars characters of s (0 for
// maxChars 0). Text of code sets 0..5 without bytes of 0x80 or more is
// counted whole, maxChars notwithstanding.
KSTM_API int KsMBSLength(const KsString& s, unsigned short maxChars);

// Encodes s into out. With a caller buffer (out not null and size > 0) the
// text goes there when it fits, as KsString2KsMBS writes it: encoded text
// that fills the buffer exactly has no terminator. When it does not fit,
// size is set to the bytes of the text (terminator not included, so a
// buffer must be larger than that) and -1 returned, with the buffer's
// contents undefined. With no caller
// buffer, out is allocated with ::operator new (free it with ::operator
// delete) to hold the text and its terminator, and size is set to that.
// Returns the bytes of the text, or -1.
KSTM_API int KsString2MultiByteString(const KsString& s, char*& out, int& size);

#endif
