#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include <ykstd/ykstd.hxx>

#include "ArchiveLeaf.hxx"
#include "Corpus.hxx"
#include "MemStorage.hxx"
#include "TestSession.hxx"
#include "ykstd_TestRaised.hxx"

using Bytes = std::vector<unsigned char>;

namespace ykstd_test {
YKSTD_IMPLEMENT_TYPE_NAMED(test_Leaf, ykstd_TShared, "X")
}

namespace {

using ykstd_test::test_Leaf;

class StoredFormTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ykstd_Debug::SwitchOn(false);
    session = new ykstd_test::TestSession;
    session->factories["X"] = [] { return Hnd_ykstd_Transient(new test_Leaf); };
  }
  void TearDown() override { ykstd_Session::CurSession()->Destroy(); }

  Bytes Store(const std::function<void(ykstd_Archive&)>& write) {
    storage.streams.erase(L"s");
    {
      ykstd_Archive ar(&storage, "s", 1, 128, nullptr);
      write(ar);
    }
    ykstd_test::SaveSeed("fuzz_Archive", storage.Bytes(L"s"), 1);
    return storage.Bytes(L"s");
  }
  void Load(const Bytes& bytes, const std::function<void(ykstd_Archive&)>& read) {
    storage.Bytes(L"s") = bytes;
    ykstd_Archive ar(&storage, "s", 2, 128, nullptr);
    read(ar);
  }

  ykstd_test::MemStorage storage;
  ykstd_test::TestSession* session = nullptr;
};

TEST_F(StoredFormTest, TransientSequenceOfObjectSameObjectAndNull) {
  Hnd_ykstd_Transient x = new test_Leaf;
  ykstd_TransientSeq seq;
  seq.Append(x);
  seq.Append(x);
  seq.Append(Hnd_ykstd_Transient());
  const Bytes bytes = Store([&](ykstd_Archive& ar) { ar << seq; });
  EXPECT_EQ(bytes, (Bytes{0x03, 0x00, 0xFF, 0xFF, 0x01, 0x58, 0x07, 0x01, 0x00, 0x00, 0x00}));
  Load(bytes, [&](ykstd_Archive& ar) {
    ykstd_TransientSeq back;
    back.Append(x);  // replaced: a sequence is cleared before loading
    ar >> back;
    ASSERT_EQ(back.Length(), 3);
    EXPECT_TRUE(back.Value(1) == back.Value(2));
    EXPECT_FALSE(back.Value(1) == x);
    EXPECT_TRUE(back.Value(3).IsNull());
  });
}

TEST_F(StoredFormTest, SequenceElementFormsAndCountHead) {
  ykstd_BoolSeq bools;
  bools.Append(1);
  bools.Append(0);
  ykstd_RealSeq reals;
  reals.Append(2.0);
  ykstd_AsciiStringSeq texts;
  texts.Append("ab");
  ykstd_IntSeq ints;
  ints.Append(-2);
  ykstd_PtrSeq ptrs;
  for (int i = 0; i < 3; ++i) ptrs.Append(nullptr);
  const Bytes bytes = Store([&](ykstd_Archive& ar) { ar << bools << reals << texts << ints << ptrs; });
  EXPECT_EQ(bytes, (Bytes{2, 0, 1, 0,   1,   0, 0, 0,    0,    0,    0,    0, 0, 0x40,
                          1, 0, 2, 'a', 'b', 1, 0, 0xFE, 0xFF, 0xFF, 0xFF, 3, 0}));
  Load(bytes, [&](ykstd_Archive& ar) {
    ykstd_BoolSeq b;
    ykstd_RealSeq r;
    ykstd_AsciiStringSeq t;
    ykstd_IntSeq i;
    ykstd_PtrSeq p;
    ar >> b >> r >> t >> i >> p;
    EXPECT_EQ(b.Length(), 2);
    EXPECT_EQ(b.Value(1), 1);
    EXPECT_EQ(r.Value(1), 2.0);
    EXPECT_STREQ(t.Value(1).Text(), "ab");
    EXPECT_EQ(i.Value(1), -2);
    EXPECT_EQ(p.Length(), 3);  // two bytes read, three elements
  });
  // A count at or above 2^31 is under 1 as a signed number: an empty sequence.
  Load(Bytes{0xFF, 0xFF, 0x00, 0x00, 0x00, 0x80}, [](ykstd_Archive& ar) {
    ykstd_IntSeq i;
    i.Append(5);
    ar >> i;
    EXPECT_EQ(i.Length(), 0);
  });
}

