// Page and cursor commands: the plane configuration, resolution, raster mode and moves.
#include <cstring>

#include "kelm/codes.h"
#include "kelm/kelm.h"
#include "kelm/state.h"
#include "zelp/zelp.h"

using namespace kelm;

namespace {

KelmState& s() {
  return kelm_State();
}

unsigned char depthByte(std::int8_t depth) {
  return depth < 0 ? 0 : static_cast<unsigned char>(depth);
}

void sendPlaneConfiguration() {
  KelmState& st = s();
  const bool rgbBlackOnly = st.mColorSpace == color_space::kRowRGB && st.mBlackDepth > 0 &&
                            st.mRedDepth < 0 && st.mGreenDepth < 0 && st.mBlueDepth < 0;
  const unsigned char planes = static_cast<unsigned char>(st.mNumOfPlanes);
  unsigned char data[14] = {st.mColorSpace,
                            planes,
                            0,
                            depthByte(st.mRedDepth),
                            depthByte(st.mGreenDepth),
                            depthByte(st.mBlueDepth),
                            depthByte(st.mBlackDepth),
                            depthByte(st.mCyanDepth),
                            depthByte(st.mMagentaDepth),
                            depthByte(st.mYellowDepth),
                            depthByte(st.mLightCyanDepth),
                            depthByte(st.mLightMagentaDepth),
                            depthByte(st.mGrayDepth),
                            depthByte(st.mPhotoGrayDepth)};
  int count;
  if (st.mColorSpace == color_space::kPixelRGB ||
      (st.mColorSpace == color_space::kRowRGB && !rgbBlackOnly)) {
    count = 6;
  } else if (rgbBlackOnly) {
    const unsigned char black = depthByte(st.mBlackDepth);
    const unsigned char blackOnly[10] = {color_space::kRowRGB, 1, 0, 0, 0, 0, black, 0, 0, 0};
    std::memcpy(data, blackOnly, sizeof blackOnly);
    count = 10;
  } else if (st.mColorSpace == color_space::kRowInkBiLevel && st.mBlackDepth > 0 &&
             st.mCyanDepth > 0 && st.mMagentaDepth > 0 && st.mYellowDepth > 0 &&
             st.mLightCyanDepth > 0 && st.mLightMagentaDepth > 0 && st.mGrayDepth > 0) {
    count = 14;
  } else {
    count = (st.mLightCyanDepth >= 0 && st.mLightMagentaDepth >= 0) ? 12 : 10;
  }
  unsigned char command[24] = {0x1B, '*', 'v'};
  std::size_t length = 3;
  if (count >= 10) command[length++] = '1';
  command[length++] = static_cast<unsigned char>('0' + count % 10);
  command[length++] = 'W';
  std::memcpy(command + length, data, static_cast<std::size_t>(count));
  ZELP_SendData(command, static_cast<int>(length) + count);
}

}  // namespace

void KELM_SendTopOfPage(std::int32_t noConfigure, std::int32_t noResolutionA,
                        std::int32_t noResolutionB) {
  s().mBlankLines = 0;
  ++s().mNumOfPages;
  if (noConfigure != 1) sendPlaneConfiguration();
  if (noResolutionA == 1 && noResolutionB == 1) return;
  if (s().mGraphicResolutionH == s().mGraphicResolutionV) {
    sendFormatted("\x1b*t%dR", s().mGraphicResolutionH);
  } else {
    sendFormatted("\x1b$r%dX\x1b$r%dY", s().mGraphicResolutionH, s().mGraphicResolutionV);
  }
}

void KELM_SendStartRasterMode() {
  ZELP_SendCString("\x1b*r1A");
  sendFormatted("\x1b*b%uM", unsigned{s().mCompressionMode});
}

void KELM_SendEndRasterMode() {
  ZELP_SendCString("\x1b*rC");
}

void KELM_SendMoveCAP(std::int32_t x, std::int32_t y) {
  sendFormatted("\x1b*p%dx%dY", x, y);
}
void KELM_SendMoveCAPX(std::int32_t x) {
  sendFormatted("\x1b*p%dX", x);
}
void KELM_SendMoveCAPY(std::int32_t y) {
  sendFormatted("\x1b*p%dY", y);
}

// A negative relative move goes out in the absolute form with its sign.
void KELM_SendMoveCAPXRelative(std::int32_t dx) {
  sendFormatted(dx > 0 ? "\x1b*p+%dX" : "\x1b*p%dX", dx);
}
void KELM_SendMoveCAPYRelative(std::int32_t dy) {
  sendFormatted(dy > 0 ? "\x1b*p+%dY" : "\x1b*p%dY", dy);
}

void KELM_SendYOffset(std::int32_t y) {
  if (y >= 0) sendFormatted("\x1b*b%dY", y);
}

// Unlike the cursor moves, a negative relative offset is dropped.
void KELM_SendYOffsetRelative(std::int32_t dy) {
  if (dy > 0) {
    sendFormatted("\x1b*b+%dY", dy);
  } else if (dy == 0) {
    ZELP_SendCString("\x1b*b0Y");
  }
}
