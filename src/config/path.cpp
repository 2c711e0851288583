// Image file names of a configuration turned into "/"-separated full paths.
#include "config/path.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "diag/diag.h"

namespace {

using namespace kelm;

constexpr int kConversionOrder[] = {kFileRGB, kFileCMYK, kPlaneK, kPlaneC,  kPlaneM,
                                    kPlaneY,  kPlanec,   kPlanem, kPlaneGy, kPlanePgy,
                                    kPlaneR,  kPlaneG,   kPlaneB};

bool isSeparator(char c) {
  return c == '\\' || c == ':';
}

template <typename Convert>
void forEachImageFile(parameter* p, Convert convert) {
  for (imageParameter* entry = p->imageParameterList.get(); entry != nullptr;
       entry = entry->next.get()) {
    for (int i : kConversionOrder) convert(entry->imageFile[i]);
  }
}

}  // namespace

int toSlash(char (&path)[kPathSize]) {
  if (path[0] == '\0' || (std::strchr(path, '\\') == nullptr && std::strchr(path, ':') == nullptr))
    return 0;
  if (path[1] == ':' && path[2] == '\\')
    diag::failJob(
        {{}, 0, {}, {}, path, std::string("a path with a drive letter cannot be used: ") + path});
  std::string out;
  const char* rest = path;
  if (path[0] == ':') {
    // Colon convention: each further leading colon is one level up.
    std::size_t i = 0;
    for (; path[i] == ':' && path[i + 1] == ':'; ++i) out += "../";
    rest = path + i + 1;
  }
  for (; *rest != '\0'; ++rest) out += isSeparator(*rest) ? '/' : *rest;
  copyField(path, out.c_str());
  return 1;
}

int toFullPath(char (&path)[kPathSize], const parameter* p) {
  if (path[0] == '\0' || path[0] == '/') return 0;
  int levelsUp = 0;
  const char* rest = path;
  for (;;) {
    if (std::strncmp(rest, "../", 3) == 0) {
      ++levelsUp;
      rest += 3;
    } else if (std::strncmp(rest, "./", 2) == 0) {
      rest += 2;
    } else {
      break;
    }
  }
  std::string directory = p->cfgDirectory;
  for (int i = 0; i < levelsUp; ++i) {
    const std::size_t slash = directory.rfind('/');
    if (slash == std::string::npos) break;
    directory.erase(slash);
  }
  const std::string full = directory + '/' + rest;
  copyField(path, full.c_str());
  return 1;
}

void convertDirSeparator(parameter* p) {
  toSlash(p->outFilePath);
  for (imageProcessingFile* f = p->imageProcessingFileList.get(); f != nullptr; f = f->next.get())
    toSlash(f->path);
  forEachImageFile(p, [](char(&name)[kPathSize]) { toSlash(name); });
}

void convertToFullPath(parameter* p) {
  for (imageProcessingFile* f = p->imageProcessingFileList.get(); f != nullptr; f = f->next.get())
    toFullPath(f->path, p);
  toFullPath(p->outFilePath, p);
  forEachImageFile(p, [p](char(&name)[kPathSize]) { toFullPath(name, p); });
}
