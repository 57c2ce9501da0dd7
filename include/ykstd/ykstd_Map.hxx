// Chained hash tables on a fixed ladder of prime bucket counts: the sets (ykstd_...Map) and the
// data maps (ykstd_...DataMap), one class per key and value type, and two counted data maps.
//
// Every member is a thin named class over one template, declared by one line below:
//   YKSTD_MAP_SET(Name, Key, Hasher, KeyForm);
//   YKSTD_MAP_DATAMAP(Name, Key, Value, Hasher, KeyForm, ValueForm);
// and given its node descriptor and Serialize by one line in ykstd_Map.cxx:
//   YKSTD_MAP_SET_TYPES(Name);  or  YKSTD_MAP_DATAMAP_TYPES(Name);
// The members keyed by IDispatchPtr come that way once the pointer type exists:
//   YKSTD_MAP_SET(IDispatchPtrMap, IDispatchPtr, ykstd_MapPtrHasher, ykstd_FormNone);
//   YKSTD_MAP_DATAMAP(IDispatchPtrIntDataMap, IDispatchPtr, std::int32_t, ykstd_MapPtrHasher,
//                     ykstd_FormNone, ykstd_FormLong);
// with YKSTD_MAP_SET_TYPES(IDispatchPtrMap) and YKSTD_MAP_DATAMAP_TYPES(IDispatchPtrIntDataMap)
// in the source.
#pragma once

#include <cstdint>
#include <iosfwd>

#include <ykstd/ykstd_AsciiString.hxx>
#include <ykstd/ykstd_Failure.hxx>
#include <ykstd/ykstd_MapNode.hxx>
#include <ykstd/ykstd_StoredForm.hxx>

// ---- hashers: a bucket in [0, upper), or a negative number for a key that cannot be stored ----

class ykstd_MapIntegerHasher {
 public:
  static std::int32_t HashCode(std::int32_t key, std::int32_t upper) noexcept {
    // The most negative key has no magnitude in 32 bits; it keeps its sign and is refused.
    return (key >= 0 ? key : key == INT32_MIN ? key : -key) % upper;
  }
  static unsigned char IsEqual(std::int32_t a, std::int32_t b) noexcept { return a == b ? 1 : 0; }
};

// Takes any pointer or counted interface pointer (which converts to its raw pointer).
class ykstd_MapPtrHasher {
 public:
  static std::int32_t HashCode(const void* key, std::int32_t upper) noexcept {
    const auto low = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(key));
    return ykstd_MapIntegerHasher::HashCode(static_cast<std::int32_t>(low), upper);
  }
  static unsigned char IsEqual(const void* a, const void* b) noexcept { return a == b ? 1 : 0; }
};

// Object identity; a null handle hashes to -1 and so is never a key.
class ykstd_MapTransientHasher {
 public:
  static std::int32_t HashCode(const Hnd_ykstd_Transient& key, std::int32_t upper) { return ::HashCode(key, upper); }
  static unsigned char IsEqual(const Hnd_ykstd_Transient& a, const Hnd_ykstd_Transient& b) noexcept {
    return a == b ? 1 : 0;
  }
};

class ykstd_MapAsciiStringHasher {
 public:
  static std::int32_t HashCode(const ykstd_AsciiString& key, std::int32_t upper) {
    return ykstd_AsciiString::HashCode(key, upper);
  }
  static unsigned char IsEqual(const ykstd_AsciiString& a, const ykstd_AsciiString& b) { return a.IsEqual(b); }
};

// ---- nodes ----

// A map node. Besides the chain link it holds a back link (the chain's head keeps its tail
// there), so that a key can be put at either end of its chain and unlinked at once, and the link
// of the lookup index that maps with more keys than buckets use.
class YKSTD_EXPORT ykstd_MapEntry : public ykstd_MapNode {
 public:
  explicit ykstd_MapEntry(ykstd_MapNode* const& next) noexcept : ykstd_MapNode(next) {}

 private:
  friend class ykstd_BasicMap;
  friend class ykstd_BasicMapIterator;
  ykstd_MapEntry* mPrev = nullptr;
  ykstd_MapEntry* mIndexNext = nullptr;
};

