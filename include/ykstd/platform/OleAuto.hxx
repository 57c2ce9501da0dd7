// Automation strings: BSTR (a counted wide text with its byte length in front) and the counted
// wrapper _bstr_t, which also gives the text in the ANSI code page.
#pragma once

#include <cstddef>

#include <ykstd/platform/WinTypes.hxx>

using BSTR = OLECHAR*;

YKSTD_EXPORT BSTR SysAllocString(const OLECHAR* text);
YKSTD_EXPORT BSTR SysAllocStringLen(const OLECHAR* text, UINT length);
YKSTD_EXPORT void SysFreeString(BSTR text);
YKSTD_EXPORT UINT SysStringLen(BSTR text);
YKSTD_EXPORT UINT SysStringByteLen(BSTR text);

class YKSTD_EXPORT _bstr_t {
 public:
  _bstr_t() noexcept = default;
  _bstr_t(const _bstr_t& other) noexcept;
  _bstr_t(_bstr_t&& other) noexcept : data_(other.data_) { other.data_ = nullptr; }
  _bstr_t(const char* text);
  _bstr_t(const wchar_t* text);
  // Takes `text` over when `copy` is false, else copies it.
  _bstr_t(BSTR text, bool copy);
  ~_bstr_t() { Release(); }

  _bstr_t& operator=(const _bstr_t& other) noexcept;
  _bstr_t& operator=(_bstr_t&& other) noexcept;
  _bstr_t& operator=(const char* text) { return *this = _bstr_t(text); }
  _bstr_t& operator=(const wchar_t* text) { return *this = _bstr_t(text); }
  _bstr_t& operator+=(const _bstr_t& other);
  _bstr_t operator+(const _bstr_t& other) const;

  // The wide text, or null for an empty _bstr_t that holds nothing.
  operator const wchar_t*() const noexcept;
  operator wchar_t*() const noexcept;
  // The text in the ANSI code page, converted on first use and kept; null when nothing is held.
  operator const char*() const;
  operator char*() const;

  bool operator!() const noexcept { return data_ == nullptr || data_->wide == nullptr; }
  bool operator==(const _bstr_t& other) const noexcept { return Compare(other) == 0; }
  bool operator<(const _bstr_t& other) const noexcept { return Compare(other) < 0; }

  // Number of wide characters.
  unsigned int length() const noexcept;
  // A new BSTR with the text (the caller frees it), or the held one when `copy` is false.
  BSTR copy(bool copy = true) const;
  BSTR GetBSTR() const noexcept { return data_ ? data_->wide : nullptr; }
  void Attach(BSTR text);
  BSTR Detach() noexcept;

 private:
  struct Data {
    BSTR wide = nullptr;
    mutable char* narrow = nullptr;
    unsigned long count = 1;
  };
  int Compare(const _bstr_t& other) const noexcept;
  void Release() noexcept;
  static Data* Make(BSTR owned);

  Data* data_ = nullptr;
};
