#include "colour.h"

#include <algorithm>

#ifdef ZELPGEN_HAVE_LCMS
#include <lcms2.h>
#endif

namespace zp {
namespace {

// The built-in conversion, on 8-bit values, with full black generation:
//   C' = 255 - R,  M' = 255 - G,  Y' = 255 - B
//   K  = min(C', M', Y')
//   C  = C' - K,   M = M' - K,    Y = Y' - K
// The gray part of every colour goes to black ink alone, so white takes no ink, grays and black
// take K only, and a saturated colour keeps its two or one chromatic inks. No transfer curve and
// no ink limit: the printer's own quality settings shape the dots. Gray becomes K = 255 - gray.
#if defined(__x86_64__) && defined(__GNUC__)
// A page is hundreds of megapixels; with AVX2 the compiler vectorises the loop about twice as fast.
#define ZP_CLONES __attribute__((target_clones("avx2", "default")))
#else
#define ZP_CLONES
#endif

ZP_CLONES void formulaCmyk(const std::uint8_t* rgb, std::uint8_t* cmyk, std::size_t pixels) {
  for (std::size_t i = 0; i < pixels; ++i) {
    std::uint8_t c = static_cast<std::uint8_t>(255 - rgb[3 * i]);
    std::uint8_t m = static_cast<std::uint8_t>(255 - rgb[3 * i + 1]);
    std::uint8_t y = static_cast<std::uint8_t>(255 - rgb[3 * i + 2]);
    std::uint8_t k = std::min(c, std::min(m, y));
    cmyk[4 * i] = static_cast<std::uint8_t>(c - k);
    cmyk[4 * i + 1] = static_cast<std::uint8_t>(m - k);
    cmyk[4 * i + 2] = static_cast<std::uint8_t>(y - k);
    cmyk[4 * i + 3] = k;
  }
}

void formulaK(const std::uint8_t* gray, std::uint8_t* k, std::size_t pixels) {
  for (std::size_t i = 0; i < pixels; ++i) k[i] = static_cast<std::uint8_t>(255 - gray[i]);
}

class FormulaConverter final : public InkConverter {
 public:
  void toCmyk(const std::uint8_t* rgb, std::uint8_t* cmyk, std::size_t pixels) const override {
    formulaCmyk(rgb, cmyk, pixels);
  }
  void grayToK(const std::uint8_t* gray, std::uint8_t* k, std::size_t pixels) const override {
    formulaK(gray, k, pixels);
  }
};

#ifdef ZELPGEN_HAVE_LCMS
void logError(cmsContext context, cmsUInt32Number, const char* text) {
  auto* message = static_cast<std::string*>(cmsGetContextUserData(context));
  if (message && message->empty() && text) *message = text;
}

// sRGB to the profile's CMYK, perceptual; LittleCMS's CMYK is 0 = no ink like ours. Gray stays
// on the black ink, as without a profile. No pixel cache, so threads may share one converter.
class ProfileConverter final : public InkConverter {
 public:
  ProfileConverter(cmsContext context, cmsHTRANSFORM transform)
      : context_(context), transform_(transform) {}
  ~ProfileConverter() override {
    cmsDeleteTransform(transform_);
    cmsDeleteContext(context_);
  }
  void toCmyk(const std::uint8_t* rgb, std::uint8_t* cmyk, std::size_t pixels) const override {
    // cmsDoTransform counts in 32 bits.
    constexpr std::size_t kChunk = 1u << 20;
    for (std::size_t done = 0; done < pixels; done += kChunk) {
      std::size_t count = std::min(kChunk, pixels - done);
      cmsDoTransform(transform_, rgb + 3 * done, cmyk + 4 * done,
                     static_cast<cmsUInt32Number>(count));
    }
  }
  void grayToK(const std::uint8_t* gray, std::uint8_t* k, std::size_t pixels) const override {
    formulaK(gray, k, pixels);
  }

 private:
  cmsContext context_;
  cmsHTRANSFORM transform_;
};
#endif

}  // namespace

std::unique_ptr<InkConverter> InkConverter::create(const std::string& iccProfile,
                                                   std::string* error) {
  if (iccProfile.empty()) return std::make_unique<FormulaConverter>();
#ifndef ZELPGEN_HAVE_LCMS
  if (error) *error = "ICC profile " + iccProfile + ": built without LittleCMS";
  return nullptr;
#else
  std::string message;
  auto fail = [&](const std::string& why) -> std::unique_ptr<InkConverter> {
    if (error) *error = "ICC profile " + iccProfile + ": " + why;
    return nullptr;
  };
  cmsContext context = cmsCreateContext(nullptr, &message);
  if (!context) return fail("LittleCMS cannot start");
  cmsSetLogErrorHandlerTHR(context, logError);
  cmsHPROFILE output = cmsOpenProfileFromFileTHR(context, iccProfile.c_str(), "r");
  if (!output) {
    cmsDeleteContext(context);
    return fail(message.empty() ? "cannot be read" : message);
  }
  if (cmsGetColorSpace(output) != cmsSigCmykData) {
    cmsCloseProfile(output);
    cmsDeleteContext(context);
    return fail("is not a CMYK profile");
  }
  cmsHPROFILE input = cmsCreate_sRGBProfileTHR(context);
  cmsHTRANSFORM transform =
      input ? cmsCreateTransformTHR(context, input, TYPE_RGB_8, output, TYPE_CMYK_8,
                                    INTENT_PERCEPTUAL, cmsFLAGS_NOCACHE)
            : nullptr;
  if (input) cmsCloseProfile(input);
  cmsCloseProfile(output);
  if (!transform) {
    cmsDeleteContext(context);
    return fail(message.empty() ? "no sRGB to CMYK transform" : message);
  }
  return std::make_unique<ProfileConverter>(context, transform);
#endif
}

}  // namespace zp