template <class K>
class ykstd_StdMapNode : public ykstd_MapEntry {
 public:
  using KeyType = K;
  ykstd_StdMapNode(const K& key, ykstd_MapNode* const& next) : ykstd_MapEntry(next), mKey(key) {}
  const K& Key() const noexcept { return mKey; }

 private:
  K mKey;
};

template <class K, class V>
class ykstd_DataMapNode : public ykstd_MapEntry {
 public:
  using KeyType = K;
  using ValueType = V;
  ykstd_DataMapNode(const K& key, const V& value, ykstd_MapNode* const& next)
      : ykstd_MapEntry(next), mKey(key), mValue(value) {}
  const K& Key() const noexcept { return mKey; }
  const V& Value() const noexcept { return mValue; }
  V& ChangeValue() noexcept { return mValue; }

 private:
  K mKey;
  V mValue;
};

// ---- the base of every map ----

class YKSTD_EXPORT ykstd_BasicMap {
 public:
  virtual ~ykstd_BasicMap();
  virtual void Serialize(ykstd_Archive& archive) = 0;

  void Statistics(std::ostream& out) const;
  std::int32_t Extent() const noexcept { return mExtent; }
  std::int32_t NbBuckets() const noexcept { return mNbBuckets; }
  unsigned char IsEmpty() const noexcept { return mExtent == 0 ? 1 : 0; }
  // Removes every key; the map is left without buckets.
  void Clear() noexcept;

  // The bucket count that a rebuild for `n` keys picks.
  static std::int32_t LadderRung(std::int32_t n) noexcept;
  // Cuts the ladder so that `top` is its last rung (tests use it to reach the full table with few
  // keys). A value that is not odd or is under 3 restores the full ladder.
  static void LimitLadder(std::int32_t top) noexcept;

 protected:
  using EntryHash = std::int32_t (*)(const ykstd_MapEntry* entry, std::int32_t upper);

  ykstd_BasicMap(std::int32_t nbBuckets, unsigned char single) noexcept;
  ykstd_BasicMap(const ykstd_BasicMap&) = delete;
  ykstd_BasicMap& operator=(const ykstd_BasicMap&) = delete;

  unsigned char BeginResize(std::int32_t n, std::int32_t& newBuckets, ykstd_MapNode**& data1,
                            ykstd_MapNode**& data2) const;
  void EndResize(std::int32_t n, std::int32_t newBuckets, ykstd_MapNode** const& data1,
                 ykstd_MapNode** const& data2) noexcept;
  void Destroy() noexcept;

  // Moves every node into the buckets of the rung for `n`. At an unchanged count that only
  // reverses each chain, which is recorded instead of done.
  void Rebuild(std::int32_t n, EntryHash hash);
  // The growth step of an insertion; raises ykstd_fail_OutOfMemory with `operation` when the map
  // still has no buckets afterwards.
  void PrepareInsert(EntryHash hash, const char* operation);
  // Puts a new node at the front of its chain as iteration sees it.
  void Link(ykstd_MapEntry* entry, std::int32_t bucket, std::int32_t slot) noexcept;
  // Takes a node out of its chain and the index and destroys it.
  void Unlink(ykstd_MapEntry* entry, std::int32_t bucket, std::int32_t slot) noexcept;
  static ykstd_MapEntry* IndexNext(const ykstd_MapEntry* entry) noexcept { return entry->mIndexNext; }

  ykstd_MapNode** mBuckets;
  ykstd_MapNode** mBuckets2;
  unsigned char mDouble;
  std::int32_t mNbBuckets;
  std::int32_t mExtent;
  // 1 when every chain is stored back to front: a rebuild at the same count only flips this.
  unsigned char mReversed;
  // Lookup index of maps that hold more keys than the top rung has buckets (null below that):
  // an odd number of slots, at least as many as keys, chained through the nodes.
  ykstd_MapEntry** mIndex;
  std::int32_t mIndexSize;

  static std::int32_t mLadderTop;

