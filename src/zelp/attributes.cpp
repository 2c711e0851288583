// The job attribute store and the job start and end packet sequences built from it. Values are
// kept exactly as they go on the wire (multi-byte numbers big-endian), one per row of
// attr::kTable; the sequences are lists of rows and fixed packets.
#include <algorithm>
#include <array>
#include <bitset>
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
using namespace zelp::attr;

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr int kTextMax = 32;
constexpr std::size_t kRawPacketFlag = attr::kCount;

// Set flags outlive the job on purpose: ZELP_Init leaves them alone, so a later job in the same
// process still sends every attribute an earlier one set, with the value Init gave it.
std::bitset<attr::kCount + 1> gSetFlags;

// One job's values, reset by ZELP_Init.
struct ZelpState {
  std::array<std::array<std::uint8_t, attr::kMaxSize>, attr::kCount> values{};
  std::int32_t mVersion = 1;              // the key set: 2 selects the open-job start
  const rawPacket* rawPackets = nullptr;  // not owned: the parameter record's list
};
ZelpState gState;

std::uint8_t* field(Field f) {
  return gState.values[f].data();
}

bool isSet(Field f) {
  return gSetFlags[f];
}

// The bytes a row sends: text only as far as it holds characters.
Bytes wire(Field f) {
  const std::uint8_t* v = field(f);
  switch (attr::kTable[f].kind) {
    case value::Kind::kText:
      return Bytes(v, std::size_t{v[2]} + 3);
    case value::Kind::kCountedText:
      return Bytes(v, std::size_t{v[0]} + 1);
    default:
      return Bytes(v, attr::kTable[f].size);
  }
}

void storeNumber(Field f, std::uint32_t value) {
  const std::size_t n = attr::kTable[f].size;
  for (std::size_t i = 0; i < n; ++i)
    field(f)[i] = static_cast<std::uint8_t>(value >> (8 * (n - 1 - i)));
}

void setNumber(Field f, std::uint32_t value) {
  storeNumber(f, value);
  gSetFlags[f] = true;
}

void setBytes(Field f, std::initializer_list<std::uint8_t> bytes) {
  std::copy(bytes.begin(), bytes.end(), field(f));
  gSetFlags[f] = true;
}

void setText(Field f, std::uint16_t charset, const char* text) {
  std::uint8_t* v = field(f);
  std::fill_n(v, attr::kMaxSize, 0);
  const std::size_t n = text != nullptr ? strnlen(text, kTextMax) : 0;
  v[0] = static_cast<std::uint8_t>(charset >> 8);
  v[1] = static_cast<std::uint8_t>(charset);
  v[2] = static_cast<std::uint8_t>(n);
  if (n > 0) std::memcpy(&v[3], text, n);
  gSetFlags[f] = true;
}

void setMedium(std::uint8_t medium, std::uint16_t size, std::uint8_t last) {
  std::uint8_t* v = field(attr::kMedium);
  std::fill_n(v, attr::kMaxSize, 0);
  v[0] = medium;
  v[1] = value::kMediumMark;
  v[2] = static_cast<std::uint8_t>(size >> 8);
  v[3] = static_cast<std::uint8_t>(size);
  v[12] = last;
  gSetFlags[attr::kMedium] = true;
}

std::uint8_t mediumEnd() {
  return gState.mVersion == 2 ? 0x01 : 0x03;
}

Bytes one(const std::uint8_t& value) {
  return Bytes(&value, 1);
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
  const auto pack =
      packTime(t.tm_year + 1900, t.tm_mon + 1, t.tm_mday, t.tm_wday, t.tm_hour, t.tm_min, t.tm_sec);
  std::copy(pack.begin(), pack.end(), field(attr::kJobTime));
  gSetFlags[attr::kJobTime] = true;
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
  if (gSetFlags[kRawPacketFlag]) sendRawPacketWithAttribute(gState.rawPackets, position);
}

int streamResult() {
  return LXFile_IsOpen() && !LXFile_HasError() ? 0 : -1;
}

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

