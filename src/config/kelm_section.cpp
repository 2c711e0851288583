// [KELM] and [Image] key parsers and their section checks.
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string>

#include "config/config.h"
#include "config/key_catalogue.h"
#include "config/key_handlers.h"
#include "config/sections.h"
#include "config/values.h"
#include "diag/diag.h"
#include "image/reduction.h"
#include "kelm/codes.h"

using namespace kelm;

namespace {

using KELMHandler = KeyHandler;

struct KELMKey {
  const char* name;
  KELMHandler parse;
};

constexpr KELMKey kKELMKeys[] = {
    {"PrinterResolutionH", integer<&parameter::printerResolutionH>},
    {"PrinterResolutionV", integer<&parameter::printerResolutionV>},
    {"PaperSizeInDeciMilliMeterH", integer<&parameter::paperSizeH>},
    {"PaperSizeInDeciMilliMeterV", integer<&parameter::paperSizeV>},
    {"PrintableWidthInPixel", integer<&parameter::printableWidthInPixel>},
    {"PaperName", text<&parameter::paperName>},
    {"PaperOrient", quotedSymbol<&parameter::paperOrient>},
    {"MarginTop", signedInteger<&parameter::marginTop>},
    {"MarginBottom", signedInteger<&parameter::marginBottom>},
    {"MarginLeft", signedInteger<&parameter::marginLeft>},
    {"MarginRight", signedInteger<&parameter::marginRight>},
    {"Banner", quotedSymbol<&parameter::banner>},
    {"SavePaper", quotedSymbol<&parameter::savePaper>},
    {"CutmediaCenter", integerSymbol<&parameter::cutmediaCenter>},
    {"RollmediaCenter", integerSymbol<&parameter::rollmediaCenter>},
    {"DMask", quotedSymbol<&parameter::dMask>},
    {"InkType", integerSymbol<&parameter::inkType>},
    {"MachineID", text<&parameter::machineID>},
    {"RollWidth", text<&parameter::rollWidth>},
    {"SingleSSC", integerSymbol<&parameter::singleSSC>},
    {"PrintStopOff", integer<&parameter::printStopOff>},
};

using ImageHandler = KeyRule<imageParameter>;

template <int I>
int parseImageFile(cfgLine* l, imageParameter* e) {
  e->imageFileLine[I] = l->lineNumber;
  return parseParameterString(l->key.c_str(), l->key.c_str(), l->value.c_str(), e->imageFile[I], l);
}
template <Plane I>
int parsePixelDepth(cfgLine* l, imageParameter* e) {
  const int stored =
      parseParameterInteger(l->key.c_str(), l->key.c_str(), l->value.c_str(), &e->pixelDepth[I], l);
  const int depth = e->pixelDepth[I];
  if (depth > 0 && depth != 1 && depth != 2 && depth != 4 && depth != 8 && depth != 10)
    diag::warn(std::to_string(depth) +
               " is a depth no reader fills (1, 2, 4, 8, 10); the plane goes out blank");
  return stored;
}
template <Plane I>
int parseIndexLevelKey(cfgLine* l, imageParameter* e) {
  return parseIndexLevel(l->key.c_str(), l->key.c_str(), l->value.c_str(), &e->indexLevel[I], l);
}
template <int imageParameter::*Field>
int parseImageInteger(cfgLine* l, imageParameter* e) {
  return parseParameterInteger(l->key.c_str(), l->key.c_str(), l->value.c_str(), &(e->*Field), l);
}
template <int imageParameter::*Field>
int parseImageIntegerSymbol(cfgLine* l, imageParameter* e) {
  return parseParameterIntegerSymbol(l->key.c_str(), l->key.c_str(), l->value.c_str(), &(e->*Field),
                                     l);
}
int parseStartingPositionX(cfgLine* l, imageParameter* e) {
  return parseStartingPosition(l->key.c_str(), l->key.c_str(), l->value.c_str(),
                               &e->startingPositionX, &e->startingPositionXSign, l);
}
int parseStartingPositionY(cfgLine* l, imageParameter* e) {
  return parseStartingPosition(l->key.c_str(), l->key.c_str(), l->value.c_str(),
                               &e->startingPositionY, &e->startingPositionYSign, l);
}
int parseYOffsetKey(cfgLine* l, imageParameter* e) {
  return parseYOffset(l->key.c_str(), l->key.c_str(), l->value.c_str(), &e->yOffset,
                      &e->yOffsetSign, l);
}
// YOffsetC is kept apart once a starting position has been given: it is sent after the cursor
// moves instead of before them.
int parseYOffsetC(cfgLine* l, imageParameter* e) {
  if (e->startingPositionX != -1 || e->startingPositionY != -1)
    return parseYOffset(l->key.c_str(), l->key.c_str(), l->value.c_str(), &e->yOffsetCWithPosition,
                        &e->yOffsetCWithPositionSign, l);
  return parseYOffset(l->key.c_str(), l->key.c_str(), l->value.c_str(), &e->yOffsetC,
                      &e->yOffsetCSign, l);
}

template <int I>
constexpr ImageHandler imageFile{ValueKind::kText, parseImageFile<I>};
template <Plane I>
constexpr ImageHandler pixelDepth{ValueKind::kInteger, parsePixelDepth<I>};
template <Plane I>
constexpr ImageHandler indexLevel{ValueKind::kIndexLevel, parseIndexLevelKey<I>};
template <int imageParameter::*Field>
constexpr ImageHandler imageInteger{ValueKind::kInteger, parseImageInteger<Field>};
template <int imageParameter::*Field>
constexpr ImageHandler imageIntegerSymbol{ValueKind::kIntegerOrSymbol,
                                          parseImageIntegerSymbol<Field>};
constexpr ImageHandler startingPositionX{ValueKind::kPosition, parseStartingPositionX};
constexpr ImageHandler startingPositionY{ValueKind::kPosition, parseStartingPositionY};
constexpr ImageHandler yOffset{ValueKind::kPosition, parseYOffsetKey};
constexpr ImageHandler yOffsetC{ValueKind::kPosition, parseYOffsetC};

struct ImageKey {
  const char* name;
  ImageHandler parse;
};

constexpr ImageKey kImageKeys[] = {
    {"StartingPositionX", startingPositionX},
    {"StartingPositionY", startingPositionY},
    {"YOffsetC", yOffsetC},
    {"YOffset", yOffset},
    {"ImageFileCMYK", imageFile<kFileCMYK>},
    {"ImageFileK", imageFile<kPlaneK>},
    {"ImageFileC", imageFile<kPlaneC>},
    {"ImageFileM", imageFile<kPlaneM>},
    {"ImageFileY", imageFile<kPlaneY>},
    {"ImageFilec", imageFile<kPlanec>},
    {"ImageFilem", imageFile<kPlanem>},
    {"ImageFileRGB", imageFile<kFileRGB>},
    {"ImageFileGy", imageFile<kPlaneGy>},
    {"ImageFilePgy", imageFile<kPlanePgy>},
    {"ImageFileR", imageFile<kPlaneR>},
    {"ImageFileG", imageFile<kPlaneG>},
    {"ImageFileB", imageFile<kPlaneB>},
    {"ColorSpace", imageIntegerSymbol<&imageParameter::colorSpace>},
    {"CompressionMode", imageIntegerSymbol<&imageParameter::compressionMode>},
    {"NumOfPlanes", imageInteger<&imageParameter::numOfPlanes>},
    {"PixelDepthK", pixelDepth<kPlaneK>},
    {"PixelDepthC", pixelDepth<kPlaneC>},
    {"PixelDepthM", pixelDepth<kPlaneM>},
    {"PixelDepthY", pixelDepth<kPlaneY>},
    {"PixelDepthc", pixelDepth<kPlanec>},
    {"PixelDepthm", pixelDepth<kPlanem>},
    {"PixelDepthR", pixelDepth<kPlaneR>},
    {"PixelDepthG", pixelDepth<kPlaneG>},
    {"PixelDepthB", pixelDepth<kPlaneB>},
    {"PixelDepthGy", pixelDepth<kPlaneGy>},
    {"PixelDepthPgy", pixelDepth<kPlanePgy>},
    {"GraphicResolutionH", imageInteger<&imageParameter::graphicResolutionH>},
    {"GraphicResolutionV", imageInteger<&imageParameter::graphicResolutionV>},
    {"IndexLevelK", indexLevel<kPlaneK>},
    {"IndexLevelC", indexLevel<kPlaneC>},
    {"IndexLevelM", indexLevel<kPlaneM>},
    {"IndexLevelY", indexLevel<kPlaneY>},
    {"IndexLevelc", indexLevel<kPlanec>},
    {"IndexLevelm", indexLevel<kPlanem>},
};

constexpr const char* kDepthKeys[kPlaneCount] = {
    "PixelDepthK", "PixelDepthC", "PixelDepthM", "PixelDepthY",  "PixelDepthc",  "PixelDepthm",
    "PixelDepthR", "PixelDepthG", "PixelDepthB", "PixelDepthGy", "PixelDepthPgy"};

// The depths an image file needs; when one is not positive, all their keys are checked.
struct FileNeed {
  int file;
  int count;
  Plane depths[4];
};

constexpr FileNeed kFileNeeds[] = {
    {kFileRGB, 3, {kPlaneR, kPlaneG, kPlaneB}},
    {kFileCMYK, 4, {kPlaneK, kPlaneC, kPlaneM, kPlaneY}},
    {kPlaneK, 1, {kPlaneK}},
    {kPlaneC, 1, {kPlaneC}},
    {kPlaneM, 1, {kPlaneM}},
    {kPlaneY, 1, {kPlaneY}},
    {kPlanec, 1, {kPlanec}},
    {kPlanem, 1, {kPlanem}},
    {kPlaneGy, 1, {kPlaneGy}},
    {kPlanePgy, 1, {kPlanePgy}},
    {kPlaneR, 1, {kPlaneR}},
    {kPlaneG, 1, {kPlaneG}},
    {kPlaneB, 1, {kPlaneB}},
};

bool allGiven(const imageParameter* e, std::initializer_list<Plane> depths) {
  for (Plane d : depths)
    if (e->pixelDepth[d] == -1) return false;
  return true;
}

bool planesAllowed(int colorSpace, int planes) {
  switch (colorSpace) {
    case color_space::kRowRGB:
      return planes == 1 || planes == 3;
    case color_space::kRowInkMultiLevel:
      return planes == 4 || planes == 6;
    case color_space::kRowInkIndex:
      return planes == 1 || planes == 4 || planes == 6;
    case color_space::kRowInkBiLevel:
      return (planes >= 1 && planes <= 7) || planes == 11;
    case color_space::kPixelRGB:
    case color_space::kPixelInkMultiLevel:
    case color_space::kPixelInkIndex:
    case color_space::kPixelInkBiLevel:
      return planes == 1;
    default:
      return false;
  }
}

}  // namespace