 private:
  friend class ykstd_BasicMapIterator;
  void GrowIndex(EntryHash hash) noexcept;
};

// ---- iterators: by rising bucket index, and within a bucket from the newest key ----

class YKSTD_EXPORT ykstd_BasicMapIterator {
 public:
  ykstd_BasicMapIterator() noexcept = default;
  void Initialize(const ykstd_BasicMap& map) noexcept;
  void Reset() noexcept;
  unsigned char More() const noexcept { return mNode ? 1 : 0; }
  void Next() noexcept;

 protected:
  ykstd_MapNode* mNode = nullptr;
  std::int32_t mNbBuckets = 0;
  ykstd_MapNode** mBuckets = nullptr;
  std::int32_t mBucket = 0;
  // Walk each chain from its stored tail, for a map whose chains are stored back to front.
  unsigned char mBackward = 0;

 private:
  void Settle() noexcept;
};

template <class Map>
class ykstd_MapIteratorOf : public ykstd_BasicMapIterator {
 public:
  ykstd_MapIteratorOf() noexcept = default;
  explicit ykstd_MapIteratorOf(const Map& map) noexcept { Initialize(map); }
  void Initialize(const Map& map) noexcept { ykstd_BasicMapIterator::Initialize(map); }
  const typename Map::KeyType& Key() const { return Current("ykstd_MapIterator::Key")->Key(); }

 protected:
  const typename Map::Node* Current(const char* operation) const {
    if (!mNode) ykstd_fail_NoSuchObject::Raise(operation);
    return static_cast<const typename Map::Node*>(mNode);
  }
};

template <class Map>
class ykstd_DataMapIteratorOf : public ykstd_MapIteratorOf<Map> {
 public:
  using ykstd_MapIteratorOf<Map>::ykstd_MapIteratorOf;
  const typename Map::KeyType& Key() const { return this->Current("ykstd_DataMapIterator::Key")->Key(); }
  const typename Map::ValueType& Value() const { return this->Current("ykstd_DataMapIterator::Value")->Value(); }
};

// ---- the family template: all that depends on the key type ----

template <class NodeT, class Hasher>
class ykstd_HashedMap : public ykstd_BasicMap {
 public:
  using Node = NodeT;
  using KeyType = typename NodeT::KeyType;

  void ReSize(std::int32_t n) { Rebuild(n, &HashOf); }

 protected:
  explicit ykstd_HashedMap(std::int32_t nbBuckets) noexcept : ykstd_BasicMap(nbBuckets, 1) {}
  // Only an empty map can be copied; the copy takes its bucket count.
  ykstd_HashedMap(const ykstd_HashedMap& other, const char* refusal) : ykstd_BasicMap(other.mNbBuckets, 1) {
    if (other.mExtent != 0) ykstd_fail_DomainError::Raise(refusal);
  }

  static std::int32_t HashOf(const ykstd_MapEntry* entry, std::int32_t upper) {
    return Hasher::HashCode(static_cast<const NodeT*>(entry)->Key(), upper);
  }

  // The node of `key` in `bucket`; `slot` is its index slot, -1 without an index.
  NodeT* Locate(const KeyType& key, std::int32_t bucket, std::int32_t& slot) const {
    if (mIndex) {
      slot = Hasher::HashCode(key, mIndexSize);
      for (ykstd_MapEntry* e = mIndex[slot]; e; e = IndexNext(e))
        if (Hasher::IsEqual(static_cast<NodeT*>(e)->Key(), key)) return static_cast<NodeT*>(e);
      return nullptr;
    }
    slot = -1;
    for (ykstd_MapNode* p = mBuckets[bucket]; p; p = p->Next())
      if (Hasher::IsEqual(static_cast<NodeT*>(p)->Key(), key)) return static_cast<NodeT*>(p);
    return nullptr;
  }

  // Null for an absent key, also in an empty map and for a key that could never be stored.
  NodeT* Lookup(const KeyType& key) const {
    if (mExtent == 0) return nullptr;
    const std::int32_t bucket = Hasher::HashCode(key, mNbBuckets);
    if (bucket < 0) return nullptr;
    std::int32_t slot;
    return Locate(key, bucket, slot);
  }

