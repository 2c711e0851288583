// The proof behind check and print --strict: the trial print file read back with the print-file
// decoder and held against the job. Each image's rows on the first page are compared, band by
// band as they decode, with its source pictures decoded apart from the library (picture.h);
// what prints that the pictures do not explain, a print file that does not read back, and a job
// that prints no page are warnings through diag, on the job line that caused them.
#pragma once

#include <string>

#include "driver/job.h"

namespace cli {

void proveTrial(const std::string& printFile, const JobReport& report);

}  // namespace cli
