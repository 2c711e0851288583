// The job's single output stream.
#include "zelp/lxfile.h"

#include <cerrno>
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
LXFileResult mResult;
unsigned mOpens = 0;

// The first failure is the one worth telling: later ones follow from it.
void noteFailure(bool failed) {
  if (failed && mResult.error == 0) mResult.error = errno != 0 ? errno : EIO;
}

}  // namespace

const char* LXFile_NewWithName(const char* name) {
  mStream.reset();
  mResult = {false, 0, 0, mOpens};
  mFilePath = (name == nullptr || *name == '\0') ? "ZELP.dat" : name;
  return mFilePath.c_str();
}

const char* LXFile_New() {
  return LXFile_NewWithName("ZELP.dat");
}

int LXFile_Open() {
  mStream.reset(std::fopen(mFilePath.c_str(), "wb+"));
  if (mStream) ++mOpens;
  mResult = {mStream != nullptr, 0, 0, mOpens};
  return mStream ? 0 : -1;
}

int LXFile_Close() {
  if (!mStream) return 0;
  noteFailure(std::ferror(mStream.get()) != 0);
  const int result = std::fclose(mStream.release());
  noteFailure(result != 0);
  return result;
}

LXFileResult LXFile_Result() {
  return mResult;
}

// Without an open stream every operation fails instead of handing a null FILE to the C library
// (fflush would flush every stream of the process).
int LXFile_Flush() {
  if (!mStream) return EOF;
  const int result = std::fflush(mStream.get());
  noteFailure(result != 0);
  return result;
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
  const std::size_t written = std::fwrite(buffer, size, 1, mStream.get());
  noteFailure(written != 1);
  mResult.written += static_cast<long long>(size);
  return written;
}

std::size_t LXFile_WriteByte(unsigned value) {
  if (!mStream) return 0;
  const unsigned char b = static_cast<unsigned char>(value);
  const std::size_t written = std::fwrite(&b, 1, 1, mStream.get());
  noteFailure(written != 1);
  ++mResult.written;
  return written;
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
