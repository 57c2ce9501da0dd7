// Seeds for the fuzz targets: with YKSTD_CORPUS_DIR set, the streams that tests write are kept as
// files <dir>/<target>/<test>-<n>, behind an optional leading byte that the target reads first.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace ykstd_test {

inline void SaveSeed(const char* target, const std::vector<unsigned char>& bytes, int lead = -1) {
  const char* dir = std::getenv("YKSTD_CORPUS_DIR");
  if (!dir) return;
  static int n = 0;
  const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
  const std::filesystem::path folder = std::filesystem::path(dir) / target;
  std::filesystem::create_directories(folder);
  std::ofstream out(folder / (std::string(info ? info->name() : "seed") + "-" + std::to_string(++n)), std::ios::binary);
  if (lead >= 0) out.put(static_cast<char>(lead));
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace ykstd_test
