// Lists and stacks: small singly linked containers for cases where positions do not matter.
//
// One template per kind holds the logic; each named class is one line:
//   YKSTD_LIST(IntList, std::int32_t, ykstd_FormLong);   // ykstd_IntList, its node and iterator
//   YKSTD_STACK(PtrStack, void*, ykstd_FormNone);        // ykstd_PtrStack, its node and iterator
// plus YKSTD_IMPLEMENT_LIST(IntList) or YKSTD_IMPLEMENT_STACK(PtrStack) in one source file for the
// node's descriptor. The third argument is the element's stored form (ykstd_CollectionStore.hxx).
#pragma once

#include <cstdint>

#include <ykstd/ykstd_CollectionStore.hxx>
#include <ykstd/ykstd_MapNode.hxx>

// The failures of lists and stacks, raised out of line.
class YKSTD_EXPORT ykstd_LinkedSupport {
 public:
  [[noreturn]] static void RaiseNoSuchObject(const char* text);
  [[noreturn]] static void RaiseNoMoreObject(const char* text);
  [[noreturn]] static void RaiseNoMemory(const char* text);
};

// The node of a list or a stack: the link and the element by value.
template <class T>
class YKSTD_EXPORT ykstd_LinkNodeOf : public ykstd_MapNode {
 public:
  ykstd_LinkNodeOf(const T& value, ykstd_MapNode* const& next) : ykstd_MapNode(next), value_(value) {}
  T& Value() { return value_; }

 private:
  T value_;
};

template <class Self, class T, class Node, class Iter, class Form>
class ykstd_List;

// Walks a list from first to last; it remembers the node before the current one, which is what
// lets the list insert and remove at the iterator.
template <class L, class Node, class T>
class YKSTD_EXPORT ykstd_ListIterator {
 public:
  ykstd_ListIterator() noexcept = default;
  explicit ykstd_ListIterator(const L& list) noexcept { Initialize(list); }
  void Initialize(const L& list) noexcept {
    mCurrent = list.mFirst;
    mPrevious = nullptr;
  }
  unsigned char More() const { return mCurrent ? 1 : 0; }
  void Next() {
    if (!mCurrent) ykstd_LinkedSupport::RaiseNoMoreObject("ykstd_ListIteratorOfList");
    mPrevious = mCurrent;
    mCurrent = mCurrent->Next();
  }
  T& Value() const {
    if (!mCurrent) ykstd_LinkedSupport::RaiseNoSuchObject("ykstd_ListIteratorOfList");
    return static_cast<Node*>(mCurrent)->Value();
  }

 private:
  template <class, class, class, class, class>
  friend class ykstd_List;
  ykstd_MapNode* mCurrent = nullptr;
  ykstd_MapNode* mPrevious = nullptr;
};

// Self is the list class, T its element, Node its node class, Iter its iterator, Form the stored
// form of an element. The list keeps no count.
template <class Self, class T, class Node, class Iter, class Form>
class YKSTD_EXPORT ykstd_List {
 public:
  using Element = T;

  ykstd_List() noexcept = default;
  ykstd_List& operator=(const ykstd_List&) = delete;
  virtual ~ykstd_List() { Clear(); }

  void Assign(const Self& other) {
    if (&other == this) return;
    Clear();
    AppendCopies(other);
  }
  void Clear() noexcept {
    while (mFirst) DropFirst();
    mLast = nullptr;
  }
  std::int32_t Extent() const {
    std::int32_t n = 0;
    for (ykstd_MapNode* node = mFirst; node; node = node->Next()) ++n;
    return n;
  }
  unsigned char IsEmpty() const { return mFirst ? 0 : 1; }

  T& First() const {
    if (!mFirst) ykstd_LinkedSupport::RaiseNoSuchObject("List:First");
    return AsNode(mFirst)->Value();
  }
  T& Last() const {
    if (!mLast) ykstd_LinkedSupport::RaiseNoSuchObject("List:Last");
    return AsNode(mLast)->Value();
  }

  void Append(const T& value) {
    Node* node = NewNode(value, nullptr);
    LinkRun(node, node);
  }
  void Prepend(const T& value) {
    Node* node = NewNode(value, mFirst);
    mFirst = node;
    if (!mLast) mLast = node;
  }
  // Moving another list takes its nodes, leaving it empty. A list given itself stays as it is: it
  // cannot both keep its nodes and end empty.
  void Append(Self& other) {
    if (&other == this || !other.mFirst) return;
    LinkRun(other.mFirst, other.mLast);
    other.Forget();
  }
  void Prepend(Self& other) {
    if (&other == this || !other.mFirst) return;
    other.mLast->Next() = mFirst;
    if (!mLast) mLast = other.mLast;
    mFirst = other.mFirst;
    other.Forget();
  }

