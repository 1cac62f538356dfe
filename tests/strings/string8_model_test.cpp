// Random edits and searches beside the plain model of text_model.h. QZ_TEST_SEED sets the seed.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <memory>
#include <random>

#include "strings/string8.h"
#include "strings/text_model.h"

namespace {

template <int N>
std::string textOf(_qzString8_allSize<N> const& s) {
  return {s.data, static_cast<std::size_t>(std::min<int>(s.length, N))};
}

using Model = text_model<char>;
constexpr auto upper = Model::upper, same = Model::same;

template <class S, int N = S::kCapacity>
void compareSteps(unsigned seed) {
  SCOPED_TRACE("capacity " + std::to_string(N) + ", QZ_TEST_SEED=" + std::to_string(seed));
  auto const owner = std::make_unique<S>();  // on the heap, where its ends are watched
  S& s = *owner;
  Model m{N, ""};
  // Two arguments that may be the string itself, a word, a number of any size, a range within the
  // text, a character; and what a step gave on each side.
  S const *a, *b;
  std::string const *ma, *mb;
  std::string word, given, wanted;
  int any, at, span;
  char c;
  auto const found = [&](int real, int model) {
    given = std::to_string(real), wanted = std::to_string(model);
  };
  std::function<void()> const operations[] = {
      [&] { s = word.c_str(), m.text.clear(), m.put(word); },
      [&] { s = nullptr, m.text.clear(); },
      [&] { s.insert(at, *a), m.replaceAt(at, 0, *ma); },
      [&] { s.replace(*a, *b), m.replace(*ma, *mb, upper); },
      [&] { s.replaceCaseSen(*a, *b), m.replace(*ma, *mb, same); },
      [&] { s.remove(*a), m.replace(*ma, "", upper); },
      [&] { s.removeCaseSens(*a), m.replace(*ma, "", same); },
      [&] { s.remove(at, span), m.replaceAt(at, span, ""); },
      [&] { s.remove(c), m.replace(std::string(1, c), "", upper); },
      [&] { given = textOf(s.mid(at, span)), wanted = m.part(at, span); },
      [&] { s.add(*a), m.put(*ma); },
      [&] { s += *a, m.appendLive(*ma); },
      [&] { s.addSpacingC(word.c_str(), any), m.addColumn(word, any); },
      [&] { found(s.indexOf(*a, at), m.find(*ma, at, upper)); },
      [&] { found(s.indexOfCaseSen(*a, at), m.find(*ma, at, same)); },
      [&] { found(s.indexOf(c, any), m.find(c, any, upper)); },
  };

  std::mt19937 random(seed);
  auto const below = [&](int limit) { return static_cast<int>(random() % unsigned(limit)); };
  auto const character = [&] { return "aAbB, \0\xE4"[below(8)]; };
  auto const someText = [&] {
    std::string text(unsigned(below(3) == 0 ? below(N + 1) : below(4)), ' ');
    for (char& each : text) each = character();
    return text;
  };
  for (int i = 0; i < 50000; ++i) {
    std::string const textA = someText(), textB = someText(), before = m.text;
    S const otherA(textA.data(), static_cast<int>(textA.size()));
    S const otherB(textB.data(), static_cast<int>(textB.size()));
    bool const ownA = below(8) == 0, ownB = below(8) == 0;
    a = ownA ? &s : &otherA, ma = ownA ? &m.text : &textA;
    b = ownB ? &s : &otherB, mb = ownB ? &m.text : &textB;
    word = someText().c_str(), any = below(2 * N + 6) - N - 3, c = character();
    at = below(m.size() + 1), span = below(m.size() - at + 1);
    // A length above the capacity, which conversions can leave, counts as the capacity.
    if (m.size() == N && below(4) == 0) s.length = static_cast<unsigned short>(N + 1 + i);
    int const operation = below(std::size(operations));
    operations[operation]();
    s.length = static_cast<unsigned short>(std::min<int>(s.length, N));
    ASSERT_TRUE(textOf(s) == m.text && given == wanted && (s.isEmpty() || s.data[s.length] == 0))
        << "operation " << operation << " at " << at << " on " << before << " with " << textA
        << " and " << textB;
  }
}

TEST(String8Model, EditsAndSearchesMatchTheLiteralSteps) {
  char const* const given = std::getenv("QZ_TEST_SEED");
  unsigned const seed = given == nullptr ? 1 : unsigned(std::atoi(given));
  compareSteps<_qzString8_allSize<6>>(seed);
  compareSteps<_qzString8_allSize<100>>(seed);  // long enough for searches in blocks
}

}  // namespace
