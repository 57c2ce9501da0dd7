// A plain calendar day with a text form. Nothing about it is checked, and it has no stored bytes.
#pragma once

#include <cstdint>

#include <ykstd/ykstd_AsciiString.hxx>
#include <ykstd/ykstd_Enum.hxx>
#include <ykstd/ykstd_Export.hxx>

class ykstd_Archive;

class YKSTD_EXPORT ykstd_Date {
 public:
  ykstd_Date() noexcept = default;
  ykstd_Date(std::int32_t day, std::int32_t month, std::int32_t year) noexcept
      : day_(day), month_(month), year_(year) {}

  void SetDate(std::int32_t day, std::int32_t month, std::int32_t year) noexcept {
    day_ = day;
    month_ = month;
    year_ = year;
  }
  // Raises ykstd_fail_ProgramError for a year under 1000, which would be a two-digit year.
  void SetYear(std::int32_t year);
  // Raises ykstd_fail_ProgramError: the clock is not read.
  [[noreturn]] void Today();

  std::int32_t Day() const noexcept { return day_; }
  std::int32_t Month() const noexcept { return month_; }
  std::int32_t Year() const noexcept { return year_; }

  // The three numbers in the order of format, in decimal, with separator between them; an empty
  // text for a format beyond DateYMD. Month names are not supported: a month format other than
  // MonthNumber raises ykstd_fail_ProgramError.
  ykstd_AsciiString Print(char separator, ykenum::DateFormat format, ykenum::MonthFormat month) const;

  // A date stores nothing and reads nothing.
  void Serialize(ykstd_Archive&) {}
  std::int32_t ConvertVersion(std::int32_t) { return 0; }

 private:
  std::int32_t day_ = 0;
  std::int32_t month_ = 0;
  std::int32_t year_ = 0;
};

inline ykstd_Archive& operator<<(ykstd_Archive& archive, const ykstd_Date&) { return archive; }
inline ykstd_Archive& operator>>(ykstd_Archive& archive, ykstd_Date& date) {
  date.Serialize(archive);
  return archive;
}
