// Text helpers shared by the configuration reader and the command definition loader.
#pragma once

#include <cstdio>

// Reads one line (ended by LF, CR or the end of the file) without its end; a longer line is
// cut to the buffer. Null when nothing was left to read.
char* sReadLine(char* buf, int size, std::FILE* fp);
char* trimSpaces(char* s);
bool isDecimalDigit(char c);
// 0..15 for a hexadecimal digit of either case, -1 otherwise.
int hexDigitValue(char c);
// True when the text starts with 0x or 0X.
bool hasHexPrefix(const char* text);
