// What qzframe reads from outside: a job's log in parts of any size, beside a reading line by line
// of the whole log; a number as a person writes it; the bytes of a client's block.
#include <sys/wait.h>

#include <limits>
#include <optional>
#include <tuple>
#include <utility>

#include "companion/block_segment.h"
#include "companion/exit_codes.h"
#include "companion/report_reader.h"
#include "companion/terminal.h"
#include "fuzz/block_bytes.h"

namespace {

using namespace qz::companion;
using reports = std::vector<found_report>;

bool has(std::string const& text, std::string_view part) {
  return text.find(part) != std::string::npos;
}

// --- a log ---

constexpr std::size_t kWidth = 102;
constexpr std::size_t kMostBytes = 4096;  // long enough for a report and a thousand empty lines
std::string const kHeader = "Render executable closed";
std::string const kWait = "||CheckExitcode|| waiting for executable to close...";

std::string framed(char fill, std::string const& text) {
  std::string line = "++" + (text.empty() ? text : "  " + text + "    ");
  line.resize(std::max(line.size(), kWidth), fill);
  return line + '\n';
}

// An input is the log itself, but that each of the bytes from 192 on stands for one of these, the
// last two of them for the rest of the line's frame.
std::string anyLog(fuzz_input& in) {
  static std::string const pieces[] = {
      "++",
      "  ",
      kHeader,
      "Executable returned ",
      " as exit code for frame ",
      " (jobthread ",
      "2147483648",
      "'  ",
      "' is not a valid exit code!",
      "' is not a valid render instance!",
      "No exit code as parameter 1",
      "Message buffer is full!",
      "Shared memory has wrong data ",
      kWait + " (cmd pID 1 render pID 2)\n",
      framed('+', ""),
      framed('_', ""),
      framed('+', "Nov 22. 22:14.05  " + kHeader),
      framed('_', "Nov 22. 22:14.05  " + kHeader),
      framed('_', "Executable returned 5 (0x5) as exit code for frame 7 (jobthread 3)."),
      framed('+', "5"),
      framed('+', "Unable to lock shared memory data!"),
      framed('+', "=> Executable crashed"),
      std::string(300, 'x'),
      std::string(499, '\n'),
      "\r\n",
  };
  std::string log;
  while (in.left > 0 && log.size() < kMostBytes) {
    auto const byte = static_cast<std::size_t>(in.byte());
    std::size_t const piece = byte - 192;
    if (byte < 192 || piece >= std::size(pieces) + 2) {
      log += static_cast<char>(byte);
    } else if (piece < std::size(pieces)) {
      log += pieces[piece];
    } else {
      std::size_t const line = log.rfind('\n') + 1;
      log.resize(std::max(log.size(), line + kWidth), piece % 2 == 0 ? '+' : '_');
      log += '\n';
    }
  }
  return log;
}

// --- the log as the reader finds it ---

// The log without what a reader with little room had to give up, and where that was.
struct read_log {
  std::string text;
  std::vector<std::pair<std::size_t, std::size_t>> gaps;  // place in `text`, bytes

