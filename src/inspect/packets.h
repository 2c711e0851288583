// Print-file decoder: walks the job-control packets of a print file, names them, decodes their
// attributes and methods, checks that they form one job and reassembles the raster stream
// carried by the data packets. It shares only the protocol's numbers with the writer
// (zelp/codes.h), so it can check it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace inspect {

struct Packet {
  std::size_t offset = 0;  // of the header in the file
  std::uint8_t flags = 0;
  std::uint16_t operation = 0;
  std::uint16_t parameterLength = 0;
  std::vector<std::uint8_t> parameters;
};

// The packet at the start of `bytes` (`offset` is where that is in the file). 0 with a message
// naming the offset when it is not well formed or is cut short; else its size.
std::size_t decodePacket(std::span<const std::uint8_t> bytes, std::size_t offset, Packet* packet,
                         std::string* error);

// Splits `bytes` into packets. False, with a message naming the offset, when the file is not
// a well-formed packet sequence; `packets` then holds those before the fault.
bool decodePackets(std::span<const std::uint8_t> bytes, std::vector<Packet>* packets,
                   std::string* error);

// The raster bytes of all data packets, in order (the one-byte lead parameter dropped).
std::vector<std::uint8_t> rasterStream(const std::vector<Packet>& packets);

// "SetJob", "Data", ...; null for an operation this decoder does not know.
const char* operationName(std::uint16_t operation);
// The configuration key an attribute id carries ("JobName", "Medium", ...); null if unknown.
const char* attributeName(std::uint16_t id);

struct Attribute {
  std::uint16_t id = 0;
  std::vector<std::uint8_t> value;
};

// The attribute of a SetJob, SetBinder or SetDocument packet; nothing for another operation or
// parameters too short to hold an id.
std::optional<Attribute> setAttribute(const Packet& packet);

// The entries of an open-job packet; nothing when its block is not exactly the announced
// number of entries.
std::optional<std::vector<Attribute>> openJobEntries(const Packet& packet);

struct MethodCall {
  std::uint32_t object = 0;
  std::uint8_t group = 0;
  std::uint8_t method = 0;
  int selector = -1;  // of the set-value method, -1 for the others
  std::vector<std::uint8_t> value;
};

// The parts of an execute-method packet; nothing for another operation or a short one.
std::optional<MethodCall> executeMethod(const Packet& packet);
// "PageInkDryingTime", "JobCreatorID", ...; null if unknown.
const char* methodName(const MethodCall& call);

// The order check of checkJob, one packet at a time.
class JobChecker {
 public:
  bool add(const Packet& p, std::string* error);
  // After the last packet (`offset` names it).
  bool finish(std::size_t offset, std::string* error) const;

 private:
  enum class Level { kNone, kJob, kBinder, kDocument, kClosingJob, kEnded };
  Level level_ = Level::kNone;
  bool any_ = false;
};

// True when the packets form one complete job: opened first (start or open job), then a binder
// holding a document, data only inside the document, attributes and methods only where their
// level is open, closed in reverse order and ended last. Otherwise false with a message naming
// the packet.
bool checkJob(const std::vector<Packet>& packets, std::string* error);

// One line describing a packet (offset, operation, flags, length and decoded contents).
std::string describePacket(const Packet& packet);

// The same as one JSON object: decoded values as JSON strings and numbers, each beside its
// bytes ("hex", as describePacket shows them).
std::string describePacketJson(const Packet& packet);

// A text listing of a print file, one packet per line (open-job entries on lines of their
// own). A file that does not decode lists what it could and ends with an error line; the
// result is then false.
bool listPackets(std::span<const std::uint8_t> bytes, std::string* listing);

}  // namespace inspect
