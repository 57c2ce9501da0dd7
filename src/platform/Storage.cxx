// Storage and stream objects over the in-memory tree of a compound file.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "StorageTree.hxx"

namespace ykstd_detail {

namespace {

bool Writable(DWORD mode) { return (mode & 3) != STGM_READ; }
bool Readable(DWORD mode) { return (mode & 3) != STGM_WRITE; }

template <class F>
HRESULT Guarded(F&& body) noexcept {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return STG_E_INSUFFICIENTMEMORY;
  } catch (...) {
    return E_UNEXPECTED;
  }
}

LPOLESTR CopyName(const std::wstring& name) {
  auto* copy = static_cast<LPOLESTR>(CoTaskMemAlloc((name.size() + 1) * sizeof(OLECHAR)));
  if (copy) std::memcpy(copy, name.c_str(), (name.size() + 1) * sizeof(OLECHAR));
  return copy;
}

HRESULT FillStat(const StgNode& node, const std::wstring& name, DWORD mode, DWORD flag, STATSTG* stat) {
  if (!stat) return STG_E_INVALIDPOINTER;
  if (flag > (STATFLAG_NONAME | STATFLAG_NOOPEN)) return STG_E_INVALIDFLAG;
  std::memset(stat, 0, sizeof *stat);
  if (!(flag & STATFLAG_NONAME)) {
    stat->pwcsName = CopyName(name);
    if (!stat->pwcsName) return STG_E_INSUFFICIENTMEMORY;
  }
  stat->type = node.isStorage ? STGTY_STORAGE : STGTY_STREAM;
  stat->cbSize.QuadPart = node.isStorage ? 0 : node.data.size();
  stat->mtime = node.mtime, stat->ctime = node.ctime, stat->atime = node.atime;
  stat->grfMode = mode;
  stat->clsid = node.clsid;
  stat->grfStateBits = node.stateBits;
  return S_OK;
}

}  // namespace

// What all objects of one open compound file share.
class StgDocument {
 public:
  StgDocument(std::string path, std::shared_ptr<StgNode> root, DWORD mode, bool deleteOnRelease)
      : path_(std::move(path)),
        root_(std::move(root)),
        mode_(mode),
        transacted_((mode & STGM_TRANSACTED) != 0),
        deleteOnRelease_(deleteOnRelease) {
    if (transacted_) committed_ = root_->DeepCopy();
  }
  StgDocument(const StgDocument&) = delete;
  StgDocument& operator=(const StgDocument&) = delete;

  // A direct-mode file that was changed and not committed is saved when its last object goes.
  ~StgDocument() {
    if (deleteOnRelease_) {
      ::unlink(path_.c_str());
    } else if (dirty_ && !transacted_ && Writable(mode_)) {
      Guarded([&] { return Save(); });  // nobody is left to hear of a failure
    }
  }

  const std::shared_ptr<StgNode>& Root() const { return root_; }
  const std::string& Path() const { return path_; }
  DWORD Mode() const { return mode_; }
  bool Transacted() const { return transacted_; }
  void Touch() { dirty_ = true; }

  HRESULT Save() {
    if (!Writable(mode_)) return S_OK;
    std::vector<BYTE> bytes;
    HRESULT hr = SerializeCompoundFile(*root_, bytes);
    if (SUCCEEDED(hr)) hr = WriteFileAtomically(path_, bytes);
    if (FAILED(hr)) return hr;
    dirty_ = false;
    if (transacted_) committed_ = root_->DeepCopy();
    return S_OK;
  }

  // Direct mode has nothing to revert; transacted mode returns to the last commit, and objects
  // opened since then report STG_E_REVERTED.
  void Revert() {
    if (!transacted_) return;
    auto restored = committed_->DeepCopy();
    root_->Abandon();
    root_ = std::move(restored);
    dirty_ = false;
  }

 private:
  std::string path_;
  std::shared_ptr<StgNode> root_;
  std::shared_ptr<StgNode> committed_;
  DWORD mode_;
  bool transacted_;
  bool deleteOnRelease_;
  bool dirty_ = false;
};

namespace {

using DocumentPtr = std::shared_ptr<StgDocument>;

// The count and the interface lookup of the objects below: Self names the identities it answers to.
template <class Self, class Interface>
class Counted : public Interface {
 public:
  HRESULT QueryInterface(REFIID riid, void** object) override {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (!Self::Answers(riid)) return E_NOINTERFACE;
    *object = static_cast<Interface*>(this);
    AddRef();
    return S_OK;
  }
  ULONG AddRef() override { return ++refs_; }
  ULONG Release() override {
    const ULONG left = --refs_;
    if (left == 0) delete static_cast<Self*>(this);
    return left;
  }

