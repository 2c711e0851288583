// The subcommands of the zelpgen program; each takes the arguments after its own name.
#pragma once

#include <span>

namespace cli {

// Exit statuses shared by every subcommand.
inline constexpr int kExitOk = 0;
inline constexpr int kExitJobError = 1;
inline constexpr int kExitUsage = 2;

int runPrint(std::span<char*> args);
int runCheck(std::span<char*> args);
int runInspect(std::span<char*> args);
int runRender(std::span<char*> args);

// "zelpgen: <message>" on stderr, then the usage status.
int usageError(const char* subcommand, const char* message);

}  // namespace cli
