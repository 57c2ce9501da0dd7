#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <istream>
#include <limits>
#include <ostream>
#include <string>

#include <ykstd/ykstd_Archive.hxx>
#include <ykstd/ykstd_Dim.hxx>
#include <ykstd/ykstd_Expression.hxx>
#include <ykstd/ykstd_Failure.hxx>
#include <ykstd/ykstd_MsgEx.hxx>
#include <ykstd/ykstd_Schema.hxx>
#include <ykstd/ykstd_Seq.hxx>
#include <ykstd/ykstd_Session.hxx>

namespace {

constexpr double kMMIn = 0.001;
constexpr double kInchIn = 0.0254;
constexpr double kRadIn = 57.29577951308232;
constexpr double kMMOut = 1000.0;
constexpr double kInchOut = 39.37007874015748;
constexpr double kMM2Out = 1000000.0;
constexpr double kIn2Out = 1550.0031000062002;
constexpr double kRadOut = 0.017453292519943295;
constexpr double kTolerance = 1e-6;

bool IsLength(unsigned char unit) { return unit == ykenum::UnitMM || unit == ykenum::UnitInch; }
bool IsArea(unsigned char unit) { return unit == ykenum::UnitMM2 || unit == ykenum::UnitIn2; }
bool IsAngle(unsigned char unit) { return unit == ykenum::UnitRad || unit == ykenum::UnitDeg; }
bool IsThread(unsigned char unit) { return unit >= ykenum::UnitThreadM && unit <= ykenum::UnitThreadUNC; }

// The operand as failure texts show it.
ykstd_AsciiString Shown(const ykstd_Dim& dim) { return dim.ToAsciiString(3, 1); }

[[noreturn]] void Fail(ykstd_TextStream& text) { ykstd_fail_ProgramError::Raise(text); }

// Truncation towards zero into 32 bits; false where the number has no such integer (NaN, too large).
bool TruncatedToInt32(double x, std::int32_t& result) {
  if (!(x > -2147483649.0 && x < 2147483648.0)) return false;
  result = static_cast<std::int32_t>(x);
  return true;
}

// Brings an angle into [0, 360) by whole turns. Far-off values are first folded by fmod so that
// the stepwise loops stay short (and end at all for infinities, which become NaN).
double NormalisedAngle(double degrees) {
  if (std::fabs(degrees) >= 360.0 * 1024.0) degrees = std::fmod(degrees, 360.0);
  while (degrees < 0.0) degrees += 360.0;
  while (degrees >= 360.0) degrees += -360.0;
  return degrees;
}

[[noreturn]] void FailInvalidTarget(ykenum::Unit wanted) {
  ykstd_TextStream text;
  text << "ykstd_Dim::Value : invalid unit to convert to [" << static_cast<int>(wanted) << "]";
  Fail(text);
}

// One stored number in the requested unit; `shown` writes what a failure text shows of the operand.
template <class ShowFn>
double Converted(double number, unsigned char stored, ykenum::Unit wanted, ShowFn shown) {
  const char* category = nullptr;
  switch (wanted) {
    case ykenum::UnitMM:
    case ykenum::UnitInch:
      if (IsLength(stored)) return number * (wanted == ykenum::UnitMM ? kMMOut : kInchOut);
      category = "LENGTH";
      break;
    case ykenum::UnitMM2:
    case ykenum::UnitIn2:
      if (IsArea(stored)) return number * (wanted == ykenum::UnitMM2 ? kMM2Out : kIn2Out);
      category = "AREA";
      break;
    case ykenum::UnitRad:
    case ykenum::UnitDeg:
      if (IsAngle(stored)) return wanted == ykenum::UnitRad ? number * kRadOut : number;
      category = "ANGLE";
      break;
    case ykenum::UnitThreadM:
    case ykenum::UnitThreadBSP:
    case ykenum::UnitThreadBSF:
    case ykenum::UnitThreadBSW:
    case ykenum::UnitThreadNPT:
    case ykenum::UnitThreadUNC:
      if (stored == wanted) return number * (wanted == ykenum::UnitThreadM ? kMMOut : kInchOut);
      ykstd_fail_ProgramError::Raise("ykstd_Dim::Value : cannot convert a THREAD");
    default: FailInvalidTarget(wanted);
  }
  ykstd_TextStream text;
  text << "ykstd_Dim::Value : cannot convert [";
  shown(text);
  text << "] to " << category;
  Fail(text);
}

// Max and step exist only for the units that have a range form.
double RangeConverted(double number, unsigned char stored, ykenum::Unit wanted) {
  if (!IsLength(wanted) && !IsAngle(wanted)) FailInvalidTarget(wanted);
  return Converted(number, stored, wanted, [number](ykstd_TextStream& text) { text << number; });
}

[[noreturn]] void FailOperands(const char* operation, const char* problem, const ykstd_Dim& left, char op,
                               const ykstd_Dim& right) {
  ykstd_TextStream text;
  text << "ykstd_Dim::" << operation << " : " << problem << " [" << Shown(left) << op << Shown(right) << "]";
  Fail(text);
}

void CheckSameType(const char* operation, const ykstd_Dim& left, char op, const ykstd_Dim& right) {
  if (left.Type() != right.Type()) FailOperands(operation, "cannot add different types", left, op, right);
}

}  // namespace

