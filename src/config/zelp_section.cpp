// [Global] and [ZELP] key parsers.
#include <cstdlib>
#include <cstring>
#include <string>

#include "cmdfile/cmdfile.h"
#include "config/config.h"
#include "config/key_catalogue.h"
#include "config/key_handlers.h"
#include "config/raw_packet.h"
#include "config/sections.h"
#include "config/values.h"
#include "diag/diag.h"

namespace {

using Handler = KeyHandler;
int parseMediumTypeEx(cfgLine* l, parameter* p) {
  return extractParameterIntegerSymbol(l->key.c_str(), l->key.c_str(), l->value.c_str(),
                                       &p->mediumTypeEx, l);
}
int parseJobTimeKey(cfgLine* l, parameter* p) {
  return parseJobTime(l->key.c_str(), l->key.c_str(), l->value.c_str(), p, l);
}
int parseClientJobUUID(cfgLine* l, parameter* p) {
  const int result = parseParameterStringUUID(l->key.c_str(), l->key.c_str(), l->value.c_str(),
                                              p->clientJobUUID, l);
  p->clientJobIDSet = 1;
  return result;
}
int parseClientJobInfo(cfgLine* l, parameter* p) {
  p->clientJobIDSet = 1;
  // The job info field is sent as 48 bytes: a text of 48 characters keeps no terminator.
  return parseParameterText(l->key.c_str(), l->key.c_str(), l->value.c_str(), p->clientJobInfo,
                            sizeof p->clientJobInfo, l);
}
constexpr Handler mediumTypeEx{ValueKind::kMediumTypeEx, parseMediumTypeEx};
constexpr Handler jobTime{ValueKind::kJobTime, parseJobTimeKey};
constexpr Handler clientJobUUID{ValueKind::kUUID, parseClientJobUUID};
constexpr Handler clientJobInfo{ValueKind::kText, parseClientJobInfo};

// How each key set treats a key: stored, accepted and ignored, or unknown (fatal).
enum Use : unsigned char { kFatal, kStored, kIgnored };

struct ZELPKey {
  const char* name;
  Use set1;
  Use set2;
  Handler parse;
};

constexpr ZELPKey kZELPKeys[] = {
    {"JobName", kStored, kStored, text<&parameter::jobName>},
    {"JobOwner", kStored, kStored, text<&parameter::jobOwner>},
    {"JobClientID", kStored, kIgnored, text<&parameter::jobClientID>},
    {"PanelMessage", kStored, kStored, text<&parameter::panelMessage>},
    {"JobTime", kStored, kStored, jobTime},
    {"TrayUnitID", kStored, kStored, integerSymbol<&parameter::trayUnitID>},
    {"TrayAlias", kStored, kStored, integerSymbol<&parameter::trayAlias>},
    {"Medium", kStored, kStored, integerSymbol<&parameter::medium>},
    {"MediumTypeEx", kStored, kStored, mediumTypeEx},
    {"Quality", kStored, kStored, integerSymbol<&parameter::quality>},
    {"MediumCuttingType", kStored, kStored, integerSymbol<&parameter::mediumCuttingType>},
    {"InkDryingType", kStored, kIgnored, integerSymbol<&parameter::inkDryingType>},
    {"InkDryingTime", kStored, kIgnored, integer<&parameter::inkDryingTime>},
    {"JobImpressions", kStored, kIgnored, integer<&parameter::jobImpressions>},
    {"PageInkDryingTime", kStored, kStored, integerSymbol<&parameter::pageInkDryingTime>},
    {"BandInkDryingTime", kStored, kStored, integerSymbol<&parameter::bandInkDryingTime>},
    {"RollMediaTopBlank", kStored, kStored, integerSymbol<&parameter::rollMediaTopBlank>},
    {"RollMediaBottomBlank", kStored, kIgnored, integerSymbol<&parameter::rollMediaBottomBlank>},
    {"PaperThickness", kStored, kIgnored, integerSymbol<&parameter::paperThickness>},
    {"PrintingSuction", kStored, kStored, integerSymbol<&parameter::printingSuction>},
    {"CuttingSpeed", kStored, kStored, integerSymbol<&parameter::cuttingSpeed>},
    // Unlike the other keys of set 2, these four are unknown to set 1.
    {"Plex", kFatal, kStored, integerSymbol<&parameter::plex>},
    {"PlexImagePositionAdjustment", kFatal, kStored,
     integerSymbol<&parameter::plexImagePositionAdjustment>},
    {"HeadHeight", kFatal, kStored, integerSymbol<&parameter::headHeight>},
    {"SetPathMode", kFatal, kStored, integerSymbol<&parameter::setPathMode>},
    {"JobCreatorID", kIgnored, kStored, integer<&parameter::jobCreatorID>},
    {"JobStartExecutionMode", kIgnored, kStored, integerSymbol<&parameter::jobStartExecutionMode>},
    {"COLMode", kIgnored, kStored, integerSymbol<&parameter::colMode>},
    {"COLCount", kIgnored, kStored, integer<&parameter::colCount>},
    {"COLHandle", kIgnored, kStored, integer<&parameter::colHandle>},
    {"COLNumber", kIgnored, kStored, integer<&parameter::colNumber>},
    {"COLPassword", kIgnored, kStored, integer<&parameter::colPassword>},
    {"JobStartMode", kIgnored, kStored, integerSymbol<&parameter::jobStartMode>},
    {"ClientJobID_UUID", kIgnored, kStored, clientJobUUID},
    {"ClientJobID_JobInfo", kIgnored, kStored, clientJobInfo},
    {"JobCopies", kIgnored, kStored, integer<&parameter::jobCopies>},
    {"QualityOptimizedLevel", kIgnored, kStored, integerSymbol<&parameter::qualityOptimizedLevel>},
    {"HeadOneWayPrint", kIgnored, kStored, integerSymbol<&parameter::headOneWayPrint>},
    {"Calibration", kIgnored, kStored, integerSymbol<&parameter::calibration>},
    {"JobImpressions2", kIgnored, kStored, integer<&parameter::jobImpressions2>},
    {"SetJobOctets", kIgnored, kStored, integer<&parameter::setJobOctets>},
};

constexpr KeyUse describeUse(Use use) {
  return use == kStored ? KeyUse::kStored : use == kIgnored ? KeyUse::kIgnored : KeyUse::kRefused;
}

}  // namespace

