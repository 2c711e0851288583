// Whole jobs through makeZELPData, and the print files they should give.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "config/job_files.h"
#include "inspect/packets.h"
#include "support/image_support.h"
#include "support/support.h"
#include "zelp/store.h"
#include "zelp/zelp_job.h"
#include "zelpgen/zelpgen.h"

namespace printjob {

using zelptest::Bytes;
using zelptest::join;

// The [KELM] section and the one-plane 8-bit image entry that every job here ends with.
inline const std::string kRaster = jobfiles::kKELM + jobfiles::kImage;

struct Result {
  Bytes file;
  std::string out;  // what the job printed
  Bytes raster;     // the stream its data packets carry
};

// Writes `config` as job.cfg in `dir` with the image it names (a real 8-bit image) and runs it
// as a fresh process would. The print file must be one well-formed job.
inline Result runJob(const testsupport::TempDir& dir, const std::string& config) {
  testsupport::writeFile(dir / "k.bmp", imagetest::bmpFile(5, 3, 8,
                                                           {{0, 64, 128, 192, 255, 0, 0, 0},
                                                            {255, 255, 255, 255, 255, 0, 0, 0},
                                                            {10, 20, 30, 40, 50, 0, 0, 0}}));
  testsupport::writeFile(dir / "job.cfg", config);
  zelp_ResetSetFlags();
  testing::internal::CaptureStdout();
  EXPECT_EQ(makeZELPData((dir / "job.cfg").c_str()), 0);
  Result r;
  r.out = testing::internal::GetCapturedStdout();
  r.file = testsupport::readFile(dir / "job.dat");
  std::vector<inspect::Packet> packets;
  std::string error;
  EXPECT_TRUE(inspect::decodePackets(r.file, &packets, &error)) << error;
  EXPECT_TRUE(inspect::checkJob(packets, &error)) << error;
  r.raster = inspect::rasterStream(packets);
  return r;
}

// The data packets that carry `raster`. The raster side flushes before its closing exit
// sequence, so that sequence travels alone in the last packet (flags 0x00); the bytes before it
// fill packets of 65534 bytes that announce more (flags 0x02), the last of them shorter.
inline Bytes dataPackets(const Bytes& raster) {
  const std::string closing = "\x1B%-12345X";
  std::size_t body = raster.size();
  if (body >= closing.size() &&
      std::equal(closing.begin(), closing.end(), raster.end() - closing.size()))
    body -= closing.size();
  Bytes out;
  const auto frame = [&](std::size_t from, std::size_t to, std::uint8_t flags) {
    Bytes payload = {0x01};
    payload.insert(payload.end(), raster.begin() + from, raster.begin() + to);
    const Bytes p = zelptest::packet(0x1A, payload, flags);
    out.insert(out.end(), p.begin(), p.end());
  };
  for (std::size_t at = 0; at < body; at += 65534) frame(at, std::min(at + 65534, body), 0x02);
  if (body < raster.size()) frame(body, raster.size(), 0x00);
  return out;
}

// The two files are equal; otherwise where they part, with both packet listings.
inline testing::AssertionResult sameFile(const Bytes& actual, const Bytes& expected) {
  if (actual == expected) return testing::AssertionSuccess();
  const auto parted = std::mismatch(actual.begin(), actual.end(), expected.begin(), expected.end());
  std::string listed, wanted;
  inspect::listPackets(actual, &listed);
  inspect::listPackets(expected, &wanted);
  return testing::AssertionFailure()
         << "the file (" << actual.size() << " bytes) differs from the expected one ("
         << expected.size() << " bytes) at offset " << (parted.first - actual.begin())
         << "\nfile:\n"
         << listed << "expected:\n"
         << wanted;
}

// The version 2 end sequence after `before` bytes of the file, with job impressions 2 when not
// 0 and the job octets (the size of the whole file) when asked for.
inline Bytes endV2(std::size_t before, std::uint32_t impressions2, bool octets) {
  using zelptest::hi;
  using zelptest::lo;
  Bytes out = join({zelptest::packet(25, {}), zelptest::packet(22, {})});
  if (impressions2 != 0) {
    out = join({out, zelptest::setJob(275, {lo(impressions2 >> 24), lo(impressions2 >> 16),
                                            hi(impressions2), lo(impressions2)})});
  }
  if (octets) {
    const auto size = static_cast<std::uint32_t>(before + out.size() + 26 + 21);
    out = join({out, zelptest::setJob(2006, {lo(size >> 24), lo(size >> 16), hi(size), lo(size)})});
  }
  return join({out, zelptest::packet(19, {0x00})});
}

}  // namespace printjob
