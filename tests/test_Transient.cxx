#include <gtest/gtest.h>

#include <sstream>

#include <ykstd/ykstd.hxx>

TEST(Smoke, NullHandle) {
  Hnd_ykstd_TShared h;
  EXPECT_TRUE(h.IsNull());
  std::ostringstream out;
  h.Dump(out);
  EXPECT_EQ(out.str(), "[NullHandle]");
}
