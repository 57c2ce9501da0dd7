#include <cstdlib>
#include <cstring>
#include <iomanip>
#include <ostream>
#include <vector>

#include <ykstd/ykstd_CollectionStore.hxx>
#include <ykstd/ykstd_Map.hxx>

namespace {

constexpr std::int32_t kFullTop = 100019;
constexpr std::int32_t kRungs[] = {17, 101, 1009, 2003, 5003, 7001, 9001, 12007, 18013, 26003, 37003, 51001, 65003};

// A zero-filled array of `count` node pointers, or null. It comes through the counted classes'
// allocator, so that tests can make it fail.
ykstd_MapNode** NewBucketArray(std::int64_t count) noexcept {
  const auto bytes = static_cast<std::size_t>(count) * sizeof(ykstd_MapNode*);
  void* block = ykstd_Transient::operator new(bytes);
  if (block) std::memset(block, 0, bytes);
  return static_cast<ykstd_MapNode**>(block);
}

void FreeBucketArray(ykstd_MapNode** array) noexcept { std::free(array); }

}  // namespace

// ---- ykstd_BasicMap ----

ykstd_BasicMap::ykstd_BasicMap(std::int32_t nbBuckets, unsigned char single) noexcept
    : mBuckets(nullptr),
      mBuckets2(nullptr),
      mDouble(single ? 0 : 1),
      mNbBuckets(nbBuckets),
      mExtent(0),
      mReversed(0),
      mIndex(nullptr),
      mIndexSize(0) {}

ykstd_BasicMap::~ykstd_BasicMap() { Clear(); }

std::int32_t ykstd_BasicMap::LadderRung(std::int32_t n) noexcept {
  const std::int32_t top = mLadderTop;
  for (const std::int32_t rung : kRungs) {
    if (rung >= top) break;
    if (n < rung) return rung;
  }
  return top;
}

void ykstd_BasicMap::LimitLadder(std::int32_t top) noexcept {
  mLadderTop = (top >= 3 && top % 2 == 1) ? top : kFullTop;
}

unsigned char ykstd_BasicMap::BeginResize(std::int32_t n, std::int32_t& newBuckets, ykstd_MapNode**& data1,
                                          ykstd_MapNode**& data2) const {
  newBuckets = LadderRung(n);
  data1 = NewBucketArray(static_cast<std::int64_t>(newBuckets) + 1);
  data2 = nullptr;
  if (!data1) return 0;
  if (mDouble) data2 = NewBucketArray(static_cast<std::int64_t>(newBuckets) + 1);
  return 1;
}

void ykstd_BasicMap::EndResize(std::int32_t, std::int32_t newBuckets, ykstd_MapNode** const& data1,
                               ykstd_MapNode** const& data2) noexcept {
  FreeBucketArray(mBuckets);
  FreeBucketArray(mBuckets2);
  mBuckets = data1;
  mBuckets2 = data2;
  mNbBuckets = newBuckets;
}

void ykstd_BasicMap::Destroy() noexcept {
  FreeBucketArray(mBuckets);
  FreeBucketArray(mBuckets2);
  std::free(mIndex);
  mBuckets = nullptr;
  mBuckets2 = nullptr;
  mIndex = nullptr;
  mIndexSize = 0;
  mNbBuckets = 0;
  mExtent = 0;
  mReversed = 0;
}

void ykstd_BasicMap::Clear() noexcept {
  if (mExtent != 0 && mBuckets) {
    for (std::int64_t b = 0; b <= mNbBuckets; ++b) {
      ykstd_MapNode* node = mBuckets[b];
      mBuckets[b] = nullptr;
      while (node) {
        ykstd_MapNode* next = node->Next();
        delete node;
        node = next;
      }
    }
  }
  Destroy();
}

// A chain is linked forward by Next and backward by the back links; the head's back link is the
// chain's tail, so both ends are at hand.
void ykstd_BasicMap::Link(ykstd_MapEntry* entry, std::int32_t bucket, std::int32_t slot) noexcept {
  ykstd_MapNode*& head = mBuckets[bucket];
  if (!head) {
    entry->Next() = nullptr;
    entry->mPrev = entry;
    head = entry;
  } else {
    auto* first = static_cast<ykstd_MapEntry*>(head);
    ykstd_MapEntry* last = first->mPrev;
    if (mReversed) {
      // Stored back to front: the front as iteration sees it is the stored tail.
      last->Next() = entry;
      entry->Next() = nullptr;
      entry->mPrev = last;
      first->mPrev = entry;
    } else {
      entry->Next() = first;
      entry->mPrev = last;
      first->mPrev = entry;
      head = entry;
    }
  }
  if (mIndex) {
    entry->mIndexNext = mIndex[slot];
    mIndex[slot] = entry;
  }
  ++mExtent;
}

