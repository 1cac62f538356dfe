// Every editing and searching member of the 8-bit string beside a plain model.
#include "strings/string8.h"

#include "fuzz/string8_steps.h"

namespace {

template <int N>
struct steps8 : string8_steps<_qzString8_allSize<N>> {
  using S = _qzString8_allSize<N>;
  using base = string8_steps<S>;
  using base::array, base::in, base::is, base::m, base::s, base::unit, base::word, base::cut;
  static constexpr int kOwnSteps = base::kOwnSteps + 11;

  static std::string hex(char const* format, unsigned value) {
    char text[16];
    std::snprintf(text, sizeof text, format, value);
    return std::string(text).substr(0, unsigned(N));
  }
  static std::string lastTwo(std::string const& text) { return text.substr(text.size() - 2); }

  void addHex() {
    int const value = in.template anyOrSmall<int>();
    auto const byte = static_cast<signed char>(value);
    auto const half = static_cast<short>(value);
    switch (in.byte() % 6) {
      case 0:
        s.addHexCode(byte), m.put(lastTwo(hex("%02X", unsigned(int(byte)))));
        break;
      case 1:
        s.addHexCode(static_cast<unsigned char>(value));
        m.put(lastTwo(hex("%02X", static_cast<unsigned char>(value))));
        break;
      case 2:
        s.addHexCode(half), m.put(hex("%04X", unsigned(int(half))));
        break;
      case 3:
        s.addHexCode(static_cast<unsigned short>(value));
        m.put(hex("%04X", static_cast<unsigned short>(value)));
        break;
      case 4:
        s.addHexCode(value), m.put(hex("%08X", unsigned(value)));
        break;
      default:
        s.addHexCode(unsigned(value)), m.put(hex("%08X", unsigned(value)));
        break;
    }
  }
  void readHex() {
    int const bits = in.coin() ? in.byte() : in.template number<int>();
    bool const withSign = in.coin(), consume = in.coin();
    int const digits = std::clamp(bits / 4, 0, N);
    std::string const field = array().substr(0, unsigned(digits)).c_str();
    long long wanted = std::strtoll(field.c_str(), nullptr, 16);
    bool ok = false, wantedOk = true;
    if (withSign) {
      unsigned value = 0;
      wantedOk =
          std::sscanf(field.c_str(), "%X", &value) == 1 && (bits == 8 || bits == 16 || bits == 32);
      wanted = bits == 8    ? static_cast<signed char>(value)
               : bits == 16 ? static_cast<short>(value)
                            : static_cast<int>(value);
    }
    expect(s.toIntFromHex(bits, withSign, consume, &ok) == (wantedOk ? wanted : 0));
    expect(ok == wantedOk);
    if (consume) m.text = m.part(std::min(digits, m.size()));
  }
  void readNumber() {
    std::string const shown = array().c_str();
    bool const good = base::isNumber();
    bool ok = !good, ok64 = !good;
    int const value = static_cast<int>(std::strtol(shown.c_str(), nullptr, 10));
    long long const value64 = std::strtoll(shown.c_str(), nullptr, 10);
    expect(s.toInt() == value && s.toInt(&ok) == (good ? value : 0) && ok == good);
    expect(s.toInt64() == value64 && s.toInt64(&ok64) == (good ? value64 : 0) && ok64 == good);
  }
  void appendNumber() {
    auto const value = in.template anyOrSmall<long long>();
    auto const least = static_cast<unsigned char>(in.byte());
    int const small = static_cast<int>(value);
    switch (in.byte() % 5) {
      case 0:
        s.addNr(small), m.put(std::to_string(small));
        break;
      case 1:
        s.addNr(value), m.put(std::to_string(value));
        break;
      case 2: {
        auto const large = static_cast<unsigned long long>(value);
        s.addNr(large), m.put(std::to_string(large));
        break;
      }
      case 3:
        s.addNr(small, least), m.put(base::padded(std::to_string(small), least));
        break;
      default:
        s.addNr(value, least), m.put(base::padded(std::to_string(value), least));
        break;
    }
    is(S::fromNr(value), std::to_string(value).substr(0, unsigned(N)));
  }

  void ownStep(int what) {
    if (what < base::kOwnSteps) return base::ownStep(what);
    switch (what - base::kOwnSteps) {
      case 0: {
        auto const w = word();
        int const count = base::countIn(w);
        is(S(w), cut(w.text));
        is(S(w, count), base::cutAt(w, count));
        s.fromChar(w, count), m.text = base::cutAt(w, count);
        break;
      }
      case 1:
        s.fromChar(nullptr, in.byte()), m.text.clear();
        break;
      case 2: {
        // Units whose low bytes make the text.
        std::vector<unsigned short> units;
        std::string low;
        for (int left = in.below(40); left > 0; --left)
          if (auto const each = in.template number<unsigned short>(); each != 0)
            units.push_back(each);
        for (int left = in.byte() == 255 ? 1100 : 0; left > 0; --left) units.push_back('x');
        for (auto const each : units) low += static_cast<char>(each & 0xFF);
        units.push_back(0);
        auto const memory = exactly(units);
        is(S(memory.data()), low.substr(0, std::min<unsigned>(1024, N)));
        expect(qzCharLen(memory.data()) == std::min<int>(static_cast<int>(low.size()), 1024));
        break;
      }
      case 3: {
        auto const w = word();
        _qzString8_allSize<250> const large(w);
        s = large.asUni(), m.text = cut(std::string(large.data, large.length));
        is(S(s.asUni()), m.text);
        break;
      }
      case 4: {
        auto const w = word();
        s = w.text, m.text = cut(w.text);
        break;
      }
      case 5: {
        auto const wide = in.template number<unsigned short>();
        int const at = in.template anyOrSmall<int>();
        char const low = static_cast<char>(wide & 0xFF);
        expect(s.indexOf(wide, at) == m.find(low, at, base::same));
        expect(s.lastIndexOf(wide, at) == base::findLast(low, at));
        s += wide, m.put(std::string(1, low));
        break;
      }
      case 6:
        appendNumber();
        break;
      case 7:
        addHex();
        break;
      case 8:
        readHex();
        break;
      case 9:
        readNumber();
        break;
      default: {  // digits to read
        std::string digits;
        for (int left = in.byte() % 24; left > 0; --left)
          digits += "-0123456789ABCDEFabcdefx "[in.byte() % 25];
        s = digits, m.text = cut(digits);
        break;
      }
    }
  }
};

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t size) {
  fuzz_input in{bytes, size};
  runOneOf<steps8<6>, steps8<7>, steps8<25>, steps8<200>>(in);  // the last for searches in blocks
  return 0;
}
