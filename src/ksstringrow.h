// Slot functions of the string row (type id 11).
#ifndef KSSTRINGROW_H
#define KSSTRINGROW_H

#include "ksdefs.h"

void* StringCreate(uint count);
void* StringDelete(void* values, uint count);
void StringConstruct(void* values, uint count, uint);
void StringDestruct(void* values, uint count, uint);
void StringAssign(void* dst, void* src, uint count, int fill);
void StringCopy(void* dst, void* src, uint count, int fill);
int StringIsNull(void* value);
int StringSetNull(void* value);
void* StringDefaultValue(uint count, int);

#endif
