// Value parsers of the configuration keys and the symbol table.
//
// Every parser is called with the line's key, the key it handles, the value text, the field and
// the line record. It returns -1 when the key is not its own and 1 when it accepted the value;
// a bad value, a missing one or a repeat of a key already set ends the process (exit 1).
// A stored number is also kept as the line record's numeric value.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "config/parameter.h"

struct IDSymbol {
  std::uint32_t value;
  const char* name;
};
// The symbolic values, in lookup order (first match wins), ended by a row with a null name.
constexpr std::size_t kIDSymbolCount = 179;
extern const IDSymbol gIDSymbolTable[kIDSymbolCount + 1];

// 0 and the value in `out` when `name` is a symbol, else -1.
int convertSymbolToInt(const char* name, int* out);
// Optional "+", optional "-", two prefix characters, then hexadecimal digits; wraps mod 2^32.
int hexadecimalToDecimal(const char* text);
// The C library's atoi over the digits, wrapping mod 2^32 instead of overflowing.
int atoiWrapped(const char* text);

// Unquotes a text value: 0, or -1 when it is not one well-formed quoted string. At most
// outSize - 1 characters are written, then a terminator.
int processQuotaions(const char* in, char* out, std::size_t outSize);
// A quoted text: at most maxLength characters are kept, the rest of the field is cleared.
int parseParameterText(const char* key, const char* want, const char* value, std::span<char> field,
                       std::size_t maxLength, cfgLine* line);
// The usual case: the text is cut to leave room for its terminator.
template <std::size_t N>
int parseParameterString(const char* key, const char* want, const char* value, char (&field)[N],
                         cfgLine* line) {
  return parseParameterText(key, want, value, field, N - 1, line);
}

int parseParameterInteger(const char* key, const char* want, const char* value, int* field,
                          cfgLine* line);
int parseParameterIntegerS(const char* key, const char* want, const char* value, int* field,
                           cfgLine* line);
int parseParameterIntegerSymbol(const char* key, const char* want, const char* value, int* field,
                                cfgLine* line);
int parseParameterSymbolS(const char* key, const char* want, const char* value, int* field,
                          cfgLine* line);
int parseParameterSymbol(const char* key, const char* want, const char* value, int* field,
                         cfgLine* line);
int extractParameterIntegerSymbol(const char* key, const char* want, const char* value, int* field,
                                  cfgLine* line);
// 0 and the 16 bytes in text order, or -1 when `text` is not an 8-4-4-4-12 UUID.
int processUUID(const char* text, unsigned char (&out)[16]);
int parseParameterStringUUID(const char* key, const char* want, const char* value,
                             unsigned char (&field)[16], cfgLine* line);
// Echoes the accepted value on stdout.
int parseJobTime(const char* key, const char* want, const char* value, parameter* p, cfgLine* line);
int parseStartingPosition(const char* key, const char* want, const char* value, int* field,
                          int* sign, cfgLine* line);
int parseYOffset(const char* key, const char* want, const char* value, int* field, int* sign,
                 cfgLine* line);
int parseIndexLevel(const char* key, const char* want, const char* value,
                    const unsigned char** field, cfgLine* line);

// Ends the process unless, from the first line record numbered at least `fromLine`, a record
// with `key` exists and the first such record's numeric value is not `forbidden`.
int checkParameterInteger(const char* key, int forbidden, const cfgLine* lines, int fromLine);