// ---- value and conversion ----

void ykstd_Dim::Set(double value, ykenum::Unit unit) {
  switch (unit) {
    case ykenum::UnitMM:
    case ykenum::UnitThreadM: value_ = value * kMMIn; break;
    case ykenum::UnitInch:
    case ykenum::UnitThreadBSP:
    case ykenum::UnitThreadBSF:
    case ykenum::UnitThreadBSW:
    case ykenum::UnitThreadNPT:
    case ykenum::UnitThreadUNC: value_ = value * kInchIn; break;
    // Two multiplications, not one by the square: stored values depend on the last bits.
    case ykenum::UnitMM2: value_ = value * kMMIn * kMMIn; break;
    case ykenum::UnitIn2: value_ = value * kInchIn * kInchIn; break;
    case ykenum::UnitRad: value_ = value * kRadIn; break;
    case ykenum::UnitDeg:
    case ykenum::UnitNone: value_ = value; break;
    default: break;  // an unknown unit is recorded, the value kept
  }
  unit_ = unit;
  max_ = 0.0;
  step_ = 0.0;
}

double ykstd_Dim::Value(ykenum::Unit unit) const {
  return Converted(value_, unit_, unit, [this](ykstd_TextStream& text) { text << Shown(*this); });
}

double ykstd_Dim::MaxVal(ykenum::Unit unit) const { return RangeConverted(max_, unit_, unit); }

double ykstd_Dim::StepVal(ykenum::Unit unit) const { return RangeConverted(step_, unit_, unit); }

ykenum::DimType ykstd_Dim::Type() const {
  if (IsLength(unit_)) return ykenum::DimLength;
  if (IsArea(unit_)) return ykenum::DimArea;
  if (IsThread(unit_)) return ykenum::DimThread;
  if (IsAngle(unit_)) return ykenum::DimAngle;
  if (unit_ == ykenum::UnitNone) return ykenum::DimAny;
  ykstd_TextStream text;
  text << "ykstd_Dim::Type : unknown unit [" << static_cast<char>(unit_) << "]";
  Fail(text);
}

// ---- comparison ----

unsigned char ykstd_Dim::IsEqual(const ykstd_Dim& other) const {
  const ykenum::DimType type = Type();
  if (type != other.Type()) return 0;
  if (step_ > 0.0) {
    return (std::fabs(value_ - other.value_) < kTolerance && std::fabs(max_ - other.max_) < kTolerance &&
            std::fabs(step_ - other.step_) < kTolerance)
               ? 1
               : 0;
  }
  if (type == ykenum::DimAngle)
    return std::fabs(NormalisedAngle(value_) - NormalisedAngle(other.value_)) < kTolerance ? 1 : 0;
  if (type == ykenum::DimThread && unit_ != other.unit_) return 0;
  return std::fabs(value_ - other.value_) < kTolerance ? 1 : 0;
}

unsigned char ykstd_Dim::IsGreater(const ykstd_Dim& other) const {
  const ykenum::DimType type = Type();
  if (type != other.Type()) FailOperands("IsGreater", "type mismatch", *this, '>', other);
  if (type == ykenum::DimThread && unit_ != other.unit_) return 0;
  return value_ > other.value_ ? 1 : 0;
}

unsigned char ykstd_Dim::IsLess(const ykstd_Dim& other) const {
  const ykenum::DimType type = Type();
  if (type != other.Type()) FailOperands("IsLess", "type mismatch", *this, '<', other);
  if (type == ykenum::DimThread && unit_ != other.unit_) return 0;
  return other.value_ > value_ ? 1 : 0;
}