void describeKELMAndImageKeys(std::vector<KeyInfo>& out) {
  for (const KELMKey& k : kKELMKeys) out.push_back({"[KELM]", k.name, k.parse.kind});
  // Matched after the table in parseKELMParameter.
  out.push_back({"[KELM]", "NewPJL", ValueKind::kText});
  for (const ImageKey& k : kImageKeys) out.push_back({"[Image]", k.name, k.parse.kind});
}

int parseKELMParameter(cfgLine* line, parameter* p) {
  if (std::strcmp(line->key.c_str(), "[KELM]") == 0) return 0;
  for (const KELMKey& k : kKELMKeys)
    if (std::strcmp(line->key.c_str(), k.name) == 0) return k.parse(line, p);
  if (std::strcmp(line->key.c_str(), "NewPJL") != 0) diag::failJob("unknown key");
  newPJLLine* pjl = addNewPJLLine(p);
  char text[256] = {};
  const int result =
      parseParameterString(line->key.c_str(), "NewPJL", line->value.c_str(), text, line);
  pjl->text = text;
  return result;
}

int parseImageParameter(cfgLine* line, parameter* p, ReaderState& reader) {
  if (std::strcmp(line->key.c_str(), "[Image]") == 0) return 0;
  if (reader.newImageSection) {
    reader.newImageSection = false;
    initImageParameter(addImageParameter(p));
  }
  imageParameter* entry = getLastImageParameter(p);
  if (entry == nullptr) diag::failJob("a key outside any [Image] section");
  for (const ImageKey& k : kImageKeys)
    if (std::strcmp(line->key.c_str(), k.name) == 0) return k.parse(line, entry);
  diag::failJob("unknown key");
}

