// The job attribute store and the job start and end packet sequences built from it. Values are
// kept exactly as they go on the wire (multi-byte numbers big-endian), each with a set flag.
#include <algorithm>
#include <array>
#include <cstring>
#include <ctime>
#include <span>
#include <vector>

#include "zelp/codes.h"
#include "zelp/framing.h"
#include "zelp/lxfile.h"
#include "zelp/raw_packet_record.h"
#include "zelp/store.h"
#include "zelp/zelp.h"

using namespace zelp;

namespace {

using Bytes = std::span<const std::uint8_t>;
using Text = std::array<std::uint8_t, 36>;  // charset (2), length, 32 characters, terminator

constexpr int kTextMax = 32;

// Set flags: -1 until a setter runs. ZELP_Init leaves them alone, so a second job in the same
// process still sends what an earlier one set (with the values Init cleared).
int sISJobNameSet = -1;
int sIsJobClientSet = -1;
int sIsJobClientIDSet = -1;
int sIsPanelMsgSet = -1;
int sIsTimePackSet = -1;
int sIsImpressionsSet = -1;
int sIsTrayAliasSet = -1;
int sIsMediaSet = -1;
int sIsMediaSubTypeSet = -1;
int sIsQualitySet = -1;
int sIsCuttingTypeSet = -1;
int sIsInkDryMethodSet = -1;
int sIsPageInkDryingTime = -1;
int sIsBandInkDryingTime = -1;
int sIsRollMediaTopBlank = -1;
int sIsRollMediaBottomBlank = -1;
int sIsPaperThickness = -1;
int sIsPrintingSuction = -1;
int sIsCuttingSpeed = -1;
int sIsJobCreatorID = -1;
int sIsJobStartExecutionMode = -1;
int sIsCOLMode = -1;
int sIsCOLCount = -1;
int sIsCOLHandle = -1;
int sIsCOLNumber = -1;
int sIsCOLPassword = -1;
int sIsJobStartMode = -1;
int sIsClientJobID_UUID = -1;
int sIsClientJobID_JobInfo = -1;
int sIsJobCopies = -1;
int sIsQualityOptimizedLevel = -1;
int sIsHeadOneWayPrint = -1;
int sIsHeadHeight = -1;
int sIsOutwardSizeFirst = -1;
int sIsCalibration = -1;
int sIsPathMode = -1;
int sIsPlex = -1;
int sIsPlexImagePositionAdjustment = -1;
int sIsJobImpressions2 = -1;
int sIsJobOctets = -1;
int sIsRawPacket = -1;

Text mJobName{};
Text mJobClient{};
Text mPanelMsg{};
Text mJobClientID{};  // length, 32 characters, terminator
std::array<std::uint8_t, 8> mTimePack{};
std::array<std::uint8_t, 2> mImpressions{};
std::array<std::uint8_t, 4> mTrayAlias{};
std::array<std::uint8_t, 13> mMedia{};
std::array<std::uint8_t, 3> mMediaSubType{};
std::uint8_t mQuality = 0;
std::uint8_t mCuttingType = 0;
std::uint8_t mInkDryMethod = 0;
std::array<std::uint8_t, 4> mInkDryTime{};
std::uint8_t mPageInkDryingTime = 0;
std::uint8_t mBandInkDryingTime = 0;
std::uint8_t mRollMediaTopBlank = 0;
std::uint8_t mRollMediaBottomBlank = 0;
std::uint8_t mPaperThickness = 0;
std::uint8_t mPrintingSuction = 0;
std::uint8_t mCuttingSpeed = 0;
std::int32_t mVersion = 1;
std::array<std::uint8_t, 4> mJobCreatorID{};
std::uint8_t mJobStartExecutionMode = 1;
std::uint8_t mCOLMode = 2;
std::array<std::uint8_t, 2> mCOLCount{0x00, 0x01};
std::array<std::uint8_t, 4> mCOLHandle{};
std::array<std::uint8_t, 2> mCOLNumber{};
std::array<std::uint8_t, 4> mCOLPassword{};
std::uint8_t mJobStartMode = 0;
std::array<std::uint8_t, 16> mClientJobID_UUID{};
std::array<std::uint8_t, 48> mClientJobID_JobInfo{};
std::array<std::uint8_t, 2> mJobCopies{0x00, 0x01};
std::uint8_t mQualityOptimizedLevel = 2;
std::uint8_t mHeadOneWayPrint = 1;
std::uint8_t mHeadHeight = 0;
std::uint8_t mOutwardSizeFirst = 0;
std::uint8_t mCalibration = 0;
std::array<std::uint8_t, 4> mJobImpressions2{0x00, 0x00, 0x00, 0x01};
std::array<std::uint8_t, 4> mJobOctets{};
std::uint8_t mPathMode = 0;
std::uint8_t mPlex = 0;
std::uint8_t mPlexImagePositionAdjustment = 0;
// Not owned: the list belongs to the parameter record that installed it.
const rawPacket* mRawPacket = nullptr;

bool isSet(int flag) {
  return flag == 1;
}

template <std::size_t N>
void storeBigEndian(std::array<std::uint8_t, N>& field, std::uint32_t value) {
  static_assert(N <= 4);
  for (std::size_t i = 0; i < N; ++i) {
    field[i] = static_cast<std::uint8_t>(value >> (8 * (N - 1 - i)));
  }
}

void storeText(Text& field, std::uint16_t charset, const char* text) {
  field.fill(0);
  const std::size_t n = text != nullptr ? strnlen(text, kTextMax) : 0;
  field[0] = static_cast<std::uint8_t>(charset >> 8);
  field[1] = static_cast<std::uint8_t>(charset);
  field[2] = static_cast<std::uint8_t>(n);
  if (n > 0) std::memcpy(&field[3], text, n);
}

Bytes textValue(const Text& field) {
  return Bytes(field.data(), std::size_t{field[2]} + 3);
}

Bytes clientIDValue() {
  return Bytes(mJobClientID.data(), std::size_t{mJobClientID[0]} + 1);
}

Bytes one(const std::uint8_t& value) {
  return Bytes(&value, 1);
}

void storeMedium(std::uint8_t medium, std::uint16_t size, std::uint8_t last) {
  mMedia.fill(0);
  mMedia[0] = medium;
  mMedia[1] = value::kMediumMark;
  mMedia[2] = static_cast<std::uint8_t>(size >> 8);
  mMedia[3] = static_cast<std::uint8_t>(size);
  mMedia[12] = last;
  sIsMediaSet = 1;
}

// The 8-byte time pack. `weekday` counts from Sunday (0) as in std::tm; the pack wants 1-6 for
// Monday-Saturday and 7 for Sunday.
std::array<std::uint8_t, 8> packTime(int year, int month, int day, int weekday, int hour,
                                     int minute, int second) {
  int packedWeekday = ((weekday % 7) + 7) % 7;
  if (packedWeekday == 0) packedWeekday = 7;  // Sunday
  const auto y = static_cast<std::uint32_t>(year);
  const auto ms = static_cast<std::uint32_t>(second) * 1000;
  return {static_cast<std::uint8_t>(y >> 4),
          static_cast<std::uint8_t>((y << 4) | (static_cast<std::uint32_t>(month) & 15)),
          static_cast<std::uint8_t>((static_cast<std::uint32_t>(day) << 3) |
                                    static_cast<std::uint32_t>(packedWeekday)),
          0x00,
          static_cast<std::uint8_t>(hour),
          static_cast<std::uint8_t>(minute),
          static_cast<std::uint8_t>(ms >> 8),
          static_cast<std::uint8_t>(ms)};
}

void storeTime(const std::tm& t) {
  mTimePack =
      packTime(t.tm_year + 1900, t.tm_mon + 1, t.tm_mday, t.tm_wday, t.tm_hour, t.tm_min, t.tm_sec);
  sIsTimePackSet = 1;
}

// --- packet senders: each counts its whole size toward the job octets ---

void sendControlPacket(std::uint16_t operation, Bytes parameters) {
  const auto n = static_cast<std::uint32_t>(parameters.size());
  sendPacketHeader(operation, n);
  sendPacketParameterBlock(parameters.data(), static_cast<int>(n));
  zelp_AddJobOctets(20 + n);
}

void sendAttribute(std::uint16_t operation, std::uint16_t attribute, Bytes value) {
  const auto n = static_cast<std::uint32_t>(value.size()) + 2;
  sendPacketHeader(operation, n);
  sendPacketParameterShort(attribute);
  sendPacketParameterBlock(value.data(), static_cast<int>(value.size()));
  zelp_AddJobOctets(20 + n);
}

void sendSetJob(std::uint16_t attribute, Bytes value) {
  sendAttribute(kSetJob, attribute, value);
}
void sendSetBinder(std::uint16_t attribute, Bytes value) {
  sendAttribute(kSetBinder, attribute, value);
}
void sendSetDocument(std::uint16_t attribute, Bytes value) {
  sendAttribute(kSetDocument, attribute, value);
}

// Execute method: object 00 00 00 00, the group, the method, its arguments.
void sendMethod(std::uint8_t code, Bytes arguments) {
  static constexpr std::uint8_t kObject[] = {0x00, 0x00, 0x00, 0x00, method::kGroup};
  const auto n = static_cast<std::uint32_t>(arguments.size()) + 6;
  sendPacketHeader(kExecuteMethod, n);
  sendPacketParameterBlock(kObject, sizeof kObject);
  sendPacketParameterChar(code);
  sendPacketParameterBlock(arguments.data(), static_cast<int>(arguments.size()));
  zelp_AddJobOctets(20 + n);
}

void sendExecuteMethod(std::uint8_t selector, std::uint8_t value) {
  const std::uint8_t arguments[] = {0x01, selector, value};
  sendMethod(method::kSetValue, arguments);
}

void sendRaw(raw::Position position) {
  if (isSet(sIsRawPacket)) sendRawPacketWithAttribute(mRawPacket, position);
}

int streamResult() {
  return LXFile_IsOpen() && !LXFile_HasError() ? 0 : -1;
}

constexpr std::uint8_t kStartBlockV1[] = {0x00, 0x01, 0x11, 0x71, 0x01, 0x00, 0x00,
                                          0x00, 0x00, 0x00, 0x00, 0x00, 0x00};
constexpr std::uint8_t kBinderBlockV1[] = {0x00, 0x01, 0x15, 0x59};
constexpr std::uint8_t kDocumentBlockV1[] = {0x00, 0x01, 0x19, 0x41};
constexpr std::uint8_t kZeroBlock[] = {0x00, 0x00, 0x00, 0x00};
constexpr std::uint8_t kDocument46[] = {0x7B, 0x00, 0x00};
constexpr std::uint8_t kOneValue[] = {0x00, 0x01};

// The open-job block: 00, the entry count, then id (16), length (16), value per entry. The
// length fields are 16 bits wide, so a huge COL count wraps them; the bytes are all written.
class OpenJobBlock {
 public:
  void add(std::uint16_t id, Bytes value) {
    const auto n = static_cast<std::uint16_t>(value.size());
    bytes_.insert(bytes_.end(), {static_cast<std::uint8_t>(id >> 8), static_cast<std::uint8_t>(id),
                                 static_cast<std::uint8_t>(n >> 8), static_cast<std::uint8_t>(n)});
    bytes_.insert(bytes_.end(), value.begin(), value.end());
    ++bytes_[1];
  }
  Bytes bytes() const { return bytes_; }

