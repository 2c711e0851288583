// The encoder's record, its reset, and the writers every command goes out through.
#include "kelm/state.h"

#include <charconv>
#include <cstdarg>
#include <cstdio>

#include "kelm/kelm.h"
#include "zelp/zelp.h"

namespace {

KelmState sState;

}  // namespace

KelmState& kelm_State() {
  return sState;
}

const KelmState& kelm_GetState() {
  return sState;
}

// The driver calls this as a job starts and again before each further image of a page: each
// image starts from no settings, the printable width alone lasting the job.
void KELM_New() {
  const std::int32_t width = sState.mDeviceWidthInPixel;
  sState = KelmState{};
  sState.mDeviceWidthInPixel = width;
}

void KELM_Delete() {
  for (auto& path : sState.mImageProcessingDataPath) path.reset();
}

void kelm::sendFormatted(const char* format, ...) {
  char line[512];
  std::va_list args;
  va_start(args, format);
  const int n = std::vsnprintf(line, sizeof line, format, args);
  va_end(args);
  if (n < 0) return;
  if (static_cast<std::size_t>(n) < sizeof line) {
    ZELP_SendData(line, n);
    return;
  }
  std::string longer(static_cast<std::size_t>(n) + 1, '\0');
  va_start(args, format);
  std::vsnprintf(longer.data(), longer.size(), format, args);
  va_end(args);
  ZELP_SendData(longer.data(), n);
}

void kelm::sendNumbered(const char* lead, std::int64_t value, char letter) {
  char text[40];
  char* p = text;
  *p++ = '\x1b';
  for (; *lead != '\0'; ++lead) *p++ = *lead;
  p = std::to_chars(p, text + sizeof text - 1, value).ptr;
  *p++ = letter;
  ZELP_SendData(text, static_cast<int>(p - text));
}
