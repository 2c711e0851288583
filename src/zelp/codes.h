// The packet layer's numbers, named once for the writer, the configuration and the decoder.
// Unscoped enums with fixed types: they go on the wire as the integers they are.
#pragma once

#include <cstdint>

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

}  // namespace zelp