 private:
  std::vector<std::uint8_t> bytes_{0x00, 0x00};
};

std::vector<std::uint8_t> colData() {
  const unsigned count = (unsigned{mCOLCount[0]} << 8) | mCOLCount[1];
  std::vector<std::uint8_t> data{mCOLMode, mCOLCount[0], mCOLCount[1]};
  data.reserve(3 + 10 * std::size_t{count});
  for (unsigned i = 0; i < count; ++i) {
    data.insert(data.end(), mCOLHandle.begin(), mCOLHandle.end());
    data.insert(data.end(), mCOLNumber.begin(), mCOLNumber.end());
    data.insert(data.end(), mCOLPassword.begin(), mCOLPassword.end());
  }
  return data;
}

}  // namespace

void zelp_SetTimeAt(std::time_t when) {
  if (const std::tm* utc = std::gmtime(&when)) storeTime(*utc);
}

void zelp_ResetSetFlags() {
  for (int* flag : {&sISJobNameSet,
                    &sIsJobClientSet,
                    &sIsJobClientIDSet,
                    &sIsPanelMsgSet,
                    &sIsTimePackSet,
                    &sIsImpressionsSet,
                    &sIsTrayAliasSet,
                    &sIsMediaSet,
                    &sIsMediaSubTypeSet,
                    &sIsQualitySet,
                    &sIsCuttingTypeSet,
                    &sIsInkDryMethodSet,
                    &sIsPageInkDryingTime,
                    &sIsBandInkDryingTime,
                    &sIsRollMediaTopBlank,
                    &sIsRollMediaBottomBlank,
                    &sIsPaperThickness,
                    &sIsPrintingSuction,
                    &sIsCuttingSpeed,
                    &sIsJobCreatorID,
                    &sIsJobStartExecutionMode,
                    &sIsCOLMode,
                    &sIsCOLCount,
                    &sIsCOLHandle,
                    &sIsCOLNumber,
                    &sIsCOLPassword,
                    &sIsJobStartMode,
                    &sIsClientJobID_UUID,
                    &sIsClientJobID_JobInfo,
                    &sIsJobCopies,
                    &sIsQualityOptimizedLevel,
                    &sIsHeadOneWayPrint,
                    &sIsHeadHeight,
                    &sIsOutwardSizeFirst,
                    &sIsCalibration,
                    &sIsPathMode,
                    &sIsPlex,
                    &sIsPlexImagePositionAdjustment,
                    &sIsJobImpressions2,
                    &sIsJobOctets,
                    &sIsRawPacket}) {
    *flag = -1;
  }
}

