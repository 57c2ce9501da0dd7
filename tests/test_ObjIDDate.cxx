#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <ykstd/ykstd.hxx>

#include "ykstd_TestRaised.hxx"

namespace {

// The text of the failure that body raises, as the class that caught it sees it.
template <class Body>
std::string RaisedText(Body body) {
  try {
    body();
  } catch (Hnd_ykstd_fail_ProgramError& failure) {
    const std::string text = failure->Message().Text();
    failure->Remove();
    return "ProgramError: " + text;
  } catch (Hnd_ykstd_fail_Failure& failure) {
    const std::string text = failure->Message().Text();
    failure->Remove();
    return "other failure: " + text;
  }
  return "<nothing raised>";
}

std::string Text(const ykstd_AsciiString& text) { return text.Text() ? text.Text() : ""; }

TEST(Date, PrintsTheThreeNumbersInTheChosenOrder) {
  const ykstd_Date date(7, 3, 2006);
  EXPECT_EQ(Text(date.Print('/', ykenum::DateDMY, ykenum::MonthNumber)), "7/3/2006");
  EXPECT_EQ(Text(date.Print('/', ykenum::DateMDY, ykenum::MonthNumber)), "3/7/2006");
  EXPECT_EQ(Text(date.Print('/', ykenum::DateYMD, ykenum::MonthNumber)), "2006/3/7");
  EXPECT_EQ(Text(date.Print('.', static_cast<ykenum::DateFormat>(3), ykenum::MonthNumber)), "");
  EXPECT_EQ(Text(date.Print('.', static_cast<ykenum::DateFormat>(-1), ykenum::MonthNumber)), "");
  // Nothing is checked: any numbers pass, in plain decimal.
  EXPECT_EQ(Text(ykstd_Date(45, -2, 0).Print('-', ykenum::DateDMY, ykenum::MonthNumber)), "45--2-0");
  EXPECT_EQ(Text(ykstd_Date().Print(' ', ykenum::DateYMD, ykenum::MonthNumber)), "0 0 0");
  EXPECT_EQ(RaisedText([&] { date.Print('/', ykenum::DateDMY, ykenum::MonthText); }),
            "ProgramError: EXCEPTION ykstd_fail_ProgramError : ykstd_Date::Print: month format TEXT not yet supported");
  // The month check comes first, whatever the format.
  EXPECT_EQ(RaisedText([&] { date.Print('/', static_cast<ykenum::DateFormat>(9), ykenum::MonthText); }),
            "ProgramError: EXCEPTION ykstd_fail_ProgramError : ykstd_Date::Print: month format TEXT not yet supported");
}

TEST(Date, SetYearRefusesTwoDigitYearsAndTodayIsNotThere) {
  ykstd_Date date(1, 2, 2003);
  EXPECT_EQ(RaisedText([&] { date.SetYear(999); }),
            "ProgramError: EXCEPTION ykstd_fail_ProgramError : ykstd_Date::SetYear : Y2K bug detected!");
  EXPECT_EQ(date.Year(), 2003);
  EXPECT_EQ(RaisedText([&] { date.SetYear(1000); }), "<nothing raised>");
  EXPECT_EQ(date.Year(), 1000);
  EXPECT_EQ(RaisedText([&] { date.Today(); }),
            "ProgramError: EXCEPTION ykstd_fail_ProgramError : ykstd_Date::Today: not yet implemented");
  date.SetDate(31, 12, 5);
  EXPECT_EQ(Text(date.Print(':', ykenum::DateDMY, ykenum::MonthNumber)), "31:12:5");
  EXPECT_EQ(date.ConvertVersion(7), 0);
}

std::string Ids(const ykstd_IntSeq& seq) {
  std::string text = "(";
  for (std::int32_t k = 1; k <= seq.Length(); ++k) text += (k > 1 ? ", " : "") + std::to_string(seq.Value(k));
  return text + ")";
}

std::string News(ykstd_ObjID& ids, int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += (i ? " " : "") + std::to_string(ids.New());
  return text;
}

TEST(ObjID, FreedIdentifiersComeBackOnlyAfterTheMerge) {
  ykstd_ObjID ids;
  EXPECT_EQ(News(ids, 3), "1 2 3");
  ids.Free(2);
  EXPECT_EQ(Ids(ids.ToFree()), "(2)");
  EXPECT_EQ(News(ids, 1), "4");  // 2 is pending, not free
  ids.UpdateFreeIDs();
  EXPECT_EQ(Ids(ids.FreeIDs()), "(2, 5)");
  EXPECT_EQ(Ids(ids.ToFree()), "()");
  EXPECT_EQ(News(ids, 3), "2 5 6");

  ykstd_ObjID other;
  News(other, 3);
  other.Free(2);
  other.UpdateFreeIDs();
  EXPECT_EQ(Ids(other.FreeIDs()), "(2, 4)");
  EXPECT_EQ(News(other, 3), "2 4 5");
}

TEST(ObjID, PendingListStaysRisingAndTheTopRunIsGivenBack) {
  ykstd_ObjID ids;
  News(ids, 3);
  ids.Free(3);
  ids.Free(2);
  ids.Free(3);
  EXPECT_EQ(Ids(ids.ToFree()), "(2, 3)");
  ids.UpdateFreeIDs();
  EXPECT_EQ(Ids(ids.FreeIDs()), "(2, 3, 4)");
  ids.Optimize();
  EXPECT_EQ(Ids(ids.FreeIDs()), "(2)");
  EXPECT_EQ(News(ids, 2), "2 3");

  // Freed out of order, with duplicates, below and above the high mark.
  ykstd_ObjID more;
  News(more, 9);  // high mark 10
  for (std::int32_t id : {7, 1, 9, 5, 1, 8, 42, 10, -3}) more.Free(id);
  EXPECT_EQ(Ids(more.ToFree()), "(-3, 1, 5, 7, 8, 9, 10, 42)");
  more.UpdateFreeIDs();
  // 42 lies above the high mark and is dropped; 10 is the mark itself.
  EXPECT_EQ(Ids(more.FreeIDs()), "(-3, 1, 5, 7, 8, 9, 10)");
  more.Optimize();
  EXPECT_EQ(Ids(more.FreeIDs()), "(-3, 1, 5, 7)");
  EXPECT_EQ(News(more, 5), "-3 1 5 7 8");
  more.Init();
  EXPECT_EQ(Ids(more.FreeIDs()), "(1)");
  EXPECT_EQ(Ids(more.ToFree()), "()");

  ykstd_ObjID copy(ids);
  copy.Free(1);
  EXPECT_EQ(Ids(ids.ToFree()), "()");
  EXPECT_EQ(Ids(copy.ToFree()), "(1)");
}

class ObjIDStoreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(StgCreateDocfile(nullptr, STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, &storage), S_OK);
    ASSERT_EQ(ykstd_Schema::Save(storage), 0);
    ASSERT_EQ(ykstd_Schema::Load(storage), 0);
  }
  void TearDown() override { ykstd_Schema::Destroy(); }

  std::vector<unsigned char> Store(ykstd_ObjID& ids) {
    {
      ykstd_Archive archive(storage, "Ids", 1, 128, nullptr);
      archive << ids;
    }
    IStreamPtr stream;
    EXPECT_EQ(storage->OpenStream(L"Ids", nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, &stream), S_OK);
    std::vector<unsigned char> bytes(64);
    ULONG got = 0;
    stream->Read(bytes.data(), ULONG(bytes.size()), &got);
    bytes.resize(got);
    return bytes;
  }
  void Put(const std::vector<unsigned char>& bytes) {
    IStreamPtr stream;
    ASSERT_EQ(storage->CreateStream(L"Ids", STGM_WRITE | STGM_SHARE_EXCLUSIVE | STGM_CREATE, 0, 0, &stream), S_OK);
    ASSERT_EQ(stream->Write(bytes.data(), ULONG(bytes.size()), nullptr), S_OK);
  }
  std::string Load(ykstd_ObjID& ids, std::int32_t dataVersion) {
    ykstd_Archive archive(storage, "Ids", 2, 128, nullptr);
    archive.dataVersion = dataVersion;
    return RaisedMessage([&] { archive >> ids; });
  }

  IStoragePtr storage;
};

