// zelpgen inspect: not built yet.
#include "commands.h"

int cli::runInspect(std::span<char*>) { return usageError("inspect ", "'inspect' is not available yet"); }
