// Sequences: doubly linked chains with positions from 1 and a remembered position that makes
// rising and falling scans cost one step per element.
//
// ykstd_BaseSequence holds all the chain logic; ykstd_Sequence adds the element type once for every
// member; the named classes are one line each. To add a member whose element type lives elsewhere,
// in a header that sees the element type:
//   YKSTD_SEQUENCE(DimSeq, ykstd_Dim, ykstd_FormNested);        // ykstd_DimSeq + its node class
// and in one source file:
//   YKSTD_IMPLEMENT_SEQUENCE(DimSeq)                             // the node's descriptor
// The third argument is the element's stored form, a tag of ykstd_StoredForm.hxx or
// ykstd_CollectionStore.hxx: a collection element, or a value class with a Serialize of its own,
// takes ykstd_FormNested; a handle of any counted class takes ykstd_FormObject.
#pragma once

#include <cstdint>

#include <ykstd/ykstd_AsciiString.hxx>
#include <ykstd/ykstd_CollectionStore.hxx>
#include <ykstd/ykstd_TShared.hxx>

YKSTD_HANDLE(ykstd_SeqNode, ykstd_TShared);

class YKSTD_EXPORT ykstd_SeqNode : public ykstd_TShared {
 public:
  ykstd_SeqNode(ykstd_SeqNode* const& next, ykstd_SeqNode* const& previous) noexcept
      : next_(next), previous_(previous) {}
  ykstd_SeqNode*& Next() const { return next_; }
  ykstd_SeqNode*& Previous() const { return previous_; }

  YKSTD_DECLARE_TYPE(ykstd_SeqNode);

 private:
  // A sequence links its nodes by plain pointers; the node's count stays 0.
  mutable ykstd_SeqNode* next_;
  mutable ykstd_SeqNode* previous_;
};

namespace ykstd_detail {
// Elements are copied in depth: a collection element by its Assign, anything else by assignment.
template <class T>
void CopyElement(T& to, const T& from) {
  if constexpr (requires { to.Assign(from); })
    to.Assign(from);
  else
    to = from;
}
}  // namespace ykstd_detail

// The node of one member: the links and the element by value.
template <class T>
class YKSTD_EXPORT ykstd_SeqNodeOf : public ykstd_SeqNode {
 public:
  ykstd_SeqNodeOf(const T& value, ykstd_SeqNode* const& next, ykstd_SeqNode* const& previous)
      : ykstd_SeqNode(next, previous), value_() {
    ykstd_detail::CopyElement(value_, value);
  }
  T& Value() { return value_; }

 private:
  T value_;
};

class YKSTD_EXPORT ykstd_BaseSequence {
 public:
  // Destroys one node through its virtual destructor; does nothing for null.
  using Deleter = void (*)(ykstd_SeqNode*);

  virtual ~ykstd_BaseSequence();
  virtual void Serialize(ykstd_Archive& archive) = 0;

  std::int32_t Length() const { return mSize; }
  unsigned char IsEmpty() const { return mSize == 0 ? 1 : 0; }
  // The remembered position, 0 when nothing is remembered.
  std::int32_t CurrentIndex() const { return mCurrentIndex; }

  // Swaps the nodes at i and j by relinking them; the elements stay in their nodes.
  void Exchange(std::int32_t i, std::int32_t j);
  void Reverse();

  // Failures of the family, shared by the typed layers.
  [[noreturn]] static void RaiseIndex(const char* operation, std::int64_t index, std::int32_t size);
  [[noreturn]] static void RaiseEmpty(const char* text);
  [[noreturn]] static void RaiseNoMemory();

 protected:
  ykstd_BaseSequence() noexcept = default;
  // Sequences are copied by Assign only; a move hands the chain over whole.
  ykstd_BaseSequence(const ykstd_BaseSequence&);
  ykstd_BaseSequence(ykstd_BaseSequence&& other) noexcept { TakeChain(other); }
  ykstd_BaseSequence& operator=(const ykstd_BaseSequence&) = delete;
  // Gives this (empty) sequence the chain of `other`, remembered position included.
  void TakeChain(ykstd_BaseSequence& other) noexcept;

  // The node at i, or null outside 1..Length(); leaves the remembered position alone.
  ykstd_SeqNode* Find(std::int32_t i) const;
  // Find for a position known to be in range, remembering it. The neighbours of the remembered
  // node are taken inline: that is every step of a scan.
  ykstd_SeqNode* Reach(std::int32_t i) const {
    ykstd_SeqNode* node = mCurrentItem;
    if (node && i - 1 == mCurrentIndex)
      node = node->Next();
    else if (node && std::int64_t{i} + 1 == mCurrentIndex)
      node = node->Previous();
    else if (!node || i != mCurrentIndex)
      node = Find(i);
    mCurrentItem = node;
    mCurrentIndex = i;
    return node;
  }

