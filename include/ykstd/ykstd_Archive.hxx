// One named stream of a compound file, read or written in one direction: primitives in a fixed
// little-endian layout, strings and counts, and graphs of counted objects by class and object maps.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <memory>
#include <type_traits>

#include <ykstd/platform/Storage.hxx>
#include <ykstd/ykstd_AsciiString.hxx>
#include <ykstd/ykstd_Seq.hxx>
#include <ykstd/ykstd_Transient.hxx>

namespace ykstd_detail {
class ArchiveMaps;
}

// The end-of-class tag that versioned value classes write behind their fields.
extern YKSTD_EXPORT const std::int16_t EOC;

class YKSTD_EXPORT ykstd_Archive {
 public:
  static constexpr std::int32_t ModeStore = 1;
  static constexpr std::int32_t ModeLoad = 2;

  ykstd_Archive(IStorage* storage, const char* name, std::int32_t mode, std::int32_t bufferSize = 4096,
                void* buffer = nullptr);
  ~ykstd_Archive();
  ykstd_Archive(const ykstd_Archive&) = delete;
  ykstd_Archive& operator=(const ykstd_Archive&) = delete;

  void Close();
  void Abort();
  void Flush();
  void FillBuffer(std::int32_t additional);

  IStorage* GetIStorage() const { return storage; }
  IStream* GetIStream() const { return stream; }
  unsigned char IsStoring() const { return (mode & 1) ? 1 : 0; }
  unsigned char IsLoading() const { return (mode & 2) ? 1 : 0; }

  // Primitives.
  ykstd_Archive& operator<<(char v) { return Put(v); }
  ykstd_Archive& operator<<(signed char v) { return Put(v); }
  ykstd_Archive& operator<<(unsigned char v) { return Put(v); }
  ykstd_Archive& operator<<(bool v) { return Put(static_cast<unsigned char>(v ? 1 : 0)); }
  ykstd_Archive& operator<<(std::int16_t v) { return Put(v); }
  ykstd_Archive& operator<<(std::uint16_t v) { return Put(v); }
  ykstd_Archive& operator<<(std::int32_t v) { return Put(v); }
  ykstd_Archive& operator<<(std::uint32_t v) { return Put(v); }
  ykstd_Archive& operator<<(float v) { return Put(v); }
  ykstd_Archive& operator<<(double v) { return Put(v); }

  ykstd_Archive& operator>>(char& v) { return Get(v); }
  ykstd_Archive& operator>>(signed char& v) { return Get(v); }
  ykstd_Archive& operator>>(unsigned char& v) { return Get(v); }
  ykstd_Archive& operator>>(bool& v) {
    unsigned char byte = 0;
    Get(byte);
    v = byte != 0;
    return *this;
  }
  ykstd_Archive& operator>>(std::int16_t& v) { return Get(v); }
  ykstd_Archive& operator>>(std::uint16_t& v) { return Get(v); }
  ykstd_Archive& operator>>(std::int32_t& v) { return Get(v); }
  ykstd_Archive& operator>>(std::uint32_t& v) { return Get(v); }
  ykstd_Archive& operator>>(float& v) { return Get(v); }
  ykstd_Archive& operator>>(double& v) { return Get(v); }

  // Raw bytes; large blocks pass by the buffer.
  std::int32_t Read(void* buffer, std::int32_t n);
  void Write(const void* buffer, std::int32_t n);

  std::int32_t ReadStringLength();
  void WriteStringLength(std::int32_t length);
  // Text lines ending in a line feed (not the string form).
  char* ReadString(char* buffer, std::int32_t max);
  void WriteString(const char* text);

  std::uint32_t ReadCount();
  void WriteCount(std::uint32_t count);

  // Objects.
  void WriteTransient(const Hnd_ykstd_Transient& object);
  Hnd_ykstd_Transient ReadTransient();
  void WriteClass(const Hnd_ykstd_Transient& object);
  void ReadClass(ykstd_AsciiString& name, std::int32_t& tag);
  void MapClassName(const ykstd_AsciiString& name);
  void MapTransient(const Hnd_ykstd_Transient& object);
  void CheckCount();
  void CheckClassCount();

