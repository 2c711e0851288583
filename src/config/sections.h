// Key parsers and consistency checks of the configuration sections.
//
// A key parser handles one recorded line (its own header included): it returns a positive
// number when it stored a value, 0 for its header or a key it accepts and ignores, and ends the
// process (exit 1) on a key it does not know or a bad value.
#pragma once

#include <string>

#include "config/parameter.h"

// The reader's section state: 0 before any header, 1 [Global], 2 [ZELP], 3 [ZELP_Raw],
// 4 [KELM], 5 [Image], 6 an [Image] header just read.
enum Section {
  kSectionNone = 0,
  kSectionGlobal = 1,
  kSectionZELP = 2,
  kSectionZELPRaw = 3,
  kSectionKELM = 4,
  kSectionImage = 5,
  kSectionImageHeader = 6
};

// What the reader knows while it reads one configuration file; each file starts a fresh one.
struct ReaderState {
  int section = kSectionNone;
  bool newImageSection = false;  // an [Image] header read, its entry not made yet
  bool inBlockComment = false;
  int commentLine = 0;  // where the block comment began
  bool seenGlobal = false;
  bool seenZELP = false;
  bool seenKELM = false;
  bool seenImage = false;
  int zelpVersion = 1;  // the [ZELP] key set in force: 1, or 2 after Version=2
  std::string path;
};

// The default output name, or null when the name given was too long to keep whole.
const char* defaultFileName();

int parseGlobalParameter(cfgLine* line, parameter* p);

int parseZELPParameter(cfgLine* line, parameter* p, ReaderState& reader);
int parseZELPParameterBuild(cfgLine* line, parameter* p, ReaderState& reader);

int parseKELMParameter(cfgLine* line, parameter* p);
int parseImageParameter(cfgLine* line, parameter* p, ReaderState& reader);
// "ImageFileK" and so on.
const char* imageFileKey(int file);  // indexed like imageParameter::imageFile

// The checks scan the line records from the header numbered `fromLine` on.
void checkKELMSectionParameter(const parameter* p, const cfgLine* lines, int fromLine);
void checkImageSectionParameter(parameter* p, const cfgLine* lines, int fromLine);
// 1 when the entry has any setting that a later entry would inherit, else 0.
int isImageKELMSetting(const imageParameter* entry);
void checkConfigureImageDataGraphicResolution(const imageParameter* first, imageParameter* entry);
void checkImageFile(const imageParameter* entry, const cfgLine* lines, int fromLine);
void setMode(imageParameter* entry);