TEST_F(StoredFormTest, CountsBeyondTheDataFailWhereTheDataEnds) {
  // 2^31 - 1 doubles announced, 8 present: the data runs out.
  Load(Bytes{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F, 0, 0, 0, 0, 0, 0, 0xF0, 0x3F}, [](ykstd_Archive& ar) {
    ykstd_RealSeq r;
    EXPECT_EQ(RaisedMessage([&] { ar >> r; }), "EXCEPTION ykstd_fail_SystemError : ykstd_Archive::FillBuffer");
    EXPECT_EQ(r.Length(), 1);
  });
  // An array takes the stream's bounds and storage for them before its elements: a load that
  // fails part-way keeps those bounds and what came.
  Load(Bytes{1, 0, 0, 0, 0x70, 0x11, 0x01, 0, 9, 0, 0, 0}, [](ykstd_Archive& ar) {
    ykstd_IntArr1 a(1, 1);
    EXPECT_EQ(RaisedMessage([&] { ar >> a; }), "EXCEPTION ykstd_fail_SystemError : ykstd_Archive::FillBuffer");
    EXPECT_EQ(a.Lower(), 1);
    EXPECT_EQ(a.Upper(), 70000);
    EXPECT_EQ(a.Value(1), 9);
    EXPECT_EQ(a.Value(2), 0);
  });
  // Bounds no memory can hold end in the array's own failure.
  Load(Bytes{0, 0, 0, 0x80, 0xFF, 0xFF, 0xFF, 0x7F}, [](ykstd_Archive& ar) {
    ykstd_IntArr1 a(1, 1);
    EXPECT_EQ(RaisedMessage([&] { ar >> a; }), "EXCEPTION ykstd_fail_OutOfMemory : ykstd_Array1: Allocation failed");
  });
}

TEST_F(StoredFormTest, ElementsWithoutStoredBytesAreBoundedByMemoryAlone) {
  ykstd_PtrSeq seq;
  for (int i = 0; i < 70000; ++i) seq.Append(nullptr);
  ykstd_PtrArr1 arr(1, 70000);
  ykstd_VarArgSeq args;
  args.Append(ykstd_VarArg());
  const Bytes bytes = Store([&](ykstd_Archive& ar) { ar << seq << arr << args; });
  EXPECT_EQ(bytes, (Bytes{0xFF, 0xFF, 0x70, 0x11, 0x01, 0x00, 1, 0, 0, 0, 0x70, 0x11, 0x01, 0, 1, 0}));
  Load(bytes, [](ykstd_Archive& ar) {
    ykstd_PtrSeq p;
    ykstd_PtrArr1 q(1, 1);
    ykstd_VarArgSeq v;
    ar >> p >> q >> v;
    EXPECT_EQ(p.Length(), 70000);
    EXPECT_EQ(q.Upper(), 70000);
    EXPECT_EQ(v.Length(), 1);
  });
  // A count that memory cannot hold fails where the node allocation comes back empty.
  Load(Bytes{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F}, [](ykstd_Archive& ar) {
    ykstd_PtrSeq p;
    ykstd_Transient::FailNextAllocations(1);
    EXPECT_EQ(RaisedMessage([&] { ar >> p; }), "EXCEPTION ykstd_fail_OutOfMemory : ykstd_Sequence: Allocation failed");
    EXPECT_EQ(p.Length(), 0);
  });
}

