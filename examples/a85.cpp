// Turns any file or pipe into base-85 text and back, with flat memory. What the library leaves to
// its callers is settled here: how bytes become words, and how the true length travels (printHelp
// tells). Encoding starts at encode(), decoding at decodePart().
#include "data/a85.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "command_line.h"
#include "data/checksums.h"
#include "data/data_buffer.h"
#include "tool/system_services.h"

namespace {

constexpr int kChunkBytes = 1 << 18;               // read at once; a whole number of words
constexpr int kPipePartBytes = 1 << 20;            // data in a part when the length is not known
constexpr int kMostPartBytes = QZ_MaxBufferBytes;  // so that a part fits into a buffer
constexpr int kHeaderLength = 64;
constexpr int kLineLength = 100;
constexpr int kMarkLength = sizeof qzA85_StartEnd - 1;
// The text of a chunk, of a check word, and the line begun before, with their line ends.
constexpr int kTextChars = kChunkBytes / 4 * 5 + 5 + kLineLength;
constexpr int kTextRoom = kTextChars + 2 * (kTextChars / kLineLength) + 72;

struct options {
  bool onlyHelp = false;
  bool marks = false;
  char const* command = nullptr;
  char const* input = nullptr;  // null for standard input and output
  char const* output = nullptr;
};

struct open_files {
  int input = STDIN_FILENO;
  int output = STDOUT_FILENO;
  char const* inputName = "standard input";
  char const* outputName = "standard output";
  std::int64_t inputBytes = 0;  // what a regular file still holds, else 0
};

bool readOptions(int argc, char** argv, options& chosen);
void printHelp();
bool openFiles(options const& chosen, open_files& files);
bool explain(char const* what, char const* name);
void showProgress(open_files const& files, std::int64_t bytes);
void clearProgress();

// Reads until `count` bytes are there or the input ends. Returns how many, -1 after a failure that
// has been explained.
int readBytes(open_files const& files, char* target, int count) {
  int have = 0;
  while (have < count) {
    auto const got = read(files.input, target + have, static_cast<std::size_t>(count - have));
    if (got == 0) break;
    if (got > 0) have += static_cast<int>(got);
    if (got < 0 && errno != EINTR) return explain("read", files.inputName), -1;
  }
  return have;
}

bool writeBytes(open_files const& files, char const* bytes, std::ptrdiff_t count) {
  while (count > 0) {
    auto const put = write(files.output, bytes, static_cast<std::size_t>(count));
    if (put < 0 && errno != EINTR) return explain("write to", files.outputName);
    if (put > 0) bytes += put, count -= put;
  }
  return true;
}

// --- encoding ---

unsigned int wordOf(char const* bytes) {
  unsigned int word = 0;
  for (int i = 0; i < 4; ++i)
    word |= static_cast<unsigned int>(static_cast<unsigned char>(bytes[i])) << (8 * i);
  return word;
}

struct encoder {
  open_files const& files;
  bool marks;
  _QZ_DataBuffer text{};          // always plain text between two calls, less than a line
  unsigned int crc = 0xFFFFFFFF;  // of all parts, so that none can be lost between others
  std::int64_t bytesDone = 0;

  char* end() { return text.data + text.dataSize; }

  bool writeMark() {
    return writeBytes(files, "\r\n", 2) && writeBytes(files, qzA85_StartEnd, kMarkLength) &&
           writeBytes(files, "\r\n", 2);
  }

  bool beginPart(int bytes, bool isLast) {
    _QZ_DataBuffer_Header header;
    header.dataSize = bytes;
    header.sizeField = isLast ? bytes : -1;
    header.isEncoded = true;
    header.encodedForm = 3;
    if (!writeBytes(files, header.headerAsString().asChar(), kHeaderLength)) return false;
    return marks ? writeMark() : writeBytes(files, "\r\n", 2);
  }

