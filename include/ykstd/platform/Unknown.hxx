// The root interface of component objects, the counted interface pointer and the error it raises.
#pragma once

#include <cstdlib>
#include <memory>
#include <string>

#include <ykstd/platform/WinTypes.hxx>

struct IUnknown {
  static constexpr IID iid{0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
  virtual HRESULT QueryInterface(REFIID riid, void** object) = 0;
  virtual ULONG AddRef() = 0;
  virtual ULONG Release() = 0;

 protected:
  ~IUnknown() = default;
};

inline const IID& IID_IUnknown = IUnknown::iid;

// The error a failing interface call raises; it carries the HRESULT.
class YKSTD_EXPORT _com_error {
 public:
  explicit _com_error(HRESULT hr) noexcept : hr_(hr) {}
  HRESULT Error() const noexcept { return hr_; }
  // The system's text for the code, or "Unknown error 0x" and the code in eight hex digits.
  std::string ErrorMessage() const;

 private:
  HRESULT hr_;
};

[[noreturn]] inline void _com_issue_error(HRESULT hr) { throw _com_error(hr); }

// A counted pointer to interface T (T names its identity as T::iid). Assignment from a pointer of
// another interface asks that object for T; an object without T leaves the pointer empty.
template <class T>
class _com_ptr_t {
 public:
  _com_ptr_t() noexcept = default;
  _com_ptr_t(std::nullptr_t) noexcept {}
  _com_ptr_t(T* p, bool addRef = true) noexcept : p_(p) {
    if (p_ && addRef) p_->AddRef();
  }
  _com_ptr_t(const _com_ptr_t& other) noexcept : p_(other.p_) {
    if (p_) p_->AddRef();
  }
  _com_ptr_t(_com_ptr_t&& other) noexcept : p_(other.p_) { other.p_ = nullptr; }
  template <class U>
  _com_ptr_t(const _com_ptr_t<U>& other) {
    QueryFrom(other.GetInterfacePtr());
  }
  ~_com_ptr_t() { Release(); }

  _com_ptr_t& operator=(const _com_ptr_t& other) noexcept {
    if (other.p_) other.p_->AddRef();
    Release();
    p_ = other.p_;
    return *this;
  }
  _com_ptr_t& operator=(_com_ptr_t&& other) noexcept {
    if (this != std::addressof(other)) {
      Release();
      p_ = other.p_;
      other.p_ = nullptr;
    }
    return *this;
  }
  _com_ptr_t& operator=(T* p) noexcept {
    if (p) p->AddRef();
    Release();
    p_ = p;
    return *this;
  }
  template <class U>
  _com_ptr_t& operator=(const _com_ptr_t<U>& other) {
    _com_ptr_t fresh(other);
    *this = static_cast<_com_ptr_t&&>(fresh);
    return *this;
  }

  void Attach(T* p) noexcept {
    Release();
    p_ = p;
  }
  T* Detach() noexcept {
    T* p = p_;
    p_ = nullptr;
    return p;
  }
  void Release() noexcept {
    if (p_) {
      T* p = p_;
      p_ = nullptr;
      p->Release();
    }
  }

  T* GetInterfacePtr() const noexcept { return p_; }
  operator T*() const noexcept { return p_; }
  explicit operator bool() const noexcept { return p_ != nullptr; }
  T* operator->() const {
    if (!p_) _com_issue_error(E_POINTER);
    return p_;
  }
  T& operator*() const {
    if (!p_) _com_issue_error(E_POINTER);
    return *p_;
  }
  // For out-parameters: releases what is held and gives the slot.
  T** operator&() noexcept {
    Release();
    return &p_;
  }

  HRESULT QueryInterface(REFIID riid, void** object) const {
    if (!p_) return E_POINTER;
    return p_->QueryInterface(riid, object);
  }

 private:
  template <class U>
  void QueryFrom(U* source) {
    if (!source) return;
    void* found = nullptr;
    const HRESULT hr = source->QueryInterface(T::iid, &found);
    if (hr == E_NOINTERFACE) return;
    if (FAILED(hr)) _com_issue_error(hr);
    p_ = static_cast<T*>(found);
  }

  T* p_ = nullptr;
};

using IUnknownPtr = _com_ptr_t<IUnknown>;
