// The in-memory form of a compound file that the storage and stream objects work on, and the file
// side: reading a compound file into it and writing it back. Private to the library.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <ykstd/platform/Storage.hxx>

namespace ykstd_detail {

// Deeper nesting than this is refused on reading and on creating, so that no walk recurses without
// bound on a damaged file.
inline constexpr int kMaxStorageDepth = 256;
// The largest stream held; a version 3 compound file cannot address more.
inline constexpr ULONGLONG kMaxStreamSize = 0x7FFFFFFFu;

struct StgNode {
  std::wstring name;
  bool isStorage = false;
  std::vector<BYTE> data;                          // a stream's bytes
  std::vector<std::shared_ptr<StgNode>> children;  // a storage's elements, in no particular order
  CLSID clsid{};
  DWORD stateBits = 0;
  FILETIME ctime{}, mtime{}, atime{};
  bool gone = false;  // destroyed or reverted while an object still held it

  std::shared_ptr<StgNode> Find(const std::wstring& childName) const;
  // Marks this node and everything below it as gone.
  void Abandon();
  std::shared_ptr<StgNode> DeepCopy() const;
};

// Element names are compared as the file format does: without regard to ASCII case.
bool SameElementName(const std::wstring& a, const std::wstring& b);
// The file format's order: shorter names first, then by upper-cased code units.
bool ElementNameLess(const std::wstring& a, const std::wstring& b);
// S_OK, or STG_E_INVALIDNAME for an empty or too long name or one with '/', '\\', ':' or '!'.
HRESULT CheckElementName(const OLECHAR* name);

std::string ToUtf8(const std::wstring& text);
// False for text that is not well-formed UTF-8.
bool FromUtf8(const char* text, std::wstring& out);

// True when the bytes begin with the compound file signature.
bool HasCompoundSignature(const BYTE* bytes, std::size_t size);
// Parses the bytes of a compound file into a tree. STG_E_FILEALREADYEXISTS when the bytes do not
// begin like a compound file, STG_E_DOCFILECORRUPT when its structure is damaged.
HRESULT ParseCompoundFile(const BYTE* bytes, std::size_t size, std::shared_ptr<StgNode>& root);
// The bytes of a compound file holding the tree.
HRESULT SerializeCompoundFile(const StgNode& root, std::vector<BYTE>& bytes);

// Reads a whole file; STG_E_FILENOTFOUND, STG_E_PATHNOTFOUND, STG_E_ACCESSDENIED or STG_E_READFAULT.
HRESULT ReadWholeFile(const std::string& path, std::vector<BYTE>& bytes);
// Replaces the file by the bytes so that a crash leaves either the old or the new file whole: the
// bytes go to a temporary file in the same folder, which is flushed to disk and renamed over the
// target, and the folder is flushed after. A failure removes the temporary file.
HRESULT WriteFileAtomically(const std::string& path, const std::vector<BYTE>& bytes);

}  // namespace ykstd_detail
