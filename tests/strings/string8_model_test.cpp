// Random edits and searches beside a plain model that takes every step literally: copy the text,
// set it to empty, append pieces cut at the capacity, search again. QZ_TEST_SEED sets the seed.
#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <memory>
#include <random>

#include "strings/string8_testing.h"

namespace {

using Fold = char (*)(char);
char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; }
char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }
char same(char c) { return c; }
std::string all(std::string text, Fold fold) {
  std::transform(text.begin(), text.end(), text.begin(), fold);
  return text;
}

struct Model {
  int capacity;
  std::string text;
  std::string remains;  // what a bare pointer shows while the text is empty

  int size() const { return static_cast<int>(text.size()); }
  std::string part(int from, int count = 1 << 16) const {
    return text.substr(static_cast<unsigned>(from), static_cast<unsigned>(count));
  }
  std::string shown() const { return text.empty() ? remains : text.substr(0, text.find('\0')); }

  void empty() { remains = shown(), text.clear(); }
  void put(std::string const& piece) {
    text.append(piece, 0, static_cast<unsigned>(capacity - size()));
  }
  void end() { remains.clear(); }

  int find(std::string const& needle, int start, Fold fold) const {
    if (needle.empty() || static_cast<int>(needle.size()) + start > size()) return -1;
    return static_cast<int>(all(text, fold).find(all(needle, fold), unsigned(start)));
  }
  int find(char c, int start, Fold fold) const {
    return find(std::string(1, c), start >= 1 && start < size() ? start : 0, fold);
  }
  int findLast(char c, int start) const {
    auto const from = start >= 0 && start < size() ? unsigned(start) : std::string::npos;
    return static_cast<int>(text.rfind(c, from));
  }
  void replaceAt(int position, int count, std::string const& piece) {
    Model const copy = *this;
    empty();
    put(copy.part(0, position));
    put(piece);
    put(copy.part(position + count));
  }
  void replace(std::string const& from, std::string const& to, Fold fold) {
    for (int p = find(from, 0, fold); p >= 0; p = find(from, p + static_cast<int>(to.size()), fold))
      replaceAt(p, static_cast<int>(from.size()), to);
  }
  void remove(char c) {
    std::string const folded = all(text, upper);
    for (int i = size(); i-- > 0;)
      if (folded[unsigned(i)] == upper(c)) replaceAt(i, 1, "");
  }
  void trim() {
    std::string const white("\0\t\n\r ", 5);
    text.erase(text.find_last_not_of(white) + 1);
    text.erase(0, text.find_first_not_of(white));
    end();
  }
  Model left(char c, bool keep) const {
    int const p = find(c, 0, upper);
    if (p < 0) return *this;
    return {capacity, p > 0 ? part(0, p + keep) : std::string(!keep, c), ""};
  }
  Model leftNCut(char c, bool keep) {
    Model piece = left(c, keep);
    int const p = find(c, 0, upper);
    if (p >= 0)
      replaceAt(0, p + 1, "");
    else
      *this = {capacity, "", ""};
    return piece;
  }
  void addColumn(std::string const& word, int width) {
    int const printed = std::min(static_cast<int>(word.size()), capacity - size());
    int const field = std::min(std::abs(width), capacity - size());
    std::string const blanks(unsigned(std::max(field - printed, 0)), ' ');
    if (width == 0 && word.empty()) return;
    put(width < 0 ? blanks : word);
    put(width < 0 ? word : blanks);
    end();
  }
};

std::string told(Model const& m) { return m.text + '|' + m.shown(); }
std::string told(std::string const& text) { return text; }
std::string told(int value) { return std::to_string(value); }
template <int N>
std::string told(_qzString8_allSize<N> const& s) {
  return textOf(s) + '|' + shownBy(s);
}

// One step: the string and its model, two texts for each that may be the string itself, a word, a
// number of any size, a range within the text, two characters; and what the step gave on each side.
template <class S>
struct Step {
  S& s;
  Model& m;
  S const &a, &b;
  std::string const &ma, &mb;
  std::string word = "", given = "", modelGiven = "";
  int any = 0, at = 0, span = 0;
  char c = 0, d = 0;
  bool keep = false;

  void compare(auto const& real, auto const& model) {
    given = told(real), modelGiven = told(model);
  }
};

template <class S>
struct Operation {
  char const* name;
  void (*run)(Step<S>&);
};

