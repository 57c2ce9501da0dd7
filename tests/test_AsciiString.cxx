#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>

#include <ykstd/ykstd.hxx>

namespace {

using S = ykstd_AsciiString;

std::string Str(const S& s) {
  return s.Text() ? std::string(s.Text(), static_cast<std::size_t>(s.Length())) : "<null>";
}

// Runs `op`, expects a failure of class F, and gives its whole message.
template <class F>
std::string RaisedBy(const std::function<void()>& op) {
  try {
    op();
  } catch (F& failure) {
    std::ostringstream out;
    failure->Print(out);
    failure->Remove();
    return out.str();
  } catch (Hnd_ykstd_fail_Failure& other) {
    std::ostringstream out;
    other->Print(out);
    other->Remove();
    return "wrong class: " + out.str();
  }
  return "no failure";
}

std::string OutOfRange(const std::function<void()>& op) { return RaisedBy<Hnd_ykstd_fail_OutOfRange>(op); }

class AsciiStringTest : public ::testing::Test {
 protected:
  void SetUp() override { ykstd_Debug::SwitchOn(false); }
  void TearDown() override { ykstd_Debug::SwitchOn(true); }
};

TEST_F(AsciiStringTest, ConstructionForms) {
  EXPECT_EQ(Str(S()), "<null>");
  EXPECT_EQ(Str(S(static_cast<const char*>(nullptr))), "<null>");
  EXPECT_EQ(Str(S("")), "");  // a real, empty buffer
  EXPECT_EQ(Str(S('\0')).size(), 1u);
  EXPECT_EQ(Str(S(std::int32_t{-2147483647 - 1})), "-2147483648");
  EXPECT_EQ(Str(S(3, 'x')), "xxx");
  EXPECT_EQ(Str(S(0, 'x')), "<null>");
  EXPECT_EQ(Str(S(1.5, -1)), "1.5");
  EXPECT_EQ(Str(S(1.5, 3)), "1.500");
  EXPECT_EQ(Str(S(1.0 / 3.0, -1)), "0.3333333333");
  EXPECT_EQ(Str(S(2.0, 0)), "2");
  EXPECT_EQ(Str(S(L"w\u00e9\u4e2d")), "w\xe9?");  // the ANSI code page has no CJK
  EXPECT_EQ(Str(S(static_cast<const wchar_t*>(nullptr))), "<null>");
  EXPECT_EQ(Str(S(_bstr_t("bstr"))), "bstr");
  EXPECT_EQ(Str(S(_bstr_t(""))), "<null>");
  EXPECT_EQ(Str(S(_bstr_t())), "<null>");
}

TEST_F(AsciiStringTest, LimitsCutResultsSoundly) {
  const std::string big(40000, 'a');
  EXPECT_EQ(S(big.c_str()).Length(), 32767);
  EXPECT_EQ(S(40000, 'b').Length(), 32767);
  S grown(30000, 'c');
  grown.AssignCat(grown);  // appending itself, past the limit
  EXPECT_EQ(grown.Length(), 32767);
  grown.Insert(1, 'd');
  EXPECT_EQ(grown.Length(), 32767);
  EXPECT_EQ(grown.Value(1), 'd');
  // Results built in the scratch buffer keep at most 4095 bytes.
  EXPECT_EQ(S(3000, 'e').Cat(S(3000, 'f')).Length(), 4095);
  EXPECT_EQ(S(1.0, 5000).Length(), 4095);
  S past("ab");
  past.SetValue(2, std::string(5000, 'g').c_str());
  EXPECT_EQ(past.Length(), 4095);
  EXPECT_EQ(past.Value(1), 'a');
}

TEST_F(AsciiStringTest, TwoEmptyForms) {
  S removed("abc");
  removed.Remove(1, 3);
  EXPECT_EQ(removed.Length(), 0);
  ASSERT_NE(removed.Text(), nullptr);
  EXPECT_EQ(removed.IsEqual(""), 1);
  EXPECT_EQ(removed.IsEqual(S()), 1);
  EXPECT_EQ(removed.IsEqual(static_cast<const char*>(nullptr)), 0);
  EXPECT_EQ(S().IsEqual(static_cast<const char*>(nullptr)), 1);

  S split("abc");
  EXPECT_EQ(Str(split.Split(0)), "abc");
  EXPECT_EQ(Str(split), "");
  S whole("abc");
  EXPECT_EQ(Str(whole.Split(3)), "<null>");
  EXPECT_EQ(Str(whole), "abc");

  // Both forms behave alike elsewhere, and copies of either are null.
  for (const S& empty : {S(), removed}) {
    EXPECT_EQ(Str(S(empty)), "<null>");
    EXPECT_EQ(empty.Search("x"), 0);
    EXPECT_EQ(S("a").IsGreater(empty), 1);
    EXPECT_EQ(empty.IsLess(S("a")), 1);
    EXPECT_EQ(empty.IsGreater(S("a")), 0);
    EXPECT_EQ(S::HashCode(empty, 1), 0);
  }
}

TEST_F(AsciiStringTest, OnePlace) {
  EXPECT_EQ(OutOfRange([] { S("abc").Value(4); }), "EXCEPTION ykstd_fail_OutOfRange : ");
  EXPECT_EQ(OutOfRange([] { S("abc").Value(0); }), "EXCEPTION ykstd_fail_OutOfRange : ");
  EXPECT_EQ(S("abc").Value(3), 'c');

  S s("abc");
  s.SetValue(4, "de");
  EXPECT_EQ(Str(s), "abcde");
  s = "abc";
  s.SetValue(2, "xy");
  EXPECT_EQ(Str(s), "axy");
  s = "abc";
  s.SetValue(3, "xyz");
  EXPECT_EQ(Str(s), "abxyz");
  s = "abc";
  s.SetValue(4, 'd');
  s.SetValue(1, 'A');
  EXPECT_EQ(Str(s), "Abcd");
  s.SetValue(5, static_cast<const char*>(nullptr));
  s.SetValue(2, S());
  EXPECT_EQ(Str(s), "Abcd");

  EXPECT_EQ(OutOfRange([] { S("abc").SetValue(5, 'x'); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_AsciiString::SetValue(int,char)");
  EXPECT_EQ(OutOfRange([] { S("abc").SetValue(0, S("x")); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_AsciiString::SetValue(int,ascstr)");
  // The position is tested before the null text is looked at.
  EXPECT_EQ(OutOfRange([] { S("abc").SetValue(5, static_cast<const char*>(nullptr)); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_AsciiString::SetValue(int,char*)");
  S empty;
  empty.SetValue(1, 'z');
  EXPECT_EQ(Str(empty), "z");
}

TEST_F(AsciiStringTest, JoiningAndInserting) {
  S s("ab");
  s.AssignCat(s);
  EXPECT_EQ(Str(s), "abab");
  s.AssignCat(static_cast<const char*>(nullptr));
  s.AssignCat("");
  EXPECT_EQ(Str(s), "abab");
  EXPECT_EQ(Str(S("x").Cat(static_cast<const char*>(nullptr))), "x");
  EXPECT_EQ(Str(S("x").Cat(S("y"))), "xy");
  EXPECT_EQ(Str(S().Cat(S())), "<null>");

  S p("cd");
  p.Prepend(S("ab"));
  EXPECT_EQ(Str(p), "abcd");
  p.Insert(5, S("e"));
  p.Insert(1, '0');
  p.Insert(3, "-");
  EXPECT_EQ(Str(p), "0a-bcde");
  p.InsertAfter(0, S("<"));
  p.InsertAfter(8, S(">"));
  p.InsertBefore(2, S("|"));
  EXPECT_EQ(Str(p), "<|0a-bcde>");

  // A string without a buffer becomes a copy of the argument.
  for (int form = 0; form < 3; ++form) {
    S nothing;
    if (form == 0) nothing.Insert(1, S("q"));
    if (form == 1) nothing.InsertAfter(0, S("q"));
    if (form == 2) nothing.InsertBefore(1, S("q"));
    EXPECT_EQ(Str(nothing), "q") << form;
  }

  EXPECT_EQ(OutOfRange([] { S("abc").Insert(5, S("x")); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_AsciiString::Insert(int,ascstr)");
  EXPECT_EQ(OutOfRange([] { S("abc").Insert(0, 'x'); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_AsciiString::Insert(int,char)");
  EXPECT_EQ(OutOfRange([] { S("abc").Insert(5, ""); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_AsciiString::Insert(int,char*)");
  EXPECT_EQ(OutOfRange([] { S("abc").InsertAfter(-1, S("x")); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_AsciiString::InsertAfter(int,ascstr)");
  EXPECT_EQ(OutOfRange([] { S("abc").InsertAfter(4, S("x")); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_AsciiString::InsertAfter(int,ascstr)");
  EXPECT_EQ(OutOfRange([] { S().InsertBefore(2, S("x")); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_AsciiString::InsertBefore(int,ascstr)");
}

TEST_F(AsciiStringTest, RemovingAndCutting) {
  S s("abcdef");
  s.Remove(2, 2);
  EXPECT_EQ(Str(s), "adef");
  EXPECT_EQ(OutOfRange([&] { s.Remove(3, 3); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_AsciiString::Remove(int,int)");
  EXPECT_EQ(OutOfRange([&] { s.Remove(1, 0); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_AsciiString::Remove(int,int)");
  EXPECT_EQ(Str(s), "adef");  // nothing changed by the failed calls

  S r("BaNanA");
  r.RemoveAll('a');
  EXPECT_EQ(Str(r), "BNnA");
  r.RemoveAll('a', 0);
  EXPECT_EQ(Str(r), "BNn");

  S t("abc");
  EXPECT_EQ(OutOfRange([&] { t.Trunc(3); }), "EXCEPTION ykstd_fail_OutOfRange : ykstd_AsciiString::Trunc(int)");
  EXPECT_EQ(OutOfRange([&] { t.Trunc(0); }), "EXCEPTION ykstd_fail_OutOfRange : ykstd_AsciiString::Trunc(int)");
  t.Trunc(2);
  EXPECT_EQ(Str(t), "ab");

  S sp("abcd");
  EXPECT_EQ(Str(sp.Split(1)), "bcd");
  EXPECT_EQ(Str(sp), "a");
  EXPECT_EQ(OutOfRange([&] { sp.Split(2); }), "EXCEPTION ykstd_fail_OutOfRange : ykstd_AsciiString::Split(int)");
  EXPECT_EQ(Str(S().Split(0)), "<null>");

  EXPECT_EQ(Str(S("abcd").SubString(2, 3)), "bc");
  EXPECT_EQ(Str(S("abcd").SubString(4, 4)), "d");
  EXPECT_EQ(OutOfRange([] { S("abcd").SubString(3, 2); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_AsciiString::SubString(int,int)");
  EXPECT_EQ(OutOfRange([] { S("abcd").SubString(1, 5); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_AsciiString::SubString(int,int)");

  S blanks("   ");
  blanks.LeftAdjust();
  blanks.RightAdjust();
  EXPECT_EQ(Str(blanks), "   ");
  S padded(" \t a b \n");
  padded.LeftAdjust();
  EXPECT_EQ(Str(padded), "a b \n");
  padded.RightAdjust();
  EXPECT_EQ(Str(padded), "a b");
}

TEST_F(AsciiStringTest, Tokens) {
  const S s(", a,, b c");
  EXPECT_EQ(Str(s.Token(" ,", 1)), "a");
  EXPECT_EQ(Str(s.Token(" ,", 2)), "b");
  EXPECT_EQ(Str(s.Token(" ,", 3)), "c");
  EXPECT_EQ(Str(s.Token(" ,", 5)), "<null>");
  EXPECT_EQ(Str(s.Token(" ,", 0)), "<null>");
  EXPECT_EQ(Str(S("a, ").Token(" ,", 2)), "<null>");
  EXPECT_EQ(Str(S().Token(",", 1)), "<null>");
  EXPECT_EQ(Str(S("abc").Token("", 1)), "abc");
  EXPECT_EQ(RaisedBy<Hnd_ykstd_fail_NullObject>([&] { s.Token(nullptr, 1); }),
            "EXCEPTION ykstd_fail_NullObject : ykstd_AsciiString::Token(char*,int)");
}

TEST_F(AsciiStringTest, Searching) {
  EXPECT_EQ(S("abc").Search(""), 1);
  EXPECT_EQ(S("abc").Search(S()), 0);
  EXPECT_EQ(S("abc").Search(static_cast<const char*>(nullptr)), 0);
  EXPECT_EQ(S().Search(""), 0);
  EXPECT_EQ(S("abcbc").Search(S("bc")), 2);
  EXPECT_EQ(S("aaa").SearchFromEnd("aa"), 2);
  EXPECT_EQ(S("abcbc").SearchFromEnd(S("bc")), 4);
  EXPECT_EQ(S("abc").SearchFromEnd(""), 0);
  EXPECT_EQ(S().SearchFromEnd("a"), 0);

  const S abcb("abcb");
  EXPECT_EQ(abcb.Location(S("b"), 3, 4), 0);  // the first "b" lies before the range
  EXPECT_EQ(abcb.Location(S("b"), 1, -1), 2);
  EXPECT_EQ(abcb.Location(S(), 1, 4), 0);
  EXPECT_EQ(OutOfRange([&] { abcb.Location(S("b"), 2, 5); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_AsciiString::Location(ascstr,int,int)");
  EXPECT_EQ(S("abaca").Location(2, 'a', 1, 5), 3);
  EXPECT_EQ(S("abaca").Location(3, 'a', 1, 4), 0);
  EXPECT_EQ(OutOfRange([] { S("abaca").Location(0, 'a', 1, 5); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_AsciiString::Location(int,char,int,int)");

  const S text("hello world");
  EXPECT_EQ(text.FirstLocationInSet(S("ow"), 1, 11), 5);
  EXPECT_EQ(text.FirstLocationInSet(S("ow"), 6, 11), 7);
  EXPECT_EQ(text.FirstLocationInSet(S("xyz"), 1, 11), 0);
  EXPECT_EQ(text.FirstLocationInSet(S(), 4, 5), 4);
  EXPECT_EQ(text.FirstLocationNotInSet(S("hel"), 1, 11), 5);
  EXPECT_EQ(OutOfRange([&] { text.FirstLocationInSet(S("o"), 0, 3); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_AsciiString::FirstLocationInSet(ascstr,int,int)");
  EXPECT_EQ(OutOfRange([&] { text.FirstLocationNotInSet(S("o"), 1, 12); }),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_AsciiString::FirstLocationNotInSet(ascstr,int,int)");
}

TEST_F(AsciiStringTest, Comparison) {
  EXPECT_EQ(S("abc").IsLess(S("abcd")), 1);
  EXPECT_EQ(S("abcd").IsGreater(S("abc")), 1);
  EXPECT_EQ(S("abc").IsLess("abc"), 0);
  EXPECT_EQ(S("abc").IsGreater("abc"), 0);
  EXPECT_EQ(S("abd").IsGreater("abcz"), 1);
  EXPECT_EQ(S("\xe9").IsGreater("z"), 1);  // bytes compare unsigned
  EXPECT_EQ(S("abc").IsLess(static_cast<const char*>(nullptr)), 0);
  EXPECT_EQ(S("abc").IsGreater(static_cast<const char*>(nullptr)), 1);
  EXPECT_EQ(S().IsGreater(static_cast<const char*>(nullptr)), 0);
  EXPECT_EQ(S("AbC").IsCaseInsensitiveEqual("aBc"), 1);
  EXPECT_EQ(S("AbC").IsCaseInsensitiveEqual(S("aBcd")), 0);
  EXPECT_EQ(S().IsCaseInsensitiveEqual(static_cast<const char*>(nullptr)), 1);
  EXPECT_EQ(S("a").IsDifferent("b"), 1);
}

TEST_F(AsciiStringTest, CaseAndClassification) {
  S s("hELLO wORLD");
  s.Capitalize();
  EXPECT_EQ(Str(s), "Hello world");
  s.UpperCase();
  EXPECT_EQ(Str(s), "HELLO WORLD");
  s.LowerCase();
  EXPECT_EQ(Str(s), "hello world");
  S banana("banana");
  banana.ChangeAll('a', 'A', 0);
  EXPECT_EQ(Str(banana), "bAnAnA");
  banana.ChangeAll('a', 'x', 1);
  EXPECT_EQ(Str(banana), "bAnAnA");
  banana.ChangeAll('a', 'a', 0);  // replacing by itself must end
  EXPECT_EQ(Str(banana), "banana");
  EXPECT_EQ(S("plain").IsAscii(), 1);
  EXPECT_EQ(S("caf\xe9").IsAscii(), 0);
  EXPECT_EQ(S().IsAscii(), 1);
  EXPECT_EQ(S(" a b\tc\n").UsefulLength(), 3);
}

TEST_F(AsciiStringTest, Numbers) {
  EXPECT_EQ(S("  42x").IntegerValue(), 42);
  EXPECT_EQ(S("0").IntegerValue(), 0);
  EXPECT_EQ(S("99999999999").IntegerValue(), 2147483647);
  EXPECT_EQ(S("-99999999999").IntegerValue(), -2147483647 - 1);
  EXPECT_EQ(RaisedBy<Hnd_ykstd_fail_NumericValue>([] { S("x").IntegerValue(); }),
            "EXCEPTION ykstd_fail_NumericValue : ykstd_AsciiString::IntegerValue");
  EXPECT_EQ(RaisedBy<Hnd_ykstd_fail_NumericValue>([] { S().IntegerValue(); }),
            "EXCEPTION ykstd_fail_NumericValue : ykstd_AsciiString::IntegerValue");
  EXPECT_EQ(S("12abc").IsIntegerValue(), 1);
  EXPECT_EQ(S("abc").IsIntegerValue(), 0);

  EXPECT_EQ(S("0").RealValue(), 0.0);
  EXPECT_EQ(S("12abc").RealValue(), 12.0);
  EXPECT_EQ(S("-1.5e2").RealValue(), -150.0);
  EXPECT_EQ(RaisedBy<Hnd_ykstd_fail_NumericValue>([] { S("abc").RealValue(); }),
            "EXCEPTION ykstd_fail_NumericValue : ykstd_AsciiString::RealValue");
  EXPECT_EQ(S("abc").IsRealValue(), 0);
  EXPECT_EQ(S(".5").IsRealValue(), 1);
  EXPECT_EQ(S().IsRealValue(), 0);
}

TEST_F(AsciiStringTest, HashCodeIsThePersistedFunction) {
  EXPECT_EQ(S::HashCode(S("abc"), 32767), 3014);
  EXPECT_EQ(HashCode(S("abc"), 32767), 3014);
  EXPECT_EQ(S::HashCode(S(), 1), 0);
  // Stops at the first NUL.
  S withNul("abc");
  withNul.AssignCat(S('\0'));
  withNul.AssignCat("zz");
  EXPECT_EQ(S::HashCode(withNul, 32767), 3014);
  // A text whose hash is the most negative 32-bit number still lands inside the range.
  const char mostNegative[] = {'f', 'y', 'w', 't', '!', 1, 4, 1, 2, 2, 3, 4, 0};
  EXPECT_EQ(S::HashCode(S(mostNegative), 32767), 2);
  EXPECT_EQ(S::HashCode(S(mostNegative), 1000), 648);
  EXPECT_EQ(S::HashCode(S("abc"), 0), 0);
}

TEST_F(AsciiStringTest, Streams) {
  std::ostringstream out;
  out << S() << S("") << S("ab") << '|';
  EXPECT_EQ(out.str(), "ab|");

  std::istringstream in("  first second");
  S word("old");
  in >> word;
  EXPECT_EQ(Str(word), "first");
  in >> word;
  EXPECT_EQ(Str(word), "second");
  in >> word;
  EXPECT_TRUE(in.fail());
  EXPECT_EQ(Str(word), "<null>");

  // A word longer than the scratch buffer arrives in pieces, nothing lost.
  std::istringstream longWord(std::string(5000, 'w'));
  S piece;
  longWord >> piece;
  EXPECT_EQ(piece.Length(), 4095);
  longWord >> piece;
  EXPECT_EQ(piece.Length(), 905);
}

}  // namespace
