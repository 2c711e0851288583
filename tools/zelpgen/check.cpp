// zelpgen check: not built yet.
#include "commands.h"

int cli::runCheck(std::span<char*>) { return usageError("check ", "'check' is not available yet"); }
