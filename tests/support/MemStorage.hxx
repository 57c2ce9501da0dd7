// A storage of named streams in memory, for tests and fuzz targets that need an IStorage without
// a file. Counts its calls so that tests can see what the archive asked of the platform.
#pragma once

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <ykstd/platform/Storage.hxx>

namespace ykstd_test {

struct MemCalls {
  int creates = 0;
  int opens = 0;
  int commits = 0;
  int seeks = 0;
  int reads = 0;
  int writes = 0;
  std::vector<std::uint64_t> setSizes;
  std::vector<std::uint32_t> openModes;
};

class MemStream final : public IStream {
 public:
  MemStream(std::shared_ptr<std::vector<unsigned char>> bytes, MemCalls& calls, ULONG maxChunk)
      : bytes_(std::move(bytes)), calls_(calls), maxChunk_(maxChunk) {}
  virtual ~MemStream() = default;

  HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  ULONG AddRef() override { return ++refs_; }
  ULONG Release() override {
    const ULONG left = --refs_;
    if (left == 0) delete this;
    return left;
  }
  HRESULT Read(void* pv, ULONG cb, ULONG* pcbRead) override {
    ++calls_.reads;
    const std::size_t size = bytes_->size();
    std::size_t n = pos_ < size ? std::min<std::size_t>(cb, size - pos_) : 0;
    if (maxChunk_ && n > maxChunk_) n = maxChunk_;
    if (n) std::memcpy(pv, bytes_->data() + pos_, n);
    pos_ += n;
    if (pcbRead) *pcbRead = static_cast<ULONG>(n);
    return S_OK;
  }
  HRESULT Write(const void* pv, ULONG cb, ULONG* pcbWritten) override {
    ++calls_.writes;
    if (bytes_->size() < pos_ + cb) bytes_->resize(pos_ + cb);
    if (cb) std::memcpy(bytes_->data() + pos_, pv, cb);
    pos_ += cb;
    if (pcbWritten) *pcbWritten = cb;
    return S_OK;
  }
  HRESULT Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* newPos) override {
    ++calls_.seeks;
    std::int64_t base = origin == STREAM_SEEK_SET   ? 0
                        : origin == STREAM_SEEK_CUR ? static_cast<std::int64_t>(pos_)
                                                    : static_cast<std::int64_t>(bytes_->size());
    const std::int64_t to = base + move.QuadPart;
    if (to < 0) return E_INVALIDARG;
    pos_ = static_cast<std::size_t>(to);
    if (newPos) newPos->QuadPart = pos_;
    return S_OK;
  }
  HRESULT SetSize(ULARGE_INTEGER size) override {
    calls_.setSizes.push_back(size.QuadPart);
    bytes_->resize(static_cast<std::size_t>(size.QuadPart));
    return S_OK;
  }
  HRESULT CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override { return E_NOTIMPL; }
  HRESULT Commit(DWORD) override {
    ++calls_.commits;
    return S_OK;
  }
  HRESULT Revert() override { return E_NOTIMPL; }
  HRESULT LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
  HRESULT UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
  HRESULT Stat(STATSTG*, DWORD) override { return E_NOTIMPL; }
  HRESULT Clone(IStream**) override { return E_NOTIMPL; }

  std::size_t Position() const { return pos_; }

 private:
  std::shared_ptr<std::vector<unsigned char>> bytes_;
  MemCalls& calls_;
  ULONG maxChunk_;
  ULONG refs_ = 1;
  std::size_t pos_ = 0;
};

// Lives on the caller's stack; the archive's AddRef and Release only count.
class MemStorage : public IStorage {
 public:
  virtual ~MemStorage() = default;
  HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  ULONG AddRef() override { return ++refs; }
  ULONG Release() override { return --refs; }
  HRESULT CreateStream(const OLECHAR* name, DWORD mode, DWORD, DWORD, IStream** out) override {
    ++calls.creates;
    *out = nullptr;
    const std::wstring key(name);
    if (streams.count(key)) return E_ACCESSDENIED;
    streams[key] = std::make_shared<std::vector<unsigned char>>();
    *out = last = new MemStream(streams[key], calls, maxChunk);
    return S_OK;
  }
  HRESULT OpenStream(const OLECHAR* name, void*, DWORD mode, DWORD, IStream** out) override {
    ++calls.opens;
    calls.openModes.push_back(mode);
    *out = nullptr;
    const auto found = streams.find(name);
    if (found == streams.end()) return E_FAIL;
    *out = last = new MemStream(found->second, calls, maxChunk);
    return S_OK;
  }

  HRESULT CreateStorage(const OLECHAR*, DWORD, DWORD, DWORD, IStorage**) override { return E_NOTIMPL; }
  HRESULT OpenStorage(const OLECHAR*, IStorage*, DWORD, SNB, DWORD, IStorage**) override { return E_NOTIMPL; }
  HRESULT CopyTo(DWORD, const IID*, SNB, IStorage*) override { return E_NOTIMPL; }
  HRESULT MoveElementTo(const OLECHAR*, IStorage*, const OLECHAR*, DWORD) override { return E_NOTIMPL; }
  HRESULT Commit(DWORD) override { return S_OK; }
  HRESULT Revert() override { return E_NOTIMPL; }
  HRESULT EnumElements(DWORD, void*, DWORD, IEnumSTATSTG**) override { return E_NOTIMPL; }
  HRESULT DestroyElement(const OLECHAR*) override { return E_NOTIMPL; }
  HRESULT RenameElement(const OLECHAR*, const OLECHAR*) override { return E_NOTIMPL; }
  HRESULT SetElementTimes(const OLECHAR*, const FILETIME*, const FILETIME*, const FILETIME*) override {
    return E_NOTIMPL;
  }
  HRESULT SetClass(REFCLSID) override { return E_NOTIMPL; }
  HRESULT SetStateBits(DWORD, DWORD) override { return E_NOTIMPL; }
  HRESULT Stat(STATSTG*, DWORD) override { return E_NOTIMPL; }

  std::vector<unsigned char>& Bytes(const std::wstring& name) {
    auto& slot = streams[name];
    if (!slot) slot = std::make_shared<std::vector<unsigned char>>();
    return *slot;
  }

  std::map<std::wstring, std::shared_ptr<std::vector<unsigned char>>> streams;
  MemCalls calls;
  // When not 0, no single Read delivers more than this many bytes.
  ULONG maxChunk = 0;
  ULONG refs = 1;
  MemStream* last = nullptr;
};

}  // namespace ykstd_test
