#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include <ykstd/ykstd.hxx>

#include "Corpus.hxx"
#include "MemStorage.hxx"

using Bytes = std::vector<unsigned char>;

namespace {

std::string Raised(const std::function<void()>& action) {
  try {
    action();
  } catch (Hnd_ykstd_fail_Failure& failure) {
    std::string message = failure->Message().Text();
    failure->Remove();
    return message;
  }
  return "<nothing raised>";
}

// Bytes of a schema stream: the magic, then what `body` writes.
Bytes Stream(const std::function<void(ykstd_Archive&)>& body) {
  ykstd_test::MemStorage storage;
  {
    ykstd_Archive ar(&storage, "YKSchema", 1, 4096, nullptr);
    ar.Write("YKS", 4);
    body(ar);
  }
  return storage.Bytes(L"YKSchema");
}

void Entry(ykstd_Archive& ar, const char* module, std::vector<std::pair<const char*, std::int16_t>> classes) {
  ar << ykstd_AsciiString(module) << static_cast<std::int32_t>(classes.size());
  for (const auto& [name, version] : classes) ar << ykstd_AsciiString(name) << version;
}

class SchemaTest : public ::testing::Test {
 protected:
  void SetUp() override { ykstd_Debug::SwitchOn(false); }
  void TearDown() override { ykstd_Schema::Destroy(); }
  void LoadBytes(const Bytes& bytes) {
    storage.Bytes(L"YKSchema") = bytes;
    ykstd_test::SaveSeed("fuzz_Schema", bytes);
    EXPECT_EQ(ykstd_Schema::Load(IStoragePtr(&storage)), 0);
  }
  ykstd_test::MemStorage storage;
};

TEST_F(SchemaTest, NoStreamReadsEveryClassAtVersionZero) {
  EXPECT_EQ(ykstd_Schema::Load(IStoragePtr(&storage)), 0);
  EXPECT_EQ(ykstd_Schema::ClassVersion("ykstd_Dim"), 0);
  EXPECT_EQ(ykstd_Schema::ClassVersion("ykobj_Electrode"), 0);
  EXPECT_EQ(ykstd_Schema::ClassVersion("YKSession"), 0);
  EXPECT_EQ(ykstd_Schema::ClassVersion("ykstd_Other"), -1);
  EXPECT_EQ(ykstd_Schema::LastClassVersion("ykobj_Electrode"), 2);
  EXPECT_EQ(ykstd_Schema::LastClassVersion("YKSession"), 0);
  EXPECT_EQ(storage.refs, 1u);
}

TEST_F(SchemaTest, SaveWritesThisBuildsTableAndLoadReadsItBack) {
  EXPECT_EQ(ykstd_Schema::Save(IStoragePtr(&storage)), 0);
  const Bytes& saved = storage.Bytes(L"YKSchema");
  ykstd_test::SaveSeed("fuzz_Schema", saved);
  const Bytes head = {'Y', 'K', 'S', 0, 6, 0, 0,   0,   5,   'y', 'k', 'a', 'l',
                      'g', 2,   0,   0, 0, 5, 'C', 'r', 'd', '3', 'd', 0,   0};
  const Bytes tail = {0, 1, 0, 0, 0, 9, 'Y', 'K', 'S', 'e', 's', 's', 'i', 'o', 'n', 0, 0};
  ASSERT_GT(saved.size(), head.size() + tail.size());
  EXPECT_EQ(Bytes(saved.begin(), saved.begin() + head.size()), head);
  EXPECT_EQ(Bytes(saved.end() - tail.size(), saved.end()), tail);
  // 4 + 4, six names with counts, 37 names with versions.
  std::size_t names = 0;
  for (int m = 0; m < ykstd_Schema::ModuleCount; ++m) {
    const auto& module = ykstd_Schema::Modules()[m];
    names += 1 + (module.name ? std::strlen(module.name) : 0) + 4;
    for (int c = 0; c < module.count; ++c) names += 1 + std::strlen(module.classes[c].name) + 2;
  }
  EXPECT_EQ(saved.size(), 8 + names);

  // Until the next Load the file table is empty.
  EXPECT_EQ(ykstd_Schema::ClassVersion("ykobj_Front"), -1);
  EXPECT_EQ(ykstd_Schema::Load(IStoragePtr(&storage)), 0);
  EXPECT_EQ(ykstd_Schema::ClassVersion("ykobj_Front"), 1);
  EXPECT_EQ(ykstd_Schema::ClassVersion("ykobj_SimpleElectrode"), 2);
  EXPECT_EQ(ykstd_Schema::ClassVersion("YKSession"), 0);
  EXPECT_EQ(ykstd_Schema::ClassVersion("_YKSession"), -1);
  EXPECT_EQ(ykstd_Schema::ClassVersion("ykstd_Nothing"), -1);
}

TEST_F(SchemaTest, FileTablesFollowTheStreamNotTheBuild) {
  // A class this build does not know, a sign-extended version, and an empty module name.
  LoadBytes(Stream([](ykstd_Archive& ar) {
    ar << static_cast<std::int32_t>(2);
    Entry(ar, "ext", {{"Thing", 5}, {"Old", -1}});
    Entry(ar, "", {{"Bare", 3}});
  }));
  EXPECT_EQ(ykstd_Schema::ClassVersion("ext_Thing"), 5);
  EXPECT_EQ(ykstd_Schema::ClassVersion("ext_Old"), -1);
  EXPECT_EQ(ykstd_Schema::ClassVersion("Bare"), 3);
  EXPECT_EQ(ykstd_Schema::ClassVersion("ykstd_Dim"), -1);
  EXPECT_EQ(Raised([] { ykstd_Schema::LastClassVersion("ext_Thing"); }),
            "EXCEPTION ykstd_fail_ProgramError : Cannot get class version: classname is not bound");

  // No modules, or counts under 1: nothing is listed, so every class is missing.
  for (const std::int32_t count : {0, -3}) {
    LoadBytes(Stream([&](ykstd_Archive& ar) { ar << count; }));
    EXPECT_EQ(ykstd_Schema::ClassVersion("ykstd_Dim"), -1);
  }
  LoadBytes(Stream([](ykstd_Archive& ar) {
    ar << static_cast<std::int32_t>(1);
    ar << ykstd_AsciiString("ykstd") << static_cast<std::int32_t>(-1);
  }));
  EXPECT_EQ(ykstd_Schema::ClassVersion("ykstd_Dim"), -1);
}

TEST_F(SchemaTest, DamagedStreamsRecoverToVersionZero) {
  // Cut after a class read with version 7: the recovery sets it to 0 as well.
  Bytes cut = Stream([](ykstd_Archive& ar) {
    ar << static_cast<std::int32_t>(1);
    Entry(ar, "ykobj", {{"Front", 7}, {"Electrode", 9}});
  });
  cut.resize(cut.size() - 5);
  LoadBytes(cut);
  EXPECT_EQ(ykstd_Schema::ClassVersion("ykobj_Front"), 0);
  EXPECT_EQ(ykstd_Schema::ClassVersion("ykalg_Crd3d"), 0);
  EXPECT_EQ(ykstd_Schema::ClassVersion("ext_Thing"), -1);
  // Wrong magic, and a stream shorter than the magic.
  for (const Bytes& bad : {Bytes{'Y', 'K', 'S', '1', 0, 0, 0, 0}, Bytes{'Y', 'K'}}) {
    LoadBytes(bad);
    EXPECT_EQ(ykstd_Schema::ClassVersion("ykobj_Front"), 0);
  }
}

TEST_F(SchemaTest, WithoutSchemaTheQueriesRaise) {
  const std::string none = "EXCEPTION ykstd_fail_ProgramError : Schema not initialized";
  EXPECT_EQ(Raised([] { ykstd_Schema::ClassVersion("ykstd_Dim"); }), none);
  EXPECT_EQ(Raised([] { ykstd_Schema::LastClassVersion("ykstd_Dim"); }), none);
  ykstd_Schema::Save(IStoragePtr(&storage));
  EXPECT_EQ(ykstd_Schema::LastClassVersion("ykstd_Dim"), 0);
  ykstd_Schema::Destroy();
  EXPECT_EQ(Raised([] { ykstd_Schema::ClassVersion("ykstd_Dim"); }), none);
}

TEST_F(SchemaTest, FailedSaveShowsMessage4222AndReturnsZero) {
  std::vector<std::string> shown;
  auto before = ykstd_platform::SetMessageBoxHandler([&](const char* text, UINT type, UINT help) {
    shown.push_back(std::string(text) + "|" + std::to_string(type) + "|" + std::to_string(help));
    return IDOK;
  });
  // The stream exists and cannot be opened for writing either: nothing takes the bytes.
  class Refusing : public ykstd_test::MemStorage {
   public:
    HRESULT OpenStream(const OLECHAR*, void*, DWORD, DWORD, IStream** out) override {
      *out = nullptr;
      return E_ACCESSDENIED;
    }
  } refusing;
  refusing.Bytes(L"YKSchema");
  EXPECT_EQ(ykstd_Schema::Save(IStoragePtr(&refusing)), 0);
  ykstd_platform::SetMessageBoxHandler(before);
  // Without a resource module the message is its number.
  EXPECT_EQ(shown, std::vector<std::string>{"4222|0|0"});
  EXPECT_EQ(ykstd_Schema::LastClassVersion("ykstd_Dim"), 0);
}

}  // namespace