  std::size_t offsetOf(std::size_t place) const {
    std::size_t offset = place;
    for (auto const& [at, bytes] : gaps) offset += at <= place ? bytes : 0;
    return offset;
  }
};

// In parts of at most `partBytes`, with room for `room` bytes, as a program reads a file.
reports readInParts(std::string const& log, std::size_t partBytes, std::size_t room,
                    read_log& seen) {
  reports all;
  report_reader reader([&](found_report const& one) { all.push_back(one); });
  std::string held;
  for (std::size_t at = 0; at < log.size();) {
    std::size_t const count = std::min({partBytes, room - held.size(), log.size() - at});
    held.append(log, at, count), at += count;
    auto const memory = exactly(held);
    std::size_t used = reader.feed({memory.data(), memory.size()});
    expect(used <= held.size() && (used == 0 ? !has(held, "\n") : held[used - 1] == '\n'));
    if (used == 0 && held.size() == room) {
      used = room - report_reader::kTailBytes;
      reader.skip(used);
      seen.gaps.emplace_back(seen.text.size(), used);
    } else {
      seen.text.append(held, 0, used);
    }
    held.erase(0, used);
  }
  seen.text += held;
  auto const memory = exactly(held);
  reader.finish({memory.data(), memory.size()});
  return all;
}

// --- the log line by line ---

struct log_line {
  std::size_t offset = 0;
  bool isWait = false, isFramed = false, isHeader = false;
  char fill = 0;
  std::string text;
  bool isEmptyFrame() const { return !isWait && isFramed && text.empty(); }
};

log_line readLine(std::string line, std::size_t offset) {
  log_line read;
  read.offset = offset;
  read.isWait = has(line, kWait);
  if (line.ends_with("\r")) line.pop_back();
  std::size_t const last = line.size() - std::min(line.size(), kWidth);
  std::size_t const mark = line.compare(last, 2, "++") == 0 ? last : line.find("++");
  if (mark == std::string::npos) return read;
  std::string text = line.substr(mark + 2);
  bool const isFull = text.size() == kWidth - 2;
  read.fill = text.ends_with("_") ? '_' : '+';
  while (!text.empty() && text.back() == read.fill) text.pop_back();
  read.isFramed = text.empty() ? isFull : text.starts_with("  ");
  text.erase(0, 2);
  while (text.ends_with(" ")) text.pop_back();
  read.isHeader = !read.isWait && read.isFramed && text.ends_with(kHeader);
  read.text = text;
  return read;
}

std::vector<log_line> linesOf(read_log const& log) {
  std::vector<log_line> lines;
  for (std::size_t at = 0, end; at < log.text.size(); at = end + 1) {
    end = std::min(log.text.find('\n', at), log.text.size());
    lines.push_back(readLine(log.text.substr(at, end - at), log.offsetOf(at)));
  }
  return lines;
}

// A number of 32 bits at the very start of the text.
std::optional<int> numberAtFront(std::string const& text) {
  std::size_t const sign = text.starts_with("-") ? 1 : 0;
  std::size_t const end = std::min(text.find_first_not_of("0123456789", sign), text.size());
  long double value = 0;
  for (std::size_t i = sign; i < end; ++i) value = value * 10 + (text[i] - '0');
  if (sign != 0) value = -value;
  bool const fits =
      value >= std::numeric_limits<int>::min() && value <= std::numeric_limits<int>::max();
  if (end == sign || !fits) return {};
  return static_cast<int>(value);
}

std::optional<int> numberBehind(std::string const& text, std::string const& words) {
  std::size_t const at = text.find(words);
  if (at == std::string::npos) return {};
  return numberAtFront(text.substr(at + words.size()));
}

// What a line inside of a report tells.
void take(log_line const& line, found_report& report, bool& sawWait) {
  std::string const& text = line.text;
  auto const isNotValid = [&](char const* what) {
    return text.starts_with("'  ") && text.ends_with(std::string("' is not a valid ") + what + "!");
  };
  bool isLost = text.starts_with("'  ");
  for (char const* const words :
       {"Unable to attach shared memory!", "Unable to access shared memory data!",
        "Unable to lock shared memory data!", "Shared memory has wrong data ",
        "Message buffer is full!"})
    isLost |= text.starts_with(words);
  if (text == "No exit code as parameter 1" || text == "No render instance as parameter 2!" ||
      isNotValid("exit code") || isNotValid("render instance")) {
    report.reason = text, report.message = found_report::goes_on;
  } else if (text.starts_with("Executable returned ")) {
    report.code = numberBehind(text, "Executable returned ");
    report.frame = numberBehind(text, "for frame ");
    report.jobThread = numberBehind(text, "(jobthread ");
    report.hasWaited = std::exchange(sawWait, false);
  } else if (isLost) {
    report.reason = text, report.message = found_report::not_posted;
  } else if (report.code && !report.isError && line.fill == '+') {
    report.wasForgiven |= text.find_first_not_of("-0123456789") == std::string::npos;
  }
}

// A report begins with its header. It ends with an empty frame, if that does not open the next one;
// or else with the next header, with the log, or when a thousand lines came that are not framed.
reports reportsIn(read_log const& log) {
  auto const lines = linesOf(log);
  reports all;
  bool sawWait = false;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    sawWait |= lines[i].isWait;
    if (!lines[i].isHeader) continue;
    found_report report;
    report.offset = lines[i].offset;
    report.time = lines[i].text.substr(0, lines[i].text.size() - kHeader.size());
    while (report.time.ends_with(" ")) report.time.pop_back();
    report.isError = lines[i].fill == '+';
    bool isPosted = false;
    for (int foreign = 0; i + 1 < lines.size() && !lines[i + 1].isHeader && foreign < 1000;) {
      log_line const& line = lines[++i];
      if (line.isEmptyFrame()) {
        isPosted = i + 1 == lines.size() || !lines[i + 1].isHeader;
        break;
      }
      sawWait |= line.isWait;
      if (line.isWait) continue;
      foreign = line.isFramed ? 0 : foreign + 1;
      if (line.isFramed) take(line, report, sawWait);
    }
    if (report.reason.empty())
      report.message = isPosted ? found_report::posted : found_report::unknown;
    all.push_back(report);
  }
  return all;
}

bool same(found_report const& a, found_report const& b) {
  auto const all = [](found_report const& r) {
    return std::tie(r.offset, r.time, r.isError, r.code, r.frame, r.jobThread, r.wasForgiven,
                    r.hasWaited, r.message, r.reason);
  };
  return all(a) == all(b);
}