void describeGlobalAndZELPKeys(std::vector<KeyInfo>& out) {
  // The [Global] keys are matched one by one in parseGlobalParameter below.
  out.push_back({"[Global]", "OutFilePath", ValueKind::kText});
  out.push_back({"[Global]", "ImageProcessingFile", ValueKind::kText});
  out.push_back({"[ZELP]", "Version", ValueKind::kInteger});
  for (const ZELPKey& k : kZELPKeys)
    out.push_back({"[ZELP]", k.name, k.parse.kind, describeUse(k.set1), describeUse(k.set2)});
}

int parseGlobalParameter(cfgLine* line, parameter* p) {
  if (std::strcmp(line->key.c_str(), "[Global]") == 0) return 0;
  if (parseParameterString(line->key.c_str(), "OutFilePath", line->value.c_str(), p->outFilePath,
                           line) == 1) {
    p->outFilePathLine = line->lineNumber;
    return 1;
  }
  if (std::strcmp(line->key.c_str(), "ImageProcessingFile") != 0) diag::failJob("unknown key");
  imageProcessingFile* file = addImageProcessingFile(p->imageProcessingFileList);
  file->line = line->lineNumber;
  return parseParameterString(line->key.c_str(), "ImageProcessingFile", line->value.c_str(),
                              file->path, line);
}

int parseZELPParameter(cfgLine* line, parameter* p, ReaderState& reader) {
  // A defined command takes precedence over a built-in key of the same name.
  if (p->commandDefinitions != nullptr &&
      isExistMatchCommand(p->commandDefinitions, line->key.c_str()) == 1)
    return parseZELPParameterCmd(line, p);
  return parseZELPParameterBuild(line, p, reader);
}

int parseZELPParameterBuild(cfgLine* line, parameter* p, ReaderState& reader) {
  if (std::strcmp(line->key.c_str(), "[ZELP]") == 0) return 0;
  if (parseParameterInteger(line->key.c_str(), "Version", line->value.c_str(), &p->version, line) ==
      1) {
    reader.zelpVersion = p->version == 2 ? 2 : 1;
    return 1;
  }
  for (const ZELPKey& k : kZELPKeys) {
    if (std::strcmp(line->key.c_str(), k.name) != 0) continue;
    const Use use = reader.zelpVersion == 2 ? k.set2 : k.set1;
    if (use == kStored) return k.parse(line, p);
    const std::string version = "Version " + std::to_string(reader.zelpVersion);
    if (use == kIgnored) {
      diag::warn("accepted and ignored under " + version + "; nothing of it reaches the printer");
      return 0;
    }
    diag::failJob("not a key under " + version);
  }
  diag::failJob("unknown key");
}