unsigned char ykstd_Dim::IsInRange(const ykstd_Dim& candidate) const {
  if (Type() != candidate.Type()) return 0;
  const double x = candidate.value_;
  if (!(x >= value_ && x <= max_)) return 0;
  const double r = (x - value_) / step_;
  std::int32_t k = 0;
  if (!TruncatedToInt32(r + 0.5, k)) return 0;
  return std::fabs(r - k) < kTolerance ? 1 : 0;
}

// ---- unit listings ----

namespace {

// The units of each type in listing order (not the order of their numbers); DimAny lists all.
constexpr unsigned char kAngleUnits[] = {ykenum::UnitDeg, ykenum::UnitRad};
constexpr unsigned char kLengthUnits[] = {ykenum::UnitMM, ykenum::UnitInch};
constexpr unsigned char kThreadUnits[] = {ykenum::UnitThreadM,   ykenum::UnitThreadBSP, ykenum::UnitThreadBSW,
                                          ykenum::UnitThreadBSF, ykenum::UnitThreadUNC, ykenum::UnitThreadNPT};
constexpr unsigned char kAreaUnits[] = {ykenum::UnitMM2, ykenum::UnitIn2};
constexpr unsigned char kAllUnits[] = {ykenum::UnitMM,        ykenum::UnitInch,      ykenum::UnitDeg,
                                       ykenum::UnitRad,       ykenum::UnitMM2,       ykenum::UnitIn2,
                                       ykenum::UnitThreadM,   ykenum::UnitThreadBSP, ykenum::UnitThreadBSW,
                                       ykenum::UnitThreadBSF, ykenum::UnitThreadUNC, ykenum::UnitThreadNPT};

template <class Fn>
void ForEachUnitOf(ykenum::DimType type, Fn fn) {
  const auto each = [&fn](const auto& units) {
    for (unsigned char unit : units) fn(static_cast<ykenum::Unit>(unit));
  };
  switch (type) {
    case ykenum::DimAngle: each(kAngleUnits); break;
    case ykenum::DimLength: each(kLengthUnits); break;
    case ykenum::DimThread: each(kThreadUnits); break;
    case ykenum::DimArea: each(kAreaUnits); break;
    case ykenum::DimAny: each(kAllUnits); break;
    default: break;
  }
}

}  // namespace

void ykstd_Dim::TypeUnits(ykenum::DimType type, ykstd_IntSeq& units) {
  ForEachUnitOf(type, [&units](ykenum::Unit unit) { units.Append(static_cast<std::int32_t>(unit)); });
}

void ykstd_Dim::TypeStrings(ykenum::DimType type, ykstd_AsciiStringSeq& names) {
  ForEachUnitOf(type, [&names](ykenum::Unit unit) { names.Append(UnitToString(unit, 0)); });
}

// ---- arithmetic ----

void ykstd_Dim::Add(const ykstd_Dim& other) {
  CheckSameType("Add", *this, '+', other);
  value_ += other.value_;
}

void ykstd_Dim::Subtract(const ykstd_Dim& other) {
  CheckSameType("Subtract", *this, '-', other);
  value_ -= other.value_;
}

ykstd_Dim ykstd_Dim::Added(const ykstd_Dim& other) const {
  CheckSameType("Added", *this, '+', other);
  return ykstd_Dim(value_ + other.value_, 0.0, 0.0, GetUnit());
}

ykstd_Dim ykstd_Dim::Subtracted(const ykstd_Dim& other) const {
  CheckSameType("Subtracted", *this, '-', other);
  return ykstd_Dim(value_ - other.value_, 0.0, 0.0, GetUnit());
}

// The unit tables of products and quotients. A result starts from the default value.
ykstd_Dim ykstd_Dim::Product(const char* operation, const ykstd_Dim& left, const ykstd_Dim& right) {
  unsigned char unit = 0;
  if (left.unit_ == ykenum::UnitNone)
    unit = right.unit_;
  else if (right.unit_ == ykenum::UnitNone)
    unit = left.unit_;
  else if (IsLength(left.unit_) && IsLength(right.unit_))
    unit = left.unit_ == ykenum::UnitMM ? ykenum::UnitMM2 : ykenum::UnitIn2;
  else
    FailOperands(operation, "invalid combination of units", left, '*', right);
  return ykstd_Dim(left.value_ * right.value_, 0.0, 0.0, static_cast<ykenum::Unit>(unit));
}