// --- lifetime ---

void ZELP_NewWithName(const char* path) {
  zelp_AllocateWriteBuffer();
  LXFile_NewWithName(path);
  mRawPacket = nullptr;  // never the packets of an earlier job
  ZELP_Init();
}

void ZELP_New() {
  ZELP_NewWithName(nullptr);
}

void ZELP_Init() {
  mJobName.fill(0);
  mJobClient.fill(0);
  mPanelMsg.fill(0);
  mJobClientID.fill(0);
  mTimePack.fill(0);
  mImpressions.fill(0);
  mTrayAlias.fill(0);
  mMedia.fill(0);
  mMediaSubType.fill(0);
  mQuality = 0;
  mCuttingType = 0;
  mInkDryMethod = 0;
  mInkDryTime.fill(0);
  mPageInkDryingTime = 0;
  mBandInkDryingTime = 0;
  mRollMediaTopBlank = 0;
  mRollMediaBottomBlank = 0;
  mPaperThickness = 0;
  mPrintingSuction = 0;
  mCuttingSpeed = 0;
  mVersion = 1;
  mJobCreatorID.fill(0);
  mJobStartExecutionMode = 1;
  mCOLMode = 2;
  storeBigEndian(mCOLCount, 1);
  mCOLHandle.fill(0);
  mCOLNumber.fill(0);
  mCOLPassword.fill(0);
  mJobStartMode = 0;
  mClientJobID_UUID.fill(0);
  mClientJobID_JobInfo.fill(0);
  storeBigEndian(mJobCopies, 1);
  mQualityOptimizedLevel = 2;
  mHeadOneWayPrint = 1;
  mHeadHeight = 0;
  mOutwardSizeFirst = 0;
  mCalibration = 0;
  storeBigEndian(mJobImpressions2, 1);
  mJobOctets.fill(0);
  mPathMode = 0;
  mPlex = 0;
  mPlexImagePositionAdjustment = 0;
  zelp_ResetJobOctetsLength();
}

