// A private pair of hive folders for one test, removed afterwards.
#pragma once

#include <string>

class TempHives {
 public:
  TempHives();
  ~TempHives();
  TempHives(const TempHives&) = delete;
  TempHives& operator=(const TempHives&) = delete;

  const std::string& Root() const { return root_; }
  std::string UserFolder() const { return root_ + "/user"; }
  std::string MachineFolder() const { return root_ + "/machine"; }
  std::string UserHive() const { return UserFolder() + "/user.reg"; }
  std::string MachineHive() const { return MachineFolder() + "/machine.reg"; }
  std::string ClassesHive() const { return MachineFolder() + "/classes.reg"; }

 private:
  std::string root_;
};

std::string ReadFileBytes(const std::string& path);
void WriteFileBytes(const std::string& path, const std::string& bytes);
bool FileExists(const std::string& path);