ykstd_Dim ykstd_Dim::Quotient(const char* operation, const ykstd_Dim& left, const ykstd_Dim& right) {
  unsigned char unit = 0;
  if (right.unit_ == ykenum::UnitNone)
    unit = left.unit_;
  else if (IsArea(left.unit_) && IsLength(right.unit_))
    unit = left.unit_ == ykenum::UnitMM2 ? ykenum::UnitMM : ykenum::UnitInch;
  else
    FailOperands(operation, "invalid combination of units", left, '/', right);
  return ykstd_Dim(left.value_ / right.value_, 0.0, 0.0, static_cast<ykenum::Unit>(unit));
}

void ykstd_Dim::Multiply(const ykstd_Dim& other) {
  const ykstd_Dim product = Product("Multiply", *this, other);
  value_ = product.value_;
  unit_ = product.unit_;
}

ykstd_Dim ykstd_Dim::Multiplied(const ykstd_Dim& other) const { return Product("Multiplied", *this, other); }

void ykstd_Dim::Divide(const ykstd_Dim& other) {
  const ykstd_Dim quotient = Quotient("Divide", *this, other);
  value_ = quotient.value_;
  unit_ = quotient.unit_;
}

ykstd_Dim ykstd_Dim::Divided(const ykstd_Dim& other) const { return Quotient("Divided", *this, other); }

ykstd_Dim ykstd_Dim::Multiplied(double factor) const noexcept {
  return ykstd_Dim(value_ * factor, 0.0, 0.0, GetUnit());
}

ykstd_Dim ykstd_Dim::Divided(double divisor) const noexcept { return ykstd_Dim(value_ / divisor, 0.0, 0.0, GetUnit()); }

ykstd_Dim ykstd_Dim::Negated() const noexcept { return ykstd_Dim(-value_, 0.0, 0.0, GetUnit()); }

ykstd_Dim ykstd_Dim::Sqrt() const {
  if (!IsArea(unit_)) {
    ykstd_TextStream text;
    text << "ykstd_Dim::Sqrt : unit must be an AREA [" << Shown(*this) << "]";
    Fail(text);
  }
  return ykstd_Dim(std::sqrt(value_), 0.0, 0.0, unit_ == ykenum::UnitMM2 ? ykenum::UnitMM : ykenum::UnitInch);
}

// ---- stored form ----

void ykstd_Dim::Serialize(ykstd_Archive& archive) {
  if (archive.IsStoring()) {
    const unsigned char range = step_ > 0.0 ? 1 : 0;
    archive << range << unit_ << value_;
    if (range) archive << max_ << step_;
    archive << static_cast<std::uint16_t>(EOC);
    return;
  }
  const ykstd_AsciiString className("ykstd_Dim");
  const std::int32_t version = ykstd_Schema::ClassVersion(className);
  if (version < 0 || version > ykstd_Schema::LastClassVersion(className)) {
    ykstd_TextStream text;
    text << "ykstd_Dim: bad class version [" << version << "]";
    ykstd_fail_FileIO::Raise(text, 16);
  }
  unsigned char range = 0;
  unsigned char unit = 0;
  double value = 0.0;
  double max = 0.0;
  double step = 0.0;
  archive >> range >> unit >> value;
  if (range) archive >> max >> step;
  if (archive.dataVersion >= 16) {
    std::uint16_t marker = 0;
    archive >> marker;
    if (marker != static_cast<std::uint16_t>(EOC)) ykstd_fail_FileIO::Raise("ykstd_Dim: expected end of class", 17);
  }
  value_ = value;
  max_ = max;
  step_ = step;
  unit_ = unit;
}

ykstd_Archive& operator<<(ykstd_Archive& archive, const ykstd_Dim& dim) {
  // Storing leaves the object as it is; a copy keeps a loading archive off a const object.
  ykstd_Dim copy(dim);
  copy.Serialize(archive);
  return archive;
}

ykstd_Archive& operator>>(ykstd_Archive& archive, ykstd_Dim& dim) {
  dim.Serialize(archive);
  return archive;
}

// ---- display text ----

