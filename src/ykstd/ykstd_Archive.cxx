#include <algorithm>
#include <bit>
#include <cstdlib>
#include <deque>
#include <new>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <ykstd/ykstd_Archive.hxx>
#include <ykstd/ykstd_Failure.hxx>
#include <ykstd/ykstd_Session.hxx>
#include <ykstd/ykstd_Type.hxx>

#include "ykstd_DeepStack.hxx"

const std::int16_t EOC = 0x0E0C;

namespace ykstd_detail {

// Object pointer to number, by open addressing: the lookup of every stored handle goes through
// it, so it avoids the node allocations and string hashing of the general maps.
class PointerNumbers {
 public:
  std::int32_t Find(const void* key) const {
    if (slots_.empty()) return 0;
    for (std::size_t i = Slot(key);; i = (i + 1) & mask_) {
      if (slots_[i].key == key) return slots_[i].number;
      if (!slots_[i].key) return 0;
    }
  }
  void Bind(const void* key, std::int32_t number) {
    if ((used_ + 1) * 4 >= slots_.size() * 3) Grow();
    std::size_t i = Slot(key);
    while (slots_[i].key && slots_[i].key != key) i = (i + 1) & mask_;
    if (!slots_[i].key) ++used_;
    slots_[i] = {key, number};
  }
  void Clear() {
    slots_.clear();
    used_ = 0;
    mask_ = 0;
    shift_ = 63;
  }

 private:
  struct Entry {
    const void* key;
    std::int32_t number;
  };
  // Fibonacci hashing: the top bits of the product mix every bit of the address, so that the
  // regular spacing of heap blocks does not cluster the probes.
  std::size_t Slot(const void* key) const {
    const auto bits = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(key));
    return static_cast<std::size_t>((bits * 0x9E3779B97F4A7C15ull) >> shift_);
  }
  void Grow() {
    std::vector<Entry> old(std::max<std::size_t>(64, slots_.size() * 2), Entry{nullptr, 0});
    old.swap(slots_);
    mask_ = slots_.size() - 1;
    shift_ = 64 - std::countr_zero(slots_.size());
    used_ = 0;
    for (const Entry& e : old)
      if (e.key) Bind(e.key, e.number);
  }

  std::vector<Entry> slots_;
  std::size_t used_ = 0;
  std::size_t mask_ = 0;
  int shift_ = 63;
};

// The class and object maps of one archive, in the shape its direction needs, and the set of
// objects that a partial store writes in full.
class ArchiveMaps {
 public:
  bool hasObjMap = false;
  bool hasClassMap = false;

  // Storing. The handles keep every numbered object alive, so that no address is reused for
  // another object while the archive is open.
  PointerNumbers objNumbers;
  std::deque<Hnd_ykstd_Transient> numbered;
  std::unordered_map<std::string, std::int32_t> classNumbers;
  // The type names are static texts: the last one looked up spares the string hashing.
  const char* lastClassText = nullptr;
  std::int32_t lastClassNumber = 0;

  // Loading: number to object and number to class name (slot 0 unused).
  std::deque<Hnd_ykstd_Transient> objects;
  std::vector<ykstd_AsciiString> classes;

  PointerNumbers toStore;
  std::vector<Hnd_ykstd_Transient> toStoreKept;

  void DropObjMap() {
    hasObjMap = false;
    objNumbers.Clear();
    numbered.clear();
    objects.clear();
  }
  void DropClassMap() {
    hasClassMap = false;
    classNumbers.clear();
    lastClassText = nullptr;
    lastClassNumber = 0;
    classes.clear();
  }
};

// Nesting of objects is limited by memory alone: a stack segment that cannot be had is the
// archive's own shortage of memory.
template <class F>
auto Deeper(const char* where, F&& body) -> decltype(body()) {
  try {
    return ykstd_detail::WithDeepStack(body);
  } catch (const std::bad_alloc&) {
    ykstd_fail_OutOfMemory::Raise(where);
  }
}

}  // namespace ykstd_detail

namespace {

// The platform takes wide names; the stream names are plain ASCII.
std::wstring WideName(const char* name) {
  try {
    std::wstring wide;
    for (const char* p = name ? name : ""; *p; ++p)
      wide.push_back(static_cast<wchar_t>(static_cast<unsigned char>(*p)));
    return wide;
  } catch (const std::bad_alloc&) {
    _com_issue_error(E_OUTOFMEMORY);
  }
}

}  // namespace

