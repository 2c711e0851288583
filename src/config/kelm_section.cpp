// [KELM] and [Image] key parsers and their section checks.
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string>

#include "config/config.h"
#include "config/key_handlers.h"
#include "config/sections.h"
#include "config/values.h"
#include "diag/diag.h"
#include "image/reduction.h"

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

using ImageHandler = int (*)(cfgLine*, imageParameter*);

template <ImageFileIndex I>
int imageFile(cfgLine* l, imageParameter* e) {
  e->imageFileLine[I] = l->lineNumber;
  return parseParameterString(l->key, l->key, l->value, e->imageFile[I], l);
}
template <PixelDepthIndex I>
int pixelDepth(cfgLine* l, imageParameter* e) {
  const int stored = parseParameterInteger(l->key, l->key, l->value, &e->pixelDepth[I], l);
  const int depth = e->pixelDepth[I];
  if (depth > 0 && depth != 1 && depth != 2 && depth != 4 && depth != 8 && depth != 10)
    diag::warn(std::to_string(depth) +
               " is a depth no reader fills (1, 2, 4, 8, 10); the plane goes out blank");
  return stored;
}
template <IndexLevelIndex I>
int indexLevel(cfgLine* l, imageParameter* e) {
  return parseIndexLevel(l->key, l->key, l->value, &e->indexLevel[I], l);
}
template <int imageParameter::*Field>
int imageInteger(cfgLine* l, imageParameter* e) {
  return parseParameterInteger(l->key, l->key, l->value, &(e->*Field), l);
}
template <int imageParameter::*Field>
int imageIntegerSymbol(cfgLine* l, imageParameter* e) {
  return parseParameterIntegerSymbol(l->key, l->key, l->value, &(e->*Field), l);
}
int startingPositionX(cfgLine* l, imageParameter* e) {
  return parseStartingPosition(l->key, l->key, l->value, &e->startingPositionX,
                               &e->startingPositionXSign, l);
}
int startingPositionY(cfgLine* l, imageParameter* e) {
  return parseStartingPosition(l->key, l->key, l->value, &e->startingPositionY,
                               &e->startingPositionYSign, l);
}
int yOffset(cfgLine* l, imageParameter* e) {
  return parseYOffset(l->key, l->key, l->value, &e->yOffset, &e->yOffsetSign, l);
}
// YOffsetC is kept apart once a starting position has been given: it is sent after the cursor
// moves instead of before them.
int yOffsetC(cfgLine* l, imageParameter* e) {
  if (e->startingPositionX != -1 || e->startingPositionY != -1)
    return parseYOffset(l->key, l->key, l->value, &e->yOffsetCWithPosition,
                        &e->yOffsetCWithPositionSign, l);
  return parseYOffset(l->key, l->key, l->value, &e->yOffsetC, &e->yOffsetCSign, l);
}

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
    {"ImageFileK", imageFile<kFileK>},
    {"ImageFileC", imageFile<kFileC>},
    {"ImageFileM", imageFile<kFileM>},
    {"ImageFileY", imageFile<kFileY>},
    {"ImageFilec", imageFile<kFilec>},
    {"ImageFilem", imageFile<kFilem>},
    {"ImageFileRGB", imageFile<kFileRGB>},
    {"ImageFileGy", imageFile<kFileGy>},
    {"ImageFilePgy", imageFile<kFilePgy>},
    {"ImageFileR", imageFile<kFileR>},
    {"ImageFileG", imageFile<kFileG>},
    {"ImageFileB", imageFile<kFileB>},
    {"ColorSpace", imageIntegerSymbol<&imageParameter::colorSpace>},
    {"CompressionMode", imageIntegerSymbol<&imageParameter::compressionMode>},
    {"NumOfPlanes", imageInteger<&imageParameter::numOfPlanes>},
    {"PixelDepthK", pixelDepth<kDepthK>},
    {"PixelDepthC", pixelDepth<kDepthC>},
    {"PixelDepthM", pixelDepth<kDepthM>},
    {"PixelDepthY", pixelDepth<kDepthY>},
    {"PixelDepthc", pixelDepth<kDepthc>},
    {"PixelDepthm", pixelDepth<kDepthm>},
    {"PixelDepthR", pixelDepth<kDepthR>},
    {"PixelDepthG", pixelDepth<kDepthG>},
    {"PixelDepthB", pixelDepth<kDepthB>},
    {"PixelDepthGy", pixelDepth<kDepthGy>},
    {"PixelDepthPgy", pixelDepth<kDepthPgy>},
    {"GraphicResolutionH", imageInteger<&imageParameter::graphicResolutionH>},
    {"GraphicResolutionV", imageInteger<&imageParameter::graphicResolutionV>},
    {"IndexLevelK", indexLevel<kLevelK>},
    {"IndexLevelC", indexLevel<kLevelC>},
    {"IndexLevelM", indexLevel<kLevelM>},
    {"IndexLevelY", indexLevel<kLevelY>},
    {"IndexLevelc", indexLevel<kLevelc>},
    {"IndexLevelm", indexLevel<kLevelm>},
};

constexpr const char* kDepthKeys[kPixelDepthCount] = {
    "PixelDepthK", "PixelDepthC", "PixelDepthM", "PixelDepthY",  "PixelDepthc",  "PixelDepthm",
    "PixelDepthR", "PixelDepthG", "PixelDepthB", "PixelDepthGy", "PixelDepthPgy"};

