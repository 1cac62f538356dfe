// Every editing and searching member of the 16-bit string beside a plain model.
#include "strings/string16.h"

#include "fuzz/string16_steps.h"

namespace {

template <int N>
struct steps16 : string16_steps<_qzString<N>> {
  using S = _qzString<N>;
  using base = string16_steps<S>;
  using base::in, base::is, base::m, base::s, base::word, base::zeros;
  using typename base::Text;
  static constexpr int kOwnSteps = base::kOwnSteps + 5;

  void ownStep(int what) {
    if (what < base::kOwnSteps) return base::ownStep(what);
    switch (what - base::kOwnSteps) {
      case 0: {
        auto const w = word();
        int const count = base::countIn(w);
        is(S(static_cast<char const*>(w)), base::cutWord(w));
        is(S(w, count), base::inUnits(base::cutAt(w, count)));
        char const c = base::character();
        is(S(c), Text(1, base::widened(c)));
        bool const equal = s == static_cast<char const*>(w);
        expect((s != static_cast<char const*>(w)) == !equal && !(s != nullptr));
        break;
      }
      case 1: {
        auto const p = base::pointed();
        is(S(static_cast<unsigned short const*>(p)), p.text.substr(0, N));
        is(S(p.memory.data(), static_cast<int>(p.text.size())), base::cut(p.text));
        break;
      }
      case 2: {
        // A source of any capacity that fits.
        auto const p = base::pointed();
        _qzString<500> const large(p.memory.data(), static_cast<int>(base::cut(p.text).size()));
        s = large.asUni(), m.text = base::cut(p.text);
        is(S(large.asUni()), m.text);
        break;
      }
      case 3: {
        auto const w = word();
        _qzString8_allSize<250> const narrow(w);
        std::string const text(narrow.data, narrow.length);
        is(S(narrow.asUni()), base::cut(base::inUnits(text)));
        s = w.text, m.text = base::cutWord(w);
        break;
      }
      default: {
        auto const value = in.template anyOrSmall<long long>();
        auto const large = static_cast<unsigned long long>(value);
        switch (in.byte() % 4) {
          case 0:
            s.addNr(large), m.put(zeros(std::to_string(large)));
            break;
          case 1:
            s.addNr(static_cast<int>(value)), m.put(zeros(std::to_string(int(value))));
            break;
          case 2:
            s.addNr(unsigned(value)), m.put(zeros(std::to_string(unsigned(value))));
            break;
          default: {
            auto const byte = static_cast<unsigned char>(value);
            s.addNr(byte), m.put(zeros(std::to_string(byte)));
          }
        }
        break;
      }
    }
  }
};

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t size) {
  fuzz_input in{bytes, size};
  // The last is longer than an 8-bit copy.
  runOneOf<steps16<10>, steps16<15>, steps16<30>, steps16<500>>(in);
  return 0;
}