  void PAppend(ykstd_SeqNode* node);
  void PAppend(ykstd_BaseSequence& other);
  void PPrepend(ykstd_SeqNode* node);
  void PPrepend(ykstd_BaseSequence& other);
  void PInsertAfter(std::int32_t i, ykstd_SeqNode* node);
  void PInsertAfter(std::int32_t i, ykstd_BaseSequence& other);
  void PSplit(std::int32_t i, ykstd_BaseSequence& other);
  void Remove(std::int32_t i, Deleter deleter);
  void Remove(std::int32_t from, std::int32_t to, Deleter deleter);
  void Clear(Deleter deleter);

  ykstd_SeqNode* mFirstItem = nullptr;
  ykstd_SeqNode* mLastItem = nullptr;
  // Reading moves the remembered position, so even a const sequence changes it.
  mutable ykstd_SeqNode* mCurrentItem = nullptr;
  mutable std::int32_t mCurrentIndex = 0;
  std::int32_t mSize = 0;

 private:
  void Forget() noexcept;
  // Link the chain head..tail of `count` nodes at one end; it becomes the remembered run's end.
  void SpliceBack(ykstd_SeqNode* head, ykstd_SeqNode* tail, std::int32_t count);
  void SpliceFront(ykstd_SeqNode* head, ykstd_SeqNode* tail, std::int32_t count);
  // Link head..tail behind `at`; the remembered position is the caller's business.
  void SpliceAfter(ykstd_SeqNode* at, ykstd_SeqNode* head, ykstd_SeqNode* tail, std::int32_t count);
  // Take the run head..tail of `count` nodes out of the chain; tail's next becomes null.
  void Unlink(ykstd_SeqNode* head, ykstd_SeqNode* tail, std::int32_t count);
};

// The typed layer shared by every member: Self is the member class, T its element, Node its node
// class and Form the stored form of an element.
template <class Self, class T, class Node, class Form>
class YKSTD_EXPORT ykstd_Sequence : public ykstd_BaseSequence {
 public:
  using Element = T;

  ykstd_Sequence() noexcept = default;
  ykstd_Sequence(const ykstd_Sequence& other) : ykstd_BaseSequence(other) {}
  ykstd_Sequence(ykstd_Sequence&& other) noexcept : ykstd_BaseSequence(static_cast<ykstd_BaseSequence&&>(other)) {}
  ykstd_Sequence& operator=(const ykstd_Sequence& other) {
    Assign(static_cast<const Self&>(other));
    return *this;
  }
  ykstd_Sequence& operator=(ykstd_Sequence&& other) noexcept {
    if (&other != this) {
      Clear();
      TakeChain(other);
    }
    return *this;
  }
  ~ykstd_Sequence() override { Clear(); }

  void Append(const T& value) { PAppend(NewNode(value)); }
  void Prepend(const T& value) { PPrepend(NewNode(value)); }
  // Position 0 is before the first element.
  void InsertAfter(std::int32_t i, const T& value) {
    if (i < 0 || i > mSize) RaiseIndex("ykstd_Sequence::InsertAfter", i, mSize);
    PInsertAfter(i, NewNode(value));
  }

  // Moves every node of `other` into this sequence; `other` ends empty. The same sequence as
  // `other` stays as it is.
  void Append(Self& other) { PAppend(other); }
  void Prepend(Self& other) { PPrepend(other); }
  void InsertAfter(std::int32_t i, Self& other) { PInsertAfter(i, other); }
  // Moves positions i to the end into `other`, which loses what it held. Nothing for i out of range.
  void Split(std::int32_t i, Self& other) {
    if (i < 1 || i > mSize || &other == this) return;
    other.Clear();
    PSplit(i, other);
  }

  const T& Value(std::int32_t i) const {
    if (i < 1 || i > mSize) RaiseIndex("ykstd_Sequence::Value", i, mSize);
    return AsNode(Reach(i))->Value();
  }
  T& ChangeValue(std::int32_t i) {
    if (i < 1 || i > mSize) RaiseIndex("ykstd_Sequence::ChangeValue", i, mSize);
    return AsNode(Reach(i))->Value();
  }
  void SetValue(std::int32_t i, const T& value) { ykstd_detail::CopyElement(ChangeValue(i), value); }