// The value of a row, with the COL and client job id rows gathering their parts.
std::vector<std::uint8_t> valueOf(Field f) {
  const Bytes own = wire(f);
  std::vector<std::uint8_t> out(own.begin(), own.end());
  if (f == attr::kCOLMode) {
    const Bytes count = wire(attr::kCOLCount);
    out.insert(out.end(), count.begin(), count.end());
    for (unsigned i = (unsigned{count[0]} << 8) | count[1]; i > 0; --i) {
      for (Field part : {attr::kCOLHandle, attr::kCOLNumber, attr::kCOLPassword}) {
        out.insert(out.end(), wire(part).begin(), wire(part).end());
      }
    }
  } else if (f == attr::kClientJobUUID) {
    const Bytes info = wire(attr::kClientJobInfo);
    out.insert(out.end(), info.begin(), info.end());
  }
  return out;
}

// A drying time goes out with the timed drying method only, under the method's flag.
bool due(Field f) {
  if (f == attr::kInkDryingTime) {
    return isSet(attr::kInkDryingType) && field(attr::kInkDryingType)[0] == kTimedInkDrying;
  }
  return isSet(f);
}

// A set row goes out as its level says.
void sendRow(Field f) {
  if (!due(f)) return;
  const attr::Row& row = attr::kTable[f];
  switch (row.level) {
    case attr::Level::kJob:
      return sendSetJob(row.id, valueOf(f));
    case attr::Level::kDocument:
      return sendSetDocument(row.id, valueOf(f));
    case attr::Level::kValueMethod:
      return sendExecuteMethod(static_cast<std::uint8_t>(row.id), field(f)[0]);
    case attr::Level::kMethod:
      return sendMethod(static_cast<std::uint8_t>(row.id), valueOf(f));
    case attr::Level::kOpenJob:
    case attr::Level::kPart:
      return;
  }
}

constexpr std::uint8_t kStartBlockV1[] = {0x00, 0x01, 0x11, 0x71, 0x01, 0x00, 0x00,
                                          0x00, 0x00, 0x00, 0x00, 0x00, 0x00};
constexpr std::uint8_t kBinderBlockV1[] = {0x00, 0x01, 0x15, 0x59};
constexpr std::uint8_t kDocumentBlockV1[] = {0x00, 0x01, 0x19, 0x41};
constexpr std::uint8_t kZeroBlock[] = {0x00, 0x00, 0x00, 0x00};
constexpr std::uint8_t kDocument46[] = {0x7B, 0x00, 0x00};
constexpr std::uint8_t kOneValue[] = {0x00, 0x01};

// One step of a start sequence.
struct Step {
  enum Kind : std::uint8_t { kControl, kRow, kOpenEntry, kFixed, kRaw } kind;
  std::uint16_t code;  // the operation (kControl, kFixed) or raw position (kRaw)
  std::uint16_t id;    // the row (kRow, kOpenEntry) or attribute id (kFixed)
  Bytes bytes{};       // the control block or fixed value
};
constexpr Step control(Operation op, Bytes block) {
  return {Step::kControl, op, 0, block};
}
constexpr Step row(Field f) {
  return {Step::kRow, 0, f};
}
constexpr Step entry(Field f) {
  return {Step::kOpenEntry, 0, f};
}
constexpr Step fixed(Operation op, attribute::Id id, Bytes value) {
  return {Step::kFixed, op, id, value};
}
constexpr Step rawAt(raw::Position p) {
  return {Step::kRaw, static_cast<std::uint16_t>(p), 0};
}

constexpr Step kStartV1[] = {control(zelp::kStartJob, kStartBlockV1),
                             row(kJobName),
                             row(kJobOwner),
                             row(kJobClientID),
                             row(kJobTime),
                             row(kJobImpressions),
                             rawAt(raw::kJobAttributes),
                             control(kStartBinder, kBinderBlockV1),
                             rawAt(raw::kBinderAttributes),
                             rawAt(raw::kBinderMethods),
                             control(kStartDocument, kDocumentBlockV1),
                             row(kPanelMessage),
                             fixed(kSetDocument, attribute::kDocument46, kDocument46),
                             row(kTray),
                             row(kMedium),
                             row(kMediumTypeEx),
                             row(kQuality),
                             row(kMediumCuttingType),
                             row(kInkDryingType),
                             row(kInkDryingTime),
                             rawAt(raw::kDocumentAttributes),
                             row(kPageInkDryingTime),
                             row(kBandInkDryingTime),
                             row(kRollMediaTopBlank),
                             row(kRollMediaBottomBlank),
                             row(kPaperThickness),
                             row(kPrintingSuction),
                             row(kCuttingSpeed),
                             rawAt(raw::kDocumentMethods)};

