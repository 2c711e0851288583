// Raw packets: [ZELP_Raw] sections and [ZELP] lines naming a defined command.
#pragma once

#include "config/parameter.h"

// Key parser of [ZELP_Raw]: 0 for the header, 1 for a stored line; exits 1 on a bad line.
int parseZELP_RawParameter(cfgLine* line, parameter* p);
// Ends the process unless the last raw packet holds at least a header (20 bytes).
void checkRawPacket(parameter* p);
// A [ZELP] line naming the current command of p->commandDefinitions.
int parseZELPParameterCmd(cfgLine* line, parameter* p);
