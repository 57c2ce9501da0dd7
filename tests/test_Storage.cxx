#include <gtest/gtest.h>

#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <ykstd/ykstd.hxx>

namespace {

namespace fs = std::filesystem;

constexpr DWORD kWriteExclusive = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
constexpr DWORD kReadExclusive = STGM_READ | STGM_SHARE_EXCLUSIVE;

std::wstring Wide(const std::string& text) { return std::wstring(text.begin(), text.end()); }

std::string Pattern(std::size_t size, unsigned seed) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) bytes[i] = char((i * 131 + seed * 7 + (i >> 8)) & 0xFF);
  return bytes;
}

std::string FileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

void PutFile(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

class TempFolder {
 public:
  TempFolder() {
    std::string pattern = (fs::temp_directory_path() / "ykstd-storage-XXXXXX").string();
    path_ = ::mkdtemp(pattern.data()) ? pattern : std::string();
  }
  ~TempFolder() { fs::remove_all(path_); }
  std::string File(const std::string& name) const { return path_ + "/" + name; }
  const std::string& Path() const { return path_; }
  // What is in the folder besides the named files: leftovers of saves.
  std::vector<std::string> Others(const std::vector<std::string>& expected) const {
    std::vector<std::string> others;
    for (const auto& entry : fs::directory_iterator(path_)) {
      const auto name = entry.path().filename().string();
      if (std::find(expected.begin(), expected.end(), name) == expected.end()) others.push_back(name);
    }
    return others;
  }

 private:
  std::string path_;
};

IStoragePtr CreateFile(const std::string& path, DWORD extra = 0) {
  IStoragePtr storage;
  EXPECT_EQ(StgCreateDocfile(Wide(path).c_str(), kWriteExclusive | STGM_CREATE | extra, 0, &storage), S_OK);
  return storage;
}

IStoragePtr OpenFile(const std::string& path, DWORD mode) {
  IStoragePtr storage;
  EXPECT_EQ(StgOpenStorage(Wide(path).c_str(), nullptr, mode, nullptr, 0, &storage), S_OK);
  return storage;
}

HRESULT WriteStream(IStorage* storage, const std::wstring& name, const std::string& bytes) {
  IStreamPtr stream;
  HRESULT hr = storage->CreateStream(name.c_str(), kWriteExclusive | STGM_CREATE, 0, 0, &stream);
  if (SUCCEEDED(hr)) hr = stream->Write(bytes.data(), ULONG(bytes.size()), nullptr);
  return hr;
}

std::string ReadStream(IStorage* storage, const std::wstring& name) {
  IStreamPtr stream;
  const HRESULT hr = storage->OpenStream(name.c_str(), nullptr, kReadExclusive, 0, &stream);
  if (FAILED(hr)) return "<" + std::to_string(hr) + ">";
  std::string bytes, chunk(1000, '\0');
  ULONG got = 0;
  while (SUCCEEDED(stream->Read(chunk.data(), ULONG(chunk.size()), &got)) && got > 0) bytes.append(chunk, 0, got);
  return bytes;
}

IStoragePtr SubStorage(IStorage* parent, const std::wstring& name, bool create) {
  IStoragePtr storage;
  const HRESULT hr = create ? parent->CreateStorage(name.c_str(), kWriteExclusive | STGM_CREATE, 0, 0, &storage)
                            : parent->OpenStorage(name.c_str(), nullptr, kReadExclusive, nullptr, 0, &storage);
  EXPECT_EQ(hr, S_OK);
  return storage;
}

// The storage's elements as "name:type:size" in enumeration order, storages recursively as
// "name/{...}".
std::string Listing(IStorage* storage) {
  IEnumSTATSTGPtr elements;
  if (FAILED(storage->EnumElements(0, nullptr, 0, &elements))) return "<enum failed>";
  std::string text;
  STATSTG stat;
  while (elements->Next(1, &stat, nullptr) == S_OK) {
    const std::wstring name(stat.pwcsName);
    CoTaskMemFree(stat.pwcsName);
    if (!text.empty()) text += ' ';
    text += std::string(name.begin(), name.end());
    if (stat.type == STGTY_STORAGE) {
      IStoragePtr sub;
      storage->OpenStorage(name.c_str(), nullptr, kReadExclusive, nullptr, 0, &sub);
      text += "/{" + (sub ? Listing(sub) : std::string("<open failed>")) + "}";
    } else {
      text += ":" + std::to_string(stat.cbSize.QuadPart);
    }
  }
  return text;
}

ULARGE_INTEGER Size(ULONGLONG size) {
  ULARGE_INTEGER value;
  value.QuadPart = size;
  return value;
}

LARGE_INTEGER Move(LONGLONG distance) {
  LARGE_INTEGER value;
  value.QuadPart = distance;
  return value;
}

TEST(Storage, NestedTreeSurvivesSaveAndReopen) {
  TempFolder folder;
  const auto path = folder.File("tree.cfb");
  const CLSID kind{0x01234567, 0x89AB, 0xCDEF, {1, 2, 3, 4, 5, 6, 7, 8}};
  {
    IStoragePtr root = CreateFile(path);
    ASSERT_EQ(WriteStream(root, L"Small", Pattern(100, 1)), S_OK);
    ASSERT_EQ(WriteStream(root, L"Exactly4096", Pattern(4096, 2)), S_OK);
    IStoragePtr folder1 = SubStorage(root, L"Folder", true);
    ASSERT_EQ(WriteStream(folder1, L"Big", Pattern(70000, 3)), S_OK);
    ASSERT_EQ(WriteStream(folder1, L"Empty", ""), S_OK);
    ASSERT_EQ(folder1->SetClass(kind), S_OK);
    IStoragePtr inner = SubStorage(folder1, L"Inner", true);
    ASSERT_EQ(WriteStream(inner, L"Tiny", "x"), S_OK);
    ASSERT_EQ(root->Commit(STGC_DEFAULT), S_OK);
  }
  IStoragePtr root = OpenFile(path, kReadExclusive);
  // Enumeration follows the file's order: shorter names first, then by upper-cased name.
  EXPECT_EQ(Listing(root), "Small:100 Folder/{Big:70000 Empty:0 Inner/{Tiny:1}} Exactly4096:4096");
  EXPECT_EQ(ReadStream(root, L"Small"), Pattern(100, 1));
  EXPECT_EQ(ReadStream(root, L"Exactly4096"), Pattern(4096, 2));
  IStoragePtr folder1 = SubStorage(root, L"Folder", false);
  EXPECT_EQ(ReadStream(folder1, L"Big"), Pattern(70000, 3));
  EXPECT_EQ(ReadStream(folder1, L"Empty"), "");
  EXPECT_EQ(ReadStream(SubStorage(folder1, L"Inner", false), L"Tiny"), "x");
  STATSTG stat;
  ASSERT_EQ(folder1->Stat(&stat, STATFLAG_DEFAULT), S_OK);
  EXPECT_EQ(std::wstring(stat.pwcsName), L"Folder");
  EXPECT_EQ(stat.type, STGTY_STORAGE);
  EXPECT_TRUE(stat.clsid == kind);
  CoTaskMemFree(stat.pwcsName);
  ASSERT_EQ(root->Stat(&stat, STATFLAG_NONAME), S_OK);
  EXPECT_EQ(stat.pwcsName, nullptr);
  EXPECT_EQ(stat.grfMode, kReadExclusive);
}

TEST(Storage, TemporaryStorageIsRemovedOnRelease) {
  IStoragePtr root;
  ASSERT_EQ(StgCreateDocfile(nullptr, kWriteExclusive, 0, &root), S_OK);
  STATSTG stat;
  ASSERT_EQ(root->Stat(&stat, STATFLAG_DEFAULT), S_OK);
  const std::wstring name(stat.pwcsName);
  CoTaskMemFree(stat.pwcsName);
  const std::string path(name.begin(), name.end());
  EXPECT_TRUE(fs::exists(path));
  ASSERT_EQ(WriteStream(root, L"S", "abc"), S_OK);
  ASSERT_EQ(root->Commit(STGC_DEFAULT), S_OK);
  EXPECT_EQ(StgIsStorageFile(name.c_str()), S_OK);
  root.Release();
  EXPECT_FALSE(fs::exists(path));
}

TEST(Storage, CreateAndOpenResults) {
  TempFolder folder;
  const auto path = folder.File("a.cfb");
  IStoragePtr storage;
  EXPECT_EQ(StgOpenStorage(Wide(path).c_str(), nullptr, kReadExclusive, nullptr, 0, &storage), STG_E_FILENOTFOUND);
  EXPECT_EQ(StgCreateDocfile(Wide(folder.File("no/such/a.cfb")).c_str(), kWriteExclusive, 0, &storage),
            STG_E_PATHNOTFOUND);
  EXPECT_EQ(StgCreateDocfile(Wide(path).c_str(), kReadExclusive, 0, &storage), STG_E_INVALIDFLAG);
  ASSERT_EQ(StgCreateDocfile(Wide(path).c_str(), kWriteExclusive | STGM_FAILIFTHERE, 0, &storage), S_OK);
  ASSERT_EQ(WriteStream(storage, L"Keep", "kept"), S_OK);
  storage.Release();  // direct mode: the last release saves
  EXPECT_EQ(StgCreateDocfile(Wide(path).c_str(), kWriteExclusive, 0, &storage), STG_E_FILEALREADYEXISTS);
  EXPECT_EQ(ReadStream(OpenFile(path, kReadExclusive), L"Keep"), "kept");
  // STGM_CREATE replaces the file by an empty one at once.
  storage = CreateFile(path);
  EXPECT_EQ(Listing(OpenFile(path, kReadExclusive)), "");
  storage.Release();

  PutFile(folder.File("text.txt"), "not a compound file at all");
  EXPECT_EQ(StgOpenStorage(Wide(folder.File("text.txt")).c_str(), nullptr, kReadExclusive, nullptr, 0, &storage),
            STG_E_FILEALREADYEXISTS);
  EXPECT_EQ(StgIsStorageFile(Wide(folder.File("text.txt")).c_str()), S_FALSE);
  EXPECT_EQ(StgIsStorageFile(Wide(folder.File("none")).c_str()), STG_E_FILENOTFOUND);
  EXPECT_EQ(StgOpenStorage(Wide(folder.Path()).c_str(), nullptr, kReadExclusive, nullptr, 0, &storage),
            STG_E_ACCESSDENIED);
  EXPECT_EQ(StgOpenStorage(Wide(path).c_str(), nullptr, STGM_READ | STGM_CREATE, nullptr, 0, &storage),
            STG_E_INVALIDFLAG);
  EXPECT_EQ(StgOpenStorage(Wide(path).c_str(), nullptr, kReadExclusive, nullptr, 0, nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(storage.GetInterfacePtr(), nullptr);
}

TEST(Storage, ReadOnlyAccessRefusesEveryChange) {
  TempFolder folder;
  const auto path = folder.File("ro.cfb");
  {
    IStoragePtr root = CreateFile(path);
    ASSERT_EQ(WriteStream(root, L"S", "data"), S_OK);
    SubStorage(root, L"D", true);
  }
  const std::string before = FileBytes(path);
  {
    IStoragePtr root = OpenFile(path, kReadExclusive);
    IStreamPtr stream;
    IStoragePtr sub;
    EXPECT_EQ(root->CreateStream(L"New", kWriteExclusive, 0, 0, &stream), STG_E_ACCESSDENIED);
    EXPECT_EQ(root->CreateStorage(L"New", kWriteExclusive, 0, 0, &sub), STG_E_ACCESSDENIED);
    EXPECT_EQ(root->OpenStream(L"S", nullptr, kWriteExclusive, 0, &stream), STG_E_ACCESSDENIED);
    EXPECT_EQ(root->OpenStorage(L"D", nullptr, kWriteExclusive, nullptr, 0, &sub), STG_E_ACCESSDENIED);
    EXPECT_EQ(root->DestroyElement(L"S"), STG_E_ACCESSDENIED);
    EXPECT_EQ(root->RenameElement(L"S", L"T"), STG_E_ACCESSDENIED);
    EXPECT_EQ(root->SetClass(CLSID{}), STG_E_ACCESSDENIED);
    ASSERT_EQ(root->OpenStream(L"S", nullptr, kReadExclusive, 0, &stream), S_OK);
    ULONG written = 7;
    EXPECT_EQ(stream->Write("x", 1, &written), STG_E_ACCESSDENIED);
    EXPECT_EQ(written, 0u);
    EXPECT_EQ(stream->SetSize(Size(0)), STG_E_ACCESSDENIED);
    EXPECT_EQ(root->Commit(STGC_DEFAULT), S_OK);
  }
  // A storage writable in itself still gives read-only streams when asked to.
  IStoragePtr root = OpenFile(path, kWriteExclusive);
  IStreamPtr stream;
  ASSERT_EQ(root->OpenStream(L"S", nullptr, kReadExclusive, 0, &stream), S_OK);
  EXPECT_EQ(stream->Write("x", 1, nullptr), STG_E_ACCESSDENIED);
  ASSERT_EQ(root->OpenStream(L"S", nullptr, STGM_WRITE | STGM_SHARE_EXCLUSIVE, 0, &stream), S_OK);
  char byte;
  EXPECT_EQ(stream->Read(&byte, 1, nullptr), STG_E_ACCESSDENIED);
  root.Release();
  stream.Release();
  EXPECT_EQ(FileBytes(path), before);
}

TEST(Storage, ElementNames) {
  IStoragePtr root;
  ASSERT_EQ(StgCreateDocfile(nullptr, kWriteExclusive, 0, &root), S_OK);
  IStreamPtr stream;
  for (const wchar_t* bad : {L"", L"a/b", L"a\\b", L"a:b", L"a!b", L"abcdefghijklmnopqrstuvwxyz123456"})
    EXPECT_EQ(root->CreateStream(bad, kWriteExclusive, 0, 0, &stream), STG_E_INVALIDNAME) << Wide("") + bad;
  EXPECT_EQ(root->CreateStream(nullptr, kWriteExclusive, 0, 0, &stream), STG_E_INVALIDNAME);
  EXPECT_EQ(root->CreateStream(L"abcdefghijklmnopqrstuvwxyz12345", kWriteExclusive, 0, 0, &stream), S_OK);
  EXPECT_EQ(root->CreateStream(L"\x05Summary \x00e9t\x00e9", kWriteExclusive, 0, 0, &stream), S_OK);
  // Names are the same without regard to case.
  ASSERT_EQ(WriteStream(root, L"Data", "1"), S_OK);
  EXPECT_EQ(root->CreateStream(L"DATA", kWriteExclusive, 0, 0, &stream), STG_E_FILEALREADYEXISTS);
  EXPECT_EQ(ReadStream(root, L"dAtA"), "1");
  EXPECT_EQ(root->OpenStream(L"Missing", nullptr, kReadExclusive, 0, &stream), STG_E_FILENOTFOUND);
  // A stream is not a storage and the reverse.
  IStoragePtr sub;
  EXPECT_EQ(root->OpenStorage(L"Data", nullptr, kReadExclusive, nullptr, 0, &sub), STG_E_FILENOTFOUND);
  SubStorage(root, L"Dir", true);
  EXPECT_EQ(root->OpenStream(L"Dir", nullptr, kReadExclusive, 0, &stream), STG_E_FILENOTFOUND);
}

// The calls a stored-data writer makes: create, or open an existing stream, cut it to 4 bytes and
// write from the start; then read it back with a step back.
TEST(Storage, StreamRewriteAndPositions) {
  IStoragePtr root;
  ASSERT_EQ(StgCreateDocfile(nullptr, kWriteExclusive, 0, &root), S_OK);
  ASSERT_EQ(WriteStream(root, L"Arc", "0123456789"), S_OK);
  IStreamPtr stream;
  EXPECT_EQ(root->CreateStream(L"Arc", 0x11, 0, 0, &stream), STG_E_FILEALREADYEXISTS);
  ASSERT_EQ(root->OpenStream(L"Arc", nullptr, 0x11, 0, &stream), S_OK);
  ASSERT_EQ(stream->SetSize(Size(4)), S_OK);
  ULONG count = 0;
  ASSERT_EQ(stream->Write("ab", 2, &count), S_OK);
  EXPECT_EQ(count, 2u);
  EXPECT_EQ(stream->Commit(STGC_OVERWRITE), S_OK);
  stream.Release();
  EXPECT_EQ(ReadStream(root, L"Arc"), std::string("ab23"));

  ASSERT_EQ(root->OpenStream(L"Arc", nullptr, 0x10, 0, &stream), S_OK);
  char bytes[8] = {};
  ASSERT_EQ(stream->Read(bytes, 8, &count), S_OK);
  EXPECT_EQ(count, 4u);
  ULARGE_INTEGER position;
  ASSERT_EQ(stream->Seek(Move(-3), STREAM_SEEK_CUR, &position), S_OK);
  EXPECT_EQ(position.QuadPart, 1u);
  ASSERT_EQ(stream->Read(bytes, 8, &count), S_OK);
  EXPECT_EQ(std::string(bytes, count), "b23");
  ASSERT_EQ(stream->Read(bytes, 8, &count), S_OK);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(stream->Seek(Move(-5), STREAM_SEEK_END, &position), STG_E_INVALIDFUNCTION);
  EXPECT_EQ(stream->Seek(Move(-1), STREAM_SEEK_SET, nullptr), STG_E_INVALIDFUNCTION);
  EXPECT_EQ(stream->Seek(Move(0), 3, nullptr), STG_E_INVALIDFUNCTION);
  EXPECT_EQ(stream->Seek(Move(0), STREAM_SEEK_CUR, &position), S_OK);
  EXPECT_EQ(position.QuadPart, 4u);
  EXPECT_EQ(stream->Read(nullptr, 1, &count), STG_E_INVALIDPOINTER);

  // Writing past the end fills the gap with zeros; sizes beyond what a file can hold are refused.
  ASSERT_EQ(root->OpenStream(L"Arc", nullptr, kWriteExclusive, 0, &stream), S_OK);
  ASSERT_EQ(stream->Seek(Move(6), STREAM_SEEK_SET, nullptr), S_OK);
  ASSERT_EQ(stream->Write("Z", 1, nullptr), S_OK);
  EXPECT_EQ(stream->SetSize(Size(0x100000000ull)), STG_E_INVALIDFUNCTION);
  EXPECT_EQ(stream->SetSize(Size(0x80000000ull)), STG_E_MEDIUMFULL);
  ASSERT_EQ(stream->Seek(Move(0x7FFFFFFF), STREAM_SEEK_SET, nullptr), S_OK);
  EXPECT_EQ(stream->Write("Z", 1, nullptr), STG_E_MEDIUMFULL);
  EXPECT_EQ(stream->LockRegion(Size(0), Size(1), 1), STG_E_INVALIDFUNCTION);
  stream.Release();
  EXPECT_EQ(ReadStream(root, L"Arc"), std::string("ab23\0\0Z", 7));
}

TEST(Storage, ClonesShareDataAndCopyToCopies) {
  IStoragePtr root;
  ASSERT_EQ(StgCreateDocfile(nullptr, kWriteExclusive, 0, &root), S_OK);
  IStreamPtr stream, clone, target;
  ASSERT_EQ(root->CreateStream(L"S", kWriteExclusive, 0, 0, &stream), S_OK);
  ASSERT_EQ(stream->Write("hello world", 11, nullptr), S_OK);
  ASSERT_EQ(stream->Seek(Move(6), STREAM_SEEK_SET, nullptr), S_OK);
  ASSERT_EQ(stream->Clone(&clone), S_OK);
  char bytes[16];
  ULONG count;
  ASSERT_EQ(clone->Read(bytes, 16, &count), S_OK);
  EXPECT_EQ(std::string(bytes, count), "world");
  ASSERT_EQ(root->CreateStream(L"T", kWriteExclusive, 0, 0, &target), S_OK);
  ULARGE_INTEGER read, written;
  ASSERT_EQ(stream->CopyTo(target, Size(3), &read, &written), S_OK);
  EXPECT_EQ(read.QuadPart, 3u);
  EXPECT_EQ(written.QuadPart, 3u);
  EXPECT_EQ(ReadStream(root, L"T"), "wor");
  void* asStorage = nullptr;
  EXPECT_EQ(stream->QueryInterface(IID_IStorage, &asStorage), E_NOINTERFACE);
  EXPECT_EQ(asStorage, nullptr);
  IUnknownPtr unknown(root);
  EXPECT_EQ(IStoragePtr(unknown).GetInterfacePtr(), root.GetInterfacePtr());
}

TEST(Storage, ReplacedOrDestroyedElementsAreReverted) {
  IStoragePtr root;
  ASSERT_EQ(StgCreateDocfile(nullptr, kWriteExclusive, 0, &root), S_OK);
  IStreamPtr old, fresh;
  ASSERT_EQ(root->CreateStream(L"S", kWriteExclusive, 0, 0, &old), S_OK);
  ASSERT_EQ(old->Write("old", 3, nullptr), S_OK);
  ASSERT_EQ(root->CreateStream(L"S", kWriteExclusive | STGM_CREATE, 0, 0, &fresh), S_OK);
  EXPECT_EQ(old->Write("x", 1, nullptr), STG_E_REVERTED);
  EXPECT_EQ(ReadStream(root, L"S"), "");
  IStoragePtr dir = SubStorage(root, L"D", true);
  IStreamPtr inside;
  ASSERT_EQ(dir->CreateStream(L"In", kWriteExclusive, 0, 0, &inside), S_OK);
  ASSERT_EQ(root->DestroyElement(L"D"), S_OK);
  EXPECT_EQ(inside->Write("x", 1, nullptr), STG_E_REVERTED);
  EXPECT_EQ(dir->CreateStream(L"In2", kWriteExclusive, 0, 0, &inside), STG_E_REVERTED);
  EXPECT_EQ(root->DestroyElement(L"D"), STG_E_FILENOTFOUND);
  EXPECT_EQ(Listing(root), "S:0");
}

TEST(Storage, RenameCopyAndMove) {
  TempFolder folder;
  IStoragePtr root = CreateFile(folder.File("m.cfb"));
  IStoragePtr a = SubStorage(root, L"A", true);
  ASSERT_EQ(WriteStream(a, L"One", "1"), S_OK);
  ASSERT_EQ(WriteStream(SubStorage(a, L"Deep", true), L"Two", "22"), S_OK);
  ASSERT_EQ(WriteStream(root, L"Loose", "L"), S_OK);
  EXPECT_EQ(root->RenameElement(L"Loose", L"A"), STG_E_FILEALREADYEXISTS);
  EXPECT_EQ(root->RenameElement(L"Gone", L"B"), STG_E_FILENOTFOUND);
  ASSERT_EQ(root->RenameElement(L"Loose", L"Free"), S_OK);
  // Copying a storage into its own element copies what was there when the copy began.
  IStoragePtr deep;
  ASSERT_EQ(a->OpenStorage(L"Deep", nullptr, kWriteExclusive, nullptr, 0, &deep), S_OK);
  ASSERT_EQ(a->CopyTo(0, nullptr, nullptr, deep), S_OK);
  EXPECT_EQ(Listing(root), "A/{One:1 Deep/{One:1 Two:2 Deep/{Two:2}}} Free:1");
  const IID streamsOnly[] = {IID_IStorage};
  IStoragePtr b = SubStorage(root, L"B", true);
  ASSERT_EQ(a->CopyTo(1, streamsOnly, nullptr, b), S_OK);
  ASSERT_EQ(root->MoveElementTo(L"Free", b, L"Moved", STGMOVE_MOVE), S_OK);
  ASSERT_EQ(root->MoveElementTo(L"A", b, L"CopyOfA", STGMOVE_COPY), S_OK);
  EXPECT_EQ(root->MoveElementTo(L"A", b, L"x/y", STGMOVE_COPY), STG_E_INVALIDNAME);
  ASSERT_EQ(root->Commit(STGC_DEFAULT), S_OK);
  const std::string expected =
      "A/{One:1 Deep/{One:1 Two:2 Deep/{Two:2}}} "
      "B/{One:1 Moved:1 CopyOfA/{One:1 Deep/{One:1 Two:2 Deep/{Two:2}}}}";
  EXPECT_EQ(Listing(root), expected);
  EXPECT_EQ(Listing(OpenFile(folder.File("m.cfb"), kReadExclusive)), expected);
}

TEST(Storage, TransactedModeKeepsChangesUntilCommit) {
  TempFolder folder;
  const auto path = folder.File("t.cfb");
  {
    IStoragePtr root = CreateFile(path);
    ASSERT_EQ(WriteStream(root, L"Base", "base"), S_OK);
  }
  {
    IStoragePtr root = OpenFile(path, kWriteExclusive | STGM_TRANSACTED);
    ASSERT_EQ(WriteStream(root, L"Lost", "never saved"), S_OK);
  }
  EXPECT_EQ(Listing(OpenFile(path, kReadExclusive)), "Base:4");
  IStoragePtr root = OpenFile(path, kWriteExclusive | STGM_TRANSACTED);
  IStreamPtr stream;
  ASSERT_EQ(root->CreateStream(L"Undone", kWriteExclusive, 0, 0, &stream), S_OK);
  ASSERT_EQ(root->Revert(), S_OK);
  EXPECT_EQ(stream->Write("x", 1, nullptr), STG_E_REVERTED);
  EXPECT_EQ(Listing(root), "Base:4");
  ASSERT_EQ(WriteStream(root, L"Kept", "kept"), S_OK);
  ASSERT_EQ(root->Commit(STGC_DEFAULT), S_OK);
  ASSERT_EQ(root->DestroyElement(L"Base"), S_OK);
  ASSERT_EQ(root->Revert(), S_OK);
  EXPECT_EQ(Listing(root), "Base:4 Kept:4");
  root.Release();
  EXPECT_EQ(Listing(OpenFile(path, kReadExclusive)), "Base:4 Kept:4");
}

TEST(Storage, EnumeratorProtocol) {
  IStoragePtr root;
  ASSERT_EQ(StgCreateDocfile(nullptr, kWriteExclusive, 0, &root), S_OK);
  for (const wchar_t* name : {L"bb", L"a", L"C", L"Aa"}) ASSERT_EQ(WriteStream(root, name, "z"), S_OK);
  IEnumSTATSTGPtr elements, clone;
  ASSERT_EQ(root->EnumElements(0, nullptr, 0, &elements), S_OK);
  STATSTG stats[3];
  ULONG fetched = 0;
  EXPECT_EQ(elements->Next(3, stats, nullptr), STG_E_INVALIDPARAMETER);
  ASSERT_EQ(elements->Next(3, stats, &fetched), S_OK);
  ASSERT_EQ(fetched, 3u);
  std::wstring names;
  for (auto& stat : stats) names += std::wstring(stat.pwcsName) + L",", CoTaskMemFree(stat.pwcsName);
  EXPECT_EQ(names, L"a,C,Aa,");
  ASSERT_EQ(elements->Clone(&clone), S_OK);
  ASSERT_EQ(elements->Next(3, stats, &fetched), S_FALSE);
  ASSERT_EQ(fetched, 1u);
  EXPECT_EQ(std::wstring(stats[0].pwcsName), L"bb");
  CoTaskMemFree(stats[0].pwcsName);
  EXPECT_EQ(clone->Skip(2), S_FALSE);
  ASSERT_EQ(clone->Reset(), S_OK);
  EXPECT_EQ(clone->Skip(4), S_OK);
  EXPECT_EQ(clone->Next(1, stats, nullptr), S_FALSE);
  EXPECT_EQ(root->EnumElements(1, nullptr, 0, &elements), STG_E_INVALIDPARAMETER);
}

// The outside view: tests/support/olecheck.py reads files with the olefile package and writes them
// with a writer of its own; both list a tree in the same text form as OutsideListing below.
std::string RunOleCheck(const std::string& command, const std::string& path) {
  const auto script = fs::path(__FILE__).parent_path() / "support" / "olecheck.py";
  const std::string line = "/usr/bin/python3 '" + script.string() + "' " + command + " '" + path + "' 2>&1";
  FILE* pipe = ::popen(line.c_str(), "r");
  if (!pipe) return "<popen failed>";
  std::string output;
  char chunk[4096];
  for (std::size_t got; (got = std::fread(chunk, 1, sizeof chunk, pipe)) > 0;) output.append(chunk, got);
  const int status = ::pclose(pipe);
  return status == 0 ? output : "<exit " + std::to_string(status) + "> " + output;
}

std::string Escaped(const std::wstring& name) {
  std::string text;
  for (wchar_t c : name) {
    if (c > 0x20 && c < 0x7F && c != L'\\' && c != L'/') {
      text += char(c);
    } else {
      char code[16];
      std::snprintf(code, sizeof code, "\\u{%x}", unsigned(c));
      text += code;
    }
  }
  return text;
}

std::string ClassText(const CLSID& id) {
  if (id == CLSID{}) return "-";
  char text[40];
  std::snprintf(text, sizeof text, "%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X", unsigned(id.Data1),
                unsigned(id.Data2), unsigned(id.Data3), id.Data4[0], id.Data4[1], id.Data4[2], id.Data4[3], id.Data4[4],
                id.Data4[5], id.Data4[6], id.Data4[7]);
  return text;
}

void OutsideLines(IStorage* storage, const std::string& path, std::vector<std::string>& lines) {
  STATSTG stat;
  ASSERT_EQ(storage->Stat(&stat, STATFLAG_NONAME), S_OK);
  lines.push_back("D " + (path.empty() ? "/" : path) + " " + ClassText(stat.clsid));
  IEnumSTATSTGPtr elements;
  ASSERT_EQ(storage->EnumElements(0, nullptr, 0, &elements), S_OK);
  while (elements->Next(1, &stat, nullptr) == S_OK) {
    const std::wstring name(stat.pwcsName);
    CoTaskMemFree(stat.pwcsName);
    const std::string child = path + "/" + Escaped(name);
    if (stat.type == STGTY_STORAGE) {
      IStoragePtr sub;
      ASSERT_EQ(storage->OpenStorage(name.c_str(), nullptr, kReadExclusive, nullptr, 0, &sub), S_OK);
      OutsideLines(sub, child, lines);
      continue;
    }
    std::string hex;
    for (unsigned char byte : ReadStream(storage, name)) {
      static const char kDigits[] = "0123456789abcdef";
      hex += kDigits[byte >> 4], hex += kDigits[byte & 15];
    }
    lines.push_back("S " + child + " " + std::to_string(stat.cbSize.QuadPart) + " " + hex);
  }
}

std::string OutsideListing(IStorage* storage) {
  std::vector<std::string> lines;
  OutsideLines(storage, "", lines);
  std::sort(lines.begin(), lines.end());
  std::string text;
  for (const auto& line : lines) text += line + "\n";
  return text;
}

// The tree that olecheck.py lays out, made through our own interfaces.
void MakeOleCheckTree(IStorage* root) {
  ASSERT_EQ(root->SetClass(CLSID{0xCAFEF00D, 0x0001, 0x0002, {9, 8, 7, 6, 5, 4, 3, 2}}), S_OK);
  ASSERT_EQ(WriteStream(root, L"Small", Pattern(100, 1)), S_OK);
  ASSERT_EQ(WriteStream(root, L"Exactly4096", Pattern(4096, 2)), S_OK);
  ASSERT_EQ(WriteStream(root, L"\x05Props", ""), S_OK);
  ASSERT_EQ(WriteStream(root,
                        L"\x00dcn\x00ef"
                        L"c\x00f6"
                        L"de",
                        Pattern(10, 4)),
            S_OK);
  IStoragePtr sub = SubStorage(root, L"Folder", true);
  ASSERT_EQ(sub->SetClass(CLSID{0x01234567, 0x89AB, 0xCDEF, {1, 2, 3, 4, 5, 6, 7, 8}}), S_OK);
  ASSERT_EQ(WriteStream(sub, L"Big", Pattern(70000, 3)), S_OK);
  ASSERT_EQ(WriteStream(sub, L"Empty", ""), S_OK);
  ASSERT_EQ(WriteStream(SubStorage(sub, L"Inner", true), L"Tiny", "x"), S_OK);
}

TEST(Storage, AgreesWithAnOutsideReaderAndWriter) {
  TempFolder folder;
  const auto theirs = folder.File("theirs.cfb"), ours = folder.File("ours.cfb");
  const std::string expected = RunOleCheck("write", theirs);
  ASSERT_EQ(expected.rfind("D / CAFEF00D-0001-0002-0908-070605040302\n", 0), 0u) << expected.substr(0, 300);
  // The outside writer's file, as olefile reads it and as we read it.
  EXPECT_EQ(RunOleCheck("dump", theirs), expected);
  EXPECT_EQ(OutsideListing(OpenFile(theirs, kReadExclusive)), expected);
  // Our file, as olefile reads it, byte for byte.
  {
    IStoragePtr root = CreateFile(ours);
    MakeOleCheckTree(root);
    ASSERT_EQ(root->Commit(STGC_DEFAULT), S_OK);
    EXPECT_EQ(OutsideListing(root), expected);
  }
  EXPECT_EQ(RunOleCheck("dump", ours), expected);
}

// Runs the built yk tool, which lies beside the tests in the build tree; stdout and stderr are
// kept apart, and the exit status comes first.
std::string RunYk(const std::string& arguments) {
  const auto yk = fs::read_symlink("/proc/self/exe").parent_path().parent_path() / "tools" / "yk" / "yk";
  if (!fs::exists(yk)) return "<no yk>";
  TempFolder folder;
  const std::string line = "'" + yk.string() + "' " + arguments + " 2>'" + folder.File("err") + "'";
  FILE* pipe = ::popen(line.c_str(), "r");
  std::string output;
  char chunk[4096];
  for (std::size_t got; (got = std::fread(chunk, 1, sizeof chunk, pipe)) > 0;) output.append(chunk, got);
  const int status = ::pclose(pipe);
  return "exit " + std::to_string(WEXITSTATUS(status)) + "\n" + output + "stderr:\n" + FileBytes(folder.File("err"));
}

TEST(Storage, YkLsListsNestedElements) {
  TempFolder folder;
  const auto path = folder.File("ls.cfb");
  {
    IStoragePtr root = CreateFile(path);
    MakeOleCheckTree(root);
  }
  if (RunYk("help") == "<no yk>") GTEST_SKIP() << "the yk tool is not built";
  EXPECT_EQ(RunYk("ls '" + path + "'"),
            "exit 0\n"
            "Small  100\n"
            "\\x05Props  0\n"
            "Folder/\n"
            "  Big  70000\n"
            "  Empty  0\n"
            "  Inner/\n"
            "    Tiny  1\n"
            "\xc3\x9cn\xc3\xaf"
            "c\xc3\xb6"
            "de  10\n"
            "Exactly4096  4096\n"
            "stderr:\n");
  PutFile(folder.File("cut.cfb"), FileBytes(path).substr(0, 1536));
  PutFile(folder.File("text"), "plain text");
  EXPECT_EQ(RunYk("ls '" + folder.File("cut.cfb") + "'"),
            "exit 1\nstderr:\nyk ls: " + folder.File("cut.cfb") + ": damaged compound file (0x80030109)\n");
  EXPECT_EQ(RunYk("ls '" + folder.File("text") + "'"),
            "exit 1\nstderr:\nyk ls: " + folder.File("text") + ": not a compound file (0x80030050)\n");
  EXPECT_EQ(RunYk("ls '" + folder.File("none") + "'"),
            "exit 1\nstderr:\nyk ls: " + folder.File("none") + ": no such file (0x80030002)\n");
  EXPECT_EQ(RunYk("ls"), "exit 2\nstderr:\nusage: yk ls FILE\n");
}

// Every prefix and many single-byte changes of a sound file: each opens, or fails with a storage
// error, and whatever opens can be walked and read.
TEST(Storage, DamagedFilesFailCleanly) {
  TempFolder folder;
  const auto path = folder.File("good.cfb");
  {
    IStoragePtr root = CreateFile(path);
    ASSERT_EQ(WriteStream(root, L"Small", Pattern(300, 4)), S_OK);
    ASSERT_EQ(WriteStream(SubStorage(root, L"Dir", true), L"Big", Pattern(9000, 5)), S_OK);
  }
  const std::string good = FileBytes(path);
  ASSERT_GT(good.size(), 4096u);
  const auto bad = folder.File("bad.cfb");
  auto attempt = [&](const std::string& bytes) {
    PutFile(bad, bytes);
    IStoragePtr root;
    const HRESULT hr = StgOpenStorage(Wide(bad).c_str(), nullptr, kReadExclusive, nullptr, 0, &root);
    if (FAILED(hr)) {
      EXPECT_EQ(root.GetInterfacePtr(), nullptr);
      EXPECT_EQ(hr & 0xFFFF0000, 0x80030000) << std::hex << hr;
      return hr;
    }
    Listing(root);
    ReadStream(root, L"Small");
    return hr;
  };
  EXPECT_EQ(attempt(""), STG_E_FILEALREADYEXISTS);
  EXPECT_EQ(attempt(std::string(5000, 'x')), STG_E_FILEALREADYEXISTS);
  EXPECT_EQ(attempt(good.substr(0, 8)), STG_E_DOCFILECORRUPT);
  EXPECT_EQ(attempt(good.substr(0, 600)), STG_E_DOCFILECORRUPT);
  for (std::size_t cut = 512; cut < good.size(); cut += 512) attempt(good.substr(0, cut));
  for (std::size_t at = 0; at < good.size(); at += 61) {
    std::string damaged = good;
    damaged[at] = char(damaged[at] ^ 0xA5);
    attempt(damaged);
  }
  // Sector numbers that point at themselves, or far past the end.
  for (const std::uint32_t sector : {0u, 1u, 0x7FFFFFFFu, 0xFFFFFFFAu}) {
    for (std::size_t at : {std::size_t(48), std::size_t(60), std::size_t(76), std::size_t(512)}) {
      std::string damaged = good;
      for (int i = 0; i < 4; ++i) damaged[at + i] = char(sector >> (8 * i));
      attempt(damaged);
    }
  }
}

// A child saves the file again and again and is killed at some moment; whatever moment, the file
// on disk is one whole version. Kills that land inside a save leave the temporary file behind.
TEST(Storage, KilledSaveLeavesPreviousFileWhole) {
  TempFolder folder;
  const auto path = folder.File("crash.cfb");
  constexpr std::size_t kSize = 4 << 20;
  int leftovers = 0;
  for (int round = 0; round < 4; ++round) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      IStoragePtr root;
      if (StgOpenStorage(Wide(path).c_str(), nullptr, kWriteExclusive, nullptr, 0, &root) != S_OK &&
          StgCreateDocfile(Wide(path).c_str(), kWriteExclusive, 0, &root) != S_OK)
        ::_exit(2);
      for (unsigned version = 1;; ++version) {
        const std::string marker = std::to_string(version);
        if (WriteStream(root, L"Data", std::string(kSize, char('A' + version % 26))) != S_OK ||
            WriteStream(root, L"Version", marker) != S_OK || root->Commit(STGC_DEFAULT) != S_OK)
          ::_exit(3);
      }
    }
    // Wait for the first whole version. Then kill the child either at once when its next temporary
    // file shows, which lands inside a save, or after some time, which lands anywhere.
    const auto saved = [&] { return fs::exists(path) && fs::file_size(path) > kSize; };
    for (int i = 0; i < 500 && !saved(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    if (round % 2 == 0) {
      for (int i = 0; i < 20000 && folder.Others({"crash.cfb"}).empty(); ++i)
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    } else {
      std::this_thread::sleep_for(std::chrono::milliseconds(100 + 37 * round));
    }
    ::kill(child, SIGKILL);
    int status = 0;
    ::waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status)) << "child ended by itself with " << WEXITSTATUS(status);

    IStoragePtr root = OpenFile(path, kReadExclusive);
    ASSERT_TRUE(root);
    const std::string version = ReadStream(root, L"Version");
    ASSERT_FALSE(version.empty());
    const std::string data = ReadStream(root, L"Data");
    EXPECT_EQ(data, std::string(kSize, char('A' + std::stoul(version) % 26)));
    for (const auto& name : folder.Others({"crash.cfb"})) {
      EXPECT_EQ(name.rfind("crash.cfb.yk", 0), 0u) << name;
      fs::remove(folder.File(name));
      ++leftovers;
    }
  }
  EXPECT_GE(leftovers, 1);
}

// A save that the medium refuses (a file size limit here) reports STG_E_MEDIUMFULL, leaves no
// temporary file, and the file keeps its old bytes.
TEST(Storage, FailedSaveKeepsFileAndReportsMediumFull) {
  TempFolder folder;
  const auto path = folder.File("full.cfb");
  {
    IStoragePtr root = CreateFile(path);
    ASSERT_EQ(WriteStream(root, L"Old", "old content"), S_OK);
  }
  const std::string before = FileBytes(path);
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    ::signal(SIGXFSZ, SIG_IGN);
    IStoragePtr root;
    if (StgOpenStorage(Wide(path).c_str(), nullptr, kWriteExclusive, nullptr, 0, &root) != S_OK) ::_exit(2);
    if (WriteStream(root, L"New", std::string(200000, 'n')) != S_OK) ::_exit(3);
    const rlimit limit{before.size() + 1000, before.size() + 1000};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    ::_exit(root->Commit(STGC_DEFAULT) == STG_E_MEDIUMFULL ? 0 : 4);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_EQ(FileBytes(path), before);
  EXPECT_EQ(folder.Others({"full.cfb"}), std::vector<std::string>{});
}

TEST(Storage, SavingKeepsFilePermissions) {
  TempFolder folder;
  const auto path = folder.File("p.cfb");
  CreateFile(path);
  fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
  {
    IStoragePtr root = OpenFile(path, kWriteExclusive);
    ASSERT_EQ(WriteStream(root, L"S", "s"), S_OK);
  }
  EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
  EXPECT_EQ(ReadStream(OpenFile(path, kReadExclusive), L"S"), "s");
}

}  // namespace
