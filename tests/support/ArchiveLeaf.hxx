// A stored class under the one-letter name X whose body is the one byte 7: the smallest object
// whose bytes a test can write out in full.
#pragma once

#include <ykstd/ykstd_Archive.hxx>
#include <ykstd/ykstd_TShared.hxx>

namespace ykstd_test {

YKSTD_HANDLE(test_Leaf, ykstd_TShared);

class test_Leaf : public ykstd_TShared {
 public:
  void Serialize(ykstd_Archive& ar) override {
    unsigned char seven = 7;
    if (ar.IsStoring())
      ar << seven;
    else
      ar >> seven;
  }
  YKSTD_DECLARE_TYPE(test_Leaf);
};

}  // namespace ykstd_test
