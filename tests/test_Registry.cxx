#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <vector>

#include <ykstd/platform/Registry.hxx>

#include "TempHives.hxx"

namespace {

const std::string kHeader = "Windows Registry Editor Version 5.00\r\n\r\n";

class RegistryTest : public ::testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(ykstd_platform::OpenRegistryKeyCount(), 0); }

  HKEY Create(HKEY root, const char* path) {
    HKEY key = nullptr;
    EXPECT_EQ(RegCreateKeyExA(root, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr), ERROR_SUCCESS);
    return key;
  }
  // The value's type and bytes, or the error code as text.
  std::string Query(HKEY root, const char* path, const char* name) {
    HKEY key = nullptr;
    LONG rc = RegOpenKeyExA(root, path, 0, KEY_QUERY_VALUE, &key);
    if (rc != ERROR_SUCCESS) return "open " + std::to_string(rc);
    DWORD type = 0;
    DWORD size = 0;
    rc = RegQueryValueExA(key, name, nullptr, &type, nullptr, &size);
    std::string data(size, '?');
    if (rc == ERROR_SUCCESS)
      rc = RegQueryValueExA(key, name, nullptr, &type, reinterpret_cast<BYTE*>(data.data()), &size);
    RegCloseKey(key);
    if (rc != ERROR_SUCCESS) return "query " + std::to_string(rc);
    return std::to_string(type) + ":" + data.substr(0, size);
  }
  LONG Set(HKEY key, const char* name, DWORD type, const std::string& bytes) {
    return RegSetValueExA(key, name, 0, type, reinterpret_cast<const BYTE*>(bytes.data()),
                          static_cast<DWORD>(bytes.size()));
  }

  TempHives hives_;
};

TEST_F(RegistryTest, ReadsAHandWrittenFile) {
  WriteFileBytes(hives_.UserHive(),
                 "Windows Registry Editor Version 5.00\n"
                 "; settings of the add-in\n"
                 "\n"
                 "[HKCU\\Software\\Brimlow\\Kalvane]\n"
                 "@=\"default text\"\n"
                 "  ; an indented comment\n"
                 "\"Path\"=\"C:\\\\dir\\\\\\\"q\\\"\"\n"
                 "\"Count\" = dword:0000002A\n"
                 "\"Block\"=hex:01,ff,\\\n"
                 "   10,\\\n"
                 "  7f\n"
                 "\"Empty\"=hex:\n"
                 "\"Gone\"=\"x\"\n"
                 "\"Gone\"=-\n"
                 "\"Multi\"=hex(7):61,00,00\n"
                 "\n"
                 "[HKEY_CURRENT_USER\\Software\\Brimlow\\Kalvane\\Debug]\r\n"
                 "\"LogFile\"=\"/tmp/log.txt\"\r\n");
  const char* key = "Software\\Brimlow\\Kalvane";
  EXPECT_EQ(Query(HKEY_CURRENT_USER, key, nullptr), std::string("1:default text\0", 15));
  EXPECT_EQ(Query(HKEY_CURRENT_USER, key, ""), std::string("1:default text\0", 15));
  EXPECT_EQ(Query(HKEY_CURRENT_USER, key, "path"), std::string("1:C:\\dir\\\"q\"\0", 13));
  EXPECT_EQ(Query(HKEY_CURRENT_USER, key, "Count"), std::string("4:*\0\0\0", 6));
  EXPECT_EQ(Query(HKEY_CURRENT_USER, key, "Block"), "3:\x01\xff\x10\x7f");
  EXPECT_EQ(Query(HKEY_CURRENT_USER, key, "Empty"), "3:");
  EXPECT_EQ(Query(HKEY_CURRENT_USER, key, "Gone"), "query 2");
  EXPECT_EQ(Query(HKEY_CURRENT_USER, key, "Multi"), std::string("7:a\0\0", 5));
  EXPECT_EQ(Query(HKEY_CURRENT_USER, "software\\brimlow\\kalvane\\debug", "LOGFILE"),
            std::string("1:/tmp/log.txt\0", 15));
  // A key above a section exists; one beside it does not.
  EXPECT_EQ(Query(HKEY_CURRENT_USER, "Software\\Brimlow", "x"), "query 2");
  EXPECT_EQ(Query(HKEY_CURRENT_USER, "Software\\Other", "x"), "open 2");
  EXPECT_EQ(Query(HKEY_LOCAL_MACHINE, key, "Count"), "open 2");
}

