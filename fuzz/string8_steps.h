// The steps of the members that all 8-bit strings have, whatever their layout.
#ifndef QZ_FUZZ_STRING8_STEPS_H_
#define QZ_FUZZ_STRING8_STEPS_H_

#include "fuzz/text_steps.h"

template <class S>
struct string8_steps : text_steps<S> {
  using base = text_steps<S>;
  using base::N, base::in, base::m, base::s, base::word, base::low16;
  static constexpr int kOwnSteps = 4;

  void ownStep(int what) {
    char const* const none = nullptr;
    switch (what) {
      case 0:
        s = none, m.text.clear();
        expect(s != none && !(s == none));
        break;
      case 1: {
        auto const w = word();
        s += w, m.put(low16(w.text));
        s += none;
        break;
      }
      case 2: {
        // Blanks that don't fit are the caller's to prevent.
        auto const w = word();
        int const room = N - m.size(), width = in.below(2 * room + 1) - room;
        s.addSpacing(w, width), m.addColumn(low16(w.text), width);
        break;
      }
      case 3: {
        auto const w = word();
        bool const begins = !w.text.empty() && m.text.compare(0, w.text.size(), w.text) == 0;
        expect(s.startsWithCaseSen(w) == begins && !s.startsWithCaseSen(none));
        bool const equal = s.data[0] == w[0] && low16(w.text.size()) == m.text.size() &&
                           w.text.compare(0, m.text.size(), m.text) == 0;
        expect((s == static_cast<char const*>(w)) == equal);
        break;
      }
    }
  }
};

#endif  // QZ_FUZZ_STRING8_STEPS_H_