template <class S, int N = S::kCapacity>
Operation<S> const operations[] = {
    {"= word",
     [](auto& t) {
       t.s = t.word.c_str(), t.m = {N, t.word, ""};
     }},
    {"= null", [](auto& t) { t.s = nullptr, t.m.empty(); }},
    {"insert", [](auto& t) { t.s.insert(t.at, t.a), t.m.replaceAt(t.at, 0, t.ma); }},
    {"replace", [](auto& t) { t.s.replace(t.a, t.b), t.m.replace(t.ma, t.mb, upper); }},
    {"replaceCaseSen",
     [](auto& t) { t.s.replaceCaseSen(t.a, t.b), t.m.replace(t.ma, t.mb, same); }},
    {"replace char",
     [](auto& t) {
       t.s.replace(t.c, t.d);
       for (char& c : t.m.text) c = upper(c) == upper(t.c) ? t.d : c;
     }},
    {"remove", [](auto& t) { t.s.remove(t.a), t.m.replace(t.ma, "", upper); }},
    {"removeCaseSens", [](auto& t) { t.s.removeCaseSens(t.a), t.m.replace(t.ma, "", same); }},
    {"remove range", [](auto& t) { t.s.remove(t.at, t.span), t.m.replaceAt(t.at, t.span, ""); }},
    {"remove char", [](auto& t) { t.m.remove(t.c), t.compare(t.s.remove(t.c), t.m); }},
    {"trim", [](auto& t) { t.s.trim(), t.m.trim(); }},
    {"makeUpper", [](auto& t) { t.s.makeUpper(), t.m.text = all(t.m.text, upper); }},
    {"makeLower", [](auto& t) { t.s.makeLower(), t.m.text = all(t.m.text, lower); }},
    {"left", [](auto& t) { t.compare(t.s.left(t.c, t.keep), t.m.left(t.c, t.keep)); }},
    {"leftNCut", [](auto& t) { t.compare(t.s.leftNCut(t.c, t.keep), t.m.leftNCut(t.c, t.keep)); }},
    {"left count", [](auto& t) { t.compare(textOf(t.s.left(t.span)), t.m.part(0, t.span)); }},
    {"mid", [](auto& t) { t.compare(textOf(t.s.mid(t.at, t.span)), t.m.part(t.at, t.span)); }},
    {"add", [](auto& t) { t.s.add(t.a), t.m.put(t.ma); }},
    {"add count",
     [](auto& t) { t.s.add(t.word.data(), unsigned(t.word.size())), t.m.put(t.word); }},
    {"+= char", [](auto& t) { t.s += t.c, t.m.put(std::string(1, t.c)); }},
    {"+=",
     [](auto& t) {
       t.s += t.a;
       for (unsigned i = 0; i < t.ma.size() && t.m.size() < t.m.capacity; ++i) t.m.text += t.ma[i];
       t.m.end();
     }},
    {"addSpacingC",
     [](auto& t) { t.s.addSpacingC(t.word.c_str(), t.any), t.m.addColumn(t.word, t.any); }},
    {"indexOf", [](auto& t) { t.compare(t.s.indexOf(t.a, t.at), t.m.find(t.ma, t.at, upper)); }},
    {"indexOfCaseSen",
     [](auto& t) { t.compare(t.s.indexOfCaseSen(t.a, t.at), t.m.find(t.ma, t.at, same)); }},
    {"indexOf char",
     [](auto& t) { t.compare(t.s.indexOf(t.c, t.any), t.m.find(t.c, t.any, upper)); }},
    {"indexOfCaseSen char",
     [](auto& t) { t.compare(t.s.indexOfCaseSen(t.c, t.any), t.m.find(t.c, t.any, same)); }},
    {"lastIndexOf",
     [](auto& t) { t.compare(t.s.lastIndexOf(t.c, t.any), t.m.findLast(t.c, t.any)); }},
    {"startsWith", [](auto& t) { t.compare(t.s.startsWith(t.a), t.m.find(t.ma, 0, upper) == 0); }},
    {"endsWith",
     [](auto& t) {
       int const at = t.m.size() - static_cast<int>(t.ma.size());
       t.compare(t.s.endsWith(t.a), at >= 0 && t.m.find(t.ma, at, upper) == at);
     }},
};

template <int N>
void compareSteps(unsigned seed) {
  using S = _qzString8_allSize<N>;
  std::mt19937 random(seed);
  auto const below = [&](int limit) { return static_cast<int>(random() % unsigned(limit)); };
  auto const character = [&] { return "aAbB, \0\xE4"[below(8)]; };
  auto const someText = [&] {
    std::string text(unsigned(below(3) == 0 ? below(N + 1) : below(4)), ' ');
    for (char& c : text) c = character();
    return text;
  };
  auto const owner = std::make_unique<S>();  // on the heap, where its ends are watched
  S& s = *owner;
  Model m{N, "", ""};
  for (int i = 0; i < 50000; ++i) {
    std::string const textA = someText(), textB = someText(), before = told(m);
    S const a(textA.data(), static_cast<int>(textA.size()));
    S const b(textB.data(), static_cast<int>(textB.size()));
    bool const ownA = below(8) == 0, ownB = below(8) == 0;
    int const at = below(m.size() + 1), span = below(m.size() - at + 1);
    Step<S> step{s, m, ownA ? s : a, ownB ? s : b, ownA ? m.text : textA, ownB ? m.text : textB};
    step.word = std::string(someText().c_str());
    step.any = below(2 * N + 6) - N - 3, step.at = at, step.span = span;
    step.c = character(), step.d = character(), step.keep = below(2) == 0;
    // A length above the capacity, which conversions can leave, counts as the capacity.
    if (m.size() == N && below(4) == 0)
      s.length = static_cast<unsigned short>(N + 1 + below(65000));
    auto const& operation = operations<S>[below(std::size(operations<S>))];
    operation.run(step);
    s.length = static_cast<unsigned short>(std::min<int>(s.length, N));
    bool const ended = m.text.empty() || s.data[s.length] == 0;
    if (ended && told(s) == told(m) && step.given == step.modelGiven) continue;
    FAIL() << operation.name << " at " << at << " on " << before << " with " << textA << " and "
           << textB;
  }
}

TEST(String8Model, EditsAndSearchesMatchTheLiteralSteps) {
  char const* const given = std::getenv("QZ_TEST_SEED");
  unsigned const seed = given == nullptr ? 1 : unsigned(std::atoi(given));
  std::cout << "QZ_TEST_SEED=" << seed << '\n';
  compareSteps<6>(seed);
  compareSteps<7>(seed);
  compareSteps<8>(seed);
  compareSteps<25>(seed);
}

}  // namespace