TEST_F(RegistryTest, ReadsAUtf16Export) {
  std::string utf16 = "\xFF\xFE";
  for (unsigned char c :
       std::string("Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\S]\r\n\"N\"=\"")) {
    utf16 += static_cast<char>(c);
    utf16 += '\0';
  }
  utf16 += std::string("\xE9\x00\"\x00\r\x00\n\x00", 8);
  WriteFileBytes(hives_.MachineHive(), utf16);
  EXPECT_EQ(Query(HKEY_LOCAL_MACHINE, "S", "N"), std::string("1:\xC3\xA9\0", 5));
}

TEST_F(RegistryTest, WritesTheExportFormAndReadsItBackIdentically) {
  HKEY key = Create(HKEY_CURRENT_USER, "Software\\Brimlow\\Kalvane");
  DWORD disposition = 0;
  HKEY again = nullptr;
  ASSERT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, "software\\BRIMLOW\\kalvane", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                            &again, &disposition),
            ERROR_SUCCESS);
  EXPECT_EQ(disposition, REG_OPENED_EXISTING_KEY);
  RegCloseKey(again);

  const DWORD number = 0x12345678;
  EXPECT_EQ(Set(key, nullptr, REG_SZ, "top"), ERROR_SUCCESS);
  EXPECT_EQ(Set(key, "Name \"q\" \\", REG_SZ, std::string("text\0", 5)), ERROR_SUCCESS);
  EXPECT_EQ(Set(key, "Number", REG_DWORD, std::string(reinterpret_cast<const char*>(&number), 4)), ERROR_SUCCESS);
  EXPECT_EQ(Set(key, "Lines", REG_SZ, "a\nb"), ERROR_SUCCESS);
  EXPECT_EQ(Set(key, "Short", REG_DWORD, "\x01"), ERROR_SUCCESS);
  EXPECT_EQ(Set(key, "Big", REG_BINARY, std::string(30, '\xAB')), ERROR_SUCCESS);
  EXPECT_EQ(Set(key, "number", REG_DWORD, std::string(reinterpret_cast<const char*>(&number), 4)), ERROR_SUCCESS);
  RegCloseKey(key);

  const std::string expected = kHeader +
                               "[HKEY_CURRENT_USER\\Software\\Brimlow\\Kalvane]\r\n"
                               "@=\"top\"\r\n"
                               "\"Name \\\"q\\\" \\\\\"=\"text\"\r\n"
                               "\"Number\"=dword:12345678\r\n"
                               "\"Lines\"=hex(1):61,0a,62,00\r\n"
                               "\"Short\"=hex(4):01\r\n"
                               "\"Big\"=hex:ab,ab,ab,ab,ab,ab,ab,ab,ab,ab,ab,ab,ab,ab,ab,ab,ab,ab,ab,ab,ab,ab,ab,\\\r\n"
                               "  ab,ab,ab,ab,ab,ab,ab\r\n"
                               "\r\n";
  const std::string written = ReadFileBytes(hives_.UserHive());
  EXPECT_EQ(written, expected);
  EXPECT_EQ(Query(HKEY_CURRENT_USER, "Software\\Brimlow\\Kalvane", "Lines"), std::string("1:a\nb\0", 6));
  EXPECT_EQ(Query(HKEY_CURRENT_USER, "Software\\Brimlow\\Kalvane", "Big"), "3:" + std::string(30, '\xAB'));

  // A further write keeps every value exactly as it was.
  HKEY other = Create(HKEY_CURRENT_USER, "Software\\Other");
  RegCloseKey(other);
  EXPECT_EQ(ReadFileBytes(hives_.UserHive()), expected + "[HKEY_CURRENT_USER\\Software\\Other]\r\n\r\n");
  EXPECT_FALSE(FileExists(hives_.MachineHive()));
}

