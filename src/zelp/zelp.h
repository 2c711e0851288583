// The job-control packet stream: output file, data packets and job attributes.
#pragma once

#include <cstdint>
#include <string_view>

struct rawPacket;

// Lifetime.
void ZELP_NewWithName(const char* path);
void ZELP_New();
void ZELP_Init();
[[nodiscard]] int ZELP_Open();
[[nodiscard]] int ZELP_Close();
void ZELP_Delete();

// Raster stream, cut into data packets.
void ZELP_SendData(const void* bytes, int n);
void ZELP_SendCString(const char* text);
void ZELP_Flush(int moreFollows);

// Attribute setters; values are narrowed as the parameter types say.
void ZELP_SetJobName(std::uint16_t charset, const char* text);
void ZELP_SetJobClientName(std::uint16_t charset, const char* text);
void ZELP_SetPanelMsg(std::uint16_t charset, const char* text);
void ZELP_SetJobClientID(const char* text);
void ZELP_SetTime();
void ZELP_SetAnyTime(int day, int month, int year, int weekday, int hour, int minute, int second,
                     int isGMT);
void ZELP_SetJobImpressions(std::uint16_t count);
void ZELP_SetTrayByAlias(std::uint8_t alias);
void ZELP_SetTrayAutoSelect();
void ZELP_SetTrayByUnitID(std::uint8_t unit);
void ZELP_SetMedium(std::uint8_t medium);
void ZELP_SetMediumWithStdSize(std::uint8_t medium, std::uint16_t size);
void ZELP_SetMediumWithCustumSize(std::uint8_t medium, std::uint32_t width, std::uint32_t height,
                                  int flag);
void ZELP_SetMediumSubType(std::uint16_t subType);
void ZELP_SetQuality(std::uint8_t value);
void ZELP_SetMediumCuttingType(std::uint8_t value);
void ZELP_SetInkDryMethod(std::uint8_t value);
void ZELP_SetInkDryTime(std::uint32_t value);
void ZELP_SetPageInkDryingTime(std::uint8_t value);
void ZELP_SetBandInkDryingTime(std::uint8_t value);
void ZELP_SetRollMediaTopBlank(std::uint8_t value);
void ZELP_SetRollMediaBottomBlank(std::uint8_t value);
void ZELP_SetPaperThickness(std::uint8_t value);
void ZELP_SetPrintingSuction(std::uint8_t value);
void ZELP_SetCuttingSpeed(std::uint8_t value);
void ZELP_SetZELPVersion(std::int32_t version);
void ZELP_SetJobCreatorID(std::uint32_t value);
void ZELP_SetJobStartExecutionMode(std::uint8_t value);
void ZELP_SetCOLMode(std::uint8_t value);
void ZELP_SetCOLCount(std::uint16_t value);
void ZELP_SetCOLHandle(std::uint32_t value);
void ZELP_SetCOLNumber(std::uint32_t value);
void ZELP_SetCOLPassword(std::uint32_t value);
void ZELP_SetJobStartMode(std::uint8_t value);
void ZELP_SetClientJobID_UUID(const unsigned char* uuid16);
void ZELP_SetClientJobID_JobInfo(std::string_view text);
void ZELP_SetJobCopies(std::uint16_t value);
void ZELP_SetQualityOptimizedLevel(std::uint8_t value);
void ZELP_SetHeadOneWayPrint(std::uint8_t value);
void ZELP_SetHeadHeight(std::uint8_t value);
void ZELP_SetOutwardSizeFirst(std::uint8_t value);
void ZELP_SetCalibration(std::uint8_t value);
void ZELP_SetPathMode(std::uint8_t value);
void ZELP_SetPlex(std::uint8_t value);
void ZELP_SetPlexImagePositionAdjustment(std::uint8_t value);
void ZELP_SetJobImpressions2(std::uint32_t value);
void ZELP_SetJobOctets(std::uint32_t value);
void ZELP_SetRawPacket(rawPacket* list);

// Job start and end packet sequences.
[[nodiscard]] int ZELP_SendJobStartWithJobAttributes();
[[nodiscard]] int ZELP_SendJobStart2WithJobAttributes();
[[nodiscard]] int ZELP_SendJobEnd(int flag);
