#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <string>

#include <ykstd/platform/MessageBox.hxx>
#include <ykstd/platform/Registry.hxx>
#include <ykstd/ykstd_MsgEx.hxx>
#include <ykstd/ykstd_Session.hxx>

#include "TempHives.hxx"

namespace {

const std::string kAddinDir = YKSTD_ADDIN_DIR;
const std::string kServerKey = "CLSID\\{3F0A6C11-7D2E-4B58-9C41-5E2A81D0B6F7}\\InprocServer32";
const char* const kSaveFailed =
    "The add-in data of this document could not be saved: writing its class versions failed.";

int liveSessions = 0;

class TestSession : public ykstd_Session {
 public:
  TestSession() { ++liveSessions; }
  ~TestSession() override { --liveSessions; }
  const ApplicationPtr& GetApplication() override {
    // The host's application type is only declared here, so the empty pointer is never destroyed.
    static const ApplicationPtr& none = *new ApplicationPtr();
    return none;
  }
  std::int32_t GetDocumentMode() override { return 1; }
  char GetPathSeparator() override { return '/'; }
  const ykstd_AsciiString& GetFilePrefix() override { return prefix_; }
  void NormalizeFullName(ykstd_AsciiString&) override {}
  void NoteNewDocument(const ykstd_AsciiString&) override {}
  Hnd_ykstd_Transient CreateObject(const ykstd_AsciiString&, unsigned char) override { return {}; }
  ykenum::Unit GetUnitSetting(unsigned char, const char*, std::int32_t) override { return ykenum::Unit{}; }
  ykstd_AsciiString GetStringSetting(unsigned char, const char*, std::int32_t) override { return {}; }

 private:
  ykstd_AsciiString prefix_;
};

class SessionTest : public ::testing::Test {
 protected:
  void TearDown() override {
    if (!ykstd_Session::CurSession().IsNull()) ykstd_Session::CurSession()->Destroy();
    EXPECT_EQ(liveSessions, 0);
    EXPECT_EQ(theCatResDllInst, nullptr);
    EXPECT_EQ(ykstd_platform::OpenRegistryKeyCount(), 0);
  }

  // Registers the add-in's server under the given path, for every user of the machine.
  void RegisterServer(const std::string& serverPath) {
    std::string escaped;
    for (char c : serverPath) escaped += c == '\\' || c == '"' ? std::string("\\") + c : std::string(1, c);
    WriteFileBytes(hives_.ClassesHive(), "Windows Registry Editor Version 5.00\n\n[HKEY_CLASSES_ROOT\\" + kServerKey +
                                             "]\n@=\"" + escaped + "\"\n");
  }

