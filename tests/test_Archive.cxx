#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <ykstd/ykstd.hxx>

#include "ArchiveLeaf.hxx"
#include "Corpus.hxx"
#include "MemStorage.hxx"
#include "SmallThread.hxx"
#include "TestSession.hxx"
#include "ykstd_TestRaised.hxx"

using Bytes = std::vector<unsigned char>;
using ykstd_test::MemStorage;

namespace ykstd_test {
YKSTD_IMPLEMENT_TYPE_NAMED(test_Leaf, ykstd_TShared, "X")
}

namespace {

YKSTD_HANDLE(test_Node, ykstd_TShared);

// A stored class with a byte and two handles, so that graphs with sharing and cycles can be built.
class test_Node : public ykstd_TShared {
 public:
  test_Node() { ++alive; }
  explicit test_Node(unsigned char v) : value(v) { ++alive; }
  ~test_Node() override { --alive; }
  void Serialize(ykstd_Archive& ar) override {
    ++serialized;
    if (ar.IsStoring())
      ar << value << first << second;
    else
      ar >> value >> first >> second;
  }
  std::int16_t PersistentIdx() const override { return idx; }
  unsigned char value = 0;
  std::int16_t idx = 0;
  Hnd_ykstd_Transient first;
  Hnd_ykstd_Transient second;
  static int alive;
  static int serialized;
  YKSTD_DECLARE_TYPE(test_Node);
};
int test_Node::alive = 0;
int test_Node::serialized = 0;
YKSTD_IMPLEMENT_TYPE(test_Node, ykstd_TShared)

using ykstd_test::test_Leaf;
using ykstd_test::test_Leaf_Type_;

// The failure's message, or the code of a platform error.
std::string Raised(const std::function<void()>& action) {
  try {
    return RaisedMessage(action);
  } catch (const _com_error& error) {
    return "com error " + std::to_string(static_cast<std::uint32_t>(error.Error()));
  }
}

Bytes Concat(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const Bytes& p : parts) all.insert(all.end(), p.begin(), p.end());
  return all;
}

Bytes Text(const std::string& s) { return Bytes(s.begin(), s.end()); }

class ArchiveTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ykstd_Debug::SwitchOn(false);
    test_Node::alive = 0;
    test_Node::serialized = 0;
    session = new ykstd_test::TestSession;
    session->factories["test_Node"] = [] { return Hnd_ykstd_Transient(new test_Node); };
    session->factories["X"] = [] { return Hnd_ykstd_Transient(new test_Leaf); };
  }
  void TearDown() override {
    ykstd_Session::CurSession()->Destroy();
    EXPECT_EQ(test_Node::alive, 0) << "an object leaked or was freed twice";
    EXPECT_EQ(storage.refs, 1u) << "the archive kept a reference on the storage";
  }

  // Runs `write` on a storing archive and gives the stream's bytes.
  Bytes Store(const std::function<void(ykstd_Archive&)>& write, std::int32_t bufferSize = 4096) {
    storage.streams.erase(L"s");
    {
      ykstd_Archive ar(&storage, "s", 1, bufferSize, nullptr);
      write(ar);
    }
    ykstd_test::SaveSeed("fuzz_Archive", storage.Bytes(L"s"), 0);
    return storage.Bytes(L"s");
  }
  void Load(const Bytes& bytes, const std::function<void(ykstd_Archive&)>& read, std::int32_t bufferSize = 4096) {
    storage.Bytes(L"s") = bytes;
    ykstd_Archive ar(&storage, "s", 2, bufferSize, nullptr);
    read(ar);
  }

  MemStorage storage;
  ykstd_test::TestSession* session = nullptr;
};

