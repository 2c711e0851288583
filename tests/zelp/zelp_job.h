// A job file opened through the packet layer, and builders for the packets it should hold.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "inspect/packets.h"
#include "support/support.h"
#include "zelp/store.h"
#include "zelp/zelp.h"

namespace zelptest {

using Bytes = std::vector<std::uint8_t>;

inline Bytes packet(std::uint16_t operation, const Bytes& parameters, std::uint8_t flags = 0) {
  const auto n = static_cast<std::uint16_t>(parameters.size());
  Bytes p = {0xCD,
             0xCA,
             0x10,
             flags,
             static_cast<std::uint8_t>(operation >> 8),
             static_cast<std::uint8_t>(operation),
             0x00,
             0x01,
             static_cast<std::uint8_t>(n >> 8),
             static_cast<std::uint8_t>(n)};
  p.resize(20, 0);
  p.insert(p.end(), parameters.begin(), parameters.end());
  return p;
}

inline Bytes setAttr(std::uint16_t operation, std::uint16_t id, const Bytes& value) {
  Bytes parameters = {static_cast<std::uint8_t>(id >> 8), static_cast<std::uint8_t>(id)};
  parameters.insert(parameters.end(), value.begin(), value.end());
  return packet(operation, parameters);
}
inline Bytes setJob(std::uint16_t id, const Bytes& value) {
  return setAttr(18, id, value);
}
inline Bytes setDocument(std::uint16_t id, const Bytes& value) {
  return setAttr(24, id, value);
}
inline Bytes method(std::uint8_t code, const Bytes& arguments) {
  Bytes parameters = {0x00, 0x00, 0x00, 0x00, 0x40, code};
  parameters.insert(parameters.end(), arguments.begin(), arguments.end());
  return packet(29, parameters);
}
inline Bytes setValue(std::uint8_t selector, std::uint8_t value) {
  return method(0x06, {0x01, selector, value});
}
inline Bytes text(std::uint16_t charset, const std::string& s) {
  Bytes b = {static_cast<std::uint8_t>(charset >> 8), static_cast<std::uint8_t>(charset),
             static_cast<std::uint8_t>(s.size())};
  for (char c : s) b.push_back(static_cast<std::uint8_t>(c));
  return b;
}

inline Bytes join(const std::vector<Bytes>& parts) {
  Bytes out;
  for (const Bytes& p : parts) out.insert(out.end(), p.begin(), p.end());
  return out;
}

// The packets of a start sequence with nothing set.
inline std::vector<Bytes> emptyStartV1() {
  return {packet(17, {0x00, 0x01, 0x11, 0x71, 0x01, 0, 0, 0, 0, 0, 0, 0, 0}),
          packet(20, {0x00, 0x01, 0x15, 0x59}), packet(23, {0x00, 0x01, 0x19, 0x41}),
          setDocument(46, {0x7B, 0x00, 0x00})};
}
inline std::vector<Bytes> emptyStartV2(const Bytes& openJob = {0x00, 0x00}) {
  return {packet(107, openJob),
          packet(20, {0, 0, 0, 0}),
          setAttr(21, 2007, {0x00, 0x01}),
          packet(23, {0, 0, 0, 0}),
          setDocument(46, {0x7B, 0x00, 0x00}),
          setDocument(2007, {0x00, 0x01})};
}
inline std::vector<Bytes> endV1(std::uint8_t flag = 0) {
  return {packet(25, {}), packet(22, {}), packet(19, {flag})};
}

// Each test writes one job file; the set flags start cleared, as in a fresh process.
class ZelpJob : public ::testing::Test {
 protected:
  void SetUp() override {
    zelp_ResetSetFlags();
    ZELP_NewWithName(path().c_str());
    ASSERT_EQ(ZELP_Open(), 0);
  }
  void TearDown() override {
    ZELP_Close();
    ZELP_Delete();
    zelp_ResetSetFlags();
  }

  std::string path() const { return (dir_ / "job.dat").string(); }

  // Closes the file and returns its bytes, which must split into packets.
  Bytes finish() {
    ZELP_Close();
    Bytes bytes = testsupport::readFile(path());
    std::string error;
    EXPECT_TRUE(inspect::decodePackets(bytes, &packets_, &error)) << error;
    return bytes;
  }
  // As finish, for a whole job: it must also be one well-formed job.
  Bytes finishJob() {
    Bytes bytes = finish();
    std::string error;
    EXPECT_TRUE(inspect::checkJob(packets_, &error)) << error;
    return bytes;
  }

  testsupport::TempDir dir_;
  std::vector<inspect::Packet> packets_;
};

}  // namespace zelptest
