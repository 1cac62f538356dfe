// Numbers as text: the members for them in both forms of string, and the free functions.
#include "strings/number_text.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <utility>

namespace {

using S25 = _qzString8_allSize<25>;

template <class String>
std::string textOf(String const& s) {
  return {s.data, s.data + s.length};
}

template <class String>
struct NumberMembers : testing::Test {};
using Forms = testing::Types<S25, _qzString<25>>;
TYPED_TEST_SUITE(NumberMembers, Forms);

TYPED_TEST(NumberMembers, AppendDecimalText) {
  TypeParam s("n");
  s.addNr(5, 3);
  s.addNr(-5, 3);  // Required: the zeros stand in front of the minus sign
  s.addNr(1234LL, 3);
  s.addNr(INT_MIN);
  s.addNr(9LL, 7);
  EXPECT_EQ(textOf(s), "n0050-51234-2147483648000");
  (s = TypeParam::fromNr(LLONG_MIN)).addNr(ULLONG_MAX);
  EXPECT_EQ(textOf(s), "-922337203685477580818446");
}

TYPED_TEST(NumberMembers, FillAColumnLimitedToTheRoom) {
  TypeParam s("123");
  for (auto [value, width] : {std::pair{-5, 4}, {-5, -4}, {12345, -3}, {7, -128}, {7, 9}})
    s.addNrSpacing(value, static_cast<signed char>(width));
  EXPECT_EQ(textOf(s), "123-5    -512345        7");
}

TYPED_TEST(NumberMembers, ReadAnIntegerAndSayWhetherTheTextIsOne) {
  bool ok = false;
  for (auto const& [text, value] : {std::pair{"", 0}, {"-", 0}, {"-12", -12}, {"0099", 99}})
    EXPECT_TRUE(TypeParam(text).toInt(&ok) == value && ok) << text;
  for (auto const* const text : {"1-", " 1", "+1", "1/", "1:", "1\xB1", "1.", "1a"})
    EXPECT_TRUE(TypeParam(text).toInt(&ok) == 0 && !ok && TypeParam(text).toInt() == 1) << text;
  EXPECT_TRUE(TypeParam("1\0", 2).toInt(&ok) == 0 && !ok);
}

TEST(Numbers, DifferByForm) {
  _qzString<25> wide;
  wide.addNr(-7, 30);  // Required: zeros and digits are cut at 20 together
  wide.addNr(4000000000U);
  EXPECT_EQ(textOf(wide), std::string(20, '0') + "40000");
  wide.data[0] = 0x0131;  // its low byte is a digit
  bool ok = true;
  EXPECT_TRUE(wide.toInt(&ok) == 0 && !ok);
  EXPECT_EQ(wide.left(3).toInt(), 100);
  EXPECT_EQ(_qzString<500>((std::string(248, '0') + "77").c_str()).toInt(), 7);  // 249 units
  EXPECT_EQ(S25("-9223372036854775807").toInt64(&ok), -LLONG_MAX);
}

TEST(Numbers, AppendHexDigits) {
  auto const hex = [](auto text, auto... values) {
    (text.addHexCode(values), ...);
    return textOf(text);
  };
  EXPECT_EQ(hex(S25(), std::int8_t{-1}, std::uint8_t{10}, 26, 0xFEU), "FF0A0000001A000000FE");
  EXPECT_EQ(hex(S25(), short{-1}, std::uint16_t{65535}), "FFFFFFFFFFFF");  // Required: the sign
  // Required: the last two of the digits that fit into the capacity.
  EXPECT_EQ(hex(_qzString8_allSize<6>(), std::int8_t{-123}), "FF");
  EXPECT_EQ(hex(_qzString8_allSize<7>(), std::int8_t{-123}), "F8");
}

TEST(Numbers, TakeHexFieldsFromTheFront) {
  auto const field = [](S25 s, int bits, bool isSigned) {
    bool ok = false;
    long long const value = s.toIntFromHex(bits, isSigned, false, &ok);
    EXPECT_EQ(s.toIntFromHex(bits, isSigned, true, nullptr), value);
    return std::to_string(value) + (ok ? " ok " : " bad ") + textOf(s);
  };
  EXPECT_EQ(field("FF", 8, true) + field("FF", 8, false), "-1 ok 255 ok ");
  EXPECT_EQ(field("0000000AFF", 32, true) + field("8000x", 16, true), "10 ok FF-32768 ok x");
  EXPECT_EQ(field("FFFFFFFE", 32, false) + field("A", 16, true), "4294967294 ok 10 ok ");
  EXPECT_EQ(field("zz12", 8, true) + field("FFFx", 12, true), "0 bad 120 bad x");
  EXPECT_EQ(field("zz12", 8, false) + field("12", -8, false), "0 ok 120 ok 12");
}

TEST(Numbers, FreeFunctions) {
  std::string texts;  // Required: no carry, the sign of a fraction, a digit without decimals
  for (auto const& [value, decimals] :
       {std::pair{2.05F, 2}, {2.5F, 0}, {1.999F, 2}, {-1.5F, 1}, {7.0F, 30}})
    texts += textOf(float2Str(value, decimals, '.')) + ' ';
  texts += textOf(int2Str(-12));
  EXPECT_EQ(texts, "2.05 2.1 1.100 -1.-5 7.00000000000000000000000 -12");
  EXPECT_EQ(textOf(bool2str(true, false)) + textOf(bool2str(false, true)), "1false");
  for (unsigned short unit = 0; unit < 0x200; ++unit)
    EXPECT_EQ(qzIsDigit(unit), unit == 45 || (unit >= 48 && unit <= 57)) << unit;
}

}  // namespace
