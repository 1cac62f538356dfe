#include "companion/report_reader.h"

#include <charconv>
#include <cstring>

namespace qz::companion {
namespace {

constexpr std::string_view kHeader = "Render executable closed";
constexpr std::string_view kWait = "||CheckExitcode|| waiting for executable to close...";
constexpr std::string_view kReturned = "Executable returned ";
constexpr std::string_view kMark = "++";
// A report whose tool was killed does not keep the reader busy for the rest of the log.
constexpr int kMostForeignLines = 1000;
constexpr std::size_t kFrameWidth = 100;  // of a frame without text, behind the mark

// The C library's search, which is several times faster than the standard library's.
std::size_t positionOf(std::string_view text, std::string_view sought, std::size_t from) {
  void const* const found =
      memmem(text.data() + from, text.size() - from, sought.data(), sought.size());
  return found == nullptr ? std::string_view::npos
                          : static_cast<std::size_t>(static_cast<char const*>(found) - text.data());
}

std::string_view withoutBlanksAtTheEnd(std::string_view text) {
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

struct framed_text {
  char fill;  // '+' or '_'; 0: not a framed line. '+' for a text that leaves no room for a fill
  std::string_view text;
};

framed_text unframe(std::string_view line) {
  if (line.ends_with('\r')) line.remove_suffix(1);
  // A line with a fill has its place at the end, whatever a logger or a renderer that didn't end
  // its own line put in front of it.
  constexpr std::size_t kWidth = kMark.size() + kFrameWidth;
  std::size_t const place = line.size() < kWidth ? 0 : line.size() - kWidth;
  auto const mark = line.substr(place).starts_with(kMark) ? place : line.find(kMark);
  if (mark == std::string_view::npos) return {0, {}};
  line.remove_prefix(mark + kMark.size());
  char const fill = line.ends_with('_') ? '_' : '+';
  auto const end = line.find_last_not_of(fill);
  if (end == std::string_view::npos) return {line.size() == kFrameWidth ? fill : char{0}, {}};
  if (!line.starts_with("  ")) return {0, {}};
  return {fill, withoutBlanksAtTheEnd(line.substr(2, end - 1))};
}

// Reads a number that stands behind `words`.
std::optional<int> numberBehind(std::string_view text, std::string_view words) {
  auto const found = text.find(words);
  if (found == std::string_view::npos) return std::nullopt;
  int number = 0;
  auto const* const first = text.data() + found + words.size();
  if (std::from_chars(first, text.data() + text.size(), number).ec != std::errc())
    return std::nullopt;
  return number;
}

bool isNumber(std::string_view text) {
  return !text.empty() && text.find_first_not_of("-0123456789") == std::string_view::npos;
}

bool tellsOfPosting(std::string_view text) {
  for (std::string_view const words :
       {"Unable to attach shared memory!", "Unable to access shared memory data!",
        "Unable to lock shared memory data!", "Shared memory has wrong data ",
        "Message buffer is full!"})
    if (text.starts_with(words)) return true;
  return false;
}

constexpr std::string_view kArgument = "'  ";

// The reports of a wrong argument behind which a run goes on.
bool goesOnBehind(std::string_view text) {
  return text == "No exit code as parameter 1" || text == "No render instance as parameter 2!" ||
         (text.starts_with(kArgument) && (text.ends_with("' is not a valid exit code!") ||
                                          text.ends_with("' is not a valid render instance!")));
}

}  // namespace

// The start of the next line that matters to a reader outside of a report, or npos. The position of
// the header is kept, so that many waits in front of it don't each search for it again.
std::size_t report_reader::nextMark(std::string_view part, std::size_t from) {
  if (nextHeader < from) nextHeader = positionOf(part, kHeader, from);
  auto const before = part.substr(0, std::min(nextHeader, part.size()));
  auto const wait = positionOf(before, kWait, from);
  auto const found = std::min(nextHeader, wait);
  if (found == std::string_view::npos || found == 0) return found;
  auto const lineFeed = part.rfind('\n', found - 1);
  return lineFeed == std::string_view::npos ? 0 : lineFeed + 1;
}

void report_reader::give(found_report::posting message) {
  if (report.reason.empty()) report.message = message;
  take(report);
  foreignLines = 0;
  isInside = mayBeOver = false;
}

void report_reader::readFramed(char fill, std::string_view text) {
  if (text.empty()) {
    if (mayBeOver) give(found_report::posted);
    mayBeOver = isInside;
  } else if (goesOnBehind(text)) {
    report.reason = text;
    report.message = found_report::goes_on;
  } else if (text.starts_with(kReturned)) {
    report.code = numberBehind(text, kReturned);
    report.frame = numberBehind(text, "for frame ");
    report.jobThread = numberBehind(text, "(jobthread ");
    report.hasWaited = sawWait;
    sawWait = false;
  } else if (tellsOfPosting(text) || text.starts_with(kArgument)) {
    report.reason = text;
    report.message = found_report::not_posted;
  } else if (report.code && fill == '+' && !report.isError && isNumber(text)) {
    report.wasForgiven = true;
  }
}

void report_reader::readLine(std::string_view line) {
  if (line.find(kWait) != std::string_view::npos) {
    if (mayBeOver) give(found_report::posted);
    sawWait = true;
    return;
  }
  auto const [fill, text] = unframe(line);
  if (fill != 0 && text.ends_with(kHeader)) {
    // An empty frame right in front belongs to this header: the report before had no end.
    if (isInside) give(found_report::unknown);
    report = {};
    foreignLines = 0;
    report.offset = lineOffset;
    report.time = withoutBlanksAtTheEnd(text.substr(0, text.size() - kHeader.size()));
    report.isError = fill == '+';
    isInside = true;
  } else if (mayBeOver && !(fill != 0 && text.empty())) {
    give(found_report::posted);
  } else if (isInside && fill != 0) {
    foreignLines = 0;
    readFramed(fill, text);
  } else if (isInside && ++foreignLines == kMostForeignLines) {
    give(found_report::unknown);
  }
}

std::size_t report_reader::feed(std::string_view part) {
  auto const lastFeed = part.rfind('\n');
  if (lastFeed == std::string_view::npos) return 0;
  std::string_view const lines = part.substr(0, lastFeed + 1);
  std::size_t at = 0;
  nextHeader = positionOf(lines, kHeader, 0);
  while (at < lines.size()) {
    if (!isInside) at = nextMark(lines, at);
    if (at == std::string_view::npos) break;
    auto const end = lines.find('\n', at);
    lineOffset = position + at;
    readLine(lines.substr(at, end - at));
    at = end + 1;
  }
  position += lines.size();
  return lines.size();
}

void report_reader::finish(std::string_view rest) {
  lineOffset = position;
  if (!rest.empty()) readLine(rest);
  if (isInside) give(mayBeOver ? found_report::posted : found_report::unknown);
}

}  // namespace qz::companion