namespace {

constexpr const char* kSource = "src/ykstd/ykstd_Dim";

// The number as the string class formats a double: "%.10g" without decimals, else fixed. The
// text is cut where the shared scratch buffer of the string class would end.
ykstd_AsciiString NumberText(double number, std::int32_t decimals) {
  char buffer[ykstd_AsciiString::ScratchSize];
  if (decimals < 0)
    std::snprintf(buffer, sizeof buffer, "%.10g", number);
  else
    std::snprintf(buffer, sizeof buffer, "%.*f",
                  decimals < ykstd_AsciiString::ScratchSize ? decimals : ykstd_AsciiString::ScratchSize, number);
  return ykstd_AsciiString(buffer);
}

// "1 1/2", "3/4" or "2" for a stored inch number that is a whole number of 64ths; else false.
bool InchFraction(double stored, ykstd_AsciiString& text) {
  const double inches = stored * kInchOut;
  std::int32_t whole = 0;
  if (!TruncatedToInt32(inches + 1e-10, whole)) return false;
  char buffer[48];
  if (std::fabs(whole - inches) < 1e-10) {
    std::snprintf(buffer, sizeof buffer, "%d", static_cast<int>(whole));
    text = ykstd_AsciiString(buffer);
    return true;
  }
  const double rest = inches - whole;
  for (int d = 2; d <= 64; d *= 2) {
    const double x = d * rest;
    std::int32_t n = 0;
    if (!TruncatedToInt32(x + 1e-10, n) || std::fabs(n - x) >= 1e-10) continue;
    if (whole > 0)
      std::snprintf(buffer, sizeof buffer, "%d %d/%d", static_cast<int>(whole), static_cast<int>(n), d);
    else
      std::snprintf(buffer, sizeof buffer, "%d/%d", static_cast<int>(n), d);
    text = ykstd_AsciiString(buffer);
    return true;
  }
  return false;
}

ykstd_AsciiString InchText(double stored, std::int32_t decimals) {
  ykstd_AsciiString text;
  if (!InchFraction(stored, text)) text = ykstd_Dim::RoundedString(stored * kInchOut, decimals);
  return text;
}

struct UnitName {
  const char* ascii;
  std::int32_t message;  // 0: no message
};

// Indexed by unit number; the message numbers follow the listing order of all units.
constexpr UnitName kUnitNames[] = {{"mm", 500},  {"\"", 501},  {"mm2", 504}, {"in2", 505}, {"M", 506},
                                   {"BSP", 507}, {"BSF", 509}, {"BSW", 508}, {"NPT", 511}, {"UNC", 510},
                                   {"rad", 503}, {"deg", 502}, {"", 0}};
constexpr unsigned char kUnitCount = sizeof kUnitNames / sizeof kUnitNames[0];

}  // namespace

ykstd_AsciiString ykstd_Dim::RoundedString(double number, std::int32_t decimals) {
  if (decimals >= 0) {
    double factor = 1.0;
    // Past the largest double more factors change nothing; stopping there keeps huge counts quick.
    for (std::int32_t i = 0; i < decimals && !std::isinf(factor); ++i) factor *= 10.0;
    const double scaled = factor * number;
    double x = scaled > 0.0 ? scaled + 0.5 : scaled - 0.5;
    // Zero and small negatives come out of ceil as -0, and show as "-0.000": that is the stored behaviour.
    x = x > 0.0 ? std::floor(x) : std::ceil(x);
    number = x / factor;
  }
  return NumberText(number, decimals);
}

ykstd_AsciiString ykstd_Dim::UnitToString(ykenum::Unit unit, unsigned char local) {
  if (unit >= kUnitCount) ykstd_fail_ProgramError::Raise("ykstd_Dim::UnitToString");
  const UnitName& name = kUnitNames[unit];
  if (local && name.message != 0) return ykstd_MsgEx::Get(name.message);
  return ykstd_AsciiString(name.ascii);
}

ykenum::Unit ykstd_Dim::StringToUnit(const ykstd_AsciiString& text, unsigned char local) {
  for (unsigned char i = 0; i < kUnitCount; ++i) {
    const auto unit = static_cast<ykenum::Unit>(i);
    if (UnitToString(unit, local).IsEqual(text)) return unit;
  }
  return ykenum::UnitNone;
}

