// Every member that all string forms share, as steps on a string and on a plain model of it. An
// input chooses the steps and their arguments; each answer and the text after each step are those
// of the model. What the members leave to the caller is not done: a range outside of the text for
// remove(), a negative start for a search, a pointer to fewer bytes than the count.
#ifndef QZ_FUZZ_TEXT_STEPS_H_
#define QZ_FUZZ_TEXT_STEPS_H_

#include <memory>

#include "fuzz/input.h"
#include "strings/text_model.h"

template <class S>
struct text_steps {
  using Unit = typename S::unit;
  using Model = text_model<Unit>;
  using Text = typename Model::text_type;
  static constexpr int N = S::kCapacity;
  static constexpr auto upper = Model::upper, lower = Model::lower, same = Model::same;
  static constexpr int kSharedSteps = 54;

  fuzz_input& in;
  std::unique_ptr<S> owner = std::make_unique<S>();  // on the heap, where its ends are watched
  S& s = *owner;
  Model m{N, {}};

  // --- arguments ---

  Unit unit() {
    int const what = in.byte();
    constexpr char kUsual[] = "aAbB, \0\xE4zZ0";
    if (what >= 192) return in.number<Unit>();
    return static_cast<Unit>(kUsual[unsigned(what) % (sizeof kUsual - 1)]);
  }
  char character() { return static_cast<char>(unit()); }
  // Anywhere in the text or at its end.
  int position() { return in.below(m.size() + 1); }
  int count() {
    int const shape = in.byte();
    return shape < 240 ? shape % 8 : in.below(N + 3);
  }
  Text units() {
    Text text;
    for (int left = count(); left > 0; --left) text += unit();
    return text;
  }
  // Text without a zero byte, in a memory of its own; at times so long that 16 bits don't hold it.
  struct word_type {
    std::string text;
    std::vector<char> memory;
    operator char const*() const { return memory.data(); }
    int size() const { return static_cast<int>(text.size()); }
  };
  word_type word() {
    std::string text;
    int const shape = in.byte();
    int const length = shape < 240 ? shape % 8 : in.below(N + 3);
    for (int i = 0; i < length; ++i)
      if (char const c = character(); c != 0) text += c;
    if (shape == 255) text.resize(65536 + text.size(), 'b');
    return {text, exactly(text + '\0')};
  }
  // A count of its bytes that may be one for 16 bits too many, and what a string takes of them.
  int countIn(word_type const& w) { return in.below(w.size() + 1) + (in.coin() ? 65536 : 0); }
  static std::string cutAt(word_type const& w, int count) {
    return w.text.substr(0, unsigned(std::min(count & 0xFFFF, N)));
  }
  // A string and its text; at times the string under test itself, which a step then changes.
  struct argument {
    std::unique_ptr<S> other;
    Text otherText;
    S const* string;
    Text const* text;
    S const& operator*() const { return *string; }
  };
  argument string() {
    if (in.byte() >= 224) return {nullptr, {}, &s, &m.text};
    Text text = units().substr(0, N);
    argument made{std::make_unique<S>(text.data(), static_cast<int>(text.size())), text, nullptr,
                  nullptr};
    made.string = made.other.get();
    return made;
  }
  static Text const& textOf(argument const& a) { return a.text != nullptr ? *a.text : a.otherText; }
  static Text textOf(S const& string) {
    return Text(string.data, static_cast<std::size_t>(std::min<int>(string.length, N)));
  }
  // All units, remains of earlier text included.
  Text array() const { return Text(s.data, N + 1); }

  // --- what bytes are in this string's units ---

  static Unit widened(char c) { return static_cast<Unit>(static_cast<signed char>(c)); }
  static Unit widenedWithZeros(char c) {
    if constexpr (sizeof(Unit) == 1) return c;
    return static_cast<Unit>(static_cast<unsigned char>(c));
  }
  static Text inUnits(std::string const& text, Unit (*rule)(char) = widened) {
    Text made;
    for (char const c : text) made += rule(c);
    return made;
  }
  static std::size_t low16(std::size_t size) { return size % 65536; }
  // What a string of this capacity takes.
  static Text cut(Text const& text) {
    return text.substr(0, std::min<std::size_t>(low16(text.size()), N));
  }
  static Text cutWord(word_type const& w) { return cut(inUnits(w.text)); }
  static Text zeros(std::string const& text) { return inUnits(text, widenedWithZeros); }
  // Without the capacity: the room cuts.
  static std::string low16(std::string const& text) { return text.substr(0, low16(text.size())); }

