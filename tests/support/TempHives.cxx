#include "TempHives.hxx"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <ykstd/platform/Registry.hxx>

TempHives::TempHives() {
  std::string pattern = (std::filesystem::temp_directory_path() / "ykstd_hives_XXXXXX").string();
  if (!::mkdtemp(pattern.data())) std::abort();
  root_ = pattern;
  ykstd_platform::SetRegistryFolders(UserFolder().c_str(), MachineFolder().c_str());
}

TempHives::~TempHives() {
  ykstd_platform::SetRegistryFolders(nullptr, nullptr);
  std::error_code ignored;
  std::filesystem::remove_all(root_, ignored);
}

std::string ReadFileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

void WriteFileBytes(const std::string& path, const std::string& bytes) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << bytes;
}

bool FileExists(const std::string& path) { return std::filesystem::exists(path); }