  const T& First() const {
    if (mSize == 0) RaiseEmpty("ykstd_Sequence::First");
    return AsNode(mFirstItem)->Value();
  }
  const T& Last() const {
    if (mSize == 0) RaiseEmpty("ykstd_Sequence::Last");
    return AsNode(mLastItem)->Value();
  }

  void Remove(std::int32_t i) { ykstd_BaseSequence::Remove(i, &DeleteNode); }
  void Remove(std::int32_t from, std::int32_t to) { ykstd_BaseSequence::Remove(from, to, &DeleteNode); }
  void Clear() { ykstd_BaseSequence::Clear(&DeleteNode); }

  // Copies `other` in depth; the copy remembers its first position.
  const Self& Assign(const Self& other) {
    if (&other != this) {
      Clear();
      for (ykstd_SeqNode* node = other.mFirstItem; node; node = node->Next()) PAppend(NewNode(AsNode(node)->Value()));
      mCurrentItem = mFirstItem;
      mCurrentIndex = 1;
    }
    return static_cast<const Self&>(*this);
  }

  // Head: the count form of the length; then the elements from 1. Loading replaces the elements.
  void Serialize(ykstd_Archive& archive) override {
    if (ykstd_CollectionStore::IsLoading(archive)) {
      Clear();
      ykstd_CollectionStore::LoadEach<Form, T>(archive, ykstd_CollectionStore::LoadCount(archive),
                                               [this](const T& value) { Append(value); });
    } else {
      ykstd_CollectionStore::StoreCount(archive, mSize);
      for (ykstd_SeqNode* node = mFirstItem; node; node = node->Next())
        ykstd_CollectionStore::Store(archive, Form{}, AsNode(node)->Value());
    }
  }

 private:
  static Node* AsNode(ykstd_SeqNode* node) { return static_cast<Node*>(node); }
  static void DeleteNode(ykstd_SeqNode* node) { delete AsNode(node); }
  static Node* NewNode(const T& value) {
    Node* node = new Node(value, nullptr, nullptr);
    if (!node) RaiseNoMemory();
    return node;
  }
};

// The counted form: a value sequence that a handle can hold. Self is the counted class, Seq the
// value sequence, H the handle of Self.
template <class Self, class Seq, class H>
class YKSTD_EXPORT ykstd_HSequence : public ykstd_TShared {
 public:
  using T = typename Seq::Element;

  const Seq& Sequence() const { return seq_; }
  Seq& ChangeSequence() { return seq_; }
  std::int32_t Length() const { return seq_.Length(); }

  void Append(const T& value) { seq_.Append(value); }
  void Prepend(const T& value) { seq_.Prepend(value); }
  void InsertAfter(std::int32_t i, const T& value) { seq_.InsertAfter(i, value); }
  void InsertBefore(std::int32_t i, const T& value) {
    // i - 1 computed wide, so that the failure names the position actually asked for.
    if (i < 1) ykstd_BaseSequence::RaiseIndex("ykstd_Sequence::InsertAfter", std::int64_t{i} - 1, seq_.Length());
    seq_.InsertAfter(i - 1, value);
  }
  const T& Value(std::int32_t i) const { return seq_.Value(i); }
  T& ChangeValue(std::int32_t i) { return seq_.ChangeValue(i); }
  void SetValue(std::int32_t i, const T& value) { seq_.SetValue(i, value); }
  void Clear() { seq_.Clear(); }
  void Remove(std::int32_t i) { seq_.Remove(i); }
  void Remove(std::int32_t from, std::int32_t to) { seq_.Remove(from, to); }
  void Reverse() { seq_.Reverse(); }
  void Exchange(std::int32_t i, std::int32_t j) { seq_.Exchange(i, j); }

  // Copies the elements of `other` in; the length of `other` is read once, so a sequence appended
  // to itself doubles once.
  void Append(const H& other) {
    const Seq& source = other->Sequence();
    const std::int32_t n = source.Length();
    for (std::int32_t k = 1; k <= n; ++k) seq_.Append(source.Value(k));
  }
  // The forms below copy from a snapshot when `other` is this sequence, whose positions shift.
  void Prepend(const H& other) {
    FromSnapshot(other, [this](const Seq& source) {
      for (std::int32_t k = source.Length(); k >= 1; --k) seq_.Prepend(source.Value(k));
    });
  }
  void InsertAfter(std::int32_t i, const H& other) {
    FromSnapshot(other, [this, i](const Seq& source) {
      for (std::int32_t k = 1; k <= source.Length(); ++k) InsertAfter(i + (k - 1), source.Value(k));
    });
  }
  void InsertBefore(std::int32_t i, const H& other) {
    FromSnapshot(other, [this, i](const Seq& source) {
      for (std::int32_t k = 1; k <= source.Length(); ++k) InsertBefore(i + (k - 1), source.Value(k));
    });
  }