ykstd_Archive::ykstd_Archive(IStorage* storage_, const char* name, std::int32_t mode_, std::int32_t bufferSize_,
                             void* buffer)
    : dataVersion(0),
      fileName(name),
      storage(storage_),
      mode(mode_),
      userBuffer(0),
      bufferSize(0),
      stream(nullptr),
      bufCur(nullptr),
      bufMax(nullptr),
      bufStart(nullptr),
      objCount(0),
      classCount(0),
      hashSize(0),
      objOnly(0),
      maps(new ykstd_detail::ArchiveMaps) {
  if (!storage) return;
  storage->AddRef();

  const std::wstring wide = WideName(name);
  if (mode == ModeStore) {
    if (FAILED(storage->CreateStream(wide.c_str(), STGM_WRITE | STGM_SHARE_EXCLUSIVE, 0, 0, &stream)) || !stream) {
      stream = nullptr;
      if (SUCCEEDED(storage->OpenStream(wide.c_str(), nullptr, STGM_WRITE | STGM_SHARE_EXCLUSIVE, 0, &stream)) &&
          stream) {
        // Cuts the old content; writing starts at the stream's beginning all the same.
        ULARGE_INTEGER size;
        size.QuadPart = 4;
        stream->SetSize(size);
      } else {
        stream = nullptr;
      }
    }
  } else if (FAILED(storage->OpenStream(wide.c_str(), nullptr, STGM_SHARE_EXCLUSIVE | STGM_READ, 0, &stream))) {
    stream = nullptr;
  }
  if (!stream) return;

  hashSize = 137;
  bufStart = static_cast<unsigned char*>(buffer);
  userBuffer = 1;
  if (bufferSize_ < 128) {
    bufferSize_ = 128;
    bufStart = nullptr;
  }
  bufferSize = bufferSize_;
  if (!bufStart) {
    bufStart = static_cast<unsigned char*>(std::malloc(static_cast<std::size_t>(bufferSize)));
    if (!bufStart) {
      stream->Release();
      stream = nullptr;
      storage->Release();
      _com_issue_error(E_OUTOFMEMORY);
    }
    userBuffer = 0;
  }
  bufMax = bufStart + bufferSize;
  bufCur = (mode & 2) ? bufMax : bufStart;
}

ykstd_Archive::~ykstd_Archive() {
  if (stream) {
    try {
      Close();
    } catch (...) {
      // A destructor gives up quietly; Abort below still frees what the archive holds.
    }
  }
  Abort();
  if (storage) storage->Release();
}

void ykstd_Archive::Close() {
  if (!stream) return;
  Flush();
  if (mode == ModeStore) stream->Commit(STGC_OVERWRITE);
  stream->Release();
  stream = nullptr;
}

void ykstd_Archive::Abort() {
  if (stream) {
    if (mode == ModeStore) stream->Commit(STGC_OVERWRITE);
    stream->Release();
    stream = nullptr;
  }
  if (!userBuffer) std::free(bufStart);
  bufStart = bufCur = bufMax = nullptr;
  maps->DropObjMap();
  maps->DropClassMap();
  maps->toStore.Clear();
  maps->toStoreKept.clear();
  objNeedUsrs.Clear();
  fileNames.Clear();
}

void ykstd_Archive::Flush() {
  if (!stream) return;
  if (mode & 2) {
    if (bufCur != bufMax) {
      LARGE_INTEGER back;
      back.QuadPart = bufCur - bufMax;
      stream->Seek(back, STREAM_SEEK_CUR, nullptr);
    }
    bufCur = bufMax;
  } else {
    if (bufCur != bufStart) stream->Write(bufStart, static_cast<ULONG>(bufCur - bufStart), nullptr);
    bufCur = bufStart;
  }
}

void ykstd_Archive::MakeRoom() {
  if (!stream) _com_issue_error(E_POINTER);
  Flush();
  if (bufMax - bufCur < 8) ykstd_fail_ProgramError::Raise("ykstd_Archive: writing to an archive that loads");
}

void ykstd_Archive::FillBuffer(std::int32_t additional) {
  if (!stream) _com_issue_error(E_POINTER);
  std::ptrdiff_t unread = bufMax - bufCur;
  const std::ptrdiff_t needed = unread + additional;
  if (bufCur > bufStart) {
    std::memmove(bufStart, bufCur, static_cast<std::size_t>(unread));
    // Reading stops once what was unread plus what came covers `additional`, not `needed`: a stream
    // of short reads can end here with too few bytes, and the check below then fails.
    ULONG got = 0;
    do {
      got = 0;
      stream->Read(bufStart + unread, static_cast<ULONG>(bufferSize - unread), &got);
      unread += std::min<std::ptrdiff_t>(got, bufferSize - unread);
    } while (got != 0 && unread < bufferSize && unread < additional);
    bufCur = bufStart;
    bufMax = bufStart + unread;
  }
  if (bufMax - bufCur < needed) ykstd_fail_SystemError::Raise("ykstd_Archive::FillBuffer");
}