  struct Place {
    std::int32_t bucket;  // negative: the key is refused
    std::int32_t slot;
    NodeT* node;  // the key's node when it is there already
  };

  Place Prepare(const KeyType& key, const char* operation) {
    PrepareInsert(&HashOf, operation);
    Place place{Hasher::HashCode(key, mNbBuckets), -1, nullptr};
    if (place.bucket >= 0) place.node = Locate(key, place.bucket, place.slot);
    return place;
  }

  void Attach(NodeT* node, const Place& place, const char* operation) {
    if (!node) ykstd_fail_OutOfMemory::Raise(operation);
    Link(node, place.bucket, place.slot);
  }

  unsigned char Erase(const KeyType& key) {
    if (mExtent == 0) return 0;
    const std::int32_t bucket = Hasher::HashCode(key, mNbBuckets);
    if (bucket < 0) return 0;
    std::int32_t slot;
    NodeT* node = Locate(key, bucket, slot);
    if (!node) return 0;
    Unlink(node, bucket, slot);
    return 1;
  }
};

template <class Self, class NodeT, class Hasher>
class ykstd_MapOf : public ykstd_HashedMap<NodeT, Hasher> {
  using Base = ykstd_HashedMap<NodeT, Hasher>;

 public:
  using typename Base::KeyType;

  explicit ykstd_MapOf(std::int32_t nbBuckets = 1) noexcept : Base(nbBuckets) {}
  ykstd_MapOf(const ykstd_MapOf& other) : Base(other, "ykstd_Map: copy of non-empty Map") {}
  ykstd_MapOf& operator=(const ykstd_MapOf& other) {
    Assign(static_cast<const Self&>(other));
    return *this;
  }

  unsigned char Add(const KeyType& key) {
    const auto place = this->Prepare(key, "ykstd_Map::Add");
    if (place.bucket < 0 || place.node) return 0;
    this->Attach(new NodeT(key, nullptr), place, "ykstd_Map::Add");
    return 1;
  }
  unsigned char Contains(const KeyType& key) const { return this->Lookup(key) ? 1 : 0; }
  unsigned char Remove(const KeyType& key) { return this->Erase(key); }

  // Rebuilt key by key, so the copy need not iterate in the same order.
  Self& Assign(const Self& other) {
    Self& self = static_cast<Self&>(*this);
    if (&other == &self) return self;
    this->Clear();
    this->ReSize(other.NbBuckets());
    for (ykstd_MapIteratorOf<Self> it(other); it.More(); it.Next()) Add(it.Key());
    return self;
  }
};

template <class Self, class NodeT, class Hasher>
class ykstd_DataMapOf : public ykstd_HashedMap<NodeT, Hasher> {
  using Base = ykstd_HashedMap<NodeT, Hasher>;

 public:
  using typename Base::KeyType;
  using ValueType = typename NodeT::ValueType;

  explicit ykstd_DataMapOf(std::int32_t nbBuckets = 1) noexcept : Base(nbBuckets) {}
  ykstd_DataMapOf(const ykstd_DataMapOf& other) : Base(other, "ykstd_DataMap: copy of non-empty DataMap") {}
  ykstd_DataMapOf& operator=(const ykstd_DataMapOf& other) {
    Assign(static_cast<const Self&>(other));
    return *this;
  }

  unsigned char Bind(const KeyType& key, const ValueType& value) {
    const auto place = this->Prepare(key, "ykstd_DataMap::Bind");
    if (place.bucket < 0) return 0;
    if (place.node) {
      place.node->ChangeValue() = value;
      return 0;
    }
    this->Attach(new NodeT(key, value, nullptr), place, "ykstd_DataMap::Bind");
    return 1;
  }
  unsigned char UnBind(const KeyType& key) { return this->Erase(key); }
  unsigned char IsBound(const KeyType& key) const { return this->Lookup(key) ? 1 : 0; }
  const ValueType& Find(const KeyType& key) const {
    const NodeT* node = this->Lookup(key);
    if (!node) ykstd_fail_NoSuchObject::Raise("ykstd_DataMap::Find");
    return node->Value();
  }
  ValueType& ChangeFind(const KeyType& key) {
    NodeT* node = this->Lookup(key);
    if (!node) ykstd_fail_NoSuchObject::Raise("ykstd_DataMap::ChangeFind");
    return node->ChangeValue();
  }