 protected:
  ~Counted() = default;

 private:
  ULONG refs_ = 1;
};

class StreamObject final : public Counted<StreamObject, IStream> {
 public:
  StreamObject(DocumentPtr document, std::shared_ptr<StgNode> node, DWORD mode, ULONGLONG position = 0)
      : document_(std::move(document)), node_(std::move(node)), mode_(mode), position_(position) {}

  static bool Answers(REFIID riid) {
    return riid == IID_IUnknown || riid == IID_ISequentialStream || riid == IID_IStream;
  }

  HRESULT Read(void* pv, ULONG cb, ULONG* pcbRead) override {
    if (pcbRead) *pcbRead = 0;
    if (!pv) return STG_E_INVALIDPOINTER;
    if (node_->gone) return STG_E_REVERTED;
    if (!Readable(mode_)) return STG_E_ACCESSDENIED;
    const auto& data = node_->data;
    const ULONGLONG available = position_ < data.size() ? data.size() - position_ : 0;
    const auto count = static_cast<ULONG>(std::min<ULONGLONG>(cb, available));
    if (count) std::memcpy(pv, data.data() + position_, count);
    position_ += count;
    if (pcbRead) *pcbRead = count;
    return S_OK;
  }

  HRESULT Write(const void* pv, ULONG cb, ULONG* pcbWritten) override {
    if (pcbWritten) *pcbWritten = 0;
    if (!pv && cb) return STG_E_INVALIDPOINTER;
    if (node_->gone) return STG_E_REVERTED;
    if (!Writable(mode_)) return STG_E_ACCESSDENIED;
    if (cb == 0) return S_OK;
    const ULONGLONG end = position_ + cb;
    if (end > kMaxStreamSize) return STG_E_MEDIUMFULL;
    return Guarded([&] {
      auto& data = node_->data;
      if (end > data.size()) data.resize(end);
      std::memcpy(data.data() + position_, pv, cb);
      position_ = end;
      document_->Touch();
      if (pcbWritten) *pcbWritten = cb;
      return S_OK;
    });
  }

  HRESULT Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER* plibNewPosition) override {
    if (node_->gone) return STG_E_REVERTED;
    LONGLONG base;
    switch (dwOrigin) {
      case STREAM_SEEK_SET: base = 0; break;
      case STREAM_SEEK_CUR: base = static_cast<LONGLONG>(position_); break;
      case STREAM_SEEK_END: base = static_cast<LONGLONG>(node_->data.size()); break;
      default: return STG_E_INVALIDFUNCTION;
    }
    const LONGLONG move = dlibMove.QuadPart;
    // Both terms are far below the limits, so only the sum's sign and size need checking.
    if (move < -base || move > static_cast<LONGLONG>(kMaxStreamSize)) return STG_E_INVALIDFUNCTION;
    position_ = static_cast<ULONGLONG>(base + move);
    if (plibNewPosition) plibNewPosition->QuadPart = position_;
    return S_OK;
  }

  HRESULT SetSize(ULARGE_INTEGER libNewSize) override {
    if (node_->gone) return STG_E_REVERTED;
    if (!Writable(mode_)) return STG_E_ACCESSDENIED;
    if (libNewSize.u.HighPart != 0) return STG_E_INVALIDFUNCTION;
    if (libNewSize.QuadPart > kMaxStreamSize) return STG_E_MEDIUMFULL;
    return Guarded([&] {
      node_->data.resize(libNewSize.QuadPart);
      document_->Touch();
      return S_OK;
    });
  }