void checkLog(fuzz_input& in) {
  std::size_t const partBytes = 1 + in.number<std::uint16_t>() % kMostBytes;
  std::size_t const room = report_reader::kTailBytes + 1 + in.number<std::uint16_t>();
  std::string const log = anyLog(in);
  read_log seen, whole;
  reports const found = readInParts(log, partBytes, room, seen);
  reports const expected = reportsIn(seen);
  expect(std::equal(found.begin(), found.end(), expected.begin(), expected.end(), same));
  reports const atOnce = readInParts(log, log.size() + 1, log.size() + 2, whole);
  expect(whole.text == log);
  if (seen.gaps.empty())
    expect(std::equal(found.begin(), found.end(), atOnce.begin(), atOnce.end(), same));
}

// --- exit codes ---

std::optional<int> codeIn(std::string const& text) {
  bool const isHex = text.starts_with("0x") || text.starts_with("0X");
  bool const isNegative = text.starts_with("-");
  std::string const digits = text.substr(isHex ? 2 : isNegative ? 1 : 0);
  if (digits.empty()) return {};
  long double value = 0;
  for (char const c : digits) {
    char const* const known = "0123456789abcdefABCDEF";
    char const* const place = c == 0 ? nullptr : std::strchr(known, c);
    int const digit = place == nullptr ? 99 : static_cast<int>(place - known);
    if (digit > (isHex ? 21 : 9)) return {};
    value = value * (isHex ? 16 : 10) + (digit > 15 ? digit - 6 : digit);
  }
  if (value > (isNegative ? 0x80000000 : 0xFFFFFFFF)) return {};
  auto const number = static_cast<std::uint32_t>(value);
  return static_cast<int>(isNegative ? -number : number);
}

bool isSignal(long long number) { return number >= 1 && number <= 64; }

void checkCode(int code) {
  char hex[16];
  std::snprintf(hex, sizeof hex, "0x%x", static_cast<unsigned>(code));
  for (std::string const& text :
       {std::to_string(code), std::to_string(static_cast<unsigned>(code)), std::string(hex)})
    expect(parseExitCode(text) == code);

  int shells = 0, pythons = 0, statuses = 0;
  for (reading const& one : readingsOf(code)) {
    expect(!one.source.empty() && !one.meaning.empty());
    expect((one.source == "every system") == (code == 0));
    if (one.source == "shell" && code > 128) ++shells, expect(one.name == signalName(code - 128));
    if (one.source == "Python's subprocess") ++pythons, expect(one.name == signalName(-code));
    if (one.source != "raw wait status") continue;
    ++statuses;
    int const number = WIFEXITED(code) ? WEXITSTATUS(code) : WTERMSIG(code);
    expect(has(one.meaning, std::to_string(number)));
    if (!WIFEXITED(code)) expect(one.name == signalName(number));
  }
  expect(shells == (isSignal(code - 128LL) ? 1 : 0));
  expect(pythons == (isSignal(-static_cast<long long>(code)) ? 1 : 0));
  expect(statuses <= 1 && (statuses == 0 || (code > 0 && code <= 0xFFFF)));
  if (code > 0 && code <= 0xFFFF && code % 256 == 0) expect(statuses == 1);
}

void checkText(std::string const& text) {
  auto const memory = exactly(text);
  expect(parseExitCode({memory.data(), memory.size()}) == codeIn(text));
  std::string const shown = printable(text);
  expect(shown.size() == text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    auto const byte = static_cast<unsigned char>(text[i]);
    expect(shown[i] == (byte < 32 || byte == 127 ? '?' : text[i]));
  }
}

// --- a block ---

void checkBlock(fuzz_input& in) {
  block_bytes const before = anyBlock(in);
  block_bytes bytes = before;
  block_look look = {};
  readBlock(*reinterpret_cast<client_block const volatile*>(bytes.data()), look);
  expect(bytes == before);
  expect(look.magic == numberAt(bytes, 0, 4) && look.version == numberAt(bytes, 928, 2));
  expect(look.ready == numberAt(bytes, 930, 2) && look.count == bytes[2001]);
  expect(look.hasMarks() == (look.magic == 517 && look.version == 3077 && look.ready != 0));
  expect(look.messages.size() == std::min<std::size_t>(bytes[2001], 30));
  for (std::size_t i = 0; i < look.messages.size(); ++i) {
    auto const& [kind, isError, frame, jobThread, instance] = look.messages[i];
    expect(kind == bytes[2002 + i] && isError == (bytes[2032 + i] != 0));
    expect(frame == static_cast<std::int64_t>(numberAt(bytes, 2124 + 8 * i, 8)));
    expect(jobThread == bytes[7435 + i] && instance == bytes[7465 + i]);
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t size) {
  fuzz_input in{bytes, size};
  int const what = in.byte();
  if (what < 192) {
    checkLog(in);
  } else if (what < 224) {
    checkBlock(in);
  } else {
    checkCode(in.anyOrSmall<int>());
    checkCode(in.number<std::uint16_t>());
    // Beside the ends of what is a code, and any text.
    int const beside = in.anyOrSmall<signed char>() % 4;
    for (long long const end : {-(1LL << 31), 1LL << 31, 1LL << 32})
      checkText(std::to_string(end + beside));
    checkText(in.rest());
  }
  return 0;
}