TEST_F(ArchiveTest, PrimitivesAreLittleEndianWithoutPaddingAndReadBack) {
  const Bytes bytes = Store([](ykstd_Archive& ar) {
    ar << 'A' << static_cast<unsigned char>(0xFE) << true << static_cast<std::int16_t>(-2)
       << static_cast<std::uint16_t>(0x1234) << static_cast<std::int32_t>(-3) << 0x89ABCDEFu << 1.5f << -2.0;
  });
  EXPECT_EQ(bytes, (Bytes{0x41, 0xFE, 0x01, 0xFE, 0xFF, 0x34, 0x12, 0xFD, 0xFF, 0xFF, 0xFF, 0xEF, 0xCD, 0xAB,
                          0x89, 0x00, 0x00, 0xC0, 0x3F, 0,    0,    0,    0,    0,    0,    0,    0xC0}));
  Load(bytes, [](ykstd_Archive& ar) {
    char c;
    unsigned char u;
    bool b;
    std::int16_t s;
    std::uint16_t us;
    std::int32_t i;
    std::uint32_t ui;
    float f;
    double d;
    ar >> c >> u >> b >> s >> us >> i >> ui >> f >> d;
    EXPECT_EQ(c, 'A');
    EXPECT_EQ(u, 0xFE);
    EXPECT_TRUE(b);
    EXPECT_EQ(s, -2);
    EXPECT_EQ(us, 0x1234);
    EXPECT_EQ(i, -3);
    EXPECT_EQ(ui, 0x89ABCDEFu);
    EXPECT_EQ(f, 1.5f);
    EXPECT_EQ(d, -2.0);
  });
}

TEST_F(ArchiveTest, RawPointersHaveNoStoredForm) {
  int local = 0;
  void* p = &local;
  EXPECT_EQ(Store([&](ykstd_Archive& ar) { ar << p << static_cast<unsigned char>(1); }), Bytes{1});
  Load(Bytes{}, [&](ykstd_Archive& ar) {
    ar >> p;
    EXPECT_EQ(p, &local);
  });
}

TEST_F(ArchiveTest, StringFormSwitchesAt255AndCountFormAt65535) {
  const std::string s254(254, 'a'), s255(255, 'b');
  const Bytes bytes = Store([&](ykstd_Archive& ar) {
    ar << ykstd_AsciiString() << ykstd_AsciiString(s254.c_str()) << ykstd_AsciiString(s255.c_str());
    ar.WriteCount(65534);
    ar.WriteCount(65535);
    ar.WriteCount(0);
  });
  EXPECT_EQ(bytes, Concat({{0x00},
                           {0xFE},
                           Text(s254),
                           {0xFF, 0xFF, 0x00},
                           Text(s255),
                           {0xFE, 0xFF},
                           {0xFF, 0xFF, 0xFF, 0xFF, 0x00, 0x00},
                           {0x00, 0x00}}));
  Load(bytes, [&](ykstd_Archive& ar) {
    ykstd_AsciiString a("keep"), b, c;
    ar >> a >> b >> c;
    EXPECT_EQ(a.Length(), 0);
    EXPECT_STREQ(b.Text(), s254.c_str());
    EXPECT_STREQ(c.Text(), s255.c_str());
    EXPECT_EQ(ar.ReadCount(), 65534u);
    EXPECT_EQ(ar.ReadCount(), 65535u);
    EXPECT_EQ(ar.ReadCount(), 0u);
  });
}

TEST_F(ArchiveTest, StringLengthReaderAcceptsTheFourByteLevel) {
  Load(Bytes{0x05, 0xFF, 0x00, 0x01, 0xFF, 0xFF, 0xFF, 0x78, 0x56, 0x34, 0x12}, [](ykstd_Archive& ar) {
    EXPECT_EQ(ar.ReadStringLength(), 5);
    EXPECT_EQ(ar.ReadStringLength(), 256);
    EXPECT_EQ(ar.ReadStringLength(), 0x12345678);
  });
}

