// The configuration text reader: lines, comments, sections and their entry rules.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "config/config.h"
#include "config/path.h"
#include "config/raw_packet.h"
#include "config/sections.h"
#include "config/values.h"
#include "diag/diag.h"
#include "text/text.h"

namespace {

constexpr int kLineSize = 1024;

int sSection = kSectionNone;
int sIsNewImageSection = 0;
int sIsCStyleComment = 0;
bool sSeenGlobal = false;
bool sSeenZELP = false;
bool sSeenKELM = false;
bool sSeenImage = false;
std::string sPath;
int sCommentLine = 0;

constexpr const char* kSectionNames[] = {"",     "Global", "ZELP", "ZELP_Raw",
                                         "KELM", "Image",  "Image"};

// Later errors name this line unless they know better.
void placeAt(int lineNumber, const char* key, const char* value) {
  diag::setPlace(sPath, lineNumber, kSectionNames[sSection], key, value);
}

// A job per call: nothing of a previous configuration may leak into the next one.
void resetReaderState() {
  sSection = kSectionNone;
  sIsNewImageSection = 0;
  sIsCStyleComment = 0;
  sSeenGlobal = sSeenZELP = sSeenKELM = sSeenImage = false;
  sCommentLine = 0;
  resetZELPVersion();
}

struct Header {
  const char* text;
  Section section;
};
constexpr Header kHeaders[] = {{"[Global]", kSectionGlobal},
                               {"[ZELP]", kSectionZELP},
                               {"[ZELP_Raw]", kSectionZELPRaw},
                               {"[KELM]", kSectionKELM},
                               {"[Image]", kSectionImageHeader}};

enum class LineKind { kIgnored, kHeader, kKey };

void copyText(char* dst, const char* src) {
  std::snprintf(dst, kLineSize, "%s", src);
}

bool startsWith(const char* s, const char* prefix) {
  return std::strncmp(s, prefix, std::strlen(prefix)) == 0;
}

LineKind classifyLine(const char* line, int lineNumber, char* key, char* value) {
  if (line[0] == '\0') return LineKind::kIgnored;
  char text[kLineSize];
  copyText(text, line);
  trimSpaces(text);
  if (sIsCStyleComment != 0) {
    if (startsWith(text, "/*")) {
      diag::clearPlace();
      diag::failJob({sPath,
                     lineNumber,
                     {},
                     {},
                     {},
                     "block comment opened at line " + std::to_string(sCommentLine) +
                         " opens again before it is closed"});
    }
    if (startsWith(text, "*/")) sIsCStyleComment = 0;
    return LineKind::kIgnored;
  }
  if (startsWith(text, "/*")) {
    sIsCStyleComment = 1;
    sCommentLine = lineNumber;
    return LineKind::kIgnored;
  }
  // No trim after the cut: "[ZELP] # note" keeps its blank and is no header.
  if (char* hash = std::strchr(text, '#')) {
    if (hash == text) return LineKind::kIgnored;
    *hash = '\0';
  }
  for (const Header& h : kHeaders) {
    if (std::strcmp(text, h.text) != 0) continue;
    sSection = h.section;
    if (h.section == kSectionImageHeader) sIsNewImageSection = 1;
    copyText(key, h.text);
    std::snprintf(value, kLineSize, "%d", lineNumber);
    return LineKind::kHeader;
  }
  // Without "=" the value buffer keeps what the previous line left in it.
  if (char* equals = std::strchr(text, '=')) {
    *equals = '\0';
    copyText(value, equals + 1);
    trimSpaces(value);
  }
  copyText(key, text);
  trimSpaces(key);
  return LineKind::kKey;
}

void defaultOutFilePath(parameter* p) {
  if (p->outFilePath[0] != '\0') return;
  const char* name = defaultFileName();
  if (name == nullptr)
    diag::failJob({sPath,
                   0,
                   {},
                   {},
                   {},
                   "the default print file name (the job's path with .dat) is too long"});
  copyField(p->outFilePath, name);
}

void defaultJobImpressions(parameter* p) {
  if (p->jobImpressions == -1) p->jobImpressions = 1;
}

// The defaults depend on the order of the sections, not only on their contents.
void enterSection(int previous, parameter* p, const cfgLine* lines, int headerLine,
                  int lineNumber) {
  placeAt(lineNumber, "", "");
  switch (sSection) {
    case kSectionGlobal:
      sSeenGlobal = true;
      break;
    case kSectionZELP:
      sSeenZELP = true;
      if (previous == kSectionNone || previous == kSectionGlobal) defaultOutFilePath(p);
      break;
    case kSectionKELM:
      sSeenKELM = true;
      if (previous == kSectionNone) {
        defaultOutFilePath(p);
        defaultJobImpressions(p);
      } else if (previous == kSectionGlobal) {
        defaultOutFilePath(p);
      } else if (previous == kSectionZELP || previous == kSectionZELPRaw) {
        defaultJobImpressions(p);
        checkRawPacket(p);
      }
      break;
    case kSectionImageHeader:
      sSeenImage = true;
      if (previous == kSectionKELM) {
        checkKELMSectionParameter(p, lines, headerLine);
        sSection = kSectionImage;
      } else if (previous == kSectionImage) {
        checkImageSectionParameter(p, lines, headerLine);
        sSection = kSectionImage;
      } else if (previous != kSectionZELPRaw) {
        diag::failJob({sPath,
                       lineNumber,
                       "Image",
                       {},
                       {},
                       "an [Image] section must follow a [KELM] or another [Image] section"});
      }
      // From [ZELP_Raw] the section stays unread up to the next header.
      break;
    default:
      break;
  }
}

void dispatch(cfgLine* line, parameter* p) {
  switch (sSection) {
    case kSectionGlobal:
      parseGlobalParameter(line, p);
      break;
    case kSectionZELP:
      parseZELPParameter(line, p);
      break;
    case kSectionZELPRaw:
      parseZELP_RawParameter(line, p);
      break;
    case kSectionKELM:
      parseKELMParameter(line, p);
      break;
    case kSectionImage:
      parseImageParameter(line, p);
      break;
    default:
      // Lines before the first header, and an [Image] section after [ZELP_Raw].
      break;
  }
}

struct FileCloser {
  void operator()(std::FILE* f) const { std::fclose(f); }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

// Without blocking: a FIFO with no writer would hold the job here before anyone could refuse it.
bool canOpen(const char* path) {
  const int fd = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return false;
  close(fd);
  return true;
}

}  // namespace

int parseKeyValue(const char* line, int lineNumber, char* key, char* value) {
  return classifyLine(line, lineNumber, key, value) == LineKind::kIgnored ? -1 : 0;
}

bool takeNewImageSection() {
  if (sIsNewImageSection == 0) return false;
  sIsNewImageSection = 0;
  return true;
}

void parseParameter(const char* path, parameter* p) {
  resetReaderState();
  sPath = path;
  diag::clearPlace();
  FilePtr file(std::fopen(path, "r"));
  if (!file) diag::failJob({sPath, 0, {}, {}, {}, "cannot open the job configuration"});
  initCommonParameter(p);

  char line[kLineSize] = {};
  char key[kLineSize] = {};
  char value[kLineSize] = {};
  std::unique_ptr<cfgLine> lines;
  cfgLine* last = nullptr;
  int headerLine = 0;
  for (int lineNumber = 1; sReadLine(line, kLineSize, file.get()) != nullptr; ++lineNumber) {
    const int previous = sSection;
    const LineKind kind = classifyLine(line, lineNumber, key, value);
    if (sSection != previous) enterSection(previous, p, lines.get(), headerLine, lineNumber);
    if (kind == LineKind::kIgnored) continue;
    if (kind == LineKind::kHeader) headerLine = lineNumber;

    std::unique_ptr<cfgLine>& slot = last == nullptr ? lines : last->next;
    slot = std::make_unique<cfgLine>();
    last = slot.get();
    last->lineNumber = lineNumber;
    copyField(last->line, line);
    copyField(last->key, key);
    copyField(last->value, value);
    if (kind == LineKind::kHeader) {
      placeAt(lineNumber, "", "");
    } else {
      placeAt(lineNumber, last->key, last->value);
    }
    dispatch(last, p);
  }

  diag::clearPlace();
  if (sIsCStyleComment != 0)
    diag::failJob(
        {sPath,
         sCommentLine,
         {},
         {},
         {},
         "block comment opened at line " + std::to_string(sCommentLine) + " never closed"});
  if (!sSeenKELM || !sSeenImage) {
    // Only these two names are printed, whichever section is really missing.
    if (!sSeenGlobal) std::puts("[Global]");
    if (!sSeenZELP) std::puts("[ZELP]");
    diag::failJob({sPath,
                   0,
                   {},
                   {},
                   {},
                   std::ferror(file.get()) != 0
                       ? "cannot be read as a job configuration (a folder?)"
                   : lines == nullptr ? "the job configuration is empty"
                   : !sSeenKELM       ? "no [KELM] section"
                                      : "no [Image] section"});
  }
  placeAt(headerLine, "", "");
  checkImageSectionParameter(p, lines.get(), headerLine);
  diag::setPlace(sPath, 0, "", "", "");
  convertDirSeparator(p);
  convertToFullPath(p);
  checkIfFileExist(p);
  deleteCFGFile(lines);
}

void checkIfFileExist(const parameter* p) {
  for (const imageProcessingFile* f = p->imageProcessingFileList.get(); f != nullptr;
       f = f->next.get())
    if (!canOpen(f->path))
      diag::failJob({{},
                     0,
                     "Global",
                     "ImageProcessingFile",
                     f->path,
                     std::string("file not found: ") + f->path});
  using namespace kelm;
  static constexpr int kOrder[] = {kFileRGB, kPlaneK, kPlaneC,   kPlaneM,  kPlaneY,
                                   kPlanec,  kPlanem, kFileCMYK, kPlaneGy, kPlanePgy,
                                   kPlaneR,  kPlaneG, kPlaneB};
  for (const imageParameter* e = p->imageParameterList.get(); e != nullptr; e = e->next.get()) {
    for (int i : kOrder)
      if (e->imageFile[i][0] != '\0' && !canOpen(e->imageFile[i]))
        diag::failJob({{},
                       e->imageFileLine[i],
                       "Image",
                       imageFileKey(i),
                       e->imageFile[i],
                       std::string("image file not found: ") + e->imageFile[i]});
  }
}
