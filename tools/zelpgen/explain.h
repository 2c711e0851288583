// Traps of a job file's text that make a line mean something other than it seems; the reader
// keeps quiet about them, so the program says what happened and why.
#pragma once

#include <optional>
#include <string>

#include "diag/diag.h"

namespace cli {

// Text the reader skips before the first section header (a byte-order mark, a comment after
// the header, keys outside any section), said as a warning; nothing when the job starts well.
// `defaultOut` names the print file the job gets when its OutFilePath goes unread.
std::optional<diag::JobError> unreadLead(const std::string& job, const std::string& defaultOut);

// The error with its cause when the line it names is one of the traps: a line of blanks, a
// comment after a section header or inside a quoted value, a command that only a command
// definition file in the current folder could define.
diag::JobError explained(diag::JobError error);

}  // namespace cli
