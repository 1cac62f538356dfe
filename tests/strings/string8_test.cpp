// Byte image, comparing, searching and editing: the edges, beside the comparison with a model.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include "strings/string8.h"

// Every member compiles, used or not.
template struct _qzString8_allSize<6>;
template struct qz::detail::text_members<_qzString8_allSize<6>, char>;

namespace {

using S6 = _qzString8_allSize<6>;
using S25 = _qzString8_allSize<25>;
using S5000 = _qzString8_allSize<5000>;

char const* const kNull = nullptr;

template <int N>
std::string textOf(_qzString8_allSize<N> const& s) {
  return {s.data, static_cast<std::size_t>(std::min<int>(s.length, N))};
}

TEST(String8, TheLow16BitsOfACountAreCutAtTheCapacity) {
  void (*const forms[])(S6&, std::string const&, int) = {
      [](S6& s, auto& text, int) { s = S6(text.c_str()); },
      [](S6& s, auto& text, int count) { s = S6(text.data(), count); },
      [](S6& s, auto& text, int) { s = text.c_str(); },
      [](S6& s, auto& text, int) { s = text; },
      [](S6& s, auto& text, int count) { s.fromChar(text.data(), count); },
      [](S6& s, auto& text, int) { s += text.c_str(); },
      [](S6& s, auto& text, int) { s = S5000(text.c_str()).asUni(); },
      [](S6& s, auto&, int count) { s = S6::createCharString('-', count); },
  };
  for (std::size_t const size : {5u, 6u, 7u, 65540u})
    for (auto const& form : forms) {
      SCOPED_TRACE(std::to_string(size) + " by form " + std::to_string(&form - forms));
      S6 s;
      form(s, std::string(size, '-'), static_cast<int>(size));
      EXPECT_EQ(textOf(s), std::string(std::min<std::size_t>(size % 65536, 6), '-'));
      EXPECT_EQ(s.data[s.length], 0);
    }
  std::vector<unsigned short> const units(2000, 'w');
  EXPECT_EQ(textOf(S5000(units.data())), std::string(1024, 'w'));
  EXPECT_EQ(qzCharLen(units.data()), 1024);
}

// The length and all seven characters in hexadecimal; the spare byte is left out.
std::string imageOf(S6 const& s) {
  std::string image;
  auto const* const bytes = reinterpret_cast<unsigned char const*>(&s);
  for (int i = 0; i < 9; ++i)
    for (int const digit : {bytes[i] >> 4, bytes[i] & 15}) image += "0123456789abcdef"[digit];
  return image;
}

TEST(String8, ANewOneHasZerosBehindTheText) {
  static unsigned short const wide[] = {0x161, 0xE4, 0x263, 0};
  alignas(S6) unsigned char storage[sizeof(S6)];
  auto const imageOfNew = [&](auto... arguments) {
    std::memset(storage, 0xCC, sizeof storage);
    return imageOf(*new (storage) S6(arguments...));
  };
  EXPECT_EQ(imageOfNew(), "000000000000000000");
  EXPECT_EQ(imageOfNew(kNull), "000000000000000000");
  EXPECT_EQ(imageOfNew("abc"), "030061626300000000");
  EXPECT_EQ(imageOfNew("a\0c", 3), "030061006300000000");
  EXPECT_EQ(imageOfNew(&wide[0]), "030061e46300000000");
  EXPECT_EQ(imageOfNew(S25("abc").asUni()), "030061626300000000");
}

TEST(String8, AssignmentsAndLengthsLeaveTheRestOfTheArray) {
  struct {
    void (*edit)(S6&);
    char const* image;
  } const rows[] = {
      {[](S6& s) { s = s.data[2]; }, "010063006300656600"},
      {[](S6& s) { s = kNull; }, "000061626300656600"},  // Required: no terminator
      {[](S6& s) { s += kNull; }, "030061626300656600"},
      {[](S6& s) { s.add("\0x", 2); }, "050061626300780000"},
      {[](S6& s) { s += static_cast<unsigned short>(0x1E4); }, "0400616263e4006600"},
      {[](S6& s) { s.clearUnused(); }, "030061626300000000"},
      {[](S6& s) { s.setLength(-1); }, "000000626300656600"},
      {[](S6& s) { s.data[6] = 'x', s.setLength(300); }, "060061626300656600"},
      {[](S6& s) { s.data[3] = s.data[6] = 'x', s.calcLength(); }, "060061626378656600"},
  };
  for (auto const& row : rows) {
    SCOPED_TRACE(&row - rows);
    S6 s("abcdef");
    s.setLength(3);
    auto* const spare = reinterpret_cast<unsigned char*>(&s) + 9;
    *spare = 0x5A;
    row.edit(s);
    EXPECT_EQ(imageOf(s), row.image);
    S6 const copy(s);
    EXPECT_EQ(std::memcmp(&copy, &s, sizeof s), 0);
    EXPECT_EQ(*spare, 0x5A);
  }
}

// The optimiser must not hold on to what it read through the view before the store.
[[gnu::noinline]] int lengthsAround(S25& s, _qzString8_Uni_pointer const* view) {
  int const before = view->length;
  s.length = 2;
  return 10 * before + view->length;
}

TEST(String8View, SeesAStoreThroughTheStringBetweenTwoReads) {
  S25 s("abcd");
  EXPECT_EQ(lengthsAround(s, s.asUni()), 42);
}

TEST(String8, ComparesByUnsignedBytes) {
  struct {
    S25 a, b;
    int exact, prefix, folded;  // signs: of < and >, of compareSameCase, of compare
  } const rows[] = {
      {"", "", 0, 0, 0},          {"abc", "abd", -1, -1, -1},
      {"abc", "abcd", -1, 0, -1}, {"ABC", "abc", -1, -1, 0},
      {"ABCD", "abc", -1, -1, 1}, {"[", "a", -1, -1, 1},
      {"a", "\xE4", -1, -1, -1},  {{"a\0b", 3}, {"a\0c", 3}, -1, -1, -1},
  };
  auto const sign = [](int order) { return (order > 0) - (order < 0); };
  for (auto const& [a, b, exact, prefix, folded] : rows) {
    SCOPED_TRACE(textOf(a) + " and " + textOf(b));
    EXPECT_EQ((a > b) - (a < b), exact);
    EXPECT_EQ(a == b, exact == 0);
    EXPECT_EQ(sign(a.compareSameCase(b)), prefix);
    EXPECT_EQ(sign(a.compare(b)), folded);
    EXPECT_EQ(a.isEqual(b), folded == 0);
    EXPECT_EQ(a.isEqualSameCase(b.asChar(), b.length), exact == 0);
  }
  S6 emptied("abc");
  emptied = nullptr;
  EXPECT_TRUE(emptied != S6());  // the first character counts
  EXPECT_FALSE(S6() == kNull);
  EXPECT_TRUE(S6("----") == std::string(65540, '-').c_str());  // Required: 16 bits of the count
  EXPECT_FALSE(S6("ABC").isEqualUpperCaseInput("ABc"));
  EXPECT_FALSE(S6("abc").isEqualLowerCaseInput("Abc"));
}

TEST(String8Search, FindsFromAnyStart) {
  EXPECT_EQ(S25("abc").indexOf('b', 99), 1);
  EXPECT_EQ(S25("Aba").indexOf(static_cast<unsigned short>(0x161)), 2);  // Required: exact
  EXPECT_EQ(S25("abc").indexOf("c", INT_MAX), -1);
  EXPECT_EQ(S25("adbc").indexOf("bc"), 2);  // "ad" has the sum of "bc"
  int which = 7;
  EXPECT_EQ(S25("abcdef").indexOfFirstOcc("x", "f", "c", "", "y", "e", &which), 4);
  EXPECT_EQ(which, 5);  // the last one found, unless one stands in front
  EXPECT_EQ(S25("abcdef").indexOfFirstOcc("f", "c", "x", "d", "AB", "e", &which), 0);
  EXPECT_EQ(which, 4);
}

TEST(String8Search, ContainsStartsAndEndsWithBareText) {
  for (char const* const text : {kNull, ""}) {
    EXPECT_FALSE(S25("abc").contains(text));
    EXPECT_FALSE(S25("abc").containsCaseSen(text));
    EXPECT_FALSE(S25("abc").startsWith(text));
    EXPECT_FALSE(S25("abc").startsWithCaseSen(text));
    EXPECT_FALSE(S25("abc").endsWith(text));
  }
  EXPECT_TRUE(S6("abcdef").contains("ABCDEFGH"));  // the needle is cut
  EXPECT_FALSE(S25("xaBc").containsCaseSen("AB"));
  EXPECT_TRUE(S25("a\0b", 3).containsCaseSen("\0bc", 2));
  EXPECT_FALSE(S25("xABc").containsUpperCaseInput("aB"));
  EXPECT_FALSE(S25("abc").startsWith('A'));
  EXPECT_FALSE(S25("").startsWith('\0'));
  EXPECT_TRUE(S6("abcdef").startsWith("ABCDEFgh"));          // cut
  EXPECT_FALSE(S6("abcdef").startsWithCaseSen("abcdefgh"));  // not cut
  EXPECT_FALSE(S25("abc").startsWithCaseSen(S25("A")));
  EXPECT_TRUE(S25("abc").startsWith("ABx", 2));
  EXPECT_FALSE(S25("abc").startsWith("AB", 3));
  EXPECT_FALSE(S25("").endsWith('\0'));
  EXPECT_TRUE(S25("xABC").endsWith("abc", 4));  // Required: the whole text is compared
  EXPECT_FALSE(S25("xABC").endsWith("abc", 5));
}

// What an edit makes of a text, and what a bare pointer shows then, where that is something else.
TEST(String8Edit, GivesTheTextAndWhatStaysVisible) {
  struct {
    S6 text;
    void (*edit)(S6&);
    char const* result;
    char const* shown = nullptr;
  } const rows[] = {
      {"abc", [](S6& s) { s = kNull, s.insert(3, ""); }, "", "abc"},
      {"abc", [](S6& s) { s = kNull, s += s; }, ""},
      {"ab", [](S6& s) { s = s + s; }, "abab"},
      {"abc", [](S6& s) { s.add("defghi", UINT_MAX); }, "abcdef"},
      {"abcd", [](S6& s) { s = s.asChar() + 1; }, "bcd"},
      {"", [](S6& s) { s.addNr(LLONG_MIN); }, "-92233"},
      {"`az{@\xE4", [](S6& s) { s.makeUpper(); }, "`AZ{@\xE4"},
      {"@AZ[`\xC4", [](S6& s) { s.makeLower(); }, "@az[`\xC4"},
      {{"\t a\f\n\0", 6}, [](S6& s) { s.trim(); }, "a\f"},
      {"abc", [](S6& s) { s.replace("ABC", ""); }, "", "abc"},
      {"abc", [](S6& s) { s.replace(s, "x"); }, "x"},
      {"aAb", [](S6& s) { s.replace('A', 'x'); }, "xxb"},
      {"abAB", [](S6& s) { s.remove("ab"); }, "", "AB"},
      {"abc", [](S6& s) { s.removeCaseSens(s); }, "", "abc"},
      {"abcd", [](S6& s) { s.remove(2, -2); }, "ababcd"},
      {"abab", [](S6& s) { s.remove(s.data[1]); }, "aa"},
      {"a,", [](S6& s) { s.leftNCut(',', true); }, "", "a,"},
      {"abc", [](S6& s) { s.leftNCut(',', false); }, ""},
      {"ab,c,", [](S6& s) { s = s.left(',', true); }, "ab,"},
      {"Xyz", [](S6& s) { s = s.left('x', false); }, "x"},  // Required: in front `keep` is reversed
      {"ab", [](S6& s) { s.addSpacing("c", -3); }, "ab  c"},
      {"ab", [](S6& s) { s.addSpacingC("c", INT_MIN); }, "ab   c"},
      {"ab", [](S6& s) { s.addSpacingC(s.asChar(), -3); }, "ab ab"},
  };
  for (auto const& row : rows) {
    SCOPED_TRACE("row " + std::to_string(&row - rows) + ", " + textOf(row.text));
    S6 s = row.text;
    row.edit(s);
    EXPECT_EQ(textOf(s), row.result);
    EXPECT_EQ(std::string(s.data, strnlen(s.data, 7)), row.shown ? row.shown : row.result);
  }
}

TEST(String8Pieces, CountsReachIntoTheArrayBehindTheText) {  // Required
  S6 s("abcdef");
  s.setLength(3);
  EXPECT_EQ(textOf(s.mid(1, 5)), std::string("bc\0ef", 5));
  EXPECT_EQ(s.mid(99, 2).length, 2);
  EXPECT_EQ(textOf(s.left(-1)), std::string("abc\0ef", 6));
}

}  // namespace
