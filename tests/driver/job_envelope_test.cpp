#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "print_job.h"

namespace {

using namespace zelptest;
using printjob::dataPackets;
using printjob::endV2;
using printjob::runJob;
using printjob::sameFile;
using testsupport::TempDir;

// 03/04/2021 05:06:07 GMT, a Saturday.
const Bytes kTimePack = {0x7E, 0x54, 0x1E, 0x00, 5, 6, 0x1B, 0x58};
const std::string kTimeEcho = "JobTime=\"03/04/2021 05:06:07 GMT\"\n";

Bytes bytes(const std::string& s) {
  Bytes b;
  for (char c : s) b.push_back(static_cast<std::uint8_t>(c));
  return b;
}

Bytes entry(std::uint16_t id, const Bytes& value) {
  const auto n = static_cast<unsigned>(value.size());
  return join({{hi(id), lo(id), hi(n), lo(n)}, value});
}

TEST(JobEnvelope, Version1EveryAttribute) {
  TempDir dir;
  const printjob::Result r = runJob(dir,
                                    "[ZELP]\n"
                                    "Version=1\n"
                                    "JobName=\"Spring campaign poster, A0, final v3\"\n"
                                    "JobOwner=\"studio\"\n"
                                    "JobClientID=\"ws-7\"\n"
                                    "PanelMessage=\"Load roll 2\"\n"
                                    "JobTime=\"03/04/2021 05:06:07 GMT\"\n"
                                    "TrayUnitID=id_val_input_tray_roll_1\n"
                                    "TrayAlias=5\n"  // shares the tray value, set after the unit
                                    "Medium=id_val_medium_type_glossy_paper\n"
                                    "MediumTypeEx=id_val_lfp_medium_type_ex_0123\n"
                                    "Quality=id_val_print_quality_high\n"
                                    "MediumCuttingType=id_val_medium_cutting_type_auto\n"
                                    "InkDryingType=id_val_marker_colorant_drying_type_level_low\n"
                                    "InkDryingTime=0x20\n"
                                    "JobImpressions=2\n"
                                    "PageInkDryingTime=id_val_lfp_media_edit_5_min\n"
                                    "BandInkDryingTime=id_val_lfp_media_edit_1_sec\n"
                                    "RollMediaTopBlank=id_val_lfp_media_edit_5mm\n"
                                    "RollMediaBottomBlank=id_val_lfp_media_edit_20mm\n"
                                    "PaperThickness=id_val_lfp_media_edit_thick\n"
                                    "PrintingSuction=id_val_lfp_media_edit_strong\n"
                                    "CuttingSpeed=id_val_lfp_media_edit_high_speed\n"
                                    "JobCopies=9\n" +  // a version 2 key: accepted, not sent
                                        printjob::kRaster);
  EXPECT_EQ(r.out, kTimeEcho);

  const std::vector<Bytes> start = emptyStartV1();
  const Bytes expected = join({
      start[0],
      setJob(4, text(3, "Spring campaign poster, A0, fina")),
      setJob(6, text(3, "studio")),
      setJob(8, join({{4}, bytes("ws-7")})),
      setJob(9, kTimePack),
      setJob(2004, {0, 2}),
      start[1],
      start[2],
      setDocument(2140, text(3, "Load roll 2")),
      start[3],
      setDocument(2158, {1, 5, 0, 0}),
      setDocument(2029, {39, 0xFE, 0xFF, 0xFE, 0, 0, 0, 0, 0, 0, 0, 0, 3}),
      setDocument(2214, {1, 0x01, 0x23}),
      setDocument(2042, {3}),
      setDocument(2217, {4}),
      setDocument(2218, {6}),  // a drying time makes the method a timed one
      setDocument(2219, {0, 0, 0, 0x20}),
      setValue(1, 6),
      setValue(2, 10),
      setValue(3, 15),
      setValue(13, 17),
      setValue(6, 23),
      setValue(7, 30),
      setValue(9, 32),
      dataPackets(r.raster),
      end(0),
  });
  EXPECT_TRUE(sameFile(r.file, expected));
}

TEST(JobEnvelope, Version2EveryAttribute) {
  TempDir dir;
  // A table file larger than one data packet, sent verbatim in the raster stream.
  testsupport::writeFile(dir / "table.bin", Bytes(70000, 0x3C));
  const printjob::Result r =
      runJob(dir,
             "[Global]\n"
             "ImageProcessingFile=\"table.bin\"\n"
             "[ZELP]\n"
             "Version=2\n"
             // Version 1 keys: accepted, not stored. JobImpressions among them leaves one page.
             "JobClientID=\"ws-7\"\n"
             "InkDryingType=2\n"
             "InkDryingTime=30\n"
             "JobImpressions=5\n"
             "RollMediaBottomBlank=3\n"
             "PaperThickness=3\n"
             "JobName=\"Banner\"\n"
             "JobOwner=\"print room\"\n"
             "PanelMessage=\"Check heads\"\n"
             "JobTime=\"03/04/2021 05:06:07 GMT\"\n"
             "TrayUnitID=id_val_input_tray_auto\n"
             "Medium=id_val_medium_type_matte_film\n"
             "MediumTypeEx=id_val_lfp_medium_type_ex_any\n"
             "Quality=id_val_print_quality_normal\n"
             "MediumCuttingType=id_val_medium_cutting_type_cut\n"
             "PageInkDryingTime=id_val_lfp_media_edit_1_min\n"
             "BandInkDryingTime=id_val_lfp_media_edit_3_sec\n"
             "RollMediaTopBlank=id_val_lfp_media_edit_7mm\n"
             "PrintingSuction=id_val_lfp_media_edit_weak\n"
             "CuttingSpeed=id_val_lfp_media_edit_low_speed\n"
             "Plex=id_val_plex_dependent_on_binding_edge\n"
             "PlexImagePositionAdjustment=id_val_plex_image_position_adjustment_on\n"
             "HeadHeight=id_val_lfp_media_edit_middle1\n"
             "SetPathMode=id_val_lfp_path_mode_1\n"
             "JobCreatorID=0x01020304\n"
             "JobStartExecutionMode=id_val_job_execution_mode_with_job_store\n"
             "COLMode=id_val_identify_by_handle\n"
             "COLCount=2\n"
             "COLHandle=0xA0B0C0D0\n"
             "COLNumber=70000\n"
             "COLPassword=1234\n"
             "JobStartMode=id_val_job_start_type_immediate\n"
             "ClientJobID_UUID=00112233-4455-6677-8899-AABBCCDDEEFF\n"
             "ClientJobID_JobInfo=\"order 42\"\n"
             "JobCopies=3\n"
             "QualityOptimizedLevel=id_val_print_quality_optimized_level3\n"
             "HeadOneWayPrint=id_val_head_one_way_print_off\n"
             "Calibration=id_val_lfp_calibration_invalid\n"
             "JobImpressions2=0x01000002\n"
             "SetJobOctets=1\n" +
                 printjob::kRaster);
  EXPECT_EQ(r.out, kTimeEcho);

  // Every COL entry repeats the one handle, number (its low 16 bits) and password.
  const Bytes col = {0xA0, 0xB0, 0xC0, 0xD0, 0x11, 0x70, 0x00, 0x00, 0x04, 0xD2};
  Bytes clientJob = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77,
                     0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF};
  clientJob = join({clientJob, bytes("order 42")});
  clientJob.resize(64, 0);
  const std::vector<Bytes> start = emptyStartV2(join({{0x00, 7},
                                                      entry(240, {2}),
                                                      entry(304, join({{2, 0, 2}, col, col})),
                                                      entry(4, text(3, "Banner")),
                                                      entry(6, text(3, "print room")),
                                                      entry(13, {4}),
                                                      entry(280, clientJob),
                                                      entry(9, kTimePack)}));
  const Bytes body = join({
      start[0],
      setJob(2007, {0, 3}),
      method(0x11, {1, 2, 3, 4}),
      start[1],
      start[2],
      start[3],
      setDocument(2140, text(3, "Check heads")),
      start[4],
      start[5],
      setDocument(2042, {2}),
      setDocument(2217, {2}),
      setDocument(2158, {1, 0x0B, 0, 0}),
      setDocument(2029, {44, 0xFE, 0xFF, 0xFE, 0, 0, 0, 0, 0, 0, 0, 0, 1}),
      setDocument(2214, {1, 0xFF, 0xFF}),
      setDocument(2343, {3}),
      setDocument(2355, {1}),
      setValue(1, 4),
      setValue(2, 11),
      setValue(3, 16),
      setValue(7, 25),
      setValue(9, 27),
      setValue(14, 36),
      method(0x0B, {1}),
      method(0x14, {1}),
      setDocument(2015, {4}),
      setDocument(2303, {2}),
      dataPackets(r.raster),
  });
  const Bytes expected = join({body, endV2(body.size(), 0x01000002, true)});
  EXPECT_TRUE(sameFile(r.file, expected));
}