TEST_F(RegistryTest, SettingNeedsAnExistingKeyAndTheRight) {
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\Missing", 0, KEY_ALL_ACCESS, &key), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(key, nullptr);
  EXPECT_FALSE(FileExists(hives_.UserHive()));

  key = Create(HKEY_CURRENT_USER, "Software\\A");
  HKEY readOnly = nullptr;
  ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\A", 0, KEY_QUERY_VALUE, &readOnly), ERROR_SUCCESS);
  EXPECT_EQ(Set(readOnly, "v", REG_SZ, "x"), ERROR_ACCESS_DENIED);
  EXPECT_EQ(RegDeleteValueA(readOnly, "v"), ERROR_ACCESS_DENIED);
  RegCloseKey(readOnly);

  // The key vanishes under an open handle: the write fails and makes nothing.
  const std::string before = ReadFileBytes(hives_.UserHive());
  WriteFileBytes(hives_.UserHive(), kHeader);
  EXPECT_EQ(Set(key, "v", REG_SZ, "x"), ERROR_KEY_DELETED);
  EXPECT_EQ(ReadFileBytes(hives_.UserHive()), kHeader);
  DWORD size = 4;
  EXPECT_EQ(RegQueryValueExA(key, "v", nullptr, nullptr, nullptr, &size), ERROR_KEY_DELETED);
  RegCloseKey(key);

  EXPECT_EQ(RegCloseKey(key), ERROR_INVALID_HANDLE);
  EXPECT_EQ(RegCloseKey(nullptr), ERROR_INVALID_HANDLE);
  EXPECT_EQ(RegCloseKey(HKEY_LOCAL_MACHINE), ERROR_SUCCESS);
  EXPECT_EQ(Set(key, "v", REG_SZ, "x"), ERROR_INVALID_HANDLE);
  EXPECT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "a\\\\b", 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, "\\a", 0, nullptr, 0, KEY_READ, nullptr, &key, nullptr),
            ERROR_INVALID_PARAMETER);
  EXPECT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "x", 0, KEY_READ, nullptr), ERROR_INVALID_PARAMETER);
}