  // A new counted sequence with the same elements; handles are shared, not their objects copied.
  H ShallowCopy() const {
    H copy = Make();
    const std::int32_t n = seq_.Length();
    for (std::int32_t k = 1; k <= n; ++k) copy->Append(seq_.Value(k));
    return copy;
  }
  // Cuts positions i to the end off into a new counted sequence; i out of range gives an empty one.
  H Split(std::int32_t i) {
    H part = Make();
    seq_.Split(i, part->ChangeSequence());
    return part;
  }

  void Serialize(ykstd_Archive& archive) override { seq_.Serialize(archive); }

 private:
  static H Make() {
    H made(new Self());
    if (made.IsNull()) ykstd_BaseSequence::RaiseNoMemory();
    return made;
  }
  template <class F>
  void FromSnapshot(const H& other, F&& insert) {
    const Seq& source = other->Sequence();
    if (&source != &seq_) {
      insert(source);
      return;
    }
    Seq snapshot;
    snapshot.Assign(source);
    insert(snapshot);
  }

  Seq seq_;
};

// Collections are stored where their owner writes them; both directions go through Serialize,
// which follows the archive's mode.
inline ykstd_Archive& operator<<(ykstd_Archive& archive, ykstd_BaseSequence& seq) {
  seq.Serialize(archive);
  return archive;
}
inline ykstd_Archive& operator>>(ykstd_Archive& archive, ykstd_BaseSequence& seq) {
  seq.Serialize(archive);
  return archive;
}

// One member: the value class ykstd_NAME and its node class ykstd_SequenceNodeOfNAME.
#define YKSTD_SEQUENCE(NAME, ELEMENT, FORM)                                         \
  YKSTD_HANDLE(ykstd_SequenceNodeOf##NAME, ykstd_SeqNode);                          \
  class YKSTD_EXPORT ykstd_SequenceNodeOf##NAME : public ykstd_SeqNodeOf<ELEMENT> { \
   public:                                                                          \
    using ykstd_SeqNodeOf<ELEMENT>::ykstd_SeqNodeOf;                                \
    YKSTD_DECLARE_TYPE(ykstd_SequenceNodeOf##NAME);                                 \
  };                                                                                \
  class YKSTD_EXPORT ykstd_##NAME : public ykstd_Sequence<ykstd_##NAME, ELEMENT, ykstd_SequenceNodeOf##NAME, FORM> {}

#define YKSTD_IMPLEMENT_SEQUENCE(NAME) YKSTD_IMPLEMENT_TYPE(ykstd_SequenceNodeOf##NAME, ykstd_SeqNode)

// A counted member ykstd_NAME holding the value sequence ykstd_SEQ, with its handle.
#define YKSTD_HSEQUENCE(NAME, SEQ)                                                                        \
  YKSTD_HANDLE(ykstd_##NAME, ykstd_TShared);                                                              \
  class YKSTD_EXPORT ykstd_##NAME : public ykstd_HSequence<ykstd_##NAME, ykstd_##SEQ, Hnd_ykstd_##NAME> { \
    YKSTD_DECLARE_TYPE(ykstd_##NAME);                                                                     \
  }

#define YKSTD_IMPLEMENT_HSEQUENCE(NAME) YKSTD_IMPLEMENT_TYPE(ykstd_##NAME, ykstd_TShared)

YKSTD_SEQUENCE(AsciiStringSeq, ykstd_AsciiString, ykstd_FormString);
YKSTD_SEQUENCE(AsciiStringSeqSeq, ykstd_AsciiStringSeq, ykstd_FormNested);
YKSTD_SEQUENCE(BoolSeq, unsigned char, ykstd_FormByte);
YKSTD_SEQUENCE(IntSeq, std::int32_t, ykstd_FormLong);
YKSTD_SEQUENCE(PtrSeq, void*, ykstd_FormNone);
YKSTD_SEQUENCE(RealSeq, double, ykstd_FormDouble);
YKSTD_SEQUENCE(TransientSeq, Hnd_ykstd_Transient, ykstd_FormObject);

YKSTD_HSEQUENCE(BoolHSeq, BoolSeq);
YKSTD_HSEQUENCE(IntHSeq, IntSeq);
YKSTD_HSEQUENCE(TransientHSeq, TransientSeq);
