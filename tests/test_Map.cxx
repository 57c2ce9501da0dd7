#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <iomanip>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <ykstd/ykstd.hxx>

#include "ykstd_TestRaised.hxx"

namespace {

YKSTD_HANDLE(test_Item, ykstd_TShared);

class test_Item : public ykstd_TShared {
 public:
  test_Item() { ++alive; }
  ~test_Item() override { --alive; }
  static int alive;
  YKSTD_DECLARE_TYPE(test_Item);
};
int test_Item::alive = 0;

YKSTD_IMPLEMENT_TYPE(test_Item, ykstd_TShared)

std::vector<std::int32_t> KeysOf(const ykstd_IntMap& map) {
  std::vector<std::int32_t> keys;
  for (ykstd_MapIteratorOfIntMap it(map); it.More(); it.Next()) keys.push_back(it.Key());
  return keys;
}

using Pairs = std::vector<std::pair<std::int32_t, std::int32_t>>;

Pairs PairsOf(const ykstd_IntIntDataMap& map) {
  Pairs pairs;
  for (ykstd_DataMapIteratorOfIntIntDataMap it(map); it.More(); it.Next()) pairs.emplace_back(it.Key(), it.Value());
  return pairs;
}

template <class Map>
std::string StatisticsOf(const Map& map) {
  std::ostringstream out;
  map.Statistics(out);
  return out.str();
}

std::vector<std::int32_t> Range(std::int32_t first, std::int32_t last) {
  std::vector<std::int32_t> keys;
  for (std::int32_t k = first; k <= last; ++k) keys.push_back(k);
  return keys;
}

std::vector<std::int32_t> Joined(std::vector<std::int32_t> head, const std::vector<std::int32_t>& tail) {
  head.insert(head.end(), tail.begin(), tail.end());
  return head;
}

class MapTest : public ::testing::Test {
 protected:
  void SetUp() override { test_Item::alive = 0; }
  void TearDown() override {
    ykstd_BasicMap::LimitLadder(0);
    EXPECT_EQ(test_Item::alive, 0) << "a key or value leaked or was released twice";
  }
};

// ---- descriptors ----

TEST_F(MapTest, EveryMemberHasItsDescriptorUnderItsOwnName) {
  struct Row {
    Hnd_ykstd_Type& (*type)();
    const char* name;
    Hnd_ykstd_Type& (*base)();
  };
  const Row rows[] = {
      {&ykstd_MapNode_Type_, "ykstd_MapNode", &ykstd_TShared_Type_},
      {&ykstd_StdMapNodeOfIntMap_Type_, "ykstd_StdMapNodeOfIntMap", &ykstd_MapNode_Type_},
      {&ykstd_StdMapNodeOfTransientMap_Type_, "ykstd_StdMapNodeOfTransientMap", &ykstd_MapNode_Type_},
      {&ykstd_DataMapNodeOfAsciiStringIntDataMap_Type_, "ykstd_DataMapNodeOfAsciiStringIntDataMap",
       &ykstd_MapNode_Type_},
      {&ykstd_DataMapNodeOfAsciiStringPtrDataMap_Type_, "ykstd_DataMapNodeOfAsciiStringPtrDataMap",
       &ykstd_MapNode_Type_},
      {&ykstd_DataMapNodeOfIntAsciiStringDataMap_Type_, "ykstd_DataMapNodeOfIntAsciiStringDataMap",
       &ykstd_MapNode_Type_},
      {&ykstd_DataMapNodeOfIntIntDataMap_Type_, "ykstd_DataMapNodeOfIntIntDataMap", &ykstd_MapNode_Type_},
      {&ykstd_DataMapNodeOfIntTransientDataMap_Type_, "ykstd_DataMapNodeOfIntTransientDataMap", &ykstd_MapNode_Type_},
      {&ykstd_DataMapNodeOfTransientAsciiStringDataMap_Type_, "ykstd_DataMapNodeOfTransientAsciiStringDataMap",
       &ykstd_MapNode_Type_},
      {&ykstd_DataMapNodeOfTransientIntDataMap_Type_, "ykstd_DataMapNodeOfTransientIntDataMap", &ykstd_MapNode_Type_},
      {&ykstd_DataMapNodeOfTransientTransientDataMap_Type_, "ykstd_DataMapNodeOfTransientTransientDataMap",
       &ykstd_MapNode_Type_},
      {&ykstd_IntTransientHDataMap_Type_, "ykstd_IntTransientHDataMap", &ykstd_TShared_Type_},
      {&ykstd_TransientIntHDataMap_Type_, "ykstd_TransientIntHDataMap", &ykstd_TShared_Type_},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const Hnd_ykstd_Type& type = row.type();
    EXPECT_STREQ(type->Name(), row.name);
    EXPECT_EQ(type->NumberOfParent(), 1);
    EXPECT_EQ(type->NumberOfAncestor(), row.base()->NumberOfAncestor() + 1);
  }

  // A node answers for its own class and every ancestor, and not for a sibling member.
  ykstd_MapNode* node = new ykstd_DataMapNodeOfIntIntDataMap(1, 2, nullptr);
  Hnd_ykstd_MapNode held(node);
  EXPECT_EQ(held->DynamicType(), ykstd_DataMapNodeOfIntIntDataMap_Type_());
  EXPECT_EQ(held->IsKind(ykstd_MapNode_Type_()), 1);
  EXPECT_EQ(held->IsKind(ykstd_TShared_Type_()), 1);
  EXPECT_EQ(held->IsKind(ykstd_DataMapNodeOfIntTransientDataMap_Type_()), 0);
  EXPECT_FALSE(Hnd_ykstd_DataMapNodeOfIntIntDataMap::DownCast(held).IsNull());
  EXPECT_TRUE(Hnd_ykstd_StdMapNodeOfIntMap::DownCast(held).IsNull());
}

// ---- buckets ----

TEST_F(MapTest, BucketCountFollowsTheLadder) {
  const std::int32_t rungs[] = {17,    101,   1009,  2003,  5003,  7001,  9001,
                                12007, 18013, 26003, 37003, 51001, 65003, 100019};
  ykstd_IntMap map;
  std::int32_t below = INT32_MIN;
  for (const std::int32_t rung : rungs) {
    map.ReSize(rung - 1);
    EXPECT_EQ(map.NbBuckets(), rung) << "ReSize(" << rung - 1 << ")";
    if (below != INT32_MIN) {
      map.ReSize(below);  // a rung itself moves up one
      EXPECT_EQ(map.NbBuckets(), rung) << "ReSize(" << below << ")";
    }
    below = rung;
  }
  map.ReSize(100019);
  EXPECT_EQ(map.NbBuckets(), 100019);
  map.ReSize(INT32_MAX);
  EXPECT_EQ(map.NbBuckets(), 100019);
  map.ReSize(-5);
  EXPECT_EQ(map.NbBuckets(), 17);
}

TEST_F(MapTest, FirstInsertionBringsSeventeenBucketsAndGrowthComesWithTheNineteenthKey) {
  ykstd_IntIntDataMap map(137);
  EXPECT_EQ(map.NbBuckets(), 137);
  map.ReSize(2000);
  EXPECT_EQ(map.NbBuckets(), 2003);
  EXPECT_EQ(map.Bind(0, 0), 1);
  EXPECT_EQ(map.NbBuckets(), 17);
  for (std::int32_t k = 1; k < 18; ++k) map.Bind(k, k);
  EXPECT_EQ(map.Extent(), 18);
  EXPECT_EQ(map.NbBuckets(), 17);
  map.Bind(18, 18);
  EXPECT_EQ(map.NbBuckets(), 101);
  for (std::int32_t k = 19; k < 101; ++k) map.Bind(k, k);
  EXPECT_EQ(map.Bind(5, 50), 0);
  map.Bind(101, 101);
  EXPECT_EQ(map.NbBuckets(), 101);
  // The growth test comes first in every insertion, also one that only replaces a value.
  EXPECT_EQ(map.Bind(6, 60), 0);
  EXPECT_EQ(map.NbBuckets(), 1009);
  EXPECT_EQ(map.Find(5), 50);
}

TEST_F(MapTest, RemovingTheLastKeyKeepsTheBucketsUntilTheNextInsertion) {
  ykstd_IntMap map;
  for (std::int32_t k = 0; k < 19; ++k) map.Add(k);
  for (std::int32_t k = 0; k < 19; ++k) EXPECT_EQ(map.Remove(k), 1);
  EXPECT_EQ(map.Remove(3), 0);
  EXPECT_EQ(map.IsEmpty(), 1);
  EXPECT_EQ(map.NbBuckets(), 101);
  map.Add(7);
  EXPECT_EQ(map.NbBuckets(), 17);
  map.Clear();
  EXPECT_EQ(map.NbBuckets(), 0);
  EXPECT_EQ(map.Contains(7), 0);
  EXPECT_EQ(map.Remove(7), 0);
  EXPECT_EQ(KeysOf(map), std::vector<std::int32_t>{});
  EXPECT_EQ(map.Add(7), 1);
  EXPECT_EQ(map.NbBuckets(), 17);
}

// ---- order ----

TEST_F(MapTest, IterationRunsByBucketNewestFirstAndEachRebuildReversesChains) {
  // 0, 1717 and 3434 share bucket 0 at 17, 101 and 1009 buckets.
  ykstd_IntMap map;
  for (const std::int32_t k : Joined({0, 1717, 3434}, Range(1, 15))) map.Add(k);
  EXPECT_EQ(KeysOf(map), Joined({3434, 1717, 0}, Range(1, 15)));

  map.Add(16);  // the 19th key: 101 buckets
  EXPECT_EQ(map.NbBuckets(), 101);
  EXPECT_EQ(KeysOf(map), Joined({0, 1717, 3434}, Range(1, 16)));

  map.ReSize(5);  // back to 17, more keys than buckets
  EXPECT_EQ(map.NbBuckets(), 17);
  EXPECT_EQ(KeysOf(map), Joined({3434, 1717, 0}, Range(1, 16)));

  map.ReSize(16);  // same count: a rebuild all the same
  EXPECT_EQ(KeysOf(map), Joined({0, 1717, 3434}, Range(1, 16)));

  map.Add(5101);  // grows to 101 from the reversed chains; 5101 lands in bucket 51
  EXPECT_EQ(map.NbBuckets(), 101);
  EXPECT_EQ(KeysOf(map), Joined(Joined({3434, 1717, 0}, Range(1, 16)), {5101}));

  // Removal keeps the order of the rest, also in a chain stored back to front.
  map.ReSize(100);
  map.ReSize(100);
  map.ReSize(100);
  EXPECT_EQ(map.Remove(1717), 1);
  EXPECT_EQ(KeysOf(map), Joined(Joined({0, 3434}, Range(1, 16)), {5101}));
}

TEST_F(MapTest, PastTheTopRungEveryInsertionReversesEveryChain) {
  ykstd_IntIntDataMap map;
  for (std::int32_t k = 0; k <= 100020; ++k) map.Bind(k, -k);
  EXPECT_EQ(map.NbBuckets(), 100019);
  Pairs head = PairsOf(map);
  head.resize(4);
  EXPECT_EQ(head, (Pairs{{0, 0}, {100019, -100019}, {100020, -100020}, {1, -1}}));

  map.Bind(100021, -100021);
  head = PairsOf(map);
  head.resize(6);
  EXPECT_EQ(head, (Pairs{{100019, -100019}, {0, 0}, {1, -1}, {100020, -100020}, {100021, -100021}, {2, -2}}));
  EXPECT_EQ(StatisticsOf(map),
            "---------------- Statistics ----------------\n"
            "This Map has 100019 Buckets and 100022 Keys\n"
            "   1 buckets of size 0\n"
            "100016 buckets of size 1\n"
            "   3 buckets of size 2\n"
            "Mean of length : 1.00003\n"
            "-------------- End of Statistics --------------\n");
  for (std::int32_t k = 0; k <= 100021; k += 997) ASSERT_EQ(map.Find(k), -k);
  EXPECT_EQ(map.UnBind(100019), 1);
  EXPECT_EQ(map.IsBound(100019), 0);
  EXPECT_EQ(map.IsBound(0), 1);
}

// ---- statistics ----

TEST_F(MapTest, StatisticsCountsTheSpareBucketAndGivesTheMeanOfFilledChains) {
  ykstd_IntMap map;
  map.Add(4);
  EXPECT_EQ(StatisticsOf(map),
            "---------------- Statistics ----------------\n"
            "This Map has 17 Buckets and 1 Keys\n"
            "  17 buckets of size 0\n"
            "   1 buckets of size 1\n"
            "Mean of length : 1\n"
            "-------------- End of Statistics --------------\n");
  map.Add(21);
  map.Add(5);
  EXPECT_EQ(StatisticsOf(map),
            "---------------- Statistics ----------------\n"
            "This Map has 17 Buckets and 3 Keys\n"
            "  16 buckets of size 0\n"
            "   1 buckets of size 1\n"
            "   1 buckets of size 2\n"
            "Mean of length : 1.5\n"
            "-------------- End of Statistics --------------\n");
  map.Clear();
  const std::string cleared =
      "---------------- Statistics ----------------\n"
      "This Map has 0 Buckets and 0 Keys\n"
      "-------------- End of Statistics --------------\n";
  EXPECT_EQ(StatisticsOf(map), cleared);
  EXPECT_EQ(StatisticsOf(ykstd_IntMap(0)), cleared);
  // Made with a count but no array yet: every bucket is empty.
  EXPECT_EQ(StatisticsOf(ykstd_IntMap(3)),
            "---------------- Statistics ----------------\n"
            "This Map has 3 Buckets and 0 Keys\n"
            "   4 buckets of size 0\n"
            "-------------- End of Statistics --------------\n");
}

TEST_F(MapTest, StatisticsReportsChainsOfAnyLength) {
  ykstd_IntMap map;
  map.Add(0);
  map.ReSize(0);  // 17 buckets; the rest goes into bucket 0 without growth
  ykstd_BasicMap::LimitLadder(17);
  for (std::int32_t k = 1; k < 300; ++k) map.Add(17 * k);
  EXPECT_EQ(StatisticsOf(map),
            "---------------- Statistics ----------------\n"
            "This Map has 17 Buckets and 300 Keys\n"
            "  17 buckets of size 0\n"
            "   1 buckets of size 300\n"
            "Mean of length : 300\n"
            "-------------- End of Statistics --------------\n");
}

// ---- keys ----

TEST_F(MapTest, NegativeKeysShareTheirTwinsBucketYetStayDistinct) {
  EXPECT_EQ(ykstd_MapIntegerHasher::HashCode(-40, 17), ykstd_MapIntegerHasher::HashCode(40, 17));
  ykstd_IntIntDataMap map;
  EXPECT_EQ(map.Bind(40, 1), 1);
  EXPECT_EQ(map.Bind(-40, 2), 1);
  EXPECT_EQ(map.Bind(-40, 3), 0);
  EXPECT_EQ(map.Extent(), 2);
  EXPECT_EQ(map.Find(40), 1);
  EXPECT_EQ(map.Find(-40), 3);
  EXPECT_EQ(PairsOf(map), (Pairs{{-40, 3}, {40, 1}}));
  EXPECT_EQ(map.UnBind(-40), 1);
  EXPECT_EQ(map.IsBound(40), 1);
}

TEST_F(MapTest, KeysWithoutAMagnitudeAreRefusedAfterTheGrowthStep) {
  EXPECT_LT(ykstd_MapIntegerHasher::HashCode(INT32_MIN, 17), 0);
  EXPECT_LT(ykstd_MapPtrHasher::HashCode(reinterpret_cast<const void*>(std::uintptr_t{0x80000000u}), 101), 0);
  EXPECT_EQ(ykstd_MapPtrHasher::HashCode(nullptr, 101), 0);

  ykstd_IntIntDataMap map(5);
  EXPECT_EQ(map.Bind(INT32_MIN, 1), 0);
  EXPECT_EQ(map.Extent(), 0);
  EXPECT_EQ(map.NbBuckets(), 17);  // the refused key still made the first array
  EXPECT_EQ(map.IsBound(INT32_MIN), 0);
  EXPECT_EQ(map.UnBind(INT32_MIN), 0);
  map.Bind(INT32_MAX, 7);
  EXPECT_EQ(map.IsBound(INT32_MIN), 0);
  EXPECT_EQ(RaisedMessage([&] { map.Find(INT32_MIN); }), "EXCEPTION ykstd_fail_NoSuchObject : ykstd_DataMap::Find");
  EXPECT_EQ(map.Find(INT32_MAX), 7);

  ykstd_IntMap set;
  EXPECT_EQ(set.Add(INT32_MIN), 0);
  EXPECT_EQ(set.Contains(INT32_MIN), 0);
  EXPECT_EQ(set.Remove(INT32_MIN), 0);
  EXPECT_EQ(set.IsEmpty(), 1);
}

TEST_F(MapTest, HandleKeysAreObjectIdentityAndNullHandlesAreNeverKeys) {
  Hnd_test_Item first = new test_Item;
  Hnd_test_Item alias = first;
  Hnd_test_Item twin = new test_Item;
  {
    ykstd_TransientIntDataMap map;
    EXPECT_EQ(map.Bind(first, 1), 1);
    EXPECT_EQ(map.Bind(alias, 2), 0);
    EXPECT_EQ(map.Bind(twin, 3), 1);
    EXPECT_EQ(map.Extent(), 2);
    EXPECT_EQ(map.Find(first), 2);
    EXPECT_EQ(first->GetRefCount(), 3);  // the map keeps one count

    const Hnd_ykstd_Transient null;
    EXPECT_EQ(map.Bind(null, 4), 0);
    EXPECT_EQ(map.Extent(), 2);
    EXPECT_EQ(map.IsBound(null), 0);
    EXPECT_EQ(map.UnBind(null), 0);
    EXPECT_EQ(RaisedMessage([&] { map.ChangeFind(null); }),
              "EXCEPTION ykstd_fail_NoSuchObject : ykstd_DataMap::ChangeFind");
    map.ChangeFind(twin) = 30;
    EXPECT_EQ(map.Find(twin), 30);

    EXPECT_EQ(map.UnBind(alias), 1);
    EXPECT_EQ(first->GetRefCount(), 2);
  }
  EXPECT_EQ(twin->GetRefCount(), 1);

  ykstd_TransientMap set;
  EXPECT_EQ(set.Add(Hnd_ykstd_Transient()), 0);
  EXPECT_EQ(set.Extent(), 0);
  EXPECT_EQ(set.NbBuckets(), 17);
  EXPECT_EQ(set.Contains(Hnd_ykstd_Transient()), 0);
  EXPECT_EQ(set.Add(first), 1);
  EXPECT_EQ(set.Contains(alias), 1);
  EXPECT_EQ(set.Contains(twin), 0);

  // Values may be null handles; a held value lives as long as its node.
  ykstd_IntTransientDataMap values;
  EXPECT_EQ(values.Bind(1, Hnd_ykstd_Transient()), 1);
  EXPECT_TRUE(values.Find(1).IsNull());
  values.Bind(2, new test_Item);
  EXPECT_EQ(test_Item::alive, 3);
  values.Bind(2, Hnd_ykstd_Transient());
  EXPECT_EQ(test_Item::alive, 2);
}

TEST_F(MapTest, StringKeysHashByTheirText) {
  EXPECT_EQ(ykstd_MapAsciiStringHasher::HashCode(ykstd_AsciiString("abc"), 32767), 3014);
  EXPECT_EQ(ykstd_MapAsciiStringHasher::HashCode(ykstd_AsciiString(), 17), 0);
  ykstd_AsciiStringIntDataMap map;
  EXPECT_EQ(map.Bind("abc", 1), 1);
  EXPECT_EQ(map.Bind(ykstd_AsciiString(std::string("abc").c_str()), 2), 0);
  EXPECT_EQ(map.Bind("", 3), 1);
  EXPECT_EQ(map.Find("abc"), 2);
  EXPECT_EQ(map.Find(""), 3);
  EXPECT_EQ(map.IsBound("abd"), 0);

  ykstd_IntAsciiStringDataMap byNumber;
  byNumber.Bind(3, "three");
  EXPECT_STREQ(byNumber.Find(3).Text(), "three");
  ykstd_AsciiStringPtrDataMap pointers;
  int target = 0;
  pointers.Bind("p", &target);
  EXPECT_EQ(pointers.Find("p"), &target);
}

// ---- copies ----

TEST_F(MapTest, CopiesAreMadeOnlyFromEmptyMapsAndAssignRebuildsKeyByKey) {
  ykstd_IntIntDataMap empty(137);
  const ykstd_IntIntDataMap copy(empty);
  EXPECT_EQ(copy.NbBuckets(), 137);
  EXPECT_EQ(copy.IsEmpty(), 1);

  ykstd_IntIntDataMap full;
  full.Bind(1, 1);
  EXPECT_EQ(RaisedMessage([&] { ykstd_IntIntDataMap bad(full); }),
            "EXCEPTION ykstd_fail_DomainError : ykstd_DataMap: copy of non-empty DataMap");
  ykstd_IntMap set;
  set.Add(1);
  EXPECT_EQ(RaisedMessage([&] { ykstd_IntMap bad(set); }),
            "EXCEPTION ykstd_fail_DomainError : ykstd_Map: copy of non-empty Map");

  // Only an empty source leaves the copy on the rung that ReSize gave.
  ykstd_IntIntDataMap target;
  target.Assign(ykstd_IntIntDataMap(101));
  EXPECT_EQ(target.NbBuckets(), 1009);

  for (std::int32_t k = 0; k < 20; ++k) full.Bind(k, 100 + k);
  full.ReSize(2000);
  target.Assign(full);
  EXPECT_EQ(target.NbBuckets(), 101);
  Pairs source = PairsOf(full);
  Pairs copied = PairsOf(target);
  std::sort(source.begin(), source.end());
  std::sort(copied.begin(), copied.end());
  EXPECT_EQ(copied, source);
  target = target;
  EXPECT_EQ(target.Extent(), 20);

  ykstd_IntMap keys;
  keys = set;
  EXPECT_EQ(KeysOf(keys), std::vector<std::int32_t>{1});
}

// ---- iterators and failures ----

TEST_F(MapTest, IteratorsWithoutANodeRaiseAndNamedTextsAreWhole) {
  ykstd_MapIteratorOfIntMap unset;
  EXPECT_EQ(unset.More(), 0);
  ykstd_IntMap set(40);
  ykstd_MapIteratorOfIntMap onEmpty(set);
  EXPECT_EQ(onEmpty.More(), 0);
  EXPECT_EQ(RaisedMessage([&] { onEmpty.Key(); }), "EXCEPTION ykstd_fail_NoSuchObject : ykstd_MapIterator::Key");

  ykstd_TransientTransientDataMap map;
  ykstd_DataMapIteratorOfTransientTransientDataMap it(map);
  EXPECT_EQ(RaisedMessage([&] { it.Key(); }), "EXCEPTION ykstd_fail_NoSuchObject : ykstd_DataMapIterator::Key");
  EXPECT_EQ(RaisedMessage([&] { it.Value(); }), "EXCEPTION ykstd_fail_NoSuchObject : ykstd_DataMapIterator::Value");

  ykstd_IntIntDataMap numbers;
  EXPECT_EQ(RaisedMessage([&] { numbers.Find(1); }), "EXCEPTION ykstd_fail_NoSuchObject : ykstd_DataMap::Find");
  EXPECT_EQ(RaisedMessage([&] { numbers.ChangeFind(1); }),
            "EXCEPTION ykstd_fail_NoSuchObject : ykstd_DataMap::ChangeFind");
  numbers.Bind(2, 2);
  numbers.Clear();
  EXPECT_EQ(numbers.IsBound(2), 0);
  EXPECT_EQ(RaisedMessage([&] { numbers.Find(2); }), "EXCEPTION ykstd_fail_NoSuchObject : ykstd_DataMap::Find");

  // Walked to its end and reset, an iterator starts over.
  set.Add(3);
  set.Add(4);
  ykstd_MapIteratorOfIntMap walk(set);
  walk.Next();
  walk.Next();
  EXPECT_EQ(walk.More(), 0);
  walk.Reset();
  EXPECT_EQ(walk.Key(), 3);
}

TEST_F(MapTest, ExhaustedMemoryLeavesTheMapWhole) {
  ykstd_IntIntDataMap map;
  ykstd_Transient::FailNextAllocations(1);  // no first array
  EXPECT_EQ(RaisedMessage([&] { map.Bind(1, 1); }), "EXCEPTION ykstd_fail_OutOfMemory : ykstd_DataMap::Bind");
  EXPECT_EQ(map.NbBuckets(), 1);
  EXPECT_EQ(map.Extent(), 0);

  for (std::int32_t k = 0; k < 18; ++k) map.Bind(k, k);
  ykstd_Transient::FailNextAllocations(1);  // growth refused: the key goes into the old table
  EXPECT_EQ(map.Bind(18, 18), 1);
  EXPECT_EQ(map.NbBuckets(), 17);
  ykstd_Transient::FailNextAllocations(2);  // growth and node both refused
  EXPECT_EQ(RaisedMessage([&] { map.Bind(19, 19); }), "EXCEPTION ykstd_fail_OutOfMemory : ykstd_DataMap::Bind");
  EXPECT_EQ(map.Extent(), 19);
  EXPECT_EQ(map.IsBound(19), 0);
  map.Bind(19, 19);
  EXPECT_EQ(map.NbBuckets(), 101);

  ykstd_IntMap set;
  set.Add(1);
  ykstd_Transient::FailNextAllocations(1);
  EXPECT_EQ(RaisedMessage([&] { set.Add(2); }), "EXCEPTION ykstd_fail_OutOfMemory : ykstd_Map::Add");
  EXPECT_EQ(KeysOf(set), std::vector<std::int32_t>{1});
}

// ---- counted maps ----

TEST_F(MapTest, CountedMapsPassOnToTheirMap) {
  Hnd_ykstd_IntTransientHDataMap byNumber = new ykstd_IntTransientHDataMap(7);
  EXPECT_EQ(byNumber->NbBuckets(), 7);
  Hnd_test_Item item = new test_Item;
  EXPECT_EQ(byNumber->Bind(4, item), 1);
  EXPECT_EQ(byNumber->Find(4), item);
  EXPECT_EQ(byNumber->IsBound(5), 0);
  EXPECT_EQ(byNumber->Extent(), 1);
  EXPECT_EQ(StatisticsOf(*byNumber), StatisticsOf(byNumber->Map()));
  EXPECT_STREQ(byNumber->DynamicType()->Name(), "ykstd_IntTransientHDataMap");

  Hnd_ykstd_Transient root = byNumber;
  EXPECT_FALSE(Hnd_ykstd_IntTransientHDataMap::DownCast(root).IsNull());
  EXPECT_TRUE(Hnd_ykstd_TransientIntHDataMap::DownCast(root).IsNull());

  Hnd_ykstd_TransientIntHDataMap byItem = new ykstd_TransientIntHDataMap;
  byItem->Bind(item, 9);
  byItem->ChangeFind(item) += 1;
  EXPECT_EQ(byItem->Find(item), 10);
  ykstd_DataMapIteratorOfTransientIntDataMap it(byItem->Map());
  EXPECT_EQ(it.Key(), item);
  EXPECT_EQ(byItem->UnBind(item), 1);
  EXPECT_EQ(byItem->IsEmpty(), 1);
  byItem->Bind(item, 1);
  byItem.Nullify();  // the held map goes with its holder and releases its keys
  EXPECT_EQ(item->GetRefCount(), 2);
}

// ---- the recorded reversal against the literal rebuild ----

// The table as first built: every rebuild moves each node to the head of its new chain, also at an
// unchanged count. Nodes live in a pool and are chained by their positions in it.
class LiteralMap {
 public:
  explicit LiteralMap(std::int32_t top) : top_(top) {}