  // Rebuilt pair by pair, so the copy need not iterate in the same order.
  Self& Assign(const Self& other) {
    Self& self = static_cast<Self&>(*this);
    if (&other == &self) return self;
    this->Clear();
    this->ReSize(other.NbBuckets());
    for (ykstd_DataMapIteratorOf<Self> it(other); it.More(); it.Next()) Bind(it.Key(), it.Value());
    return self;
  }
};

// A counted holder of a data map, so that a handle can keep it.
template <class M>
class ykstd_HDataMapOf : public ykstd_TShared {
 public:
  using KeyType = typename M::KeyType;
  using ValueType = typename M::ValueType;

  explicit ykstd_HDataMapOf(std::int32_t nbBuckets = 1) noexcept : mMap(nbBuckets) {}

  unsigned char Bind(const KeyType& key, const ValueType& value) { return mMap.Bind(key, value); }
  unsigned char UnBind(const KeyType& key) { return mMap.UnBind(key); }
  const ValueType& Find(const KeyType& key) const { return mMap.Find(key); }
  ValueType& ChangeFind(const KeyType& key) { return mMap.ChangeFind(key); }
  unsigned char IsBound(const KeyType& key) const { return mMap.IsBound(key); }
  void Clear() noexcept { mMap.Clear(); }
  void ReSize(std::int32_t n) { mMap.ReSize(n); }
  std::int32_t Extent() const noexcept { return mMap.Extent(); }
  std::int32_t NbBuckets() const noexcept { return mMap.NbBuckets(); }
  unsigned char IsEmpty() const noexcept { return mMap.IsEmpty(); }
  void Statistics(std::ostream& out) const { mMap.Statistics(out); }
  void Serialize(ykstd_Archive& archive) override { mMap.Serialize(archive); }

  // The held map, for iteration and whole-map operations.
  const M& Map() const noexcept { return mMap; }
  M& ChangeMap() noexcept { return mMap; }

 private:
  M mMap;
};

// ---- the members ----

#define YKSTD_MAP_SET(NAME, KEY, HASHER, KEYFORM)                                                        \
  YKSTD_HANDLE(ykstd_StdMapNodeOf##NAME, ykstd_MapNode);                                                 \
  class YKSTD_EXPORT ykstd_StdMapNodeOf##NAME : public ykstd_StdMapNode<KEY> {                           \
   public:                                                                                               \
    using ykstd_StdMapNode<KEY>::ykstd_StdMapNode;                                                       \
    YKSTD_DECLARE_TYPE(ykstd_StdMapNodeOf##NAME);                                                        \
  };                                                                                                     \
  class YKSTD_EXPORT ykstd_##NAME : public ykstd_MapOf<ykstd_##NAME, ykstd_StdMapNodeOf##NAME, HASHER> { \
   public:                                                                                               \
    using KeyForm = KEYFORM;                                                                             \
    using ykstd_MapOf<ykstd_##NAME, ykstd_StdMapNodeOf##NAME, HASHER>::ykstd_MapOf;                      \
    void Serialize(ykstd_Archive& archive) override;                                                     \
  };                                                                                                     \
  class YKSTD_EXPORT ykstd_MapIteratorOf##NAME : public ykstd_MapIteratorOf<ykstd_##NAME> {              \
   public:                                                                                               \
    using ykstd_MapIteratorOf<ykstd_##NAME>::ykstd_MapIteratorOf;                                        \
  }

