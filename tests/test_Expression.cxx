#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "../src/ykstd/ykstd_ExpressionInput.hxx"

namespace {

// What `std::istringstream >> double` makes of `text`: the value, whether it failed, and how many
// characters it took.
struct StreamResult {
  double value;
  bool failed;
  std::int32_t taken;
};

StreamResult ByStream(const std::string& text) {
  std::istringstream in(text);
  double value = -12345.0;
  in >> value;
  const bool failed = in.fail();
  in.clear();
  const auto at = in.tellg();
  return {value, failed, at < 0 ? static_cast<std::int32_t>(text.size()) : static_cast<std::int32_t>(at)};
}

// The input's number extraction agrees with the stream in value (bit for bit), failure and extent.
void ExpectSameAsStream(const std::string& text) {
  const StreamResult want = ByStream(text);
  ykstd_detail::ExprInput* input = ykstd_detail::ExprInput::Create(text.data(), static_cast<std::int32_t>(text.size()));
  const double got = input->ExtractDouble();
  std::uint64_t gotBits, wantBits;
  std::memcpy(&gotBits, &got, 8);
  std::memcpy(&wantBits, &want.value, 8);
  EXPECT_EQ(gotBits, wantBits) << "text \"" << text << "\": " << got << " vs " << want.value;
  EXPECT_EQ(input->Spent(), want.failed || want.taken == static_cast<std::int32_t>(text.size())) << text;
  if (!want.failed) {
    EXPECT_EQ(input->Position(), want.taken) << text;
  }
  ykstd_detail::ExprInput::Release(input);
}

TEST(ExpressionInput, NumbersAsTheStreamTakesThem_AllShortTexts) {
  // Every text of up to six characters over an alphabet that holds each decision of the number
  // rule (digits, zero, point, both exponent marks, both signs, a foreign letter and a blank),
  // starting where the scanner starts a number: at a digit or a point.
  const std::string alphabet = "07.eE+-x ";
  const std::string starts = "07.";
  std::vector<std::string> layer;
  for (char c : starts) layer.push_back(std::string(1, c));
  for (int length = 1; length <= 6; ++length) {
    std::vector<std::string> next;
    for (const std::string& text : layer) {
      ExpectSameAsStream(text);
      if (length < 6)
        for (char c : alphabet) next.push_back(text + c);
    }
    layer.swap(next);
  }
}

TEST(ExpressionInput, NumbersAsTheStreamTakesThem_HardConversions) {
  const char* texts[] = {
      "1e400",
      "1e-400",
      "1e308",
      "1.7976931348623157e308",
      "1.7976931348623159e308",
      "2.4703282292062328e-324",
      "2.4703282292062327e-324",
      "4.9e-324",
      "2.2250738585072011e-308",
      "9007199254740993",
      "9007199254740992.5",
      "123456789012345678901234567890",
      "0.000000000000000000000000000001e30",
      "1e22",
      "1e23",
      "3e-23",
      "123456789012345678",
      "12345678901234567890123",
      ".5",
      "5.",
      "1.e5",
      "00000000000000000000001.5",
      "0.1",
      "0.3",
      "8.98846567431158e307",
      "1e99999999999999999999",
      "1e-99999999999999999999",
      "0e99999999999",
      "0.0e-5",
      "7e+0",
      "17976931348623157"
      "0"
      "0000000000000000000000000000000000000000"
      "000000000000000000000000000000000000000000000000000000000000000000000000000"
      "000000000000000000000000000000000000000000000000000000000000000000000000000"
      "000000000000000000000000000000000000000000000000000000000000000000000000000"
      "0000000000000000000000000000000000000000000000000000",
  };
  for (const char* text : texts) ExpectSameAsStream(text);

  // Random decimals of every length and scale, with and without exponents.
  std::mt19937 random(20261123);
  for (int n = 0; n < 20000; ++n) {
    std::string text;
    const int intDigits = static_cast<int>(random() % 25);
    for (int i = 0; i < intDigits; ++i) text += static_cast<char>('0' + random() % 10);
    if (random() % 2 || intDigits == 0) {
      text += '.';
      const int fracDigits = static_cast<int>(random() % 25);
      for (int i = 0; i < fracDigits; ++i) text += static_cast<char>('0' + random() % 10);
    }
    if (text[0] != '.' && !ykstd_detail::IsDigit(text[0])) continue;
    if (random() % 2) {
      text += "eE"[random() % 2];
      if (random() % 2) text += "+-"[random() % 2];
      text += std::to_string(random() % 400);
    }
    ExpectSameAsStream(text);
  }
}

TEST(ExpressionInput, SpentAfterItsEndOrAFailedNumber) {
  ykstd_detail::ExprInput* input = ykstd_detail::ExprInput::Create("ab", 2);
  EXPECT_EQ(input->Get(), 'a');
  input->PutBack();
  EXPECT_EQ(input->Get(), 'a');
  EXPECT_EQ(input->Get(), 'b');
  EXPECT_EQ(input->Get(), ykstd_detail::ExprInput::kEnd);
  input->PutBack();  // a spent input stays spent
  EXPECT_EQ(input->Get(), ykstd_detail::ExprInput::kEnd);
  ykstd_detail::ExprInput::Release(input);

  input = ykstd_detail::ExprInput::Create("1e+x", 4);
  EXPECT_EQ(input->ExtractDouble(), 0.0);
  EXPECT_EQ(input->Get(), ykstd_detail::ExprInput::kEnd);  // "x" is never seen
  ykstd_detail::ExprInput::Release(input);

  // Bytes above 127 and zero bytes are characters like any other.
  const char bytes[] = {'\xff', '\0', '7'};
  input = ykstd_detail::ExprInput::Create(bytes, 3);
  EXPECT_EQ(input->Get(), 0xff);
  EXPECT_EQ(input->Get(), 0);
  EXPECT_EQ(input->ExtractDouble(), 7.0);
  EXPECT_TRUE(input->Spent());
  ykstd_detail::ExprInput::Release(input);
}

}  // namespace
