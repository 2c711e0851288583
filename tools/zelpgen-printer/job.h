// How a job becomes print files: rows to band TIFFs on the spool disk, a job configuration, a
// `zelpgen print` child per page, the print files to the device.
#pragma once

#include <pappl/pappl.h>

#include <cstdint>
#include <string>

#include "child.h"

namespace zp {

// Set once by the system callback, before any job runs; read-only afterwards.
struct Settings {
  std::string spoolDirectory;  // each job gets its own folder below it
  std::string zelpgen;         // the zelpgen program
  std::string ghostscript = "gs";
  std::string iccProfile;                 // "" = the built-in conversion
  std::uint64_t spoolLimit = 8ull << 30;  // bytes of spool a job may use
  std::uint64_t imageLimit = 3ull << 30;  // bytes of one band TIFF (classic TIFF stays below 4 GB)
  ChildLimits limits;
};
Settings& settings();

bool printNativeFile(pappl_job_t* job, pappl_pr_options_t* options, pappl_device_t* device);
bool rasterStartJob(pappl_job_t* job, pappl_pr_options_t* options, pappl_device_t* device);
bool rasterStartPage(pappl_job_t* job, pappl_pr_options_t* options, pappl_device_t* device,
                     unsigned page);
bool rasterWriteLine(pappl_job_t* job, pappl_pr_options_t* options, pappl_device_t* device,
                     unsigned y, const unsigned char* line);
bool rasterEndPage(pappl_job_t* job, pappl_pr_options_t* options, pappl_device_t* device,
                   unsigned page);
bool rasterEndJob(pappl_job_t* job, pappl_pr_options_t* options, pappl_device_t* device);

// MIME filter: a PNG decoded in memory, then PAPPL's image path.
bool filterPng(pappl_job_t* job, pappl_device_t* device, void* data);
// MIME filter: a PDF through Ghostscript into the same pages.
bool filterPdf(pappl_job_t* job, pappl_device_t* device, void* data);

}  // namespace zp