TEST_F(ArchiveTest, LongStringsReadWholeAndImpossibleLengthsAreRefused) {
  const std::string long2000(2000, 'q');
  const Bytes bytes = Store([&](ykstd_Archive& ar) { ar << ykstd_AsciiString(long2000.c_str()); }, 128);
  ASSERT_EQ(bytes.size(), 2003u);
  Load(bytes, [&](ykstd_Archive& ar) {
    ykstd_AsciiString s;
    ar >> s;
    EXPECT_STREQ(s.Text(), long2000.c_str());
  });
  // 40000 bytes, and a negative length, cannot be a string of this library.
  for (const Bytes& bad : {Bytes{0xFF, 0x40, 0x9C}, Bytes{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}}) {
    Load(bad, [](ykstd_Archive& ar) {
      ykstd_AsciiString s;
      EXPECT_EQ(Raised([&] { ar >> s; }),
                "EXCEPTION ykstd_fail_OutOfRange : while reading AsciiString: length out of range");
    });
  }
  // A string shorter than its length, below and above the 1024-byte buffer.
  for (const Bytes& cut : {Bytes{0x05, 'a', 'b'}, Bytes{0xFF, 0x00, 0x08, 'a'}}) {
    Load(cut, [](ykstd_Archive& ar) {
      ykstd_AsciiString s;
      EXPECT_EQ(Raised([&] { ar >> s; }),
                "EXCEPTION ykstd_fail_NoMoreObject : while reading AsciiString: end of file reached");
    });
  }
  // A stored NUL ends the text.
  Load(Bytes{0x03, 'a', 0x00, 'b', 0x01}, [](ykstd_Archive& ar) {
    ykstd_AsciiString s;
    unsigned char next = 0;
    ar >> s >> next;
    EXPECT_STREQ(s.Text(), "a");
    EXPECT_EQ(next, 1);
  });
}

TEST_F(ArchiveTest, ReadingPastTheEndFailsInFillBuffer) {
  Load(Bytes{1, 2, 3}, [](ykstd_Archive& ar) {
    std::int16_t s = 0;
    std::int32_t l = 0;
    ar >> s;
    EXPECT_EQ(s, 0x0201);
    EXPECT_EQ(Raised([&] { ar >> l; }), "EXCEPTION ykstd_fail_SystemError : ykstd_Archive::FillBuffer");
  });
}

TEST_F(ArchiveTest, RefillStopsOnceTheMissingBytesCameEvenWhenShortOfTheWhole) {
  // Three bytes a read: the short leaves one unread, a double then misses seven; two reads bring
  // six, which covers the seven missing beyond the one unread only by counting that one too.
  storage.maxChunk = 3;
  Load(Bytes(12, 0x11), [](ykstd_Archive& ar) {
    std::int16_t s = 0;
    double d = 0;
    ar >> s;
    EXPECT_EQ(Raised([&] { ar >> d; }), "EXCEPTION ykstd_fail_SystemError : ykstd_Archive::FillBuffer");
  });
  // The same bytes through a stream that delivers what is asked read back whole.
  storage.maxChunk = 0;
  Load(Bytes(12, 0x11), [](ykstd_Archive& ar) {
    std::int16_t s = 0;
    double d = 0;
    ar >> s >> d;
    EXPECT_EQ(s, 0x1111);
  });
}

TEST_F(ArchiveTest, TextLinesEndAtLineFeedOrCarriageReturn) {
  const Bytes bytes = Store([](ykstd_Archive& ar) {
    ar.WriteString("one");
    ar.WriteString("");
  });
  EXPECT_EQ(bytes, (Bytes{'o', 'n', 'e', 0x0A, 0x0A}));
  Load(Text("ab\ncd\r\nefgh\nxy\r\n"), [](ykstd_Archive& ar) {
    char buf[16];
    EXPECT_STREQ(ar.ReadString(buf, 10), "ab");
    EXPECT_STREQ(ar.ReadString(buf, -10), "cd\n");  // the byte behind CR stands as the line end
    EXPECT_STREQ(ar.ReadString(buf, 3), "efg");     // full before the line end
    EXPECT_STREQ(ar.ReadString(buf, 5), "h");
    EXPECT_STREQ(ar.ReadString(buf, 0), "");
    EXPECT_STREQ(ar.ReadString(buf, -5), "xy\n");
  });
}