void ZELP_Delete() {
  LXFile_Delete();
  zelp_FreeWriteBuffer();
  mRawPacket = nullptr;
}

// --- setters ---

void ZELP_SetJobName(std::uint16_t charset, const char* text) {
  storeText(mJobName, charset, text);
  sISJobNameSet = 1;
}

void ZELP_SetJobClientName(std::uint16_t charset, const char* text) {
  storeText(mJobClient, charset, text);
  sIsJobClientSet = 1;
}

void ZELP_SetPanelMsg(std::uint16_t charset, const char* text) {
  storeText(mPanelMsg, charset, text);
  sIsPanelMsgSet = 1;
}

void ZELP_SetJobClientID(const char* text) {
  mJobClientID.fill(0);
  const std::size_t n = text != nullptr ? strnlen(text, kTextMax) : 0;
  mJobClientID[0] = static_cast<std::uint8_t>(n);
  if (n > 0) std::memcpy(&mJobClientID[1], text, n);
  sIsJobClientIDSet = 1;
}

void ZELP_SetTime() {
  zelp_SetTimeAt(std::time(nullptr));
}

void ZELP_SetAnyTime(int day, int month, int year, int /*weekday: taken from the calendar*/,
                     int hour, int minute, int second, int isGMT) {
  std::tm t{};
  t.tm_year = year - 1900;
  t.tm_mon = month - 1;
  t.tm_mday = day;
  t.tm_hour = hour;
  t.tm_min = minute;
  t.tm_sec = second;
  t.tm_isdst = -1;
  const std::time_t when = std::mktime(&t);
  if (isGMT == 1) {
    storeTime(t);  // normalised, weekday filled in
  } else if (const std::tm* utc = std::gmtime(&when)) {
    storeTime(*utc);
  }
}

