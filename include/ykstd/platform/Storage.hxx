// Structured storage: compound files with nested storages and streams, under their Windows names,
// signatures, flag values and result codes.
//
// Elsewhere than on Windows the library supplies these itself: a storage file is read whole into
// memory on opening, edits stay in memory, and the whole file is written anew, atomically (temporary
// file, flush, rename), on Commit or on the last Release of a storage opened in direct mode.
// Sharing flags are accepted and not enforced; see the notes at StgOpenStorage.
#pragma once

#include <cstddef>

#include <ykstd/platform/Unknown.hxx>

// Access, sharing and creation flags (grfMode).
inline constexpr DWORD STGM_DIRECT = 0x00000000;
inline constexpr DWORD STGM_TRANSACTED = 0x00010000;
inline constexpr DWORD STGM_SIMPLE = 0x08000000;
inline constexpr DWORD STGM_READ = 0x00000000;
inline constexpr DWORD STGM_WRITE = 0x00000001;
inline constexpr DWORD STGM_READWRITE = 0x00000002;
inline constexpr DWORD STGM_SHARE_DENY_NONE = 0x00000040;
inline constexpr DWORD STGM_SHARE_DENY_READ = 0x00000030;
inline constexpr DWORD STGM_SHARE_DENY_WRITE = 0x00000020;
inline constexpr DWORD STGM_SHARE_EXCLUSIVE = 0x00000010;
inline constexpr DWORD STGM_PRIORITY = 0x00040000;
inline constexpr DWORD STGM_DELETEONRELEASE = 0x04000000;
inline constexpr DWORD STGM_NOSCRATCH = 0x00100000;
inline constexpr DWORD STGM_CREATE = 0x00001000;
inline constexpr DWORD STGM_CONVERT = 0x00020000;
inline constexpr DWORD STGM_FAILIFTHERE = 0x00000000;
inline constexpr DWORD STGM_NOSNAPSHOT = 0x00200000;
inline constexpr DWORD STGM_DIRECT_SWMR = 0x00400000;

// Commit flags.
inline constexpr DWORD STGC_DEFAULT = 0;
inline constexpr DWORD STGC_OVERWRITE = 1;
inline constexpr DWORD STGC_ONLYIFCURRENT = 2;
inline constexpr DWORD STGC_DANGEROUSLYCOMMITMERELYTODISKCACHE = 4;
inline constexpr DWORD STGC_CONSOLIDATE = 8;

// Seek origins.
inline constexpr DWORD STREAM_SEEK_SET = 0;
inline constexpr DWORD STREAM_SEEK_CUR = 1;
inline constexpr DWORD STREAM_SEEK_END = 2;

// Element types in STATSTG::type.
inline constexpr DWORD STGTY_STORAGE = 1;
inline constexpr DWORD STGTY_STREAM = 2;
inline constexpr DWORD STGTY_LOCKBYTES = 3;
inline constexpr DWORD STGTY_PROPERTY = 4;

// What Stat fills in.
inline constexpr DWORD STATFLAG_DEFAULT = 0;
inline constexpr DWORD STATFLAG_NONAME = 1;
inline constexpr DWORD STATFLAG_NOOPEN = 2;

// Moves of MoveElementTo.
inline constexpr DWORD STGMOVE_MOVE = 0;
inline constexpr DWORD STGMOVE_COPY = 1;

