// A small program on the library, whose size is measured: takes a path apart, makes a line of text
// and reads a number.
#include <cstdio>

#include "files/paths.h"
#include "strings/string8.h"

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  bool isNumber = false;
  int const frame = _qzString8_allSize<25>(argv[2]).toInt(&isNumber);
  _qzString8_allSize<1000> line = qzGetFileName(_qzString8_allSize<500>(argv[1])).asChar();
  line.replace(_qzString8_allSize<1000>(".exr"), _qzString8_allSize<1000>(".png"));
  line += " frame ";
  line.addNr(frame);
  std::puts(line.asChar());
  return isNumber ? 0 : 1;
}
