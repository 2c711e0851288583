#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

#include "zelp_job.h"

namespace {

using namespace zelptest;

// Sets TZ for one test and puts the old value back.
class TimeZone {
 public:
  explicit TimeZone(const char* tz) {
    if (const char* old = std::getenv("TZ")) old_ = old;
    ::setenv("TZ", tz, 1);
    ::tzset();
  }
  ~TimeZone() {
    if (old_) {
      ::setenv("TZ", old_->c_str(), 1);
    } else {
      ::unsetenv("TZ");
    }
    ::tzset();
  }

 private:
  std::optional<std::string> old_;
};

// ZELP_SetAnyTime normalises the date and, unless it is marked GMT, packs its UTC equivalent.
TEST_F(ZelpJob, AnyTime) {
  struct Case {
    const char* tz;
    int day, month, year, hour, minute, second, isGMT;
    Bytes packed;
  };
  const Case cases[] = {
      {"UTC0", 32, 1, 2024, 10, 20, 30, 1, {0x7E, 0x82, 0x0C, 0, 0x0A, 0x14, 0x75, 0x30}},
      {"JST-9", 1, 1, 2024, 5, 0, 0, 1, {0x7E, 0x81, 0x09, 0, 0x05, 0, 0, 0}},
      {"JST-9", 1, 1, 2024, 5, 0, 0, 0, {0x7E, 0x7C, 0xFF, 0, 0x14, 0, 0, 0}},
      {"JST-9", 1, 1, 2024, 5, 0, 0, -1, {0x7E, 0x7C, 0xFF, 0, 0x14, 0, 0, 0}},
      // Summer time is found by the calendar, not assumed.
      {"CET-1CEST,M3.5.0,M10.5.0/3", 1, 7, 2024, 12, 0, 0, 0, {0x7E, 0x87, 0x09, 0, 0x0A, 0, 0, 0}},
      {"CET-1CEST,M3.5.0,M10.5.0/3", 1, 1, 2024, 12, 0, 0, 0, {0x7E, 0x81, 0x09, 0, 0x0B, 0, 0, 0}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.tz) + " isGMT " + std::to_string(c.isGMT));
    TimeZone zone(c.tz);
    ZELP_NewWithName(path().c_str());
    ZELP_SetAnyTime(c.day, c.month, c.year, 3, c.hour, c.minute, c.second, c.isGMT);
    ASSERT_EQ(ZELP_Open(), 0);
    EXPECT_EQ(ZELP_SendJobStartWithJobAttributes(), 0);
    finish();
    ASSERT_GE(packets_.size(), 2u);
    const auto time = inspect::setAttribute(packets_[1]);
    ASSERT_TRUE(time.has_value());
    EXPECT_EQ(time->id, 9);
    EXPECT_EQ(time->value, c.packed);
  }
}

}  // namespace