std::int32_t ykstd_Archive::Read(void* buffer, std::int32_t n) {
  if (!stream || n <= 0 || !IsLoading()) return 0;
  auto* out = static_cast<unsigned char*>(buffer);
  const std::int32_t first = static_cast<std::int32_t>(std::min<std::ptrdiff_t>(n, bufMax - bufCur));
  std::memcpy(out, bufCur, static_cast<std::size_t>(first));
  bufCur += first;
  if (first == n) return n;

  std::int32_t left = n - first;
  out += first;
  const std::int32_t direct = left - left % bufferSize;
  std::int32_t came = 0;
  while (came < direct) {
    ULONG got = 0;
    stream->Read(out + came, static_cast<ULONG>(direct - came), &got);
    if (got == 0) break;
    came += static_cast<std::int32_t>(std::min<ULONG>(got, static_cast<ULONG>(direct - came)));
  }
  if (came < direct) return first + came;
  left -= direct;
  out += direct;

  std::int32_t filled = 0;
  while (filled < bufferSize && filled < left) {
    ULONG got = 0;
    stream->Read(bufStart + filled, static_cast<ULONG>(bufferSize - filled), &got);
    if (got == 0) break;
    filled += static_cast<std::int32_t>(std::min<ULONG>(got, static_cast<ULONG>(bufferSize - filled)));
  }
  bufCur = bufStart;
  bufMax = bufStart + filled;
  const std::int32_t last = std::min(left, filled);
  std::memcpy(out, bufCur, static_cast<std::size_t>(last));
  bufCur += last;
  return first + direct + last;
}

void ykstd_Archive::Write(const void* buffer, std::int32_t n) {
  if (!stream || n <= 0 || !IsStoring() || IsLoading()) return;
  auto* in = static_cast<const unsigned char*>(buffer);
  const std::int32_t first = static_cast<std::int32_t>(std::min<std::ptrdiff_t>(n, bufMax - bufCur));
  std::memcpy(bufCur, in, static_cast<std::size_t>(first));
  bufCur += first;
  if (first == n) return;
  std::int32_t left = n - first;
  in += first;
  Flush();
  const std::int32_t direct = left - left % bufferSize;
  if (direct > 0) stream->Write(in, static_cast<ULONG>(direct), nullptr);
  std::memcpy(bufCur, in + direct, static_cast<std::size_t>(left - direct));
  bufCur += left - direct;
}

// ---- strings and counts ----

std::int32_t ykstd_Archive::ReadStringLength() {
  unsigned char byte = 0;
  *this >> byte;
  if (byte < 0xFF) return byte;
  // Behind the byte 0xFF the length takes the count form.
  return static_cast<std::int32_t>(ReadCount());
}

void ykstd_Archive::WriteStringLength(std::int32_t length) {
  if (length < 0xFF) {
    *this << static_cast<unsigned char>(length);
  } else {
    *this << static_cast<unsigned char>(0xFF) << static_cast<std::uint16_t>(length);
  }
}

ykstd_Archive& operator<<(ykstd_Archive& archive, const ykstd_AsciiString& text) {
  archive.WriteStringLength(text.Length());
  archive.Write(text.Text(), text.Length());
  return archive;
}

ykstd_Archive& operator>>(ykstd_Archive& archive, ykstd_AsciiString& text) {
  const std::int32_t length = archive.ReadStringLength();
  if (length == 0) {
    text.Clear();
    return archive;
  }
  // No string holds more than MaxLength bytes, so a longer or negative length is damage; within
  // that bound a length of 1024 and more is read whole.
  if (length < 0 || length > ykstd_AsciiString::MaxLength)
    ykstd_fail_OutOfRange::Raise("while reading AsciiString: length out of range");
  char small[1024];
  std::unique_ptr<char[]> large;
  char* bytes = small;
  if (length >= static_cast<std::int32_t>(sizeof small)) {
    large.reset(new char[static_cast<std::size_t>(length) + 1]);
    bytes = large.get();
  }
  if (archive.Read(bytes, length) < length)
    ykstd_fail_NoMoreObject::Raise("while reading AsciiString: end of file reached");
  bytes[length] = '\0';
  text = ykstd_AsciiString(bytes);
  return archive;
}