TEST_F(ArchiveTest, TransientSeqExampleBytes) {
  // Three handles as a sequence writes them: count, new object of new class X, the same again, null.
  Hnd_ykstd_Transient x = new test_Leaf;
  const Bytes bytes = Store([&](ykstd_Archive& ar) {
    ar.WriteCount(3);
    ar << x << x << Hnd_ykstd_Transient();
  });
  EXPECT_EQ(bytes, (Bytes{0x03, 0x00, 0xFF, 0xFF, 0x01, 0x58, 0x07, 0x01, 0x00, 0x00, 0x00}));
  Load(bytes, [&](ykstd_Archive& ar) {
    EXPECT_EQ(ar.ReadCount(), 3u);
    Hnd_ykstd_Transient a, b, c = x;
    ar >> a >> b >> c;
    EXPECT_TRUE(a == b);
    EXPECT_TRUE(a->IsKind(test_Leaf_Type_()));
    EXPECT_TRUE(c.IsNull());
  });
  EXPECT_EQ(session->creates, 1);
}

TEST_F(ArchiveTest, CyclesAndSharedObjectsStoreEachBodyOnce) {
  // a -> b -> a (cycle), and c shared by a and b; the class name is written once.
  Hnd_test_Node a = new test_Node(1), b = new test_Node(2), c = new test_Node(3);
  a->first = b;
  a->second = c;
  b->first = a;
  b->second = c;
  const Bytes name = Concat({{0xFF, 0xFF, 0x09}, Text("test_Node")});
  const Bytes bytes = Store([&](ykstd_Archive& ar) { ar << a << c; });
  EXPECT_EQ(bytes, Concat({name,
                           {0x01},  // a, object 1
                           {0x01, 0x80, 0x02},
                           {0x01, 0x00},                                // b, object 2; back to a
                           {0x01, 0x80, 0x03, 0x00, 0x00, 0x00, 0x00},  // c, object 3, two nulls
                           {0x03, 0x00},                                // a's second: c again
                           {0x03, 0x00}}));                             // c at top level
  a->first.Nullify();                                                   // break the cycle so that the objects can go
  test_Node::serialized = 0;
  Load(bytes, [&](ykstd_Archive& ar) {
    Hnd_ykstd_Transient ra, rc;
    ar >> ra >> rc;
    Hnd_test_Node na = Hnd_test_Node::DownCast(ra);
    ASSERT_FALSE(na.IsNull());
    Hnd_test_Node nb = Hnd_test_Node::DownCast(na->first);
    EXPECT_EQ(nb->value, 2);
    EXPECT_TRUE(nb->first == na);
    EXPECT_TRUE(na->second == rc);
    EXPECT_TRUE(nb->second == rc);
    EXPECT_EQ(test_Node::serialized, 3);
    nb->first.Nullify();
  });
}

TEST_F(ArchiveTest, ObjectNumbersFrom32767TakeTheBigTag) {
  std::vector<Hnd_ykstd_Transient> many;
  for (int i = 0; i < 32767; ++i) many.emplace_back(new test_Leaf);
  const Bytes bytes = Store([&](ykstd_Archive& ar) {
    for (const auto& h : many) ar << h;
    ar << many[32765] << many[32766];
  });
  // 32767 bodies: the first with its class name, the others by class 1; then the two references.
  ASSERT_EQ(bytes.size(), 5u + 32766u * 3u + 2u + 6u);
  EXPECT_EQ(Bytes(bytes.end() - 8, bytes.end()), (Bytes{0xFE, 0x7F, 0xFF, 0x7F, 0xFF, 0x7F, 0x00, 0x00}));
  Load(bytes, [&](ykstd_Archive& ar) {
    std::vector<Hnd_ykstd_Transient> read(32767);
    for (auto& h : read) ar >> h;
    Hnd_ykstd_Transient r1, r2;
    ar >> r1 >> r2;
    EXPECT_TRUE(r1 == read[32765]);
    EXPECT_TRUE(r2 == read[32766]);
  });
}