TEST_F(StoredFormTest, ArraysStoreBoundsAsLongsAndLoadingReplacesThem) {
  ykstd_IntArr1 a(-1, 1);
  a.SetValue(-1, 10);
  a.SetValue(0, 20);
  a.SetValue(1, 30);
  ykstd_PtrArr1 p(5, 6);
  const Bytes bytes = Store([&](ykstd_Archive& ar) { ar << a << p; });
  EXPECT_EQ(bytes,
            (Bytes{0xFF, 0xFF, 0xFF, 0xFF, 1, 0, 0, 0, 10, 0, 0, 0, 20, 0, 0, 0, 30, 0, 0, 0, 5, 0, 0, 0, 6, 0, 0, 0}));
  Load(bytes, [&](ykstd_Archive& ar) {
    ykstd_IntArr1 b(1, 9);
    ykstd_PtrArr1 q(1, 1);
    ar >> b >> q;
    EXPECT_EQ(b.Lower(), -1);
    EXPECT_EQ(b.Upper(), 1);
    EXPECT_EQ(b.Value(1), 30);
    EXPECT_EQ(q.Lower(), 5);
    EXPECT_EQ(q.Upper(), 6);
  });
}

TEST_F(StoredFormTest, MapsListsAndStacksLoadWithoutClearing) {
  ykstd_AsciiStringIntDataMap map(1);
  map.Bind("k", 4);
  ykstd_IntList list;
  list.Append(8);
  list.Append(9);
  const Bytes bytes = Store([&](ykstd_Archive& ar) { ar << map << list; });
  EXPECT_EQ(bytes, (Bytes{1, 0, 0, 0, 1, 'k', 4, 0, 0, 0, 2, 0, 0, 0, 8, 0, 0, 0, 9, 0, 0, 0}));
  Load(bytes, [&](ykstd_Archive& ar) {
    ykstd_AsciiStringIntDataMap back(1);
    back.Bind("old", 1);
    ykstd_IntList l;
    l.Append(7);
    ar >> back >> l;
    EXPECT_EQ(back.Extent(), 2);
    EXPECT_EQ(back.Find("k"), 4);
    EXPECT_EQ(back.Find("old"), 1);
    EXPECT_EQ(l.Extent(), 3);
    EXPECT_EQ(l.Last(), 9);
  });
  // A stack comes back upside down.
  Hnd_ykstd_Transient a = new test_Leaf, b = new test_Leaf;
  ykstd_TransientStack stack;
  stack.Push(a);
  stack.Push(b);  // b on top
  const Bytes stacked = Store([&](ykstd_Archive& ar) { ar << stack; });
  EXPECT_EQ(stacked, (Bytes{2, 0, 0, 0, 0xFF, 0xFF, 1, 'X', 7, 1, 0x80, 7}));
  Load(stacked, [&](ykstd_Archive& ar) {
    ykstd_TransientStack back;
    ar >> back;
    ASSERT_EQ(back.Depth(), 2);
    Hnd_ykstd_Transient top = back.Top();
    back.Pop();
    EXPECT_FALSE(top == back.Top());
  });
}

TEST_F(StoredFormTest, ArchiveKeepsCallerListsUntilAbort) {
  ykstd_Archive ar(&storage, "s", 1, 128, nullptr);
  Hnd_ykstd_Transient x = new test_Leaf;
  ar.AddObj(x);
  ar.AddObj(Hnd_ykstd_Transient());
  ar.AddFileName("a");
  ar.AddFileName("b");
  ar.AddFileName("a");
  EXPECT_EQ(ar.ObjNeedUsrs().Length(), 1);
  ASSERT_EQ(ar.FileNames().Length(), 2);
  EXPECT_STREQ(ar.FileNames().Value(2).Text(), "b");
  ar.ClearFileNames();
  EXPECT_EQ(ar.FileNames().Length(), 0);
  ar.AddFileName("c");
  ar.Abort();
  EXPECT_EQ(ar.ObjNeedUsrs().Length(), 0);
  EXPECT_EQ(ar.FileNames().Length(), 0);
  EXPECT_EQ(x->GetRefCount(), 1);
}

}  // namespace