// The depths an image file needs; when one is not positive, all their keys are checked.
struct FileNeed {
  ImageFileIndex file;
  int count;
  PixelDepthIndex depths[4];
};

constexpr FileNeed kFileNeeds[] = {
    {kFileRGB, 3, {kDepthR, kDepthG, kDepthB}},
    {kFileCMYK, 4, {kDepthK, kDepthC, kDepthM, kDepthY}},
    {kFileK, 1, {kDepthK}},
    {kFileC, 1, {kDepthC}},
    {kFileM, 1, {kDepthM}},
    {kFileY, 1, {kDepthY}},
    {kFilec, 1, {kDepthc}},
    {kFilem, 1, {kDepthm}},
    {kFileGy, 1, {kDepthGy}},
    {kFilePgy, 1, {kDepthPgy}},
    {kFileR, 1, {kDepthR}},
    {kFileG, 1, {kDepthG}},
    {kFileB, 1, {kDepthB}},
};

bool allGiven(const imageParameter* e, std::initializer_list<PixelDepthIndex> depths) {
  for (PixelDepthIndex d : depths)
    if (e->pixelDepth[d] == -1) return false;
  return true;
}

bool planesAllowed(int colorSpace, int planes) {
  switch (colorSpace) {
    case 2:
      return planes == 1 || planes == 3;
    case 3:
      return planes == 4 || planes == 6;
    case 4:
      return planes == 1 || planes == 4 || planes == 6;
    case 5:
      return (planes >= 1 && planes <= 7) || planes == 11;
    case 18:
    case 19:
    case 20:
    case 21:
      return planes == 1;
    default:
      return false;
  }
}

}  // namespace

int parseKELMParameter(cfgLine* line, parameter* p) {
  if (std::strcmp(line->key, "[KELM]") == 0) return 0;
  for (const KELMKey& k : kKELMKeys)
    if (std::strcmp(line->key, k.name) == 0) return k.parse(line, p);
  if (std::strcmp(line->key, "NewPJL") != 0) diag::failJob("unknown key");
  newPJLLine* pjl = addNewPJLLine(p);
  return parseParameterString(line->key, "NewPJL", line->value, pjl->text, line);
}

int parseImageParameter(cfgLine* line, parameter* p) {
  if (std::strcmp(line->key, "[Image]") == 0) return 0;
  if (takeNewImageSection()) initImageParameter(addImageParameter(p->imageParameterList));
  imageParameter* entry = getLastImageParameter(p);
  if (entry == nullptr) diag::failJob("a key outside any [Image] section");
  for (const ImageKey& k : kImageKeys)
    if (std::strcmp(line->key, k.name) == 0) return k.parse(line, entry);
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
      const char* key = need.file == kFilem ? "PixelDepthm," : kDepthKeys[need.depths[i]];
      checkParameterInteger(key, -1, lines, fromLine);
    }
  }
}

void setMode(imageParameter* e) {
  int family = -1;
  switch (e->colorSpace) {
    case 3:
    case 4:
    case 5:
    case 19:
    case 20:
    case 21:
      if (e->numOfPlanes == 6 ||
          allGiven(e, {kDepthK, kDepthC, kDepthM, kDepthY, kDepthc, kDepthm}))
        family = 5;
      else if (e->numOfPlanes == 4 || e->numOfPlanes == 11 ||
               allGiven(e, {kDepthK, kDepthC, kDepthM, kDepthY}))
        family = 4;
      break;
    case 2:
      if (e->numOfPlanes == 1) {
        family = 2;
        const int depthK = e->pixelDepth[kDepthK];
        if (depthK == 8 || depthK == 10) e->indexLevel[kLevelK] = kRGBSenseTable;
      } else if (e->numOfPlanes == 3) {
        family = 3;
      }
      break;
    case 18:
      if (e->pixelDepth[kDepthR] >= 1 && e->pixelDepth[kDepthG] >= 1 && e->pixelDepth[kDepthB] >= 1)
        family = 10;
      break;
    default:
      break;
  }
  const int code = e->compressionMode;
  const bool knownCode = code == 0 || code == 2 || code == 3 || code == 128 || code == 256;
  if (family != -1 && knownCode) e->mode = family * 1000 + code;
}

void checkImageSectionParameter(parameter* p, const cfgLine* lines, int fromLine) {
  imageParameter* first = p->imageParameterList.get();
  imageParameter* e = getLastImageParameter(p);
  if (e == nullptr) diag::failJob({{}, fromLine, "Image", {}, {}, "the [Image] section has no keys"});
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
  if (e->colorSpace >= 2 && e->colorSpace <= 5 && planes != e->numOfPlanes)
    fail("plane count " + std::to_string(e->numOfPlanes) + " does not match the " + given +
         " given");
  if (e->colorSpace == 18 && planes != 3)
    fail("ColorSpace 18 takes the three depths R, G and B; " + given + " given");
  if (!planesAllowed(e->colorSpace, e->numOfPlanes))
    fail(std::to_string(e->numOfPlanes) + " planes are not allowed with ColorSpace " +
         std::to_string(e->colorSpace));
  setMode(e);
}

const char* imageFileKey(ImageFileIndex file) {
  static constexpr const char* kNames[kImageFileCount] = {
      "ImageFileCMYK", "ImageFileK",  "ImageFileC",   "ImageFileM", "ImageFileY",
      "ImageFilec",    "ImageFilem",  "ImageFileRGB", "ImageFileGy", "ImageFilePgy",
      "ImageFileR",    "ImageFileG",  "ImageFileB"};
  return kNames[file];
}
