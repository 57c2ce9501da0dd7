#include <gtest/gtest.h>

#include <vector>

#include <ykstd/ykstd.hxx>

#include "MemStorage.hxx"

namespace {

// Counts the living objects of its class, so that tests can see who keeps one alive.
class Counted : public ykstd_TShared {
 public:
  Counted() { ++alive; }
  ~Counted() override { --alive; }
  static int alive;
};
int Counted::alive = 0;

TEST(VarArg, DefaultAndEachKind) {
  const ykstd_VarArg none;
  EXPECT_EQ(none.GetKind(), ykstd_VarArg::VarArgNone);
  EXPECT_EQ(none.Text().Length(), 0);
  EXPECT_EQ(none.Object().IsNull(), 1);
  EXPECT_EQ(none.Dimension().GetUnit(), ykenum::UnitNone);
  EXPECT_EQ(none.Dimension().RawValue(), 0.0);

  int target = 0;
  EXPECT_EQ(ykstd_VarArg('q').CharValue(), 'q');
  EXPECT_EQ(ykstd_VarArg('q').GetKind(), ykstd_VarArg::VarArgChar);
  EXPECT_EQ(ykstd_VarArg(std::int32_t{-70000}).LongValue(), -70000);
  EXPECT_EQ(ykstd_VarArg(std::int32_t{-70000}).GetKind(), ykstd_VarArg::VarArgLong);
  EXPECT_EQ(ykstd_VarArg(2.5).DoubleValue(), 2.5);
  EXPECT_EQ(ykstd_VarArg(2.5).GetKind(), ykstd_VarArg::VarArgDouble);
  EXPECT_EQ(ykstd_VarArg(static_cast<void*>(&target)).PtrValue(), &target);
  EXPECT_EQ(ykstd_VarArg(static_cast<void*>(&target)).GetKind(), ykstd_VarArg::VarArgPtr);
  EXPECT_STREQ(ykstd_VarArg(ykstd_AsciiString("abc")).Text().Text(), "abc");
  // A literal is text by way of the string class; a writable char* is a pointer, held as such.
  EXPECT_EQ(ykstd_VarArg("lit").GetKind(), ykstd_VarArg::VarArgString);
  char buffer[] = "buf";
  char* writable = buffer;
  ykstd_VarArg pointer(writable);
  EXPECT_EQ(pointer.GetKind(), ykstd_VarArg::VarArgPtr);
  EXPECT_EQ(pointer.PtrValue(), static_cast<void*>(buffer));
  pointer.Set(writable + 1);
  EXPECT_EQ(pointer.PtrValue(), static_cast<void*>(buffer + 1));
  const ykstd_VarArg dim(ykstd_Dim(12, ykenum::UnitMM));
  EXPECT_EQ(dim.GetKind(), ykstd_VarArg::VarArgDim);
  EXPECT_EQ(dim.Dimension().RawValue(), 12 * 0.001);
  EXPECT_EQ(dim.Dimension().GetUnit(), ykenum::UnitMM);
}

TEST(VarArg, SetChangesTheKindAndOneMemberOnly) {
  ykstd_VarArg value(ykstd_AsciiString("kept"));
  value.Set(std::int32_t{5});
  EXPECT_EQ(value.GetKind(), ykstd_VarArg::VarArgLong);
  EXPECT_EQ(value.LongValue(), 5);
  EXPECT_STREQ(value.Text().Text(), "kept");  // no longer counts, but still held
  value.Set(ykstd_Dim(3, ykenum::UnitDeg));
  value.Set('x');
  EXPECT_EQ(value.Dimension().RawValue(), 3);
  EXPECT_EQ(value.CharValue(), 'x');
}

TEST(VarArg, HandlesKeepTheirObjects) {
  Counted::alive = 0;
  {
    ykstd_VarArg value;
    {
      Hnd_ykstd_Transient first = new Counted;
      value.Set(first);
      EXPECT_EQ(first->GetRefCount(), 2);
    }
    EXPECT_EQ(Counted::alive, 1);  // the value keeps it after the caller's handle has gone
    value.Set(std::int32_t{1});
    EXPECT_EQ(Counted::alive, 1);  // another kind does not release it
    value.Set(Hnd_ykstd_Transient(new Counted));
    EXPECT_EQ(Counted::alive, 1);  // a new handle does
    {
      const ykstd_VarArg copy(value);
      EXPECT_EQ(copy.Object()->GetRefCount(), 2);
      ykstd_VarArg assigned;
      assigned = copy;
      EXPECT_EQ(copy.Object()->GetRefCount(), 3);
    }
    EXPECT_EQ(value.Object()->GetRefCount(), 1);
  }
  EXPECT_EQ(Counted::alive, 0);
}

TEST(VarArg, CopiesCarryEveryMember) {
  int target = 0;
  ykstd_VarArg source(ykstd_Dim(1, ykenum::UnitInch));
  source.Set(ykstd_AsciiString("text"));
  source.Set(static_cast<void*>(&target));
  ykstd_VarArgSeq seq;
  seq.Append(source);
  source.Set(ykstd_AsciiString("changed"));
  const ykstd_VarArg& stored = seq.Value(1);
  EXPECT_EQ(stored.GetKind(), ykstd_VarArg::VarArgPtr);
  EXPECT_EQ(stored.PtrValue(), &target);
  EXPECT_STREQ(stored.Text().Text(), "text");
  EXPECT_EQ(stored.Dimension().RawValue(), 0.0254);
  EXPECT_EQ(stored.Dimension().GetUnit(), ykenum::UnitInch);
}

TEST(VarArg, OnlyTheCountOfASequenceIsStored) {
  ykstd_Debug::SwitchOn(false);
  ykstd_test::MemStorage storage;
  ykstd_VarArgSeq seq;
  seq.Append(ykstd_VarArg(2.5));
  seq.Append(ykstd_VarArg("two"));
  ykstd_VarArg loose(std::int32_t{9});
  {
    ykstd_Archive ar(&storage, "s", 1, 4096, nullptr);
    ar << seq << loose;
  }
  EXPECT_EQ(storage.Bytes(L"s"), (std::vector<unsigned char>{0x02, 0x00}));

  ykstd_VarArgSeq loaded;
  loaded.Append(ykstd_VarArg('z'));
  {
    ykstd_Archive ar(&storage, "s", 2, 4096, nullptr);
    ar >> loaded >> loose;
  }
  ASSERT_EQ(loaded.Length(), 2);
  EXPECT_EQ(loaded.Value(1).GetKind(), ykstd_VarArg::VarArgNone);
  EXPECT_EQ(loaded.Value(2).GetKind(), ykstd_VarArg::VarArgNone);
  EXPECT_EQ(loaded.Value(2).Text().Length(), 0);
  EXPECT_EQ(loose.LongValue(), 9);
  ykstd_Debug::SwitchOn(true);
}

}  // namespace
