#include <cstdlib>
#include <ostream>
#ifdef YKSTD_COUNTED_HEAP_LIMIT
#include <malloc.h>
#endif

#include <ykstd/ykstd_Failure.hxx>
#include <ykstd/ykstd_TShared.hxx>
#include <ykstd/ykstd_Type.hxx>

namespace {
std::int32_t failingAllocations = 0;

#ifdef YKSTD_COUNTED_HEAP_LIMIT
// Fuzz builds give counted objects a small heap of their own, so that a stored count which memory
// cannot hold reaches the null result of operator new in a moment instead of filling the machine.
std::size_t countedBytes = 0;
#endif

void* CountedAlloc(std::size_t size) noexcept {
  if (failingAllocations > 0) {
    --failingAllocations;
    return nullptr;
  }
#ifdef YKSTD_COUNTED_HEAP_LIMIT
  if (countedBytes + size > std::size_t{YKSTD_COUNTED_HEAP_LIMIT}) return nullptr;
  void* block = std::malloc(size);
  if (block) countedBytes += malloc_usable_size(block);
  return block;
#else
  return std::malloc(size);
#endif
}

void CountedFree(void* block) noexcept {
  if (!block) return;
#ifdef YKSTD_COUNTED_HEAP_LIMIT
  countedBytes -= malloc_usable_size(block);
#endif
  std::free(block);
}
}  // namespace

// ---- handles ----

void Hnd_ykstd_Transient::Assign(const ykstd_Transient* object) {
  // Take the new object before letting go of the old one: the old one may be its last owner.
  ykstd_Transient* incoming = Normalized(object);
  if (incoming != NullMarker()) ++incoming->count_;
  EndScope();
  entity_ = incoming;
}

ykstd_Transient* Hnd_ykstd_Transient::ControlAccess() const {
  if (entity_ == NullMarker()) ykstd_fail_NullObject::Raise("NULL_HANDLE");
  return entity_->Entity();
}

void Hnd_ykstd_Transient::Dump(std::ostream& out) const {
  if (IsNull())
    out << "[NullHandle]";
  else
    entity_->ShallowDump(out);
}

std::int32_t HashCode(const Hnd_ykstd_Transient& handle, std::int32_t upper) {
  if (handle.IsNull()) return -1;
  return handle->HashCode(upper);
}

// ---- the root ----

Hnd_ykstd_Transient ykstd_Transient::This() const { return Hnd_ykstd_Transient(this); }
void ykstd_Transient::Delete() const { delete this; }
ykstd_Transient::~ykstd_Transient() = default;
void ykstd_Transient::Serialize(ykstd_Archive&) {}
std::int16_t ykstd_Transient::PersistentIdx() const { return 0; }
const Hnd_ykstd_Type& ykstd_Transient::DynamicType() const { return ykstd_Transient_Type_(); }
unsigned char ykstd_Transient::IsKind(const Hnd_ykstd_Type& type) const {
  return (!type.IsNull() && type == ykstd_Transient_Type_()) ? 1 : 0;
}

std::int32_t ykstd_Transient::HashCode(std::int32_t upper) const {
  // The low address word as a signed number; its magnitude is taken in 64 bits so that the most
  // negative word still lands inside [0, upper).
  const auto low = static_cast<std::int32_t>(static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(this)));
  const std::int64_t magnitude = low < 0 ? -static_cast<std::int64_t>(low) : low;
  return static_cast<std::int32_t>(magnitude % upper);
}

void ykstd_Transient::ShallowDump(std::ostream& out) const { out << static_cast<const void*>(this); }
ykstd_Transient* ykstd_Transient::Entity() { return this; }
void ykstd_Transient::Initialize() {}

void* ykstd_Transient::operator new(std::size_t size) noexcept { return CountedAlloc(size); }
void ykstd_Transient::operator delete(void* block, std::size_t) noexcept { CountedFree(block); }
void ykstd_Transient::FailNextAllocations(std::int32_t count) noexcept { failingAllocations = count; }

Hnd_ykstd_Type& ykstd_Transient_Type_() {
  static ykstd_TypeRecord record("ykstd_Transient", static_cast<std::int32_t>(sizeof(ykstd_Transient)), nullptr);
  return record.Type();
}

// ---- descriptors ----

ykstd_Type::ykstd_Type(const char* name, std::int32_t size, std::int32_t parents, void* const ancestors)
    : name_(name),
      size_(static_cast<std::int16_t>(size)),
      parents_(static_cast<std::uint8_t>(parents)),
      ancestorCount_(0),
      ancestors_(ancestors) {
  if (!ancestors_) return;
  for (auto* walk = static_cast<const Hnd_ykstd_Type*>(ancestors_); !walk->IsNull(); ++walk) ++ancestorCount_;
}

YKSTD_IMPLEMENT_TYPE_NAMED(ykstd_Type, ykstd_Transient, "ykstd_Type")

void ykstd_Type::ShallowDump(std::ostream& out) const { Print(out); }
void ykstd_Type::Print(std::ostream& out) const { out << name_; }
void ykstd_Type::operator<<(std::ostream& out) const { Print(out); }

std::ostream& operator<<(std::ostream& out, const Hnd_ykstd_Type& type) {
  type->Print(out);
  return out;
}

ykstd_TypeRecord::ykstd_TypeRecord(const char* name, std::int32_t size, Hnd_ykstd_Type& (*baseTypeFn)()) {
  void* ancestors = nullptr;
  if (baseTypeFn) {
    // Nearest ancestor first, then the base's own ancestors, then the closing null handle.
    const Hnd_ykstd_Type& base = baseTypeFn();
    ancestors_.push_back(base);
    if (!base.IsNull()) {
      for (auto* walk = static_cast<const Hnd_ykstd_Type*>(base->Ancestors()); walk && !walk->IsNull(); ++walk)
        ancestors_.push_back(*walk);
    }
    ancestors_.emplace_back();
    ancestors = ancestors_.data();
  }
  type_ = new ykstd_Type(name, size, baseTypeFn ? 1 : 0, ancestors);
}

// ---- the shared base ----

void ykstd_TShared::Delete() const { delete this; }
ykstd_TShared::~ykstd_TShared() = default;
void ykstd_TShared::Serialize(ykstd_Archive&) {}
void* ykstd_TShared::operator new(std::size_t size) noexcept { return CountedAlloc(size); }
void ykstd_TShared::operator delete(void* block, std::size_t) noexcept { CountedFree(block); }

YKSTD_IMPLEMENT_TYPE(ykstd_TShared, ykstd_Transient)
