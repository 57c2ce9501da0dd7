#include <gtest/gtest.h>

#include <string>

#include <ykstd/ykstd_Pref.hxx>

#include "TempHives.hxx"

namespace {

const std::string kHeader = "Windows Registry Editor Version 5.00\r\n\r\n";
const char* const kKey = "Software\\Brimlow\\Kalvane";

class PrefTest : public ::testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(ykstd_platform::OpenRegistryKeyCount(), 0); }

  // Both hives with the key and the given value lines.
  void WriteHives(const std::string& userValues, const std::string& machineValues) {
    WriteFileBytes(hives_.UserHive(), kHeader + "[HKEY_CURRENT_USER\\" + kKey + "]\r\n" + userValues);
    WriteFileBytes(hives_.MachineHive(), kHeader + "[HKEY_LOCAL_MACHINE\\" + kKey + "]\r\n" + machineValues);
  }

  TempHives hives_;
};

TEST_F(PrefTest, NumbersAndTextsComeFromTheUserBeforeTheMachine) {
  WriteHives(
      "\"Count\"=dword:00000007\r\n\"Mode\"=\"fast\"\r\n\"Size\"=\"big\"\r\n\"Odd\"=hex(4):01,02,03,04,05\r\n"
      "\"Empty\"=\"\"\r\n\"Raw\"=hex(1):61,62\r\n",
      "\"Count\"=dword:fffffffe\r\n\"Mode\"=\"slow\"\r\n\"Size\"=dword:00000003\r\n\"Odd\"=dword:00000009\r\n");
  std::uint32_t number = 1;
  EXPECT_EQ(ykstd::GetPref(kKey, "Count", number, 1), 1);
  EXPECT_EQ(number, 7u);
  EXPECT_EQ(ykstd::GetPref(kKey, "Count", number, 0), 1);
  EXPECT_EQ(number, 0xFFFFFFFEu);
  // A text where a number is asked for, and a number of the wrong size, pass on to the machine.
  EXPECT_EQ(ykstd::GetPref(kKey, "Size", number, 1), 1);
  EXPECT_EQ(number, 3u);
  EXPECT_EQ(ykstd::GetPref(kKey, "Odd", number, 1), 1);
  EXPECT_EQ(number, 9u);

  CString text("unchanged");
  EXPECT_EQ(ykstd::GetPref(kKey, "Mode", text, 1), 1);
  EXPECT_STREQ(text, "fast");
  EXPECT_EQ(ykstd::GetPref(kKey, "Mode", text, 0), 1);
  EXPECT_STREQ(text, "slow");
  EXPECT_EQ(ykstd::GetPref(kKey, "Empty", text, 1), 1);
  EXPECT_STREQ(text, "");
  EXPECT_EQ(ykstd::GetPref(kKey, "Raw", text, 1), 1);  // stored without its NUL
  EXPECT_STREQ(text, "ab");

  // Failures leave the value alone.
  text = "unchanged";
  number = 1;
  EXPECT_EQ(ykstd::GetPref(kKey, "Size", text, 0), 0);
  EXPECT_EQ(ykstd::GetPref(kKey, "Missing", text, 1), 0);
  EXPECT_EQ(ykstd::GetPref("Software\\Missing", "Count", number, 1), 0);
  EXPECT_EQ(ykstd::GetPref(kKey, "Empty", number, 0), 0);
  EXPECT_STREQ(text, "unchanged");
  EXPECT_EQ(number, 1u);
}

TEST_F(PrefTest, TextsBeyondTheBufferAreNotRead) {
  WriteHives("\"Long\"=\"" + std::string(511, 'a') + "\"\r\n\"Longer\"=\"" + std::string(512, 'b') + "\"\r\n", "");
  CString text("unchanged");
  EXPECT_EQ(ykstd::GetPref(kKey, "Long", text, 1), 1);
  EXPECT_EQ(std::string(text), std::string(511, 'a'));
  EXPECT_EQ(ykstd::GetPref(kKey, "Longer", text, 1), 0);
  EXPECT_EQ(std::string(text), std::string(511, 'a'));
}