TEST_F(ArchiveTest, ClassNumbersFrom32767TakeTheBigTag) {
  Hnd_ykstd_Transient x1 = new test_Leaf, x2 = new test_Leaf;
  auto fill = [](ykstd_Archive& ar, int n) {
    for (int i = 1; i <= n; ++i) ar.MapClassName(ykstd_AsciiString(("C" + std::to_string(i)).c_str()));
  };
  for (const int before : {32765, 32766}) {
    const Bytes bytes = Store([&](ykstd_Archive& ar) {
      fill(ar, before);
      ar << x1 << x2;
    });
    const Bytes second = before == 32765 ? Bytes{0xFE, 0xFF, 0x07} : Bytes{0xFF, 0x7F, 0xFF, 0x7F, 0x00, 0x80, 0x07};
    EXPECT_EQ(bytes, Concat({{0xFF, 0xFF, 0x01, 'X', 0x07}, second})) << before;
    Load(bytes, [&](ykstd_Archive& ar) {
      fill(ar, before);
      Hnd_ykstd_Transient r1, r2;
      ar >> r1 >> r2;
      EXPECT_TRUE(r2->IsKind(test_Leaf_Type_()));
      EXPECT_FALSE(r1 == r2);
    });
  }
  // With class number 0x7FFF in use, the word FFFF names that class instead of a new one.
  Load(Bytes{0xFF, 0xFF, 0x07}, [&](ykstd_Archive& ar) {
    fill(ar, 32766);
    ar.MapClassName("X");
    Hnd_ykstd_Transient r;
    ar >> r;
    EXPECT_TRUE(r->IsKind(test_Leaf_Type_()));
  });
}

TEST_F(ArchiveTest, BadTagsFailWithTheirTexts) {
  const Bytes one = {0xFF, 0xFF, 0x01, 'X', 0x07};
  auto readTwo = [&](const Bytes& tail) {
    std::string message;
    Load(Concat({one, tail}), [&](ykstd_Archive& ar) {
      Hnd_ykstd_Transient h;
      ar >> h;
      message = Raised([&] { ar >> h; });
    });
    return message;
  };
  // objCount is 2 after one object: 2 passes the size test and is not bound, 3 is too large.
  EXPECT_EQ(readTwo({0x02, 0x00}), "EXCEPTION ykstd_fail_NoSuchObject : ykstd_DataMap::Find");
  EXPECT_EQ(readTwo({0x03, 0x00}), "EXCEPTION ykstd_fail_ProgramError : tag is too large while reading (s)");
  EXPECT_EQ(readTwo({0xFF, 0x7F, 0x00, 0x00, 0x01, 0x00}),
            "EXCEPTION ykstd_fail_ProgramError : tag is too large while reading (s)");
  // Unknown class numbers, short and big, end in Find with the negative tag.
  EXPECT_EQ(readTwo({0x05, 0x80}), "EXCEPTION ykstd_fail_NoSuchObject : ykstd_DataMap::Find");
  EXPECT_EQ(readTwo({0xFF, 0x7F, 0x09, 0x00, 0x00, 0x80}), "EXCEPTION ykstd_fail_NoSuchObject : ykstd_DataMap::Find");
  // A class that the session cannot make.
  Load(Concat({{0xFF, 0xFF, 0x01}, Text("Q")}), [&](ykstd_Archive& ar) {
    EXPECT_EQ(Raised([&] { ar.ReadTransient(); }), "EXCEPTION ykstd_fail_OutOfMemory : ykstd_Archive::ReadTransient");
  });
}

TEST_F(ArchiveTest, NullHandleTakesTwoBytesAndNoNumber) {
  Hnd_ykstd_Transient x = new test_Leaf;
  EXPECT_EQ(Store([&](ykstd_Archive& ar) { ar << Hnd_ykstd_Transient() << x << x; }),
            (Bytes{0x00, 0x00, 0xFF, 0xFF, 0x01, 'X', 0x07, 0x01, 0x00}));
}

