#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include <ykstd/ykstd.hxx>

#include "ykstd_TestRaised.hxx"

namespace {

YKSTD_HANDLE(test_Counted, ykstd_TShared);
YKSTD_HANDLE(test_Derived, test_Counted);
YKSTD_HANDLE(test_Sibling, ykstd_TShared);

class test_Counted : public ykstd_TShared {
 public:
  test_Counted() { ++alive; }
  test_Counted(const test_Counted& other) : ykstd_TShared(other) { ++alive; }
  test_Counted& operator=(const test_Counted&) = default;
  ~test_Counted() override { --alive; }
  static int alive;
  Hnd_test_Counted next;  // lets one object keep another alive
  YKSTD_DECLARE_TYPE(test_Counted);
};
int test_Counted::alive = 0;

class test_Derived : public test_Counted {
  YKSTD_DECLARE_TYPE(test_Derived);
};

class test_Sibling : public ykstd_TShared {
  YKSTD_DECLARE_TYPE(test_Sibling);
};

YKSTD_IMPLEMENT_TYPE(test_Counted, ykstd_TShared)
YKSTD_IMPLEMENT_TYPE(test_Derived, test_Counted)
YKSTD_IMPLEMENT_TYPE(test_Sibling, ykstd_TShared)

class HandleTest : public ::testing::Test {
 protected:
  void SetUp() override { test_Counted::alive = 0; }
  void TearDown() override { EXPECT_EQ(test_Counted::alive, 0) << "an object leaked or was freed twice"; }
};

TEST_F(HandleTest, NullHandleHoldsTheMarkerNeverZero) {
  Hnd_ykstd_Transient empty;
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(static_cast<ykstd_Transient*>(empty)), 0xFFFFFFFFFEFD0000u);
  EXPECT_TRUE(empty.IsNull());
  EXPECT_EQ(empty == Hnd_ykstd_Transient(), 1);
  EXPECT_EQ(empty == static_cast<const ykstd_Transient*>(nullptr), 0);
  EXPECT_EQ(empty != static_cast<const ykstd_Transient*>(nullptr), 1);

  Hnd_test_Counted fromZero(static_cast<const test_Counted*>(nullptr));
  EXPECT_TRUE(fromZero.IsNull());
  // Built from the marker itself: stored as is, and no count at that address is touched.
  Hnd_ykstd_Transient fromMarker(Hnd_ykstd_Transient::NullMarker());
  EXPECT_TRUE(fromMarker.IsNull());
  fromMarker = Hnd_ykstd_Transient::NullMarker();
  fromMarker.Nullify();
  EXPECT_TRUE(fromMarker.IsNull());

  std::ostringstream out;
  empty.Dump(out);
  EXPECT_EQ(out.str(), "[NullHandle]");
}

TEST_F(HandleTest, AccessThroughNullHandleRaisesNullObject) {
  const std::string expected = "EXCEPTION ykstd_fail_NullObject : NULL_HANDLE";
  EXPECT_EQ(RaisedMessage([] { Hnd_test_Counted().operator->(); }), expected);
  EXPECT_EQ(RaisedMessage([] { *Hnd_ykstd_Transient(); }), expected);
  EXPECT_EQ(RaisedMessage([] {
              std::ostringstream out;
              out << Hnd_ykstd_Type();
            }),
            expected);
  try {
    Hnd_test_Counted()->next.Nullify();
    FAIL() << "no raise";
  } catch (Hnd_ykstd_fail_NullObject& failure) {
    EXPECT_EQ(failure->DynamicType(), ykstd_fail_NullObject_Type_());
    failure->Remove();
  }
}

TEST_F(HandleTest, CountsFollowCopiesAssignmentsAndRelease) {
  auto* object = new test_Counted;
  EXPECT_EQ(object->GetRefCount(), 0);
  {
    Hnd_test_Counted first(object);
    EXPECT_EQ(object->GetRefCount(), 1);
    {
      Hnd_test_Counted second(first);
      Hnd_ykstd_Transient asRoot = second;
      EXPECT_EQ(object->GetRefCount(), 3);
      EXPECT_EQ(first == second, 1);
      EXPECT_EQ(asRoot == object, 1);
      EXPECT_EQ(static_cast<const ykstd_Transient*>(object) == asRoot, 1);
    }
    EXPECT_EQ(object->GetRefCount(), 1);
    EXPECT_EQ(test_Counted::alive, 1);
  }
  EXPECT_EQ(test_Counted::alive, 0);
}

