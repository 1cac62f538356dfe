// The 16-bit string: what both forms do alike, and then what only this one does.
#include "strings/string16.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <tuple>

namespace {

using W10 = _qzString<10>;
using W25 = _qzString<25>;
using S250 = _qzString8_allSize<250>;

auto units(char16_t const* text) { return reinterpret_cast<unsigned short const*>(text); }
template <int N>
std::u16string unitsOf(_qzString<N> const& s) {
  return {s.data, s.data + s.length};
}

constexpr int kEdits = 13;

// One edit out of all, by `which` and the parities of `p` and `q`.
template <class S>
void edit(S& s, int which, char const* x, char const* y, int p, int q) {
  auto const c = static_cast<typename S::unit>(x[0]), d = static_cast<typename S::unit>(y[0]);
  bool const odd = p % 2 != 0, keep = q % 2 != 0;
  if (which == 0) s = odd ? S::createCharString(c, q) : keep ? s.combined(x) : s + S(x);
  if (which == 1) odd ? s += s : keep ? s += S(x) : s += x;
  if (which == 2) (keep ? s = x : s).calcLength();
  if (which == 3) odd ? s.add(s) : keep ? s.insert(p - 2, S(x)) : s.insert(p, s);
  if (which == 4) odd ? s.addSpacingC(x, p - q) : keep ? s.addNrSpacing(q, 3) : s.addNr(q - 5, 2);
  if (which == 5) odd ? s.add(S(x).data, 2) : s.setLength(static_cast<short>(p));
  if (which == 6) odd ? s.remove((s.length - s.length / p) / (q + 1), s.length / p) : s.trim();
  if (which == 7) keep ? s.replace(S(x), S(y)) : odd ? s.remove(S(x)) : s.removeCaseSens(S(x));
  if (which == 8) keep ? s.replaceCaseSen(S(x), S(y)) : odd ? s.replace(s, S(y)) : s += c;
  if (which == 9) odd ? s += s.remove(c) : s.replace(c, d);
  if (which == 10) odd ? s.makeUpper() : keep ? s.makeLower() : s.clearUnused();
  if (which == 11) s = odd ? s.mid(p, q) : keep ? s.left(q - 1) : s + c;
  if (which == 12) s = odd ? s.left(c, keep) : s.leftNCut(c, keep).combined(s);
}

template <class S>
auto answersOf(S const& s, char const* x, char const* y, int p) {
  auto const c = static_cast<typename S::unit>(x[0]);
  S const t(x);
  int two, first = s.indexOfFirstOcc(x, y, &two);
  int six, firstOfSix = s.indexOfFirstOcc("c", x, ",", y, "ab", "b", &six);
  return std::make_tuple(
      s.compare(t) < 0, s.compare(t) > 0, s.compareSameCase(t) < 0, s.compareSameCase(t) > 0,
      (s < t), (s > t), s == t, s != t, s == x, s != x, s.isEqual(t), s.isEqual(s.data, p),
      s.isEqualSameCase(t), s.isEqualSameCase(s.data, p), s.isEqualUpperCaseInput(t),
      s.isEqualLowerCaseInput(t), s.indexOf(t, p), s.indexOfCaseSen(t, p), s.indexOf(c, p),
      s.indexOfCaseSen(c, p), s.lastIndexOf(c, p - 1), first, two, firstOfSix, six, s.count(x[0]),
      s.countCaseSen(x[0]), s.contains(x), s.contains(t), s.contains(c), s.containsCaseSen(x),
      s.containsCaseSen(t), s.containsCaseSen(x, t.length), s.containsUpperCaseInput(x),
      s.containsUpperCaseInput(t), s.startsWith(x), s.startsWith(t), s.startsWith(c),
      s.startsWith(x, t.length), s.startsWithCaseSen(x), s.startsWithCaseSen(t), s.endsWith(x),
      s.endsWith(t), s.endsWith(c), s.endsWith(x, t.length), s.isEmpty(), s.length);
}

// The 8-bit form is compared with a model of its own. What lies behind the text agrees as well.
template <int N>
void compareForms() {
  std::mt19937 random(20);
  auto const upTo = [&](unsigned most) { return static_cast<int>(random() % (most + 1)); };
  auto const text = [&] { return std::string("aAbBaba, ").substr(random() % 9, 1 + random() % 3); };
  _qzString<N> wide;
  _qzString8_allSize<N> narrow;
  for (int step = 0; step < 30000; ++step) {
    auto const x = text(), y = text();
    int const which = upTo(kEdits - 1), p = upTo(11), q = upTo(11);
    SCOPED_TRACE(testing::Message() << N << ", seed 20, step " << step << ", edit " << which);
    edit(wide, which, x.c_str(), y.c_str(), p, q);
    edit(narrow, which, x.c_str(), y.c_str(), p, q);
    ASSERT_TRUE(std::equal(wide.data, std::end(wide.data), narrow.data));
    ASSERT_EQ(answersOf(wide, x.c_str(), y.c_str(), p), answersOf(narrow, x.c_str(), y.c_str(), p));
  }
}

TEST(String16, DoesWhatTheOtherFormDoes) {
  compareForms<10>();
  compareForms<50>();  // long enough for searches in blocks
}

template <class S>
struct LengthAboveTheCapacity : testing::Test {};
using Forms = testing::Types<S250, _qzString8_allSize<25>, _qzString<250>>;
TYPED_TEST_SUITE(LengthAboveTheCapacity, Forms);

TYPED_TEST(LengthAboveTheCapacity, KeepsEveryMemberInsideTheString) {
  constexpr int kCapacity = TypeParam::kCapacity, kAbove = 65535;
  std::string const full(kAbove, '1');
  for (int which = 0; which < 2 * kEdits; ++which)
    for (int const p : {0, 7, kCapacity, kAbove, kAbove + 1}) {
      SCOPED_TRACE(testing::Message() << "edit " << which << " at " << p);
      auto const s = std::make_unique<TypeParam>(full.c_str());  // on the heap, its end is guarded
      s->length = kAbove;
      EXPECT_NE(answersOf(*s, "1", full.c_str(), p), answersOf(*s, full.c_str(), "1", p));
      TypeParam other = *s;
      if constexpr (sizeof(other.data[0]) == 1)
        other.toIntFromHex(p, true, true, nullptr), other.addHexCode(p);
      else
        EXPECT_EQ(other.to_qzString8_250().length, kAbove);
      edit(*s, which % kEdits, p % 3 == 1 ? full.c_str() : "1", "x", p, which / kEdits);
      EXPECT_EQ(s->data[kCapacity], 0);
    }
}

TEST(String16, WidensWithTheSignOrWithZeros) {
  char const* const x = "a\xE4";
  W25 s, t, u, v;
  for (W25 const& made : {W25(x), W25(x, 2), W25(S250(x).asUni()),
                          s = std::string(x), t += x, W25('a') += x[1], W25("a") + x[1]})
    EXPECT_EQ(unitsOf(made), u"a\xFFE4");
  EXPECT_TRUE(s.indexOf(x) == 0 && s.startsWith(x) && s.startsWithCaseSen(x) && s.contains(x));
  EXPECT_TRUE(s.count(x[1]) == 1 && s.countCaseSen(x[1]) == 1 && s.endsWith(x + 1));
  u.addSpacingC(x, -2);
  v.add(x);
  for (W25 const& made : {u, v, t = x, W25().combined(x)})
    EXPECT_TRUE(unitsOf(made) == u"a\xE4" && made == x && made != W25(x));
  EXPECT_FALSE(t.endsWith(x[1]) || s.endsWith(x[1]) || s == x);
}

TEST(String16, NarrowsToTheLowByteAndKeepsTheLength) {
  W25 s(units(u"\u0141a"));
  char low[] = "???";
  s.toChar(low, 2);
  EXPECT_STREQ(low, "A");
  EXPECT_TRUE(S250(s) == "Aa" && S250(s.data) == "Aa");
  s.addSpacing(s.data, -3);
  EXPECT_EQ(unitsOf(s), u"\u0141a Aa");  // Required: the low byte of each unit
  S250 narrowText = "abc";
  (narrowText = nullptr).addSpacing(narrowText.data, -5);
  W25 wideText = "abc";
  (wideText = units(nullptr)).addSpacing(wideText.data, -5);
  EXPECT_TRUE(narrowText == "    c" && wideText == "    c");  // Required: the blanks come first
  for (int const count : {100, 249, 250, 300}) {
    S250 const narrow = _qzString<500>(std::string(500, 'x').c_str(), count);
    EXPECT_EQ(narrow.length, count);  // Required: not the number of characters copied
    EXPECT_EQ(std::strlen(narrow.data), count < 249 ? 100U : 249U);
  }
}

TEST(String16, KeepsTheReservedWordThroughEveryAssignment) {
  W10 s("x");
  EXPECT_EQ(s.reserved, 0);
  s.reserved = 0xBEEF;
  s = W10("abcd");
  s = units(u"\u0141");
  s = s.asUni();
  s += "\xE4";
  s = nullptr;  // Required: changes nothing
  EXPECT_EQ(std::memcmp(&s, "\x02\0\xEF\xBE\x41\x01\xE4\xFF\0\0d\0\0\0", 14), 0);
  s.clear();
  EXPECT_EQ(std::memcmp(&s, std::string("\0\0\xEF\xBE", 4).append(22, '\0').data(), 26), 0);
}

TEST(String16, HasRulesOfItsOwn) {
  W25 s(units(u"abcd"));
  EXPECT_TRUE(s == units(u"abxy"));  // Required: as many bytes as there are units
  EXPECT_FALSE(s == units(u"axcd") || s == units(u"abc") || s == nullptr || s != nullptr);
  EXPECT_FALSE(s == units(nullptr) || s.containsCaseSen(nullptr, 1));
  EXPECT_LT(W25(units(u"\u0200")), W25(units(u"\u0101")));  // the low byte comes first
  EXPECT_EQ(W25(units(u"\u0161A")).indexOf(*units(u"a")), 1);
  auto const* const view = s.asUni();
  s += *units(u"\u0141");  // seen through the view
  EXPECT_EQ(unitsOf(W10(view)), u"abcd\u0141");
  _qzString<2500> const x(std::string(2000, 'x').c_str());
  EXPECT_EQ(_qzString<2500>(x.data).length, 1024);
  EXPECT_EQ((_qzString<2500>() += x).length, 2000);
  EXPECT_EQ((s = units(nullptr)).length, 0);
  EXPECT_EQ(unitsOf(s = *units(u"\u0141")), u"A");  // Required: the low byte
}

}  // namespace
