#include <utility>

#include <ykstd/ykstd_Failure.hxx>
#include <ykstd/ykstd_Seq.hxx>

YKSTD_IMPLEMENT_TYPE(ykstd_SeqNode, ykstd_TShared)

YKSTD_IMPLEMENT_SEQUENCE(AsciiStringSeq)
YKSTD_IMPLEMENT_SEQUENCE(AsciiStringSeqSeq)
YKSTD_IMPLEMENT_SEQUENCE(BoolSeq)
YKSTD_IMPLEMENT_SEQUENCE(IntSeq)
YKSTD_IMPLEMENT_SEQUENCE(PtrSeq)
YKSTD_IMPLEMENT_SEQUENCE(RealSeq)
YKSTD_IMPLEMENT_SEQUENCE(TransientSeq)

YKSTD_IMPLEMENT_HSEQUENCE(BoolHSeq)
YKSTD_IMPLEMENT_HSEQUENCE(IntHSeq)
YKSTD_IMPLEMENT_HSEQUENCE(TransientHSeq)

namespace {
ykstd_SeqNode* WalkNext(ykstd_SeqNode* node, std::int64_t steps) {
  for (; steps > 0; --steps) node = node->Next();
  return node;
}
ykstd_SeqNode* WalkPrevious(ykstd_SeqNode* node, std::int64_t steps) {
  for (; steps > 0; --steps) node = node->Previous();
  return node;
}
}  // namespace

ykstd_BaseSequence::~ykstd_BaseSequence() = default;

ykstd_BaseSequence::ykstd_BaseSequence(const ykstd_BaseSequence&) {
  ykstd_fail_NotImplemented::Raise("ykstd_BaseSequence::ykstd_BaseSequence");
}

void ykstd_BaseSequence::RaiseIndex(const char* operation, std::int64_t index, std::int32_t size) {
  ykstd_TextStream text;
  text << operation << " (aIdx=" << index << ", mSize=" << size << ")";
  ykstd_fail_OutOfRange::Raise(text);
}

void ykstd_BaseSequence::RaiseEmpty(const char* text) { ykstd_fail_NoSuchObject::Raise(text); }

void ykstd_BaseSequence::RaiseNoMemory() { ykstd_fail_OutOfMemory::Raise("ykstd_Sequence: Allocation failed"); }

void ykstd_BaseSequence::Forget() noexcept {
  mFirstItem = mLastItem = mCurrentItem = nullptr;
  mCurrentIndex = mSize = 0;
}

void ykstd_BaseSequence::TakeChain(ykstd_BaseSequence& other) noexcept {
  mFirstItem = other.mFirstItem;
  mLastItem = other.mLastItem;
  mCurrentItem = other.mCurrentItem;
  mCurrentIndex = other.mCurrentIndex;
  mSize = other.mSize;
  other.Forget();
}

ykstd_SeqNode* ykstd_BaseSequence::Find(std::int32_t i) const {
  if (i < 1 || i > mSize) return nullptr;
  // Without a remembered node the walk starts from the nearer end, as from a position 0.
  const std::int64_t current = mCurrentItem ? mCurrentIndex : 0;
  if (i == current) return mCurrentItem;
  if (i < current) {
    // Ties go to the remembered node.
    if (i >= current / 2) return WalkPrevious(mCurrentItem, current - i);
    return WalkNext(mFirstItem, i - 1);
  }
  // Ties go to the end of the chain.
  if (i >= (current + mSize) / 2) return WalkPrevious(mLastItem, std::int64_t{mSize} - i);
  if (current == 0) return WalkNext(mFirstItem, i - 1);
  return WalkNext(mCurrentItem, i - current);
}

void ykstd_BaseSequence::SpliceBack(ykstd_SeqNode* head, ykstd_SeqNode* tail, std::int32_t count) {
  head->Previous() = mLastItem;
  tail->Next() = nullptr;
  if (mLastItem)
    mLastItem->Next() = head;
  else
    mFirstItem = head;
  mLastItem = tail;
  mSize += count;
  mCurrentItem = tail;
  mCurrentIndex = mSize;
}

void ykstd_BaseSequence::SpliceFront(ykstd_SeqNode* head, ykstd_SeqNode* tail, std::int32_t count) {
  tail->Next() = mFirstItem;
  head->Previous() = nullptr;
  if (mFirstItem)
    mFirstItem->Previous() = tail;
  else
    mLastItem = tail;
  mFirstItem = head;
  mSize += count;
  mCurrentItem = head;
  mCurrentIndex = 1;
}

void ykstd_BaseSequence::SpliceAfter(ykstd_SeqNode* at, ykstd_SeqNode* head, ykstd_SeqNode* tail, std::int32_t count) {
  ykstd_SeqNode* after = at->Next();
  at->Next() = head;
  head->Previous() = at;
  tail->Next() = after;
  if (after)
    after->Previous() = tail;
  else
    mLastItem = tail;
  mSize += count;
}

void ykstd_BaseSequence::Unlink(ykstd_SeqNode* head, ykstd_SeqNode* tail, std::int32_t count) {
  ykstd_SeqNode* before = head->Previous();
  ykstd_SeqNode* after = tail->Next();
  if (before)
    before->Next() = after;
  else
    mFirstItem = after;
  if (after)
    after->Previous() = before;
  else
    mLastItem = before;
  tail->Next() = nullptr;
  mSize -= count;
}

void ykstd_BaseSequence::PAppend(ykstd_SeqNode* node) { SpliceBack(node, node, 1); }
void ykstd_BaseSequence::PPrepend(ykstd_SeqNode* node) { SpliceFront(node, node, 1); }