TEST_F(PrefTest, Blocks) {
  WriteHives("\"Block\"=hex:01,02,03,04,05,06\r\n\"Text\"=\"abc\"\r\n\"None\"=hex:\r\n",
             "\"Block\"=hex:0a,0b,0c\r\n\"Text\"=hex:aa\r\n");
  std::uint32_t size = 99;
  EXPECT_EQ(ykstd::GetPref(kKey, "Block", nullptr, size, 1), 1);
  EXPECT_EQ(size, 6u);
  EXPECT_EQ(ykstd_platform::OpenRegistryKeyCount(), 0);

  unsigned char buffer[8] = {0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE};
  EXPECT_EQ(ykstd::GetPref(kKey, "Block", buffer, size, 1), 1);
  EXPECT_EQ(size, 6u);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer), 8), "\x01\x02\x03\x04\x05\x06\xEE\xEE");

  // Too small for the user's block: the machine's smaller one.
  size = 4;
  EXPECT_EQ(ykstd::GetPref(kKey, "Block", buffer, size, 1), 1);
  EXPECT_EQ(size, 3u);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer), 4), "\x0a\x0b\x0c\x04");
  size = 2;
  EXPECT_EQ(ykstd::GetPref(kKey, "Block", buffer, size, 1), 0);
  EXPECT_EQ(size, 0u);

  // A text under the user is passed over; an empty block is found but gives nothing.
  size = 8;
  EXPECT_EQ(ykstd::GetPref(kKey, "Text", buffer, size, 1), 1);
  EXPECT_EQ(size, 1u);
  EXPECT_EQ(buffer[0], 0xAA);
  size = 8;
  EXPECT_EQ(ykstd::GetPref(kKey, "None", buffer, size, 1), 0);
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(ykstd::GetPref(kKey, "None", nullptr, size, 1), 1);
  EXPECT_EQ(size, 0u);
  size = 8;
  EXPECT_EQ(ykstd::GetPref(kKey, "Block", buffer, size, 0), 1);
  EXPECT_EQ(size, 3u);
}

TEST_F(PrefTest, WritingNeedsTheKeyAndWritesTheExportForm) {
  WriteHives("", "");
  const std::string machineBefore = ReadFileBytes(hives_.MachineHive());
  EXPECT_EQ(ykstd::SetPref("Software\\Missing", "N", 5u, HKEY_CURRENT_USER), 0);
  EXPECT_EQ(ykstd::SetPref("Software\\Missing", "T", CString("x"), HKEY_LOCAL_MACHINE), 0);
  EXPECT_EQ(ReadFileBytes(hives_.UserHive()), kHeader + "[HKEY_CURRENT_USER\\" + kKey + "]\r\n");
  EXPECT_EQ(ReadFileBytes(hives_.MachineHive()), machineBefore);

  const unsigned char block[3] = {0x00, 0x7F, 0xFF};
  EXPECT_EQ(ykstd::SetPref(kKey, "Text", CString("C:\\dir \"x\""), HKEY_CURRENT_USER), 1);
  EXPECT_EQ(ykstd::SetPref(kKey, "Number", 0x01020304u, HKEY_CURRENT_USER), 1);
  EXPECT_EQ(ykstd::SetPref(kKey, "Block", block, 3, HKEY_CURRENT_USER), 1);
  EXPECT_EQ(ykstd::SetPref(kKey, "Empty", CString(), HKEY_CURRENT_USER), 1);
  EXPECT_EQ(ReadFileBytes(hives_.UserHive()), kHeader + "[HKEY_CURRENT_USER\\" + kKey +
                                                  "]\r\n"
                                                  "\"Text\"=\"C:\\\\dir \\\"x\\\"\"\r\n"
                                                  "\"Number\"=dword:01020304\r\n"
                                                  "\"Block\"=hex:00,7f,ff\r\n"
                                                  "\"Empty\"=\"\"\r\n\r\n");
  EXPECT_EQ(ReadFileBytes(hives_.MachineHive()), machineBefore);

  CString text;
  std::uint32_t number = 0;
  unsigned char back[3] = {};
  std::uint32_t size = 3;
  EXPECT_EQ(ykstd::GetPref(kKey, "Text", text, 1), 1);
  EXPECT_STREQ(text, "C:\\dir \"x\"");
  EXPECT_EQ(ykstd::GetPref(kKey, "Number", number, 1), 1);
  EXPECT_EQ(number, 0x01020304u);
  EXPECT_EQ(ykstd::GetPref(kKey, "Block", back, size, 1), 1);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(back), 3), std::string(reinterpret_cast<const char*>(block), 3));
  EXPECT_EQ(ykstd::GetPref(kKey, "Number", number, 0), 0);  // not written to the machine
}

TEST_F(PrefTest, ADamagedHiveKeepsItsValues) {
  const std::string damaged = kHeader + "[HKEY_CURRENT_USER\\" + kKey + "]\r\n\"Count\"=dword:00000002\r\nnonsense\r\n";
  WriteFileBytes(hives_.UserHive(), damaged);
  EXPECT_EQ(ykstd::SetPref(kKey, "Count", 3u, HKEY_CURRENT_USER), 0);
  EXPECT_EQ(ReadFileBytes(hives_.UserHive()), damaged);
  std::uint32_t number = 0;
  EXPECT_EQ(ykstd::GetPref(kKey, "Count", number, 1), 1);
  EXPECT_EQ(number, 2u);
  EXPECT_EQ(ykstd::MaxCond(), 50);
}

}  // namespace