#define YKSTD_MAP_DATAMAP(NAME, KEY, VALUE, HASHER, KEYFORM, VALUEFORM)                                       \
  YKSTD_HANDLE(ykstd_DataMapNodeOf##NAME, ykstd_MapNode);                                                     \
  class YKSTD_EXPORT ykstd_DataMapNodeOf##NAME : public ykstd_DataMapNode<KEY, VALUE> {                       \
   public:                                                                                                    \
    using ykstd_DataMapNode<KEY, VALUE>::ykstd_DataMapNode;                                                   \
    YKSTD_DECLARE_TYPE(ykstd_DataMapNodeOf##NAME);                                                            \
  };                                                                                                          \
  class YKSTD_EXPORT ykstd_##NAME : public ykstd_DataMapOf<ykstd_##NAME, ykstd_DataMapNodeOf##NAME, HASHER> { \
   public:                                                                                                    \
    using KeyForm = KEYFORM;                                                                                  \
    using ValueForm = VALUEFORM;                                                                              \
    using ykstd_DataMapOf<ykstd_##NAME, ykstd_DataMapNodeOf##NAME, HASHER>::ykstd_DataMapOf;                  \
    void Serialize(ykstd_Archive& archive) override;                                                          \
  };                                                                                                          \
  class YKSTD_EXPORT ykstd_DataMapIteratorOf##NAME : public ykstd_DataMapIteratorOf<ykstd_##NAME> {           \
   public:                                                                                                    \
    using ykstd_DataMapIteratorOf<ykstd_##NAME>::ykstd_DataMapIteratorOf;                                     \
  }

YKSTD_MAP_SET(IntMap, std::int32_t, ykstd_MapIntegerHasher, ykstd_FormLong);
YKSTD_MAP_SET(TransientMap, Hnd_ykstd_Transient, ykstd_MapTransientHasher, ykstd_FormObject);

YKSTD_MAP_DATAMAP(AsciiStringIntDataMap, ykstd_AsciiString, std::int32_t, ykstd_MapAsciiStringHasher, ykstd_FormString,
                  ykstd_FormLong);
YKSTD_MAP_DATAMAP(AsciiStringPtrDataMap, ykstd_AsciiString, void*, ykstd_MapAsciiStringHasher, ykstd_FormString,
                  ykstd_FormNone);
YKSTD_MAP_DATAMAP(IntAsciiStringDataMap, std::int32_t, ykstd_AsciiString, ykstd_MapIntegerHasher, ykstd_FormLong,
                  ykstd_FormString);
YKSTD_MAP_DATAMAP(IntIntDataMap, std::int32_t, std::int32_t, ykstd_MapIntegerHasher, ykstd_FormLong, ykstd_FormLong);
YKSTD_MAP_DATAMAP(IntTransientDataMap, std::int32_t, Hnd_ykstd_Transient, ykstd_MapIntegerHasher, ykstd_FormLong,
                  ykstd_FormObject);
YKSTD_MAP_DATAMAP(TransientAsciiStringDataMap, Hnd_ykstd_Transient, ykstd_AsciiString, ykstd_MapTransientHasher,
                  ykstd_FormObject, ykstd_FormString);
YKSTD_MAP_DATAMAP(TransientIntDataMap, Hnd_ykstd_Transient, std::int32_t, ykstd_MapTransientHasher, ykstd_FormObject,
                  ykstd_FormLong);
YKSTD_MAP_DATAMAP(TransientTransientDataMap, Hnd_ykstd_Transient, Hnd_ykstd_Transient, ykstd_MapTransientHasher,
                  ykstd_FormObject, ykstd_FormObject);

#define YKSTD_MAP_COUNTED(NAME, MAP)                               \
  YKSTD_HANDLE(ykstd_##NAME, ykstd_TShared);                       \
  class YKSTD_EXPORT ykstd_##NAME : public ykstd_HDataMapOf<MAP> { \
   public:                                                         \
    using ykstd_HDataMapOf<MAP>::ykstd_HDataMapOf;                 \
    YKSTD_DECLARE_TYPE(ykstd_##NAME);                              \
  }

YKSTD_MAP_COUNTED(IntTransientHDataMap, ykstd_IntTransientDataMap);
YKSTD_MAP_COUNTED(TransientIntHDataMap, ykstd_TransientIntDataMap);
