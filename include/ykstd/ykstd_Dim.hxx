// A dimensioned number: a length, area, angle, thread size or plain number, or a stepped range of
// them. The number is always held in the internal unit of its category (metres, square metres,
// degrees, or unscaled); the unit byte records the category and how the value is shown.
#pragma once

#include <cstdint>
#include <iosfwd>

#include <ykstd/ykstd_AsciiString.hxx>
#include <ykstd/ykstd_Enum.hxx>
#include <ykstd/ykstd_Export.hxx>

class ykstd_Archive;
class ykstd_IntSeq;
class ykstd_AsciiStringSeq;

class YKSTD_EXPORT ykstd_Dim {
 public:
  ykstd_Dim() noexcept : value_(0.0), max_(0.0), step_(0.0), unit_(ykenum::UnitNone) {}
  ykstd_Dim(double value, ykenum::Unit unit) : ykstd_Dim() { Set(value, unit); }
  // The three numbers are taken as they are: already in the internal unit.
  ykstd_Dim(double value, double max, double step, ykenum::Unit unit) noexcept
      : value_(value), max_(max), step_(step), unit_(unit) {}

  // Converts `value` from `unit` into the internal unit; clears max and step.
  void Set(double value, ykenum::Unit unit);
  // Reads the tag form ("/ 12", "\\ 1+1/2", "[/ 10,20,2.5]", ...) with fixed fraction rules.
  void Set(const ykstd_AsciiString& text);
  void Copy(const ykstd_Dim& other) noexcept { *this = other; }

  // The stored fields, as they are (internal units).
  double RawValue() const noexcept { return value_; }
  double RawMax() const noexcept { return max_; }
  double RawStep() const noexcept { return step_; }
  ykenum::Unit GetUnit() const noexcept { return static_cast<ykenum::Unit>(unit_); }
  unsigned char IsRange() const noexcept { return step_ > 0.0 ? 1 : 0; }

  // The stored numbers converted to `unit`; raise when the categories do not allow it.
  double Value(ykenum::Unit unit) const;
  double MaxVal(ykenum::Unit unit) const;
  double StepVal(ykenum::Unit unit) const;
  ykenum::DimType Type() const;

  unsigned char IsEqual(const ykstd_Dim& other) const;
  unsigned char IsGreater(const ykstd_Dim& other) const;
  unsigned char IsLess(const ykstd_Dim& other) const;
  // Does this range hold `candidate`'s value (on a step, within 1e-6 of a step)?
  unsigned char IsInRange(const ykstd_Dim& candidate) const;

  // Append the units of `type` (DimAny: all but UnitNone) in listing order, or their names.
  static void TypeUnits(ykenum::DimType type, ykstd_IntSeq& units);
  static void TypeStrings(ykenum::DimType type, ykstd_AsciiStringSeq& names);

  void Add(const ykstd_Dim& other);
  void Subtract(const ykstd_Dim& other);
  void Multiply(const ykstd_Dim& other);
  void Divide(const ykstd_Dim& other);
  ykstd_Dim Added(const ykstd_Dim& other) const;
  ykstd_Dim Subtracted(const ykstd_Dim& other) const;
  ykstd_Dim Multiplied(const ykstd_Dim& other) const;
  ykstd_Dim Divided(const ykstd_Dim& other) const;
  ykstd_Dim Multiplied(double factor) const noexcept;
  ykstd_Dim Divided(double divisor) const noexcept;
  ykstd_Dim Negated() const noexcept;
  ykstd_Dim Sqrt() const;

  void Serialize(ykstd_Archive& archive);
  std::int32_t ConvertVersion(std::int32_t) { return 0; }

  // Display text for people; failures inside are logged and give an empty text or false.
  ykstd_AsciiString ToAsciiString(std::int32_t decimals, unsigned char withUnit) const;
  ykstd_AsciiString ToLocalString(std::int32_t decimals, unsigned char withUnit) const;
  unsigned char FromAsciiString(const ykstd_AsciiString& text);
  unsigned char FromLocalString(const ykstd_AsciiString& text);
  static ykstd_AsciiString RoundedString(double number, std::int32_t decimals);
  static ykstd_AsciiString UnitToString(ykenum::Unit unit, unsigned char local);
  static ykenum::Unit StringToUnit(const ykstd_AsciiString& text, unsigned char local);

  // Tag text for files and streams.
  std::ostream& Write(std::ostream& out) const;
  std::istream& Read(std::istream& in);

 private:
  static ykstd_Dim Product(const char* operation, const ykstd_Dim& left, const ykstd_Dim& right);
  static ykstd_Dim Quotient(const char* operation, const ykstd_Dim& left, const ykstd_Dim& right);
  ykstd_AsciiString DisplayText(std::int32_t decimals, unsigned char withUnit, bool local) const;
  unsigned char ParseDisplayText(const ykstd_AsciiString& text, bool local);

  double value_;
  double max_;
  double step_;
  unsigned char unit_;
};

// The stored form, by Serialize.
YKSTD_EXPORT ykstd_Archive& operator<<(ykstd_Archive& archive, const ykstd_Dim& dim);
YKSTD_EXPORT ykstd_Archive& operator>>(ykstd_Archive& archive, ykstd_Dim& dim);
// The tag form, by Write and Read.
YKSTD_EXPORT std::ostream& operator<<(std::ostream& out, const ykstd_Dim& dim);
YKSTD_EXPORT std::istream& operator>>(std::istream& in, ykstd_Dim& dim);