char* ykstd_Archive::ReadString(char* buffer, std::int32_t max) {
  const std::int64_t limit = max < 0 ? -static_cast<std::int64_t>(max) : max;
  if (limit < 1) {
    *buffer = '\0';
    return buffer;
  }
  std::int64_t stored = 0;
  for (;;) {
    char c = 0;
    *this >> c;
    if (c == '\n' || c == '\r') {
      if (c == '\r') *this >> c;
      if (max < 0) buffer[stored++] = c;
      break;
    }
    buffer[stored++] = c;
    if (stored == limit) break;
  }
  buffer[stored] = '\0';
  return buffer;
}

void ykstd_Archive::WriteString(const char* text) {
  if (text) Write(text, static_cast<std::int32_t>(std::strlen(text)));
  *this << static_cast<unsigned char>(0x0A);
}

std::uint32_t ykstd_Archive::ReadCount() {
  std::uint16_t word = 0;
  *this >> word;
  if (word < 0xFFFF) return word;
  std::uint32_t wide = 0;
  *this >> wide;
  return wide;
}

void ykstd_Archive::WriteCount(std::uint32_t count) {
  if (count < 0xFFFF) {
    *this << static_cast<std::uint16_t>(count);
  } else {
    *this << static_cast<std::uint16_t>(0xFFFF) << count;
  }
}

// ---- class and object maps ----

void ykstd_Archive::MapClassName(const ykstd_AsciiString& name) {
  ykstd_detail::ArchiveMaps& m = Maps();
  if (!m.hasClassMap) {
    m.hasClassMap = true;
    classCount = 1;
    if (IsLoading()) m.classes.assign(1, ykstd_AsciiString());
  }
  if (name.Length() == 0) return;
  if (IsLoading()) {
    m.classes.push_back(name);
  } else {
    m.classNumbers[std::string(name.Text(), static_cast<std::size_t>(name.Length()))] = classCount;
    m.lastClassText = nullptr;
  }
  ++classCount;
}

void ykstd_Archive::MapTransient(const Hnd_ykstd_Transient& object) {
  ykstd_detail::ArchiveMaps& m = Maps();
  if (!m.hasObjMap) {
    m.hasObjMap = true;
    objCount = 1;
    if (IsLoading()) m.objects.assign(1, Hnd_ykstd_Transient());
  }
  if (object.IsNull()) return;
  CheckCount();
  if (IsLoading()) {
    m.objects.push_back(object);
  } else {
    m.objNumbers.Bind(static_cast<ykstd_Transient*>(object), objCount);
    m.numbered.push_back(object);
  }
  ++objCount;
}

void ykstd_Archive::CheckCount() {
  if (static_cast<std::uint32_t>(objCount) >= 0x3FFFFFFEu) {
    ykstd_TextStream text;
    text << "max map count reached in file (" << fileName << ")";
    ykstd_fail_OutOfRange::Raise(text);
  }
}

void ykstd_Archive::CheckClassCount() {
  if (static_cast<std::uint32_t>(classCount) >= 0x3FFFFFFEu) {
    ykstd_TextStream text;
    text << "max class map count reached in file (" << fileName << ")";
    ykstd_fail_OutOfRange::Raise(text);
  }
}

void ykstd_Archive::WriteClass(const Hnd_ykstd_Transient& object) {
  if (!Maps().hasClassMap) MapClassName(ykstd_AsciiString());
  ykstd_detail::ArchiveMaps& m = Maps();
  const char* name = object->DynamicType()->Name();
  std::int32_t number = 0;
  if (name == m.lastClassText) {
    number = m.lastClassNumber;
  } else {
    const auto found = m.classNumbers.find(std::string(name));
    if (found != m.classNumbers.end()) {
      number = found->second;
      m.lastClassText = name;
      m.lastClassNumber = number;
    }
  }
  if (number != 0) {
    if (number < 0x7FFF) {
      *this << static_cast<std::uint16_t>(number | 0x8000);
    } else {
      *this << static_cast<std::uint16_t>(0x7FFF) << (static_cast<std::uint32_t>(number) | 0x80000000u);
    }
    return;
  }
  const ykstd_AsciiString text(name);
  *this << static_cast<std::uint16_t>(0xFFFF) << text;
  MapClassName(text);
}

