// The configuration text reader: lines, comments, sections and their entry rules.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "config/config.h"
#include "config/path.h"
#include "config/raw_packet.h"
#include "config/sections.h"
#include "config/values.h"
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

// A job per call: nothing of a previous configuration may leak into the next one.
void resetReaderState() {
  sSection = kSectionNone;
  sIsNewImageSection = 0;
  sIsCStyleComment = 0;
  sSeenGlobal = sSeenZELP = sSeenKELM = sSeenImage = false;
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
    if (startsWith(text, "/*")) std::exit(1);
    if (startsWith(text, "*/")) sIsCStyleComment = 0;
    return LineKind::kIgnored;
  }
  if (startsWith(text, "/*")) {
    sIsCStyleComment = 1;
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
  if (name == nullptr) std::exit(1);  // the default name did not fit its field
  copyField(p->outFilePath, name);
}

void defaultJobImpressions(parameter* p) {
  if (p->jobImpressions == -1) p->jobImpressions = 1;
}

// The defaults depend on the order of the sections, not only on their contents.
void enterSection(int previous, parameter* p, const cfgLine* lines, int headerLine) {
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
        // An [Image] section needs a [KELM] section before it.
        std::exit(1);
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

bool canOpen(const char* path) {
  return FilePtr(std::fopen(path, "r")) != nullptr;
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
  FilePtr file(std::fopen(path, "r"));
  if (!file) std::exit(1);
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
    if (sSection != previous) enterSection(previous, p, lines.get(), headerLine);
    if (kind == LineKind::kIgnored) continue;
    if (kind == LineKind::kHeader) headerLine = lineNumber;

    std::unique_ptr<cfgLine>& slot = last == nullptr ? lines : last->next;
    slot = std::make_unique<cfgLine>();
    last = slot.get();
    last->lineNumber = lineNumber;
    copyField(last->line, line);
    copyField(last->key, key);
    copyField(last->value, value);
    dispatch(last, p);
  }

  if (sIsCStyleComment != 0) std::exit(1);
  if (!sSeenKELM || !sSeenImage) {
    // Only these two names are printed, whichever section is really missing.
    if (!sSeenGlobal) std::puts("[Global]");
    if (!sSeenZELP) std::puts("[ZELP]");
    std::exit(1);
  }
  checkImageSectionParameter(p, lines.get(), headerLine);
  convertDirSeparator(p);
  convertToFullPath(p);
  checkIfFileExist(p);
  deleteCFGFile(lines);
}

void checkIfFileExist(const parameter* p) {
  for (const imageProcessingFile* f = p->imageProcessingFileList.get(); f != nullptr;
       f = f->next.get())
    if (!canOpen(f->path)) std::exit(1);
  using namespace kelm;
  static constexpr int kOrder[] = {kFileRGB, kPlaneK, kPlaneC,   kPlaneM,  kPlaneY,
                                   kPlanec,  kPlanem, kFileCMYK, kPlaneGy, kPlanePgy,
                                   kPlaneR,  kPlaneG, kPlaneB};
  for (const imageParameter* e = p->imageParameterList.get(); e != nullptr; e = e->next.get()) {
    for (int i : kOrder)
      if (e->imageFile[i][0] != '\0' && !canOpen(e->imageFile[i])) std::exit(1);
  }
}