// Results of the storage functions.
inline constexpr HRESULT STG_E_INVALIDFUNCTION = MakeHResult(0x80030001u);
inline constexpr HRESULT STG_E_FILENOTFOUND = MakeHResult(0x80030002u);
inline constexpr HRESULT STG_E_PATHNOTFOUND = MakeHResult(0x80030003u);
inline constexpr HRESULT STG_E_TOOMANYOPENFILES = MakeHResult(0x80030004u);
inline constexpr HRESULT STG_E_ACCESSDENIED = MakeHResult(0x80030005u);
inline constexpr HRESULT STG_E_INVALIDHANDLE = MakeHResult(0x80030006u);
inline constexpr HRESULT STG_E_INSUFFICIENTMEMORY = MakeHResult(0x80030008u);
inline constexpr HRESULT STG_E_INVALIDPOINTER = MakeHResult(0x80030009u);
inline constexpr HRESULT STG_E_NOMOREFILES = MakeHResult(0x80030012u);
inline constexpr HRESULT STG_E_DISKISWRITEPROTECTED = MakeHResult(0x80030013u);
inline constexpr HRESULT STG_E_SEEKERROR = MakeHResult(0x80030019u);
inline constexpr HRESULT STG_E_WRITEFAULT = MakeHResult(0x8003001Du);
inline constexpr HRESULT STG_E_READFAULT = MakeHResult(0x8003001Eu);
inline constexpr HRESULT STG_E_SHAREVIOLATION = MakeHResult(0x80030020u);
inline constexpr HRESULT STG_E_LOCKVIOLATION = MakeHResult(0x80030021u);
inline constexpr HRESULT STG_E_FILEALREADYEXISTS = MakeHResult(0x80030050u);
inline constexpr HRESULT STG_E_INVALIDPARAMETER = MakeHResult(0x80030057u);
inline constexpr HRESULT STG_E_MEDIUMFULL = MakeHResult(0x80030070u);
inline constexpr HRESULT STG_E_INVALIDHEADER = MakeHResult(0x800300FBu);
inline constexpr HRESULT STG_E_INVALIDNAME = MakeHResult(0x800300FCu);
inline constexpr HRESULT STG_E_UNKNOWN = MakeHResult(0x800300FDu);
inline constexpr HRESULT STG_E_UNIMPLEMENTEDFUNCTION = MakeHResult(0x800300FEu);
inline constexpr HRESULT STG_E_INVALIDFLAG = MakeHResult(0x800300FFu);
inline constexpr HRESULT STG_E_INUSE = MakeHResult(0x80030100u);
inline constexpr HRESULT STG_E_NOTCURRENT = MakeHResult(0x80030101u);
inline constexpr HRESULT STG_E_REVERTED = MakeHResult(0x80030102u);
inline constexpr HRESULT STG_E_CANTSAVE = MakeHResult(0x80030103u);
inline constexpr HRESULT STG_E_OLDFORMAT = MakeHResult(0x80030104u);
inline constexpr HRESULT STG_E_OLDDLL = MakeHResult(0x80030105u);
inline constexpr HRESULT STG_E_SHAREREQUIRED = MakeHResult(0x80030106u);
inline constexpr HRESULT STG_E_NOTFILEBASEDSTORAGE = MakeHResult(0x80030107u);
inline constexpr HRESULT STG_E_EXTANTMARSHALLINGS = MakeHResult(0x80030108u);
inline constexpr HRESULT STG_E_DOCFILECORRUPT = MakeHResult(0x80030109u);
inline constexpr HRESULT STG_E_BADBASEADDRESS = MakeHResult(0x80030110u);
inline constexpr HRESULT STG_E_DOCFILETOOLARGE = MakeHResult(0x80030111u);
inline constexpr HRESULT STG_E_INCOMPLETE = MakeHResult(0x80030201u);
inline constexpr HRESULT STG_E_TERMINATED = MakeHResult(0x80030202u);
inline constexpr HRESULT STG_S_CONVERTED = MakeHResult(0x00030200u);

// What Stat and the element enumerator report. pwcsName is allocated with CoTaskMemAlloc and belongs
// to the caller, who frees it with CoTaskMemFree.
struct STATSTG {
  LPOLESTR pwcsName;
  DWORD type;
  ULARGE_INTEGER cbSize;
  FILETIME mtime;
  FILETIME ctime;
  FILETIME atime;
  DWORD grfMode;
  DWORD grfLocksSupported;
  CLSID clsid;
  DWORD grfStateBits;
  DWORD reserved;
};

// A list of element names, null-terminated (used to exclude elements).
using SNB = LPOLESTR*;

struct ISequentialStream : IUnknown {
  static constexpr IID iid{0x0C733A30, 0x2A1C, 0x11CE, {0xAD, 0xE5, 0x00, 0xAA, 0x00, 0x44, 0x77, 0x3D}};
  virtual HRESULT Read(void* pv, ULONG cb, ULONG* pcbRead) = 0;
  virtual HRESULT Write(const void* pv, ULONG cb, ULONG* pcbWritten) = 0;

 protected:
  ~ISequentialStream() = default;
};

struct IStream : ISequentialStream {
  static constexpr IID iid{0x0000000C, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
  virtual HRESULT Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER* plibNewPosition) = 0;
  virtual HRESULT SetSize(ULARGE_INTEGER libNewSize) = 0;
  virtual HRESULT CopyTo(IStream* pstm, ULARGE_INTEGER cb, ULARGE_INTEGER* pcbRead, ULARGE_INTEGER* pcbWritten) = 0;
  virtual HRESULT Commit(DWORD grfCommitFlags) = 0;
  virtual HRESULT Revert() = 0;
  virtual HRESULT LockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) = 0;
  virtual HRESULT UnlockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) = 0;
  virtual HRESULT Stat(STATSTG* pstatstg, DWORD grfStatFlag) = 0;
  virtual HRESULT Clone(IStream** ppstm) = 0;

 protected:
  ~IStream() = default;
};

