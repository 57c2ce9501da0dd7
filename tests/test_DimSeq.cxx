#include <gtest/gtest.h>

#include <ykstd/ykstd.hxx>

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

}  // namespace