  static std::string padded(std::string const& digits, unsigned least) {
    return std::string(std::max<std::size_t>(digits.size(), least) - digits.size(), '0') + digits;
  }
  bool isNumber() const {
    for (std::size_t i = 0; i < m.text.size(); ++i)
      if ((m.text[i] < '0' || m.text[i] > '9') && !(i == 0 && m.text[i] == '-')) return false;
    return true;
  }

  // --- comparing ---

  void is(S const& given, Text const& wanted) const {
    expect(given.length == wanted.size() && textOf(given) == wanted);
    expect(wanted.empty() || given.data[wanted.size()] == 0);
  }
  // Bytes in memory, as memcmp sees them.
  static int orderOf(Unit c) {
    if constexpr (sizeof(Unit) == 1) return static_cast<unsigned char>(c);
    return (c & 0xFF) << 8 | c >> 8;
  }
  static int prefixOrder(Text const& a, Text const& b) {
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
      if (a[i] != b[i]) return orderOf(a[i]) < orderOf(b[i]) ? -1 : 1;
    return 0;
  }
  static int order(Text const& a, Text const& b) {
    int const prefix = prefixOrder(a, b);
    if (prefix != 0 || a.size() == b.size()) return prefix;
    return a.size() < b.size() ? -1 : 1;
  }
  static int sign(int value) { return (value > 0) - (value < 0); }
  static Text folded(Text const& text) { return Model::all(text, upper); }
  bool begins(Text const& prefix, typename Model::Fold fold) const {
    return !prefix.empty() &&
           Model::all(m.text, fold).compare(0, prefix.size(), Model::all(prefix, fold)) == 0;
  }
  bool ends(Text const& suffix) const {
    return !suffix.empty() && suffix.size() <= m.text.size() &&
           folded(m.part(m.size() - static_cast<int>(suffix.size()))) == folded(suffix);
  }
  int findLast(Unit c, int start) const {
    std::size_t const from = start >= 0 && start < m.size() ? std::size_t(start) : Text::npos;
    return static_cast<int>(m.text.rfind(c, from));
  }
  // Later candidates win, but one at position 0 ends it.
  int firstOcc(std::vector<Text> const& candidates, int& which) const {
    int held = which = -1;
    for (int i = 0; i < static_cast<int>(candidates.size()); ++i) {
      int const at = m.find(candidates[unsigned(i)], 0, upper);
      if (at < 0) continue;
      held = at, which = i;
      if (at == 0) break;
    }
    return held;
  }
  Text leftOf(Unit c, bool keep) const {
    int const at = m.find(c, 0, upper);
    if (at < 0) return m.text;
    if (at == 0) return keep ? Text() : Text(1, c);
    return m.part(0, at + (keep ? 1 : 0));
  }

  // --- the steps ---

