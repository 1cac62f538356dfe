// The earlier layouts: what the new forms take over from stored bytes, and the members on top.
#include <gtest/gtest.h>

#include <string>

#include "strings/legacy.h"

namespace {

template <class String>
std::string textOf(String const& s) {
  return {s.data, s.data + (s.length < s.kCapacity ? s.length : s.kCapacity)};
}

template <class String>
String stored(int count) {
  String s;
  for (auto& unit : s.data) unit = 'x';
  s.length = static_cast<unsigned short>(count);
  return s;
}

// However long a string claims to be, an edit leaves a text that fits.
template <class String>
void editOverlong(String const& overlong) {
  void (*const edits[])(String&) = {
      [](String& s) { s.trim(), s += s, s.insert(1, s); },
      [](String& s) { s.addSpacingC("ab", -99), s.addNrSpacing(-5, 99), s.trim(); },
      [](String& s) { s.replace("x", "yz").replace(s, "x"); },
      [](String& s) { s = s.left(s.indexOf("q") + s.lastIndexOf('x') + s.count('X')); },
      [](String& s) { s = s.leftNCut('x', s.endsWith(s) && s.isEqual(s) && s == s); },
      [](String& s) { s.makeUpper(), s.remove(2, 1), s.clearUnused(), s.calcLength(); },
  };
  for (auto const& edit : edits) {
    String s = overlong;
    edit(s);
    EXPECT_LE(s.length, s.kCapacity) << "edit " << &edit - edits;
  }
}

template <class Old, class New>
void takeOver(bool assignmentEnds) {
  constexpr int N = Old::kCapacity;
  for (int const count : {3, N, N + 50}) {
    auto const old = stored<Old>(count);
    New const built(old);
    auto assigned = stored<New>(0);
    assigned.data[N] = 'k';
    assigned = old;
    EXPECT_EQ(textOf(built) + textOf(assigned), textOf(old) + textOf(old)) << count;
    EXPECT_TRUE(built.length == count && assigned.length == count) << count;
    EXPECT_EQ(built.data[count < N ? count : N], 0) << count;
    char const behind = assignmentEnds ? 0 : count == N ? 'k' : 'x';
    EXPECT_TRUE(count > N || assigned.data[count] == behind) << count;
    if (count > N) editOverlong(old), editOverlong(built), editOverlong(assigned);
  }
}

TEST(Legacy, ConstructionEndsTheTextAndAssignmentIn8BitsDoesNot) {  // Required
  takeOver<_qzString8_evenSize_old<250>, _qzString8_allSize<250>>(false);
  takeOver<_qzString8_evenSize_old<125>, _qzString8_allSize<125>>(false);
  takeOver<_qzString8_UnevenSize_old<125>, _qzString8_allSize<125>>(false);
  takeOver<_qzString8_UnevenSize_old<250>, _qzString8_allSize<250>>(false);
  takeOver<_qzString_old<250>, _qzString<250>>(true);
  _qzString8_allSize<250> const narrowed = stored<_qzString_old<500>>(300);
  EXPECT_EQ(narrowed.length, 300);  // Required: above the capacity
  EXPECT_EQ(narrowed.data[248] - narrowed.data[249], 'x');
  editOverlong(narrowed);
}

// A dozen members on one text. Clearing and assigning leave a reserved field.
template <class String>
std::string results() {
  String s("Path/To\xE4/File.ext"), rest;
  if constexpr (requires { rest.reserved; }) rest.reserved = 'r';
  rest.clear();
  rest = s;
  std::string all = textOf(rest.leftNCut('/', true)) + '|' + textOf(rest);
  if constexpr (requires { rest.reserved; }) all += rest.reserved == 'r' ? "" : "reserved";
  rest.replace("t", "--").replaceCaseSen("-", "abc");
  rest.remove('B');
  rest.insert(2, s.mid(5, 3));
  rest += s.left('F', false);
  rest.addNrSpacing(-42, -6);
  for (int const number : {s.indexOf("to"), s.indexOfCaseSen("to"), s.lastIndexOf('/', -1),
                           s.indexOfFirstOcc("F", "/", nullptr), s.count('T')})
    all += '|' + std::to_string(number);
  all += s.startsWith('P') && s.endsWith(".EXT") && s.compare("path/u") < 0 && s != rest;
  return all + textOf(rest);
}

TEST(Legacy, MembersGiveWhatThoseOfTheNewFormGive) {
  std::string const wanted = results<_qzString8_allSize<50>>();
  EXPECT_EQ(results<_qzString8_evenSize_old<50>>(), wanted);
  EXPECT_EQ(results<_qzString8_UnevenSize_old<50>>(), wanted);
  EXPECT_EQ(results<_qzString_old<50>>(), wanted);
  EXPECT_TRUE(_qzString8_allSize<50>("abc") == _qzString8_evenSize_old<50>("abc"));
  EXPECT_FALSE(_qzString8_allSize<25>("abc") == _qzString8_UnevenSize_old<25>("abC"));
}

}  // namespace