TEST_F(ObjIDStoreTest, StoresTheMergedShortenedListAndTheEndTag) {
  ykstd_ObjID fresh;
  EXPECT_EQ(Store(fresh), (std::vector<unsigned char>{0x01, 0x00, 0x01, 0, 0, 0, 0x0C, 0x0E}));

  ykstd_ObjID ids;
  News(ids, 3);
  ids.Free(2);
  ids.Free(3);
  ids.Free(40);  // above the high mark: dropped
  ids.Free(1);
  EXPECT_EQ(Store(ids), (std::vector<unsigned char>{0x01, 0x00, 0x01, 0, 0, 0, 0x0C, 0x0E}));
  EXPECT_EQ(Ids(ids.ToFree()), "()");

  ykstd_ObjID holes;
  News(holes, 6);
  holes.Free(5);
  holes.Free(2);
  EXPECT_EQ(Store(holes),
            (std::vector<unsigned char>{0x03, 0x00, 0x02, 0, 0, 0, 0x05, 0, 0, 0, 0x07, 0, 0, 0, 0x0C, 0x0E}));

  // Read back, with and without the end tag read.
  ykstd_ObjID loaded;
  loaded.Free(9);
  EXPECT_EQ(Load(loaded, 16), "<nothing raised>");
  EXPECT_EQ(Ids(loaded.FreeIDs()), "(2, 5, 7)");
  EXPECT_EQ(Ids(loaded.ToFree()), "(9)");
  ykstd_ObjID early;
  EXPECT_EQ(Load(early, 15), "<nothing raised>");
  EXPECT_EQ(Ids(early.FreeIDs()), "(2, 5, 7)");
}

