#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <new>

#include <ykstd/platform/Nls.hxx>
#include <ykstd/platform/OleAuto.hxx>

// A BSTR points behind a 32-bit byte count; the text ends with a NUL that is not counted.
BSTR SysAllocStringLen(const OLECHAR* text, UINT length) {
  const std::size_t bytes = sizeof(std::uint32_t) + (std::size_t{length} + 1) * sizeof(OLECHAR);
  // Keep the text aligned for its unit: the count sits in the last 4 bytes of a unit-sized head.
  constexpr std::size_t head = sizeof(OLECHAR) > sizeof(std::uint32_t) ? sizeof(OLECHAR) : sizeof(std::uint32_t);
  auto* block = static_cast<unsigned char*>(std::malloc(bytes - sizeof(std::uint32_t) + head));
  if (!block) return nullptr;
  auto* result = reinterpret_cast<BSTR>(block + head);
  const auto byteLength = static_cast<std::uint32_t>(length * sizeof(OLECHAR));
  std::memcpy(block + head - sizeof(std::uint32_t), &byteLength, sizeof byteLength);
  if (text)
    std::memcpy(result, text, length * sizeof(OLECHAR));
  else
    std::memset(result, 0, length * sizeof(OLECHAR));
  result[length] = 0;
  return result;
}

namespace {
constexpr std::size_t kHead = sizeof(OLECHAR) > sizeof(std::uint32_t) ? sizeof(OLECHAR) : sizeof(std::uint32_t);
unsigned char* BlockOf(BSTR text) { return reinterpret_cast<unsigned char*>(text) - kHead; }
}  // namespace

BSTR SysAllocString(const OLECHAR* text) {
  if (!text) return nullptr;
  return SysAllocStringLen(text, static_cast<UINT>(std::wcslen(text)));
}

void SysFreeString(BSTR text) {
  if (text) std::free(BlockOf(text));
}

UINT SysStringByteLen(BSTR text) {
  if (!text) return 0;
  std::uint32_t byteLength = 0;
  std::memcpy(&byteLength, BlockOf(text) + kHead - sizeof(std::uint32_t), sizeof byteLength);
  return byteLength;
}

UINT SysStringLen(BSTR text) { return SysStringByteLen(text) / sizeof(OLECHAR); }

// ---- _bstr_t ----

_bstr_t::Data* _bstr_t::Make(BSTR owned) {
  Data* data = new Data;
  data->wide = owned;
  return data;
}

_bstr_t::_bstr_t(const _bstr_t& other) noexcept : data_(other.data_) {
  if (data_) ++data_->count;
}

_bstr_t::_bstr_t(const char* text) {
  if (!text) return;
  const int length = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
  BSTR wide = SysAllocStringLen(nullptr, static_cast<UINT>(length - 1));
  if (!wide) throw std::bad_alloc();
  MultiByteToWideChar(CP_ACP, 0, text, -1, wide, length);
  data_ = Make(wide);
}

_bstr_t::_bstr_t(const wchar_t* text) {
  if (!text) return;
  BSTR wide = SysAllocString(text);
  if (!wide) throw std::bad_alloc();
  data_ = Make(wide);
}

_bstr_t::_bstr_t(BSTR text, bool copy) {
  if (!copy) {
    data_ = Make(text);
  } else if (text) {
    BSTR wide = SysAllocStringLen(text, SysStringLen(text));
    if (!wide) throw std::bad_alloc();
    data_ = Make(wide);
  }
}

_bstr_t& _bstr_t::operator=(const _bstr_t& other) noexcept {
  if (other.data_) ++other.data_->count;
  Release();
  data_ = other.data_;
  return *this;
}

_bstr_t& _bstr_t::operator=(_bstr_t&& other) noexcept {
  if (this != &other) {
    Release();
    data_ = other.data_;
    other.data_ = nullptr;
  }
  return *this;
}

_bstr_t _bstr_t::operator+(const _bstr_t& other) const {
  const unsigned int left = length();
  const unsigned int right = other.length();
  if (left + right == 0) return (!*this) ? other : *this;
  BSTR joined = SysAllocStringLen(nullptr, left + right);
  if (!joined) throw std::bad_alloc();
  if (left) std::memcpy(joined, GetBSTR(), left * sizeof(OLECHAR));
  if (right) std::memcpy(joined + left, other.GetBSTR(), right * sizeof(OLECHAR));
  return _bstr_t(joined, false);
}

_bstr_t& _bstr_t::operator+=(const _bstr_t& other) { return *this = *this + other; }

_bstr_t::operator const wchar_t*() const noexcept { return GetBSTR(); }
_bstr_t::operator wchar_t*() const noexcept { return GetBSTR(); }

_bstr_t::operator const char*() const {
  if (!data_ || !data_->wide) return nullptr;
  if (!data_->narrow) {
    const int length = static_cast<int>(SysStringLen(data_->wide));
    char* narrow = new char[static_cast<std::size_t>(length) + 1];
    WideCharToMultiByte(CP_ACP, 0, data_->wide, length, narrow, length, nullptr, nullptr);
    narrow[length] = '\0';
    data_->narrow = narrow;
  }
  return data_->narrow;
}

_bstr_t::operator char*() const { return const_cast<char*>(static_cast<const char*>(*this)); }

unsigned int _bstr_t::length() const noexcept { return data_ ? SysStringLen(data_->wide) : 0; }

BSTR _bstr_t::copy(bool copy) const {
  if (!copy) return GetBSTR();
  BSTR held = GetBSTR();
  return held ? SysAllocStringLen(held, SysStringLen(held)) : nullptr;
}

void _bstr_t::Attach(BSTR text) {
  Release();
  data_ = Make(text);
}

BSTR _bstr_t::Detach() noexcept {
  if (!data_) return nullptr;
  BSTR text = data_->wide;
  if (data_->count == 1) {
    delete[] data_->narrow;
    delete data_;
  } else {
    // Others share the text: they keep it, the caller gets a copy of their own.
    text = SysAllocStringLen(text, SysStringLen(text));
    --data_->count;
  }
  data_ = nullptr;
  return text;
}

int _bstr_t::Compare(const _bstr_t& other) const noexcept {
  const unsigned int left = length();
  const unsigned int right = other.length();
  const unsigned int common = left < right ? left : right;
  for (unsigned int i = 0; i < common; ++i) {
    const auto a = static_cast<std::uint32_t>(GetBSTR()[i]);
    const auto b = static_cast<std::uint32_t>(other.GetBSTR()[i]);
    if (a != b) return a < b ? -1 : 1;
  }
  return left < right ? -1 : (left > right ? 1 : 0);
}

void _bstr_t::Release() noexcept {
  if (!data_) return;
  if (--data_->count == 0) {
    SysFreeString(data_->wide);
    delete[] data_->narrow;
    delete data_;
  }
  data_ = nullptr;
}