constexpr Step kStartV2[] = {entry(kJobStartExecutionMode),
                             entry(kCOLMode),
                             entry(kJobName),
                             entry(kJobOwner),
                             entry(kJobStartMode),
                             entry(kClientJobUUID),
                             entry(kJobTime),
                             control(zelp::kOpenJob, {}),
                             row(kJobCopies),
                             rawAt(raw::kJobAttributes),
                             row(kJobCreatorID),
                             rawAt(raw::kJobMethods),
                             control(kStartBinder, kZeroBlock),
                             fixed(kSetBinder, attribute::kCopies, kOneValue),
                             rawAt(raw::kBinderAttributes),
                             rawAt(raw::kBinderMethods),
                             control(kStartDocument, kZeroBlock),
                             row(kPanelMessage),
                             fixed(kSetDocument, attribute::kDocument46, kDocument46),
                             fixed(kSetDocument, attribute::kCopies, kOneValue),
                             row(kQuality),
                             row(kMediumCuttingType),
                             row(kTray),
                             row(kMedium),
                             row(kMediumTypeEx),
                             row(kQualityOptimizedLevel),
                             row(kHeadOneWayPrint),
                             rawAt(raw::kDocumentAttributes),
                             row(kPageInkDryingTime),
                             row(kBandInkDryingTime),
                             row(kRollMediaTopBlank),
                             row(kPrintingSuction),
                             row(kCuttingSpeed),
                             row(kHeadHeight),
                             row(kOutwardSizeFirst),
                             row(kCalibration),
                             row(kPathMode),
                             row(kPlex),
                             row(kPlexImagePositionAdjustment),
                             rawAt(raw::kDocumentMethods)};

int sendSequence(std::span<const Step> steps) {
  OpenJobBlock open;
  for (const Step& s : steps) {
    switch (s.kind) {
      case Step::kControl:
        sendControlPacket(s.code, s.code == zelp::kOpenJob ? open.bytes() : s.bytes);
        break;
      case Step::kRow:
        sendRow(static_cast<Field>(s.id));
        break;
      case Step::kOpenEntry:
        if (isSet(static_cast<Field>(s.id))) {
          open.add(kTable[s.id].id, valueOf(static_cast<Field>(s.id)));
        }
        break;
      case Step::kFixed:
        sendAttribute(s.code, s.id, s.bytes);
        break;
      case Step::kRaw:
        sendRaw(static_cast<raw::Position>(s.code));
        break;
    }
  }
  return streamResult();
}

}  // namespace

void zelp_SetTimeAt(std::time_t when) {
  if (const std::tm* utc = std::gmtime(&when)) storeTime(*utc);
}

void zelp_ResetSetFlags() {
  gSetFlags.reset();
}

// --- lifetime ---

void ZELP_NewWithName(const char* path) {
  zelp_AllocateWriteBuffer();
  LXFile_NewWithName(path);
  gState.rawPackets = nullptr;  // never the packets of an earlier job
  ZELP_Init();
}

void ZELP_New() {
  ZELP_NewWithName(nullptr);
}

void ZELP_Init() {
  const rawPacket* packets = gState.rawPackets;
  gState = ZelpState{};
  gState.rawPackets = packets;
  for (const attr::Row& r : kTable) {
    if (r.kind == value::Kind::kNumber || r.kind == value::Kind::kCOL) {
      storeNumber(r.field, r.initial);
    }
  }
  zelp_ResetJobOctetsLength();
}

void ZELP_Delete() {
  LXFile_Delete();
  zelp_FreeWriteBuffer();
  gState.rawPackets = nullptr;
}

// --- setters ---

void ZELP_SetJobName(std::uint16_t charset, const char* text) {
  setText(kJobName, charset, text);
}
void ZELP_SetJobClientName(std::uint16_t charset, const char* text) {
  setText(kJobOwner, charset, text);
}
void ZELP_SetPanelMsg(std::uint16_t charset, const char* text) {
  setText(kPanelMessage, charset, text);
}