  HRESULT CopyTo(IStream* pstm, ULARGE_INTEGER cb, ULARGE_INTEGER* pcbRead, ULARGE_INTEGER* pcbWritten) override {
    if (pcbRead) pcbRead->QuadPart = 0;
    if (pcbWritten) pcbWritten->QuadPart = 0;
    if (!pstm) return STG_E_INVALIDPOINTER;
    if (node_->gone) return STG_E_REVERTED;
    if (!Readable(mode_)) return STG_E_ACCESSDENIED;
    return Guarded([&] {
      const auto& data = node_->data;
      const ULONGLONG available = position_ < data.size() ? data.size() - position_ : 0;
      // Copied first, so that a target on the same stream cannot change what is read.
      std::vector<BYTE> bytes(data.begin() + static_cast<std::ptrdiff_t>(position_),
                              data.begin() + static_cast<std::ptrdiff_t>(position_ + std::min(cb.QuadPart, available)));
      position_ += bytes.size();
      if (pcbRead) pcbRead->QuadPart = bytes.size();
      ULONG written = 0;
      const HRESULT hr = pstm->Write(bytes.data(), static_cast<ULONG>(bytes.size()), &written);
      if (pcbWritten) pcbWritten->QuadPart = written;
      return hr;
    });
  }

  HRESULT Commit(DWORD) override {
    if (node_->gone) return STG_E_REVERTED;
    return document_->Transacted() ? S_OK : Guarded([&] { return document_->Save(); });
  }
  HRESULT Revert() override { return node_->gone ? STG_E_REVERTED : S_OK; }
  HRESULT LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return STG_E_INVALIDFUNCTION; }
  HRESULT UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return STG_E_INVALIDFUNCTION; }

  HRESULT Stat(STATSTG* pstatstg, DWORD grfStatFlag) override {
    if (node_->gone) return STG_E_REVERTED;
    return FillStat(*node_, node_->name, mode_, grfStatFlag, pstatstg);
  }

  HRESULT Clone(IStream** ppstm) override {
    if (!ppstm) return STG_E_INVALIDPOINTER;
    *ppstm = nullptr;
    if (node_->gone) return STG_E_REVERTED;
    return Guarded([&] {
      *ppstm = new StreamObject(document_, node_, mode_, position_);
      return S_OK;
    });
  }

 private:
  friend class Counted<StreamObject, IStream>;
  ~StreamObject() = default;

  DocumentPtr document_;
  std::shared_ptr<StgNode> node_;
  DWORD mode_;
  ULONGLONG position_;
};

class EnumObject final : public Counted<EnumObject, IEnumSTATSTG> {
 public:
  struct Entry {
    std::shared_ptr<StgNode> node;
    std::wstring name;
  };
  explicit EnumObject(std::shared_ptr<std::vector<Entry>> entries, std::size_t next = 0)
      : entries_(std::move(entries)), next_(next) {}

  static bool Answers(REFIID riid) { return riid == IID_IUnknown || riid == IID_IEnumSTATSTG; }

  HRESULT Next(ULONG celt, STATSTG* rgelt, ULONG* pceltFetched) override {
    if (pceltFetched) *pceltFetched = 0;
    if (!rgelt) return STG_E_INVALIDPOINTER;
    if (celt > 1 && !pceltFetched) return STG_E_INVALIDPARAMETER;
    ULONG fetched = 0;
    while (fetched < celt && next_ < entries_->size()) {
      const Entry& entry = (*entries_)[next_];
      const HRESULT hr = FillStat(*entry.node, entry.name, 0, STATFLAG_DEFAULT, &rgelt[fetched]);
      if (FAILED(hr)) {
        for (ULONG i = 0; i < fetched; ++i) CoTaskMemFree(rgelt[i].pwcsName);
        return hr;
      }
      ++fetched, ++next_;
    }
    if (pceltFetched) *pceltFetched = fetched;
    return fetched == celt ? S_OK : S_FALSE;
  }
  HRESULT Skip(ULONG celt) override {
    const std::size_t left = entries_->size() - next_;
    next_ += std::min<std::size_t>(celt, left);
    return celt <= left ? S_OK : S_FALSE;
  }
  HRESULT Reset() override {
    next_ = 0;
    return S_OK;
  }
  HRESULT Clone(IEnumSTATSTG** ppenum) override {
    if (!ppenum) return STG_E_INVALIDPOINTER;
    *ppenum = nullptr;
    return Guarded([&] {
      *ppenum = new EnumObject(entries_, next_);
      return S_OK;
    });
  }

 private:
  friend class Counted<EnumObject, IEnumSTATSTG>;
  ~EnumObject() = default;

  std::shared_ptr<std::vector<Entry>> entries_;
  std::size_t next_;
};

