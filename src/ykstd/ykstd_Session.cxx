#include <ykstd/ykstd_Session.hxx>

namespace ykstd_detail {
Hnd_ykstd_Session& CurrentSessionHandle();
Hnd_ykstd_VersionMapper& CurrentMapperHandle();
}  // namespace ykstd_detail

ykstd_Session::ykstd_Session() { ykstd_detail::CurrentSessionHandle() = this; }
ykstd_Session::~ykstd_Session() = default;
std::int32_t ykstd_Session::Init() { return 0; }
void ykstd_Session::Destroy() { ykstd_detail::CurrentSessionHandle().Nullify(); }
const Hnd_ykstd_Session& ykstd_Session::CurSession() { return ykstd_detail::CurrentSessionHandle(); }

YKSTD_IMPLEMENT_TYPE(ykstd_Session, ykstd_TShared)

ykstd_VersionMapper::ykstd_VersionMapper() { ykstd_detail::CurrentMapperHandle() = this; }
ykstd_VersionMapper::~ykstd_VersionMapper() = default;
void ykstd_VersionMapper::Destroy() { ykstd_detail::CurrentMapperHandle().Nullify(); }
const Hnd_ykstd_VersionMapper& ykstd_VersionMapper::CurMapper() { return ykstd_detail::CurrentMapperHandle(); }

YKSTD_IMPLEMENT_TYPE(ykstd_VersionMapper, ykstd_TShared)
