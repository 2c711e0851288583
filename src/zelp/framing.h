// ZELP packet framing: headers, data packets, raw packet pass-through, and the byte count of
// the job written so far. Shared by the attribute store and the start/end sequences.
#pragma once

#include <cstdint>

struct rawPacket;

constexpr int kZELPWriteBufferBytes = 65534;

// Buffer lifetime and the job byte count, owned by the framing module.
void zelp_AllocateWriteBuffer();
void zelp_FreeWriteBuffer();
void zelp_ResetJobOctetsLength();
std::uint32_t zelp_GetJobOctetsLength();
void zelp_AddJobOctets(std::uint32_t n);
int zelp_GetWriteIndex();

void sendDataPacket(const unsigned char* bytes, int n, int moreFollows);
void sendPacketHeader(std::uint32_t operation, std::uint32_t parameterLength);
void sendPacketParameterBlock(const unsigned char* bytes, int n);
void sendPacketParameterShort(std::uint32_t value);
void sendPacketParameterChar(std::uint32_t value);
void sendRawPacket(const unsigned char* bytes, int n);
void sendRawPacketWithAttribute(const rawPacket* list, int position);