void checkKELMSectionParameter(const parameter* p, const cfgLine* lines, int fromLine) {
  checkParameterInteger("PrinterResolutionH", -1, lines, fromLine);
  checkParameterInteger("PrinterResolutionV", -1, lines, fromLine);
  if (std::strcmp(p->paperName, "CUSTOM") == 0) {
    checkParameterInteger("PaperSizeInDeciMilliMeterH", -1, lines, fromLine);
    checkParameterInteger("PaperSizeInDeciMilliMeterV", -1, lines, fromLine);
  } else {
    checkParameterInteger("PaperOrient", -1, lines, fromLine);
  }
  for (const char* key : {"MarginTop", "MarginBottom", "MarginLeft", "MarginRight"})
    checkParameterInteger(key, -1, lines, fromLine);
}

int isImageKELMSetting(const imageParameter* e) {
  if (e->colorSpace != -1 || e->compressionMode != -1 || e->numOfPlanes != -1 ||
      e->graphicResolutionH != -1 || e->graphicResolutionV != -1)
    return 1;
  for (int depth : e->pixelDepth)
    if (depth != -1) return 1;
  for (const unsigned char* level : e->indexLevel)
    if (level != nullptr) return 1;
  return 0;
}

void checkConfigureImageDataGraphicResolution(const imageParameter* first, imageParameter* e) {
  // Compression and index levels are deliberately left out of the comparison.
  if (e->colorSpace == first->colorSpace && e->numOfPlanes == first->numOfPlanes &&
      std::memcmp(e->pixelDepth, first->pixelDepth, sizeof e->pixelDepth) == 0)
    e->sameImageConfiguration = 1;
  if (e->graphicResolutionH == first->graphicResolutionH) e->sameGraphicResolutionH = 1;
  if (e->graphicResolutionV == first->graphicResolutionV) e->sameGraphicResolutionV = 1;
}

