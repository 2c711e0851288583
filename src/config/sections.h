// Key parsers and consistency checks of the configuration sections.
//
// A key parser handles one recorded line (its own header included): it returns a positive
// number when it stored a value, 0 for its header or a key it accepts and ignores, and ends the
// process (exit 1) on a key it does not know or a bad value.
#pragma once

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

// Splits one line into key and value (buffers of 1024 bytes), updating the section state.
// -1 for a line to ignore, 0 for a header or key line.
int parseKeyValue(const char* line, int lineNumber, char* key, char* value);
// True once, at the first key of an [Image] section.
bool takeNewImageSection();

// The default output name, or null when the name given was too long to keep whole.
const char* defaultFileName();

int parseGlobalParameter(cfgLine* line, parameter* p);

// The [ZELP] key set in force: 1, or 2 after Version=2. Reset to 1 for every configuration.
int zelpVersion();
void resetZELPVersion();
int parseZELPParameter(cfgLine* line, parameter* p);
int parseZELPParameterBuild(cfgLine* line, parameter* p);

int parseKELMParameter(cfgLine* line, parameter* p);
int parseImageParameter(cfgLine* line, parameter* p);
// "ImageFileK" and so on.
const char* imageFileKey(ImageFileIndex file);

// The checks scan the line records from the header numbered `fromLine` on.
void checkKELMSectionParameter(const parameter* p, const cfgLine* lines, int fromLine);
void checkImageSectionParameter(parameter* p, const cfgLine* lines, int fromLine);
// 1 when the entry has any setting that a later entry would inherit, else 0.
int isImageKELMSetting(const imageParameter* entry);
void checkConfigureImageDataGraphicResolution(const imageParameter* first, imageParameter* entry);
void checkImageFile(const imageParameter* entry, const cfgLine* lines, int fromLine);
void setMode(imageParameter* entry);
