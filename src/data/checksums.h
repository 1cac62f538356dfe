// The system's four check values over a byte range, and the pieces of the 32-bit one. Stored values
// compare only with values of the same function; nothing converts between them. The names are those
// of the catalogue of parametrised CRC algorithms (reveng.sourceforge.io/crc-catalogue), each with
// its check value, the result for the nine ASCII bytes "123456789".
//
// Nothing here fails, reports or tests a pointer. The 32-bit table is process-wide state, built on
// first use without a guard: the first qzCRCCalc, and every qzCRCInitialize, must not run beside
// another use of the table.
#ifndef QZ_DATA_CHECKSUMS_H_
#define QZ_DATA_CHECKSUMS_H_

#include <array>
#include <cstdint>

// The byte-wise table of the 32-bit CRC, reflected: all zero until it is built.
extern unsigned int qzCRCulTable[256];
// Whether the table is built. Never set back to false.
extern bool qzCRCulTableInitialized;
// The byte-wise table of the 64-bit CRC, reflected.
extern std::array<std::uint64_t, 256> const crctab64;
// The byte-wise table of the 16-bit CRC, most significant bit first.
extern std::array<std::uint16_t, 256> const crc16tab;

// Returns the low `bits` bits of `value` in reverse order, without the higher ones. Zero and
// negative counts give 0, a count above 32 counts as 32.
unsigned int qzCRCReflect(unsigned int value, char bits);

// Builds qzCRCulTable; a table that is built already is cleared and built again.
void qzCRCInitialize();

// Folds `count` bytes into the running value of the 32-bit CRC, which starts as 0xFFFFFFFF; its
// inverse at the end is what qzCRCCalc gives. The table must have been built: without it every byte
// just shifts the value right by 8 bits, and nothing tells.
void qzCRCPartial(unsigned int* crc, unsigned char const* bytes, unsigned int count);

// CRC-32/ISO-HDLC (IEEE 802.3) of `count` bytes; "123456789" gives 0xCBF43926. No bytes give 0.
// Builds the table on first use, also if there are no bytes.
unsigned int qzCRCCalc(unsigned char const* bytes, unsigned int const& count);

// CRC-64/REDIS (the Jones polynomial, 0xAD93D23594C935A9) of `count` bytes; "123456789" gives
// 0xE9C6D914C4B8D9CA. No bytes give 0.
std::uint64_t qzCRCCalc64(void const* bytes, unsigned long count);

// CRC-16/XMODEM (0x1021, starting with 0) of `count` bytes; "123456789" gives 0x31C3. No bytes
// give 0.
std::uint16_t qzCRCCalc16(unsigned char const* bytes, unsigned long count);

// The exclusive-or of `count` bytes; "123456789" gives 0x31. With `everySecondByte` these are the
// bytes at offsets 0, 2, 4 and so on, and the odd ones are not read: the low bytes of `count`
// 16-bit characters.
std::uint8_t qzCRCCalc8(unsigned char const* bytes, unsigned long count, bool everySecondByte);

#endif  // QZ_DATA_CHECKSUMS_H_
