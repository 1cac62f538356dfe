// Taking what is stored in the earlier layouts, whatever it is, over into the new forms, and
// working with what comes of it.
#include <memory>

#include "fuzz/input.h"
#include "strings/legacy.h"

namespace {

// The fields as somebody stored them: any units, any length.
template <class Old>
Old anyStored(fuzz_input& in) {
  using Unit = typename Old::unit;
  Old old;
  for (Unit& each : old.data) each = in.number<Unit>();
  int const size = in.byte();
  old.length = size < 128 ? static_cast<unsigned short>(size % (Old::kCapacity + 2))
                          : in.number<unsigned short>();
  return old;
}

template <class New, class Old>
bool isTakenOver(New const& text, Old const& old, bool ends) {
  constexpr int N = Old::kCapacity;
  if (text.length != old.length) return false;
  for (int i = 0; i < N; ++i)
    if (text.data[i] != old.data[i] && !(ends && i == old.length)) return false;
  return !ends || old.length > N || text.data[old.length] == 0;
}

// The text that stood there before must not show, except behind the last character.
template <class New, class Old>
void takeOver8(fuzz_input& in) {
  auto const old = std::make_unique<Old>(anyStored<Old>(in));
  auto const text = std::make_unique<New>(*old);
  expect(isTakenOver(*text, *old, true));
  auto const assigned = std::make_unique<New>("####################");
  char const last = assigned->data[Old::kCapacity];
  *assigned = *old;
  expect(isTakenOver(*assigned, *old, false) && assigned->data[Old::kCapacity] == last);
  bool const equal = *text == *old;
  expect(equal == (*text == *text));
  // Of a length that no capacity holds only what is there is read.
  (void)assigned->indexOf('#', 0);
  (void)text->compare(*assigned);
  *text += *assigned;
  text->trim();
  text->makeUpper();
}

template <class New, class Old>
void takeOver16(fuzz_input& in) {
  auto const old = std::make_unique<Old>(anyStored<Old>(in));
  auto const text = std::make_unique<New>(*old);
  expect(isTakenOver(*text, *old, true));
  auto const assigned = std::make_unique<New>("##########");
  *assigned = *old;
  expect(isTakenOver(*assigned, *old, true));
  auto const narrow = std::make_unique<_qzString8_allSize<250>>(old->to_qzString8_250());
  expect(narrow->length == old->length);
  (void)text->compare(*assigned);
  (void)old->toInt();
  *text += *assigned;
  text->trim();
  text->makeUpper();
}

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t size) {
  fuzz_input in{bytes, size};
  switch (in.byte() % 4) {
    case 0:
      takeOver8<_qzString8_allSize<20>, _qzString8_evenSize_old<20>>(in);
      break;
    case 1:
      takeOver8<_qzString8_allSize<15>, _qzString8_UnevenSize_old<15>>(in);
      break;
    case 2:
      takeOver8<_qzString8_allSize<15>, _qzString8_evenSize_old<15>>(in);
      break;
    default:
      takeOver16<_qzString<25>, _qzString_old<25>>(in);
      break;
  }
  return 0;
}