void ykstd_BasicMap::Unlink(ykstd_MapEntry* entry, std::int32_t bucket, std::int32_t slot) noexcept {
  ykstd_MapNode*& head = mBuckets[bucket];
  auto* first = static_cast<ykstd_MapEntry*>(head);
  auto* after = static_cast<ykstd_MapEntry*>(entry->Next());
  if (entry == first) {
    head = after;
    if (after) after->mPrev = entry->mPrev;
  } else {
    entry->mPrev->Next() = after;
    (after ? after : first)->mPrev = entry->mPrev;
  }
  if (mIndex) {
    ykstd_MapEntry** link = &mIndex[slot];
    while (*link != entry) link = &(*link)->mIndexNext;
    *link = entry->mIndexNext;
  }
  --mExtent;
  delete static_cast<ykstd_MapNode*>(entry);
}

void ykstd_BasicMap::Rebuild(std::int32_t n, EntryHash hash) {
  if (mBuckets && LadderRung(n) == mNbBuckets) {
    // Moving every node to the head of its own bucket again reverses each chain.
    mReversed ^= 1;
    return;
  }
  std::int32_t count;
  ykstd_MapNode** data1;
  ykstd_MapNode** data2;
  if (!BeginResize(n, count, data1, data2)) return;
  if (mBuckets) {
    for (std::int64_t b = 0; b <= mNbBuckets; ++b) {
      auto* first = static_cast<ykstd_MapEntry*>(mBuckets[b]);
      if (!first) continue;
      // Take the chain in iteration order and push each node on the head of its new chain.
      ykstd_MapEntry* entry = mReversed ? first->mPrev : first;
      while (entry) {
        ykstd_MapEntry* following =
            mReversed ? (entry == first ? nullptr : entry->mPrev) : static_cast<ykstd_MapEntry*>(entry->Next());
        ykstd_MapNode*& head = data1[hash(entry, count)];
        if (head) {
          auto* oldFirst = static_cast<ykstd_MapEntry*>(head);
          entry->mPrev = oldFirst->mPrev;
          oldFirst->mPrev = entry;
        } else {
          entry->mPrev = entry;
        }
        entry->Next() = head;
        head = entry;
        entry = following;
      }
    }
  }
  EndResize(n, count, data1, data2);
  mReversed = 0;
}

void ykstd_BasicMap::GrowIndex(EntryHash hash) noexcept {
  std::int64_t size = 2 * static_cast<std::int64_t>(mExtent) + 1;
  if (size > INT32_MAX) size = INT32_MAX;
  auto** index = static_cast<ykstd_MapEntry**>(std::calloc(static_cast<std::size_t>(size), sizeof(ykstd_MapEntry*)));
  // Without memory for a larger index the old one (or the chains) still find every key.
  if (!index) return;
  const auto slots = static_cast<std::int32_t>(size);
  for (std::int64_t b = 0; b <= mNbBuckets; ++b) {
    for (ykstd_MapNode* p = mBuckets[b]; p; p = p->Next()) {
      auto* entry = static_cast<ykstd_MapEntry*>(p);
      ykstd_MapEntry*& slot = index[hash(entry, slots)];
      entry->mIndexNext = slot;
      slot = entry;
    }
  }
  std::free(mIndex);
  mIndex = index;
  mIndexSize = slots;
}

void ykstd_BasicMap::PrepareInsert(EntryHash hash, const char* operation) {
  if (mExtent == 0 || mNbBuckets < mExtent) Rebuild(mExtent, hash);
  if (!mBuckets) ykstd_fail_OutOfMemory::Raise(operation);
  // Past the top rung the chains only grow longer; from there lookups go through the index.
  if (mIndex ? mExtent >= mIndexSize : (mNbBuckets >= mLadderTop && mExtent >= mNbBuckets)) GrowIndex(hash);
}

void ykstd_BasicMap::Statistics(std::ostream& out) const {
  out << "---------------- Statistics ----------------" << std::endl;
  out << "This Map has " << mNbBuckets << " Buckets and " << mExtent << " Keys" << std::endl;
  if (mNbBuckets != 0) {
    // Chains of 256 keys and more get counters of their own rather than overflowing the table.
    std::vector<std::int64_t> counts(256, 0);
    for (std::int64_t b = 0; b <= mNbBuckets; ++b) {
      std::size_t length = 0;
      for (const ykstd_MapNode* p = mBuckets ? mBuckets[b] : nullptr; p; p = p->Next()) ++length;
      if (length >= counts.size()) counts.resize(length + 1, 0);
      ++counts[length];
    }
    if (counts[0] != 0) out << std::setw(4) << counts[0] << " buckets of size 0" << std::endl;
    std::int64_t keys = 0;
    std::int64_t filled = 0;
    for (std::size_t length = 1; length < counts.size(); ++length) {
      if (counts[length] == 0) continue;
      out << std::setw(4) << counts[length] << " buckets of size " << length << std::endl;
      keys += counts[length] * static_cast<std::int64_t>(length);
      filled += counts[length];
    }
    if (filled != 0) out << "Mean of length : " << static_cast<double>(keys) / static_cast<double>(filled) << std::endl;
  }
  out << "-------------- End of Statistics --------------" << std::endl;
}