  // After the iterator's node; the iterator stays on its node.
  void InsertAfter(const T& value, Iter& it) {
    ykstd_MapNode* at = Current(it, "ykstd_List::InsertAfter");
    Node* node = NewNode(value, nullptr);
    SpliceAfter(at, node, node);
  }
  void InsertAfter(Self& other, Iter& it) {
    ykstd_MapNode* at = Current(it, "ykstd_List::InsertAfter");
    if (&other == this || !other.mFirst) return;
    SpliceAfter(at, other.mFirst, other.mLast);
    other.Forget();
  }
  // Before the iterator's node; what comes in ends as the iterator's previous node.
  void InsertBefore(const T& value, Iter& it) {
    ykstd_MapNode* at = Current(it, "ykstd_List::InsertBefore");
    Node* node = NewNode(value, at);
    SpliceBefore(it, node, node);
  }
  void InsertBefore(Self& other, Iter& it) {
    ykstd_MapNode* at = Current(it, "ykstd_List::InsertBefore");
    if (&other == this || !other.mFirst) return;
    other.mLast->Next() = at;
    SpliceBefore(it, other.mFirst, other.mLast);
    other.Forget();
  }

  // Destroys the iterator's node; the iterator moves on to the next one and keeps its previous.
  void Remove(Iter& it) {
    ykstd_MapNode* node = Current(it, "ykstd_List::Remove");
    ykstd_MapNode* next = node->Next();
    if (it.mPrevious)
      it.mPrevious->Next() = next;
    else
      mFirst = next;
    if (node == mLast) mLast = it.mPrevious;
    delete AsNode(node);
    it.mCurrent = next;
  }
  void RemoveFirst() {
    if (!mFirst) return;
    DropFirst();
    if (!mFirst) mLast = nullptr;
  }

  // Head: the extent as a plain long; then the elements from first to last. Loading appends.
  virtual void Serialize(ykstd_Archive& archive) {
    if (ykstd_CollectionStore::IsLoading(archive)) {
      ykstd_CollectionStore::LoadEach<Form, T>(archive, ykstd_CollectionStore::LoadLong(archive),
                                               [this](const T& value) { Append(value); });
    } else {
      ykstd_CollectionStore::StoreLong(archive, Extent());
      for (ykstd_MapNode* node = mFirst; node; node = node->Next())
        ykstd_CollectionStore::Store(archive, Form{}, AsNode(node)->Value());
    }
  }

 private:
  friend class ykstd_ListIterator<Self, Node, T>;

  ykstd_List(const ykstd_List& other) {
    try {
      AppendCopies(static_cast<const Self&>(other));
    } catch (...) {
      Clear();
      throw;
    }
  }

  static Node* AsNode(ykstd_MapNode* node) { return static_cast<Node*>(node); }
  static Node* NewNode(const T& value, ykstd_MapNode* next) {
    Node* node = new Node(value, next);
    if (!node) ykstd_LinkedSupport::RaiseNoMemory("ykstd_List: Allocation failed");
    return node;
  }
  static ykstd_MapNode* Current(const Iter& it, const char* operation) {
    if (!it.mCurrent) ykstd_LinkedSupport::RaiseNoSuchObject(operation);
    return it.mCurrent;
  }
  void AppendCopies(const Self& other) {
    for (ykstd_MapNode* node = other.mFirst; node; node = node->Next()) Append(AsNode(node)->Value());
  }
  void LinkRun(ykstd_MapNode* head, ykstd_MapNode* tail) {
    if (mLast)
      mLast->Next() = head;
    else
      mFirst = head;
    mLast = tail;
  }
  void SpliceAfter(ykstd_MapNode* at, ykstd_MapNode* head, ykstd_MapNode* tail) {
    tail->Next() = at->Next();
    at->Next() = head;
    if (at == mLast) mLast = tail;
  }
  // head..tail already ends in the iterator's node.
  void SpliceBefore(Iter& it, ykstd_MapNode* head, ykstd_MapNode* tail) {
    if (it.mPrevious)
      it.mPrevious->Next() = head;
    else
      mFirst = head;
    it.mPrevious = tail;
  }
  void DropFirst() noexcept {
    ykstd_MapNode* node = mFirst;
    mFirst = node->Next();
    delete AsNode(node);
  }
  void Forget() noexcept { mFirst = mLast = nullptr; }