// Creates the element's copy in any storage, merging into a storage of the same name that is
// already there and replacing anything else.
HRESULT CopyNodeInto(const StgNode& source, IStorage* target, const OLECHAR* name) {
  constexpr DWORD kWrite = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
  if (!source.isStorage) {
    IStreamPtr stream;
    HRESULT hr = target->CreateStream(name, kWrite | STGM_CREATE, 0, 0, &stream);
    if (SUCCEEDED(hr) && !source.data.empty())
      hr = stream->Write(source.data.data(), static_cast<ULONG>(source.data.size()), nullptr);
    return hr;
  }
  IStoragePtr storage;
  HRESULT hr = target->OpenStorage(name, nullptr, kWrite, nullptr, 0, &storage);
  if (hr == STG_E_FILENOTFOUND) hr = target->CreateStorage(name, kWrite | STGM_CREATE, 0, 0, &storage);
  if (SUCCEEDED(hr)) hr = storage->SetClass(source.clsid);
  for (const auto& child : source.children) {
    if (FAILED(hr)) break;
    hr = CopyNodeInto(*child, storage, child->name.c_str());
  }
  return hr;
}

bool NameListed(SNB names, const std::wstring& name) {
  for (; names && *names; ++names)
    if (SameElementName(*names, name)) return true;
  return false;
}

class StorageObject final : public Counted<StorageObject, IStorage> {
 public:
  // A null node stands for the document's root, which a transacted Revert replaces.
  StorageObject(DocumentPtr document, std::shared_ptr<StgNode> node, DWORD mode, int depth)
      : document_(std::move(document)), node_(std::move(node)), mode_(mode), depth_(depth) {}

  static bool Answers(REFIID riid) { return riid == IID_IUnknown || riid == IID_IStorage; }

  HRESULT CreateStream(const OLECHAR* pwcsName, DWORD grfMode, DWORD, DWORD, IStream** ppstm) override {
    if (!ppstm) return STG_E_INVALIDPOINTER;
    *ppstm = nullptr;
    std::shared_ptr<StgNode> node;
    HRESULT hr = CreateElement(pwcsName, grfMode, false, node);
    if (SUCCEEDED(hr))
      hr = Guarded([&] {
        *ppstm = new StreamObject(document_, node, grfMode);
        return S_OK;
      });
    return hr;
  }

  HRESULT OpenStream(const OLECHAR* pwcsName, void* reserved1, DWORD grfMode, DWORD, IStream** ppstm) override {
    if (!ppstm) return STG_E_INVALIDPOINTER;
    *ppstm = nullptr;
    if (reserved1) return STG_E_INVALIDPARAMETER;
    std::shared_ptr<StgNode> node;
    HRESULT hr = OpenElement(pwcsName, grfMode, false, node);
    if (SUCCEEDED(hr))
      hr = Guarded([&] {
        *ppstm = new StreamObject(document_, node, grfMode);
        return S_OK;
      });
    return hr;
  }

  HRESULT CreateStorage(const OLECHAR* pwcsName, DWORD grfMode, DWORD, DWORD, IStorage** ppstg) override {
    if (!ppstg) return STG_E_INVALIDPOINTER;
    *ppstg = nullptr;
    if (depth_ >= kMaxStorageDepth) return STG_E_INVALIDFUNCTION;
    std::shared_ptr<StgNode> node;
    HRESULT hr = CreateElement(pwcsName, grfMode, true, node);
    if (SUCCEEDED(hr))
      hr = Guarded([&] {
        *ppstg = new StorageObject(document_, node, grfMode, depth_ + 1);
        return S_OK;
      });
    return hr;
  }

  HRESULT OpenStorage(const OLECHAR* pwcsName, IStorage* pstgPriority, DWORD grfMode, SNB snbExclude, DWORD,
                      IStorage** ppstg) override {
    if (!ppstg) return STG_E_INVALIDPOINTER;
    *ppstg = nullptr;
    if (pstgPriority || snbExclude) return STG_E_INVALIDPARAMETER;
    std::shared_ptr<StgNode> node;
    HRESULT hr = OpenElement(pwcsName, grfMode, true, node);
    if (SUCCEEDED(hr))
      hr = Guarded([&] {
        *ppstg = new StorageObject(document_, node, grfMode, depth_ + 1);
        return S_OK;
      });
    return hr;
  }