  void step(int what) {
    switch (what) {
      case 0: {
        int const at = in.coin() ? position() : in.anyOrSmall<int>();
        auto const a = string();
        Text const before = array();
        s.insert(at, *a);
        if (at < 0)
          m.text = before.substr(0, N);
        else
          m.replaceAt(std::min(at, m.size()), 0, textOf(a));
        break;
      }
      case 1: {
        auto const a = string(), b = string();
        s.replace(*a, *b), m.replace(textOf(a), textOf(b), upper);
        break;
      }
      case 2: {
        auto const a = string(), b = string();
        s.replaceCaseSen(*a, *b), m.replace(textOf(a), textOf(b), same);
        break;
      }
      case 3: {
        auto const a = string();
        s.remove(*a), m.replace(textOf(a), {}, upper);
        break;
      }
      case 4: {
        auto const a = string();
        s.removeCaseSens(*a), m.replace(textOf(a), {}, same);
        break;
      }
      case 5: {
        int const at = position(), span = in.below(m.size() - at + 1);
        s.remove(at, span), m.replaceAt(at, span, {});
        break;
      }
      case 6: {
        Unit const c = unit();
        auto const copy = s.remove(c);
        m.replace(Text(1, c), {}, upper);
        is(copy, m.text);
        break;
      }
      case 7: {
        int const at = position(), span = in.below(m.size() - at + 1);
        is(s.mid(at, span), m.part(at, span));
        break;
      }
      case 8: {
        auto const a = string();
        Text const once = textOf(a);
        s.add(*a), m.put(once);
        break;
      }
      case 9: {
        auto const a = string();
        s += *a, m.appendLive(textOf(a));
        break;
      }
      case 10: {
        auto const a = string();
        int const at = in.coin() ? position() : in.anyOrSmall<int>() & 0x7FFFFFFF;
        expect(s.indexOf(*a, at) == m.find(textOf(a), at, upper));
        expect(s.indexOfCaseSen(*a, at) == m.find(textOf(a), at, same));
        break;
      }
      case 11: {
        Unit const c = unit();
        int const at = in.anyOrSmall<int>();
        expect(s.indexOf(c, at) == m.find(c, at, upper));
        expect(s.indexOfCaseSen(c, at) == m.find(c, at, same));
        expect(s.lastIndexOf(c, at) == findLast(c, at));
        break;
      }
      case 12: {
        Unit const c = unit();
        Model sum = m;
        sum.put(Text(1, c));
        is(s + c, sum.text);
        s += c, m = sum;
        break;
      }
      case 13: {
        auto const a = string();
        Model sum = m;
        sum.put(Text(textOf(a)));
        is(s + *a, sum.text);
        is(s.combined(*a), sum.text);
        break;
      }
      case 14: {
        auto const memory = exactly(units());
        s.add(memory.data(), static_cast<unsigned>(memory.size()));
        m.put(Text(memory.begin(), memory.end()));
        s.add(static_cast<Unit const*>(nullptr), 5u);
        break;
      }
      case 15: {
        auto const w = word();
        Model sum = m;
        sum.put(inUnits(low16(w.text), widenedWithZeros));
        is(s.combined(w), sum.text);
        break;
      }
      case 16: {
        Unit const c = unit();
        int const wanted = in.anyOrSmall<int>();
        int const made = wanted < 1 ? 0 : std::min(wanted & 0xFFFF, N);
        is(S::createCharString(c, wanted), Text(unsigned(made), c));
        break;
      }
      case 17:
      case 18: {
        auto const a = string();
        Text const& text = textOf(a);
        expect((s < *a) == (order(m.text, text) < 0));
        expect((s > *a) == (order(m.text, text) > 0));
        expect(sign(s.compare(*a)) == order(folded(m.text), folded(text)));
        expect(sign(s.compareSameCase(*a)) == prefixOrder(m.text, text));
        bool const equal = s.data[0] == (*a).data[0] && m.text == text;
        expect((s == *a) == equal && (s != *a) == !equal && s.isEqualSameCase(*a) == equal);
        expect(s.isEqual(*a) == (folded(m.text) == folded(text)));
        if (m.text.empty() && text.empty()) break;
        expect(s.isEqualUpperCaseInput(*a) == (folded(m.text) == text));
        expect(s.isEqualLowerCaseInput(*a) == (Model::all(m.text, lower) == text));
        break;
      }
      case 19: {
        Text text = in.coin() ? m.text : units();
        if (in.coin()) text = folded(text);
        auto memory = exactly(text);
        memory.reserve(1);  // the pointer must be one
        int const size = static_cast<int>(memory.size());
        expect(s.isEqual(memory.data(), size) == (folded(m.text) == folded(text)));
        expect(s.isEqualSameCase(memory.data(), size) == (m.text == text));
        break;
      }
      case 20: {
        auto const a = string(), b = string();
        int which = 7, wantedWhich;
        int const wanted = firstOcc({textOf(a), textOf(b)}, wantedWhich);
        expect(s.indexOfFirstOcc(*a, *b, &which) == wanted && which == wantedWhich);
        expect(s.indexOfFirstOcc(*a, *b, nullptr) == wanted);
        break;
      }
      case 21: {
        auto const a = string(), b = string(), c = string(), d = string();
        int which = 7, wantedWhich;
        int const wanted = firstOcc(
            {textOf(a), textOf(b), textOf(c), textOf(d), textOf(a), textOf(c)}, wantedWhich);
        expect(s.indexOfFirstOcc(*a, *b, *c, *d, *a, *c, &which) == wanted && which == wantedWhich);
        break;
      }
      case 22: {
        char const c = character();
        Text const exact = m.text, fold = folded(m.text);
        expect(s.countCaseSen(c) == std::count(exact.begin(), exact.end(), widened(c)));
        expect(s.count(c) == std::count(fold.begin(), fold.end(), upper(widened(c))));
        break;
      }
      case 23: {
        auto const w = word();
        Text const needle = cutWord(w);
        expect(s.contains(w) == (m.find(needle, 0, upper) >= 0));
        expect(s.containsCaseSen(w) == (m.find(needle, 0, same) >= 0));
        Model const fold{N, folded(m.text)};
        expect(s.containsUpperCaseInput(w) == (fold.find(needle, 0, same) >= 0));
        char const* const none = nullptr;
        expect(!s.contains(none) && !s.containsCaseSen(none) && !s.containsUpperCaseInput(none));
        break;
      }
      case 24: {
        auto const a = string();
        Unit const c = unit();
        expect(s.contains(*a) == (m.find(textOf(a), 0, upper) >= 0));
        expect(s.contains(c) == (m.find(c, 0, upper) >= 0));
        expect(s.containsCaseSen(*a) == (m.find(textOf(a), 0, same) >= 0));
        Model const fold{N, folded(m.text)};
        expect(s.containsUpperCaseInput(*a) == (fold.find(textOf(a), 0, same) >= 0));
        break;
      }
      case 25: {
        auto const w = word();
        Text const needle = cutWord(w);
        expect(s.startsWith(w) == begins(needle, upper));
        expect(s.endsWith(w) == ends(needle));
        char const* const none = nullptr;
        expect(!s.startsWith(none) && !s.endsWith(none));
        break;
      }
      case 26: {
        auto const a = string();
        Unit const c = unit();
        expect(s.startsWith(*a) == begins(textOf(a), upper));
        expect(s.startsWithCaseSen(*a) == begins(textOf(a), same));
        expect(s.endsWith(*a) == ends(textOf(a)));
        expect(s.startsWith(c) == (m.size() > 0 && m.text.front() == c));
        expect(s.endsWith(c) == (m.size() > 0 && m.text.back() == c));
        break;
      }
      case 27: {
        auto const w = word();
        int const taken = in.below(w.size() + 1);
        Text const needle = inUnits(w.text.substr(0, unsigned(taken)));
        expect(s.startsWith(w, taken) == (taken <= m.size() && begins(needle, upper)));
        break;
      }
      case 28: {
        auto const w = word();
        int const guard = in.coin() ? w.size() : in.anyOrSmall<int>();
        bool const mayBe = m.size() > 0 && guard != 0 && guard <= m.size();
        Text const needle = cutWord(w);
        expect(s.endsWith(w, guard) == (mayBe && (needle.empty() || ends(needle))));
        break;
      }
      case 29:
        s.makeUpper(), m.text = folded(m.text);
        break;
      case 30:
        s.makeLower(), m.text = Model::all(m.text, lower);
        break;
      case 31: {
        s.trim();
        constexpr Unit kWhite[] = {0, 9, 10, 13, 32};
        m.text.erase(m.text.find_last_not_of(kWhite, Text::npos, 5) + 1);
        m.text.erase(0, std::min(m.text.size(), m.text.find_first_not_of(kWhite, 0, 5)));
        break;
      }
      case 32: {
        Unit const from = unit(), to = unit();
        s.replace(from, to);
        std::replace_if(
            m.text.begin(), m.text.end(), [&](Unit c) { return upper(c) == upper(from); }, to);
        break;
      }
      case 33: {
        int const at = in.anyOrSmall<int>() & 0x7FFFFFFF, span = in.anyOrSmall<int>();
        Text const before = array();
        S const piece = s.mid(at, span);
        unsigned const taken = std::min(static_cast<unsigned>(span), unsigned(N));
        expect(piece.length == taken && piece.data[taken] == 0);
        Text const there = at <= N ? before.substr(unsigned(at), taken) : Text();
        expect(textOf(piece).compare(0, there.size(), there) == 0);
        break;
      }
      case 34: {
        int const wanted = in.anyOrSmall<int>();
        is(s.left(wanted), wanted < 0 ? array().substr(0, N) : m.part(0, wanted));
        break;
      }
      case 35: {
        Unit const c = unit();
        bool const keep = in.coin();
        is(s.left(c, keep), leftOf(c, keep));
        break;
      }
      case 36: {
        Unit const c = unit();
        bool const keep = in.coin();
        Text const taken = leftOf(c, keep);
        int const at = m.find(c, 0, upper);
        is(s.leftNCut(c, keep), taken);
        m.text = at < 0 ? Text() : m.part(at + 1);
        break;
      }
      case 37:
        s.clear(), m.text.clear();
        expect(array() == Text(N + 1, 0));
        break;
      case 38: {
        s.clearUnused();
        Text zeros(N + 1, 0);
        expect(array() == m.text + zeros.substr(m.text.size()));
        break;
      }
      case 39: {
        auto const wanted = in.anyOrSmall<short>();
        s.setLength(wanted);
        m.text = array().substr(0, unsigned(std::clamp<int>(wanted, 0, N)));
        expect(s.data[m.text.size()] == 0);
        break;
      }
      case 40: {
        s.data[in.below(N + 1)] = unit();
        Text const written = array().substr(0, N);
        s.calcLength();
        m.text = written.substr(0, written.find(Unit(0)));
        expect(s.data[m.text.size()] == 0);
        break;
      }
      case 41:  // Nothing catches a range outside of the text, but the end of the array.
        s.remove(in.anyOrSmall<int>(), in.anyOrSmall<int>());
        s.clear(), m.text.clear();
        break;
      case 48: {
        auto const w = word();
        s = w, m.text = cut(zeros(w.text));
        break;
      }
      case 49: {
        Unit const c = unit();
        s = c, m.text = Text(1, static_cast<Unit>(c & 0xFF));
        break;
      }
      case 50: {
        auto const w = word();
        s.add(w), m.put(zeros(low16(w.text)));
        s.add(static_cast<char const*>(nullptr));
        break;
      }
      case 51: {
        auto const w = word();
        int const width = in.anyOrSmall<int>();
        s.addSpacingC(w, width), m.addColumn(zeros(low16(w.text)), width);
        break;
      }
      case 52: {
        auto const value = in.anyOrSmall<long long>();
        auto const width = in.number<signed char>();
        s.addNrSpacing(value, width), m.addColumn(zeros(std::to_string(value)), width);
        break;
      }
      case 53: {
        auto const w = word();
        int const taken = in.below(w.size() + 1);
        Text const needle = cut(inUnits(w.text.substr(0, unsigned(taken))));
        expect(s.containsCaseSen(w, taken) == (m.find(needle, 0, same) >= 0));
        break;
      }
      default: {  // a text to begin with
        auto const a = string();
        if (a.other != nullptr) s = *a, m.text = a.otherText;
        break;
      }
    }
  }

