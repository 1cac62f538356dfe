// Searching, editing and taking pieces: the edges, beside the random comparison with a model.
#include <gtest/gtest.h>

#include <climits>
#include <type_traits>

#include "strings/string8_testing.h"

namespace {

using S6 = _qzString8_allSize<6>;
using S25 = _qzString8_allSize<25>;

char const* const kNull = nullptr;
unsigned short unit(int value) { return static_cast<unsigned short>(value); }

TEST(String8Search, StartsAgainFromAStartOutside) {
  EXPECT_EQ(S25("abc").indexOf('b', 99), 1);
  EXPECT_EQ(S25("Aba").indexOf(unit('a')), 2);  // Required: exact, where the char form folds
  EXPECT_EQ(S25("aba").indexOf(unit(0x161), 1), 2);
  EXPECT_EQ(S25("aba").indexOf(unit('a'), -1), 0);
  EXPECT_EQ(S25("aba").lastIndexOf('a', -1), 2);
  EXPECT_EQ(S25("aba").lastIndexOf(unit(0x161), 1), 0);
  EXPECT_EQ(S25("abc").indexOf("ABC", 1), -1);
  EXPECT_EQ(S25("abc").indexOf("ABC", -1), 0);  // texts of one length: the start is not looked at
  EXPECT_EQ(S25("abc").indexOf("c", INT_MAX), -1);
  EXPECT_EQ(S25("adbc").indexOf("bc"), 2);  // "ad" has the sum of "bc"
}

TEST(String8Search, FirstOfSeveralIsTheLastFoundUnlessOneStandsInFront) {
  int which = 7;
  EXPECT_EQ(S25("abcd").indexOfFirstOcc("c", "b", &which), 1);
  EXPECT_EQ(which, 1);
  EXPECT_EQ(S25("abcd").indexOfFirstOcc("b", "c", nullptr), 2);
  EXPECT_EQ(S25("abcd").indexOfFirstOcc("A", "b", &which), 0);
  EXPECT_EQ(which, 0);
  EXPECT_EQ(S25("abcdef").indexOfFirstOcc("x", "f", "c", "", "y", "e", &which), 4);
  EXPECT_EQ(which, 5);
  EXPECT_EQ(S25("abcdef").indexOfFirstOcc("f", "c", "x", "d", "AB", "e", &which), 0);
  EXPECT_EQ(which, 4);
}

TEST(String8Search, ContainsBareText) {
  EXPECT_FALSE(S25("").contains(""));
  EXPECT_FALSE(S25("abc").contains(kNull));
  EXPECT_FALSE(S25("abc").containsCaseSen(kNull));
  EXPECT_FALSE(S25("abc").containsUpperCaseInput(kNull));
  EXPECT_TRUE(S25("abc").contains('B'));
  EXPECT_TRUE(S6("abcdef").contains("ABCDEFGH"));  // the needle is cut
  EXPECT_TRUE(S25("abc").contains(std::string(65537, 'B').c_str()));
  EXPECT_TRUE(S25("xaBc").containsCaseSen("aB"));
  EXPECT_FALSE(S25("xaBc").containsCaseSen("AB"));
  EXPECT_TRUE(S25("a\0b", 3).containsCaseSen("\0bc", 2));
  EXPECT_TRUE(S25("abc").containsCaseSen("bx", 65537));
  EXPECT_FALSE(S25("abc").containsCaseSen("b", 65536));
  EXPECT_TRUE(S25("xaBc").containsUpperCaseInput("ABC"));
  EXPECT_FALSE(S25("xABc").containsUpperCaseInput("aB"));
}

TEST(String8Search, PrefixesFoldAndSingleCharactersDoNot) {
  EXPECT_FALSE(S25("abc").startsWith('A'));
  EXPECT_FALSE(S25("").startsWith('\0'));
  EXPECT_TRUE(S25("abc").startsWith("A"));
  EXPECT_FALSE(S25("abc").startsWith(""));
  EXPECT_FALSE(S25("abc").startsWith(kNull));
  EXPECT_TRUE(S6("abcdef").startsWith("abcdefgh"));          // cut
  EXPECT_FALSE(S6("abcdef").startsWithCaseSen("abcdefgh"));  // not cut
  EXPECT_TRUE(S25("abc").startsWithCaseSen("ab"));
  EXPECT_FALSE(S25("abc").startsWithCaseSen("A"));
  EXPECT_FALSE(S25("abc").startsWithCaseSen(""));
  EXPECT_FALSE(S25("abc").startsWithCaseSen(kNull));
  EXPECT_TRUE(S25("abc").startsWithCaseSen(S25("ab")));
  EXPECT_FALSE(S25("abc").startsWithCaseSen(S25("A")));
  EXPECT_FALSE(S25("abc").startsWithCaseSen(S25()));
  EXPECT_TRUE(S25("abc").startsWith("ABx", 2));
  EXPECT_FALSE(S25("abc").startsWith("AB", 3));
  EXPECT_FALSE(S25("abc").startsWith("abc", 0));
  EXPECT_TRUE(S25("a\0b", 3).startsWith("A\0", 2));
}

TEST(String8Search, SuffixesMirrorPrefixesExceptForTheCount) {
  EXPECT_TRUE(S25("abc").endsWith('c'));
  EXPECT_FALSE(S25("").endsWith('\0'));
  EXPECT_TRUE(S25("abc").endsWith("BC"));
  EXPECT_FALSE(S25("abc").endsWith(""));
  EXPECT_FALSE(S25("abc").endsWith(kNull));
  EXPECT_TRUE(S6("abcdef").endsWith("abcdefgh"));
  EXPECT_TRUE(S25("xABC").endsWith("abc", 3));
  EXPECT_TRUE(S25("xABC").endsWith("abc", 4));  // Required: the whole text is compared
  EXPECT_TRUE(S25("xABC").endsWith("abc", -1));
  EXPECT_TRUE(S25("xABC").endsWith("", 1));
  EXPECT_FALSE(S25("xABC").endsWith("abc", 5));
  EXPECT_FALSE(S25("xABC").endsWith("abc", 0));
  EXPECT_FALSE(S25("xABC").endsWith(kNull, 1));
  EXPECT_FALSE(S25("BC").endsWith("abc", 1));
}

// What an edit makes of a text, and what a bare pointer shows then, where that is something else.
TEST(String8Edit, GivesTheTextAndWhatStaysVisible) {
  struct {
    S6 text;
    void (*edit)(S6&);
    char const* result;
    char const* shown = nullptr;
  } const rows[] = {
      {"abc", [](S6& s) { s.insert(99, "x"); }, "abcx"},
      {"abcd", [](S6& s) { s.insert(1, "uvwx"); }, "auvwxb"},
      {"abcd", [](S6& s) { s.insert(0, s); }, "abcd"},
      {"abcd", [](S6& s) { s.insert(2, s); }, "ababcd"},
      {"abc", [](S6& s) { s = kNull, s.insert(3, ""); }, "", "abc"},
      {"abc", [](S6& s) { s = kNull, s.add(""); }, "", "abc"},
      {"abc", [](S6& s) { s = kNull, s += s; }, ""},
      {"ab", [](S6& s) { s += s; }, "ababab"},
      {"ab", [](S6& s) { s = s + s; }, "abab"},
      {"abc", [](S6& s) { s.add(s.asChar()); }, "abcabc"},
      {"abc", [](S6& s) { s.add("defghi", UINT_MAX); }, "abcdef"},
      {"abcd", [](S6& s) { s = s.asChar() + 1; }, "bcd"},
      {"abcd", [](S6& s) { s.addNr(-1234567); }, "abcd-1"},
      {"", [](S6& s) { s.addNr(LLONG_MIN); }, "-92233"},
      {"", [](S6& s) { s.addNr(ULLONG_MAX); }, "184467"},
      {"`az{@\xE4", [](S6& s) { s.makeUpper(); }, "`AZ{@\xE4"},
      {"@AZ[`\xC4", [](S6& s) { s.makeLower(); }, "@az[`\xC4"},
      {{"\t a\f\n\0", 6}, [](S6& s) { s.trim(); }, "a\f"},
      {"aaaa", [](S6& s) { s.replace("a", "bb"); }, "bbbbbb"},
      {"aXaXaX", [](S6& s) { s.replace("x", "yyy"); }, "ayyyay"},
      {"abc", [](S6& s) { s.replace("ABC", ""); }, "", "abc"},
      {"abc", [](S6& s) { s.replace(s, "x"); }, "x"},
      {"abcd", [](S6& s) { s.replace("c", s); }, "ababd"},
      {"abc", [](S6& s) { s.replaceCaseSen(s, s); }, "", "abc"},
      {"aabb", [](S6& s) { s.remove("ab"); }, "ab"},
      {"abAB", [](S6& s) { s.remove("ab"); }, "", "AB"},
      {"abc", [](S6& s) { s.removeCaseSens(s); }, "", "abc"},
      {"abc", [](S6& s) { s.remove(0, 3); }, "", "abc"},
      {"abcd", [](S6& s) { s.remove(2, -2); }, "ababcd"},
      {"abab", [](S6& s) { s.remove(s.data[1]); }, "aa"},
      {"a,b", [](S6& s) { s.leftNCut(',', false); }, "b"},
      {"a,", [](S6& s) { s.leftNCut(',', true); }, "", "a,"},
      {"abc", [](S6& s) { s.leftNCut(',', false); }, ""},
      {"ab", [](S6& s) { s.addSpacing("c", 3); }, "abc  "},
      {"ab", [](S6& s) { s.addSpacing("c", -3); }, "ab  c"},
      {"", [](S6& s) { s.addSpacingC("abcdef", 3); }, "abcdef"},
      {"ab", [](S6& s) { s.addSpacingC("c", INT_MAX); }, "abc   "},
      {"ab", [](S6& s) { s.addSpacingC("c", INT_MIN); }, "ab   c"},
      {"ab", [](S6& s) { s.addSpacingC(nullptr, 2); }, "ab  "},
      {"ab", [](S6& s) { s.addSpacingC(s.asChar(), -3); }, "ab ab"},
      {"ab", [](S6& s) { s.addSpacingC(std::string(65537, 'c').c_str(), 2); }, "abc "},
  };
  for (auto const& row : rows) {
    SCOPED_TRACE("row " + std::to_string(&row - rows) + ", " + textOf(row.text));
    S6 s = row.text;
    row.edit(s);
    EXPECT_EQ(textOf(s), row.result);
    EXPECT_EQ(shownBy(s), row.shown == nullptr ? row.result : row.shown);
  }
}

TEST(String8Edit, OneFormOfRemoveReturnsACopy) {
  S6 s("abc");
  EXPECT_EQ(&s.remove("a"), &s);
  EXPECT_EQ(&s.replace("b", "d"), &s);
  EXPECT_FALSE(std::is_reference_v<decltype(s.remove('d'))>);
  EXPECT_EQ(textOf(s.remove('D')), "c");
}

TEST(String8Pieces, LeftOfACharacterInFrontIsReversed) {  // Required
  EXPECT_EQ(textOf(S6("Xyz").left('x', false)), "x");
  EXPECT_EQ(textOf(S6("xyz").left('x', true)), "");
}

TEST(String8Pieces, CountsReachIntoTheArrayBehindTheText) {  // Required
  S6 s("abcdef");
  s.setLength(3);
  EXPECT_EQ(textOf(s.mid(1, 5)), std::string("bc\0ef", 5));
  EXPECT_EQ(textOf(s.mid(0, -1)), std::string("abc\0ef", 6));
  EXPECT_EQ(s.mid(5, 99).length, 6);
  EXPECT_EQ(s.mid(99, 2).length, 2);
  EXPECT_EQ(textOf(s.mid(1, 0)), "");
  EXPECT_EQ(textOf(s.left(-1)), std::string("abc\0ef", 6));
  s.insert(-1, "x");
  EXPECT_EQ(textOf(s), std::string("abc\0ef", 6));
}

}  // namespace
