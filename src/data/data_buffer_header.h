// The description that travels with a block of data: eleven fixed fields, and a text form of 64
// hexadecimal characters, which is a stored format (docs/formats.md has it with an example).
//
// Only some fields have a use in this system; the others are carried as they are. Nothing here
// allocates, throws or reports beyond a bool. A header belongs to one thread at a time.
#ifndef QZ_DATA_DATA_BUFFER_HEADER_H_
#define QZ_DATA_DATA_BUFFER_HEADER_H_

#include <cstdint>

#include "strings/string8.h"

struct _QZ_DataBuffer_Header {
  std::uint32_t headerWord0 = 0;   // carried only
  std::int32_t dataSize = 0;       // valid bytes in the buffer
  std::int32_t headerWord2 = 0;    // carried only
  std::int32_t sizeField = 0;      // a second byte count; a clone behind a gap moves it as well
  std::uint32_t headerWord4 = 0;   // carried only
  std::uint32_t headerWord5 = 0;   // carried only
  std::uint32_t readPosition = 0;  // offset of the next read, in bytes
  bool isEncoded = false;          // the data is in an encoded text form
  std::uint8_t encodedForm = 1;    // the kind of form; 3 and 4 are base-85 text
  std::uint8_t headerByte2 = 0;    // carried only
  std::uint8_t headerByte3 = 0;    // carried only

  // Sets all fields to their defaults.
  void headerClear();

  // Returns the text form: 64 capital hexadecimal characters, the fields in their order, the most
  // significant digit first.
  _qzString8_allSize<200> headerAsString() const;

  // Fills the fields from a text form, in either case. False, with nothing changed, if `text` does
  // not have 64 characters. False, too, if one of the three signed numbers does not begin with a
  // digit: it is 0 then, the fields in front of it are new, those behind it are not. The others
  // take the digits at their start and 0 without any, and no sign or prefix is refused: they are
  // read as strtoll(3) reads them, the signed ones as "%X" of sscanf(3).
  bool headerFromString(_qzString8_allSize<200> text);
};

#endif  // QZ_DATA_DATA_BUFFER_HEADER_H_
