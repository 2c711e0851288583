// File names of a configuration: "/" separators and full paths.
#pragma once

#include "config/parameter.h"

// Backslashes and colons become "/" (leading colon pairs go up one level each). 1 when the path
// was rewritten; a drive-letter path ends the process.
int toSlash(char (&path)[kPathSize]);
// A relative path is resolved against p->cfgDirectory. 1 when the path was rewritten.
int toFullPath(char (&path)[kPathSize], const parameter* p);

void convertDirSeparator(parameter* p);
void convertToFullPath(parameter* p);
