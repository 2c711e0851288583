// The packet layer's numbers, named once for the writer, the configuration and the decoder.
// Unscoped enums with fixed types: they go on the wire as the integers they are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace zelp {

// The operation field of a packet header.
enum Operation : std::uint16_t {
  kStartJob = 17,
  kSetJob = 18,
  kEndJob = 19,
  kStartBinder = 20,
  kSetBinder = 21,
  kEndBinder = 22,
  kStartDocument = 23,
  kSetDocument = 24,
  kEndDocument = 25,
  kData = 0x1A,
  kExecuteMethod = 29,
  kOpenJob = 107,
};

// Data packet flags.
inline constexpr std::uint8_t kMoreData = 0x02;  // more data packets follow

// Where a raw packet is sent: behind the attributes of a level (its set operation's code) or
// behind the methods of a level.
namespace raw {
enum Position : std::int16_t {
  kJobMethods = 0,
  kBinderMethods = 3,
  kDocumentMethods = 6,
  kJobAttributes = kSetJob,
  kBinderAttributes = kSetBinder,
  kDocumentAttributes = kSetDocument,
};
}  // namespace raw

// Attribute ids of the set and open-job packets.
namespace attribute {
enum Id : std::uint16_t {
  kJobName = 4,
  kJobOwner = 6,
  kJobClientID = 8,
  kJobTime = 9,
  kJobStartMode = 13,
  kDocument46 = 46,  // always 7B 00 00
  kJobStartExecutionMode = 240,
  kJobImpressions2 = 275,
  kClientJobID = 280,
  kCOL = 304,
  kJobImpressions = 2004,
  kJobOctets = 2006,
  kCopies = 2007,
  kPlex = 2015,
  kMedium = 2029,
  kQuality = 2042,
  kPanelMessage = 2140,
  kTray = 2158,
  kMediumTypeEx = 2214,
  kMediumCuttingType = 2217,
  kInkDryingType = 2218,
  kInkDryingTime = 2219,
  kPlexImagePositionAdjustment = 2303,
  kQualityOptimizedLevel = 2343,
  kHeadOneWayPrint = 2355,
};
}  // namespace attribute

// Execute-method packets: object 0, this group, then the method code.
namespace method {
inline constexpr std::uint8_t kGroup = 0x40;
enum Code : std::uint8_t {
  kSetValue = 0x06,  // argument 01, a selector and one value byte
  kCalibration = 0x0B,
  kJobCreatorID = 0x11,
  kSetPathMode = 0x14,
};
}  // namespace method

// Selectors of the set-value method.
namespace selector {
enum Code : std::uint8_t {
  kPageInkDryingTime = 1,
  kBandInkDryingTime = 2,
  kRollMediaTopBlank = 3,
  kOutwardSizeFirst = 4,
  kPaperThickness = 6,
  kPrintingSuction = 7,
  kCuttingSpeed = 9,
  kRollMediaBottomBlank = 13,
  kHeadHeight = 14,
};
}  // namespace selector

// The ink drying method that takes a drying time.
inline constexpr std::uint8_t kTimedInkDrying = 6;

