#include <gtest/gtest.h>

#include <string>

#include "inspect/packets.h"
#include "support/support.h"
#include "zelpgen/zelpgen.h"

namespace {

using testsupport::TempDir;

TEST(EntryPoint, MissingConfigurationEndsWithStatusOne) {
  TempDir dir;
  const std::string cfg = (dir / "absent.cfg").string();
  EXPECT_EXIT_WITH_STDOUT(makeZELPData(cfg.c_str()), "");
}

}  // namespace