void ZELP_SetJobClientID(const char* text) {
  std::uint8_t* v = field(kJobClientID);
  std::fill_n(v, attr::kMaxSize, 0);
  const std::size_t n = text != nullptr ? strnlen(text, kTextMax) : 0;
  v[0] = static_cast<std::uint8_t>(n);
  if (n > 0) std::memcpy(&v[1], text, n);
  gSetFlags[kJobClientID] = true;
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
  setNumber(kJobImpressions, count);
}
void ZELP_SetTrayByAlias(std::uint8_t alias) {
  setBytes(kTray, {value::kTrayLead, alias, 0, 0});
}
void ZELP_SetTrayAutoSelect() {
  setBytes(kTray, {value::kTrayLead, value::kAutoTray, 0, 0});
}
void ZELP_SetTrayByUnitID(std::uint8_t unit) {
  setBytes(kTray, {value::kTrayLead, value::kNumberedTray, unit, 0});
}
void ZELP_SetMedium(std::uint8_t medium) {
  setMedium(medium, value::kNoMediumSize, mediumEnd());
}
void ZELP_SetMediumWithStdSize(std::uint8_t medium, std::uint16_t size) {
  setMedium(medium, size, mediumEnd());
}

void ZELP_SetMediumWithCustumSize(std::uint8_t medium, std::uint32_t width, std::uint32_t height,
                                  int flag) {
  setMedium(medium, value::kCustomMediumSize, flag != 0 ? 0x01 : 0x02);
  std::uint8_t* v = field(kMedium);
  for (int i = 0; i < 4; ++i) {
    v[4 + i] = static_cast<std::uint8_t>(width >> (24 - 8 * i));
    v[8 + i] = static_cast<std::uint8_t>(height >> (24 - 8 * i));
  }
}

void ZELP_SetMediumSubType(std::uint16_t subType) {
  setBytes(kMediumTypeEx, {value::kMediumTypeExLead, static_cast<std::uint8_t>(subType >> 8),
                           static_cast<std::uint8_t>(subType)});
}

void ZELP_SetQuality(std::uint8_t value) {
  setNumber(kQuality, value);
}
void ZELP_SetMediumCuttingType(std::uint8_t value) {
  setNumber(kMediumCuttingType, value);
}
void ZELP_SetInkDryMethod(std::uint8_t value) {
  setNumber(kInkDryingType, value);
}

void ZELP_SetInkDryTime(std::uint32_t value) {
  storeNumber(kInkDryingTime, value);
  setNumber(kInkDryingType, kTimedInkDrying);  // a time only means something with this method
}

void ZELP_SetPageInkDryingTime(std::uint8_t value) {
  setNumber(kPageInkDryingTime, value);
}
void ZELP_SetBandInkDryingTime(std::uint8_t value) {
  setNumber(kBandInkDryingTime, value);
}
void ZELP_SetRollMediaTopBlank(std::uint8_t value) {
  setNumber(kRollMediaTopBlank, value);
}
void ZELP_SetRollMediaBottomBlank(std::uint8_t value) {
  setNumber(kRollMediaBottomBlank, value);
}
void ZELP_SetPaperThickness(std::uint8_t value) {
  setNumber(kPaperThickness, value);
}
void ZELP_SetPrintingSuction(std::uint8_t value) {
  setNumber(kPrintingSuction, value);
}
void ZELP_SetCuttingSpeed(std::uint8_t value) {
  setNumber(kCuttingSpeed, value);
}
void ZELP_SetZELPVersion(std::int32_t version) {
  gState.mVersion = version;
}
void ZELP_SetJobCreatorID(std::uint32_t value) {
  setNumber(kJobCreatorID, value);
}
void ZELP_SetJobStartExecutionMode(std::uint8_t value) {
  setNumber(kJobStartExecutionMode, value);
}
void ZELP_SetCOLMode(std::uint8_t value) {
  setNumber(kCOLMode, value);
}
void ZELP_SetCOLCount(std::uint16_t value) {
  setNumber(kCOLCount, value);
}
void ZELP_SetCOLHandle(std::uint32_t value) {
  setNumber(kCOLHandle, value);
}
void ZELP_SetCOLNumber(std::uint32_t value) {
  setNumber(kCOLNumber, value);
}  // 16 bits wide
void ZELP_SetCOLPassword(std::uint32_t value) {
  setNumber(kCOLPassword, value);
}
void ZELP_SetJobStartMode(std::uint8_t value) {
  setNumber(kJobStartMode, value);
}