TEST_F(ArchiveTest, PartialStoreWritesOutsideObjectsAsReferences) {
  Hnd_test_Node inside = new test_Node(1), outside = new test_Node(2), plain = new test_Node(3);
  outside->idx = 5;
  plain->idx = 0;
  inside->idx = 6;
  inside->first = outside;
  inside->second = outside;
  const std::int32_t hash = ykstd_AsciiString::HashCode("test_Node", 32767);
  const Bytes ptag = {0x00, 0x80, static_cast<unsigned char>(hash), static_cast<unsigned char>(hash >> 8), 0x05, 0x00};
  const Bytes bytes = Store([&](ykstd_Archive& ar) {
    ar.SetObjOnly(1);
    ar.AddObjToStore(inside);
    EXPECT_EQ(ar.IsToStore(inside), 1);
    EXPECT_EQ(ar.IsToStore(Hnd_ykstd_Transient()), 0);
    ar << inside << plain;
    EXPECT_EQ(ar.IsStored(inside), 1);
    EXPECT_EQ(ar.IsStored(outside), 0);
  });
  EXPECT_EQ(bytes, Concat({{0xFF, 0xFF, 0x09},
                           Text("test_Node"),
                           {0x01},
                           ptag,
                           ptag,  // twice: no number
                           {0x01, 0x80, 0x03, 0x00, 0x00, 0x00, 0x00}}));
  // Reading: "PTAG" goes to the session like any class name.
  session->factories["PTAG"] = [] { return Hnd_ykstd_Transient(new test_Leaf); };
  Load(Bytes{0x00, 0x80, 0x07, 0x01, 0x00}, [&](ykstd_Archive& ar) {
    // The test's class for it reads one byte; the object it gives is numbered like any other.
    ar.SetObjOnly(1);
    Hnd_ykstd_Transient r, again;
    ar >> r >> again;
    EXPECT_EQ(session->lastObjOnly, 1);
    EXPECT_TRUE(r->IsKind(test_Leaf_Type_()));
    EXPECT_TRUE(r == again);
  });
  inside->first.Nullify();
  inside->second.Nullify();
}

TEST_F(ArchiveTest, SmallOrAbsentBuffersAreReplacedAndCallersBuffersNeverFreed) {
  unsigned char mine[200];
  std::memset(mine, 0xAA, sizeof mine);
  {
    ykstd_Archive ar(&storage, "a", 1, 127, mine);
    ar << static_cast<std::int32_t>(0x01020304);
  }
  EXPECT_EQ(mine[0], 0xAA);  // 127 is too small: an own buffer of 128 took the bytes
  EXPECT_EQ(storage.Bytes(L"a"), (Bytes{4, 3, 2, 1}));
  {
    ykstd_Archive ar(&storage, "b", 1, 128, mine);
    ar << static_cast<std::int32_t>(0x01020304);
    EXPECT_EQ(mine[0], 4);  // the caller's buffer is used; ASan would see a free of it
    ar.Abort();
  }
}

TEST_F(ArchiveTest, LargeBlocksBypassTheBufferBothWays) {
  Bytes block(300);
  for (std::size_t i = 0; i < block.size(); ++i) block[i] = static_cast<unsigned char>(i * 7);
  const Bytes bytes = Store(
      [&](ykstd_Archive& ar) {
        ar << static_cast<unsigned char>(0xEE);
        ar.Write(block.data(), 300);  // 127 buffered, 128 direct, 45 buffered
        EXPECT_EQ(storage.calls.writes, 2);
        ar.Write(block.data(), 0);
      },
      128);
  EXPECT_EQ(bytes, Concat({{0xEE}, block}));
  storage.maxChunk = 50;  // a stream that delivers little at a time
  Load(
      bytes,
      [&](ykstd_Archive& ar) {
        unsigned char first = 0;
        ar >> first;
        Bytes back(300);
        EXPECT_EQ(ar.Read(back.data(), 300), 300);
        EXPECT_EQ(back, block);
        EXPECT_EQ(ar.Read(back.data(), 10), 0);
      },
      128);
  // Short data: Read delivers what there is.
  Load(Bytes{1, 2, 3}, [&](ykstd_Archive& ar) {
    Bytes back(10);
    EXPECT_EQ(ar.Read(back.data(), 10), 3);
  });
}

TEST_F(ArchiveTest, ClosingALoadingArchiveLeavesTheStreamOnTheNextUnreadByte) {
  storage.Bytes(L"s") = Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
  {
    ykstd_Archive ar(&storage, "s", 2, 128, nullptr);
    std::int16_t w = 0;
    ar >> w;
    auto* mem = static_cast<ykstd_test::MemStream*>(ar.GetIStream());
    mem->AddRef();
    ar.Close();
    EXPECT_EQ(mem->Position(), 2u);
    EXPECT_EQ(ar.GetIStream(), nullptr);
    ar.Close();  // a second Close does nothing
    mem->Release();
    // Reading on after Close, with nothing left in the buffer, meets the released stream.
    EXPECT_EQ(Raised([&] { ar >> w >> w >> w >> w >> w; }), "com error 2147500035");
  }
  EXPECT_EQ(storage.calls.openModes, (std::vector<std::uint32_t>{0x10}));
}