ykstd_AsciiString ykstd_Dim::DisplayText(std::int32_t decimals, unsigned char withUnit, bool local) const {
  const ykstd_AsciiString name = UnitToString(GetUnit(), local ? 1 : 0);
  const bool range = step_ > 0.0;
  ykstd_AsciiString suffix;
  if (withUnit && !range) {
    suffix = " ";
    suffix.AssignCat(name);
  }
  ykstd_AsciiString text;
  switch (unit_) {
    case ykenum::UnitInch:
      text = InchText(value_, decimals);
      text.AssignCat(suffix);
      break;
    case ykenum::UnitNone: text = RoundedString(value_, decimals); break;
    case ykenum::UnitThreadM:
    case ykenum::UnitThreadBSP:
    case ykenum::UnitThreadBSF:
    case ykenum::UnitThreadBSW:
    case ykenum::UnitThreadNPT:
    case ykenum::UnitThreadUNC:
      if (withUnit) {
        text = name;
        text.AssignCat(" ");
      }
      text.AssignCat(unit_ == ykenum::UnitThreadM ? RoundedString(value_ * kMMOut, decimals)
                                                  : InchText(value_, decimals));
      break;
    default:
      text = RoundedString(Value(GetUnit()), decimals);
      text.AssignCat(suffix);
      break;
  }
  if (!range) return text;

  suffix.Clear();
  if (withUnit) {
    suffix = " ";
    suffix.AssignCat(name);
  }
  text.AssignCat("~");
  if (IsLength(unit_) || IsAngle(unit_)) {
    text.AssignCat(RoundedString(MaxVal(GetUnit()), decimals));
    text.AssignCat(suffix);
    text.AssignCat("/");
    text.AssignCat(RoundedString(StepVal(GetUnit()), decimals));
    text.AssignCat(suffix);
  } else if (unit_ == ykenum::UnitNone) {
    text.AssignCat(RoundedString(max_, decimals));
    text.AssignCat("/");
    text.AssignCat(RoundedString(step_, decimals));
  } else {
    ykstd_TextStream failure;
    failure << "ykstd_Dim::ToAscStr : unknown unit [" << static_cast<char>(unit_) << "] for range";
    Fail(failure);
  }
  return text;
}

ykstd_AsciiString ykstd_Dim::ToAsciiString(std::int32_t decimals, unsigned char withUnit) const {
  try {
    return DisplayText(decimals, withUnit, false);
  } catch (Hnd_ykstd_fail_Failure& failure) {
    YKSTD_LOG_CAUGHT(kSource, "ykstd_Dim::ToAsciiString", failure);
    return ykstd_AsciiString();
  }
}

ykstd_AsciiString ykstd_Dim::ToLocalString(std::int32_t decimals, unsigned char withUnit) const {
  try {
    return DisplayText(decimals, withUnit, true);
  } catch (Hnd_ykstd_fail_Failure& failure) {
    YKSTD_LOG_CAUGHT(kSource, "ykstd_Dim::ToLocalString", failure);
    return ykstd_AsciiString();
  }
}

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v'; }

// The text from position `from` to its end; a position past the end raises as SubString does.
ykstd_AsciiString Rest(const ykstd_AsciiString& text, std::int32_t from) { return text.SubString(from, text.Length()); }

}  // namespace

unsigned char ykstd_Dim::ParseDisplayText(const ykstd_AsciiString& text, bool local) {
  if (text.Length() < 1) {
    Set(0.0, ykenum::UnitNone);
    return 0;
  }
  std::int32_t start = 1;
  while (start <= text.Length() && IsBlank(text.Value(start))) ++start;
  // Only blanks: the position is past the end and the failure ends in the caller's catch.
  ykstd_AsciiString t = Rest(text, start);

  const bool unitFirst = std::isalpha(static_cast<unsigned char>(t.Value(1))) != 0;
  ykenum::Unit unit = GetUnit();
  if (unitFirst) {
    const ykstd_AsciiString name = t.Token(" \t", 1);
    unit = StringToUnit(name, local ? 1 : 0);
    unit_ = unit;
    if (unit == ykenum::UnitNone) return 0;
    t = Rest(t, name.Length() + 2);
  }
  if (!t.IsRealValue()) {
    Set(0.0, ykenum::UnitNone);
    return 0;
  }
  double value = t.RealValue();

  const ykstd_AsciiString fraction = t.Token(" ", 2);
  if (fraction.IsRealValue()) {
    const ykstd_AsciiString den = fraction.Token("/", 2);
    if (den.IsRealValue()) value = fraction.Token("/", 1).RealValue() / den.RealValue() + value;
  } else {
    const ykstd_AsciiString den = t.Token("/", 2);
    if (den.IsRealValue()) value = value / den.RealValue();
  }

  if (!unitFirst) {
    const ykstd_AsciiString name = t.Token(" \t", t.Token(" \t", 2).IsRealValue() ? 3 : 2);
    if (name.Length() > 0) {
      unit = StringToUnit(name, local ? 1 : 0);
    } else {
      const char* setting = IsAngle(unit_) ? "UnitAngular" : "UnitLinear";
      unit = ykstd_Session::CurSession()->GetUnitSetting(0, setting, 1);
    }
  }
  Set(value, unit);
  return 1;
}

