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

void FreeBucketArray(ykstd_MapNode** array) noexcept { ykstd_Transient::operator delete(array, 0); }

// Reverses a stack in place and gives its new top.
ykstd_MapNode* Reversed(ykstd_MapNode* top) noexcept {
  ykstd_MapNode* done = nullptr;
  while (top) {
    ykstd_MapNode* next = top->Next();
    top->Next() = done;
    done = top;
    top = next;
  }
  return done;
}

// The chain `first` followed by `second`.
ykstd_MapNode* Joined(ykstd_MapNode* first, ykstd_MapNode* second) noexcept {
  if (!first) return second;
  ykstd_MapNode* last = first;
  while (last->Next()) last = last->Next();
  last->Next() = second;
  return first;
}

std::size_t Length(const ykstd_MapNode* chain) noexcept {
  std::size_t length = 0;
  for (; chain; chain = chain->Next()) ++length;
  return length;
}

void DeleteChain(ykstd_MapNode* chain) noexcept {
  while (chain) {
    ykstd_MapNode* next = chain->Next();
    delete chain;
    chain = next;
  }
}

// Takes `node` out of the stack `top`; false when it is not there.
bool Unchained(ykstd_MapNode*& top, const ykstd_MapNode* node) noexcept {
  for (ykstd_MapNode** link = &top; *link; link = &(*link)->Next()) {
    if (*link == node) {
      *link = node->Next();
      return true;
    }
  }
  return false;
}

}  // namespace

// ---- ykstd_BasicMap ----

ykstd_BasicMap::ykstd_BasicMap(std::int32_t nbBuckets, unsigned char single) noexcept
    : mBuckets(nullptr),
      mBuckets2(nullptr),
      mDouble(single ? 0 : 1),
      mNbBuckets(nbBuckets),
      mExtent(0),
      mBack(nullptr),
      mBackCount(0),
      mReversed(0),
      mIndex(nullptr),
      mIndexBits(0) {}

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
  FreeBucketArray(mBack);
  std::free(mIndex);
  mBuckets = nullptr;
  mBuckets2 = nullptr;
  mBack = nullptr;
  mIndex = nullptr;
  mIndexBits = 0;
  mBackCount = 0;
  mReversed = 0;
  mNbBuckets = 0;
  mExtent = 0;
}

void ykstd_BasicMap::Clear() noexcept {
  if (mExtent != 0 && mBuckets) {
    for (std::int64_t b = 0; b <= mNbBuckets; ++b) {
      DeleteChain(mBuckets[b]);
      if (mBack) DeleteChain(mBack[b]);
    }
  }
  Destroy();
}

void ykstd_BasicMap::Normalize() const noexcept {
  if (!mReversed && mBackCount == 0) return;
  for (std::int64_t b = 0; b <= mNbBuckets; ++b) {
    ykstd_MapNode* front = mBuckets[b];
    ykstd_MapNode* back = mBack ? mBack[b] : nullptr;
    mBuckets[b] = mReversed ? Joined(back, Reversed(front)) : Joined(front, Reversed(back));
    if (mBack) mBack[b] = nullptr;
  }
  mBackCount = 0;
  mReversed = 0;
}

void ykstd_BasicMap::Reverse() noexcept {
  if (!mBack) mBack = NewBucketArray(static_cast<std::int64_t>(mNbBuckets) + 1);
  if (mBack) {
    mReversed ^= 1;
    return;
  }
  // Without room for the back stacks, reverse the chains themselves.
  Normalize();
  for (std::int64_t b = 0; b <= mNbBuckets; ++b) mBuckets[b] = Reversed(mBuckets[b]);
}

void ykstd_BasicMap::Rebuild(std::int32_t n, NodeHash hash) {
  if (mBuckets && LadderRung(n) == mNbBuckets) {
    // Moving every node to the head of its own bucket again only reverses each chain.
    Reverse();
    return;
  }
  std::int32_t count;
  ykstd_MapNode** data1;
  ykstd_MapNode** data2;
  if (!BeginResize(n, count, data1, data2)) return;
  if (mBuckets) {
    Normalize();
    for (std::int64_t b = 0; b <= mNbBuckets; ++b) {
      for (ykstd_MapNode* node = mBuckets[b]; node;) {
        ykstd_MapNode* next = node->Next();
        ykstd_MapNode*& head = data1[hash(node, count)];
        node->Next() = head;
        head = node;
        node = next;
      }
    }
  }
  FreeBucketArray(mBack);
  mBack = nullptr;
  EndResize(n, count, data1, data2);
}

void ykstd_BasicMap::Link(ykstd_MapNode* node, std::int32_t bucket, std::uint32_t slot,
                          std::int32_t fullHash) noexcept {
  ykstd_MapNode*& top = mReversed ? mBack[bucket] : mBuckets[bucket];
  node->Next() = top;
  top = node;
  if (mReversed) ++mBackCount;
  if (mIndex) mIndex[slot] = IndexSlot{node, fullHash};
  ++mExtent;
}