  HRESULT CopyTo(DWORD ciidExclude, const IID* rgiidExclude, SNB snbExclude, IStorage* pstgDest) override {
    if (!pstgDest || (ciidExclude && !rgiidExclude)) return STG_E_INVALIDPOINTER;
    if (Node()->gone) return STG_E_REVERTED;
    bool skipStorages = false, skipStreams = false;
    for (DWORD i = 0; i < ciidExclude; ++i) {
      skipStorages = skipStorages || rgiidExclude[i] == IID_IStorage;
      skipStreams = skipStreams || rgiidExclude[i] == IID_IStream;
    }
    return Guarded([&] {
      // A snapshot, so that copying into an element of this very storage cannot feed itself.
      const auto source = Node()->DeepCopy();
      HRESULT hr = pstgDest->SetClass(source->clsid);
      for (const auto& child : source->children) {
        if (FAILED(hr)) break;
        if ((child->isStorage ? skipStorages : skipStreams) || NameListed(snbExclude, child->name)) continue;
        hr = CopyNodeInto(*child, pstgDest, child->name.c_str());
      }
      return hr;
    });
  }

  HRESULT MoveElementTo(const OLECHAR* pwcsName, IStorage* pstgDest, const OLECHAR* pwcsNewName,
                        DWORD grfFlags) override {
    if (!pstgDest) return STG_E_INVALIDPOINTER;
    if (grfFlags != STGMOVE_MOVE && grfFlags != STGMOVE_COPY) return STG_E_INVALIDFLAG;
    HRESULT hr = CheckElementName(pwcsNewName);
    if (FAILED(hr)) return hr;
    std::shared_ptr<StgNode> node;
    hr = FindElement(pwcsName, node);
    if (FAILED(hr)) return hr;
    if (grfFlags == STGMOVE_MOVE && !CanWrite()) return STG_E_ACCESSDENIED;
    hr = Guarded([&] { return CopyNodeInto(*node->DeepCopy(), pstgDest, pwcsNewName); });
    if (SUCCEEDED(hr) && grfFlags == STGMOVE_MOVE && !node->gone) hr = DestroyElement(pwcsName);
    return hr;
  }

  HRESULT Commit(DWORD) override {
    if (Node()->gone) return STG_E_REVERTED;
    // In transacted mode only the root's commit writes; elements below share its transaction.
    if (document_->Transacted() && node_) return S_OK;
    return Guarded([&] { return document_->Save(); });
  }

  HRESULT Revert() override {
    if (Node()->gone) return STG_E_REVERTED;
    if (!node_)
      return Guarded([&] {
        document_->Revert();
        return S_OK;
      });
    return S_OK;
  }

  HRESULT EnumElements(DWORD reserved1, void* reserved2, DWORD reserved3, IEnumSTATSTG** ppenum) override {
    if (!ppenum) return STG_E_INVALIDPOINTER;
    *ppenum = nullptr;
    if (reserved1 || reserved2 || reserved3) return STG_E_INVALIDPARAMETER;
    if (Node()->gone) return STG_E_REVERTED;
    return Guarded([&] {
      auto entries = std::make_shared<std::vector<EnumObject::Entry>>();
      for (const auto& child : Node()->children) entries->push_back({child, child->name});
      std::sort(entries->begin(), entries->end(),
                [](const auto& a, const auto& b) { return ElementNameLess(a.name, b.name); });
      *ppenum = new EnumObject(std::move(entries));
      return S_OK;
    });
  }

  HRESULT DestroyElement(const OLECHAR* pwcsName) override {
    std::shared_ptr<StgNode> node;
    HRESULT hr = FindElement(pwcsName, node);
    if (FAILED(hr)) return hr;
    if (!CanWrite()) return STG_E_ACCESSDENIED;
    Detach(node);
    return S_OK;
  }

  HRESULT RenameElement(const OLECHAR* pwcsOldName, const OLECHAR* pwcsNewName) override {
    HRESULT hr = CheckElementName(pwcsNewName);
    if (FAILED(hr)) return hr;
    std::shared_ptr<StgNode> node;
    hr = FindElement(pwcsOldName, node);
    if (FAILED(hr)) return hr;
    if (!CanWrite()) return STG_E_ACCESSDENIED;
    return Guarded([&] {
      std::wstring newName(pwcsNewName);
      const auto existing = Node()->Find(newName);
      if (existing && existing != node) return STG_E_FILEALREADYEXISTS;
      node->name = std::move(newName);
      document_->Touch();
      return S_OK;
    });
  }