TEST_F(HandleTest, SelfAssignmentKeepsTheOnlyOwner) {
  Hnd_test_Counted only(new test_Counted);
  const Hnd_test_Counted& alias = only;
  only = alias;
  EXPECT_EQ(only->GetRefCount(), 1);
  only = static_cast<const test_Counted*>(static_cast<test_Counted*>(&*only));
  EXPECT_EQ(only->GetRefCount(), 1);
  EXPECT_EQ(test_Counted::alive, 1);
}

TEST_F(HandleTest, AssigningWhatOnlyTheOldObjectKeepsAlive) {
  Hnd_test_Counted outer(new test_Counted);
  outer->next = new test_Counted;
  // The inner object's only owner is the outer one, which this assignment releases.
  outer = outer->next;
  EXPECT_EQ(test_Counted::alive, 1);
  EXPECT_EQ(outer->GetRefCount(), 1);
  EXPECT_TRUE(outer->next.IsNull());
}

TEST_F(HandleTest, NullifyReleasesAndRepeats) {
  Hnd_test_Counted h(new test_Counted);
  h.Nullify();
  EXPECT_TRUE(h.IsNull());
  EXPECT_EQ(test_Counted::alive, 0);
  h.Nullify();
  EXPECT_TRUE(h.IsNull());
}

TEST_F(HandleTest, CopyingAnObjectDoesNotCopyItsCount) {
  Hnd_test_Counted original(new test_Counted);
  Hnd_test_Counted copy(new test_Counted(*original));
  EXPECT_EQ(copy->GetRefCount(), 1);
  *copy = *original;
  EXPECT_EQ(copy->GetRefCount(), 1);
  EXPECT_EQ(original->GetRefCount(), 1);
}

TEST_F(HandleTest, UnwindingReleasesHandles) {
  try {
    Hnd_test_Counted held(new test_Counted);
    Hnd_test_Counted more(held);
    ykstd_fail_ProgramError::Raise("unwind");
  } catch (Hnd_ykstd_fail_Failure& failure) {
    failure->Remove();
  }
  EXPECT_EQ(test_Counted::alive, 0);
}

TEST_F(HandleTest, DownCastAlongTheTree) {
  Hnd_test_Derived derived(new test_Derived);
  Hnd_ykstd_Transient root = derived;

  EXPECT_TRUE(Hnd_test_Derived::DownCast(Hnd_ykstd_Transient()).IsNull());
  EXPECT_TRUE(Hnd_test_Sibling::DownCast(root).IsNull());
  EXPECT_EQ(Hnd_test_Derived::DownCast(root) == derived, 1);
  EXPECT_EQ(Hnd_test_Counted::DownCast(root) == derived, 1);
  EXPECT_EQ(Hnd_ykstd_TShared::DownCast(root) == derived, 1);
  EXPECT_EQ(derived->GetRefCount(), 2);

  Hnd_ykstd_Transient base(new test_Counted);
  EXPECT_TRUE(Hnd_test_Derived::DownCast(base).IsNull()) << "a base object is not of the derived kind";
}

TEST_F(HandleTest, HashCodeOfHandles) {
  EXPECT_EQ(HashCode(Hnd_ykstd_Transient(), 1), -1);
  EXPECT_EQ(HashCode(Hnd_ykstd_Transient(), 1000), -1);
  Hnd_test_Counted h(new test_Counted);
  const auto low = static_cast<std::int32_t>(reinterpret_cast<std::uintptr_t>(&*h));
  const std::int64_t magnitude = low < 0 ? -static_cast<std::int64_t>(low) : low;
  EXPECT_EQ(HashCode(h, 101), magnitude % 101);
  EXPECT_EQ(HashCode(h, 1), 0);
}