// ---- ykstd_BasicMapIterator ----

void ykstd_BasicMapIterator::Initialize(const ykstd_BasicMap& map) noexcept {
  mNbBuckets = map.mNbBuckets;
  mBuckets = map.mBuckets;
  mBackward = map.mReversed;
  Reset();
}

void ykstd_BasicMapIterator::Reset() noexcept {
  mBucket = 0;
  Settle();
}

void ykstd_BasicMapIterator::Settle() noexcept {
  mNode = nullptr;
  if (!mBuckets) return;
  for (; mBucket < mNbBuckets; ++mBucket) {
    if (ykstd_MapNode* head = mBuckets[mBucket]) {
      mNode = mBackward ? static_cast<ykstd_MapEntry*>(head)->mPrev : head;
      return;
    }
  }
}

void ykstd_BasicMapIterator::Next() noexcept {
  if (!mNode) return;
  if (mBackward)
    mNode = mNode == mBuckets[mBucket] ? nullptr : static_cast<ykstd_MapEntry*>(mNode)->mPrev;
  else
    mNode = mNode->Next();
  if (!mNode) {
    ++mBucket;
    Settle();
  }
}

// ---- members ----

namespace ykstd_detail {

// The stored form of a set is its extent as a long, then each key in iterator order by the
// member's KeyForm; loading Adds each key without clearing. A data map stores its extent, then
// key and value of each node by KeyForm and ValueForm; loading Binds each pair. The archive
// brings the forms and the loop.
template <class Map>
void SerializeMap(Map& map, ykstd_Archive& archive, const char*) {
  using Store = ykstd_CollectionStore;
  using KeyForm = typename Map::KeyForm;
  using Key = typename Map::KeyType;
  if constexpr (requires { typename Map::ValueForm; }) {
    using ValueForm = typename Map::ValueForm;
    using Value = typename Map::ValueType;
    if (Store::IsLoading(archive)) {
      const std::int32_t count = Store::LoadLong(archive);
      for (std::int32_t k = 0; k < count; ++k) {
        Key key{};
        Value value{};
        Store::Load(archive, KeyForm{}, key);
        Store::Load(archive, ValueForm{}, value);
        map.Bind(key, value);
      }
    } else {
      Store::StoreLong(archive, map.Extent());
      for (ykstd_DataMapIteratorOf<Map> it(map); it.More(); it.Next()) {
        Store::Store(archive, KeyForm{}, it.Key());
        Store::Store(archive, ValueForm{}, it.Value());
      }
    }
  } else if (Store::IsLoading(archive)) {
    Store::LoadEach<KeyForm, Key>(archive, Store::LoadLong(archive), [&map](const Key& key) { map.Add(key); });
  } else {
    Store::StoreLong(archive, map.Extent());
    for (ykstd_MapIteratorOf<Map> it(map); it.More(); it.Next()) Store::Store(archive, KeyForm{}, it.Key());
  }
}

}  // namespace ykstd_detail

#define YKSTD_MAP_MEMBER_TYPES(NODE, NAME)  \
  YKSTD_IMPLEMENT_TYPE(NODE, ykstd_MapNode) \
  void ykstd_##NAME::Serialize(ykstd_Archive& archive) { ykstd_detail::SerializeMap(*this, archive, "ykstd_" #NAME); }
#define YKSTD_MAP_SET_TYPES(NAME) YKSTD_MAP_MEMBER_TYPES(ykstd_StdMapNodeOf##NAME, NAME)
#define YKSTD_MAP_DATAMAP_TYPES(NAME) YKSTD_MAP_MEMBER_TYPES(ykstd_DataMapNodeOf##NAME, NAME)

YKSTD_MAP_SET_TYPES(IntMap)
YKSTD_MAP_SET_TYPES(TransientMap)
YKSTD_MAP_DATAMAP_TYPES(AsciiStringIntDataMap)
YKSTD_MAP_DATAMAP_TYPES(AsciiStringPtrDataMap)
YKSTD_MAP_DATAMAP_TYPES(IntAsciiStringDataMap)
YKSTD_MAP_DATAMAP_TYPES(IntIntDataMap)
YKSTD_MAP_DATAMAP_TYPES(IntTransientDataMap)
YKSTD_MAP_DATAMAP_TYPES(TransientAsciiStringDataMap)
YKSTD_MAP_DATAMAP_TYPES(TransientIntDataMap)
YKSTD_MAP_DATAMAP_TYPES(TransientTransientDataMap)

YKSTD_IMPLEMENT_TYPE(ykstd_IntTransientHDataMap, ykstd_TShared)
YKSTD_IMPLEMENT_TYPE(ykstd_TransientIntHDataMap, ykstd_TShared)