unsigned char ykstd_Dim::FromAsciiString(const ykstd_AsciiString& text) {
  try {
    return ParseDisplayText(text, false);
  } catch (Hnd_ykstd_fail_Failure& failure) {
    YKSTD_LOG_CAUGHT(kSource, "ykstd_Dim::FromAsciiString", failure);
    Set(0.0, ykenum::UnitNone);
    return 0;
  }
}

unsigned char ykstd_Dim::FromLocalString(const ykstd_AsciiString& text) {
  try {
    return ParseDisplayText(text, true);
  } catch (Hnd_ykstd_fail_Failure& failure) {
    YKSTD_LOG_CAUGHT(kSource, "ykstd_Dim::FromLocalString", failure);
    Set(0.0, ykenum::UnitNone);
    return 0;
  }
}

// ---- tag text ----

namespace {

struct TagForm {
  const char* prefix;  // null: no tag form
  double factor;       // internal unit to the written number
};

constexpr TagForm kTagForms[] = {{"/ ", kMMOut},    {"\\ ", kInchOut}, {nullptr, 0.0},    {nullptr, 0.0},
                                 {"/m", kMMOut},    {"\\p", kInchOut}, {"\\f", kInchOut}, {"\\w", kInchOut},
                                 {"\\n", kInchOut}, {"\\u", kInchOut}, {"/r", kRadOut},   {"/d", 1.0},
                                 {"X ", 1.0}};

}  // namespace

namespace {

// "a+n/d" or "a/d" in the rest of a tag text, with a already read as `value`.
double WithFraction(const ykstd_AsciiString& rest, double value) {
  const ykstd_AsciiString added = rest.Token("+", 2);
  if (added.IsRealValue()) {
    const ykstd_AsciiString den = added.Token("/", 2);
    if (den.IsRealValue()) value = added.Token("/", 1).RealValue() / den.RealValue() + value;
    return value;
  }
  const ykstd_AsciiString den = rest.Token("/", 2);
  if (den.IsRealValue()) value = value / den.RealValue();
  return value;
}

// The text behind its first `count` bytes; empty when nothing follows, so that the number
// reading that comes next raises its numeric failure.
ykstd_AsciiString Behind(const ykstd_AsciiString& text, std::int32_t count) {
  return text.Length() > count ? ykstd_AsciiString(text.Text() + count) : ykstd_AsciiString();
}

[[noreturn]] void FailSet(const char* problem, char c, const char* tail) {
  ykstd_TextStream text;
  text << "ykstd_Dim::Set : " << problem << " [" << c << "]" << tail;
  Fail(text);
}

}  // namespace

void ykstd_Dim::Set(const ykstd_AsciiString& text) {
  const bool range = text.Value(1) == '[';
  const std::int32_t prefix = range ? 3 : 2;
  const ykstd_AsciiString rest = Behind(text, prefix);
  double value = rest.RealValue();
  double max = range ? text.Token(",", 2).RealValue() : max_;
  double step = range ? text.Token(",", 3).RealValue() : step_;
  const char selector = text.Value(prefix);
  double factor = 1.0;
  ykenum::Unit unit = ykenum::UnitNone;
  switch (selector) {
    case ' ': {
      const char kind = text.Value(prefix - 1);
      if (kind == '/') {
        unit = ykenum::UnitMM;
        factor = kMMIn;
      } else if (kind == '\\') {
        unit = ykenum::UnitInch;
        factor = kInchIn;
        value = WithFraction(rest, value);
      } else {
        FailSet("unknown length type", kind, "");
      }
      break;
    }
    case 'd': unit = ykenum::UnitDeg; break;
    case 'r':
      unit = ykenum::UnitRad;
      factor = kRadIn;
      break;
    default: {
      static constexpr char kThreads[] = "mfnpuw";
      static constexpr ykenum::Unit kThreadUnits[] = {ykenum::UnitThreadM,   ykenum::UnitThreadBSF,
                                                      ykenum::UnitThreadNPT, ykenum::UnitThreadBSP,
                                                      ykenum::UnitThreadUNC, ykenum::UnitThreadBSW};
      const char* found = range || selector == '\0' ? nullptr : std::strchr(kThreads, selector);
      if (found == nullptr) FailSet("unknown category", selector, range ? " for range" : "");
      unit = kThreadUnits[found - kThreads];
      if (unit == ykenum::UnitThreadM) {
        factor = kMMIn;
      } else {
        factor = kInchIn;
        value = WithFraction(rest, value);
      }
      break;
    }
  }
  value_ = value * factor;
  unit_ = unit;
  if (range) {
    max_ = max * factor;
    step_ = step * factor;
  }
}