TEST_F(ObjIDStoreTest, RefusesWrongEndTagsVersionsAndShortStreams) {
  ykstd_ObjID ids;
  News(ids, 4);
  Put({0x02, 0x00, 0x03, 0, 0, 0, 0x09, 0, 0, 0, 0x0C, 0x0F});
  EXPECT_EQ(Load(ids, 16), "EXCEPTION ykstd_fail_FileIO (Invalid File Format) : ykstd_ObjID: expected end of class");
  EXPECT_EQ(Ids(ids.FreeIDs()), "(3, 9)");  // the list is read before the tag fails
  ids.New();
  EXPECT_EQ(Load(ids, 0), "<nothing raised>");
  EXPECT_EQ(Ids(ids.FreeIDs()), "(3, 9)");

  Put({0x03, 0x00, 0x01, 0, 0, 0});
  EXPECT_EQ(Load(ids, 16), "EXCEPTION ykstd_fail_SystemError : ykstd_Archive::FillBuffer");
  EXPECT_EQ(Ids(ids.FreeIDs()), "(1)");  // cleared, then filled as far as the bytes went

  // An empty stored list loads; New then has nothing to give.
  Put({0x00, 0x00, 0x0C, 0x0E});
  EXPECT_EQ(Load(ids, 16), "<nothing raised>");
  EXPECT_EQ(RaisedMessage([&] { ids.New(); }),
            "EXCEPTION ykstd_fail_NoMoreObject : ykstd_ObjID::New: no free identifiers");

  // A file written by a later build (version 1, over this build's 0) is refused.
  {
    IStreamPtr stream;
    ASSERT_EQ(storage->CreateStream(L"YKSchema", STGM_WRITE | STGM_SHARE_EXCLUSIVE | STGM_CREATE, 0, 0, &stream), S_OK);
    const char bytes[] = "YKS\0\1\0\0\0\5ykstd\1\0\0\0\5ObjID\1\0";
    ASSERT_EQ(stream->Write(bytes, sizeof bytes - 1, nullptr), S_OK);
  }
  ASSERT_EQ(ykstd_Schema::Load(storage), 0);
  ASSERT_EQ(ykstd_Schema::ClassVersion("ykstd_ObjID"), 1);
  EXPECT_EQ(Load(ids, 16), "EXCEPTION ykstd_fail_FileIO (Bad Class Version) : ykstd_ObjID: bad class version [1]");

  // A schema written by Save alone lists no file versions: -1 is refused.
  ASSERT_EQ(ykstd_Schema::Save(storage), 0);
  EXPECT_EQ(Load(ids, 16), "EXCEPTION ykstd_fail_FileIO (Bad Class Version) : ykstd_ObjID: bad class version [-1]");
}

TEST(ObjID, HighMarkStopsAtTheLargestNumber) {
  ykstd_ObjID ids;
  ids.Free(INT32_MAX - 1);
  ids.Free(1);
  ids.UpdateFreeIDs();  // both lie above the high mark 1 except 1 itself
  EXPECT_EQ(Ids(ids.FreeIDs()), "(1)");
  // Reach the top through a loaded list.
  IStoragePtr storage;
  ASSERT_EQ(StgCreateDocfile(nullptr, STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, &storage), S_OK);
  ASSERT_EQ(ykstd_Schema::Load(storage), 0);  // no schema stream: every class at version 0
  {
    IStreamPtr stream;
    ASSERT_EQ(storage->CreateStream(L"Ids", STGM_WRITE | STGM_SHARE_EXCLUSIVE, 0, 0, &stream), S_OK);
    const unsigned char bytes[] = {0x01, 0x00, 0xFE, 0xFF, 0xFF, 0x7F};
    ASSERT_EQ(stream->Write(bytes, sizeof bytes, nullptr), S_OK);
  }
  {
    ykstd_Archive archive(storage, "Ids", 2, 128, nullptr);
    archive >> ids;
  }
  EXPECT_EQ(ids.New(), INT32_MAX - 1);
  EXPECT_EQ(RaisedMessage([&] { ids.New(); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_ObjID::New: identifiers exhausted");
  ykstd_Schema::Destroy();
}

}  // namespace