TEST_F(RegistryTest, BuffersOfEverySize) {
  HKEY key = Create(HKEY_LOCAL_MACHINE, "K");
  ASSERT_EQ(Set(key, "v", REG_BINARY, "abcd"), ERROR_SUCCESS);
  char buffer[8] = "1234567";
  DWORD size = 3;
  DWORD type = 99;
  EXPECT_EQ(RegQueryValueExA(key, "v", nullptr, &type, reinterpret_cast<BYTE*>(buffer), &size), ERROR_MORE_DATA);
  EXPECT_EQ(size, 4u);
  EXPECT_EQ(type, REG_BINARY);
  EXPECT_STREQ(buffer, "1234567");
  size = 8;
  EXPECT_EQ(RegQueryValueExA(key, "v", nullptr, nullptr, reinterpret_cast<BYTE*>(buffer), &size), ERROR_SUCCESS);
  EXPECT_EQ(size, 4u);
  EXPECT_STREQ(buffer, "abcd567");
  EXPECT_EQ(RegQueryValueExA(key, "v", nullptr, nullptr, reinterpret_cast<BYTE*>(buffer), nullptr),
            ERROR_INVALID_PARAMETER);
  EXPECT_EQ(RegQueryValueExA(key, "v", nullptr, nullptr, nullptr, nullptr), ERROR_SUCCESS);

  // The default value through RegQueryValueA: unset is empty text, a number is refused.
  LONG textSize = 0;
  EXPECT_EQ(RegQueryValueA(HKEY_LOCAL_MACHINE, "K", nullptr, &textSize), ERROR_SUCCESS);
  EXPECT_EQ(textSize, 1);
  ASSERT_EQ(Set(key, "", REG_SZ, "folder"), ERROR_SUCCESS);
  textSize = 6;
  EXPECT_EQ(RegQueryValueA(HKEY_LOCAL_MACHINE, "K", buffer, &textSize), ERROR_MORE_DATA);
  EXPECT_EQ(textSize, 7);
  EXPECT_EQ(RegQueryValueA(key, nullptr, buffer, &textSize), ERROR_SUCCESS);
  EXPECT_STREQ(buffer, "folder");
  EXPECT_EQ(RegQueryValueA(HKEY_LOCAL_MACHINE, "Nope", buffer, &textSize), ERROR_FILE_NOT_FOUND);
  ASSERT_EQ(Set(key, nullptr, REG_DWORD, "\1\0\0\0"), ERROR_SUCCESS);
  EXPECT_EQ(RegQueryValueA(key, nullptr, buffer, &textSize), ERROR_INVALID_DATA);

  EXPECT_EQ(RegDeleteValueA(key, "v"), ERROR_SUCCESS);
  EXPECT_EQ(RegDeleteValueA(key, "v"), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(Query(HKEY_LOCAL_MACHINE, "K", "v"), "query 2");
  RegCloseKey(key);
}

TEST_F(RegistryTest, ADamagedHiveIsReadInPartAndNeverRewritten) {
  const std::string damaged =
      "Windows Registry Editor Version 5.00\n"
      "[HKEY_CURRENT_USER\\Good]\n"
      "\"a\"=\"1\"\n"
      "\"b\"=dword:xyz\n"
      "\"c\"=\"unterminated\n"
      "\"d\"=\"bad \\escape\"\n"
      "\"e\"=hex:1,2,300\n"
      "\"f\"=\"3\"\n"
      "[HKEY_LOCAL_MACHINE\\Foreign]\n"
      "\"g\"=\"4\"\n"
      "[HKEY_CURRENT_USER\\Broken\n"
      "\"h\"=\"5\"\n";
  WriteFileBytes(hives_.UserHive(), damaged);
  EXPECT_EQ(Query(HKEY_CURRENT_USER, "Good", "a"), std::string("1:1\0", 4));
  EXPECT_EQ(Query(HKEY_CURRENT_USER, "Good", "f"), std::string("1:3\0", 4));
  for (const char* name : {"b", "c", "d", "e", "g", "h"}) EXPECT_EQ(Query(HKEY_CURRENT_USER, "Good", name), "query 2");
  EXPECT_EQ(Query(HKEY_CURRENT_USER, "Foreign", "g"), "open 2");

  HKEY key = nullptr;
  ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "Good", 0, KEY_ALL_ACCESS, &key), ERROR_SUCCESS);
  EXPECT_EQ(Set(key, "new", REG_SZ, "x"), ERROR_REGISTRY_CORRUPT);
  EXPECT_EQ(RegDeleteValueA(key, "a"), ERROR_REGISTRY_CORRUPT);
  RegCloseKey(key);
  EXPECT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, "New", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
            ERROR_REGISTRY_CORRUPT);
  EXPECT_EQ(ReadFileBytes(hives_.UserHive()), damaged);

  // Without its first line the file is damaged too, though every section reads.
  WriteFileBytes(hives_.UserHive(), "[HKEY_CURRENT_USER\\Good]\n\"a\"=\"1\"\n");
  EXPECT_EQ(Query(HKEY_CURRENT_USER, "Good", "a"), std::string("1:1\0", 4));
  ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "Good", 0, KEY_ALL_ACCESS, &key), ERROR_SUCCESS);
  EXPECT_EQ(Set(key, "new", REG_SZ, "x"), ERROR_REGISTRY_CORRUPT);
  RegCloseKey(key);
}