TEST_F(ArchiveTest, AbortLosesBufferedBytesButCommits) {
  {
    ykstd_Archive ar(&storage, "s", 1, 128, nullptr);
    ar << static_cast<std::int32_t>(1);
    ar.Abort();
    EXPECT_EQ(ar.GetIStream(), nullptr);
  }
  EXPECT_EQ(storage.Bytes(L"s"), Bytes{});
  EXPECT_EQ(storage.calls.commits, 1);
}

TEST_F(ArchiveTest, StoringToAnExistingStreamCutsItToFourBytes) {
  storage.Bytes(L"s") = Bytes{9, 9, 9, 9, 9, 9, 9, 9};
  {
    ykstd_Archive ar(&storage, "s", 1, 128, nullptr);
    ar << static_cast<unsigned char>(1);
  }
  EXPECT_EQ(storage.Bytes(L"s"), (Bytes{1, 9, 9, 9}));
  EXPECT_EQ(storage.calls.setSizes, (std::vector<std::uint64_t>{4}));
  EXPECT_EQ(storage.calls.openModes, (std::vector<std::uint32_t>{0x11}));
}

TEST_F(ArchiveTest, MissingStreamOrStorageRaisesNothing) {
  {
    ykstd_Archive ar(&storage, "none", 2, 4096, nullptr);
    EXPECT_EQ(ar.GetIStream(), nullptr);
    char buf[4];
    EXPECT_EQ(ar.Read(buf, 4), 0);
    ar.Write(buf, 4);
    unsigned char u;
    EXPECT_EQ(Raised([&] { ar >> u; }), "com error 2147500035");
    ar.Close();
  }
  ykstd_Archive none(nullptr, "x", 1, 4096, nullptr);
  EXPECT_EQ(none.GetIStorage(), nullptr);
  EXPECT_EQ(none.IsStoring(), 1);
  EXPECT_EQ(none.IsLoading(), 0);
  EXPECT_EQ(Raised([&] { none << 1.0; }), "com error 2147500035");
}

// A chain of `count` nodes of value 7, each holding the next in `first`; the last holds the head.
Hnd_test_Node Ring(int count) {
  Hnd_test_Node head = new test_Node(7);
  Hnd_test_Node tail = head;
  for (int i = 1; i < count; ++i) {
    Hnd_test_Node next = new test_Node(7);
    tail->first = next;
    tail = next;
  }
  tail->first = head;
  return head;
}

// Unlinks iteratively: releasing a long chain at once would recurse through every destructor.
void Cut(Hnd_ykstd_Transient node) {
  while (!node.IsNull()) {
    Hnd_test_Node current = Hnd_test_Node::DownCast(node);
    node = current->first;
    current->first.Nullify();
  }
}

// The stored ring: every body opens the next object, the last refers back to the first, and the
// null `second` of each node follows once the nesting unwinds.
Bytes RingBytes(int count) {
  Bytes bytes = Concat({{0xFF, 0xFF, 0x09}, Text("test_Node"), {7}});
  for (int i = 1; i < count; ++i) bytes.insert(bytes.end(), {0x01, 0x80, 7});
  bytes.insert(bytes.end(), {0x01, 0x00});
  bytes.insert(bytes.end(), static_cast<std::size_t>(2 * count), 0x00);
  return bytes;
}