TEST_F(HandleTest, ExhaustedMemoryGivesANullHandle) {
  ykstd_Transient::FailNextAllocations(1);
  Hnd_test_Counted h(new test_Counted);
  EXPECT_TRUE(h.IsNull());
  EXPECT_EQ(test_Counted::alive, 0) << "the constructor must not run without memory";
  Hnd_test_Counted next(new test_Counted);
  EXPECT_FALSE(next.IsNull());
}

TEST(TypeTest, DescriptorsAreSingletonsWithTheirAncestry) {
  EXPECT_EQ(&ykstd_fail_OutOfRange_Type_(), &ykstd_fail_OutOfRange_Type_());
  EXPECT_STREQ(ykstd_Transient_Type_()->Name(), "ykstd_Transient");
  EXPECT_STREQ(ykstd_fail_OutOfRange_Type_()->Name(), "ykstd_fail_OutOfRange");
  EXPECT_STREQ(test_Derived_Type_()->Name(), "test_Derived");

  EXPECT_EQ(ykstd_Transient_Type_()->NumberOfAncestor(), 0);
  EXPECT_EQ(ykstd_Transient_Type_()->NumberOfParent(), 0);
  EXPECT_EQ(ykstd_TShared_Type_()->NumberOfAncestor(), 1);
  EXPECT_EQ(ykstd_TShared_Type_()->NumberOfParent(), 1);
  EXPECT_EQ(ykstd_fail_OutOfRange_Type_()->NumberOfAncestor(), 5);
  EXPECT_EQ(ykstd_fail_OutOfRange_Type_()->NumberOfParent(), 1);
  EXPECT_EQ(ykstd_Type_Type_()->NumberOfAncestor(), 1);
  EXPECT_EQ(ykstd_fail_OutOfRange_Type_()->Size(), static_cast<std::int32_t>(sizeof(ykstd_fail_OutOfRange)));
}

TEST(TypeTest, IsKindWalksTheClassTree) {
  Hnd_ykstd_fail_Failure failure(new ykstd_fail_OutOfRange);
  for (auto* type : {&ykstd_fail_OutOfRange_Type_, &ykstd_fail_RangeError_Type_, &ykstd_fail_DomainError_Type_,
                     &ykstd_fail_Failure_Type_, &ykstd_TShared_Type_, &ykstd_Transient_Type_})
    EXPECT_EQ(failure->IsKind((*type)()), 1) << (*type)()->Name();
  EXPECT_EQ(failure->IsKind(ykstd_fail_NoSuchObject_Type_()), 0);
  EXPECT_EQ(failure->IsKind(ykstd_Type_Type_()), 0);
  EXPECT_EQ(failure->IsKind(Hnd_ykstd_Type()), 0);
  EXPECT_EQ(failure->IsInstance(ykstd_fail_OutOfRange_Type_()), 0);
  EXPECT_EQ(failure->DynamicType(), ykstd_fail_OutOfRange_Type_());

  EXPECT_EQ(ykstd_Transient_Type_()->IsKind(ykstd_Type_Type_()), 1);
  EXPECT_EQ(ykstd_Transient_Type_()->IsKind(ykstd_TShared_Type_()), 0);
}

TEST(TypeTest, DescriptorsPrintTheirNameOtherObjectsTheirAddress) {
  const Hnd_ykstd_Type& type = ykstd_fail_FileIO_Type_();
  std::ostringstream viaStream, viaPrint, viaMember, viaDump, viaHandleDump;
  viaStream << type;
  type->Print(viaPrint);
  *type << viaMember;
  type->ShallowDump(viaDump);
  type.Dump(viaHandleDump);
  for (auto* out : {&viaStream, &viaPrint, &viaMember, &viaDump, &viaHandleDump})
    EXPECT_EQ(out->str(), "ykstd_fail_FileIO");

  Hnd_ykstd_TShared object(new test_Sibling);
  std::ostringstream dump, expected;
  object.Dump(dump);
  expected << static_cast<const void*>(&*object);
  EXPECT_EQ(dump.str(), expected.str());
}

}  // namespace
