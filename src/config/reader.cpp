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

constexpr const char* kSectionNames[] = {"",     "Global", "ZELP", "ZELP_Raw",
                                         "KELM", "Image",  "Image"};

// Later errors name this line unless they know better.
void placeAt(const ReaderState& s, int lineNumber, const char* key, const char* value) {
  diag::setPlace(s.path, lineNumber, kSectionNames[s.section], key, value);
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

LineKind classifyLine(ReaderState& s, const char* line, int lineNumber, char* key, char* value) {
  if (line[0] == '\0') return LineKind::kIgnored;
  char text[kLineSize];
  copyText(text, line);
  trimSpaces(text);
  if (s.inBlockComment) {
    if (startsWith(text, "/*")) {
      diag::clearPlace();
      diag::failJob({s.path,
                     lineNumber,
                     {},
                     {},
                     {},
                     "block comment opened at line " + std::to_string(s.commentLine) +
                         " opens again before it is closed"});
    }
    if (startsWith(text, "*/")) s.inBlockComment = false;
    return LineKind::kIgnored;
  }
  if (startsWith(text, "/*")) {
    s.inBlockComment = true;
    s.commentLine = lineNumber;
    return LineKind::kIgnored;
  }
  // No trim after the cut: "[ZELP] # note" keeps its blank and is no header.
  if (char* hash = std::strchr(text, '#')) {
    if (hash == text) return LineKind::kIgnored;
    *hash = '\0';
  }
  for (const Header& h : kHeaders) {
    if (std::strcmp(text, h.text) != 0) continue;
    s.section = h.section;
    if (h.section == kSectionImageHeader) s.newImageSection = true;
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

void defaultOutFilePath(const ReaderState& s, parameter* p) {
  if (p->outFilePath[0] != '\0') return;
  const char* name = defaultFileName();
  if (name == nullptr)
    diag::failJob({s.path,
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
void enterSection(ReaderState& s, int previous, parameter* p, const cfgLine* lines, int headerLine,
                  int lineNumber) {
  placeAt(s, lineNumber, "", "");
  switch (s.section) {
    case kSectionGlobal:
      s.seenGlobal = true;
      break;
    case kSectionZELP:
      s.seenZELP = true;
      if (previous == kSectionNone || previous == kSectionGlobal) defaultOutFilePath(s, p);
      break;
    case kSectionKELM:
      s.seenKELM = true;
      if (previous == kSectionNone) {
        defaultOutFilePath(s, p);
        defaultJobImpressions(p);
      } else if (previous == kSectionGlobal) {
        defaultOutFilePath(s, p);
      } else if (previous == kSectionZELP || previous == kSectionZELPRaw) {
        defaultJobImpressions(p);
        checkRawPacket(p);
      }
      break;
    case kSectionImageHeader:
      s.seenImage = true;
      if (previous == kSectionKELM) {
        checkKELMSectionParameter(p, lines, headerLine);
        s.section = kSectionImage;
      } else if (previous == kSectionImage) {
        checkImageSectionParameter(p, lines, headerLine);
        s.section = kSectionImage;
      } else if (previous != kSectionZELPRaw) {
        diag::failJob({s.path,
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

void dispatch(ReaderState& s, cfgLine* line, parameter* p) {
  switch (s.section) {
    case kSectionGlobal:
      parseGlobalParameter(line, p);
      break;
    case kSectionZELP:
      parseZELPParameter(line, p, s);
      break;
    case kSectionZELPRaw:
      parseZELP_RawParameter(line, p);
      break;
    case kSectionKELM:
      parseKELMParameter(line, p);
      break;
    case kSectionImage:
      parseImageParameter(line, p, s);
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

void parseParameter(const char* path, parameter* p) {
  ReaderState s;  // a job per call: nothing of an earlier configuration leaks into this one
  s.path = path;
  diag::clearPlace();
  FilePtr file(std::fopen(path, "r"));
  if (!file) diag::failJob({s.path, 0, {}, {}, {}, "cannot open the job configuration"});
  initCommonParameter(p);

  char line[kLineSize] = {};
  char key[kLineSize] = {};
  char value[kLineSize] = {};
  std::unique_ptr<cfgLine> lines;
  cfgLine* last = nullptr;
  int headerLine = 0;
  // The checks of a section start at its header's record, not at the first line of the file.
  const cfgLine* header = nullptr;
  for (int lineNumber = 1; sReadLine(line, kLineSize, file.get()) != nullptr; ++lineNumber) {
    const int previous = s.section;
    const LineKind kind = classifyLine(s, line, lineNumber, key, value);
    if (s.section != previous) enterSection(s, previous, p, header, headerLine, lineNumber);
    if (kind == LineKind::kIgnored) continue;

    std::unique_ptr<cfgLine>& slot = last == nullptr ? lines : last->next;
    slot = std::make_unique<cfgLine>();
    last = slot.get();
    last->lineNumber = lineNumber;
    last->key = key;
    last->value = value;
    if (kind == LineKind::kHeader) {
      headerLine = lineNumber;
      header = last;
    }
    if (kind == LineKind::kHeader) {
      placeAt(s, lineNumber, "", "");
    } else {
      placeAt(s, lineNumber, last->key.c_str(), last->value.c_str());
    }
    dispatch(s, last, p);
  }

  diag::clearPlace();
  if (s.inBlockComment)
    diag::failJob(
        {s.path,
         s.commentLine,
         {},
         {},
         {},
         "block comment opened at line " + std::to_string(s.commentLine) + " never closed"});
  if (!s.seenKELM || !s.seenImage) {
    // Only these two names are printed, whichever section is really missing.
    if (!s.seenGlobal) std::puts("[Global]");
    if (!s.seenZELP) std::puts("[ZELP]");
    diag::failJob({s.path,
                   0,
                   {},
                   {},
                   {},
                   std::ferror(file.get()) != 0
                       ? "cannot be read as a job configuration (a folder?)"
                   : lines == nullptr ? "the job configuration is empty"
                   : !s.seenKELM      ? "no [KELM] section"
                                      : "no [Image] section"});
  }
  placeAt(s, headerLine, "", "");
  checkImageSectionParameter(p, header, headerLine);
  diag::setPlace(s.path, 0, "", "", "");
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
