// The file side of compound files: names, parsing and writing through libgsf, and whole-file I/O.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <mutex>

#include <gsf/gsf-infile-msole.h>
#include <gsf/gsf-infile.h>
#include <gsf/gsf-input-memory.h>
#include <gsf/gsf-outfile-msole.h>
#include <gsf/gsf-outfile.h>
#include <gsf/gsf-output-memory.h>
#include <gsf/gsf-utils.h>

#include "StorageTree.hxx"

namespace ykstd_detail {

namespace {

constexpr BYTE kSignature[8] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
constexpr std::size_t kCopyChunk = 64 * 1024;

wchar_t UpperAscii(wchar_t c) { return (c >= L'a' && c <= L'z') ? wchar_t(c - L'a' + L'A') : c; }

// Code units of the name in UTF-16, as the file stores it.
std::size_t Utf16Length(const std::wstring& name) {
  std::size_t units = 0;
  for (wchar_t c : name) units += (static_cast<std::uint32_t>(c) > 0xFFFF) ? 2 : 1;
  return units;
}

void EnsureGsf() {
  static std::once_flag once;
  std::call_once(once, [] { gsf_init(); });
}

// Owns one GObject reference.
template <class T>
struct GRef {
  T* p = nullptr;
  explicit GRef(T* object) : p(object) {}
  GRef(const GRef&) = delete;
  GRef& operator=(const GRef&) = delete;
  ~GRef() {
    if (p) g_object_unref(p);
  }
};

// libgsf reports every oddity of a damaged file on standard error; what matters reaches the caller
// as a result code, so its messages are dropped while it works for us.
class QuietGsf {
 public:
  QuietGsf() {
    for (int i = 0; i < 3; ++i) ids_[i] = g_log_set_handler(kDomains[i], kLevels, Drop, nullptr);
  }
  QuietGsf(const QuietGsf&) = delete;
  QuietGsf& operator=(const QuietGsf&) = delete;
  ~QuietGsf() {
    for (int i = 0; i < 3; ++i) g_log_remove_handler(kDomains[i], ids_[i]);
  }

