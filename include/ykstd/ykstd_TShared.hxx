// The data-less base of nearly every counted class.
#pragma once

#include <ykstd/ykstd_Type.hxx>

YKSTD_HANDLE(ykstd_TShared, ykstd_Transient);

class YKSTD_EXPORT ykstd_TShared : public ykstd_Transient {
 public:
  void Delete() const override;
  ~ykstd_TShared() override;
  void Serialize(ykstd_Archive& archive) override;

  static void* operator new(std::size_t size) noexcept;
  static void operator delete(void* block, std::size_t size) noexcept;

  YKSTD_DECLARE_TYPE(ykstd_TShared);
};
