// Packet framing: headers, data packets from the write buffer, raw packets, the job byte count.
#include "zelp/framing.h"

#include <cstring>
#include <vector>

#include "zelp/codes.h"
#include "zelp/lxfile.h"
#include "zelp/raw_packet_record.h"
#include "zelp/zelp.h"

namespace {

std::vector<unsigned char> mWriteBuffer;  // capacity kZELPWriteBufferBytes once allocated
int mWriteBufferBytes = 0;
int mWriteIndex = 0;
std::uint32_t mJobOctetsLength = 0;

}  // namespace

void zelp_AllocateWriteBuffer() {
  mWriteBufferBytes = kZELPWriteBufferBytes;
  mWriteBuffer.assign(kZELPWriteBufferBytes, 0);
  mWriteIndex = 0;
}

void zelp_FreeWriteBuffer() {
  mWriteBuffer.clear();
  mWriteBuffer.shrink_to_fit();
  mWriteBufferBytes = 0;
  mWriteIndex = 0;
}

void zelp_ResetJobOctetsLength() {
  mJobOctetsLength = 0;
}
std::uint32_t zelp_GetJobOctetsLength() {
  return mJobOctetsLength;
}
void zelp_AddJobOctets(std::uint32_t n) {
  mJobOctetsLength += n;
}
int zelp_GetWriteIndex() {
  return mWriteIndex;
}

void sendPacketHeader(std::uint32_t operation, std::uint32_t parameterLength) {
  static constexpr unsigned char kLead[4] = {0xCD, 0xCA, 0x10, 0x00};
  LXFile_Write(kLead, sizeof kLead);
  LXFile_WriteWord(operation, 0);
  LXFile_WriteWord(1, 0);
  LXFile_WriteWord(parameterLength, 0);
  static constexpr unsigned char kReserved[10] = {};
  LXFile_Write(kReserved, sizeof kReserved);
}

void sendPacketParameterBlock(const unsigned char* bytes, int n) {
  if (n < 1) return;
  LXFile_Write(bytes, static_cast<std::size_t>(n));
}

void sendPacketParameterShort(std::uint32_t value) {
  LXFile_WriteWord(value, 0);
}

void sendPacketParameterChar(std::uint32_t value) {
  LXFile_WriteByte(value);
}

void sendDataPacket(const unsigned char* bytes, int n, int moreFollows) {
  unsigned char head[21] = {
      0xCD, 0xCA,        0x10, moreFollows ? zelp::kMoreData : std::uint8_t{0},
      0x00, zelp::kData, 0x00, 0x01};
  const std::uint32_t parameterLength = static_cast<std::uint32_t>(n) + 1;
  head[8] = static_cast<unsigned char>(parameterLength >> 8);
  head[9] = static_cast<unsigned char>(parameterLength);
  head[20] = 0x01;
  LXFile_Write(head, sizeof head);
  sendPacketParameterBlock(bytes, n);
  mJobOctetsLength += static_cast<std::uint32_t>(n) + 21;
}

void sendRawPacket(const unsigned char* bytes, int n) {
  sendPacketParameterBlock(bytes, n);
  mJobOctetsLength += static_cast<std::uint32_t>(n);
}

void sendRawPacketWithAttribute(const rawPacket* list, int position) {
  for (const rawPacket* p = list; p != nullptr; p = p->next.get()) {
    if (static_cast<std::int16_t>(p->operation) == position) {
      sendRawPacket(p->data.data(), static_cast<int>(p->data.size()));
    }
  }
}

void ZELP_Flush(int moreFollows) {
  if (mWriteIndex > 0) {
    sendDataPacket(mWriteBuffer.data(), mWriteIndex, moreFollows);
    mWriteIndex = 0;
  }
}

void ZELP_SendData(const void* bytes, int n) {
  if (mWriteBufferBytes <= 0 || bytes == nullptr) return;  // no job, or nothing to read
  const unsigned char* src = static_cast<const unsigned char*>(bytes);
  while (n > 0) {
    const int space = mWriteBufferBytes - mWriteIndex;
    if (n < space) {
      std::memmove(mWriteBuffer.data() + mWriteIndex, src, static_cast<std::size_t>(n));
      mWriteIndex += n;
      return;
    }
    // A write that fills the buffer exactly emits it at once.
    std::memmove(mWriteBuffer.data() + mWriteIndex, src, static_cast<std::size_t>(space));
    mWriteIndex += space;
    sendDataPacket(mWriteBuffer.data(), mWriteIndex, 1);
    mWriteIndex = 0;
    src += space;
    n -= space;
  }
}

void ZELP_SendCString(const char* text) {
  if (text == nullptr) return;
  ZELP_SendData(text, static_cast<int>(std::strlen(text)));
}

int ZELP_Open() {
  mWriteIndex = 0;
  return LXFile_Open() == 0 ? 0 : -1;
}

int ZELP_Close() {
  return LXFile_Close();
}
