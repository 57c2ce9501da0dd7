#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include <ykstd/ykstd.hxx>

#include "ykstd_TestRaised.hxx"

namespace {

template <class A>
std::vector<std::int32_t> Elements(const A& array) {
  std::vector<std::int32_t> out;
  for (std::int64_t i = array.Lower(); i <= array.Upper(); ++i)
    out.push_back(array.Value(static_cast<std::int32_t>(i)));
  return out;
}

std::vector<std::int32_t> Ints(std::initializer_list<std::int32_t> values) { return values; }

TEST(Arr1Bounds, FreeBoundsAndTheirTests) {
  ykstd_IntArr1 one(5, 5);
  EXPECT_EQ(one.Length(), 1);
  one.SetValue(5, 50);
  EXPECT_EQ(one.Value(5), 50);
  EXPECT_EQ(RaisedMessage([&] { one.Value(4); }),
            "EXCEPTION ykstd_fail_OutOfRange : EXCEPTION: OutOfRange in Value method");
  EXPECT_EQ(RaisedMessage([&] { one.Value(6); }),
            "EXCEPTION ykstd_fail_OutOfRange : EXCEPTION: OutOfRange in Value method");
  EXPECT_EQ(RaisedMessage([&] { one.ChangeValue(6); }),
            "EXCEPTION ykstd_fail_OutOfRange : EXCEPTION: OutOfRange in ChangeValue method");
  EXPECT_EQ(RaisedMessage([&] { one.SetValue(4, 1); }),
            "EXCEPTION ykstd_fail_OutOfRange : EXCEPTION: OutOfRange in SetValue method");

  ykstd_IntArr1 centred(-3, 3);
  EXPECT_EQ(centred.Length(), 7);
  for (std::int32_t i = -3; i <= 3; ++i) centred.SetValue(i, i * 10);
  EXPECT_EQ(Elements(centred), Ints({-30, -20, -10, 0, 10, 20, 30}));
  centred.Init(4);
  EXPECT_EQ(Elements(centred), Ints({4, 4, 4, 4, 4, 4, 4}));

  // Bounds at the ends of the 32-bit range are addressed without overflow.
  ykstd_IntArr1 high(INT32_MAX - 1, INT32_MAX);
  high.Init(1);
  high.SetValue(INT32_MAX, 2);
  EXPECT_EQ(Elements(high), Ints({1, 2}));
  ykstd_IntArr1 low(INT32_MIN, INT32_MIN + 1);
  low.Init(3);
  EXPECT_EQ(low.Value(INT32_MIN), 3);
}

TEST(Arr1Bounds, ConstructionFailures) {
  EXPECT_EQ(RaisedMessage([] { ykstd_IntArr1 array(5, 4); }),
            "EXCEPTION ykstd_fail_RangeError : ykstd_Array1::Create(int,int)");
  std::int32_t memory[2] = {0, 0};
  EXPECT_EQ(RaisedMessage([&] { ykstd_IntArr1 array(memory[0], 1, 0); }),
            "EXCEPTION ykstd_fail_RangeError : ykstd_Array1::ykstd_Array1(CArray,int,int)");
  // 2^32 elements cannot be indexed by a 32-bit length.
  EXPECT_EQ(RaisedMessage([] { ykstd_RealArr1 array(INT32_MIN, INT32_MAX); }),
            "EXCEPTION ykstd_fail_OutOfMemory : ykstd_Array1: Allocation failed");
  ykstd_Transient::FailNextAllocations(1);
  Hnd_ykstd_IntHArr1 none(new ykstd_IntHArr1(1, 2));  // no memory for the object: a null handle
  EXPECT_TRUE(none.IsNull());
}

TEST(Arr1Assign, CopiesByLengthAndKeepsBounds) {
  ykstd_IntArr1 from(1, 3);
  for (std::int32_t i = 1; i <= 3; ++i) from.SetValue(i, i);
  ykstd_IntArr1 to(10, 12);
  to.Assign(from);
  EXPECT_EQ(to.Lower(), 10);
  EXPECT_EQ(to.Upper(), 12);
  EXPECT_EQ(Elements(to), Ints({1, 2, 3}));
  to.Assign(to);
  to = from;
  EXPECT_EQ(Elements(to), Ints({1, 2, 3}));

  ykstd_IntArr1 longer(0, 3);
  longer.Init(9);
  EXPECT_EQ(RaisedMessage([&] { longer.Assign(from); }),
            "EXCEPTION ykstd_fail_DimensionMismatch : in ykstd_Array1::Assign");
  EXPECT_EQ(Elements(longer), Ints({9, 9, 9, 9}));

  ykstd_AsciiStringArr1 texts(0, 1);
  EXPECT_EQ(texts.Value(0).Length(), 0);  // strings start empty
  texts.SetValue(0, "zero");
  ykstd_AsciiStringArr1 copy(1, 2);
  copy.Assign(texts);
  texts.ChangeValue(0).AssignCat("!");
  EXPECT_STREQ(copy.Value(1).Text(), "zero");
  EXPECT_EQ(copy.Value(2).Length(), 0);
}

TEST(Arr1Storage, WrappingUsesTheCallersMemory) {
  double memory[3] = {1.0, 2.0, 3.0};
  {
    ykstd_RealArr1 wrap(memory[0], -1, 1);
    EXPECT_EQ(wrap.Value(-1), 1.0);
    EXPECT_EQ(wrap.Value(1), 3.0);
    wrap.SetValue(0, 20.0);
    wrap.Destroy();  // not ours: nothing freed, still usable
    wrap.ChangeValue(1) = 30.0;
  }
  EXPECT_EQ(memory[1], 20.0);
  EXPECT_EQ(memory[2], 30.0);
}

TEST(Arr1Storage, DestroyFreesOnceAndLeavesNoDanglingAccess) {
  ykstd_AsciiStringArr1 texts(1, 2);
  texts.SetValue(1, "one");
  texts.Destroy();
  texts.Destroy();
  EXPECT_EQ(texts.Lower(), 1);
  EXPECT_EQ(texts.Upper(), 2);
  EXPECT_EQ(RaisedMessage([&] { texts.Value(1); }),
            "EXCEPTION ykstd_fail_OutOfRange : EXCEPTION: OutOfRange in Value method");
  EXPECT_EQ(RaisedMessage([&] { texts.Init("x"); }),
            "EXCEPTION ykstd_fail_OutOfRange : EXCEPTION: OutOfRange in ChangeValue method");
  ykstd_AsciiStringArr1 other(5, 6);
  EXPECT_EQ(RaisedMessage([&] { other.Assign(texts); }),
            "EXCEPTION ykstd_fail_OutOfRange : EXCEPTION: OutOfRange in Value method");
  // The destructor follows on the destroyed array without freeing again (checked by the sanitizer).
}

TEST(Arr1Storage, HandleElementsHoldCounts) {
  Hnd_ykstd_TShared object(new ykstd_TShared);
  {
    ykstd_TransientArr1 handles;
    EXPECT_EQ(handles.Lower(), 0);
    EXPECT_EQ(handles.Upper(), 0);
    EXPECT_TRUE(handles.Value(0).IsNull());
    handles.SetValue(0, object);
    ykstd_TransientArr1 more(1, 3);
    more.Init(object);
    EXPECT_EQ(object->GetRefCount(), 5);
    handles.Destroy();
    EXPECT_EQ(object->GetRefCount(), 4);
  }
  EXPECT_EQ(object->GetRefCount(), 1);
}

TEST(Arr1Counted, HeldByHandles) {
  Hnd_ykstd_IntHArr1 ints(new ykstd_IntHArr1(1, 3, 7));
  EXPECT_EQ(Elements(ints->Array1()), Ints({7, 7, 7}));
  ints->SetValue(2, 8);
  ints->ChangeValue(3) = 9;
  EXPECT_EQ(Elements(*ints), Ints({7, 8, 9}));
  ints->Init(0);
  EXPECT_EQ(ints->Value(2), 0);
  EXPECT_EQ(ints->Length(), 3);

  Hnd_ykstd_Transient root(ints);
  EXPECT_TRUE(Hnd_ykstd_IntHArr1::DownCast(root) == ints);
  EXPECT_TRUE(Hnd_ykstd_RealHArr1::DownCast(root).IsNull());
  EXPECT_STREQ(ints->DynamicType()->Name(), "ykstd_IntHArr1");
  EXPECT_STREQ(ykstd_BoolHArr1_Type_()->Name(), "ykstd_BoolHArr1");
  EXPECT_STREQ(ykstd_PtrHArr1_Type_()->Name(), "ykstd_PtrHArr1");
  EXPECT_STREQ(ykstd_RealHArr1_Type_()->Name(), "ykstd_RealHArr1");
  EXPECT_EQ(ints->IsKind(ykstd_TShared_Type_()), 1);

  Hnd_ykstd_PtrHArr1 pointers(new ykstd_PtrHArr1(0, 0, nullptr));
  Hnd_ykstd_BoolHArr1 bools(new ykstd_BoolHArr1(-1, 0, 1));
  Hnd_ykstd_RealHArr1 reals(new ykstd_RealHArr1(2, 2, 0.5));
  EXPECT_EQ(pointers->Value(0), nullptr);
  EXPECT_EQ(bools->Value(-1) + reals->Value(2), 1.5);
}

}  // namespace
