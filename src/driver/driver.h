// The job driver: from a configuration file to a finished print file.
#pragma once

#include <cstdint>
#include <memory>

#include "config/parameter.h"
#include "image/lxbmp.h"

// Job attributes from the record into the attribute store; opens the output file.
int processZELP(parameter* p);
// [KELM] settings into the raster encoder, then the job start.
int processKELMConfiguration(parameter* p);
int processKELMImageConfiguration(const imageParameter* entry);
int setPrintableWidthInPixel(parameter* p);

// One image entry on the current page.
int processKELMImageData(const imageParameter* entry);
void prepareBand(std::unique_ptr<LXGWorld>* slot, const LXBMPRecT* reader, LXRect* rect, int depth);