std::ostream& ykstd_Dim::Write(std::ostream& out) const {
  const bool range = step_ > 0.0;
  if (unit_ >= kUnitCount || kTagForms[unit_].prefix == nullptr) {
    ykstd_TextStream text;
    text << "ykstd_Dim::Write : unknown unit [" << static_cast<char>(unit_) << "]";
    Fail(text);
  }
  if (range && !IsLength(unit_) && !IsAngle(unit_) && unit_ != ykenum::UnitNone) {
    ykstd_TextStream text;
    text << "ykstd_Dim::Write : unknown unit [" << static_cast<char>(unit_) << "] for range";
    Fail(text);
  }
  const TagForm& form = kTagForms[unit_];
  if (range) out << "[";
  out << form.prefix << value_ * form.factor;
  if (range) out << "," << max_ * form.factor << "," << step_ * form.factor << "]";
  return out;
}

std::ostream& operator<<(std::ostream& out, const ykstd_Dim& dim) { return dim.Write(out); }
std::istream& ykstd_Dim::Read(std::istream& in) {
  char c0 = '\0';
  char c1 = '\0';
  in >> c0 >> c1;
  const bool range = c0 == '[';
  if (range) {
    c0 = c1;
    c1 = '\0';
    in >> c1;
  }
  ykenum::Unit unit = ykenum::UnitNone;
  if (std::isdigit(static_cast<unsigned char>(c1)) || c1 == '+' || c1 == '-' || c1 == '.') {
    in.putback(c1);
    switch (c0) {
      case '/': unit = ykenum::UnitMM; break;
      case '\\': unit = ykenum::UnitInch; break;
      case 'X': unit = ykenum::UnitNone; break;
      default: {
        ykstd_TextStream text;
        text << "ykstd_Dim::Read : unknown unit [" << c0 << "]";
        Fail(text);
      }
    }
  } else {
    static constexpr char kKinds[] = "drmpfwnu";
    static constexpr ykenum::Unit kKindUnits[] = {ykenum::UnitDeg,       ykenum::UnitRad,       ykenum::UnitThreadM,
                                                  ykenum::UnitThreadBSP, ykenum::UnitThreadBSF, ykenum::UnitThreadBSW,
                                                  ykenum::UnitThreadNPT, ykenum::UnitThreadUNC};
    const char* found = c1 == '\0' ? nullptr : std::strchr(kKinds, c1);
    if (found == nullptr) {
      ykstd_TextStream text;
      text << "ykstd_Dim::Read : unknown thread or angle [" << c1 << "]";
      Fail(text);
    }
    unit = kKindUnits[found - kKinds];
  }

  double value = 0.0;
  if (unit == ykenum::UnitInch || IsThread(unit)) {
    // Inch numbers are expressions such as 1+3/4; in a range the comma ends one.
    std::string expression;
    if (range) {
      char buffer[128] = {};
      in >> std::ws;
      in.get(buffer, sizeof buffer, ',');
      expression = buffer;
    } else {
      in >> expression;
    }
    const ykstd_AsciiString source(expression.c_str());
    ykstd_Dim result;
    if (ykstd_Expression::Evaluate(source, result) != ykenum::ExprNoError) {
      ykstd_TextStream text;
      text << "ykstd_Dim::Read : error in expression [" << expression << "]";
      Fail(text);
    }
    value = result.value_ * (unit == ykenum::UnitThreadM ? kMMIn : kInchIn);
  } else {
    in >> value;
    if (unit == ykenum::UnitRad) value *= kRadIn;
    if (unit == ykenum::UnitMM) value *= kMMIn;
  }

  double max = 0.0;
  double step = 0.0;
  if (range) {
    char separator = '\0';
    in >> separator >> max >> separator >> step >> separator;
    const double factor = unit == ykenum::UnitMM     ? kMMIn
                          : unit == ykenum::UnitInch ? kInchIn
                          : unit == ykenum::UnitRad  ? kRadIn
                                                     : 1.0;
    max *= factor;
    step *= factor;
  }
  value_ = value;
  max_ = max;
  step_ = step;
  unit_ = unit;
  return in;
}

std::istream& operator>>(std::istream& in, ykstd_Dim& dim) { return dim.Read(in); }