void ykstd_Archive::WriteTransient(const Hnd_ykstd_Transient& object) {
  if (!Maps().hasObjMap) MapTransient(Hnd_ykstd_Transient());
  if (object.IsNull()) {
    *this << static_cast<std::uint16_t>(0);
    return;
  }
  const std::int32_t number = Maps().objNumbers.Find(static_cast<ykstd_Transient*>(object));
  if (number != 0) {
    if (number < 0x7FFF) {
      *this << static_cast<std::uint16_t>(number);
    } else {
      *this << static_cast<std::uint16_t>(0x7FFF) << number;
    }
    return;
  }
  if (objOnly && !IsToStore(object)) {
    const std::int16_t idx = object->PersistentIdx();
    if (idx >= 1) {
      const std::int32_t hash = ykstd_AsciiString::HashCode(object->DynamicType()->Name(), 32767);
      if ((hash & 0xFFFF) != 0) {
        *this << static_cast<std::uint16_t>(0x8000) << static_cast<std::uint16_t>(hash) << idx;
        return;
      }
    }
  }
  // Each object held by this one is written inside its Serialize: the depth is the stream's.
  ykstd_detail::Deeper("ykstd_Archive::WriteTransient", [&] {
    WriteClass(object);
    MapTransient(object);
    object->Serialize(*this);
  });
}

void ykstd_Archive::ReadClass(ykstd_AsciiString& name, std::int32_t& tag) {
  std::uint16_t word = 0;
  *this >> word;
  if (word == 0x7FFF) {
    *this >> tag;
  } else if (word == 0x8000) {
    name = "PTAG";
    return;
  } else {
    tag = static_cast<std::int32_t>((word & 0x7FFFu) | ((word & 0x8000u) ? 0x80000000u : 0u));
  }
  name.Clear();
  if (!Maps().hasClassMap) MapClassName(ykstd_AsciiString());
  const auto bits = static_cast<std::uint32_t>(tag);
  if (!(bits & 0x80000000u)) return;
  const std::uint32_t number = bits & 0x7FFFFFFFu;
  ykstd_detail::ArchiveMaps& m = Maps();
  if (number >= 1 && number < m.classes.size()) {
    name = m.classes[number];
  } else if (word == 0xFFFF) {
    *this >> name;
    MapClassName(name);
  }
}

Hnd_ykstd_Transient ykstd_Archive::ReadTransient() {
  ykstd_AsciiString name;
  std::int32_t tag = 0;
  ReadClass(name, tag);
  if (!Maps().hasObjMap) MapTransient(Hnd_ykstd_Transient());
  if (name.Length() != 0) {
    return ykstd_detail::Deeper("ykstd_Archive::ReadTransient", [&] {
      Hnd_ykstd_Transient object = ykstd_Session::CurSession()->CreateObject(name, objOnly);
      if (object.IsNull()) ykstd_fail_OutOfMemory::Raise("ykstd_Archive::ReadTransient");
      MapTransient(object);
      object->Serialize(*this);
      return object;
    });
  }
  if (tag > objCount) {
    ykstd_TextStream text;
    text << "tag is too large while reading (" << fileName << ")";
    ykstd_fail_ProgramError::Raise(text);
  }
  if (tag == 0) return Hnd_ykstd_Transient();
  const std::deque<Hnd_ykstd_Transient>& objects = Maps().objects;
  if (tag < 0 || static_cast<std::size_t>(tag) >= objects.size()) ykstd_fail_NoSuchObject::Raise("ykstd_DataMap::Find");
  return objects[static_cast<std::size_t>(tag)];
}

void ykstd_Archive::AddObj(const Hnd_ykstd_Transient& object) {
  if (!object.IsNull()) objNeedUsrs.Append(object);
}

void ykstd_Archive::AddFileName(const ykstd_AsciiString& name) {
  for (std::int32_t i = 1; i <= fileNames.Length(); ++i)
    if (fileNames.Value(i).IsEqual(name)) return;
  fileNames.Append(name);
}

void ykstd_Archive::AddObjToStore(const Hnd_ykstd_Transient& object) {
  if (object.IsNull() || IsToStore(object)) return;
  Maps().toStore.Bind(static_cast<ykstd_Transient*>(object), 1);
  Maps().toStoreKept.push_back(object);
}

unsigned char ykstd_Archive::IsToStore(const Hnd_ykstd_Transient& object) const {
  if (object.IsNull()) return 0;
  return Maps().toStore.Find(static_cast<ykstd_Transient*>(object)) != 0 ? 1 : 0;
}

unsigned char ykstd_Archive::IsStored(const Hnd_ykstd_Transient& object) const {
  if (!IsStoring() || !Maps().hasObjMap || object.IsNull()) return 0;
  return Maps().objNumbers.Find(static_cast<ykstd_Transient*>(object)) != 0 ? 1 : 0;
}

ykstd_Archive& operator<<(ykstd_Archive& archive, const Hnd_ykstd_Transient& object) {
  archive.WriteTransient(object);
  return archive;
}

ykstd_Archive& operator>>(ykstd_Archive& archive, Hnd_ykstd_Transient& object) {
  object = archive.ReadTransient();
  return archive;
}