  // Writes the first `count` characters in lines and leaves the rest.
  bool writeLines(int count) {
    char rest[kLineLength];
    int const restCount = text.dataSize - count;
    std::memcpy(rest, end() - restCount, static_cast<std::size_t>(restCount));
    text.dataSize = count;
    text.A85_formatForFile(false);
    if (!writeBytes(files, end() - text.dataSize, text.dataSize)) return false;
    text.dataSize = 0;
    std::memcpy(end(), rest, static_cast<std::size_t>(restCount));
    text.dataSize = restCount;
    return true;
  }

  bool add(char const* bytes, int count) {
    qzCRCPartial(&crc, reinterpret_cast<unsigned char const*>(bytes),
                 static_cast<unsigned int>(count));
    int const tail = count % 4;
    for (int i = 0; i < count - tail; i += 4) text.dataSize += toA85(wordOf(bytes + i), end());
    if (tail > 0) {
      char filled[4] = {};
      std::memcpy(filled, bytes + count - tail, static_cast<std::size_t>(tail));
      text.dataSize += toA85(wordOf(filled), end());
    }
    showProgress(files, bytesDone += count);
    return writeLines(text.dataSize - text.dataSize % kLineLength);
  }

  bool endPart() {
    text.dataSize += toA85(~crc, end());
    bool const endsInLine = text.dataSize % kLineLength != 0;
    if (!writeLines(text.dataSize)) return false;
    if (marks) return writeMark();
    return !endsInLine || writeBytes(files, "\r\n", 2);
  }
};

// The file is longer than a part of a pipe, and its length goes into the header in advance.
bool encodeFile(encoder& target, open_files const& files) {
  static char chunk[kChunkBytes];
  for (std::int64_t left = files.inputBytes; left > 0;) {
    int partLeft = static_cast<int>(std::min<std::int64_t>(left, kMostPartBytes));
    left -= partLeft;
    if (!target.beginPart(partLeft, left == 0)) return false;
    while (partLeft > 0) {
      int const wanted = std::min(partLeft, kChunkBytes);
      int const got = readBytes(files, chunk, wanted);
      if (got < 0) return false;
      if (got < wanted) {
        clearProgress();
        std::fprintf(stderr, "a85: %s became shorter while it was read.\n", files.inputName);
        return false;
      }
      if (!target.add(chunk, got)) return false;
      partLeft -= got;
    }
    if (!target.endPart()) return false;
  }
  return true;
}

// One byte more than a part takes is read, so that a part knows whether it is the last one.
bool encodePipe(encoder& target, open_files const& files) {
  static char part[kPipePartBytes + 1];
  int have = readBytes(files, part, kPipePartBytes + 1);
  for (;;) {
    if (have < 0) return false;
    int const count = std::min(have, kPipePartBytes);
    if (!target.beginPart(count, have == count)) return false;
    for (int at = 0; at < count; at += kChunkBytes)
      if (!target.add(part + at, std::min(count - at, kChunkBytes))) return false;
    if (!target.endPart()) return false;
    if (have == count) return true;
    part[0] = part[kPipePartBytes];
    int const more = readBytes(files, part + 1, kPipePartBytes);
    have = more < 0 ? more : more + 1;
  }
}

bool encode(open_files const& files, bool marks) {
  encoder target{files, marks};
  target.text.isEncoded = true;
  target.text.encodedForm = 3;
  if (!target.text.newsize(kTextRoom, 1)) {
    std::fprintf(stderr, "a85: %s.\n", target.text.errorString().asChar());
    return false;
  }
  return files.inputBytes > kPipePartBytes ? encodeFile(target, files) : encodePipe(target, files);
}

// --- decoding ---

struct text_reader {
  open_files const& files;
  int at = 0;
  int end = 0;
  std::int64_t blockOffset = 0;
  bool failed = false;
  char block[kChunkBytes] = {};