  HRESULT SetElementTimes(const OLECHAR* pwcsName, const FILETIME* pctime, const FILETIME* patime,
                          const FILETIME* pmtime) override {
    std::shared_ptr<StgNode> node;
    HRESULT hr = FindElement(pwcsName, node);
    if (FAILED(hr)) return hr;
    if (!CanWrite()) return STG_E_ACCESSDENIED;
    if (pctime) node->ctime = *pctime;
    if (patime) node->atime = *patime;
    if (pmtime) node->mtime = *pmtime;
    document_->Touch();
    return S_OK;
  }

  HRESULT SetClass(REFCLSID clsid) override {
    if (Node()->gone) return STG_E_REVERTED;
    if (!CanWrite()) return STG_E_ACCESSDENIED;
    Node()->clsid = clsid;
    document_->Touch();
    return S_OK;
  }

  HRESULT SetStateBits(DWORD grfStateBits, DWORD grfMask) override {
    if (Node()->gone) return STG_E_REVERTED;
    if (!CanWrite()) return STG_E_ACCESSDENIED;
    Node()->stateBits = (Node()->stateBits & ~grfMask) | (grfStateBits & grfMask);
    document_->Touch();
    return S_OK;
  }

  HRESULT Stat(STATSTG* pstatstg, DWORD grfStatFlag) override {
    if (Node()->gone) return STG_E_REVERTED;
    return Guarded([&] {
      std::wstring name;
      if (node_) {
        name = node_->name;
      } else if (!FromUtf8(document_->Path().c_str(), name)) {
        name.assign(document_->Path().begin(), document_->Path().end());
      }
      return FillStat(*Node(), name, mode_, grfStatFlag, pstatstg);
    });
  }

 private:
  friend class Counted<StorageObject, IStorage>;
  ~StorageObject() = default;

  StgNode* Node() const { return node_ ? node_.get() : document_->Root().get(); }
  bool CanWrite() const { return Writable(mode_) && Writable(document_->Mode()); }

  HRESULT CheckChildMode(DWORD mode) const {
    if ((mode & 3) == 3) return STG_E_INVALIDFLAG;
    if (mode & (STGM_DELETEONRELEASE | STGM_CONVERT)) return STG_E_INVALIDFUNCTION;
    if (Writable(mode) && !CanWrite()) return STG_E_ACCESSDENIED;
    return S_OK;
  }

  HRESULT FindElement(const OLECHAR* name, std::shared_ptr<StgNode>& node) const {
    HRESULT hr = CheckElementName(name);
    if (FAILED(hr)) return hr;
    if (Node()->gone) return STG_E_REVERTED;
    return Guarded([&] {
      node = Node()->Find(name);
      return node ? S_OK : STG_E_FILENOTFOUND;
    });
  }

  HRESULT OpenElement(const OLECHAR* name, DWORD mode, bool storage, std::shared_ptr<StgNode>& node) const {
    HRESULT hr = CheckChildMode(mode);
    if (SUCCEEDED(hr) && (mode & STGM_CREATE)) hr = STG_E_INVALIDFLAG;
    if (SUCCEEDED(hr)) hr = FindElement(name, node);
    if (SUCCEEDED(hr) && node->isStorage != storage) hr = STG_E_FILENOTFOUND;
    return hr;
  }

  HRESULT CreateElement(const OLECHAR* name, DWORD mode, bool storage, std::shared_ptr<StgNode>& node) {
    HRESULT hr = CheckElementName(name);
    if (FAILED(hr)) return hr;
    if (Node()->gone) return STG_E_REVERTED;
    hr = CheckChildMode(mode);
    if (FAILED(hr)) return hr;
    if (!CanWrite()) return STG_E_ACCESSDENIED;
    return Guarded([&] {
      auto fresh = std::make_shared<StgNode>();
      fresh->name = name;
      fresh->isStorage = storage;
      Node()->children.reserve(Node()->children.size() + 1);
      if (const auto existing = Node()->Find(fresh->name)) {
        if (!(mode & STGM_CREATE)) return STG_E_FILEALREADYEXISTS;
        Detach(existing);
      }
      Node()->children.push_back(fresh);
      node = std::move(fresh);
      document_->Touch();
      return S_OK;
    });
  }

  void Detach(const std::shared_ptr<StgNode>& child) {
    auto& children = Node()->children;
    children.erase(std::remove(children.begin(), children.end(), child), children.end());
    child->Abandon();
    document_->Touch();
  }

  DocumentPtr document_;
  std::shared_ptr<StgNode> node_;
  DWORD mode_;
  int depth_;
};