void ZELP_SetJobImpressions(std::uint16_t count) {
  storeBigEndian(mImpressions, count);
  sIsImpressionsSet = 1;
}

void ZELP_SetTrayByAlias(std::uint8_t alias) {
  mTrayAlias = {value::kTrayLead, alias, 0x00, 0x00};
  sIsTrayAliasSet = 1;
}

void ZELP_SetTrayAutoSelect() {
  mTrayAlias = {value::kTrayLead, value::kAutoTray, 0x00, 0x00};
  sIsTrayAliasSet = 1;
}

void ZELP_SetTrayByUnitID(std::uint8_t unit) {
  mTrayAlias = {value::kTrayLead, value::kNumberedTray, unit, 0x00};
  sIsTrayAliasSet = 1;
}

void ZELP_SetMedium(std::uint8_t medium) {
  storeMedium(medium, value::kNoMediumSize, mVersion == 2 ? 0x01 : 0x03);
}

void ZELP_SetMediumWithStdSize(std::uint8_t medium, std::uint16_t size) {
  storeMedium(medium, size, mVersion == 2 ? 0x01 : 0x03);
}

void ZELP_SetMediumWithCustumSize(std::uint8_t medium, std::uint32_t width, std::uint32_t height,
                                  int flag) {
  storeMedium(medium, value::kCustomMediumSize, flag != 0 ? 0x01 : 0x02);
  for (int i = 0; i < 4; ++i) {
    mMedia[4 + i] = static_cast<std::uint8_t>(width >> (24 - 8 * i));
    mMedia[8 + i] = static_cast<std::uint8_t>(height >> (24 - 8 * i));
  }
}

void ZELP_SetMediumSubType(std::uint16_t subType) {
  mMediaSubType = {value::kMediumTypeExLead, static_cast<std::uint8_t>(subType >> 8),
                   static_cast<std::uint8_t>(subType)};
  sIsMediaSubTypeSet = 1;
}

void ZELP_SetQuality(std::uint8_t value) {
  mQuality = value;
  sIsQualitySet = 1;
}

void ZELP_SetMediumCuttingType(std::uint8_t value) {
  mCuttingType = value;
  sIsCuttingTypeSet = 1;
}

void ZELP_SetInkDryMethod(std::uint8_t value) {
  mInkDryMethod = value;
  sIsInkDryMethodSet = 1;
}

void ZELP_SetInkDryTime(std::uint32_t value) {
  storeBigEndian(mInkDryTime, value);
  mInkDryMethod = kTimedInkDrying;  // a drying time only means something with the timed method
  sIsInkDryMethodSet = 1;
}

void ZELP_SetPageInkDryingTime(std::uint8_t value) {
  mPageInkDryingTime = value;
  sIsPageInkDryingTime = 1;
}

void ZELP_SetBandInkDryingTime(std::uint8_t value) {
  mBandInkDryingTime = value;
  sIsBandInkDryingTime = 1;
}

void ZELP_SetRollMediaTopBlank(std::uint8_t value) {
  mRollMediaTopBlank = value;
  sIsRollMediaTopBlank = 1;
}

void ZELP_SetRollMediaBottomBlank(std::uint8_t value) {
  mRollMediaBottomBlank = value;
  sIsRollMediaBottomBlank = 1;
}

void ZELP_SetPaperThickness(std::uint8_t value) {
  mPaperThickness = value;
  sIsPaperThickness = 1;
}

void ZELP_SetPrintingSuction(std::uint8_t value) {
  mPrintingSuction = value;
  sIsPrintingSuction = 1;
}

void ZELP_SetCuttingSpeed(std::uint8_t value) {
  mCuttingSpeed = value;
  sIsCuttingSpeed = 1;
}

void ZELP_SetZELPVersion(std::int32_t version) {
  mVersion = version;
}