// [ZELP_Raw] packets in an order unrelated to their positions: each goes out whole where its
// packet type belongs, with the operation and parameter length of its header made right.
TEST(JobEnvelope, RawPacketsAtTheirPositions) {
  const std::string raw =
      "[ZELP_Raw]\n"
      "FullPacket=zelp_id_val_packet_type_job_method,\n"
      "0xCDCA1000FFFF0001FFFF\n"  // operation and length to be rewritten
      "0x00000000000000000000\n"
      "0x00000000400601010A\n"
      "SimplePacket=zelp_id_val_packet_type_document_method,\n"
      "0x00000000\"@\"0B05\n"
      "SimplePacket=zelp_id_val_packet_type_document_attr,\n"
      "0X0899\n"
      "0x01 02\n"  // no pairs with a blank between: dropped
      "\"late\"\n"
      "FullPacket=zelp_id_val_packet_type_binder_attr,\n"
      "0xcdca10000000000100000000000000000000000007d70002\n"
      "SimplePacket=zelp_id_val_packet_type_job_attr,\n"
      "0x0123\"id\"\n"
      "FullPacket=zelp_id_val_packet_type_binder_method,\n"
      "0xCDCA100000000001\n"
      "0x000000000000000000000000\n"
      "0x000000004014F\n"  // an odd last digit is a byte of its own
      "SimplePacket=zelp_id_val_packet_type_document_attr,\n"
      "0x089A\"second\"\n";
  const std::string echo =
      "FullPacket=zelp_id_val_packet_type_job_method,\n"
      "\t0xCDCA1000FFFF0001FFFF\n\t0x00000000000000000000\n\t0x00000000400601010A\n"
      "SimplePacket=zelp_id_val_packet_type_document_method,\n"
      "\t0x00000000\"@\"0B05\n"
      "SimplePacket=zelp_id_val_packet_type_document_attr,\n"
      "\t0X0899\n\t0x01 02\n\t\"late\"\n"
      "FullPacket=zelp_id_val_packet_type_binder_attr,\n"
      "\t0xcdca10000000000100000000000000000000000007d70002\n"
      "SimplePacket=zelp_id_val_packet_type_job_attr,\n"
      "\t0x0123\"id\"\n"
      "FullPacket=zelp_id_val_packet_type_binder_method,\n"
      "\t0xCDCA100000000001\n\t0x000000000000000000000000\n\t0x000000004014F\n"
      "SimplePacket=zelp_id_val_packet_type_document_attr,\n"
      "\t0x089A\"second\"\n";
  const Bytes jobMethod = packet(29, {0, 0, 0, 0, 0x40, 0x06, 0x01, 0x01, 0x0A});
  const Bytes documentMethod = packet(29, {0, 0, 0, 0, 0x40, 0x0B, 0x05});
  const Bytes documentAttr = packet(24, join({{0x08, 0x99}, bytes("late")}));
  const Bytes binderAttr = packet(21, {0x07, 0xD7, 0x00, 0x02});
  const Bytes jobAttr = packet(18, {0x01, 0x23, 'i', 'd'});
  const Bytes binderMethod = packet(29, {0, 0, 0, 0, 0x40, 0x14, 0x0F});
  const Bytes secondDocumentAttr = packet(24, join({{0x08, 0x9A}, bytes("second")}));

  for (int version : {1, 2}) {
    SCOPED_TRACE(version);
    TempDir dir;
    const printjob::Result r =
        runJob(dir, "[ZELP]\nVersion=" + std::to_string(version) + "\nJobTime=0\nSetJobOctets=1\n" +
                        raw + printjob::kRaster);
    EXPECT_EQ(r.out, "JobTime=0\n" + echo);

    Bytes expected;
    if (version == 1) {
      // Version 1 has no place for job methods.
      const std::vector<Bytes> start = emptyStartV1();
      expected = join({start[0], setJob(2004, {0, 1}), jobAttr, start[1], binderAttr, binderMethod,
                       start[2], start[3], documentAttr, secondDocumentAttr, documentMethod,
                       dataPackets(r.raster), end(0)});
    } else {
      const std::vector<Bytes> start = emptyStartV2();
      const Bytes body = join({start[0], jobAttr, jobMethod, start[1], start[2], binderAttr,
                               binderMethod, start[3], start[4], start[5], documentAttr,
                               secondDocumentAttr, documentMethod, dataPackets(r.raster)});
      expected = join({body, endV2(body.size(), 0, true)});
    }
    EXPECT_TRUE(sameFile(r.file, expected));
  }
}

