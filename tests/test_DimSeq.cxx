#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include <ykstd/ykstd.hxx>

#include "MemStorage.hxx"
#include "ykstd_TestRaised.hxx"

namespace {

TEST(DimSeq, ElementsAreCopiedInDepth) {
  ykstd_DimSeq inner;
  inner.Append(ykstd_Dim(10, ykenum::UnitMM));
  inner.Append(ykstd_Dim(0.01, 0.02, 0.0025, ykenum::UnitMM));
  ykstd_DimSeqSeq outer;
  outer.Append(inner);
  inner.ChangeValue(1).Set(3, ykenum::UnitInch);
  inner.Append(ykstd_Dim());

  ASSERT_EQ(outer.Value(1).Length(), 2);
  const ykstd_Dim& first = outer.Value(1).Value(1);
  EXPECT_EQ(first.RawValue(), 10 * 0.001);
  EXPECT_EQ(first.GetUnit(), ykenum::UnitMM);
  const ykstd_Dim& range = outer.Value(1).Value(2);
  EXPECT_EQ(range.IsRange(), 1);
  EXPECT_EQ(range.RawMax(), 0.02);
  EXPECT_EQ(range.RawStep(), 0.0025);

  ykstd_DimSeqSeq copy;
  copy.Assign(outer);
  outer.ChangeValue(1).Clear();
  EXPECT_EQ(copy.Value(1).Length(), 2);
}

TEST(DimSeq, NodeClassesHaveTheirDescriptors) {
  EXPECT_STREQ(ykstd_SequenceNodeOfDimSeq_Type_()->Name(), "ykstd_SequenceNodeOfDimSeq");
  EXPECT_STREQ(ykstd_SequenceNodeOfDimSeqSeq_Type_()->Name(), "ykstd_SequenceNodeOfDimSeqSeq");
  EXPECT_STREQ(ykstd_SequenceNodeOfFunctionSeq_Type_()->Name(), "ykstd_SequenceNodeOfFunctionSeq");
  EXPECT_STREQ(ykstd_SequenceNodeOfVarArgSeq_Type_()->Name(), "ykstd_SequenceNodeOfVarArgSeq");
  EXPECT_EQ(ykstd_SequenceNodeOfDimSeq_Type_()->NumberOfAncestor(), ykstd_SeqNode_Type_()->NumberOfAncestor() + 1);
}

// A sequence of sequences stores the count of each level, then each dimension in its own form.
TEST(DimSeq, StoredFormsNestAndLoadBack) {
  ykstd_Debug::SwitchOn(false);
  ykstd_DimSeq inner;
  inner.Append(ykstd_Dim(12.5, ykenum::UnitMM));
  inner.Append(ykstd_Dim(90, ykenum::UnitDeg));
  ykstd_DimSeqSeq outer;
  outer.Append(inner);
  outer.Append(ykstd_DimSeq());
  ykstd_test::MemStorage storage;
  {
    ykstd_Archive ar(&storage, "s", 1, 4096, nullptr);
    ar << outer;
  }
  std::vector<unsigned char> want = {0x02, 0x00, 0x02, 0x00, 0x00, 0x00};
  const auto appendDouble = [&want](double value) {
    unsigned char bytes[8];
    std::memcpy(bytes, &value, 8);  // the archive is little-endian, as this machine
    want.insert(want.end(), bytes, bytes + 8);
  };
  appendDouble(0.0125);
  want.insert(want.end(), {0x0C, 0x0E, 0x00, 0x0B});
  appendDouble(90.0);
  want.insert(want.end(), {0x0C, 0x0E, 0x00, 0x00});
  EXPECT_EQ(storage.Bytes(L"s"), want);

  // Loading a dimension asks the schema for its class version: take this build's own.
  ykstd_test::MemStorage schemaStorage;
  EXPECT_EQ(RaisedMessage([&] { ykstd_Schema::Save(IStoragePtr(&schemaStorage)); }), "<nothing raised>");
  ASSERT_EQ(ykstd_Schema::Load(IStoragePtr(&schemaStorage)), 0);
  ykstd_DimSeqSeq loaded;
  loaded.Append(inner);  // loading replaces what the sequence held
  EXPECT_EQ(RaisedMessage([&] {
              ykstd_Archive ar(&storage, "s", 2, 4096, nullptr);
              ar.dataVersion = 16;  // a stream new enough to carry the end-of-class markers
              ar >> loaded;
            }),
            "<nothing raised>");
  ASSERT_EQ(loaded.Length(), 2);
  ASSERT_EQ(loaded.Value(1).Length(), 2);
  EXPECT_EQ(loaded.Value(1).Value(1).RawValue(), 0.0125);
  EXPECT_EQ(loaded.Value(1).Value(2).GetUnit(), ykenum::UnitDeg);
  EXPECT_EQ(loaded.Value(2).Length(), 0);
  ykstd_Schema::Destroy();
  ykstd_Debug::SwitchOn(true);
}

}  // namespace
