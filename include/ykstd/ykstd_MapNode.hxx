// The link of the singly chained collections: hash maps, lists and stacks.
#pragma once

#include <ykstd/ykstd_TShared.hxx>

YKSTD_HANDLE(ykstd_MapNode, ykstd_TShared);

// A node is counted by descent only: its collection links it by plain pointers and destroys it
// through the virtual destructor, so its reference count stays unused.
class YKSTD_EXPORT ykstd_MapNode : public ykstd_TShared {
 public:
  explicit ykstd_MapNode(ykstd_MapNode* const& next) noexcept : mNext(next) {}
  ~ykstd_MapNode() override;

  // The following node of the chain, null at its end.
  ykstd_MapNode*& Next() noexcept { return mNext; }
  ykstd_MapNode* Next() const noexcept { return mNext; }

  YKSTD_DECLARE_TYPE(ykstd_MapNode);

 private:
  ykstd_MapNode* mNext;
};
