#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include <ykstd/platform/CString.hxx>

namespace {

std::string S(const CString& s) { return std::string(s.GetString(), static_cast<std::size_t>(s.GetLength())); }

TEST(CStringTest, ConstructionAndFormatting) {
  EXPECT_EQ(S(CString(nullptr)), "");
  EXPECT_EQ(S(CString("ab\0cd", 5)), std::string("ab\0cd", 5));
  EXPECT_EQ(S(CString("abc", -1)), "");
  EXPECT_EQ(S(CString('x', 3)), "xxx");
  EXPECT_EQ(S(CString('x', 0)), "");

  CString path;
  path.Format("%sykres.dll", "/opt/addin/");
  EXPECT_EQ(S(path), "/opt/addin/ykres.dll");
  path.AppendFormat(" %d%%", 42);
  EXPECT_EQ(S(path), "/opt/addin/ykres.dll 42%");
  const std::string big(5000, 'z');
  path.Format("<%s>", big.c_str());
  EXPECT_EQ(S(path), "<" + big + ">");
  EXPECT_EQ(S(CString("a") + "b" + CString("c")), "abc");
  EXPECT_TRUE(CString("abc") == "abc");
  EXPECT_FALSE(CString("abc") == CString("abd"));
  EXPECT_EQ(CString("abc").Compare(nullptr), 1);
  EXPECT_EQ(CString("ABC").CompareNoCase("abd"), -1);
  EXPECT_EQ(CString("ABC").CompareNoCase("abc"), 0);
}

TEST(CStringTest, BuffersWrittenInPlace) {
  CString s("old");
  char* buffer = s.GetBuffer(511);
  std::strcpy(buffer, "written");
  s.ReleaseBuffer();
  EXPECT_EQ(S(s), "written");
  buffer = s.GetBuffer();
  buffer[2] = '\0';
  s.ReleaseBuffer();
  EXPECT_EQ(S(s), "wr");
  s.GetBufferSetLength(4)[3] = 'x';
  s.ReleaseBuffer(4);
  EXPECT_EQ(S(s), std::string("wr\0x", 4));
  s.ReleaseBuffer(100);  // beyond the text: the text stays
  EXPECT_EQ(s.GetLength(), 4);
}

TEST(CStringTest, PiecesAndSearchesStayInside) {
  const CString s("a,b,,c");
  EXPECT_EQ(S(s.Left(3)), "a,b");
  EXPECT_EQ(S(s.Left(99)), "a,b,,c");
  EXPECT_EQ(S(s.Left(-1)), "");
  EXPECT_EQ(S(s.Right(2)), ",c");
  EXPECT_EQ(S(s.Mid(2)), "b,,c");
  EXPECT_EQ(S(s.Mid(4, 99)), ",c");
  EXPECT_EQ(S(s.Mid(99, 2)), "");
  EXPECT_EQ(s.Find(','), 1);
  EXPECT_EQ(s.Find(',', 2), 3);
  EXPECT_EQ(s.Find(',', 99), -1);
  EXPECT_EQ(s.Find(",,"), 3);
  EXPECT_EQ(s.Find(static_cast<const char*>(nullptr)), -1);
  EXPECT_EQ(s.ReverseFind(','), 4);
  EXPECT_EQ(s.GetAt(5), 'c');
  EXPECT_EQ(s.GetAt(6), '\0');
  EXPECT_EQ(s.GetAt(-1), '\0');

  CString t("  Mixed Case\t");
  EXPECT_EQ(S(t.Trim()), "Mixed Case");
  EXPECT_EQ(S(t.MakeUpper()), "MIXED CASE");
  EXPECT_EQ(S(t.MakeLower()), "mixed case");
  t.SetAt(0, 'M');
  t.SetAt(99, 'x');
  EXPECT_EQ(S(t), "Mixed case");
  EXPECT_EQ(t.Replace("e", "ee"), 2);
  EXPECT_EQ(S(t), "Mixeed casee");
  EXPECT_EQ(t.Replace("", "x"), 0);
}

}  // namespace
