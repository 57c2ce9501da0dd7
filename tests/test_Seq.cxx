#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include <ykstd/ykstd.hxx>

#include "ykstd_TestRaised.hxx"

namespace {

// Opens the chain of an integer sequence to the tests: its fields, Find, and a full check of the
// links in both directions and of the remembered node.
class IntSeqProbe : public ykstd_IntSeq {
 public:
  using ykstd_BaseSequence::Find;

  static std::int32_t Of(ykstd_SeqNode* node) { return static_cast<ykstd_SequenceNodeOfIntSeq*>(node)->Value(); }
  ykstd_SeqNode* NodeAt(std::int32_t i) const {
    ykstd_SeqNode* node = mFirstItem;
    for (std::int32_t k = 1; k < i; ++k) node = node->Next();
    return node;
  }
  ykstd_SeqNode*& FirstItem() { return mFirstItem; }
  ykstd_SeqNode*& LastItem() { return mLastItem; }
  ykstd_SeqNode*& CurrentItem() { return mCurrentItem; }
  std::int32_t& Index() { return mCurrentIndex; }

  // The elements read forwards; fails the test when the backward walk, the ends, the size or the
  // remembered node disagree with them.
  std::vector<std::int32_t> Sound() const {
    std::vector<std::int32_t> forward;
    const ykstd_SeqNode* previous = nullptr;
    for (ykstd_SeqNode* node = mFirstItem; node; node = node->Next()) {
      EXPECT_EQ(node->Previous(), previous);
      forward.push_back(Of(node));
      previous = node;
    }
    EXPECT_EQ(mLastItem, previous);
    std::vector<std::int32_t> backward;
    for (ykstd_SeqNode* node = mLastItem; node; node = node->Previous()) backward.insert(backward.begin(), Of(node));
    EXPECT_EQ(backward, forward);
    EXPECT_EQ(static_cast<std::size_t>(mSize), forward.size());
    if (mSize == 0) {
      EXPECT_EQ(mFirstItem, nullptr);
      EXPECT_EQ(mCurrentItem, nullptr);
    } else if (mCurrentItem) {
      EXPECT_EQ(mCurrentItem, NodeAt(mCurrentIndex)) << "remembered node is not at " << mCurrentIndex;
    }
    return forward;
  }
};

IntSeqProbe Range(std::int32_t from, std::int32_t to) {
  IntSeqProbe seq;
  for (std::int32_t v = from; v <= to; ++v) seq.Append(v);
  return seq;
}

std::vector<std::int32_t> Ints(std::initializer_list<std::int32_t> values) { return values; }

// Find's starting point shows when the chain is deliberately skewed: the first node is moved one
// forward, the last one back and the remembered node two forward, so each start yields a node
// offset by its own amount (+1 first, -1 last, +2 remembered).
std::vector<std::int32_t> StartsOfFind(std::int32_t size, std::int32_t remembered) {
  IntSeqProbe seq = Range(1, size);
  ykstd_SeqNode* first = seq.FirstItem();
  ykstd_SeqNode* last = seq.LastItem();
  seq.CurrentItem() = seq.NodeAt(remembered + 2);
  seq.FirstItem() = first->Next();
  seq.LastItem() = last->Previous();
  seq.Index() = remembered;
  std::vector<std::int32_t> offsets;
  for (std::int32_t i = 1; i <= size; ++i) offsets.push_back(IntSeqProbe::Of(seq.Find(i)) - i);
  seq.FirstItem() = first;
  seq.LastItem() = last;
  return offsets;
}

TEST(SeqFind, StartsFromTheNearestPointWithTiesToTheRememberedNodeAndTheEnd) {
  // Remembered 6 of 10: below, 3 (= 6/2) is a tie and goes to the remembered node; above, 8
  // (= (6+10)/2) is a tie and goes to the last node.
  EXPECT_EQ(StartsOfFind(10, 6), Ints({1, 1, 2, 2, 2, 2, 2, -1, -1, -1}));
  // Remembered 5 of 9: 2 (= 5/2) and 7 (= 14/2) are the ties.
  EXPECT_EQ(StartsOfFind(9, 5), Ints({1, 2, 2, 2, 2, 2, -1, -1, -1}));
  // Nothing remembered: the nearer end, the upper half from the last node.
  IntSeqProbe seq = Range(1, 6);
  seq.CurrentItem() = nullptr;
  seq.Index() = 0;
  EXPECT_EQ(IntSeqProbe::Of(seq.Find(2)), 2);
  EXPECT_EQ(IntSeqProbe::Of(seq.Find(5)), 5);
  EXPECT_EQ(seq.Find(0), nullptr);
  EXPECT_EQ(seq.Find(7), nullptr);
}

TEST(SeqFind, ReadingMovesTheRememberedPositionAndFindDoesNot) {
  IntSeqProbe seq = Range(1, 8);
  EXPECT_EQ(seq.Value(3), 3);
  EXPECT_EQ(seq.CurrentIndex(), 3);
  seq.ChangeValue(6) = 60;
  EXPECT_EQ(seq.CurrentIndex(), 6);
  seq.SetValue(2, 20);
  EXPECT_EQ(seq.CurrentIndex(), 2);
  seq.Find(7);
  EXPECT_EQ(seq.First(), 1);
  EXPECT_EQ(seq.Last(), 8);
  EXPECT_EQ(seq.CurrentIndex(), 2);
  EXPECT_EQ(seq.Sound(), Ints({1, 20, 3, 4, 5, 60, 7, 8}));
}

TEST(SeqChain, AddingKeepsTheRememberedPositionAsTabled) {
  IntSeqProbe seq;
  seq.InsertAfter(0, 5);  // on an empty sequence this is Prepend
  EXPECT_EQ(seq.CurrentIndex(), 1);
  seq.Append(6);
  EXPECT_EQ(seq.CurrentIndex(), 2);
  seq.Prepend(4);
  EXPECT_EQ(seq.CurrentIndex(), 1);
  EXPECT_EQ(seq.Value(2), 5);
  seq.InsertAfter(1, 45);  // before the remembered position: it moves with its node
  EXPECT_EQ(seq.CurrentIndex(), 3);
  seq.InsertAfter(3, 55);  // at it: unchanged
  EXPECT_EQ(seq.CurrentIndex(), 3);
  seq.InsertAfter(seq.Length(), 7);  // as Append, but the position stays
  EXPECT_EQ(seq.CurrentIndex(), 3);
  EXPECT_EQ(seq.Sound(), Ints({4, 45, 5, 55, 6, 7}));
}

TEST(SeqChain, RemovingMovesTheRememberedPositionToTheEndOnlyFromBelow) {
  IntSeqProbe seq = Range(1, 6);
  seq.Value(3);
  seq.Remove(5);  // above: unchanged
  EXPECT_EQ(seq.CurrentIndex(), 3);
  EXPECT_EQ(seq.Sound(), Ints({1, 2, 3, 4, 6}));
  seq.Remove(3);  // at it: to the end
  EXPECT_EQ(seq.CurrentIndex(), 4);
  EXPECT_EQ(seq.Sound(), Ints({1, 2, 4, 6}));
  seq.Value(2);
  seq.Remove(1);  // below it: to the end
  EXPECT_EQ(seq.CurrentIndex(), 3);
  EXPECT_EQ(seq.Sound(), Ints({2, 4, 6}));

  IntSeqProbe runs = Range(1, 9);
  runs.Value(2);
  runs.Remove(4, 6);
  EXPECT_EQ(runs.CurrentIndex(), 2);
  EXPECT_EQ(runs.Sound(), Ints({1, 2, 3, 7, 8, 9}));
  runs.Remove(1, 2);
  EXPECT_EQ(runs.CurrentIndex(), 4);
  runs.Remove(3, 4);  // the tail
  runs.Remove(1, 2);  // all
  EXPECT_EQ(runs.Sound(), Ints({}));
  EXPECT_EQ(runs.CurrentIndex(), 0);

  IntSeqProbe single = Range(7, 7);
  single.Remove(1);
  EXPECT_EQ(single.Sound(), Ints({}));
  EXPECT_EQ(single.LastItem(), nullptr);
  EXPECT_EQ(single.CurrentIndex(), 0);
  single.Append(8);
  EXPECT_EQ(single.Sound(), Ints({8}));
}

TEST(SeqChain, ReverseKeepsTheRememberedNode) {
  IntSeqProbe seq = Range(1, 5);
  seq.Value(2);
  seq.Reverse();
  EXPECT_EQ(seq.CurrentIndex(), 4);
  EXPECT_EQ(seq.Sound(), Ints({5, 4, 3, 2, 1}));
  IntSeqProbe empty;
  empty.Reverse();
  EXPECT_EQ(empty.Sound(), Ints({}));
}

TEST(SeqChain, ExchangeRelinksEveryPairSoundly) {
  for (std::int32_t i = 1; i <= 5; ++i) {
    for (std::int32_t j = 1; j <= 5; ++j) {
      IntSeqProbe seq = Range(1, 5);
      seq.Value(i);
      ykstd_SeqNode* remembered = seq.CurrentItem();
      seq.Exchange(i, j);
      std::vector<std::int32_t> expected = Ints({1, 2, 3, 4, 5});
      std::swap(expected[i - 1], expected[j - 1]);
      EXPECT_EQ(seq.Sound(), expected) << i << " <-> " << j;
      // The index stays and follows the node that moved into it.
      EXPECT_EQ(seq.CurrentIndex(), i);
      EXPECT_EQ(IntSeqProbe::Of(seq.CurrentItem()), j);
      EXPECT_EQ(remembered == seq.CurrentItem(), i == j);
    }
  }
  IntSeqProbe two = Range(1, 2);
  ykstd_SeqNode* first = two.FirstItem();
  two.Exchange(1, 2);
  EXPECT_EQ(two.LastItem(), first);
  EXPECT_EQ(two.Sound(), Ints({2, 1}));
}

TEST(SeqChain, ClearAndAssign) {
  IntSeqProbe seq = Range(1, 4);
  seq.Value(3);
  IntSeqProbe copy;
  copy.Append(99);
  copy.Assign(seq);
  EXPECT_EQ(copy.CurrentIndex(), 1);  // not the source's 3
  EXPECT_EQ(copy.Sound(), Ints({1, 2, 3, 4}));
  copy.Assign(copy);
  EXPECT_EQ(copy.Sound(), Ints({1, 2, 3, 4}));
  copy.ChangeValue(1) = 10;
  EXPECT_EQ(seq.Value(1), 1);

  IntSeqProbe empty;
  copy.Assign(empty);
  EXPECT_EQ(copy.Sound(), Ints({}));
  EXPECT_EQ(copy.CurrentIndex(), 1);
  EXPECT_EQ(copy.CurrentItem(), nullptr);
  copy.Append(5);
  EXPECT_EQ(copy.Value(1), 5);

  seq.Clear();
  EXPECT_EQ(seq.Sound(), Ints({}));
  EXPECT_EQ(seq.CurrentIndex(), 0);
}

TEST(SeqChain, MovingHandsTheChainOver) {
  IntSeqProbe source = Range(1, 3);
  source.Value(2);
  ykstd_SeqNode* first = source.FirstItem();
  IntSeqProbe moved(std::move(source));
  EXPECT_EQ(moved.FirstItem(), first);
  EXPECT_EQ(moved.CurrentIndex(), 2);
  EXPECT_EQ(moved.Sound(), Ints({1, 2, 3}));
  EXPECT_EQ(source.Sound(), Ints({}));
  IntSeqProbe target = Range(7, 8);
  target = std::move(moved);
  EXPECT_EQ(target.Sound(), Ints({1, 2, 3}));
  EXPECT_EQ(moved.Length(), 0);
  std::vector<ykstd_AsciiStringSeq> many(1);
  many[0].Append("kept");
  many.resize(8);  // growing moves the sequences instead of raising on a copy
  EXPECT_STREQ(many[0].First().Text(), "kept");
}

TEST(SeqMove, WholeSequencesMoveWithTheirNodes) {
  IntSeqProbe seq = Range(1, 3);
  IntSeqProbe other = Range(4, 5);
  ykstd_SeqNode* moved = other.FirstItem();
  seq.Append(other);
  EXPECT_EQ(seq.Sound(), Ints({1, 2, 3, 4, 5}));
  EXPECT_EQ(seq.CurrentIndex(), 5);
  EXPECT_EQ(seq.NodeAt(4), moved);  // the same node, not a copy
  EXPECT_EQ(other.Sound(), Ints({}));
  EXPECT_EQ(other.CurrentIndex(), 0);

  other = Range(-1, 0);
  seq.Prepend(other);
  EXPECT_EQ(seq.Sound(), Ints({-1, 0, 1, 2, 3, 4, 5}));
  EXPECT_EQ(seq.CurrentIndex(), 1);

  other = Range(10, 11);
  seq.InsertAfter(3, other);
  EXPECT_EQ(seq.Sound(), Ints({-1, 0, 1, 10, 11, 2, 3, 4, 5}));
  EXPECT_EQ(seq.CurrentIndex(), 3);
  EXPECT_EQ(other.Sound(), Ints({}));

  // The position is tested before the emptiness of the other sequence.
  EXPECT_EQ(RaisedMessage([&] { seq.InsertAfter(0, other); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_BaseSequence::PInsertAfter: index out of range");
  seq.InsertAfter(9, other);  // empty: nothing
  seq.Append(other);
  seq.Append(seq);  // itself: nothing moves
  EXPECT_EQ(seq.Length(), 9);

  IntSeqProbe onEmpty;
  other = Range(1, 2);
  onEmpty.Prepend(other);
  onEmpty.Append(3);
  EXPECT_EQ(onEmpty.Sound(), Ints({1, 2, 3}));
}

TEST(SeqMove, SplitCutsOffTheTail) {
  IntSeqProbe seq = Range(1, 5);
  IntSeqProbe tail = Range(100, 101);  // what it held is dropped
  seq.Split(3, tail);
  EXPECT_EQ(seq.Sound(), Ints({1, 2}));
  EXPECT_EQ(seq.CurrentIndex(), 2);
  EXPECT_EQ(tail.Sound(), Ints({3, 4, 5}));
  EXPECT_EQ(tail.CurrentIndex(), 3);

  seq.Split(0, tail);
  seq.Split(3, tail);
  EXPECT_EQ(tail.Sound(), Ints({3, 4, 5}));

  seq.Split(1, tail);
  EXPECT_EQ(seq.Sound(), Ints({}));
  EXPECT_EQ(seq.CurrentIndex(), 0);
  EXPECT_EQ(tail.Sound(), Ints({1, 2}));
  seq.Append(9);
  EXPECT_EQ(seq.Sound(), Ints({9}));
}

TEST(SeqFailures, TextsNamePositionAndSize) {
  ykstd_IntSeq seq;
  EXPECT_EQ(RaisedMessage([&] { seq.Value(1); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_Sequence::Value (aIdx=1, mSize=0)");
  seq.Append(1);
  seq.Append(2);
  EXPECT_EQ(RaisedMessage([&] { seq.Value(-3); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_Sequence::Value (aIdx=-3, mSize=2)");
  EXPECT_EQ(RaisedMessage([&] { seq.ChangeValue(3); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_Sequence::ChangeValue (aIdx=3, mSize=2)");
  EXPECT_EQ(RaisedMessage([&] { seq.SetValue(0, 1); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_Sequence::ChangeValue (aIdx=0, mSize=2)");
  EXPECT_EQ(RaisedMessage([&] { seq.InsertAfter(3, 1); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_Sequence::InsertAfter (aIdx=3, mSize=2)");
  EXPECT_EQ(RaisedMessage([&] { seq.InsertAfter(-1, 1); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_Sequence::InsertAfter (aIdx=-1, mSize=2)");
  EXPECT_EQ(RaisedMessage([&] { seq.Remove(3); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_BaseSequence::Remove (aIdx=3, mSize=2)");
  EXPECT_EQ(RaisedMessage([&] { seq.Remove(2, 1); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_BaseSequence::Remove (from=2, to=1, mSize=2)");
  EXPECT_EQ(RaisedMessage([&] { seq.Remove(1, 3); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_BaseSequence::Remove (from=1, to=3, mSize=2)");
  EXPECT_EQ(RaisedMessage([&] { seq.Exchange(1, 5); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_BaseSequence::Exchange (i=1, j=5, mSize=2)");
  seq.Exchange(7, 7);  // the same position is no exchange at all
  EXPECT_EQ(seq.Length(), 2);

  ykstd_AsciiStringSeq empty;
  EXPECT_EQ(RaisedMessage([&] { empty.First(); }), "EXCEPTION ykstd_fail_NoSuchObject : ykstd_Sequence::First");
  EXPECT_EQ(RaisedMessage([&] { empty.Last(); }), "EXCEPTION ykstd_fail_NoSuchObject : ykstd_Sequence::Last");
  EXPECT_EQ(RaisedMessage([&] { ykstd_IntSeq copy(seq); }),
            "EXCEPTION ykstd_fail_NotImplemented : ykstd_BaseSequence::ykstd_BaseSequence");
}

TEST(SeqFailures, NoMemoryForANodeLeavesTheSequenceWhole) {
  IntSeqProbe seq = Range(1, 3);
  seq.Value(2);
  ykstd_Transient::FailNextAllocations(1);
  EXPECT_EQ(RaisedMessage([&] { seq.InsertAfter(1, 9); }),
            "EXCEPTION ykstd_fail_OutOfMemory : ykstd_Sequence: Allocation failed");
  EXPECT_EQ(seq.Sound(), Ints({1, 2, 3}));
  EXPECT_EQ(seq.CurrentIndex(), 2);
}

TEST(SeqElements, ElementsAreCopiedInDepth) {
  ykstd_AsciiStringSeq inner;
  inner.Append("a");
  inner.Append(ykstd_AsciiString("b"));
  ykstd_AsciiStringSeqSeq outer;
  outer.Append(inner);
  inner.ChangeValue(1) = ykstd_AsciiString("changed");
  inner.Append("c");
  EXPECT_EQ(outer.Value(1).Length(), 2);
  EXPECT_STREQ(outer.Value(1).Value(1).Text(), "a");

  ykstd_AsciiStringSeqSeq copy;
  copy.Assign(outer);
  outer.ChangeValue(1).Clear();
  EXPECT_STREQ(copy.Value(1).Last().Text(), "b");
  copy.SetValue(1, inner);
  EXPECT_STREQ(copy.Value(1).Value(1).Text(), "changed");

  int object = 0;
  ykstd_PtrSeq pointers;
  pointers.Append(&object);
  EXPECT_EQ(pointers.Value(1), &object);
  ykstd_RealSeq reals;
  reals.Append(0.5);
  ykstd_BoolSeq bools;
  bools.Append(1);
  EXPECT_EQ(reals.First() + bools.Last(), 1.5);
}

TEST(SeqElements, HandlesHoldTheirObjectsWhileInTheSequence) {
  Hnd_ykstd_TShared object(new ykstd_TShared);
  {
    ykstd_TransientSeq seq;
    seq.Append(object);
    seq.Append(Hnd_ykstd_Transient());
    EXPECT_EQ(object->GetRefCount(), 2);
    seq.Remove(1);
    EXPECT_EQ(object->GetRefCount(), 1);
    seq.Prepend(object);
  }
  EXPECT_EQ(object->GetRefCount(), 1);
}

TEST(SeqCounted, TypesAndHandles) {
  Hnd_ykstd_IntHSeq ints(new ykstd_IntHSeq);
  Hnd_ykstd_Transient root(ints);
  EXPECT_TRUE(Hnd_ykstd_IntHSeq::DownCast(root) == ints);
  EXPECT_TRUE(Hnd_ykstd_BoolHSeq::DownCast(root).IsNull());
  EXPECT_STREQ(ints->DynamicType()->Name(), "ykstd_IntHSeq");
  EXPECT_STREQ(ykstd_BoolHSeq_Type_()->Name(), "ykstd_BoolHSeq");
  EXPECT_STREQ(ykstd_TransientHSeq_Type_()->Name(), "ykstd_TransientHSeq");
  EXPECT_EQ(ints->IsKind(ykstd_TShared_Type_()), 1);
  EXPECT_EQ(ints->IsKind(ykstd_SeqNode_Type_()), 0);

  const char* nodeNames[] = {"ykstd_SequenceNodeOfAsciiStringSeq", "ykstd_SequenceNodeOfAsciiStringSeqSeq",
                             "ykstd_SequenceNodeOfBoolSeq",        "ykstd_SequenceNodeOfIntSeq",
                             "ykstd_SequenceNodeOfPtrSeq",         "ykstd_SequenceNodeOfRealSeq",
                             "ykstd_SequenceNodeOfTransientSeq"};
  const Hnd_ykstd_Type* nodeTypes[] = {
      &ykstd_SequenceNodeOfAsciiStringSeq_Type_(), &ykstd_SequenceNodeOfAsciiStringSeqSeq_Type_(),
      &ykstd_SequenceNodeOfBoolSeq_Type_(),        &ykstd_SequenceNodeOfIntSeq_Type_(),
      &ykstd_SequenceNodeOfPtrSeq_Type_(),         &ykstd_SequenceNodeOfRealSeq_Type_(),
      &ykstd_SequenceNodeOfTransientSeq_Type_()};
  for (int k = 0; k < 7; ++k) {
    EXPECT_STREQ((*nodeTypes[k])->Name(), nodeNames[k]);
    EXPECT_EQ((*nodeTypes[k])->NumberOfAncestor(), 3);  // ykstd_SeqNode, ykstd_TShared, ykstd_Transient
  }
  Hnd_ykstd_SequenceNodeOfIntSeq node(new ykstd_SequenceNodeOfIntSeq(4, nullptr, nullptr));
  EXPECT_EQ(node->IsKind(ykstd_SeqNode_Type_()), 1);
  EXPECT_TRUE(Hnd_ykstd_SequenceNodeOfRealSeq::DownCast(node).IsNull());
}

std::vector<std::int32_t> Elements(const Hnd_ykstd_IntHSeq& seq) {
  std::vector<std::int32_t> out;
  for (std::int32_t k = 1; k <= seq->Length(); ++k) out.push_back(seq->Value(k));
  return out;
}

Hnd_ykstd_IntHSeq Counted(std::initializer_list<std::int32_t> values) {
  Hnd_ykstd_IntHSeq seq(new ykstd_IntHSeq);
  for (std::int32_t v : values) seq->Append(v);
  return seq;
}

TEST(SeqCounted, InsertingAnotherSequenceOrItself) {
  Hnd_ykstd_IntHSeq seq = Counted({1, 2, 3});
  seq->Append(seq);
  EXPECT_EQ(Elements(seq), Ints({1, 2, 3, 1, 2, 3}));

  seq = Counted({1, 2, 3});
  seq->Prepend(seq);
  EXPECT_EQ(Elements(seq), Ints({1, 2, 3, 1, 2, 3}));
  seq = Counted({1, 2, 3});
  seq->InsertAfter(1, seq);
  EXPECT_EQ(Elements(seq), Ints({1, 1, 2, 3, 2, 3}));
  seq = Counted({1, 2, 3});
  seq->InsertBefore(3, seq);
  EXPECT_EQ(Elements(seq), Ints({1, 2, 1, 2, 3, 3}));

  seq = Counted({1, 2});
  Hnd_ykstd_IntHSeq other = Counted({7, 8});
  seq->Prepend(other);
  seq->InsertAfter(2, other);
  seq->InsertBefore(1, other);
  seq->InsertBefore(1, 0);
  EXPECT_EQ(Elements(seq), Ints({0, 7, 8, 7, 8, 7, 8, 1, 2}));
  EXPECT_EQ(RaisedMessage([&] { seq->InsertBefore(0, 5); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_Sequence::InsertAfter (aIdx=-1, mSize=9)");
  EXPECT_EQ(RaisedMessage([&] { seq->InsertAfter(10, other); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_Sequence::InsertAfter (aIdx=10, mSize=9)");
  EXPECT_EQ(RaisedMessage([&] { seq->Append(Hnd_ykstd_IntHSeq()); }), "EXCEPTION ykstd_fail_NullObject : NULL_HANDLE");
}

TEST(SeqCounted, ShallowCopyAndSplit) {
  Hnd_ykstd_TShared object(new ykstd_TShared);
  Hnd_ykstd_TransientHSeq handles(new ykstd_TransientHSeq);
  handles->Append(object);
  Hnd_ykstd_TransientHSeq copy = handles->ShallowCopy();
  EXPECT_TRUE(copy->Value(1) == object);
  EXPECT_EQ(object->GetRefCount(), 3);
  copy.Nullify();
  EXPECT_EQ(object->GetRefCount(), 2);

  Hnd_ykstd_IntHSeq seq = Counted({1, 2, 3, 4});
  Hnd_ykstd_IntHSeq tail = seq->Split(3);
  EXPECT_EQ(Elements(seq), Ints({1, 2}));
  EXPECT_EQ(Elements(tail), Ints({3, 4}));
  EXPECT_EQ(seq->Split(3)->Length(), 0);
  EXPECT_EQ(seq->Split(0)->Length(), 0);
  EXPECT_EQ(Elements(seq), Ints({1, 2}));
  Hnd_ykstd_IntHSeq all = seq->Split(1);
  EXPECT_EQ(Elements(all), Ints({1, 2}));
  EXPECT_EQ(seq->Length(), 0);
  seq->Append(5);
  EXPECT_EQ(Elements(seq), Ints({5}));

  Hnd_ykstd_BoolHSeq bools(new ykstd_BoolHSeq);
  bools->Append(1);
  bools->Prepend(0);
  bools->Exchange(1, 2);
  bools->Reverse();
  bools->SetValue(1, 1);
  EXPECT_EQ(bools->Sequence().Last(), 1);
  bools->Remove(1, 2);
  EXPECT_EQ(bools->Length(), 0);
}

}  // namespace
