// The job's single output stream.
#include "zelp/lxfile.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

namespace {

struct FileCloser {
  void operator()(std::FILE* f) const { std::fclose(f); }
};

std::unique_ptr<std::FILE, FileCloser> mStream;
std::string mFilePath;

}  // namespace

const char* LXFile_NewWithName(const char* name) {
  mStream.reset();
  mFilePath = (name == nullptr || *name == '\0') ? "ZELP.dat" : name;
  return mFilePath.c_str();
}

const char* LXFile_New() {
  return LXFile_NewWithName("ZELP.dat");
}

int LXFile_Open() {
  mStream.reset(std::fopen(mFilePath.c_str(), "wb+"));
  return mStream ? 0 : -1;
}

int LXFile_Close() {
  if (!mStream) return 0;
  return std::fclose(mStream.release());
}

// Without an open stream every operation fails instead of handing a null FILE to the C library
// (fflush would flush every stream of the process).
int LXFile_Flush() {
  if (!mStream) return EOF;
  return std::fflush(mStream.get());
}

int LXFile_SeekTo(long offset) {
  if (!mStream) return -1;
  return std::fseek(mStream.get(), offset, SEEK_SET);
}

long LXFile_GetPosition() {
  if (!mStream) return -1;
  return std::ftell(mStream.get());
}

bool LXFile_IsOpen() {
  return mStream != nullptr;
}

bool LXFile_HasError() {
  return mStream && std::ferror(mStream.get()) != 0;
}

std::size_t LXFile_Write(const void* buffer, std::size_t size) {
  if (!mStream || size == 0) return 0;
  return std::fwrite(buffer, size, 1, mStream.get());
}

std::size_t LXFile_WriteByte(unsigned value) {
  if (!mStream) return 0;
  const unsigned char b = static_cast<unsigned char>(value);
  return std::fwrite(&b, 1, 1, mStream.get());
}

std::size_t LXFile_Read(void* buffer, std::size_t n) {
  if (!mStream || n == 0) return 0;
  return std::fread(buffer, 1, n, mStream.get());
}

std::size_t LXFile_WriteCString(const char* text) {
  return LXFile_Write(text, std::strlen(text));
}

void LXFile_Delete() {
  (void)LXFile_Close();  // a job that got this far closed it already and read the result
  mFilePath.clear();
}

void LXFile_WriteWord(std::uint32_t value, int littleEndian) {
  if (littleEndian) {
    LXFile_WriteByte(value);
    LXFile_WriteByte(value >> 8);
  } else {
    LXFile_WriteByte(value >> 8);
    LXFile_WriteByte(value);
  }
}

void LXFile_WriteLong(std::uint32_t value, int littleEndian) {
  for (int i = 0; i < 4; ++i) {
    const int shift = littleEndian ? 8 * i : 24 - 8 * i;
    LXFile_WriteByte(value >> shift);
  }
}
