#include <string>

#include <ykstd/ykstd_Date.hxx>
#include <ykstd/ykstd_Failure.hxx>

void ykstd_Date::SetYear(std::int32_t year) {
  if (year < 1000) ykstd_fail_ProgramError::Raise("ykstd_Date::SetYear : Y2K bug detected!");
  year_ = year;
}

void ykstd_Date::Today() { ykstd_fail_ProgramError::Raise("ykstd_Date::Today: not yet implemented"); }

ykstd_AsciiString ykstd_Date::Print(char separator, ykenum::DateFormat format, ykenum::MonthFormat month) const {
  if (month != ykenum::MonthNumber)
    ykstd_fail_ProgramError::Raise("ykstd_Date::Print: month format TEXT not yet supported");
  std::int32_t parts[3];
  switch (format) {
    case ykenum::DateDMY: parts[0] = day_, parts[1] = month_, parts[2] = year_; break;
    case ykenum::DateMDY: parts[0] = month_, parts[1] = day_, parts[2] = year_; break;
    case ykenum::DateYMD: parts[0] = year_, parts[1] = month_, parts[2] = day_; break;
    default: return ykstd_AsciiString();
  }
  // Plain decimal, as the string's number constructor writes it: no leading zeros.
  std::string text = std::to_string(parts[0]);
  for (int i = 1; i < 3; ++i) (text += separator) += std::to_string(parts[i]);
  return ykstd_AsciiString(text.c_str());
}
