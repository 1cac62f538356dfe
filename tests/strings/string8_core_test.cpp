// Construction, assignment, appending, raw access and comparison, and the byte image.
#include <gtest/gtest.h>

#include <vector>

#include "strings/string8_testing.h"

// Every member compiles, used or not.
template struct _qzString8_allSize<6>;
template struct qz::detail::text_members<_qzString8_allSize<6>, char>;

namespace {

using S6 = _qzString8_allSize<6>;
using S7 = _qzString8_allSize<7>;
using S25 = _qzString8_allSize<25>;
using S250 = _qzString8_allSize<250>;
using S5000 = _qzString8_allSize<5000>;

char const* const kNull = nullptr;

std::string alphabet(std::size_t count) {
  std::string text(count, ' ');
  for (std::size_t i = 0; i < count; ++i) text[i] = static_cast<char>('a' + i % 26);
  return text;
}

template <class S>
class String8OfAnyCapacity : public testing::Test {};
using Capacities = testing::Types<S6, S7, S25, S250, S5000>;
TYPED_TEST_SUITE(String8OfAnyCapacity, Capacities);

TYPED_TEST(String8OfAnyCapacity, CutsTheLow16BitsOfACountAtTheCapacity) {
  using S = TypeParam;
  constexpr std::size_t kCapacity = S::kCapacity;
  void (*const forms[])(S&, std::string const&) = {
      [](S& s, auto& text) { s = S(text.c_str()); },
      [](S& s, auto& text) { s = S(text.data(), static_cast<int>(text.size())); },
      [](S& s, auto& text) { s = S(text.data(), static_cast<int>(text.size()) - 131072); },
      [](S& s, auto& text) { s = text.c_str(); },
      [](S& s, auto& text) { s = text; },
      [](S& s, auto& text) { s.fromChar(text.data(), static_cast<int>(text.size())); },
      [](S& s, auto& text) { s.fromChar(text.data(), static_cast<int>(text.size()) - 131072); },
      [](S& s, auto& text) { s += text.c_str(); },
      [](S& s, auto& text) { s.add(text.c_str()); },
      [](S& s, auto& text) { s = S5000(text.c_str()).asUni(); },
  };
  for (std::size_t const size : {std::size_t{1}, kCapacity - 1, kCapacity, kCapacity + 1,
                                 std::size_t{65535}, std::size_t{65536}, std::size_t{65540}})
    for (std::size_t form = 0; form < std::size(forms); ++form) {
      SCOPED_TRACE(std::to_string(size) + " by form " + std::to_string(form));
      S s;
      forms[form](s, alphabet(size));
      EXPECT_EQ(textOf(s), alphabet(std::min(size % 65536, kCapacity)));
      EXPECT_EQ(s.data[s.length], 0);
    }
  EXPECT_EQ(textOf(S::createCharString('-', 65540)), "----");
  EXPECT_EQ(textOf(S::createCharString('-', -65532)), "");
  EXPECT_EQ(textOf(S::createCharString('-', 30000)), std::string(kCapacity, '-'));
}

template <class S, class... Arguments>
std::string imageOfNew(Arguments... arguments) {
  alignas(S) unsigned char storage[sizeof(S)];
  std::memset(storage, 0xCC, sizeof storage);
  return imageOf(*new (storage) S(arguments...));
}

template <class S>
void expectZerosBehindTheText(std::string const& zeros) {
  static unsigned short const wide[] = {0x161, 0xE4, 0x263, 0};
  S25 const source("abc");
  EXPECT_EQ(imageOfNew<S>(), "0000 000000" + zeros);
  EXPECT_EQ(imageOfNew<S>(kNull), "0000 000000" + zeros);
  EXPECT_EQ(imageOfNew<S>(static_cast<unsigned short*>(nullptr)), "0000 000000" + zeros);
  EXPECT_EQ(imageOfNew<S>("abc"), "0300 616263" + zeros);
  EXPECT_EQ(imageOfNew<S>("a\0c", 3), "0300 610063" + zeros);
  EXPECT_EQ(imageOfNew<S>(&wide[0]), "0300 61e463" + zeros);
  EXPECT_EQ(imageOfNew<S>(source.asUni()), "0300 616263" + zeros);
  EXPECT_EQ(imageOf(S::createCharString('-', 3)), "0300 2d2d2d" + zeros);
  S s("abcdefg");
  s.setLength(3);
  s.data[S::kCapacity] = 'x';
  s.clearUnused();
  EXPECT_EQ(imageOf(s), "0300 616263" + zeros);
  s = "abcdefg";
  s.clear();
  EXPECT_EQ(imageOf(s), "0000 000000" + zeros);
}

TEST(String8, ImageHasZerosBehindTheText) {
  expectZerosBehindTheText<S6>("00000000");
  expectZerosBehindTheText<S7>("0000000000");
}

TEST(String8, SpareByteStaysAndIsCopied) {
  S6 s("abc"), assigned;
  auto* const spare = reinterpret_cast<unsigned char*>(&s) + 9;
  *spare = 0x5A;
  s.clear();
  s = "abcdefg";
  s.clearUnused();
  EXPECT_EQ(*spare, 0x5A);
  S6 const copy(s);
  assigned = s;
  EXPECT_EQ(std::memcmp(&copy, &s, sizeof s), 0);
  EXPECT_EQ(std::memcmp(&assigned, &s, sizeof s), 0);
}

TEST(String8, AssignmentsAndLengthsLeaveTheRestOfTheArray) {
  struct {
    void (*edit)(S6&);
    char const* image;
  } const rows[] = {
      {[](S6& s) { s = "xy"; }, "0200 78790000656600"},
      {[](S6& s) { s = ""; }, "0000 00626300656600"},
      {[](S6& s) { s = s.data[2]; }, "0100 63006300656600"},
      {[](S6& s) { s = kNull; }, "0000 61626300656600"},  // Required: no terminator
      {[](S6& s) { s.fromChar(nullptr, 3); }, "0000 61626300656600"},
      {[](S6& s) { s += kNull; }, "0300 61626300656600"},
      {[](S6& s) { s.add(kNull, 3); }, "0300 61626300656600"},
      {[](S6& s) { s.add("\0x", 2); }, "0500 61626300780000"},
      {[](S6& s) { s += static_cast<unsigned short>(0x1E4); }, "0400 616263e4006600"},
      {[](S6& s) { s.setLength(-1); }, "0000 00626300656600"},
      {[](S6& s) { s.setLength(5); }, "0500 61626300650000"},
      {[](S6& s) { s.data[6] = 'x', s.setLength(300); }, "0600 61626300656600"},
      {[](S6& s) { s.data[3] = s.data[6] = 'x', s.calcLength(); }, "0600 61626378656600"},
      {[](S6& s) { s.data[1] = 0, s.calcLength(); }, "0100 61006300656600"},
  };
  for (auto const& row : rows) {
    SCOPED_TRACE(&row - rows);
    S6 s("abcdef");
    s.setLength(3);
    row.edit(s);
    EXPECT_EQ(imageOf(s), row.image);
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

TEST(String8, WideTextIsReadToUnit1024) {
  std::vector<unsigned short> units(2000, 'w');
  EXPECT_EQ(qzCharLen(units.data()), 1024);
  EXPECT_EQ(textOf(S5000(units.data())), std::string(1024, 'w'));
}

TEST(String8, ComparesByUnsignedBytes) {
  struct {
    S25 a, b;
    int exact, prefix, folded;  // signs: of < and >, of compareSameCase, of compare
  } const rows[] = {
      {"", "", 0, 0, 0},
      {"abc", "abc", 0, 0, 0},
      {"abc", "abd", -1, -1, -1},
      {"abc", "abcd", -1, 0, -1},
      {"", "a", -1, 0, -1},
      {"ABC", "abc", -1, -1, 0},
      {"ABCD", "abc", -1, -1, 1},
      {"Z", "a", -1, -1, 1},
      {"[", "a", -1, -1, 1},
      {"a", "\xE4", -1, -1, -1},
      {"\xC4", "\xE4", -1, -1, -1},
      {{"a\0b", 3}, {"a\0c", 3}, -1, -1, -1},
      {{"a\0", 2}, "a", 1, 0, 1},
  };
  auto const sign = [](int order) { return (order > 0) - (order < 0); };
  for (auto const& [a, b, exact, prefix, folded] : rows) {
    SCOPED_TRACE(textOf(a) + " and " + textOf(b));
    EXPECT_EQ(a < b, exact < 0);
    EXPECT_EQ(a > b, exact > 0);
    EXPECT_EQ(b<a, a> b);
    EXPECT_EQ(a == b, exact == 0);
    EXPECT_EQ(a != b, exact != 0);
    EXPECT_EQ(sign(a.compareSameCase(b)), prefix);
    EXPECT_EQ(sign(a.compare(b)), folded);
    EXPECT_EQ(sign(b.compare(a)), -folded);
    EXPECT_EQ(a.isEqual(b), folded == 0);
    EXPECT_EQ(a.isEqual(b.asChar(), b.length), folded == 0);
    EXPECT_EQ(a.isEqualSameCase(b), exact == 0);
    EXPECT_EQ(a.isEqualSameCase(b.asChar(), b.length), exact == 0);
  }
}

TEST(String8, FirstCharacterCountsInExactEqualityOfEmptyTexts) {
  S6 emptied("abc");
  emptied = nullptr;
  S6 const cleared;
  EXPECT_TRUE(emptied != cleared);
  EXPECT_TRUE(emptied != "");
  EXPECT_FALSE(emptied.isEqualSameCase(cleared));
  EXPECT_FALSE(emptied.isEqualUpperCaseInput(cleared));
  EXPECT_FALSE(emptied.isEqualLowerCaseInput(cleared));
  EXPECT_TRUE(emptied.isEqualUpperCaseInput(emptied));  // nothing is folded in an empty text
  EXPECT_TRUE(emptied.isEqual(cleared));
  EXPECT_TRUE(emptied.isEqualSameCase("", 0));
}

TEST(String8, ComparesWithBareTextAndFoldedInput) {
  EXPECT_TRUE(S6("abc") == "abc");
  EXPECT_TRUE(S6("abc") != "abcd");
  EXPECT_FALSE(S6() == kNull);
  EXPECT_TRUE(S6("abcd") == alphabet(65540).c_str());  // Required: 16 bits of the count
  EXPECT_FALSE(S6("abcd").isEqual(alphabet(65540).c_str(), 65540));
  EXPECT_TRUE(S6("aBc\xE4").isEqualUpperCaseInput("ABC\xE4"));
  EXPECT_FALSE(S6("ABC").isEqualUpperCaseInput("ABc"));
  EXPECT_TRUE(S6("aBc\xC4").isEqualLowerCaseInput("abc\xC4"));
  EXPECT_FALSE(S6("abc").isEqualLowerCaseInput("Abc"));
}

}  // namespace
