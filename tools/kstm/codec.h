// The image and comparison commands of kstm.
#ifndef KSTM_CODEC_H
#define KSTM_CODEC_H

#include <cstddef>
#include <string>

class KsString;

int KstmEncode(int argc, char** argv);
int KstmDecode(int argc, char** argv);
int KstmCompare(int argc, char** argv);

// A string as UTF-8, for the terminal (its raw text if it does not convert).
std::string KstmUtf8(const KsString& s);
// `n` bytes as lower-case hex, two digits a byte, `separator` between bytes.
std::string KstmHex(const void* p, std::size_t n, const char* separator = "");

#endif