void ykstd_BaseSequence::PInsertAfter(std::int32_t i, ykstd_SeqNode* node) {
  if (i < 0 || i > mSize) ykstd_fail_OutOfRange::Raise("ykstd_BaseSequence::PInsertAfter: index out of range");
  if (i == 0) {
    PPrepend(node);
    return;
  }
  SpliceAfter(Find(i), node, node, 1);
  if (i < mCurrentIndex) ++mCurrentIndex;
}

void ykstd_BaseSequence::PAppend(ykstd_BaseSequence& other) {
  if (&other == this || other.mSize == 0) return;
  SpliceBack(other.mFirstItem, other.mLastItem, other.mSize);
  other.Forget();
}

void ykstd_BaseSequence::PPrepend(ykstd_BaseSequence& other) {
  if (&other == this || other.mSize == 0) return;
  SpliceFront(other.mFirstItem, other.mLastItem, other.mSize);
  other.Forget();
}

void ykstd_BaseSequence::PInsertAfter(std::int32_t i, ykstd_BaseSequence& other) {
  if (i < 1 || i > mSize) ykstd_fail_OutOfRange::Raise("ykstd_BaseSequence::PInsertAfter: index out of range");
  if (&other == this || other.mSize == 0) return;
  ykstd_SeqNode* at = Find(i);
  SpliceAfter(at, other.mFirstItem, other.mLastItem, other.mSize);
  mCurrentItem = at;
  mCurrentIndex = i;
  other.Forget();
}

void ykstd_BaseSequence::PSplit(std::int32_t i, ykstd_BaseSequence& other) {
  ykstd_SeqNode* cut = Find(i);
  if (!cut || &other == this) return;
  ykstd_SeqNode* before = cut->Previous();
  cut->Previous() = nullptr;
  other.mFirstItem = cut;
  other.mLastItem = mLastItem;
  other.mSize = mSize - i + 1;
  other.mCurrentItem = other.mLastItem;
  other.mCurrentIndex = other.mSize;
  if (!before) {
    Forget();
    return;
  }
  before->Next() = nullptr;
  mLastItem = before;
  mSize = i - 1;
  mCurrentItem = mLastItem;
  mCurrentIndex = mSize;
}

void ykstd_BaseSequence::Remove(std::int32_t i, Deleter deleter) {
  ykstd_SeqNode* node = Find(i);
  if (!node) RaiseIndex("ykstd_BaseSequence::Remove", i, mSize);
  Unlink(node, node, 1);
  if (mCurrentIndex >= i) {
    mCurrentItem = mLastItem;
    mCurrentIndex = mSize;
  }
  deleter(node);
}

void ykstd_BaseSequence::Remove(std::int32_t from, std::int32_t to, Deleter deleter) {
  if (from == to) {
    Remove(from, deleter);
    return;
  }
  if (from < 1 || from > to || to > mSize) {
    ykstd_TextStream text;
    text << "ykstd_BaseSequence::Remove (from=" << from << ", to=" << to << ", mSize=" << mSize << ")";
    ykstd_fail_OutOfRange::Raise(text);
  }
  ykstd_SeqNode* head = Find(from);
  ykstd_SeqNode* tail = Find(to);
  Unlink(head, tail, to - from + 1);
  if (mCurrentIndex >= from) {
    mCurrentItem = mLastItem;
    mCurrentIndex = mSize;
  }
  while (head) {
    ykstd_SeqNode* next = head->Next();
    deleter(head);
    head = next;
  }
}

void ykstd_BaseSequence::Clear(Deleter deleter) {
  ykstd_SeqNode* node = mFirstItem;
  Forget();
  while (node) {
    ykstd_SeqNode* next = node->Next();
    deleter(node);
    node = next;
  }
}

void ykstd_BaseSequence::Reverse() {
  if (mSize == 0) return;
  for (ykstd_SeqNode* node = mFirstItem; node;) {
    ykstd_SeqNode* next = node->Next();
    std::swap(node->Next(), node->Previous());
    node = next;
  }
  std::swap(mFirstItem, mLastItem);
  if (mCurrentItem) mCurrentIndex = mSize - mCurrentIndex + 1;
}

void ykstd_BaseSequence::Exchange(std::int32_t i, std::int32_t j) {
  if (i == j) return;
  if (i < 1 || j < 1 || i > mSize || j > mSize) {
    ykstd_TextStream text;
    text << "ykstd_BaseSequence::Exchange (i=" << i << ", j=" << j << ", mSize=" << mSize << ")";
    ykstd_fail_OutOfRange::Raise(text);
  }
  if (i > j) std::swap(i, j);
  ykstd_SeqNode* a = Find(i);
  ykstd_SeqNode* b = Find(j);
  ykstd_SeqNode* beforeA = a->Previous();
  ykstd_SeqNode* afterA = a->Next();
  ykstd_SeqNode* beforeB = b->Previous();
  ykstd_SeqNode* afterB = b->Next();
  if (afterA == b) {
    // Neighbours: a's outer link becomes b's and the other way round, with b now in front.
    b->Next() = a;
    a->Previous() = b;
  } else {
    b->Next() = afterA;
    afterA->Previous() = b;
    a->Previous() = beforeB;
    beforeB->Next() = a;
  }
  b->Previous() = beforeA;
  a->Next() = afterB;
  if (beforeA)
    beforeA->Next() = b;
  else
    mFirstItem = b;
  if (afterB)
    afterB->Previous() = a;
  else
    mLastItem = a;
  if (mCurrentItem == a)
    mCurrentItem = b;
  else if (mCurrentItem == b)
    mCurrentItem = a;
}
