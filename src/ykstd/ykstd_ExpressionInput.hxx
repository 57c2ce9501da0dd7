// The evaluator's input: a string input stream cut down to the three operations the scanner needs
// (get, put back, extract a double), with the same outcomes as a standard string stream in the
// "C" locale, but without a locale or a stream buffer to set up for every evaluation.
// Private to the library; the tests include it to hold the number rule against std::istringstream.
#pragma once

#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

namespace ykstd_detail {

inline bool IsDigit(int c) { return c >= '0' && c <= '9'; }
inline bool IsLetter(int c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
// White space as the "C" locale classifies it.
inline bool IsBlank(int c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// Where a number starting at `from` ends, and its value, as `stream >> double` finds them: the
// stream takes digits, one decimal point and one exponent mark (after at least one digit) with an
// optional sign, then converts what it took. A text it cannot convert whole ("." or "1e+") gives 0
// and a failed stream; an overflow gives the largest double and a failed stream; an underflow gives
// what the conversion gives, without failing.
struct NumberScan {
  const char* end;
  double value;
  bool failed;
};

// Decimal exponent of the first significant digit (value = 0.d... x 10^result), for telling an
// overflow from an underflow; the exponent is clamped so that the sum cannot wrap.
inline std::int64_t MagnitudeOf(const char* from, const char* mantissaEnd, std::int64_t exponent) {
  std::int64_t intDigits = 0;
  std::int64_t leadingFractionZeros = 0;
  bool significant = false;
  bool fraction = false;
  for (const char* p = from; p < mantissaEnd; ++p) {
    if (*p == '.') {
      fraction = true;
    } else if (!fraction) {
      if (*p != '0') significant = true;
      if (significant) ++intDigits;
    } else if (!significant) {
      if (*p != '0') break;
      ++leadingFractionZeros;
    }
  }
  return (significant ? intDigits : -leadingFractionZeros) + exponent;
}

inline NumberScan ScanNumber(const char* from, const char* end) {
  static constexpr double kExact[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                      1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
  const char* p = from;
  std::uint64_t mantissa = 0;
  int digits = 0;           // significant digits gathered into `mantissa`
  bool overflowed = false;  // more than 19 significant digits: leave it to the full conversion
  bool anyDigit = false;
  std::int64_t scale = 0;  // power of ten that `mantissa` must be multiplied by
  bool dot = false;
  for (; p < end; ++p) {
    const char c = *p;
    if (IsDigit(c)) {
      anyDigit = true;
      if (mantissa == 0 && c == '0') {
        if (dot) --scale;
        continue;
      }
      if (digits < 19) {
        mantissa = mantissa * 10 + static_cast<std::uint64_t>(c - '0');
        ++digits;
        if (dot) --scale;
      } else {
        overflowed = true;
        if (!dot) ++scale;
      }
    } else if (c == '.' && !dot) {
      dot = true;
    } else {
      break;
    }
  }
  const char* mantissaEnd = p;
  bool exponentMark = false;
  bool exponentDigits = false;
  std::int64_t exponent = 0;
  if (p < end && (*p == 'e' || *p == 'E') && anyDigit) {
    exponentMark = true;
    ++p;
    bool negative = false;
    if (p < end && (*p == '+' || *p == '-')) negative = *p++ == '-';
    for (; p < end && IsDigit(*p); ++p) {
      exponentDigits = true;
      if (exponent < 1000000000) exponent = exponent * 10 + (*p - '0');
    }
    if (negative) exponent = -exponent;
  }
  // What the stream took but cannot convert: no digit at all, or an exponent mark without digits.
  if (!anyDigit || (exponentMark && !exponentDigits)) return {p, 0.0, true};

  const std::int64_t power = scale + exponent;
  if (!overflowed && mantissa < (std::uint64_t{1} << 53) && power >= -22 && power <= 22) {
    // Both operands are exact doubles, so one rounding gives the correctly rounded result.
    const double m = static_cast<double>(mantissa);
    return {p, power < 0 ? m / kExact[-power] : m * kExact[power], false};
  }
  double value = 0.0;
  const auto [ptr, ec] = std::from_chars(from, p, value, std::chars_format::general);
  if (ec == std::errc::result_out_of_range) {
    if (MagnitudeOf(from, mantissaEnd, exponent) > 0) return {p, std::numeric_limits<double>::max(), true};
    return {p, 0.0, false};
  }
  // A conversion that stops short of what was taken fails the stream as a whole.
  if (ec != std::errc() || ptr != p) return {p, 0.0, true};
  return {p, value, false};
}

// The stream proper. Once it has met its end or failed an extraction it is spent: every later
// get gives end of file, as a stream whose state is no longer good does.
class ExprInput {
 public:
  static constexpr int kEnd = -1;

  // The text is copied, as a string stream copies it: the input may outlive the caller's text.
  static ExprInput* Create(const char* text, std::int32_t length) {
    void* block = ::operator new(sizeof(ExprInput) + static_cast<std::size_t>(length));
    char* copy = static_cast<char*>(block) + sizeof(ExprInput);
    if (length > 0) std::memcpy(copy, text, static_cast<std::size_t>(length));
    return new (block) ExprInput(copy, copy + length);
  }
  static void Release(ExprInput* input) noexcept {
    if (!input) return;
    input->~ExprInput();
    ::operator delete(input);
  }

  int Get() {
    if (spent_ || next_ == end_) {
      spent_ = true;
      return kEnd;
    }
    return static_cast<unsigned char>(*next_++);
  }
  // Steps back over the character the last Get gave.
  void PutBack() {
    if (!spent_ && next_ > begin_) --next_;
  }
  double ExtractDouble() {
    if (spent_) return 0.0;
    const NumberScan scan = ScanNumber(next_, end_);
    next_ = scan.end;
    if (scan.failed || next_ == end_) spent_ = true;
    return scan.value;
  }
  bool Spent() const { return spent_; }
  std::int32_t Position() const { return static_cast<std::int32_t>(next_ - begin_); }

 private:
  ExprInput(const char* begin, const char* end) : begin_(begin), next_(begin), end_(end) {}
  ExprInput(const ExprInput&) = delete;
  ExprInput& operator=(const ExprInput&) = delete;

  const char* begin_;
  const char* next_;
  const char* end_;
  bool spent_ = false;
};

}  // namespace ykstd_detail

// The rest of the evaluator's process-wide state, beside its instance (both live among the
// library's statics).
#include <ykstd/ykstd_AsciiString.hxx>
#include <ykstd/ykstd_Dim.hxx>
#include <ykstd/ykstd_List.hxx>

class ykstd_Expression;

namespace ykstd_detail {

// An evaluation interrupted by a nested one.
struct ExprSavedState {
  ExprInput* input;
  ykstd_Dim value;
  ykstd_AsciiString name;
  unsigned char token;
};

struct ExprStatics {
  ExprStatics() = default;
  ExprStatics(const ExprStatics&) = delete;
  ExprStatics& operator=(const ExprStatics&) = delete;
  ~ExprStatics() { ReleaseAll(); }

  // Null when no evaluation is interrupted.
  ExprSavedState* Pop() {
    if (saved.IsEmpty()) return nullptr;
    ExprSavedState* top = static_cast<ExprSavedState*>(saved.Top());
    saved.Pop();
    return top;
  }
  // Releases the input and every saved state with its input.
  void ReleaseAll() noexcept {
    ExprInput::Release(input);
    input = nullptr;
    while (ExprSavedState* top = Pop()) {
      ExprInput::Release(top->input);
      delete top;
    }
  }

  ExprInput* input = nullptr;  // the text under evaluation; null between evaluations
  ykstd_PtrStack saved;        // the interrupted evaluations, innermost on top
  bool signGuard = false;      // set while the operand of a unary minus is evaluated
};

ExprStatics& ExpressionStatics();
ykstd_Expression& ExpressionInstance();

}  // namespace ykstd_detail
