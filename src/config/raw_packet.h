// Raw packets: [ZELP_Raw] sections and [ZELP] lines naming a defined command.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "config/parameter.h"

struct _CMDSECTION;

// Key parser of [ZELP_Raw]: 0 for the header, 1 for a stored line; exits 1 on a bad line.
int parseZELP_RawParameter(cfgLine* line, parameter* p);
// Ends the process unless the last raw packet holds at least a header (20 bytes).
void checkRawPacket(parameter* p);
// A [ZELP] line naming the current command of p->commandDefinitions.
int parseZELPParameterCmd(cfgLine* line, parameter* p);

// Appends an empty packet to the list (setting `head` when it is empty) and returns it.
rawPacket* addRawPacket(std::unique_ptr<rawPacket>& head);
// Operation from a packet type symbol; an unknown symbol leaves it as it is.
void setOperationSymbol(rawPacket* packet, const char* symbol);
// Gives the packet the 20-byte simple header.
void makeRawPacketheader(rawPacket* packet);
// Appends the bytes a data text describes: hex pairs after an optional 0x, and quoted
// strings. 0 when something was appended; 1 (nothing appended) for an empty or malformed text.
int writeRawPacket(rawPacket* packet, const char* text);
// Method preamble and the command's leading constant packet lines.
void makeRawPacketBinary(rawPacket* packet, _CMDSECTION& section);
// The configuration value of the command's next parameter, formatted by its data type.
void makeRawPacketData(rawPacket* packet, _CMDSECTION& section, const char* value);
// A number text as hexadecimal digits for a parameter of `size`.
std::string makeZELPDataFmt(const char* text, std::uint32_t size);
