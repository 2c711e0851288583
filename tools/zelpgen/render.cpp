// zelpgen render: not built yet.
#include "commands.h"

int cli::runRender(std::span<char*>) { return usageError("render ", "'render' is not available yet"); }