  ykstd_MapNode* mFirst = nullptr;
  ykstd_MapNode* mLast = nullptr;
};

// Walks a stack from the top down.
template <class S, class Node, class T>
class YKSTD_EXPORT ykstd_StackIterator {
 public:
  ykstd_StackIterator() noexcept = default;
  explicit ykstd_StackIterator(const S& stack) noexcept { Initialize(stack); }
  void Initialize(const S& stack) noexcept { mCurrent = stack.mTop; }
  unsigned char More() const { return mCurrent ? 1 : 0; }
  // Past the bottom there is nothing to move to: it raises, as a list iterator does.
  void Next() {
    if (!mCurrent) ykstd_LinkedSupport::RaiseNoMoreObject("ykstd_StackIterator::Next");
    mCurrent = mCurrent->Next();
  }
  const T& Value() const {
    if (!mCurrent) ykstd_LinkedSupport::RaiseNoSuchObject("ykstd_StackIterator::Value");
    return static_cast<Node*>(mCurrent)->Value();
  }

 private:
  ykstd_MapNode* mCurrent = nullptr;
};

// Self is the stack class, T its element, Node its node class, Iter its iterator, Form the stored
// form of an element.
template <class Self, class T, class Node, class Iter, class Form>
class YKSTD_EXPORT ykstd_Stack {
 public:
  using Element = T;

  ykstd_Stack() noexcept = default;
  // Copies the chain in order, so the top stays the top.
  ykstd_Stack(const ykstd_Stack& other) {
    try {
      CopyChain(other);
    } catch (...) {
      Clear();
      throw;
    }
  }
  ykstd_Stack& operator=(const ykstd_Stack& other) {
    Assign(static_cast<const Self&>(other));
    return *this;
  }
  virtual ~ykstd_Stack() { Clear(); }

  const Self& Assign(const Self& other) {
    if (&other != this) {
      Clear();
      CopyChain(other);
    }
    return static_cast<const Self&>(*this);
  }

  std::int32_t Depth() const { return mDepth; }
  unsigned char IsEmpty() const { return mTop ? 0 : 1; }

  void Push(const T& value) {
    Node* node = NewNode(value, mTop);
    mTop = node;
    ++mDepth;
  }
  void Pop() {
    if (!mTop) ykstd_LinkedSupport::RaiseNoSuchObject("ykstd_Stack::Pop");
    DropTop();
  }
  const T& Top() const {
    if (!mTop) ykstd_LinkedSupport::RaiseNoSuchObject("ykstd_Stack::Top");
    return AsNode(mTop)->Value();
  }
  T& ChangeTop() {
    if (!mTop) ykstd_LinkedSupport::RaiseNoSuchObject("ykstd_Stack::ChangeTop");
    return AsNode(mTop)->Value();
  }
  void Clear() noexcept {
    while (mTop) DropTop();
  }

  // Head: the depth as a plain long; then the elements from top to bottom. Loading pushes them in
  // stored order, so a loaded stack is the stored one upside down.
  virtual void Serialize(ykstd_Archive& archive) {
    if (ykstd_CollectionStore::IsLoading(archive)) {
      ykstd_CollectionStore::LoadEach<Form, T>(archive, ykstd_CollectionStore::LoadLong(archive),
                                               [this](const T& value) { Push(value); });
    } else {
      ykstd_CollectionStore::StoreLong(archive, mDepth);
      for (ykstd_MapNode* node = mTop; node; node = node->Next())
        ykstd_CollectionStore::Store(archive, Form{}, AsNode(node)->Value());
    }
  }

 private:
  friend class ykstd_StackIterator<Self, Node, T>;