void ykstd_BasicMap::Unlink(ykstd_MapNode* node, std::int32_t bucket, std::uint32_t slot) noexcept {
  if (!Unchained(mBuckets[bucket], node) && mBack && Unchained(mBack[bucket], node)) --mBackCount;
  if (mIndex) {
    // Close the gap: later entries of the probe run move back unless that would put them before
    // their home slot.
    const std::uint32_t mask = IndexMask();
    std::uint32_t hole = slot;
    for (std::uint32_t j = (hole + 1) & mask; mIndex[j].node; j = (j + 1) & mask) {
      const std::uint32_t home = IndexHome(mIndex[j].hash);
      const bool stays = hole <= j ? (hole < home && home <= j) : (hole < home || home <= j);
      if (!stays) {
        mIndex[hole] = mIndex[j];
        hole = j;
      }
    }
    mIndex[hole] = IndexSlot{nullptr, 0};
  }
  --mExtent;
  delete node;
}

void ykstd_BasicMap::GrowIndex(NodeHash hash) noexcept {
  int bits = 4;
  while (bits < 31 && (std::uint64_t{1} << bits) < 2 * (static_cast<std::uint64_t>(mExtent) + 1)) ++bits;
  auto* index = static_cast<IndexSlot*>(std::calloc(std::size_t{1} << bits, sizeof(IndexSlot)));
  if (!index) {
    // Lookups can always fall back on the chains; a nearly full index could not end a probe.
    if (mIndex && (static_cast<std::uint64_t>(mExtent) + 1) * 10 > (std::uint64_t{1} << mIndexBits) * 9) {
      std::free(mIndex);
      mIndex = nullptr;
      mIndexBits = 0;
    }
    return;
  }
  IndexSlot* const old = mIndex;
  const std::uint64_t oldSize = old ? std::uint64_t{1} << mIndexBits : 0;
  mIndex = index;
  mIndexBits = bits;
  const std::uint32_t mask = IndexMask();
  auto place = [&](ykstd_MapNode* node, std::int32_t fullHash) {
    std::uint32_t i = IndexHome(fullHash);
    while (mIndex[i].node) i = (i + 1) & mask;
    mIndex[i] = IndexSlot{node, fullHash};
  };
  if (old) {
    for (std::uint64_t i = 0; i < oldSize; ++i)
      if (old[i].node) place(old[i].node, old[i].hash);
    std::free(old);
    return;
  }
  for (std::int64_t b = 0; b <= mNbBuckets; ++b) {
    for (ykstd_MapNode* node = mBuckets[b]; node; node = node->Next()) place(node, hash(node, INT32_MAX));
    if (mBack)
      for (ykstd_MapNode* node = mBack[b]; node; node = node->Next()) place(node, hash(node, INT32_MAX));
  }
}

void ykstd_BasicMap::PrepareInsert(NodeHash hash, const char* operation) {
  if (mExtent == 0 || mNbBuckets < mExtent) Rebuild(mExtent, hash);
  if (!mBuckets) ykstd_fail_OutOfMemory::Raise(operation);
  // Past the top rung the chains only grow longer; from there keys are found through the index.
  const auto next = static_cast<std::uint64_t>(mExtent) + 1;
  if (mIndex ? next * 5 > (std::uint64_t{1} << mIndexBits) * 3 : (mNbBuckets >= mLadderTop && mExtent >= mNbBuckets))
    GrowIndex(hash);
}

void ykstd_BasicMap::Statistics(std::ostream& out) const {
  out << "---------------- Statistics ----------------" << std::endl;
  out << "This Map has " << mNbBuckets << " Buckets and " << mExtent << " Keys" << std::endl;
  if (mNbBuckets != 0) {
    // Chains of 256 keys and more get counters of their own rather than overflowing the table.
    std::vector<std::int64_t> counts(256, 0);
    for (std::int64_t b = 0; b <= mNbBuckets; ++b) {
      const std::size_t length = mBuckets ? Length(mBuckets[b]) + (mBack ? Length(mBack[b]) : 0) : 0;
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
  // Chains come in iteration order only as single stacks; a map that nobody changes during the
  // walk keeps them so.
  map.Normalize();
  mNbBuckets = map.mNbBuckets;
  mBuckets = map.mBuckets;
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
    if ((mNode = mBuckets[mBucket])) return;
  }
}

void ykstd_BasicMapIterator::Next() noexcept {
  if (!mNode) return;
  mNode = mNode->Next();
  if (!mNode) {
    ++mBucket;
    Settle();
  }
}

// ---- members ----

namespace ykstd_detail {

// The stored form of a map: its extent as a long, then for each node in iterator order the key by
// the member's KeyForm and, in a data map, the value by its ValueForm. Loading Adds or Binds each
// entry without clearing; a key that cannot be stored (a null handle) is dropped again.
template <class Map>
void SerializeMap(Map& map, ykstd_Archive& archive) {
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
  void ykstd_##NAME::Serialize(ykstd_Archive& archive) { ykstd_detail::SerializeMap(*this, archive); }
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