std::string TemporaryFolder() {
  const char* folder = std::getenv("TMPDIR");
  return (folder && *folder) ? folder : "/tmp";
}

HRESULT OpenDocument(std::string path, std::shared_ptr<StgNode> root, DWORD mode, bool deleteOnRelease,
                     IStorage** storage) {
  return Guarded([&] {
    auto document = std::make_shared<StgDocument>(std::move(path), std::move(root), mode, deleteOnRelease);
    *storage = new StorageObject(std::move(document), nullptr, mode, 0);
    return S_OK;
  });
}

}  // namespace
}  // namespace ykstd_detail

using namespace ykstd_detail;

HRESULT StgCreateDocfile(const WCHAR* pwcsName, DWORD grfMode, DWORD reserved, IStorage** ppstgOpen) {
  if (!ppstgOpen) return STG_E_INVALIDPOINTER;
  *ppstgOpen = nullptr;
  if (reserved) return STG_E_INVALIDPARAMETER;
  if (!Writable(grfMode) || (grfMode & 3) == 3 || (grfMode & STGM_CONVERT)) return STG_E_INVALIDFLAG;
  return Guarded([&] {
    std::string path;
    bool deleteOnRelease = (grfMode & STGM_DELETEONRELEASE) != 0;
    if (!pwcsName) {
      path = TemporaryFolder() + "/~ykstd" + std::to_string(::getpid()) + "XXXXXX";
      const int fd = ::mkstemp(path.data());
      if (fd < 0) return STG_E_PATHNOTFOUND;
      ::close(fd);
      deleteOnRelease = true;
    } else {
      path = ToUtf8(pwcsName);
      if (path.empty()) return STG_E_INVALIDNAME;
      struct stat info {};
      if (::stat(path.c_str(), &info) == 0) {
        if (S_ISDIR(info.st_mode)) return STG_E_ACCESSDENIED;
        if (!(grfMode & STGM_CREATE)) return STG_E_FILEALREADYEXISTS;
      }
    }
    auto root = std::make_shared<StgNode>();
    root->isStorage = true;
    std::vector<BYTE> bytes;
    HRESULT hr = SerializeCompoundFile(*root, bytes);
    if (SUCCEEDED(hr)) hr = WriteFileAtomically(path, bytes);
    if (FAILED(hr)) {
      if (!pwcsName) ::unlink(path.c_str());
      return hr;
    }
    return OpenDocument(std::move(path), std::move(root), grfMode, deleteOnRelease, ppstgOpen);
  });
}

HRESULT StgOpenStorage(const WCHAR* pwcsName, IStorage* pstgPriority, DWORD grfMode, SNB snbExclude, DWORD reserved,
                       IStorage** ppstgOpen) {
  if (!ppstgOpen) return STG_E_INVALIDPOINTER;
  *ppstgOpen = nullptr;
  if (!pwcsName || !*pwcsName) return STG_E_INVALIDNAME;
  if (pstgPriority || snbExclude || reserved) return STG_E_INVALIDPARAMETER;
  if ((grfMode & 3) == 3 || (grfMode & (STGM_CREATE | STGM_CONVERT | STGM_DELETEONRELEASE))) return STG_E_INVALIDFLAG;
  return Guarded([&] {
    std::string path = ToUtf8(pwcsName);
    std::vector<BYTE> bytes;
    HRESULT hr = ReadWholeFile(path, bytes);
    if (FAILED(hr)) return hr;
    if (Writable(grfMode) && ::access(path.c_str(), W_OK) != 0) return STG_E_ACCESSDENIED;
    std::shared_ptr<StgNode> root;
    hr = ParseCompoundFile(bytes.data(), bytes.size(), root);
    if (FAILED(hr)) return hr;
    return OpenDocument(std::move(path), std::move(root), grfMode, false, ppstgOpen);
  });
}

HRESULT StgIsStorageFile(const WCHAR* pwcsName) {
  if (!pwcsName || !*pwcsName) return STG_E_INVALIDNAME;
  return Guarded([&] {
    std::vector<BYTE> bytes;
    const HRESULT hr = ReadWholeFile(ToUtf8(pwcsName), bytes);
    if (FAILED(hr)) return hr;
    return HasCompoundSignature(bytes.data(), bytes.size()) ? S_OK : S_FALSE;
  });
}

void* CoTaskMemAlloc(std::size_t cb) { return std::malloc(cb ? cb : 1); }
void CoTaskMemFree(void* pv) { std::free(pv); }
