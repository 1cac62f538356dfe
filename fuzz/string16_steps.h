// The steps of the members that all 16-bit strings have, whatever their layout.
#ifndef QZ_FUZZ_STRING16_STEPS_H_
#define QZ_FUZZ_STRING16_STEPS_H_

#include "fuzz/text_steps.h"

template <class S>
struct string16_steps : text_steps<S> {
  using base = text_steps<S>;
  using Unit = unsigned short;
  using base::N, base::in, base::inUnits, base::is, base::low16, base::m, base::padded, base::s;
  using base::widened, base::word, base::zeros;
  using typename base::Text;
  static constexpr int kOwnSteps = 10;

  // Units up to a zero, in a memory of their own; at times more than the 1024 that count.
  struct pointed_type {
    std::vector<Unit> memory;
    Text text;
    operator Unit const*() const { return memory.data(); }
  };
  pointed_type pointed() {
    std::vector<Unit> all;
    for (Unit const c : base::units())
      if (c != 0) all.push_back(c);
    if (in.byte() == 255) all.resize(1030, 'b');
    Text const text(all.begin(), all.begin() + std::min<std::ptrdiff_t>(std::ssize(all), 1024));
    all.push_back(0);
    return {exactly(all), text};
  }
  static std::string lowBytes(Text const& text, int most) {
    std::string low;
    for (int i = 0; i < std::min(static_cast<int>(text.size()), most); ++i)
      low += static_cast<char>(text[unsigned(i)] & 0xFF);
    return low;
  }
  template <int M>
  void checkNarrowed(_qzString8_allSize<M> const& text) {
    std::string const low = lowBytes(m.text, M - 1);
    expect(text.length == m.text.size() && std::string(text.data, low.size()) == low);
    expect(text.data[low.size()] == 0);
  }

  void ownStep(int what) {
    char const* const none = nullptr;
    Unit const* const noUnits = nullptr;
    switch (what) {
      case 0:
        s = none, s = nullptr;  // changes nothing
        break;
      case 1: {
        auto const p = pointed();
        s = p, m.text = p.text.substr(0, N);
        break;
      }
      case 2: {
        s = noUnits, m.text.clear();
        expect(!(s == none) && !(s == noUnits) && !(s == nullptr));
        break;
      }
      case 3: {
        auto const p = pointed();
        s += p, m.put(p.text);
        s += noUnits;
        break;
      }
      case 4: {
        auto const w = word();
        s += w, m.put(inUnits(low16(w.text)));
        s += none;
        break;
      }
      case 5: {
        char const c = base::character();
        text_model<Unit> sum = m;
        sum.put(Text(1, widened(c)));
        is(s + c, sum.text);
        bool const isAscii = static_cast<signed char>(c) >= 0;
        expect(s.endsWith(c) == (isAscii && m.size() > 0 && m.text.back() == widened(c)));
        s += c, m = sum;
        break;
      }
      case 6: {
        // Blanks that don't fit are the caller's to prevent.
        auto const p = pointed();
        int const room = N - m.size(), width = in.below(2 * room + 1) - room;
        s.addSpacing(p, width), m.addColumn(zeros(lowBytes(p.text, 1024)), width);
        break;
      }
      case 7: {
        auto const value = in.template anyOrSmall<long long>();
        auto const least = static_cast<unsigned char>(in.byte());
        if (in.coin())
          s.addNr(value), m.put(zeros(std::to_string(value)));
        else  // 20 digits at most
          s.addNr(value, least), m.put(zeros(padded(std::to_string(value), least).substr(0, 20)));
        is(S::fromNr(value), zeros(std::to_string(value)).substr(0, N));
        break;
      }
      case 8: {
        auto const w = word();
        expect(s.startsWithCaseSen(w) == base::begins(base::cutWord(w), base::same));
        // The 8-bit form does not test for a null text with a count.
        expect(!s.startsWithCaseSen(none) && !s.containsCaseSen(none, w.size()));
        expect(s.indexOf(w) == m.find(base::cutWord(w), 0, base::upper));
        bool const equal = low16(w.text.size()) == m.text.size() &&
                           zeros(w.text).compare(0, m.text.size(), m.text) == 0;
        expect((s == static_cast<char const*>(w)) == equal);
        auto const p = pointed();
        // The first half of the units, and of an odd number a byte of the one in the middle.
        bool const half = p.text.size() == m.text.size() &&
                          std::memcmp(p.text.data(), m.text.data(), m.text.size()) == 0;
        expect((s == static_cast<Unit const*>(p)) == half);
        break;
      }
      case 9: {
        bool const good = base::isNumber();
        bool ok = !good;
        std::string const digits = lowBytes(m.text, 249).c_str();
        int const value = static_cast<int>(std::strtol(digits.c_str(), nullptr, 10));
        expect(s.toInt() == value && s.toInt(&ok) == (good ? value : 0) && ok == good);
        checkNarrowed(s.to_qzString8_250());
        checkNarrowed(s.to_qzString8_500());
        int const size = in.byte();
        std::vector<char> buffer(unsigned(size == 0 ? m.size() + 1 : size));
        s.toChar(buffer.data(), static_cast<unsigned short>(size));
        std::string const low = lowBytes(m.text, size == 0 ? 65534 : size - 1);
        expect(std::string(buffer.data(), low.size()) == low && buffer[low.size()] == 0);
        break;
      }
    }
  }
};

#endif  // QZ_FUZZ_STRING16_STEPS_H_
