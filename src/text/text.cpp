// Line reading and character tests shared by the two file readers.
#include "text/text.h"

#include <cstring>

char* sReadLine(char* buf, int size, std::FILE* fp) {
  int stored = 0;
  bool readAny = false;
  for (;;) {
    const int c = std::fgetc(fp);
    if (c == EOF) break;
    readAny = true;
    if (c == '\n' || c == '\r') break;
    if (stored < size - 1) {
      buf[stored++] = static_cast<char>(c);
      continue;
    }
    // The line is longer than the buffer: keep what fits, drop the rest of it.
    int rest;
    do {
      rest = std::fgetc(fp);
    } while (rest != EOF && rest != '\n' && rest != '\r');
    break;
  }
  buf[stored] = '\0';
  return readAny ? buf : nullptr;
}

char* trimSpaces(char* s) {
  char* start = s;
  while (*start == ' ' || *start == '\t') ++start;
  std::size_t n = std::strlen(start);
  while (n > 0 && std::strchr(" \t\r\n", start[n - 1]) != nullptr) --n;
  std::memmove(s, start, n);
  s[n] = '\0';
  return s;
}

bool isDecimalDigit(char c) {
  return c >= '0' && c <= '9';
}

int hexDigitValue(char c) {
  if (isDecimalDigit(c)) return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool hasHexPrefix(const char* text) {
  return text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
}