// A packet left shorter than its header, or data with no packet to go to, ends the job before
// anything is written; the lines read so far have been echoed.
TEST(JobEnvelope, RawPacketShorterThanItsHeaderEndsTheJob) {
  const std::string shortPacket =
      "[ZELP_Raw]\nFullPacket=zelp_id_val_packet_type_job_attr,\n0xCDCA1000\n";
  const std::string shortEcho = "FullPacket=zelp_id_val_packet_type_job_attr,\n\t0xCDCA1000\n";
  const std::vector<std::pair<std::string, std::string>> cases = {
      {shortPacket, shortEcho},
      {shortPacket + "SimplePacket=zelp_id_val_packet_type_job_attr,\n", shortEcho},
      {"[ZELP_Raw]\n0x0102\n", ""},
  };
  for (const auto& [raw, echo] : cases) {
    SCOPED_TRACE(raw);
    TempDir dir;
    testsupport::writeFile(dir / "job.cfg", "[ZELP]\nJobTime=0\n" + raw + printjob::kRaster);
    EXPECT_EXIT_WITH_STDOUT(makeZELPData((dir / "job.cfg").c_str()), "JobTime=0\n" + echo);
    EXPECT_FALSE(std::filesystem::exists(dir / "job.dat"));
  }
}

}  // namespace
