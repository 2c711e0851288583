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

// The record and its lists. Every add appends at the tail (setting the head when the list was
// empty) and returns the new node.
void initCommonParameter(parameter* p);
imageParameter* addImageParameter(parameter* p);
void initImageParameter(imageParameter* entry);
void setDefaultImageParameter(parameter* p);
imageProcessingFile* addImageProcessingFile(std::unique_ptr<imageProcessingFile>& head);
newPJLLine* addNewPJLLine(parameter* p);
imageParameter* getLastImageParameter(parameter* p);
void deleteCFGFile(std::unique_ptr<cfgLine>& head);
void deleteImageProcessingFile(parameter* p);
void deleteImageParameter(parameter* p);

// Proves that every named input file can be opened; ends the process otherwise.
void checkIfFileExist(const parameter* p);