  std::int32_t Rung(std::int32_t n) const {
    for (const std::int32_t rung : {17, 101, 1009, 2003, 5003, 7001, 9001, 12007, 18013, 26003, 37003, 51001, 65003}) {
      if (rung >= top_) break;
      if (n < rung) return rung;
    }
    return top_;
  }
  static std::int32_t Hash(std::int32_t key, std::int32_t upper) {
    return key == INT32_MIN ? INT32_MIN % upper : std::abs(key) % upper;
  }
  void ReSize(std::int32_t n) {
    const std::int32_t count = Rung(n);
    std::vector<int> fresh(static_cast<std::size_t>(count) + 1, kEnd);
    for (const int head : heads_) {
      for (int node = head; node != kEnd;) {
        const int following = pool_[node].next;
        int& target = fresh[static_cast<std::size_t>(Hash(pool_[node].key, count))];
        pool_[node].next = target;
        target = node;
        node = following;
      }
    }
    heads_ = std::move(fresh);
    nbBuckets_ = count;
  }
  int Bind(std::int32_t key, std::int32_t value) {
    if (extent_ == 0 || nbBuckets_ < extent_) ReSize(extent_);
    const std::int32_t b = Hash(key, nbBuckets_);
    if (b < 0) return 0;
    if (const int node = Seek(key); node != kEnd) {
      pool_[node].value = value;
      return 0;
    }
    int& head = heads_[static_cast<std::size_t>(b)];
    pool_.push_back({key, value, head});
    head = static_cast<int>(pool_.size()) - 1;
    ++extent_;
    return 1;
  }
  int UnBind(std::int32_t key) {
    if (extent_ == 0) return 0;
    const std::int32_t b = Hash(key, nbBuckets_);
    if (b < 0) return 0;
    for (int* link = &heads_[static_cast<std::size_t>(b)]; *link != kEnd; link = &pool_[*link].next) {
      if (pool_[*link].key == key) {
        *link = pool_[*link].next;
        --extent_;
        return 1;
      }
    }
    return 0;
  }
  unsigned char IsBound(std::int32_t key) const { return Seek(key) != kEnd ? 1 : 0; }
  std::int32_t Find(std::int32_t key) const { return pool_[Seek(key)].value; }
  void Clear() {
    heads_.clear();
    pool_.clear();
    nbBuckets_ = 0;
    extent_ = 0;
  }
  void Assign(const LiteralMap& other) {
    Clear();
    ReSize(other.nbBuckets_);
    for (const auto& node : other.Order()) Bind(node.first, node.second);
  }
  Pairs Order() const {
    Pairs order;
    for (const int head : heads_)
      for (int node = head; node != kEnd; node = pool_[node].next)
        order.emplace_back(pool_[node].key, pool_[node].value);
    return order;
  }
  std::string Statistics() const {
    std::ostringstream out;
    out << "---------------- Statistics ----------------\n"
        << "This Map has " << nbBuckets_ << " Buckets and " << extent_ << " Keys\n";
    if (nbBuckets_ != 0) {
      std::vector<int> counts(1024, 0);
      for (const int head : heads_) {
        std::size_t length = 0;
        for (int node = head; node != kEnd; node = pool_[node].next) ++length;
        ++counts[length];
      }
      double keys = 0;
      double filled = 0;
      for (std::size_t length = 0; length < counts.size(); ++length) {
        if (counts[length] == 0) continue;
        out << std::setw(4) << counts[length] << " buckets of size " << length << "\n";
        keys += counts[length] * static_cast<double>(length);
        filled += length ? counts[length] : 0;
      }
      if (filled != 0) out << "Mean of length : " << keys / filled << "\n";
    }
    out << "-------------- End of Statistics --------------\n";
    return out.str();
  }
  std::int32_t NbBuckets() const { return nbBuckets_; }