  // Lists kept for the caller; the archive only fills them, and Abort clears them.
  void AddObj(const Hnd_ykstd_Transient& object);
  const ykstd_TransientSeq& ObjNeedUsrs() const { return objNeedUsrs; }
  void AddFileName(const ykstd_AsciiString& name);
  const ykstd_AsciiStringSeq& FileNames() const { return fileNames; }
  void ClearFileNames() { fileNames.Clear(); }

  void AddObjToStore(const Hnd_ykstd_Transient& object);
  unsigned char IsToStore(const Hnd_ykstd_Transient& object) const;
  unsigned char IsStored(const Hnd_ykstd_Transient& object) const;
  void SetObjOnly(unsigned char on) { objOnly = on; }
  unsigned char IsObjOnly() const { return objOnly; }

  void SetLoadParams(std::int32_t) {}
  void SetStoreParams(std::int32_t) {}

  // Read by the versioned value classes; a caller that loads them sets it before.
  std::int32_t dataVersion;

 private:
  template <class T>
  static T ToLittle(T v) {
    if constexpr (std::endian::native == std::endian::little || sizeof(T) == 1) {
      return v;
    } else {
      unsigned char bytes[sizeof(T)];
      std::memcpy(bytes, &v, sizeof(T));
      for (std::size_t i = 0; i < sizeof(T) / 2; ++i) {
        const unsigned char t = bytes[i];
        bytes[i] = bytes[sizeof(T) - 1 - i];
        bytes[sizeof(T) - 1 - i] = t;
      }
      std::memcpy(&v, bytes, sizeof(T));
      return v;
    }
  }

  template <class T>
  ykstd_Archive& Put(T v) {
    if (bufMax - bufCur < static_cast<std::ptrdiff_t>(sizeof(T))) MakeRoom();
    v = ToLittle(v);
    std::memcpy(bufCur, &v, sizeof(T));
    bufCur += sizeof(T);
    return *this;
  }

  template <class T>
  ykstd_Archive& Get(T& v) {
    const std::ptrdiff_t unread = bufMax - bufCur;
    if (unread < static_cast<std::ptrdiff_t>(sizeof(T)))
      FillBuffer(static_cast<std::int32_t>(static_cast<std::ptrdiff_t>(sizeof(T)) - unread));
    T raw;
    std::memcpy(&raw, bufCur, sizeof(T));
    bufCur += sizeof(T);
    v = ToLittle(raw);
    return *this;
  }

  // The slow path of a primitive write: flush, or raise when nothing can take the bytes.
  void MakeRoom();
  ykstd_detail::ArchiveMaps& Maps() const { return *maps; }

  ykstd_AsciiString fileName;
  IStorage* storage;
  std::int32_t mode;
  unsigned char userBuffer;
  std::int32_t bufferSize;
  IStream* stream;
  unsigned char* bufCur;
  unsigned char* bufMax;
  unsigned char* bufStart;
  std::int32_t objCount;
  std::int32_t classCount;
  std::int32_t hashSize;
  unsigned char objOnly;
  ykstd_TransientSeq objNeedUsrs;
  ykstd_AsciiStringSeq fileNames;
  // Both maps, the set of objects to store in full and the caller's lists.
  mutable std::unique_ptr<ykstd_detail::ArchiveMaps> maps;
};

YKSTD_EXPORT ykstd_Archive& operator<<(ykstd_Archive& archive, const ykstd_AsciiString& text);
YKSTD_EXPORT ykstd_Archive& operator>>(ykstd_Archive& archive, ykstd_AsciiString& text);
YKSTD_EXPORT ykstd_Archive& operator<<(ykstd_Archive& archive, const Hnd_ykstd_Transient& object);
YKSTD_EXPORT ykstd_Archive& operator>>(ykstd_Archive& archive, Hnd_ykstd_Transient& object);
// Raw pointers have no stored form. Only void* itself matches, so that a string literal or an
// object pointer never vanishes silently through a pointer conversion.
template <class V>
requires std::is_void_v<V> ykstd_Archive& operator<<(ykstd_Archive& archive, V*) { return archive; }
template <class V>
requires std::is_void_v<V> ykstd_Archive& operator>>(ykstd_Archive& archive, V*&) { return archive; }