void ZELP_SetJobCreatorID(std::uint32_t value) {
  storeBigEndian(mJobCreatorID, value);
  sIsJobCreatorID = 1;
}

void ZELP_SetJobStartExecutionMode(std::uint8_t value) {
  mJobStartExecutionMode = value;
  sIsJobStartExecutionMode = 1;
}

void ZELP_SetCOLMode(std::uint8_t value) {
  mCOLMode = value;
  sIsCOLMode = 1;
}

void ZELP_SetCOLCount(std::uint16_t value) {
  storeBigEndian(mCOLCount, value);
  sIsCOLCount = 1;
}

void ZELP_SetCOLHandle(std::uint32_t value) {
  storeBigEndian(mCOLHandle, value);
  sIsCOLHandle = 1;
}

void ZELP_SetCOLNumber(std::uint32_t value) {
  storeBigEndian(mCOLNumber, value);  // the field is 16 bits wide
  sIsCOLNumber = 1;
}

void ZELP_SetCOLPassword(std::uint32_t value) {
  storeBigEndian(mCOLPassword, value);
  sIsCOLPassword = 1;
}

void ZELP_SetJobStartMode(std::uint8_t value) {
  mJobStartMode = value;
  sIsJobStartMode = 1;
}

void ZELP_SetClientJobID_UUID(const unsigned char* uuid16) {
  if (uuid16 != nullptr) {
    std::copy_n(uuid16, mClientJobID_UUID.size(), mClientJobID_UUID.begin());
  } else {
    mClientJobID_UUID.fill(0);
  }
  sIsClientJobID_UUID = 1;
}

void ZELP_SetClientJobID_JobInfo(std::string_view text) {
  mClientJobID_JobInfo.fill(0);
  const std::size_t n = std::min(text.size(), mClientJobID_JobInfo.size());
  std::copy_n(text.begin(), n, mClientJobID_JobInfo.begin());
  sIsClientJobID_JobInfo = 1;
}

void ZELP_SetJobCopies(std::uint16_t value) {
  storeBigEndian(mJobCopies, value);
  sIsJobCopies = 1;
}

void ZELP_SetQualityOptimizedLevel(std::uint8_t value) {
  mQualityOptimizedLevel = value;
  sIsQualityOptimizedLevel = 1;
}

void ZELP_SetHeadOneWayPrint(std::uint8_t value) {
  mHeadOneWayPrint = value;
  sIsHeadOneWayPrint = 1;
}

void ZELP_SetHeadHeight(std::uint8_t value) {
  mHeadHeight = value;
  sIsHeadHeight = 1;
}

void ZELP_SetOutwardSizeFirst(std::uint8_t value) {
  mOutwardSizeFirst = value;
  sIsOutwardSizeFirst = 1;
}

void ZELP_SetCalibration(std::uint8_t value) {
  mCalibration = value;
  sIsCalibration = 1;
}

void ZELP_SetPathMode(std::uint8_t value) {
  mPathMode = value;
  sIsPathMode = 1;
}

void ZELP_SetPlex(std::uint8_t value) {
  mPlex = value;
  sIsPlex = 1;
}

void ZELP_SetPlexImagePositionAdjustment(std::uint8_t value) {
  mPlexImagePositionAdjustment = value;
  sIsPlexImagePositionAdjustment = 1;
}

void ZELP_SetJobImpressions2(std::uint32_t value) {
  storeBigEndian(mJobImpressions2, value);
  sIsJobImpressions2 = 1;
}

void ZELP_SetJobOctets(std::uint32_t value) {
  // The value itself is only known at the job end.
  sIsJobOctets = value == 1 ? 1 : -1;
}

void ZELP_SetRawPacket(rawPacket* list) {
  mRawPacket = list;
  // The header is made to agree with the packet's position and size; a packet too short for
  // a field keeps its length.
  for (rawPacket* p = list; p != nullptr; p = p->next.get()) {
    const int position = static_cast<std::int16_t>(p->operation);
    const int operation = (position == raw::kJobMethods || position == raw::kBinderMethods ||
                           position == raw::kDocumentMethods)
                              ? kExecuteMethod
                              : position;
    std::vector<unsigned char>& d = p->data;
    const std::size_t n = d.size();
    if (n > 4) d[4] = 0;
    if (n > 5) d[5] = static_cast<unsigned char>(operation);
    if (n > 8) d[8] = 0;
    if (n > 9) d[9] = static_cast<unsigned char>(n - 20);
  }
  sIsRawPacket = 1;
}