  std::int64_t offset() const { return blockOffset + at; }
  // Returns the next character as 0 to 255 and stays in front of it; -1 at the end.
  int peek() {
    if (at == end) {
      blockOffset += end;
      at = 0;
      end = failed ? 0 : readBytes(files, block, kChunkBytes);
      failed = failed || end < 0;
      end = std::max(end, 0);
      showProgress(files, blockOffset);
    }
    return at == end ? -1 : static_cast<unsigned char>(block[at]);
  }
  // Blanks and line ends may have changed on the way and mean nothing.
  int peekPastBlanks() {
    int c = peek();
    for (; c == ' ' || c == '\t' || c == '\r' || c == '\n'; c = peek()) ++at;
    return c;
  }

  // Says what is wrong at `offset` unless the reading itself has failed; returns false.
  bool damaged(std::int64_t where, char const* what) const {
    clearProgress();
    if (!failed)
      std::fprintf(stderr, "a85: %s is damaged at offset %lld: %s.\n", files.inputName,
                   static_cast<long long>(where), what);
    return false;
  }
};

bool readHeader(text_reader& text, _QZ_DataBuffer_Header& header) {
  char digits[kHeaderLength + 1] = {};
  auto const start = text.offset();
  for (int i = 0; i < kHeaderLength; ++i, ++text.at) {
    int const c = text.peek();
    if (c < 0) return text.damaged(text.offset(), "it ends where a header of 64 digits has to be");
    if (std::strchr("0123456789ABCDEFabcdef", c) == nullptr || c == 0)
      return text.damaged(text.offset(), "a header of 64 hexadecimal digits has to be here");
    digits[i] = static_cast<char>(c);
  }
  if (int const c = text.peek(); c != '\r' && c != '\n')
    return text.damaged(text.offset(), "a line end has to follow the header");
  if (!header.headerFromString(digits) || header.dataSize < 0)
    return text.damaged(start + 8, "the header's data size is no length");
  if (header.sizeField != header.dataSize && header.sizeField != -1)
    return text.damaged(start + 24, "the header's second size is not the first one, nor -1");
  if (!header.isEncoded) return text.damaged(start + 56, "the header tells of no encoded text");
  if (header.encodedForm != 3 && header.encodedForm != 4)
    return text.damaged(start + 58, "the header tells of another form than base-85");
  return true;
}

bool readMark(text_reader& text) {
  text.peekPastBlanks();
  for (int i = 0; i < kMarkLength; ++i, ++text.at)
    if (text.peek() != '~')
      return text.damaged(text.offset(), "a mark of 11 tildes has to be here");
  return true;
}

// Character by character, across line ends. `start` is where the word begins.
bool readScatteredWord(text_reader& text, unsigned int& word, std::int64_t& start) {
  char digits[5];
  int count = 0;
  do {
    int const c = text.peekPastBlanks();
    char const digit = static_cast<char>(c);
    if (c < 0) return text.damaged(text.offset(), "it ends before its data does");
    if (c == '~')
      return text.damaged(text.offset(), "a mark stands in front of the end of the data");
    bool const isShort = count == 0 && (digit == 'z' || digit == '^');
    if (!isShort && digit != '!' && qzA85index(digit) == 0)
      return text.damaged(text.offset(), "this character does not belong here in base-85 text");
    if (count == 0) start = text.offset();
    digits[count++] = digit;
    ++text.at;
  } while (fromA85(digits, word, count) == 0);
  // A word has one text only; anything else is five digits too great for 32 bits, or a special word
  // in its long form.
  char again[5];
  if (toA85(word, again) == count &&
      std::memcmp(digits, again, static_cast<std::size_t>(count)) == 0)
    return true;
  return text.damaged(start, "these five characters are no word");
}

bool readWord(text_reader& text, unsigned int& word, std::int64_t& start) {
  if (text.end - text.at < 5) return readScatteredWord(text, word, start);
  char const* const here = text.block + text.at;
  int const taken = fromA85(here, word, 5);
  char again[5];
  // What is not the text of its word has a line end in it, or damage.
  if (taken == 5 && (toA85(word, again) != 5 || std::memcmp(here, again, 5) != 0))
    return readScatteredWord(text, word, start);
  start = text.offset();
  text.at += taken;
  return true;
}

// Reads and writes one part, and tells whether it is the last one. `crc` is that of all parts.
bool decodePart(text_reader& text, bool needMarks, unsigned int& crc, bool& isLast) {
  _QZ_DataBuffer_Header header;
  if (!readHeader(text, header)) return false;
  isLast = header.sizeField != -1;
  bool const hasMarks = text.peekPastBlanks() == '~';
  if ((hasMarks || needMarks) && !readMark(text)) return false;

  auto const textStart = text.offset();
  static char chunk[kChunkBytes];
  unsigned int word = 0;
  std::int64_t start = 0;
  for (int left = header.dataSize; left > 0;) {
    int const count = std::min(left, kChunkBytes);
    for (int i = 0; i < count; i += 4) {
      if (!readWord(text, word, start)) return false;
      for (int k = 0; k < 4; ++k) chunk[i + k] = static_cast<char>(word >> (8 * k) & 0xFF);
    }
    if (count % 4 != 0 && word >> (8 * (count % 4)) != 0)
      return text.damaged(start, "the last word goes on behind the end of the data");
    qzCRCPartial(&crc, reinterpret_cast<unsigned char const*>(chunk),
                 static_cast<unsigned int>(count));
    if (!writeBytes(text.files, chunk, count)) return false;
    left -= count;
  }
  if (!readWord(text, word, start)) return false;
  if (word != ~crc) {
    char what[100];
    std::snprintf(what, sizeof what,
                  "the text from here to offset %lld does not match its check word",
                  static_cast<long long>(start));
    return text.damaged(textStart, what);
  }
  return !hasMarks || readMark(text);
}

bool decode(open_files const& files, bool needMarks) {
  static text_reader text{files};
  unsigned int crc = 0xFFFFFFFF;
  for (bool isLast = false; !isLast;) {
    if (text.peekPastBlanks() < 0)
      return text.damaged(text.offset(), "it ends where a header of 64 digits has to be");
    if (!decodePart(text, needMarks, crc, isLast)) return false;
  }
  if (text.peekPastBlanks() >= 0) return text.damaged(text.offset(), "it goes on behind its end");
  return !text.failed;
}

}  // namespace