// Attribute values: how each is laid out and the names of enumerated values (the configuration's
// symbols without their group's prefix).
namespace value {

enum class Kind : std::uint8_t {
  kUnknown,
  kNumber,        // unsigned, 1 to 4 bytes
  kText,          // charset (2), length, the characters
  kCountedText,   // length, the characters
  kTime,          // the 8-byte time pack
  kTray,          // kTrayLead, alias, unit (with kNumberedTray), 00
  kMedium,        // medium type, kMediumMark, size (2), width (4), height (4), size flag
  kMediumTypeEx,  // kMediumTypeExLead, the type (2)
  kCOL,           // mode, count (2), then count times handle (4), number (2), password (4)
  kClientJobID,   // UUID (16), job info (48, zero-padded)
};

inline constexpr std::uint8_t kTrayLead = 0x01;
inline constexpr std::uint8_t kAutoTray = 11;
inline constexpr std::uint8_t kNumberedTray = 13;
inline constexpr std::uint8_t kMediumMark = 0xFE;
inline constexpr std::uint16_t kNoMediumSize = 0xFFFE;
inline constexpr std::uint16_t kCustomMediumSize = 0x0013;
inline constexpr std::uint8_t kMediumTypeExLead = 0x01;
inline constexpr std::size_t kClientJobUUIDSize = 16;
inline constexpr std::size_t kClientJobInfoSize = 48;

struct Name {
  std::uint16_t code;
  const char* name;
};

// Where a code has two names the first is shown.
inline constexpr Name kTrays[] = {{2, "named"},
                                  {3, "top"},
                                  {4, "middle"},
                                  {5, "bottom"},
                                  {6, "envelope"},
                                  {7, "manual"},
                                  {19, "manual_single_2"},
                                  {20, "manual_auto"},
                                  {8, "large_capacity"},
                                  {9, "main"},
                                  {10, "side"},
                                  {kAutoTray, "auto"},
                                  {12, "none"},
                                  {kNumberedTray, "numbered"},
                                  {16, "rotation"},
                                  {18, "manual_single"},
                                  {101, "cassette_1"},
                                  {102, "cassette_2"},
                                  {103, "cassette_3"},
                                  {104, "cassette_4"},
                                  {105, "cassette_5"},
                                  {106, "cassette_6"},
                                  {107, "cassette_7"},
                                  {108, "cassette_8"},
                                  {109, "cassette_9"},
                                  {121, "option_cassette_1"},
                                  {122, "option_cassette_2"},
                                  {123, "option_cassette_3"},
                                  {124, "option_cassette_4"},
                                  {125, "option_cassette_5"},
                                  {201, "roll_1"},
                                  {211, "option_roll_1"}};
inline constexpr Name kMediumTypes[] = {{1, "unknown"},
                                        {2, "other"},
                                        {3, "stationery"},
                                        {4, "transparency"},
                                        {6, "envelope"},
                                        {7, "labels"},
                                        {8, "pasteboard"},
                                        {9, "extra_pasteboard"},
                                        {10, "flimsy"},
                                        {11, "recycled"},
                                        {12, "color"},
                                        {13, "glossy"},
                                        {13, "glossy_film"},
                                        {14, "special"},
                                        {15, "ruled"},
                                        {16, "letter_head"},
                                        {17, "pre_printed"},
                                        {18, "pre_punched"},
                                        {19, "rough"},
                                        {20, "tracing"},
                                        {21, "card_stock"},
                                        {22, "heavy_paper"},
                                        {23, "heavy_paper_2"},
                                        {24, "second_side"},
                                        {25, "post_card"},
                                        {26, "stationery_2"},
                                        {27, "special_2"},
                                        {28, "special_3"},
                                        {29, "special_4"},
                                        {33, "bond"},
                                        {34, "tab"},
                                        {35, "laminatable"},
                                        {36, "coated"},
                                        {37, "heavy_coated"},
                                        {38, "semi_glossy_paper"},
                                        {39, "glossy_paper"},
                                        {40, "back_print_film"},
                                        {41, "special_5"},
                                        {44, "matte_film"},
                                        {45, "cloth"},
                                        {50, "custom"},
                                        {52, "art"},
                                        {254, "not_care"},
                                        {255, "any"}};
inline constexpr Name kMediumTypeExWords[] = {
    {1, "unknown"}, {2, "other"}, {65534, "not_care"}, {65535, "any"}};
inline constexpr Name kQualities[] = {{1, "draft"}, {2, "normal"}, {3, "high"}};
inline constexpr Name kQualityOptimizedLevels[] = {
    {1, "level1"}, {2, "level2"}, {3, "level3"}, {4, "level4"}};
inline constexpr Name kCuttingTypes[] = {{1, "none"}, {2, "cut"}, {3, "cutline"}, {4, "auto"}};
inline constexpr Name kInkDryingTypes[] = {{1, "none"},       {2, "auto"},
                                           {3, "level_high"}, {4, "level_normal"},
                                           {5, "level_low"},  {kTimedInkDrying, "time"}};
inline constexpr Name kPlexes[] = {{1, "simplex"}, {4, "dependent_on_binding_edge"}};
inline constexpr Name kPlexImagePositionAdjustments[] = {{1, "off"}, {2, "on"}};
inline constexpr Name kStartExecutionModes[] = {
    {1, "none"}, {2, "with_job_store"}, {3, "job_store"}};
inline constexpr Name kIdentifications[] = {
    {1, "none"}, {2, "by_handle"}, {3, "by_number"}, {4, "by_name"}};
inline constexpr Name kJobStartTypes[] = {{4, "immediate"}, {7, "wait_script_end"}};
inline constexpr Name kHeadOneWayPrints[] = {{1, "off"}, {2, "forward"}};
// The values of every set-value method.
inline constexpr Name kMediaEdit[] = {{1, "auto"},           {2, "panel_setting_first"},
                                      {3, "none"},           {10, "1_sec"},
                                      {11, "3_sec"},         {12, "5_sec"},
                                      {13, "7_sec"},         {14, "9_sec"},
                                      {33, "30_sec"},        {4, "1_min"},
                                      {5, "2_min"},          {34, "3_min"},
                                      {6, "5_min"},          {7, "10_min"},
                                      {8, "30_min"},         {9, "60_min"},
                                      {15, "5mm"},           {16, "7mm"},
                                      {17, "20mm"},          {18, "on"},
                                      {19, "off"},           {20, "high"},
                                      {21, "normal"},        {22, "low"},
                                      {23, "thick"},         {24, "thin"},
                                      {25, "weak"},          {26, "very_weak"},
                                      {27, "low_speed"},     {28, "on_rough"},
                                      {29, "10mm"},          {30, "strong"},
                                      {31, "little_strong"}, {32, "high_speed"},
                                      {36, "middle1"},       {37, "middle2"},
                                      {38, "middle3"}};
inline constexpr Name kCalibrations[] = {{0, "valid"}, {1, "invalid"}, {3, "panel_setting_first"}};
inline constexpr Name kPathModes[] = {{0, "none"}, {1, "1"}, {2, "2"}};
// The time pack counts weekdays from Monday (1).
inline constexpr Name kWeekdays[] = {{1, "Mon"}, {2, "Tue"}, {3, "Wed"}, {4, "Thu"},
                                     {5, "Fri"}, {6, "Sat"}, {7, "Sun"}};

struct Layout {
  Kind kind = Kind::kUnknown;
  std::span<const Name> names;  // of the value, or of the leading code of a tray, medium or COL
};

}  // namespace value