// --- sequences ---

int ZELP_SendJobStartWithJobAttributes() {
  if (mVersion == 2) return ZELP_SendJobStart2WithJobAttributes();

  sendControlPacket(kStartJob, kStartBlockV1);
  if (isSet(sISJobNameSet)) sendSetJob(attribute::kJobName, textValue(mJobName));
  if (isSet(sIsJobClientSet)) sendSetJob(attribute::kJobOwner, textValue(mJobClient));
  if (isSet(sIsJobClientIDSet)) sendSetJob(attribute::kJobClientID, clientIDValue());
  if (isSet(sIsTimePackSet)) sendSetJob(attribute::kJobTime, mTimePack);
  if (isSet(sIsImpressionsSet)) sendSetJob(attribute::kJobImpressions, mImpressions);
  sendRaw(raw::kJobAttributes);

  sendControlPacket(kStartBinder, kBinderBlockV1);
  sendRaw(raw::kBinderAttributes);
  sendRaw(raw::kBinderMethods);

  sendControlPacket(kStartDocument, kDocumentBlockV1);
  if (isSet(sIsPanelMsgSet)) sendSetDocument(attribute::kPanelMessage, textValue(mPanelMsg));
  sendSetDocument(attribute::kDocument46, kDocument46);
  if (isSet(sIsTrayAliasSet)) sendSetDocument(attribute::kTray, mTrayAlias);
  if (isSet(sIsMediaSet)) sendSetDocument(attribute::kMedium, mMedia);
  if (isSet(sIsMediaSubTypeSet)) sendSetDocument(attribute::kMediumTypeEx, mMediaSubType);
  if (isSet(sIsQualitySet)) sendSetDocument(attribute::kQuality, one(mQuality));
  if (isSet(sIsCuttingTypeSet)) sendSetDocument(attribute::kMediumCuttingType, one(mCuttingType));
  if (isSet(sIsInkDryMethodSet)) {
    sendSetDocument(attribute::kInkDryingType, one(mInkDryMethod));
    if (mInkDryMethod == kTimedInkDrying) sendSetDocument(attribute::kInkDryingTime, mInkDryTime);
  }
  sendRaw(raw::kDocumentAttributes);

  if (isSet(sIsPageInkDryingTime))
    sendExecuteMethod(selector::kPageInkDryingTime, mPageInkDryingTime);
  if (isSet(sIsBandInkDryingTime))
    sendExecuteMethod(selector::kBandInkDryingTime, mBandInkDryingTime);
  if (isSet(sIsRollMediaTopBlank))
    sendExecuteMethod(selector::kRollMediaTopBlank, mRollMediaTopBlank);
  if (isSet(sIsRollMediaBottomBlank))
    sendExecuteMethod(selector::kRollMediaBottomBlank, mRollMediaBottomBlank);
  if (isSet(sIsPaperThickness)) sendExecuteMethod(selector::kPaperThickness, mPaperThickness);
  if (isSet(sIsPrintingSuction)) sendExecuteMethod(selector::kPrintingSuction, mPrintingSuction);
  if (isSet(sIsCuttingSpeed)) sendExecuteMethod(selector::kCuttingSpeed, mCuttingSpeed);
  sendRaw(raw::kDocumentMethods);
  return streamResult();
}

