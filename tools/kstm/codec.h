// The image and comparison commands of kstm.
#ifndef KSTM_CODEC_H
#define KSTM_CODEC_H

int KstmEncode(int argc, char** argv);
int KstmDecode(int argc, char** argv);
int KstmCompare(int argc, char** argv);

#endif