TEST_F(ArchiveTest, ObjectsNestAsDeepAsMemoryAllows) {
  for (const int count : {3, 1000000}) {
    Hnd_test_Node head = Ring(count);
    EXPECT_EQ(Store([&](ykstd_Archive& ar) { ar << head; }), RingBytes(count)) << count;
    Cut(head);
    Hnd_ykstd_Transient back;
    Load(RingBytes(count), [&](ykstd_Archive& ar) { back = ar.ReadTransient(); });
    Hnd_ykstd_Transient walk = back;
    for (int i = 0; i < count; ++i) walk = Hnd_test_Node::DownCast(walk)->first;
    EXPECT_TRUE(walk == back) << count;
    Cut(back);
  }
  // A stream that keeps opening objects until its bytes end fails where they end.
  Bytes endless = Concat({{0xFF, 0xFF, 0x09}, Text("test_Node"), {7}});
  for (int i = 0; i < 200000; ++i) endless.insert(endless.end(), {0x01, 0x80, 7});
  Load(endless, [&](ykstd_Archive& ar) {
    EXPECT_EQ(Raised([&] { ar.ReadTransient(); }), "EXCEPTION ykstd_fail_SystemError : ykstd_Archive::FillBuffer");
  });
}

TEST_F(ArchiveTest, DeepNestingNeedsNoLargeThreadStack) {
  ykstd_test::RunOnSmallThread([&] {
    Hnd_test_Node head = Ring(20000);
    EXPECT_EQ(Store([&](ykstd_Archive& ar) { ar << head; }), RingBytes(20000));
    Cut(head);
    Load(RingBytes(20000), [&](ykstd_Archive& ar) { Cut(ar.ReadTransient()); });
  });
}

TEST_F(ArchiveTest, GraphWithCyclesRoundTripsThroughACompoundFile) {
  const std::string path =
      (std::filesystem::temp_directory_path() / ("ykstd-archive-" + std::to_string(::getpid()) + ".cfb")).string();
  const std::wstring wide(path.begin(), path.end());
  // A ring of 300 nodes, each also pointing at the ring's start: many back references, one cycle.
  std::vector<Hnd_test_Node> ring;
  for (int i = 0; i < 300; ++i) ring.emplace_back(new test_Node(static_cast<unsigned char>(i)));
  for (int i = 0; i < 300; ++i) {
    ring[i]->first = ring[(i + 1) % 300];
    ring[i]->second = ring[0];
  }
  {
    IStoragePtr file;
    ASSERT_EQ(StgCreateDocfile(wide.c_str(), STGM_READWRITE | STGM_SHARE_EXCLUSIVE | STGM_CREATE, 0, &file), S_OK);
    ykstd_Schema::Save(file);
    ykstd_Archive ar(file, "Data", 1, 128, nullptr);
    ar << ring[5];
    ar.Close();
    file->Commit(STGC_DEFAULT);
  }
  for (auto& node : ring) node->first = node->second = Hnd_ykstd_Transient();
  ring.clear();
  {
    IStoragePtr file;
    ASSERT_EQ(StgOpenStorage(wide.c_str(), nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, nullptr, 0, &file), S_OK);
    ykstd_Schema::Load(file);
    EXPECT_EQ(ykstd_Schema::ClassVersion("ykobj_Front"), 1);
    ykstd_Archive ar(file, "Data", 2, 4096, nullptr);
    Hnd_ykstd_Transient top;
    ar >> top;
    Hnd_test_Node node = Hnd_test_Node::DownCast(top);
    for (int i = 0; i < 300; ++i) {
      ASSERT_EQ(node->value, static_cast<unsigned char>((5 + i) % 300));
      EXPECT_TRUE(node->second->IsKind(test_Node_Type_()));
      node = Hnd_test_Node::DownCast(node->first);
    }
    EXPECT_TRUE(node == top);
    EXPECT_EQ(test_Node::serialized, 600);
    for (int i = 0; i < 300; ++i) {  // cut the ring so that the nodes can go
      Hnd_test_Node next = Hnd_test_Node::DownCast(node->first);
      node->first = node->second = Hnd_ykstd_Transient();
      node = next;
    }
  }
  ykstd_Schema::Destroy();
  std::filesystem::remove(path);
}

TEST_F(ArchiveTest, EndOfClassTagAndParamsChangeNothing) {
  EXPECT_EQ(EOC, 0x0E0C);
  EXPECT_EQ(Store([](ykstd_Archive& ar) {
              EXPECT_EQ(ar.dataVersion, 0);
              ar.SetLoadParams(3);
              ar.SetStoreParams(4);
              ar << EOC;
            }),
            (Bytes{0x0C, 0x0E}));
}

}  // namespace