  // A conversion can leave a length above the capacity, which then counts as the capacity. What
  // returns a copy hands it on, so only edits and searches are tried so.
  void maybeTooLong(int what) {
    if (what >= 1 && what <= 11 && what != 6 && m.size() == N && in.byte() >= 192)
      s.length = static_cast<unsigned short>(N + 1 + in.byte());
  }
  void check() {
    s.length = static_cast<unsigned short>(std::min<int>(s.length, N));
    expect(s.length == m.text.size() && textOf(s) == m.text);
    expect(s.isEmpty() == m.text.empty() && s.hasData() != s.isEmpty());
    expect(s.isEmpty() || s.data[s.length] == 0);
  }
};

// Runs an input: shared steps, and `Steps::ownStep` for those behind them.
template <class Steps>
void runSteps(fuzz_input& in) {
  Steps steps{{in}};
  while (in.left > 0) {
    int const what = in.byte() % (Steps::kSharedSteps + Steps::kOwnSteps);
    if (what < Steps::kSharedSteps) {
      steps.maybeTooLong(what);
      steps.step(what);
    } else {
      steps.ownStep(what - Steps::kSharedSteps);
    }
    steps.check();
  }
}

// The same for one of several strings; the input chooses which.
template <class... Steps>
void runOneOf(fuzz_input& in) {
  int chosen = in.below(static_cast<int>(sizeof...(Steps)));
  ((chosen-- == 0 ? runSteps<Steps>(in) : void()), ...);
}

#endif  // QZ_FUZZ_TEXT_STEPS_H_