 private:
  static constexpr const char* kDomains[3] = {nullptr, "libgsf", "libgsf:msole"};
  static constexpr auto kLevels =
      GLogLevelFlags(G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING | G_LOG_LEVEL_MESSAGE | G_LOG_LEVEL_INFO);
  static void Drop(const gchar*, GLogLevelFlags, const gchar*, gpointer) {}
  guint ids_[3] = {};
};

void GuidToBytes(const GUID& g, guint8 out[16]) {
  for (int i = 0; i < 4; ++i) out[i] = guint8(g.Data1 >> (8 * i));
  out[4] = guint8(g.Data2), out[5] = guint8(g.Data2 >> 8);
  out[6] = guint8(g.Data3), out[7] = guint8(g.Data3 >> 8);
  std::memcpy(out + 8, g.Data4, 8);
}

GUID GuidFromBytes(const guint8 in[16]) {
  GUID g{};
  for (int i = 0; i < 4; ++i) g.Data1 |= DWORD(in[i]) << (8 * i);
  g.Data2 = WORD(in[4] | (in[5] << 8));
  g.Data3 = WORD(in[6] | (in[7] << 8));
  std::memcpy(g.Data4, in + 8, 8);
  return g;
}

struct ParseState {
  std::size_t budget;  // bytes of stream data still believable for a file of this size
};

HRESULT ReadStreamData(GsfInput* input, std::vector<BYTE>& data, ParseState& state) {
  const gsf_off_t size = gsf_input_size(input);
  if (size < 0 || static_cast<ULONGLONG>(size) > kMaxStreamSize) return STG_E_DOCFILECORRUPT;
  // Every sector belongs to one stream, so a sound file holds no more stream data than its size;
  // more means chains that share sectors, and stopping here bounds the memory a damaged file takes.
  if (static_cast<std::size_t>(size) > state.budget) return STG_E_DOCFILECORRUPT;
  state.budget -= static_cast<std::size_t>(size);
  data.reserve(static_cast<std::size_t>(size));
  gsf_off_t left = size;
  while (left > 0) {
    const std::size_t chunk = left > gsf_off_t(kCopyChunk) ? kCopyChunk : std::size_t(left);
    const guint8* bytes = gsf_input_read(input, chunk, nullptr);
    if (!bytes) return STG_E_DOCFILECORRUPT;
    data.insert(data.end(), bytes, bytes + chunk);
    left -= gsf_off_t(chunk);
  }
  return S_OK;
}

HRESULT ParseStorage(GsfInfile* infile, StgNode& node, int depth, ParseState& state) {
  if (depth > kMaxStorageDepth) return STG_E_DOCFILECORRUPT;
  guint8 clsid[16];
  if (GSF_IS_INFILE_MSOLE(infile) && gsf_infile_msole_get_class_id(GSF_INFILE_MSOLE(infile), clsid))
    node.clsid = GuidFromBytes(clsid);
  const int count = gsf_infile_num_children(infile);
  for (int i = 0; i < count; ++i) {
    GRef<GsfInput> child(gsf_infile_child_by_index(infile, i));
    if (!child.p) return STG_E_DOCFILECORRUPT;
    auto element = std::make_shared<StgNode>();
    const char* name = gsf_input_name(child.p);
    if (!name || !FromUtf8(name, element->name) || element->name.empty()) return STG_E_DOCFILECORRUPT;
    if (node.Find(element->name)) return STG_E_DOCFILECORRUPT;
    const bool isStorage = GSF_IS_INFILE(child.p) && gsf_infile_num_children(GSF_INFILE(child.p)) >= 0;
    element->isStorage = isStorage;
    const HRESULT hr = isStorage ? ParseStorage(GSF_INFILE(child.p), *element, depth + 1, state)
                                 : ReadStreamData(child.p, element->data, state);
    if (FAILED(hr)) return hr;
    node.children.push_back(std::move(element));
  }
  return S_OK;
}

HRESULT WriteStorage(GsfOutfile* outfile, const StgNode& node) {
  if (GSF_IS_OUTFILE_MSOLE(outfile)) {
    guint8 clsid[16];
    GuidToBytes(node.clsid, clsid);
    gsf_outfile_msole_set_class_id(GSF_OUTFILE_MSOLE(outfile), clsid);
  }
  for (const auto& child : node.children) {
    const std::string name = ToUtf8(child->name);
    GRef<GsfOutput> out(gsf_outfile_new_child(outfile, name.c_str(), child->isStorage));
    if (!out.p) return STG_E_WRITEFAULT;
    HRESULT hr = S_OK;
    if (child->isStorage) {
      hr = WriteStorage(GSF_OUTFILE(out.p), *child);
    } else if (!child->data.empty() && !gsf_output_write(out.p, child->data.size(), child->data.data())) {
      hr = STG_E_WRITEFAULT;
    }
    if (!gsf_output_close(out.p) && SUCCEEDED(hr)) hr = STG_E_WRITEFAULT;
    if (FAILED(hr)) return hr;
  }
  return S_OK;
}

HRESULT ErrnoResult(int error, HRESULT otherwise) {
  switch (error) {
    case ENOENT: return STG_E_FILENOTFOUND;
    case ENOTDIR: return STG_E_PATHNOTFOUND;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR: return STG_E_ACCESSDENIED;
    case ENOSPC:
    case EDQUOT:
    case EFBIG: return STG_E_MEDIUMFULL;
    case EMFILE:
    case ENFILE: return STG_E_TOOMANYOPENFILES;
    case ENOMEM: return STG_E_INSUFFICIENTMEMORY;
    case ENAMETOOLONG: return STG_E_INVALIDNAME;
    default: return otherwise;
  }
}

std::string FolderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

bool WriteAll(int fd, const BYTE* bytes, std::size_t size) {
  while (size > 0) {
    const ssize_t done = ::write(fd, bytes, size);
    if (done < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    bytes += done;
    size -= std::size_t(done);
  }
  return true;
}

}  // namespace

std::shared_ptr<StgNode> StgNode::Find(const std::wstring& childName) const {
  for (const auto& child : children)
    if (SameElementName(child->name, childName)) return child;
  return nullptr;
}

void StgNode::Abandon() {
  gone = true;
  for (const auto& child : children) child->Abandon();
}

std::shared_ptr<StgNode> StgNode::DeepCopy() const {
  auto copy = std::make_shared<StgNode>();
  copy->name = name;
  copy->isStorage = isStorage;
  copy->data = data;
  copy->clsid = clsid;
  copy->stateBits = stateBits;
  copy->ctime = ctime, copy->mtime = mtime, copy->atime = atime;
  copy->children.reserve(children.size());
  for (const auto& child : children) copy->children.push_back(child->DeepCopy());
  return copy;
}

bool SameElementName(const std::wstring& a, const std::wstring& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i)
    if (UpperAscii(a[i]) != UpperAscii(b[i])) return false;
  return true;
}

bool ElementNameLess(const std::wstring& a, const std::wstring& b) {
  const std::size_t la = Utf16Length(a), lb = Utf16Length(b);
  if (la != lb) return la < lb;
  for (std::size_t i = 0; i < a.size() && i < b.size(); ++i) {
    const wchar_t ca = UpperAscii(a[i]), cb = UpperAscii(b[i]);
    if (ca != cb) return ca < cb;
  }
  return a.size() < b.size();
}

HRESULT CheckElementName(const OLECHAR* name) {
  if (!name) return STG_E_INVALIDNAME;
  std::size_t units = 0;
  for (const OLECHAR* c = name; *c; ++c) {
    const auto code = static_cast<std::uint32_t>(*c);
    if (*c == L'/' || *c == L'\\' || *c == L':' || *c == L'!') return STG_E_INVALIDNAME;
    if (code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return STG_E_INVALIDNAME;
    units += code > 0xFFFF ? 2 : 1;
    if (units > 31) return STG_E_INVALIDNAME;
  }
  return units == 0 ? STG_E_INVALIDNAME : S_OK;
}

std::string ToUtf8(const std::wstring& text) {
  std::string out;
  out.reserve(text.size());
  for (wchar_t wc : text) {
    auto c = static_cast<std::uint32_t>(wc);
    if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) c = 0xFFFD;
    if (c < 0x80) {
      out += char(c);
    } else if (c < 0x800) {
      out += char(0xC0 | (c >> 6));
      out += char(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      out += char(0xE0 | (c >> 12));
      out += char(0x80 | ((c >> 6) & 0x3F));
      out += char(0x80 | (c & 0x3F));
    } else {
      out += char(0xF0 | (c >> 18));
      out += char(0x80 | ((c >> 12) & 0x3F));
      out += char(0x80 | ((c >> 6) & 0x3F));
      out += char(0x80 | (c & 0x3F));
    }
  }
  return out;
}

bool FromUtf8(const char* text, std::wstring& out) {
  out.clear();
  const auto* p = reinterpret_cast<const unsigned char*>(text);
  while (*p) {
    std::uint32_t c = *p++;
    int more = 0;
    std::uint32_t least = 0;
    if (c < 0x80) {
      more = 0;
    } else if ((c & 0xE0) == 0xC0) {
      c &= 0x1F, more = 1, least = 0x80;
    } else if ((c & 0xF0) == 0xE0) {
      c &= 0x0F, more = 2, least = 0x800;
    } else if ((c & 0xF8) == 0xF0) {
      c &= 0x07, more = 3, least = 0x10000;
    } else {
      return false;
    }
    for (int i = 0; i < more; ++i, ++p) {
      if ((*p & 0xC0) != 0x80) return false;
      c = (c << 6) | (*p & 0x3F);
    }
    if (c < least || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) return false;
    out += static_cast<wchar_t>(c);
  }
  return true;
}

bool HasCompoundSignature(const BYTE* bytes, std::size_t size) {
  return size >= sizeof kSignature && std::memcmp(bytes, kSignature, sizeof kSignature) == 0;
}

HRESULT ParseCompoundFile(const BYTE* bytes, std::size_t size, std::shared_ptr<StgNode>& root) {
  if (!HasCompoundSignature(bytes, size)) return STG_E_FILEALREADYEXISTS;
  EnsureGsf();
  QuietGsf quiet;
  GRef<GsfInput> input(gsf_input_memory_new(bytes, gsf_off_t(size), FALSE));
  if (!input.p) return STG_E_INSUFFICIENTMEMORY;
  GError* error = nullptr;
  GRef<GsfInfile> ole(gsf_infile_msole_new(input.p, &error));
  if (error) g_error_free(error);
  if (!ole.p) return STG_E_DOCFILECORRUPT;
  auto tree = std::make_shared<StgNode>();
  tree->isStorage = true;
  ParseState state{size};
  const HRESULT hr = ParseStorage(ole.p, *tree, 0, state);
  if (FAILED(hr)) return hr;
  root = std::move(tree);
  return S_OK;
}

HRESULT SerializeCompoundFile(const StgNode& root, std::vector<BYTE>& bytes) {
  EnsureGsf();
  QuietGsf quiet;
  GRef<GsfOutput> sink(gsf_output_memory_new());
  if (!sink.p) return STG_E_INSUFFICIENTMEMORY;
  HRESULT hr = S_OK;
  {
    GRef<GsfOutfile> ole(gsf_outfile_msole_new(sink.p));
    if (!ole.p) return STG_E_WRITEFAULT;
    hr = WriteStorage(ole.p, root);
    if (!gsf_output_close(GSF_OUTPUT(ole.p)) && SUCCEEDED(hr)) hr = STG_E_WRITEFAULT;
  }
  if (SUCCEEDED(hr)) {
    const gsf_off_t size = gsf_output_size(sink.p);
    const guint8* data = gsf_output_memory_get_bytes(GSF_OUTPUT_MEMORY(sink.p));
    if (size < 0 || (size > 0 && !data)) {
      hr = STG_E_WRITEFAULT;
    } else {
      bytes.assign(data, data + size);
    }
  }
  return hr;  // the compound file writer closed the sink
}

HRESULT ReadWholeFile(const std::string& path, std::vector<BYTE>& bytes) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return ErrnoResult(errno, STG_E_READFAULT);
  HRESULT hr = S_OK;
  struct stat info {};
  if (::fstat(fd, &info) != 0) {
    hr = STG_E_READFAULT;
  } else if (S_ISDIR(info.st_mode)) {
    hr = STG_E_ACCESSDENIED;
  } else {
    bytes.clear();
    BYTE chunk[kCopyChunk];
    for (;;) {
      const ssize_t got = ::read(fd, chunk, sizeof chunk);
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) {
        hr = ErrnoResult(errno, STG_E_READFAULT);
        break;
      }
      if (got == 0) break;
      bytes.insert(bytes.end(), chunk, chunk + got);
    }
  }
  ::close(fd);
  return hr;
}

