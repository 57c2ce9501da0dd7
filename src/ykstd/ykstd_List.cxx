#include <ykstd/ykstd_Failure.hxx>
#include <ykstd/ykstd_List.hxx>

YKSTD_IMPLEMENT_LIST(IntList)
YKSTD_IMPLEMENT_LIST(TransientList)
YKSTD_IMPLEMENT_STACK(PtrStack)
YKSTD_IMPLEMENT_STACK(TransientStack)

void ykstd_LinkedSupport::RaiseNoSuchObject(const char* text) { ykstd_fail_NoSuchObject::Raise(text); }
void ykstd_LinkedSupport::RaiseNoMoreObject(const char* text) { ykstd_fail_NoMoreObject::Raise(text); }
void ykstd_LinkedSupport::RaiseNoMemory(const char* text) { ykstd_fail_OutOfMemory::Raise(text); }