void checkImageFile(const imageParameter* e, const cfgLine* lines, int fromLine) {
  for (const FileNeed& need : kFileNeeds) {
    if (e->imageFile[need.file][0] == '\0') continue;
    bool positive = true;
    for (int i = 0; i < need.count; ++i) positive = positive && e->pixelDepth[need.depths[i]] > 0;
    if (positive) continue;
    // An explicit depth of 0 passes; a missing one does not. The light magenta file looks for
    // a key no line can have, so it needs a positive depth.
    for (int i = 0; i < need.count; ++i) {
      const char* key = need.file == kPlanem ? "PixelDepthm," : kDepthKeys[need.depths[i]];
      checkParameterInteger(key, -1, lines, fromLine);
    }
  }
}

void setMode(imageParameter* e) {
  int found = -1;
  switch (e->colorSpace) {
    case color_space::kRowInkMultiLevel:
    case color_space::kRowInkIndex:
    case color_space::kRowInkBiLevel:
    case color_space::kPixelInkMultiLevel:
    case color_space::kPixelInkIndex:
    case color_space::kPixelInkBiLevel:
      if (e->numOfPlanes == 6 ||
          allGiven(e, {kPlaneK, kPlaneC, kPlaneM, kPlaneY, kPlanec, kPlanem}))
        found = family::kSixInk;
      else if (e->numOfPlanes == 4 || e->numOfPlanes == 11 ||
               allGiven(e, {kPlaneK, kPlaneC, kPlaneM, kPlaneY}))
        found = family::kFourInk;
      break;
    case color_space::kRowRGB:
      if (e->numOfPlanes == 1) {
        found = family::kRGBOnePlane;
        const int depthK = e->pixelDepth[kPlaneK];
        if (depthK == 8 || depthK == 10) e->indexLevel[kPlaneK] = kRGBSenseTable;
      } else if (e->numOfPlanes == 3) {
        found = family::kRGBThreePlanes;
      }
      break;
    case color_space::kPixelRGB:
      if (e->pixelDepth[kPlaneR] >= 1 && e->pixelDepth[kPlaneG] >= 1 && e->pixelDepth[kPlaneB] >= 1)
        found = family::kPixelRGB;
      break;
    default:
      break;
  }
  const int code = e->compressionMode;
  if (found != -1 && compression::find(code) != nullptr) e->mode = modeOf(found, code);
}

void checkImageSectionParameter(parameter* p, const cfgLine* lines, int fromLine) {
  imageParameter* first = p->imageParameterList.get();
  imageParameter* e = getLastImageParameter(p);
  if (e == nullptr)
    diag::failJob({{}, fromLine, "Image", {}, {}, "the [Image] section has no keys"});
  if (e == first) {
    for (const char* key : {"ColorSpace", "NumOfPlanes", "CompressionMode", "GraphicResolutionH",
                            "GraphicResolutionV"})
      checkParameterInteger(key, -1, lines, fromLine);
  } else {
    setDefaultImageParameter(p);
    checkConfigureImageDataGraphicResolution(first, e);
  }
  checkImageFile(e, lines, fromLine);

  int planes = 0;
  for (int depth : e->pixelDepth)
    if (depth > 0) ++planes;
  auto fail = [fromLine](const std::string& reason) {
    diag::failJob({{}, fromLine, "Image", "NumOfPlanes", {}, reason});
  };
  const std::string given = std::to_string(planes) + (planes == 1 ? " depth" : " depths");
  if (e->colorSpace >= color_space::kRowRGB && e->colorSpace <= color_space::kRowInkBiLevel &&
      planes != e->numOfPlanes)
    fail("plane count " + std::to_string(e->numOfPlanes) + " does not match the " + given +
         " given");
  if (e->colorSpace == color_space::kPixelRGB && planes != 3)
    fail("ColorSpace 18 takes the three depths R, G and B; " + given + " given");
  if (!planesAllowed(e->colorSpace, e->numOfPlanes))
    fail(std::to_string(e->numOfPlanes) + (e->numOfPlanes == 1 ? " plane is" : " planes are") +
         " not allowed with ColorSpace " + std::to_string(e->colorSpace));
  setMode(e);
}

const char* imageFileKey(int file) {
  static constexpr const char* kNames[kImageFileCount] = {
      "ImageFileK",   "ImageFileC",    "ImageFileM",  "ImageFileY", "ImageFilec",
      "ImageFilem",   "ImageFileR",    "ImageFileG",  "ImageFileB", "ImageFileGy",
      "ImageFilePgy", "ImageFileCMYK", "ImageFileRGB"};
  return kNames[file];
}