  static Node* AsNode(ykstd_MapNode* node) { return static_cast<Node*>(node); }
  static Node* NewNode(const T& value, ykstd_MapNode* next) {
    Node* node = new Node(value, next);
    if (!node) ykstd_LinkedSupport::RaiseNoMemory("ykstd_Stack: Allocation failed");
    return node;
  }
  // Appends copies of other's nodes below what this stack holds, one by one, so that a failure
  // leaves a sound (shorter) stack.
  void CopyChain(const ykstd_Stack& other) {
    ykstd_MapNode* bottom = mTop;
    while (bottom && bottom->Next()) bottom = bottom->Next();
    for (ykstd_MapNode* node = other.mTop; node; node = node->Next()) {
      Node* copy = NewNode(AsNode(node)->Value(), nullptr);
      if (bottom)
        bottom->Next() = copy;
      else
        mTop = copy;
      bottom = copy;
      ++mDepth;
    }
  }
  void DropTop() noexcept {
    ykstd_MapNode* node = mTop;
    mTop = node->Next();
    --mDepth;
    delete AsNode(node);
  }

  ykstd_MapNode* mTop = nullptr;
  std::int32_t mDepth = 0;
};

template <class Self, class T, class Node, class Iter, class Form>
ykstd_Archive& operator<<(ykstd_Archive& archive, ykstd_List<Self, T, Node, Iter, Form>& list) {
  list.Serialize(archive);
  return archive;
}
template <class Self, class T, class Node, class Iter, class Form>
ykstd_Archive& operator>>(ykstd_Archive& archive, ykstd_List<Self, T, Node, Iter, Form>& list) {
  list.Serialize(archive);
  return archive;
}
template <class Self, class T, class Node, class Iter, class Form>
ykstd_Archive& operator<<(ykstd_Archive& archive, ykstd_Stack<Self, T, Node, Iter, Form>& stack) {
  stack.Serialize(archive);
  return archive;
}
template <class Self, class T, class Node, class Iter, class Form>
ykstd_Archive& operator>>(ykstd_Archive& archive, ykstd_Stack<Self, T, Node, Iter, Form>& stack) {
  stack.Serialize(archive);
  return archive;
}

// NODE is the node class prefix (ListNodeOf, StackNodeOf), ITER the iterator's, KIND the template.
#define YKSTD_LINKED_MEMBER(NAME, ELEMENT, FORM, NODE, ITER, ITERKIND, KIND)                                           \
  YKSTD_HANDLE(ykstd_##NODE##NAME, ykstd_MapNode);                                                                     \
  class YKSTD_EXPORT ykstd_##NODE##NAME : public ykstd_LinkNodeOf<ELEMENT> {                                           \
   public:                                                                                                             \
    using ykstd_LinkNodeOf<ELEMENT>::ykstd_LinkNodeOf;                                                                 \
    YKSTD_DECLARE_TYPE(ykstd_##NODE##NAME);                                                                            \
  };                                                                                                                   \
  class ykstd_##NAME;                                                                                                  \
  class YKSTD_EXPORT ykstd_##ITER##NAME : public ITERKIND<ykstd_##NAME, ykstd_##NODE##NAME, ELEMENT> {                 \
   public:                                                                                                             \
    using ITERKIND<ykstd_##NAME, ykstd_##NODE##NAME, ELEMENT>::ITERKIND;                                               \
  };                                                                                                                   \
  class YKSTD_EXPORT ykstd_##NAME : public KIND<ykstd_##NAME, ELEMENT, ykstd_##NODE##NAME, ykstd_##ITER##NAME, FORM> { \
   public:                                                                                                             \
    ykstd_##NAME() noexcept = default;                                                                                 \
  }

#define YKSTD_LIST(NAME, ELEMENT, FORM) \
  YKSTD_LINKED_MEMBER(NAME, ELEMENT, FORM, ListNodeOf, ListIteratorOf, ykstd_ListIterator, ykstd_List)
#define YKSTD_STACK(NAME, ELEMENT, FORM) \
  YKSTD_LINKED_MEMBER(NAME, ELEMENT, FORM, StackNodeOf, StackIteratorOf, ykstd_StackIterator, ykstd_Stack)
#define YKSTD_IMPLEMENT_LIST(NAME) YKSTD_IMPLEMENT_TYPE(ykstd_ListNodeOf##NAME, ykstd_MapNode)
#define YKSTD_IMPLEMENT_STACK(NAME) YKSTD_IMPLEMENT_TYPE(ykstd_StackNodeOf##NAME, ykstd_MapNode)

YKSTD_LIST(IntList, std::int32_t, ykstd_FormLong);
YKSTD_LIST(TransientList, Hnd_ykstd_Transient, ykstd_FormObject);
YKSTD_STACK(PtrStack, void*, ykstd_FormNone);
YKSTD_STACK(TransientStack, Hnd_ykstd_Transient, ykstd_FormObject);
