#include "data/data_buffer_header.h"

#include <type_traits>

static_assert(sizeof(_QZ_DataBuffer_Header) == 32);
static_assert(std::is_trivially_copyable_v<_QZ_DataBuffer_Header>);

namespace {

constexpr int kTextFormLength = 64;

// Takes the text form apart from the front. After a field that cannot be read no other is touched.
struct field_reader {
  _qzString8_allSize<200>& rest;
  bool good = true;

  template <class Field>
  field_reader& operator>>(Field& field) {
    if (!good) return *this;
    long long const value = rest.toIntFromHex(8 * static_cast<int>(sizeof(Field)),
                                              std::is_signed_v<Field>, true, &good);
    // Required: stored before anyone looks whether it could be read.
    if constexpr (std::is_same_v<Field, bool>)
      field = value > 0;
    else
      field = static_cast<Field>(value);
    return *this;
  }
};

}  // namespace

void _QZ_DataBuffer_Header::headerClear() { *this = {}; }

_qzString8_allSize<200> _QZ_DataBuffer_Header::headerAsString() const {
  _qzString8_allSize<200> text;
  text.addHexCode(headerWord0);
  text.addHexCode(dataSize);
  text.addHexCode(headerWord2);
  text.addHexCode(sizeField);
  text.addHexCode(headerWord4);
  text.addHexCode(headerWord5);
  text.addHexCode(readPosition);
  text.addHexCode(static_cast<std::uint8_t>(isEncoded ? 255 : 0));
  text.addHexCode(encodedForm);
  text.addHexCode(headerByte2);
  text.addHexCode(headerByte3);
  return text;
}

bool _QZ_DataBuffer_Header::headerFromString(_qzString8_allSize<200> text) {
  if (text.length != kTextFormLength) return false;
  field_reader reader{text};
  reader >> headerWord0 >> dataSize >> headerWord2 >> sizeField >> headerWord4 >> headerWord5 >>
      readPosition >> isEncoded >> encodedForm >> headerByte2 >> headerByte3;
  return reader.good;
}