void ZELP_SetClientJobID_UUID(const unsigned char* uuid16) {
  std::uint8_t* v = field(kClientJobUUID);
  if (uuid16 != nullptr) {
    std::copy_n(uuid16, value::kClientJobUUIDSize, v);
  } else {
    std::fill_n(v, value::kClientJobUUIDSize, 0);
  }
  gSetFlags[kClientJobUUID] = true;
}

void ZELP_SetClientJobID_JobInfo(std::string_view text) {
  std::uint8_t* v = field(kClientJobInfo);
  std::fill_n(v, value::kClientJobInfoSize, 0);
  std::copy_n(text.begin(), std::min(text.size(), value::kClientJobInfoSize), v);
  gSetFlags[kClientJobInfo] = true;
}

void ZELP_SetJobCopies(std::uint16_t value) {
  setNumber(kJobCopies, value);
}
void ZELP_SetQualityOptimizedLevel(std::uint8_t value) {
  setNumber(kQualityOptimizedLevel, value);
}
void ZELP_SetHeadOneWayPrint(std::uint8_t value) {
  setNumber(kHeadOneWayPrint, value);
}
void ZELP_SetHeadHeight(std::uint8_t value) {
  setNumber(kHeadHeight, value);
}
void ZELP_SetOutwardSizeFirst(std::uint8_t value) {
  setNumber(kOutwardSizeFirst, value);
}
void ZELP_SetCalibration(std::uint8_t value) {
  setNumber(kCalibration, value);
}
void ZELP_SetPathMode(std::uint8_t value) {
  setNumber(kPathMode, value);
}
void ZELP_SetPlex(std::uint8_t value) {
  setNumber(kPlex, value);
}
void ZELP_SetPlexImagePositionAdjustment(std::uint8_t value) {
  setNumber(kPlexImagePositionAdjustment, value);
}
void ZELP_SetJobImpressions2(std::uint32_t value) {
  setNumber(kJobImpressions2, value);
}

void ZELP_SetJobOctets(std::uint32_t value) {
  gSetFlags[kJobOctets] = value == 1;  // the value itself is only known at the job end
}

void ZELP_SetRawPacket(rawPacket* list) {
  gState.rawPackets = list;
  // The header is made to agree with the packet's position and size; a packet too short for
  // a field keeps its length.
  for (rawPacket* p = list; p != nullptr; p = p->next.get()) {
    const int position = static_cast<std::int16_t>(p->operation);
    const int operation = (position == raw::kJobMethods || position == raw::kBinderMethods ||
                           position == raw::kDocumentMethods)
                              ? zelp::kExecuteMethod
                              : position;
    std::vector<unsigned char>& d = p->data;
    const std::size_t n = d.size();
    if (n > 4) d[4] = 0;
    if (n > 5) d[5] = static_cast<unsigned char>(operation);
    if (n > 8) d[8] = 0;
    if (n > 9) d[9] = static_cast<unsigned char>(n - 20);
  }
  gSetFlags[kRawPacketFlag] = true;
}

// --- sequences ---

int ZELP_SendJobStartWithJobAttributes() {
  return gState.mVersion == 2 ? ZELP_SendJobStart2WithJobAttributes() : sendSequence(kStartV1);
}

int ZELP_SendJobStart2WithJobAttributes() {
  return sendSequence(kStartV2);
}

int ZELP_SendJobEnd(int flag) {
  sendControlPacket(kEndDocument, {});
  sendControlPacket(kEndBinder, {});
  if (gState.mVersion == 2) {
    sendRow(kJobImpressions2);
    if (isSet(kJobOctets)) {
      // What is still to come: this SetJob (26 bytes) and the end-job packet (21).
      storeNumber(kJobOctets, zelp_GetJobOctetsLength() + 47);
      sendRow(kJobOctets);
    }
  }
  const std::uint8_t last = flag != 0 ? 0x01 : 0x00;
  sendControlPacket(kEndJob, one(last));
  return streamResult();
}