int main(int argc, char** argv) {
  options chosen;
  if (!readOptions(argc, argv, chosen)) return 2;
  if (chosen.onlyHelp) {
    printHelp();
    return std::fflush(stdout) == 0 || explain("write to", "standard output") ? 0 : 1;
  }
  open_files files;
  if (!openFiles(chosen, files)) return 1;
  qzCRCInitialize();
  bool done = chosen.command[0] == 'e' ? encode(files, chosen.marks) : decode(files, chosen.marks);
  clearProgress();
  // A disk that is full may say so only now.
  if (close(files.output) != 0 && done) done = explain("write to", files.outputName);
  return done ? 0 : 1;
}

namespace {

// --- what the program says ---

void printHelp() {
  std::fputs(
      "Usage: a85 encode|decode [--marks] [INPUT [OUTPUT]]\n"
      "\n"
      "Turns any bytes into base-85 text and back. Without INPUT and OUTPUT, or with \"-\" for "
      "one\n"
      "of them, it is a filter.\n"
      "\n"
      "  --marks     encode: put a line of eleven tildes in front of the text and behind it\n"
      "              decode: refuse a text without them; else they may be there or not\n"
      "  -h, --help  print this and end\n"
      "\n"
      "The text: the header's text form on the first line, then lines of 100 characters.\n"
      "- Words: four bytes at a time, the first one least significant. Zeros fill up the last "
      "word.\n"
      "- Length: digits 8 to 15 of the header (dataSize) are the true length in bytes. Digits 24 "
      "to\n"
      "  31 (sizeField) repeat it if nothing follows, and are FFFFFFFF if another part does, with "
      "a\n"
      "  header of its own.\n"
      "- Parts: a file of up to 1500 MiB is one part. A pipe does not tell its length in advance, "
      "so\n"
      "  it is cut into parts of 1 MiB, the last one shorter; nothing is kept on a disk.\n"
      "- Check: one more word follows the data in the text, the CRC-32 of all bytes up to there, "
      "so\n"
      "  that a lost or moved part is noticed.\n"
      "\n"
      "Decoding takes blanks and line ends anywhere. Damaged text is refused with the offset, in\n"
      "bytes of INPUT from 0; what was written before is incomplete then. Long input shows its\n"
      "progress if standard error is a terminal.\n"
      "\n"
      "Exit status: 0 if all went well, 1 after a failure, 2 for wrong options.\n",
      stdout);
}

bool explain(char const* what, char const* name) {
  auto const reason = qzLastOSError8(-1);
  clearProgress();
  std::fprintf(stderr, "a85: cannot %s %s: %s.\n", what, name, reason.asChar());
  return false;
}

// --- progress ---

bool progressStands = false;

void showProgress(open_files const& files, std::int64_t bytes) {
  using std::chrono::steady_clock;
  constexpr std::chrono::milliseconds kFirst{1000}, kEvery{200};
  static bool const hasTerminal = isatty(STDERR_FILENO) != 0;
  static auto due = steady_clock::now() + kFirst;
  if (!hasTerminal || steady_clock::now() < due) return;
  due = steady_clock::now() + kEvery;
  std::fprintf(stderr, "\ra85: %lld MiB", static_cast<long long>(bytes >> 20));
  if (files.inputBytes > 0)
    std::fprintf(stderr, " of %lld", static_cast<long long>(files.inputBytes >> 20));
  progressStands = true;
}

void clearProgress() {
  if (progressStands) std::fputs("\r\033[K", stderr);
  progressStands = false;
}

// --- files and options ---

bool openFiles(options const& chosen, open_files& files) {
  if (chosen.input != nullptr) {
    files.inputName = chosen.input;
    files.input = open(chosen.input, O_RDONLY | O_CLOEXEC);
    if (files.input < 0) return explain("open", chosen.input);
  }
  struct stat input = {}, output = {};
  if (fstat(files.input, &input) != 0) return explain("read", files.inputName);
  if (S_ISREG(input.st_mode)) {
    auto const at = lseek(files.input, 0, SEEK_CUR);
    files.inputBytes = std::max<std::int64_t>(input.st_size - std::max<off_t>(at, 0), 0);
  }
  if (chosen.output == nullptr) return true;
  files.outputName = chosen.output;
  files.output = open(chosen.output, O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
  if (files.output < 0 || fstat(files.output, &output) != 0) return explain("open", chosen.output);
  if (!S_ISREG(output.st_mode)) return true;
  if (S_ISREG(input.st_mode) && input.st_dev == output.st_dev && input.st_ino == output.st_ino) {
    std::fprintf(stderr, "a85: %s is the input and the output.\n", chosen.output);
    return false;
  }
  return ftruncate(files.output, 0) == 0 || explain("write to", chosen.output);
}

bool readOptions(int argc, char** argv, options& chosen) {
  int names = 0;
  for (int i = 1; i < argc; ++i) {
    char const* const word = argv[i];
    auto const is = [word](char const* text) { return std::strcmp(word, text) == 0; };
    if (example::isHelp(word)) {
      chosen.onlyHelp = true;
    } else if (is("--marks")) {
      chosen.marks = true;
    } else if (word[0] == '-' && !is("-")) {
      std::fprintf(stderr, "a85: unknown option \"%s\"; --help lists them.\n", word);
      return false;
    } else if (chosen.command == nullptr && (is("encode") || is("decode"))) {
      chosen.command = word;
    } else if (chosen.command == nullptr) {
      std::fprintf(stderr, "a85: \"%s\" is neither encode nor decode.\n", word);
      return false;
    } else if (names == 2) {
      std::fprintf(stderr, "a85: \"%s\" is one file too many.\n", word);
      return false;
    } else {
      (names++ == 0 ? chosen.input : chosen.output) = is("-") ? nullptr : word;
    }
  }
  if (chosen.command != nullptr || chosen.onlyHelp) return true;
  std::fputs("a85: say encode or decode; --help tells more.\n", stderr);
  return false;
}

}  // namespace