TEST_F(RegistryTest, ClassesComeFromTheUserBeforeTheMachine) {
  WriteFileBytes(hives_.ClassesHive(), kHeader +
                                           "[HKEY_CLASSES_ROOT\\CLSID\\X]\r\n@=\"machine\"\r\n\r\n"
                                           "[HKEY_CLASSES_ROOT\\CLSID\\Y]\r\n@=\"machine y\"\r\n");
  WriteFileBytes(hives_.UserHive(), kHeader + "[HKEY_CURRENT_USER\\Software\\Classes\\CLSID\\X]\r\n@=\"user\"\r\n");
  char buffer[32];
  LONG size = sizeof buffer;
  ASSERT_EQ(RegQueryValueA(HKEY_CLASSES_ROOT, "CLSID\\X", buffer, &size), ERROR_SUCCESS);
  EXPECT_STREQ(buffer, "user");
  size = sizeof buffer;
  ASSERT_EQ(RegQueryValueA(HKEY_CLASSES_ROOT, "CLSID\\Y", buffer, &size), ERROR_SUCCESS);
  EXPECT_STREQ(buffer, "machine y");

  // A new class key goes to the machine's classes.
  RegCloseKey(Create(HKEY_CLASSES_ROOT, "CLSID\\Z"));
  EXPECT_EQ(ReadFileBytes(hives_.ClassesHive()), kHeader +
                                                     "[HKEY_CLASSES_ROOT\\CLSID\\X]\r\n@=\"machine\"\r\n\r\n"
                                                     "[HKEY_CLASSES_ROOT\\CLSID\\Y]\r\n@=\"machine y\"\r\n\r\n"
                                                     "[HKEY_CLASSES_ROOT\\CLSID\\Z]\r\n\r\n");
  EXPECT_EQ(ykstd_platform::RegistryHivePath(HKEY_CLASSES_ROOT), hives_.ClassesHive());
  EXPECT_EQ(ykstd_platform::RegistryHivePath(HKEY_CURRENT_USER), hives_.UserHive());
}

TEST_F(RegistryTest, ConcurrentWritersOfTwoProcessesKeepEveryValue) {
  RegCloseKey(Create(HKEY_CURRENT_USER, "Shared"));
  constexpr int kWrites = 40;
  std::vector<pid_t> children;
  for (int process = 0; process < 2; ++process) {
    const pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      HKEY key = nullptr;
      int failures = RegOpenKeyExA(HKEY_CURRENT_USER, "Shared", 0, KEY_ALL_ACCESS, &key) != ERROR_SUCCESS;
      for (int i = 0; i < kWrites; ++i) {
        const std::string name = "p" + std::to_string(process) + "_" + std::to_string(i);
        failures += Set(key, name.c_str(), REG_SZ, name) != ERROR_SUCCESS;
      }
      RegCloseKey(key);
      _exit(failures == 0 ? 0 : 1);
    }
    children.push_back(pid);
  }
  for (pid_t pid : children) {
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  for (int process = 0; process < 2; ++process)
    for (int i = 0; i < kWrites; ++i) {
      const std::string name = "p" + std::to_string(process) + "_" + std::to_string(i);
      EXPECT_EQ(Query(HKEY_CURRENT_USER, "Shared", name.c_str()), "1:" + name + std::string(1, '\0'));
    }
}

TEST_F(RegistryTest, AnUnwritableHiveRefusesWriteAccess) {
  if (geteuid() == 0) GTEST_SKIP() << "file rights do not bind root";
  RegCloseKey(Create(HKEY_LOCAL_MACHINE, "K"));
  ASSERT_EQ(chmod(hives_.MachineFolder().c_str(), 0555), 0);
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "K", 0, KEY_ALL_ACCESS, &key), ERROR_ACCESS_DENIED);
  EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "K", 0, KEY_READ, &key), ERROR_SUCCESS);
  RegCloseKey(key);
  chmod(hives_.MachineFolder().c_str(), 0755);
}

}  // namespace