int ZELP_SendJobStart2WithJobAttributes() {
  OpenJobBlock open;
  if (isSet(sIsJobStartExecutionMode))
    open.add(attribute::kJobStartExecutionMode, one(mJobStartExecutionMode));
  if (isSet(sIsCOLMode)) open.add(attribute::kCOL, colData());
  if (isSet(sISJobNameSet)) open.add(attribute::kJobName, textValue(mJobName));
  if (isSet(sIsJobClientSet)) open.add(attribute::kJobOwner, textValue(mJobClient));
  if (isSet(sIsJobStartMode)) open.add(attribute::kJobStartMode, one(mJobStartMode));
  if (isSet(sIsClientJobID_UUID)) {
    std::array<std::uint8_t, 64> id{};
    std::copy(mClientJobID_UUID.begin(), mClientJobID_UUID.end(), id.begin());
    std::copy(mClientJobID_JobInfo.begin(), mClientJobID_JobInfo.end(), id.begin() + 16);
    open.add(attribute::kClientJobID, id);
  }
  if (isSet(sIsTimePackSet)) open.add(attribute::kJobTime, mTimePack);
  sendControlPacket(kOpenJob, open.bytes());

  if (isSet(sIsJobCopies)) sendSetJob(attribute::kCopies, mJobCopies);
  sendRaw(raw::kJobAttributes);
  if (isSet(sIsJobCreatorID)) sendMethod(method::kJobCreatorID, mJobCreatorID);
  sendRaw(raw::kJobMethods);

  sendControlPacket(kStartBinder, kZeroBlock);
  sendSetBinder(attribute::kCopies, kOneValue);
  sendRaw(raw::kBinderAttributes);
  sendRaw(raw::kBinderMethods);

  sendControlPacket(kStartDocument, kZeroBlock);
  if (isSet(sIsPanelMsgSet)) sendSetDocument(attribute::kPanelMessage, textValue(mPanelMsg));
  sendSetDocument(attribute::kDocument46, kDocument46);
  sendSetDocument(attribute::kCopies, kOneValue);
  if (isSet(sIsQualitySet)) sendSetDocument(attribute::kQuality, one(mQuality));
  if (isSet(sIsCuttingTypeSet)) sendSetDocument(attribute::kMediumCuttingType, one(mCuttingType));
  if (isSet(sIsTrayAliasSet)) sendSetDocument(attribute::kTray, mTrayAlias);
  if (isSet(sIsMediaSet)) sendSetDocument(attribute::kMedium, mMedia);
  if (isSet(sIsMediaSubTypeSet)) sendSetDocument(attribute::kMediumTypeEx, mMediaSubType);
  if (isSet(sIsQualityOptimizedLevel))
    sendSetDocument(attribute::kQualityOptimizedLevel, one(mQualityOptimizedLevel));
  if (isSet(sIsHeadOneWayPrint))
    sendSetDocument(attribute::kHeadOneWayPrint, one(mHeadOneWayPrint));
  sendRaw(raw::kDocumentAttributes);

  if (isSet(sIsPageInkDryingTime))
    sendExecuteMethod(selector::kPageInkDryingTime, mPageInkDryingTime);
  if (isSet(sIsBandInkDryingTime))
    sendExecuteMethod(selector::kBandInkDryingTime, mBandInkDryingTime);
  if (isSet(sIsRollMediaTopBlank))
    sendExecuteMethod(selector::kRollMediaTopBlank, mRollMediaTopBlank);
  if (isSet(sIsPrintingSuction)) sendExecuteMethod(selector::kPrintingSuction, mPrintingSuction);
  if (isSet(sIsCuttingSpeed)) sendExecuteMethod(selector::kCuttingSpeed, mCuttingSpeed);
  if (isSet(sIsHeadHeight)) sendExecuteMethod(selector::kHeadHeight, mHeadHeight);
  if (isSet(sIsOutwardSizeFirst)) sendExecuteMethod(selector::kOutwardSizeFirst, mOutwardSizeFirst);
  if (isSet(sIsCalibration)) sendMethod(method::kCalibration, one(mCalibration));
  if (isSet(sIsPathMode)) sendMethod(method::kSetPathMode, one(mPathMode));
  if (isSet(sIsPlex)) sendSetDocument(attribute::kPlex, one(mPlex));
  if (isSet(sIsPlexImagePositionAdjustment)) {
    sendSetDocument(attribute::kPlexImagePositionAdjustment, one(mPlexImagePositionAdjustment));
  }
  sendRaw(raw::kDocumentMethods);
  return streamResult();
}

int ZELP_SendJobEnd(int flag) {
  sendControlPacket(kEndDocument, {});
  sendControlPacket(kEndBinder, {});
  if (mVersion == 2) {
    if (isSet(sIsJobImpressions2)) sendSetJob(attribute::kJobImpressions2, mJobImpressions2);
    if (isSet(sIsJobOctets)) {
      // What is still to come: this SetJob (26 bytes) and the end-job packet (21).
      storeBigEndian(mJobOctets, zelp_GetJobOctetsLength() + 47);
      sendSetJob(attribute::kJobOctets, mJobOctets);
    }
  }
  const std::uint8_t last = flag != 0 ? 0x01 : 0x00;
  sendControlPacket(kEndJob, one(last));
  return streamResult();
}
