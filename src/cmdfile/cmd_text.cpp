// Text predicates and number values of the command definition language.
#include <cstring>
#include <string>

#include "cmdfile/cmdfile_info.h"
#include "text/text.h"

namespace {

// Leading decimal digits of at most `count` characters, in unsigned 32-bit arithmetic.
std::uint32_t decimalPrefix(const char* text, std::size_t count) {
  std::uint32_t v = 0;
  for (std::size_t i = 0; i < count && isDecimalDigit(text[i]); ++i) {
    v = v * 10 + static_cast<std::uint32_t>(text[i] - '0');
  }
  return v;
}

// Leading hexadecimal digits of at most `count` characters.
std::uint32_t hexPrefix(const char* text, std::size_t count) {
  std::uint32_t v = 0;
  for (std::size_t i = 0; i < count && hexDigitValue(text[i]) >= 0; ++i) {
    v = v * 16 + static_cast<std::uint32_t>(hexDigitValue(text[i]));
  }
  return v;
}

// A decimal conversion with a 32-bit long: blanks and a sign allowed, saturating.
std::int32_t strtol32(const char* text) {
  const char* s = text;
  while (*s == ' ' || (*s >= '\t' && *s <= '\r')) ++s;
  bool negative = false;
  if (*s == '+' || *s == '-') negative = *s++ == '-';
  std::int64_t v = 0;
  for (; isDecimalDigit(*s); ++s) {
    v = v * 10 + (*s - '0');
    if (v > INT32_MAX) return negative ? INT32_MIN : INT32_MAX;
  }
  return static_cast<std::int32_t>(negative ? -v : v);
}

}  // namespace

int stringIsNumber(const char* text) {
  const char* s = text;
  if (hasHexPrefix(s)) {
    for (s += 2; *s != '\0'; ++s) {
      if (hexDigitValue(*s) < 0) return 0;
    }
    return 1;
  }
  for (; *s != '\0'; ++s) {
    if (!isDecimalDigit(*s)) return 0;
  }
  return 1;
}

int stringIsString(const char* text) {
  const std::size_t n = std::strlen(text);
  return n >= 2 && text[0] == '"' && text[n - 1] == '"' ? 1 : 0;
}

int stringIsSymbol(const char* text) {
  return !stringIsNumber(text) && !stringIsString(text) ? 1 : 0;
}

int paramFormatIsRight(const char* text) {
  return std::strncmp(text, "Param", 5) == 0 && stringIsNumber(text + 5) ? 1 : 0;
}

std::uint32_t getLongValue(const char* text) {
  if (text[0] == '0' && text[1] == 'x') {
    const char* digits = text + 2;
    std::uint64_t v = 0;
    for (const char* d = digits; hexDigitValue(*d) >= 0; ++d) {
      v = v * 16 + static_cast<std::uint64_t>(hexDigitValue(*d));
      if (v > INT32_MAX) {
        // Beyond a signed long: rebuild from the first eight digits.
        return (static_cast<std::uint32_t>(hexDigitValue(digits[0])) << 28) +
               hexPrefix(digits + 1, 7);
      }
    }
    return static_cast<std::uint32_t>(v);
  }
  const std::int32_t v = strtol32(text);
  if (v == INT32_MAX && std::strcmp(text, "2147483647") != 0) {
    const std::size_t n = std::strlen(text);
    if (n > 10) return 0;
    if (n <= 9) return decimalPrefix(text, n);
    std::uint32_t scale = 1;
    for (std::size_t i = 9; i < n; ++i) scale *= 10;
    return decimalPrefix(text, 9) * scale + decimalPrefix(text + 9, n - 9);
  }
  return static_cast<std::uint32_t>(v);
}

int getStringWithinTarget(const char* text, char open, char close, std::string& out) {
  out.clear();
  const char* first = std::strchr(text, open);
  const char* last = std::strrchr(text, close);
  if (first == nullptr || last == nullptr || last <= first) return -1;
  std::string between(first + 1, last);
  trimSpaces(between.data());
  between.resize(std::strlen(between.c_str()));
  out = between;
  return static_cast<int>(out.size());
}

int separateKeyAndValueWithTarget(const char* text, std::string& key, std::string& value,
                                  char separator) {
  const char* at = std::strchr(text, separator);
  if (at == nullptr) return -1;
  key.assign(text, at);
  value.assign(at + 1);
  return 0;
}
