// Shared by the fuzz targets: each defines LLVMFuzzerTestOneInput and builds either against
// libFuzzer or against replay.cpp, which feeds it every file of the folders it is given.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

// The readers take paths: the input goes to a file of this process's own, named with
// `extension` (".tif", ".cfg", ...), and its path is returned.
std::string writeInput(std::span<const std::uint8_t> bytes, const char* extension);

// Runs a step of a job; a job error inside it returns here instead of ending the process.
void untilJobError(const std::function<void()>& step);

// Opens the image file at `path` and reads it to the end (or a band budget) with every reader
// into bands of every depth, as the page loop would.
void readImageEveryWay(const char* path);

}  // namespace fuzz
