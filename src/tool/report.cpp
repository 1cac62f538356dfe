#include "tool/report.h"

#include <cstdio>

#include "time/time_value.h"

namespace {

constexpr int kFrameWidth = 100;  // characters between the mark and the line feed

void printAsFormat(_qzString8_allSize<250> const& line) {
  // Required: the finished line is the format, without arguments and without escaping.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
  std::printf(line.asChar());
#pragma GCC diagnostic pop
}

}  // namespace

void printLine(bool const& isError, _qzString8_allSize<250> const& a,
               _qzString8_allSize<250> const& b, _qzString8_allSize<250> const& c) {
  _qzString8_allSize<250> line = a;
  if (b.hasData()) {
    line += "  ";
    line += b;
  }
  if (c.hasData()) {
    line += "  ";
    line += c;
  }
  if (line.hasData()) {
    line.insert(0, "  ");
    line += "    ";
  }
  char const fill = isError ? '+' : '_';
  line += _qzString8_allSize<250>::createCharString(fill, kFrameWidth - line.length);
  line.insert(0, "++");
  line += '\n';
  printAsFormat(line);
}

void writeInfoHeader(bool const& isError) {
  printLine(isError, "", "", "");
  printLine(isError, _qzTime(true).asQZ8StringMt(), "Render executable closed", "");
}
