// The job attributes of the parameter record into the attribute store, then the output file.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "diag/diag.h"
#include "driver/driver.h"
#include "zelp/codes.h"
#include "zelp/zelp.h"

namespace {

bool isSet(int value) {
  return value != -1;
}

std::uint8_t low8(int value) {
  return static_cast<std::uint8_t>(value);
}

std::uint16_t low16(int value) {
  return static_cast<std::uint16_t>(value);
}

// A text field of the record, never read past its end.
template <std::size_t N>
std::string fieldText(const char (&field)[N]) {
  return std::string(field, strnlen(field, N));
}

// The character-set code sent with every text attribute.
constexpr std::uint16_t kCharset = 3;

}  // namespace

int processZELP(parameter* p) {
  ZELP_NewWithName(fieldText(p->outFilePath).c_str());
  // The medium encodings depend on the version, so it goes first.
  if (isSet(p->version)) ZELP_SetZELPVersion(p->version);

  if (p->jobName[0] != '\0') ZELP_SetJobName(kCharset, fieldText(p->jobName).c_str());
  if (p->jobOwner[0] != '\0') ZELP_SetJobClientName(kCharset, fieldText(p->jobOwner).c_str());
  if (p->jobClientID[0] != '\0') ZELP_SetJobClientID(fieldText(p->jobClientID).c_str());
  if (p->panelMessage[0] != '\0') ZELP_SetPanelMsg(kCharset, fieldText(p->panelMessage).c_str());

  if (isSet(p->trayUnitID)) {
    if (p->trayUnitID == zelp::value::kAutoTray) {
      ZELP_SetTrayAutoSelect();
    } else {
      ZELP_SetTrayByUnitID(low8(p->trayUnitID));
    }
  }
  if (isSet(p->trayAlias)) ZELP_SetTrayByAlias(low8(p->trayAlias));
  if (isSet(p->medium)) ZELP_SetMedium(low8(p->medium));
  if (isSet(p->mediumTypeEx)) ZELP_SetMediumSubType(low16(p->mediumTypeEx));
  if (isSet(p->quality)) ZELP_SetQuality(low8(p->quality));
  if (isSet(p->mediumCuttingType)) ZELP_SetMediumCuttingType(low8(p->mediumCuttingType));
  if (isSet(p->inkDryingType)) ZELP_SetInkDryMethod(low8(p->inkDryingType));
  if (isSet(p->inkDryingTime)) ZELP_SetInkDryTime(static_cast<std::uint32_t>(p->inkDryingTime));
  if (isSet(p->pageInkDryingTime)) ZELP_SetPageInkDryingTime(low8(p->pageInkDryingTime));
  if (isSet(p->bandInkDryingTime)) ZELP_SetBandInkDryingTime(low8(p->bandInkDryingTime));
  if (isSet(p->rollMediaTopBlank)) ZELP_SetRollMediaTopBlank(low8(p->rollMediaTopBlank));
  if (isSet(p->rollMediaBottomBlank)) ZELP_SetRollMediaBottomBlank(low8(p->rollMediaBottomBlank));
  if (isSet(p->paperThickness)) ZELP_SetPaperThickness(low8(p->paperThickness));
  if (isSet(p->printingSuction)) ZELP_SetPrintingSuction(low8(p->printingSuction));
  if (isSet(p->cuttingSpeed)) ZELP_SetCuttingSpeed(low8(p->cuttingSpeed));
  if (isSet(p->jobCreatorID)) ZELP_SetJobCreatorID(static_cast<std::uint32_t>(p->jobCreatorID));
  if (isSet(p->jobStartExecutionMode)) {
    ZELP_SetJobStartExecutionMode(low8(p->jobStartExecutionMode));
  }
  if (isSet(p->colMode)) ZELP_SetCOLMode(low8(p->colMode));
  if (isSet(p->colCount)) ZELP_SetCOLCount(low16(p->colCount));
  if (isSet(p->colHandle)) ZELP_SetCOLHandle(static_cast<std::uint32_t>(p->colHandle));
  if (isSet(p->colNumber)) ZELP_SetCOLNumber(static_cast<std::uint32_t>(p->colNumber));
  if (isSet(p->colPassword)) ZELP_SetCOLPassword(static_cast<std::uint32_t>(p->colPassword));
  if (isSet(p->jobStartMode)) ZELP_SetJobStartMode(low8(p->jobStartMode));

  if (static_cast<std::int16_t>(p->clientJobIDSet) != -1) {
    ZELP_SetClientJobID_UUID(p->clientJobUUID);
    ZELP_SetClientJobID_JobInfo(
        std::string_view(p->clientJobInfo, strnlen(p->clientJobInfo, sizeof p->clientJobInfo)));
  }

  if (isSet(p->jobCopies)) ZELP_SetJobCopies(low8(p->jobCopies));
  if (isSet(p->qualityOptimizedLevel)) {
    ZELP_SetQualityOptimizedLevel(low8(p->qualityOptimizedLevel));
  }
  if (isSet(p->headOneWayPrint)) ZELP_SetHeadOneWayPrint(low8(p->headOneWayPrint));
  if (isSet(p->headHeight)) ZELP_SetHeadHeight(low8(p->headHeight));
  if (isSet(p->calibration)) ZELP_SetCalibration(low8(p->calibration));
  if (isSet(p->jobImpressions2)) {
    ZELP_SetJobImpressions2(static_cast<std::uint32_t>(p->jobImpressions2));
  }
  if (isSet(p->setJobOctets)) ZELP_SetJobOctets(low8(p->setJobOctets));
  if (isSet(p->setPathMode)) ZELP_SetPathMode(low8(p->setPathMode));
  if (isSet(p->plex)) ZELP_SetPlex(low8(p->plex));
  if (isSet(p->plexImagePositionAdjustment)) {
    ZELP_SetPlexImagePositionAdjustment(low8(p->plexImagePositionAdjustment));
  }

  switch (p->jobTime) {
    case 1:
    case -1:
      ZELP_SetTime();
      break;
    case 2:
      ZELP_SetAnyTime(static_cast<std::int16_t>(p->jobTimeField1),
                      static_cast<std::int16_t>(p->jobTimeField2),
                      static_cast<std::int16_t>(p->jobTimeYear), 0, p->jobTimeHour,
                      p->jobTimeMinute, p->jobTimeSecond, p->jobTimeIsGMT);
      break;
    default:
      break;  // no time
  }

  if (p->rawPacketList) ZELP_SetRawPacket(p->rawPacketList.get());
  ZELP_SetJobImpressions(low16(p->jobImpressions));

  const int result = ZELP_Open();
  if (result < 0)
    diag::failJob({{},
                   0,
                   {},
                   {},
                   fieldText(p->outFilePath),
                   "cannot write the print file " + fieldText(p->outFilePath)});
  return result;
}