 private:
  static constexpr int kEnd = -1;
  struct Node {
    std::int32_t key;
    std::int32_t value;
    int next;
  };
  int Seek(std::int32_t key) const {
    const std::int32_t b = extent_ == 0 ? -1 : Hash(key, nbBuckets_);
    if (b < 0) return kEnd;
    for (int node = heads_[static_cast<std::size_t>(b)]; node != kEnd; node = pool_[node].next)
      if (pool_[node].key == key) return node;
    return kEnd;
  }

  std::int32_t top_;
  std::vector<Node> pool_;
  std::vector<int> heads_;
  std::int32_t nbBuckets_ = 1;
  std::int32_t extent_ = 0;
};

void RunAgainstLiteral(std::int32_t top, std::int32_t keyRange, int steps, unsigned seed) {
  SCOPED_TRACE("top " + std::to_string(top));
  ykstd_BasicMap::LimitLadder(top);
  std::mt19937 random(seed);
  auto draw = [&](std::int32_t below) { return static_cast<std::int32_t>(random() % static_cast<unsigned>(below)); };
  LiteralMap literal(top);
  ykstd_IntIntDataMap map;
  ykstd_IntMap set;
  for (int step = 0; step < steps; ++step) {
    const std::int32_t roll = draw(100);
    const std::int32_t key = draw(50) == 0 ? INT32_MIN : draw(2 * keyRange + 1) - keyRange;
    if (roll < 58) {
      const std::int32_t value = draw(1000);
      ASSERT_EQ(map.Bind(key, value), literal.Bind(key, value)) << "step " << step;
      set.Add(key);
    } else if (roll < 92) {
      ASSERT_EQ(map.UnBind(key), literal.UnBind(key)) << "step " << step;
      set.Remove(key);
    } else if (roll < 97) {
      const std::int32_t n = draw(3 * keyRange);
      map.ReSize(n);
      set.ReSize(n);
      literal.ReSize(n);
    } else if (roll < 99) {
      ykstd_IntIntDataMap copy;
      copy.Assign(map);
      map.Assign(copy);
      ykstd_IntMap keys;
      keys.Assign(set);
      set.Assign(keys);
      LiteralMap other(top);
      other.Assign(literal);
      literal.Assign(other);
    } else if (draw(4) == 0) {
      map.Clear();
      set.Clear();
      literal.Clear();
    }
    ASSERT_EQ(map.IsBound(key), literal.IsBound(key));
    ASSERT_EQ(set.Contains(key), literal.IsBound(key));
    if (literal.IsBound(key)) {
      ASSERT_EQ(map.Find(key), literal.Find(key));
    }
    // Looking often would hide long runs in one orientation; look now and then.
    if (draw(7) == 0 || step == steps - 1) {
      const Pairs expected = literal.Order();
      ASSERT_EQ(PairsOf(map), expected) << "step " << step;
      std::vector<std::int32_t> keys;
      for (const auto& node : expected) keys.push_back(node.first);
      ASSERT_EQ(KeysOf(set), keys) << "step " << step;
      ASSERT_EQ(map.NbBuckets(), literal.NbBuckets());
      ASSERT_EQ(set.NbBuckets(), literal.NbBuckets());
      ASSERT_EQ(StatisticsOf(map), literal.Statistics()) << "step " << step;
    }
  }
}

TEST_F(MapTest, RecordedReversalMatchesTheLiteralRebuild) {
  RunAgainstLiteral(17, 100, 5000, 1);
  RunAgainstLiteral(51, 200, 5000, 2);
  RunAgainstLiteral(101, 300, 5000, 3);
  RunAgainstLiteral(1009, 1500, 3000, 4);
}

}  // namespace
