// The job configuration reader: fills the parameter record or ends the process (exit 1).
#pragma once

#include <cstdio>
#include <memory>

#include "config/parameter.h"

// Default output name, copied into outFilePath when none was given.
char* setDefaultFileName(const char* name);

// Reads the configuration file into `p`; returns only on success.
void parseParameter(const char* path, parameter* p);
void disposeParameter(std::unique_ptr<parameter> p);

// Text helpers shared with the command definition file.
char* sReadLine(char* buf, int size, std::FILE* fp);
char* trimSpaces(char* s);