// The job attributes as data: the store keeps one value per row, the start sequences name rows,
// and the decoder takes names and layouts from here. A new attribute is a row, its field and a
// one-line setter.
namespace attr {
enum Field : std::uint8_t {
  kJobName,
  kJobOwner,
  kJobClientID,
  kPanelMessage,
  kJobTime,
  kJobImpressions,
  kTray,
  kMedium,
  kMediumTypeEx,
  kQuality,
  kMediumCuttingType,
  kInkDryingType,
  kInkDryingTime,
  kPageInkDryingTime,
  kBandInkDryingTime,
  kRollMediaTopBlank,
  kRollMediaBottomBlank,
  kPaperThickness,
  kPrintingSuction,
  kCuttingSpeed,
  kHeadHeight,
  kOutwardSizeFirst,
  kJobCreatorID,
  kCalibration,
  kPathMode,
  kPlex,
  kPlexImagePositionAdjustment,
  kJobStartExecutionMode,
  kJobStartMode,
  kCOLMode,
  kCOLCount,
  kCOLHandle,
  kCOLNumber,
  kCOLPassword,
  kClientJobUUID,
  kClientJobInfo,
  kJobCopies,
  kQualityOptimizedLevel,
  kHeadOneWayPrint,
  kJobImpressions2,
  kJobOctets,
  kCount
};

// Where an attribute's value goes.
enum class Level : std::uint8_t {
  kJob,          // a SetJob packet, or an open-job entry under key set 2
  kDocument,     // a SetDocument packet
  kOpenJob,      // an open-job entry only
  kValueMethod,  // the set-value method; the id is its selector
  kMethod,       // an execute method of its own; the id is its code
  kPart,         // a piece of another row's value (COL, client job id)
};

struct Row {
  Field field;
  const char* name;  // as the decoder shows it
  std::uint16_t id;
  Level level;
  value::Kind kind;
  std::uint8_t size;      // bytes stored; text sends only what it holds
  std::uint32_t initial;  // a number's value after ZELP_Init
  std::span<const value::Name> names = {};
};

using enum Level;
using value::Kind;
inline constexpr Row kTable[] = {
    {kJobName, "JobName", attribute::kJobName, kJob, Kind::kText, 35, 0},
    {kJobOwner, "JobOwner", attribute::kJobOwner, kJob, Kind::kText, 35, 0},
    {kJobClientID, "JobClientID", attribute::kJobClientID, kJob, Kind::kCountedText, 33, 0},
    {kPanelMessage, "PanelMessage", attribute::kPanelMessage, kDocument, Kind::kText, 35, 0},
    {kJobTime, "JobTime", attribute::kJobTime, kJob, Kind::kTime, 8, 0},
    {kJobImpressions, "JobImpressions", attribute::kJobImpressions, kJob, Kind::kNumber, 2, 0},
    {kTray, "Tray", attribute::kTray, kDocument, Kind::kTray, 4, 0, value::kTrays},
    {kMedium, "Medium", attribute::kMedium, kDocument, Kind::kMedium, 13, 0, value::kMediumTypes},
    {kMediumTypeEx, "MediumTypeEx", attribute::kMediumTypeEx, kDocument, Kind::kMediumTypeEx, 3, 0,
     value::kMediumTypeExWords},
    {kQuality, "Quality", attribute::kQuality, kDocument, Kind::kNumber, 1, 0, value::kQualities},
    {kMediumCuttingType, "MediumCuttingType", attribute::kMediumCuttingType, kDocument,
     Kind::kNumber, 1, 0, value::kCuttingTypes},
    {kInkDryingType, "InkDryingType", attribute::kInkDryingType, kDocument, Kind::kNumber, 1, 0,
     value::kInkDryingTypes},
    {kInkDryingTime, "InkDryingTime", attribute::kInkDryingTime, kDocument, Kind::kNumber, 4, 0},
    {kPageInkDryingTime, "PageInkDryingTime", selector::kPageInkDryingTime, kValueMethod,
     Kind::kNumber, 1, 0},
    {kBandInkDryingTime, "BandInkDryingTime", selector::kBandInkDryingTime, kValueMethod,
     Kind::kNumber, 1, 0},
    {kRollMediaTopBlank, "RollMediaTopBlank", selector::kRollMediaTopBlank, kValueMethod,
     Kind::kNumber, 1, 0},
    {kRollMediaBottomBlank, "RollMediaBottomBlank", selector::kRollMediaBottomBlank, kValueMethod,
     Kind::kNumber, 1, 0},
    {kPaperThickness, "PaperThickness", selector::kPaperThickness, kValueMethod, Kind::kNumber, 1,
     0},
    {kPrintingSuction, "PrintingSuction", selector::kPrintingSuction, kValueMethod, Kind::kNumber,
     1, 0},
    {kCuttingSpeed, "CuttingSpeed", selector::kCuttingSpeed, kValueMethod, Kind::kNumber, 1, 0},
    {kHeadHeight, "HeadHeight", selector::kHeadHeight, kValueMethod, Kind::kNumber, 1, 0},
    {kOutwardSizeFirst, "OutwardSizeFirst", selector::kOutwardSizeFirst, kValueMethod,
     Kind::kNumber, 1, 0},
    {kJobCreatorID, "JobCreatorID", method::kJobCreatorID, kMethod, Kind::kNumber, 4, 0},
    {kCalibration, "Calibration", method::kCalibration, kMethod, Kind::kNumber, 1, 0},
    {kPathMode, "SetPathMode", method::kSetPathMode, kMethod, Kind::kNumber, 1, 0},
    {kPlex, "Plex", attribute::kPlex, kDocument, Kind::kNumber, 1, 0, value::kPlexes},
    {kPlexImagePositionAdjustment, "PlexImagePositionAdjustment",
     attribute::kPlexImagePositionAdjustment, kDocument, Kind::kNumber, 1, 0,
     value::kPlexImagePositionAdjustments},
    {kJobStartExecutionMode, "JobStartExecutionMode", attribute::kJobStartExecutionMode, kOpenJob,
     Kind::kNumber, 1, 1, value::kStartExecutionModes},
    {kJobStartMode, "JobStartMode", attribute::kJobStartMode, kOpenJob, Kind::kNumber, 1, 0,
     value::kJobStartTypes},
    {kCOLMode, "COL", attribute::kCOL, kOpenJob, Kind::kCOL, 1, 2, value::kIdentifications},
    {kCOLCount, nullptr, 0, kPart, Kind::kNumber, 2, 1},
    {kCOLHandle, nullptr, 0, kPart, Kind::kNumber, 4, 0},
    {kCOLNumber, nullptr, 0, kPart, Kind::kNumber, 2, 0},
    {kCOLPassword, nullptr, 0, kPart, Kind::kNumber, 4, 0},
    {kClientJobUUID, "ClientJobID", attribute::kClientJobID, kOpenJob, Kind::kClientJobID,
     value::kClientJobUUIDSize, 0},
    {kClientJobInfo, nullptr, 0, kPart, Kind::kUnknown, value::kClientJobInfoSize, 0},
    {kJobCopies, "JobCopies", attribute::kCopies, kJob, Kind::kNumber, 2, 1},
    {kQualityOptimizedLevel, "QualityOptimizedLevel", attribute::kQualityOptimizedLevel, kDocument,
     Kind::kNumber, 1, 2, value::kQualityOptimizedLevels},
    {kHeadOneWayPrint, "HeadOneWayPrint", attribute::kHeadOneWayPrint, kDocument, Kind::kNumber, 1,
     1, value::kHeadOneWayPrints},
    {kJobImpressions2, "JobImpressions2", attribute::kJobImpressions2, kJob, Kind::kNumber, 4, 1},
    {kJobOctets, "JobOctets", attribute::kJobOctets, kJob, Kind::kNumber, 4, 0},
};
inline constexpr std::size_t kMaxSize = value::kClientJobInfoSize;

constexpr bool tableInOrder() {
  for (std::size_t i = 0; i < std::size(kTable); ++i) {
    if (kTable[i].field != i || kTable[i].size > kMaxSize) return false;
  }
  return std::size(kTable) == kCount;
}
static_assert(tableInOrder(), "one row per field, in the order of the fields");

// The row an attribute id (of a set or open-job packet) names, or null.
constexpr const Row* findAttribute(std::uint16_t id) {
  for (const Row& r : kTable) {
    if (r.id == id && (r.level == kJob || r.level == kDocument || r.level == kOpenJob)) return &r;
  }
  return nullptr;
}

// The row of a set-value method's selector, or null.
constexpr const Row* findSelector(std::uint8_t selector) {
  for (const Row& r : kTable) {
    if (r.level == kValueMethod && r.id == selector) return &r;
  }
  return nullptr;
}

// The row of an execute method's own code, or null.
constexpr const Row* findMethod(std::uint8_t code) {
  for (const Row& r : kTable) {
    if (r.level == kMethod && r.id == code) return &r;
  }
  return nullptr;
}
}  // namespace attr

namespace value {

constexpr Layout attributeLayout(std::uint16_t id) {
  const attr::Row* row = attr::findAttribute(id);
  return row != nullptr ? Layout{row->kind, row->names} : Layout{};
}

// The arguments of an execute method after the set-value method's 01 and selector.
constexpr Layout methodLayout(std::uint8_t code) {
  switch (code) {
    case method::kSetValue:
      return {Kind::kNumber, kMediaEdit};
    case method::kCalibration:
      return {Kind::kNumber, kCalibrations};
    case method::kJobCreatorID:
      return {Kind::kNumber, {}};
    case method::kSetPathMode:
      return {Kind::kNumber, kPathModes};
    default:
      return {};
  }
}

}  // namespace value

}  // namespace zelp
