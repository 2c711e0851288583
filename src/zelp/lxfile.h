// The single output stream of a job, with big-endian (or little-endian) word writes.
#pragma once

#include <cstddef>
#include <cstdint>

// What became of the last stream named, kept after it is closed: whether it was opened, and the
// errno of its first failed write, flush or close (0: none), and how much it was given.
struct LXFileResult {
  bool opened = false;
  int error = 0;
  long long written = 0;  // bytes handed to the stream
  unsigned opens = 0;     // streams opened by the process so far, this one included
};
LXFileResult LXFile_Result();

const char* LXFile_NewWithName(const char* name);
const char* LXFile_New();
[[nodiscard]] int LXFile_Open();
[[nodiscard]] int LXFile_Close();
[[nodiscard]] int LXFile_Flush();
[[nodiscard]] int LXFile_SeekTo(long offset);
long LXFile_GetPosition();
bool LXFile_IsOpen();
// True once a write or read on the open stream has failed.
bool LXFile_HasError();
std::size_t LXFile_Write(const void* buffer, std::size_t size);
std::size_t LXFile_WriteByte(unsigned value);
std::size_t LXFile_Read(void* buffer, std::size_t n);
std::size_t LXFile_WriteCString(const char* text);
void LXFile_Delete();
void LXFile_WriteWord(std::uint32_t value, int littleEndian);
void LXFile_WriteLong(std::uint32_t value, int littleEndian);