HRESULT WriteFileAtomically(const std::string& path, const std::vector<BYTE>& bytes) {
  std::string temp = path + ".ykXXXXXX";
  const int fd = ::mkstemp(temp.data());
  if (fd < 0) {
    const HRESULT hr = ErrnoResult(errno, STG_E_WRITEFAULT);
    return hr == STG_E_FILENOTFOUND ? STG_E_PATHNOTFOUND : hr;
  }
  // Keep the permissions of the file being replaced; a new file gets the usual ones.
  struct stat info {};
  mode_t permissions;
  if (::stat(path.c_str(), &info) == 0) {
    permissions = info.st_mode & 07777;
  } else {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    permissions = 0666 & ~mask;
  }
  HRESULT hr = S_OK;
  if (!WriteAll(fd, bytes.data(), bytes.size()) || ::fsync(fd) != 0) hr = ErrnoResult(errno, STG_E_WRITEFAULT);
  if (SUCCEEDED(hr) && ::fchmod(fd, permissions) != 0) hr = ErrnoResult(errno, STG_E_WRITEFAULT);
  if (::close(fd) != 0 && SUCCEEDED(hr)) hr = ErrnoResult(errno, STG_E_WRITEFAULT);
  if (SUCCEEDED(hr) && ::rename(temp.c_str(), path.c_str()) != 0) hr = ErrnoResult(errno, STG_E_WRITEFAULT);
  if (FAILED(hr)) {
    ::unlink(temp.c_str());
    return hr == STG_E_FILENOTFOUND ? STG_E_PATHNOTFOUND : hr;
  }
  // The rename itself is durable only once the folder is.
  const int dir = ::open(FolderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (dir >= 0) {
    ::fsync(dir);
    ::close(dir);
  }
  return S_OK;
}

}  // namespace ykstd_detail
