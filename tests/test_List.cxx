#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include <ykstd/ykstd.hxx>

#include "ykstd_TestRaised.hxx"

namespace {

std::vector<std::int32_t> Ints(std::initializer_list<std::int32_t> values) { return values; }

std::vector<std::int32_t> Elements(const ykstd_IntList& list) {
  std::vector<std::int32_t> out;
  for (ykstd_ListIteratorOfIntList it(list); it.More(); it.Next()) out.push_back(it.Value());
  EXPECT_EQ(list.Extent(), static_cast<std::int32_t>(out.size()));
  if (!out.empty()) {
    EXPECT_EQ(list.First(), out.front());
    EXPECT_EQ(list.Last(), out.back());
  }
  return out;
}

ykstd_IntList& Fill(ykstd_IntList& list, std::initializer_list<std::int32_t> values) {
  for (std::int32_t v : values) list.Append(v);
  return list;
}

TEST(List, AddAndRemoveAtTheEnds) {
  ykstd_IntList list;
  EXPECT_EQ(list.Extent(), 0);
  list.Append(2);
  list.Prepend(1);
  list.Append(3);
  EXPECT_EQ(Elements(list), Ints({1, 2, 3}));
  list.RemoveFirst();
  EXPECT_EQ(Elements(list), Ints({2, 3}));
  list.RemoveFirst();
  list.RemoveFirst();
  EXPECT_EQ(list.IsEmpty(), 1);
  list.RemoveFirst();  // nothing to remove
  list.Append(4);      // the last end was cleared with the first
  EXPECT_EQ(Elements(list), Ints({4}));
  list.Clear();
  list.Prepend(5);
  EXPECT_EQ(Elements(list), Ints({5}));
}

TEST(List, MovingAnotherListOrItself) {
  ykstd_IntList list;
  ykstd_IntList other;
  list.Prepend(Fill(other, {1, 2}));  // onto an empty list
  EXPECT_EQ(other.IsEmpty(), 1);
  list.Append(3);
  EXPECT_EQ(Elements(list), Ints({1, 2, 3}));
  list.Append(Fill(other, {4, 5}));
  list.Prepend(Fill(other, {0}));
  list.Append(other);
  list.Prepend(other);
  EXPECT_EQ(Elements(list), Ints({0, 1, 2, 3, 4, 5}));
  list.Append(list);
  list.Prepend(list);
  EXPECT_EQ(Elements(list), Ints({0, 1, 2, 3, 4, 5}));

  ykstd_IntList empty;
  empty.Append(Fill(other, {7}));
  EXPECT_EQ(Elements(empty), Ints({7}));

  ykstd_IntList copy;
  copy.Append(9);
  copy.Assign(list);
  list.First() = 100;
  EXPECT_EQ(Elements(copy), Ints({0, 1, 2, 3, 4, 5}));
  copy.Assign(copy);
  EXPECT_EQ(copy.Extent(), 6);
}

TEST(List, IteratorInsertsAtItsNode) {
  ykstd_IntList list;
  Fill(list, {1, 3});
  ykstd_ListIteratorOfIntList it(list);
  list.InsertBefore(0, it);  // before the first: a new first, and the iterator's previous node
  EXPECT_EQ(it.Value(), 1);
  list.InsertAfter(2, it);
  EXPECT_EQ(it.Value(), 1);
  it.Next();
  EXPECT_EQ(it.Value(), 2);
  it.Next();
  list.InsertAfter(4, it);  // after the last: a new last
  list.Append(5);
  EXPECT_EQ(Elements(list), Ints({0, 1, 2, 3, 4, 5}));

  ykstd_IntList other;
  list.InsertBefore(Fill(other, {21, 22}), it);  // it stays on 3
  list.InsertBefore(35, it);
  EXPECT_EQ(it.Value(), 3);
  list.InsertAfter(Fill(other, {31, 32}), it);
  it.Next();
  EXPECT_EQ(it.Value(), 31);
  list.InsertAfter(other, it);   // empty: nothing
  list.InsertBefore(other, it);  // empty: nothing
  list.InsertAfter(list, it);    // itself: nothing
  EXPECT_EQ(Elements(list), Ints({0, 1, 2, 21, 22, 35, 3, 31, 32, 4, 5}));

  ykstd_ListIteratorOfIntList atFirst(list);
  list.InsertBefore(Fill(other, {-2, -1}), atFirst);
  list.Remove(atFirst);  // the previous node, -1, stays
  list.InsertBefore(-5, atFirst);
  EXPECT_EQ(atFirst.Value(), 1);
  ykstd_ListIteratorOfIntList last(list);
  while (last.Value() != 5) last.Next();
  list.InsertAfter(Fill(other, {6, 7}), last);
  list.Append(8);
  EXPECT_EQ(Elements(list), Ints({-2, -1, -5, 1, 2, 21, 22, 35, 3, 31, 32, 4, 5, 6, 7, 8}));
}

TEST(List, IteratorRemovesAtBothEnds) {
  ykstd_IntList list;
  Fill(list, {1, 2, 3});
  ykstd_ListIteratorOfIntList it(list);
  list.Remove(it);  // the first: the iterator is on the new first, with no previous node
  EXPECT_EQ(it.Value(), 2);
  list.InsertBefore(9, it);
  EXPECT_EQ(list.First(), 9);
  it.Next();
  list.Remove(it);  // the last: the iteration ends and the previous node is the new last
  EXPECT_EQ(it.More(), 0);
  EXPECT_EQ(list.Last(), 2);
  list.Append(4);
  EXPECT_EQ(Elements(list), Ints({9, 2, 4}));

  ykstd_IntList single;
  single.Append(1);
  ykstd_ListIteratorOfIntList only(single);
  single.Remove(only);
  EXPECT_EQ(only.More(), 0);
  EXPECT_EQ(single.IsEmpty(), 1);
  single.Append(2);
  EXPECT_EQ(Elements(single), Ints({2}));
}

TEST(List, FailureTexts) {
  ykstd_IntList list;
  EXPECT_EQ(RaisedMessage([&] { list.First(); }), "EXCEPTION ykstd_fail_NoSuchObject : List:First");
  EXPECT_EQ(RaisedMessage([&] { list.Last(); }), "EXCEPTION ykstd_fail_NoSuchObject : List:Last");
  ykstd_ListIteratorOfIntList it(list);
  EXPECT_EQ(RaisedMessage([&] { list.Remove(it); }), "EXCEPTION ykstd_fail_NoSuchObject : ykstd_List::Remove");
  EXPECT_EQ(RaisedMessage([&] { list.InsertBefore(1, it); }),
            "EXCEPTION ykstd_fail_NoSuchObject : ykstd_List::InsertBefore");
  EXPECT_EQ(RaisedMessage([&] { list.InsertAfter(1, it); }),
            "EXCEPTION ykstd_fail_NoSuchObject : ykstd_List::InsertAfter");
  ykstd_IntList other;
  other.Append(1);
  EXPECT_EQ(RaisedMessage([&] { list.InsertAfter(other, it); }),
            "EXCEPTION ykstd_fail_NoSuchObject : ykstd_List::InsertAfter");
  EXPECT_EQ(other.Extent(), 1);
  EXPECT_EQ(RaisedMessage([&] { it.Value(); }), "EXCEPTION ykstd_fail_NoSuchObject : ykstd_ListIteratorOfList");
  EXPECT_EQ(RaisedMessage([&] { it.Next(); }), "EXCEPTION ykstd_fail_NoMoreObject : ykstd_ListIteratorOfList");
  ykstd_ListIteratorOfIntList unset;
  EXPECT_EQ(unset.More(), 0);

  list.Append(1);
  ykstd_Transient::FailNextAllocations(1);
  EXPECT_EQ(RaisedMessage([&] { list.Append(2); }), "EXCEPTION ykstd_fail_OutOfMemory : ykstd_List: Allocation failed");
  EXPECT_EQ(Elements(list), Ints({1}));
}

TEST(List, HandleElementsAndNodeTypes) {
  Hnd_ykstd_TShared object(new ykstd_TShared);
  {
    ykstd_TransientList list;
    list.Append(object);
    list.Prepend(Hnd_ykstd_Transient());
    EXPECT_EQ(object->GetRefCount(), 2);
    ykstd_ListIteratorOfTransientList it(list);
    EXPECT_TRUE(it.Value().IsNull());
    it.Next();
    EXPECT_TRUE(it.Value() == object);
  }
  EXPECT_EQ(object->GetRefCount(), 1);
  EXPECT_STREQ(ykstd_ListNodeOfIntList_Type_()->Name(), "ykstd_ListNodeOfIntList");
  EXPECT_STREQ(ykstd_ListNodeOfTransientList_Type_()->Name(), "ykstd_ListNodeOfTransientList");
  EXPECT_STREQ(ykstd_StackNodeOfPtrStack_Type_()->Name(), "ykstd_StackNodeOfPtrStack");
  EXPECT_STREQ(ykstd_StackNodeOfTransientStack_Type_()->Name(), "ykstd_StackNodeOfTransientStack");
  Hnd_ykstd_ListNodeOfIntList node(new ykstd_ListNodeOfIntList(1, nullptr));
  EXPECT_EQ(node->IsKind(ykstd_MapNode_Type_()), 1);
  EXPECT_TRUE(Hnd_ykstd_StackNodeOfPtrStack::DownCast(node).IsNull());
}

std::vector<std::int32_t> Walk(const ykstd_PtrStack& stack) {
  std::vector<std::int32_t> out;
  for (ykstd_StackIteratorOfPtrStack it(stack); it.More(); it.Next())
    out.push_back(*static_cast<std::int32_t*>(it.Value()));
  EXPECT_EQ(stack.Depth(), static_cast<std::int32_t>(out.size()));
  return out;
}

TEST(Stack, PushPopAndWalkFromTheTop) {
  std::int32_t a = 1, b = 2, c = 3;
  ykstd_PtrStack stack;
  stack.Push(&a);
  stack.Push(&b);
  EXPECT_EQ(stack.Top(), &b);
  EXPECT_EQ(Walk(stack), Ints({2, 1}));

  ykstd_PtrStack copy(stack);
  ykstd_PtrStack assigned;
  assigned.Push(&c);
  assigned.Assign(stack);
  assigned.Assign(assigned);
  stack.Pop();
  stack.ChangeTop() = &c;
  EXPECT_EQ(Walk(stack), Ints({3}));
  EXPECT_EQ(Walk(copy), Ints({2, 1}));
  EXPECT_EQ(Walk(assigned), Ints({2, 1}));
  copy = stack;
  EXPECT_EQ(Walk(copy), Ints({3}));
  assigned.Clear();
  EXPECT_EQ(assigned.Depth(), 0);
  assigned.Push(&a);
  EXPECT_EQ(Walk(assigned), Ints({1}));
}

TEST(Stack, FailureTexts) {
  ykstd_TransientStack stack;
  EXPECT_EQ(RaisedMessage([&] { stack.Top(); }), "EXCEPTION ykstd_fail_NoSuchObject : ykstd_Stack::Top");
  EXPECT_EQ(RaisedMessage([&] { stack.Pop(); }), "EXCEPTION ykstd_fail_NoSuchObject : ykstd_Stack::Pop");
  EXPECT_EQ(RaisedMessage([&] { stack.ChangeTop(); }), "EXCEPTION ykstd_fail_NoSuchObject : ykstd_Stack::ChangeTop");
  stack.Push(Hnd_ykstd_Transient());
  ykstd_StackIteratorOfTransientStack it(stack);
  it.Next();
  EXPECT_EQ(it.More(), 0);
  EXPECT_EQ(RaisedMessage([&] { it.Value(); }), "EXCEPTION ykstd_fail_NoSuchObject : ykstd_StackIterator::Value");
  EXPECT_EQ(RaisedMessage([&] { it.Next(); }), "EXCEPTION ykstd_fail_NoMoreObject : ykstd_StackIterator::Next");

  // Without memory for the nodes the copy raises and leaves a sound stack (and no leak).
  stack.Push(Hnd_ykstd_Transient());
  ykstd_TransientStack target;
  target.Push(Hnd_ykstd_Transient());
  ykstd_Transient::FailNextAllocations(1);
  EXPECT_EQ(RaisedMessage([&] { target.Assign(stack); }),
            "EXCEPTION ykstd_fail_OutOfMemory : ykstd_Stack: Allocation failed");
  EXPECT_EQ(target.Depth(), 0);
}

TEST(Stack, HandleElementsHoldCounts) {
  Hnd_ykstd_TShared object(new ykstd_TShared);
  {
    ykstd_TransientStack stack;
    stack.Push(object);
    stack.Push(object);
    ykstd_TransientStack copy(stack);
    EXPECT_EQ(object->GetRefCount(), 5);
    stack.Pop();
    EXPECT_EQ(object->GetRefCount(), 4);
  }
  EXPECT_EQ(object->GetRefCount(), 1);
}

}  // namespace