  TempHives hives_;
};

std::string Text(const ykstd_AsciiString& s) { return s.Text() ? std::string(s.Text(), s.Length()) : "(null)"; }

TEST_F(SessionTest, WithoutAModuleMessagesAreTheirNumbers) {
  EXPECT_EQ(theCatResDllInst, nullptr);
  EXPECT_EQ(Text(ykstd_MsgEx::Get(5, 4)), "504");
  EXPECT_EQ(Text(ykstd_MsgEx::Get(9999)), "9999");
  EXPECT_EQ(Text(ykstd_MsgEx::Get(-7)), "-7");
  EXPECT_EQ(Text(ykstd_MsgEx::Get(INT32_MAX, 1)), "-99");  // wraps, never overflows

  // No registry entry: a session still comes up, without a module.
  Hnd_ykstd_Session session = new TestSession;
  EXPECT_TRUE(ykstd_Session::CurSession() == session);
  EXPECT_EQ(session->GetRefCount(), 2);
  EXPECT_EQ(theCatResDllInst, nullptr);
  EXPECT_EQ(session->Init(), 0);
  EXPECT_EQ(Text(ykstd_MsgEx::Get(504)), "504");
}

TEST_F(SessionTest, ASessionFindsItsModuleThroughTheRegistry) {
  RegisterServer(kAddinDir + "ykaddin.dll");
  new TestSession;
  ASSERT_NE(theCatResDllInst, nullptr);
  EXPECT_EQ(Text(ykstd_MsgEx::Get(504)), "mm2");
  EXPECT_EQ(Text(ykstd_MsgEx::Get(5, 1)), "\"");
  EXPECT_EQ(Text(ykstd_MsgEx::Get(42, 22)), kSaveFailed);
  EXPECT_EQ(Text(ykstd_MsgEx::Get(9999)), "9999");
  EXPECT_EQ(Text(ykstd_AsciiString(theCatResDllInst, 511)), "NPT");
  EXPECT_EQ(Text(ykstd_AsciiString(theCatResDllInst, 512)), "(null)");

  // The second session deletes the first, which frees the module, and loads it again.
  const HINSTANCE first = theCatResDllInst;
  new TestSession;
  EXPECT_EQ(liveSessions, 1);
  ASSERT_NE(theCatResDllInst, nullptr);
  EXPECT_EQ(Text(ykstd_MsgEx::Get(500)), "mm");

  // Destroy on the current session leaves the module loaded exactly once: one FreeLibrary ends it.
  const HINSTANCE second = theCatResDllInst;
  ykstd_Session::CurSession()->Destroy();
  EXPECT_TRUE(ykstd_Session::CurSession().IsNull());
  EXPECT_EQ(theCatResDllInst, nullptr);
  EXPECT_EQ(FreeLibrary(second), FALSE);
  EXPECT_EQ(FreeLibrary(first), FALSE);
}

TEST_F(SessionTest, DestroyLeavesAHeldSessionAlive) {
  RegisterServer(kAddinDir + "ykaddin.dll");
  Hnd_ykstd_Session held = new TestSession;
  held->Destroy();
  EXPECT_TRUE(ykstd_Session::CurSession().IsNull());
  EXPECT_EQ(liveSessions, 1);
  EXPECT_EQ(held->GetRefCount(), 1);
  EXPECT_EQ(Text(ykstd_MsgEx::Get(504)), "mm2");

  // Without a registry entry a new session keeps the module it finds.
  WriteFileBytes(hives_.ClassesHive(), "");
  new TestSession;
  EXPECT_EQ(liveSessions, 2);
  EXPECT_EQ(Text(ykstd_MsgEx::Get(504)), "mm2");
  held.Nullify();  // the held session's end frees the module, whoever loaded it
  EXPECT_EQ(liveSessions, 1);
  EXPECT_EQ(theCatResDllInst, nullptr);
  EXPECT_EQ(Text(ykstd_MsgEx::Get(504)), "504");
}

TEST_F(SessionTest, ServerPathsWithoutAFolder) {
  // Shorter than the server's file name: no folder, no module, and nothing read past the text.
  for (const char* path : {"", "a", "ykaddin.dl"}) {
    RegisterServer(path);
    new TestSession;
    EXPECT_EQ(theCatResDllInst, nullptr) << path;
  }
  // Exactly the file name: an empty folder, so the platform's search, which does not find it.
  RegisterServer("ykaddin.dll");
  new TestSession;
  EXPECT_EQ(theCatResDllInst, nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
  // A folder without the modules.
  RegisterServer(hives_.Root() + "/ykaddin.dll");
  new TestSession;
  EXPECT_EQ(theCatResDllInst, nullptr);
  // A path longer than the 512 bytes read.
  RegisterServer(std::string(600, 'x'));
  new TestSession;
  EXPECT_EQ(theCatResDllInst, nullptr);
}

TEST_F(SessionTest, TheVersionMapperSlot) {
  Hnd_ykstd_VersionMapper first = new ykstd_VersionMapper;
  EXPECT_TRUE(ykstd_VersionMapper::CurMapper() == first);
  new ykstd_VersionMapper;
  EXPECT_FALSE(ykstd_VersionMapper::CurMapper() == first);
  EXPECT_EQ(first->GetRefCount(), 1);
  first->Destroy();
  EXPECT_TRUE(ykstd_VersionMapper::CurMapper().IsNull());
  EXPECT_TRUE(first->IsKind(ykstd_VersionMapper_Type_()));
  EXPECT_STREQ(ykstd_Session_Type_()->Name(), "ykstd_Session");
}

TEST_F(SessionTest, ModulesAndStringResources) {
  SetLastError(0);
  EXPECT_EQ(LoadLibraryA((hives_.Root() + "/none.so").c_str()), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
  EXPECT_EQ(LoadLibraryA(nullptr), nullptr);
  EXPECT_EQ(FreeLibrary(nullptr), FALSE);
  EXPECT_EQ(FreeLibrary(reinterpret_cast<HMODULE>(&liveSessions)), FALSE);

  HMODULE module = LoadLibraryA((kAddinDir + "ykres.so").c_str());
  ASSERT_NE(module, nullptr);
  char buffer[8] = "xxxxxxx";
  EXPECT_EQ(LoadStringA(module, 4222, buffer, sizeof buffer), 7);
  EXPECT_STREQ(buffer, "The add");
  EXPECT_EQ(LoadStringA(module, 502, buffer, sizeof buffer), 3);
  EXPECT_STREQ(buffer, "deg");
  EXPECT_EQ(LoadStringA(module, 1, buffer, sizeof buffer), 0);
  EXPECT_STREQ(buffer, "");
  EXPECT_EQ(LoadStringA(module, 502, buffer, 0), 0);
  EXPECT_EQ(LoadStringA(reinterpret_cast<HMODULE>(&liveSessions), 502, buffer, sizeof buffer), 0);

  ykstd_AsciiString text("kept");
  EXPECT_EQ(text.LoadAsciiString(module, 1), 0);
  EXPECT_EQ(Text(text), "kept");
  EXPECT_EQ(text.LoadAsciiString(module, 503), 1);
  EXPECT_EQ(Text(text), "rad");
  EXPECT_EQ(text.LoadAsciiString(nullptr, 503), 0);  // the test program has no texts

  HMODULE ui = LoadLibraryA((kAddinDir + "ykui.so").c_str());
  ASSERT_NE(ui, nullptr);
  EXPECT_EQ(text.LoadAsciiString(ui, 503), 0);
  EXPECT_EQ(FreeLibrary(ui), TRUE);
  EXPECT_EQ(FreeLibrary(module), TRUE);
  EXPECT_EQ(FreeLibrary(module), FALSE);
  EXPECT_EQ(text.LoadAsciiString(module, 503), 0);
}

TEST_F(SessionTest, MessageBoxesGoToTheHandler) {
  std::string seen;
  auto previous = ykstd_platform::SetMessageBoxHandler([&](const char* text, UINT type, UINT help) {
    seen += std::string(text) + "|" + std::to_string(type) + "|" + std::to_string(help) + "\n";
    return IDCANCEL;
  });
  EXPECT_EQ(AfxMessageBox(ykstd_MsgEx::Get(4222).Text(), 0, 0), IDCANCEL);
  EXPECT_EQ(AfxMessageBox(nullptr), IDCANCEL);
  EXPECT_EQ(AfxMessageBox(7u, MB_YESNO), IDCANCEL);
  EXPECT_EQ(seen, "4222|0|0\n|0|0\n|4|4294967295\n");
  ykstd_platform::SetMessageBoxHandler(previous);

  ::testing::internal::CaptureStderr();
  ykstd_platform::SetMessageBoxHandler(nullptr);
  EXPECT_EQ(AfxMessageBox("to standard error"), IDOK);
  EXPECT_EQ(AfxMessageBox("a question", MB_YESNO | MB_ICONQUESTION), IDYES);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "to standard error\na question\n");
}

// A program of its own: the ui module comes up when the library loads, from the user's hive in the
// default place, and a null module reads the program's own texts.
TEST_F(SessionTest, TheUiModuleComesUpWithTheLibrary) {
  const std::string config = hives_.Root() + "/config";
  WriteFileBytes(config + "/ykstd/user.reg",
                 "Windows Registry Editor Version 5.00\n\n[HKEY_CURRENT_USER\\Software\\Classes\\" + kServerKey +
                     "]\n@=\"" + kAddinDir + "ykaddin.dll\"\n");
  const std::string command = "XDG_CONFIG_HOME='" + config + "' " + YKSTD_SESSION_PROBE;
  FILE* probe = popen(command.c_str(), "r");
  ASSERT_NE(probe, nullptr);
  std::string output;
  char chunk[256];
  while (std::fgets(chunk, sizeof chunk, probe)) output += chunk;
  EXPECT_EQ(pclose(probe), 0);
  EXPECT_EQ(output, "ui module loaded\nmessage 7: seven\nmessage 8: 8\n");
}

}  // namespace
