#include <cstdlib>

#include <ykstd/ykstd_Arr1.hxx>
#include <ykstd/ykstd_Failure.hxx>

YKSTD_IMPLEMENT_HARRAY1(BoolHArr1)
YKSTD_IMPLEMENT_HARRAY1(IntHArr1)
YKSTD_IMPLEMENT_HARRAY1(PtrHArr1)
YKSTD_IMPLEMENT_HARRAY1(RealHArr1)

void ykstd_Array1Support::RaiseCreate() { ykstd_fail_RangeError::Raise("ykstd_Array1::Create(int,int)"); }
void ykstd_Array1Support::RaiseWrap() { ykstd_fail_RangeError::Raise("ykstd_Array1::ykstd_Array1(CArray,int,int)"); }
void ykstd_Array1Support::RaiseNoMemory() { ykstd_fail_OutOfMemory::Raise("ykstd_Array1: Allocation failed"); }
void ykstd_Array1Support::RaiseAssign() { ykstd_fail_DimensionMismatch::Raise("in ykstd_Array1::Assign"); }
void ykstd_Array1Support::RaiseValue() { ykstd_fail_OutOfRange::Raise("EXCEPTION: OutOfRange in Value method"); }
void ykstd_Array1Support::RaiseChangeValue() {
  ykstd_fail_OutOfRange::Raise("EXCEPTION: OutOfRange in ChangeValue method");
}
void ykstd_Array1Support::RaiseSetValue() { ykstd_fail_OutOfRange::Raise("EXCEPTION: OutOfRange in SetValue method"); }

void* ykstd_Array1Support::Allocate(std::int64_t count, std::size_t size, bool zeroed) {
  // A length must fit the 32-bit Length(); anything larger could never be addressed by index.
  if (count < 1 || count > INT32_MAX) RaiseNoMemory();
  const auto n = static_cast<std::size_t>(count);
#ifdef YKSTD_COUNTED_HEAP_LIMIT
  // Fuzz builds bound arrays as they bound counted objects: bounds from a damaged stream then fail
  // at once instead of costing the sanitizer's bookkeeping for gigabytes.
  if (n > std::size_t{YKSTD_COUNTED_HEAP_LIMIT} / size) RaiseNoMemory();
#endif
  void* block = zeroed ? std::calloc(n, size) : std::malloc(n * size);
  if (!block) RaiseNoMemory();
  return block;
}

void ykstd_Array1Support::Free(void* block) noexcept { std::free(block); }