struct IEnumSTATSTG : IUnknown {
  static constexpr IID iid{0x0000000D, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
  // S_OK when celt elements came, S_FALSE when fewer did.
  virtual HRESULT Next(ULONG celt, STATSTG* rgelt, ULONG* pceltFetched) = 0;
  virtual HRESULT Skip(ULONG celt) = 0;
  virtual HRESULT Reset() = 0;
  virtual HRESULT Clone(IEnumSTATSTG** ppenum) = 0;

 protected:
  ~IEnumSTATSTG() = default;
};

struct IStorage : IUnknown {
  static constexpr IID iid{0x0000000B, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
  virtual HRESULT CreateStream(const OLECHAR* pwcsName, DWORD grfMode, DWORD reserved1, DWORD reserved2,
                               IStream** ppstm) = 0;
  virtual HRESULT OpenStream(const OLECHAR* pwcsName, void* reserved1, DWORD grfMode, DWORD reserved2,
                             IStream** ppstm) = 0;
  virtual HRESULT CreateStorage(const OLECHAR* pwcsName, DWORD grfMode, DWORD reserved1, DWORD reserved2,
                                IStorage** ppstg) = 0;
  virtual HRESULT OpenStorage(const OLECHAR* pwcsName, IStorage* pstgPriority, DWORD grfMode, SNB snbExclude,
                              DWORD reserved, IStorage** ppstg) = 0;
  virtual HRESULT CopyTo(DWORD ciidExclude, const IID* rgiidExclude, SNB snbExclude, IStorage* pstgDest) = 0;
  virtual HRESULT MoveElementTo(const OLECHAR* pwcsName, IStorage* pstgDest, const OLECHAR* pwcsNewName,
                                DWORD grfFlags) = 0;
  virtual HRESULT Commit(DWORD grfCommitFlags) = 0;
  virtual HRESULT Revert() = 0;
  virtual HRESULT EnumElements(DWORD reserved1, void* reserved2, DWORD reserved3, IEnumSTATSTG** ppenum) = 0;
  virtual HRESULT DestroyElement(const OLECHAR* pwcsName) = 0;
  virtual HRESULT RenameElement(const OLECHAR* pwcsOldName, const OLECHAR* pwcsNewName) = 0;
  virtual HRESULT SetElementTimes(const OLECHAR* pwcsName, const FILETIME* pctime, const FILETIME* patime,
                                  const FILETIME* pmtime) = 0;
  virtual HRESULT SetClass(REFCLSID clsid) = 0;
  virtual HRESULT SetStateBits(DWORD grfStateBits, DWORD grfMask) = 0;
  virtual HRESULT Stat(STATSTG* pstatstg, DWORD grfStatFlag) = 0;

 protected:
  ~IStorage() = default;
};

inline const IID& IID_ISequentialStream = ISequentialStream::iid;
inline const IID& IID_IStream = IStream::iid;
inline const IID& IID_IEnumSTATSTG = IEnumSTATSTG::iid;
inline const IID& IID_IStorage = IStorage::iid;

using IStreamPtr = _com_ptr_t<IStream>;
using IEnumSTATSTGPtr = _com_ptr_t<IEnumSTATSTG>;
using IStoragePtr = _com_ptr_t<IStorage>;

// Creates a compound file. A null name makes a temporary file that is deleted on the last Release.
// Needs write access in grfMode. STGM_CREATE replaces an existing file; without it an existing file
// gives STG_E_FILEALREADYEXISTS. The new, empty file is on disk when this returns.
YKSTD_EXPORT HRESULT StgCreateDocfile(const WCHAR* pwcsName, DWORD grfMode, DWORD reserved, IStorage** ppstgOpen);

// Opens a compound file. A missing file gives STG_E_FILENOTFOUND, a file that is not a compound file
// STG_E_FILEALREADYEXISTS, a damaged one STG_E_DOCFILECORRUPT. The sharing flags are accepted and not
// enforced: two openers of one file each work on their own copy, and the last to save wins.
// pstgPriority and snbExclude are not supported and must be null.
YKSTD_EXPORT HRESULT StgOpenStorage(const WCHAR* pwcsName, IStorage* pstgPriority, DWORD grfMode, SNB snbExclude,
                                    DWORD reserved, IStorage** ppstgOpen);

// S_OK for a compound file, S_FALSE for another file, STG_E_FILENOTFOUND when there is none.
YKSTD_EXPORT HRESULT StgIsStorageFile(const WCHAR* pwcsName);

// The task allocator that owns the names in STATSTG.
YKSTD_EXPORT void* CoTaskMemAlloc(std::size_t cb);
YKSTD_EXPORT void CoTaskMemFree(void* pv);
